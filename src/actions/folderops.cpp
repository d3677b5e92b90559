#include "actions/folderops.h"

#include "actions/actionrunner.h"
#include "actions/fileactions.h"
#include "files/safefiles.h"
#include "model/shelf.h"

#include <QFile>
#include <QFileInfo>
#include <QPointer>

#include <sys/stat.h>

namespace FolderOps {

TextPromptRequest newFolderRequest(const QUrl &home)
{
    TextPromptRequest request;
    request.message = QStringLiteral("New Folder");
    request.informativeText = QStringLiteral("Created inside %1.").arg(QFileInfo(home.toLocalFile()).fileName());
    request.placeholder = QStringLiteral("Folder name");
    request.confirmButton = QStringLiteral("Create");
    request.cancelButton = QStringLiteral("Cancel");
    request.fieldWidth = 300;
    request.fieldHeight = 24;
    return request;
}

bool createFolder(const QUrl &home, const QString &name)
{
    const QString trimmed = name.trimmed();
    const QString homePath = Shelf::folderKey(home).toLocalFile();
    if (!SafeFiles::isValidEntryName(trimmed, homePath))
        return false;
    const QString path = homePath + QLatin1Char('/') + trimmed;
    return ::mkdir(QFile::encodeName(path).constData(), 0777) == 0;
}

void newFolder(Shelf &shelf, TextPrompt &prompt)
{
    QPointer<Shelf> target(&shelf);
    prompt.askText(newFolderRequest(shelf.home()), [target](const std::optional<QString> &answer) {
        if (!target || !answer || answer->trimmed().isEmpty())
            return;
        // Home as it is now: it may have changed while the dialog was open.
        // A name that is taken or not allowed makes no folder; the scan
        // shows what is there either way.
        (void)createFolder(target->home(), *answer);
        target->scan();
    });
}

void renameFolder(Shelf &shelf, const QUrl &folder, TextPrompt &prompt, MetaStore *meta)
{
    const QUrl key = Shelf::folderKey(folder);
    QPointer<Shelf> target(&shelf);
    FileActions::rename(key, prompt, meta, [target, key](const std::optional<QUrl> &renamed) {
        if (!target)
            return;
        if (renamed && key == target->current())
            target->openFolder(*renamed);
        target->scan();
    });
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
