// The shelf window on the offscreen platform, through the real key routing:
// which keys the search field keeps and which act on the shelf, what the
// shelf's own keys do to the files (with a Trash, an application launcher
// and a folder prompt of the test's own), and what the status bar says when
// file work could not be done.

#include "actions/fileproblems.h"
#include "support/apprun.h"
#include "support/windowrig.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QMimeData>
#include <QTest>

#include <sys/stat.h>
#include <unistd.h>

namespace {

// a.png (oldest), b.png and c.png (newest, shown first) in a shown and
// active shelf window.
struct KeysRig : WindowRig
{
    void writeFiles()
    {
        QDir().mkpath(folder());
        double age = 30;
        for (const QString name : {"a.png", "b.png", "c.png"}) {
            writeTestPng(file(name));
            setAge(file(name), age -= 10);
        }
    }
    bool build()
    {
        writeFiles();
        return showWindow();
    }
    QStringList selected() const { return TestFiles::names(shelf->selectedFiles()); }
    QString status() const { return view->findChild<QLabel *>(QStringLiteral("statusText"))->text(); }
};

bool run(const QStringList &mount)
{
    return runProcess(QProcessEnvironment::systemEnvironment(), mount.first(), mount.mid(1)).status == 0;
}

// A tmpfs mounted over `folder` (root only; unmounted again on the way out),
// so the drive can be made read-only.
struct OwnDrive
{
    QString folder;
    bool mounted = run({"mount", "-t", "tmpfs", "-o", "size=8m", "tmpfs", folder});
    bool makeReadOnly() const { return run({"mount", "-o", "remount,ro", folder}); }
    ~OwnDrive()
    {
        if (mounted)
            (void)run({"umount", "-l", folder});
    }
};

} // namespace

class TestShelfKeys : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // In the search field, typing and editing keys stay with the field
    // (Return opens nothing, Backspace trashes nothing, Ctrl+A selects the
    // text), Space previews only while the field is empty, Ctrl+digit (with
    // Shift too) still copies and selects, and Escape clears the search
    // before it hides.
    void searchFieldKeepsItsKeys()
    {
        KeysRig rig;
        QVERIFY(rig.build());
        rig.view->toolbar()->focusSearch();
        QVERIFY(rig.field()->hasFocus());

        rig.key(Qt::Key_Space);
        QCOMPARE(rig.previewer.currentURL(), rig.url("c.png"));
        QCOMPARE(rig.field()->text(), QString());
        rig.key(Qt::Key_Space);
        QVERIFY(!rig.previewer.isOpen());
        QCOMPARE(rig.selected(), QStringList{"c.png"});

        QTest::keyClicks(rig.field(), "png");
        QCOMPARE(rig.shelf->query(), "png");
        rig.key(Qt::Key_Space);
        QCOMPARE(rig.field()->text(), "png ");
        QVERIFY(!rig.previewer.isOpen());
        rig.key(Qt::Key_Backspace);
        rig.key(Qt::Key_Return);
        QCOMPARE(rig.field()->text(), "png");
        QVERIFY(rig.launcher.opened.isEmpty() && rig.runner.pending() == 0);
        rig.key(Qt::Key_A, Qt::ControlModifier);
        QCOMPARE(rig.field()->selectedText(), "png");
        QCOMPARE(rig.selected(), QStringList{"c.png"});

        rig.key(Qt::Key_2, Qt::ControlModifier);
        QCOMPARE(rig.selected(), QStringList{"b.png"});
        QCOMPARE(QGuiApplication::clipboard()->mimeData()->urls(), QList<QUrl>{rig.url("b.png")});
        QVERIFY(rig.field()->hasFocus());
        // With Shift the digit arrives as its symbol ("!" is Shift+1 on a
        // US keyboard); it is still the shelf's, and never typed.
        rig.key(Qt::Key_Exclam, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(rig.selected(), QStringList{"c.png"});
        QCOMPARE(rig.field()->text(), "png");
        rig.window->setFocus();
        rig.key(Qt::Key_At, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(rig.selected(), QStringList{"b.png"});
        rig.view->toolbar()->focusSearch();

        rig.key(Qt::Key_Escape);
        QVERIFY(rig.shelf->query().isEmpty() && rig.window->isVisible());
        rig.key(Qt::Key_Escape);
        QVERIFY(!rig.window->isVisible());
    }

    // On the shelf: an open preview follows the arrow keys; Return opens the
    // selected file (P and Delete are walked by the end-to-end and property
    // runs, Delete also below); Ctrl+Shift+N asks for a folder inside Home,
    // Ctrl+N is not the shelf's.
    // The toolbar's buttons follow the shelf: Delete needs a
    // selection, Home a subfolder; Preview opens without selecting.
    void shelfKeysAndButtonsActOnTheFiles()
    {
        KeysRig rig;
        QVERIFY(rig.build());
        ShelfToolbar *toolbar = rig.view->toolbar();
        QVERIFY(!toolbar->trashAction()->isEnabled());
        toolbar->previewAction()->trigger();
        QVERIFY(rig.previewer.isOpen() && rig.selected().isEmpty());
        toolbar->previewAction()->trigger();

        rig.key(Qt::Key_Right);
        rig.key(Qt::Key_Space);
        rig.key(Qt::Key_Right);
        QCOMPARE(rig.previewer.currentURL(), rig.url("b.png"));
        rig.key(Qt::Key_Space);
        QVERIFY(!rig.previewer.isOpen());

        rig.key(Qt::Key_Return);
        QCOMPARE(rig.launcher.opened, QList<QUrl>{rig.url("b.png")});
        QVERIFY(toolbar->trashAction()->isEnabled());

        QKeyEvent plainN(QEvent::KeyPress, Qt::Key_N, Qt::ControlModifier);
        QVERIFY(!rig.window->handleKey(&plainN));
        rig.prompt.answer = "Receipts";
        rig.key(Qt::Key_N, Qt::ControlModifier | Qt::ShiftModifier);
        QVERIFY(QFileInfo(rig.file("Receipts")).isDir());
        QTRY_COMPARE(rig.shelf->subfolders().size(), 1);
        QVERIFY(!toolbar->backAction()->isEnabled());
        rig.shelf->openFolder(rig.shelf->subfolders().first());
        toolbar->backAction()->trigger();
        QVERIFY(rig.shelf->isHome());
    }

    // Delete on two files of a drive that refuses the Trash leaves them in
    // place and says why in the status bar, through a rescan; the next action
    // brings the counts back. As root (where permissions stop nothing) the
    // drive is a tmpfs remounted read-only; otherwise the folder loses its
    // write bit.
    void refusedTrashIsReported()
    {
        KeysRig rig;
        QDir().mkpath(rig.folder());
        std::unique_ptr<OwnDrive> drive;
        QString reason = "permission denied";
        if (::geteuid() == 0) {
            drive = std::make_unique<OwnDrive>(rig.folder());
            if (!drive->mounted)
                QSKIP("running as root without the right to mount a tmpfs, so no drive can be made read-only");
            rig.writeFiles();
            QVERIFY(drive->makeReadOnly());
            reason = "read-only file system";
        } else {
            rig.writeFiles();
            QVERIFY(::chmod(QFile::encodeName(rig.folder()).constData(), 0555) == 0);
        }
        QVERIFY(rig.showWindow());
        QTRY_COMPARE(rig.status(), "3 screenshots");

        rig.shelf->setSelection({rig.url("c.png"), rig.url("b.png")});
        rig.key(Qt::Key_Delete);
        const QString report = "2 could not be moved to the Trash: " + reason;
        QTRY_COMPARE(rig.status(), report);
        QVERIFY(QFile::exists(rig.file("b.png")) && QFile::exists(rig.file("c.png")));
        QVERIFY(rig.settle());
        QVERIFY(rig.rescan());
        QCOMPARE(rig.status(), report);

        rig.commands->copy().trigger();
        QCOMPARE(rig.status(), "3 screenshots, 2 selected");
        if (::geteuid() != 0)
            QVERIFY(::chmod(QFile::encodeName(rig.folder()).constData(), 0755) == 0);
    }

    // A file overwritten after the shelf drew it stays and is named with the
    // reason; a name in use is neither renamed onto nor made as a folder, and
    // is named too. Failures for different reasons name the commonest.
    void changedFilesAndTakenNamesAreReported()
    {
        KeysRig rig;
        QDir().mkpath(rig.folder() + "/Receipts");
        QVERIFY(rig.build());
        rig.shelf->select(rig.url("b.png"));
        Sandbox::writeFile(rig.file("b.png"), "other bytes entirely");
        rig.key(Qt::Key_Delete);
        QTRY_COMPARE(rig.status(), "\u201Cb.png\u201D could not be moved to the Trash: changed since it was shown");
        QVERIFY(QFile::exists(rig.file("b.png")) && !QFile::exists(rig.trashed("b.png")));

        rig.prompt.answer = "b.png";
        rig.commands->rename().run({rig.url("a.png")});
        QCOMPARE(rig.status(), "\u201Ca.png\u201D could not be renamed: a file with that name exists");
        QVERIFY(QFile::exists(rig.file("a.png")) && QFile::exists(rig.file("b.png")));
        rig.prompt.answer = "Receipts";
        rig.key(Qt::Key_N, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(rig.status(), "\u201CReceipts\u201D could not be created: a file with that name exists");

        const QUrl a = QUrl::fromLocalFile("/x/a.png");
        QCOMPARE(FileProblems::report(
                     "moved", {{a, FileProblem::nameTaken}, {a, FileProblem::denied}, {a, FileProblem::denied}}),
                 "3 could not be moved: permission denied, among other reasons");
    }
};

QTEST_MAIN(TestShelfKeys)
#include "test_shelfkeys.moc"
