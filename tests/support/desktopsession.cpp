#include "support/desktopsession.h"

#include <QRegularExpression>

namespace {

// A panel that is the same on every machine: tasks and the tray along the
// bottom, kept clear of windows, no clock or launcher; tint2's own defaults
// for the rest, not the machine's theme.
const char panelConfig[] = R"(panel_items = TS
panel_size = 100% 32
panel_position = bottom center horizontal
panel_layer = top
strut_policy = follow_size
systray_icon_size = 24
)";

} // namespace

DesktopSession::DesktopSession() { m_running = start(); }

bool DesktopSession::start()
{
    if (!haveTools({"Xvfb", "openbox", "tint2", "dbus-daemon", "xdotool", "xprop", "import"}))
        return false;
    m_display = std::make_unique<VirtualDisplay>();
    if (!m_display->isRunning())
        return fail("Xvfb did not start");
    // The bus first: the window manager and the panel join it too.
    m_bus = std::make_unique<SessionBus>(environment(), QStringList(), true);
    if (m_bus->address().isEmpty())
        return fail("dbus-daemon did not start");
    if (!startLogged(m_windowManager, "openbox", {"--sm-disable"}, environment())
        || !waitUntil([&] { return property(0, "_NET_SUPPORTING_WM_CHECK").contains("window id"); },
                      "openbox did not take the screen"))
        return false;
    const QString config = writeConfig("tint2rc", panelConfig);
    if (config.isEmpty() || !startLogged(m_panel, "tint2", {"-c", config}, environment()))
        return false;
    // The panel is there once the window manager keeps windows off it.
    const QString workArea = QStringLiteral("0, 0, %1, %2").arg(screenWidth).arg(screenHeight - panelHeight);
    return waitUntil([&] { return property(0, "_NET_WORKAREA").startsWith(workArea); }, "the panel did not come up");
}

bool DesktopSession::startAccessibilityBus()
{
    // Asked without starting it: a call to the bus itself would have the
    // session bus start a second launcher that outlives the test.
    const QStringList hasOwner = words("--session --print-reply --dest=org.freedesktop.DBus /org/freedesktop/DBus "
                                       "org.freedesktop.DBus.NameHasOwner string:org.a11y.Bus");
    return startLogged(m_accessibilityBus, accessibilityBusLauncher, {"--launch-immediately"}, environment())
           && waitUntil([&] { return tool("dbus-send", hasOwner).out.contains("boolean true"); },
                        "the accessibility bus did not come up");
}

DesktopSession::~DesktopSession()
{
    // Before the bus and the display, which go with their pointers.
    for (QProcess *process : {&m_accessibilityBus, &m_panel, &m_windowManager})
        endProcess(*process);
}

QProcessEnvironment DesktopSession::environment() const
{
    QProcessEnvironment environment = ScreenSession::environment();
    environment.insert("DISPLAY", m_display ? m_display->display() : QString());
    if (m_bus)
        environment.insert("DBUS_SESSION_BUS_ADDRESS", m_bus->address());
    return environment;
}

void DesktopSession::enter(AppRun &run) const
{
    run.setVar("DISPLAY", m_display->display());
    run.setVar("DBUS_SESSION_BUS_ADDRESS", m_bus->address());
}

QList<quint32> DesktopSession::windowsOf(qint64 pid, const QString &nameRegex) const
{
    QStringList arguments = words(QStringLiteral("search --all --onlyvisible --pid %1").arg(pid));
    if (!nameRegex.isEmpty())
        arguments << "--name" << nameRegex;
    return windowIds(QString::fromLatin1(tool("xdotool", arguments).out));
}

quint32 DesktopSession::waitForWindow(qint64 pid, const QString &nameRegex) const
{
    QList<quint32> windows;
    return QTest::qWaitFor([&] { return (windows = windowsOf(pid, nameRegex)).size() == 1; }, AppRun::defaultTimeoutMs)
               ? windows.first()
               : 0;
}

QStringList DesktopSession::wmState(quint32 window) const
{
    static const QRegularExpression atom("_NET_WM_STATE_(\\w+)");
    QStringList states;
    for (auto it = atom.globalMatch(property(window, "_NET_WM_STATE")); it.hasNext();)
        states << it.next().captured(1);
    return states;
}

QImage DesktopSession::capture(const QString &savePath) const
{
    QTemporaryDir scratch;
    const QString path = savePath.isEmpty() ? scratch.filePath("screen.png") : savePath;
    return tool("import", words("-window root") << "png:" + path).status == 0 ? loaded(path) : QImage();
}

void DesktopSession::click(QPoint at, int button) const
{
    const QString move = QStringLiteral("mousemove %1 %2").arg(at.x()).arg(at.y());
    input(button ? move + QStringLiteral(" click %1").arg(button) : move);
}

void DesktopSession::drag(QPoint from, QPoint to) const
{
    QString line = QStringLiteral("mousemove %1 %2 mousedown 1").arg(from.x()).arg(from.y());
    // A drag starts only once the pointer has moved a little while pressed,
    // and a drop target hears of a drag through the moves over it.
    for (int i = 1; i <= 12; ++i) {
        const QPoint p = from + (to - from) * i / 12;
        line += QStringLiteral(" sleep 0.05 mousemove %1 %2").arg(p.x()).arg(p.y());
    }
    input(line + " sleep 0.2 mouseup 1");
}

QRect DesktopSession::trayIcon(qint64 pid) const
{
    // Docked into the panel, so inside its band at the bottom of the screen.
    const QRect band(0, screenHeight - panelHeight, screenWidth, panelHeight);
    QRect icon;
    (void)QTest::qWaitFor(
        [&] {
            for (quint32 window : windowsOf(pid))
                if (const QRect r = geometry(window); band.contains(r))
                    icon = r;
            return !icon.isEmpty();
        },
        AppRun::defaultTimeoutMs);
    return icon;
}
