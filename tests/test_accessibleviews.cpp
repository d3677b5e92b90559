// The grid and the folder column as a screen reader reads them: one item
// per cell or folder, in the order shown, that keeps naming the same file
// while a search or a rescan changes the list around it.

#include "support/commandsrig.h"
#include "ui/foldercolumn.h"
#include "ui/shelfgrid.h"

#include <QAccessible>
#include <QTest>

namespace {

QStringList names(QAccessibleInterface *list)
{
    QStringList out;
    for (int i = 0; i < list->childCount(); ++i)
        out << list->child(i)->text(QAccessible::Name);
    return out;
}

} // namespace

class TestAccessibleViews : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Items are found by the file they name, not by their place: after a
    // search hides cells and a rescan drops one, each item still names its
    // own file at its new index, an item whose file is hidden is invalid,
    // and one shown again is valid at its place.
    void cellsKeepTheirFileThroughSearchAndRescan()
    {
        ShelfRig rig;
        rig.addImage("apple.png", 10);
        rig.addImage("berry.png", 20);
        rig.addImage("cherry.png", 30);
        QVERIFY(rig.start());
        ShelfGrid grid(rig.shelf.get(), &rig.meta, nullptr);
        grid.resize(600, 400);
        QAccessibleInterface *list = QAccessible::queryAccessibleInterface(&grid);
        QVERIFY(list);
        QCOMPARE(names(list), QStringList({"apple.png", "berry.png", "cherry.png"}));
        QAccessibleInterface *apple = list->child(0);
        QAccessibleInterface *cherry = list->child(2);
        QVERIFY(apple->text(QAccessible::Description).contains(QString::number(QDate::currentDate().year())));

        rig.shelf->setQuery("rry");
        QCOMPARE(names(list), QStringList({"berry.png", "cherry.png"}));
        QVERIFY(!apple->isValid());
        QCOMPARE(list->child(1), cherry);
        QCOMPARE(list->indexOfChild(cherry), 1);
        QCOMPARE(list->indexOfChild(apple), -1);

        // Acting on an item acts on its file, wherever it now stands.
        auto *actions = cherry->actionInterface();
        QVERIFY(actions);
        actions->doAction(QAccessibleActionInterface::toggleAction());
        QCOMPARE(rig.shelf->selection(), QSet<QUrl>({rig.url("cherry.png")}));
        QVERIFY(cherry->state().selected && !list->child(0)->state().selected);

        rig.shelf->setQuery(QString());
        QVERIFY(apple->isValid());
        QCOMPARE(list->indexOfChild(apple), 0);
        QCOMPARE(list->indexOfChild(cherry), 2);

        QVERIFY(QFile::remove(rig.file("berry.png")));
        QVERIFY(rig.rescan());
        QCOMPARE(names(list), QStringList({"apple.png", "cherry.png"}));
        QCOMPARE(list->indexOfChild(cherry), 1);
        QCOMPARE(list->child(1)->text(QAccessible::Name), "cherry.png");
    }

    // Each folder row reads as its name and count; the folder on show is
    // the selected one; pressing a row shows its folder; a new folder found
    // by a rescan takes its place without shifting what the others name.
    void folderRowsReadTheirCountsAndOpen()
    {
        CommandsRig rig;
        rig.addImage("a.png");
        rig.addImage("b.png");
        Sandbox::writeFile(rig.file("Archive/old.png"));
        QVERIFY(rig.start());
        rig.makeCommands();
        FolderColumn column(rig.shelf.get(), *rig.commands);
        column.resize(230, 400);
        QAccessibleInterface *list = QAccessible::queryAccessibleInterface(&column);
        QVERIFY(list);
        QCOMPARE(names(list), QStringList({"Home, 2 screenshots", "Archive, 1 screenshot"}));
        QVERIFY(list->child(0)->state().selected && !list->child(1)->state().selected);
        QAccessibleInterface *archive = list->child(1);

        Sandbox::writeFile(rig.file("Above/x.png"));
        QVERIFY(rig.rescan());
        QCOMPARE(names(list), QStringList({"Home, 2 screenshots", "Above, 1 screenshot", "Archive, 1 screenshot"}));
        QCOMPARE(list->indexOfChild(archive), 2);

        archive->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
        QCOMPARE(rig.shelf->current(), Shelf::folderKey(rig.url("Archive")));
        QVERIFY(archive->state().selected && !list->child(0)->state().selected);
    }
};

QTEST_MAIN(TestAccessibleViews)
#include "test_accessibleviews.moc"
