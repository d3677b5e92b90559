#include "app/appdelegate.h"

#include "actions/actionrunner.h"
#include "actions/fileactions.h"
#include "actions/folderops.h"
#include "actions/views/contextmenu.h"
#include "actions/views/desktopwindows.h"
#include "actions/views/filecommands.h"
#include "actions/views/pins.h"
#include "actions/views/previewer.h"
#include "actions/views/previewwindow.h"
#include "actions/views/promptdialogs.h"
#include "app/appservices.h"
#include "app/commandline.h"
#include "app/diagnostics.h"
#include "app/loginprompts.h"
#include "app/mainmenu.h"
#include "app/quitsignals.h"
#include "app/shelfplacement.h"
#include "meta/textindexer.h"
#include "model/shelf.h"
#include "platform/applauncher.h"
#include "platform/filemanager.h"
#include "system/capturelocation.h"
#include "system/loginitem.h"
#include "system/prefs.h"
#include "system/systemthumbnail.h"
#include "system/texts.h"
#include "tidy/autotidy.h"
#include "ui/appicon.h"
#include "ui/flash.h"
#include "ui/folderchooserdialog.h"
#include "ui/foldercolumn.h"
#include "ui/settingssheet.h"
#include "ui/shelfgrid.h"
#include "ui/shelftoolbar.h"
#include "ui/shelfview.h"
#include "ui/shelfwindow.h"

#include <QAccessible>
#include <QAction>
#include <QApplication>
#include <QFileInfo>
#include <QMenu>
#include <QMessageBox>
#include <QTimer>

#include <algorithm>

namespace {

constexpr int loginCheckDelayMs = 1500;
constexpr int revealSelectDelayMs = 350;
// Shown in the about box; the address and licence are the maker's to settle.
const QString projectPage = QStringLiteral(BRINDLEWICK_WEBSITE_URL);

// The desktop's launcher, with a word to the delegate before each launch.
class HandingOverLauncher : public AppLauncher
{
public:
    HandingOverLauncher(AppLauncher &launcher, std::function<void()> before)
        : m_launcher(launcher), m_before(std::move(before))
    {}
    void open(const QUrl &file) override
    {
        m_before();
        m_launcher.open(file);
    }
    void openWith(const QList<QUrl> &files, const QUrl &app) override
    {
        m_before();
        m_launcher.openWith(files, app);
    }
    QList<AppChoice> applicationsFor(const QUrl &file) override { return m_launcher.applicationsFor(file); }

private:
    AppLauncher &m_launcher;
    std::function<void()> m_before;
};

// The same for the file manager.
class HandingOverFileManager : public FileManager
{
public:
    HandingOverFileManager(FileManager &manager, std::function<void()> before)
        : m_manager(manager), m_before(std::move(before))
    {}
    void showItems(const QList<QUrl> &files) override
    {
        m_before();
        m_manager.showItems(files);
    }
    void showItemProperties(const QUrl &file) override
    {
        m_before();
        m_manager.showItemProperties(file);
    }

private:
    FileManager &m_manager;
    std::function<void()> m_before;
};

} // namespace

AppDelegate::AppDelegate(AppServices &services, FrontApp *frontApp, QObject *parent)
    : QObject(parent), m_services(services), m_prefs(services.prefs), m_capture(services.capture),
      m_launcher(std::make_unique<HandingOverLauncher>(*services.launcher, [this] { handOver(); })),
      m_fileManager(std::make_unique<HandingOverFileManager>(*services.fileManager, [this] { handOver(); })),
      m_meta(services.meta.get()), m_systemThumbnail(std::make_unique<SystemThumbnail>(m_capture.settings())),
      m_shelf(std::make_unique<Shelf>(m_prefs, m_capture, m_meta, frontApp)),
      m_loginPrompts(std::make_unique<DialogLoginPrompts>()),
      m_loginItem(std::make_unique<LoginItem>(m_prefs, LoginItem::defaultEntryPath(), programPath(),
                                              m_loginPrompts.get(), QCoreApplication::applicationPid())),
      m_hooks(std::make_unique<DiagnosticHooks>(*this))
{}

AppDelegate::~AppDelegate() = default;

void AppDelegate::launch()
{
    // 1. The main menu.
    m_mainMenu = std::make_unique<MainMenu>(*this);
    // 2. The tray icon.
    buildTrayIcon();
    // 3-4. The hidden shelf window and its content.
    buildWindow();
    // 5. The screenshot tool saves into Home from now on, unless a folder was
    //    given for this run only (its mere presence counts).
    if (!qEnvironmentVariableIsSet("BRINDLEWICK_FOLDER"))
        m_capture.apply(m_shelf->home().toLocalFile());
    // 6. The toolbar's Settings button was connected with the window.
    // 7.
    m_hooks->scheduleSettingsHook();
    // 8. The global shortcut toggles the shelf: main() connects it.
    // 9. A double-click on the corner card brings the file up in the shelf.
    connect(m_flash.get(), &Flash::openInShelf, this, &AppDelegate::revealFromPreview);
    // 10. The application-wide key routing (search field versus shelf) was
    //     installed with the window.
    // 11. New screenshots: the corner card shows them unless the shelf is
    //     in front.
    connect(m_shelf.get(), &Shelf::freshScreenshot, this, [this](const QUrl &url) {
        if (!shelfIsActive())
            m_flash->show(url);
    });
    // 12. main() registers the global shortcut once this has run.
    // 13. Automatic tidying starts here.
    // 14. Starting at login, checked once things have settled.
    QTimer::singleShot(loginCheckDelayMs, this, [this] { m_loginItem->checkRegistration(false); });
    // 15. The daily usage ping starts here.
    // 16.
    m_hooks->scheduleLaunchHooks();
}

void AppDelegate::prepareToQuit() { m_capture.restore(); }

void AppDelegate::buildTrayIcon()
{
    m_trayIcon = new QSystemTrayIcon(appIcon(), this);
    m_trayIcon->setToolTip(QStringLiteral("Brindlewick"));

    m_trayMenu = std::make_unique<QMenu>();
    QAction *toggleItem = m_trayMenu->addAction(tr("Open Shelf"));
    connect(toggleItem, &QAction::triggered, this, &AppDelegate::toggleShelf);
    QAction *settingsItem = m_trayMenu->addAction(tr("Settings…"));
    connect(settingsItem, &QAction::triggered, this, &AppDelegate::openSettings);
    // No menu bar is drawn here, so the tray is where the about box is found
    // without opening the shelf (the shelf's menu button holds it too).
    QAction *aboutItem = m_trayMenu->addAction(tr("About Brindlewick"));
    connect(aboutItem, &QAction::triggered, this, &AppDelegate::showAbout);
    m_trayMenu->addSeparator();
    QAction *quitItem = m_trayMenu->addAction(tr("Quit Brindlewick"));
    connect(quitItem, &QAction::triggered, qApp, &quitNow, Qt::QueuedConnection);
    // Named when the menu opens, and kept current as the window comes and
    // goes for the trays that read the menu ahead of time.
    connect(m_trayMenu.get(), &QMenu::aboutToShow, this, [this] { nameTrayToggle(); });
    m_trayIcon->setContextMenu(m_trayMenu.get());
    connect(m_trayIcon, &QSystemTrayIcon::activated, this, &AppDelegate::trayActivated);
    m_trayIcon->show();
}

void AppDelegate::buildWindow()
{
    m_window = std::make_unique<ShelfWindow>();
    m_window->setShelf(m_shelf.get());
    m_window->setWindowIcon(appIcon());
    m_window->resize(1200, 700);
    m_runner = std::make_unique<ActionRunner>(*m_services.trash, m_meta);
    m_previewer = std::make_unique<Previewer>();
    m_pins = std::make_unique<Pins>();
    m_folderPrompt = std::make_unique<DialogTextPrompt>(m_window.get());
    // The preview leaves the keys to the shelf only while the shelf has
    // them; opened from the corner card's menu (the shelf hidden or in the
    // background) it takes the keyboard itself.
    m_commands = std::make_unique<FileCommands>(*m_shelf, *m_runner, *m_launcher, *m_fileManager, *m_previewer, *m_pins,
                                                *m_services.indexer, *m_folderPrompt, m_meta,
                                                [this] { return shelfIsActive() ? m_window.get() : nullptr; });
    m_window->setCommands(*m_commands);
    auto *view = new ShelfView(m_shelf.get(), m_meta, m_services.thumbs.get(), *m_commands);
    m_window->setContent(view);
    view->setSidebar(new FolderColumn(m_shelf.get(), *m_commands));
    // Keys go to the search field or the shelf before any view sees them.
    m_window->installKeyRouting();
    connect(view->grid(), &ShelfGrid::openRequested, this,
            [this](const QList<QUrl> &files) { m_commands->open().run(files); });
    connect(view->grid(), &ShelfGrid::filesDropped, this,
            [this](const QList<QUrl> &files) { m_commands->dropOnGrid(files); });
    // The search field gives up the keys to a click on the grid, and takes
    // or leaves them as the delegate asks; the Settings button opens the sheet.
    ShelfToolbar *toolbar = view->toolbar();
    connect(view->grid(), &ShelfGrid::pressed, toolbar, &ShelfToolbar::dropFocus);
    connect(this, &AppDelegate::searchFocusDropped, toolbar, &ShelfToolbar::dropFocus);
    connect(this, &AppDelegate::searchFocusWanted, toolbar, &ShelfToolbar::focusSearch);
    connect(toolbar, &ShelfToolbar::settingsRequested, this, &AppDelegate::openSettings, Qt::QueuedConnection);
    TextIndexer *indexer = m_services.indexer.get();
    connect(view, &ShelfView::recogniseRequested, indexer,
            [indexer](const QList<QUrl> &files) { indexer->index(files, false); });
    view->setIndexer(indexer);
    view->setTidy(m_services.tidy.get());
    connect(view->grid(), &ShelfGrid::contextMenuRequested, this, &AppDelegate::popupFileMenu);
    m_flash = std::make_unique<Flash>(Flash::Parts{
        .prefs = &m_prefs,
        .thumbs = m_services.thumbs.get(),
        .shelf = m_shelf.get(),
        .contextMenu = [this](const QList<QUrl> &files, const QPoint &at) { return popupFileMenu(files, at); },
        .runDrag = {},
    });
    connect(m_flash.get(), &Flash::shown, this, [this](FlashPanel *card) { m_hooks->afterFlashShown(card); });
    connect(m_flash.get(), &Flash::currentChanged, this, [this] {
        if (FlashPanel *card = m_flash->current(); card && card->state() == FlashPanel::State::created)
            m_hooks->afterFlashMade(card);
    });
    connect(m_flash.get(), &Flash::gone, this,
            [this](const QUrl &url, qint64 msOnScreen) { m_hooks->afterFlashGone(url, msOnScreen); });
    m_mainMenu->attachTo(m_window.get());
    view->setMainMenu(m_mainMenu->menus());
    // The window commands (Ctrl+W, Ctrl+F, Ctrl+,, Ctrl+Q) work in the
    // preview as well, once it exists.
    connect(m_previewer.get(), &Previewer::openChanged, this, [this](bool open) {
        if (open && m_previewer->window())
            m_mainMenu->attachWindowCommandsTo(m_previewer->window());
    });
    connect(m_window.get(), &ShelfWindow::liveResizeEnded, this, [this](QSize size) { shelfResized(QSizeF(size)); });
    connect(m_window.get(), &ShelfWindow::shownChanged, this, [this] { nameTrayToggle(); });
    // Created now (though hidden) so that events can be addressed to it.
    m_window->winId();
}

QMenu *AppDelegate::popupFileMenu(const QList<QUrl> &files, const QPoint &globalPos)
{
    return ContextMenu::popup(files, *m_commands, globalPos, m_window.get());
}

void AppDelegate::trayActivated(QSystemTrayIcon::ActivationReason reason)
{
    // The context menu path is the tray's own; a left click toggles.
    if (reason != QSystemTrayIcon::Trigger)
        return;
    if (!m_window)
        return;
    if (!m_window->isVisible() || !m_window->isActiveWindow())
        showShelf();
    else
        m_window->hide();
}

void AppDelegate::nameTrayToggle()
{
    if (!m_trayMenu || m_trayMenu->actions().isEmpty())
        return;
    const bool shown = m_window && m_window->isVisible();
    m_trayMenu->actions().first()->setText(shown ? tr("Hide Shelf") : tr("Open Shelf"));
}

bool AppDelegate::shelfIsActive() const
{
    if (!m_window || !m_window->isVisible())
        return false;
    // Hidden and shown again while it kept the desktop's focus (the shortcut
    // pressed twice in quick succession), the window gets no new focus event,
    // so Qt's active window stays unset though the focus is ours.
    return m_window->isActiveWindow()
           || (m_window->windowHandle() && QGuiApplication::focusWindow() == m_window->windowHandle());
}

void AppDelegate::toggleShelf()
{
    if (shelfIsActive())
        m_window->hide();
    else
        showShelf();
}

void AppDelegate::showShelf()
{
    if (!m_window)
        return;
    ShelfPlacement::placeOnPointerScreen(*m_window, m_prefs, m_shelf->cellWidth());
    m_shelf->scan();
    // What tidying would take now, for the status bar's offer.
    m_services.tidy->refresh(m_shelf->home());
    m_window->show();
    // Floating again, if it had handed over to another program.
    DesktopWindows::keepAbove(m_window.get(), true);
    m_window->raise();
    m_window->activateWindow();
    QPointer<ShelfWindow> window(m_window.get());
    QMetaObject::invokeMethod(
        this,
        [this, window] {
            if (!window)
                return;
            // The window itself holds the focus, so that activating it does
            // not hand the keys to the first field of the toolbar.
            window->setFocus(Qt::OtherFocusReason);
            Q_EMIT searchFocusDropped();
            // With a screen reader the grid takes the keys instead: a window
            // that holds them itself gives it nothing to announce.
            if (QAccessible::isActive())
                if (auto *view = qobject_cast<ShelfView *>(window->content()))
                    view->grid()->setFocus(Qt::OtherFocusReason);
        },
        Qt::QueuedConnection);
    m_hooks->afterShow();
}

void AppDelegate::openSettings()
{
    if (!m_window)
        return;
    if (!m_window->isVisible())
        showShelf();
    if (m_settingsWindow)
        return;
    auto *sheet = new SettingsSheetWindow(m_window.get());
    sheet->setAttribute(Qt::WA_DeleteOnClose);
    m_sheetFolderChooser = std::make_unique<FolderChooserDialog>(sheet);
    m_sheetConfirm = std::make_unique<DialogConfirmPrompt>(sheet);
    const SettingsParts parts{
        .shelf = m_shelf.get(),
        .prefs = &m_prefs,
        .tidy = m_services.tidy.get(),
        .indexer = m_services.indexer.get(),
        .meta = m_meta,
        .loginItem = m_loginItem.get(),
        .systemThumbnail = m_systemThumbnail.get(),
        .heartbeat = m_heartbeat,
        .folderChooser = m_sheetFolderChooser.get(),
        .confirm = m_sheetConfirm.get(),
        .runner = m_runner.get(),
    };
    sheet->setContent(new SettingsSheet(parts, [this] { closeSettings(); }));
    sheet->onCancel = [this] { closeSettings(); };
    const int height = std::max(420, std::min(m_window->frameGeometry().height() - 60, 780));
    sheet->setFixedSize(settingsWidth, height);
    // Hangs from the top edge of the shelf, as a sheet would.
    const QRect shelf = m_window->geometry();
    sheet->move(shelf.center().x() - settingsWidth / 2, shelf.top());
    m_settingsWindow = sheet;
    m_mainMenu->attachWindowCommandsTo(sheet);
    sheet->show();
    m_hooks->afterOpenSettings(sheet);
}

void AppDelegate::closeSettings()
{
    if (!m_settingsWindow)
        return;
    SettingsSheetWindow *sheet = m_settingsWindow;
    // onCancel stays: it may be the caller, and finds nothing to close now.
    m_settingsWindow = nullptr;
    sheet->hide();
    sheet->deleteLater();
    if (m_window) {
        m_window->raise();
        m_window->activateWindow();
    }
}

void AppDelegate::revealFromPreview(const QUrl &url)
{
    const QUrl folder = QUrl::fromLocalFile(QFileInfo(url.toLocalFile()).absolutePath());
    if (Shelf::folderKey(folder) != Shelf::folderKey(m_shelf->current()))
        m_shelf->openFolder(folder);
    showShelf();
    QTimer::singleShot(revealSelectDelayMs, this, [this, url] {
        auto reveal = [this, url] {
            if (!m_shelf->visible().contains(url))
                m_shelf->setQuery(QString());
            m_shelf->select(url);
        };
        // A folder just opened may not be listed yet, and a selection of a
        // file the listing lacks would be dropped when it comes in.
        if (m_shelf->items().contains(url))
            reveal();
        else
            connect(m_shelf.get(), &Shelf::scanApplied, this, reveal, Qt::SingleShotConnection);
    });
}

void AppDelegate::handOver()
{
    if (m_window)
        DesktopWindows::keepAbove(m_window.get(), false);
}

void AppDelegate::closeFrontWindow()
{
    QWidget *front = QApplication::activeWindow();
    if (m_settingsWindow && front == m_settingsWindow) {
        closeSettings();
        return;
    }
    if (front && front == m_previewer->window()) {
        m_previewer->close();
        return;
    }
    if (m_window)
        m_window->close();
}

void AppDelegate::focusSearch()
{
    // The search field is the shelf's: the sheet over it goes.
    closeSettings();
    if (m_window && m_window->isVisible() && !shelfIsActive()) {
        m_window->raise();
        m_window->activateWindow();
    }
    if (!m_window || !m_window->isVisible()) {
        showShelf();
        // After the show's own focus reset, which is queued.
        QMetaObject::invokeMethod(
            this, [this] { Q_EMIT searchFocusWanted(); }, Qt::QueuedConnection);
        return;
    }
    Q_EMIT searchFocusWanted();
}

void AppDelegate::zoomIn() { m_shelf->zoom(zoomStep); }

void AppDelegate::zoomOut() { m_shelf->zoom(-zoomStep); }

void AppDelegate::zoomReset() { m_shelf->setCellWidth(Shelf::defaultCellWidth); }

void AppDelegate::hideApplication()
{
    closeSettings();
    if (m_window)
        m_window->hide();
}

void AppDelegate::shelfResized(QSizeF size) { ShelfPlacement::saveSize(m_prefs, size); }

void AppDelegate::showAbout()
{
    if (m_about) {
        m_about->raise();
        m_about->activateWindow();
        return;
    }
    auto *box = new QMessageBox(m_window && m_window->isVisible() ? m_window.get() : nullptr);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowTitle(tr("About Brindlewick"));
    box->setIconPixmap(appIcon().pixmap(64, 64));
    box->setTextFormat(Qt::RichText);
    box->setText(tr("<b>Brindlewick</b><br>Version %1 (%2)")
                     .arg(QStringLiteral(BRINDLEWICK_VERSION), QStringLiteral(BRINDLEWICK_BUILD_NUMBER)));
    box->setInformativeText(tr("Made by Merrowind \u00b7 <a href=\"%1\">%1</a><br>%2")
                                .arg(projectPage.toHtmlEscaped(), Texts::distributionNotice().toHtmlEscaped()));
    box->setStandardButtons(QMessageBox::Ok);
    box->setWindowModality(Qt::NonModal);
    m_about = box;
    box->show();
    box->raise();
    box->activateWindow();
}
