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

const char dconfService[] = "ca.desrt.dconf.service";

} // namespace

class TestE2eTools : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<VirtualDisplay> m_display;

private Q_SLOTS:
    void initTestCase()
    {
        if (AppRun::binary().isEmpty())
            QSKIP("BRINDLEWICK_BIN is not set (ctest sets it)");
        m_display = std::make_unique<VirtualDisplay>();
    }

    // Each tool never configured (on the first start, when Home is the
    // tool's own default folder, Pictures for all three; and with a Home
    // chosen earlier) and configured to save into a folder of its own.
    // Flameshot never configured asks where to save each capture;
    // gnome-screenshot keeps its folder in GSettings (dconf); Spectacle 22.12
    // reads [Save] defaultSaveLocation. Each saves into Home, and its
    // settings come back as they were: a file (or its absence, and its
    // folder's), a dconf key the user never set unset again and a set one
    // holding its exact text. Spectacle writes its own file after each
    // capture (the capture's path as lastSaveLocation, the whole file
    // sorted), so that file must end as Spectacle alone would have left it:
    // as found, plus that one line.
    void captureLandsInHome_data()
    {
        QTest::addColumn<QString>("tool");
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<bool>("firstStart");
        QTest::addColumn<bool>("configured");
        const std::pair<const char *, QStringList> tools[] = {
            {"flameshot", {"full"}}, {"gnome-screenshot", {}}, {"spectacle", {"-b", "-n"}}};
        for (const auto &[tool, arguments] : tools) {
            QTest::addRow("%s never configured, first start", tool) << tool << arguments << true << false;
            QTest::addRow("%s never configured", tool) << tool << arguments << false << false;
            QTest::addRow("%s configured", tool) << tool << arguments << false << true;
        }
    }
    void captureLandsInHome()
    {
        QFETCH(QString, tool);
        QFETCH(QStringList, arguments);
        QFETCH(bool, firstStart);
        QFETCH(bool, configured);
        const bool gnome = tool == "gnome-screenshot";
        if (!m_display || !m_display->isRunning())
            QSKIP("Xvfb is not installed (./setup.sh test installs it)");
        for (const QString &program :
             QStringList{tool, "dbus-daemon"} + (gnome ? QStringList{"dconf", "gsettings"} : QStringList()))
            if (QStandardPaths::findExecutable(program).isEmpty())
                QSKIP(qPrintable(program + " is not installed (./setup.sh test installs it)"));
        if (gnome && !QFile::exists(QStringLiteral("/usr/share/dbus-1/services/") + dconfService))
            QSKIP("dconf-service is not installed (gnome-screenshot's settings store)");

        // A bus of the test's own: it starts only the services offered, so no
        // tool reaches the real session and nothing it starts outlives the test.
        AppRun run(m_display->display());
        SessionBus bus(run.environment(), gnome ? QStringList{dconfService} : QStringList());
        QVERIFY(!bus.address().isEmpty());
        const QString pictures = run.path("home/Pictures"), shots = run.path("home/Shots");
        const QString shelf = firstStart ? pictures : run.path("home/Shelf");
        QDir().mkpath(shelf);
        QDir().mkpath(pictures);
        Sandbox::writeFile(run.configHome() + "/user-dirs.dirs", "XDG_PICTURES_DIR=\"$HOME/Pictures\"\n");
        if (!firstStart)
            run.setPreference("folder", shelf);
        run.setVar("BRINDLEWICK_SCREENSHOT_TOOL", tool);
        run.setVar("BRINDLEWICK_DEBUG");
        run.setVar("DBUS_SESSION_BUS_ADDRESS", bus.address());

        const QString flameshot = run.configHome() + "/flameshot", rc = run.configHome() + "/spectaclerc";
        const QStringList files =
            QStringList{flameshot, flameshot + "/flameshot.ini"}
            + (gnome && configured ? QStringList{run.configHome() + "/dconf/user"} : QStringList());
        const QByteArray spectacle =
            "[General]\nlaunchAction=UseLastUsedCapturemode\n\n[Save]\ndefaultSaveLocation=file://"
            + QFile::encodeName(shots) + "\n";
        const auto dconfValue = [&] {
            return run.tool("dconf", {"read", "/org/gnome/gnome-screenshot/auto-save-directory"}).out;
        };
        if (configured) {
            QDir().mkpath(shots);
            if (tool == "flameshot")
                Sandbox::writeFile(files[1], "[General]\ncontrastOpacity=190\nsavePath=" + QFile::encodeName(shots)
                                                 + "\nsavePathFixed=true\n\n[Shortcuts]\nTYPE_COPY=Ctrl+C\n");
            else if (gnome)
                QCOMPARE(run.tool("gsettings", {"set", "org.gnome.gnome-screenshot", "auto-save-directory",
                                                QUrl::fromLocalFile(shots).toString()})
                             .status,
                         0);
            else
                Sandbox::writeFile(rc, spectacle);
        }
        const auto before = snapshot(files);
        const QByteArray valueBefore = gnome ? dconfValue() : QByteArray();
        QCOMPARE(valueBefore.isEmpty(), !gnome || !configured);

        // Capture as the tool's shortcut would (a tool that opens a save
        // dialog instead never ends by itself), see it in Home and on the
        // shelf, quit.
        QVERIFY(run.startReady());
        const Ran ran = run.tool(tool, arguments);
        QVERIFY2(ran.status == 0, qPrintable(tool + " did not save by itself:\n" + ran.out + ran.err));
        QTRY_COMPARE_WITH_TIMEOUT(pngsIn(shelf).size(), 1, 10000);
        QVERIFY2(!run.waitForLine(shelf + ": 1 images").isNull(), qPrintable(run.lines().join('\n')));
        QCOMPARE(pngsIn(run.path("home")) + (firstStart ? QStringList() : pngsIn(pictures)), QStringList());
        run.terminate();
        QVERIFY2(run.waitForExit() && run.exitStatus() == QProcess::NormalExit, qPrintable(run.lines().join('\n')));

        // dconf rewrites its database on every change: an unset key leaves
        // an empty database behind, never a value.
        QCOMPARE(snapshot(files), before);
        if (gnome)
            QCOMPARE(dconfValue(), valueBefore);
        const QByteArray last =
            "lastSaveLocation=" + QUrl::fromLocalFile(shelf + "/" + pngsIn(shelf).value(0)).toEncoded() + "\n";
        if (tool == "spectacle")
            QCOMPARE(TestFiles::readAll(rc), configured ? spectacle + last : "[Save]\n" + last);
    }
};

QTEST_GUILESS_MAIN(TestE2eTools)
#include "test_e2e_tools.moc"
