#include "actions/views/fittedimage.h"

#include "actions/fileactions.h"
#include "codec/decodelimits.h"
#include "codec/pngscale.h"
#include "files/async.h"
#include "platform/threadpriority.h"

#include <QFile>
#include <QImageIOHandler>
#include <QImageReader>

#include <algorithm>
#include <cmath>
#include <limits>

namespace FittedImage {

QSize fitted(const QSize &size, const QSize &box)
{
    if (size.isEmpty() || box.isEmpty())
        return {};
    if (size.width() <= box.width() && size.height() <= box.height())
        return size;
    const double scale = std::min(double(box.width()) / size.width(), double(box.height()) / size.height());
    return QSize(std::max(1, int(std::lround(size.width() * scale))),
                 std::max(1, int(std::lround(size.height() * scale))));
}

std::optional<Decoded> decode(const QString &path, const QSize &maxPixels)
{
    // PNGs are scaled as their rows are read, within the decode bound; one
    // our reader refuses is not given to Qt's.
    QSize full;
    PngScale::Result png = PngScale::readScaled(
        path,
        [&](QSize size) {
            full = size;
            return fitted(size, maxPixels.isEmpty() ? size : maxPixels);
        },
        std::numeric_limits<qint64>::max());
    if (png.outcome == PngScale::Outcome::Done)
        return Decoded{std::move(png.image), full};
    if (png.outcome == PngScale::Outcome::Failed)
        return std::nullopt;
    const std::unique_ptr<DecodeLimits::QtReader> qt = DecodeLimits::openQtReader(path);
    if (!qt)
        return std::nullopt;
    QImageReader &reader = qt->reader;
    const QSize stored = reader.size();
    if (!stored.isValid() || maxPixels.isEmpty()) {
        // No size before decoding: the file actions' reader knows how to
        // decode that safely, then we scale the result.
        std::optional<QImage> whole = FileActions::readImage(path);
        if (!whole)
            return std::nullopt;
        const QSize target = fitted(whole->size(), maxPixels.isEmpty() ? whole->size() : maxPixels);
        QImage image =
            target == whole->size() ? *whole : whole->scaled(target, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        return Decoded{image, whole->size()};
    }
    if (qint64(stored.width()) * stored.height() * 4 > FileActions::maxDecodeBytes)
        return std::nullopt;
    // The scaled size applies to the stored picture, before it is turned
    // upright; a quarter turn swaps the sides.
    const bool quarterTurn = reader.transformation() & QImageIOHandler::TransformationRotate90;
    const QSize upright = quarterTurn ? stored.transposed() : stored;
    const QSize target = fitted(upright, maxPixels);
    if (target != upright)
        reader.setScaledSize(quarterTurn ? target.transposed() : target);
    QImage image;
    if (!reader.read(&image) || image.isNull())
        return std::nullopt;
    return Decoded{image, upright};
}

Threads::Threads()
{
    setMaxThreadCount(2);
    setObjectName(QStringLiteral("brindlewick.preview"));
}

Threads::~Threads()
{
    clear();
    waitForDone();
}

void decodeLater(QThreadPool &threads, QObject *context, const QString &path, const QSize &maxPixels,
                 std::function<void(const std::optional<Decoded> &)> done)
{
    Async::run(
        threads, context,
        [path, maxPixels] {
            standBack(Background::userInitiated);
            return decode(path, maxPixels);
        },
        std::move(done));
}

} // namespace FittedImage
