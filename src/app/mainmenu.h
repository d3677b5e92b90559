#pragma once

#include <QList>
#include <memory>

class AppDelegate;
class QAction;
class QMenu;
class QWidget;

// The application's four menus (application, Edit, View, Window) with their
// shortcuts. Most Linux desktops draw no global menu bar and a floating
// shelf has no room for one, so the menus are drawn from a menu button in
// the shelf's toolbar; their actions are attached to the shelf window,
// which makes every shortcut work while the shelf is the active window,
// and the window commands to the program's other windows (the preview,
// the settings sheet).
class MainMenu
{
public:
    explicit MainMenu(AppDelegate &delegate);
    ~MainMenu();

    // The four menus, in order (for a menu button or a global menu bar).
    QList<QMenu *> menus() const;
    // Every action with a shortcut starts working in `window`.
    void attachTo(QWidget *window);
    // Only Settings, Hide, Quit, Find and Close start working in `window`
    // (the editing and zoom keys stay with that window's own fields).
    void attachWindowCommandsTo(QWidget *window);

private:
    QList<QAction *> m_windowCommands;
    std::unique_ptr<QMenu> m_application;
    std::unique_ptr<QMenu> m_edit;
    std::unique_ptr<QMenu> m_view;
    std::unique_ptr<QMenu> m_window;
};
