// The application shell on the offscreen platform: sizing and placing the
// shelf window, the settings sheet, the menu shortcuts without a menu bar,
// the screenshot folder at launch and quit, and the diagnostic key tokens.

#include "app/appdelegate.h"
#include "app/diagnostics.h"
#include "model/shelf.h"
#include "platform/keytable.h"
#include "platform/globalshortcut.h"
#include "support/shelfrig.h"
#include "system/hotkey.h"
#include "ui/settingssheet.h"
#include "ui/shelfwindow.h"

#include <QApplication>
#include <QScreen>
#include <QTest>

namespace {

// A delegate over its own preferences, screenshot tool and Home folder.
struct Rig : HomeRig
{
    std::unique_ptr<AppDelegate> app;

    QString shots() const { return box.path(QStringLiteral("shots")); }

    void launch()
    {
        QDir().mkpath(shots());
        prefs.setValue(PrefKey::folder, shots());
        app = std::make_unique<AppDelegate>(prefs, capture, nullptr, nullptr);
        app->applicationDidFinishLaunching();
    }
};

// Records what is grabbed and lets the test press it.
class FakeGlobalShortcut final : public GlobalShortcut
{
public:
    Qt::Key key = Qt::Key_unknown;
    Qt::KeyboardModifiers modifiers;
    std::function<void()> press;
    void grab(Qt::Key k, Qt::KeyboardModifiers m, std::function<void()> onPress) override
    {
        key = k;
        modifiers = m;
        press = std::move(onPress);
    }
};

} // namespace

class TestAppShell : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void defaultShelfSize_data()
    {
        QTest::addColumn<QRectF>("frame");
        QTest::addColumn<double>("cellWidth");
        QTest::addColumn<QSizeF>("size");
        // Four rows do not fit: three rows of the widest cell the width allows.
        QTest::newRow("laptop") << QRectF(0, 25, 1440, 875) << 300.0 << QSizeF(1152, 623.605);
        // Large screen: four rows of full-size cells.
        QTest::newRow("large") << QRectF(0, 0, 2560, 1415) << 300.0 << QSizeF(1555, 1035);
        // Small cells that fit four rows keep four rows.
        QTest::newRow("small cells") << QRectF(0, 0, 1440, 875) << 160.0 << QSizeF(995, 687.8);
        // A tiny screen: cells never below 160, the window never above 80 %.
        QTest::newRow("tiny") << QRectF(0, 0, 800, 600) << 300.0 << QSizeF(640, 480);
    }

    void defaultShelfSize()
    {
        QFETCH(QRectF, frame);
        QFETCH(double, cellWidth);
        QFETCH(QSizeF, size);
        const QSizeF got = AppDelegate::defaultShelfSize(frame, cellWidth);
        QVERIFY2(qAbs(got.width() - size.width()) < 0.001 && qAbs(got.height() - size.height()) < 0.001,
                 qPrintable(QStringLiteral("%1 x %2").arg(got.width()).arg(got.height())));
    }

    // A remembered size is used from 600 x 400 up, never beyond 80 % of the
    // screen; anything else falls back to the default size.
    void rememberedSize_data()
    {
        QTest::addColumn<QString>("w");
        QTest::addColumn<QString>("h");
        QTest::addColumn<QSizeF>("size");
        const QSizeF fallback = AppDelegate::defaultShelfSize(QRectF(0, 0, 1440, 875), 300);
        QTest::newRow("usable") << "800" << "500" << QSizeF(800, 500);
        QTest::newRow("too big") << "5000" << "5000" << QSizeF(1152, 700);
        QTest::newRow("too narrow") << "599" << "900" << fallback;
        QTest::newRow("not a number") << "wide" << "500" << fallback;
        QTest::newRow("missing") << "" << "" << fallback;
    }

    void rememberedSize()
    {
        QFETCH(QString, w);
        QFETCH(QString, h);
        QFETCH(QSizeF, size);
        Rig rig;
        if (!w.isEmpty()) {
            rig.prefs.setValue(QStringLiteral("shelfWindowSize/w"), w);
            rig.prefs.setValue(QStringLiteral("shelfWindowSize/h"), h);
        }
        rig.launch();
        QCOMPARE(rig.app->shelfSizeFor(QRectF(0, 0, 1440, 875)), size);
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
        QVERIFY(window->isVisible());
        const QRect frame = QGuiApplication::primaryScreen()->availableGeometry();
        const QSize expected = AppDelegate::defaultShelfSize(frame, 300).toSize();
        QCOMPARE(window->geometry().size(), expected);
        QCOMPARE(window->geometry().center(), frame.center());
        QCOMPARE(window->minimumSize(), QSize(std::min(473, int(frame.width() * 0.8)),
                                              std::min(420, int(frame.height() * 0.8))));
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
    // often it is asked; Escape closes it, Return does not. With no menu bar
    // drawn, the menus' shortcuts still work in the shelf.
    void settingsSheetAndMenuShortcuts()
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
        const int expectedHeight = std::max(420, std::min(window->frameGeometry().height() - 60, 780));
        QCOMPARE(sheet->size(), QSize(540, expectedHeight));
        QTest::keyClick(sheet, Qt::Key_Return);
        QVERIFY(rig.app->settingsWindow());
        QTest::keyClick(sheet, Qt::Key_Escape);
        QVERIFY(!rig.app->settingsWindow());
        QVERIFY(window->isVisible());

        rig.app->showShelf();
        QTRY_VERIFY(window->isActiveWindow());
        Shelf &shelf = rig.app->shelf();
        QTest::keyClick(window, Qt::Key_Equal, Qt::ControlModifier);
        QCOMPARE(shelf.cellWidth(), 340.0);
        QTest::keyClick(window, Qt::Key_0, Qt::ControlModifier);
        QCOMPARE(shelf.cellWidth(), 300.0);
        QTest::keyClick(window, Qt::Key_Minus, Qt::ControlModifier);
        QCOMPARE(shelf.cellWidth(), 260.0);
        QTest::keyClick(window, Qt::Key_Comma, Qt::ControlModifier);
        QTRY_VERIFY(rig.app->settingsWindow());
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
            qputenv("BRINDLEWICK_FOLDER", "");
            rig.launch();
            qunsetenv("BRINDLEWICK_FOLDER");
            QCOMPARE(rig.tool.values.value(CaptureSettings::location).toString(), QStringLiteral("/elsewhere"));
        }
    }

    // The shortcut is Alt+Shift+S, and a press runs whatever the handler is
    // at that moment (nothing once it is cleared).
    void globalShortcutRegistration()
    {
        FakeGlobalShortcut backend;
        int presses = 0;
        HotKey::handler() = [&presses] { ++presses; };
        HotKey::registerWith(backend);
        QCOMPARE(backend.key, Qt::Key_S);
        QCOMPARE(backend.modifiers, Qt::AltModifier | Qt::ShiftModifier);
        backend.press();
        QCOMPARE(presses, 1);
        HotKey::handler() = nullptr;
        backend.press();
        QCOMPARE(presses, 1);
    }

    void keyTokens()
    {
        QCOMPARE(DiagnosticHooks::keyTokens(QStringLiteral("C18,,53,")), (QStringList{"C18", "53"}));

        const auto ctrl1 = DiagnosticHooks::parseKeyToken(QStringLiteral("C18"));
        QVERIFY(ctrl1);
        QCOMPARE(KeyTable::forVirtualCode(ctrl1->code)->key, Qt::Key_1);
        QCOMPARE(KeyTable::modifiersForFlags(ctrl1->flags), Qt::ControlModifier);
        const auto shiftRight = DiagnosticHooks::parseKeyToken(QStringLiteral("S124"));
        QCOMPARE(KeyTable::forVirtualCode(shiftRight->code)->key, Qt::Key_Right);
        QCOMPARE(KeyTable::modifiersForFlags(shiftRight->flags), Qt::ShiftModifier);
        const auto newFolder = DiagnosticHooks::parseKeyToken(QStringLiteral("CSC+45"));
        QCOMPARE(KeyTable::forVirtualCode(newFolder->code)->key, Qt::Key_N);
        QCOMPARE(KeyTable::modifiersForFlags(newFolder->flags), Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(KeyTable::forVirtualCode(76)->keypad, true);

        for (const char *bad : {"X5", "C", "c18", "C-1", "65536", "C1 8"})
            QVERIFY2(!DiagnosticHooks::parseKeyToken(QString::fromLatin1(bad)), bad);
    }
};

QTEST_MAIN(TestAppShell)
#include "test_appshell.moc"
