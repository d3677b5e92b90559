#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <memory>

class QFile;

// File names on Linux are bytes. Most are UTF-8 and read as text; the rest
// (an old archive's Latin-1 names, a broken download) must still reach the
// very file they name. A path here is text that keeps every byte: a byte
// that is not part of valid UTF-8 is held as the lone surrogate U+DC80+byte,
// which no UTF-8 name can decode to, so the mapping goes both ways. Such a
// path must never be handed to a Qt file API (those would turn the byte
// into U+FFFD and reach a look-alike file): disk work goes through
// pathBytes() and the POSIX calls, or a QFile opened on a descriptor.
namespace LocalPaths {

// The path as text, byte for byte (see above).
QString pathText(QByteArrayView bytes);

// The bytes a path from pathText() names.
QByteArray pathBytes(const QString &path);

// Whether the path has held bytes, i.e. is not plain text.
bool hasRawBytes(const QString &path);

// The path a file URL names. A name that is not UTF-8 lives in the URL as its
// percent-encoded bytes; QUrl::toLocalFile() would turn those into U+FFFD.
QString localPath(const QUrl &file);

// A file URL for a path from pathText(). Text paths give the same URL as
// QUrl::fromLocalFile(); held bytes stay percent-encoded as they are.
QUrl fileUrl(const QString &path);

// A file opened for reading through its real bytes, or nullptr.
std::unique_ptr<QFile> openForReading(const QString &path);

} // namespace LocalPaths
