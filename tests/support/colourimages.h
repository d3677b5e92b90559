#pragma once

#include <QDir>
#include <QImage>

#include <cstdlib>

// Screenshots of one flat colour each: whatever draws one (a grid cell, the
// preview, a pin) shows which content it was made from by its middle pixel.
namespace ColourImages {

// The colour standing for the n-th content a test writes; far enough apart
// to tell from one another after scaling.
inline QColor colour(int n) { return QColor::fromHsv((n * 47) % 360, 90 + (n * 29) % 150, 120 + (n * 53) % 120); }

// Writes (or overwrites in place) `path` as a PNG of `colour`, sized by
// the colour so contents seldom share a file size.
inline bool write(const QString &path, const QColor &colour, int width = 96)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QImage image(width + colour.hue() % 64, 60 + colour.value() % 32, QImage::Format_RGB32);
    image.fill(colour);
    return image.save(path, "PNG");
}

// Whether two pixels differ by at most `slack` a colour channel and
// `alphaSlack` in alpha.
inline bool near(QRgb a, QRgb b, int slack, int alphaSlack = 0)
{
    return std::abs(qRed(a) - qRed(b)) <= slack && std::abs(qGreen(a) - qGreen(b)) <= slack
           && std::abs(qBlue(a) - qBlue(b)) <= slack && std::abs(qAlpha(a) - qAlpha(b)) <= alphaSlack;
}

// How many pixels of a 32-bit `image` inside `area` are within `slack` (per
// channel) of `colour`, whatever their alpha.
inline int count(const QImage &image, const QRect &area, QRgb colour, int slack)
{
    int count = 0;
    const QRect inside = area.intersected(image.rect());
    for (int y = inside.top(); y <= inside.bottom(); ++y) {
        const auto *line = reinterpret_cast<const QRgb *>(image.constScanLine(y));
        for (int x = inside.left(); x <= inside.right(); ++x)
            count += near(line[x], colour, slack, 255);
    }
    return count;
}

// Whether `image` is a picture of `colour`.
inline bool shows(const QImage &image, const QColor &colour)
{
    return !image.isNull() && near(image.pixelColor(image.width() / 2, image.height() / 2).rgb(), colour.rgb(), 3, 255);
}

} // namespace ColourImages
