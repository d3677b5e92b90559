#pragma once

#include "support/pngbytes.h"
#include "support/sandbox.h"

#include <QBuffer>
#include <QImage>

// Files that look like images by name but must not be decoded: empty, text,
// cut short, damaged in the middle, and a valid PNG header that claims
// 30000 x 30000 pixels. Written into `dir`; returns their paths.
namespace BadImages {

inline QByteArray hugePng()
{
    // A few rows of pixels; a decoder that tries anyway finds the rest missing.
    return PngBytes::file(PngBytes::head(30000, 30000, 8, 0), PngBytes::deflated(QByteArray(4 * 30001, '\0')));
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
    const QByteArray png = encoded("PNG");
    const QByteArray jpeg = encoded("JPEG");
    QByteArray damaged = png;
    for (int i = int(damaged.size()) / 3; i < damaged.size() * 2 / 3; ++i)
        damaged[i] = char(damaged[i] ^ 0x5a);
    const QList<QPair<QString, QByteArray>> files = {
        {"empty.png", {}},
        {"notes.png", "just some text, not a picture\n"},
        {"truncated.png", png.left(png.size() / 2)},
        {"truncated.jpg", jpeg.left(200)},
        {"damaged.png", damaged},
        {"huge.png", hugePng()},
    };
    QStringList paths;
    for (const auto &[name, bytes] : files) {
        paths << dir + QLatin1Char('/') + name;
        Sandbox::writeFile(paths.last(), bytes);
    }
    return paths;
}

} // namespace BadImages
