#pragma once

#include "support/colourimages.h"
#include "support/screensession.h"

#include <QImage>
#include <QList>
#include <QPoint>
#include <QProcess>
#include <QRect>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>
#include <optional>

// A small real desktop for end-to-end tests: a virtual X server (1280 × 800),
// the Openbox window manager, a tint2 panel along the bottom with a task list
// and a tray, and a private D-Bus session bus. The program runs in it as it
// would in a person's session, is driven with real input (xdotool) and is
// read back from the screen (`import -window root`) and from the window
// properties the window manager and the panel act on (xprop).
//
// Nothing starts when a tool is missing: `problem` names them, so the test
// can skip with a reason.
class DesktopSession : public ScreenSession
{
public:
    static constexpr int panelHeight = 32;

    DesktopSession();
    ~DesktopSession() override;

    QString display() const { return m_display ? m_display->display() : QString(); }
    // Its display and its session bus.
    QProcessEnvironment environment() const override;
    // Points `run` at this desktop: its display and its session bus.
    void enter(AppRun &run) const;
    // The accessibility bus and its registry, on the session bus until the
    // session ends.
    static constexpr char accessibilityBusLauncher[] = "/usr/libexec/at-spi-bus-launcher";
    bool startAccessibilityBus();

    // The mapped windows that process `pid` owns (by _NET_WM_PID), those
    // whose title matches `nameRegex` when one is given.
    QList<quint32> windowsOf(qint64 pid, const QString &nameRegex = {}) const;
    // Waits until exactly such a window is mapped (or none, when `shown` is
    // false); the window, or 0.
    quint32 waitForWindow(qint64 pid, const QString &nameRegex, bool shown = true) const;
    // The _NET_WM_STATE atoms, without the prefix ("ABOVE", "SKIP_TASKBAR").
    QStringList wmState(quint32 window) const;
    bool hasState(quint32 window, const QString &atom) const { return wmState(window).contains(atom); }
    // Client windows bottom to top, as the window manager stacks them.
    QList<quint32> stacking() const;

    // The whole screen as the X server shows it; kept at `savePath` when given.
    QImage capture(const QString &savePath = {}) const;

    // Real pointer and keyboard input.
    void moveTo(QPoint at) const;
    void click(QPoint at, int button = 1) const;
    // Presses at `from`, moves there in steps (as a hand would) and releases.
    void drag(QPoint from, QPoint to) const;
    void key(const QString &keys) const;
    void type(const QString &text) const;

    // The tray icon of process `pid`: the small window it docked into the
    // panel; waits for it.
    std::optional<QRect> trayIcon(qint64 pid) const;

private:
    bool start();

    std::unique_ptr<VirtualDisplay> m_display;
    std::unique_ptr<SessionBus> m_bus;
    QProcess m_windowManager;
    QProcess m_panel;
    QProcess m_accessibilityBus;
};
