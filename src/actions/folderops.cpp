#include "actions/folderops.h"

#include "actions/actionrunner.h"
#include "actions/fileactions.h"
#include "files/safefiles.h"
#include "model/shelf.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QPointer>

#include <cerrno>

#include <sys/stat.h>

namespace FolderOps {

TextPromptRequest newFolderRequest(const QUrl &home)
{
    TextPromptRequest request;
    request.message = QCoreApplication::translate("FolderOps", "New Folder");
    request.informativeText =
        QCoreApplication::translate("FolderOps", "Created inside %1.").arg(QFileInfo(home.toLocalFile()).fileName());
    request.placeholder = QCoreApplication::translate("FolderOps", "Folder name");
    request.confirmButton = QCoreApplication::translate("FolderOps", "Create");
    request.cancelButton = QCoreApplication::translate("FolderOps", "Cancel");
    request.fieldWidth = 300;
    request.fieldHeight = 24;
    return request;
}

bool createFolder(const QUrl &home, const QString &name, std::optional<FileProblem> *why)
{
    if (why)
        *why = std::nullopt;
    const QString trimmed = name.trimmed();
    const QString homePath = Shelf::folderKey(home).toLocalFile();
    if (!SafeFiles::isValidEntryName(trimmed, homePath)) {
        if (why)
            *why = FileProblem::badName;
        return false;
    }
    const QString path = homePath + QLatin1Char('/') + trimmed;
    if (::mkdir(QFile::encodeName(path).constData(), 0777) == 0)
        return true;
    if (why)
        *why = FileProblems::fromErrno(errno);
    return false;
}

void newFolder(Shelf &shelf, TextPrompt &prompt, Refused refused)
{
    QPointer<Shelf> target(&shelf);
    prompt.askText(newFolderRequest(shelf.home()), [target, refused](const std::optional<QString> &answer) {
        if (!target || !answer || answer->trimmed().isEmpty())
            return;
        // Home as it is now: it may have changed while the dialog was open.
        // A name that is taken or not allowed makes no folder; the scan
        // shows what is there either way.
        const QUrl home = target->home();
        std::optional<FileProblem> why;
        if (!createFolder(home, *answer, &why) && why && refused) {
            const QUrl folder =
                QUrl::fromLocalFile(Shelf::folderKey(home).toLocalFile() + QLatin1Char('/') + answer->trimmed());
            refused({folder, *why});
        }
        target->scan();
    });
}

void renameFolder(Shelf &shelf, const QUrl &folder, TextPrompt &prompt, MetaStore *meta, Refused refused)
{
    const QUrl key = Shelf::folderKey(folder);
    QPointer<Shelf> target(&shelf);
    FileActions::rename(
        key, prompt, meta,
        [target, key](const std::optional<QUrl> &renamed) {
            if (!target)
                return;
            if (renamed && key == target->current())
                target->openFolder(*renamed);
            target->scan();
        },
        refused);
}

void trashFolder(Shelf &shelf, const QUrl &folder, ActionRunner &runner, Landed done)
{
    const QUrl key = Shelf::folderKey(folder);
    if (key == shelf.home())
        return;
    runner.trash({key}, &shelf, [&shelf, key, done](const FileWorkResult &result) {
        if (key == shelf.current())
            shelf.openFolder(shelf.home());
        shelf.scan();
        if (done)
            done(result);
    });
}

void dropOnFolder(Shelf &shelf, const QList<QUrl> &files, const QUrl &folder, ActionRunner &runner, Landed done)
{
    runner.move(files, Shelf::folderKey(folder), &shelf, [&shelf, done](const FileWorkResult &result) {
        if (result.count >= 1) {
            shelf.setSelection({});
            shelf.scan();
        }
        if (done)
            done(result);
    });
}

void dropOnGrid(Shelf &shelf, const QList<QUrl> &files, ActionRunner &runner, Landed done)
{
    runner.move(files, shelf.current(), &shelf, [&shelf, done](const FileWorkResult &result) {
        if (result.count >= 1)
            shelf.scan();
        if (done)
            done(result);
    });
}

} // namespace FolderOps
