// End-to-end: the real binary under its own virtual X server in a throwaway
// home, driven through its diagnostic variables, second starts, xdotool and
// signals, and checked through the lines it writes to standard error (waited
// for as they arrive), its snapshots and the files it leaves behind.

#include "support/apprun.h"
#include "support/files.h"
#include "support/sandbox.h"

#include <QDir>
#include <QImage>
#include <QSettings>
#include <QStandardPaths>
#include <QTest>

#include <memory>

namespace {

// Where Flameshot saves, by its settings file in the program's home.
QString savePath(const AppRun &run)
{
    return QSettings(run.configHome() + "/flameshot/flameshot.ini", QSettings::IniFormat).value("savePath").toString();
}

// Asks the X server again until the shelf is (or is not) on screen.
bool waitShown(const AppRun &run, bool shown)
{
    const QStringList search = {"search", "--onlyvisible", "--name", "^shots$"};
    return QTest::qWaitFor([&] { return (run.tool("xdotool", search).status == 0) == shown; },
                           AppRun::defaultTimeoutMs);
}

} // namespace

class TestE2eApp : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<VirtualDisplay> m_display;

    // Home is three screenshots, a.png the oldest and c.png the newest, by
    // the program's preference (not BRINDLEWICK_FOLDER, so the screenshot
    // tool is pointed at it), and the tool is Flameshot saving into
    // home/Pictures. Started, the program points Flameshot at Home.
    void start(AppRun &run)
    {
        for (int age = 3; const QString name : {"shots/a.png", "shots/b.png", "shots/c.png"}) {
            writeTestPng(run.path(name));
            TestFiles::setMtime(run.path(name), QDateTime::currentSecsSinceEpoch() - 60 * age--);
        }
        Sandbox::writeFile(run.configHome() + "/flameshot/flameshot.ini",
                           "[General]\nsavePath=" + QFile::encodeName(run.path("home/Pictures"))
                               + "\nsavePathFixed=true\n");
        run.setPreference("folder", run.path("shots"));
        run.setVar("BRINDLEWICK_SCREENSHOT_TOOL", "flameshot");
        run.setVar("BRINDLEWICK_DEBUG");
        QVERIFY(run.startReady());
        QCOMPARE(savePath(run), run.path("shots"));
    }

    // It ended cleanly and gave the screenshot tool its own folder back.
    static void endedGivingBack(AppRun &run)
    {
        QVERIFY(run.waitForExit() && run.exitStatus() == QProcess::NormalExit && run.exitCode() == 0);
        QCOMPARE(savePath(run), run.path("home/Pictures"));
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(QFileInfo(AppRun::binary()).isExecutable(), "BRINDLEWICK_BIN must name the binary");
        m_display = std::make_unique<VirtualDisplay>();
        if (!m_display->isRunning())
            QSKIP("Xvfb is not installed (./setup.sh test installs it)");
    }

    // Key tokens, a click and a marquee go through the real event handling
    // one after another: the click lands on a cell, Delete trashes the file
    // the keys selected (what each key does to the selection is
    // test_selection's and test_shelfkeys'), Ctrl+= acts once, and Ctrl+Q
    // quits, giving the screenshot tool its own folder back.
    void keysThenQuit()
    {
        AppRun run(m_display->display());
        // Cells narrow enough for one row of three beside the folder column.
        run.setPreference("cellWidth", 220);
        for (const char *name : {"BRINDLEWICK_OPEN", "BRINDLEWICK_CLICK", "BRINDLEWICK_MARQUEE"})
            run.setVar(name);
        run.setVar("BRINDLEWICK_KEY", "C18,,X5,S124,C24,49,123,51,C3,49,C12");
        start(run);
        endedGivingBack(run);
        QCOMPARE(run.lines().filter("] view under the click point: ").value(0).section(": ", 1), "ThumbCell");
        QCOMPARE(run.lines().filter("after key").size(), 8);
        QVERIFY(!QFile::exists(run.path("shots/b.png"))
                && QFile::exists(run.path("home/.local/share/Trash/files/b.png")));
        QCOMPARE(QSettings(run.preferencesFile(), QSettings::IniFormat).value("cellWidth").toDouble(), 260.0);
    }

    // Starting it again shows the running one's shelf, sized for the screen
    // (the snapshot says so); with xdotool, --toggle hides it again and
    // Alt+Shift+S from anywhere shows and hides it, Caps Lock on or not.
    // SIGTERM ends it cleanly and gives the screenshot tool its own folder
    // back.
    void showByShortcutAndSecondStartThenSignal()
    {
        if (QStandardPaths::findExecutable("xdotool").isEmpty())
            QSKIP("xdotool is not installed (./setup.sh test installs it)");
        AppRun run(m_display->display());
        const QString snapshot = run.path("shelf.png");
        run.setVar("BRINDLEWICK_SNAPSHOT", snapshot);
        // Launching, and so the shortcut's registration, is complete.
        start(run);
        // Each show reports 1.5 s later, by when the shelf has the focus, so
        // the next toggle hides it.
        const QString shown = "first responder after show: ShelfWindow";
        QCOMPARE(run.runOnce({}), 0);
        QVERIFY(!run.waitForLine(shown, 1).isNull());
        // 80 % of the 1280 x 800 screen allows three rows of 167.25-point
        // cells: 1024 x 564.085, which covers 566 whole pixels once centred.
        QCOMPARE(run.waitForLine("] snapshot "), "[Brindlewick] snapshot 1024x566 -> " + snapshot);
        QCOMPARE(QImage(snapshot).size(), QSize(1024, 566));
        QVERIFY(waitShown(run, true));
        QCOMPARE(run.runOnce({"--toggle"}), 0);
        QVERIFY(waitShown(run, false));
        QCOMPARE(run.tool("xdotool", {"key", "alt+shift+s"}).status, 0);
        QVERIFY(!run.waitForLine(shown, 2).isNull());
        QCOMPARE(run.tool("xdotool", {"key", "alt+shift+s"}).status, 0);
        QVERIFY2(waitShown(run, false), qPrintable(run.lines().join('\n')));
        QCOMPARE(run.tool("xdotool", {"key", "Caps_Lock", "alt+shift+s", "Caps_Lock"}).status, 0);
        QVERIFY(waitShown(run, true));
        run.terminate();
        endedGivingBack(run);
    }

    // When the X server goes away under it, Qt ends the program with exit()
    // from inside the event loop; the screenshot tool still gets its own
    // folder back.
    void displayGoneGivesTheFolderBack()
    {
        auto display = std::make_unique<VirtualDisplay>();
        AppRun run(display->display());
        start(run);
        display.reset();
        QVERIFY2(run.waitForExit() && savePath(run) == run.path("home/Pictures"), qPrintable(run.lines().join('\n')));
    }
};

QTEST_GUILESS_MAIN(TestE2eApp)
#include "test_e2e_app.moc"
