#include "app/appdelegate.h"

#include "actions/actionrunner.h"
#include "actions/fileactions.h"
#include "actions/folderops.h"
#include "actions/views/contextmenu.h"
#include "actions/views/desktopwindows.h"
#include "actions/views/filecommands.h"
#include "actions/views/pins.h"
#include "actions/views/previewwindow.h"
#include "actions/views/promptdialogs.h"
#include "actions/views/quicklook.h"
#include "actions/views/screens.h"
#include "app/commandline.h"
#include "app/diagnostics.h"
#include "app/loginprompts.h"
#include "app/mainmenu.h"
#include "app/quitsignals.h"
#include "meta/textindexer.h"
#include "meta/thumbs.h"
#include "model/shelf.h"
#include "platform/applauncher.h"
#include "platform/filemanager.h"
#include "system/capturelocation.h"
#include "system/hotkey.h"
#include "system/loginitem.h"
#include "system/prefs.h"
#include "system/systemthumbnail.h"
#include "system/texts.h"
#include "tidy/autotidy.h"
#include "ui/appicon.h"
#include "ui/flash.h"
#include "ui/folderchooserdialog.h"
#include "ui/foldercolumn.h"
#include "ui/notifications.h"
#include "ui/settingssheet.h"
#include "ui/shelfgrid.h"
#include "ui/shelfview.h"
#include "ui/shelfwindow.h"

#include <QAction>
#include <QApplication>
#include <QCursor>
#include <QDir>
#include <QFileInfo>
#include <QMenu>
#include <QMessageBox>
#include <QScreen>
#include <QTimer>

#include <algorithm>
#include <cmath>

namespace {

constexpr int loginCheckDelayMs = 1500;
constexpr int revealSelectDelayMs = 350;
// Cell proportions the shelf window is sized by: a cell is 0.62 of its width
// high plus a caption line, with a gap between rows.
constexpr double cellHeightFactor = 0.62;
constexpr double cellCaptionHeight = 22;
constexpr double rowGap = 16;

// Shown in the about box; the address and licence are the maker's to settle.
const QString projectPage = QStringLiteral(BRINDLEWICK_WEBSITE_URL);

// The smallest whole-point rectangle that holds `r`.
QRect integralRect(const QRectF &r)
{
    const int left = int(std::floor(r.left()));
    const int top = int(std::floor(r.top()));
    const int right = int(std::ceil(r.right()));
    const int bottom = int(std::ceil(r.bottom()));
    return QRect(left, top, right - left, bottom - top);
}

// Moves `r` inside `bounds` as far as it fits.
QRect constrainedTo(QRect r, const QRect &bounds)
{
    if (r.right() > bounds.right())
        r.moveRight(bounds.right());
    if (r.bottom() > bounds.bottom())
        r.moveBottom(bounds.bottom());
    if (r.left() < bounds.left())
        r.moveLeft(bounds.left());
    if (r.top() < bounds.top())
        r.moveTop(bounds.top());
    return r;
}

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

AppDelegate::AppDelegate(Prefs &prefs, CaptureLocation &capture, MetaStore *meta, FrontApp *frontApp, QObject *parent)
    : QObject(parent), m_prefs(prefs), m_capture(capture),
      m_launcher(std::make_unique<HandingOverLauncher>(AppLauncher::shared(), [this] { handOver(); })),
      m_fileManager(std::make_unique<HandingOverFileManager>(FileManager::shared(), [this] { handOver(); })),
      m_meta(meta), m_systemThumbnail(std::make_unique<SystemThumbnail>(capture.settings())),
      m_shelf(std::make_unique<Shelf>(prefs, capture, meta, frontApp)),
      m_loginPrompts(std::make_unique<DialogLoginPrompts>()),
      m_loginItem(std::make_unique<LoginItem>(prefs, LoginItem::defaultEntryPath(), programPath(), m_loginPrompts.get(),
                                              QCoreApplication::applicationPid())),
      m_hooks(std::make_unique<DiagnosticHooks>(*this))
{}

AppDelegate::~AppDelegate() = default;

void AppDelegate::applicationDidFinishLaunching()
{
    // 1. The main menu.
    m_mainMenu = std::make_unique<MainMenu>(*this);
    // 2. The tray icon.
    buildStatusItem();
    // 3-4. The hidden shelf window and its content.
    buildWindow();
    // 5. The screenshot tool saves into Home from now on, unless a folder was
    //    given for this run only (its mere presence counts).
    if (!qEnvironmentVariableIsSet("BRINDLEWICK_FOLDER"))
        m_capture.apply(m_shelf->home().toLocalFile());
    // 6. Whoever asks for the settings gets them.
    connect(&Notifications::shared(), &Notifications::openSettings, this, &AppDelegate::openSettings,
            Qt::QueuedConnection);
    // 7.
    m_hooks->scheduleSettingsHook();
    // 8. The global shortcut toggles the shelf.
    QPointer<AppDelegate> self(this);
    HotKey::handler() = [self] {
        if (self)
            self->toggleShelf();
    };
    // 9. A double-click on the corner card brings the file up in the shelf.
    m_flash->openInShelf = [self](const QUrl &url) {
        if (self)
            self->revealFromPreview(url);
    };
    // 10. The application-wide key routing (search field versus shelf) was
    //     installed with the window.
    // 11. New screenshots: the corner card shows them unless the shelf is
    //     in front.
    connect(m_shelf.get(), &Shelf::freshScreenshot, this, [this](const QUrl &url) {
        if (!shelfIsKey())
            m_flash->show(url);
    });
    // 12.
    HotKey::registerShortcut();
    // 13. Automatic tidying starts here.
    // 14. Starting at login, checked once things have settled.
    QTimer::singleShot(loginCheckDelayMs, this, [this] { m_loginItem->checkRegistration(false); });
    // 15. The daily usage ping starts here.
    // 16.
    m_hooks->scheduleLaunchHooks();
}

void AppDelegate::applicationWillTerminate() { m_capture.restore(); }

void AppDelegate::buildStatusItem()
{
    m_statusItem = new QSystemTrayIcon(appIcon(), this);
    m_statusItem->setToolTip(QStringLiteral("Brindlewick"));

    m_statusMenu = std::make_unique<QMenu>();
    QAction *toggleItem = m_statusMenu->addAction(QStringLiteral("Open Shelf"));
    connect(toggleItem, &QAction::triggered, this, &AppDelegate::toggleShelf);
    QAction *settingsItem = m_statusMenu->addAction(QStringLiteral("Settings…"));
    connect(settingsItem, &QAction::triggered, this, &AppDelegate::openSettings);
    // No menu bar is drawn here, so the tray is where the about box is found
    // without opening the shelf (the shelf's menu button holds it too).
    QAction *aboutItem = m_statusMenu->addAction(QStringLiteral("About Brindlewick"));
    connect(aboutItem, &QAction::triggered, this, &AppDelegate::showAbout);
    m_statusMenu->addSeparator();
    QAction *quitItem = m_statusMenu->addAction(QStringLiteral("Quit Brindlewick"));
    connect(quitItem, &QAction::triggered, qApp, &quitNow, Qt::QueuedConnection);
    // Named when the menu opens, and kept current as the window comes and
    // goes for the trays that read the menu ahead of time.
    connect(m_statusMenu.get(), &QMenu::aboutToShow, this, [this] { nameStatusToggle(); });
    m_statusItem->setContextMenu(m_statusMenu.get());
    connect(m_statusItem, &QSystemTrayIcon::activated, this, &AppDelegate::statusClicked);
    m_statusItem->show();
}

void AppDelegate::buildWindow()
{
    m_window = std::make_unique<ShelfWindow>();
    m_window->setShelf(m_shelf.get());
    m_window->setWindowIcon(appIcon());
    m_window->resize(1200, 700);
    m_runner = std::make_unique<ActionRunner>(Trash::shared(), m_meta);
    m_quickLook = std::make_unique<QuickLook>();
    m_pins = std::make_unique<Pins>();
    m_folderPrompt = std::make_unique<DialogTextPrompt>(m_window.get());
    // The preview leaves the keys to the shelf only while the shelf has
    // them; opened from the corner card's menu (the shelf hidden or in the
    // background) it takes the keyboard itself.
    m_commands = std::make_unique<FileCommands>(*m_shelf, *m_runner, *m_launcher, *m_fileManager, *m_quickLook, *m_pins,
                                                TextIndexer::shared(), *m_folderPrompt, m_meta,
                                                [this] { return shelfIsKey() ? m_window.get() : nullptr; });
    m_window->setCommands(*m_commands);
    auto *view = new ShelfView(m_shelf.get(), m_meta, &Thumbs::shared(), *m_commands);
    m_window->setContent(view);
    view->setSidebar(new FolderColumn(m_shelf.get(), *m_commands));
    // Keys go to the search field or the shelf before any view sees them.
    m_window->installKeyRouting();
    connect(view->grid(), &ShelfGrid::openRequested, this,
            [this](const QList<QUrl> &files) { m_commands->open().run(files); });
    connect(view->grid(), &ShelfGrid::filesDropped, this,
            [this](const QList<QUrl> &files) { m_commands->dropOnGrid(files); });
    connect(view->grid(), &ShelfGrid::pressed, this, [] { Q_EMIT Notifications::shared().dropFocus(); });
    connect(view, &ShelfView::recogniseRequested, this,
            [](const QList<QUrl> &files) { TextIndexer::shared().index(files, false); });
    view->setIndexer(&TextIndexer::shared());
    view->setTidy(&AutoTidy::shared());
    connect(view->grid(), &ShelfGrid::contextMenuRequested, this, &AppDelegate::popupFileMenu);
    Flash::Parts cardParts;
    cardParts.prefs = &m_prefs;
    cardParts.thumbs = &Thumbs::shared();
    cardParts.shelf = m_shelf.get();
    cardParts.contextMenu = [this](const QList<QUrl> &files, const QPoint &at) { return popupFileMenu(files, at); };
    m_flash = std::make_unique<Flash>(std::move(cardParts));
    connect(m_flash.get(), &Flash::shown, this, [this](FlashPanel *card) { m_hooks->afterFlashShown(card); });
    connect(m_flash.get(), &Flash::gone, this,
            [this](const QUrl &url, qint64 msOnScreen) { m_hooks->afterFlashGone(url, msOnScreen); });
    m_mainMenu->attachTo(m_window.get());
    view->setMainMenu(m_mainMenu->menus());
    // The window commands (Ctrl+W, Ctrl+F, Ctrl+,, Ctrl+Q) work in the
    // preview as well, once it exists.
    connect(m_quickLook.get(), &QuickLook::openChanged, this, [this](bool open) {
        if (open && m_quickLook->window())
            m_mainMenu->attachWindowCommandsTo(m_quickLook->window());
    });
    connect(m_window.get(), &ShelfWindow::liveResizeEnded, this,
            [this](QSize size) { windowDidEndLiveResize(QSizeF(size)); });
    connect(m_window.get(), &ShelfWindow::shownChanged, this, [this] { nameStatusToggle(); });
    // Created now (though hidden) so that events can be addressed to it.
    m_window->winId();
}

QMenu *AppDelegate::popupFileMenu(const QList<QUrl> &files, const QPoint &globalPos)
{
    return ContextMenu::popup(files, *m_commands, globalPos, m_window.get());
}

void AppDelegate::statusClicked(QSystemTrayIcon::ActivationReason reason)
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

void AppDelegate::nameStatusToggle()
{
    if (!m_statusMenu || m_statusMenu->actions().isEmpty())
        return;
    const bool shown = m_window && m_window->isVisible();
    m_statusMenu->actions().first()->setText(shown ? QStringLiteral("Hide Shelf") : QStringLiteral("Open Shelf"));
}

bool AppDelegate::shelfIsKey() const
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
    if (shelfIsKey())
        m_window->hide();
    else
        showShelf();
}

QSizeF AppDelegate::defaultShelfSize(const QRectF &vf, double cellWidth)
{
    const double maxW = screenFraction * vf.width();
    const double maxH = screenFraction * vf.height();
    const int n = defaultColumnCount;
    const double chromeW = (n - 1) * columnGap + chromeWidth;
    double cell = std::min((maxW - chromeW) / n, cellWidth);
    int rows = 4;
    if (maxH < (cell * cellHeightFactor + cellCaptionHeight) * 4 + chromeHeight + 3 * rowGap) {
        const double avail = maxH - chromeHeight;
        const double fit4 = ((avail - 3 * rowGap) * 0.25 - cellCaptionHeight) / cellHeightFactor;
        if (cellWidth <= fit4) {
            cell = std::min(cell, fit4);
        } else {
            const double fit3 = ((avail - 2 * rowGap) / 3 - cellCaptionHeight) / cellHeightFactor;
            cell = std::min(cell, fit3);
            rows = 3;
        }
    }
    cell = std::max(cell, Shelf::smallestCellWidth);
    const double width = std::min(maxW, chromeW + cell * n);
    const double height =
        std::min(maxH, (cell * cellHeightFactor + cellCaptionHeight) * rows + chromeHeight + (rows - 1) * rowGap);
    return {width, height};
}

std::optional<QSizeF> AppDelegate::savedShelfSize() const
{
    // Kept as a small group: [shelfWindowSize] w=…, h=….
    bool wOk = false;
    bool hOk = false;
    const double w = m_prefs.value(PrefKey::shelfWindowSize + QStringLiteral("/w")).toDouble(&wOk);
    const double h = m_prefs.value(PrefKey::shelfWindowSize + QStringLiteral("/h")).toDouble(&hOk);
    if (!wOk || !hOk || !std::isfinite(w) || !std::isfinite(h))
        return std::nullopt;
    if (w < smallestSavedWidth || h < smallestSavedHeight)
        return std::nullopt;
    return QSizeF(w, h);
}

QSizeF AppDelegate::shelfSizeFor(const QRectF &vf) const
{
    const double maxW = screenFraction * vf.width();
    const double maxH = screenFraction * vf.height();
    if (const auto saved = savedShelfSize())
        return {std::min(maxW, saved->width()), std::min(maxH, saved->height())};
    return defaultShelfSize(vf, m_shelf->cellWidth());
}

void AppDelegate::showShelf()
{
    if (!m_window)
        return;
    QScreen *screen = screenUnderPointer();
    if (screen) {
        const QRectF vf = screen->availableGeometry();
        const double maxW = screenFraction * vf.width();
        const double maxH = screenFraction * vf.height();
        const QSizeF size = shelfSizeFor(vf);
        m_window->setMinimumSize(int(std::min(maxW, minimumWidth)), int(std::min(maxH, minimumHeight)));
        QRectF frame(QPointF(), size);
        frame.moveCenter(vf.center());
        m_window->placeAt(constrainedTo(integralRect(frame), screen->availableGeometry()));
    }
    m_shelf->scan();
    // What tidying would take now, for the status bar's offer.
    AutoTidy::shared().refresh(m_shelf->home());
    m_window->show();
    // Floating again, if it had handed over to another program.
    DesktopWindows::keepAbove(m_window.get(), true);
    m_window->raise();
    m_window->activateWindow();
    QPointer<ShelfWindow> window(m_window.get());
    QMetaObject::invokeMethod(
        this,
        [window] {
            if (!window)
                return;
            // The window itself holds the focus, so that activating it does
            // not hand the keys to the first field of the toolbar.
            window->setFocus(Qt::OtherFocusReason);
            Q_EMIT Notifications::shared().dropFocus();
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
    SettingsParts parts;
    parts.shelf = m_shelf.get();
    parts.prefs = &m_prefs;
    parts.tidy = &AutoTidy::shared();
    parts.indexer = &TextIndexer::shared();
    parts.meta = m_meta;
    parts.loginItem = m_loginItem.get();
    parts.systemThumbnail = m_systemThumbnail.get();
    parts.heartbeat = m_heartbeat;
    parts.folderChooser = m_sheetFolderChooser.get();
    parts.confirm = m_sheetConfirm.get();
    parts.runner = m_runner.get();
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
    if (front && front == m_quickLook->window()) {
        m_quickLook->close();
        return;
    }
    if (m_window)
        m_window->close();
}

void AppDelegate::focusSearch()
{
    // The search field is the shelf's: the sheet over it goes.
    closeSettings();
    if (m_window && m_window->isVisible() && !shelfIsKey()) {
        m_window->raise();
        m_window->activateWindow();
    }
    if (!m_window || !m_window->isVisible()) {
        showShelf();
        // After the show's own focus reset, which is queued.
        QMetaObject::invokeMethod(
            this, [] { Q_EMIT Notifications::shared().focusSearch(); }, Qt::QueuedConnection);
        return;
    }
    Q_EMIT Notifications::shared().focusSearch();
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

void AppDelegate::windowDidEndLiveResize(QSizeF size)
{
    m_prefs.setValue(PrefKey::shelfWindowSize + QStringLiteral("/w"), size.width());
    m_prefs.setValue(PrefKey::shelfWindowSize + QStringLiteral("/h"), size.height());
}

void AppDelegate::showAbout()
{
    if (m_about) {
        m_about->raise();
        m_about->activateWindow();
        return;
    }
    auto *box = new QMessageBox(m_window && m_window->isVisible() ? m_window.get() : nullptr);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowTitle(QStringLiteral("About Brindlewick"));
    box->setIconPixmap(appIcon().pixmap(64, 64));
    box->setTextFormat(Qt::RichText);
    box->setText(QStringLiteral("<b>Brindlewick</b><br>Version %1 (%2)")
                     .arg(QStringLiteral(BRINDLEWICK_VERSION), QStringLiteral(BRINDLEWICK_BUILD_NUMBER)));
    box->setInformativeText(QStringLiteral("Made by Merrowind \u00b7 <a href=\"%1\">%1</a><br>%2")
                                .arg(projectPage.toHtmlEscaped(), Texts::distributionNotice.toHtmlEscaped()));
    box->setStandardButtons(QMessageBox::Ok);
    box->setWindowModality(Qt::NonModal);
    m_about = box;
    box->show();
    box->raise();
    box->activateWindow();
}
