<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="pt_BR">
<context>
    <name>AccessibleFolders</name>
    <message numerus="yes">
        <source>%1, %Ln screenshot</source>
        <translation>
            <numerusform>%1, %Ln captura de tela</numerusform>
            <numerusform>%1, %Ln capturas de tela</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%1, %Ln screenshots</source>
        <translation>
            <numerusform>%1, %Ln captura de tela</numerusform>
            <numerusform>%1, %Ln capturas de tela</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>AccessibleGrid</name>
    <message>
        <source>taken in %1</source>
        <translation>feita em %1</translation>
    </message>
    <message>
        <source>text recognised</source>
        <translation>texto reconhecido</translation>
    </message>
</context>
<context>
    <name>AppDelegate</name>
    <message>
        <source>Open Shelf</source>
        <translation>Abrir a estante</translation>
    </message>
    <message>
        <source>Settings…</source>
        <translation>Configurações…</translation>
    </message>
    <message>
        <source>About Brindlewick</source>
        <translation>Sobre o Brindlewick</translation>
    </message>
    <message>
        <source>Quit Brindlewick</source>
        <translation>Sair do Brindlewick</translation>
    </message>
    <message>
        <source>Hide Shelf</source>
        <translation>Ocultar a estante</translation>
    </message>
    <message>
        <source>&lt;b&gt;Brindlewick&lt;/b&gt;&lt;br&gt;Version %1 (%2)</source>
        <translation>&lt;b&gt;Brindlewick&lt;/b&gt;&lt;br&gt;Versão %1 (%2)</translation>
    </message>
    <message>
        <source>Made by Merrowind · &lt;a href=&quot;%1&quot;&gt;%1&lt;/a&gt;&lt;br&gt;%2</source>
        <translation>Feito por Merrowind · &lt;a href=&quot;%1&quot;&gt;%1&lt;/a&gt;&lt;br&gt;%2</translation>
    </message>
</context>
<context>
    <name>ContextMenu</name>
    <message>
        <source>Home (%1)</source>
        <translation>Início (%1)</translation>
    </message>
</context>
<context>
    <name>FileActions</name>
    <message>
        <source>Rename “%1”</source>
        <translation>Renomear “%1”</translation>
    </message>
    <message>
        <source>Rename</source>
        <translation>Renomear</translation>
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
            <numerusform>Abrir %Ln item</numerusform>
            <numerusform>Abrir %Ln itens</numerusform>
        </translation>
    </message>
    <message>
        <source>Open With</source>
        <translation>Abrir com</translation>
    </message>
    <message>
        <source>%1 (%2)</source>
        <translation>%1 (%2)</translation>
    </message>
    <message>
        <source>Pin to Screen</source>
        <translation>Fixar na tela</translation>
    </message>
    <message>
        <source>Pin</source>
        <translation>Fixar</translation>
    </message>
    <message>
        <source>Pin to screen (%1)</source>
        <translation>Fixar na tela (%1)</translation>
    </message>
    <message>
        <source>Copy</source>
        <translation>Copiar</translation>
    </message>
    <message>
        <source>Copy Path</source>
        <translation>Copiar caminho</translation>
    </message>
    <message>
        <source>Copy as Markdown</source>
        <translation>Copiar como Markdown</translation>
    </message>
    <message>
        <source>Rename…</source>
        <translation>Renomear…</translation>
    </message>
    <message>
        <source>Duplicate</source>
        <translation>Duplicar</translation>
    </message>
    <message>
        <source>Resize to 50%</source>
        <translation>Reduzir para 50%</translation>
    </message>
    <message>
        <source>Convert to JPG</source>
        <translation>Converter para JPG</translation>
    </message>
    <message>
        <source>Recognize Text</source>
        <translation>Reconhecer texto</translation>
    </message>
    <message>
        <source>Move to</source>
        <translation>Mover para</translation>
    </message>
    <message>
        <source>Move to Trash</source>
        <translation>Mover para a lixeira</translation>
    </message>
    <message numerus="yes">
        <source>Move %Ln Items to Trash</source>
        <translation>
            <numerusform>Mover %Ln item para a lixeira</numerusform>
            <numerusform>Mover %Ln itens para a lixeira</numerusform>
        </translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Excluir</translation>
    </message>
    <message>
        <source>Move to Trash (%1)</source>
        <translation>Mover para a lixeira (%1)</translation>
    </message>
    <message>
        <source>New Folder…</source>
        <translation>Nova pasta…</translation>
    </message>
    <message>
        <source>New Folder</source>
        <translation>Nova pasta</translation>
    </message>
    <message>
        <source>New folder inside Home (%1)</source>
        <translation>Nova pasta dentro de Início (%1)</translation>
    </message>
</context>
<context>
    <name>FlashPanel</name>
    <message>
        <source>drag me</source>
        <translation>arraste-me</translation>
    </message>
    <message>
        <source>New Screenshot</source>
        <translation>Nova captura de tela</translation>
    </message>
    <message>
        <source>%1: %2</source>
        <translation>%1: %2</translation>
    </message>
    <message>
        <source>Drag it into another program, open its menu, or double-click to show it in the shelf</source>
        <translation>Arraste-a para outro programa, abra o menu dela ou clique duas vezes para mostrá-la na estante</translation>
    </message>
</context>
<context>
    <name>FolderColumn</name>
    <message>
        <source>Drop a screenshot on a folder to move it there. Make one with %1.</source>
        <translation>Solte uma captura de tela sobre uma pasta para movê-la para lá. Crie uma com %1.</translation>
    </message>
    <message>
        <source>Folders</source>
        <translation>Pastas</translation>
    </message>
    <message>
        <source>Screenshots</source>
        <translation>Capturas de tela</translation>
    </message>
    <message>
        <source>Home</source>
        <translation>Início</translation>
    </message>
    <message>
        <source>Rename…</source>
        <translation>Renomear…</translation>
    </message>
    <message>
        <source>Move Folder to Trash</source>
        <translation>Mover pasta para a lixeira</translation>
    </message>
</context>
<context>
    <name>FolderOps</name>
    <message>
        <source>New Folder</source>
        <translation>Nova pasta</translation>
    </message>
    <message>
        <source>Created inside %1.</source>
        <translation>Será criada dentro de %1.</translation>
    </message>
    <message>
        <source>Folder name</source>
        <translation>Nome da pasta</translation>
    </message>
    <message>
        <source>Create</source>
        <translation>Criar</translation>
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
        <translation>Abrir ou ocultar a estante do Brindlewick</translation>
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
        <translation>Exibir</translation>
    </message>
    <message>
        <source>Window</source>
        <translation>Janela</translation>
    </message>
    <message>
        <source>About Brindlewick</source>
        <translation>Sobre o Brindlewick</translation>
    </message>
    <message>
        <source>Settings…</source>
        <translation>Configurações…</translation>
    </message>
    <message>
        <source>Hide Brindlewick</source>
        <translation>Ocultar o Brindlewick</translation>
    </message>
    <message>
        <source>Quit Brindlewick</source>
        <translation>Sair do Brindlewick</translation>
    </message>
    <message>
        <source>Undo</source>
        <translation>Desfazer</translation>
    </message>
    <message>
        <source>Redo</source>
        <translation>Refazer</translation>
    </message>
    <message>
        <source>Cut</source>
        <translation>Recortar</translation>
    </message>
    <message>
        <source>Copy</source>
        <translation>Copiar</translation>
    </message>
    <message>
        <source>Paste</source>
        <translation>Colar</translation>
    </message>
    <message>
        <source>Select All</source>
        <translation>Selecionar tudo</translation>
    </message>
    <message>
        <source>Find</source>
        <translation>Localizar</translation>
    </message>
    <message>
        <source>Bigger Thumbnails</source>
        <translation>Miniaturas maiores</translation>
    </message>
    <message>
        <source>Smaller Thumbnails</source>
        <translation>Miniaturas menores</translation>
    </message>
    <message>
        <source>Default Thumbnail Size</source>
        <translation>Tamanho padrão das miniaturas</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Fechar</translation>
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
        <translation>Captura de tela fixada: %1</translation>
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
        <translation>Limpar os nomes de %L1 capturas de tela?</translation>
    </message>
    <message>
        <source>Clean Up</source>
        <translation>Limpar</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Cancelar</translation>
    </message>
    <message>
        <source>Renamed %L1</source>
        <translation>Renomeados: %L1</translation>
    </message>
    <message>
        <source>“Screenshot 2026-10-08 at 05.12.49.png” becomes “2026-10-08 05.12.49.png”. Only files in the current folder are renamed.</source>
        <translation>“Screenshot 2026-10-08 at 05.12.49.png” passa a ser “2026-10-08 05.12.49.png”. Só os arquivos da pasta atual são renomeados.</translation>
    </message>
</context>
<context>
    <name>SettingsForm</name>
    <message>
        <source>General</source>
        <translation>Geral</translation>
    </message>
    <message>
        <source>Open at Login</source>
        <translation>Abrir ao iniciar a sessão</translation>
    </message>
    <message>
        <source>Keyboard Shortcut</source>
        <translation>Atalho de teclado</translation>
    </message>
    <message>
        <source>Change…</source>
        <translation>Alterar…</translation>
    </message>
    <message>
        <source>Screenshots Folder</source>
        <translation>Pasta de capturas</translation>
    </message>
    <message>
        <source>The shortcut opens or hides the shelf from any app. New screenshots are saved to the folder above while Brindlewick is running.</source>
        <translation>O atalho abre ou oculta a estante em qualquer aplicativo. Novas capturas de tela são salvas na pasta acima enquanto o Brindlewick estiver em execução.</translation>
    </message>
    <message>
        <source>Corner Preview</source>
        <translation>Prévia no canto</translation>
    </message>
    <message>
        <source>Show Preview After Taking a Screenshot</source>
        <translation>Mostrar prévia depois de uma captura</translation>
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
        <translation>Fica na tela</translation>
    </message>
    <message>
        <source>Tidy Up</source>
        <translation>Organizar</translation>
    </message>
    <message>
        <source>Tidy Up Automatically</source>
        <translation>Organizar automaticamente</translation>
    </message>
    <message>
        <source>day</source>
        <translation>dia</translation>
    </message>
    <message>
        <source>days</source>
        <translation>dias</translation>
    </message>
    <message>
        <source>Older Than</source>
        <translation>Com mais de</translation>
    </message>
    <message>
        <source>Archive folder</source>
        <translation>Pasta Arquivo</translation>
    </message>
    <message>
        <source>Trash</source>
        <translation>Lixeira</translation>
    </message>
    <message>
        <source>Move Them To</source>
        <translation>Mover para</translation>
    </message>
    <message>
        <source>Refresh</source>
        <translation>Atualizar</translation>
    </message>
    <message>
        <source>Matching Now</source>
        <translation>Afetadas agora</translation>
    </message>
    <message>
        <source>Applies to screenshots in the Home folder only. The Archive folder is created inside it and stays visible in the folder column.</source>
        <translation>Vale só para as capturas de tela da pasta Início. A pasta Arquivo é criada dentro dela e continua visível na coluna de pastas.</translation>
    </message>
    <message>
        <source>Search &amp; Names</source>
        <translation>Pesquisa e nomes</translation>
    </message>
    <message>
        <source>Stop</source>
        <translation>Parar</translation>
    </message>
    <message>
        <source>Text Recognition</source>
        <translation>Reconhecimento de texto</translation>
    </message>
    <message>
        <source>Clean Up Names…</source>
        <translation>Limpar nomes…</translation>
    </message>
    <message>
        <source>File Names</source>
        <translation>Nomes de arquivo</translation>
    </message>
    <message>
        <source>Privacy</source>
        <translation>Privacidade</translation>
    </message>
    <message>
        <source>Share an Anonymous Usage Count</source>
        <translation>Compartilhar uma contagem de uso anônima</translation>
    </message>
    <message>
        <source>About</source>
        <translation>Sobre</translation>
    </message>
    <message>
        <source>Version</source>
        <translation>Versão</translation>
    </message>
    <message>
        <source>Made by</source>
        <translation>Feito por</translation>
    </message>
    <message>
        <source>Support the Project</source>
        <translation>Apoie o projeto</translation>
    </message>
    <message>
        <source>Buy me a coffee</source>
        <translation>Me pague um café</translation>
    </message>
    <message>
        <source>Trash Now</source>
        <translation>Para a lixeira agora</translation>
    </message>
    <message>
        <source>Archive Now</source>
        <translation>Arquivar agora</translation>
    </message>
    <message>
        <source>%L1 of %L2</source>
        <translation>%L1 de %L2</translation>
    </message>
    <message>
        <source>Up to Date</source>
        <translation>Em dia</translation>
    </message>
    <message numerus="yes">
        <source>Recognize Text in %Ln Screenshots</source>
        <translation>
            <numerusform>Reconhecer texto em %Ln captura</numerusform>
            <numerusform>Reconhecer texto em %Ln capturas</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>SettingsSheet</name>
    <message>
        <source>Done</source>
        <translation>Concluído</translation>
    </message>
</context>
<context>
    <name>SettingsSheetWindow</name>
    <message>
        <source>Settings</source>
        <translation>Configurações</translation>
    </message>
</context>
<context>
    <name>Shelf</name>
    <message>
        <source>Use this folder</source>
        <translation>Usar esta pasta</translation>
    </message>
    <message>
        <source>Screenshots will be shown from, and saved to, this folder.</source>
        <translation>As capturas de tela serão mostradas a partir desta pasta e salvas nela.</translation>
    </message>
</context>
<context>
    <name>ShelfGrid</name>
    <message>
        <source>Screenshots</source>
        <translation>Capturas de tela</translation>
    </message>
    <message>
        <source>Text recognised, searchable</source>
        <translation>Texto reconhecido, pesquisável</translation>
    </message>
    <message>
        <source>Taken while %1 was in front</source>
        <translation>Feita enquanto %1 estava em primeiro plano</translation>
    </message>
</context>
<context>
    <name>ShelfToolbar</name>
    <message>
        <source>Home</source>
        <translation>Início</translation>
    </message>
    <message>
        <source>Back to Home</source>
        <translation>Voltar para Início</translation>
    </message>
    <message>
        <source>Search names and recognised text</source>
        <translation>Pesquisar nomes e texto</translation>
    </message>
    <message>
        <source>Search</source>
        <translation>Pesquisar</translation>
    </message>
    <message>
        <source>Settings</source>
        <translation>Configurações</translation>
    </message>
    <message>
        <source>Settings (%1)</source>
        <translation>Configurações (%1)</translation>
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
        <translation>Reconhecer o texto das capturas não indexadas para pesquisar nelas</translation>
    </message>
    <message>
        <source>Text recognition</source>
        <translation>Reconhecimento de texto</translation>
    </message>
    <message>
        <source>Thumbnail size (%1)</source>
        <translation>Tamanho das miniaturas (%1)</translation>
    </message>
    <message>
        <source>Thumbnail size</source>
        <translation>Tamanho das miniaturas</translation>
    </message>
    <message>
        <source>recognising %L1/%L2</source>
        <translation>reconhecendo %L1/%L2</translation>
    </message>
    <message numerus="yes">
        <source>older than %n day</source>
        <translation>
            <numerusform>com mais de %n dia</numerusform>
            <numerusform>com mais de %n dias</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>older than %n days</source>
        <translation>
            <numerusform>com mais de %n dia</numerusform>
            <numerusform>com mais de %n dias</numerusform>
        </translation>
    </message>
    <message>
        <source>· %L1 %2</source>
        <translation>· %L1 %2</translation>
    </message>
    <message>
        <source>Trash now</source>
        <translation>Para a lixeira agora</translation>
    </message>
    <message>
        <source>Archive now</source>
        <translation>Arquivar agora</translation>
    </message>
    <message numerus="yes">
        <source>%Ln of %L1 screenshots</source>
        <translation>
            <numerusform>%Ln de %L1 capturas de tela</numerusform>
            <numerusform>%Ln de %L1 capturas de tela</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%Ln screenshots</source>
        <translation>
            <numerusform>%Ln captura de tela</numerusform>
            <numerusform>%Ln capturas de tela</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%1, %Ln selected</source>
        <translation>
            <numerusform>%1, %Ln selecionada</numerusform>
            <numerusform>%1, %Ln selecionadas</numerusform>
        </translation>
    </message>
    <message>
        <source>Nothing matches “%1”.</source>
        <translation>Nada corresponde a “%1”.</translation>
    </message>
    <message>
        <source>No images in this folder yet.</source>
        <translation>Ainda não há imagens nesta pasta.</translation>
    </message>
</context>
<context>
    <name>Texts</name>
    <message>
        <source>Alt+Shift+S</source>
        <translation>Alt+Shift+S</translation>
    </message>
    <message>
        <source>Ctrl+Shift+N</source>
        <translation>Ctrl+Shift+N</translation>
    </message>
    <message>
        <source>Space</source>
        <translation>Espaço</translation>
    </message>
    <message>
        <source>P</source>
        <translation>P</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Delete</translation>
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
        <translation>Faça uma captura de tela com a tecla Print Screen e ela aparecerá aqui.</translation>
    </message>
    <message>
        <source>Show in File Manager</source>
        <translation>Mostrar no gerenciador de arquivos</translation>
    </message>
    <message>
        <source>Properties</source>
        <translation>Propriedades</translation>
    </message>
    <message>
        <source>Preview</source>
        <translation>Prévia</translation>
    </message>
    <message>
        <source>Brindlewick could not register itself to start at login</source>
        <translation>O Brindlewick não conseguiu se registrar para iniciar com a sessão</translation>
    </message>
    <message>
        <source>The start-up entry %1 could not be written: %2.</source>
        <translation>Não foi possível gravar a entrada de inicialização %1: %2.</translation>
    </message>
    <message>
        <source>Open Autostart Folder</source>
        <translation>Abrir pasta de inicialização automática</translation>
    </message>
    <message>
        <source>Let Brindlewick start when you log in</source>
        <translation>Deixe o Brindlewick iniciar com a sessão</translation>
    </message>
    <message>
        <source>Brindlewick has added itself to your desktop&apos;s autostart entries, but your desktop keeps it switched off.

Click “Open Autostart Folder”, or open your desktop&apos;s start-up settings, and switch Brindlewick on. That&apos;s it — Brindlewick will then be in your tray every time you log in.</source>
        <translation>O Brindlewick se adicionou às entradas de inicialização automática do seu ambiente, mas o ambiente o mantém desativado.

Clique em “Abrir pasta de inicialização automática”, ou abra as configurações de inicialização do seu ambiente, e ative o Brindlewick. Pronto: o Brindlewick estará na bandeja do sistema sempre que você iniciar a sessão.</translation>
    </message>
    <message>
        <source>Not now</source>
        <translation>Agora não</translation>
    </message>
    <message>
        <source>Never start at login</source>
        <translation>Nunca iniciar com a sessão</translation>
    </message>
    <message>
        <source>Hide %1’s Notification</source>
        <translation>Ocultar a notificação do %1</translation>
    </message>
    <message>
        <source>Hide the Screenshot Tool’s Notification</source>
        <translation>Ocultar a notificação da ferramenta de captura</translation>
    </message>
    <message>
        <source>%1 has no notification of its own to hide.</source>
        <translation>%1 não tem notificação própria para ocultar.</translation>
    </message>
    <message>
        <source>No supported screenshot tool was found on this desktop.</source>
        <translation>Nenhuma ferramenta de captura compatível foi encontrada neste ambiente.</translation>
    </message>
    <message>
        <source>The preview slides into the bottom-right corner and stays for the time above, longer while you hover. Drag it anywhere, double-click to open it in the shelf, right-click for more. Hiding the screenshot tool’s own notification leaves the preview as the only one.</source>
        <translation>A prévia desliza para o canto inferior direito e fica pelo tempo acima, mais enquanto o ponteiro estiver sobre ela. Arraste-a para qualquer lugar, clique duas vezes para abri-la na estante ou clique com o botão direito para mais opções. Ocultar a notificação da ferramenta de captura deixa a prévia como a única.</translation>
    </message>
    <message>
        <source>Text is recognized on this computer, only when you ask, and cached so that searching stays instant. Nothing runs in the background.</source>
        <translation>O texto é reconhecido neste computador, só quando você pede, e fica em cache para que a pesquisa seja instantânea. Nada roda em segundo plano.</translation>
    </message>
    <message>
        <source>Once a day Brindlewick tells %1 that one copy is in use: a random identifier, the app version and the Linux distribution’s version. No file names, no personal data, and the address is not kept.</source>
        <translation>Uma vez por dia o Brindlewick informa a %1 que uma cópia está em uso: um identificador aleatório, a versão do aplicativo e a da distribuição Linux. Nenhum nome de arquivo, nenhum dado pessoal, e o endereço não é guardado.</translation>
    </message>
    <message>
        <source>Brindlewick is distributed in the hope that it will be useful, as is and without warranty of any kind.</source>
        <translation>O Brindlewick é distribuído na esperança de ser útil, como está e sem garantia de qualquer tipo.</translation>
    </message>
    <message>
        <source>%1 could not be %2: %3</source>
        <translation>Não foi possível %2 %1: %3</translation>
    </message>
    <message>
        <source>“%1”</source>
        <translation>“%1”</translation>
    </message>
    <message>
        <source>%1, among other reasons</source>
        <translation>%1, entre outros motivos</translation>
    </message>
    <message>
        <source>read-only file system</source>
        <translation>sistema de arquivos somente leitura</translation>
    </message>
    <message>
        <source>permission denied</source>
        <translation>permissão negada</translation>
    </message>
    <message>
        <source>changed since it was shown</source>
        <translation>alterado desde que foi mostrado</translation>
    </message>
    <message>
        <source>a file with that name exists</source>
        <translation>já existe um arquivo com esse nome</translation>
    </message>
    <message>
        <source>no longer there</source>
        <translation>não existe mais</translation>
    </message>
    <message>
        <source>the disk is full</source>
        <translation>o disco está cheio</translation>
    </message>
    <message>
        <source>its drive has no Trash</source>
        <translation>a unidade não tem lixeira</translation>
    </message>
    <message>
        <source>not an image that can be read</source>
        <translation>não é uma imagem legível</translation>
    </message>
    <message>
        <source>a name cannot contain “/” or be “.” or “..”</source>
        <translation>um nome não pode conter “/” nem ser “.” ou “..”</translation>
    </message>
    <message>
        <source>an unexpected error</source>
        <translation>um erro inesperado</translation>
    </message>
    <message>
        <source>moved to the Trash</source>
        <translation>mover para a lixeira</translation>
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
        <translation>converter para JPG</translation>
    </message>
    <message>
        <source>renamed</source>
        <translation>renomear</translation>
    </message>
    <message>
        <source>created</source>
        <translation>criar</translation>
    </message>
    <message>
        <source>the folder %1 cannot be created</source>
        <translation>não é possível criar a pasta %1</translation>
    </message>
</context>
</TS>
