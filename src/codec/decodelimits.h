#pragma once

#include <QFile>
#include <QImageReader>
#include <QtGlobal>

#include <memory>

// What any one decode may hold, whatever the file claims. A PNG of a few
// hundred bytes can declare gigabytes of chunks or pixels; every reader here
// checks what it is about to hold against this before holding it. An 8K
// screenshot read to gray for recognition is 33 MB; a thumbnail holds a few.
namespace DecodeLimits {

constexpr qint64 maxBytes = 64LL * 1024 * 1024;

// A Qt image reader for the kinds our own readers do not take: it reads the
// file through its real bytes (a Qt file name could reach a look-alike),
// turns the image as the file says, and refuses any picture above the bound
// (one setting for the whole program in Qt, made on first use).
struct QtReader
{
    std::unique_ptr<QFile> file;
    QImageReader reader;
};
// Null when the file cannot be opened. Any thread.
std::unique_ptr<QtReader> openQtReader(const QString &path);

} // namespace DecodeLimits
