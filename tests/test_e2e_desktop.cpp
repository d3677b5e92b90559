// End-to-end on a real desktop: the binary runs under Openbox with a tint2
// panel (tasks and tray) and its own session bus, is driven with real
// pointer and keyboard input, and is read back from the screen and from the
// window properties the window manager and the panel act on.

#include "support/apprun.h"
#include "support/desktopsession.h"
#include "support/files.h"
#include "support/sandbox.h"

#include <QDir>
#include <QImage>
#include <QRegularExpression>
#include <QSettings>
#include <QStandardPaths>
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

    // Where the program says a part of it is ("place <what> x,y wxh" and
    // "menu item <what> x,y wxh"), the latest report from line `from` on.
    static QRect placeOf(const AppRun &run, const QString &kind, const QString &what, qsizetype from = 0)
    {
        static const QRegularExpression geometry(QStringLiteral(" (-?\\d+),(-?\\d+) (\\d+)x(\\d+)$"));
        const QString prefix = QStringLiteral("[Brindlewick] ") + kind + QLatin1Char(' ') + what + QLatin1Char(' ');
        const QStringList lines = run.lines();
        for (qsizetype i = lines.size() - 1; i >= from; --i) {
            if (!lines.at(i).startsWith(prefix))
                continue;
            const QRegularExpressionMatch m = geometry.match(lines.at(i));
            if (m.hasMatch() && m.capturedStart() == prefix.size() - 1)
                return QRect(m.captured(1).toInt(), m.captured(2).toInt(), m.captured(3).toInt(), m.captured(4).toInt());
        }
        return {};
    }

    // Waits for a menu entry to be reported after line `from`.
    static QRect waitForMenuItem(AppRun &run, const QString &title, qsizetype from)
    {
        QRect r;
        const bool found = QTest::qWaitFor([&] {
            run.waitForLine(QStringLiteral("] menu item ") + title + QLatin1Char(' '), 1, 200);
            r = placeOf(run, QStringLiteral("menu item"), title, from);
            return !r.isEmpty();
        }, AppRun::defaultTimeoutMs);
        return found ? r : QRect();
    }

    // Shows the shelf with a click on the tray icon; its window, once it is
    // active and has said where its parts are.
    quint32 showShelfFromTray(AppRun &run)
    {
        const std::optional<QRect> tray = m_desktop->trayIcon(run.processId());
        if (!tray)
            return 0;
        const int places = int(run.lines().filter(QStringLiteral("] place cell ")).size());
        m_desktop->click(tray->center());
        const quint32 shelf = m_desktop->waitForWindow(run.processId(), QStringLiteral("^shots$"));
        if (!shelf || run.waitForLine(QStringLiteral("] place cell "), places + 1).isNull())
            return 0;
        if (!QTest::qWaitFor([&] { return m_desktop->activeWindow() == shelf; }, AppRun::defaultTimeoutMs))
            return 0;
        return shelf;
    }

    // The screenshots whose colour fills a cell's worth of `screen`.
    static QList<int> shotsOnScreen(const QImage &screen, const QRect &area)
    {
        QList<int> shown;
        for (int i = 0; i < shotCount; ++i) {
            if (countPixels(screen, area, shotColour(i), 6) > 2000)
                shown << i;
        }
        return shown;
    }

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
        QVERIFY2(hidden, qPrintable(run.lines().join('\n')));
    }

    // Typing a search hides the cells it does not match; Escape, and then
    // the field's clear button, bring every cell back, each showing its
    // image (not a placeholder) on the screen.
    void clearingASearchBringsBackEveryImage()
    {
        needDesktop();
        AppRun run(QString{});
        prepareShelf(run);
        startApp(run);
        const quint32 shelf = showShelfFromTray(run);
        QVERIFY2(shelf, qPrintable(run.lines().join('\n')));
        const QRect window = m_desktop->geometry(shelf);
        QList<int> all;
        for (int i = 0; i < shotCount; ++i)
            all << i;
        QTRY_COMPARE_WITH_TIMEOUT(shotsOnScreen(m_desktop->capture(), window), all, AppRun::defaultTimeoutMs);

        const QRect field = placeOf(run, QStringLiteral("place"), QStringLiteral("search field"));
        QVERIFY(!field.isEmpty());
        for (const bool withEscape : {true, false}) {
            m_desktop->click(field.center());
            m_desktop->type(QStringLiteral("shot11"));
            QTRY_COMPARE_WITH_TIMEOUT(shotsOnScreen(m_desktop->capture(), window), QList<int>{11},
                                      AppRun::defaultTimeoutMs);
            if (withEscape)
                m_desktop->key(QStringLiteral("Escape"));
            else
                m_desktop->click(QPoint(field.right() - 10, field.center().y())); // the clear button
            // Every image is back: a placeholder has none of the colours.
            const bool back = QTest::qWaitFor([&] { return shotsOnScreen(m_desktop->capture(), window) == all; },
                                              AppRun::defaultTimeoutMs);
            const QString kept = capturePath(withEscape ? QStringLiteral("search-cleared-escape.png")
                                                        : QStringLiteral("search-cleared-button.png"));
            QVERIFY2(back, qPrintable(QStringLiteral("shown after clearing: %1 (see %2)")
                                          .arg(QDebug::toString(shotsOnScreen(m_desktop->capture(kept), window)), kept)));
            QVERIFY(m_desktop->windowsOf(run.processId(), QStringLiteral("^shots$")).contains(shelf));
        }
    }

    // Choosing an application from the menu of a cell (right-click, Open
    // With) hands over: the shelf stops floating, the application's window
    // comes up over it and takes a click where the two overlap. Shown
    // again from the tray, the shelf floats again. A pin (P) stays out of
    // the task list.
    void openingAFileHandsOverToTheApplication()
    {
        needDesktop();
        if (QStandardPaths::findExecutable(QStringLiteral("xmessage")).isEmpty())
            QSKIP("xmessage (x11-utils) is not installed");
        AppRun run(QString{});
        prepareShelf(run);
        // A small viewer for PNG files, placed where the shelf is.
        Sandbox::writeFile(run.path(QStringLiteral("home/.local/share/applications/brindletest-viewer.desktop")),
                           "[Desktop Entry]\nType=Application\nName=Brindletest Viewer\n"
                           "Exec=xmessage -title Viewer -geometry 360x200+400+300 %f\nMimeType=image/png;\n");
        // GIO lists an application of the user's own folder once an
        // association names it.
        Sandbox::writeFile(run.configHome() + QStringLiteral("/mimeapps.list"),
                           "[Added Associations]\nimage/png=brindletest-viewer.desktop;\n");
        startApp(run);
        const quint32 shelf = showShelfFromTray(run);
        QVERIFY2(shelf, qPrintable(run.lines().join('\n')));
        const QRect cell = placeOf(run, QStringLiteral("place"), QStringLiteral("cell shot00.png"));
        QVERIFY(!cell.isEmpty());

        qsizetype from = run.lines().size();
        m_desktop->click(cell.center(), 3);
        const QRect openWith = waitForMenuItem(run, QStringLiteral("Open With"), from);
        QVERIFY2(!openWith.isEmpty(), qPrintable(run.lines().mid(from).join('\n')));
        from = run.lines().size();
        m_desktop->xdotool({QStringLiteral("mousemove"), QString::number(openWith.center().x()),
                            QString::number(openWith.center().y())});
        const QRect viewerItem = waitForMenuItem(run, QStringLiteral("Brindletest Viewer"), from);
        QVERIFY2(!viewerItem.isEmpty(), qPrintable(run.lines().mid(from).join('\n')));
        // Along the entry first, so the submenu stays open on the way.
        m_desktop->xdotool({QStringLiteral("mousemove"), QString::number(viewerItem.left() + 5),
                            QString::number(openWith.center().y())});
        m_desktop->click(viewerItem.center());

        quint32 viewer = 0;
        QVERIFY(QTest::qWaitFor([&] {
            QByteArray out;
            m_desktop->xdotool({QStringLiteral("search"), QStringLiteral("--onlyvisible"), QStringLiteral("--name"),
                                QStringLiteral("^Viewer$")}, &out);
            viewer = out.trimmed().split('\n').first().toUInt();
            return viewer != 0;
        }, AppRun::defaultTimeoutMs));
        QTRY_VERIFY_WITH_TIMEOUT(m_desktop->stacking().indexOf(viewer) > m_desktop->stacking().indexOf(shelf),
                                 AppRun::defaultTimeoutMs);
        QVERIFY2(!m_desktop->wmState(shelf).contains(QStringLiteral("ABOVE")), qPrintable(m_desktop->wmState(shelf).join(' ')));
        const QRect overlap = m_desktop->geometry(viewer).intersected(m_desktop->geometry(shelf));
        QVERIFY(!overlap.isEmpty());
        m_desktop->capture(capturePath(QStringLiteral("handed-over.png")));
        m_desktop->click(overlap.center() + QPoint(0, -overlap.height() / 4));
        QTRY_COMPARE_WITH_TIMEOUT(m_desktop->activeWindow(), viewer, AppRun::defaultTimeoutMs);

        // Shown again: floating, over the viewer.
        const std::optional<QRect> tray = m_desktop->trayIcon(run.processId());
        QVERIFY(tray);
        m_desktop->click(tray->center());
        QTRY_VERIFY_WITH_TIMEOUT(m_desktop->wmState(shelf).contains(QStringLiteral("ABOVE")), AppRun::defaultTimeoutMs);
        QTRY_VERIFY_WITH_TIMEOUT(m_desktop->stacking().indexOf(shelf) > m_desktop->stacking().indexOf(viewer),
                                 AppRun::defaultTimeoutMs);

        // A pin of the first screenshot: no task entry, no pager entry.
        QTRY_COMPARE_WITH_TIMEOUT(m_desktop->activeWindow(), shelf, AppRun::defaultTimeoutMs);
        const QList<quint32> before = m_desktop->windowsOf(run.processId());
        m_desktop->key(QStringLiteral("p"));
        quint32 pin = 0;
        QVERIFY(QTest::qWaitFor([&] {
            for (quint32 w : m_desktop->windowsOf(run.processId()))
                if (!before.contains(w))
                    pin = w;
            return pin != 0;
        }, AppRun::defaultTimeoutMs));
        QTRY_VERIFY_WITH_TIMEOUT(m_desktop->wmState(pin).contains(QStringLiteral("SKIP_TASKBAR")), AppRun::defaultTimeoutMs);
        QVERIFY(m_desktop->wmState(pin).contains(QStringLiteral("SKIP_PAGER")));
        m_desktop->capture(capturePath(QStringLiteral("pinned.png")));
        m_desktop->tool(QStringLiteral("xdotool"), {QStringLiteral("search"), QStringLiteral("--name"),
                                                    QStringLiteral("^Viewer$"), QStringLiteral("windowkill")});
    }

    // A new screenshot while the shelf is hidden brings the corner card,
    // which stays out of the task list; from its menu (right-click) the
    // preview opens and takes the keyboard: Right pages on, Escape closes.
    void previewFromTheCornerCardTakesTheKeyboard()
    {
        needDesktop();
        AppRun run(QString{});
        prepareShelf(run);
        startApp(run);
        QImage fresh(400, 250, QImage::Format_RGB32);
        fresh.fill(Qt::white);
        QVERIFY(fresh.save(run.path(QStringLiteral("shots/fresh.png"))));
        const quint32 card = m_desktop->waitForWindow(run.processId(), QStringLiteral("^New Screenshot$"));
        QVERIFY2(card, qPrintable(run.lines().join('\n')));
        QVERIFY2(m_desktop->wmState(card).contains(QStringLiteral("SKIP_TASKBAR")), qPrintable(m_desktop->wmState(card).join(' ')));
        QVERIFY(m_desktop->wmState(card).contains(QStringLiteral("SKIP_PAGER")));
        QVERIFY(!run.waitForLine(QStringLiteral("] flash shown fresh.png")).isNull());

        const QRect frame = m_desktop->geometry(card);
        qsizetype from = run.lines().size();
        m_desktop->click(QPoint(frame.center().x(), frame.top() + (frame.height() - 32) / 2), 3);
        const QRect preview = waitForMenuItem(run, QStringLiteral("Preview"), from);
        QVERIFY2(!preview.isEmpty(), qPrintable(run.lines().mid(from).join('\n')));
        m_desktop->capture(capturePath(QStringLiteral("card-menu.png")));
        m_desktop->click(preview.center());

        const quint32 window = m_desktop->waitForWindow(run.processId(), QStringLiteral("^fresh\\.png$"));
        QVERIFY(window);
        QTRY_VERIFY_WITH_TIMEOUT(m_desktop->wmState(window).contains(QStringLiteral("SKIP_TASKBAR")), AppRun::defaultTimeoutMs);
        m_desktop->capture(capturePath(QStringLiteral("card-preview.png")));
        m_desktop->key(QStringLiteral("Right"));
        QVERIFY(m_desktop->waitForWindow(run.processId(), QStringLiteral("^shot00\\.png$")));
        m_desktop->key(QStringLiteral("Escape"));
        QVERIFY(QTest::qWaitFor([&] { return m_desktop->windowsOf(run.processId(), QStringLiteral("\\.png$")).isEmpty(); },
                                AppRun::defaultTimeoutMs));
    }

    // A cell dragged onto a folder row moves its file there; the menu
    // button holds the application's menus, About among them.
    void dragOntoAFolderAndTheMenuButton()
    {
        needDesktop();
        AppRun run(QString{});
        prepareShelf(run);
        startApp(run);
        QVERIFY(showShelfFromTray(run));
        const QRect cell = placeOf(run, QStringLiteral("place"), QStringLiteral("cell shot03.png"));
        const QRect folder = placeOf(run, QStringLiteral("place"), QStringLiteral("folder sub"));
        QVERIFY(!cell.isEmpty() && !folder.isEmpty());
        m_desktop->drag(cell.center(), folder.center());
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(run.path(QStringLiteral("shots/sub/shot03.png"))), AppRun::defaultTimeoutMs);
        QVERIFY(!QFile::exists(run.path(QStringLiteral("shots/shot03.png"))));

        const QRect button = placeOf(run, QStringLiteral("place"), QStringLiteral("menu button"));
        QVERIFY(!button.isEmpty());
        qsizetype from = run.lines().size();
        m_desktop->click(button.center());
        const QRect application = waitForMenuItem(run, QStringLiteral("Brindlewick"), from);
        QVERIFY2(!application.isEmpty(), qPrintable(run.lines().mid(from).join('\n')));
        from = run.lines().size();
        m_desktop->click(application.center());
        const QRect about = waitForMenuItem(run, QStringLiteral("About Brindlewick"), from);
        QVERIFY2(!about.isEmpty(), qPrintable(run.lines().mid(from).join('\n')));
        m_desktop->capture(capturePath(QStringLiteral("main-menu.png")));
        m_desktop->xdotool({QStringLiteral("mousemove"), QString::number(about.left() + 5),
                            QString::number(application.center().y())});
        m_desktop->click(about.center());
        QVERIFY(m_desktop->waitForWindow(run.processId(), QStringLiteral("^About Brindlewick$")));
        m_desktop->capture(capturePath(QStringLiteral("about.png")));
    }
};

QTEST_GUILESS_MAIN(TestE2eDesktop)
#include "test_e2e_desktop.moc"
