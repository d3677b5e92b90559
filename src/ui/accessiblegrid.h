#pragma once

#include "ui/accessiblelist.h"

class Shelf;
class ShelfGrid;

// The grid as a screen reader sees it: a list of its cells in the shelf's
// order, newest first.
//
// A list with list items rather than a table: the cells are one sequence
// (the number of columns follows the window's width, so a row and column
// say nothing lasting about a screenshot), and Orca reads a focused list
// item as its name, its state and "n of m", where a table cell would add
// row and column numbers that change with every resize.
class AccessibleGrid : public AccessibleList
{
public:
    explicit AccessibleGrid(ShelfGrid *grid);

    QList<QUrl> entries() const override;
    QUrl keyboardEntry() const override;
    QAccessible::State state() const override;

    ShelfGrid *grid() const;

protected:
    QAccessibleInterface *makeItem(const QUrl &entry) const override;
};

// One cell: its name is the file's name; its description the date, the
// application it was taken in when known, and whether its text was
// recognised (and so can be searched).
class AccessibleCell : public AccessibleEntry
{
public:
    AccessibleCell(ShelfGrid *grid, const QUrl &file);

    QString text(QAccessible::Text t) const override;
    QAccessible::Role role() const override { return QAccessible::ListItem; }
    QAccessible::State state() const override;
    QRect viewportRect() const override;

    QStringList actionNames() const override;
    void doAction(const QString &actionName) override;
    QStringList keyBindingsForAction(const QString &) const override { return {}; }

private:
    ShelfGrid *grid() const;
};

namespace Accessibility {

// Keeps screen readers told about `grid`: the cell the keyboard moves to,
// cells selected and unselected, the cells listed after a search or scan.
void watchGrid(ShelfGrid *grid, Shelf *shelf);

} // namespace Accessibility
