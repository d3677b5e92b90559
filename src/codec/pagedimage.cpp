#include "codec/pagedimage.h"

#include <QColorSpace>

#include <sys/mman.h>

#include <cstring>

namespace PagedImage {

namespace {

// Below this a mapping's page rounding and system calls cost more than holes.
constexpr qint64 smallest = 64 * 1024;
constexpr size_t header = 64; // the mapping's size, and alignment for the pixels

void release(void *info)
{
    size_t size;
    std::memcpy(&size, info, sizeof size);
    ::munmap(info, size);
}

QImage mapped(int width, int height, qsizetype bytesPerLine, QImage::Format format)
{
    const size_t mappedBytes = size_t(bytesPerLine) * size_t(height) + header;
    void *pages = ::mmap(nullptr, mappedBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pages == MAP_FAILED)
        return {};
    std::memcpy(pages, &mappedBytes, sizeof mappedBytes);
    return QImage(static_cast<uchar *>(pages) + header, width, height, bytesPerLine, format, release, pages);
}

} // namespace

QImage create(QSize size, QImage::Format format)
{
    const int depth = QImage::toPixelFormat(format).bitsPerPixel();
    // Rows padded to 4 bytes, as QImage pads its own.
    const qsizetype bytesPerLine = ((qsizetype(size.width()) * depth + 31) / 32) * 4;
    if (size.isEmpty() || depth <= 8 || bytesPerLine * size.height() < smallest
        || qint64(size.width()) * size.height() > (qint64(1) << 31) / 4)
        return QImage(size, format);
    QImage image = mapped(size.width(), size.height(), bytesPerLine, format);
    return image.isNull() ? QImage(size, format) : image;
}

QImage copyOf(const QImage &image)
{
    if (image.sizeInBytes() < smallest || !image.colorTable().isEmpty())
        return image;
    QImage copy = mapped(image.width(), image.height(), image.bytesPerLine(), image.format());
    if (copy.isNull())
        return image;
    std::memcpy(copy.bits(), image.constBits(), size_t(image.sizeInBytes()));
    copy.setDevicePixelRatio(image.devicePixelRatio());
    copy.setColorSpace(image.colorSpace());
    return copy;
}

} // namespace PagedImage
