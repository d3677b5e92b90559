#pragma once

#include <QList>
#include <memory>

class AppDelegate;
class QAction;
class QMenu;
class QWidget;

// The application's four menus (application, Edit, View, Window) with their
// shortcuts. Most Linux desktops draw no global menu bar and a floating
// shelf has no room for one, so the menus are not drawn on the shelf window;
// their actions are attached to it instead, which makes every shortcut work
// while the shelf is the active window.
class MainMenu
{
public:
    explicit MainMenu(AppDelegate &delegate);
    ~MainMenu();

    // The four menus, in order (for a menu button or a global menu bar).
    QList<QMenu *> menus() const;
    // Every action with a shortcut starts working in `window`.
    void attachTo(QWidget *window);

private:
    std::unique_ptr<QMenu> m_application;
    std::unique_ptr<QMenu> m_edit;
    std::unique_ptr<QMenu> m_view;
    std::unique_ptr<QMenu> m_window;
};
