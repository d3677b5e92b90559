#include "ui/accessiblefolders.h"

#include "model/shelf.h"
#include "ui/foldercolumn.h"

#include <QCoreApplication>
#include <QEvent>
#include <QScrollBar>

namespace {

const FolderColumn::Row *rowOf(const FolderColumn *column, const QUrl &folder)
{
    for (const FolderColumn::Row &row : column->rows()) {
        if ((row.kind == FolderColumn::Row::homeRow || row.kind == FolderColumn::Row::folderRow)
            && row.folder == folder)
            return &row;
    }
    return nullptr;
}

// Tells the bridge of the folder the keyboard has opened and of rows that
// came or went.
class FolderVoice : public QObject
{
public:
    FolderVoice(FolderColumn *column, Shelf *shelf) : QObject(column), m_column(column), m_shelf(shelf)
    {
        connect(shelf, &Shelf::currentChanged, this, [this] {
            if (m_column->hasFocus())
                announceCurrent();
        });
        for (auto signal : {&Shelf::subfoldersChanged, &Shelf::folderCountsChanged, &Shelf::homeChanged})
            connect(shelf, signal, this, &FolderVoice::rowsChanged);
        column->installEventFilter(this);
    }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        // After Qt has told of the column itself taking the focus.
        if (watched == m_column && event->type() == QEvent::FocusIn) {
            QMetaObject::invokeMethod(
                this,
                [this] {
                    if (m_column->hasFocus())
                        announceCurrent();
                },
                Qt::QueuedConnection);
        }
        return false;
    }

private:
    void announceCurrent()
    {
        auto *list = dynamic_cast<AccessibleList *>(QAccessible::queryAccessibleInterface(m_column));
        if (QAccessible::isActive() && list)
            Accessibility::announceFocus(m_column, list->indexOf(list->keyboardEntry()));
    }

    void rowsChanged()
    {
        if (!QAccessible::isActive())
            return;
        if (auto *list = dynamic_cast<AccessibleList *>(QAccessible::queryAccessibleInterface(m_column)))
            list->prune();
        QAccessibleTableModelChangeEvent reset(m_column, QAccessibleTableModelChangeEvent::ModelReset);
        QAccessible::updateAccessibility(&reset);
    }

    FolderColumn *m_column;
    QPointer<Shelf> m_shelf;
};

} // namespace

AccessibleFolders::AccessibleFolders(FolderColumn *column) : AccessibleList(column, QAccessible::List) {}

FolderColumn *AccessibleFolders::column() const { return static_cast<FolderColumn *>(widget()); }

QList<QUrl> AccessibleFolders::entries() const
{
    QList<QUrl> folders;
    for (const FolderColumn::Row &row : column()->rows()) {
        if (row.kind == FolderColumn::Row::homeRow || row.kind == FolderColumn::Row::folderRow)
            folders << row.folder;
    }
    return folders;
}

QUrl AccessibleFolders::keyboardEntry() const { return column()->currentRow(); }

QAccessibleInterface *AccessibleFolders::makeItem(const QUrl &entry) const
{
    return new AccessibleFolderRow(column(), entry);
}

AccessibleFolderRow::AccessibleFolderRow(FolderColumn *column, const QUrl &folder) : AccessibleEntry(column, folder) {}

FolderColumn *AccessibleFolderRow::column() const { return static_cast<FolderColumn *>(view()); }

QString AccessibleFolderRow::spoken(const QString &title, qint64 count)
{
    return count == 1
               ? QCoreApplication::translate("AccessibleFolders", "%1, %Ln screenshot", nullptr, int(count)).arg(title)
               : QCoreApplication::translate("AccessibleFolders", "%1, %Ln screenshots", nullptr, int(count))
                     .arg(title);
}

QString AccessibleFolderRow::text(QAccessible::Text t) const
{
    const FolderColumn *owner = column();
    const FolderColumn::Row *row = owner ? rowOf(owner, entry()) : nullptr;
    if (!row || t != QAccessible::Name)
        return {};
    return spoken(row->title, row->count);
}

QAccessible::State AccessibleFolderRow::state() const
{
    QAccessible::State state = AccessibleEntry::state();
    const FolderColumn *owner = column();
    state.selected = owner && owner->currentRow() == entry();
    return state;
}

QRect AccessibleFolderRow::viewportRect() const
{
    const FolderColumn *owner = column();
    const FolderColumn::Row *row = owner ? rowOf(owner, entry()) : nullptr;
    return row ? row->rect.translated(0, -owner->verticalScrollBar()->value()) : QRect();
}

QStringList AccessibleFolderRow::actionNames() const
{
    return {QAccessibleActionInterface::pressAction(), QAccessibleActionInterface::setFocusAction()};
}

void AccessibleFolderRow::doAction(const QString &actionName)
{
    FolderColumn *owner = column();
    if (!owner || !owner->shelf() || !isValid())
        return;
    if (actionName == QAccessibleActionInterface::setFocusAction())
        owner->setFocus(Qt::OtherFocusReason);
    if (actionName == QAccessibleActionInterface::pressAction()
        || actionName == QAccessibleActionInterface::setFocusAction())
        owner->shelf()->openFolder(entry());
}

namespace Accessibility {

void watchFolders(FolderColumn *column, Shelf *shelf)
{
    installFactories();
    if (column && shelf)
        new FolderVoice(column, shelf);
}

} // namespace Accessibility
