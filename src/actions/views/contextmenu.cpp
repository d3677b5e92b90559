#include "actions/views/contextmenu.h"

#include "actions/actionrunner.h"
#include "actions/fileactions.h"
#include "actions/folderops.h"
#include "actions/views/pins.h"
#include "actions/views/quicklook.h"
#include "meta/metastore.h"
#include "meta/textindexer.h"
#include "model/shelf.h"
#include "system/texts.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QIcon>
#include <QMenu>
#include <QPointer>
#include <QStyle>

#include <functional>

namespace {

constexpr int appIconSize = 16;

// A menu entry that runs `handler`; entries never carry a shortcut.
QAction *addEntry(QMenu *menu, const QString &title, std::function<void()> handler)
{
    QAction *action = menu->addAction(title);
    QObject::connect(action, &QAction::triggered, action, [handler = std::move(handler)] { handler(); });
    return action;
}

QIcon themed(const QString &name, const QIcon &fallback) { return QIcon::fromTheme(name, fallback); }

QString folderName(const QUrl &folder) { return QDir(folder.toLocalFile()).dirName(); }

// The guarded collaborators one menu's entries share.
struct Context
{
    QList<QUrl> files;
    QUrl first;
    QPointer<Shelf> shelf;
    AppLauncher *launcher = nullptr;
    FileManager *fileManager = nullptr;
    QPointer<ActionRunner> runner;
    QPointer<QuickLook> quickLook;
    QPointer<Pins> pins;
    QPointer<TextIndexer> indexer;
    TextPrompt *prompt = nullptr;
    QPointer<MetaStore> meta;
    QPointer<QWidget> window;

    // Shows what the file work changed at once rather than when the folder
    // watch gets to it.
    ActionRunner::Done rescan() const
    {
        QPointer<Shelf> s = shelf;
        return [s](const FileWorkResult &result) {
            if (s && (result.count > 0 || !result.written.isEmpty()))
                s->scan();
        };
    }
};

void addOpenWith(QMenu *menu, const Context &c)
{
    QMenu *sub = menu->addMenu(QStringLiteral("Open With"));
    if (!c.launcher)
        return;
    const QList<AppChoice> choices = FileActions::applications(c.first, *c.launcher);
    for (const AppChoice &choice : choices) {
        QAction *action =
            addEntry(sub, choice.name, [c, app = choice.url] { FileActions::openWith(c.files, app, *c.launcher); });
        if (!choice.icon.isNull())
            action->setIcon(QIcon(choice.icon.pixmap(appIconSize, appIconSize)));
        // The default application stands apart from the alternatives.
        if (choice.isDefault && &choice != &choices.last())
            sub->addSeparator();
    }
}

void addMoveTo(QMenu *menu, const Context &c)
{
    QMenu *sub = menu->addMenu(QStringLiteral("Move to"));
    if (c.shelf) {
        const QUrl home = Shelf::folderKey(c.shelf->home());
        const QUrl current = Shelf::folderKey(c.shelf->current());
        auto moveInto = [c](const QUrl &folder) {
            if (c.runner)
                c.runner->move(c.files, folder, c.shelf, c.rescan());
        };
        if (current != home) {
            QAction *action =
                addEntry(sub, QStringLiteral("Home (%1)").arg(folderName(home)), [moveInto, home] { moveInto(home); });
            action->setIcon(themed(QStringLiteral("go-home"), QIcon(QStringLiteral(":/brindlewick/icons/home.svg"))));
        }
        const QIcon folderIcon = themed(QStringLiteral("folder"), qApp->style()->standardIcon(QStyle::SP_DirIcon));
        for (const QUrl &folder : c.shelf->subfolders()) {
            if (Shelf::folderKey(folder) == current)
                continue;
            addEntry(sub, folderName(folder), [moveInto, folder] { moveInto(folder); })->setIcon(folderIcon);
        }
    }
    sub->addSeparator();
    // Only makes the folder; the files stay where they are.
    addEntry(sub, QStringLiteral("New Folder\u2026"), [c] {
        if (c.shelf && c.prompt)
            FolderOps::newFolder(*c.shelf, *c.prompt);
    });
}

} // namespace

namespace ContextMenu {

QString openTitle(qsizetype count)
{
    return count == 1 ? QStringLiteral("Open") : QStringLiteral("Open %1 Items").arg(count);
}

QString trashTitle(qsizetype count)
{
    return count == 1 ? QStringLiteral("Move to Trash") : QStringLiteral("Move %1 Items to Trash").arg(count);
}

QMenu *build(const QList<QUrl> &files, const Parts &parts, QWidget *parent)
{
    auto *menu = new QMenu(parent);
    if (files.isEmpty())
        return menu;

    Context c;
    c.files = files;
    c.first = files.first();
    c.shelf = parts.shelf;
    c.launcher = parts.launcher;
    c.fileManager = parts.fileManager;
    c.runner = parts.runner;
    c.quickLook = parts.quickLook;
    c.pins = parts.pins;
    c.indexer = parts.indexer;
    c.prompt = parts.prompt;
    c.meta = parts.meta;
    c.window = parts.window;
    const bool single = files.size() == 1;

    addEntry(menu, openTitle(files.size()), [c] {
        if (c.launcher)
            FileActions::open(c.files, *c.launcher);
    });
    addOpenWith(menu, c);
    addEntry(menu, Texts::preview, [c] {
        // Opened on the first file, paging through everything in sight.
        if (c.quickLook)
            c.quickLook->show(c.first, c.shelf ? c.shelf->visible() : c.files, c.window);
    });
    addEntry(menu, QStringLiteral("Pin to Screen"), [c] {
        if (c.pins)
            c.pins->pin(c.first);
    });
    menu->addSeparator();

    addEntry(menu, Texts::showInFileManager, [c] {
        if (c.fileManager)
            FileActions::showInFileManager(c.files, *c.fileManager);
    });
    if (single) {
        addEntry(menu, Texts::fileProperties, [c] {
            if (c.fileManager)
                FileActions::getInfo(c.first, *c.fileManager);
        });
    }
    menu->addSeparator();

    addEntry(menu, QStringLiteral("Copy"), [c] { FileActions::copyFiles(c.files); });
    addEntry(menu, QStringLiteral("Copy Path"), [c] { FileActions::copyPaths(c.files); });
    addEntry(menu, QStringLiteral("Copy as Markdown"), [c] { FileActions::copyMarkdown(c.files); });
    menu->addSeparator();

    if (single) {
        addEntry(menu, QStringLiteral("Rename\u2026"), [c] {
            if (!c.prompt)
                return;
            QPointer<Shelf> shelf = c.shelf;
            FileActions::rename(c.first, *c.prompt, c.meta.data(), [shelf](const std::optional<QUrl> &renamed) {
                if (shelf && renamed)
                    shelf->scan();
            });
        });
    }
    addEntry(menu, QStringLiteral("Duplicate"), [c] {
        if (c.runner)
            c.runner->duplicate(c.files, c.shelf, c.rescan());
    });
    addEntry(menu, QStringLiteral("Resize to 50%"), [c] {
        if (c.runner)
            c.runner->resizeHalf(c.files, c.shelf, c.rescan());
    });
    addEntry(menu, QStringLiteral("Convert to JPG"), [c] {
        if (c.runner)
            c.runner->convertToJPG(c.files, c.shelf, c.rescan());
    });
    addEntry(menu, QStringLiteral("Recognize Text"), [c] {
        // Again, even for files that already carry text.
        if (c.indexer)
            c.indexer->index(c.files, true);
    });
    menu->addSeparator();

    addMoveTo(menu, c);
    menu->addSeparator();

    addEntry(menu, trashTitle(files.size()), [c] {
        // Only the content the person saw goes (see ActionRunner::trash).
        if (c.runner)
            c.runner->trash(c.files, c.shelf ? c.shelf->stamps(c.files) : FileStamps(), c.shelf, c.rescan());
    });
    return menu;
}

QMenu *popup(const QList<QUrl> &files, const Parts &parts, const QPoint &globalPos, QWidget *parent)
{
    QMenu *menu = build(files, parts, parent);
    // Deleted later, not now: the chosen entry runs after the menu hides.
    QObject::connect(menu, &QMenu::aboutToHide, menu, &QObject::deleteLater);
    menu->popup(globalPos);
    return menu;
}

} // namespace ContextMenu
