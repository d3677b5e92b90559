#pragma once

#include <QImage>

// Images whose pixels live in a mapping of their own, which goes back to the
// system the moment the last copy is let go. Thumbnails are made on pool
// threads and let go by the GUI thread in cache order; from malloc they would
// sit in the pool threads' arenas, whose holes stay resident (a folder's
// first fill peaked 5 to 16 MB higher). Small images come from malloc.
namespace PagedImage {

// A new image of `size` in `format` (uninitialised), null if it cannot be made.
QImage create(QSize size, QImage::Format format);
// `image` copied onto pages of its own, or itself when small or indexed.
QImage copyOf(const QImage &image);

} // namespace PagedImage
