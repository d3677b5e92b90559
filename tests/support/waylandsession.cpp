#include "support/waylandsession.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTest>

#include <unistd.h>

namespace {

constexpr int startTimeoutMs = 20000;

// An output of a known size and a plain background, so that captures are
// the same on every machine; no bar, no borders.
const char swayConfig[] = R"(output HEADLESS-1 resolution %1x%2 position 0 0 bg #336699 solid_color
default_border none
default_floating_border none
xwayland %3
)";

bool missing(const char *tool) { return QStandardPaths::findExecutable(QLatin1String(tool)).isEmpty(); }

} // namespace

WaylandSession::WaylandSession(Compositor compositor, bool xwayland) : m_compositor(compositor)
{
    QStringList absent;
    QList<const char *> tools = {"xwininfo", "xhost"};
    if (compositor == Compositor::weston)
        tools << "weston"
              << "weston-screenshooter";
    else
        tools << "sway"
              << "swaymsg"
              << "grim"
              << "setpriv";
    if (xwayland)
        tools << "Xwayland";
    for (const char *tool : tools) {
        if (missing(tool))
            absent << QLatin1String(tool);
    }
    if (!absent.isEmpty()) {
        m_problem = QStringLiteral("missing: ") + absent.join(QStringLiteral(", "));
        return;
    }
    // Others (sway's user) pass through to the runtime folder below.
    QFile::setPermissions(m_root.path(), QFile::permissions(m_root.path()) | QFile::ExeGroup | QFile::ExeOther
                                             | QFile::ReadGroup | QFile::ReadOther);
    m_runtime = m_root.filePath(QStringLiteral("run"));
    QDir().mkpath(m_runtime);
    QFile::setPermissions(m_runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    m_server.setProcessChannelMode(QProcess::MergedChannels);
    m_server.setStandardOutputFile(m_root.filePath(QStringLiteral("compositor.log")));
    m_running = compositor == Compositor::weston ? startWeston(xwayland) : startSway(xwayland);
}

WaylandSession::~WaylandSession()
{
    if (m_server.state() == QProcess::NotRunning)
        return;
    m_server.terminate();
    if (!m_server.waitForFinished(5000))
        m_server.kill();
    m_server.waitForFinished(5000);
}

QProcessEnvironment WaylandSession::environment() const
{
    QProcessEnvironment environment;
    environment.insert(QStringLiteral("PATH"), qEnvironmentVariable("PATH"));
    environment.insert(QStringLiteral("HOME"), m_root.path());
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), m_runtime);
    if (!m_socket.isEmpty())
        environment.insert(QStringLiteral("WAYLAND_DISPLAY"), m_socket);
    if (!m_swaySocket.isEmpty())
        environment.insert(QStringLiteral("SWAYSOCK"), m_swaySocket);
    if (!m_x11Display.isEmpty())
        environment.insert(QStringLiteral("DISPLAY"), m_x11Display);
    return environment;
}

bool WaylandSession::startWeston(bool xwayland)
{
    // --debug lets the screenshooter capture; pixman needs no GPU.
    QStringList arguments = {QStringLiteral("--backend=headless-backend.so"),
                             QStringLiteral("--use-pixman"),
                             QStringLiteral("--width=%1").arg(screenWidth),
                             QStringLiteral("--height=%1").arg(screenHeight),
                             QStringLiteral("--socket=brindlewick"),
                             QStringLiteral("--idle-time=0"),
                             QStringLiteral("--debug")};
    if (xwayland)
        arguments << QStringLiteral("--xwayland");
    m_server.setProcessEnvironment(environment());
    m_server.start(QStringLiteral("weston"), arguments);
    const QString socket = m_runtime + QStringLiteral("/brindlewick");
    const QString log = m_root.filePath(QStringLiteral("compositor.log"));
    static const QRegularExpression listening(QStringLiteral("xserver listening on display (:\\d+)"));
    const bool up = QTest::qWaitFor(
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
        startTimeoutMs);
    if (!up) {
        m_problem = QStringLiteral("weston did not start (see %1)").arg(log);
        return false;
    }
    m_socket = socket;
    return true;
}

bool WaylandSession::startSway(bool xwayland)
{
    const QString config = m_root.filePath(QStringLiteral("sway.conf"));
    QFile file(config);
    if (!file.open(QIODevice::WriteOnly)
        || file.write(QString::fromLatin1(swayConfig)
                          .arg(screenWidth)
                          .arg(screenHeight)
                          .arg(xwayland ? QStringLiteral("force") : QStringLiteral("disable"))
                          .toUtf8())
               < 0) {
        m_problem = QStringLiteral("could not write sway's settings");
        return false;
    }
    file.close();
    QFile::setPermissions(config, QFile::permissions(config) | QFile::ReadOther);

    QProcessEnvironment env = environment();
    env.insert(QStringLiteral("WLR_BACKENDS"), QStringLiteral("headless"));
    env.insert(QStringLiteral("WLR_LIBINPUT_NO_DEVICES"), QStringLiteral("1"));
    env.insert(QStringLiteral("WLR_RENDERER"), QStringLiteral("pixman"));
    m_server.setProcessEnvironment(env);
    const bool root = ::geteuid() == 0;
    if (root) {
        // sway will not run as root: as nobody, in a runtime folder of its own.
        if (QProcess::execute(QStringLiteral("chown"), {QStringLiteral("nobody:"), m_runtime}) != 0) {
            m_problem = QStringLiteral("could not hand the runtime folder to nobody");
            return false;
        }
        m_server.start(QStringLiteral("setpriv"),
                       {QStringLiteral("--reuid=nobody"), QStringLiteral("--regid=nogroup"),
                        QStringLiteral("--clear-groups"), QStringLiteral("sway"), QStringLiteral("-c"), config});
    } else {
        m_server.start(QStringLiteral("sway"), {QStringLiteral("-c"), config});
    }
    const QString log = m_root.filePath(QStringLiteral("compositor.log"));
    const bool up = QTest::qWaitFor(
        [&] {
            if (m_server.state() == QProcess::NotRunning)
                return false;
            const QDir runtime(m_runtime);
            const QStringList sockets = runtime.entryList({QStringLiteral("wayland-*")}, QDir::System);
            const QStringList commands = runtime.entryList({QStringLiteral("sway-ipc.*.sock")}, QDir::System);
            for (const QString &name : sockets) {
                if (!name.endsWith(QLatin1String(".lock")))
                    m_socket = runtime.filePath(name);
            }
            if (!commands.isEmpty())
                m_swaySocket = runtime.filePath(commands.first());
            return !m_socket.isEmpty() && !m_swaySocket.isEmpty();
        },
        startTimeoutMs);
    if (!up) {
        m_problem = QStringLiteral("sway did not start (see %1)").arg(log);
        return false;
    }
    if (!xwayland)
        return true;
    // XWayland's display is known to sway's children; XWayland lets in only
    // sway's user, so a root test lets itself in too.
    const QString answer = m_runtime + QStringLiteral("/display");
    const QString command = QStringLiteral("exec sh -c '%1echo \"$DISPLAY\" > %2'")
                                .arg(root ? QStringLiteral("xhost +si:localuser:root && ") : QString(), answer);
    tool(QStringLiteral("swaymsg"), {command});
    const bool known = QTest::qWaitFor(
        [&] {
            QFile file(answer);
            if (!file.open(QIODevice::ReadOnly))
                return false;
            m_x11Display = QString::fromUtf8(file.readAll()).trimmed();
            return !m_x11Display.isEmpty();
        },
        startTimeoutMs);
    if (!known) {
        m_problem = QStringLiteral("sway's XWayland did not come up (see %1)").arg(log);
        return false;
    }
    return true;
}

void WaylandSession::enter(AppRun &run) const
{
    run.setVar(QStringLiteral("WAYLAND_DISPLAY"), m_socket);
    run.setVar(QStringLiteral("XDG_SESSION_TYPE"), QStringLiteral("wayland"));
    run.setVar(QStringLiteral("XDG_CURRENT_DESKTOP"),
               m_compositor == Compositor::sway ? QStringLiteral("sway") : QStringLiteral("weston"));
    if (!m_x11Display.isEmpty())
        run.setVar(QStringLiteral("DISPLAY"), m_x11Display);
    else
        run.environment().remove(QStringLiteral("DISPLAY"));
}

int WaylandSession::tool(const QString &program, const QStringList &arguments, QByteArray *out) const
{
    QProcess process;
    process.setProcessEnvironment(environment());
    process.setWorkingDirectory(m_root.path());
    process.start(program, arguments);
    if (!process.waitForFinished(15000)) {
        process.kill();
        process.waitForFinished(5000);
        return -1;
    }
    if (out)
        *out = process.readAllStandardOutput();
    return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

QImage WaylandSession::capture(const QString &savePath) const
{
    if (m_compositor == Compositor::sway) {
        if (tool(QStringLiteral("grim"), {savePath}) != 0)
            return {};
        return QImage(savePath);
    }
    // The screenshooter writes wayland-screenshot-<time>.png where it runs.
    const QDir folder(m_root.path());
    for (const QString &old : folder.entryList({QStringLiteral("wayland-screenshot-*.png")}))
        QFile::remove(folder.filePath(old));
    if (tool(QStringLiteral("weston-screenshooter"), {}) != 0)
        return {};
    const QStringList shots = folder.entryList({QStringLiteral("wayland-screenshot-*.png")});
    if (shots.isEmpty())
        return {};
    QFile::remove(savePath);
    QFile::copy(folder.filePath(shots.first()), savePath);
    return QImage(savePath);
}

QJsonObject WaylandSession::tree() const
{
    QByteArray out;
    if (tool(QStringLiteral("swaymsg"), {QStringLiteral("-t"), QStringLiteral("get_tree")}, &out) != 0)
        return {};
    return QJsonDocument::fromJson(out).object();
}

QList<quint32> WaylandSession::x11Windows(const QString &nameRegex) const
{
    QByteArray out;
    tool(QStringLiteral("xwininfo"), {QStringLiteral("-root"), QStringLiteral("-tree")}, &out);
    static const QRegularExpression line(QStringLiteral("^\\s*(0x[0-9a-f]+) \"(.*)\": "));
    const QRegularExpression name(nameRegex);
    QList<quint32> windows;
    for (const QString &text : QString::fromUtf8(out).split(QLatin1Char('\n'))) {
        const QRegularExpressionMatch m = line.match(text);
        if (!m.hasMatch() || !name.match(m.captured(2)).hasMatch())
            continue;
        QByteArray info;
        tool(QStringLiteral("xwininfo"), {QStringLiteral("-id"), m.captured(1)}, &info);
        if (info.contains("Map State: IsViewable"))
            windows << m.captured(1).toUInt(nullptr, 16);
    }
    return windows;
}

QRect WaylandSession::x11Geometry(quint32 window) const
{
    QByteArray out;
    if (tool(QStringLiteral("xwininfo"), {QStringLiteral("-id"), QString::number(window)}, &out) != 0)
        return {};
    const auto field = [&out](const char *label) {
        static const QRegularExpression number(QStringLiteral("-?\\d+"));
        const qsizetype at = out.indexOf(label);
        return at < 0 ? 0
                      : number.match(QString::fromUtf8(out.mid(at + qsizetype(qstrlen(label)), 16))).captured().toInt();
    };
    return QRect(field("Absolute upper-left X:"), field("Absolute upper-left Y:"), field("Width:"), field("Height:"));
}

QJsonObject findSwayWindow(const QJsonObject &node, const QString &nameRegex, bool *floating)
{
    const QRegularExpression name(nameRegex);
    for (const char *kind : {"nodes", "floating_nodes"}) {
        for (const QJsonValue &child : node.value(QLatin1String(kind)).toArray()) {
            const QJsonObject object = child.toObject();
            const bool isFloating = qstrcmp(kind, "floating_nodes") == 0;
            if (object.value(QStringLiteral("type")).toString().endsWith(QLatin1String("con"))
                && name.match(object.value(QStringLiteral("name")).toString()).hasMatch()) {
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
