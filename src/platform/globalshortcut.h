#pragma once

#include <Qt>
#include <functional>
#include <memory>

// One system-wide key combination that reaches us while another program is
// in front. Registration is fire-and-forget: a desktop that refuses it (or
// has no way to offer it) simply never calls `onPress`.
class GlobalShortcut
{
public:
    virtual ~GlobalShortcut() = default;
    virtual void grab(Qt::Key key, Qt::KeyboardModifiers modifiers, std::function<void()> onPress) = 0;
};

// The route this desktop offers: a key grab on X11, the desktop portal's
// GlobalShortcuts on Wayland; nullptr when there is none. Needs the GUI
// application to exist.
std::unique_ptr<GlobalShortcut> makeGlobalShortcut();

// The backends, for the factory above.
std::unique_ptr<GlobalShortcut> makeX11GlobalShortcut();
std::unique_ptr<GlobalShortcut> makePortalGlobalShortcut();
