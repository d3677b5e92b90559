#pragma once

#include <Qt>

class QWidget;

// What a window may ask of the desktop it runs on beyond what Qt's window
// flags say: small always-on-top windows (a pin, the corner card, the
// preview) stay out of the task list and on every workspace, and the shelf
// steps down from floating when it hands over to another program.
namespace DesktopWindows {

// Keeps `window` on every workspace. X11 only (an EWMH window manager);
// elsewhere the compositor decides and this does nothing. Call it from the
// window's showEvent.
void joinAllWorkspaces(QWidget *window);

// Keeps `window` out of the panel's task list and the pager
// (_NET_WM_STATE_SKIP_TASKBAR, _SKIP_PAGER). X11 only; call it from the
// window's showEvent, every time it is shown (a window manager forgets the
// state of a withdrawn window).
void keepOffTaskbar(QWidget *window);

// Asks the window manager to keep a shown `window` above ordinary windows,
// or to stack it among them (_NET_WM_STATE_ABOVE); a window shown again
// gets the state its Qt::WindowStaysOnTopHint says. X11 only.
void keepAbove(QWidget *window, bool above);

// Whether a translucent window shows what lies behind it. An X11 display
// without a compositing manager draws the transparent parts black; every
// Wayland compositor composites.
bool compositing();

// Qt runs on X11 through XWayland in a Wayland session: X11 windows there
// are managed by the compositor, which may ignore where they ask to be.
bool throughXWayland();

// The window flags of a card that appears by itself in a screen corner and
// never takes focus: on X11 an ordinary frameless tool window the window
// manager keeps above and off the task list; through XWayland one that
// bypasses the compositor's window management (override-redirect), the one
// kind of window every compositor shows exactly where it asks to be, above
// the others and without focus or task entry.
Qt::WindowFlags cornerCardFlags();

} // namespace DesktopWindows
