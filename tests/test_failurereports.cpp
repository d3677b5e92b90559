// What the file commands could not do reaches the person: a Trash refused by
// a read-only drive, a file changed since the shelf drew it. The shelf
// window's status bar says what and why until the next action, then shows
// the counts again.

#include "actions/fileproblems.h"
#include "support/apprun.h"
#include "support/commandsrig.h"
#include "ui/shelfview.h"
#include "ui/shelfwindow.h"

#include <QLabel>
#include <QProcess>
#include <QTest>

#include <sys/stat.h>
#include <unistd.h>

namespace {

bool run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    return process.waitForFinished(10000) && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

// The shelf's folder on a drive of its own that can be made read-only: a
// tmpfs mounted over it (root only; unmounted again on the way out).
struct OwnDrive
{
    QString folder;
    bool mounted = false;

    explicit OwnDrive(const QString &path) : folder(path)
    {
        mounted = run(QStringLiteral("mount"), {"-t", "tmpfs", "-o", "size=8m", "tmpfs", folder});
    }
    bool makeReadOnly() const { return run(QStringLiteral("mount"), {"-o", "remount,ro", folder}); }
    ~OwnDrive()
    {
        if (mounted)
            (void)run(QStringLiteral("umount"), {"-l", folder});
    }
};

// a.png, b.png and c.png in a shown shelf window with the commands' Trash.
struct ReportRig : CommandsRig
{
    std::unique_ptr<ShelfWindow> window;
    ShelfView *view = nullptr;

    void writeFiles()
    {
        double age = 30;
        for (const char *name : {"a.png", "b.png", "c.png"}) {
            writeTestPng(file(QString::fromLatin1(name)));
            setAge(file(QString::fromLatin1(name)), age -= 10);
        }
    }

    bool build()
    {
        if (!start(false))
            return false;
        makeCommands();
        window = std::make_unique<ShelfWindow>();
        window->setShelf(shelf.get());
        window->setCommands(*commands);
        beside = window.get();
        view = new ShelfView(shelf.get(), &meta, nullptr, *commands);
        window->setContent(view);
        window->installKeyRouting();
        window->resize(900, 600);
        window->show();
        window->activateWindow();
        if (!QTest::qWaitForWindowActive(window.get()))
            return false;
        window->setFocus();
        return true;
    }

    QString status() const { return view->findChild<QLabel *>(QStringLiteral("statusText"))->text(); }
    void key(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) const
    {
        QTest::keyClick(window->focusWidget() ? window->focusWidget() : window.get(), key, modifiers);
    }
};

} // namespace

class TestFailureReports : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Delete on two files of a drive that refuses the Trash leaves them in
    // place and says why in the status bar; the next action brings the
    // counts back. As root (where permissions stop nothing) the drive is a
    // tmpfs remounted read-only; otherwise the folder loses its write bit.
    void refusedTrashIsReported()
    {
        ReportRig rig;
        QDir().mkpath(rig.folder());
        std::unique_ptr<OwnDrive> drive;
        QString reason;
        if (::geteuid() == 0) {
            drive = std::make_unique<OwnDrive>(rig.folder());
            if (!drive->mounted)
                QSKIP("running as root without the right to mount a tmpfs, so no drive can be made read-only");
            rig.writeFiles();
            QVERIFY(drive->makeReadOnly());
            reason = QStringLiteral("read-only file system");
        } else {
            rig.writeFiles();
            QVERIFY(::chmod(QFile::encodeName(rig.folder()).constData(), 0555) == 0);
            reason = QStringLiteral("permission denied");
        }
        QVERIFY(rig.build());
        QTRY_COMPARE(rig.itemNames().size(), 3);
        QCOMPARE(rig.status(), QStringLiteral("3 screenshots"));

        rig.shelf->setSelection({rig.url("c.png"), rig.url("b.png")});
        rig.key(Qt::Key_Delete);
        QTRY_COMPARE(rig.status(), QStringLiteral("2 could not be moved to the Trash: %1").arg(reason));
        QVERIFY(QFile::exists(rig.file("b.png")) && QFile::exists(rig.file("c.png")));
        QVERIFY(rig.settle());
        // A rescan does not wipe the report.
        QVERIFY(rig.rescan());
        QCOMPARE(rig.status(), QStringLiteral("2 could not be moved to the Trash: %1").arg(reason));

        rig.commands->copy().trigger();
        QCOMPARE(rig.status(), QStringLiteral("3 screenshots, 2 selected"));
        if (::geteuid() != 0)
            QVERIFY(::chmod(QFile::encodeName(rig.folder()).constData(), 0755) == 0);
    }

    // A file overwritten after the shelf drew it stays (the person never saw
    // that content), and the status bar names it and says why.
    void changedFileIsReported()
    {
        ReportRig rig;
        QDir().mkpath(rig.folder());
        rig.writeFiles();
        QVERIFY(rig.build());
        QTRY_COMPARE(rig.itemNames().size(), 3);
        rig.shelf->select(rig.url("b.png"));
        Sandbox::writeFile(rig.file("b.png"), "other bytes entirely");
        rig.key(Qt::Key_Delete);
        QTRY_COMPARE(rig.status(),
                     QStringLiteral("\u201Cb.png\u201D could not be moved to the Trash: changed since it was shown"));
        QVERIFY(QFile::exists(rig.file("b.png")));
        QVERIFY(!QFile::exists(rig.trashed("b.png")));
    }

    // A name already in use: neither the rename nor the new folder replaces
    // anything, and the status bar says so.
    void takenNamesAreReported()
    {
        ReportRig rig;
        QDir().mkpath(rig.folder() + "/Receipts");
        rig.writeFiles();
        QVERIFY(rig.build());
        QTRY_COMPARE(rig.itemNames().size(), 3);
        rig.prompt.answer = QStringLiteral("b.png");
        rig.commands->rename().run({rig.url("a.png")});
        QCOMPARE(rig.status(), QStringLiteral("\u201Ca.png\u201D could not be renamed: a file with that name exists"));
        QVERIFY(QFile::exists(rig.file("a.png")) && QFile::exists(rig.file("b.png")));

        rig.prompt.answer = QStringLiteral("Receipts");
        rig.key(Qt::Key_N, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(rig.status(),
                 QStringLiteral("\u201CReceipts\u201D could not be created: a file with that name exists"));
    }

    // Failures for different reasons name the commonest.
    void mixedReasonsNameTheCommonest()
    {
        const QUrl a = QUrl::fromLocalFile("/x/a.png");
        QCOMPARE(
            FileProblems::report(QStringLiteral("moved"),
                                 {{a, FileProblem::nameTaken}, {a, FileProblem::denied}, {a, FileProblem::denied}}),
            QStringLiteral("3 could not be moved: permission denied, among other reasons"));
    }
};

QTEST_MAIN(TestFailureReports)
#include "test_failurereports.moc"
