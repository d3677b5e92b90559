#pragma once

#include <QString>

// Every user-facing text that depends on the desktop: key names as Linux
// spells them (Ctrl, Alt), the file manager, "this computer", and what the
// login item really is here. One list, so it can be read at a glance.
namespace Texts {

// Key hints.
inline const QString globalShortcutHint = QStringLiteral("Alt+Shift+S");
inline const QString newFolderKeyHint = QStringLiteral("Ctrl+Shift+N");

// The empty shelf.
inline const QString emptyShelfHint = QStringLiteral("Take a screenshot with Print Screen and it will appear here.");

// File actions that name the first platform's file manager and preview.
inline const QString showInFileManager = QStringLiteral("Show in File Manager");
inline const QString fileProperties = QStringLiteral("Properties");
inline const QString preview = QStringLiteral("Preview");

// Login item: an entry in the autostart folder, with no approval step and no
// required install location.
inline const QString loginErrorTitle = QStringLiteral("Brindlewick could not register itself to start at login");
// %1: the entry's path, %2: the system's reason.
inline const QString loginErrorDetail = QStringLiteral("The start-up entry %1 could not be written: %2.");
inline const QString openLoginItems = QStringLiteral("Open Autostart Folder");
inline const QString loginGuideTitle = QStringLiteral("Let Brindlewick start when you log in");
inline const QString loginGuideText = QStringLiteral(
    "Brindlewick has added itself to your desktop's autostart entries, but your desktop keeps it "
    "switched off.\n\nClick \u201COpen Autostart Folder\u201D, or open your desktop's start-up "
    "settings, and switch Brindlewick on. That's it \u2014 Brindlewick will then be in your tray "
    "every time you log in.");
inline const QString loginGuideLater = QStringLiteral("Not now");
inline const QString loginGuideNever = QStringLiteral("Never start at login");

} // namespace Texts
