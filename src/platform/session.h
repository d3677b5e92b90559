#pragma once

#include <QByteArray>
#include <QString>

// The display server of the desktop session, whatever Qt itself runs on: in
// a Wayland session Qt may still talk to XWayland, which sees keys and the
// active window only while an X window has focus.
enum class SessionKind { x11, wayland, unknown };

// XDG_SESSION_TYPE when it says, else WAYLAND_DISPLAY, else DISPLAY.
inline SessionKind sessionKind()
{
    const QString type = qEnvironmentVariable("XDG_SESSION_TYPE");
    if (type == QLatin1String("wayland"))
        return SessionKind::wayland;
    if (type == QLatin1String("x11"))
        return SessionKind::x11;
    if (!qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        return SessionKind::wayland;
    if (!qEnvironmentVariableIsEmpty("DISPLAY"))
        return SessionKind::x11;
    return SessionKind::unknown;
}

// The Qt platform to ask for before the application is built, or empty to
// leave the choice to Qt. In a Wayland session with XWayland at hand (and no
// choice of the user's in QT_QPA_PLATFORM), X11 through XWayland: there an
// X11 client may place its own windows, keep them above others, off the task
// list and out of focus, which no Wayland protocol every desktop offers
// grants an ordinary window.
inline QByteArray preferredQtPlatform(SessionKind session, bool userChosePlatform, bool hasX11Display)
{
    if (session == SessionKind::wayland && !userChosePlatform && hasX11Display)
        return QByteArrayLiteral("xcb");
    return {};
}
