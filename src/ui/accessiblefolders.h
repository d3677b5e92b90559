#pragma once

#include "ui/accessiblelist.h"

class FolderColumn;
class Shelf;

// The folder column as a screen reader sees it: a list of Home and its
// subfolders, each read with its count ("Archive, 12 screenshots"); the
// folder on show is the selected item, and the keyboard's item when the
// column has the focus. The section headings and the hint are left out:
// they are drawn captions, not places to go.
class AccessibleFolders : public AccessibleList
{
public:
    explicit AccessibleFolders(FolderColumn *column);

    QList<QUrl> entries() const override;
    QUrl keyboardEntry() const override;

    FolderColumn *column() const;

protected:
    QAccessibleInterface *makeItem(const QUrl &entry) const override;
};

class AccessibleFolderRow : public AccessibleEntry
{
public:
    AccessibleFolderRow(FolderColumn *column, const QUrl &folder);

    QString text(QAccessible::Text t) const override;
    QAccessible::Role role() const override { return QAccessible::ListItem; }
    QAccessible::State state() const override;
    QRect viewportRect() const override;

    QStringList actionNames() const override;
    void doAction(const QString &actionName) override;
    QStringList keyBindingsForAction(const QString &) const override { return {}; }

    // "Archive, 12 screenshots", "Home, 1 screenshot".
    static QString spoken(const QString &title, qint64 count);

private:
    FolderColumn *column() const;
};

namespace Accessibility {

// Keeps screen readers told about `column`: the folder the keyboard opens,
// the rows listed after a rescan.
void watchFolders(FolderColumn *column, Shelf *shelf);

} // namespace Accessibility
