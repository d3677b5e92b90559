#include "ui/gridlayout.h"

#include <algorithm>
#include <cmath>

namespace GridLayout {

int columnsFor(double width, double cellWidth)
{
    const double n = std::trunc((width + gap + 1) / (cellWidth + gap));
    if (!std::isfinite(n))
        return 1;
    return int(std::clamp(n, 1.0, double(maxColumns)));
}

int drawnCellWidth(double width, int columns)
{
    return std::max(1, int(std::floor((width - double(gap) * (columns - 1)) / columns)));
}

Geometry Geometry::make(int viewportWidth, double requestedCellWidth, int labelHeight, int count)
{
    Geometry g;
    const int width = std::max(1, viewportWidth - 2 * pad);
    g.columns = columnsFor(width, requestedCellWidth);
    g.cellWidth = drawnCellWidth(width, g.columns);
    g.tileHeight = int(std::lround(g.cellWidth * tileRatio));
    g.cellHeight = g.tileHeight + labelGap + labelHeight;
    g.count = count;
    return g;
}

int Geometry::contentHeight() const
{
    const int r = rows();
    return 2 * pad + bottomInset + (r == 0 ? 0 : r * cellHeight + (r - 1) * gap);
}

QRect Geometry::cellRect(int index) const
{
    const int row = index / columns;
    const int column = index % columns;
    return {pad + column * (cellWidth + gap), pad + row * (cellHeight + gap), cellWidth, cellHeight};
}

QRect Geometry::tileRect(int index) const
{
    QRect r = cellRect(index);
    r.setHeight(tileHeight);
    return r;
}

QPair<int, int> Geometry::rangeIn(int top, int bottom) const
{
    if (count == 0 || bottom <= top)
        return {0, 0};
    const int stride = cellHeight + gap;
    const int firstRow = std::max(0, (top - pad) / stride);
    const int lastRow = std::max(0, (bottom - 1 - pad) / stride);
    const int first = std::min(count, firstRow * columns);
    const int end = std::min(count, (lastRow + 1) * columns);
    return {first, end};
}

int Geometry::indexAt(const QPoint &p) const
{
    if (count == 0 || p.x() < pad || p.y() < pad)
        return -1;
    const int column = (p.x() - pad) / (cellWidth + gap);
    const int row = (p.y() - pad) / (cellHeight + gap);
    if (column >= columns)
        return -1;
    const int index = row * columns + column;
    if (index >= count || !tileRect(index).contains(p))
        return -1;
    return index;
}

Press pressAction(Qt::KeyboardModifiers modifiers, bool alreadySelected)
{
    if (modifiers & Qt::ControlModifier)
        return Press::toggle;
    if (modifiers & Qt::ShiftModifier)
        return Press::extend;
    return alreadySelected ? Press::keep : Press::select;
}

bool releaseSelectsOnly(int clickCount, Qt::KeyboardModifiers modifiers, qsizetype selectionSize, bool clickedSelected)
{
    return clickCount == 1 && !(modifiers & (Qt::ControlModifier | Qt::ShiftModifier)) && selectionSize >= 2
           && clickedSelected;
}

QPoint fanOffset(int i)
{
    const int step = fanStep * std::min(std::max(i, 0), fanCount - 1);
    return {step, step};
}

QSize dragImageSize(const QSize &image, int cellWidth)
{
    const double side = std::min(cellWidth, dragSide);
    const double w = std::max(image.width(), 1);
    const double h = std::max(image.height(), 1);
    const double scale = std::min(side / w, side * tileRatio / h);
    return {std::max(1, int(std::lround(w * scale))), std::max(1, int(std::lround(h * scale)))};
}

QList<QRect> fanRects(const QList<QSize> &images, int cellWidth)
{
    QList<QRect> rects;
    for (int i = 0; i < images.size(); ++i) {
        const QSize size = dragImageSize(images.at(i), cellWidth);
        rects << QRect(QPoint(-size.width() / 2, -size.height() / 2) + fanOffset(i), size);
    }
    return rects;
}

QSet<QUrl> marqueeBase(Qt::KeyboardModifiers modifiers, const QSet<QUrl> &selection)
{
    return (modifiers & (Qt::ControlModifier | Qt::ShiftModifier)) ? selection : QSet<QUrl>();
}

QUrl lastSelected(const QList<QUrl> &visible, const QSet<QUrl> &selection)
{
    for (auto it = visible.crbegin(); it != visible.crend(); ++it) {
        if (selection.contains(*it))
            return *it;
    }
    return {};
}

} // namespace GridLayout
