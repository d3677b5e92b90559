#include "actions/actionrunner.h"
#include "actions/folderops.h"
#include "platform/trash.h"
#include "support/scriptedprompts.h"
#include "support/shelfrig.h"

#include <QTest>

namespace {

QStringList folderNames(const QString &path)
{
    QStringList names = QDir(path).entryList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden);
    names.sort();
    return names;
}

} // namespace

class TestFolderOps : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void newFolderIsMadeInHomeOnly()
    {
        ShelfRig rig;
        QDir().mkpath(rig.file("Old"));
        QVERIFY(rig.start());
        rig.shelf->openFolder(QUrl::fromLocalFile(rig.file("Old")));
        QSignalSpy applied(rig.shelf.get(), &Shelf::scanApplied);
        QVERIFY(applied.wait(10000));
        ScriptedPrompt prompt;
        prompt.answer = "  Receipts  ";
        FolderOps::newFolder(*rig.shelf, prompt); // in Home, though Old is shown
        QVERIFY(applied.wait(10000));
        QCOMPARE(folderNames(rig.folder()), QStringList({"Old", "Receipts"}));
        QCOMPARE(rig.shelf->subfolders().size(), 2);

        // Blank, taken names, separators and dot names create nothing anywhere.
        Sandbox::writeFile(rig.file("notes"));
        const QStringList before = folderNames(rig.box.path());
        for (const char *name : {"  \n ", "Receipts", "notes", "Old/Inner", "../Escape", ".."}) {
            prompt.answer = QString::fromUtf8(name);
            FolderOps::newFolder(*rig.shelf, prompt);
        }
        QCOMPARE(folderNames(rig.folder()), QStringList({"Old", "Receipts"}));
        QCOMPARE(folderNames(rig.file("Old")), QStringList());
        QCOMPARE(folderNames(rig.box.path()), before);
    }

    void renamingOrTrashingTheShownFolder()
    {
        ShelfRig rig;
        QDir().mkpath(rig.file("A"));
        QDir().mkpath(rig.file("B"));
        QVERIFY(rig.start());
        rig.shelf->openFolder(QUrl::fromLocalFile(rig.file("A")));

        // Renamed while shown: the new name is shown.
        ScriptedPrompt prompt;
        prompt.answer = "Renamed";
        FolderOps::renameFolder(*rig.shelf, QUrl::fromLocalFile(rig.file("A")), prompt, &rig.meta);
        QCOMPARE(prompt.asked.text, "A");
        const QUrl renamed = Shelf::folderKey(QUrl::fromLocalFile(rig.file("Renamed")));
        QCOMPARE(rig.shelf->current(), renamed);

        // A name that is taken is refused, and both folders keep what they hold.
        Sandbox::writeFile(rig.file("B/kept.png"));
        Sandbox::writeFile(rig.file("Renamed/mine.png"));
        prompt.answer = "B";
        FolderOps::renameFolder(*rig.shelf, renamed, prompt, &rig.meta);
        QCOMPARE(rig.shelf->current(), renamed);
        QVERIFY(QFile::exists(rig.file("B/kept.png")) && QFile::exists(rig.file("Renamed/mine.png")));
        QVERIFY(!QFile::exists(rig.file("B/mine.png")));

        // Trashing another folder stays; trashing the shown one goes Home
        // once it is gone.
        FreedesktopTrash trash(rig.box.path("Trash"), [](const QString &) { return QStringLiteral("/"); });
        ActionRunner runner(trash, &rig.meta);
        FolderOps::trashFolder(*rig.shelf, QUrl::fromLocalFile(rig.file("B")), runner);
        FolderOps::trashFolder(*rig.shelf, rig.shelf->home(), runner); // never Home itself
        QTRY_COMPARE_WITH_TIMEOUT(runner.pending(), 0, 10000);
        QCOMPARE(rig.shelf->current(), renamed);
        FolderOps::trashFolder(*rig.shelf, renamed, runner);
        QTRY_COMPARE_WITH_TIMEOUT(rig.shelf->current(), rig.shelf->home(), 10000);
        QCOMPARE(folderNames(rig.box.path("Trash/files")), QStringList({"B", "Renamed"}));
        QTRY_COMPARE_WITH_TIMEOUT(rig.shelf->subfolders().size(), 0, 10000);

        // Dropped files already there: nothing moves and the selection stays.
        // (A move into a folder is test_foldercolumn's.) Dropped on the grid,
        // they come Home.
        Sandbox::writeFile(rig.file("a.png"));
        Sandbox::writeFile(rig.file("Sub/b.png"));
        Sandbox::writeFile(rig.file("Sub/c.png"));
        QVERIFY(rig.rescan());
        const QSet<QUrl> selection = {rig.url("a.png")};
        rig.shelf->setSelection(selection);
        QList<qint64> counts;
        const auto count = [&](const FileWorkResult &result) { counts.append(result.count); };
        FolderOps::dropOnFolder(*rig.shelf, {rig.url("Sub/b.png")}, rig.url("Sub"), runner, count);
        QTRY_COMPARE_WITH_TIMEOUT(counts, QList<qint64>({0}), 10000);
        QCOMPARE(rig.shelf->selection(), selection);
        FolderOps::dropOnGrid(*rig.shelf, {rig.url("Sub/c.png")}, runner, count);
        QTRY_COMPARE_WITH_TIMEOUT(rig.itemNames().size(), 2, 10000);

        // A shelf gone before the move lands is left alone.
        FolderOps::dropOnGrid(*rig.shelf, {rig.url("Sub/b.png")}, runner, count);
        rig.shelf.reset();
        QTRY_COMPARE_WITH_TIMEOUT(runner.pending(), 0, 10000);
        QCOMPARE(counts.size(), 2);
    }
};

QTEST_GUILESS_MAIN(TestFolderOps)
#include "test_folderops.moc"
