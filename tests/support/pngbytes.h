#pragma once

#include <QByteArray>
#include <QtEndian>

// PNG files put together byte by byte, for shapes, sizes and damage that no
// encoder writes.
namespace PngBytes {

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

inline QByteArray chunk(const QByteArray &type, const QByteArray &data)
{
    QByteArray length(4, 0), crc(4, 0);
    qToBigEndian<quint32>(quint32(data.size()), length.data());
    qToBigEndian<quint32>(crc32(type + data), crc.data());
    return length + type + data + crc;
}

// The signature and the header (colour type 0 grey, 2 RGB, 6 RGBA).
inline QByteArray head(quint32 width, quint32 height, int depth, int colourType, bool interlaced = false)
{
    QByteArray header(13, '\0');
    qToBigEndian(width, header.data());
    qToBigEndian(height, header.data() + 4);
    header[8] = char(depth);
    header[9] = char(colourType);
    header[12] = char(interlaced);
    return QByteArray("\x89PNG\r\n\x1a\n", 8) + chunk("IHDR", header);
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
