<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="es">
<context>
    <name>AccessibleFolders</name>
    <message numerus="yes">
        <source>%1, %Ln screenshot</source>
        <translation>
            <numerusform>%1, %Ln captura de pantalla</numerusform>
            <numerusform>%1, %Ln capturas de pantalla</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%1, %Ln screenshots</source>
        <translation>
            <numerusform>%1, %Ln captura de pantalla</numerusform>
            <numerusform>%1, %Ln capturas de pantalla</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>AccessibleGrid</name>
    <message>
        <source>taken in %1</source>
        <translation>hecha en %1</translation>
    </message>
    <message>
        <source>text recognised</source>
        <translation>texto reconocido</translation>
    </message>
</context>
<context>
    <name>AppDelegate</name>
    <message>
        <source>Open Shelf</source>
        <translation>Abrir el estante</translation>
    </message>
    <message>
        <source>Settings…</source>
        <translation>Configuración…</translation>
    </message>
    <message>
        <source>About Brindlewick</source>
        <translation>Acerca de Brindlewick</translation>
    </message>
    <message>
        <source>Quit Brindlewick</source>
        <translation>Salir de Brindlewick</translation>
    </message>
    <message>
        <source>Hide Shelf</source>
        <translation>Ocultar el estante</translation>
    </message>
    <message>
        <source>&lt;b&gt;Brindlewick&lt;/b&gt;&lt;br&gt;Version %1 (%2)</source>
        <translation>&lt;b&gt;Brindlewick&lt;/b&gt;&lt;br&gt;Versión %1 (%2)</translation>
    </message>
    <message>
        <source>Made by Merrowind · &lt;a href=&quot;%1&quot;&gt;%1&lt;/a&gt;&lt;br&gt;%2</source>
        <translation>Creado por Merrowind · &lt;a href=&quot;%1&quot;&gt;%1&lt;/a&gt;&lt;br&gt;%2</translation>
    </message>
</context>
<context>
    <name>ContextMenu</name>
    <message>
        <source>Home (%1)</source>
        <translation>Inicio (%1)</translation>
    </message>
</context>
<context>
    <name>FileActions</name>
    <message>
        <source>Rename “%1”</source>
        <translation>Renombrar «%1»</translation>
    </message>
    <message>
        <source>Rename</source>
        <translation>Renombrar</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Cancelar</translation>
    </message>
</context>
<context>
    <name>FileCommands</name>
    <message>
        <source>Open</source>
        <translation>Abrir</translation>
    </message>
    <message numerus="yes">
        <source>Open %Ln Items</source>
        <translation>
            <numerusform>Abrir %Ln elemento</numerusform>
            <numerusform>Abrir %Ln elementos</numerusform>
        </translation>
    </message>
    <message>
        <source>Open With</source>
        <translation>Abrir con</translation>
    </message>
    <message>
        <source>%1 (%2)</source>
        <translation>%1 (%2)</translation>
    </message>
    <message>
        <source>Pin to Screen</source>
        <translation>Fijar en la pantalla</translation>
    </message>
    <message>
        <source>Pin</source>
        <translation>Fijar</translation>
    </message>
    <message>
        <source>Pin to screen (%1)</source>
        <translation>Fijar en la pantalla (%1)</translation>
    </message>
    <message>
        <source>Copy</source>
        <translation>Copiar</translation>
    </message>
    <message>
        <source>Copy Path</source>
        <translation>Copiar ruta</translation>
    </message>
    <message>
        <source>Copy as Markdown</source>
        <translation>Copiar como Markdown</translation>
    </message>
    <message>
        <source>Rename…</source>
        <translation>Renombrar…</translation>
    </message>
    <message>
        <source>Duplicate</source>
        <translation>Duplicar</translation>
    </message>
    <message>
        <source>Resize to 50%</source>
        <translation>Reducir al 50 %</translation>
    </message>
    <message>
        <source>Convert to JPG</source>
        <translation>Convertir a JPG</translation>
    </message>
    <message>
        <source>Recognize Text</source>
        <translation>Reconocer texto</translation>
    </message>
    <message>
        <source>Move to</source>
        <translation>Mover a</translation>
    </message>
    <message>
        <source>Move to Trash</source>
        <translation>Mover a la papelera</translation>
    </message>
    <message numerus="yes">
        <source>Move %Ln Items to Trash</source>
        <translation>
            <numerusform>Mover %Ln elemento a la papelera</numerusform>
            <numerusform>Mover %Ln elementos a la papelera</numerusform>
        </translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Eliminar</translation>
    </message>
    <message>
        <source>Move to Trash (%1)</source>
        <translation>Mover a la papelera (%1)</translation>
    </message>
    <message>
        <source>New Folder…</source>
        <translation>Carpeta nueva…</translation>
    </message>
    <message>
        <source>New Folder</source>
        <translation>Carpeta nueva</translation>
    </message>
    <message>
        <source>New folder inside Home (%1)</source>
        <translation>Carpeta nueva dentro de Inicio (%1)</translation>
    </message>
</context>
<context>
    <name>FlashPanel</name>
    <message>
        <source>drag me</source>
        <translation>arrástrame</translation>
    </message>
    <message>
        <source>New Screenshot</source>
        <translation>Captura de pantalla nueva</translation>
    </message>
    <message>
        <source>%1: %2</source>
        <translation>%1: %2</translation>
    </message>
    <message>
        <source>Drag it into another program, open its menu, or double-click to show it in the shelf</source>
        <translation>Arrástrela a otro programa, abra su menú o haga doble clic para mostrarla en el estante</translation>
    </message>
</context>
<context>
    <name>FolderColumn</name>
    <message>
        <source>Drop a screenshot on a folder to move it there. Make one with %1.</source>
        <translation>Suelte una captura de pantalla sobre una carpeta para moverla allí. Cree una con %1.</translation>
    </message>
    <message>
        <source>Folders</source>
        <translation>Carpetas</translation>
    </message>
    <message>
        <source>Screenshots</source>
        <translation>Capturas de pantalla</translation>
    </message>
    <message>
        <source>Home</source>
        <translation>Inicio</translation>
    </message>
    <message>
        <source>Rename…</source>
        <translation>Renombrar…</translation>
    </message>
    <message>
        <source>Move Folder to Trash</source>
        <translation>Mover la carpeta a la papelera</translation>
    </message>
</context>
<context>
    <name>FolderOps</name>
    <message>
        <source>New Folder</source>
        <translation>Carpeta nueva</translation>
    </message>
    <message>
        <source>Created inside %1.</source>
        <translation>Se creará dentro de %1.</translation>
    </message>
    <message>
        <source>Folder name</source>
        <translation>Nombre de la carpeta</translation>
    </message>
    <message>
        <source>Create</source>
        <translation>Crear</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Cancelar</translation>
    </message>
</context>
<context>
    <name>GlobalShortcut</name>
    <message>
        <source>Open or hide the Brindlewick shelf</source>
        <translation>Abrir u ocultar el estante de Brindlewick</translation>
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
        <translation>Editar</translation>
    </message>
    <message>
        <source>View</source>
        <translation>Ver</translation>
    </message>
    <message>
        <source>Window</source>
        <translation>Ventana</translation>
    </message>
    <message>
        <source>About Brindlewick</source>
        <translation>Acerca de Brindlewick</translation>
    </message>
    <message>
        <source>Settings…</source>
        <translation>Configuración…</translation>
    </message>
    <message>
        <source>Hide Brindlewick</source>
        <translation>Ocultar Brindlewick</translation>
    </message>
    <message>
        <source>Quit Brindlewick</source>
        <translation>Salir de Brindlewick</translation>
    </message>
    <message>
        <source>Undo</source>
        <translation>Deshacer</translation>
    </message>
    <message>
        <source>Redo</source>
        <translation>Rehacer</translation>
    </message>
    <message>
        <source>Cut</source>
        <translation>Cortar</translation>
    </message>
    <message>
        <source>Copy</source>
        <translation>Copiar</translation>
    </message>
    <message>
        <source>Paste</source>
        <translation>Pegar</translation>
    </message>
    <message>
        <source>Select All</source>
        <translation>Seleccionar todo</translation>
    </message>
    <message>
        <source>Find</source>
        <translation>Buscar</translation>
    </message>
    <message>
        <source>Bigger Thumbnails</source>
        <translation>Miniaturas más grandes</translation>
    </message>
    <message>
        <source>Smaller Thumbnails</source>
        <translation>Miniaturas más pequeñas</translation>
    </message>
    <message>
        <source>Default Thumbnail Size</source>
        <translation>Tamaño de miniatura predeterminado</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Cerrar</translation>
    </message>
    <message>
        <source>Minimize</source>
        <translation>Minimizar</translation>
    </message>
</context>
<context>
    <name>PinWindow</name>
    <message>
        <source>Pinned screenshot: %1</source>
        <translation>Captura de pantalla fijada: %1</translation>
    </message>
</context>
<context>
    <name>PreviewWindow</name>
    <message>
        <source>%1 of %2</source>
        <translation>%1 de %2</translation>
    </message>
</context>
<context>
    <name>ScreenshotNames</name>
    <message>
        <source>Clean up the names of %L1 screenshots?</source>
        <translation>¿Limpiar los nombres de %L1 capturas de pantalla?</translation>
    </message>
    <message>
        <source>Clean Up</source>
        <translation>Limpiar</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Cancelar</translation>
    </message>
    <message>
        <source>Renamed %L1</source>
        <translation>Renombrados: %L1</translation>
    </message>
    <message>
        <source>“Screenshot 2026-10-08 at 05.12.49.png” becomes “2026-10-08 05.12.49.png”. Only files in the current folder are renamed.</source>
        <translation>«Screenshot 2026-10-08 at 05.12.49.png» pasa a ser «2026-10-08 05.12.49.png». Solo se renombran los archivos de la carpeta actual.</translation>
    </message>
</context>
<context>
    <name>SettingsForm</name>
    <message>
        <source>General</source>
        <translation>General</translation>
    </message>
    <message>
        <source>Open at Login</source>
        <translation>Abrir al iniciar sesión</translation>
    </message>
    <message>
        <source>Keyboard Shortcut</source>
        <translation>Atajo de teclado</translation>
    </message>
    <message>
        <source>Change…</source>
        <translation>Cambiar…</translation>
    </message>
    <message>
        <source>Screenshots Folder</source>
        <translation>Carpeta de capturas</translation>
    </message>
    <message>
        <source>The shortcut opens or hides the shelf from any app. New screenshots are saved to the folder above while Brindlewick is running.</source>
        <translation>El atajo abre u oculta el estante desde cualquier aplicación. Las capturas de pantalla nuevas se guardan en la carpeta de arriba mientras Brindlewick esté en marcha.</translation>
    </message>
    <message>
        <source>Corner Preview</source>
        <translation>Vista previa de esquina</translation>
    </message>
    <message>
        <source>Show Preview After Taking a Screenshot</source>
        <translation>Mostrar una vista previa tras hacer una captura</translation>
    </message>
    <message>
        <source>second</source>
        <translation>segundo</translation>
    </message>
    <message>
        <source>seconds</source>
        <translation>segundos</translation>
    </message>
    <message>
        <source>Stays on Screen</source>
        <translation>Permanece en pantalla</translation>
    </message>
    <message>
        <source>Tidy Up</source>
        <translation>Ordenar</translation>
    </message>
    <message>
        <source>Tidy Up Automatically</source>
        <translation>Ordenar automáticamente</translation>
    </message>
    <message>
        <source>day</source>
        <translation>día</translation>
    </message>
    <message>
        <source>days</source>
        <translation>días</translation>
    </message>
    <message>
        <source>Older Than</source>
        <translation>Con más de</translation>
    </message>
    <message>
        <source>Archive folder</source>
        <translation>Carpeta Archivo</translation>
    </message>
    <message>
        <source>Trash</source>
        <translation>Papelera</translation>
    </message>
    <message>
        <source>Move Them To</source>
        <translation>Moverlas a</translation>
    </message>
    <message>
        <source>Refresh</source>
        <translation>Actualizar</translation>
    </message>
    <message>
        <source>Matching Now</source>
        <translation>Afectadas ahora</translation>
    </message>
    <message>
        <source>Applies to screenshots in the Home folder only. The Archive folder is created inside it and stays visible in the folder column.</source>
        <translation>Solo afecta a las capturas de pantalla de la carpeta Inicio. La carpeta Archivo se crea dentro de ella y sigue visible en la columna de carpetas.</translation>
    </message>
    <message>
        <source>Search &amp; Names</source>
        <translation>Búsqueda y nombres</translation>
    </message>
    <message>
        <source>Stop</source>
        <translation>Detener</translation>
    </message>
    <message>
        <source>Text Recognition</source>
        <translation>Reconocimiento de texto</translation>
    </message>
    <message>
        <source>Clean Up Names…</source>
        <translation>Limpiar nombres…</translation>
    </message>
    <message>
        <source>File Names</source>
        <translation>Nombres de archivo</translation>
    </message>
    <message>
        <source>Privacy</source>
        <translation>Privacidad</translation>
    </message>
    <message>
        <source>Share an Anonymous Usage Count</source>
        <translation>Compartir un recuento de uso anónimo</translation>
    </message>
    <message>
        <source>About</source>
        <translation>Acerca de</translation>
    </message>
    <message>
        <source>Version</source>
        <translation>Versión</translation>
    </message>
    <message>
        <source>Made by</source>
        <translation>Creado por</translation>
    </message>
    <message>
        <source>Support the Project</source>
        <translation>Apoyar el proyecto</translation>
    </message>
    <message>
        <source>Buy me a coffee</source>
        <translation>Invítame a un café</translation>
    </message>
    <message>
        <source>Trash Now</source>
        <translation>A la papelera ya</translation>
    </message>
    <message>
        <source>Archive Now</source>
        <translation>Archivar ya</translation>
    </message>
    <message>
        <source>%L1 of %L2</source>
        <translation>%L1 de %L2</translation>
    </message>
    <message>
        <source>Up to Date</source>
        <translation>Al día</translation>
    </message>
    <message numerus="yes">
        <source>Recognize Text in %Ln Screenshots</source>
        <translation>
            <numerusform>Reconocer texto en %Ln captura</numerusform>
            <numerusform>Reconocer texto en %Ln capturas</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>SettingsSheet</name>
    <message>
        <source>Done</source>
        <translation>Hecho</translation>
    </message>
</context>
<context>
    <name>SettingsSheetWindow</name>
    <message>
        <source>Settings</source>
        <translation>Configuración</translation>
    </message>
</context>
<context>
    <name>Shelf</name>
    <message>
        <source>Use this folder</source>
        <translation>Usar esta carpeta</translation>
    </message>
    <message>
        <source>Screenshots will be shown from, and saved to, this folder.</source>
        <translation>Las capturas de pantalla se mostrarán desde esta carpeta y se guardarán en ella.</translation>
    </message>
</context>
<context>
    <name>ShelfGrid</name>
    <message>
        <source>Screenshots</source>
        <translation>Capturas de pantalla</translation>
    </message>
    <message>
        <source>Text recognised, searchable</source>
        <translation>Texto reconocido, se puede buscar</translation>
    </message>
    <message>
        <source>Taken while %1 was in front</source>
        <translation>Hecha mientras %1 estaba en primer plano</translation>
    </message>
</context>
<context>
    <name>ShelfToolbar</name>
    <message>
        <source>Home</source>
        <translation>Inicio</translation>
    </message>
    <message>
        <source>Back to Home</source>
        <translation>Volver a Inicio</translation>
    </message>
    <message>
        <source>Search names and recognised text</source>
        <translation>Buscar en nombres y texto</translation>
    </message>
    <message>
        <source>Search</source>
        <translation>Buscar</translation>
    </message>
    <message>
        <source>Settings</source>
        <translation>Configuración</translation>
    </message>
    <message>
        <source>Settings (%1)</source>
        <translation>Configuración (%1)</translation>
    </message>
    <message>
        <source>Menu</source>
        <translation>Menú</translation>
    </message>
</context>
<context>
    <name>ShelfView</name>
    <message>
        <source>Recognise text in unindexed screenshots to search inside them</source>
        <translation>Reconocer el texto de las capturas sin indexar para buscar en ellas</translation>
    </message>
    <message>
        <source>Text recognition</source>
        <translation>Reconocimiento de texto</translation>
    </message>
    <message>
        <source>Thumbnail size (%1)</source>
        <translation>Tamaño de las miniaturas (%1)</translation>
    </message>
    <message>
        <source>Thumbnail size</source>
        <translation>Tamaño de las miniaturas</translation>
    </message>
    <message>
        <source>recognising %L1/%L2</source>
        <translation>reconociendo %L1/%L2</translation>
    </message>
    <message numerus="yes">
        <source>older than %n day</source>
        <translation>
            <numerusform>con más de %n día</numerusform>
            <numerusform>con más de %n días</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>older than %n days</source>
        <translation>
            <numerusform>con más de %n día</numerusform>
            <numerusform>con más de %n días</numerusform>
        </translation>
    </message>
    <message>
        <source>· %L1 %2</source>
        <translation>· %L1 %2</translation>
    </message>
    <message>
        <source>Trash now</source>
        <translation>A la papelera ya</translation>
    </message>
    <message>
        <source>Archive now</source>
        <translation>Archivar ya</translation>
    </message>
    <message numerus="yes">
        <source>%Ln of %L1 screenshots</source>
        <translation>
            <numerusform>%Ln de %L1 capturas de pantalla</numerusform>
            <numerusform>%Ln de %L1 capturas de pantalla</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%Ln screenshots</source>
        <translation>
            <numerusform>%Ln captura de pantalla</numerusform>
            <numerusform>%Ln capturas de pantalla</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%1, %Ln selected</source>
        <translation>
            <numerusform>%1, %Ln seleccionada</numerusform>
            <numerusform>%1, %Ln seleccionadas</numerusform>
        </translation>
    </message>
    <message>
        <source>Nothing matches “%1”.</source>
        <translation>Nada coincide con «%1».</translation>
    </message>
    <message>
        <source>No images in this folder yet.</source>
        <translation>Aún no hay imágenes en esta carpeta.</translation>
    </message>
</context>
<context>
    <name>Texts</name>
    <message>
        <source>Alt+Shift+S</source>
        <translation>Alt+Mayús+S</translation>
    </message>
    <message>
        <source>Ctrl+Shift+N</source>
        <translation>Ctrl+Mayús+N</translation>
    </message>
    <message>
        <source>Space</source>
        <translation>Espacio</translation>
    </message>
    <message>
        <source>P</source>
        <translation>P</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Supr</translation>
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
        <translation>Haga una captura de pantalla con Impr Pant y aparecerá aquí.</translation>
    </message>
    <message>
        <source>Show in File Manager</source>
        <translation>Mostrar en el gestor de archivos</translation>
    </message>
    <message>
        <source>Properties</source>
        <translation>Propiedades</translation>
    </message>
    <message>
        <source>Preview</source>
        <translation>Vista previa</translation>
    </message>
    <message>
        <source>Brindlewick could not register itself to start at login</source>
        <translation>Brindlewick no pudo registrarse para iniciarse al iniciar sesión</translation>
    </message>
    <message>
        <source>The start-up entry %1 could not be written: %2.</source>
        <translation>No se pudo escribir la entrada de inicio %1: %2.</translation>
    </message>
    <message>
        <source>Open Autostart Folder</source>
        <translation>Abrir la carpeta de inicio automático</translation>
    </message>
    <message>
        <source>Let Brindlewick start when you log in</source>
        <translation>Deje que Brindlewick se inicie al iniciar sesión</translation>
    </message>
    <message>
        <source>Brindlewick has added itself to your desktop&apos;s autostart entries, but your desktop keeps it switched off.

Click “Open Autostart Folder”, or open your desktop&apos;s start-up settings, and switch Brindlewick on. That&apos;s it — Brindlewick will then be in your tray every time you log in.</source>
        <translation>Brindlewick se ha añadido a las entradas de inicio automático de su escritorio, pero su escritorio lo mantiene desactivado.

Pulse «Abrir la carpeta de inicio automático», o abra la configuración de inicio de su escritorio, y active Brindlewick. Eso es todo: Brindlewick estará en su bandeja del sistema cada vez que inicie sesión.</translation>
    </message>
    <message>
        <source>Not now</source>
        <translation>Ahora no</translation>
    </message>
    <message>
        <source>Never start at login</source>
        <translation>No iniciar nunca al iniciar sesión</translation>
    </message>
    <message>
        <source>Hide %1’s Notification</source>
        <translation>Ocultar la notificación de %1</translation>
    </message>
    <message>
        <source>Hide the Screenshot Tool’s Notification</source>
        <translation>Ocultar la notificación de la herramienta de captura</translation>
    </message>
    <message>
        <source>%1 has no notification of its own to hide.</source>
        <translation>%1 no tiene una notificación propia que ocultar.</translation>
    </message>
    <message>
        <source>No supported screenshot tool was found on this desktop.</source>
        <translation>No se encontró ninguna herramienta de captura compatible en este escritorio.</translation>
    </message>
    <message>
        <source>The preview slides into the bottom-right corner and stays for the time above, longer while you hover. Drag it anywhere, double-click to open it in the shelf, right-click for more. Hiding the screenshot tool’s own notification leaves the preview as the only one.</source>
        <translation>La vista previa se desliza a la esquina inferior derecha y permanece el tiempo indicado arriba, más mientras el puntero esté encima. Arrástrela a cualquier sitio, haga doble clic para abrirla en el estante o clic derecho para ver más. Al ocultar la notificación de la herramienta de captura, la vista previa queda como la única.</translation>
    </message>
    <message>
        <source>Text is recognized on this computer, only when you ask, and cached so that searching stays instant. Nothing runs in the background.</source>
        <translation>El texto se reconoce en este equipo, solo cuando usted lo pide, y se guarda en caché para que la búsqueda sea instantánea. Nada se ejecuta en segundo plano.</translation>
    </message>
    <message>
        <source>Once a day Brindlewick tells %1 that one copy is in use: a random identifier, the app version and the Linux distribution’s version. No file names, no personal data, and the address is not kept.</source>
        <translation>Una vez al día, Brindlewick comunica a %1 que hay una copia en uso: un identificador aleatorio, la versión de la aplicación y la de la distribución Linux. Sin nombres de archivo ni datos personales, y la dirección no se guarda.</translation>
    </message>
    <message>
        <source>Brindlewick is distributed in the hope that it will be useful, as is and without warranty of any kind.</source>
        <translation>Brindlewick se distribuye con la esperanza de que sea útil, tal cual y sin garantía de ningún tipo.</translation>
    </message>
    <message>
        <source>%1 could not be %2: %3</source>
        <translation>No se pudo %2 %1: %3</translation>
    </message>
    <message>
        <source>“%1”</source>
        <translation>«%1»</translation>
    </message>
    <message>
        <source>%1, among other reasons</source>
        <translation>%1, entre otros motivos</translation>
    </message>
    <message>
        <source>read-only file system</source>
        <translation>sistema de archivos de solo lectura</translation>
    </message>
    <message>
        <source>permission denied</source>
        <translation>permiso denegado</translation>
    </message>
    <message>
        <source>changed since it was shown</source>
        <translation>ha cambiado desde que se mostró</translation>
    </message>
    <message>
        <source>a file with that name exists</source>
        <translation>ya existe un archivo con ese nombre</translation>
    </message>
    <message>
        <source>no longer there</source>
        <translation>ya no existe</translation>
    </message>
    <message>
        <source>the disk is full</source>
        <translation>el disco está lleno</translation>
    </message>
    <message>
        <source>its drive has no Trash</source>
        <translation>su unidad no tiene papelera</translation>
    </message>
    <message>
        <source>not an image that can be read</source>
        <translation>no es una imagen legible</translation>
    </message>
    <message>
        <source>a name cannot contain “/” or be “.” or “..”</source>
        <translation>un nombre no puede contener «/» ni ser «.» o «..»</translation>
    </message>
    <message>
        <source>an unexpected error</source>
        <translation>un error inesperado</translation>
    </message>
    <message>
        <source>moved to the Trash</source>
        <translation>mover a la papelera</translation>
    </message>
    <message>
        <source>moved</source>
        <translation>mover</translation>
    </message>
    <message>
        <source>duplicated</source>
        <translation>duplicar</translation>
    </message>
    <message>
        <source>resized</source>
        <translation>redimensionar</translation>
    </message>
    <message>
        <source>converted to JPG</source>
        <translation>convertir a JPG</translation>
    </message>
    <message>
        <source>renamed</source>
        <translation>renombrar</translation>
    </message>
    <message>
        <source>created</source>
        <translation>crear</translation>
    </message>
    <message>
        <source>the folder %1 cannot be created</source>
        <translation>no se puede crear la carpeta %1</translation>
    </message>
</context>
</TS>
