#pragma once

#include <QHash>
#include <QImage>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QThreadPool>
#include <QUrl>

#include <array>
#include <atomic>
#include <functional>
#include <list>
#include <memory>
#include <optional>

#include "meta/sharedthumbs.h"
#include "meta/thumbdiskcache.h"

// Small images of screenshot files for the grid cells, their drag images and
// the corner preview, made off the GUI thread and handed back on it.
//
// How a grid uses it:
// - Sizes are logical (the cell's width in points) with the screen's device
//   pixel ratio. The pixel size needed is rounded up to one of `sizeSteps`,
//   and an image already made at a larger step serves a smaller request, so
//   zooming the cells does not decode every image again. The image handed
//   back is at least as large as asked (unless the file is smaller), with
//   its devicePixelRatio set to the one asked for: draw it aspect-fit.
// - `cached()` answers from memory only; a painting cell calls it first.
// - `request()` answers from memory at once (the completion runs before it
//   returns, and the ticket is 0), or later, on the GUI thread, with the
//   image or with a null image for a file that cannot be read. The request
//   belongs to `context`: once that is destroyed its completions never run
//   and its queued work is dropped. Asking again for the same file and size
//   with the same context replaces the earlier completion (same ticket) and
//   moves the file to the front of the queue.
// - `cancel(ticket)` or `cancel(context)` forget requests: a cell scrolled
//   away, a view that changed folders.
// - The queue serves the most recently asked first; `prioritize()` with the
//   files in view (first row first) puts them ahead of everything else. At
//   most `queueLimit` files wait; beyond that the longest-waiting are dropped
//   with their requests, without an answer: their cells are off screen and
//   ask again when they come back.
// An image in memory or on disk counts only while the file's modification
// time and size are what they were when it was made, so an edited file is
// made again. In memory at most `countLimit` images and a byte budget.
// Behind memory come our disk cache, then the desktop's shared thumbnails,
// then decoding; what is decoded goes to both caches, what a shared one served
// to ours (it reads twice as fast).
class Thumbs : public QObject
{
    Q_OBJECT

public:
    using Ticket = quint64;
    using Completion = std::function<void(const QImage &)>;

    static constexpr std::array<int, 6> sizeSteps{256, 384, 512, 768, 1024, 1536};
    static constexpr int countLimit = 400;
    static constexpr int queueLimit = 2 * countLimit;
    // A 768 px thumbnail of a 16:10 screenshot (a 300 pt cell on a 2x screen)
    // is 1.4 MiB of pixels; 120 MiB keep 85 of them, four screens of cells,
    // and a cell scrolled further back comes from the disk cache in a few
    // milliseconds. At 1x the same budget keeps about 340. (A flat budget
    // stands in for the system's memory pressure; with two thumbnails being
    // made and the program's own, a folder's first fill peaks near 155 MB.)
    static constexpr qint64 defaultByteBudget = 120LL * 1024 * 1024;

    // `disk` and `shared` may be null: no such cache.
    explicit Thumbs(std::shared_ptr<ThumbDiskCache> disk, std::shared_ptr<SharedThumbs> shared = {},
                    QObject *parent = nullptr);
    ~Thumbs() override;

    // The step that serves `logicalSize` at `dpr` (the largest step beyond).
    static int stepFor(qreal logicalSize, qreal dpr);

    QImage cached(const QUrl &file, qreal logicalSize, qreal dpr) const;
    Ticket request(const QUrl &file, qreal logicalSize, qreal dpr, QObject *context, Completion completion);
    void cancel(Ticket ticket);
    void cancel(QObject *context);
    void prioritize(const QList<QUrl> &files);

    // Decodes an image whose longest side is at most `pixels`, upright. Any thread.
    static std::optional<QImage> makeThumbnail(const QUrl &file, int pixels);
    // Files here are always on the disk.
    bool needsDownload(const QUrl &) const { return false; }

    void setByteBudget(qint64 bytes);
    qint64 byteBudget() const { return m_byteBudget; }
    int cachedCount() const { return int(m_entries.size()); }
    qint64 cachedBytes() const { return m_bytes; }
    int pendingCount() const { return int(m_waiting.size()) + m_inFlight; }
    QThreadPool &pool() { return m_pool; }

private:
    using Stamp = ThumbDiskCache::Stamp;
    struct Entry
    {
        QImage image;
        Stamp stamp;
        bool whole = false; // the whole source: serves every step
        std::list<QString>::iterator use;
    };
    struct Waiter
    {
        Ticket ticket;
        QObject *context;        // who asked, compared only
        QPointer<QObject> alive; // the same, to know it still exists
        qreal dpr;
        Completion completion;
    };
    struct Job
    {
        QUrl file;
        int step;
        QList<Waiter> waiters;
        bool running = false;
    };
    struct Made
    {
        std::optional<QImage> image;
        std::optional<Stamp> stamp;
        bool share = false; // decoded here: worth a shared thumbnail
        bool keep = false;  // read from a shared one: worth our own entry, which reads faster
    };

    static QString entryKey(const QString &path, int step);
    static Made make(const std::shared_ptr<ThumbDiskCache> &disk, const std::shared_ptr<SharedThumbs> &shared,
                     const QUrl &file, int step);
    const Entry *lookup(const QString &path, int step, const Stamp &stamp) const;
    void watch(QObject *context);
    void forget(const Job &job);
    void trimQueue();
    void startWaiting();
    void finished(const QString &key, Made made);
    void writeLater(const QString &path, int step, const Stamp &stamp, const QImage &image, bool whole,
                    const Made &made);
    void insert(const QString &key, const QImage &image, Stamp stamp, bool whole);
    // Down to the limits, leaving room for `coming` bytes more in one entry.
    void evict(qint64 coming = 0);

    std::shared_ptr<ThumbDiskCache> m_disk;
    std::shared_ptr<SharedThumbs> m_shared;
    QHash<QString, Entry> m_entries;       // by path and step
    mutable std::list<QString> m_useOrder; // least recently used first
    qint64 m_bytes = 0;
    qint64 m_byteBudget = defaultByteBudget;
    QHash<QString, Job> m_jobs;       // waiting or decoding, by path and step
    QList<QString> m_waiting;         // not started; the first is served first
    QHash<Ticket, QString> m_tickets; // to their job
    QHash<QObject *, QMetaObject::Connection> m_contexts;
    Ticket m_lastTicket = 0;
    int m_inFlight = 0;
    QThreadPool m_pool;
    // Shared thumbnails, and our entries for what they served, are written
    // after the image is handed over, on a thread of their own, and finished
    // before the service goes.
    QThreadPool m_shareWrites;
    std::atomic<int> m_sharesPending{0};
};
