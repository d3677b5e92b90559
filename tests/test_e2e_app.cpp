// End-to-end: the real brindlewick binary, started the way a user's desktop
// would start it, under its own virtual X server and in a throwaway home.
// It is driven through its diagnostic environment variables, xdotool and
// signals, and checked through its standard error, its snapshots and the
// files it leaves behind.

#include "support/apprun.h"
#include "support/files.h"

#include <QDir>
#include <QFile>
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
        const QString folder = run.path(QStringLiteral("shots"));
        const qint64 now = QDateTime::currentSecsSinceEpoch();
        int age = 3;
        for (const char *name : {"a.png", "b.png", "c.png"}) {
            const QString file = folder + QLatin1Char('/') + QLatin1String(name);
            writeTestPng(file);
            TestFiles::setMtime(file, now - 60 * age--);
        }
        return folder;
    }

    void needXdotool()
    {
        needDisplay();
        if (QStandardPaths::findExecutable(QStringLiteral("xdotool")).isEmpty())
            QSKIP("xdotool is not installed (./setup.sh test installs it)");
    }

    // Runs xdotool on the virtual display; its exit code, -1 when it did not finish.
    int xdotool(const QStringList &arguments, QByteArray *output = nullptr)
    {
        QProcess tool;
        QProcessEnvironment env;
        env.insert(QStringLiteral("DISPLAY"), m_display->display());
        env.insert(QStringLiteral("PATH"), qEnvironmentVariable("PATH"));
        tool.setProcessEnvironment(env);
        tool.start(QStringLiteral("xdotool"), arguments);
        if (!tool.waitForFinished(5000))
            return -1;
        if (output)
            *output = tool.readAllStandardOutput();
        return tool.exitCode();
    }

    bool shelfShown()
    {
        QByteArray windows;
        const QStringList search = {"search", "--onlyvisible", "--name", "^Brindlewick$"};
        return xdotool(search, &windows) == 0 && !windows.trimmed().isEmpty();
    }

    void sendShortcut(const QString &keys = QStringLiteral("alt+shift+s"))
    {
        QCOMPARE(xdotool({QStringLiteral("key"), keys}), 0);
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(QFileInfo(AppRun::binary()).isExecutable(), "BRINDLEWICK_BIN must name the binary");
        m_display = std::make_unique<VirtualDisplay>();
    }

    void cleanupTestCase() { m_display.reset(); }

    // --login needs no display, prints the state and exits.
    void loginCommandWithoutDisplay()
    {
        AppRun run({});
        const QString entry = run.configHome() + QStringLiteral("/autostart/brindlewick.desktop");
        QString out;
        // What `--login <argument>` prints when it succeeds.
        const auto login = [&](const char *argument) {
            return run.runOnce({QStringLiteral("--login"), QLatin1String(argument)}, &out) == 0 ? out : QString();
        };

        QCOMPARE(login("foo"), QStringLiteral("launch at login: disabled (0)\n"));
        QVERIFY(!QFile::exists(entry));
        QCOMPARE(login("on"), QStringLiteral("launch at login: enabled\n"));
        QFile file(entry);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QString text = QString::fromUtf8(file.readAll());
        QVERIFY(text.startsWith(QStringLiteral("[Desktop Entry]\n")));
        QVERIFY(text.contains(QStringLiteral("\nExec=") + AppRun::binary() + QLatin1Char('\n')));

        QCOMPARE(login("foo"), QStringLiteral("launch at login: enabled\n"));
        QCOMPARE(login("off"), QStringLiteral("launch at login: disabled (0)\n"));
        QVERIFY(!QFile::exists(entry));
        QSettings prefs(run.configHome() + QStringLiteral("/Brindlewick/Brindlewick.conf"), QSettings::IniFormat);
        QCOMPARE(prefs.value(QStringLiteral("loginAutoRegisterOff")).toString(), QStringLiteral("true"));

        // Where the entry cannot be written, the reason is printed and the
        // status is 1. (A file where the folder should be stops even root.)
        QDir(run.configHome()).rmdir(QStringLiteral("autostart"));
        QFile blocker(run.configHome() + QStringLiteral("/autostart"));
        QVERIFY(blocker.open(QIODevice::WriteOnly));
        blocker.close();
        QCOMPARE(run.runOnce({QStringLiteral("--login"), QStringLiteral("on")}, &out), 1);
        QVERIFY2(out.startsWith(QStringLiteral("error: ")) && out.contains(entry), qPrintable(out));

        // Without --login and without a display it says so and stops.
        QCOMPARE(run.runOnce({}), 1);
        QCOMPARE(run.runOnce({QStringLiteral("--login")}), 1);
    }

    // The shelf opens sized for the screen, the snapshot is that size, and
    // key tokens arrive in order through the real key handling.
    void openSnapshotAndKeys()
    {
        needDisplay();
        AppRun run(m_display->display());
        const QString snapshot = run.path(QStringLiteral("shelf.png"));
        run.setVar(QStringLiteral("BRINDLEWICK_FOLDER"), prepareShots(run));
        run.setVar(QStringLiteral("BRINDLEWICK_OPEN"));
        run.setVar(QStringLiteral("BRINDLEWICK_DEBUG"));
        run.setVar(QStringLiteral("BRINDLEWICK_SNAPSHOT"), snapshot);
        run.setVar(QStringLiteral("BRINDLEWICK_KEY"), QStringLiteral("C18,,X5,S124"));
        run.start();

        QVERIFY2(run.waitForLine(QStringLiteral("] snapshot ")), qPrintable(run.lines().join('\n')));
        // 80 % of the 1280 x 800 screen allows three rows of 167.25-point
        // cells: 1024 x 564.085, which covers 566 whole pixels once centred.
        QVERIFY(run.diagnosticLines().contains(QStringLiteral("snapshot 1024x566 -> ") + snapshot));
        QCOMPARE(QImage(snapshot).size(), QSize(1024, 566));
        QVERIFY(run.waitForLine(QStringLiteral("after key S124")));

        const QStringList lines = run.diagnosticLines();
        QVERIFY(lines.contains(QStringLiteral("first responder after show: ShelfWindow")));
        const qsizetype first = lines.indexOf(QStringLiteral("after key C18: selected slots 1 columns=4"));
        const qsizetype second = lines.indexOf(QStringLiteral("after key S124: selected slots 1,2 columns=4"));
        QVERIFY2(first >= 0 && second > first, qPrintable(lines.join('\n')));
        // The token that does not parse is skipped without a word.
        for (const QString &line : lines)
            QVERIFY(!line.contains(QStringLiteral("X5")));
    }

    // The settings open over the shelf (showing it first) at their size.
    void settingsSheetSnapshot()
    {
        needDisplay();
        AppRun run(m_display->display());
        const QString snapshot = run.path(QStringLiteral("settings.png"));
        run.setVar(QStringLiteral("BRINDLEWICK_FOLDER"), prepareShots(run));
        run.setVar(QStringLiteral("BRINDLEWICK_SETTINGS"));
        run.setVar(QStringLiteral("BRINDLEWICK_SNAPSHOT_SETTINGS"), snapshot);
        run.setVar(QStringLiteral("BRINDLEWICK_SNAPSHOT"), run.path(QStringLiteral("missing/shelf.png")));
        run.start();

        QVERIFY2(run.waitForLine(QStringLiteral("] snapshot ")), qPrintable(run.lines().join('\n')));
        QVERIFY(shelfShown());
        // 566 - 60, between 420 and 780.
        QVERIFY(run.diagnosticLines().contains(QStringLiteral("snapshot 540x506 -> ") + snapshot));
        QCOMPARE(QImage(snapshot).size(), QSize(540, 506));
        // A snapshot into a folder that does not exist is not written or logged.
        QTest::qWait(1500);
        QCOMPARE(run.diagnosticLines().filter(QStringLiteral("snapshot")).size(), 1);
    }

    // Alt+Shift+S from anywhere shows the shelf; a second press hides it.
    void globalShortcutToggles()
    {
        needXdotool();
        AppRun run(m_display->display());
        run.setVar(QStringLiteral("BRINDLEWICK_FOLDER"), prepareShots(run));
        run.setVar(QStringLiteral("BRINDLEWICK_DEBUG"));
        // Escape to the hidden shelf changes nothing; its report says the
        // launch (and so the shortcut's registration) is complete.
        run.setVar(QStringLiteral("BRINDLEWICK_KEY"), QStringLiteral("53"));
        run.start();
        QVERIFY(run.waitForLine(QStringLiteral("after key 53")));
        QVERIFY(!shelfShown());

        sendShortcut();
        QVERIFY(QTest::qWaitFor([&] { return shelfShown(); }, 10000));
        QVERIFY(run.waitForLine(QStringLiteral("first responder after show")));
        sendShortcut();
        QVERIFY(QTest::qWaitFor([&] { return !shelfShown(); }, 10000));

        // Caps Lock on does not stop it.
        sendShortcut(QStringLiteral("Caps_Lock"));
        sendShortcut();
        const bool shownWithCapsLock = QTest::qWaitFor([&] { return shelfShown(); }, 10000);
        sendShortcut(QStringLiteral("Caps_Lock"));
        QVERIFY(shownWithCapsLock);
    }

    // Starting it again shows the running one's shelf; --toggle hides it.
    void secondStartShowsRunningShelf()
    {
        needXdotool();
        AppRun run(m_display->display());
        run.setVar(QStringLiteral("BRINDLEWICK_FOLDER"), prepareShots(run));
        run.setVar(QStringLiteral("BRINDLEWICK_DEBUG"));
        run.start();
        QVERIFY(run.waitForLine(QStringLiteral("3 images")));

        QCOMPARE(run.runOnce({}), 0);
        QVERIFY(QTest::qWaitFor([&] { return shelfShown(); }, 10000));
        QVERIFY(run.waitForLine(QStringLiteral("first responder after show")));
        QCOMPARE(run.runOnce({QStringLiteral("--toggle")}), 0);
        QVERIFY(QTest::qWaitFor([&] { return !shelfShown(); }, 10000));
    }

    // However it ends - SIGTERM or Ctrl+Q - the screenshot tool gets its
    // own save folder back.
    void endingRestoresScreenshotFolder_data()
    {
        QTest::addColumn<bool>("bySignal");
        QTest::newRow("SIGTERM") << true;
        QTest::newRow("Ctrl+Q") << false;
    }

    void endingRestoresScreenshotFolder()
    {
        QFETCH(bool, bySignal);
        needDisplay();
        AppRun run(m_display->display());
        const QString shots = prepareShots(run);
        const QString original = run.path(QStringLiteral("home/Pictures"));
        const QString ini = run.configHome() + QStringLiteral("/flameshot/flameshot.ini");
        {
            QSettings flameshot(ini, QSettings::IniFormat);
            flameshot.setValue(QStringLiteral("savePath"), original);
            flameshot.setValue(QStringLiteral("savePathFixed"), true);
            QSettings prefs(run.configHome() + QStringLiteral("/Brindlewick/Brindlewick.conf"), QSettings::IniFormat);
            prefs.setValue(QStringLiteral("folder"), shots);
        }
        run.setVar(QStringLiteral("BRINDLEWICK_SCREENSHOT_TOOL"), QStringLiteral("flameshot"));
        if (!bySignal) {
            run.setVar(QStringLiteral("BRINDLEWICK_OPEN"));
            run.setVar(QStringLiteral("BRINDLEWICK_KEY"), QStringLiteral("C12"));
        }
        auto savePath = [&] { return QSettings(ini, QSettings::IniFormat).value(QStringLiteral("savePath")).toString(); };
        run.start();

        QVERIFY2(QTest::qWaitFor([&] { return savePath() == shots; }, 10000), qPrintable(savePath()));
        if (bySignal)
            run.terminate();
        QVERIFY(run.waitForExit());
        QCOMPARE(run.exitStatus(), QProcess::NormalExit);
        QCOMPARE(run.exitCode(), 0);
        QCOMPARE(savePath(), original);
    }
};

QTEST_GUILESS_MAIN(TestE2eApp)
#include "test_e2e_app.moc"
