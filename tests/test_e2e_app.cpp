// End-to-end: the real binary under its own virtual X server in a throwaway
// home, driven through its diagnostic variables, second starts, xdotool and
// signals, and checked through the lines it writes to standard error (waited
// for as they arrive), its snapshots and the files it leaves behind.

#include "support/apprun.h"
#include "support/files.h"

#include <QDir>
#include <QImage>
#include <QSettings>
#include <QStandardPaths>
#include <QTest>

#include <memory>

class TestE2eApp : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<VirtualDisplay> m_display;

    void needDisplay()
    {
        if (!m_display || !m_display->isRunning())
            QSKIP("Xvfb is not installed (./setup.sh test installs it)");
    }

    // Three screenshots, a.png the oldest and c.png the newest.
    static QString prepareShots(AppRun &run)
    {
        const QString folder = run.path("shots");
        int age = 3;
        for (const char *name : {"/a.png", "/b.png", "/c.png"}) {
            writeTestPng(folder + name);
            TestFiles::setMtime(folder + name, QDateTime::currentSecsSinceEpoch() - 60 * age--);
        }
        return folder;
    }

    // Home is the three shots by the program's preference (not
    // BRINDLEWICK_FOLDER, so the screenshot tool is pointed at it), and the
    // tool is Flameshot saving into home/Pictures. Returns its settings file.
    static QString useFlameshot(AppRun &run)
    {
        const QString shots = prepareShots(run);
        const QString ini = run.configHome() + "/flameshot/flameshot.ini";
        QSettings flameshot(ini, QSettings::IniFormat);
        flameshot.setValue("savePath", run.path("home/Pictures"));
        flameshot.setValue("savePathFixed", true);
        run.setPreference("folder", shots);
        run.setVar("BRINDLEWICK_SCREENSHOT_TOOL", "flameshot");
        return ini;
    }

    static QString savePath(const QString &ini)
    {
        return QSettings(ini, QSettings::IniFormat).value("savePath").toString();
    }

    // Asks the X server again until the shelf is (or is not) on screen.
    static bool waitShown(const AppRun &run, bool shown)
    {
        return QTest::qWaitFor(
            [&] {
                const Ran ran = run.tool("xdotool", {"search", "--onlyvisible", "--name", "^shots$"});
                return (ran.status == 0 && !ran.out.trimmed().isEmpty()) == shown;
            },
            AppRun::defaultTimeoutMs);
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(QFileInfo(AppRun::binary()).isExecutable(), "BRINDLEWICK_BIN must name the binary");
        m_display = std::make_unique<VirtualDisplay>();
    }

    void cleanupTestCase() { m_display.reset(); }

    // Key tokens, a click and a marquee go through the real event handling
    // one after another; Ctrl+Q quits, and quitting gives the screenshot
    // tool its own folder back.
    void keysThenQuit()
    {
        needDisplay();
        AppRun run(m_display->display());
        const QString ini = useFlameshot(run);
        // Cells narrow enough for one row of three beside the folder column.
        run.setPreference("cellWidth", 220);
        run.setVar("BRINDLEWICK_OPEN");
        run.setVar("BRINDLEWICK_KEY", "C18,,X5,S124,C24,49,123,51,C3,49,C12");
        run.setVar("BRINDLEWICK_CLICK");
        run.setVar("BRINDLEWICK_MARQUEE");
        QVERIFY(run.startReady());
        QCOMPARE(savePath(ini), run.path("shots"));
        QVERIFY(run.waitForExit() && run.exitStatus() == QProcess::NormalExit && run.exitCode() == 0);
        QCOMPARE(savePath(ini), run.path("home/Pictures"));

        // Real input reaches the cells: the click lands on one, and Delete
        // trashes the file the keys selected. (What each key does to the
        // selection is test_selection's and test_shelfkeys'.) Ctrl+= acts once.
        const QStringList lines = run.lines();
        QVERIFY2(lines.contains("[Brindlewick] view under the click point: ThumbCell"), qPrintable(lines.join('\n')));
        QCOMPARE(lines.filter("after key").size(), 8);
        QVERIFY(!QFile::exists(run.path("shots/b.png")));
        QVERIFY(QFile::exists(run.path("home/.local/share/Trash/files/b.png")));
        QCOMPARE(run.preference("cellWidth").toDouble(), 260.0);
    }

    // Starting it again shows the running one's shelf, sized for the screen
    // (the snapshot says so); with xdotool, --toggle hides it again and
    // Alt+Shift+S from anywhere shows and hides it. SIGTERM ends it cleanly
    // and gives the screenshot tool its own folder back.
    void showByShortcutAndSecondStartThenSignal()
    {
        needDisplay();
        AppRun run(m_display->display());
        const QString ini = useFlameshot(run);
        const QString snapshot = run.path("shelf.png");
        run.setVar("BRINDLEWICK_DEBUG");
        run.setVar("BRINDLEWICK_SNAPSHOT", snapshot);
        // Launching, and so the shortcut's registration, is complete.
        QVERIFY(run.startReady());

        // Each show reports 1.5 s later, by when the shelf has the focus, so
        // the next toggle hides it.
        const QString shown = "first responder after show: ShelfWindow";
        int shows = 0;
        const bool xdotool = !QStandardPaths::findExecutable("xdotool").isEmpty();
        QCOMPARE(run.runOnce({}), 0);
        QVERIFY(!run.waitForLine(shown, ++shows).isNull());
        // 80 % of the 1280 x 800 screen allows three rows of 167.25-point
        // cells: 1024 x 564.085, which covers 566 whole pixels once centred.
        QCOMPARE(run.waitForLine("] snapshot "), "[Brindlewick] snapshot 1024x566 -> " + snapshot);
        QCOMPARE(QImage(snapshot).size(), QSize(1024, 566));
        if (xdotool) {
            QVERIFY(waitShown(run, true));
            QCOMPARE(run.runOnce({"--toggle"}), 0);
            QVERIFY(waitShown(run, false));
            QCOMPARE(run.tool("xdotool", {"key", "alt+shift+s"}).status, 0);
            QVERIFY(!run.waitForLine(shown, ++shows).isNull());
            QCOMPARE(run.tool("xdotool", {"key", "alt+shift+s"}).status, 0);
            QVERIFY2(waitShown(run, false), qPrintable(run.lines().join(QLatin1Char(10))));
            // Caps Lock on does not stop it.
            QCOMPARE(run.tool("xdotool", {"key", "Caps_Lock", "alt+shift+s", "Caps_Lock"}).status, 0);
            QVERIFY(waitShown(run, true));
        }
        QCOMPARE(savePath(ini), run.path("shots"));
        run.terminate();
        QVERIFY(run.waitForExit() && run.exitStatus() == QProcess::NormalExit && run.exitCode() == 0);
        QCOMPARE(savePath(ini), run.path("home/Pictures"));
        if (!xdotool)
            QSKIP("xdotool is not installed (./setup.sh test installs it): --toggle and the shortcut went untried");
    }

    // When the X server goes away under it, Qt ends the program with exit()
    // from inside the event loop; the screenshot tool still gets its own
    // folder back.
    void displayGoneGivesTheFolderBack()
    {
        needDisplay();
        auto display = std::make_unique<VirtualDisplay>();
        QVERIFY(display->isRunning());
        AppRun run(display->display());
        const QString ini = useFlameshot(run);
        run.setVar("BRINDLEWICK_DEBUG");
        QVERIFY(run.startReady());
        QCOMPARE(savePath(ini), run.path("shots"));
        display.reset();
        QVERIFY(run.waitForExit());
        QVERIFY2(savePath(ini) == run.path("home/Pictures"),
                 qPrintable(QStringLiteral("exit %1 status %2\n").arg(run.exitCode()).arg(run.exitStatus())
                            + run.lines().join('\n')));
    }
};

QTEST_GUILESS_MAIN(TestE2eApp)
#include "test_e2e_app.moc"
