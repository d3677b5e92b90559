#include "actions/views/filecommands.h"

#include "actions/actionrunner.h"
#include "actions/fileactions.h"
#include "actions/folderops.h"
#include "actions/views/pins.h"
#include "actions/views/previewer.h"
#include "meta/metastore.h"
#include "meta/textindexer.h"
#include "model/shelf.h"
#include "system/texts.h"

#include <QAction>

namespace {

FileCommand::Title fixed(const QString &title)
{
    return [title](qsizetype) { return title; };
}

} // namespace

FileCommand::FileCommand(Shelf &shelf, Reach reach, Title title, Act act, QObject *parent)
    : QObject(parent), m_shelf(shelf), m_reach(reach), m_title(std::move(title)), m_act(std::move(act)),
      m_action(new QAction(m_title(1), this))
{
    connect(m_action, &QAction::triggered, this, [this] { trigger(); });
    refresh();
}

QList<QUrl> FileCommand::targets() const
{
    switch (m_reach) {
    case Reach::selection:
        return m_shelf.selectedFiles();
    case Reach::oneSelected: {
        const QList<QUrl> selected = m_shelf.selectedFiles();
        return selected.size() == 1 ? selected : QList<QUrl>();
    }
    case Reach::primary: {
        QList<QUrl> files = m_shelf.selectedFiles();
        if (files.isEmpty())
            files = m_shelf.visible();
        return files.mid(0, 1);
    }
    case Reach::nothing:
        break;
    }
    return {};
}

void FileCommand::run(const QList<QUrl> &files)
{
    if (m_act && (!files.isEmpty() || m_reach == Reach::nothing))
        m_act(files);
}

void FileCommand::trigger()
{
    if (m_trigger)
        m_trigger();
    else
        run(targets());
}

QAction *FileCommand::entryFor(const QList<QUrl> &files, QObject *parent)
{
    // A right-click menu shows no keys: its entries act on the files clicked,
    // which need not be what the keys act on.
    auto *entry = new QAction(m_action->icon(), m_title(files.size()), parent);
    QPointer<FileCommand> self = this;
    connect(entry, &QAction::triggered, entry, [self, files] {
        if (self)
            self->run(files);
    });
    return entry;
}

void FileCommand::refresh() { m_action->setEnabled(m_reach == Reach::nothing || !targets().isEmpty()); }

QIcon FileCommand::themedIcon(const QStringList &themeNames, const QString &bundled)
{
    for (const QString &name : themeNames) {
        if (QIcon::hasThemeIcon(name))
            return QIcon::fromTheme(name);
    }
    return bundled.isEmpty() ? QIcon()
                             : QIcon(QStringLiteral(":/brindlewick/icons/") + bundled + QStringLiteral(".svg"));
}

void FileCommand::setIcon(const QStringList &themeNames, const QString &bundled)
{
    m_action->setIcon(themedIcon(themeNames, bundled));
}

void FileCommand::setKeyHint(const QKeySequence &key)
{
    // Shown beside the title, but matched only while a widget holding the
    // action has the focus, which none ever has: the window's key map acts.
    m_action->setShortcut(key);
    m_action->setShortcutContext(Qt::WidgetShortcut);
    m_action->setShortcutVisibleInContextMenu(true);
}

FileCommands::FileCommands(Shelf &shelf, ActionRunner &runner, AppLauncher &launcher, FileManager &fileManager,
                           Previewer &previewer, Pins &pins, TextIndexer &indexer, TextPrompt &prompt, MetaStore *meta,
                           Beside beside, QObject *parent)
    : QObject(parent), m_shelf(shelf), m_runner(runner), m_launcher(launcher), m_fileManager(fileManager),
      m_previewer(previewer), m_pins(pins), m_indexer(indexer), m_prompt(prompt), m_meta(meta),
      m_beside(std::move(beside))
{
    using Reach = FileCommand::Reach;
    using Files = QList<QUrl>;

    // The counted titles: "Open 3 Items", "Move 3 Items to Trash".
    m_open = add(
        Reach::selection, [](qsizetype n) { return n == 1 ? tr("Open") : tr("Open %Ln Items", nullptr, int(n)); },
        [this](const Files &files) { FileActions::open(files, m_launcher); });
    m_open->setIcon({QStringLiteral("document-open")});
    m_open->setKeyHint(QKeySequence(Qt::Key_Return));

    // Only its submenu acts (openWith with the chosen application).
    m_openWith = add(Reach::selection, tr("Open With"), {});

    // Opened on the first file, paging through everything in sight.
    m_preview = add(Reach::primary, Texts::preview(),
                    [this](const Files &files) { m_previewer.show(files.first(), m_shelf.visible(), m_beside()); });
    m_preview->setIcon({QStringLiteral("view-preview"), QStringLiteral("document-preview")}, QStringLiteral("preview"));
    m_preview->setKeyHint(QKeySequence(Qt::Key_Space));
    m_preview->action()->setToolTip(tr("%1 (%2)").arg(Texts::preview(), Texts::previewKeyHint()));
    // Unlike Space, the button leaves the selection as it is.
    m_preview->setTrigger([this] { togglePreview(false); });

    m_pin = add(Reach::primary, tr("Pin to Screen"), [this](const Files &files) { m_pins.pin(files.first()); });
    m_pin->setIcon({QStringLiteral("view-pin"), QStringLiteral("pin")}, QStringLiteral("pin"));
    m_pin->setKeyHint(QKeySequence(Qt::Key_P));
    m_pin->action()->setIconText(tr("Pin"));
    m_pin->action()->setToolTip(tr("Pin to screen (%1)").arg(Texts::pinKeyHint()));

    m_show = add(Reach::selection, Texts::showInFileManager(),
                 [this](const Files &files) { FileActions::showInFileManager(files, m_fileManager); });
    m_show->setIcon({QStringLiteral("system-file-manager"), QStringLiteral("folder-open")});
    m_properties = add(Reach::oneSelected, Texts::fileProperties(),
                       [this](const Files &files) { FileActions::showProperties(files.first(), m_fileManager); });
    m_properties->setIcon({QStringLiteral("document-properties")});

    m_copy = add(Reach::selection, tr("Copy"), [](const Files &files) { FileActions::copyFiles(files); });
    m_copy->setIcon({QStringLiteral("edit-copy")});
    m_copy->setKeyHint(QKeySequence(Qt::CTRL | Qt::Key_C));
    m_copyPath = add(Reach::selection, tr("Copy Path"), [](const Files &files) { FileActions::copyPaths(files); });
    m_copyMarkdown =
        add(Reach::selection, tr("Copy as Markdown"), [](const Files &files) { FileActions::copyMarkdown(files); });

    m_rename = add(Reach::oneSelected, tr("Rename\u2026"), [this](const Files &files) {
        QPointer<Shelf> shelf = &m_shelf;
        FileActions::rename(
            files.first(), m_prompt, m_meta.data(),
            [shelf](const std::optional<QUrl> &renamed) {
                if (shelf && renamed)
                    shelf->scan();
            },
            refusal(Texts::doneRenamed()));
    });
    m_rename->setIcon({QStringLiteral("edit-rename")});
    m_duplicate = add(Reach::selection, tr("Duplicate"), [this](const Files &files) {
        m_runner.duplicate(files, &m_shelf, landed(Texts::doneDuplicated()));
    });
    m_duplicate->setIcon({QStringLiteral("edit-duplicate")});
    m_resizeHalf = add(Reach::selection, tr("Resize to 50%"), [this](const Files &files) {
        m_runner.resizeHalf(files, &m_shelf, landed(Texts::doneResized()));
    });
    m_resizeHalf->setIcon({QStringLiteral("transform-scale")});
    m_convert = add(Reach::selection, tr("Convert to JPG"), [this](const Files &files) {
        m_runner.convertToJPG(files, &m_shelf, landed(Texts::doneConverted()));
    });
    // Again, even for files that already carry text.
    m_recognise =
        add(Reach::selection, tr("Recognize Text"), [this](const Files &files) { m_indexer.index(files, true); });
    m_recognise->setIcon({QStringLiteral("scanner")});

    // Only its submenu acts (moveTo with the chosen folder).
    m_moveTo = add(Reach::selection, tr("Move to"), {});
    m_moveTo->setIcon({QStringLiteral("folder-move")});

    // Only the content the person saw goes (see ActionRunner::trash).
    m_trash = add(
        Reach::selection,
        [](qsizetype n) { return n == 1 ? tr("Move to Trash") : tr("Move %Ln Items to Trash", nullptr, int(n)); },
        [this](const Files &files) {
            m_runner.trash(files, m_shelf.stamps(files), &m_shelf, landed(Texts::doneTrashed()));
        });
    m_trash->setIcon({QStringLiteral("user-trash")}, QStringLiteral("trash"));
    m_trash->setKeyHint(QKeySequence(Qt::Key_Delete));
    m_trash->action()->setIconText(tr("Delete"));
    m_trash->action()->setToolTip(tr("Move to Trash (%1)").arg(Texts::trashKeyHint()));

    // Inside Home, also while a subfolder is shown; the files stay.
    m_newFolder = add(Reach::nothing, tr("New Folder\u2026"), [this](const Files &) {
        FolderOps::newFolder(m_shelf, m_prompt, refusal(Texts::doneCreated()));
    });
    m_newFolder->setIcon({QStringLiteral("folder-new")}, QStringLiteral("folder-new"));
    m_newFolder->setKeyHint(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_N));
    m_newFolder->action()->setIconText(tr("New Folder"));
    m_newFolder->action()->setToolTip(tr("New folder inside Home (%1)").arg(Texts::newFolderKeyHint()));

    // An open preview and the pins follow the list as soon as the shelf
    // learns of a change: a file deleted from outside is not shown a moment
    // longer, a file overwritten shows its new content.
    const auto follow = [this] { m_previewer.follow(m_shelf.visible()); };
    connect(&shelf, &Shelf::itemsChanged, this, follow);
    connect(&shelf, &Shelf::queryChanged, this, follow);
    connect(&shelf, &Shelf::contentChanged, this, [this](const QList<QUrl> &files) {
        m_previewer.filesChanged(files);
        m_pins.filesChanged(files);
    });
    for (auto signal : {&Shelf::selectionChanged, &Shelf::itemsChanged, &Shelf::queryChanged})
        connect(&shelf, signal, this, &FileCommands::refreshAll);
}

FileCommand *FileCommands::add(FileCommand::Reach reach, const QString &title, FileCommand::Act act)
{
    return add(reach, fixed(title), std::move(act));
}

FileCommand *FileCommands::add(FileCommand::Reach reach, FileCommand::Title title, FileCommand::Act act)
{
    // Every operation starts by clearing the last report.
    FileCommand::Act reporting;
    if (act) {
        reporting = [this, act = std::move(act)](const QList<QUrl> &files) {
            Q_EMIT reported(QString());
            act(files);
        };
    }
    return new FileCommand(m_shelf, reach, std::move(title), std::move(reporting), this);
}

QList<FileCommand *> FileCommands::all() const
{
    return {m_open,         m_openWith,  m_preview,    m_pin,    m_copy,      m_copyPath,
            m_copyMarkdown, m_show,      m_properties, m_rename, m_duplicate, m_resizeHalf,
            m_convert,      m_recognise, m_moveTo,     m_trash,  m_newFolder};
}

void FileCommands::refreshAll()
{
    for (FileCommand *command : all())
        command->refresh();
}

std::function<void(const FileWorkResult &)> FileCommands::landed(const QString &done)
{
    QPointer<Shelf> shelf = &m_shelf;
    return [shelf, report = reporter(done)](const FileWorkResult &result) {
        // The folder watch would notice too; a scan now shows the change at
        // once, and the new content of a file that was refused.
        if (shelf && (result.count > 0 || !result.written.isEmpty() || !result.failed.isEmpty()))
            shelf->scan();
        report(result);
    };
}

std::function<void(const FileWorkResult &)> FileCommands::reporter(const QString &done)
{
    QPointer<FileCommands> self = this;
    return [self, done](const FileWorkResult &result) {
        if (self && !result.failed.isEmpty())
            Q_EMIT self->reported(FileProblems::report(done, result.failed));
    };
}

std::function<void(const FileFailure &)> FileCommands::refusal(const QString &done)
{
    QPointer<FileCommands> self = this;
    return [self, done](const FileFailure &failure) {
        if (self)
            Q_EMIT self->reported(FileProblems::report(done, {failure}));
    };
}

void FileCommands::renameFolder(const QUrl &folder)
{
    Q_EMIT reported(QString());
    FolderOps::renameFolder(m_shelf, folder, m_prompt, m_meta.data(), refusal(Texts::doneRenamed()));
}

void FileCommands::trashFolder(const QUrl &folder)
{
    Q_EMIT reported(QString());
    FolderOps::trashFolder(m_shelf, folder, m_runner, reporter(Texts::doneTrashed()));
}

void FileCommands::dropOnFolder(const QList<QUrl> &files, const QUrl &folder)
{
    Q_EMIT reported(QString());
    FolderOps::dropOnFolder(m_shelf, files, folder, m_runner, reporter(Texts::doneMoved()));
}

void FileCommands::dropOnGrid(const QList<QUrl> &files)
{
    Q_EMIT reported(QString());
    FolderOps::dropOnGrid(m_shelf, files, m_runner, reporter(Texts::doneMoved()));
}

QList<AppChoice> FileCommands::applications(const QUrl &file) const
{
    return FileActions::applications(file, m_launcher);
}

void FileCommands::openWith(const QList<QUrl> &files, const QUrl &app)
{
    Q_EMIT reported(QString());
    FileActions::openWith(files, app, m_launcher);
}

QList<QUrl> FileCommands::moveDestinations() const
{
    const QUrl home = Shelf::folderKey(m_shelf.home());
    const QUrl current = Shelf::folderKey(m_shelf.current());
    QList<QUrl> folders;
    if (current != home)
        folders.append(home);
    for (const QUrl &folder : m_shelf.subfolders()) {
        if (Shelf::folderKey(folder) != current)
            folders.append(folder);
    }
    return folders;
}

void FileCommands::moveTo(const QList<QUrl> &files, const QUrl &folder)
{
    if (files.isEmpty())
        return;
    Q_EMIT reported(QString());
    m_runner.move(files, folder, &m_shelf, landed(Texts::doneMoved()));
}

void FileCommands::copyCell(qsizetype index)
{
    const QList<QUrl> visible = m_shelf.visible();
    if (index < 0 || index >= visible.size())
        return;
    m_copy->run({visible.at(index)});
    m_shelf.select(visible.at(index));
}

void FileCommands::togglePreview(bool selectWhenNone)
{
    const bool hadSelection = !m_shelf.selectedFiles().isEmpty();
    const QList<QUrl> primary = m_preview->targets();
    const std::optional<QUrl> file = primary.isEmpty() ? std::nullopt : std::optional<QUrl>(primary.first());
    if (m_previewer.isOpen() || !file)
        m_previewer.toggle(file, m_shelf.visible(), m_beside());
    else
        m_preview->run(primary);
    if (selectWhenNone && !hadSelection && file)
        m_shelf.select(*file);
}

void FileCommands::previewCursor()
{
    if (!m_previewer.isOpen() || m_shelf.cursor().isEmpty())
        return;
    m_previewer.show(m_shelf.cursor(), m_shelf.visible(), m_beside());
}
