// End-to-end on a real desktop: the binary runs under Openbox with a tint2
// panel (tasks and tray) and its own session bus, is driven with real
// pointer and keyboard input, and is read back from the screen, from the
// window properties the window manager and the panel act on, and over
// AT-SPI as a screen reader reads it.

#include "support/apprun.h"
#include "support/colourimages.h"
#include "support/desktopsession.h"
#include "support/files.h"
#include "support/sandbox.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSettings>
#include <QStandardPaths>
#include <QTest>

namespace {

constexpr int patience = AppRun::defaultTimeoutMs;

// Twelve screenshots of plain, clearly different colours: a cell showing its
// image is easy to tell from one still showing a placeholder.
constexpr int shotCount = 12;

QRgb shotColour(int i) { return QColor::fromHsv(i * 360 / shotCount, 230, 230).rgb(); }

// Debian's own interpreter, the one its python3-pyatspi is installed for
// (a python3 earlier on PATH may be another).
const char python[] = "/usr/bin/python3";

// One object of the tree (or one event) as the walker printed it.
using Seen = QJsonObject;

Seen parse(const QByteArray &line) { return QJsonDocument::fromJson(line).object(); }

bool has(const Seen &node, const char *state) { return node["states"].toArray().contains(QLatin1String(state)); }

// The `role` named `name` in `tree`, and the names of its children in order.
std::optional<Seen> find(const QList<Seen> &tree, const QString &role, const QString &name,
                         QStringList *children = nullptr)
{
    for (const Seen &node : tree) {
        if (node["role"] != role || node["name"] != name)
            continue;
        for (const Seen &child : tree)
            if (children && child["path"].toString().section('/', 0, -2) == node["path"])
                *children << child["name"].toString();
        return node;
    }
    return std::nullopt;
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

    // The program's tree as a screen reader reads it now; as printed in `out`.
    QList<Seen> tree(const AppRun &run, QByteArray &out) const
    {
        QList<Seen> seen;
        out = m_desktop->tool(python, {m_walker, "tree", QString::number(run.processId())}, 20000).out;
        for (const QByteArray &line : out.split('\n'))
            if (!line.trimmed().isEmpty())
                seen << parse(line);
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
        const auto reported = [&] {
            run.waitForLine("] " + kind + ' ' + what + ' ', 1, 200);
            for (const QString &line : run.lines().mid(from))
                if (const QRegularExpressionMatch m = report.match(line); m.captured(1) == kind + ' ' + what)
                    r = QRect(m.captured(2).toInt(), m.captured(3).toInt(), m.captured(4).toInt(),
                              m.captured(5).toInt());
            return !r.isEmpty();
        };
        if (!QTest::qWaitFor(reported, patience))
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
        const int places = int(run.lines().filter("] place cell ").size());
        m_desktop->click(m_desktop->trayIcon(run.processId()).center());
        const quint32 shelf = m_desktop->waitForWindow(run.processId(), "^shots$");
        const bool shown = shelf && !run.waitForLine("] place cell ", places + 1).isNull()
                           && QTest::qWaitFor([&] { return m_desktop->activeWindow() == shelf; }, patience);
        return shown ? shelf : 0;
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
    void trayShelfSearchCardAndDrag()
    {
        SKIP_WITHOUT_SESSION(*m_desktop);
        DesktopSession &d = *m_desktop;
        AppRun run(QString{});
        startApp(run);
        const quint32 shelf = showShelfFromTray(run);
        QVERIFY2(shelf, qPrintable(run.lines().join('\n')));
        const QStringList state = d.wmState(shelf);
        QVERIFY2(state.contains("ABOVE") && !state.contains("SKIP_TASKBAR"), qPrintable(state.join(' ')));
        const QSettings entry(BRINDLEWICK_DESKTOP_ENTRY, QSettings::IniFormat);
        QCOMPARE(d.property(shelf, "WM_CLASS").section(", ", 1),
                 '"' + entry.value("Desktop Entry/StartupWMClass").toString() + '"');

        const QRect window = d.geometry(shelf), field = place(run, "search field");
        QTRY_COMPARE_WITH_TIMEOUT(shotsOnScreen(d.capture(), window).size(), shotCount, patience);
        for (const bool withEscape : {true, false}) {
            d.click(field.center());
            d.type("shot11");
            QTRY_COMPARE_WITH_TIMEOUT(shotsOnScreen(d.capture(), window), QList<int>{11}, patience);
            if (withEscape)
                d.key("Escape");
            else
                d.click(QPoint(field.right() - 10, field.center().y())); // the clear button
            // Every image is back: a placeholder has none of the colours. The
            // last capture is kept.
            const QString kept = m_captures + "/search-cleared-" + (withEscape ? "escape.png" : "button.png");
            QTRY_COMPARE_WITH_TIMEOUT(shotsOnScreen(d.capture(kept), window).size(), shotCount, patience);
        }

        // Hidden by the next click once it is the active window, as a person
        // sees it.
        QTRY_COMPARE_WITH_TIMEOUT(d.activeWindow(), shelf, patience);
        d.click(d.trayIcon(run.processId()).center());
        QTRY_VERIFY2_WITH_TIMEOUT(d.windowsOf(run.processId(), "^shots$").isEmpty(), qPrintable(run.lines().join('\n')),
                                  patience);

        // A new screenshot while the shelf is hidden brings the corner card,
        // which stays out of the task list; from its menu (right-click) the
        // preview opens and takes the keyboard: Right pages on, Escape closes.
        QVERIFY(TestFiles::writeImage(run.path("shots/fresh.png"), {400, 250}, Qt::white).isValid());
        const quint32 card = d.waitForWindow(run.processId(), "^New Screenshot$");
        QVERIFY2(card, qPrintable(run.lines().join('\n')));
        QCOMPARE(d.wmState(card).filter("SKIP_").size(), 2); // the task list and the pager
        QVERIFY(!run.waitForLine("] flash shown fresh.png").isNull());

        const QRect frame = d.geometry(card);
        const QRect preview =
            openMenu(run, QPoint(frame.center().x(), frame.top() + (frame.height() - 32) / 2), "Preview", 3);
        QVERIFY(!preview.isEmpty());
        capture("card-menu.png");
        d.click(preview.center());

        const quint32 previewWindow = d.waitForWindow(run.processId(), "^fresh\\.png$");
        QVERIFY(previewWindow);
        QTRY_VERIFY_WITH_TIMEOUT(d.wmState(previewWindow).contains("SKIP_TASKBAR"), patience);
        capture("card-preview.png");
        d.key("Right");
        QVERIFY(d.waitForWindow(run.processId(), "^shot0\\.png$"));
        d.key("Escape");
        QTRY_VERIFY_WITH_TIMEOUT(d.windowsOf(run.processId(), "\\.png$").isEmpty(), patience);

        // Once the card has gone: a cell dragged onto a folder row moves its
        // file there; the menu button holds the application's menus, About
        // among them.
        QVERIFY(!run.waitForLine("] flash gone fresh.png").isNull());
        QVERIFY(showShelfFromTray(run));
        const QRect cell = place(run, "cell shot3.png"), folder = place(run, "folder sub");
        QVERIFY(!cell.isEmpty() && !folder.isEmpty());
        d.drag(cell.center(), folder.center());
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(run.path("shots/sub/shot3.png")), patience);
        QVERIFY(!QFile::exists(run.path("shots/shot3.png")));

        const QRect application = openMenu(run, place(run, "menu button").center(), "Brindlewick");
        const QRect about = openMenu(run, application.center(), "About Brindlewick");
        QVERIFY(!application.isEmpty() && !about.isEmpty());
        capture("main-menu.png");
        d.click(QPoint(about.left() + 5, application.center().y()), 0);
        d.click(about.center());
        QVERIFY(d.waitForWindow(run.processId(), "^About Brindlewick$"));
        capture("about.png");
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

        const QRect openWith = openMenu(run, place(run, "cell shot0.png").center(), "Open With", 3);
        const QRect viewerItem = openMenu(run, openWith.center(), "Brindletest Viewer", 0);
        QVERIFY(!openWith.isEmpty() && !viewerItem.isEmpty());
        // Along the entry first, so the submenu stays open on the way.
        d.click(QPoint(viewerItem.left() + 5, openWith.center().y()), 0);
        d.click(viewerItem.center());

        quint32 viewer = 0;
        QTRY_VERIFY_WITH_TIMEOUT((viewer = d.windowsNamed("^Viewer$").value(0)) != 0, patience);
        QTRY_VERIFY_WITH_TIMEOUT(d.stacking().indexOf(viewer) > d.stacking().indexOf(shelf), patience);
        QVERIFY2(!d.wmState(shelf).contains("ABOVE"), qPrintable(d.wmState(shelf).join(' ')));
        const QRect overlap = d.geometry(viewer).intersected(d.geometry(shelf));
        QVERIFY(!overlap.isEmpty());
        capture("handed-over.png");
        d.click(overlap.center() + QPoint(0, -overlap.height() / 4));
        QTRY_COMPARE_WITH_TIMEOUT(d.activeWindow(), viewer, patience);

        // Shown again: floating, over the viewer.
        d.click(d.trayIcon(run.processId()).center());
        QTRY_VERIFY_WITH_TIMEOUT(d.wmState(shelf).contains("ABOVE"), patience);
        QTRY_VERIFY_WITH_TIMEOUT(d.stacking().indexOf(shelf) > d.stacking().indexOf(viewer), patience);

        // A pin of the first screenshot: no task entry, no pager entry.
        QTRY_COMPARE_WITH_TIMEOUT(d.activeWindow(), shelf, patience);
        d.key("p");
        const quint32 pin = d.waitForWindow(run.processId(), "^shot0\\.png$");
        QVERIFY(pin);
        QTRY_COMPARE_WITH_TIMEOUT(d.wmState(pin).filter("SKIP_").size(), 2, patience);
        capture("pinned.png");
        d.tool("xdotool", {"search", "--name", "^Viewer$", "windowkill"});
    }

    // A screen reader reaches every cell of the grid and every folder row
    // by name, every control it can focus is named, and the keys that walk
    // the window (Tab, then an arrow in the grid) move what it announces.
    void aScreenReaderWalksTheShelf()
    {
        SKIP_WITHOUT_SESSION(*m_desktop);
        if (!QFileInfo(DesktopSession::accessibilityBusLauncher).isExecutable())
            QSKIP("no AT-SPI bus launcher (the at-spi2-core package)");
        if (m_walker.isEmpty() || m_desktop->tool(python, {"-c", "import pyatspi"}).status != 0)
            QSKIP("no pyatspi (the python3-pyatspi package; ./setup.sh test installs it)");

        // Last of the tests, as the programs after it would find the bus.
        QVERIFY2(m_desktop->startAccessibilityBus(), qPrintable(m_desktop->problem()));
        AppRun run(QString{});
        writeTestPng(run.useShots(3, shotColour) + "/Archive/old.png");
        m_desktop->enter(run);
        run.setVar("BRINDLEWICK_OPEN");
        run.setVar("QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "1");
        QVERIFY(run.startReady());
        const quint32 shelf = m_desktop->waitForWindow(run.processId(), "^shots$");
        QTRY_COMPARE_WITH_TIMEOUT(m_desktop->activeWindow(), shelf, patience);

        // The cells, newest first, each named by its file; shown, the grid
        // holds the keys at once, so there is something to announce. Waited
        // for once, not retried as QTRY would: each look is a walk.
        QList<Seen> seen;
        QByteArray walked;
        QStringList cells, folders;
        const bool listed = QTest::qWaitFor(
            [&] {
                cells.clear();
                const std::optional<Seen> grid = find(seen = tree(run, walked), "list", "Screenshots", &cells);
                return grid && (*grid)["children"] == 3 && has(*grid, "focused");
            },
            patience);
        QVERIFY2(listed, walked.constData());
        QCOMPARE(cells, (QStringList{"shot0.png", "shot1.png", "shot2.png"}));
        QVERIFY2(find(seen, "list", "Folders", &folders), walked.constData());
        QCOMPARE(folders, (QStringList{"Home, 3 screenshots", "Archive, 1 screenshot"}));
        // Nothing a person can tab to is left nameless.
        for (const Seen &node : std::as_const(seen))
            QVERIFY2(!has(node, "focusable") || !has(node, "showing") || node["role"] == "frame"
                         || !node["name"].toString().isEmpty(),
                     qPrintable("unnamed: " + QJsonDocument(node).toJson() + walked));

        // What a screen reader hears as the keyboard moves: the last object
        // that gained focus after each key.
        QProcess listener;
        listener.setProcessEnvironment(m_desktop->environment());
        listener.start(python, {m_walker, "events", QString::number(run.processId())});
        QByteArray heard;
        QTRY_VERIFY_WITH_TIMEOUT((heard += listener.readAllStandardOutput()).contains("listening\n"), patience);
        // Into the search field, then Tab: the folders, then the grid. The
        // column walks its own rows; an arrow moves the keyboard's cell,
        // selected, and says so.
        m_desktop->key("ctrl+f");
        const QStringList walk = {
            "Tab",   "list item", "Home, 3 screenshots", "Down",  "list item", "Archive, 1 screenshot",
            "Up",    "list item", "Home, 3 screenshots", "Tab",   "list",      "Screenshots",
            "Right", "list item", "shot0.png",           "Right", "list item", "shot1.png"};
        Seen focused;
        for (qsizetype i = 0; i < walk.size(); i += 3) {
            const qsizetype from = heard.size();
            m_desktop->key(walk[i]);
            const auto arrived = [&] {
                heard += listener.readAllStandardOutput();
                for (const QByteArray &line : heard.mid(from).split('\n'))
                    if (const Seen event = parse(line);
                        event["event"] == "object:state-changed:focused" && event["detail1"] == 1)
                        focused = event;
                return focused["role"] == walk[i + 1] && focused["name"] == walk[i + 2];
            };
            QVERIFY2(QTest::qWaitFor(arrived, patience), qPrintable(walk[i] + " brought:\n" + heard.mid(from)));
        }
        QVERIFY2(has(focused, "selected") && has(focused, "focused"), QJsonDocument(focused).toJson().constData());
        endProcess(listener);
    }
};

QTEST_GUILESS_MAIN(TestE2eDesktop)
#include "test_e2e_desktop.moc"
