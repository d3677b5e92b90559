#pragma once

#include <QList>
#include <QPoint>
#include <QRect>
#include <QSet>
#include <QSize>
#include <QUrl>
#include <Qt>

// The geometry of the thumbnail grid and the decisions its mouse handling
// makes, kept apart from the widget so they can be checked without one.
namespace GridLayout {

constexpr int gap = 16; // between columns and between rows
constexpr int pad = 20; // around the whole grid
constexpr int bottomInset = 4;
constexpr int labelGap = 6; // between the tile and the name under it
constexpr double tileRatio = 0.62;
constexpr int maxColumns = 6;
constexpr int fanStep = 6;       // drag images fan out this far apart
constexpr int fanCount = 5;      // and later ones stack on the fifth
constexpr int dragSide = 220;    // largest drag image width
constexpr int dragThreshold = 4; // more movement than this starts a drag

// Columns that fit `width` for cells of about `cellWidth`: the requested
// width decides how many, not how wide they are drawn.
int columnsFor(double width, double cellWidth);
// The drawn width of each of `columns` cells filling `width`.
int drawnCellWidth(double width, int columns);

// Where every cell goes for `count` items.
struct Geometry
{
    int columns = 1;
    int cellWidth = 0; // tile width
    int tileHeight = 0;
    int cellHeight = 0; // tile, gap and name
    int count = 0;

    static Geometry make(int viewportWidth, double requestedCellWidth, int labelHeight, int count);
    int rows() const { return count == 0 ? 0 : (count + columns - 1) / columns; }
    int contentHeight() const;
    QRect cellRect(int index) const; // tile and name, content coordinates
    QRect tileRect(int index) const;
    // The items whose cells meet the band [top, bottom) of the content.
    QPair<int, int> rangeIn(int top, int bottom) const; // first, one past the last
    // The item whose tile is under `p`; -1 on empty space. The name under a
    // tile is background: a press there clears or starts a marquee.
    int indexAt(const QPoint &p) const;
};

// What a press on a cell does to the selection.
enum class Press { toggle, extend, keep, select };
Press pressAction(Qt::KeyboardModifiers modifiers, bool alreadySelected);
// Whether the release of a plain click narrows a multiple selection down to
// the clicked file (the press kept it so that a drag could carry it all).
bool releaseSelectsOnly(int clickCount, Qt::KeyboardModifiers modifiers, qsizetype selectionSize, bool clickedSelected);

// Offset of the i-th image of a drag, counted from 0.
QPoint fanOffset(int i);
// The size a drag image of `image` gets for a cell `cellWidth` wide.
QSize dragImageSize(const QSize &image, int cellWidth);
// Where each drag image goes: sized for the cell, centred on one point (the
// origin), then fanned out.
QList<QRect> fanRects(const QList<QSize> &images, int cellWidth);

// Marquee: the base it adds to, and the last selected item in visible
// order (where anchor and cursor go on release; empty when none is).
QSet<QUrl> marqueeBase(Qt::KeyboardModifiers modifiers, const QSet<QUrl> &selection);
QUrl lastSelected(const QList<QUrl> &visible, const QSet<QUrl> &selection);

} // namespace GridLayout
