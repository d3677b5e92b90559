#include "actions/actionrunner.h"
#include "actions/folderops.h"
#include "platform/trash.h"
#include "support/scriptedprompts.h"
#include "support/shelfrig.h"

#include <QTest>

class TestFolderOps : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void newRenameTrashAndDrop()
    {
        ShelfRig rig;
        Sandbox::writeFile(rig.file("B/kept.png"));
        Sandbox::writeFile(rig.file("notes"));
        QDir().mkpath(rig.file("A"));
        QVERIFY(rig.start());
        rig.shelf->openFolder(QUrl::fromLocalFile(rig.file("A")));

        // New folders go in Home, though A is shown; blank, taken names,
        // separators and dot names create nothing anywhere.
        ScriptedPrompt prompt;
        for (const char *name : {"  Receipts  ", "  \n ", "Receipts", "notes", "A/Inner", "../Escape", ".."}) {
            prompt.answer = QString::fromUtf8(name);
            FolderOps::newFolder(*rig.shelf, prompt);
        }
        QTRY_COMPARE_WITH_TIMEOUT(rig.shelf->subfolders().size(), 3, 10000);
        QCOMPARE(TestFiles::entries(rig.folder()), QStringList({"A", "B", "Receipts", "notes"}));
        QVERIFY(!QFile::exists(rig.file("A/Inner")) && !QFile::exists(rig.box.path("Escape")));

        // Renamed while shown: the new name is shown. A taken name is refused,
        // and both folders keep what they hold.
        prompt.answer = "Renamed";
        FolderOps::renameFolder(*rig.shelf, QUrl::fromLocalFile(rig.file("A")), prompt, &rig.meta);
        QCOMPARE(prompt.asked.text, "A");
        const QUrl renamed = Shelf::folderKey(QUrl::fromLocalFile(rig.file("Renamed")));
        QCOMPARE(rig.shelf->current(), renamed);
        Sandbox::writeFile(rig.file("Renamed/mine.png"));
        prompt.answer = "B";
        FolderOps::renameFolder(*rig.shelf, renamed, prompt, &rig.meta);
        QCOMPARE(TestFiles::entries(rig.file("B")) + TestFiles::entries(rig.file("Renamed")),
                 QStringList({"kept.png", "mine.png"}));

        // Trashing another folder stays; trashing the shown one goes Home
        // once it is gone; Home itself is never trashed.
        FreedesktopTrash trash(rig.box.path("Trash"), [](const QString &) { return QStringLiteral("/"); });
        ActionRunner runner(trash, &rig.meta);
        FolderOps::trashFolder(*rig.shelf, QUrl::fromLocalFile(rig.file("B")), runner);
        FolderOps::trashFolder(*rig.shelf, rig.shelf->home(), runner);
        QTRY_COMPARE_WITH_TIMEOUT(runner.pending(), 0, 10000);
        QCOMPARE(rig.shelf->current(), renamed);
        FolderOps::trashFolder(*rig.shelf, renamed, runner);
        QTRY_COMPARE_WITH_TIMEOUT(rig.shelf->current(), rig.shelf->home(), 10000);
        QCOMPARE(TestFiles::entries(rig.box.path("Trash/files")), QStringList({"B", "Renamed"}));
        QTRY_COMPARE_WITH_TIMEOUT(rig.shelf->subfolders().size(), 1, 10000);

        // Dropped files already there: nothing moves and the selection stays.
        // (A move into a folder is test_foldercolumn's.) Dropped on the grid,
        // they come Home, unless the shelf is gone before the move lands.
        for (const char *name : {"a.png", "Sub/b.png", "Sub/c.png"})
            Sandbox::writeFile(rig.file(name));
        QVERIFY(rig.rescan());
        rig.shelf->setSelection({rig.url("a.png")});
        QList<qint64> counts;
        const auto count = [&](const FileWorkResult &result) { counts.append(result.count); };
        FolderOps::dropOnFolder(*rig.shelf, {rig.url("Sub/b.png")}, rig.url("Sub"), runner, count);
        QTRY_COMPARE_WITH_TIMEOUT(counts, QList<qint64>({0}), 10000);
        QCOMPARE(rig.shelf->selection(), QSet<QUrl>({rig.url("a.png")}));
        FolderOps::dropOnGrid(*rig.shelf, {rig.url("Sub/c.png")}, runner, count);
        QTRY_COMPARE_WITH_TIMEOUT(rig.itemNames().size(), 2, 10000);
        FolderOps::dropOnGrid(*rig.shelf, {rig.url("Sub/b.png")}, runner, count);
        rig.shelf.reset();
        QTRY_COMPARE_WITH_TIMEOUT(runner.pending(), 0, 10000);
        QCOMPARE(counts.size(), 2);
    }
};

QTEST_GUILESS_MAIN(TestFolderOps)
#include "test_folderops.moc"
