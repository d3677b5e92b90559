#pragma once

#include <Qt>
#include <functional>

class GlobalShortcut;

// The one system-wide shortcut, Alt+Shift+S, that opens or hides the shelf
// from any program. It is fixed: nothing configures it. Registered once at
// launch and kept until the process ends; a desktop that refuses it leaves
// the tray icon, `brindlewick --toggle` and the menus as the ways in.
namespace HotKey {

// The key that types S, with Alt and Shift.
inline constexpr Qt::Key key = Qt::Key_S;
inline constexpr Qt::KeyboardModifiers modifiers = Qt::AltModifier | Qt::ShiftModifier;

// What a press does; empty means a press does nothing (the key stays taken).
std::function<void()> &handler();

// Registers the shortcut through `backend`, which must outlive the process's
// use of it. Presses call whatever `handler` holds at the time.
void registerWith(GlobalShortcut &backend);

// Registers through the route this desktop offers (kept for the process
// lifetime); does nothing where there is none.
void registerShortcut();

} // namespace HotKey
