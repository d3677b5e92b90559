#pragma once

#include "ui/settingssheet.h"

#include <QMessageBox>
#include <QObject>
#include <QPointer>
#include <QSizeF>
#include <QSystemTrayIcon>
#include <QUrl>

#include <memory>

class ActionRunner;
struct AppServices;
class AppLauncher;
class FileManager;
class CaptureLocation;
class ConfirmPrompt;
class FolderChooser;
class Heartbeat;
class DiagnosticHooks;
class Flash;
class FrontApp;
class LoginItem;
class LoginPrompts;
class MainMenu;
class MetaStore;
class Pins;
class Prefs;
class QMenu;
class Previewer;
class Shelf;
class FileCommands;
class TextPrompt;
class ShelfWindow;
class SystemThumbnail;

// The application: owns the shelf, the tray icon, the shelf window and the
// settings sheet, runs the launch sequence, and turns the user's global
// gestures (tray clicks, the global shortcut, menu commands, a second start)
// into showing, hiding and sizing the shelf window. One per process.
class AppDelegate : public QObject
{
    Q_OBJECT

public:
    static constexpr int settingsWidth = 540;
    static constexpr int zoomStep = 40;

    // `services` outlive the delegate. `frontApp` may be null (the shelf
    // then records no front application).
    AppDelegate(AppServices &services, FrontApp *frontApp, QObject *parent = nullptr);
    ~AppDelegate() override;

    // The launch sequence; run once the event loop has started.
    void launch();
    // The daily usage count, for its switch in the settings; may stay unset.
    void setHeartbeat(Heartbeat *heartbeat) { m_heartbeat = heartbeat; }
    // Gives the screenshot tool its own save folder back. Safe to call more
    // than once (quit, a termination signal, the session ending).
    void prepareToQuit();

    // Gestures and menu commands.
    void trayActivated(QSystemTrayIcon::ActivationReason reason);
    void toggle() { toggleShelf(); }
    void openSettingsFromMenu() { openSettings(); }
    void focusSearch();
    void zoomIn();
    void zoomOut();
    void zoomReset();
    void showAbout();
    void hideApplication();
    // Ctrl+W: closes the window in front (the settings sheet, the preview)
    // or hides the shelf.
    void closeFrontWindow();
    void shelfResized(QSizeF size);

    void showShelf();
    void toggleShelf();
    void openSettings();
    void closeSettings();
    void revealFromPreview(const QUrl &url);
    // Another program is about to show a window for the user (an
    // application opening a file, the file manager): the shelf stops
    // floating above other windows until it is next shown, so that window
    // comes up over it and takes the clicks meant for it.
    void handOver();

    Shelf &shelf() const { return *m_shelf; }
    ShelfWindow *window() const { return m_window.get(); }
    SettingsSheetWindow *settingsWindow() const { return m_settingsWindow; }
    QSystemTrayIcon *trayIcon() const { return m_trayIcon; }
    QMenu *trayMenu() const { return m_trayMenu.get(); }
    MainMenu &mainMenu() const { return *m_mainMenu; }
    LoginItem &loginItem() const { return *m_loginItem; }
    DiagnosticHooks &diagnostics() const { return *m_hooks; }
    Previewer &previewer() const { return *m_previewer; }
    Pins &pins() const { return *m_pins; }
    // Every file operation of the shelf and its menus.
    FileCommands &fileCommands() const { return *m_commands; }
    // The corner card of new screenshots.
    Flash &flash() const { return *m_flash; }
    // Visible and holding the keyboard focus of the desktop.
    bool shelfIsActive() const;

Q_SIGNALS:
    // The search field is to take the keys (Find), or to give them up (the
    // shelf shown again holds them itself).
    void searchFocusWanted();
    void searchFocusDropped();

private:
    void buildTrayIcon();
    void buildWindow();
    void nameTrayToggle();
    // The menu of a right-click on these files, at a global point.
    QMenu *popupFileMenu(const QList<QUrl> &files, const QPoint &globalPos);

    AppServices &m_services;
    Prefs &m_prefs;
    CaptureLocation &m_capture;
    // The desktop's launcher and file manager, telling the delegate first
    // that another program takes over.
    std::unique_ptr<AppLauncher> m_launcher;
    std::unique_ptr<FileManager> m_fileManager;
    MetaStore *m_meta;
    // Moves files dropped on the grid.
    std::unique_ptr<ActionRunner> m_runner;
    // The one preview window and the pinned images.
    std::unique_ptr<Previewer> m_previewer;
    std::unique_ptr<Pins> m_pins;
    std::unique_ptr<MainMenu> m_mainMenu;
    QPointer<QSystemTrayIcon> m_trayIcon;
    std::unique_ptr<QMenu> m_trayMenu;
    std::unique_ptr<ShelfWindow> m_window;
    // The new folder prompt over the shelf, and what the keys and the
    // toolbar do to the files.
    std::unique_ptr<TextPrompt> m_folderPrompt;
    std::unique_ptr<FileCommands> m_commands;
    QPointer<SettingsSheetWindow> m_settingsWindow;
    // What the settings act on besides the delegate's own parts; the
    // questions are asked over the sheet.
    std::unique_ptr<SystemThumbnail> m_systemThumbnail;
    Heartbeat *m_heartbeat = nullptr;
    std::unique_ptr<FolderChooser> m_sheetFolderChooser;
    std::unique_ptr<ConfirmPrompt> m_sheetConfirm;
    std::unique_ptr<Shelf> m_shelf;
    // After the shelf: its cards hold it and go first.
    std::unique_ptr<Flash> m_flash;
    std::unique_ptr<LoginPrompts> m_loginPrompts;
    std::unique_ptr<LoginItem> m_loginItem;
    std::unique_ptr<DiagnosticHooks> m_hooks;
    QPointer<QMessageBox> m_about;
};
