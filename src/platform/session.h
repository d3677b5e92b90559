#pragma once

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
