#pragma once

#include <QHash>
#include <QList>
#include <QString>
#include <QUrl>

#include <optional>

// What a listed file was when it was listed: a file overwritten in place or
// renamed over by another keeps its name but not these, so whatever was
// drawn or decided from the old content can tell it is out of date.
struct FileStamp
{
    qint64 mtimeNs = 0;
    qint64 size = -1;
    quint64 inode = 0;
    bool operator==(const FileStamp &) const = default;
};
using FileStamps = QHash<QUrl, FileStamp>;

// The stamp of `path` now; nullopt when nothing is there.
std::optional<FileStamp> stampOf(const QByteArray &path);

// Reading folders the way the shelf needs them. Every function here is safe to
// call from any thread: it touches nothing but the file system.

// A directory entry's name as text, when it names exactly those bytes on disk
// again. Names that do not (not UTF-8, or changed by decoding) would point at
// another file as text: folders with such names are skipped, and images are
// listed by their bytes (LocalPaths).
bool decodeEntryName(QByteArrayView name, QString *out);

// Whether a file name's extension names an image type (compared lower-case).
bool isImageName(const QByteArray &fileName);

// The images of `folder` (regular, not hidden, image extension), newest first
// by modification time, at most `limit`. Equal times keep directory order.
// Every name is listed, UTF-8 or not: see LocalPaths::fileUrl().
// An unreadable folder lists as empty.
QList<QUrl> listImages(const QString &folder, qsizetype limit);

// The direct, non-hidden subfolders of `folder`, in file-manager order
// (case-insensitive, digit runs by value, locale-aware).
QList<QUrl> listSubfolders(const QString &folder);

// How many entries of `folder` pass the image test, at most `limit`. Needs the
// names and entry types only, never a stat per file.
qint64 countImages(const QString &folder, qint64 limit);

// One pass over a folder that is both listed and counted (Home shown as the
// current folder): the folder is read once.
struct FolderListing
{
    QList<QUrl> images;     // newest first, at most the list limit
    FileStamps stamps;      // of each of `images`
    qint64 imageCount = 0;  // at most the count limit
    QList<QUrl> subfolders; // file-manager order
};
FolderListing listFolder(const QString &folder, qsizetype listLimit, qint64 countLimit, bool wantImages,
                         bool wantSubfolders);

// The folder identity used everywhere in the model: an absolute, cleaned path
// without a trailing separator, so "a/", "a/." and "a/b/.." are all "a".
QString folderPath(const QString &path);
QUrl folderUrl(const QString &path);
