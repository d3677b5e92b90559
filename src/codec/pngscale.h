#pragma once

#include <QImage>
#include <QString>

#include <functional>

// Reads a PNG file scaled down while its rows are decoded: each row is folded
// into an area-averaging accumulator as it is undone, so no full-size image
// of pixels is ever made. Rows come from codec/pngsource.h, so what a decode
// holds stays within DecodeLimits::maxBytes whatever the file claims.
namespace PngScale {

enum class Outcome {
    Done,       // `image` holds the result
    Failed,     // a PNG that cannot be read: damaged, cut short, too large
    NotHandled, // not a PNG
};

struct Result
{
    Outcome outcome = Outcome::NotHandled;
    QImage image;
};

// Decodes `path` with its longest side at most `pixels` (never enlarged),
// aspect kept. Opaque images come back as Format_RGB32, others as
// Format_ARGB32_Premultiplied (averaged premultiplied, so no fringes).
// Files of more than `maxPixels` source pixels fail. Any thread.
Result readScaled(const QString &path, int pixels, qint64 maxPixels);
// The same at the size `sizeFor` gives for the file's size (no larger than it).
Result readScaled(const QString &path, const std::function<QSize(QSize)> &sizeFor, qint64 maxPixels);

// The size `full` takes fitted into `pixels` square (never enlarged, at
// least 1 x 1).
QSize fittedSize(QSize full, int pixels);

} // namespace PngScale
