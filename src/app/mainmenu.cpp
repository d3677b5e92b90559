#include "app/mainmenu.h"

#include "actions/views/filecommands.h"
#include "app/appdelegate.h"
#include "app/quitsignals.h"
#include "model/shelf.h"
#include "ui/shelfwindow.h"

#include <QAction>
#include <QApplication>
#include <QLineEdit>
#include <QMenu>
#include <QPlainTextEdit>
#include <QTextEdit>

namespace {

// The text field being edited, if any: the standard editing commands act on
// it alone (the shelf has no undo, cut or paste of its own).
QWidget *editedTextField()
{
    QWidget *focused = QApplication::focusWidget();
    if (qobject_cast<QLineEdit *>(focused) || qobject_cast<QTextEdit *>(focused)
        || qobject_cast<QPlainTextEdit *>(focused))
        return focused;
    return nullptr;
}

// Runs the text field's own slot (undo, cut, selectAll, ...).
void editCommand(const char *slot)
{
    if (QWidget *field = editedTextField())
        QMetaObject::invokeMethod(field, slot);
}

QAction *addItem(QMenu *menu, const QString &title, const QList<QKeySequence> &keys = {})
{
    QAction *action = menu->addAction(title);
    action->setShortcuts(keys);
    action->setShortcutContext(Qt::WindowShortcut);
    return action;
}

} // namespace

MainMenu::MainMenu(AppDelegate &delegate)
    : m_application(std::make_unique<QMenu>(QCoreApplication::translate("MainMenu", "Brindlewick"))),
      m_edit(std::make_unique<QMenu>(QCoreApplication::translate("MainMenu", "Edit"))),
      m_view(std::make_unique<QMenu>(QCoreApplication::translate("MainMenu", "View"))),
      m_window(std::make_unique<QMenu>(QCoreApplication::translate("MainMenu", "Window")))
{
    AppDelegate *app = &delegate;
    QObject::connect(addItem(m_application.get(), QCoreApplication::translate("MainMenu", "About Brindlewick")),
                     &QAction::triggered, app, &AppDelegate::showAbout);
    m_application->addSeparator();
    QAction *settings = addItem(m_application.get(), QCoreApplication::translate("MainMenu", "Settings…"),
                                {QKeySequence(Qt::CTRL | Qt::Key_Comma)});
    QObject::connect(settings, &QAction::triggered, app, &AppDelegate::openSettingsFromMenu);
    m_application->addSeparator();
    QAction *hide = addItem(m_application.get(), QCoreApplication::translate("MainMenu", "Hide Brindlewick"),
                            {QKeySequence(Qt::CTRL | Qt::Key_H)});
    QObject::connect(hide, &QAction::triggered, app, &AppDelegate::hideApplication);
    QAction *quit = addItem(m_application.get(), QCoreApplication::translate("MainMenu", "Quit Brindlewick"),
                            {QKeySequence(Qt::CTRL | Qt::Key_Q)});
    QObject::connect(quit, &QAction::triggered, qApp, &quitNow, Qt::QueuedConnection);

    QObject::connect(
        addItem(m_edit.get(), QCoreApplication::translate("MainMenu", "Undo"), {QKeySequence(Qt::CTRL | Qt::Key_Z)}),
        &QAction::triggered, app, [] { editCommand("undo"); });
    QObject::connect(addItem(m_edit.get(), QCoreApplication::translate("MainMenu", "Redo"),
                             {QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Z)}),
                     &QAction::triggered, app, [] { editCommand("redo"); });
    m_edit->addSeparator();
    QObject::connect(
        addItem(m_edit.get(), QCoreApplication::translate("MainMenu", "Cut"), {QKeySequence(Qt::CTRL | Qt::Key_X)}),
        &QAction::triggered, app, [] { editCommand("cut"); });
    // In a text field it copies the text; elsewhere in the shelf it copies
    // the selected files, as a file manager does.
    QObject::connect(
        addItem(m_edit.get(), QCoreApplication::translate("MainMenu", "Copy"), {QKeySequence(Qt::CTRL | Qt::Key_C)}),
        &QAction::triggered, app, [app] {
            if (editedTextField())
                editCommand("copy");
            else
                app->fileCommands().copy().trigger();
        });
    QObject::connect(
        addItem(m_edit.get(), QCoreApplication::translate("MainMenu", "Paste"), {QKeySequence(Qt::CTRL | Qt::Key_V)}),
        &QAction::triggered, app, [] { editCommand("paste"); });
    // In a text field it selects the text; elsewhere in the shelf it selects
    // every item, as the shelf's own Ctrl+A does.
    QObject::connect(addItem(m_edit.get(), QCoreApplication::translate("MainMenu", "Select All"),
                             {QKeySequence(Qt::CTRL | Qt::Key_A)}),
                     &QAction::triggered, app, [app] {
                         if (editedTextField())
                             editCommand("selectAll");
                         else
                             app->shelf().selectAll();
                     });
    m_edit->addSeparator();
    QAction *find =
        addItem(m_edit.get(), QCoreApplication::translate("MainMenu", "Find"), {QKeySequence(Qt::CTRL | Qt::Key_F)});
    QObject::connect(find, &QAction::triggered, app, &AppDelegate::focusSearch);

    // Ctrl+= is where "+" sits without Shift on most layouts.
    QObject::connect(addItem(m_view.get(), QCoreApplication::translate("MainMenu", "Bigger Thumbnails"),
                             {QKeySequence(Qt::CTRL | Qt::Key_Plus), QKeySequence(Qt::CTRL | Qt::Key_Equal)}),
                     &QAction::triggered, app, &AppDelegate::zoomIn);
    QObject::connect(addItem(m_view.get(), QCoreApplication::translate("MainMenu", "Smaller Thumbnails"),
                             {QKeySequence(Qt::CTRL | Qt::Key_Minus)}),
                     &QAction::triggered, app, &AppDelegate::zoomOut);
    QObject::connect(addItem(m_view.get(), QCoreApplication::translate("MainMenu", "Default Thumbnail Size"),
                             {QKeySequence(Qt::CTRL | Qt::Key_0)}),
                     &QAction::triggered, app, &AppDelegate::zoomReset);

    // Closing the shelf only hides it (it is never destroyed).
    QAction *close =
        addItem(m_window.get(), QCoreApplication::translate("MainMenu", "Close"), {QKeySequence(Qt::CTRL | Qt::Key_W)});
    QObject::connect(close, &QAction::triggered, app, &AppDelegate::closeFrontWindow);
    m_windowCommands = {settings, hide, quit, find, close};
    // The shelf cannot be minimised (it has no taskbar entry to come back
    // from), so the item stands disabled, as it would for any such window.
    QAction *minimize = addItem(m_window.get(), QCoreApplication::translate("MainMenu", "Minimize"),
                                {QKeySequence(Qt::CTRL | Qt::Key_M)});
    minimize->setEnabled(false);
}

MainMenu::~MainMenu() = default;

QList<QMenu *> MainMenu::menus() const { return {m_application.get(), m_edit.get(), m_view.get(), m_window.get()}; }

void MainMenu::attachTo(QWidget *window)
{
    for (QMenu *menu : menus())
        window->addActions(menu->actions());
}

void MainMenu::attachWindowCommandsTo(QWidget *window)
{
    // Adding an action a widget already has changes nothing.
    window->addActions(m_windowCommands);
}
