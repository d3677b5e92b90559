#include "support/waylandsession.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include <unistd.h>

namespace {

// An output of a known size and a plain background, so that captures are
// the same on every machine; no bar, no borders.
const char swayConfig[] = R"(output HEADLESS-1 resolution %1x%2 position 0 0 bg #336699 solid_color
default_border none
default_floating_border none
xwayland %3
)";

// The window (a sway tree node) whose name matches `nameRegex`, or an empty
// object; `floating` says whether it floats.
QJsonObject findSwayWindow(const QJsonObject &node, const QString &nameRegex, bool *floating)
{
    const QRegularExpression name(nameRegex);
    for (const char *kind : {"nodes", "floating_nodes"}) {
        for (const QJsonValue &child : node.value(QLatin1String(kind)).toArray()) {
            const QJsonObject object = child.toObject();
            const bool isFloating = qstrcmp(kind, "floating_nodes") == 0;
            if (object.value("type").toString().endsWith(QLatin1String("con"))
                && name.match(object.value("name").toString()).hasMatch()) {
                if (floating)
                    *floating = isFloating;
                return object;
            }
            const QJsonObject found = findSwayWindow(object, nameRegex, floating);
            if (!found.isEmpty())
                return found;
        }
    }
    return {};
}

} // namespace

WaylandSession::WaylandSession(Compositor compositor, bool xwayland) : m_compositor(compositor)
{
    QStringList tools = {"xdotool", "xprop", "xhost"};
    tools << (compositor == Compositor::weston ? QStringList{"weston", "weston-screenshooter"}
                                               : QStringList{"sway", "swaymsg", "grim", "setpriv"});
    if (xwayland)
        tools << "Xwayland";
    if (!haveTools(tools))
        return;
    // Others (sway's user) pass through to the runtime folder below.
    QFile::setPermissions(m_root.path(), QFile::permissions(m_root.path()) | QFile::ExeGroup | QFile::ExeOther
                                             | QFile::ReadGroup | QFile::ReadOther);
    m_runtime = m_root.filePath("run");
    QDir().mkpath(m_runtime);
    QFile::setPermissions(m_runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    m_running = compositor == Compositor::weston ? startWeston(xwayland) : startSway(xwayland);
}

WaylandSession::~WaylandSession() { endProcess(m_server); }

QProcessEnvironment WaylandSession::environment() const
{
    QProcessEnvironment environment = ScreenSession::environment();
    environment.insert("XDG_RUNTIME_DIR", m_runtime);
    if (!m_socket.isEmpty())
        environment.insert("WAYLAND_DISPLAY", m_socket);
    if (!m_swaySocket.isEmpty())
        environment.insert("SWAYSOCK", m_swaySocket);
    if (!m_x11Display.isEmpty())
        environment.insert("DISPLAY", m_x11Display);
    return environment;
}

bool WaylandSession::startWeston(bool xwayland)
{
    // --debug lets the screenshooter capture; pixman needs no GPU.
    QStringList arguments = {"--backend=headless-backend.so",
                             "--use-pixman",
                             QStringLiteral("--width=%1").arg(screenWidth),
                             QStringLiteral("--height=%1").arg(screenHeight),
                             "--socket=brindlewick",
                             "--idle-time=0",
                             "--debug"};
    if (xwayland)
        arguments << "--xwayland";
    if (!startLogged(m_server, "weston", arguments, environment()))
        return false;
    const QString socket = m_runtime + "/brindlewick";
    const QString log = m_root.filePath("weston.log");
    static const QRegularExpression listening("xserver listening on display (:\\d+)");
    const bool up = waitUntil(
        [&] {
            if (m_server.state() == QProcess::NotRunning || !QFile::exists(socket))
                return false;
            if (!xwayland)
                return true;
            QFile file(log);
            if (!file.open(QIODevice::ReadOnly))
                return false;
            const QRegularExpressionMatch m = listening.match(QString::fromUtf8(file.readAll()));
            m_x11Display = m.captured(1);
            return m.hasMatch();
        },
        QStringLiteral("weston did not start (see %1)").arg(log));
    if (up)
        m_socket = socket;
    return up;
}

bool WaylandSession::startSway(bool xwayland)
{
    const QString config = writeConfig("sway.conf", QString::fromLatin1(swayConfig)
                                                        .arg(screenWidth)
                                                        .arg(screenHeight)
                                                        .arg(xwayland ? "force" : "disable")
                                                        .toUtf8());
    if (config.isEmpty())
        return false;

    QProcessEnvironment env = environment();
    env.insert("WLR_BACKENDS", "headless");
    env.insert("WLR_LIBINPUT_NO_DEVICES", "1");
    env.insert("WLR_RENDERER", "pixman");
    const bool root = ::geteuid() == 0;
    // sway will not run as root: as nobody, in a runtime folder of its own.
    if (root && QProcess::execute("chown", {"nobody:", m_runtime}) != 0)
        return fail("could not hand the runtime folder to nobody");
    const QStringList sway = {"sway", "-c", config};
    if (!(root ? startLogged(m_server, "setpriv",
                             QStringList{"--reuid=nobody", "--regid=nogroup", "--clear-groups"} + sway, env)
               : startLogged(m_server, "sway", sway.mid(1), env)))
        return false;
    const QString log = m_root.filePath(root ? "setpriv.log" : "sway.log");
    const bool up = waitUntil(
        [&] {
            if (m_server.state() == QProcess::NotRunning)
                return false;
            const QDir runtime(m_runtime);
            const QStringList sockets = runtime.entryList({"wayland-*"}, QDir::System);
            const QStringList commands = runtime.entryList({"sway-ipc.*.sock"}, QDir::System);
            for (const QString &name : sockets) {
                if (!name.endsWith(QLatin1String(".lock")))
                    m_socket = runtime.filePath(name);
            }
            if (!commands.isEmpty())
                m_swaySocket = runtime.filePath(commands.first());
            return !m_socket.isEmpty() && !m_swaySocket.isEmpty();
        },
        QStringLiteral("sway did not start (see %1)").arg(log));
    if (!up || !xwayland)
        return up;
    // XWayland's display is known to sway's children; XWayland lets in only
    // sway's user, so a root test lets itself in too.
    const QString answer = m_runtime + "/display";
    const QString command = QStringLiteral("exec sh -c '%1echo \"$DISPLAY\" > %2'")
                                .arg(root ? "xhost +si:localuser:root && " : QString(), answer);
    tool("swaymsg", {command});
    return waitUntil(
        [&] {
            QFile file(answer);
            if (!file.open(QIODevice::ReadOnly))
                return false;
            m_x11Display = QString::fromUtf8(file.readAll()).trimmed();
            return !m_x11Display.isEmpty();
        },
        QStringLiteral("sway's XWayland did not come up (see %1)").arg(log));
}

void WaylandSession::enter(AppRun &run) const
{
    run.setVar("WAYLAND_DISPLAY", m_socket);
    run.setVar("XDG_SESSION_TYPE", "wayland");
    run.setVar("XDG_CURRENT_DESKTOP", m_compositor == Compositor::sway ? "sway" : "weston");
    if (!m_x11Display.isEmpty())
        run.setVar("DISPLAY", m_x11Display);
    else
        run.environment().remove("DISPLAY");
}

QImage WaylandSession::capture(const QString &savePath) const
{
    if (m_compositor == Compositor::sway)
        return tool("grim", {savePath}) == 0 ? loaded(savePath) : QImage();
    // The screenshooter writes wayland-screenshot-<time>.png where it runs.
    const QDir folder(m_root.path());
    for (const QString &old : folder.entryList({"wayland-screenshot-*.png"}))
        QFile::remove(folder.filePath(old));
    if (tool("weston-screenshooter", {}) != 0)
        return {};
    const QStringList shots = folder.entryList({"wayland-screenshot-*.png"});
    if (shots.isEmpty())
        return {};
    QFile::remove(savePath);
    QFile::copy(folder.filePath(shots.first()), savePath);
    return loaded(savePath);
}

QRect WaylandSession::swayWindow(const QString &nameRegex, bool *floating) const
{
    QByteArray out;
    tool("swaymsg", {"-t", "get_tree"}, &out);
    const QJsonObject node = findSwayWindow(QJsonDocument::fromJson(out).object(), nameRegex, floating);
    const QJsonObject r = node.value("rect").toObject();
    return node.isEmpty()
               ? QRect()
               : QRect(r.value("x").toInt(), r.value("y").toInt(), r.value("width").toInt(), r.value("height").toInt());
}
