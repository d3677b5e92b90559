#pragma once

#include <QtGlobal>

// What any one decode may hold, whatever the file claims. A PNG of a few
// hundred bytes can declare gigabytes of chunks or pixels; every reader here
// checks what it is about to hold against this before holding it. An 8K
// screenshot read to gray for recognition is 33 MB; a thumbnail holds a few.
namespace DecodeLimits {

constexpr qint64 maxBytes = 64LL * 1024 * 1024;

// Qt's image readers refuse any picture above this many megabytes. Set once
// for the whole program (it is one setting in Qt); any thread.
void limitQtReaders();

} // namespace DecodeLimits
