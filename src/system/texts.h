#pragma once

#include <QString>

// Every user-facing text that depends on the desktop: key names as Linux
// spells them (Ctrl, Alt), the file manager, "this computer", and what the
// login item really is here. One list, so it can be read at a glance.
namespace Texts {

// Key hints, as Linux spells the keys.
inline const QString globalShortcutHint = QStringLiteral("Alt+Shift+S");
inline const QString newFolderKeyHint = QStringLiteral("Ctrl+Shift+N");
inline const QString previewKeyHint = QStringLiteral("Space");
inline const QString pinKeyHint = QStringLiteral("P");
inline const QString trashKeyHint = QStringLiteral("Delete");
inline const QString settingsKeyHint = QStringLiteral("Ctrl+,");
inline const QString zoomKeyHint = QStringLiteral("Ctrl++ / Ctrl+\u2212");
// %1: the digit 1 to 8 of a cell's copy shortcut.
inline const QString cellSlotKeyHint = QStringLiteral("Ctrl+%1");

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
inline const QString loginGuideText =
    QStringLiteral("Brindlewick has added itself to your desktop's autostart entries, but your desktop keeps it "
                   "switched off.\n\nClick \u201COpen Autostart Folder\u201D, or open your desktop's start-up "
                   "settings, and switch Brindlewick on. That's it \u2014 Brindlewick will then be in your tray "
                   "every time you log in.");
inline const QString loginGuideLater = QStringLiteral("Not now");
inline const QString loginGuideNever = QStringLiteral("Never start at login");

// The settings sheet. The screenshot tool's own after-capture notification
// stands for the first platform's floating thumbnail; %1 is the tool's name.
inline const QString hideToolNotification = QStringLiteral("Hide %1\u2019s Notification");
inline const QString hideAnyToolNotification = QStringLiteral("Hide the Screenshot Tool\u2019s Notification");
inline const QString toolHasNoNotification = QStringLiteral("%1 has no notification of its own to hide.");
inline const QString noKnownScreenshotTool = QStringLiteral("No supported screenshot tool was found on this desktop.");
inline const QString previewFooter =
    QStringLiteral("The preview slides into the bottom-right corner and stays for the time above, longer while you "
                   "hover. Drag it anywhere, double-click to open it in the shelf, right-click for more. Hiding the "
                   "screenshot tool\u2019s own notification leaves the preview as the only one.");
inline const QString recognitionFooter =
    QStringLiteral("Text is recognized on this computer, only when you ask, and cached so that searching stays "
                   "instant. Nothing runs in the background.");
// %1: the host that receives the daily count.
inline const QString privacyFooter =
    QStringLiteral("Once a day Brindlewick tells %1 that one copy is in use: a random identifier, the app version "
                   "and the Linux distribution\u2019s version. No file names, no personal data, and the address is "
                   "not kept.");
inline const QString distributionNotice =
    QStringLiteral("Brindlewick is distributed in the hope that it will be useful, as is and without warranty of "
                   "any kind.");

// What file work could not do, in the status bar. %1: a count or a quoted
// file name, %2: what was to be done ("moved to the Trash"), %3: why.
inline const QString couldNotBe = QStringLiteral("%1 could not be %2: %3");
inline const QString quotedName = QStringLiteral("\u201C%1\u201D");
// %1: the commonest reason when the files failed for several.
inline const QString problemAndOthers = QStringLiteral("%1, among other reasons");
inline const QString problemReadOnly = QStringLiteral("read-only file system");
inline const QString problemDenied = QStringLiteral("permission denied");
inline const QString problemChanged = QStringLiteral("changed since it was shown");
inline const QString problemNameTaken = QStringLiteral("a file with that name exists");
inline const QString problemGone = QStringLiteral("no longer there");
inline const QString problemDiskFull = QStringLiteral("the disk is full");
inline const QString problemNoTrash = QStringLiteral("its drive has no Trash");
inline const QString problemUnreadable = QStringLiteral("not an image that can be read");
inline const QString problemBadName =
    QStringLiteral("a name cannot contain \u201C/\u201D or be \u201C.\u201D or \u201C..\u201D");
inline const QString problemOther = QStringLiteral("an unexpected error");
inline const QString doneTrashed = QStringLiteral("moved to the Trash");
inline const QString doneMoved = QStringLiteral("moved");
inline const QString doneDuplicated = QStringLiteral("duplicated");
inline const QString doneResized = QStringLiteral("resized");
inline const QString doneConverted = QStringLiteral("converted to JPG");
inline const QString doneRenamed = QStringLiteral("renamed");
inline const QString doneCreated = QStringLiteral("created");

} // namespace Texts
