#include "model/shelf.h"

#include "files/localpaths.h"
#include "meta/metastore.h"
#include "model/listing.h"
#include "platform/folderwatch.h"
#include "platform/frontapp.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFile>
#include <QPointer>
#include <QTimer>

#include <algorithm>
#include <fcntl.h>
#include <sys/stat.h>

namespace {

// When a file came to be: the earlier of its birth time and its modification
// time, so a copy that keeps an old modification time is not new. Where the
// file system keeps no birth time, the modification time alone. Unreadable:
// the distant past.
double creationSeconds(const QString &path)
{
    struct statx st;
    if (::statx(AT_FDCWD, LocalPaths::pathBytes(path).constData(), AT_SYMLINK_NOFOLLOW, STATX_MTIME | STATX_BTIME, &st)
        != 0)
        return -1e300;
    const auto seconds = [](const statx_timestamp &t) { return double(t.tv_sec) + t.tv_nsec / 1e9; };
    double created = (st.stx_mask & STATX_MTIME) ? seconds(st.stx_mtime) : 1e300;
    if (st.stx_mask & STATX_BTIME)
        created = std::min(created, seconds(st.stx_btime));
    return created >= 1e300 ? -1e300 : created;
}

double nowSeconds() { return double(QDateTime::currentMSecsSinceEpoch()) / 1000.0; }

} // namespace

void Shelf::watch()
{
    m_homeSource.reset();
    m_currentSource.reset();
    m_homeSource = makeSource(m_home);
    if (!isHome())
        m_currentSource = makeSource(m_current);
}

void Shelf::watchCounts()
{
    // Each watch is an inotify instance, of which a user has 128 by default
    // (shared with every other program): the first subfolders only.
    constexpr qsizetype mostWatched = 32;
    QList<QUrl> wanted;
    for (const QUrl &sub : std::as_const(m_subfolders))
        if (sub != m_current && wanted.size() < mostWatched)
            wanted.append(sub);
    if (wanted == m_countsWatched)
        return;
    m_countsWatched = wanted;
    m_countSources.clear();
    QPointer<Shelf> self(this);
    for (const QUrl &sub : std::as_const(wanted)) {
        auto source =
            FolderWatch::open(sub.toLocalFile(), m_watchPool, [self](const QList<FolderWatch::Event> &events) {
                if (self)
                    self->countEvents(events);
            });
        if (source)
            m_countSources.push_back(std::move(source));
    }
}

void Shelf::countEvents(const QList<FolderWatch::Event> &events)
{
    using Event = FolderWatch::Event;
    for (const Event &event : events) {
        // Only images coming and going change a count; writes do not. Once
        // the watch is in place, a count taken before it may be stale.
        const bool counted =
            event.kind == Event::folder || event.kind == Event::watching
            || (!event.isFolder && !event.name.startsWith('.') && isImageName(event.name)
                && (event.kind == Event::created || event.kind == Event::movedIn || event.kind == Event::removed));
        if (counted) {
            scheduleScan();
            return;
        }
    }
}

std::unique_ptr<FolderWatch> Shelf::makeSource(const QUrl &folder)
{
    QPointer<Shelf> self(this);
    const QString path = folder.toLocalFile();
    return FolderWatch::open(path, m_watchPool, [self, path](const QList<FolderWatch::Event> &events) {
        if (self)
            self->folderEvents(path, events);
    });
}

void Shelf::folderEvents(const QString &folder, const QList<FolderWatch::Event> &events)
{
    using Event = FolderWatch::Event;
    const QString prefix = folder.endsWith(QLatin1Char('/')) ? folder : folder + QLatin1Char('/');
    const qint64 now = m_clock.elapsed();
    bool rescan = false;
    for (const Event &event : events) {
        if (event.kind == Event::watching) {
            if (m_scanWhenWatched)
                scan(); // waits again if the other folder is not watched yet
            continue;
        }
        if (event.kind == Event::folder) {
            rescan = true;
            continue;
        }
        if (event.name.startsWith('.'))
            continue; // hidden: never listed (a tool's temporary file, say)
        if (event.isFolder) {
            rescan = true; // a subfolder the column shows
            continue;
        }
        // Other files (a log written every second) cost nothing.
        if (!isImageName(event.name))
            continue;
        // Keyed as the listing names it: by its bytes, UTF-8 or not.
        const QString path = prefix + LocalPaths::pathText(event.name);
        switch (event.kind) {
        case Event::created:
        case Event::modified:
            // Half-written: kept off the shelf until it is closed or goes quiet.
            m_writing.insert(path, now);
            break;
        case Event::closedWritten:
        case Event::movedIn:
        case Event::removed:
            m_writing.remove(path);
            rescan = true;
            break;
        case Event::attributes: // a new modification time reorders the grid
            rescan = true;
            break;
        case Event::folder:
        case Event::watching:
            break;
        }
    }
    if (!m_writing.isEmpty()) {
        if (!m_quietCheck) {
            m_quietCheck = new QTimer(this);
            m_quietCheck->setSingleShot(true);
            connect(m_quietCheck, &QTimer::timeout, this, &Shelf::expireQuietWrites);
        }
        if (!m_quietCheck->isActive())
            m_quietCheck->start(writeQuietMs);
    }
    if (rescan)
        scheduleScan();
}

void Shelf::expireQuietWrites()
{
    // A writer that never closes its file (or a hard link, which is never
    // written) cannot hold an image back for ever.
    const qint64 now = m_clock.elapsed();
    qint64 nextDue = -1;
    bool expired = false;
    for (auto it = m_writing.begin(); it != m_writing.end();) {
        const qint64 due = it.value() + writeQuietMs;
        if (due <= now) {
            it = m_writing.erase(it);
            expired = true;
            continue;
        }
        nextDue = nextDue < 0 ? due : std::min(nextDue, due);
        ++it;
    }
    if (nextDue >= 0)
        m_quietCheck->start(int(nextDue - now));
    if (expired)
        scheduleScan();
}

void Shelf::scheduleScan()
{
    if (!m_pending) {
        // A child of the shelf: it stops with it, so a late timeout never
        // reaches a shelf that is gone.
        m_pending = new QTimer(this);
        m_pending->setSingleShot(true);
        connect(m_pending, &QTimer::timeout, this, &Shelf::scan);
    }
    // Each event pushes the rescan back, so a burst costs one listing; but
    // never past a limit, so a folder that never falls quiet is still listed.
    const qint64 now = m_clock.elapsed();
    if (!m_pending->isActive())
        m_firstUnservedMs = now;
    const qint64 due = std::min(now + rescanDelayMs, m_firstUnservedMs + rescanMaxWaitMs);
    m_pending->start(int(std::max<qint64>(due - now, 0)));
}

QUrl Shelf::noticeNew(const QList<QUrl> &images)
{
    if (m_firstScan) {
        remember(images);
        return {};
    }
    QList<QUrl> added;
    for (const QUrl &url : images)
        if (!m_known.contains(LocalPaths::localPath(url)))
            added.append(url);

    QUrl fresh;
    if (!added.isEmpty()) {
        // Asked once per scan, as close to the screenshot as we get.
        std::optional<RunningApp> front = m_frontApp ? m_frontApp->frontmost() : std::nullopt;
        if (front && front->pid == QCoreApplication::applicationPid())
            front.reset(); // our own window: nothing worth recording
        for (const QUrl &url : std::as_const(added)) {
            const double age = nowSeconds() - creationSeconds(LocalPaths::localPath(url));
            if (age >= freshAgeSeconds)
                continue;
            if (front && m_meta) {
                m_meta->update(url, [&front](FileMeta &m) {
                    m.app = front->name;
                    m.appPath = front->path;
                });
            }
            if (fresh.isEmpty())
                fresh = url; // the first listed is the newest
        }
    }
    remember(images);
    return fresh;
}

void Shelf::remember(const QList<QUrl> &images)
{
    m_known.clear();
    m_known.reserve(images.size());
    for (const QUrl &url : images)
        m_known.insert(LocalPaths::localPath(url));
    m_firstScan = false;
}
