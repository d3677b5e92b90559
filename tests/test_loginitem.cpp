// Starting: at login (the autostart entry, the opt-out, the error alert and
// the once-per-run guide), and only once at a time.

#include "support/files.h"
#include "support/sandbox.h"
#include "system/loginitem.h"
#include "system/prefs.h"

#include <QProcess>
#include <QScopeGuard>
#include <QTest>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

class FakePrompts final : public LoginPrompts
{
public:
    int errors = 0;
    QString lastDetail;
    bool answerOpen = false;
    int guides = 0;
    GuideChoice guideAnswer = GuideChoice::notNow;
    QStringList opened;

    void showRegistrationError(const QString &title, const QString &detail,
                               std::function<void(bool)> answer) override
    {
        ++errors;
        Q_UNUSED(title);
        lastDetail = detail;
        answer(answerOpen);
    }
    void showGuide(std::function<void(GuideChoice)> answer) override
    {
        ++guides;
        answer(guideAnswer);
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
        prefs = std::make_unique<Prefs>(box->path(QStringLiteral("prefs.conf")));
        entry = box->path(QStringLiteral("autostart/brindlewick.desktop"));
    }
    // Each sandbox puts the environment back as it found it: one at a time.
    void cleanup()
    {
        prefs.reset();
        box.reset();
    }

    // First run registers; later runs find it enabled; opting out removes
    // it and keeps every later check from registering again.
    void registersOnceAndHonoursOptOut()
    {
        FakePrompts prompts;
        LoginItem item(*prefs, entry, QStringLiteral("/opt/My Apps/brindle%wick"), &prompts, 42);

        QVERIFY(item.autoRegister());
        QCOMPARE(item.status(), LoginItem::notRegistered);
        item.checkRegistration(false);
        QVERIFY(item.isEnabled());
        QFile file(entry);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray text = file.readAll();
        // Quoted for the space, "%" doubled: the desktop runs exactly this path.
        QVERIFY2(text.contains("\nExec=\"/opt/My Apps/brindle%%wick\"\n"), text.constData());
        QCOMPARE(prompts.errors + prompts.guides, 0);

        item.turnOff();
        QVERIFY(!QFile::exists(entry));
        QVERIFY(!item.autoRegister());
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
            LoginItem item(*prefs, entry, QStringLiteral("/usr/bin/brindlewick"), nullptr, 1);
            item.checkRegistration(false);
            QVERIFY(item.isEnabled());
            const QByteArray switchedOff = TestFiles::readAll(entry) + off + "\n";
            Sandbox::writeFile(entry, switchedOff);
            QVERIFY(!item.isEnabled());

            LoginItem nextStart(*prefs, entry, QStringLiteral("/usr/bin/brindlewick"), nullptr, 2);
            nextStart.checkRegistration(false);
            QCOMPARE(TestFiles::readAll(entry), switchedOff);
            QVERIFY(!nextStart.isEnabled());
            QVERIFY(!nextStart.autoRegister());

            nextStart.setAutoRegister(true);
            nextStart.checkRegistration(true);
            QVERIFY(nextStart.isEnabled());
        }
        // The switch counts in the entry's main group only.
        Sandbox::writeFile(entry, "[Desktop Entry]\nExec=x\n[Desktop Action a]\nHidden=true\n");
        QVERIFY(LoginItem(*prefs, entry, QStringLiteral("/usr/bin/brindlewick"), nullptr, 3).isEnabled());
    }

    // A folder that cannot be made: the alert names the file and the reason,
    // and its first button shows the folder.
    void failureShowsTheRealReason()
    {
        Sandbox::writeFile(box->path(QStringLiteral("autostart")), "not a folder");
        FakePrompts prompts;
        prompts.answerOpen = true;
        LoginItem item(*prefs, entry, QStringLiteral("/usr/bin/brindlewick"), &prompts, 1);

        item.checkRegistration(false);
        QCOMPARE(prompts.errors, 1);
        QVERIFY2(prompts.lastDetail.contains(entry), qPrintable(prompts.lastDetail));
        QCOMPARE(prompts.opened, QStringList{box->path(QStringLiteral("autostart"))});
        QCOMPARE(TestFiles::readAll(box->path(QStringLiteral("autostart"))), QByteArray("not a folder"));
    }

    // The guide shows once per process unless forced; "Never" opts out.
    void guideOncePerRun()
    {
        FakePrompts prompts;
        LoginItem item(*prefs, entry, QStringLiteral("/usr/bin/brindlewick"), &prompts, 4711);
        QCOMPARE(item.guideKey(), QStringLiteral("loginGuideShownForStatus.4711"));

        item.showGuide(false);
        item.showGuide(false);
        QCOMPARE(prompts.guides, 1);
        item.showGuide(true);
        QCOMPARE(prompts.guides, 2);

        LoginItem nextRun(*prefs, item.entryPath(), QStringLiteral("/usr/bin/brindlewick"), &prompts, 4712);
        prompts.guideAnswer = LoginPrompts::GuideChoice::never;
        nextRun.showGuide(false);
        QCOMPARE(prompts.guides, 3);
        QVERIFY(!nextRun.autoRegister());
    }

    // Several starts at the same moment: exactly one keeps running, and the
    // others hand it their request and end.
    void simultaneousStartsLeaveOneRunning()
    {
        const QString binary = qEnvironmentVariable("BRINDLEWICK_BIN");
        if (binary.isEmpty())
            QSKIP("BRINDLEWICK_BIN is not set");
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("XDG_RUNTIME_DIR"), box->path(QStringLiteral("run")));
        env.insert(QStringLiteral("BRINDLEWICK_FOLDER"), box->path(QStringLiteral("shots")));
        env.insert(QStringLiteral("BRINDLEWICK_SCREENSHOT_TOOL"), QStringLiteral("none"));
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        QDir().mkpath(box->path(QStringLiteral("run")));
        QDir().mkpath(box->path(QStringLiteral("shots")));
        // All starts wait at this FIFO until the test opens it: they decide
        // who runs at the same instant.
        const QByteArray gate = QFile::encodeName(box->path(QStringLiteral("gate")));
        QCOMPARE(::mkfifo(gate.constData(), 0600), 0);
        env.insert(QStringLiteral("BRINDLEWICK_START_GATE"), QFile::decodeName(gate));

        for (int round = 0; round < 3; ++round) {
            std::vector<std::unique_ptr<QProcess>> starts;
            for (int i = 0; i < 4; ++i) {
                starts.push_back(std::make_unique<QProcess>());
                starts.back()->setProcessEnvironment(env);
                starts.back()->setProcessChannelMode(QProcess::ForwardedErrorChannel);
                starts.back()->start(binary, {});
            }
            // Held open (read-write never blocks) for the whole round, so a
            // start that arrives late is not kept waiting.
            QTest::qWait(1500);
            const int writer = ::open(gate.constData(), O_RDWR | O_CLOEXEC);
            QVERIFY(writer >= 0);
            const auto closeGate = qScopeGuard([writer] { ::close(writer); });
            const auto running = [&] {
                return std::count_if(starts.begin(), starts.end(),
                                     [](const auto &p) { return p->state() != QProcess::NotRunning; });
            };
            QTRY_COMPARE_WITH_TIMEOUT(running(), 1, 20000);
            QTest::qWait(500);
            QCOMPARE(running(), 1);
            for (auto &p : starts) {
                if (p->state() == QProcess::NotRunning) {
                    QCOMPARE(p->exitCode(), 0);
                } else {
                    p->terminate();
                    QVERIFY(p->waitForFinished(10000));
                }
            }
        }
    }
};

QTEST_GUILESS_MAIN(TestLoginItem)
#include "test_loginitem.moc"
