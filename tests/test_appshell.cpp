#include "actions/views/previewer.h"
#include "actions/views/previewwindow.h"
#include "app/appdelegate.h"
#include "app/appservices.h"
#include "app/diagnostics.h"
#include "support/apprun.h"
#include "support/shelfrig.h"
#include "ui/flash.h"
#include "ui/settingssheet.h"
#include "ui/shelfgrid.h"
#include "ui/shelftoolbar.h"
#include "ui/shelfwindow.h"

#include <QElapsedTimer>
#include <QLineEdit>
#include <QMenu>
#include <QScreen>
#include <QSemaphore>

namespace {

// A delegate over its own preferences, screenshot tool, Home folder and stores.
struct Rig : HomeRig
{
    AppServices services{prefs, capture, box.path(QStringLiteral("meta.json")), box.path(QStringLiteral("thumbs"))};
    std::unique_ptr<AppDelegate> app;

    QString shots() const { return box.path(QStringLiteral("shots")); }

    // The delegate, with its first scan in, launched unless told not to.
    void launch(bool andLaunch = true)
    {
        QDir().mkpath(shots());
        prefs.setValue(PrefKey::folder, shots());
        app = std::make_unique<AppDelegate>(services, nullptr);
        QSignalSpy scanned(&app->shelf(), &Shelf::scanApplied);
        QVERIFY(scanned.wait(10000));
        if (andLaunch)
            app->launch();
    }
};

} // namespace

class TestAppShell : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // With no menu bar drawn, the menus' shortcuts work in the shelf (a key
    // the menu holds acting once is test_e2e_app's). The settings attach one
    // sheet however often they are asked for; Escape closes it. A size the user gives the shelf is kept for the next show, which
    // centres it again. The tray's menu has About (the toolbar's menu button
    // is walked on a real desktop by test_e2e_desktop). Ctrl+W, Ctrl+F and
    // Ctrl+, (and so Ctrl+Q, attached alike) also work while the settings
    // sheet or the preview is the active window.
    void menuShortcutsSettingsAndWindowCommands()
    {
        Rig rig;
        // Made before the launch: the first listing finds them, so they are not new.
        const QUrl fresh = TestFiles::writeImage(rig.shots() + "/new.png", {300, 200});
        const QUrl file = TestFiles::writeImage(rig.shots() + "/sub/x.png", {300, 200});
        ShelfRig::setAge(file.toLocalFile(), 3600);
        for (int i = 0; i < 30; ++i)
            Sandbox::writeFile(rig.shots() + QStringLiteral("/sub/%1.png").arg(i));
        rig.launch();
        rig.app->showShelf();
        ShelfWindow *window = rig.app->window();
        // Each key sent to a window made active first.
        const auto press = [](QWidget *to, Qt::Key key) {
            to->activateWindow();
            QTRY_VERIFY(to->isActiveWindow());
            QTest::keyClick(to, key, Qt::ControlModifier);
        };
        press(window, Qt::Key_Comma);
        QTRY_VERIFY(rig.app->settingsWindow());
        rig.app->openSettings();
        QCOMPARE(window->findChildren<SettingsSheetWindow *>().size(), 1);
        QTest::keyClick(rig.app->settingsWindow(), Qt::Key_Escape);
        QVERIFY(!rig.app->settingsWindow() && window->isVisible());
        window->move(0, 0);
        window->resize(620, 430);
        QTRY_COMPARE(rig.prefs.value("shelfWindowSize/w").toInt(), 620);
        QTest::keyClick(window, Qt::Key_W, Qt::ControlModifier);
        QVERIFY(!window->isVisible());
        rig.app->toggleShelf();
        QCOMPARE(window->geometry().size(), QSize(620, 430));
        QCOMPARE(window->geometry().center(), QGuiApplication::primaryScreen()->availableGeometry().center());

        const QList<QAction *> tray = rig.app->trayMenu()->actions();
        QVERIFY(std::any_of(tray.begin(), tray.end(), [](QAction *a) { return a->text() == "About Brindlewick"; }));
        press(window, Qt::Key_Comma);
        QTRY_VERIFY(rig.app->settingsWindow());
        press(rig.app->settingsWindow(), Qt::Key_F);
        QTRY_VERIFY(!rig.app->settingsWindow());
        QTRY_VERIFY(window->findChild<ShelfToolbar *>()->searchField()->hasFocus());
        rig.app->previewer().show(fresh, {});
        QTRY_VERIFY(rig.app->previewer().isOpen());
        press(rig.app->previewer().window(), Qt::Key_W);
        QVERIFY(!rig.app->previewer().isOpen() && window->isVisible());

        Shelf &shelf = rig.app->shelf();
        window->activateWindow();
        QTRY_VERIFY(rig.app->shelfIsActive());
        Q_EMIT shelf.freshScreenshot(fresh);
        rig.app->window()->hide();
        Q_EMIT shelf.freshScreenshot(file);
        QTRY_VERIFY(rig.app->flash().current() && rig.app->flash().current()->url() == file);

        // Listings wait until the test lets them finish.
        QSemaphore mayFinish;
        QAtomicInt begun, done;
        const auto letAllFinish = qScopeGuard([&mayFinish] { mayFinish.release(1000); });
        shelf.setScanner([&](const QString &current, const QString &home) {
            begun.fetchAndAddOrdered(1);
            mayFinish.acquire();
            Shelf::ScanResult scan = Shelf::runScan(current, home);
            done.fetchAndAddOrdered(1);
            return scan;
        });
        // A double-click on the card asks for the file in the shelf (test_flash).
        Q_EMIT rig.app->flash().openInShelf(file);
        QTRY_VERIFY(window->isVisible() && begun.loadAcquire() > 0);
        QVERIFY(!shelf.selection().contains(file)); // not listed yet
        mayFinish.release(1000);
        QTRY_COMPARE_WITH_TIMEOUT(shelf.selection(), QSet<QUrl>{file}, 5000);
        // Every listing asked for on the way is in; none took the file away.
        QTRY_COMPARE(done.loadAcquire(), begun.loadAcquire());
        QCoreApplication::processEvents();
        QCOMPARE(shelf.selection(), QSet<QUrl>{file});
        QCOMPARE(shelf.cursor(), file);
        const ShelfGrid *grid = rig.app->window()->findChild<ShelfGrid *>();
        QTRY_VERIFY(grid->viewport()->rect().contains(grid->cellRect(file)));
    }

    // The ready line comes once launching is done and the first scan is in;
    // each key report describes exactly the keys sent so far, even when the
    // event loop is held up past the time of the next key (as on a loaded
    // machine). A folder given for this run leaves the screenshot tool's own
    // folder alone (Home taking its place at launch and giving it back at
    // quit is walked by test_e2e_app, a second restore by test_capturelocation).
    void readyLineAndKeyReportsUnderLoad()
    {
        Rig rig;
        for (const char *name : {"/a.png", "/b.png", "/c.png"})
            Sandbox::writeFile(rig.shots() + name);
        rig.tool.values.insert(CaptureSettings::location, "/elsewhere");
        rig.launch(false);
        QStringList lines;
        rig.app->diagnostics().setLogSink([&lines](const QString &line) { lines << line; });
        qputenv("BRINDLEWICK_OPEN", "");
        qputenv("BRINDLEWICK_KEY", "C18,S124");
        qputenv("BRINDLEWICK_FOLDER", "");
        QElapsedTimer clock;
        clock.start();
        rig.app->launch();
        for (const char *name : {"BRINDLEWICK_OPEN", "BRINDLEWICK_KEY", "BRINDLEWICK_FOLDER"})
            qunsetenv(name);
        QCOMPARE(rig.tool.values.value(CaptureSettings::location).toString(), "/elsewhere");
        QCOMPARE(lines, QStringList{QStringLiteral("ready")});
        // A slow step that holds the loop until both keys are due.
        QTimer::singleShot(0, &rig.app->shelf(), [&clock] {
            while (clock.elapsed() < 2700) {
            }
        });
        QTRY_COMPARE_WITH_TIMEOUT(lines.filter(QStringLiteral("after key")).size(), 2, 20000);
        const QStringList reports = lines.filter(QStringLiteral("after key"));
        QVERIFY(reports.at(0).startsWith("after key C18: selected slots 1 columns=")
                && reports.at(1).startsWith("after key S124: selected slots 1,2 columns="));
    }
};

QTEST_MAIN(TestAppShell)
#include "test_appshell.moc"
