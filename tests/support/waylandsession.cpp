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

// The window (a "con" or "floating_con" node of sway's tree) whose name
// matches `name`, or an empty object.
QJsonObject swayNode(const QJsonObject &node, const QRegularExpression &name)
{
    if (node.value("type").toString().endsWith(QLatin1String("con"))
        && name.match(node.value("name").toString()).hasMatch())
        return node;
    for (const char *kind : {"nodes", "floating_nodes"})
        for (const QJsonValue &child : node.value(QLatin1String(kind)).toArray())
            if (const QJsonObject found = swayNode(child.toObject(), name); !found.isEmpty())
                return found;
    return {};
}

// The text of `path` once it matches `pattern`: its first group, or empty.
QString readMatch(const QString &path, const QRegularExpression &pattern)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? pattern.match(QString::fromUtf8(file.readAll())).captured(1) : QString();
}

} // namespace

WaylandSession::WaylandSession(Compositor compositor, bool xwayland) : m_compositor(compositor)
{
    QStringList tools = {"xdotool", "xprop", "xhost"};
    tools << (compositor == Compositor::weston ? QStringList{"weston", "weston-screenshooter"}
                                               : QStringList{"sway", "swaymsg", "grim", "setpriv"});
    if (!haveTools(xwayland ? tools << "Xwayland" : tools))
        return;
    // Others (sway's user) pass through to the runtime folder below.
    QFile::setPermissions(m_root.path(), QFile::permissions(m_root.path()) | QFile::ExeOther | QFile::ReadOther);
    m_runtime = m_root.filePath("run");
    QDir().mkpath(m_runtime);
    QFile::setPermissions(m_runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    m_running = compositor == Compositor::weston ? startWeston(xwayland) : startSway(xwayland);
}

QProcessEnvironment WaylandSession::environment() const
{
    QProcessEnvironment environment = ScreenSession::environment();
    environment.insert("XDG_RUNTIME_DIR", m_runtime);
    const std::pair<const char *, QString> optional[] = {
        {"WAYLAND_DISPLAY", m_socket}, {"SWAYSOCK", m_swaySocket}, {"DISPLAY", m_x11Display}};
    for (const auto &[name, value] : optional)
        if (!value.isEmpty())
            environment.insert(name, value);
    return environment;
}

bool WaylandSession::startWeston(bool xwayland)
{
    // --debug lets the screenshooter capture; pixman needs no GPU.
    const QStringList arguments = words(QStringLiteral("--backend=headless-backend.so --use-pixman --width=%1 "
                                                       "--height=%2 --socket=brindlewick --idle-time=0 --debug %3")
                                            .arg(screenWidth)
                                            .arg(screenHeight)
                                            .arg(xwayland ? "--xwayland" : ""));
    if (!startLogged(m_server, "weston", arguments, environment()))
        return false;
    m_socket = m_runtime + "/brindlewick";
    const QString log = m_root.filePath("weston.log");
    static const QRegularExpression listening("xserver listening on display (:\\d+)");
    return waitUntil(
        [&] {
            if (m_server.state() == QProcess::NotRunning || !QFile::exists(m_socket))
                return false;
            return !xwayland || !(m_x11Display = readMatch(log, listening)).isEmpty();
        },
        QStringLiteral("weston did not start (see %1)").arg(log));
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
    // sway will not run as root: as nobody, in a runtime folder of its own.
    const bool root = ::geteuid() == 0;
    if (root && QProcess::execute("chown", {"nobody:", m_runtime}) != 0)
        return fail("could not hand the runtime folder to nobody");
    const QStringList sway = {"sway", "-c", config};
    if (!(root ? startLogged(m_server, "setpriv", words("--reuid=nobody --regid=nogroup --clear-groups") + sway, env)
               : startLogged(m_server, "sway", sway.mid(1), env)))
        return false;
    const QString log = m_root.filePath(root ? "setpriv.log" : "sway.log");
    const QDir runtime(m_runtime);
    const bool up = waitUntil(
        [&] {
            const QStringList sockets = runtime.entryList({"wayland-?"}, QDir::System);
            const QStringList commands = runtime.entryList({"sway-ipc.*.sock"}, QDir::System);
            if (m_server.state() == QProcess::NotRunning || sockets.isEmpty() || commands.isEmpty())
                return false;
            m_socket = runtime.filePath(sockets.first());
            m_swaySocket = runtime.filePath(commands.first());
            return true;
        },
        QStringLiteral("sway did not start (see %1)").arg(log));
    if (!up || !xwayland)
        return up;
    // XWayland's display is known to sway's children; XWayland lets in only
    // sway's user, so a root test lets itself in too.
    const QString answer = m_runtime + "/display";
    tool("swaymsg", {QStringLiteral("exec sh -c '%1echo \"$DISPLAY\" > %2'")
                         .arg(root ? "xhost +si:localuser:root && " : QString(), answer)});
    static const QRegularExpression display("(:\\d+)");
    return waitUntil([&] { return !(m_x11Display = readMatch(answer, display)).isEmpty(); },
                     QStringLiteral("sway's XWayland did not come up (see %1)").arg(log));
}

void WaylandSession::enter(AppRun &run) const
{
    run.setVar("WAYLAND_DISPLAY", m_socket);
    run.setVar("XDG_SESSION_TYPE", "wayland");
    run.setVar("XDG_CURRENT_DESKTOP", m_compositor == Compositor::sway ? "sway" : "weston");
    if (!m_x11Display.isEmpty())
        run.setVar("DISPLAY", m_x11Display);
}

QImage WaylandSession::capture(const QString &savePath) const
{
    if (m_compositor == Compositor::sway)
        return tool("grim", {savePath}).status == 0 ? loaded(savePath) : QImage();
    // The screenshooter writes wayland-screenshot-<time>.png where it runs.
    const QDir folder(m_root.path());
    const QStringList pattern = {"wayland-screenshot-*.png"};
    for (const QString &old : folder.entryList(pattern))
        QFile::remove(folder.filePath(old));
    QFile::remove(savePath);
    if (tool("weston-screenshooter", {}).status != 0 || folder.entryList(pattern).isEmpty()
        || !QFile::copy(folder.filePath(folder.entryList(pattern).first()), savePath))
        return {};
    return loaded(savePath);
}

QRect WaylandSession::swayWindow(const QString &nameRegex, bool *floating) const
{
    const QByteArray tree = tool("swaymsg", {"-t", "get_tree"}).out;
    const QJsonObject node = swayNode(QJsonDocument::fromJson(tree).object(), QRegularExpression(nameRegex));
    if (floating)
        *floating = node.value("type").toString() == QLatin1String("floating_con");
    const QJsonObject r = node.value("rect").toObject();
    return node.isEmpty() ? QRect() : QRect(r["x"].toInt(), r["y"].toInt(), r["width"].toInt(), r["height"].toInt());
}
