#pragma once

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QStringList>
#include <QtEndian>

// Files that look like images by name but must not be decoded: empty, text,
// cut short, damaged in the middle, and a valid PNG header that claims
// 30000 x 30000 pixels. Written into `dir`; returns their paths.
namespace BadImages {

inline quint32 crc32(const QByteArray &bytes)
{
    quint32 crc = 0xffffffffu;
    for (const char byte : bytes) {
        crc ^= quint8(byte);
        for (int k = 0; k < 8; ++k)
            crc = (crc >> 1) ^ (0xedb88320u & (0u - (crc & 1u)));
    }
    return ~crc;
}

inline QByteArray pngChunk(const QByteArray &type, const QByteArray &data)
{
    QByteArray out(4, 0);
    qToBigEndian<quint32>(quint32(data.size()), out.data());
    const QByteArray body = type + data;
    QByteArray crc(4, 0);
    qToBigEndian<quint32>(crc32(body), crc.data());
    return out + body + crc;
}

inline QByteArray hugePng()
{
    QByteArray header(13, 0);
    qToBigEndian<quint32>(30000, header.data());
    qToBigEndian<quint32>(30000, header.data() + 4);
    header[8] = 8; // 8-bit gray
    // A few rows of pixels; a decoder that tries anyway finds the rest missing.
    const QByteArray rows = qCompress(QByteArray(4 * 30001, '\0')).mid(4);
    return QByteArray("\x89PNG\r\n\x1a\n", 8) + pngChunk("IHDR", header) + pngChunk("IDAT", rows)
           + pngChunk("IEND", {});
}

inline QByteArray encoded(const char *format)
{
    QImage image(640, 400, QImage::Format_RGB32);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            image.setPixel(x, y, qRgb(x % 256, y % 256, (x * y) % 256));
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return bytes;
}

inline QStringList write(const QString &dir)
{
    QDir().mkpath(dir);
    const QByteArray png = encoded("PNG");
    const QByteArray jpeg = encoded("JPEG");
    QByteArray damaged = png;
    for (int i = int(damaged.size()) / 3; i < damaged.size() * 2 / 3; ++i)
        damaged[i] = char(damaged[i] ^ 0x5a);
    const QList<QPair<QString, QByteArray>> files = {
        {QStringLiteral("empty.png"), {}},
        {QStringLiteral("notes.png"), "just some text, not a picture\n"},
        {QStringLiteral("truncated.png"), png.left(png.size() / 2)},
        {QStringLiteral("truncated.jpg"), jpeg.left(200)},
        {QStringLiteral("damaged.png"), damaged},
        {QStringLiteral("huge.png"), hugePng()},
    };
    QStringList paths;
    for (const auto &[name, bytes] : files) {
        QFile f(dir + QLatin1Char('/') + name);
        if (f.open(QIODevice::WriteOnly))
            f.write(bytes);
        paths << f.fileName();
    }
    return paths;
}

} // namespace BadImages
