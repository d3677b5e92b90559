#include "ui/accessiblelist.h"

#include "ui/accessiblefolders.h"
#include "ui/accessiblegrid.h"
#include "ui/foldercolumn.h"
#include "ui/shelfgrid.h"

#include <QAbstractScrollArea>
#include <QWidget>

AccessibleList::AccessibleList(QWidget *view, QAccessible::Role role) : QAccessibleWidget(view, role) {}

AccessibleList::~AccessibleList()
{
    // The cache owns the items; they go with the list they belong to.
    for (const QAccessible::Id id : std::as_const(m_items))
        QAccessible::deleteAccessibleInterface(id);
}

int AccessibleList::childCount() const { return int(entries().size()); }

QAccessibleInterface *AccessibleList::child(int index) const
{
    const QList<QUrl> shown = entries();
    if (index < 0 || index >= shown.size())
        return nullptr;
    return item(shown.at(index));
}

QAccessibleInterface *AccessibleList::item(const QUrl &entry) const
{
    if (const auto found = m_items.constFind(entry); found != m_items.cend()) {
        if (QAccessibleInterface *known = QAccessible::accessibleInterface(*found))
            return known;
    }
    if (!entries().contains(entry))
        return nullptr;
    QAccessibleInterface *made = makeItem(entry);
    m_items.insert(entry, QAccessible::registerAccessibleInterface(made));
    return made;
}

int AccessibleList::indexOfChild(const QAccessibleInterface *child) const
{
    if (!child || child->parent() != this)
        return -1;
    const auto *entry = dynamic_cast<const AccessibleEntry *>(child);
    return entry ? indexOf(entry->entry()) : -1;
}

QAccessibleInterface *AccessibleList::childAt(int x, int y) const
{
    const QList<QUrl> shown = entries();
    for (const QUrl &entry : shown) {
        QAccessibleInterface *candidate = item(entry);
        if (candidate && candidate->rect().contains(x, y))
            return candidate;
    }
    return nullptr;
}

QAccessibleInterface *AccessibleList::focusChild() const
{
    if (!widget()->hasFocus())
        return nullptr;
    const QUrl entry = keyboardEntry();
    return entry.isEmpty() ? nullptr : item(entry);
}

void AccessibleList::prune()
{
    const QList<QUrl> shown = entries();
    const QSet<QUrl> listed(shown.cbegin(), shown.cend());
    for (auto it = m_items.begin(); it != m_items.end();) {
        if (listed.contains(it.key())) {
            ++it;
        } else {
            QAccessible::deleteAccessibleInterface(*it);
            it = m_items.erase(it);
        }
    }
}

AccessibleList *AccessibleEntry::list() const
{
    return m_view ? dynamic_cast<AccessibleList *>(QAccessible::queryAccessibleInterface(m_view)) : nullptr;
}

bool AccessibleEntry::isValid() const
{
    const AccessibleList *owner = list();
    return owner && owner->indexOf(m_entry) >= 0;
}

QWindow *AccessibleEntry::window() const
{
    QAccessibleInterface *owner = list();
    return owner ? owner->window() : nullptr;
}

QAccessibleInterface *AccessibleEntry::parent() const { return list(); }

QAccessible::State AccessibleEntry::state() const
{
    QAccessible::State state;
    if (!m_view) {
        state.invalid = true;
        return state;
    }
    state.selectable = true;
    state.focusable = true;
    const AccessibleList *owner = list();
    state.focused = m_view->hasFocus() && owner && owner->keyboardEntry() == m_entry;
    auto *area = qobject_cast<QAbstractScrollArea *>(m_view);
    const QRect seen = area ? area->viewport()->rect() : m_view->rect();
    const QRect at = viewportRect();
    state.invisible = !m_view->isVisible();
    state.offscreen = !seen.intersects(at);
    return state;
}

QRect AccessibleEntry::rect() const
{
    auto *area = qobject_cast<QAbstractScrollArea *>(m_view);
    if (!area)
        return {};
    const QRect at = viewportRect();
    return at.isEmpty() ? QRect() : QRect(area->viewport()->mapToGlobal(at.topLeft()), at.size());
}

void *AccessibleEntry::interface_cast(QAccessible::InterfaceType type)
{
    if (type == QAccessible::ActionInterface)
        return static_cast<QAccessibleActionInterface *>(this);
    return nullptr;
}

namespace {

QAccessibleInterface *paintedViews(const QString &className, QObject *object)
{
    if (className == QLatin1String("ShelfGrid"))
        return new AccessibleGrid(static_cast<ShelfGrid *>(object));
    if (className == QLatin1String("FolderColumn"))
        return new AccessibleFolders(static_cast<FolderColumn *>(object));
    return nullptr;
}

} // namespace

namespace Accessibility {

void installFactories()
{
    static bool installed = false;
    if (installed)
        return;
    installed = true;
    QAccessible::installFactory(paintedViews);
}

void announceFocus(QWidget *view, int index)
{
    if (!QAccessible::isActive() || !view || index < 0)
        return;
    QAccessibleEvent event(view, QAccessible::Focus);
    event.setChild(index);
    QAccessible::updateAccessibility(&event);
}

} // namespace Accessibility
