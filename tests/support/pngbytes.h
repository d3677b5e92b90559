#pragma once

#include <QByteArray>
#include <QtEndian>

#include <isa-l/crc.h>

// PNG files put together byte by byte, for shapes, sizes and damage that no
// encoder writes.
namespace PngBytes {

// The CRC-32 of zlib and PNG (reflected, started from 0).
inline quint32 crc32(const QByteArray &bytes)
{
    return crc32_gzip_refl(0, reinterpret_cast<const unsigned char *>(bytes.constData()), uint64_t(bytes.size()));
}

inline QByteArray bigEndian(quint32 value)
{
    QByteArray bytes(4, '\0');
    qToBigEndian(value, bytes.data());
    return bytes;
}

inline QByteArray chunk(const QByteArray &type, const QByteArray &data)
{
    return bigEndian(quint32(data.size())) + type + data + bigEndian(crc32(type + data));
}

// The signature and the header (colour type 0 grey, 2 RGB, 6 RGBA).
inline QByteArray head(quint32 width, quint32 height, int depth, int colourType, bool interlaced = false)
{
    const char rest[] = {char(depth), char(colourType), '\0', '\0', char(interlaced)};
    return QByteArray("\x89PNG\r\n\x1a\n", 8)
           + chunk("IHDR", bigEndian(width) + bigEndian(height) + QByteArray(rest, 5));
}

// `head`, then the zlib stream over IDAT chunks of `piece` bytes, then IEND.
inline QByteArray file(const QByteArray &head, const QByteArray &stream, qsizetype piece = 1 << 16)
{
    QByteArray png = head;
    for (qsizetype at = 0; at < stream.size(); at += piece)
        png += chunk("IDAT", stream.mid(at, piece));
    return png + chunk("IEND", {});
}

inline QByteArray deflated(const QByteArray &rows) { return qCompress(rows).mid(4); }

} // namespace PngBytes
