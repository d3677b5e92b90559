#pragma once

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

} // namespace DesktopWindows
