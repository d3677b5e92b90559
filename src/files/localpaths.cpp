#include "files/localpaths.h"

#include <QFile>

#include <algorithm>

#include <fcntl.h>
#include <unistd.h>

namespace LocalPaths {

namespace {

constexpr char16_t kHeldByte = 0xDC00; // U+DC80..U+DCFF hold the bytes 0x80..0xFF

// The length of the valid UTF-8 sequence at `p` (1 to 4), or 0.
int validSequence(const unsigned char *p, qsizetype left, char32_t *code)
{
    const unsigned char b = p[0];
    int length;
    char32_t c;
    if (b < 0x80) {
        *code = b;
        return 1;
    } else if (b >= 0xC2 && b <= 0xDF) {
        length = 2, c = b & 0x1F;
    } else if (b >= 0xE0 && b <= 0xEF) {
        length = 3, c = b & 0x0F;
    } else if (b >= 0xF0 && b <= 0xF4) {
        length = 4, c = b & 0x07;
    } else {
        return 0;
    }
    if (left < length)
        return 0;
    for (int i = 1; i < length; ++i) {
        if ((p[i] & 0xC0) != 0x80)
            return 0;
        c = (c << 6) | (p[i] & 0x3F);
    }
    // Overlong forms, surrogates and code points past U+10FFFF are not UTF-8.
    if ((length == 3 && c < 0x800) || (length == 4 && (c < 0x10000 || c > 0x10FFFF)) || (c >= 0xD800 && c <= 0xDFFF))
        return 0;
    *code = c;
    return length;
}

} // namespace

QString pathText(QByteArrayView bytes)
{
    QString text;
    text.reserve(bytes.size());
    const auto *p = reinterpret_cast<const unsigned char *>(bytes.data());
    for (qsizetype i = 0; i < bytes.size();) {
        char32_t code;
        const int length = validSequence(p + i, bytes.size() - i, &code);
        if (length == 0) {
            text.append(QChar(char16_t(kHeldByte + p[i])));
            ++i;
            continue;
        }
        if (code < 0x10000) {
            text.append(QChar(char16_t(code)));
        } else {
            text.append(QChar::highSurrogate(code));
            text.append(QChar::lowSurrogate(code));
        }
        i += length;
    }
    return text;
}

QByteArray pathBytes(const QString &path)
{
    QByteArray bytes;
    bytes.reserve(path.size());
    const qsizetype n = path.size();
    for (qsizetype i = 0; i < n; ++i) {
        const char16_t c = path.at(i).unicode();
        if (QChar::isHighSurrogate(c) && i + 1 < n && QChar::isLowSurrogate(path.at(i + 1).unicode())) {
            bytes.append(QString(path.constData() + i, 2).toUtf8());
            ++i;
        } else if (c >= kHeldByte + 0x80 && c <= kHeldByte + 0xFF) {
            bytes.append(char(c - kHeldByte));
        } else {
            bytes.append(QStringView(path.constData() + i, 1).toUtf8());
        }
    }
    return bytes;
}

bool hasRawBytes(const QString &path)
{
    return std::any_of(path.cbegin(), path.cend(),
                       [](QChar c) { return c.unicode() >= kHeldByte + 0x80 && c.unicode() <= kHeldByte + 0xFF; });
}

QString localPath(const QUrl &file)
{
    if (!file.isLocalFile())
        return {};
    return pathText(QByteArray::fromPercentEncoding(file.path(QUrl::FullyEncoded).toLatin1()));
}

QUrl fileUrl(const QString &path)
{
    if (!hasRawBytes(path))
        return QUrl::fromLocalFile(path);
    QUrl url;
    url.setScheme(QStringLiteral("file"));
    url.setPath(QString::fromLatin1(pathBytes(path).toPercentEncoding("/")), QUrl::TolerantMode);
    return url;
}

std::unique_ptr<QFile> openForReading(const QString &path)
{
    const int fd = ::open(pathBytes(path).constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return nullptr;
    auto file = std::make_unique<QFile>();
    if (!file->open(fd, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)) {
        ::close(fd);
        return nullptr;
    }
    return file;
}

} // namespace LocalPaths
