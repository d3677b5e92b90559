#include "actions/views/contextmenu.h"

#include "actions/views/filecommands.h"
#include "model/shelf.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QIcon>
#include <QMenu>
#include <QPointer>
#include <QStyle>

namespace {

constexpr int appIconSize = 16;

QString folderName(const QUrl &folder) { return QDir(folder.toLocalFile()).dirName(); }

void addOpenWith(QMenu *menu, const QList<QUrl> &files, FileCommands &commands)
{
    QMenu *sub = menu->addMenu(commands.openWith().title(files.size()));
    const QList<AppChoice> choices = commands.applications(files.first());
    QPointer<FileCommands> guarded = &commands;
    for (const AppChoice &choice : choices) {
        QAction *action = sub->addAction(choice.name);
        QObject::connect(action, &QAction::triggered, action, [guarded, files, app = choice.url] {
            if (guarded)
                guarded->openWith(files, app);
        });
        if (!choice.icon.isNull())
            action->setIcon(QIcon(choice.icon.pixmap(appIconSize, appIconSize)));
        // The default application stands apart from the alternatives.
        if (choice.isDefault && &choice != &choices.last())
            sub->addSeparator();
    }
}

void addMoveTo(QMenu *menu, const QList<QUrl> &files, FileCommands &commands)
{
    QMenu *sub = menu->addMenu(commands.moveTo().action()->icon(), commands.moveTo().title(files.size()));
    QPointer<FileCommands> guarded = &commands;
    const QUrl home = Shelf::folderKey(commands.shelf().home());
    const QIcon homeIcon =
        QIcon::fromTheme(QStringLiteral("go-home"), QIcon(QStringLiteral(":/brindlewick/icons/home.svg")));
    const QIcon folderIcon =
        QIcon::fromTheme(QStringLiteral("folder"), qApp->style()->standardIcon(QStyle::SP_DirIcon));
    for (const QUrl &folder : commands.moveDestinations()) {
        const bool isHome = Shelf::folderKey(folder) == home;
        QAction *action =
            sub->addAction(isHome ? homeIcon : folderIcon,
                           isHome ? QCoreApplication::translate("ContextMenu", "Home (%1)").arg(folderName(home))
                                  : folderName(folder));
        QObject::connect(action, &QAction::triggered, action, [guarded, files, folder] {
            if (guarded)
                guarded->moveTo(files, folder);
        });
    }
    sub->addSeparator();
    // Only makes the folder; the files stay where they are.
    sub->addAction(commands.newFolder().entryFor(files, sub));
}

} // namespace

namespace ContextMenu {

QMenu *build(const QList<QUrl> &files, FileCommands &commands, QWidget *parent)
{
    auto *menu = new QMenu(parent);
    if (files.isEmpty())
        return menu;
    const bool single = files.size() == 1;
    const auto add = [&](FileCommand &command) { menu->addAction(command.entryFor(files, menu)); };

    add(commands.open());
    addOpenWith(menu, files, commands);
    add(commands.preview());
    add(commands.pin());
    menu->addSeparator();

    add(commands.showInFileManager());
    if (single)
        add(commands.properties());
    menu->addSeparator();

    add(commands.copy());
    add(commands.copyPath());
    add(commands.copyMarkdown());
    menu->addSeparator();

    if (single)
        add(commands.rename());
    add(commands.duplicate());
    add(commands.resizeHalf());
    add(commands.convertToJPG());
    add(commands.recognise());
    menu->addSeparator();

    addMoveTo(menu, files, commands);
    menu->addSeparator();

    add(commands.trash());
    return menu;
}

QMenu *popup(const QList<QUrl> &files, FileCommands &commands, const QPoint &globalPos, QWidget *parent)
{
    QMenu *menu = build(files, commands, parent);
    // Deleted later, not now: the chosen entry runs after the menu hides.
    QObject::connect(menu, &QMenu::aboutToHide, menu, &QObject::deleteLater);
    menu->popup(globalPos);
    return menu;
}

} // namespace ContextMenu
