#pragma once

#include "actions/fileproblems.h"
#include "codec/decodelimits.h"
#include "platform/applauncher.h"
#include "platform/filemanager.h"
#include "platform/trash.h"

#include <QList>
#include <QPair>
#include <QString>
#include <QUrl>

#include <functional>
#include <optional>

class MetaStore;
class QImage;
class QMimeData;
class TextPrompt;

// What the user does to screenshot files. No state: every operation takes
// the files (absolute file URLs) and works through them in order. A file that
// fails (vanished, no permission, not an image) is skipped and the rest go
// on; the slow operations add each skipped file and why to `failed` when
// given, for the person to read; nothing is ever written over, and only move and rename carry
// the file's metadata record along.
//
// The desktop services, the Trash and the metadata store are always passed
// in, so nothing reaches the user's real ones by accident. The slow
// operations (duplicate, the image copies, move, trash) are safe on a worker
// thread and touch no model state; ActionRunner runs them there, and the
// metadata records follow on the GUI thread (carryRecords).
class FileActions
{
public:
    FileActions() = delete;

    // JPEG quality of Convert to JPG.
    static constexpr int jpegQuality = 85;
    // Images that would need more memory than this to decode are skipped
    // (a huge or maliciously small-compressed image fails cleanly).
    static constexpr qint64 maxDecodeBytes = DecodeLimits::maxBytes;

    // Where files went: (from, to) for each file that moved.
    using Moves = QList<QPair<QUrl, QUrl>>;

    // Opening.
    static void open(const QList<QUrl> &files, AppLauncher &launcher);
    static void openWith(const QList<QUrl> &files, const QUrl &app, AppLauncher &launcher);
    static QList<AppChoice> applications(const QUrl &file, AppLauncher &launcher);
    static void showInFileManager(const QList<QUrl> &files, FileManager &manager);
    static void showProperties(const QUrl &file, FileManager &manager);

    // The clipboard.
    static void copyFiles(const QList<QUrl> &files);
    static void copyPaths(const QList<QUrl> &files);
    static void copyMarkdown(const QList<QUrl> &files);
    // What the copies put on the clipboard (also what a drag carries).
    static QMimeData *filesMimeData(const QList<QUrl> &files);
    static QString pathsText(const QList<QUrl> &files);
    static QString markdownText(const QList<QUrl> &files);

    // Renaming (GUI thread): asks for the new name, then renameTo. `done`
    // gets the new location, or nothing when cancelled or refused. `meta`
    // may be null.
    using RenameDone = std::function<void(const std::optional<QUrl> &)>;
    // A name the person confirmed that could not be used, and why.
    using Refused = std::function<void(const FileFailure &)>;
    static void rename(const QUrl &file, TextPrompt &prompt, MetaStore *meta, RenameDone done = {},
                       Refused refused = {});
    // Renames to exactly `newName` (trimmed) beside the file; fails when the
    // name is taken, empty, unchanged or not a single valid file name.
    // A refusal other than an unchanged or empty name says why in `why`.
    [[nodiscard]] static std::optional<QUrl> renameTo(const QUrl &file, const QString &newName, MetaStore *meta,
                                                      std::optional<FileProblem> *why = nullptr);

    // New files beside the originals; each returns the files it wrote.
    [[nodiscard]] static QList<QUrl> duplicate(const QList<QUrl> &files, FileFailures *failed = nullptr);
    [[nodiscard]] static QList<QUrl> resizeHalf(const QList<QUrl> &files, FileFailures *failed = nullptr);
    [[nodiscard]] static QList<QUrl> convertToJPG(const QList<QUrl> &files, FileFailures *failed = nullptr);

    // Moves the files into `folder` and says where each one went. A file
    // already in that folder (however the folder is spelled) stays and is
    // not listed. The records are the caller's: carryRecords.
    [[nodiscard]] static Moves move(const QList<QUrl> &files, const QUrl &folder, FileFailures *failed = nullptr);
    // Moves the metadata records after the files (GUI thread; `meta` may be null).
    static void carryRecords(const Moves &moves, MetaStore *meta);
    // Moves each file to the Trash; returns how many went.
    [[nodiscard]] static qint64 trash(const QList<QUrl> &files, Trash &trash, FileFailures *failed = nullptr);
    // Notes a file that failed with the problem errno tells of.
    static void noteFailure(FileFailures *failed, const QUrl &file, int error,
                            FileProblem fallback = FileProblem::other);

    // `wanted` when nothing is there, else the first free "stem n.ext".
    static QUrl uniqueURL(const QUrl &wanted);

    // The names the operations start from, before uniqueURL.
    static QString duplicateName(const QString &fileName);
    static QString halfSizeName(const QString &fileName);
    static QString jpgName(const QString &fileName);

    // Decodes the first image of a file, upright, within maxDecodeBytes.
    [[nodiscard]] static std::optional<QImage> readImage(const QString &path);
    // Writes `image` to a temporary file in the folder of `wanted`, then puts
    // it in place under uniqueURL(wanted). Returns the final path or "".
    [[nodiscard]] static QString writeImage(const QImage &image, const QString &wanted, const char *format,
                                            int quality = -1);
};
