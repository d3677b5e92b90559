// End-to-end on a real desktop: the binary runs under Openbox with a tint2
// panel (tasks and tray) and its own session bus, is driven with real
// pointer and keyboard input, and is read back from the screen, from the
// window properties the window manager and the panel act on, and over
// AT-SPI as a screen reader reads it.

#include "support/apprun.h"
#include "support/desktopsession.h"
#include "support/files.h"
#include "support/sandbox.h"

#include <QDir>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSettings>
#include <QStandardPaths>
#include <QTest>

#include <memory>
#include <numeric>

namespace {

// Twelve screenshots of plain, clearly different colours: a cell showing its
// image is easy to tell from one still showing a placeholder.
constexpr int shotCount = 12;

QRgb shotColour(int i) { return QColor::fromHsv(i * 360 / shotCount, 230, 230).rgb(); }

QString shotName(int i) { return QStringLiteral("shot%1.png").arg(i); }

// Debian's own interpreter, the one its python3-pyatspi is installed for
// (a python3 earlier on PATH may be another).
const char python[] = "/usr/bin/python3";

// One object of the tree (or one event) as the walker printed it.
struct Seen
{
    QString path, role, name, event;
    QStringList states;
    int children = 0;
    int detail = 0;

    static Seen from(const QByteArray &line)
    {
        const QJsonObject o = QJsonDocument::fromJson(line).object();
        Seen seen{o.value("path").toString(),
                  o.value("role").toString(),
                  o.value("name").toString(),
                  o.value("event").toString(),
                  {},
                  o.value("children").toInt(),
                  o.value("detail1").toInt()};
        for (const QJsonValue &state : o.value("states").toArray())
            seen.states << state.toString();
        return seen;
    }
    bool has(const char *state) const { return states.contains(QLatin1String(state)); }
};

// The names of the children of `parent` in `tree`, in order.
QStringList namesUnder(const QList<Seen> &tree, const Seen &parent)
{
    QStringList names;
    for (const Seen &node : tree)
        if (node.path.startsWith(parent.path + '/') && !node.path.mid(parent.path.size() + 1).contains('/'))
            names << node.name;
    return names;
}

std::optional<Seen> find(const QList<Seen> &tree, const QString &role, const QString &name)
{
    for (const Seen &node : tree)
        if (node.role == role && node.name == name)
            return node;
    return std::nullopt;
}

QString dump(const QList<Seen> &tree)
{
    QStringList lines;
    for (const Seen &node : tree)
        lines << QStringLiteral("%1 %2 \"%3\" [%4]").arg(node.path, node.role, node.name, node.states.join(','));
    return lines.join('\n');
}

} // namespace

class TestE2eDesktop : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<DesktopSession> m_desktop;
    QString m_captures; // where captures are kept for a person to look at
    QString m_walker;

    // Starts the program on the desktop, its Home holding the screenshots
    // and an empty "sub", and waits until it is ready.
    void startApp(AppRun &run)
    {
        QDir().mkpath(run.useShots(shotCount, shotColour) + "/sub");
        m_desktop->enter(run);
        QVERIFY(run.startReady());
    }

    // The program's tree as a screen reader reads it now.
    QList<Seen> tree(const AppRun &run) const
    {
        QByteArray out;
        m_desktop->tool(python, {m_walker, "tree", QString::number(run.processId())}, &out, 20000);
        QList<Seen> seen;
        for (const QByteArray &line : out.split('\n'))
            if (!line.trimmed().isEmpty())
                seen << Seen::from(line);
        return seen;
    }

    void capture(const QString &name) const { m_desktop->capture(m_captures + '/' + name); }

    // Waits for where the program says a part ("place <what> x,y wxh") or a
    // menu entry ("menu item <what> x,y wxh") is, reported from line `from`
    // on; logs what came instead when none does.
    static QRect waitForPlace(AppRun &run, const QString &kind, const QString &what, qsizetype from = 0)
    {
        static const QRegularExpression report("^\\[Brindlewick\\] (.+) (-?\\d+),(-?\\d+) (\\d+)x(\\d+)$");
        QRect r;
        const bool found = QTest::qWaitFor(
            [&] {
                run.waitForLine("] " + kind + ' ' + what + ' ', 1, 200);
                for (const QString &line : run.lines().mid(from)) {
                    const QRegularExpressionMatch m = report.match(line);
                    if (m.hasMatch() && m.captured(1) == kind + ' ' + what)
                        r = QRect(m.captured(2).toInt(), m.captured(3).toInt(), m.captured(4).toInt(),
                                  m.captured(5).toInt());
                }
                return !r.isEmpty();
            },
            AppRun::defaultTimeoutMs);
        if (!found)
            qWarning("no %s %s in:\n%s", qPrintable(kind), qPrintable(what),
                     qPrintable(run.lines().mid(from).join('\n')));
        return r;
    }
    static QRect place(AppRun &run, const QString &what) { return waitForPlace(run, "place", what); }
    // Clicks at `at` and waits for the menu entry that opens.
    QRect openMenu(AppRun &run, QPoint at, const QString &title, int button = 1)
    {
        const qsizetype from = run.lines().size();
        m_desktop->click(at, button);
        return waitForPlace(run, "menu item", title, from);
    }

    // Shows the shelf with a click on the tray icon; its window, once it is
    // active and has said where its parts are.
    quint32 showShelfFromTray(AppRun &run)
    {
        const std::optional<QRect> tray = m_desktop->trayIcon(run.processId());
        if (!tray)
            return 0;
        const int places = int(run.lines().filter("] place cell ").size());
        m_desktop->click(tray->center());
        const quint32 shelf = m_desktop->waitForWindow(run.processId(), "^shots$");
        if (!shelf || run.waitForLine("] place cell ", places + 1).isNull()
            || !QTest::qWaitFor([&] { return m_desktop->activeWindow() == shelf; }, AppRun::defaultTimeoutMs))
            return 0;
        return shelf;
    }

    // The screenshots whose colour fills a cell's worth of `screen`.
    static QList<int> shotsOnScreen(const QImage &screen, const QRect &area)
    {
        QList<int> shown;
        for (int i = 0; i < shotCount; ++i)
            if (ColourImages::count(screen, area, shotColour(i), 6) > 2000)
                shown << i;
        return shown;
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(QFileInfo(AppRun::binary()).isExecutable(), "BRINDLEWICK_BIN must name the binary");
        m_desktop = std::make_unique<DesktopSession>();
        m_walker = QFINDTESTDATA("support/atspiwalk.py");
        m_captures = qEnvironmentVariable("BRINDLEWICK_CAPTURES", QDir::tempPath() + "/brindlewick-captures");
        QDir().mkpath(m_captures);
    }

    void cleanupTestCase() { m_desktop.reset(); }

    // A click on the tray icon shows the shelf, which floats above other
    // windows and has its own entry in the panel's task list, under the
    // class the desktop entry names. Typing a search hides the cells it does
    // not match; Escape, and then the field's clear button, bring every cell
    // back, each showing its image (not a placeholder) on the screen. A
    // second click on the tray icon hides the shelf again.
    void trayShowsTheShelfAndClearingASearchBringsBackEveryImage()
    {
        SKIP_WITHOUT_SESSION(*m_desktop);
        AppRun run(QString{});
        startApp(run);
        const quint32 shelf = showShelfFromTray(run);
        QVERIFY2(shelf, qPrintable(run.lines().join('\n')));
        const QStringList state = m_desktop->wmState(shelf);
        QVERIFY2(state.contains("ABOVE") && !state.contains("SKIP_TASKBAR"), qPrintable(state.join(' ')));
        const QString wmClass =
            QSettings(BRINDLEWICK_DESKTOP_ENTRY, QSettings::IniFormat).value("Desktop Entry/StartupWMClass").toString();
        QVERIFY2(!wmClass.isEmpty(), "the desktop entry names no window class");
        const QString shelfClass = m_desktop->property(shelf, "WM_CLASS");
        QVERIFY2(shelfClass.endsWith(QStringLiteral(", \"%1\"").arg(wmClass)), qPrintable(shelfClass));

        const QRect window = m_desktop->geometry(shelf);
        QList<int> all(shotCount);
        std::iota(all.begin(), all.end(), 0);
        QTRY_COMPARE_WITH_TIMEOUT(shotsOnScreen(m_desktop->capture(), window), all, AppRun::defaultTimeoutMs);
        const QRect field = place(run, "search field");
        QVERIFY(!field.isEmpty());
        for (const bool withEscape : {true, false}) {
            m_desktop->click(field.center());
            m_desktop->type("shot11");
            QTRY_COMPARE_WITH_TIMEOUT(shotsOnScreen(m_desktop->capture(), window), QList<int>{11},
                                      AppRun::defaultTimeoutMs);
            if (withEscape)
                m_desktop->key("Escape");
            else
                m_desktop->click(QPoint(field.right() - 10, field.center().y())); // the clear button
            // Every image is back: a placeholder has none of the colours. The
            // last capture is kept.
            const QString kept =
                m_captures + (withEscape ? "/search-cleared-escape.png" : "/search-cleared-button.png");
            QTRY_COMPARE_WITH_TIMEOUT(shotsOnScreen(m_desktop->capture(kept), window), all, AppRun::defaultTimeoutMs);
        }

        // Hidden by the next click once it is the active window, as a person
        // sees it.
        QTRY_COMPARE_WITH_TIMEOUT(m_desktop->activeWindow(), shelf, AppRun::defaultTimeoutMs);
        const std::optional<QRect> tray = m_desktop->trayIcon(run.processId());
        QVERIFY(tray);
        m_desktop->click(tray->center());
        QTRY_VERIFY2_WITH_TIMEOUT(m_desktop->windowsOf(run.processId(), "^shots$").isEmpty(),
                                  qPrintable(run.lines().join('\n')), AppRun::defaultTimeoutMs);
    }

    // Choosing an application from the menu of a cell (right-click, Open
    // With) hands over: the shelf stops floating, the application's window
    // comes up over it and takes a click where the two overlap. Shown
    // again from the tray, the shelf floats again. A pin (P) stays out of
    // the task list.
    void openingAFileHandsOverToTheApplication()
    {
        SKIP_WITHOUT_SESSION(*m_desktop);
        if (QStandardPaths::findExecutable("xmessage").isEmpty())
            QSKIP("xmessage (x11-utils) is not installed");
        DesktopSession &d = *m_desktop;
        AppRun run(QString{});
        // A small viewer for PNG files, placed where the shelf is; GIO lists
        // an application of the user's own folder once an association names it.
        Sandbox::writeFile(run.path("home/.local/share/applications/brindletest-viewer.desktop"),
                           "[Desktop Entry]\nType=Application\nName=Brindletest Viewer\n"
                           "Exec=xmessage -title Viewer -geometry 360x200+400+300 %f\nMimeType=image/png;\n");
        Sandbox::writeFile(run.configHome() + "/mimeapps.list",
                           "[Added Associations]\nimage/png=brindletest-viewer.desktop;\n");
        startApp(run);
        const quint32 shelf = showShelfFromTray(run);
        QVERIFY2(shelf, qPrintable(run.lines().join('\n')));
        const QRect cell = place(run, "cell shot0.png");
        QVERIFY(!cell.isEmpty());

        const QRect openWith = openMenu(run, cell.center(), "Open With", 3);
        QVERIFY(!openWith.isEmpty());
        const qsizetype from = run.lines().size();
        d.moveTo(openWith.center());
        const QRect viewerItem = waitForPlace(run, "menu item", "Brindletest Viewer", from);
        QVERIFY(!viewerItem.isEmpty());
        // Along the entry first, so the submenu stays open on the way.
        d.moveTo(QPoint(viewerItem.left() + 5, openWith.center().y()));
        d.click(viewerItem.center());

        quint32 viewer = 0;
        QVERIFY(QTest::qWaitFor([&] { return (viewer = d.windowsNamed("^Viewer$").value(0)) != 0; },
                                AppRun::defaultTimeoutMs));
        QTRY_VERIFY_WITH_TIMEOUT(d.stacking().indexOf(viewer) > d.stacking().indexOf(shelf), AppRun::defaultTimeoutMs);
        QVERIFY2(!d.hasState(shelf, "ABOVE"), qPrintable(d.wmState(shelf).join(' ')));
        const QRect overlap = d.geometry(viewer).intersected(d.geometry(shelf));
        QVERIFY(!overlap.isEmpty());
        capture("handed-over.png");
        d.click(overlap.center() + QPoint(0, -overlap.height() / 4));
        QTRY_COMPARE_WITH_TIMEOUT(d.activeWindow(), viewer, AppRun::defaultTimeoutMs);

        // Shown again: floating, over the viewer.
        const std::optional<QRect> tray = d.trayIcon(run.processId());
        QVERIFY(tray);
        d.click(tray->center());
        QTRY_VERIFY_WITH_TIMEOUT(d.hasState(shelf, "ABOVE"), AppRun::defaultTimeoutMs);
        QTRY_VERIFY_WITH_TIMEOUT(d.stacking().indexOf(shelf) > d.stacking().indexOf(viewer), AppRun::defaultTimeoutMs);

        // A pin of the first screenshot: no task entry, no pager entry.
        QTRY_COMPARE_WITH_TIMEOUT(d.activeWindow(), shelf, AppRun::defaultTimeoutMs);
        d.key("p");
        const quint32 pin = d.waitForWindow(run.processId(), "^shot0\\.png$");
        QVERIFY(pin);
        QTRY_VERIFY_WITH_TIMEOUT(d.hasState(pin, "SKIP_TASKBAR"), AppRun::defaultTimeoutMs);
        QVERIFY(d.hasState(pin, "SKIP_PAGER"));
        capture("pinned.png");
        d.xdotool({"search", "--name", "^Viewer$", "windowkill"});
    }

    // A new screenshot while the shelf is hidden brings the corner card,
    // which stays out of the task list; from its menu (right-click) the
    // preview opens and takes the keyboard: Right pages on, Escape closes.
    void previewFromTheCornerCardTakesTheKeyboard()
    {
        SKIP_WITHOUT_SESSION(*m_desktop);
        DesktopSession &d = *m_desktop;
        AppRun run(QString{});
        startApp(run);
        QVERIFY(TestFiles::writeImage(run.path("shots/fresh.png"), {400, 250}, Qt::white).isValid());
        const quint32 card = d.waitForWindow(run.processId(), "^New Screenshot$");
        QVERIFY2(card, qPrintable(run.lines().join('\n')));
        QVERIFY2(d.hasState(card, "SKIP_TASKBAR") && d.hasState(card, "SKIP_PAGER"),
                 qPrintable(d.wmState(card).join(' ')));
        QVERIFY(!run.waitForLine("] flash shown fresh.png").isNull());

        const QRect frame = d.geometry(card);
        const QRect preview =
            openMenu(run, QPoint(frame.center().x(), frame.top() + (frame.height() - 32) / 2), "Preview", 3);
        QVERIFY(!preview.isEmpty());
        capture("card-menu.png");
        d.click(preview.center());

        const quint32 window = d.waitForWindow(run.processId(), "^fresh\\.png$");
        QVERIFY(window);
        QTRY_VERIFY_WITH_TIMEOUT(d.hasState(window, "SKIP_TASKBAR"), AppRun::defaultTimeoutMs);
        capture("card-preview.png");
        d.key("Right");
        QVERIFY(d.waitForWindow(run.processId(), "^shot0\\.png$"));
        d.key("Escape");
        QTRY_VERIFY_WITH_TIMEOUT(d.windowsOf(run.processId(), "\\.png$").isEmpty(), AppRun::defaultTimeoutMs);
    }

    // A cell dragged onto a folder row moves its file there; the menu
    // button holds the application's menus, About among them.
    void dragOntoAFolderAndTheMenuButton()
    {
        SKIP_WITHOUT_SESSION(*m_desktop);
        DesktopSession &d = *m_desktop;
        AppRun run(QString{});
        startApp(run);
        QVERIFY(showShelfFromTray(run));
        const QRect cell = place(run, "cell shot3.png"), folder = place(run, "folder sub");
        QVERIFY(!cell.isEmpty() && !folder.isEmpty());
        d.drag(cell.center(), folder.center());
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(run.path("shots/sub/shot3.png")), AppRun::defaultTimeoutMs);
        QVERIFY(!QFile::exists(run.path("shots/shot3.png")));

        const QRect button = place(run, "menu button");
        QVERIFY(!button.isEmpty());
        const QRect application = openMenu(run, button.center(), "Brindlewick");
        QVERIFY(!application.isEmpty());
        const QRect about = openMenu(run, application.center(), "About Brindlewick");
        QVERIFY(!about.isEmpty());
        capture("main-menu.png");
        d.moveTo(QPoint(about.left() + 5, application.center().y()));
        d.click(about.center());
        QVERIFY(d.waitForWindow(run.processId(), "^About Brindlewick$"));
        capture("about.png");
    }

    // A screen reader reaches every cell of the grid and every folder row
    // by name, every control it can focus is named, and the keys that walk
    // the window (Tab, then an arrow in the grid) move what it announces.
    void aScreenReaderWalksTheShelf()
    {
        constexpr int readShots = 3;
        SKIP_WITHOUT_SESSION(*m_desktop);
        if (!QFileInfo(DesktopSession::accessibilityBusLauncher).isExecutable())
            QSKIP("no AT-SPI bus launcher (the at-spi2-core package)");
        if (m_walker.isEmpty() || m_desktop->tool(python, {"-c", "import pyatspi"}) != 0)
            QSKIP("no pyatspi (the python3-pyatspi package; ./setup.sh test installs it)");

        // Last of the tests, as the programs after it would find the bus.
        QVERIFY2(m_desktop->startAccessibilityBus(), qPrintable(m_desktop->problem()));
        AppRun run(QString{});
        writeTestPng(run.useShots(readShots, shotColour) + "/Archive/old.png");
        m_desktop->enter(run);
        run.setVar("BRINDLEWICK_OPEN");
        run.setVar("QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "1");
        QVERIFY(run.startReady());
        const quint32 shelf = m_desktop->waitForWindow(run.processId(), "^shots$");
        QVERIFY(shelf);
        QTRY_COMPARE_WITH_TIMEOUT(m_desktop->activeWindow(), shelf, AppRun::defaultTimeoutMs);

        // The cells, newest first, each named by its file.
        QList<Seen> seen;
        std::optional<Seen> grid;
        // Waited for once, not retried as QTRY would: each look is a walk.
        // Shown, the grid holds the keys at once, so there is something to announce.
        const auto gridListed = [&] {
            grid = find(seen = tree(run), "list", "Screenshots");
            return grid && grid->children == readShots && grid->has("focused");
        };
        const bool listed = QTest::qWaitFor(gridListed, AppRun::defaultTimeoutMs);
        QVERIFY2(listed, qPrintable(dump(seen)));
        QCOMPARE(namesUnder(seen, *grid), (QStringList{shotName(0), shotName(1), shotName(2)}));
        // The folders, each with its count.
        const std::optional<Seen> folders = find(seen, "list", "Folders");
        QVERIFY2(folders, qPrintable(dump(seen)));
        QCOMPARE(namesUnder(seen, *folders), (QStringList{"Home, 3 screenshots", "Archive, 1 screenshot"}));
        // Nothing a person can tab to is left nameless.
        for (const Seen &node : std::as_const(seen))
            if (node.has("focusable") && node.has("showing") && node.role != "frame")
                QVERIFY2(!node.name.isEmpty(),
                         qPrintable(QStringLiteral("unnamed %1 at %2\n%3").arg(node.role, node.path, dump(seen))));

        // What a screen reader hears as the keyboard moves.
        QProcess listener;
        listener.setProcessEnvironment(m_desktop->environment());
        listener.start(python, {m_walker, "events", QString::number(run.processId())});
        QVERIFY(listener.waitForStarted());
        QByteArray heard;
        QTRY_VERIFY_WITH_TIMEOUT((heard += listener.readAllStandardOutput()).contains("listening\n"),
                                 AppRun::defaultTimeoutMs);
        // The last object that gained focus after the key.
        const auto press = [&](const QString &key, const QString &role, const QString &name) {
            const qsizetype from = heard.size();
            m_desktop->key(key);
            std::optional<Seen> focused;
            const bool arrived = QTest::qWaitFor(
                [&] {
                    heard += listener.readAllStandardOutput();
                    for (const QByteArray &line : heard.mid(from).split('\n'))
                        if (const Seen event = Seen::from(line);
                            event.event == "object:state-changed:focused" && event.detail == 1)
                            focused = event;
                    return focused && focused->role == role && focused->name == name;
                },
                AppRun::defaultTimeoutMs);
            if (!arrived)
                qWarning("after %s heard:\n%s", qPrintable(key), heard.mid(from).constData());
            return arrived ? focused : std::nullopt;
        };

        // Into the search field, then Tab: the folders, then the grid.
        m_desktop->key("ctrl+f");
        QVERIFY(press("Tab", "list item", "Home, 3 screenshots"));
        // The column walks its own rows: each shows its folder.
        QVERIFY(press("Down", "list item", "Archive, 1 screenshot"));
        QVERIFY(press("Up", "list item", "Home, 3 screenshots"));
        QVERIFY(press("Tab", "list", "Screenshots"));
        // An arrow moves the keyboard's cell, selected, and says so.
        QVERIFY(press("Right", "list item", shotName(0)));
        const std::optional<Seen> next = press("Right", "list item", shotName(1));
        QVERIFY(next);
        QVERIFY2(next->has("selected") && next->has("focused"), qPrintable(next->states.join(',')));

        endProcess(listener);
    }
};

QTEST_GUILESS_MAIN(TestE2eDesktop)
#include "test_e2e_desktop.moc"
