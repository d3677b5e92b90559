<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="fr">
<context>
    <name>AccessibleFolders</name>
    <message numerus="yes">
        <source>%1, %Ln screenshot</source>
        <translation>
            <numerusform>%1, %Ln capture d’écran</numerusform>
            <numerusform>%1, %Ln captures d’écran</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%1, %Ln screenshots</source>
        <translation>
            <numerusform>%1, %Ln capture d’écran</numerusform>
            <numerusform>%1, %Ln captures d’écran</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>AccessibleGrid</name>
    <message>
        <source>taken in %1</source>
        <translation>prise dans %1</translation>
    </message>
    <message>
        <source>text recognised</source>
        <translation>texte reconnu</translation>
    </message>
</context>
<context>
    <name>AppDelegate</name>
    <message>
        <source>Open Shelf</source>
        <translation>Ouvrir l’étagère</translation>
    </message>
    <message>
        <source>Settings…</source>
        <translation>Paramètres…</translation>
    </message>
    <message>
        <source>About Brindlewick</source>
        <translation>À propos de Brindlewick</translation>
    </message>
    <message>
        <source>Quit Brindlewick</source>
        <translation>Quitter Brindlewick</translation>
    </message>
    <message>
        <source>Hide Shelf</source>
        <translation>Masquer l’étagère</translation>
    </message>
    <message>
        <source>&lt;b&gt;Brindlewick&lt;/b&gt;&lt;br&gt;Version %1 (%2)</source>
        <translation>&lt;b&gt;Brindlewick&lt;/b&gt;&lt;br&gt;Version %1 (%2)</translation>
    </message>
    <message>
        <source>Made by Merrowind · &lt;a href=&quot;%1&quot;&gt;%1&lt;/a&gt;&lt;br&gt;%2</source>
        <translation>Créé par Merrowind · &lt;a href=&quot;%1&quot;&gt;%1&lt;/a&gt;&lt;br&gt;%2</translation>
    </message>
</context>
<context>
    <name>ContextMenu</name>
    <message>
        <source>Home (%1)</source>
        <translation>Accueil (%1)</translation>
    </message>
</context>
<context>
    <name>FileActions</name>
    <message>
        <source>Rename “%1”</source>
        <translation>Renommer « %1 »</translation>
    </message>
    <message>
        <source>Rename</source>
        <translation>Renommer</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Annuler</translation>
    </message>
</context>
<context>
    <name>FileCommands</name>
    <message>
        <source>Open</source>
        <translation>Ouvrir</translation>
    </message>
    <message numerus="yes">
        <source>Open %Ln Items</source>
        <translation>
            <numerusform>Ouvrir %Ln élément</numerusform>
            <numerusform>Ouvrir %Ln éléments</numerusform>
        </translation>
    </message>
    <message>
        <source>Open With</source>
        <translation>Ouvrir avec</translation>
    </message>
    <message>
        <source>%1 (%2)</source>
        <translation>%1 (%2)</translation>
    </message>
    <message>
        <source>Pin to Screen</source>
        <translation>Épingler à l’écran</translation>
    </message>
    <message>
        <source>Pin</source>
        <translation>Épingler</translation>
    </message>
    <message>
        <source>Pin to screen (%1)</source>
        <translation>Épingler à l’écran (%1)</translation>
    </message>
    <message>
        <source>Copy</source>
        <translation>Copier</translation>
    </message>
    <message>
        <source>Copy Path</source>
        <translation>Copier le chemin</translation>
    </message>
    <message>
        <source>Copy as Markdown</source>
        <translation>Copier en Markdown</translation>
    </message>
    <message>
        <source>Rename…</source>
        <translation>Renommer…</translation>
    </message>
    <message>
        <source>Duplicate</source>
        <translation>Dupliquer</translation>
    </message>
    <message>
        <source>Resize to 50%</source>
        <translation>Réduire à 50 %</translation>
    </message>
    <message>
        <source>Convert to JPG</source>
        <translation>Convertir en JPG</translation>
    </message>
    <message>
        <source>Recognize Text</source>
        <translation>Reconnaître le texte</translation>
    </message>
    <message>
        <source>Move to</source>
        <translation>Déplacer vers</translation>
    </message>
    <message>
        <source>Move to Trash</source>
        <translation>Mettre à la corbeille</translation>
    </message>
    <message numerus="yes">
        <source>Move %Ln Items to Trash</source>
        <translation>
            <numerusform>Mettre %Ln élément à la corbeille</numerusform>
            <numerusform>Mettre %Ln éléments à la corbeille</numerusform>
        </translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Supprimer</translation>
    </message>
    <message>
        <source>Move to Trash (%1)</source>
        <translation>Mettre à la corbeille (%1)</translation>
    </message>
    <message>
        <source>New Folder…</source>
        <translation>Nouveau dossier…</translation>
    </message>
    <message>
        <source>New Folder</source>
        <translation>Nouveau dossier</translation>
    </message>
    <message>
        <source>New folder inside Home (%1)</source>
        <translation>Nouveau dossier dans Accueil (%1)</translation>
    </message>
</context>
<context>
    <name>FlashPanel</name>
    <message>
        <source>drag me</source>
        <translation>glissez-moi</translation>
    </message>
    <message>
        <source>New Screenshot</source>
        <translation>Nouvelle capture d’écran</translation>
    </message>
    <message>
        <source>%1: %2</source>
        <translation>%1 : %2</translation>
    </message>
    <message>
        <source>Drag it into another program, open its menu, or double-click to show it in the shelf</source>
        <translation>Glissez-la dans un autre programme, ouvrez son menu, ou double-cliquez pour l’afficher dans l’étagère</translation>
    </message>
</context>
<context>
    <name>FolderColumn</name>
    <message>
        <source>Drop a screenshot on a folder to move it there. Make one with %1.</source>
        <translation>Déposez une capture d’écran sur un dossier pour l’y déplacer. Créez-en un avec %1.</translation>
    </message>
    <message>
        <source>Folders</source>
        <translation>Dossiers</translation>
    </message>
    <message>
        <source>Screenshots</source>
        <translation>Captures d’écran</translation>
    </message>
    <message>
        <source>Home</source>
        <translation>Accueil</translation>
    </message>
    <message>
        <source>Rename…</source>
        <translation>Renommer…</translation>
    </message>
    <message>
        <source>Move Folder to Trash</source>
        <translation>Mettre le dossier à la corbeille</translation>
    </message>
</context>
<context>
    <name>FolderOps</name>
    <message>
        <source>New Folder</source>
        <translation>Nouveau dossier</translation>
    </message>
    <message>
        <source>Created inside %1.</source>
        <translation>Créé dans %1.</translation>
    </message>
    <message>
        <source>Folder name</source>
        <translation>Nom du dossier</translation>
    </message>
    <message>
        <source>Create</source>
        <translation>Créer</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Annuler</translation>
    </message>
</context>
<context>
    <name>GlobalShortcut</name>
    <message>
        <source>Open or hide the Brindlewick shelf</source>
        <translation>Ouvrir ou masquer l’étagère de Brindlewick</translation>
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
        <translation>Édition</translation>
    </message>
    <message>
        <source>View</source>
        <translation>Affichage</translation>
    </message>
    <message>
        <source>Window</source>
        <translation>Fenêtre</translation>
    </message>
    <message>
        <source>About Brindlewick</source>
        <translation>À propos de Brindlewick</translation>
    </message>
    <message>
        <source>Settings…</source>
        <translation>Paramètres…</translation>
    </message>
    <message>
        <source>Hide Brindlewick</source>
        <translation>Masquer Brindlewick</translation>
    </message>
    <message>
        <source>Quit Brindlewick</source>
        <translation>Quitter Brindlewick</translation>
    </message>
    <message>
        <source>Undo</source>
        <translation>Annuler</translation>
    </message>
    <message>
        <source>Redo</source>
        <translation>Rétablir</translation>
    </message>
    <message>
        <source>Cut</source>
        <translation>Couper</translation>
    </message>
    <message>
        <source>Copy</source>
        <translation>Copier</translation>
    </message>
    <message>
        <source>Paste</source>
        <translation>Coller</translation>
    </message>
    <message>
        <source>Select All</source>
        <translation>Tout sélectionner</translation>
    </message>
    <message>
        <source>Find</source>
        <translation>Rechercher</translation>
    </message>
    <message>
        <source>Bigger Thumbnails</source>
        <translation>Vignettes plus grandes</translation>
    </message>
    <message>
        <source>Smaller Thumbnails</source>
        <translation>Vignettes plus petites</translation>
    </message>
    <message>
        <source>Default Thumbnail Size</source>
        <translation>Taille des vignettes par défaut</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Fermer</translation>
    </message>
    <message>
        <source>Minimize</source>
        <translation>Réduire</translation>
    </message>
</context>
<context>
    <name>PinWindow</name>
    <message>
        <source>Pinned screenshot: %1</source>
        <translation>Capture d’écran épinglée : %1</translation>
    </message>
</context>
<context>
    <name>PreviewWindow</name>
    <message>
        <source>%1 of %2</source>
        <translation>%1 sur %2</translation>
    </message>
</context>
<context>
    <name>ScreenshotNames</name>
    <message>
        <source>Clean up the names of %L1 screenshots?</source>
        <translation>Nettoyer les noms de %L1 captures d’écran ?</translation>
    </message>
    <message>
        <source>Clean Up</source>
        <translation>Nettoyer</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Annuler</translation>
    </message>
    <message>
        <source>Renamed %L1</source>
        <translation>%L1 renommé(s)</translation>
    </message>
    <message>
        <source>“Screenshot 2026-10-08 at 05.12.49.png” becomes “2026-10-08 05.12.49.png”. Only files in the current folder are renamed.</source>
        <translation>« Screenshot 2026-10-08 at 05.12.49.png » devient « 2026-10-08 05.12.49.png ». Seuls les fichiers du dossier actuel sont renommés.</translation>
    </message>
</context>
<context>
    <name>SettingsForm</name>
    <message>
        <source>General</source>
        <translation>Général</translation>
    </message>
    <message>
        <source>Open at Login</source>
        <translation>Ouvrir à la connexion</translation>
    </message>
    <message>
        <source>Keyboard Shortcut</source>
        <translation>Raccourci clavier</translation>
    </message>
    <message>
        <source>Change…</source>
        <translation>Changer…</translation>
    </message>
    <message>
        <source>Screenshots Folder</source>
        <translation>Dossier des captures d’écran</translation>
    </message>
    <message>
        <source>The shortcut opens or hides the shelf from any app. New screenshots are saved to the folder above while Brindlewick is running.</source>
        <translation>Le raccourci ouvre ou masque l’étagère depuis n’importe quelle application. Les nouvelles captures d’écran sont enregistrées dans le dossier ci-dessus tant que Brindlewick est lancé.</translation>
    </message>
    <message>
        <source>Corner Preview</source>
        <translation>Aperçu d’angle</translation>
    </message>
    <message>
        <source>Show Preview After Taking a Screenshot</source>
        <translation>Afficher un aperçu après une capture d’écran</translation>
    </message>
    <message>
        <source>second</source>
        <translation>seconde</translation>
    </message>
    <message>
        <source>seconds</source>
        <translation>secondes</translation>
    </message>
    <message>
        <source>Stays on Screen</source>
        <translation>Reste à l’écran</translation>
    </message>
    <message>
        <source>Tidy Up</source>
        <translation>Rangement</translation>
    </message>
    <message>
        <source>Tidy Up Automatically</source>
        <translation>Ranger automatiquement</translation>
    </message>
    <message>
        <source>day</source>
        <translation>jour</translation>
    </message>
    <message>
        <source>days</source>
        <translation>jours</translation>
    </message>
    <message>
        <source>Older Than</source>
        <translation>Plus anciennes que</translation>
    </message>
    <message>
        <source>Archive folder</source>
        <translation>Dossier Archive</translation>
    </message>
    <message>
        <source>Trash</source>
        <translation>Corbeille</translation>
    </message>
    <message>
        <source>Move Them To</source>
        <translation>Les déplacer vers</translation>
    </message>
    <message>
        <source>Refresh</source>
        <translation>Actualiser</translation>
    </message>
    <message>
        <source>Matching Now</source>
        <translation>Concernées maintenant</translation>
    </message>
    <message>
        <source>Applies to screenshots in the Home folder only. The Archive folder is created inside it and stays visible in the folder column.</source>
        <translation>Ne concerne que les captures d’écran du dossier Accueil. Le dossier Archive y est créé et reste visible dans la colonne des dossiers.</translation>
    </message>
    <message>
        <source>Search &amp; Names</source>
        <translation>Recherche et noms</translation>
    </message>
    <message>
        <source>Stop</source>
        <translation>Arrêter</translation>
    </message>
    <message>
        <source>Text Recognition</source>
        <translation>Reconnaissance du texte</translation>
    </message>
    <message>
        <source>Clean Up Names…</source>
        <translation>Nettoyer les noms…</translation>
    </message>
    <message>
        <source>File Names</source>
        <translation>Noms de fichiers</translation>
    </message>
    <message>
        <source>Privacy</source>
        <translation>Confidentialité</translation>
    </message>
    <message>
        <source>Share an Anonymous Usage Count</source>
        <translation>Partager un décompte d’utilisation anonyme</translation>
    </message>
    <message>
        <source>About</source>
        <translation>À propos</translation>
    </message>
    <message>
        <source>Version</source>
        <translation>Version</translation>
    </message>
    <message>
        <source>Made by</source>
        <translation>Créé par</translation>
    </message>
    <message>
        <source>Support the Project</source>
        <translation>Soutenir le projet</translation>
    </message>
    <message>
        <source>Buy me a coffee</source>
        <translation>Offrez-moi un café</translation>
    </message>
    <message>
        <source>Trash Now</source>
        <translation>Mettre à la corbeille</translation>
    </message>
    <message>
        <source>Archive Now</source>
        <translation>Archiver maintenant</translation>
    </message>
    <message>
        <source>%L1 of %L2</source>
        <translation>%L1 sur %L2</translation>
    </message>
    <message>
        <source>Up to Date</source>
        <translation>À jour</translation>
    </message>
    <message numerus="yes">
        <source>Recognize Text in %Ln Screenshots</source>
        <translation>
            <numerusform>Reconnaître le texte de %Ln capture</numerusform>
            <numerusform>Reconnaître le texte de %Ln captures</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>SettingsSheet</name>
    <message>
        <source>Done</source>
        <translation>Terminé</translation>
    </message>
</context>
<context>
    <name>SettingsSheetWindow</name>
    <message>
        <source>Settings</source>
        <translation>Paramètres</translation>
    </message>
</context>
<context>
    <name>Shelf</name>
    <message>
        <source>Use this folder</source>
        <translation>Utiliser ce dossier</translation>
    </message>
    <message>
        <source>Screenshots will be shown from, and saved to, this folder.</source>
        <translation>Les captures d’écran seront affichées depuis ce dossier et enregistrées dans celui-ci.</translation>
    </message>
</context>
<context>
    <name>ShelfGrid</name>
    <message>
        <source>Screenshots</source>
        <translation>Captures d’écran</translation>
    </message>
    <message>
        <source>Text recognised, searchable</source>
        <translation>Texte reconnu, consultable par la recherche</translation>
    </message>
    <message>
        <source>Taken while %1 was in front</source>
        <translation>Prise pendant que %1 était au premier plan</translation>
    </message>
</context>
<context>
    <name>ShelfToolbar</name>
    <message>
        <source>Home</source>
        <translation>Accueil</translation>
    </message>
    <message>
        <source>Back to Home</source>
        <translation>Retour à Accueil</translation>
    </message>
    <message>
        <source>Search names and recognised text</source>
        <translation>Chercher noms et texte reconnu</translation>
    </message>
    <message>
        <source>Search</source>
        <translation>Rechercher</translation>
    </message>
    <message>
        <source>Settings</source>
        <translation>Paramètres</translation>
    </message>
    <message>
        <source>Settings (%1)</source>
        <translation>Paramètres (%1)</translation>
    </message>
    <message>
        <source>Menu</source>
        <translation>Menu</translation>
    </message>
</context>
<context>
    <name>ShelfView</name>
    <message>
        <source>Recognise text in unindexed screenshots to search inside them</source>
        <translation>Reconnaître le texte des captures non indexées pour y chercher</translation>
    </message>
    <message>
        <source>Text recognition</source>
        <translation>Reconnaissance du texte</translation>
    </message>
    <message>
        <source>Thumbnail size (%1)</source>
        <translation>Taille des vignettes (%1)</translation>
    </message>
    <message>
        <source>Thumbnail size</source>
        <translation>Taille des vignettes</translation>
    </message>
    <message>
        <source>recognising %L1/%L2</source>
        <translation>reconnaissance %L1/%L2</translation>
    </message>
    <message numerus="yes">
        <source>older than %n day</source>
        <translation>
            <numerusform>de plus de %n jour</numerusform>
            <numerusform>de plus de %n jours</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>older than %n days</source>
        <translation>
            <numerusform>de plus de %n jour</numerusform>
            <numerusform>de plus de %n jours</numerusform>
        </translation>
    </message>
    <message>
        <source>· %L1 %2</source>
        <translation>· %L1 %2</translation>
    </message>
    <message>
        <source>Trash now</source>
        <translation>Mettre à la corbeille</translation>
    </message>
    <message>
        <source>Archive now</source>
        <translation>Archiver</translation>
    </message>
    <message numerus="yes">
        <source>%Ln of %L1 screenshots</source>
        <translation>
            <numerusform>%Ln sur %L1 captures d’écran</numerusform>
            <numerusform>%Ln sur %L1 captures d’écran</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%Ln screenshots</source>
        <translation>
            <numerusform>%Ln capture d’écran</numerusform>
            <numerusform>%Ln captures d’écran</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%1, %Ln selected</source>
        <translation>
            <numerusform>%1, %Ln sélectionnée</numerusform>
            <numerusform>%1, %Ln sélectionnées</numerusform>
        </translation>
    </message>
    <message>
        <source>Nothing matches “%1”.</source>
        <translation>Aucun résultat pour « %1 ».</translation>
    </message>
    <message>
        <source>No images in this folder yet.</source>
        <translation>Aucune image dans ce dossier pour l’instant.</translation>
    </message>
</context>
<context>
    <name>Texts</name>
    <message>
        <source>Alt+Shift+S</source>
        <translation>Alt+Maj+S</translation>
    </message>
    <message>
        <source>Ctrl+Shift+N</source>
        <translation>Ctrl+Maj+N</translation>
    </message>
    <message>
        <source>Space</source>
        <translation>Espace</translation>
    </message>
    <message>
        <source>P</source>
        <translation>P</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Suppr</translation>
    </message>
    <message>
        <source>Ctrl+,</source>
        <translation>Ctrl+,</translation>
    </message>
    <message>
        <source>Ctrl++ / Ctrl+−</source>
        <translation>Ctrl++ / Ctrl+−</translation>
    </message>
    <message>
        <source>Ctrl+%1</source>
        <translation>Ctrl+%1</translation>
    </message>
    <message>
        <source>Take a screenshot with Print Screen and it will appear here.</source>
        <translation>Faites une capture d’écran avec la touche Impr. écran et elle apparaîtra ici.</translation>
    </message>
    <message>
        <source>Show in File Manager</source>
        <translation>Afficher dans le gestionnaire de fichiers</translation>
    </message>
    <message>
        <source>Properties</source>
        <translation>Propriétés</translation>
    </message>
    <message>
        <source>Preview</source>
        <translation>Aperçu</translation>
    </message>
    <message>
        <source>Brindlewick could not register itself to start at login</source>
        <translation>Brindlewick n’a pas pu s’inscrire pour démarrer à la connexion</translation>
    </message>
    <message>
        <source>The start-up entry %1 could not be written: %2.</source>
        <translation>L’entrée de démarrage %1 n’a pas pu être écrite : %2.</translation>
    </message>
    <message>
        <source>Open Autostart Folder</source>
        <translation>Ouvrir le dossier de démarrage automatique</translation>
    </message>
    <message>
        <source>Let Brindlewick start when you log in</source>
        <translation>Laisser Brindlewick démarrer à la connexion</translation>
    </message>
    <message>
        <source>Brindlewick has added itself to your desktop&apos;s autostart entries, but your desktop keeps it switched off.

Click “Open Autostart Folder”, or open your desktop&apos;s start-up settings, and switch Brindlewick on. That&apos;s it — Brindlewick will then be in your tray every time you log in.</source>
        <translation>Brindlewick s’est ajouté aux entrées de démarrage automatique de votre bureau, mais votre bureau le garde désactivé.

Cliquez sur « Ouvrir le dossier de démarrage automatique », ou ouvrez les paramètres de démarrage de votre bureau, et activez Brindlewick. C’est tout : Brindlewick sera alors dans votre zone de notification à chaque connexion.</translation>
    </message>
    <message>
        <source>Not now</source>
        <translation>Pas maintenant</translation>
    </message>
    <message>
        <source>Never start at login</source>
        <translation>Ne jamais démarrer à la connexion</translation>
    </message>
    <message>
        <source>Hide %1’s Notification</source>
        <translation>Masquer la notification de %1</translation>
    </message>
    <message>
        <source>Hide the Screenshot Tool’s Notification</source>
        <translation>Masquer la notification de l’outil de capture</translation>
    </message>
    <message>
        <source>%1 has no notification of its own to hide.</source>
        <translation>%1 n’a pas de notification propre à masquer.</translation>
    </message>
    <message>
        <source>No supported screenshot tool was found on this desktop.</source>
        <translation>Aucun outil de capture d’écran pris en charge n’a été trouvé sur ce bureau.</translation>
    </message>
    <message>
        <source>The preview slides into the bottom-right corner and stays for the time above, longer while you hover. Drag it anywhere, double-click to open it in the shelf, right-click for more. Hiding the screenshot tool’s own notification leaves the preview as the only one.</source>
        <translation>L’aperçu glisse dans le coin inférieur droit et reste le temps indiqué ci-dessus, plus longtemps si le pointeur le survole. Faites-le glisser n’importe où, double-cliquez pour l’ouvrir dans l’étagère, cliquez avec le bouton droit pour plus d’options. Masquer la notification de l’outil de capture laisse l’aperçu seul.</translation>
    </message>
    <message>
        <source>Text is recognized on this computer, only when you ask, and cached so that searching stays instant. Nothing runs in the background.</source>
        <translation>Le texte est reconnu sur cet ordinateur, uniquement à votre demande, et mis en cache pour que la recherche reste instantanée. Rien ne tourne en arrière-plan.</translation>
    </message>
    <message>
        <source>Once a day Brindlewick tells %1 that one copy is in use: a random identifier, the app version and the Linux distribution’s version. No file names, no personal data, and the address is not kept.</source>
        <translation>Une fois par jour, Brindlewick indique à %1 qu’une copie est utilisée : un identifiant aléatoire, la version de l’application et celle de la distribution Linux. Aucun nom de fichier, aucune donnée personnelle, et l’adresse n’est pas conservée.</translation>
    </message>
    <message>
        <source>Brindlewick is distributed in the hope that it will be useful, as is and without warranty of any kind.</source>
        <translation>Brindlewick est distribué dans l’espoir qu’il sera utile, tel quel et sans aucune garantie.</translation>
    </message>
    <message>
        <source>%1 could not be %2: %3</source>
        <translation>%1 n’a pas pu être %2 : %3</translation>
    </message>
    <message>
        <source>“%1”</source>
        <translation>« %1 »</translation>
    </message>
    <message>
        <source>%1, among other reasons</source>
        <translation>%1, entre autres raisons</translation>
    </message>
    <message>
        <source>read-only file system</source>
        <translation>système de fichiers en lecture seule</translation>
    </message>
    <message>
        <source>permission denied</source>
        <translation>permission refusée</translation>
    </message>
    <message>
        <source>changed since it was shown</source>
        <translation>modifié depuis son affichage</translation>
    </message>
    <message>
        <source>a file with that name exists</source>
        <translation>un fichier portant ce nom existe</translation>
    </message>
    <message>
        <source>no longer there</source>
        <translation>n’existe plus</translation>
    </message>
    <message>
        <source>the disk is full</source>
        <translation>le disque est plein</translation>
    </message>
    <message>
        <source>its drive has no Trash</source>
        <translation>son disque n’a pas de corbeille</translation>
    </message>
    <message>
        <source>not an image that can be read</source>
        <translation>image illisible</translation>
    </message>
    <message>
        <source>a name cannot contain “/” or be “.” or “..”</source>
        <translation>un nom ne peut pas contenir « / » ni être « . » ou « .. »</translation>
    </message>
    <message>
        <source>an unexpected error</source>
        <translation>une erreur inattendue</translation>
    </message>
    <message>
        <source>moved to the Trash</source>
        <translation>mis à la corbeille</translation>
    </message>
    <message>
        <source>moved</source>
        <translation>déplacé</translation>
    </message>
    <message>
        <source>duplicated</source>
        <translation>dupliqué</translation>
    </message>
    <message>
        <source>resized</source>
        <translation>redimensionné</translation>
    </message>
    <message>
        <source>converted to JPG</source>
        <translation>converti en JPG</translation>
    </message>
    <message>
        <source>renamed</source>
        <translation>renommé</translation>
    </message>
    <message>
        <source>created</source>
        <translation>créé</translation>
    </message>
    <message>
        <source>the folder %1 cannot be created</source>
        <translation>le dossier %1 ne peut pas être créé</translation>
    </message>
</context>
</TS>
