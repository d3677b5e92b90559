<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="pt_BR">
<context>
    <name>AccessibleFolders</name>
    <message numerus="yes">
        <source>%1, %Ln screenshot</source>
        <translation type="unfinished">
            <numerusform></numerusform>
            <numerusform></numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%1, %Ln screenshots</source>
        <translation type="unfinished">
            <numerusform></numerusform>
            <numerusform></numerusform>
        </translation>
    </message>
</context>
<context>
    <name>AccessibleGrid</name>
    <message>
        <source>taken in %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>text recognised</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>AppDelegate</name>
    <message>
        <source>Open Shelf</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Settings…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>About Brindlewick</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Quit Brindlewick</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Hide Shelf</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&lt;b&gt;Brindlewick&lt;/b&gt;&lt;br&gt;Version %1 (%2)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Made by Merrowind · &lt;a href=&quot;%1&quot;&gt;%1&lt;/a&gt;&lt;br&gt;%2</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ContextMenu</name>
    <message>
        <source>Home (%1)</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>FileActions</name>
    <message>
        <source>Rename “%1”</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Rename</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>FileCommands</name>
    <message>
        <source>Open</source>
        <translation type="unfinished"></translation>
    </message>
    <message numerus="yes">
        <source>Open %Ln Items</source>
        <translation type="unfinished">
            <numerusform></numerusform>
            <numerusform></numerusform>
        </translation>
    </message>
    <message>
        <source>Open With</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 (%2)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Pin to Screen</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Pin</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Pin to screen (%1)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Copy</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Copy Path</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Copy as Markdown</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Rename…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Duplicate</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Resize to 50%</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Convert to JPG</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Recognize Text</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Move to</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Move to Trash</source>
        <translation type="unfinished"></translation>
    </message>
    <message numerus="yes">
        <source>Move %Ln Items to Trash</source>
        <translation type="unfinished">
            <numerusform></numerusform>
            <numerusform></numerusform>
        </translation>
    </message>
    <message>
        <source>Delete</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Move to Trash (%1)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>New Folder…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>New Folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>New folder inside Home (%1)</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>FlashPanel</name>
    <message>
        <source>drag me</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>New Screenshot</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1: %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Drag it into another program, open its menu, or double-click to show it in the shelf</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>FolderColumn</name>
    <message>
        <source>Drop a screenshot on a folder to move it there. Make one with %1.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Folders</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Screenshots</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Home</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Rename…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Move Folder to Trash</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>FolderOps</name>
    <message>
        <source>New Folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Created inside %1.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Folder name</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Create</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>MainMenu</name>
    <message>
        <source>Brindlewick</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Edit</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>View</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Window</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>About Brindlewick</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Settings…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Hide Brindlewick</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Quit Brindlewick</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Undo</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Redo</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cut</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Copy</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Paste</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Select All</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Find</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Bigger Thumbnails</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Smaller Thumbnails</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Default Thumbnail Size</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Close</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Minimize</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>PinWindow</name>
    <message>
        <source>Pinned screenshot: %1</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>PreviewWindow</name>
    <message>
        <source>%1 of %2</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ScreenshotNames</name>
    <message>
        <source>Clean up the names of %L1 screenshots?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Clean Up</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Renamed %L1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>“Screenshot 2026-10-08 at 05.12.49.png” becomes “2026-10-08 05.12.49.png”. Only files in the current folder are renamed.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>SettingsForm</name>
    <message>
        <source>General</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open at Login</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Keyboard Shortcut</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Change…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Screenshots Folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The shortcut opens or hides the shelf from any app. New screenshots are saved to the folder above while Brindlewick is running.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Corner Preview</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show Preview After Taking a Screenshot</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>second</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>seconds</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Stays on Screen</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Tidy Up</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Tidy Up Automatically</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>day</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>days</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Older Than</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Archive folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Trash</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Move Them To</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Refresh</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Matching Now</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Applies to screenshots in the Home folder only. The Archive folder is created inside it and stays visible in the folder column.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Search &amp; Names</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Stop</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Text Recognition</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Clean Up Names…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>File Names</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Privacy</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Share an Anonymous Usage Count</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>About</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Version</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Made by</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Support the Project</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Buy me a coffee</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Trash Now</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Archive Now</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%L1 of %L2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Up to Date</source>
        <translation type="unfinished"></translation>
    </message>
    <message numerus="yes">
        <source>Recognize Text in %Ln Screenshots</source>
        <translation type="unfinished">
            <numerusform></numerusform>
            <numerusform></numerusform>
        </translation>
    </message>
</context>
<context>
    <name>SettingsSheet</name>
    <message>
        <source>Done</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>SettingsSheetWindow</name>
    <message>
        <source>Settings</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Shelf</name>
    <message>
        <source>Use this folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Screenshots will be shown from, and saved to, this folder.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ShelfGrid</name>
    <message>
        <source>Screenshots</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Text recognised, searchable</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Taken while %1 was in front</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ShelfToolbar</name>
    <message>
        <source>Home</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Back to Home</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Search names and recognised text</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Search</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Settings</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Settings (%1)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Menu</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ShelfView</name>
    <message>
        <source>Recognise text in unindexed screenshots to search inside them</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Text recognition</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Thumbnail size (%1)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Thumbnail size</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>recognising %L1/%L2</source>
        <translation type="unfinished"></translation>
    </message>
    <message numerus="yes">
        <source>older than %n day</source>
        <translation type="unfinished">
            <numerusform></numerusform>
            <numerusform></numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>older than %n days</source>
        <translation type="unfinished">
            <numerusform></numerusform>
            <numerusform></numerusform>
        </translation>
    </message>
    <message>
        <source>· %L1 %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Trash now</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Archive now</source>
        <translation type="unfinished"></translation>
    </message>
    <message numerus="yes">
        <source>%Ln of %L1 screenshots</source>
        <translation type="unfinished">
            <numerusform></numerusform>
            <numerusform></numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%Ln screenshots</source>
        <translation type="unfinished">
            <numerusform></numerusform>
            <numerusform></numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%1, %Ln selected</source>
        <translation type="unfinished">
            <numerusform></numerusform>
            <numerusform></numerusform>
        </translation>
    </message>
    <message>
        <source>Nothing matches “%1”.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No images in this folder yet.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Texts</name>
    <message>
        <source>Alt+Shift+S</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Ctrl+Shift+N</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Space</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>P</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Delete</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Ctrl+,</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Ctrl++ / Ctrl+−</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Ctrl+%1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Take a screenshot with Print Screen and it will appear here.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show in File Manager</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Properties</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Preview</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Brindlewick could not register itself to start at login</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The start-up entry %1 could not be written: %2.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open Autostart Folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Let Brindlewick start when you log in</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Brindlewick has added itself to your desktop&apos;s autostart entries, but your desktop keeps it switched off.

Click “Open Autostart Folder”, or open your desktop&apos;s start-up settings, and switch Brindlewick on. That&apos;s it — Brindlewick will then be in your tray every time you log in.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Not now</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Never start at login</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Hide %1’s Notification</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Hide the Screenshot Tool’s Notification</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 has no notification of its own to hide.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No supported screenshot tool was found on this desktop.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The preview slides into the bottom-right corner and stays for the time above, longer while you hover. Drag it anywhere, double-click to open it in the shelf, right-click for more. Hiding the screenshot tool’s own notification leaves the preview as the only one.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Text is recognized on this computer, only when you ask, and cached so that searching stays instant. Nothing runs in the background.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Once a day Brindlewick tells %1 that one copy is in use: a random identifier, the app version and the Linux distribution’s version. No file names, no personal data, and the address is not kept.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Brindlewick is distributed in the hope that it will be useful, as is and without warranty of any kind.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 could not be %2: %3</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>“%1”</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1, among other reasons</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>read-only file system</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>permission denied</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>changed since it was shown</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>a file with that name exists</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>no longer there</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>the disk is full</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>its drive has no Trash</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>not an image that can be read</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>a name cannot contain “/” or be “.” or “..”</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>an unexpected error</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>moved to the Trash</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>moved</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>duplicated</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>resized</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>converted to JPG</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>renamed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>created</source>
        <translation type="unfinished"></translation>
    </message>
</context>
</TS>
