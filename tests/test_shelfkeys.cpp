// The shelf window on the offscreen platform, through the real key routing:
// which keys the search field keeps and which act on the shelf, what the
// shelf's own keys do to the files (with a Trash, an application launcher
// and a folder prompt of the test's own), and what the status bar says when
// file work could not be done.

#include "actions/fileproblems.h"
#include "support/apprun.h"
#include "support/windowrig.h"

#include <QClipboard>
#include <QLabel>
#include <QMimeData>

#include <sys/stat.h>
#include <unistd.h>

namespace {

// a.png (oldest), b.png and c.png (newest, shown first) for a shelf window.
struct KeysRig : WindowRig
{
    KeysRig() { writeFiles(); }
    void writeFiles()
    {
        QDir().mkpath(folder());
        double age = 30;
        for (const QString name : {"a.png", "b.png", "c.png"}) {
            writeTestPng(file(name));
            setAge(file(name), age -= 10);
        }
    }
    // The search text, the selected files and the file the preview shows.
    QStringList seen() const
    {
        return {field()->text(), TestFiles::names(shelf->selectedFiles()).join(' '),
                previewer.isOpen() ? previewer.currentURL().fileName() : QString()};
    }
    QString status() const { return view->findChild<QLabel *>(QStringLiteral("statusText"))->text(); }
};

bool run(const QStringList &mount)
{
    return runProcess(QProcessEnvironment::systemEnvironment(), mount.first(), mount.mid(1)).status == 0;
}

} // namespace

class TestShelfKeys : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // On the shelf: an open preview follows the arrow keys; Return opens the
    // selected file; Ctrl+Shift+N asks for a folder inside Home. The
    // toolbar's Delete needs a selection.
    void shelfKeysAndButtonsActOnTheFiles()
    {
        KeysRig rig;
        QVERIFY(rig.showWindow());
        ShelfToolbar *toolbar = rig.view->toolbar();
        QVERIFY(!toolbar->trashAction()->isEnabled());
        rig.key(Qt::Key_Right);
        rig.key(Qt::Key_Space);
        rig.key(Qt::Key_Right);
        QCOMPARE(rig.seen(), (QStringList{"", "b.png", "b.png"}));
        rig.key(Qt::Key_Space);
        rig.key(Qt::Key_Return);
        QCOMPARE(rig.seen(), (QStringList{"", "b.png", ""}));
        QVERIFY(rig.launcher.opened == QList<QUrl>{rig.url("b.png")} && toolbar->trashAction()->isEnabled());
        rig.prompt.answer = "Receipts";
        rig.key(Qt::Key_N, Qt::ControlModifier | Qt::ShiftModifier);
        QTRY_COMPARE(rig.shelf->subfolders().size(), 1);
    }

    // In the search field, typing and editing keys stay with the field
    // (Return opens nothing, Backspace trashes nothing, Ctrl+A selects the
    // text), Space previews only while the field is empty, Ctrl+digit (with
    // Shift too) still copies and selects, and Escape clears the search
    // before it hides.
    void searchFieldKeepsItsKeys()
    {
        KeysRig rig;
        QVERIFY(rig.showWindow());
        rig.view->toolbar()->focusSearch();
        rig.key(Qt::Key_Space);
        QCOMPARE(rig.seen(), (QStringList{"", "c.png", "c.png"}));
        rig.key(Qt::Key_Space);
        QTest::keyClicks(rig.field(), "png");
        rig.key(Qt::Key_Space);
        QCOMPARE(rig.seen(), (QStringList{"png ", "c.png", ""}));
        rig.key(Qt::Key_Backspace);
        rig.key(Qt::Key_Return);
        rig.key(Qt::Key_A, Qt::ControlModifier);
        QCOMPARE(rig.seen(), (QStringList{"png", "c.png", ""}));
        QVERIFY(rig.field()->selectedText() == "png" && rig.launcher.opened.isEmpty() && rig.runner.pending() == 0);
        rig.key(Qt::Key_2, Qt::ControlModifier);
        QCOMPARE(rig.seen(), (QStringList{"png", "b.png", ""}));
        QVERIFY(rig.field()->hasFocus());
        QCOMPARE(QGuiApplication::clipboard()->mimeData()->urls(), QList<QUrl>{rig.url("b.png")});
        // With Shift the digit arrives as its symbol ("!" is Shift+1 on a
        // US keyboard); it is still the shelf's, and never typed.
        rig.key(Qt::Key_Exclam, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(rig.seen(), (QStringList{"png", "c.png", ""}));
        rig.view->toolbar()->focusSearch();
        rig.key(Qt::Key_Escape);
        QVERIFY(rig.shelf->query().isEmpty() && rig.window->isVisible());
        rig.key(Qt::Key_Escape);
        QVERIFY(!rig.window->isVisible());
    }

    // What the status bar says when file work could not be done, each file
    // left as it was: a file overwritten after the shelf drew it, a name in
    // use (neither renamed onto nor made as a folder), and Delete on two files
    // of a drive that refuses the Trash, kept through a rescan until the next
    // action brings the counts back. As root (where permissions stop nothing)
    // the drive is a tmpfs remounted read-only; otherwise the folder loses
    // its write bit (a tmpfs mounted over the folder, unmounted again on the
    // way out). Failures for different reasons name the commonest.
    void failuresAreReported()
    {
        KeysRig rig;
        const bool root = ::geteuid() == 0;
        if (root && !run({"mount", "-t", "tmpfs", "-o", "size=8m", "tmpfs", rig.folder()}))
            QSKIP("running as root without the right to mount a tmpfs, so no drive can be made read-only");
        const auto unmount = qScopeGuard([&] { root &&run({"umount", "-l", rig.folder()}); });
        rig.writeFiles();
        QDir().mkpath(rig.folder() + "/Receipts");
        QVERIFY(rig.showWindow());
        Sandbox::writeFile(rig.file("b.png"), "other bytes entirely");
        // A command on a file, what the prompt answers, and the report.
        const std::tuple<FileCommand *, QString, QString, QString> failures[]{
            {&rig.commands->trash(), "b.png", "",
             "“b.png” could not be moved to the Trash: changed since it was shown"},
            {&rig.commands->rename(), "a.png", "b.png", "“a.png” could not be renamed: a file with that name exists"},
            {&rig.commands->newFolder(), "", "Receipts",
             "“Receipts” could not be created: a file with that name exists"},
        };
        for (const auto &[command, name, answer, report] : failures) {
            rig.prompt.answer = answer;
            command->run({rig.url(name)});
            QTRY_COMPARE(rig.status(), report);
        }

        QVERIFY(rig.rescan());
        QVERIFY(root ? run({"mount", "-o", "remount,ro", rig.folder()})
                     : ::chmod(QFile::encodeName(rig.folder()).constData(), 0555) == 0);
        rig.shelf->setSelection({rig.url("c.png"), rig.url("b.png")});
        rig.key(Qt::Key_Delete);
        const QString report =
            QString("2 could not be moved to the Trash: ") + (root ? "read-only file system" : "permission denied");
        QTRY_COMPARE(rig.status(), report);
        QVERIFY(rig.settle() && rig.rescan());
        QCOMPARE(rig.status(), report);
        rig.commands->copy().trigger();
        QCOMPARE(rig.status(), "3 screenshots, 2 selected");
        for (const QString name : {"a.png", "b.png", "c.png"})
            QVERIFY(QFile::exists(rig.file(name)) && !QFile::exists(rig.trashed(name)));
        if (!root)
            QVERIFY(::chmod(QFile::encodeName(rig.folder()).constData(), 0755) == 0);

        const QUrl a = QUrl::fromLocalFile("/x/a.png");
        QCOMPARE(FileProblems::report(
                     "moved", {{a, FileProblem::nameTaken}, {a, FileProblem::denied}, {a, FileProblem::denied}}),
                 "3 could not be moved: permission denied, among other reasons");
    }
};

QTEST_MAIN(TestShelfKeys)
#include "test_shelfkeys.moc"
