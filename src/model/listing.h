#pragma once

#include <QList>
#include <QString>
#include <QUrl>

// Reading folders the way the shelf needs them. Every function here is safe to
// call from any thread: it touches nothing but the file system.

// A directory entry's name as text, when it names exactly those bytes on disk
// again. Names that do not (not UTF-8, or changed by decoding) would point at
// another file, so callers skip them.
bool decodeEntryName(QByteArrayView name, QString *out);

// Whether a file name's extension names an image type (compared lower-case).
bool isImageName(const QByteArray &fileName);

// The images of `folder` (regular, not hidden, image extension), newest first
// by modification time, at most `limit`. Equal times keep directory order.
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
    QList<QUrl> images;      // newest first, at most the list limit
    QList<qint64> imageTimesMs; // each image's modification time, ms since 1970
    qint64 imageCount = 0;   // at most the count limit
    QList<QUrl> subfolders;  // file-manager order
};
FolderListing listFolder(const QString &folder, qsizetype listLimit, qint64 countLimit,
                         bool wantImages, bool wantSubfolders);

// The folder identity used everywhere in the model: an absolute, cleaned path
// without a trailing separator, so "a/", "a/." and "a/b/.." are all "a".
QString folderPath(const QString &path);
QUrl folderUrl(const QString &path);
