#include "model/folderops.h"
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

        prompt.answer = QStringLiteral("  \n ");
        applied.clear();
        FolderOps::newFolder(*rig.shelf, prompt);
        QCOMPARE(prompt.asked.message, QStringLiteral("New Folder"));
        QCOMPARE(prompt.asked.informativeText, QStringLiteral("Created inside shots."));
        QCOMPARE(prompt.asked.placeholder, QStringLiteral("Folder name"));
        QCOMPARE(prompt.asked.confirmButton, QStringLiteral("Create"));
        QVERIFY(prompt.asked.text.isEmpty());
        QVERIFY(!applied.wait(300)); // blank: nothing made, no rescan
        QCOMPARE(folderNames(rig.folder()), QStringList({"Old"}));

        prompt.answer = QStringLiteral("  Receipts  ");
        FolderOps::newFolder(*rig.shelf, prompt);
        QVERIFY(applied.wait(10000));
        QCOMPARE(folderNames(rig.folder()), QStringList({"Old", "Receipts"}));
        QCOMPARE(rig.shelf->subfolders().size(), 2);

        // Taken names, separators and dot names create nothing anywhere.
        Sandbox::writeFile(rig.file("notes"));
        const QStringList before = folderNames(rig.box.path());
        for (const QString &name : {"Receipts", "notes", "Old/Inner", "../Escape", "..", ".", "a/"}) {
            prompt.answer = name;
            FolderOps::newFolder(*rig.shelf, prompt);
        }
        prompt.answer = std::nullopt; // Cancel
        FolderOps::newFolder(*rig.shelf, prompt);
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
        prompt.answer = QStringLiteral("Renamed");
        FolderOps::renameFolder(*rig.shelf, QUrl::fromLocalFile(rig.file("A")), prompt, &rig.meta);
        QCOMPARE(prompt.asked.text, QStringLiteral("A"));
        const QUrl renamed = Shelf::folderKey(QUrl::fromLocalFile(rig.file("Renamed")));
        QCOMPARE(rig.shelf->current(), renamed);
        QVERIFY(QFileInfo(rig.file("Renamed")).isDir());

        // Trashing another folder stays; trashing the shown one goes Home.
        FreedesktopTrash trash(rig.box.path("Trash"), [](const QString &) { return QStringLiteral("/"); });
        FolderOps::trashFolder(*rig.shelf, QUrl::fromLocalFile(rig.file("B")), trash);
        QCOMPARE(rig.shelf->current(), renamed);
        FolderOps::trashFolder(*rig.shelf, renamed, trash);
        QCOMPARE(rig.shelf->current(), rig.shelf->home());
        FolderOps::trashFolder(*rig.shelf, rig.shelf->home(), trash); // never Home itself
        QVERIFY(QFileInfo(rig.folder()).isDir());
        QCOMPARE(folderNames(rig.box.path("Trash/files")), QStringList({"B", "Renamed"}));
        QTRY_COMPARE_WITH_TIMEOUT(rig.shelf->subfolders().size(), 0, 10000);
    }

    void droppingOnAFolderClearsTheSelectionOnlyWhenSomethingMoved()
    {
        ShelfRig rig;
        QDir().mkpath(rig.file("Sub"));
        rig.addImage("a.png");
        Sandbox::writeFile(rig.file("Sub/b.png"));
        QVERIFY(rig.start());
        const QSet<QUrl> selection = {rig.url("a.png")};
        rig.shelf->setSelection(selection);

        QCOMPARE(FolderOps::dropOnFolder(*rig.shelf, {rig.url("Sub/b.png")}, rig.url("Sub"), &rig.meta),
                 qint64(0));
        QCOMPARE(rig.shelf->selection(), selection);

        QCOMPARE(FolderOps::dropOnFolder(*rig.shelf, {rig.url("a.png")}, rig.url("Sub"), &rig.meta),
                 qint64(1));
        QVERIFY(rig.shelf->selection().isEmpty());
        QTRY_VERIFY_WITH_TIMEOUT(rig.shelf->items().isEmpty(), 10000);

        QCOMPARE(FolderOps::dropOnGrid(*rig.shelf, {rig.url("Sub/a.png")}, &rig.meta), qint64(1));
        QTRY_COMPARE_WITH_TIMEOUT(rig.itemNames(), QStringList({"a.png"}), 10000);
    }
};

QTEST_GUILESS_MAIN(TestFolderOps)
#include "test_folderops.moc"
