#include "ui/accessiblegrid.h"

#include "meta/metastore.h"
#include "model/shelf.h"
#include "ui/shelfgrid.h"

#include <QCoreApplication>
#include <QEvent>
#include <QLocale>
#include <QPointer>
#include <QSet>

namespace {

// More cells changing at once than this (select all, a cleared selection
// of many) are told as one change of the grid's selection, not cell by cell.
constexpr qsizetype cellsToldOneByOne = 32;

// Follows the shelf and the grid's focus and tells the accessibility
// bridge what a screen reader should say.
class GridVoice : public QObject
{
public:
    GridVoice(ShelfGrid *grid, Shelf *shelf) : QObject(grid), m_grid(grid), m_shelf(shelf)
    {
        m_selection = shelf->selection();
        connect(shelf, &Shelf::cursorChanged, this, [this] {
            if (m_grid->hasFocus())
                Accessibility::announceFocus(m_grid, cursorIndex());
        });
        connect(shelf, &Shelf::selectionChanged, this, &GridVoice::selectionChanged);
        // After the grid has taken the new list (it is connected first).
        connect(shelf, &Shelf::itemsChanged, this, &GridVoice::listChanged);
        connect(shelf, &Shelf::queryChanged, this, &GridVoice::listChanged);
        connect(shelf, &Shelf::currentChanged, this, &GridVoice::listChanged);
        grid->installEventFilter(this);
    }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        // Qt tells of the grid taking the focus after this event; the cell
        // under the keyboard is what a person wants to hear next, so it is
        // told after that.
        if (watched == m_grid && event->type() == QEvent::FocusIn) {
            QMetaObject::invokeMethod(
                this,
                [this] {
                    if (m_grid->hasFocus())
                        Accessibility::announceFocus(m_grid, cursorIndex());
                },
                Qt::QueuedConnection);
        }
        return false;
    }

private:
    int cursorIndex() const { return int(m_grid->shownItems().indexOf(m_shelf->cursor())); }

    void selectionChanged()
    {
        const QSet<QUrl> now = m_shelf->selection();
        QSet<QUrl> changed = now;
        changed.unite(m_selection).subtract(QSet<QUrl>(now).intersect(m_selection));
        m_selection = now;
        if (!QAccessible::isActive() || changed.isEmpty())
            return;
        if (changed.size() > cellsToldOneByOne) {
            QAccessibleEvent within(m_grid, QAccessible::SelectionWithin);
            QAccessible::updateAccessibility(&within);
            return;
        }
        // Qt 6.4's bridge turns only "Selection" into the item's
        // state-changed:selected signal (it drops SelectionAdd and
        // SelectionRemove); it reads the item's state as it is now.
        const QList<QUrl> shown = m_grid->shownItems();
        for (const QUrl &url : std::as_const(changed)) {
            const int index = int(shown.indexOf(url));
            if (index < 0)
                continue;
            QAccessibleEvent event(m_grid, QAccessible::Selection);
            event.setChild(index);
            QAccessible::updateAccessibility(&event);
        }
    }

    void listChanged()
    {
        m_selection = m_shelf->selection();
        if (!QAccessible::isActive())
            return;
        if (auto *list = dynamic_cast<AccessibleList *>(QAccessible::queryAccessibleInterface(m_grid)))
            list->prune();
        QAccessibleTableModelChangeEvent reset(m_grid, QAccessibleTableModelChangeEvent::ModelReset);
        QAccessible::updateAccessibility(&reset);
    }

    ShelfGrid *m_grid;
    QPointer<Shelf> m_shelf;
    QSet<QUrl> m_selection;
};

} // namespace

AccessibleGrid::AccessibleGrid(ShelfGrid *grid) : AccessibleList(grid, QAccessible::List) {}

ShelfGrid *AccessibleGrid::grid() const { return static_cast<ShelfGrid *>(widget()); }

QList<QUrl> AccessibleGrid::entries() const { return grid()->shownItems(); }

QUrl AccessibleGrid::keyboardEntry() const { return grid()->shelf() ? grid()->shelf()->cursor() : QUrl(); }

QAccessible::State AccessibleGrid::state() const
{
    QAccessible::State state = AccessibleList::state();
    state.multiSelectable = true;
    state.extSelectable = true;
    return state;
}

QAccessibleInterface *AccessibleGrid::makeItem(const QUrl &entry) const { return new AccessibleCell(grid(), entry); }

AccessibleCell::AccessibleCell(ShelfGrid *grid, const QUrl &file) : AccessibleEntry(grid, file) {}

ShelfGrid *AccessibleCell::grid() const { return static_cast<ShelfGrid *>(view()); }

QString AccessibleCell::text(QAccessible::Text t) const
{
    ShelfGrid *owner = grid();
    if (!owner)
        return {};
    switch (t) {
    case QAccessible::Name:
        return entry().fileName();
    case QAccessible::Description: {
        Shelf *shelf = owner->shelf();
        const QDateTime modified = shelf ? shelf->modified(entry()) : QDateTime();
        QStringList parts;
        if (modified.isValid()) {
            const QLocale locale;
            parts << locale.toString(modified.date(), QLocale::LongFormat) + QStringLiteral(", ")
                         + locale.toString(modified.time(), QLocale::ShortFormat);
        }
        const std::optional<FileMeta> record = owner->meta() ? owner->meta()->meta(entry()) : std::nullopt;
        if (record && record->app && !record->app->isEmpty())
            parts << QCoreApplication::translate("AccessibleGrid", "taken in %1").arg(*record->app);
        if (record && record->hasTextFor(modified))
            parts << QCoreApplication::translate("AccessibleGrid", "text recognised");
        return parts.join(QStringLiteral(", "));
    }
    default:
        return {};
    }
}

QAccessible::State AccessibleCell::state() const
{
    QAccessible::State state = AccessibleEntry::state();
    if (ShelfGrid *owner = grid(); owner && owner->shelf())
        state.selected = owner->shelf()->selection().contains(entry());
    return state;
}

QRect AccessibleCell::viewportRect() const
{
    ShelfGrid *owner = grid();
    return owner ? owner->cellRect(entry()) : QRect();
}

QStringList AccessibleCell::actionNames() const
{
    return {QAccessibleActionInterface::setFocusAction(), QAccessibleActionInterface::toggleAction()};
}

void AccessibleCell::doAction(const QString &actionName)
{
    ShelfGrid *owner = grid();
    Shelf *shelf = owner ? owner->shelf() : nullptr;
    if (!shelf || !isValid())
        return;
    // The file acted on is the one this item names, never whatever is at
    // its place in the list now.
    if (actionName == QAccessibleActionInterface::setFocusAction()) {
        owner->setFocus(Qt::OtherFocusReason);
        shelf->select(entry());
    } else if (actionName == QAccessibleActionInterface::toggleAction()) {
        shelf->toggle(entry());
    }
}

namespace Accessibility {

void watchGrid(ShelfGrid *grid, Shelf *shelf)
{
    installFactories();
    if (grid && shelf)
        new GridVoice(grid, shelf);
}

} // namespace Accessibility
