#include "files/decodelimits.h"

#include <QImageReader>

namespace DecodeLimits {

void limitQtReaders()
{
    static const bool done = [] {
        QImageReader::setAllocationLimit(int(maxBytes / (1024 * 1024)));
        return true;
    }();
    (void)done;
}

} // namespace DecodeLimits
