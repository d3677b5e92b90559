// Starting at login: the autostart entry, the opt-out, the error alert and
// the once-per-run guide.

#include "support/sandbox.h"
#include "system/loginitem.h"
#include "system/prefs.h"

#include <QTest>

namespace {

class FakePrompts final : public LoginPrompts
{
public:
    int errors = 0;
    QString lastTitle;
    QString lastDetail;
    bool answerOpen = false;
    int guides = 0;
    GuideChoice guideAnswer = GuideChoice::notNow;
    QStringList opened;

    void showRegistrationError(const QString &title, const QString &detail,
                               std::function<void(bool)> answer) override
    {
        ++errors;
        lastTitle = title;
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

    // An entry the desktop was told to skip is not enabled.
    void switchedOffEntryIsNotEnabled_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<bool>("enabled");
        QTest::newRow("plain") << QByteArray("[Desktop Entry]\nExec=x\n") << true;
        QTest::newRow("hidden") << QByteArray("[Desktop Entry]\nExec=x\nHidden=true\n") << false;
        QTest::newRow("gnome off") << QByteArray("[Desktop Entry]\nX-GNOME-Autostart-enabled=false\n") << false;
        QTest::newRow("other group") << QByteArray("[Desktop Entry]\nExec=x\n[Desktop Action a]\nHidden=true\n") << true;
    }

    void switchedOffEntryIsNotEnabled()
    {
        QFETCH(QByteArray, text);
        QFETCH(bool, enabled);
        Sandbox::writeFile(entry, text);
        LoginItem item(*prefs, entry, QStringLiteral("/usr/bin/brindlewick"), nullptr, 1);
        QCOMPARE(item.isEnabled(), enabled);
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
        QCOMPARE(prompts.lastTitle, QStringLiteral("Brindlewick could not register itself to start at login"));
        QVERIFY2(prompts.lastDetail.contains(entry), qPrintable(prompts.lastDetail));
        QCOMPARE(prompts.opened, QStringList{box->path(QStringLiteral("autostart"))});
        QFile blocker(box->path(QStringLiteral("autostart")));
        QVERIFY(blocker.open(QIODevice::ReadOnly));
        QCOMPARE(blocker.readAll(), QByteArray("not a folder"));
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
};

QTEST_GUILESS_MAIN(TestLoginItem)
#include "test_loginitem.moc"
