#pragma once

#include <QElapsedTimer>
#include <QImage>
#include <QList>
#include <QObject>
#include <QPoint>
#include <QPointer>
#include <QRect>
#include <QSizeF>
#include <QTimer>
#include <QUrl>
#include <QWidget>

#include <functional>
#include <optional>

class Prefs;
class QDrag;
class QMenu;
class QScreen;
class QVariantAnimation;
class Shelf;
class Thumbs;

// Where a card goes: its frame on the screen and the image area inside it.
struct FlashLayout
{
    QRect frame; // screen coordinates
    QRect image; // card coordinates
};

// The corner card of one new screenshot: a small dark panel with the image
// and its name that slides in at the bottom right of a screen and out again
// after a while. It never takes the keyboard focus. While the pointer rests
// on it, or a drag from it is under way, it stays.
//
// The image behaves like a cell of the shelf: a click selects the file in
// the shelf, a drag carries the file out (a copy; drops inside the program
// move files themselves), a right-click opens the file's menu, and a
// double-click hides the card at once and asks for the file in the shelf.
class FlashPanel : public QWidget
{
    Q_OBJECT

public:
    static constexpr double slideInSeconds = 0.38;
    static constexpr double slideOutSeconds = 0.28;
    // Countdowns once the pointer has left and once a drag has ended.
    static constexpr double leaveSeconds = 1.0;
    static constexpr double dropSeconds = 1.2;

    // Runs a drag to its end (QDrag::exec unless a test replaces it).
    using DragRunner = std::function<void(QDrag *)>;
    struct Hooks
    {
        // The file's menu for these files at this global point; the menu
        // deletes itself once closed. May be unset: no menu.
        std::function<QMenu *(const QList<QUrl> &, const QPoint &)> contextMenu;
        DragRunner runDrag;
        // The card is gone (slid out or double-clicked away); it is
        // deleted later.
        std::function<void(FlashPanel *)> onClose;
        // Called after onClose on a double-click.
        std::function<void()> onDoubleClick;
    };

    // `thumb` is drawn in `layout.image`; `shelf` may be null (clicks then
    // select nothing).
    FlashPanel(const QUrl &url, const QImage &thumb, Shelf *shelf, const FlashLayout &layout, Hooks hooks);
    ~FlashPanel() override;

    // The card for a thumbnail of `thumbPoints` on a screen whose usable
    // area is `available`: the image fits 30 % of the width (at most 420)
    // by 35 % of the height (at most 300), is never enlarged and gets at
    // least 140 × 90; the card adds 10 around it and 32 below for the name,
    // and sits 20 from the right and bottom edges.
    static FlashLayout layoutFor(const QSizeF &thumbPoints, const QRect &available);

    enum class State { created, presenting, shown, dismissing, gone };
    State state() const { return m_state; }
    QUrl url() const { return m_url; }
    QRect finalFrame() const { return m_layout.frame; }
    bool hovering() const { return m_hovering; }
    bool dragging() const { return m_dragging; }
    // Since it began to slide in; 0 before.
    qint64 msOnScreen() const { return m_onScreen.isValid() ? m_onScreen.elapsed() : 0; }
    // The pending dismissal: active while one is due, its interval the
    // countdown it was given.
    const QTimer &dismissTimer() const { return m_dismissTimer; }

    // Slides in and goes `seconds` after it appeared, unless held.
    void present(double seconds);
    // Slides out now, unless hovered or dragged (then it asks again in a second).
    void dismiss();
    void scheduleDismissal(double seconds);

Q_SIGNALS:
    // It has slid in completely.
    void presented();

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void enterEvent(QEnterEvent *event) override;
    void leaveEvent(QEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;

private:
    // The files a drag or the menu acts on.
    QList<QUrl> carried() const;
    void startDrag();
    // Hides it, tells onClose and frees it.
    void finish();
    void slide(double from, double to, double seconds, bool arriving);
    void setHovering(bool hovering);

    QUrl m_url;
    QImage m_thumb;
    QPointer<Shelf> m_shelf;
    FlashLayout m_layout;
    Hooks m_hooks;
    State m_state = State::created;
    QTimer m_dismissTimer;
    QElapsedTimer m_onScreen;
    bool m_hovering = false;
    bool m_dragging = false;
    bool m_menuOpen = false;
    // Drawn with translucent corners, or opaque and cut to shape where
    // nothing composites the desktop.
    bool m_translucent = true;
    bool m_fades = false;
    std::optional<QPoint> m_pressAt;
    QVariantAnimation *m_slide = nullptr;
};

// Decides whether and where a card shows for a new screenshot, and keeps
// the one on screen (`current`). A new card sends the previous one away.
class Flash : public QObject
{
    Q_OBJECT

public:
    // The thumbnail's longest side, in pixels.
    static constexpr int thumbnailPixels = 900;

    struct Parts
    {
        Prefs *prefs = nullptr; // "flashEnabled", "flashSeconds"
        Thumbs *thumbs = nullptr;
        Shelf *shelf = nullptr;
        std::function<QMenu *(const QList<QUrl> &, const QPoint &)> contextMenu;
        FlashPanel::DragRunner runDrag; // unset: a real drag
    };

    explicit Flash(Parts parts, QObject *parent = nullptr);
    ~Flash() override;

    // Shows a card for `url` on the screen under the pointer, once its
    // thumbnail is made; nothing when cards are switched off, there is no
    // screen or the file gives no image.
    void show(const QUrl &url);
    // The same on a given screen with an image already made.
    void showImage(const QUrl &url, const QImage &thumb, QScreen *screen);

    FlashPanel *current() const { return m_current; }

Q_SIGNALS:
    // The file is wanted in the shelf, brought forward (a double-click on a card).
    void openInShelf(const QUrl &url);
    void currentChanged();
    // A card has slid in.
    void shown(FlashPanel *card);
    // A card has gone, `msOnScreen` after it began to slide in.
    void gone(const QUrl &url, qint64 msOnScreen);

private:
    void setCurrent(FlashPanel *card);

    Parts m_parts;
    QPointer<FlashPanel> m_current;
    QList<QPointer<FlashPanel>> m_cards; // every card not yet gone
};
