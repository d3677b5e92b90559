#include "model/shelf.h"

#include <algorithm>

// Positions are positions in `visible`: what the search hides cannot be
// selected, walked over or acted on.

QList<QUrl> Shelf::selectedFiles() const
{
    QList<QUrl> selected;
    if (m_selection.isEmpty())
        return selected;
    for (const QUrl &url : visible())
        if (m_selection.contains(url))
            selected.append(url);
    return selected;
}

void Shelf::select(const QUrl &url)
{
    setSelection({url});
    m_anchor = url;
    setCursor(url);
    m_base.clear();
}

void Shelf::toggle(const QUrl &url)
{
    QSet<QUrl> selection = m_selection;
    if (!selection.remove(url))
        selection.insert(url);
    setSelection(selection);
    m_anchor = url;
    setCursor(url);
    m_base = m_selection;
}

void Shelf::extend(const QUrl &url)
{
    // A hidden anchor does not fall back to the cursor: the range would start
    // somewhere the user did not put it.
    const QUrl from = m_anchor.isEmpty() ? m_cursor : m_anchor;
    const QList<QUrl> shown = visible();
    const qsizetype i = from.isEmpty() ? -1 : shown.indexOf(from);
    const qsizetype j = shown.indexOf(url);
    if (i < 0 || j < 0) {
        select(url);
        return;
    }
    // A rectangle of the grid as laid out, not a run of items.
    const qsizetype columns = std::max<qsizetype>(m_columns, 1);
    const qsizetype firstRow = std::min(i / columns, j / columns);
    const qsizetype lastRow = std::max(i / columns, j / columns);
    const qsizetype firstColumn = std::min(i % columns, j % columns);
    const qsizetype lastColumn = std::max(i % columns, j % columns);
    QSet<QUrl> selection = m_base;
    for (qsizetype row = firstRow; row <= lastRow; ++row) {
        for (qsizetype column = firstColumn; column <= lastColumn; ++column) {
            const qsizetype index = row * columns + column;
            if (index < shown.size())
                selection.insert(shown.at(index));
        }
    }
    setSelection(selection);
    setCursor(url);
}

void Shelf::selectAll()
{
    const QList<QUrl> shown = visible();
    const QSet<QUrl> all(shown.cbegin(), shown.cend());
    setSelection(all);
    m_base = all;
}

void Shelf::moveCursor(Move direction, bool extendSelection)
{
    const QList<QUrl> shown = visible();
    const qsizetype count = shown.size();
    if (count == 0)
        return;
    qsizetype position = m_cursor.isEmpty() ? -1 : shown.indexOf(m_cursor);
    if (position < 0)
        position = m_selection.isEmpty() ? -1 : 0;

    // Columns as the view laid them out; a row of none means up and down stay.
    const qsizetype columns = std::max<qsizetype>(m_columns, 0);
    qsizetype target = 0;
    if (position >= 0) {
        switch (direction) {
        case Move::left:
            target = position == 0 ? 0 : position - 1;
            break;
        case Move::right:
            target = std::min(position + 1, count - 1);
            break;
        case Move::up:
            target = position - columns >= 0 ? position - columns : position;
            break;
        case Move::down:
            target = position + columns < count ? position + columns : position;
            break;
        }
    }
    // Moves never wrap to the other end or into the next row.

    if (!extendSelection) {
        select(shown.at(target));
        return;
    }
    if (m_anchor.isEmpty()) {
        m_anchor = shown.at(std::max<qsizetype>(position, 0));
        m_base = m_selection;
    }
    extend(shown.at(target));
}
