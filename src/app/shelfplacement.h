#pragma once

#include <QRectF>
#include <QSizeF>

#include <optional>

class Prefs;
class ShelfWindow;

// Where the shelf window shows and how large: centred on the screen under
// the pointer, at the size the user last gave it while that fits into 80 %
// of the screen's usable area, otherwise at one that fits four columns of
// the current cell width and three or four rows.
namespace ShelfPlacement {

// Layout numbers of the shelf window (points).
inline constexpr double screenFraction = 0.8;
inline constexpr int defaultColumnCount = 4;
inline constexpr double chromeWidth = 307;
inline constexpr double columnGap = 16;
inline constexpr double chromeHeight = 155;
inline constexpr double smallestSavedWidth = 600;
inline constexpr double smallestSavedHeight = 400;
inline constexpr double minimumWidth = 473;
inline constexpr double minimumHeight = 420;

// The size that fits four columns and three or four rows into 80 % of the
// visible frame `vf` for cells of `cellWidth`.
QSizeF defaultSize(const QRectF &vf, double cellWidth);
// The size the user last gave the window, when it is usable.
std::optional<QSizeF> savedSize(const Prefs &prefs);
// Remembers the size the user gave the window.
void saveSize(Prefs &prefs, QSizeF size);
// The size the window gets on `vf`: the remembered one when it is usable.
QSizeF sizeFor(const QRectF &vf, const Prefs &prefs, double cellWidth);
// Sizes and centres `window` on the screen under the pointer (nothing
// without a screen).
void placeOnPointerScreen(ShelfWindow &window, const Prefs &prefs, double cellWidth);

} // namespace ShelfPlacement
