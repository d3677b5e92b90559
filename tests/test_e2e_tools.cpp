// End-to-end with the real screenshot tools: Brindlewick runs in a throwaway
// home on its own X server and session bus, the tool takes a capture the way
// its shortcut would (no file name, no questions), and the capture must land
// in Brindlewick's Home, reach the shelf, and leave the tool's settings as
// they were once Brindlewick has quit.

#include "support/apprun.h"
#include "support/files.h"
#include "support/sandbox.h"

#include <QDir>
#include <QStandardPaths>
#include <QTest>
#include <QUrl>

#include <memory>

namespace {

// The tool's settings files as they stand: path -> bytes, "absent" marked.
QMap<QString, QByteArray> snapshot(const QStringList &paths)
{
    QMap<QString, QByteArray> files;
    for (const QString &path : paths)
        files.insert(path, QFileInfo::exists(path) ? TestFiles::readAll(path) : "<absent>");
    return files;
}

QStringList pngsIn(const QString &folder) { return QDir(folder).entryList({"*.png"}, QDir::Files); }

// Brindlewick with the tool forced, a Pictures folder, its own bus offering
// `services`, and BRINDLEWICK_DEBUG on so its scans report. Its Home
// (`shelf`): home/Shelf, chosen earlier in its preferences, or on a first
// start the one it picks itself, the tool's own default folder (Pictures
// for all three).
struct ToolRun
{
    AppRun run;
    // A bus of the test's own: it starts only the services offered, so no
    // tool reaches the real session and nothing it starts outlives the test.
    SessionBus bus;
    QString shelf;

    ToolRun(const QString &display, const QString &tool, const QStringList &services = {})
        : run(display), bus(run.environment(), services)
    {
        QFETCH(QString, start);
        shelf = run.path(start == "first start" ? "home/Pictures" : "home/Shelf");
        QDir().mkpath(shelf);
        QDir().mkpath(run.path("home/Pictures"));
        Sandbox::writeFile(run.configHome() + "/user-dirs.dirs", "XDG_PICTURES_DIR=\"$HOME/Pictures\"\n");
        if (start != "first start")
            run.setPreference("folder", shelf);
        run.setVar("BRINDLEWICK_SCREENSHOT_TOOL", tool);
        run.setVar("BRINDLEWICK_DEBUG");
        run.setVar("DBUS_SESSION_BUS_ADDRESS", bus.address());
    }

    // Start, capture as the tool's shortcut would (a tool that opens a save
    // dialog instead never ends by itself), see it in Home and on the
    // shelf, quit.
    void captureWhileRunning(const QString &program, const QStringList &arguments)
    {
        QVERIFY(!bus.address().isEmpty());
        QVERIFY(run.startReady());
        const Ran ran = run.tool(program, arguments);
        const QByteArray output = ran.out + ran.err;
        QVERIFY2(ran.status == 0, qPrintable(program + " did not save by itself:\n" + output));
        QTRY_COMPARE_WITH_TIMEOUT(pngsIn(shelf).size(), 1, 10000);
        QVERIFY2(!run.waitForLine(shelf + ": 1 images").isNull(), qPrintable(run.lines().join('\n')));
        const QStringList elsewhere =
            pngsIn(run.home())
            + (shelf == run.path("home/Pictures") ? QStringList() : pngsIn(run.path("home/Pictures")));
        QVERIFY2(elsewhere.isEmpty(), output.constData());
        run.terminate();
        QVERIFY2(run.waitForExit() && run.exitStatus() == QProcess::NormalExit, qPrintable(run.lines().join('\n')));
    }
};

} // namespace

class TestE2eTools : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<VirtualDisplay> m_display;

    void needTools(const QStringList &programs)
    {
        if (!m_display || !m_display->isRunning())
            QSKIP("Xvfb is not installed (./setup.sh test installs it)");
        for (const QString &program : programs + QStringList{"dbus-daemon"})
            if (QStandardPaths::findExecutable(program).isEmpty())
                QSKIP(qPrintable(program + " is not installed (./setup.sh test installs it)"));
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (AppRun::binary().isEmpty())
            QSKIP("BRINDLEWICK_BIN is not set (ctest sets it)");
        m_display = std::make_unique<VirtualDisplay>();
    }

    void configured_data()
    {
        QTest::addColumn<bool>("configured");
        QTest::addColumn<QString>("start");
        QTest::newRow("never configured, first start") << false << "first start";
        QTest::newRow("never configured") << false << "Home chosen";
        QTest::newRow("configured") << true << "Home chosen";
    }

    // Flameshot never configured asks where to save each capture; configured
    // it saves into its own folder. Either way it saves into Home, and its
    // file (or its absence, and its folder's) comes back.
    void flameshot_data() { configured_data(); }
    void flameshot()
    {
        QFETCH(bool, configured);
        needTools({"flameshot"});
        ToolRun t(m_display->display(), "flameshot");
        const QString folder = t.run.configHome() + "/flameshot", ini = folder + "/flameshot.ini";
        if (configured) {
            QDir().mkpath(t.run.path("home/Shots"));
            Sandbox::writeFile(ini,
                               "[General]\ncontrastOpacity=190\nsavePath=" + QFile::encodeName(t.run.path("home/Shots"))
                                   + "\nsavePathFixed=true\n\n[Shortcuts]\nTYPE_COPY=Ctrl+C\n");
        }
        const auto before = snapshot({ini, folder});
        t.captureWhileRunning("flameshot", {"full"});
        QCOMPARE(snapshot({ini, folder}), before);
    }

    // gnome-screenshot keeps its folder in GSettings (dconf): the key the
    // user never set is unset again, a set one holds its exact text again.
    void gnomeScreenshot_data() { configured_data(); }
    void gnomeScreenshot()
    {
        QFETCH(bool, configured);
        needTools({"gnome-screenshot", "dconf", "gsettings"});
        if (!QFile::exists("/usr/share/dbus-1/services/ca.desrt.dconf.service"))
            QSKIP("dconf-service is not installed (gnome-screenshot's settings store)");
        ToolRun t(m_display->display(), "gnome-screenshot", {"ca.desrt.dconf.service"});
        // What the user set, as dconf holds it: nothing when unset.
        const auto userValue = [&t] {
            return t.run.tool("dconf", {"read", "/org/gnome/gnome-screenshot/auto-save-directory"}).out;
        };
        const QString dconf = t.run.configHome() + "/dconf/user";
        if (configured) {
            QDir().mkpath(t.run.path("home/Shots"));
            QCOMPARE(t.run
                         .tool("gsettings", {"set", "org.gnome.gnome-screenshot", "auto-save-directory",
                                             QUrl::fromLocalFile(t.run.path("home/Shots")).toString()})
                         .status,
                     0);
        }
        const auto before = snapshot({dconf});
        const QByteArray valueBefore = userValue();
        QCOMPARE(valueBefore.isEmpty(), !configured);
        t.captureWhileRunning("gnome-screenshot", {});
        QCOMPARE(userValue(), valueBefore);
        // dconf rewrites its database on every change: an unset key leaves
        // an empty database behind, never a value.
        if (configured)
            QCOMPARE(snapshot({dconf}), before);
    }

    // Spectacle 22.12 reads [Save] defaultSaveLocation. It writes its own
    // file after each capture (the capture's path as lastSaveLocation, the
    // whole file sorted), so the file must end as Spectacle alone would have
    // left it: as found, plus that one line.
    void spectacle_data() { configured_data(); }
    void spectacle()
    {
        QFETCH(bool, configured);
        needTools({"spectacle"});
        ToolRun t(m_display->display(), "spectacle");
        const QString rc = t.run.configHome() + "/spectaclerc";
        const QByteArray own = "[General]\nlaunchAction=UseLastUsedCapturemode\n\n[Save]\ndefaultSaveLocation=file://"
                               + QFile::encodeName(t.run.path("home/Shots")) + "\n";
        if (configured) {
            QDir().mkpath(t.run.path("home/Shots"));
            Sandbox::writeFile(rc, own);
        }
        t.captureWhileRunning("spectacle", {"-b", "-n"});
        const QByteArray last =
            "lastSaveLocation=" + QUrl::fromLocalFile(t.shelf + "/" + pngsIn(t.shelf).value(0)).toEncoded() + "\n";
        QCOMPARE(TestFiles::readAll(rc), configured ? own + last : "[Save]\n" + last);
    }
};

QTEST_GUILESS_MAIN(TestE2eTools)
#include "test_e2e_tools.moc"
