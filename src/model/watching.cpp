#include "model/shelf.h"

#include "meta/metastore.h"
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
    if (::statx(AT_FDCWD, QFile::encodeName(path).constData(), AT_SYMLINK_NOFOLLOW,
                STATX_MTIME | STATX_BTIME, &st) != 0)
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

std::unique_ptr<FolderWatch> Shelf::makeSource(const QUrl &folder)
{
    QPointer<Shelf> self(this);
    return FolderWatch::open(folder.toLocalFile(), [self] {
        if (self)
            self->scheduleScan();
    });
}

void Shelf::scheduleScan()
{
    if (!m_pending) {
        // A child of the shelf: it stops with it, so a late timeout never
        // reaches a shelf that is gone.
        m_pending = new QTimer(this);
        m_pending->setSingleShot(true);
        m_pending->setInterval(rescanDelayMs);
        connect(m_pending, &QTimer::timeout, this, &Shelf::scan);
    }
    m_pending->start(); // restarting cancels the earlier one
}

void Shelf::noticeNew(const QList<QUrl> &images)
{
    if (m_firstScan) {
        remember(images);
        return;
    }
    QList<QUrl> added;
    for (const QUrl &url : images)
        if (!m_known.contains(url.toLocalFile()))
            added.append(url);

    QUrl fresh;
    if (!added.isEmpty()) {
        // Asked once per scan, as close to the screenshot as we get.
        std::optional<RunningApp> front = m_frontApp ? m_frontApp->frontmost() : std::nullopt;
        if (front && front->pid == QCoreApplication::applicationPid())
            front.reset(); // our own window: nothing worth recording
        for (const QUrl &url : std::as_const(added)) {
            const double age = nowSeconds() - creationSeconds(url.toLocalFile());
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
    // Last, so a callback that opens another folder starts from a clean slate.
    if (!fresh.isEmpty() && onFreshScreenshot)
        onFreshScreenshot(fresh);
}

void Shelf::remember(const QList<QUrl> &images)
{
    m_known.clear();
    m_known.reserve(images.size());
    for (const QUrl &url : images)
        m_known.insert(url.toLocalFile());
    m_firstScan = false;
}
