#pragma once

#include "actions/views/filecommands.h"
#include "model/shelf.h"

#include <QPointer>
#include <QSize>
#include <QWidget>

class QKeyEvent;
class QTimer;

// The floating shelf window: stays above ordinary windows (until the
// program hands over to another one, see AppDelegate::handOver), keeps its
// entry in the panel's task list (on a desktop without a tray it is the way
// back), and closing it (close button, Ctrl+W, Escape) only hides it. The
// application decides its size and place on every show; the window reports
// when the user has finished resizing it so that size can be remembered.
class ShelfWindow : public QWidget
{
    Q_OBJECT

public:
    explicit ShelfWindow(QWidget *parent = nullptr);

    Shelf *shelf() const { return m_shelf; }
    void setShelf(Shelf *shelf) { m_shelf = shelf; }
    // What the keys do to the files. The window comes first (the prompts
    // and the preview are placed over it), so the commands are handed in
    // once they exist; until then those keys do nothing.
    void setCommands(FileCommands &commands) { m_commands = &commands; }

    // Replaces what the window shows (the shelf view, or its placeholder).
    void setContent(QWidget *content);
    QWidget *content() const { return m_content; }

    // Sets the geometry as the application's own resize, which is not
    // reported as the user's.
    void placeAt(const QRect &geometry);

    // The window's key map; true when the key was used. The keys the menu
    // holds as shortcuts (Ctrl+A, Ctrl+=, Ctrl+-, Ctrl+0, Ctrl+,) are not
    // in it, so every key has exactly one way in.
    bool handleKey(QKeyEvent *event);

    // Decides, before any view in the window sees it, whether a key press
    // belongs to the shelf or to the text field being edited; true when the
    // shelf used it. In a text field only Escape (clear the search, then
    // hide), Space while the field is empty and Ctrl+1-8 (Shift or not)
    // are the shelf's.
    bool routeKeyEvent(QKeyEvent *event);
    // Routes every key press of this window through routeKeyEvent, from an
    // event filter on the application.
    void installKeyRouting();

    // A text field the user can type into.
    static bool isEditableText(const QWidget *widget);

Q_SIGNALS:
    // The user stopped resizing the window; `size` is its new size.
    void liveResizeEnded(QSize size);
    void shownChanged(bool shown);

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    QPointer<Shelf> m_shelf;
    QPointer<FileCommands> m_commands;
    class KeyRouting;
    KeyRouting *m_routing = nullptr;
    QWidget *m_content = nullptr;
    QTimer *m_resizeSettle;
    QSize m_placedSize;
};
