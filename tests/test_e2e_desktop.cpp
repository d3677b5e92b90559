// End-to-end on a real desktop: the binary runs under Openbox with a tint2
// panel (tasks and tray) and its own session bus, is driven with real
// pointer and keyboard input, and is read back from the screen and from the
// window properties the window manager and the panel act on.

#include "support/apprun.h"
#include "support/desktopsession.h"
#include "support/files.h"

#include <QDir>
#include <QImage>
#include <QRegularExpression>
#include <QSettings>
#include <QTest>

#include <memory>

namespace {

// Twelve screenshots of plain, clearly different colours: a cell showing its
// image is easy to tell from one still showing a placeholder.
constexpr int shotCount = 12;

QRgb shotColour(int i) { return QColor::fromHsv(i * 360 / shotCount, 230, 230).rgb(); }

QString shotName(int i) { return QStringLiteral("shot%1.png").arg(i, 2, 10, QLatin1Char('0')); }

} // namespace

class TestE2eDesktop : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<DesktopSession> m_desktop;
    // Where captures are kept for a person to look at.
    QString m_captures;

    void needDesktop()
    {
        if (!m_desktop || !m_desktop->isRunning())
            QSKIP(qPrintable(QStringLiteral("no desktop to test on (%1; ./setup.sh test installs the tools)")
                                 .arg(m_desktop ? m_desktop->problem() : QStringLiteral("not started"))));
    }

    // The screenshots, newest first in the order of their numbers, in a
    // Home chosen by the preferences, with narrow cells so that all fit.
    static void prepareShelf(AppRun &run)
    {
        const QString shots = run.path(QStringLiteral("shots"));
        QDir().mkpath(shots + QStringLiteral("/sub"));
        const qint64 now = QDateTime::currentSecsSinceEpoch();
        for (int i = 0; i < shotCount; ++i) {
            QImage image(320, 200, QImage::Format_RGB32);
            image.fill(shotColour(i));
            const QString path = shots + QLatin1Char('/') + shotName(i);
            QVERIFY(image.save(path));
            TestFiles::setMtime(path, now - 60 * (i + 1));
        }
        QSettings prefs(run.configHome() + QStringLiteral("/Brindlewick/Brindlewick.conf"), QSettings::IniFormat);
        prefs.setValue(QStringLiteral("folder"), shots);
        prefs.setValue(QStringLiteral("cellWidth"), 160);
    }

    // Starts the program on the desktop and waits until it is ready.
    void startApp(AppRun &run)
    {
        m_desktop->enter(run);
        run.setVar(QStringLiteral("BRINDLEWICK_DEBUG"));
        run.start();
        QVERIFY2(!run.waitForLine(QStringLiteral("] ready")).isNull(), qPrintable(run.lines().join('\n')));
    }

    QString capturePath(const QString &name) const { return m_captures + QLatin1Char('/') + name; }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(QFileInfo(AppRun::binary()).isExecutable(), "BRINDLEWICK_BIN must name the binary");
        m_desktop = std::make_unique<DesktopSession>();
        m_captures = qEnvironmentVariable("BRINDLEWICK_CAPTURES", QDir::tempPath() + QStringLiteral("/brindlewick-captures"));
        QDir().mkpath(m_captures);
    }

    void cleanupTestCase() { m_desktop.reset(); }

    // A click on the tray icon shows the shelf, which floats above other
    // windows and has its own entry in the panel's task list, under the
    // class the desktop entry names; a second click hides it again.
    void trayClickShowsAndHidesTheShelf()
    {
        needDesktop();
        AppRun run(QString{});
        prepareShelf(run);
        startApp(run);
        const std::optional<QRect> tray = m_desktop->trayIcon(run.processId());
        QVERIFY2(tray, "the tray icon never docked into the panel");

        m_desktop->click(tray->center());
        const quint32 shelf = m_desktop->waitForWindow(run.processId(), QStringLiteral("^shots$"));
        QVERIFY(shelf);
        const QStringList state = m_desktop->wmState(shelf);
        QVERIFY2(state.contains(QStringLiteral("ABOVE")), qPrintable(state.join(' ')));
        QVERIFY2(!state.contains(QStringLiteral("SKIP_TASKBAR")), qPrintable(state.join(' ')));

        QSettings entry(QStringLiteral(BRINDLEWICK_DESKTOP_ENTRY), QSettings::IniFormat);
        const QString wmClass = entry.value(QStringLiteral("Desktop Entry/StartupWMClass")).toString();
        QVERIFY2(!wmClass.isEmpty(), "the desktop entry names no window class");
        QVERIFY2(m_desktop->property(shelf, QStringLiteral("WM_CLASS")).endsWith(QStringLiteral(", \"%1\"").arg(wmClass)),
                 qPrintable(m_desktop->property(shelf, QStringLiteral("WM_CLASS"))));

        // Hidden by the next click once it is the active window, as a
        // person sees it. A little aside, so that a quick test's two clicks
        // are not one double-click.
        QTRY_COMPARE_WITH_TIMEOUT(m_desktop->activeWindow(), shelf, AppRun::defaultTimeoutMs);
        m_desktop->click(tray->center() + QPoint(7, 0));
        const bool hidden = QTest::qWaitFor([&] { return m_desktop->windowsOf(run.processId(), QStringLiteral("^shots$")).isEmpty(); },
                                AppRun::defaultTimeoutMs);
        m_desktop->capture(capturePath(QStringLiteral("tray-hidden.png")));
        QVERIFY2(hidden, qPrintable(run.lines().join('\n')));
    }
};

QTEST_GUILESS_MAIN(TestE2eDesktop)
#include "test_e2e_desktop.moc"
