// Any bytes as meta.json. What reads must write back, and what is written
// must read back as the same records.
#include "meta/metastore.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray json(reinterpret_cast<const char *>(data), qsizetype(size));
    const std::optional<QHash<QString, FileMeta>> records = MetaStore::decode(json);
    if (!records)
        return 0;
    const std::optional<QHash<QString, FileMeta>> again = MetaStore::decode(MetaStore::encode(*records));
    if (!again || *again != *records)
        std::abort();
    return 0;
}
