#pragma once

#include "meta/metastore.h"

#include <QByteArrayView>

#include <functional>

// The records in meta.json's form, as MetaStore::encode makes them, handed to
// `sink` in pieces of about `pieceBytes` as they are made, so a save can write
// (and the disk take) the start of the file while the rest is encoded. Stops
// at the first piece `sink` refuses; false then.
bool encodeMetaJson(const QHash<QString, FileMeta> &records, qsizetype pieceBytes,
                    const std::function<bool(QByteArrayView)> &sink);
