#pragma once

#include "support/apprun.h"

#include <QImage>
#include <QJsonObject>
#include <QList>
#include <QProcess>
#include <QRect>
#include <QStringList>
#include <QTemporaryDir>

// A real Wayland compositor for end-to-end tests, headless, on a private
// runtime folder: weston (its headless backend and pixman renderer, as
// root or not) or sway (wlroots' headless backend; it refuses to run as
// root, so a root test runs it as `nobody`). Optionally with XWayland. The
// program runs in it as in a person's Wayland session, and is read back with
// the compositor's own tools: its screen capture (weston's screenshooter,
// grim under sway), sway's window tree, and xwininfo for X11 windows.
//
// Nothing starts when a tool is missing: `problem` says which, so the test
// can skip with a reason.
class WaylandSession
{
public:
    enum class Compositor { weston, sway };
    static constexpr int screenWidth = 1280;
    static constexpr int screenHeight = 800;

    WaylandSession(Compositor compositor, bool xwayland);
    ~WaylandSession();
    WaylandSession(const WaylandSession &) = delete;
    WaylandSession &operator=(const WaylandSession &) = delete;

    bool isRunning() const { return m_running; }
    QString problem() const { return m_problem; }
    // The X display of XWayland (":3"), empty without it.
    QString x11Display() const { return m_x11Display; }

    // Points `run` at this session: a Wayland session whose desktop is the
    // compositor, with XWayland's display when there is one.
    void enter(AppRun &run) const;

    // Runs a tool in the session; its exit code (-1 when it did not
    // finish), its standard output in `out`.
    int tool(const QString &program, const QStringList &arguments, QByteArray *out = nullptr) const;

    // The whole output as the compositor shows it; kept at `savePath`.
    QImage capture(const QString &savePath) const;

    // sway only: the window tree (`swaymsg -t get_tree`).
    QJsonObject tree() const;

    // X11 windows (through XWayland) whose title matches `nameRegex`, and
    // one's geometry in screen coordinates.
    QList<quint32> x11Windows(const QString &nameRegex) const;
    QRect x11Geometry(quint32 window) const;

private:
    bool startWeston(bool xwayland);
    bool startSway(bool xwayland);
    QProcessEnvironment environment() const;

    Compositor m_compositor;
    QTemporaryDir m_root;
    QString m_runtime;
    QProcess m_server;
    QString m_socket;     // the Wayland socket's full path
    QString m_swaySocket; // sway's command socket
    QString m_x11Display;
    QString m_problem;
    bool m_running = false;
};

// The floating window (a sway tree node) whose name matches `nameRegex`,
// or an empty object; `floating` says whether it floats.
QJsonObject findSwayWindow(const QJsonObject &node, const QString &nameRegex, bool *floating = nullptr);
