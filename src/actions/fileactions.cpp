#include "actions/fileactions.h"

#include "actions/prompts.h"
#include "files/localpaths.h"
#include "files/safefiles.h"
#include "meta/metastore.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QPointer>

#include <cerrno>

namespace {

QString joined(const QString &folder, const QString &name)
{
    return folder == QLatin1String("/") ? QLatin1Char('/') + name : folder + QLatin1Char('/') + name;
}

QString withExtension(const QString &stem, const QString &extension)
{
    return extension.isEmpty() ? stem : stem + QLatin1Char('.') + extension;
}

// The rename dialog's texts.
QString renameMessage(const QString &name)
{
    return QCoreApplication::translate("FileActions", "Rename \u201C%1\u201D").arg(name);
}
QString renameButton() { return QCoreApplication::translate("FileActions", "Rename"); }
QString cancelButton() { return QCoreApplication::translate("FileActions", "Cancel"); }

} // namespace

void FileActions::open(const QList<QUrl> &files, AppLauncher &launcher)
{
    for (const QUrl &file : files)
        launcher.open(file);
}

void FileActions::openWith(const QList<QUrl> &files, const QUrl &app, AppLauncher &launcher)
{
    if (!files.isEmpty())
        launcher.openWith(files, app);
}

QList<AppChoice> FileActions::applications(const QUrl &file, AppLauncher &launcher)
{
    return launcher.applicationsFor(file);
}

void FileActions::showInFileManager(const QList<QUrl> &files, FileManager &manager)
{
    if (!files.isEmpty())
        manager.showItems(files);
}

void FileActions::showProperties(const QUrl &file, FileManager &manager) { manager.showItemProperties(file); }

void FileActions::rename(const QUrl &file, TextPrompt &prompt, MetaStore *meta, RenameDone done, Refused refused)
{
    const QString current = file.fileName(); // U+FFFD for bytes that are not UTF-8
    TextPromptRequest request;
    request.message = renameMessage(current);
    request.text = current;
    request.confirmButton = renameButton();
    request.cancelButton = cancelButton();
    request.fieldWidth = 360;
    request.fieldHeight = 24;
    request.selectStem = true;
    // The store outlives any dialog in the program, but not every test's.
    QPointer<MetaStore> store(meta);
    prompt.askText(request, [file, store, done, refused](const std::optional<QString> &answer) {
        std::optional<FileProblem> why;
        const std::optional<QUrl> renamed = answer ? renameTo(file, *answer, store.data(), &why) : std::nullopt;
        if (done)
            done(renamed);
        if (why && refused)
            refused({file, *why});
    });
}

std::optional<QUrl> FileActions::renameTo(const QUrl &file, const QString &newName, MetaStore *meta,
                                          std::optional<FileProblem> *why)
{
    // Unchanged or empty: nothing to do, and nothing went wrong.
    if (why)
        *why = std::nullopt;
    const QString path = LocalPaths::localPath(file);
    const QFileInfo info(path);
    // The name confirmed unchanged stays, even when trimming would change it;
    // a name that is not UTF-8 was shown (and comes back) as its lossy text.
    if (newName == info.fileName() || newName == file.fileName())
        return std::nullopt;
    const QString name = newName.trimmed();
    if (name.isEmpty() || name == info.fileName())
        return std::nullopt;
    const QString folder = info.absolutePath();
    // A typed "/" or ".." must not send the file anywhere else.
    if (!SafeFiles::isValidEntryName(name, folder)) {
        if (why)
            *why = FileProblem::badName;
        return std::nullopt;
    }
    const QString target = joined(folder, name);
    switch (SafeFiles::renameNoReplace(path, target)) {
    case SafeFiles::RenameResult::renamed:
        break;
    case SafeFiles::RenameResult::targetExists:
        if (why)
            *why = FileProblem::nameTaken;
        return std::nullopt;
    case SafeFiles::RenameResult::crossDevice:
    case SafeFiles::RenameResult::failed:
        if (why)
            *why = FileProblems::fromErrno(errno);
        return std::nullopt;
    }
    const QUrl renamed = LocalPaths::fileUrl(target);
    if (meta)
        meta->moveRecord(file, renamed);
    return renamed;
}

void FileActions::noteFailure(FileFailures *failed, const QUrl &file, int error, FileProblem fallback)
{
    if (failed)
        failed->append({file, FileProblems::fromErrno(error, fallback)});
}

QList<QUrl> FileActions::duplicate(const QList<QUrl> &files, FileFailures *failed)
{
    QList<QUrl> written;
    for (const QUrl &file : files) {
        const QFileInfo info(LocalPaths::localPath(file));
        const QString wanted = joined(info.absolutePath(), duplicateName(info.fileName()));
        errno = 0;
        const QString copy = SafeFiles::copyUnique(info.absoluteFilePath(), wanted);
        if (!copy.isEmpty())
            written.append(LocalPaths::fileUrl(copy));
        else
            noteFailure(failed, file, errno);
    }
    return written;
}

FileActions::Moves FileActions::move(const QList<QUrl> &files, const QUrl &folder, FileFailures *failed)
{
    const QString target = QDir::cleanPath(QFileInfo(folder.toLocalFile()).absoluteFilePath());
    Moves moves;
    for (const QUrl &file : files) {
        const QFileInfo info(LocalPaths::localPath(file));
        // Compared as folders, not as text: through a symlink the same
        // folder has another name, and "moving" there would only renumber.
        if (SafeFiles::sameObject(info.absolutePath(), target))
            continue;
        errno = 0;
        const QString placed = SafeFiles::moveUnique(info.absoluteFilePath(), joined(target, info.fileName()));
        if (!placed.isEmpty())
            moves.append({file, LocalPaths::fileUrl(placed)});
        else
            noteFailure(failed, file, errno);
    }
    return moves;
}

void FileActions::carryRecords(const Moves &moves, MetaStore *meta)
{
    if (!meta)
        return;
    for (const auto &[from, to] : moves)
        meta->moveRecord(from, to);
}

qint64 FileActions::trash(const QList<QUrl> &files, Trash &trash, FileFailures *failed)
{
    qint64 trashed = 0;
    for (const QUrl &file : files) {
        int error = 0;
        if (trash.moveToTrash(LocalPaths::localPath(file), &error))
            ++trashed;
        else
            noteFailure(failed, file, error, error == EXDEV ? FileProblem::noTrash : FileProblem::other);
    }
    return trashed;
}

QUrl FileActions::uniqueURL(const QUrl &wanted)
{
    return LocalPaths::fileUrl(SafeFiles::uniquePath(LocalPaths::localPath(wanted)));
}

QString FileActions::duplicateName(const QString &fileName)
{
    const SafeFiles::NameParts parts = SafeFiles::splitName(fileName);
    return withExtension(parts.stem + QStringLiteral(" copy"), parts.extension);
}

QString FileActions::halfSizeName(const QString &fileName)
{
    return SafeFiles::splitName(fileName).stem + QStringLiteral(" @50%.png");
}

QString FileActions::jpgName(const QString &fileName)
{
    return SafeFiles::splitName(fileName).stem + QStringLiteral(".jpg");
}
