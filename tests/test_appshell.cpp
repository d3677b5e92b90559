// The application shell on the offscreen platform: placing the shelf
// window, the settings sheet, the menu shortcuts without a menu bar,
// the screenshot folder at launch and quit, and the diagnostic hooks.

#include "actions/views/previewer.h"
#include "actions/views/previewwindow.h"
#include "app/appdelegate.h"
#include "app/appservices.h"
#include "app/diagnostics.h"
#include "model/shelf.h"
#include "support/apprun.h"
#include "support/shelfrig.h"
#include "ui/flash.h"
#include "ui/settingssheet.h"
#include "ui/shelfgrid.h"
#include "ui/shelftoolbar.h"
#include "ui/shelfwindow.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QMenu>
#include <QMouseEvent>
#include <QScopeGuard>
#include <QScreen>
#include <QSemaphore>
#include <QTest>
#include <QTimer>

namespace {

// A delegate over its own preferences, screenshot tool, Home folder and stores.
struct Rig : HomeRig
{
    AppServices services{prefs, capture, box.path(QStringLiteral("meta.json")), box.path(QStringLiteral("thumbs"))};
    std::unique_ptr<AppDelegate> app;

    QString shots() const { return box.path(QStringLiteral("shots")); }

    // The delegate, with its first scan in, not yet launched.
    void create()
    {
        QDir().mkpath(shots());
        prefs.setValue(PrefKey::folder, shots());
        app = std::make_unique<AppDelegate>(services, nullptr);
        QSignalSpy scanned(&app->shelf(), &Shelf::scanApplied);
        QVERIFY(scanned.wait(10000));
    }

    void launch()
    {
        if (!app)
            create();
        app->launch();
    }
};

} // namespace

class TestAppShell : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // With no menu bar drawn, the menus' shortcuts work in the shelf, and a
    // key the menu holds does its one thing once (posted as the key hook
    // does, test_e2e_app sees it act once too). The settings
    // attach one sheet however often they are asked for; Escape closes it,
    // Return does not. A size the user gives the shelf is kept for the next
    // show, which centres it again.
    void menuShortcutsActOnceAndSettingsOpenOneSheet()
    {
        Rig rig;
        rig.launch();
        rig.app->showShelf();
        ShelfWindow *window = rig.app->window();
        QTRY_VERIFY(window->isActiveWindow());
        Shelf &shelf = rig.app->shelf();
        QSignalSpy widths(&shelf, &Shelf::cellWidthChanged);

        QTest::keyClick(window, Qt::Key_Equal, Qt::ControlModifier);
        QCOMPARE(widths.size(), 1);

        QTest::keyClick(window, Qt::Key_Comma, Qt::ControlModifier);
        QTRY_VERIFY(rig.app->settingsWindow());
        rig.app->openSettings();
        QCOMPARE(window->findChildren<SettingsSheetWindow *>().size(), 1);
        SettingsSheetWindow *sheet = rig.app->settingsWindow();
        QTest::keyClick(sheet, Qt::Key_Return);
        QVERIFY(rig.app->settingsWindow());
        QTest::keyClick(sheet, Qt::Key_Escape);
        QVERIFY(!rig.app->settingsWindow() && window->isVisible());
        window->move(0, 0);
        window->resize(620, 430);
        QTRY_COMPARE(rig.prefs.value("shelfWindowSize/w").toInt(), 620);
        QTest::keyClick(window, Qt::Key_W, Qt::ControlModifier);
        QVERIFY(!window->isVisible());
        rig.app->toggleShelf();
        QCOMPARE(window->geometry().size(), QSize(620, 430));
        QCOMPARE(window->geometry().center(), QGuiApplication::primaryScreen()->availableGeometry().center());
    }

    // The tray's menu has About (the toolbar's menu button is walked on a
    // real desktop by test_e2e_desktop). Ctrl+W, Ctrl+F and Ctrl+, (and so
    // Ctrl+Q, attached alike) also work while the settings sheet or the
    // preview is the active window.
    void menusAndWindowCommandsEverywhere()
    {
        Rig rig;
        writeTestPng(rig.shots() + "/a.png");
        rig.launch();
        rig.app->showShelf();
        ShelfWindow *window = rig.app->window();
        QTRY_VERIFY(window->isActiveWindow());
        QStringList tray;
        for (QAction *item : rig.app->trayMenu()->actions())
            tray << item->text();
        QVERIFY2(tray.contains("About Brindlewick"), qPrintable(tray.join(", ")));

        // Each key sent to a window made active first.
        const auto press = [](QWidget *to, Qt::Key key) {
            to->activateWindow();
            QTRY_VERIFY(to->isActiveWindow());
            QTest::keyClick(to, key, Qt::ControlModifier);
        };
        for (const Qt::Key key : {Qt::Key_W, Qt::Key_F}) {
            press(window, Qt::Key_Comma);
            QTRY_VERIFY(rig.app->settingsWindow());
            press(rig.app->settingsWindow(), key);
            QTRY_VERIFY(!rig.app->settingsWindow());
        }
        QTRY_VERIFY(window->findChild<ShelfToolbar *>()->searchField()->hasFocus());

        Previewer &preview = rig.app->previewer();
        preview.show(QUrl::fromLocalFile(rig.shots() + "/a.png"), {});
        QTRY_VERIFY(preview.isOpen());
        press(preview.window(), Qt::Key_Comma);
        QTRY_VERIFY(rig.app->settingsWindow());
        rig.app->closeSettings();
        press(preview.window(), Qt::Key_W);
        QVERIFY(!preview.isOpen() && window->isVisible());
    }

    // Home becomes the screenshot folder at launch (unless a folder was given
    // for this run) and the old one comes back at quit, however often asked.
    void screenshotFolderAtLaunchAndQuit()
    {
        for (const bool given : {false, true}) {
            Rig rig;
            rig.tool.values.insert(CaptureSettings::location, "/elsewhere");
            if (given)
                qputenv("BRINDLEWICK_FOLDER", "");
            const auto unset = qScopeGuard([] { qunsetenv("BRINDLEWICK_FOLDER"); });
            rig.launch();
            QCOMPARE(rig.tool.values.value(CaptureSettings::location).toString(), given ? "/elsewhere" : rig.shots());
            rig.app->prepareToQuit();
            rig.app->prepareToQuit();
            QCOMPARE(rig.tool.values.value(CaptureSettings::location).toString(), "/elsewhere");
        }
    }

    // The ready line comes once launching is done and the first scan is in;
    // each key report describes exactly the keys sent so far, even when the
    // event loop is held up past the time of the next key (as on a loaded
    // machine).
    void readyLineAndKeyReportsUnderLoad()
    {
        Rig rig;
        for (const char *name : {"/a.png", "/b.png", "/c.png"})
            Sandbox::writeFile(rig.shots() + name);
        rig.create();
        QStringList lines;
        rig.app->diagnostics().setLogSink([&lines](const QString &line) { lines << line; });
        qputenv("BRINDLEWICK_OPEN", "");
        qputenv("BRINDLEWICK_KEY", "C18,S124");
        const auto unset = qScopeGuard([] {
            qunsetenv("BRINDLEWICK_OPEN");
            qunsetenv("BRINDLEWICK_KEY");
        });
        QElapsedTimer clock;
        clock.start();
        rig.app->launch();
        QCOMPARE(lines, QStringList{QStringLiteral("ready")});
        // A slow step that holds the loop until both keys are due.
        QTimer::singleShot(0, &rig.app->shelf(), [&clock] {
            while (clock.elapsed() < 2700) {
            }
        });
        QTRY_COMPARE_WITH_TIMEOUT(lines.filter(QStringLiteral("after key")).size(), 2, 20000);
        const QStringList reports = lines.filter(QStringLiteral("after key"));
        QVERIFY2(reports.at(0).startsWith("after key C18: selected slots 1 columns=")
                     && reports.at(1).startsWith("after key S124: selected slots 1,2 columns="),
                 qPrintable(reports.join('\n')));
    }

    // No corner card while the shelf is in front; a double-click on a card
    // shows the shelf with the file selected and scrolled into view, also
    // when it lies far down another folder whose listing takes a while.
    void shelfInFrontAndRevealFromCard()
    {
        Rig rig;
        // Made before the launch: the first listing finds them, so they are not new.
        const QUrl fresh = TestFiles::writeImage(rig.shots() + "/new.png", {300, 200});
        const QUrl file = TestFiles::writeImage(rig.shots() + "/sub/x.png", {300, 200});
        ShelfRig::setAge(file.toLocalFile(), 3600);
        for (int i = 0; i < 30; ++i)
            Sandbox::writeFile(rig.shots() + QStringLiteral("/sub/%1.png").arg(i));
        rig.launch();
        Shelf &shelf = rig.app->shelf();
        rig.app->showShelf();
        QTRY_VERIFY(rig.app->shelfIsActive());
        Q_EMIT shelf.freshScreenshot(fresh);
        rig.app->window()->hide();
        Q_EMIT shelf.freshScreenshot(file);
        QTRY_VERIFY(rig.app->flash().current());
        FlashPanel *card = rig.app->flash().current();
        QCOMPARE(card->url(), file);

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
        QTRY_COMPARE(card->state(), FlashPanel::State::shown);
        QMouseEvent click(QEvent::MouseButtonDblClick, QPointF(60, 40), card->mapToGlobal(QPointF(60, 40)),
                          Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(card, &click);
        QVERIFY(rig.app->window()->isVisible());
        QTRY_VERIFY(begun.loadAcquire() > 0);
        QVERIFY(!shelf.selection().contains(file)); // not listed yet
        mayFinish.release(1000);
        QTRY_COMPARE_WITH_TIMEOUT(shelf.selection(), QSet<QUrl>{file}, 5000);
        QCOMPARE(shelf.current(), Shelf::folderKey(QUrl::fromLocalFile(rig.shots() + "/sub")));
        // Every listing asked for on the way is in; none took the file away.
        QTRY_COMPARE(done.loadAcquire(), begun.loadAcquire());
        QCoreApplication::processEvents();
        QCOMPARE(shelf.selection(), QSet<QUrl>{file});
        QCOMPARE(shelf.cursor(), file);
        const ShelfGrid *grid = rig.app->window()->findChild<ShelfGrid *>();
        QTRY_VERIFY(grid->viewport()->rect().contains(grid->cellRect(file)));
    }
};

QTEST_MAIN(TestAppShell)
#include "test_appshell.moc"
