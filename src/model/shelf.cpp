#include "model/shelf.h"

#include "files/async.h"
#include "files/localpaths.h"
#include "meta/metastore.h"
#include "model/listing.h"
#include "platform/folderwatch.h"
#include "platform/threadpriority.h"
#include "system/capturelocation.h"
#include "system/prefs.h"

#include <QDir>
#include <QFileInfo>
#include <QPointer>
#include <QTimer>

#include <cmath>
#include <cstdio>
#include <sys/stat.h>
#include <unistd.h>

namespace {

bool existsAt(const QString &path)
{
    // A dangling symlink still counts as "something exists at that path".
    struct stat st;
    return !path.isEmpty() && ::lstat(QFile::encodeName(path).constData(), &st) == 0;
}

// Home must be a folder: a chosen path that is now a file, a link to one, or
// nothing at all lists as an empty Home, "0 images", and hides where the
// screenshots really are.
bool isFolderAt(const QString &path)
{
    struct stat st;
    return !path.isEmpty() && ::stat(QFile::encodeName(path).constData(), &st) == 0 && S_ISDIR(st.st_mode);
}

void writeDebugLine(const QString &current, qsizetype images, qsizetype subfolders)
{
    // Concatenated: a path holding "%1" must not take part in the formatting.
    const QByteArray line =
        (QStringLiteral("[Brindlewick] ") + current + QStringLiteral(": ") + QString::number(images)
         + QStringLiteral(" images, ") + QString::number(subfolders) + QStringLiteral(" subfolders\n"))
            .toUtf8();
    // One write per line so lines from overlapping scans never interleave.
    [[maybe_unused]] const auto written = ::write(STDERR_FILENO, line.constData(), size_t(line.size()));
}

} // namespace

Shelf::Shelf(Prefs &prefs, CaptureLocation &capture, MetaStore *meta, FrontApp *frontApp, QObject *parent)
    : QObject(parent), m_prefs(prefs), m_capture(capture), m_meta(meta), m_frontApp(frontApp)
{
    m_home = homeFolder(prefs, capture);
    m_current = m_home;
    m_cellWidth = initialCellWidth(prefs);
    m_clock.start();
    m_scanPool.setObjectName(QStringLiteral("brindlewick.scan"));
    m_scanPool.setMaxThreadCount(2);
    m_watchPool.setObjectName(QStringLiteral("brindlewick.watch"));
    m_watchPool.setMaxThreadCount(1);
    watch();
    scan();
}

Shelf::~Shelf()
{
    // No listing or watch arming outlives the shelf, nor starts once it is going.
    for (QThreadPool *pool : {&m_scanPool, &m_watchPool}) {
        pool->clear();
        pool->waitForDone();
    }
}

QUrl Shelf::homeFolder(Prefs &prefs, CaptureLocation &capture)
{
    QString homePath;
    const QByteArray envFolder = qgetenv("BRINDLEWICK_FOLDER");
    const QString chosen = prefs.text(PrefKey::folder);
    if (!envFolder.isEmpty())
        homePath = QFile::decodeName(envFolder);
    else if (isFolderAt(chosen))
        homePath = chosen;
    else
        homePath = capture.systemFolder();
    return folderUrl(homePath);
}

double Shelf::initialCellWidth(Prefs &prefs)
{
    const double stored = prefs.number(PrefKey::cellWidth, 0);
    if (!(stored > 0))
        return defaultCellWidth;
    return std::clamp(stored, smallestCellWidth, largestCellWidth);
}

QUrl Shelf::folderKey(const QUrl &folder) { return folderUrl(folder.toLocalFile()); }

QDateTime Shelf::modified(const QUrl &url) const
{
    const auto it = m_stamps.constFind(url);
    return it == m_stamps.cend() ? QDateTime() : QDateTime::fromMSecsSinceEpoch(it->mtimeNs / 1000000, Qt::UTC);
}

bool Shelf::hasText(const QUrl &url) const
{
    const std::optional<FileMeta> record = m_meta ? m_meta->meta(url) : std::nullopt;
    return record && record->hasTextFor(modified(url));
}

bool Shelf::isHome() const { return folderKey(m_current) == folderKey(m_home); }

Shelf::ScanResult Shelf::runScan(const QString &current, const QString &home)
{
    ScanResult result;
    const bool currentIsHome = current == home;
    // Home is read once: its images (when shown), its count and its subfolders.
    FolderListing homeListing = listFolder(home, listLimit, countLimit, currentIsHome, true);
    FolderListing shown = currentIsHome ? FolderListing() : listFolder(folderPath(current), listLimit, 0, true, false);
    FolderListing &images = currentIsHome ? homeListing : shown;
    result.images = std::move(images.images);
    result.stamps = std::move(images.stamps);
    result.subfolders = homeListing.subfolders;
    result.counts.insert(QUrl::fromLocalFile(home), homeListing.imageCount);
    for (const QUrl &sub : std::as_const(result.subfolders))
        result.counts.insert(sub, countImages(sub.toLocalFile(), countLimit));
    if (qEnvironmentVariableIsSet("BRINDLEWICK_DEBUG"))
        writeDebugLine(current, result.images.size(), result.subfolders.size());
    return result;
}

void Shelf::scan()
{
    // This scan sees whatever a pending rescan was waiting for.
    if (m_pending)
        m_pending->stop();

    // A Home that vanished gives way to the screenshot tool's folder, if that
    // exists. What that folder already holds is not news.
    const QString homePath = m_home.toLocalFile();
    if (!existsAt(homePath)) {
        const QUrl fallback = folderUrl(m_capture.systemFolder());
        if (fallback != m_home && existsAt(fallback.toLocalFile())) {
            setHomeAndCurrent(fallback, fallback);
            m_known.clear();
            m_firstScan = true;
            dropRunningScans();
            watch();
        }
    }

    // Listed only once the folders are watched, so no change between the
    // listing and the watch goes unseen; the watch's `watching` event scans.
    if ((m_homeSource && !m_homeSource->ready()) || (m_currentSource && !m_currentSource->ready())) {
        m_scanWhenWatched = true;
        return;
    }
    m_scanWhenWatched = false;

    const QString current = m_current.toLocalFile();
    const QString home = m_home.toLocalFile();
    const quint64 serial = ++m_scansStarted;
    Async::run(
        m_scanPool, this,
        [scanner = m_scanner, current, home] {
            // Listing stands back for the GUI thread: below thumbnails, above
            // text recognition.
            standBack(Background::utility);
            return scanner(current, home);
        },
        [this, serial](ScanResult result) { applyScan(serial, std::move(result)); });
}

void Shelf::applyScan(quint64 serial, ScanResult result)
{
    // Scans overlap and finish in any order: one started before the folders
    // changed, or before a scan already shown, would show the past.
    if (serial < m_staleBefore)
        return;
    m_staleBefore = serial + 1;
    // Images still being written wait for their last byte.
    if (!m_writing.isEmpty())
        result.images.removeIf([this](const QUrl &url) { return m_writing.contains(LocalPaths::localPath(url)); });

    const QUrl fresh = noticeNew(result.images);
    QList<QUrl> changed;
    for (const QUrl &url : std::as_const(result.images)) {
        const auto was = m_stamps.constFind(url);
        if (was != m_stamps.cend() && *was != result.stamps.value(url))
            changed.append(url);
    }
    // Before the items are published, so whoever draws them asks for the
    // new content, and text recognised from the old content counts as stale.
    m_stamps = std::move(result.stamps);
    const bool sameItems = result.images == m_items;
    setItems(result.images);
    if (!changed.isEmpty()) {
        Q_EMIT contentChanged(changed);
        // A file saved over an old name is the same item with new contents:
        // whoever reads items (its text, its badge) looks again.
        if (sameItems)
            Q_EMIT itemsChanged();
    }
    setSubfolders(result.subfolders);
    setFolderCounts(result.counts);
    watchCounts();
    QSet<QUrl> kept;
    for (const QUrl &url : result.images)
        if (m_selection.contains(url))
            kept.insert(url);
    setSelection(kept);
    // A later Shift+click adds to the base: a file gone from the folder must
    // not come back into the selection that way.
    const QSet<QUrl> listed(result.images.cbegin(), result.images.cend());
    m_base.intersect(listed);
    Q_EMIT scanApplied();
    // Last, so whoever opens another folder in answer starts from a clean slate.
    if (!fresh.isEmpty())
        Q_EMIT freshScreenshot(fresh);
}

void Shelf::openFolder(const QUrl &folder)
{
    const QUrl key = folderKey(folder);
    if (key == m_current)
        return;
    m_current = key;
    Q_EMIT currentChanged();
    setSelection({});
    m_base.clear();
    m_known.clear();
    m_firstScan = true;
    dropRunningScans();
    watch();
    scan();
}

void Shelf::setHome(const QUrl &folder)
{
    const QUrl key = folderKey(folder);
    setHomeAndCurrent(key, key);
    setSelection({});
    m_base.clear();
    m_known.clear();
    m_firstScan = true;
    dropRunningScans();
    m_prefs.setValue(PrefKey::folder, key.toLocalFile());
    m_capture.apply(key.toLocalFile());
    watch();
    scan();
}

void Shelf::chooseHome(FolderChooser &chooser)
{
    QPointer<Shelf> self(this);
    chooser.chooseFolder(m_home.toLocalFile(), tr("Use this folder"),
                         tr("Screenshots will be shown from, and saved to, this folder."),
                         [self](const QString &chosen) {
                             if (self && isFolderAt(chosen))
                                 self->setHome(QUrl::fromLocalFile(chosen));
                         });
}

void Shelf::zoom(double delta)
{
    const double target = std::round(m_cellWidth + delta); // std::round rounds half away from zero
    setCellWidth(std::clamp(target, smallestCellWidth, largestCellWidth));
}

void Shelf::setCellWidth(double width)
{
    m_prefs.setValue(PrefKey::cellWidth, width);
    if (width == m_cellWidth)
        return;
    m_cellWidth = width;
    Q_EMIT cellWidthChanged();
}

FileStamps Shelf::stamps(const QList<QUrl> &files) const
{
    FileStamps known;
    for (const QUrl &file : files)
        if (const auto it = m_stamps.constFind(file); it != m_stamps.cend())
            known.insert(file, *it);
    return known;
}

void Shelf::setHomeAndCurrent(const QUrl &home, const QUrl &current)
{
    if (home != m_home) {
        m_home = home;
        Q_EMIT homeChanged();
    }
    if (current != m_current) {
        m_current = current;
        Q_EMIT currentChanged();
    }
}

void Shelf::setItems(const QList<QUrl> &items)
{
    if (items == m_items)
        return;
    m_items = items;
    Q_EMIT itemsChanged();
}

void Shelf::setSubfolders(const QList<QUrl> &subfolders)
{
    if (subfolders == m_subfolders)
        return;
    m_subfolders = subfolders;
    Q_EMIT subfoldersChanged();
}

void Shelf::setFolderCounts(const FolderCounts &counts)
{
    if (counts == m_folderCounts)
        return;
    m_folderCounts = counts;
    Q_EMIT folderCountsChanged();
}

void Shelf::setSelection(const QSet<QUrl> &selection)
{
    if (selection == m_selection)
        return;
    m_selection = selection;
    Q_EMIT selectionChanged();
}

void Shelf::setHovered(const QUrl &url)
{
    if (url == m_hovered)
        return;
    m_hovered = url;
    Q_EMIT hoveredChanged();
}

void Shelf::setQuery(const QString &query)
{
    if (query == m_query)
        return;
    m_query = query;
    Q_EMIT queryChanged();
}

void Shelf::setCursor(const QUrl &url)
{
    if (url == m_cursor)
        return;
    m_cursor = url;
    Q_EMIT cursorChanged();
}
