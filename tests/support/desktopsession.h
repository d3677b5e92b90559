#pragma once

#include "support/screensession.h"

#include <QPoint>

#include <memory>

// A small real desktop for end-to-end tests: a virtual X server (1280 × 800),
// the Openbox window manager, a tint2 panel along the bottom with a task list
// and a tray, and a private D-Bus session bus. The program runs in it as it
// would in a person's session, is driven with real input (xdotool) and is
// read back from the screen (`import -window root`) and from the window
// properties the window manager and the panel act on (xprop).
class DesktopSession : public ScreenSession
{
public:
    static constexpr int panelHeight = 32;
    static constexpr char accessibilityBusLauncher[] = "/usr/libexec/at-spi-bus-launcher";

    DesktopSession();
    ~DesktopSession() override;

    QProcessEnvironment environment() const override;
    // Points `run` at this desktop: its display and its session bus.
    void enter(AppRun &run) const;
    // The accessibility bus and its registry, until the session ends.
    bool startAccessibilityBus();

    // The mapped windows that process `pid` owns (by _NET_WM_PID), those
    // whose title matches `nameRegex` when one is given.
    QList<quint32> windowsOf(qint64 pid, const QString &nameRegex = {}) const;
    // Waits until exactly one such window is mapped; it, or 0.
    quint32 waitForWindow(qint64 pid, const QString &nameRegex) const;
    // The _NET_WM_STATE atoms without their prefix ("ABOVE", "SKIP_TASKBAR").
    QStringList wmState(quint32 window) const;
    // Client windows bottom to top, as the window manager stacks them.
    QList<quint32> stacking() const { return windowIds(property(0, "_NET_CLIENT_LIST_STACKING")); }
    // The whole screen as the X server shows it; kept at `savePath` when given.
    QImage capture(const QString &savePath = {}) const;

    // Real pointer and keyboard input; `button` 0 only moves the pointer.
    void input(const QString &xdotoolLine) const { tool("xdotool", words(xdotoolLine)); }
    void click(QPoint at, int button = 1) const;
    // Presses at `from`, moves there in steps (as a hand would) and releases.
    void drag(QPoint from, QPoint to) const;
    void key(const QString &keys) const { tool("xdotool", words("key --clearmodifiers") << keys); }
    void type(const QString &text) const { tool("xdotool", words("type --delay 40") << text); }

    // Waits for the tray icon of process `pid`: the small window it docked
    // into the panel; empty when none comes.
    QRect trayIcon(qint64 pid) const;

private:
    bool start();

    std::unique_ptr<VirtualDisplay> m_display;
    std::unique_ptr<SessionBus> m_bus;
    QProcess m_windowManager;
    QProcess m_panel;
    QProcess m_accessibilityBus;
};
