#pragma once

#include "meta/thumbs.h"
#include "model/listing.h"
#include "ui/gridlayout.h"

#include <QAbstractScrollArea>
#include <QHash>
#include <QIcon>
#include <QImage>
#include <QPixmap>
#include <QPointer>
#include <QSet>
#include <QStaticText>
#include <QThreadPool>
#include <QUrl>

class MetaStore;
class QMimeData;
class QTimer;
class QVariantAnimation;
class Shelf;

// The thumbnail grid: one scroll area that lays out and paints only the
// cells in view (a widget per cell would not scale to the 400 a folder
// may hold). It shows the shelf's visible items with their selection and
// hover state, asks the thumbnail cache for the cells in or near view, and
// turns presses, drags and drops into selection changes and requests.
class ShelfGrid : public QAbstractScrollArea
{
    Q_OBJECT

public:
    // `meta` may be null (no badges); `thumbs` may be null (placeholders only).
    ShelfGrid(Shelf *shelf, MetaStore *meta, Thumbs *thumbs, QWidget *parent = nullptr);
    ~ShelfGrid() override;

    Shelf *shelf() const;
    MetaStore *meta() const;
    const GridLayout::Geometry &layoutGeometry() const { return m_geometry; }
    QList<QUrl> shownItems() const { return m_visible; }
    // The tile and name of `url` in viewport coordinates; empty when it is
    // not in the grid.
    QRect cellRect(const QUrl &url) const;
    // The image tile alone, the part that takes the mouse.
    QRect tileRect(const QUrl &url) const;
    // What the cell of `url` draws where its picture goes: nothing (not in
    // the grid), the loading ring, its image (given in `image`) or nothing
    // because the file cannot be read.
    enum class Shows { none, loading, image, failed };
    Shows shows(const QUrl &url, QImage *image = nullptr) const;
    // What lies under a viewport point: "ThumbCell" or "GridBackground".
    QString partAt(const QPoint &viewportPoint) const;

    // One drag pixmap of up to five fanned images, the rest stacked on the
    // fifth, the first in front. `firstCentre` gets the first image's centre.
    static QPixmap dragPixmap(const QList<QImage> &images, int cellWidth, qreal dpr, QPoint *firstCentre);

Q_SIGNALS:
    void openRequested(const QList<QUrl> &files);
    void contextMenuRequested(const QList<QUrl> &files, const QPoint &globalPos);
    // Local files dropped on the grid while a subfolder is shown.
    void filesDropped(const QList<QUrl> &files);
    // Any press on the grid: the search field gives up the focus.
    void pressed();

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void scrollContentsBy(int dx, int dy) override;
    bool viewportEvent(QEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dragLeaveEvent(QDragLeaveEvent *event) override;
    void dropEvent(QDropEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    // An image, the size step it serves and the file it was made from.
    struct Loaded
    {
        QImage image;
        int step = 0;
        FileStamp stamp;
    };
    // A request on its way; `serial` tells its answer from older ones.
    struct Asked
    {
        Thumbs::Ticket ticket = 0;
        int step = 0;
        quint64 serial = 0;
    };

    void refreshItems();
    void recordsChanged();
    void relayout();
    void loadThumbs();
    void folderChanged();
    void contentChanged(const QList<QUrl> &urls);
    void forget(const QUrl &url);
    FileStamp stampOf(const QUrl &url) const;
    void scrollToCursor();
    void animateLift(const QUrl &url);
    void updateCell(const QUrl &url);
    int offset() const;
    int labelHeight() const;
    QPoint toContent(const QPoint &viewportPoint) const;
    void paintCell(QPainter &p, int index);
    void selectionChanged();
    // What a tile draws under its image: its background, its border, the
    // image's shadow (`image` is where the image goes, relative to the tile;
    // empty for none) and the loading ring. Drawn once per look and size, then
    // copied: stroking the rounded border was most of a cell's paint.
    enum class Look { plain, hovered, selected };
    // The frame reaches this far outside the tile: half the selected border.
    static constexpr int frameMargin = 2;
    const QPixmap &tileFrame(QSize tile, Look look, const QRectF &image, bool loading);
    // The same, drawn with `p` at its origin.
    void drawFrame(QPainter &p, QSize tile, Look look, const QRectF &image, bool loading) const;
    // A cell's name, elided to the label's width and laid out once.
    const QStaticText &labelText(const QUrl &url, int width);
    void dropPaintCaches();
    // The badge of an application's desktop entry; null while it is being
    // read or when the entry is gone.
    QIcon appIcon(const QString &desktopEntry);
    void appIconRead(const QString &desktopEntry, const std::optional<QString> &iconName);
    QRect appBadgeRect(const QRect &tile) const;
    QRect textBadgeRect(const QRect &tile) const;
    void startDrag();
    void updateMarquee(const QPoint &viewportPoint);
    void endMarquee();
    QList<QUrl> droppableFiles(const QMimeData *data) const;

    QPointer<Shelf> m_shelf;
    QPointer<MetaStore> m_meta;
    QPointer<Thumbs> m_thumbs;
    GridLayout::Geometry m_geometry;
    QList<QUrl> m_visible;
    QHash<QUrl, int> m_index;

    // Every shown cell in or near view is in one of three states: its image
    // for the current step and content, a request on its way, or failed
    // (for the content it has now). Anything else asks again.
    QHash<QUrl, Loaded> m_images;
    QHash<QUrl, Asked> m_asked;
    QHash<QUrl, FileStamp> m_failed;
    quint64 m_serial = 0;
    QHash<QString, QIcon> m_appIcons; // by desktop entry; null: being read, or gone
    // Reads desktop entries; stopped (and waited for) with the grid.
    QThreadPool m_entryReads;

    QHash<QUrl, double> m_lift;
    QHash<QUrl, QVariantAnimation *> m_liftAnimations;
    QVariantAnimation *m_scroll;

    // A press on a cell, until release or a drag.
    QUrl m_pressUrl;
    QPoint m_pressPos;
    bool m_pressOnCell = false;
    // A press on empty space, in content coordinates.
    bool m_marqueePressed = false;
    QPoint m_marqueeStart;
    QPoint m_marqueeLast; // viewport coordinates
    QRect m_marquee;      // content coordinates; empty until the first move
    QSet<QUrl> m_base;
    QTimer *m_autoScroll;

    // Painting caches, dropped with a change of palette, font or scale.
    QHash<QString, QPixmap> m_frames;
    QSize m_framesTile;
    QHash<QUrl, QStaticText> m_labels;
    int m_labelsWidth = -1;
    // The selection the cells on screen were last asked to show.
    QSet<QUrl> m_shownSelection;

    bool m_dropTargeted = false;
    // The focus rings show while the keyboard works the grid, not after a
    // click (as a browser's focus-visible).
    bool m_focusVisible = false;
};
