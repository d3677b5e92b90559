#pragma once

#include <QString>
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

enum class SessionKind;

// How the shortcut reaches us: the desktop portal's GlobalShortcuts in a
// Wayland session (also when Qt runs on XWayland, where a key grab hears
// keys only while an X window has focus), a key grab in an X11 session
// (when Qt talks to that X server), otherwise none.
enum class ShortcutRoute { keyGrab, portal, none };
ShortcutRoute shortcutRoute(SessionKind session, const QString &qtPlatform);

// The route this session offers; nullptr when there is none. Needs the GUI
// application to exist.
std::unique_ptr<GlobalShortcut> makeGlobalShortcut();

// The backends, for the factory above.
std::unique_ptr<GlobalShortcut> makeX11GlobalShortcut();
std::unique_ptr<GlobalShortcut> makePortalGlobalShortcut();
