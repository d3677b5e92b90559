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
    const QStringList hasOwner = {"--session",
                                  "--print-reply",
                                  "--dest=org.freedesktop.DBus",
                                  "/org/freedesktop/DBus",
                                  "org.freedesktop.DBus.NameHasOwner",
                                  "string:org.a11y.Bus"};
    QByteArray out;
    return startLogged(m_accessibilityBus, accessibilityBusLauncher, {"--launch-immediately"}, environment())
           && waitUntil([&] { return tool("dbus-send", hasOwner, &out) == 0 && out.contains("boolean true"); },
                        "the accessibility bus did not come up");
}

DesktopSession::~DesktopSession()
{
    endProcess(m_accessibilityBus);
    endProcess(m_panel);
    endProcess(m_windowManager);
    m_bus.reset();
    m_display.reset();
}

QProcessEnvironment DesktopSession::environment() const
{
    QProcessEnvironment environment = ScreenSession::environment();
    environment.insert("DISPLAY", display());
    if (m_bus)
        environment.insert("DBUS_SESSION_BUS_ADDRESS", m_bus->address());
    return environment;
}

void DesktopSession::enter(AppRun &run) const
{
    run.setVar("DISPLAY", display());
    run.setVar("DBUS_SESSION_BUS_ADDRESS", m_bus->address());
}

QList<quint32> DesktopSession::windowsOf(qint64 pid, const QString &nameRegex) const
{
    QStringList arguments = words(QStringLiteral("search --all --onlyvisible --pid %1").arg(pid));
    if (!nameRegex.isEmpty())
        arguments << "--name" << nameRegex;
    QByteArray out;
    xdotool(arguments, &out);
    return windowIds(QString::fromLatin1(out));
}

quint32 DesktopSession::waitForWindow(qint64 pid, const QString &nameRegex, bool shown) const
{
    quint32 found = 0;
    const bool settled = QTest::qWaitFor(
        [&] {
            const QList<quint32> windows = windowsOf(pid, nameRegex);
            found = windows.size() == 1 ? windows.first() : 0;
            return shown ? found != 0 : windows.isEmpty();
        },
        AppRun::defaultTimeoutMs);
    return settled && shown ? found : 0;
}

QStringList DesktopSession::wmState(quint32 window) const
{
    QStringList states;
    static const QRegularExpression atom("_NET_WM_STATE_(\\w+)");
    auto it = atom.globalMatch(property(window, "_NET_WM_STATE"));
    while (it.hasNext())
        states << it.next().captured(1);
    return states;
}

QList<quint32> DesktopSession::stacking() const { return windowIds(property(0, "_NET_CLIENT_LIST_STACKING")); }

QImage DesktopSession::capture(const QString &savePath) const
{
    QTemporaryDir scratch;
    const QString path = savePath.isEmpty() ? scratch.filePath("screen.png") : savePath;
    return tool("import", words("-window root") << "png:" + path) == 0 ? loaded(path) : QImage();
}

void DesktopSession::moveTo(QPoint at) const
{
    xdotool(words(QStringLiteral("mousemove %1 %2").arg(at.x()).arg(at.y())));
}

void DesktopSession::click(QPoint at, int button) const
{
    xdotool(words(QStringLiteral("mousemove %1 %2 click %3").arg(at.x()).arg(at.y()).arg(button)));
}

void DesktopSession::drag(QPoint from, QPoint to) const
{
    QString line = QStringLiteral("mousemove %1 %2 mousedown 1").arg(from.x()).arg(from.y());
    // A drag starts only once the pointer has moved a little while pressed,
    // and a drop target hears of a drag through the moves over it.
    constexpr int steps = 12;
    for (int i = 1; i <= steps; ++i) {
        const QPoint p = from + (to - from) * i / steps;
        line += QStringLiteral(" sleep 0.05 mousemove %1 %2").arg(p.x()).arg(p.y());
    }
    xdotool(words(line + " sleep 0.2 mouseup 1"));
}

void DesktopSession::key(const QString &keys) const { xdotool(words("key --clearmodifiers") << keys); }

void DesktopSession::type(const QString &text) const { xdotool(words("type --delay 40") << text); }

std::optional<QRect> DesktopSession::trayIcon(qint64 pid) const
{
    // Docked into the panel, so inside its band at the bottom of the screen.
    std::optional<QRect> icon;
    const bool docked = QTest::qWaitFor(
        [&] {
            for (quint32 window : windowsOf(pid)) {
                const QRect r = geometry(window);
                if (r.top() >= screenHeight - panelHeight && r.width() <= panelHeight && r.height() <= panelHeight) {
                    icon = r;
                    return true;
                }
            }
            return false;
        },
        AppRun::defaultTimeoutMs);
    return docked ? icon : std::nullopt;
}
