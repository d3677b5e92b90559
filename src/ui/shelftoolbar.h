#pragma once

#include <QPointer>
#include <QToolBar>

class QAction;
class QLineEdit;
class Shelf;
class ShelfCommands;

// The shelf window's toolbar: back to Home, the search field (bound both
// ways to the shelf's query) and the buttons New folder, Preview, Pin,
// Move to Trash and Settings. The buttons never take the keyboard focus,
// so Space and the arrows stay with the shelf.
class ShelfToolbar : public QToolBar
{
    Q_OBJECT

public:
    explicit ShelfToolbar(Shelf *shelf, QWidget *parent = nullptr);

    void setCommands(ShelfCommands *commands);
    // Enables the buttons for the shelf as it is: back away from Home,
    // Preview and Pin with something in sight, Move to Trash with a selection.
    void refresh(bool anyVisible);

    QLineEdit *searchField() const { return m_search; }
    QAction *backAction() const { return m_back; }
    QAction *previewAction() const { return m_preview; }
    QAction *pinAction() const { return m_pin; }
    QAction *trashAction() const { return m_trash; }

    // The desktop theme's icon of the first of these names it has, else
    // the one bundled here.
    static QIcon icon(const QStringList &themeNames, const QString &bundled);

private:
    QAction *addButton(const QString &title, const QIcon &icon, const QString &help);

    QPointer<Shelf> m_shelf;
    QPointer<ShelfCommands> m_commands;
    QAction *m_back;
    QLineEdit *m_search;
    QAction *m_newFolder;
    QAction *m_preview;
    QAction *m_pin;
    QAction *m_trash;
    QAction *m_settings;
    bool m_anyVisible = false;
};
