// The clipboard half of the file actions: files as file managers paste them,
// and a single image also as a picture for editors and chat programs.
#include "actions/fileactions.h"

#include "files/pngrows.h"
#include "files/safefiles.h"

#include <QBuffer>
#include <QClipboard>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QImage>
#include <QMimeData>

#include <cstdio>

namespace {

QClipboard *clipboard()
{
    return qobject_cast<QGuiApplication *>(QCoreApplication::instance()) ? QGuiApplication::clipboard()
                                                                         : nullptr;
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
    if (FILE *file = std::fopen(QFile::encodeName(path).constData(), "rbe")) {
        status = PngRows::readHeader(file, header);
        std::fclose(file);
    }
    if (status == PngRows::Status::Failed)
        return {};
    if (status == PngRows::Status::Ready) {
        if (qint64(header.width) * header.height * 4 > FileActions::maxDecodeBytes)
            return {};
        QFile file(path);
        if (file.open(QIODevice::ReadOnly))
            return file.readAll();
        return {};
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

} // namespace

QMimeData *FileActions::filesMimeData(const QList<QUrl> &files)
{
    auto *data = new QMimeData;
    // Formats are offered in the order they are set: the picture first.
    if (files.size() == 1) {
        const QByteArray png = pngBytes(files.first().toLocalFile());
        if (!png.isEmpty())
            data->setData(QStringLiteral("image/png"), png);
    }
    data->setUrls(files);
    QByteArray copied = "copy";
    for (const QUrl &file : files)
        copied += '\n' + file.toEncoded();
    data->setData(QStringLiteral("x-special/gnome-copied-files"), copied);
    return data;
}

QString FileActions::pathsText(const QList<QUrl> &files)
{
    QStringList paths;
    for (const QUrl &file : files)
        paths.append(file.toLocalFile());
    return paths.join(QLatin1Char('\n'));
}

QString FileActions::markdownText(const QList<QUrl> &files)
{
    QStringList links;
    for (const QUrl &file : files) {
        QString alt = SafeFiles::splitName(QFileInfo(file.toLocalFile()).fileName()).stem;
        // Brackets in a name would end the alt text early, parentheses the
        // link; escaped they still read as the name and the link works.
        alt.replace(QLatin1Char('\\'), QLatin1String("\\\\"))
            .replace(QLatin1Char('['), QLatin1String("\\["))
            .replace(QLatin1Char(']'), QLatin1String("\\]"));
        QByteArray url = file.toEncoded(QUrl::FullyEncoded);
        url.replace('(', "%28").replace(')', "%29").replace('[', "%5B").replace(']', "%5D");
        links.append(QStringLiteral("![%1](%2)").arg(alt, QString::fromLatin1(url)));
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
