#include "app/shelfplacement.h"

#include "actions/views/screens.h"
#include "model/shelf.h"
#include "system/prefs.h"
#include "ui/shelfwindow.h"

#include <QRect>
#include <QScreen>

#include <algorithm>
#include <cmath>

namespace ShelfPlacement {

namespace {

// Cell proportions the shelf window is sized by: a cell is 0.62 of its width
// high plus a caption line, with a gap between rows.
constexpr double cellHeightFactor = 0.62;
constexpr double cellCaptionHeight = 22;
constexpr double rowGap = 16;

// Kept as a small group: [shelfWindowSize] w=…, h=….
const QString widthKey = PrefKey::shelfWindowSize + QStringLiteral("/w");
const QString heightKey = PrefKey::shelfWindowSize + QStringLiteral("/h");

// The smallest whole-point rectangle that holds `r`.
QRect integralRect(const QRectF &r)
{
    const int left = int(std::floor(r.left()));
    const int top = int(std::floor(r.top()));
    const int right = int(std::ceil(r.right()));
    const int bottom = int(std::ceil(r.bottom()));
    return QRect(left, top, right - left, bottom - top);
}

// Moves `r` inside `bounds` as far as it fits.
QRect constrainedTo(QRect r, const QRect &bounds)
{
    if (r.right() > bounds.right())
        r.moveRight(bounds.right());
    if (r.bottom() > bounds.bottom())
        r.moveBottom(bounds.bottom());
    if (r.left() < bounds.left())
        r.moveLeft(bounds.left());
    if (r.top() < bounds.top())
        r.moveTop(bounds.top());
    return r;
}

} // namespace

QSizeF defaultSize(const QRectF &vf, double cellWidth)
{
    const double maxW = screenFraction * vf.width();
    const double maxH = screenFraction * vf.height();
    const int n = defaultColumnCount;
    const double chromeW = (n - 1) * columnGap + chromeWidth;
    double cell = std::min((maxW - chromeW) / n, cellWidth);
    int rows = 4;
    if (maxH < (cell * cellHeightFactor + cellCaptionHeight) * 4 + chromeHeight + 3 * rowGap) {
        const double avail = maxH - chromeHeight;
        const double fit4 = ((avail - 3 * rowGap) * 0.25 - cellCaptionHeight) / cellHeightFactor;
        if (cellWidth <= fit4) {
            cell = std::min(cell, fit4);
        } else {
            const double fit3 = ((avail - 2 * rowGap) / 3 - cellCaptionHeight) / cellHeightFactor;
            cell = std::min(cell, fit3);
            rows = 3;
        }
    }
    cell = std::max(cell, Shelf::smallestCellWidth);
    const double width = std::min(maxW, chromeW + cell * n);
    const double height =
        std::min(maxH, (cell * cellHeightFactor + cellCaptionHeight) * rows + chromeHeight + (rows - 1) * rowGap);
    return {width, height};
}

std::optional<QSizeF> savedSize(const Prefs &prefs)
{
    bool wOk = false;
    bool hOk = false;
    const double w = prefs.value(widthKey).toDouble(&wOk);
    const double h = prefs.value(heightKey).toDouble(&hOk);
    if (!wOk || !hOk || !std::isfinite(w) || !std::isfinite(h))
        return std::nullopt;
    if (w < smallestSavedWidth || h < smallestSavedHeight)
        return std::nullopt;
    return QSizeF(w, h);
}

void saveSize(Prefs &prefs, QSizeF size)
{
    prefs.setValue(widthKey, size.width());
    prefs.setValue(heightKey, size.height());
}

QSizeF sizeFor(const QRectF &vf, const Prefs &prefs, double cellWidth)
{
    const double maxW = screenFraction * vf.width();
    const double maxH = screenFraction * vf.height();
    if (const auto saved = savedSize(prefs))
        return {std::min(maxW, saved->width()), std::min(maxH, saved->height())};
    return defaultSize(vf, cellWidth);
}

void placeOnPointerScreen(ShelfWindow &window, const Prefs &prefs, double cellWidth)
{
    QScreen *screen = screenUnderPointer();
    if (!screen)
        return;
    const QRectF vf = screen->availableGeometry();
    const double maxW = screenFraction * vf.width();
    const double maxH = screenFraction * vf.height();
    const QSizeF size = sizeFor(vf, prefs, cellWidth);
    window.setMinimumSize(int(std::min(maxW, minimumWidth)), int(std::min(maxH, minimumHeight)));
    QRectF frame(QPointF(), size);
    frame.moveCenter(vf.center());
    window.placeAt(constrainedTo(integralRect(frame), screen->availableGeometry()));
}

} // namespace ShelfPlacement
