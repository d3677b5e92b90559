#pragma once

#include <QPointer>
#include <QToolBar>

class QAction;
class QLineEdit;
class QMenu;
class QToolButton;
class Shelf;
class FileCommands;

// The shelf window's toolbar: back to Home, the search field (bound both
// ways to the shelf's query), the buttons New Folder, Preview, Pin, Delete
// (the file commands' own actions, enabled as they are) and Settings, each
// with its title under its icon, and the menu button with the application's
// menus. The buttons never take the keyboard focus, so Space and the arrows
// stay with the shelf.
class ShelfToolbar : public QToolBar
{
    Q_OBJECT

public:
    ShelfToolbar(Shelf *shelf, FileCommands &commands, QWidget *parent = nullptr);

    // The menus the menu button offers, in order (application, Edit, View,
    // Window); the button shows once there are some.
    void setMainMenu(const QList<QMenu *> &menus);
    // Enables Home away from Home.
    void refresh();
    // Puts the keyboard focus into the search field, its text selected.
    void focusSearch();
    // Takes the keyboard focus away from the search field, if it has it.
    void dropFocus();

    QLineEdit *searchField() const { return m_search; }
    QAction *backAction() const { return m_back; }
    QAction *previewAction() const { return m_preview; }
    QAction *pinAction() const { return m_pin; }
    QAction *trashAction() const { return m_trash; }
    QAction *newFolderAction() const { return m_newFolder; }
    QAction *settingsAction() const { return m_settings; }
    QToolButton *menuButton() const { return m_menuButton; }

    // The desktop theme's icon of the first of these names it has, else
    // the one bundled here.
    static QIcon icon(const QStringList &themeNames, const QString &bundled);

Q_SIGNALS:
    // The Settings button: whoever owns the sheet opens it.
    void settingsRequested();

private:
    QAction *addButton(const QString &title, const QIcon &icon, const QString &help);
    void addButton(QAction *action);

    QPointer<Shelf> m_shelf;
    QAction *m_back;
    QLineEdit *m_search;
    QAction *m_newFolder;
    QAction *m_preview;
    QAction *m_pin;
    QAction *m_trash;
    QAction *m_settings;
    QToolButton *m_menuButton;
    QMenu *m_menu;
};
