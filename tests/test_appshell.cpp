// The application shell on the offscreen platform: sizing and placing the
// shelf window, the settings sheet, the menu shortcuts without a menu bar,
// the screenshot folder at launch and quit, and the diagnostic hooks.

#include "app/appdelegate.h"
#include "app/diagnostics.h"
#include "model/shelf.h"
#include "platform/keytable.h"
#include "support/shelfrig.h"
#include "ui/settingssheet.h"
#include "ui/shelfwindow.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QKeyEvent>
#include <QScreen>
#include <QTest>
#include <QTimer>
#include <QWindow>

namespace {

// A delegate over its own preferences, screenshot tool and Home folder.
struct Rig : HomeRig
{
    std::unique_ptr<AppDelegate> app;

    QString shots() const { return box.path(QStringLiteral("shots")); }

    // The delegate, with its first scan in, not yet launched.
    void create()
    {
        QDir().mkpath(shots());
        prefs.setValue(PrefKey::folder, shots());
        app = std::make_unique<AppDelegate>(prefs, capture, nullptr, nullptr);
        QSignalSpy scanned(&app->shelf(), &Shelf::scanApplied);
        QVERIFY(scanned.wait(10000));
    }

    void launch()
    {
        if (!app)
            create();
        app->applicationDidFinishLaunching();
    }
};

// Sets environment variables for as long as it lives.
class EnvGuard
{
public:
    EnvGuard(std::initializer_list<std::pair<const char *, const char *>> vars)
    {
        for (const auto &[name, value] : vars) {
            qputenv(name, value);
            m_names << name;
        }
    }
    ~EnvGuard()
    {
        for (const char *name : m_names)
            qunsetenv(name);
    }

private:
    QList<const char *> m_names;
};

} // namespace

class TestAppShell : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // The two branches that are easy to get wrong: four rows do not fit, so
    // three rows of the widest cell the width allows; small cells that fit
    // four rows keep four rows.
    void defaultShelfSize()
    {
        const QSizeF laptop = AppDelegate::defaultShelfSize(QRectF(0, 25, 1440, 875), 300);
        QVERIFY(qAbs(laptop.width() - 1152) < 0.001 && qAbs(laptop.height() - 623.605) < 0.001);
        const QSizeF small = AppDelegate::defaultShelfSize(QRectF(0, 0, 1440, 875), 160);
        QVERIFY(qAbs(small.width() - 995) < 0.001 && qAbs(small.height() - 687.8) < 0.001);
    }

    // A remembered size is used from 600 x 400 up, never beyond 80 % of the
    // screen; anything else falls back to the default size.
    void rememberedSize()
    {
        const QRectF screen(0, 0, 1440, 875);
        const QSizeF fallback = AppDelegate::defaultShelfSize(screen, 300);
        const QList<std::tuple<QString, QString, QSizeF>> cases = {
            {"5000", "5000", QSizeF(1152, 700)}, {"599", "900", fallback}, {"wide", "500", fallback}};
        for (const auto &[w, h, size] : cases) {
            Rig rig;
            rig.prefs.setValue(QStringLiteral("shelfWindowSize/w"), w);
            rig.prefs.setValue(QStringLiteral("shelfWindowSize/h"), h);
            rig.launch();
            QCOMPARE(rig.app->shelfSizeFor(screen), size);
        }
    }

    // Every show re-centres the window; a resize by the user is remembered
    // and used at the next show; toggling hides only a window that has focus.
    void showPlacesAndToggles()
    {
        Rig rig;
        rig.launch();
        ShelfWindow *window = rig.app->window();
        QVERIFY(window && !window->isVisible());

        rig.app->showShelf();
        const QRect frame = QGuiApplication::primaryScreen()->availableGeometry();
        QCOMPARE(window->geometry().center(), frame.center());
        QTRY_VERIFY(window->isActiveWindow());

        window->move(0, 0);
        window->resize(620, 430);
        QTRY_COMPARE(rig.prefs.value(QStringLiteral("shelfWindowSize/w")).toInt(), 620);
        QCOMPARE(rig.prefs.value(QStringLiteral("shelfWindowSize/h")).toInt(), 430);

        rig.app->toggleShelf();
        QVERIFY(!window->isVisible());
        rig.app->toggleShelf();
        QVERIFY(window->isVisible());
        QCOMPARE(window->geometry().size(), QSize(620, 430));
        QCOMPARE(window->geometry().center(), frame.center());
    }

    // Opening the settings shows the shelf and attaches one sheet however
    // often it is asked; Escape closes it, Return does not.
    void settingsSheet()
    {
        Rig rig;
        rig.launch();
        rig.app->openSettings();
        rig.app->openSettings();
        ShelfWindow *window = rig.app->window();
        QVERIFY(window->isVisible());
        QCOMPARE(window->findChildren<SettingsSheetWindow *>().size(), 1);
        SettingsSheetWindow *sheet = rig.app->settingsWindow();
        QVERIFY(sheet && sheet->isVisible());
        QTest::keyClick(sheet, Qt::Key_Return);
        QVERIFY(rig.app->settingsWindow());
        QTest::keyClick(sheet, Qt::Key_Escape);
        QVERIFY(!rig.app->settingsWindow());
        QVERIFY(window->isVisible());
    }

    // With no menu bar drawn, the menus' shortcuts work in the shelf, and a
    // key the menu holds does its one thing once, whether it comes from the
    // keyboard or is posted to the window as the key hook does.
    void menuShortcutsActOnce()
    {
        Rig rig;
        rig.launch();
        rig.app->showShelf();
        ShelfWindow *window = rig.app->window();
        QTRY_VERIFY(window->isActiveWindow());
        Shelf &shelf = rig.app->shelf();
        QSignalSpy widths(&shelf, &Shelf::cellWidthChanged);

        QTest::keyClick(window, Qt::Key_Equal, Qt::ControlModifier);
        QCOMPARE(shelf.cellWidth(), 340.0);
        QCoreApplication::postEvent(window->windowHandle(),
                                    new QKeyEvent(QEvent::KeyPress, Qt::Key_Equal, Qt::ControlModifier));
        QCoreApplication::postEvent(window->windowHandle(),
                                    new QKeyEvent(QEvent::KeyRelease, Qt::Key_Equal, Qt::ControlModifier));
        QTRY_COMPARE(widths.size(), 2);
        QCOMPARE(shelf.cellWidth(), 380.0);

        QTest::keyClick(window, Qt::Key_Comma, Qt::ControlModifier);
        QTRY_VERIFY(rig.app->settingsWindow());
        QCOMPARE(window->findChildren<SettingsSheetWindow *>().size(), 1);
        rig.app->closeSettings();
        QTest::keyClick(window, Qt::Key_W, Qt::ControlModifier);
        QVERIFY(!window->isVisible());
    }

    // Home becomes the screenshot folder at launch (unless a folder was given
    // for this run) and the old one comes back at quit.
    void screenshotFolderAtLaunchAndQuit()
    {
        {
            Rig rig;
            rig.tool.values.insert(CaptureSettings::location, QStringLiteral("/elsewhere"));
            rig.launch();
            QCOMPARE(rig.tool.values.value(CaptureSettings::location).toString(), rig.shots());
            rig.app->applicationWillTerminate();
            rig.app->applicationWillTerminate();
            QCOMPARE(rig.tool.values.value(CaptureSettings::location).toString(), QStringLiteral("/elsewhere"));
        }
        {
            Rig rig;
            rig.tool.values.insert(CaptureSettings::location, QStringLiteral("/elsewhere"));
            const EnvGuard folderGiven{{"BRINDLEWICK_FOLDER", ""}};
            rig.launch();
            QCOMPARE(rig.tool.values.value(CaptureSettings::location).toString(), QStringLiteral("/elsewhere"));
        }
    }

    void keyTokens()
    {
        QCOMPARE(DiagnosticHooks::keyTokens(QStringLiteral("C18,,53,")), (QStringList{"C18", "53"}));
        const auto newFolder = DiagnosticHooks::parseKeyToken(QStringLiteral("CSC+45"));
        QVERIFY(newFolder);
        QCOMPARE(newFolder->code, quint16(45));
        QCOMPARE(newFolder->flags, KeyTable::commandBit | KeyTable::shiftBit);
        for (const char *bad : {"X5", "C", "c18", "C-1", "65536", "C1 8"})
            QVERIFY2(!DiagnosticHooks::parseKeyToken(QString::fromLatin1(bad)), bad);
    }

    // The ready line comes once launching is done and the first scan is in;
    // each key report describes exactly the keys sent so far, even when the
    // event loop is held up past the time of the next key (as on a loaded
    // machine); without a diagnostic variable nothing is written.
    void readyLineAndKeyReportsUnderLoad()
    {
        {
            Rig rig;
            for (const char *name : {"a.png", "b.png", "c.png"})
                Sandbox::writeFile(rig.shots() + QLatin1Char('/') + QLatin1String(name));
            rig.create();
            QStringList lines;
            rig.app->diagnostics().setLogSink([&lines](const QString &line) { lines << line; });
            const EnvGuard hooks{{"BRINDLEWICK_OPEN", ""}, {"BRINDLEWICK_KEY", "C18,S124"}};
            QElapsedTimer clock;
            clock.start();
            rig.app->applicationDidFinishLaunching();
            QCOMPARE(lines, QStringList{QStringLiteral("ready")});
            // A slow step that holds the loop until both keys are due.
            QTimer::singleShot(0, &rig.app->shelf(), [&clock] {
                while (clock.elapsed() < 2700) {
                }
            });
            QTRY_COMPARE_WITH_TIMEOUT(lines.filter(QStringLiteral("after key")).size(), 2, 20000);
            const QStringList reports = lines.filter(QStringLiteral("after key"));
            QVERIFY2(reports.at(0).startsWith(QStringLiteral("after key C18: selected slots 1 columns=")),
                     qPrintable(reports.join('\n')));
            QVERIFY2(reports.at(1).startsWith(QStringLiteral("after key S124: selected slots 1,2 columns=")),
                     qPrintable(reports.join('\n')));
        }
        {
            Rig rig;
            rig.create();
            QStringList lines;
            rig.app->diagnostics().setLogSink([&lines](const QString &line) { lines << line; });
            rig.app->applicationDidFinishLaunching();
            QVERIFY(lines.isEmpty()); // the scan is in: a ready line would be here by now
        }
    }
};

QTEST_MAIN(TestAppShell)
#include "test_appshell.moc"
