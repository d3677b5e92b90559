#include "codec/decodelimits.h"

#include "files/localpaths.h"

namespace DecodeLimits {

std::unique_ptr<QtReader> openQtReader(const QString &path)
{
    static const bool limited = [] {
        QImageReader::setAllocationLimit(int(maxBytes / (1024 * 1024)));
        return true;
    }();
    (void)limited;
    std::unique_ptr<QFile> file = LocalPaths::openForReading(path);
    if (!file)
        return nullptr;
    auto qt = std::make_unique<QtReader>();
    qt->file = std::move(file);
    qt->reader.setDevice(qt->file.get());
    qt->reader.setAutoTransform(true);
    return qt;
}

} // namespace DecodeLimits
