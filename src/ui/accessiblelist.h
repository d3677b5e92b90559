#pragma once

#include <QAccessible>
#include <QAccessibleWidget>
#include <QHash>
#include <QPointer>
#include <QUrl>

// What a screen reader sees of a view that paints its entries instead of
// making a widget of each (the grid, the folder column): a list whose items
// are made on demand, one per entry, keyed by the entry's URL so that an
// item keeps its identity (and its D-Bus path) while the list around it is
// filtered or rescanned.
//
// The items are registered with QAccessible's cache, which owns them; the
// list hands them back to it when their entry goes or the view is destroyed.
class AccessibleList : public QAccessibleWidget
{
public:
    AccessibleList(QWidget *view, QAccessible::Role role);
    ~AccessibleList() override;

    // The entries in the order a person sees them.
    virtual QList<QUrl> entries() const = 0;
    // The entry the keyboard is on, or none.
    virtual QUrl keyboardEntry() const = 0;

    int childCount() const override;
    QAccessibleInterface *child(int index) const override;
    int indexOfChild(const QAccessibleInterface *child) const override;
    QAccessibleInterface *childAt(int x, int y) const override;
    QAccessibleInterface *focusChild() const override;

    // The item of `entry`; null when it is not listed.
    QAccessibleInterface *item(const QUrl &entry) const;
    int indexOf(const QUrl &entry) const { return int(entries().indexOf(entry)); }
    // Forgets the items of entries no longer listed.
    void prune();

protected:
    virtual QAccessibleInterface *makeItem(const QUrl &entry) const = 0;

private:
    mutable QHash<QUrl, QAccessible::Id> m_items;
};

// One painted entry of an AccessibleList. It has no object of its own: it
// asks its view about its entry each time, and is invalid once the entry is
// no longer listed.
class AccessibleEntry : public QAccessibleInterface, public QAccessibleActionInterface
{
public:
    AccessibleEntry(QWidget *view, const QUrl &entry) : m_view(view), m_entry(entry) {}

    QUrl entry() const { return m_entry; }
    QWidget *view() const { return m_view; }
    AccessibleList *list() const;

    bool isValid() const override;
    QObject *object() const override { return nullptr; }
    QWindow *window() const override;
    QAccessibleInterface *parent() const override;
    QAccessibleInterface *child(int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface *) const override { return -1; }
    QAccessibleInterface *childAt(int, int) const override { return nullptr; }
    void setText(QAccessible::Text, const QString &) override {}
    QAccessible::State state() const override;
    // The entry's place on the screen; `viewportRect` in viewport terms.
    QRect rect() const override;
    virtual QRect viewportRect() const = 0;

    void *interface_cast(QAccessible::InterfaceType type) override;

private:
    QPointer<QWidget> m_view;
    QUrl m_entry;
};

namespace Accessibility {

// Makes the painted views known to Qt's accessibility; safe to call more
// than once (each view calls it as it is made).
void installFactories();

// Tells screen readers that the keyboard is on the entry at `index` of the
// list `view` shows: the item is announced as if it had the focus.
void announceFocus(QWidget *view, int index);

} // namespace Accessibility
