<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="ja">
<context>
    <name>AccessibleFolders</name>
    <message numerus="yes">
        <source>%1, %Ln screenshot</source>
        <translation>
            <numerusform>%1、スクリーンショット %Ln 件</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%1, %Ln screenshots</source>
        <translation>
            <numerusform>%1、スクリーンショット %Ln 件</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>AccessibleGrid</name>
    <message>
        <source>taken in %1</source>
        <translation>%1 で撮影</translation>
    </message>
    <message>
        <source>text recognised</source>
        <translation>文字認識済み</translation>
    </message>
</context>
<context>
    <name>AppDelegate</name>
    <message>
        <source>Open Shelf</source>
        <translation>シェルフを開く</translation>
    </message>
    <message>
        <source>Settings…</source>
        <translation>設定…</translation>
    </message>
    <message>
        <source>About Brindlewick</source>
        <translation>Brindlewick について</translation>
    </message>
    <message>
        <source>Quit Brindlewick</source>
        <translation>Brindlewick を終了</translation>
    </message>
    <message>
        <source>Hide Shelf</source>
        <translation>シェルフを隠す</translation>
    </message>
    <message>
        <source>&lt;b&gt;Brindlewick&lt;/b&gt;&lt;br&gt;Version %1 (%2)</source>
        <translation>&lt;b&gt;Brindlewick&lt;/b&gt;&lt;br&gt;バージョン %1 (%2)</translation>
    </message>
    <message>
        <source>Made by Merrowind · &lt;a href=&quot;%1&quot;&gt;%1&lt;/a&gt;&lt;br&gt;%2</source>
        <translation>制作: Merrowind · &lt;a href=&quot;%1&quot;&gt;%1&lt;/a&gt;&lt;br&gt;%2</translation>
    </message>
</context>
<context>
    <name>ContextMenu</name>
    <message>
        <source>Home (%1)</source>
        <translation>ホーム (%1)</translation>
    </message>
</context>
<context>
    <name>FileActions</name>
    <message>
        <source>Rename “%1”</source>
        <translation>「%1」の名前を変更</translation>
    </message>
    <message>
        <source>Rename</source>
        <translation>名前を変更</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>キャンセル</translation>
    </message>
</context>
<context>
    <name>FileCommands</name>
    <message>
        <source>Open</source>
        <translation>開く</translation>
    </message>
    <message numerus="yes">
        <source>Open %Ln Items</source>
        <translation>
            <numerusform>%Ln 項目を開く</numerusform>
        </translation>
    </message>
    <message>
        <source>Open With</source>
        <translation>アプリケーションで開く</translation>
    </message>
    <message>
        <source>%1 (%2)</source>
        <translation>%1 (%2)</translation>
    </message>
    <message>
        <source>Pin to Screen</source>
        <translation>画面にピン留め</translation>
    </message>
    <message>
        <source>Pin</source>
        <translation>ピン留め</translation>
    </message>
    <message>
        <source>Pin to screen (%1)</source>
        <translation>画面にピン留め (%1)</translation>
    </message>
    <message>
        <source>Copy</source>
        <translation>コピー</translation>
    </message>
    <message>
        <source>Copy Path</source>
        <translation>パスをコピー</translation>
    </message>
    <message>
        <source>Copy as Markdown</source>
        <translation>Markdown としてコピー</translation>
    </message>
    <message>
        <source>Rename…</source>
        <translation>名前を変更…</translation>
    </message>
    <message>
        <source>Duplicate</source>
        <translation>複製</translation>
    </message>
    <message>
        <source>Resize to 50%</source>
        <translation>50% に縮小</translation>
    </message>
    <message>
        <source>Convert to JPG</source>
        <translation>JPG に変換</translation>
    </message>
    <message>
        <source>Recognize Text</source>
        <translation>文字を認識</translation>
    </message>
    <message>
        <source>Move to</source>
        <translation>移動先</translation>
    </message>
    <message>
        <source>Move to Trash</source>
        <translation>ゴミ箱へ移動</translation>
    </message>
    <message numerus="yes">
        <source>Move %Ln Items to Trash</source>
        <translation>
            <numerusform>%Ln 項目をゴミ箱へ移動</numerusform>
        </translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>削除</translation>
    </message>
    <message>
        <source>Move to Trash (%1)</source>
        <translation>ゴミ箱へ移動 (%1)</translation>
    </message>
    <message>
        <source>New Folder…</source>
        <translation>新しいフォルダー…</translation>
    </message>
    <message>
        <source>New Folder</source>
        <translation>新しいフォルダー</translation>
    </message>
    <message>
        <source>New folder inside Home (%1)</source>
        <translation>ホームに新しいフォルダー (%1)</translation>
    </message>
</context>
<context>
    <name>FlashPanel</name>
    <message>
        <source>drag me</source>
        <translation>ドラッグできます</translation>
    </message>
    <message>
        <source>New Screenshot</source>
        <translation>新しいスクリーンショット</translation>
    </message>
    <message>
        <source>%1: %2</source>
        <translation>%1: %2</translation>
    </message>
    <message>
        <source>Drag it into another program, open its menu, or double-click to show it in the shelf</source>
        <translation>別のプログラムへドラッグ、メニューを開く、またはダブルクリックでシェルフに表示</translation>
    </message>
</context>
<context>
    <name>FolderColumn</name>
    <message>
        <source>Drop a screenshot on a folder to move it there. Make one with %1.</source>
        <translation>スクリーンショットをフォルダーにドロップすると移動します。フォルダーは %1 で作成できます。</translation>
    </message>
    <message>
        <source>Folders</source>
        <translation>フォルダー</translation>
    </message>
    <message>
        <source>Screenshots</source>
        <translation>スクリーンショット</translation>
    </message>
    <message>
        <source>Home</source>
        <translation>ホーム</translation>
    </message>
    <message>
        <source>Rename…</source>
        <translation>名前を変更…</translation>
    </message>
    <message>
        <source>Move Folder to Trash</source>
        <translation>フォルダーをゴミ箱へ移動</translation>
    </message>
</context>
<context>
    <name>FolderOps</name>
    <message>
        <source>New Folder</source>
        <translation>新しいフォルダー</translation>
    </message>
    <message>
        <source>Created inside %1.</source>
        <translation>%1 の中に作成します。</translation>
    </message>
    <message>
        <source>Folder name</source>
        <translation>フォルダー名</translation>
    </message>
    <message>
        <source>Create</source>
        <translation>作成</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>キャンセル</translation>
    </message>
</context>
<context>
    <name>GlobalShortcut</name>
    <message>
        <source>Open or hide the Brindlewick shelf</source>
        <translation>Brindlewick のシェルフを開く/隠す</translation>
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
        <translation>編集</translation>
    </message>
    <message>
        <source>View</source>
        <translation>表示</translation>
    </message>
    <message>
        <source>Window</source>
        <translation>ウインドウ</translation>
    </message>
    <message>
        <source>About Brindlewick</source>
        <translation>Brindlewick について</translation>
    </message>
    <message>
        <source>Settings…</source>
        <translation>設定…</translation>
    </message>
    <message>
        <source>Hide Brindlewick</source>
        <translation>Brindlewick を隠す</translation>
    </message>
    <message>
        <source>Quit Brindlewick</source>
        <translation>Brindlewick を終了</translation>
    </message>
    <message>
        <source>Undo</source>
        <translation>元に戻す</translation>
    </message>
    <message>
        <source>Redo</source>
        <translation>やり直す</translation>
    </message>
    <message>
        <source>Cut</source>
        <translation>切り取り</translation>
    </message>
    <message>
        <source>Copy</source>
        <translation>コピー</translation>
    </message>
    <message>
        <source>Paste</source>
        <translation>貼り付け</translation>
    </message>
    <message>
        <source>Select All</source>
        <translation>すべて選択</translation>
    </message>
    <message>
        <source>Find</source>
        <translation>検索</translation>
    </message>
    <message>
        <source>Bigger Thumbnails</source>
        <translation>サムネイルを大きく</translation>
    </message>
    <message>
        <source>Smaller Thumbnails</source>
        <translation>サムネイルを小さく</translation>
    </message>
    <message>
        <source>Default Thumbnail Size</source>
        <translation>標準のサムネイルサイズ</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>閉じる</translation>
    </message>
    <message>
        <source>Minimize</source>
        <translation>最小化</translation>
    </message>
</context>
<context>
    <name>PinWindow</name>
    <message>
        <source>Pinned screenshot: %1</source>
        <translation>ピン留めしたスクリーンショット: %1</translation>
    </message>
</context>
<context>
    <name>PreviewWindow</name>
    <message>
        <source>%1 of %2</source>
        <translation>%1 / %2</translation>
    </message>
</context>
<context>
    <name>ScreenshotNames</name>
    <message>
        <source>Clean up the names of %L1 screenshots?</source>
        <translation>%L1 件のスクリーンショットの名前を整理しますか？</translation>
    </message>
    <message>
        <source>Clean Up</source>
        <translation>整理</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>キャンセル</translation>
    </message>
    <message>
        <source>Renamed %L1</source>
        <translation>%L1 件の名前を変更</translation>
    </message>
    <message>
        <source>“Screenshot 2026-10-08 at 05.12.49.png” becomes “2026-10-08 05.12.49.png”. Only files in the current folder are renamed.</source>
        <translation>「Screenshot 2026-10-08 at 05.12.49.png」は「2026-10-08 05.12.49.png」になります。名前が変わるのは現在のフォルダー内のファイルだけです。</translation>
    </message>
</context>
<context>
    <name>SettingsForm</name>
    <message>
        <source>General</source>
        <translation>一般</translation>
    </message>
    <message>
        <source>Open at Login</source>
        <translation>ログイン時に開く</translation>
    </message>
    <message>
        <source>Keyboard Shortcut</source>
        <translation>キーボードショートカット</translation>
    </message>
    <message>
        <source>Change…</source>
        <translation>変更…</translation>
    </message>
    <message>
        <source>Screenshots Folder</source>
        <translation>スクリーンショットのフォルダー</translation>
    </message>
    <message>
        <source>The shortcut opens or hides the shelf from any app. New screenshots are saved to the folder above while Brindlewick is running.</source>
        <translation>ショートカットで、どのアプリからでもシェルフを開いたり隠したりできます。Brindlewick の実行中は、新しいスクリーンショットは上のフォルダーに保存されます。</translation>
    </message>
    <message>
        <source>Corner Preview</source>
        <translation>隅のプレビュー</translation>
    </message>
    <message>
        <source>Show Preview After Taking a Screenshot</source>
        <translation>スクリーンショットの撮影後にプレビューを表示</translation>
    </message>
    <message>
        <source>second</source>
        <translation>秒</translation>
    </message>
    <message>
        <source>seconds</source>
        <translation>秒</translation>
    </message>
    <message>
        <source>Stays on Screen</source>
        <translation>表示時間</translation>
    </message>
    <message>
        <source>Tidy Up</source>
        <translation>整理</translation>
    </message>
    <message>
        <source>Tidy Up Automatically</source>
        <translation>自動で整理</translation>
    </message>
    <message>
        <source>day</source>
        <translation>日</translation>
    </message>
    <message>
        <source>days</source>
        <translation>日</translation>
    </message>
    <message>
        <source>Older Than</source>
        <translation>経過日数</translation>
    </message>
    <message>
        <source>Archive folder</source>
        <translation>アーカイブフォルダー</translation>
    </message>
    <message>
        <source>Trash</source>
        <translation>ゴミ箱</translation>
    </message>
    <message>
        <source>Move Them To</source>
        <translation>移動先</translation>
    </message>
    <message>
        <source>Refresh</source>
        <translation>更新</translation>
    </message>
    <message>
        <source>Matching Now</source>
        <translation>現在の対象</translation>
    </message>
    <message>
        <source>Applies to screenshots in the Home folder only. The Archive folder is created inside it and stays visible in the folder column.</source>
        <translation>ホームフォルダー内のスクリーンショットだけが対象です。アーカイブフォルダーはその中に作成され、フォルダー列に表示されたままになります。</translation>
    </message>
    <message>
        <source>Search &amp; Names</source>
        <translation>検索と名前</translation>
    </message>
    <message>
        <source>Stop</source>
        <translation>停止</translation>
    </message>
    <message>
        <source>Text Recognition</source>
        <translation>文字認識</translation>
    </message>
    <message>
        <source>Clean Up Names…</source>
        <translation>名前を整理…</translation>
    </message>
    <message>
        <source>File Names</source>
        <translation>ファイル名</translation>
    </message>
    <message>
        <source>Privacy</source>
        <translation>プライバシー</translation>
    </message>
    <message>
        <source>Share an Anonymous Usage Count</source>
        <translation>匿名の利用数を送信</translation>
    </message>
    <message>
        <source>About</source>
        <translation>このアプリについて</translation>
    </message>
    <message>
        <source>Version</source>
        <translation>バージョン</translation>
    </message>
    <message>
        <source>Made by</source>
        <translation>制作</translation>
    </message>
    <message>
        <source>Support the Project</source>
        <translation>プロジェクトを支援</translation>
    </message>
    <message>
        <source>Buy me a coffee</source>
        <translation>コーヒーをおごる</translation>
    </message>
    <message>
        <source>Trash Now</source>
        <translation>今すぐゴミ箱へ</translation>
    </message>
    <message>
        <source>Archive Now</source>
        <translation>今すぐアーカイブ</translation>
    </message>
    <message>
        <source>%L1 of %L2</source>
        <translation>%L1 / %L2</translation>
    </message>
    <message>
        <source>Up to Date</source>
        <translation>最新の状態</translation>
    </message>
    <message numerus="yes">
        <source>Recognize Text in %Ln Screenshots</source>
        <translation>
            <numerusform>%Ln 件の文字を認識</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>SettingsSheet</name>
    <message>
        <source>Done</source>
        <translation>完了</translation>
    </message>
</context>
<context>
    <name>SettingsSheetWindow</name>
    <message>
        <source>Settings</source>
        <translation>設定</translation>
    </message>
</context>
<context>
    <name>Shelf</name>
    <message>
        <source>Use this folder</source>
        <translation>このフォルダーを使用</translation>
    </message>
    <message>
        <source>Screenshots will be shown from, and saved to, this folder.</source>
        <translation>スクリーンショットはこのフォルダーから表示され、このフォルダーに保存されます。</translation>
    </message>
</context>
<context>
    <name>ShelfGrid</name>
    <message>
        <source>Screenshots</source>
        <translation>スクリーンショット</translation>
    </message>
    <message>
        <source>Text recognised, searchable</source>
        <translation>文字認識済み、検索できます</translation>
    </message>
    <message>
        <source>Taken while %1 was in front</source>
        <translation>%1 が前面にあるときに撮影</translation>
    </message>
</context>
<context>
    <name>ShelfToolbar</name>
    <message>
        <source>Home</source>
        <translation>ホーム</translation>
    </message>
    <message>
        <source>Back to Home</source>
        <translation>ホームに戻る</translation>
    </message>
    <message>
        <source>Search names and recognised text</source>
        <translation>名前と認識した文字を検索</translation>
    </message>
    <message>
        <source>Search</source>
        <translation>検索</translation>
    </message>
    <message>
        <source>Settings</source>
        <translation>設定</translation>
    </message>
    <message>
        <source>Settings (%1)</source>
        <translation>設定 (%1)</translation>
    </message>
    <message>
        <source>Menu</source>
        <translation>メニュー</translation>
    </message>
</context>
<context>
    <name>ShelfView</name>
    <message>
        <source>Recognise text in unindexed screenshots to search inside them</source>
        <translation>未認識のスクリーンショットの文字を認識して、中身を検索できるようにします</translation>
    </message>
    <message>
        <source>Text recognition</source>
        <translation>文字認識</translation>
    </message>
    <message>
        <source>Thumbnail size (%1)</source>
        <translation>サムネイルのサイズ (%1)</translation>
    </message>
    <message>
        <source>Thumbnail size</source>
        <translation>サムネイルのサイズ</translation>
    </message>
    <message>
        <source>recognising %L1/%L2</source>
        <translation>認識中 %L1/%L2</translation>
    </message>
    <message numerus="yes">
        <source>older than %n day</source>
        <translation>
            <numerusform>%n 日より前</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>older than %n days</source>
        <translation>
            <numerusform>%n 日より前</numerusform>
        </translation>
    </message>
    <message>
        <source>· %L1 %2</source>
        <translation>· %2のもの %L1 件</translation>
    </message>
    <message>
        <source>Trash now</source>
        <translation>今すぐゴミ箱へ</translation>
    </message>
    <message>
        <source>Archive now</source>
        <translation>今すぐアーカイブ</translation>
    </message>
    <message numerus="yes">
        <source>%Ln of %L1 screenshots</source>
        <translation>
            <numerusform>%L1 件中 %Ln 件のスクリーンショット</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%Ln screenshots</source>
        <translation>
            <numerusform>%Ln 件のスクリーンショット</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%1, %Ln selected</source>
        <translation>
            <numerusform>%1、%Ln 件を選択中</numerusform>
        </translation>
    </message>
    <message>
        <source>Nothing matches “%1”.</source>
        <translation>「%1」に一致するものはありません。</translation>
    </message>
    <message>
        <source>No images in this folder yet.</source>
        <translation>このフォルダーにはまだ画像がありません。</translation>
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
        <translation>Space</translation>
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
        <translation>Print Screen キーでスクリーンショットを撮ると、ここに表示されます。</translation>
    </message>
    <message>
        <source>Show in File Manager</source>
        <translation>ファイルマネージャーで表示</translation>
    </message>
    <message>
        <source>Properties</source>
        <translation>プロパティ</translation>
    </message>
    <message>
        <source>Preview</source>
        <translation>プレビュー</translation>
    </message>
    <message>
        <source>Brindlewick could not register itself to start at login</source>
        <translation>Brindlewick をログイン時に起動するよう登録できませんでした</translation>
    </message>
    <message>
        <source>The start-up entry %1 could not be written: %2.</source>
        <translation>自動起動エントリー %1 を書き込めませんでした: %2。</translation>
    </message>
    <message>
        <source>Open Autostart Folder</source>
        <translation>自動起動フォルダーを開く</translation>
    </message>
    <message>
        <source>Let Brindlewick start when you log in</source>
        <translation>ログイン時に Brindlewick を起動する</translation>
    </message>
    <message>
        <source>Brindlewick has added itself to your desktop&apos;s autostart entries, but your desktop keeps it switched off.

Click “Open Autostart Folder”, or open your desktop&apos;s start-up settings, and switch Brindlewick on. That&apos;s it — Brindlewick will then be in your tray every time you log in.</source>
        <translation>Brindlewick はデスクトップの自動起動エントリーに自身を追加しましたが、デスクトップ側で無効になっています。

「自動起動フォルダーを開く」をクリックするか、デスクトップの自動起動の設定を開いて、Brindlewick を有効にしてください。これで、ログインするたびに Brindlewick がトレイに表示されます。</translation>
    </message>
    <message>
        <source>Not now</source>
        <translation>今はしない</translation>
    </message>
    <message>
        <source>Never start at login</source>
        <translation>ログイン時に起動しない</translation>
    </message>
    <message>
        <source>Hide %1’s Notification</source>
        <translation>%1 の通知を隠す</translation>
    </message>
    <message>
        <source>Hide the Screenshot Tool’s Notification</source>
        <translation>スクリーンショットツールの通知を隠す</translation>
    </message>
    <message>
        <source>%1 has no notification of its own to hide.</source>
        <translation>%1 には隠せる独自の通知がありません。</translation>
    </message>
    <message>
        <source>No supported screenshot tool was found on this desktop.</source>
        <translation>このデスクトップには対応するスクリーンショットツールが見つかりませんでした。</translation>
    </message>
    <message>
        <source>The preview slides into the bottom-right corner and stays for the time above, longer while you hover. Drag it anywhere, double-click to open it in the shelf, right-click for more. Hiding the screenshot tool’s own notification leaves the preview as the only one.</source>
        <translation>プレビューは右下の隅に現れ、上で設定した時間だけ表示されます。ポインターを重ねている間はそのまま残ります。好きな場所へドラッグしたり、ダブルクリックでシェルフに開いたり、右クリックでほかの操作ができます。スクリーンショットツールの通知を隠すと、表示されるのはこのプレビューだけになります。</translation>
    </message>
    <message>
        <source>Text is recognized on this computer, only when you ask, and cached so that searching stays instant. Nothing runs in the background.</source>
        <translation>文字の認識はこのコンピューター上で、指示したときだけ行われ、検索がすぐに終わるようキャッシュされます。バックグラウンドでは何も動きません。</translation>
    </message>
    <message>
        <source>Once a day Brindlewick tells %1 that one copy is in use: a random identifier, the app version and the Linux distribution’s version. No file names, no personal data, and the address is not kept.</source>
        <translation>Brindlewick は 1 日に 1 回、1 つのコピーが使われていることを %1 に知らせます。送るのはランダムな識別子、アプリのバージョン、Linux ディストリビューションのバージョンだけです。ファイル名や個人データは送らず、アドレスも保存されません。</translation>
    </message>
    <message>
        <source>Brindlewick is distributed in the hope that it will be useful, as is and without warranty of any kind.</source>
        <translation>Brindlewick は有用であることを願って、現状のまま、いかなる保証もなく配布されています。</translation>
    </message>
    <message>
        <source>%1 could not be %2: %3</source>
        <translation>%1 を%2できませんでした: %3</translation>
    </message>
    <message>
        <source>“%1”</source>
        <translation>「%1」</translation>
    </message>
    <message>
        <source>%1, among other reasons</source>
        <translation>%1 など</translation>
    </message>
    <message>
        <source>read-only file system</source>
        <translation>読み取り専用のファイルシステムです</translation>
    </message>
    <message>
        <source>permission denied</source>
        <translation>アクセスが拒否されました</translation>
    </message>
    <message>
        <source>changed since it was shown</source>
        <translation>表示後に変更されました</translation>
    </message>
    <message>
        <source>a file with that name exists</source>
        <translation>同じ名前のファイルがあります</translation>
    </message>
    <message>
        <source>no longer there</source>
        <translation>もう存在しません</translation>
    </message>
    <message>
        <source>the disk is full</source>
        <translation>ディスクがいっぱいです</translation>
    </message>
    <message>
        <source>its drive has no Trash</source>
        <translation>そのドライブにはゴミ箱がありません</translation>
    </message>
    <message>
        <source>not an image that can be read</source>
        <translation>読み込める画像ではありません</translation>
    </message>
    <message>
        <source>a name cannot contain “/” or be “.” or “..”</source>
        <translation>名前に「/」は使えず、「.」や「..」にもできません</translation>
    </message>
    <message>
        <source>an unexpected error</source>
        <translation>予期しないエラーです</translation>
    </message>
    <message>
        <source>moved to the Trash</source>
        <translation>ゴミ箱へ移動</translation>
    </message>
    <message>
        <source>moved</source>
        <translation>移動</translation>
    </message>
    <message>
        <source>duplicated</source>
        <translation>複製</translation>
    </message>
    <message>
        <source>resized</source>
        <translation>サイズ変更</translation>
    </message>
    <message>
        <source>converted to JPG</source>
        <translation>JPG に変換</translation>
    </message>
    <message>
        <source>renamed</source>
        <translation>名前を変更</translation>
    </message>
    <message>
        <source>created</source>
        <translation>作成</translation>
    </message>
    <message>
        <source>the folder %1 cannot be created</source>
        <translation>フォルダー %1 を作成できません</translation>
    </message>
</context>
</TS>
