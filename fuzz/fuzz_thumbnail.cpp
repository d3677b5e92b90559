// Any bytes through the thumbnail decode (our rows, libspng's for the other
// kinds, the scaling), at a small and at a large size. A file it decodes
// comes out no larger than asked, and never empty.
#include "codec/pngscale.h"

#include <QString>

#include <cstdlib>
#include <sys/mman.h>
#include <unistd.h>

namespace {

// The input as a file, without touching the disk.
const QString &memoryFile(int &fd)
{
    static int handle = memfd_create("fuzz-png", 0);
    static const QString path = QStringLiteral("/proc/self/fd/%1").arg(handle);
    fd = handle;
    return path;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    int fd = -1;
    const QString &path = memoryFile(fd);
    if (fd < 0 || ftruncate(fd, 0) != 0 || pwrite(fd, data, size, 0) != ssize_t(size))
        std::abort();
    for (int pixels : {7, 256}) {
        const PngScale::Result result = PngScale::readScaled(path, pixels, 100LL * 1000 * 1000);
        if (result.outcome != PngScale::Outcome::Done)
            continue;
        const QSize made = result.image.size();
        if (made.isEmpty() || made.width() > pixels || made.height() > pixels)
            std::abort();
    }
    return 0;
}
