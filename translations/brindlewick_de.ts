<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de">
<context>
    <name>AccessibleFolders</name>
    <message numerus="yes">
        <source>%1, %Ln screenshot</source>
        <translation>
            <numerusform>%1, %Ln Bildschirmfoto</numerusform>
            <numerusform>%1, %Ln Bildschirmfotos</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%1, %Ln screenshots</source>
        <translation>
            <numerusform>%1, %Ln Bildschirmfoto</numerusform>
            <numerusform>%1, %Ln Bildschirmfotos</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>AccessibleGrid</name>
    <message>
        <source>taken in %1</source>
        <translation>aufgenommen in %1</translation>
    </message>
    <message>
        <source>text recognised</source>
        <translation>Text erkannt</translation>
    </message>
</context>
<context>
    <name>AppDelegate</name>
    <message>
        <source>Open Shelf</source>
        <translation>Regal öffnen</translation>
    </message>
    <message>
        <source>Settings…</source>
        <translation>Einstellungen …</translation>
    </message>
    <message>
        <source>About Brindlewick</source>
        <translation>Über Brindlewick</translation>
    </message>
    <message>
        <source>Quit Brindlewick</source>
        <translation>Brindlewick beenden</translation>
    </message>
    <message>
        <source>Hide Shelf</source>
        <translation>Regal ausblenden</translation>
    </message>
    <message>
        <source>&lt;b&gt;Brindlewick&lt;/b&gt;&lt;br&gt;Version %1 (%2)</source>
        <translation>&lt;b&gt;Brindlewick&lt;/b&gt;&lt;br&gt;Version %1 (%2)</translation>
    </message>
    <message>
        <source>Made by Merrowind · &lt;a href=&quot;%1&quot;&gt;%1&lt;/a&gt;&lt;br&gt;%2</source>
        <translation>Entwickelt von Merrowind · &lt;a href=&quot;%1&quot;&gt;%1&lt;/a&gt;&lt;br&gt;%2</translation>
    </message>
</context>
<context>
    <name>ContextMenu</name>
    <message>
        <source>Home (%1)</source>
        <translation>Home (%1)</translation>
    </message>
</context>
<context>
    <name>FileActions</name>
    <message>
        <source>Rename “%1”</source>
        <translation>„%1“ umbenennen</translation>
    </message>
    <message>
        <source>Rename</source>
        <translation>Umbenennen</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
</context>
<context>
    <name>FileCommands</name>
    <message>
        <source>Open</source>
        <translation>Öffnen</translation>
    </message>
    <message numerus="yes">
        <source>Open %Ln Items</source>
        <translation>
            <numerusform>%Ln Objekt öffnen</numerusform>
            <numerusform>%Ln Objekte öffnen</numerusform>
        </translation>
    </message>
    <message>
        <source>Open With</source>
        <translation>Öffnen mit</translation>
    </message>
    <message>
        <source>%1 (%2)</source>
        <translation>%1 (%2)</translation>
    </message>
    <message>
        <source>Pin to Screen</source>
        <translation>Auf dem Bildschirm anheften</translation>
    </message>
    <message>
        <source>Pin</source>
        <translation>Anheften</translation>
    </message>
    <message>
        <source>Pin to screen (%1)</source>
        <translation>Auf dem Bildschirm anheften (%1)</translation>
    </message>
    <message>
        <source>Copy</source>
        <translation>Kopieren</translation>
    </message>
    <message>
        <source>Copy Path</source>
        <translation>Pfad kopieren</translation>
    </message>
    <message>
        <source>Copy as Markdown</source>
        <translation>Als Markdown kopieren</translation>
    </message>
    <message>
        <source>Rename…</source>
        <translation>Umbenennen …</translation>
    </message>
    <message>
        <source>Duplicate</source>
        <translation>Duplizieren</translation>
    </message>
    <message>
        <source>Resize to 50%</source>
        <translation>Auf 50 % verkleinern</translation>
    </message>
    <message>
        <source>Convert to JPG</source>
        <translation>In JPG umwandeln</translation>
    </message>
    <message>
        <source>Recognize Text</source>
        <translation>Text erkennen</translation>
    </message>
    <message>
        <source>Move to</source>
        <translation>Verschieben nach</translation>
    </message>
    <message>
        <source>Move to Trash</source>
        <translation>In den Papierkorb verschieben</translation>
    </message>
    <message numerus="yes">
        <source>Move %Ln Items to Trash</source>
        <translation>
            <numerusform>%Ln Objekt in den Papierkorb verschieben</numerusform>
            <numerusform>%Ln Objekte in den Papierkorb verschieben</numerusform>
        </translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Löschen</translation>
    </message>
    <message>
        <source>Move to Trash (%1)</source>
        <translation>In den Papierkorb verschieben (%1)</translation>
    </message>
    <message>
        <source>New Folder…</source>
        <translation>Neuer Ordner …</translation>
    </message>
    <message>
        <source>New Folder</source>
        <translation>Neuer Ordner</translation>
    </message>
    <message>
        <source>New folder inside Home (%1)</source>
        <translation>Neuer Ordner in Home (%1)</translation>
    </message>
</context>
<context>
    <name>FlashPanel</name>
    <message>
        <source>drag me</source>
        <translation>zieh mich</translation>
    </message>
    <message>
        <source>New Screenshot</source>
        <translation>Neues Bildschirmfoto</translation>
    </message>
    <message>
        <source>%1: %2</source>
        <translation>%1: %2</translation>
    </message>
    <message>
        <source>Drag it into another program, open its menu, or double-click to show it in the shelf</source>
        <translation>In ein anderes Programm ziehen, das Menü öffnen oder doppelklicken, um es im Regal zu zeigen</translation>
    </message>
</context>
<context>
    <name>FolderColumn</name>
    <message>
        <source>Drop a screenshot on a folder to move it there. Make one with %1.</source>
        <translation>Ein Bildschirmfoto auf einen Ordner ziehen, um es dorthin zu verschieben. Neuer Ordner mit %1.</translation>
    </message>
    <message>
        <source>Folders</source>
        <translation>Ordner</translation>
    </message>
    <message>
        <source>Screenshots</source>
        <translation>Bildschirmfotos</translation>
    </message>
    <message>
        <source>Home</source>
        <translation>Home</translation>
    </message>
    <message>
        <source>Rename…</source>
        <translation>Umbenennen …</translation>
    </message>
    <message>
        <source>Move Folder to Trash</source>
        <translation>Ordner in den Papierkorb verschieben</translation>
    </message>
</context>
<context>
    <name>FolderOps</name>
    <message>
        <source>New Folder</source>
        <translation>Neuer Ordner</translation>
    </message>
    <message>
        <source>Created inside %1.</source>
        <translation>Wird in %1 angelegt.</translation>
    </message>
    <message>
        <source>Folder name</source>
        <translation>Ordnername</translation>
    </message>
    <message>
        <source>Create</source>
        <translation>Anlegen</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
</context>
<context>
    <name>GlobalShortcut</name>
    <message>
        <source>Open or hide the Brindlewick shelf</source>
        <translation>Das Brindlewick-Regal öffnen oder ausblenden</translation>
    </message>
</context>
<context>
    <name>MainMenu</name>
    <message>
        <source>Brindlewick</source>
        <translation>Brindlewick</translation>
    </message>
    <message>
        <source>Edit</source>
        <translation>Bearbeiten</translation>
    </message>
    <message>
        <source>View</source>
        <translation>Ansicht</translation>
    </message>
    <message>
        <source>Window</source>
        <translation>Fenster</translation>
    </message>
    <message>
        <source>About Brindlewick</source>
        <translation>Über Brindlewick</translation>
    </message>
    <message>
        <source>Settings…</source>
        <translation>Einstellungen …</translation>
    </message>
    <message>
        <source>Hide Brindlewick</source>
        <translation>Brindlewick ausblenden</translation>
    </message>
    <message>
        <source>Quit Brindlewick</source>
        <translation>Brindlewick beenden</translation>
    </message>
    <message>
        <source>Undo</source>
        <translation>Rückgängig</translation>
    </message>
    <message>
        <source>Redo</source>
        <translation>Wiederholen</translation>
    </message>
    <message>
        <source>Cut</source>
        <translation>Ausschneiden</translation>
    </message>
    <message>
        <source>Copy</source>
        <translation>Kopieren</translation>
    </message>
    <message>
        <source>Paste</source>
        <translation>Einfügen</translation>
    </message>
    <message>
        <source>Select All</source>
        <translation>Alles auswählen</translation>
    </message>
    <message>
        <source>Find</source>
        <translation>Suchen</translation>
    </message>
    <message>
        <source>Bigger Thumbnails</source>
        <translation>Größere Vorschaubilder</translation>
    </message>
    <message>
        <source>Smaller Thumbnails</source>
        <translation>Kleinere Vorschaubilder</translation>
    </message>
    <message>
        <source>Default Thumbnail Size</source>
        <translation>Standardgröße der Vorschaubilder</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Schließen</translation>
    </message>
    <message>
        <source>Minimize</source>
        <translation>Minimieren</translation>
    </message>
</context>
<context>
    <name>PinWindow</name>
    <message>
        <source>Pinned screenshot: %1</source>
        <translation>Angeheftetes Bildschirmfoto: %1</translation>
    </message>
</context>
<context>
    <name>PreviewWindow</name>
    <message>
        <source>%1 of %2</source>
        <translation>%1 von %2</translation>
    </message>
</context>
<context>
    <name>ScreenshotNames</name>
    <message>
        <source>Clean up the names of %L1 screenshots?</source>
        <translation>Die Namen von %L1 Bildschirmfotos aufräumen?</translation>
    </message>
    <message>
        <source>Clean Up</source>
        <translation>Aufräumen</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Renamed %L1</source>
        <translation>%L1 umbenannt</translation>
    </message>
    <message>
        <source>“Screenshot 2026-10-08 at 05.12.49.png” becomes “2026-10-08 05.12.49.png”. Only files in the current folder are renamed.</source>
        <translation>„Screenshot 2026-10-08 at 05.12.49.png“ wird zu „2026-10-08 05.12.49.png“. Nur Dateien im aktuellen Ordner werden umbenannt.</translation>
    </message>
</context>
<context>
    <name>SettingsForm</name>
    <message>
        <source>General</source>
        <translation>Allgemein</translation>
    </message>
    <message>
        <source>Open at Login</source>
        <translation>Bei der Anmeldung öffnen</translation>
    </message>
    <message>
        <source>Keyboard Shortcut</source>
        <translation>Tastenkürzel</translation>
    </message>
    <message>
        <source>Change…</source>
        <translation>Ändern …</translation>
    </message>
    <message>
        <source>Screenshots Folder</source>
        <translation>Ordner für Bildschirmfotos</translation>
    </message>
    <message>
        <source>The shortcut opens or hides the shelf from any app. New screenshots are saved to the folder above while Brindlewick is running.</source>
        <translation>Das Tastenkürzel öffnet oder verbirgt das Regal aus jedem Programm. Neue Bildschirmfotos werden im obigen Ordner gespeichert, solange Brindlewick läuft.</translation>
    </message>
    <message>
        <source>Corner Preview</source>
        <translation>Eckvorschau</translation>
    </message>
    <message>
        <source>Show Preview After Taking a Screenshot</source>
        <translation>Vorschau nach einem Bildschirmfoto zeigen</translation>
    </message>
    <message>
        <source>second</source>
        <translation>Sekunde</translation>
    </message>
    <message>
        <source>seconds</source>
        <translation>Sekunden</translation>
    </message>
    <message>
        <source>Stays on Screen</source>
        <translation>Bleibt sichtbar</translation>
    </message>
    <message>
        <source>Tidy Up</source>
        <translation>Aufräumen</translation>
    </message>
    <message>
        <source>Tidy Up Automatically</source>
        <translation>Automatisch aufräumen</translation>
    </message>
    <message>
        <source>day</source>
        <translation>Tag</translation>
    </message>
    <message>
        <source>days</source>
        <translation>Tage</translation>
    </message>
    <message>
        <source>Older Than</source>
        <translation>Älter als</translation>
    </message>
    <message>
        <source>Archive folder</source>
        <translation>Archivordner</translation>
    </message>
    <message>
        <source>Trash</source>
        <translation>Papierkorb</translation>
    </message>
    <message>
        <source>Move Them To</source>
        <translation>Verschieben in</translation>
    </message>
    <message>
        <source>Refresh</source>
        <translation>Aktualisieren</translation>
    </message>
    <message>
        <source>Matching Now</source>
        <translation>Jetzt betroffen</translation>
    </message>
    <message>
        <source>Applies to screenshots in the Home folder only. The Archive folder is created inside it and stays visible in the folder column.</source>
        <translation>Gilt nur für Bildschirmfotos im Home-Ordner. Der Archivordner wird darin angelegt und bleibt in der Ordnerspalte sichtbar.</translation>
    </message>
    <message>
        <source>Search &amp; Names</source>
        <translation>Suche &amp; Namen</translation>
    </message>
    <message>
        <source>Stop</source>
        <translation>Anhalten</translation>
    </message>
    <message>
        <source>Text Recognition</source>
        <translation>Texterkennung</translation>
    </message>
    <message>
        <source>Clean Up Names…</source>
        <translation>Namen aufräumen …</translation>
    </message>
    <message>
        <source>File Names</source>
        <translation>Dateinamen</translation>
    </message>
    <message>
        <source>Privacy</source>
        <translation>Datenschutz</translation>
    </message>
    <message>
        <source>Share an Anonymous Usage Count</source>
        <translation>Anonyme Nutzungszählung senden</translation>
    </message>
    <message>
        <source>About</source>
        <translation>Über</translation>
    </message>
    <message>
        <source>Version</source>
        <translation>Version</translation>
    </message>
    <message>
        <source>Made by</source>
        <translation>Entwickelt von</translation>
    </message>
    <message>
        <source>Support the Project</source>
        <translation>Das Projekt unterstützen</translation>
    </message>
    <message>
        <source>Buy me a coffee</source>
        <translation>Spendier mir einen Kaffee</translation>
    </message>
    <message>
        <source>Trash Now</source>
        <translation>Jetzt in den Papierkorb</translation>
    </message>
    <message>
        <source>Archive Now</source>
        <translation>Jetzt archivieren</translation>
    </message>
    <message>
        <source>%L1 of %L2</source>
        <translation>%L1 von %L2</translation>
    </message>
    <message>
        <source>Up to Date</source>
        <translation>Auf dem neuesten Stand</translation>
    </message>
    <message numerus="yes">
        <source>Recognize Text in %Ln Screenshots</source>
        <translation>
            <numerusform>Text in %Ln Bildschirmfoto erkennen</numerusform>
            <numerusform>Text in %Ln Bildschirmfotos erkennen</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>SettingsSheet</name>
    <message>
        <source>Done</source>
        <translation>Fertig</translation>
    </message>
</context>
<context>
    <name>SettingsSheetWindow</name>
    <message>
        <source>Settings</source>
        <translation>Einstellungen</translation>
    </message>
</context>
<context>
    <name>Shelf</name>
    <message>
        <source>Use this folder</source>
        <translation>Diesen Ordner verwenden</translation>
    </message>
    <message>
        <source>Screenshots will be shown from, and saved to, this folder.</source>
        <translation>Bildschirmfotos werden aus diesem Ordner gezeigt und in ihm gespeichert.</translation>
    </message>
</context>
<context>
    <name>ShelfGrid</name>
    <message>
        <source>Screenshots</source>
        <translation>Bildschirmfotos</translation>
    </message>
    <message>
        <source>Text recognised, searchable</source>
        <translation>Text erkannt, durchsuchbar</translation>
    </message>
    <message>
        <source>Taken while %1 was in front</source>
        <translation>Aufgenommen, während %1 im Vordergrund war</translation>
    </message>
</context>
<context>
    <name>ShelfToolbar</name>
    <message>
        <source>Home</source>
        <translation>Home</translation>
    </message>
    <message>
        <source>Back to Home</source>
        <translation>Zurück zu Home</translation>
    </message>
    <message>
        <source>Search names and recognised text</source>
        <translation>In Namen und Texten suchen</translation>
    </message>
    <message>
        <source>Search</source>
        <translation>Suchen</translation>
    </message>
    <message>
        <source>Settings</source>
        <translation>Einstellungen</translation>
    </message>
    <message>
        <source>Settings (%1)</source>
        <translation>Einstellungen (%1)</translation>
    </message>
    <message>
        <source>Menu</source>
        <translation>Menü</translation>
    </message>
</context>
<context>
    <name>ShelfView</name>
    <message>
        <source>Recognise text in unindexed screenshots to search inside them</source>
        <translation>Text in noch nicht erfassten Bildschirmfotos erkennen, um darin zu suchen</translation>
    </message>
    <message>
        <source>Text recognition</source>
        <translation>Texterkennung</translation>
    </message>
    <message>
        <source>Thumbnail size (%1)</source>
        <translation>Größe der Vorschaubilder (%1)</translation>
    </message>
    <message>
        <source>Thumbnail size</source>
        <translation>Größe der Vorschaubilder</translation>
    </message>
    <message>
        <source>recognising %L1/%L2</source>
        <translation>erkenne %L1/%L2</translation>
    </message>
    <message numerus="yes">
        <source>older than %n day</source>
        <translation>
            <numerusform>älter als %n Tag</numerusform>
            <numerusform>älter als %n Tage</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>older than %n days</source>
        <translation>
            <numerusform>älter als %n Tag</numerusform>
            <numerusform>älter als %n Tage</numerusform>
        </translation>
    </message>
    <message>
        <source>· %L1 %2</source>
        <translation>· %L1 %2</translation>
    </message>
    <message>
        <source>Trash now</source>
        <translation>Jetzt in den Papierkorb</translation>
    </message>
    <message>
        <source>Archive now</source>
        <translation>Jetzt archivieren</translation>
    </message>
    <message numerus="yes">
        <source>%Ln of %L1 screenshots</source>
        <translation>
            <numerusform>%Ln von %L1 Bildschirmfotos</numerusform>
            <numerusform>%Ln von %L1 Bildschirmfotos</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%Ln screenshots</source>
        <translation>
            <numerusform>%Ln Bildschirmfoto</numerusform>
            <numerusform>%Ln Bildschirmfotos</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%1, %Ln selected</source>
        <translation>
            <numerusform>%1, %Ln ausgewählt</numerusform>
            <numerusform>%1, %Ln ausgewählt</numerusform>
        </translation>
    </message>
    <message>
        <source>Nothing matches “%1”.</source>
        <translation>Nichts passt zu „%1“.</translation>
    </message>
    <message>
        <source>No images in this folder yet.</source>
        <translation>Noch keine Bilder in diesem Ordner.</translation>
    </message>
</context>
<context>
    <name>Texts</name>
    <message>
        <source>Alt+Shift+S</source>
        <translation>Alt+Umschalt+S</translation>
    </message>
    <message>
        <source>Ctrl+Shift+N</source>
        <translation>Strg+Umschalt+N</translation>
    </message>
    <message>
        <source>Space</source>
        <translation>Leertaste</translation>
    </message>
    <message>
        <source>P</source>
        <translation>P</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Entf</translation>
    </message>
    <message>
        <source>Ctrl+,</source>
        <translation>Strg+,</translation>
    </message>
    <message>
        <source>Ctrl++ / Ctrl+−</source>
        <translation>Strg++ / Strg+−</translation>
    </message>
    <message>
        <source>Ctrl+%1</source>
        <translation>Strg+%1</translation>
    </message>
    <message>
        <source>Take a screenshot with Print Screen and it will appear here.</source>
        <translation>Machen Sie ein Bildschirmfoto mit der Druck-Taste, dann erscheint es hier.</translation>
    </message>
    <message>
        <source>Show in File Manager</source>
        <translation>In der Dateiverwaltung zeigen</translation>
    </message>
    <message>
        <source>Properties</source>
        <translation>Eigenschaften</translation>
    </message>
    <message>
        <source>Preview</source>
        <translation>Vorschau</translation>
    </message>
    <message>
        <source>Brindlewick could not register itself to start at login</source>
        <translation>Brindlewick konnte sich nicht für den Start bei der Anmeldung eintragen</translation>
    </message>
    <message>
        <source>The start-up entry %1 could not be written: %2.</source>
        <translation>Der Autostart-Eintrag %1 konnte nicht geschrieben werden: %2.</translation>
    </message>
    <message>
        <source>Open Autostart Folder</source>
        <translation>Autostart-Ordner öffnen</translation>
    </message>
    <message>
        <source>Let Brindlewick start when you log in</source>
        <translation>Brindlewick bei der Anmeldung starten</translation>
    </message>
    <message>
        <source>Brindlewick has added itself to your desktop&apos;s autostart entries, but your desktop keeps it switched off.

Click “Open Autostart Folder”, or open your desktop&apos;s start-up settings, and switch Brindlewick on. That&apos;s it — Brindlewick will then be in your tray every time you log in.</source>
        <translation>Brindlewick hat sich in die Autostart-Einträge Ihrer Arbeitsumgebung eingetragen, aber Ihre Arbeitsumgebung hält es ausgeschaltet.

Klicken Sie auf „Autostart-Ordner öffnen“ oder öffnen Sie die Autostart-Einstellungen Ihrer Arbeitsumgebung und schalten Sie Brindlewick ein. Das war’s – Brindlewick ist dann nach jeder Anmeldung im Systembereich der Kontrollleiste.</translation>
    </message>
    <message>
        <source>Not now</source>
        <translation>Nicht jetzt</translation>
    </message>
    <message>
        <source>Never start at login</source>
        <translation>Nie bei der Anmeldung starten</translation>
    </message>
    <message>
        <source>Hide %1’s Notification</source>
        <translation>Benachrichtigung von %1 ausblenden</translation>
    </message>
    <message>
        <source>Hide the Screenshot Tool’s Notification</source>
        <translation>Benachrichtigung des Bildschirmfoto-Werkzeugs ausblenden</translation>
    </message>
    <message>
        <source>%1 has no notification of its own to hide.</source>
        <translation>%1 hat keine eigene Benachrichtigung, die sich ausblenden ließe.</translation>
    </message>
    <message>
        <source>No supported screenshot tool was found on this desktop.</source>
        <translation>Auf dieser Arbeitsumgebung wurde kein unterstütztes Bildschirmfoto-Werkzeug gefunden.</translation>
    </message>
    <message>
        <source>The preview slides into the bottom-right corner and stays for the time above, longer while you hover. Drag it anywhere, double-click to open it in the shelf, right-click for more. Hiding the screenshot tool’s own notification leaves the preview as the only one.</source>
        <translation>Die Vorschau gleitet in die rechte untere Ecke und bleibt für die oben eingestellte Zeit, länger, solange der Mauszeiger darauf ruht. Ziehen Sie sie irgendwohin, doppelklicken Sie, um sie im Regal zu öffnen, oder klicken Sie mit der rechten Maustaste für mehr. Ist die Benachrichtigung des Bildschirmfoto-Werkzeugs ausgeblendet, bleibt die Vorschau die einzige.</translation>
    </message>
    <message>
        <source>Text is recognized on this computer, only when you ask, and cached so that searching stays instant. Nothing runs in the background.</source>
        <translation>Text wird auf diesem Rechner erkannt, nur wenn Sie es wünschen, und zwischengespeichert, damit die Suche sofort antwortet. Im Hintergrund läuft nichts.</translation>
    </message>
    <message>
        <source>Once a day Brindlewick tells %1 that one copy is in use: a random identifier, the app version and the Linux distribution’s version. No file names, no personal data, and the address is not kept.</source>
        <translation>Einmal am Tag teilt Brindlewick %1 mit, dass eine Kopie in Gebrauch ist: eine zufällige Kennung, die Programmversion und die Version der Linux-Distribution. Keine Dateinamen, keine persönlichen Daten, und die Adresse wird nicht gespeichert.</translation>
    </message>
    <message>
        <source>Brindlewick is distributed in the hope that it will be useful, as is and without warranty of any kind.</source>
        <translation>Brindlewick wird in der Hoffnung verbreitet, dass es nützlich ist, so wie es ist und ohne jede Gewährleistung.</translation>
    </message>
    <message>
        <source>%1 could not be %2: %3</source>
        <translation>%1 konnte nicht %2 werden: %3</translation>
    </message>
    <message>
        <source>“%1”</source>
        <translation>„%1“</translation>
    </message>
    <message>
        <source>%1, among other reasons</source>
        <translation>%1, neben anderen Gründen</translation>
    </message>
    <message>
        <source>read-only file system</source>
        <translation>schreibgeschütztes Dateisystem</translation>
    </message>
    <message>
        <source>permission denied</source>
        <translation>Zugriff verweigert</translation>
    </message>
    <message>
        <source>changed since it was shown</source>
        <translation>seit der Anzeige geändert</translation>
    </message>
    <message>
        <source>a file with that name exists</source>
        <translation>eine Datei mit diesem Namen existiert bereits</translation>
    </message>
    <message>
        <source>no longer there</source>
        <translation>nicht mehr vorhanden</translation>
    </message>
    <message>
        <source>the disk is full</source>
        <translation>der Datenträger ist voll</translation>
    </message>
    <message>
        <source>its drive has no Trash</source>
        <translation>sein Laufwerk hat keinen Papierkorb</translation>
    </message>
    <message>
        <source>not an image that can be read</source>
        <translation>kein lesbares Bild</translation>
    </message>
    <message>
        <source>a name cannot contain “/” or be “.” or “..”</source>
        <translation>ein Name darf kein „/“ enthalten und nicht „.“ oder „..“ sein</translation>
    </message>
    <message>
        <source>an unexpected error</source>
        <translation>ein unerwarteter Fehler</translation>
    </message>
    <message>
        <source>moved to the Trash</source>
        <translation>in den Papierkorb verschoben</translation>
    </message>
    <message>
        <source>moved</source>
        <translation>verschoben</translation>
    </message>
    <message>
        <source>duplicated</source>
        <translation>dupliziert</translation>
    </message>
    <message>
        <source>resized</source>
        <translation>in der Größe geändert</translation>
    </message>
    <message>
        <source>converted to JPG</source>
        <translation>in JPG umgewandelt</translation>
    </message>
    <message>
        <source>renamed</source>
        <translation>umbenannt</translation>
    </message>
    <message>
        <source>created</source>
        <translation>angelegt</translation>
    </message>
    <message>
        <source>the folder %1 cannot be created</source>
        <translation>der Ordner %1 kann nicht angelegt werden</translation>
    </message>
</context>
</TS>
