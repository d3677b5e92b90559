// The clipboard half of the file actions: files as file managers paste them,
// and a single image also as a picture for editors and chat programs.
#include "actions/fileactions.h"

#include "codec/pngrows.h"
#include "files/localpaths.h"
#include "files/safefiles.h"

#include <QBuffer>
#include <QClipboard>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QImage>
#include <QMimeData>

#include <algorithm>
#include <cstdio>
#include <string_view>

namespace {

QClipboard *clipboard()
{
    return qobject_cast<QGuiApplication *>(QCoreApplication::instance()) ? QGuiApplication::clipboard() : nullptr;
}

// The image as PNG bytes: a PNG file as it is (no decode, no re-encode),
// anything else decoded within the memory limit and encoded. Empty when the
// file is not an image we can read.
QByteArray pngBytes(const QString &path)
{
    // The header by our own reader: Qt's reads every chunk before the
    // pixels, and takes gigabytes over one that claims to be huge.
    PngRows::Header header;
    PngRows::Status status = PngRows::Status::Failed;
    if (FILE *file = std::fopen(LocalPaths::pathBytes(path).constData(), "rbe")) {
        status = PngRows::readHeader(file, header);
        std::fclose(file);
    }
    if (status == PngRows::Status::Failed)
        return {};
    if (status == PngRows::Status::Ready) {
        if (qint64(header.width) * header.height * 4 > FileActions::maxDecodeBytes)
            return {};
        const std::unique_ptr<QFile> file = LocalPaths::openForReading(path);
        return file ? file->readAll() : QByteArray();
    }
    const std::optional<QImage> image = FileActions::readImage(path);
    if (!image)
        return {};
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    if (!image->save(&buffer, "PNG"))
        return {};
    return bytes;
}

// The path a file URL names, as text. A name that is not UTF-8 stays in
// the URL as its raw bytes, percent-encoded (QUrl will not decode those), so
// the bytes are taken from the encoded form and decoded the way Qt decodes
// every other file name.
QString localPathText(const QUrl &file)
{
    return QFile::decodeName(QByteArray::fromPercentEncoding(file.path(QUrl::FullyEncoded).toLatin1()));
}

bool isControl(char16_t c) { return c < 0x20 || c == 0x7f; }

// One path per line is only unambiguous while no path holds a line break:
// such a path (and one with any other control character, which a terminal
// would act on) is written quoted as the shell reads it back, $'a\nb.png'.
QString pathLine(const QString &path)
{
    if (std::none_of(path.cbegin(), path.cend(), [](QChar c) { return isControl(c.unicode()); }))
        return path;
    QString quoted = QStringLiteral("$'");
    for (const QChar c : path) {
        switch (c.unicode()) {
        case '\\':
            quoted += QLatin1String("\\\\");
            break;
        case '\'':
            quoted += QLatin1String("\\'");
            break;
        case '\n':
            quoted += QLatin1String("\\n");
            break;
        case '\t':
            quoted += QLatin1String("\\t");
            break;
        case '\r':
            quoted += QLatin1String("\\r");
            break;
        default:
            if (isControl(c.unicode()))
                quoted += QStringLiteral("\\x%1").arg(c.unicode(), 2, 16, QLatin1Char('0'));
            else
                quoted += c;
        }
    }
    return quoted + QLatin1Char('\'');
}

// The alt text of a Markdown image: the name as it reads. Line breaks and
// other control characters would end the paragraph (a blank line) or start a
// heading or list on the next line, so they become spaces; every character
// that has a meaning inside link text (brackets, code, emphasis, raw HTML,
// entities, the escape itself) is escaped, so the text shows as it is.
QString markdownAlt(const QString &name)
{
    QString alt;
    alt.reserve(name.size());
    for (const QChar c : name) {
        if (isControl(c.unicode())) {
            alt += QLatin1Char(' ');
            continue;
        }
        if (QStringView(u"\\[]`*_<>&~").contains(c))
            alt += QLatin1Char('\\');
        alt += c;
    }
    return alt;
}

// The link target: the file URL fully percent-encoded, plus the characters
// Markdown would read inside it (parentheses end it, brackets, escapes and
// entities change it).
QByteArray markdownUrl(const QUrl &file)
{
    const QByteArray encoded = file.toEncoded(QUrl::FullyEncoded);
    QByteArray url;
    url.reserve(encoded.size());
    for (const char c : encoded) {
        const bool plain =
            uchar(c) > 0x20 && uchar(c) < 0x7f && std::string_view("()[]<>&\\'\"`").find(c) == std::string_view::npos;
        if (!plain) {
            static const char hex[] = "0123456789ABCDEF";
            url += '%';
            url += hex[uchar(c) >> 4];
            url += hex[uchar(c) & 0xf];
        } else {
            url += c;
        }
    }
    return url;
}

} // namespace

QMimeData *FileActions::filesMimeData(const QList<QUrl> &files)
{
    auto *data = new QMimeData;
    // Formats are offered in the order they are set: the picture first.
    if (files.size() == 1) {
        const QByteArray png = pngBytes(LocalPaths::localPath(files.first()));
        if (!png.isEmpty())
            data->setData(QStringLiteral("image/png"), png);
    }
    data->setUrls(files);
    QByteArray copied = "copy";
    for (const QUrl &file : files)
        copied += '\n' + file.toEncoded();
    data->setData(QStringLiteral("x-special/gnome-copied-files"), copied);
    // Without it Qt offers the URLs, half decoded, to anything pasting text.
    data->setText(pathsText(files));
    return data;
}

QString FileActions::pathsText(const QList<QUrl> &files)
{
    QStringList paths;
    for (const QUrl &file : files)
        paths.append(pathLine(localPathText(file)));
    return paths.join(QLatin1Char('\n'));
}

QString FileActions::markdownText(const QList<QUrl> &files)
{
    QStringList links;
    for (const QUrl &file : files) {
        const QString stem = SafeFiles::splitName(QFileInfo(localPathText(file)).fileName()).stem;
        links.append(QStringLiteral("![") + markdownAlt(stem) + QStringLiteral("](")
                     + QString::fromLatin1(markdownUrl(file)) + QLatin1Char(')'));
    }
    return links.join(QLatin1Char('\n'));
}

void FileActions::copyFiles(const QList<QUrl> &files)
{
    if (files.isEmpty())
        return;
    if (QClipboard *board = clipboard())
        board->setMimeData(filesMimeData(files));
}

void FileActions::copyPaths(const QList<QUrl> &files)
{
    if (QClipboard *board = clipboard())
        board->setText(pathsText(files));
}

void FileActions::copyMarkdown(const QList<QUrl> &files)
{
    if (QClipboard *board = clipboard())
        board->setText(markdownText(files));
}
