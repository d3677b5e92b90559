#pragma once

class QWidget;

// What a small always-on-top window (a pin, the corner card) may ask of the
// desktop it runs on.
namespace DesktopWindows {

// Keeps `window` on every workspace. X11 only (an EWMH window manager);
// elsewhere the compositor decides and this does nothing. Call it from the
// window's showEvent.
void joinAllWorkspaces(QWidget *window);

// Whether a translucent window shows what lies behind it. An X11 display
// without a compositing manager draws the transparent parts black; every
// Wayland compositor composites.
bool compositing();

} // namespace DesktopWindows
