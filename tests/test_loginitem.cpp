// Starting at login, and only once at a time.
#include "support/apprun.h"
#include "support/files.h"
#include "support/sandbox.h"
#include "system/loginitem.h"
#include "system/prefs.h"

#include <QTest>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Remembers what it showed; always asks to see the folder.
struct FakePrompts final : LoginPrompts
{
    QStringList shown;
    void showRegistrationError(const QString &, const QString &detail, std::function<void(bool)> answer) override
    {
        shown << detail;
        answer(true);
    }
    void showGuide(std::function<void(GuideChoice)>) override { shown << "guide"; }
    void openLoginItems(const QString &folder) override { shown << "opened " + folder; }
};

QString home(const QString &name) { return QDir::home().filePath(name); }

} // namespace

class TestLoginItem : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // An entry left by an install elsewhere starts another program: it does
    // not count. The first run registers, with the path quoted for the space
    // and "%" doubled so the desktop runs exactly it; opting out removes the
    // entry and keeps every later check from registering again. A folder
    // that cannot be made: the alert names the file, its first button shows
    // the folder, and the file in its way is left alone.
    void registersOnceAndHonoursOptOut()
    {
        Prefs prefs(home("prefs.conf"));
        const QString entry = home("autostart/brindlewick.desktop");
        FakePrompts prompts;
        const QString blocked = home("blocked");
        Sandbox::writeFile(blocked, "not a folder");
        LoginItem(prefs, blocked + "/b.desktop", "/usr/bin/brindlewick", &prompts, 1).checkRegistration(false);
        QVERIFY2(prompts.shown[0].contains(blocked + "/b.desktop"), qPrintable(prompts.shown[0]));
        QCOMPARE(prompts.shown[1], "opened " + blocked);
        QCOMPARE(TestFiles::readAll(blocked), QByteArray("not a folder"));

        Sandbox::writeFile(entry, "[Desktop Entry]\nType=Application\nExec=/usr/local/bin/brindlewick --quiet\n");
        LoginItem item(prefs, entry, "/opt/My Apps/brindle%wick", &prompts, 42);
        QVERIFY(!item.isEnabled() && !item.switchedOffByDesktop());
        item.checkRegistration(false);
        const QByteArray text = TestFiles::readAll(entry);
        QVERIFY2(text.contains("\nExec=\"/opt/My Apps/brindle%%wick\"\n"), text.constData());
        QVERIFY2(text.contains("\nTryExec=/opt/My Apps/brindle%wick\n"), text.constData());
        item.turnOff();
        item.checkRegistration(true);
        QVERIFY(!QFile::exists(entry));
        QCOMPARE(prompts.shown.size(), 2);
    }

    // Switched off in the desktop's own start-up settings: that is the
    // user's "off". It reads as disabled and later starts leave the entry
    // alone; switching it on here again writes it anew.
    void desktopsOwnOffSticks()
    {
        for (const QByteArray off : {"Hidden=true", "X-GNOME-Autostart-enabled=false"}) {
            Prefs prefs(home(off + "/prefs.conf"));
            const QString entry = home(off + "/autostart/brindlewick.desktop");
            LoginItem(prefs, entry, "/usr/bin/brindlewick", nullptr, 1).checkRegistration(false);
            const QByteArray switchedOff = TestFiles::readAll(entry) + off + "\n";
            Sandbox::writeFile(entry, switchedOff);
            LoginItem nextStart(prefs, entry, "/usr/bin/brindlewick", nullptr, 2);
            nextStart.checkRegistration(false);
            QCOMPARE(TestFiles::readAll(entry), switchedOff);
            QVERIFY(!nextStart.isEnabled() && !nextStart.autoRegister());
            nextStart.setAutoRegister(true);
            nextStart.checkRegistration(true);
            QVERIFY(nextStart.isEnabled());
        }
    }

    // Several starts at the same moment: exactly one keeps running (and
    // comes up ready), and the others hand it their request and end.
    void simultaneousStartsLeaveOneRunning()
    {
        if (AppRun::binary().isEmpty())
            QSKIP("BRINDLEWICK_BIN is not set (ctest sets it)");
        AppRun run({});
        // All starts wait at a FIFO until the test opens it: they decide
        // who runs at the same instant.
        const QByteArray gate = QFile::encodeName(run.path("gate"));
        QCOMPARE(::mkfifo(gate.constData(), 0600), 0);
        run.setVar("BRINDLEWICK_START_GATE", QFile::decodeName(gate));
        run.setVar("BRINDLEWICK_FOLDER", run.path("home/Desktop"));
        run.setVar("BRINDLEWICK_DEBUG");
        run.setVar("QT_QPA_PLATFORM", "offscreen");
        // Blocked opening the FIFO (the kernel names the wait; where it
        // hides it, in the open call).
        const auto atGate = [](const QProcess &p) {
            const QString proc = QStringLiteral("/proc/%1/").arg(p.processId());
            const QByteArray wchan = TestFiles::readAll(proc + "wchan");
            return wchan == "0" ? TestFiles::readAll(proc + "syscall").startsWith("257 ") : wchan.contains("partner");
        };
        for (int round = 0; round < 3; ++round) {
            QProcess starts[4];
            for (QProcess &p : starts) {
                p.setProcessEnvironment(run.environment());
                p.start(AppRun::binary(), {});
            }
            QTRY_VERIFY_WITH_TIMEOUT(std::all_of(std::begin(starts), std::end(starts), atGate), 20000);
            // Held open (read-write never blocks) for the whole round.
            const int writer = ::open(gate.constData(), O_RDWR | O_CLOEXEC);
            const auto running = [](const QProcess &p) { return p.state() != QProcess::NotRunning; };
            QTRY_COMPARE_WITH_TIMEOUT(std::count_if(std::begin(starts), std::end(starts), running), 1, 20000);
            QByteArray err;
            for (QProcess &p : starts)
                if (p.state() == QProcess::NotRunning)
                    QCOMPARE(p.exitCode(), 0);
                else
                    QTRY_VERIFY_WITH_TIMEOUT((err += p.readAllStandardError()).contains("] ready"), 20000);
            ::close(writer);
        }
    }
};

QTEST_GUILESS_MAIN(TestLoginItem)
#include "test_loginitem.moc"
