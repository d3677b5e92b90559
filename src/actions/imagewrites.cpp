// The image half of the file actions: half-size PNGs and JPEG copies. Each
// new image is written into a hidden temporary file beside its final place
// and renamed there only when complete, so a failure leaves nothing behind.
#include "actions/fileactions.h"

#include "codec/pngscale.h"
#include "codec/pngsource.h"
#include "files/localpaths.h"
#include "files/safefiles.h"

#include <QColorSpace>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QImageReader>
#include <QImageWriter>
#include <QPainter>

#include <cerrno>
#include <cstring>

#include <unistd.h>

namespace {

QString besideFile(const QFileInfo &info, const QString &name) { return info.absolutePath() + QLatin1Char('/') + name; }

// A file that could not be decoded: gone, or not a readable image.
void unreadable(FileFailures *failed, const QUrl &file, const QFileInfo &info)
{
    FileActions::noteFailure(failed, file, info.exists() ? 0 : ENOENT, FileProblem::unreadable);
}

// The written copy, or why there is none (errno as the write left it).
void placeWritten(QList<QUrl> &written, FileFailures *failed, const QUrl &file, const QString &placed)
{
    if (!placed.isEmpty())
        written.append(LocalPaths::fileUrl(placed));
    else
        FileActions::noteFailure(failed, file, errno);
}

// A PNG whole, its rows copied as they are read: 3 bytes a pixel when
// opaque. Failed for one that is damaged or would not fit the bound;
// NotHandled for a file that is not a PNG.
PngRows::Status readPng(const QString &path, QImage &image)
{
    PngSource source;
    const PngRows::Status status = source.open(path, FileActions::maxDecodeBytes);
    if (status != PngRows::Status::Ready)
        return status;
    const int channels = source.channels();
    const qint64 bytes = qint64(source.width()) * source.height() * channels;
    if (bytes + PngSource::rowBytesFor(source.width()) > FileActions::maxDecodeBytes)
        return PngRows::Status::Failed;
    image = QImage(int(source.width()), int(source.height()),
                   channels == 4 ? QImage::Format_RGBA8888 : QImage::Format_RGB888);
    if (image.isNull())
        return PngRows::Status::Failed;
    const size_t rowBytes = size_t(source.width()) * size_t(channels);
    for (uint32_t y = 0; y < source.height(); ++y) {
        const uint8_t *row = source.row(y);
        if (!row) {
            image = QImage();
            return PngRows::Status::Failed;
        }
        std::memcpy(image.scanLine(int(y)), row, rowBytes);
    }
    return PngRows::Status::Ready;
}

} // namespace

std::optional<QImage> FileActions::readImage(const QString &path)
{
    // PNGs through our reader; one it refuses is not given to Qt's, which
    // can take gigabytes and seconds over a chunk that claims to be huge.
    QImage png;
    switch (readPng(path, png)) {
    case PngRows::Status::Ready:
        return png;
    case PngRows::Status::Failed:
        return std::nullopt;
    case PngRows::Status::NotHandled:
        break;
    }
    const std::unique_ptr<DecodeLimits::QtReader> qt = DecodeLimits::openQtReader(path);
    if (!qt)
        return std::nullopt;
    QImageReader &reader = qt->reader;
    // Refuse before decoding: the header's size is what decoding would cost,
    // whatever the compressed file's size.
    const QSize size = reader.size();
    if (size.isValid() && qint64(size.width()) * size.height() * 4 > maxDecodeBytes)
        return std::nullopt;
    // Some readers (icons, for one) learn the size only while decoding. Qt's
    // readers refuse any single picture above the allocation limit then, so
    // decoding is safe only while that limit is on and within ours.
    if (!size.isValid()
        && (QImageReader::allocationLimit() <= 0
            || qint64(QImageReader::allocationLimit()) * 1024 * 1024 > maxDecodeBytes))
        return std::nullopt;
    QImage image;
    if (!reader.read(&image) || image.isNull() || image.sizeInBytes() > maxDecodeBytes)
        return std::nullopt;
    return image;
}

QString FileActions::writeImage(const QImage &image, const QString &wanted, const char *format, int quality)
{
    const auto temp = SafeFiles::createTemp(QFileInfo(wanted).absolutePath());
    if (!temp)
        return {};
    bool written = false;
    {
        QFile file;
        if (file.open(temp->fd, QIODevice::WriteOnly, QFileDevice::DontCloseHandle)) {
            QImageWriter writer(&file, format);
            if (quality >= 0)
                writer.setQuality(quality);
            written = writer.write(image) && file.flush();
        }
    }
    if (!SafeFiles::syncAndClose(temp->fd) || !written) {
        ::unlink(LocalPaths::pathBytes(temp->path).constData());
        return {};
    }
    return SafeFiles::placeUnique(temp->path, wanted);
}

QList<QUrl> FileActions::resizeHalf(const QList<QUrl> &files, FileFailures *failed)
{
    QList<QUrl> written;
    for (const QUrl &file : files) {
        const QFileInfo info(LocalPaths::localPath(file));
        // A PNG is averaged down as its rows are read: never held whole.
        const PngScale::Result png = PngScale::readScaled(
            info.absoluteFilePath(), [](QSize full) { return QSize(full.width() / 2, full.height() / 2); },
            maxDecodeBytes);
        if (png.outcome == PngScale::Outcome::Failed) {
            unreadable(failed, file, info);
            continue;
        }
        if (png.outcome == PngScale::Outcome::Done) {
            errno = 0;
            placeWritten(written, failed, file,
                         writeImage(png.image, besideFile(info, halfSizeName(info.fileName())), "png"));
            continue;
        }
        std::optional<QImage> image = readImage(info.absoluteFilePath());
        if (!image || image->width() < 2 || image->height() < 2) {
            unreadable(failed, file, info);
            continue;
        }
        if (image->colorSpace().isValid() && image->colorSpace() != QColorSpace(QColorSpace::SRgb))
            image->convertToColorSpace(QColorSpace::SRgb);
        const QImage half =
            image
                ->convertToFormat(image->hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32)
                .scaled(image->width() / 2, image->height() / 2, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        if (half.isNull()) {
            FileActions::noteFailure(failed, file, ENOMEM);
            continue;
        }
        errno = 0;
        placeWritten(written, failed, file, writeImage(half, besideFile(info, halfSizeName(info.fileName())), "png"));
    }
    return written;
}

QList<QUrl> FileActions::convertToJPG(const QList<QUrl> &files, FileFailures *failed)
{
    QList<QUrl> written;
    for (const QUrl &file : files) {
        const QFileInfo info(LocalPaths::localPath(file));
        if (SafeFiles::splitName(info.fileName()).extension.toLower() == QLatin1String("jpg"))
            continue;
        std::optional<QImage> image = readImage(info.absoluteFilePath());
        if (!image) {
            unreadable(failed, file, info);
            continue;
        }
        // JPEG has no transparency; see-through parts become white, as on a
        // page, rather than black.
        QImage flat;
        if (image->format() == QImage::Format_RGBA8888) {
            // A PNG as read: laid over white in place, not in a copy as large.
            for (int y = 0; y < image->height(); ++y) {
                uchar *p = image->scanLine(y);
                for (int x = 0; x < image->width(); ++x, p += 4) {
                    const int alpha = p[3];
                    for (int c = 0; c < 3; ++c)
                        p[c] = uchar((p[c] * alpha + 255 * (255 - alpha) + 127) / 255);
                }
            }
            image->reinterpretAsFormat(QImage::Format_RGBX8888);
            flat = std::move(*image);
        } else if (image->hasAlphaChannel()) {
            flat = QImage(image->size(), QImage::Format_RGB32);
            flat.setColorSpace(image->colorSpace());
            flat.fill(Qt::white);
            QPainter painter(&flat);
            painter.drawImage(0, 0, *image);
        } else {
            flat = std::move(*image);
        }
        errno = 0;
        placeWritten(written, failed, file,
                     writeImage(flat, besideFile(info, jpgName(info.fileName())), "jpeg", jpegQuality));
    }
    return written;
}
