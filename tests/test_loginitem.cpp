// Starting at login, and only once at a time.
#include "support/apprun.h"
#include "support/files.h"
#include "support/sandbox.h"
#include "system/loginitem.h"
#include "system/prefs.h"

#include <QScopeGuard>
#include <QTest>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

class FakePrompts final : public LoginPrompts
{
public:
    int asked = 0;
    QString lastDetail;
    QStringList opened;

    // Always asks to see the folder.
    void showRegistrationError(const QString &, const QString &detail, std::function<void(bool)> answer) override
    {
        ++asked;
        lastDetail = detail;
        answer(true);
    }
    void showGuide(std::function<void(GuideChoice)> answer) override
    {
        ++asked;
        answer(GuideChoice::notNow);
    }
    void openLoginItems(const QString &folder) override { opened << folder; }
};

} // namespace

class TestLoginItem : public QObject
{
    Q_OBJECT

    std::unique_ptr<Sandbox> box;
    std::unique_ptr<Prefs> prefs;
    QString entry;

private Q_SLOTS:
    void init()
    {
        box = std::make_unique<Sandbox>();
        prefs = std::make_unique<Prefs>(box->path("prefs.conf"));
        entry = box->path("autostart/brindlewick.desktop");
    }
    // Each sandbox puts the environment back as it found it: one at a time.
    void cleanup()
    {
        prefs.reset();
        box.reset();
    }

    // An entry left by an install elsewhere starts another program: it does
    // not count. The first run registers; opting out removes the entry and
    // keeps every later check from registering again.
    void registersOnceAndHonoursOptOut()
    {
        Sandbox::writeFile(entry, "[Desktop Entry]\nType=Application\nExec=/usr/local/bin/brindlewick --quiet\n");
        FakePrompts prompts;
        LoginItem item(*prefs, entry, QStringLiteral("/opt/My Apps/brindle%wick"), &prompts, 42);
        QVERIFY(!item.isEnabled() && !item.switchedOffByDesktop());

        item.checkRegistration(false);
        QVERIFY(item.isEnabled());
        const QByteArray text = TestFiles::readAll(entry);
        // Quoted for the space, "%" doubled: the desktop runs exactly this path.
        QVERIFY2(text.contains("\nExec=\"/opt/My Apps/brindle%%wick\"\n"), text.constData());
        QVERIFY2(text.contains("\nTryExec=/opt/My Apps/brindle%wick\n"), text.constData());
        QCOMPARE(prompts.asked, 0);

        item.turnOff();
        item.checkRegistration(true);
        QVERIFY(!QFile::exists(entry));

        item.setAutoRegister(true);
        item.checkRegistration(false);
        QVERIFY(item.isEnabled());
    }

    // Switched off in the desktop's own start-up settings: that is the
    // user's "off". It reads as disabled and later starts leave the entry
    // alone; switching it on here again writes it anew.
    void desktopsOwnOffSticks()
    {
        for (const QByteArray off : {"Hidden=true", "X-GNOME-Autostart-enabled=false"}) {
            QFile::remove(entry);
            prefs->remove(PrefKey::loginAutoRegisterOff);
            LoginItem item(*prefs, entry, "/usr/bin/brindlewick", nullptr, 1);
            item.checkRegistration(false);
            QVERIFY(item.isEnabled());
            const QByteArray switchedOff = TestFiles::readAll(entry) + off + "\n";
            Sandbox::writeFile(entry, switchedOff);
            QVERIFY(!item.isEnabled());

            LoginItem nextStart(*prefs, entry, "/usr/bin/brindlewick", nullptr, 2);
            nextStart.checkRegistration(false);
            QCOMPARE(TestFiles::readAll(entry), switchedOff);
            QVERIFY(!nextStart.isEnabled() && !nextStart.autoRegister());

            nextStart.setAutoRegister(true);
            nextStart.checkRegistration(true);
            QVERIFY(nextStart.isEnabled());
        }
    }

    // A folder that cannot be made: the alert names the file, its first
    // button shows the folder, and the file in its way is left alone.
    void failureShowsTheRealReason()
    {
        Sandbox::writeFile(box->path("autostart"), "not a folder");
        FakePrompts prompts;
        LoginItem(*prefs, entry, "/usr/bin/brindlewick", &prompts, 1).checkRegistration(false);
        QCOMPARE(prompts.asked, 1);
        QVERIFY2(prompts.lastDetail.contains(entry), qPrintable(prompts.lastDetail));
        QCOMPARE(prompts.opened, QStringList{box->path("autostart")});
        QCOMPARE(TestFiles::readAll(box->path("autostart")), QByteArray("not a folder"));
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
        run.setVar("BRINDLEWICK_FOLDER", run.home() + "/Desktop");
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
            std::vector<std::unique_ptr<QProcess>> starts;
            for (int i = 0; i < 4; ++i) {
                starts.push_back(std::make_unique<QProcess>());
                starts.back()->setProcessEnvironment(run.environment());
                starts.back()->start(AppRun::binary(), {});
            }
            QTRY_VERIFY_WITH_TIMEOUT(
                std::all_of(starts.begin(), starts.end(), [&](const auto &p) { return atGate(*p); }), 20000);
            // Held open (read-write never blocks) for the whole round.
            const int writer = ::open(gate.constData(), O_RDWR | O_CLOEXEC);
            QVERIFY(writer >= 0);
            const auto closeGate = qScopeGuard([writer] { ::close(writer); });
            const auto running = [&] {
                return std::count_if(starts.begin(), starts.end(),
                                     [](const auto &p) { return p->state() != QProcess::NotRunning; });
            };
            QTRY_COMPARE_WITH_TIMEOUT(running(), 1, 20000);
            for (auto &p : starts) {
                if (p->state() == QProcess::NotRunning) {
                    QCOMPARE(p->exitCode(), 0);
                    continue;
                }
                QByteArray err;
                QTRY_VERIFY_WITH_TIMEOUT((err += p->readAllStandardError()).contains("] ready") || !p->isOpen(), 20000);
                QCOMPARE(p->state(), QProcess::Running);
                p->terminate();
                QVERIFY(p->waitForFinished(10000));
            }
        }
    }
};

QTEST_GUILESS_MAIN(TestLoginItem)
#include "test_loginitem.moc"
