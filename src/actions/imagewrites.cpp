// The image half of the file actions: half-size PNGs and JPEG copies. Each
// new image is written into a hidden temporary file beside its final place
// and renamed there only when complete, so a failure leaves nothing behind.
#include "actions/fileactions.h"

#include "files/localpaths.h"
#include "files/safefiles.h"

#include <QColorSpace>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QImageReader>
#include <QImageWriter>
#include <QPainter>

#include <unistd.h>

namespace {

QString besideFile(const QFileInfo &info, const QString &name)
{
    return info.absolutePath() + QLatin1Char('/') + name;
}

} // namespace

std::optional<QImage> FileActions::readImage(const QString &path)
{
    // Opened through its bytes: a Qt file name would reach a look-alike.
    const std::unique_ptr<QFile> file = LocalPaths::openForReading(path);
    if (!file)
        return std::nullopt;
    QImageReader reader(file.get());
    reader.setAutoTransform(true);
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

QString FileActions::writeImage(const QImage &image, const QString &wanted, const char *format,
                                int quality)
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

QList<QUrl> FileActions::resizeHalf(const QList<QUrl> &files)
{
    QList<QUrl> written;
    for (const QUrl &file : files) {
        const QFileInfo info(LocalPaths::localPath(file));
        std::optional<QImage> image = readImage(info.absoluteFilePath());
        if (!image || image->width() < 2 || image->height() < 2)
            continue;
        if (image->colorSpace().isValid() && image->colorSpace() != QColorSpace(QColorSpace::SRgb))
            image->convertToColorSpace(QColorSpace::SRgb);
        const QImage half = image->convertToFormat(image->hasAlphaChannel()
                                                       ? QImage::Format_ARGB32_Premultiplied
                                                       : QImage::Format_RGB32)
                                .scaled(image->width() / 2, image->height() / 2,
                                        Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        if (half.isNull())
            continue;
        const QString placed = writeImage(half, besideFile(info, halfSizeName(info.fileName())), "png");
        if (!placed.isEmpty())
            written.append(LocalPaths::fileUrl(placed));
    }
    return written;
}

QList<QUrl> FileActions::convertToJPG(const QList<QUrl> &files)
{
    QList<QUrl> written;
    for (const QUrl &file : files) {
        const QFileInfo info(LocalPaths::localPath(file));
        if (SafeFiles::splitName(info.fileName()).extension.toLower() == QLatin1String("jpg"))
            continue;
        std::optional<QImage> image = readImage(info.absoluteFilePath());
        if (!image)
            continue;
        QImage flat = *image;
        if (image->hasAlphaChannel()) {
            // JPEG has no transparency; see-through parts become white, as
            // on a page, rather than black.
            flat = QImage(image->size(), QImage::Format_RGB32);
            flat.setColorSpace(image->colorSpace());
            flat.fill(Qt::white);
            QPainter painter(&flat);
            painter.drawImage(0, 0, *image);
        }
        const QString placed =
            writeImage(flat, besideFile(info, jpgName(info.fileName())), "jpeg", jpegQuality);
        if (!placed.isEmpty())
            written.append(LocalPaths::fileUrl(placed));
    }
    return written;
}
