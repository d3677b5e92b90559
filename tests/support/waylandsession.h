#pragma once

#include "support/screensession.h"

// A real Wayland compositor for end-to-end tests, headless, on a private
// runtime folder: weston (its headless backend and pixman renderer, as
// root or not) or sway (wlroots' headless backend; it refuses to run as
// root, so a root test runs it as `nobody`). Optionally with XWayland. The
// program runs in it as in a person's Wayland session, and is read back with
// the compositor's own tools: its screen capture (weston's screenshooter,
// grim under sway), sway's window tree, and xdotool and xprop for X11 windows.
class WaylandSession : public ScreenSession
{
public:
    enum class Compositor { weston, sway };

    WaylandSession(Compositor compositor, bool xwayland);
    ~WaylandSession() override { endProcess(m_server); }

    // Points `run` at this session: a Wayland session whose desktop is the
    // compositor, with XWayland's display when there is one.
    void enter(AppRun &run) const;
    // The whole output as the compositor shows it; kept at `savePath`.
    QImage capture(const QString &savePath) const;
    // sway only: where the window whose title matches `nameRegex` is in
    // sway's window tree (null when sway manages none), and whether it floats.
    QRect swayWindow(const QString &nameRegex, bool *floating = nullptr) const;

private:
    bool startWeston(bool xwayland);
    bool startSway(bool xwayland);
    QProcessEnvironment environment() const override;

    Compositor m_compositor;
    QString m_runtime;
    QProcess m_server;
    QString m_socket;     // the Wayland socket's full path
    QString m_swaySocket; // sway's command socket
    QString m_x11Display; // XWayland's (":3"), empty without it
};
