// End-to-end with the real screenshot tools: Brindlewick runs in a throwaway
// home on its own X server and session bus, the tool takes a capture the way
// its shortcut would (no file name, no questions), and the capture must land
// in Brindlewick's Home, reach the shelf, and leave the tool's settings as
// they were once Brindlewick has quit.

#include "support/apprun.h"
#include "support/files.h"
#include "support/sandbox.h"

#include <QDir>
#include <QSettings>
#include <QStandardPaths>
#include <QTest>
#include <QUrl>

#include <memory>

namespace {

// A session bus of the test's own: it starts only the services offered
// (the GSettings store), in the throwaway home's environment, so no tool
// reaches the real user's session and nothing it might start outlives the
// test.
class PrivateBus
{
public:
    explicit PrivateBus(const QProcessEnvironment &environment, const QStringList &services = {})
    {
        const QString serviceDir = m_dir.path() + QStringLiteral("/services");
        QDir().mkpath(serviceDir);
        for (const QString &name : services)
            QFile::copy(QStringLiteral("/usr/share/dbus-1/services/") + name, serviceDir + QLatin1Char('/') + name);
        const QString config = m_dir.path() + QStringLiteral("/bus.conf");
        Sandbox::writeFile(config, "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\" "
                                   "\"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
                                   "<busconfig><type>session</type><listen>unix:tmpdir=/tmp</listen><auth>EXTERNAL</auth>"
                                   "<servicedir>" + QFile::encodeName(serviceDir) + "</servicedir>"
                                   "<policy context=\"default\"><allow send_destination=\"*\" eavesdrop=\"true\"/>"
                                   "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>\n");
        m_daemon.setProcessEnvironment(environment);
        m_daemon.start(QStringLiteral("dbus-daemon"), {QStringLiteral("--config-file=") + config, QStringLiteral("--nofork"),
                                                       QStringLiteral("--print-address=1")});
        while (!m_address.contains('\n') && m_daemon.waitForReadyRead(10000))
            m_address += m_daemon.readAllStandardOutput();
        m_address = m_address.trimmed();
    }
    ~PrivateBus()
    {
        m_daemon.terminate();
        if (!m_daemon.waitForFinished(5000))
            m_daemon.kill();
        m_daemon.waitForFinished(5000);
    }
    QString address() const { return QString::fromUtf8(m_address); }

private:
    QTemporaryDir m_dir;
    QProcess m_daemon;
    QByteArray m_address;
};

// The tool's settings files as they stand: path -> bytes, "absent" marked.
using Files = QMap<QString, QByteArray>;
const QByteArray absent = "<absent>";

Files snapshot(const QStringList &paths)
{
    Files files;
    for (const QString &path : paths)
        files.insert(path, QFileInfo::exists(path) ? TestFiles::readAll(path) : absent);
    return files;
}

QStringList pngsIn(const QString &folder)
{
    return QDir(folder).entryList({QStringLiteral("*.png")}, QDir::Files);
}

} // namespace

class TestE2eTools : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<VirtualDisplay> m_display;

    // Brindlewick with the tool forced, a Pictures folder, and
    // BRINDLEWICK_DEBUG on so its scans report. Its Home: home/Shelf, chosen
    // earlier in its preferences, or on a first start the one it picks
    // itself, the tool's own default folder (Pictures for all three).
    static QString prepare(AppRun &run, const QString &tool, const PrivateBus &bus)
    {
        QFETCH(QString, start);
        const bool first = start == QLatin1String("first start");
        const QString shelf = run.path(first ? "home/Pictures" : "home/Shelf");
        QDir().mkpath(shelf);
        QDir().mkpath(run.path("home/Pictures"));
        Sandbox::writeFile(run.configHome() + "/user-dirs.dirs", "XDG_PICTURES_DIR=\"$HOME/Pictures\"\n");
        if (!first)
            QSettings(run.configHome() + "/Brindlewick/Brindlewick.conf", QSettings::IniFormat).setValue("folder", shelf);
        run.setVar("BRINDLEWICK_SCREENSHOT_TOOL", tool);
        run.setVar("BRINDLEWICK_DEBUG");
        run.setVar("DBUS_SESSION_BUS_ADDRESS", bus.address());
        return shelf;
    }

    // Runs the tool as its shortcut would and waits for it to end; a tool
    // that opens a save dialog instead never ends by itself.
    static bool capture(AppRun &run, const QString &program, const QStringList &arguments, QString *output)
    {
        QProcess tool;
        tool.setProcessEnvironment(run.environment());
        tool.setProcessChannelMode(QProcess::MergedChannels);
        tool.start(program, arguments);
        const bool ended = tool.waitForFinished(20000);
        if (!ended) {
            tool.kill();
            tool.waitForFinished(5000);
        }
        *output = QString::fromLocal8Bit(tool.readAll());
        return ended && tool.exitStatus() == QProcess::NormalExit && tool.exitCode() == 0;
    }

    // Start, capture, see it in Home and on the shelf, quit.
    void captureWhileRunning(AppRun &run, const QString &shelf, const QString &program, const QStringList &arguments)
    {
        run.start();
        QVERIFY2(!run.waitForLine(QStringLiteral("] ready")).isNull(), qPrintable(run.lines().join('\n')));
        QString output;
        QVERIFY2(capture(run, program, arguments, &output), qPrintable(program + " did not save by itself:\n" + output));
        QTRY_COMPARE_WITH_TIMEOUT(pngsIn(shelf).size(), 1, 10000);
        QVERIFY2(!run.waitForLine(shelf + QStringLiteral(": 1 images")).isNull(), qPrintable(run.lines().join('\n')));
        const QStringList elsewhere = pngsIn(run.home()) + (shelf == run.path("home/Pictures") ? QStringList() : pngsIn(run.path("home/Pictures")));
        QVERIFY2(elsewhere.isEmpty(), qPrintable(output));
        run.terminate();
        QVERIFY(run.waitForExit() && run.exitStatus() == QProcess::NormalExit);
    }

    void needTool(const char *program)
    {
        if (!m_display || !m_display->isRunning())
            QSKIP("Xvfb is not installed (./setup.sh test installs it)");
        if (QStandardPaths::findExecutable(QString::fromLatin1(program)).isEmpty())
            QSKIP(qPrintable(QStringLiteral("%1 is not installed (./setup.sh test installs it)").arg(program)));
        if (QStandardPaths::findExecutable(QStringLiteral("dbus-daemon")).isEmpty())
            QSKIP("dbus-daemon is not installed");
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
        needTool("flameshot");
        AppRun run(m_display->display());
        PrivateBus bus(run.environment());
        QVERIFY(!bus.address().isEmpty());
        const QString shelf = prepare(run, QStringLiteral("flameshot"), bus);
        const QString folder = run.configHome() + "/flameshot";
        const QString ini = folder + "/flameshot.ini";
        if (configured) {
            QDir().mkpath(run.path("home/Shots"));
            Sandbox::writeFile(ini, "[General]\ncontrastOpacity=190\nsavePath=" + QFile::encodeName(run.path("home/Shots"))
                                        + "\nsavePathFixed=true\n\n[Shortcuts]\nTYPE_COPY=Ctrl+C\n");
        }
        const Files before = snapshot({ini, folder});
        captureWhileRunning(run, shelf, QStringLiteral("flameshot"), {QStringLiteral("full")});
        QCOMPARE(snapshot({ini, folder}), before);
    }

    // gnome-screenshot keeps its folder in GSettings (dconf): the key the
    // user never set is unset again, a set one holds its exact text again.
    void gnomeScreenshot_data() { configured_data(); }
    void gnomeScreenshot()
    {
        QFETCH(bool, configured);
        needTool("gnome-screenshot");
        if (!QFile::exists("/usr/share/dbus-1/services/ca.desrt.dconf.service"))
            QSKIP("dconf-service is not installed (gnome-screenshot's settings store)");
        AppRun run(m_display->display());
        PrivateBus bus(run.environment(), {QStringLiteral("ca.desrt.dconf.service")});
        QVERIFY(!bus.address().isEmpty());
        const QString shelf = prepare(run, QStringLiteral("gnome-screenshot"), bus);
        if (QStandardPaths::findExecutable("dconf").isEmpty())
            QSKIP("dconf is not installed (./setup.sh test installs dconf-cli)");
        // What the user set, as dconf holds it: nothing when unset.
        const auto userValue = [&run]() {
            QProcess dconf;
            dconf.setProcessEnvironment(run.environment());
            dconf.start("dconf", {"read", "/org/gnome/gnome-screenshot/auto-save-directory"});
            dconf.waitForFinished(10000);
            return dconf.readAllStandardOutput();
        };
        const QString dconf = run.configHome() + "/dconf/user";
        if (configured) {
            QDir().mkpath(run.path("home/Shots"));
            QProcess set;
            set.setProcessEnvironment(run.environment());
            set.start("gsettings", {"set", "org.gnome.gnome-screenshot", "auto-save-directory",
                                    QUrl::fromLocalFile(run.path("home/Shots")).toString()});
            QVERIFY(set.waitForFinished(10000) && set.exitCode() == 0);
        }
        const Files before = snapshot({dconf});
        const QByteArray valueBefore = userValue();
        QCOMPARE(valueBefore.isEmpty(), !configured);
        captureWhileRunning(run, shelf, QStringLiteral("gnome-screenshot"), {});
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
        needTool("spectacle");
        AppRun run(m_display->display());
        PrivateBus bus(run.environment());
        QVERIFY(!bus.address().isEmpty());
        const QString shelf = prepare(run, QStringLiteral("spectacle"), bus);
        const QString rc = run.configHome() + "/spectaclerc";
        const QByteArray own = "[General]\nlaunchAction=UseLastUsedCapturemode\n\n[Save]\ndefaultSaveLocation=file://"
                               + QFile::encodeName(run.path("home/Shots")) + "\n";
        if (configured) {
            QDir().mkpath(run.path("home/Shots"));
            Sandbox::writeFile(rc, own);
        }
        captureWhileRunning(run, shelf, QStringLiteral("spectacle"), {QStringLiteral("-b"), QStringLiteral("-n")});
        const QByteArray last = "lastSaveLocation=" + QUrl::fromLocalFile(shelf + "/" + pngsIn(shelf).value(0)).toEncoded() + "\n";
        QCOMPARE(TestFiles::readAll(rc), configured ? own + last : "[Save]\n" + last);
    }
};

QTEST_GUILESS_MAIN(TestE2eTools)
#include "test_e2e_tools.moc"
