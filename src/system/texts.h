#pragma once

#include <QCoreApplication>
#include <QString>

// Every user-facing text that depends on the desktop: key names as Linux
// spells them (Ctrl, Alt), the file manager, "this computer", and what the
// login item really is here. One list, so it can be read at a glance.
// Functions, so each is translated when it is used (context "Texts").
namespace Texts {

// Key hints, as Linux spells the keys.
inline QString globalShortcutHint() { return QCoreApplication::translate("Texts", "Alt+Shift+S"); }
inline QString newFolderKeyHint() { return QCoreApplication::translate("Texts", "Ctrl+Shift+N"); }
inline QString previewKeyHint() { return QCoreApplication::translate("Texts", "Space"); }
inline QString pinKeyHint() { return QCoreApplication::translate("Texts", "P"); }
inline QString trashKeyHint() { return QCoreApplication::translate("Texts", "Delete"); }
inline QString settingsKeyHint() { return QCoreApplication::translate("Texts", "Ctrl+,"); }
inline QString zoomKeyHint() { return QCoreApplication::translate("Texts", "Ctrl++ / Ctrl+\u2212"); }
// %1: the digit 1 to 8 of a cell's copy shortcut.
inline QString cellSlotKeyHint() { return QCoreApplication::translate("Texts", "Ctrl+%1"); }

// The empty shelf.
inline QString emptyShelfHint()
{
    return QCoreApplication::translate("Texts", "Take a screenshot with Print Screen and it will appear here.");
}

// File actions that name the first platform's file manager and preview.
inline QString showInFileManager() { return QCoreApplication::translate("Texts", "Show in File Manager"); }
inline QString fileProperties() { return QCoreApplication::translate("Texts", "Properties"); }
inline QString preview() { return QCoreApplication::translate("Texts", "Preview"); }

// Login item: an entry in the autostart folder, with no approval step and no
// required install location.
inline QString loginErrorTitle()
{
    return QCoreApplication::translate("Texts", "Brindlewick could not register itself to start at login");
}
// %1: the entry's path, %2: the system's reason.
inline QString loginErrorDetail()
{
    return QCoreApplication::translate("Texts", "The start-up entry %1 could not be written: %2.");
}
// The reason given in loginErrorDetail() when %1, a folder, cannot be made.
inline QString folderNotCreated() { return QCoreApplication::translate("Texts", "the folder %1 cannot be created"); }
inline QString openLoginItems() { return QCoreApplication::translate("Texts", "Open Autostart Folder"); }
inline QString loginGuideTitle()
{
    return QCoreApplication::translate("Texts", "Let Brindlewick start when you log in");
}
inline QString loginGuideText()
{
    return QCoreApplication::translate(
        "Texts", "Brindlewick has added itself to your desktop's autostart entries, but your desktop keeps it "
                 "switched off.\n\nClick \u201COpen Autostart Folder\u201D, or open your desktop's start-up "
                 "settings, and switch Brindlewick on. That's it \u2014 Brindlewick will then be in your tray "
                 "every time you log in.");
}
inline QString loginGuideLater() { return QCoreApplication::translate("Texts", "Not now"); }
inline QString loginGuideNever() { return QCoreApplication::translate("Texts", "Never start at login"); }

// The settings sheet. The screenshot tool's own after-capture notification
// stands for the first platform's floating thumbnail; %1 is the tool's name.
inline QString hideToolNotification() { return QCoreApplication::translate("Texts", "Hide %1\u2019s Notification"); }
inline QString hideAnyToolNotification()
{
    return QCoreApplication::translate("Texts", "Hide the Screenshot Tool\u2019s Notification");
}
inline QString toolHasNoNotification()
{
    return QCoreApplication::translate("Texts", "%1 has no notification of its own to hide.");
}
inline QString noKnownScreenshotTool()
{
    return QCoreApplication::translate("Texts", "No supported screenshot tool was found on this desktop.");
}
inline QString previewFooter()
{
    return QCoreApplication::translate(
        "Texts", "The preview slides into the bottom-right corner and stays for the time above, longer while you "
                 "hover. Drag it anywhere, double-click to open it in the shelf, right-click for more. Hiding the "
                 "screenshot tool\u2019s own notification leaves the preview as the only one.");
}
inline QString recognitionFooter()
{
    return QCoreApplication::translate(
        "Texts", "Text is recognized on this computer, only when you ask, and cached so that searching stays "
                 "instant. Nothing runs in the background.");
}
// %1: the host that receives the daily count.
inline QString privacyFooter()
{
    return QCoreApplication::translate(
        "Texts", "Once a day Brindlewick tells %1 that one copy is in use: a random identifier, the app version "
                 "and the Linux distribution\u2019s version. No file names, no personal data, and the address is "
                 "not kept.");
}
inline QString distributionNotice()
{
    return QCoreApplication::translate(
        "Texts", "Brindlewick is distributed in the hope that it will be useful, as is and without warranty of "
                 "any kind.");
}

// What file work could not do, in the status bar. %1: a count or a quoted
// file name, %2: what was to be done ("moved to the Trash"), %3: why.
inline QString couldNotBe() { return QCoreApplication::translate("Texts", "%1 could not be %2: %3"); }
inline QString quotedName() { return QCoreApplication::translate("Texts", "\u201C%1\u201D"); }
// %1: the commonest reason when the files failed for several.
inline QString problemAndOthers() { return QCoreApplication::translate("Texts", "%1, among other reasons"); }
inline QString problemReadOnly() { return QCoreApplication::translate("Texts", "read-only file system"); }
inline QString problemDenied() { return QCoreApplication::translate("Texts", "permission denied"); }
inline QString problemChanged() { return QCoreApplication::translate("Texts", "changed since it was shown"); }
inline QString problemNameTaken() { return QCoreApplication::translate("Texts", "a file with that name exists"); }
inline QString problemGone() { return QCoreApplication::translate("Texts", "no longer there"); }
inline QString problemDiskFull() { return QCoreApplication::translate("Texts", "the disk is full"); }
inline QString problemNoTrash() { return QCoreApplication::translate("Texts", "its drive has no Trash"); }
inline QString problemUnreadable() { return QCoreApplication::translate("Texts", "not an image that can be read"); }
inline QString problemBadName()
{
    return QCoreApplication::translate("Texts",
                                       "a name cannot contain \u201C/\u201D or be \u201C.\u201D or \u201C..\u201D");
}
inline QString problemOther() { return QCoreApplication::translate("Texts", "an unexpected error"); }
inline QString doneTrashed() { return QCoreApplication::translate("Texts", "moved to the Trash"); }
inline QString doneMoved() { return QCoreApplication::translate("Texts", "moved"); }
inline QString doneDuplicated() { return QCoreApplication::translate("Texts", "duplicated"); }
inline QString doneResized() { return QCoreApplication::translate("Texts", "resized"); }
inline QString doneConverted() { return QCoreApplication::translate("Texts", "converted to JPG"); }
inline QString doneRenamed() { return QCoreApplication::translate("Texts", "renamed"); }
inline QString doneCreated() { return QCoreApplication::translate("Texts", "created"); }

} // namespace Texts
