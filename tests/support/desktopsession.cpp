#include "support/desktopsession.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTest>

namespace {

constexpr int startTimeoutMs = 20000;

// A panel that is the same on every machine: tasks on the left, the tray on
// the right, no clock or launcher, no theme of the machine it runs on.
const char panelConfig[] = R"(# Background 1: the panel; background 2: a task.
rounded = 0
border_width = 0
background_color = #202020 100
border_color = #000000 0
rounded = 0
border_width = 1
background_color = #404040 100
border_color = #808080 100
panel_items = TS
panel_size = 100% 32
panel_margin = 0 0
panel_padding = 2 0 2
panel_background_id = 1
panel_position = bottom center horizontal
panel_layer = top
panel_monitor = all
panel_dock = 0
wm_menu = 0
autohide = 0
strut_policy = follow_size
taskbar_mode = single_desktop
taskbar_padding = 0 0 2
task_text = 1
task_icon = 1
task_centered = 1
task_maximum_size = 180 30
task_padding = 2 2 4
task_background_id = 2
task_active_background_id = 2
task_font_color = #ffffff 100
systray_padding = 0 4 2
systray_sort = ascending
systray_icon_size = 24
systray_monitor = 1
)";

quint32 parseWindowId(const QString &text) { return text.trimmed().toUInt(nullptr, 0); }

// "mousemove 10 20 click 1" as xdotool's arguments.
QStringList words(const QString &line) { return line.split(QLatin1Char(' '), Qt::SkipEmptyParts); }

// Window ids in the order xprop or xdotool printed them.
QList<quint32> windowIds(const QString &text)
{
    static const QRegularExpression id("(0x[0-9a-fA-F]+|\\b\\d+\\b)");
    QList<quint32> ids;
    for (auto it = id.globalMatch(text); it.hasNext();)
        if (const quint32 window = parseWindowId(it.next().captured(0)))
            ids << window;
    return ids;
}

} // namespace

QStringList DesktopSession::missingTools()
{
    QStringList missing;
    for (const char *name : {"Xvfb", "openbox", "tint2", "dbus-daemon", "xdotool", "xprop", "import"})
        if (QStandardPaths::findExecutable(QLatin1String(name)).isEmpty())
            missing << QLatin1String(name);
    return missing;
}

DesktopSession::DesktopSession()
{
    if (!missingTools().isEmpty()) {
        m_problem = "missing: " + missingTools().join(", ");
        return;
    }
    QDir().mkpath(m_home.path() + "/.config/tint2");
    m_display = std::make_unique<VirtualDisplay>();
    if (!m_display->isRunning()) {
        m_problem = "Xvfb did not start";
        return;
    }

    // The bus first: the window manager and the panel join it too.
    m_bus = std::make_unique<SessionBus>(toolEnvironment(), QStringList(), true);
    if (m_bus->address().isEmpty()) {
        m_problem = "dbus-daemon did not start";
        return;
    }

    if (!startProcess(m_windowManager, "openbox", {"--sm-disable"}))
        return;
    const bool managed =
        QTest::qWaitFor([&] { return property(0, "_NET_SUPPORTING_WM_CHECK").contains("window id"); }, startTimeoutMs);
    if (!managed) {
        m_problem = "openbox did not take the screen";
        return;
    }

    const QString config = m_home.path() + "/.config/tint2/tint2rc";
    QFile file(config);
    if (!file.open(QIODevice::WriteOnly) || file.write(panelConfig) < 0) {
        m_problem = "could not write the panel's settings";
        return;
    }
    file.close();
    if (!startProcess(m_panel, "tint2", {"-c", config}))
        return;
    // The panel is there once the window manager keeps windows off it.
    const QString workArea = QStringLiteral("0, 0, %1, %2").arg(screenWidth).arg(screenHeight - panelHeight);
    const bool panelled =
        QTest::qWaitFor([&] { return property(0, "_NET_WORKAREA").startsWith(workArea); }, startTimeoutMs);
    if (!panelled) {
        m_problem = "the panel did not come up";
        return;
    }
    m_running = true;
}

DesktopSession::~DesktopSession()
{
    endProcess(m_panel);
    endProcess(m_windowManager);
    m_bus.reset();
    m_display.reset();
}

bool DesktopSession::startProcess(QProcess &process, const QString &program, const QStringList &arguments)
{
    process.setProcessEnvironment(toolEnvironment());
    // Their chatter is kept beside their settings, for a person who wonders.
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.setStandardOutputFile(m_home.filePath(program + ".log"));
    process.start(program, arguments);
    if (!process.waitForStarted(startTimeoutMs)) {
        m_problem = program + " did not start";
        return false;
    }
    return true;
}

QProcessEnvironment DesktopSession::toolEnvironment() const
{
    // Nothing of the machine's own session: its own home, display and bus.
    QProcessEnvironment environment;
    environment.insert("PATH", qEnvironmentVariable("PATH"));
    environment.insert("HOME", m_home.path());
    environment.insert("XDG_CONFIG_HOME", m_home.path() + "/.config");
    environment.insert("XDG_CACHE_HOME", m_home.path() + "/.cache");
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

int DesktopSession::tool(const QString &program, const QStringList &arguments, QByteArray *out, int timeoutMs) const
{
    const Ran ran = runProcess(toolEnvironment(), program, arguments, timeoutMs);
    if (out)
        *out = ran.out;
    return ran.status;
}

int DesktopSession::xdotool(const QStringList &arguments, QByteArray *out) const
{
    return tool("xdotool", arguments, out);
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

QList<quint32> DesktopSession::windowsNamed(const QString &nameRegex) const
{
    QByteArray out;
    xdotool(words("search --onlyvisible --name") << nameRegex, &out);
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

QRect DesktopSession::geometry(quint32 window) const
{
    QByteArray out;
    if (xdotool(words(QStringLiteral("getwindowgeometry --shell %1").arg(window)), &out) != 0)
        return {};
    QHash<QString, int> values;
    for (const QByteArray &line : out.split('\n')) {
        const QList<QByteArray> pair = line.split('=');
        if (pair.size() == 2)
            values.insert(QString::fromLatin1(pair.at(0)), pair.at(1).toInt());
    }
    return QRect(values.value("X"), values.value("Y"), values.value("WIDTH"), values.value("HEIGHT"));
}

QString DesktopSession::property(quint32 window, const QString &name) const
{
    QByteArray out;
    tool("xprop", words(window ? QStringLiteral("-id %1").arg(window) : "-root") << name, &out);
    const QString line = QString::fromUtf8(out).trimmed();
    const qsizetype equals = line.indexOf(" = ");
    if (equals >= 0)
        return line.mid(equals + 3);
    const qsizetype colon = line.indexOf(QLatin1Char(':'));
    return colon >= 0 ? line.mid(colon + 1).trimmed() : line;
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

quint32 DesktopSession::activeWindow() const { return windowIds(property(0, "_NET_ACTIVE_WINDOW")).value(0); }

QImage DesktopSession::capture(const QString &savePath) const
{
    QTemporaryDir scratch;
    const QString path = savePath.isEmpty() ? scratch.filePath("screen.png") : savePath;
    if (tool("import", words("-window root") << "png:" + path) != 0)
        return {};
    return QImage(path).convertToFormat(QImage::Format_RGB32);
}

void DesktopSession::moveTo(QPoint at) const
{
    xdotool(words(QStringLiteral("mousemove %1 %2").arg(at.x()).arg(at.y())));
}

void DesktopSession::click(QPoint at, int button) const
{
    xdotool(words(QStringLiteral("mousemove %1 %2 click %3").arg(at.x()).arg(at.y()).arg(button)));
}

void DesktopSession::doubleClick(QPoint at) const
{
    xdotool(words(QStringLiteral("mousemove %1 %2 click --repeat 2 --delay 80 1").arg(at.x()).arg(at.y())));
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
