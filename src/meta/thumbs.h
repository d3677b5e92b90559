#pragma once

#include <QHash>
#include <QImage>
#include <QList>
#include <QObject>
#include <QThreadPool>
#include <QUrl>

#include <functional>
#include <list>
#include <memory>
#include <optional>

class ThumbDiskCache;

// Small images of screenshot files for the grid cells, their drag images and
// the corner preview. Recently made ones stay in memory (at most 400, and at
// most a byte budget); made ones also stay on disk between runs. Decoding runs
// on a pool of worker threads, the most recently asked first, so the cells in
// view fill before the ones scrolled past. `load`, `cached` and every
// completion run on the GUI thread.
class Thumbs : public QObject
{
    Q_OBJECT

public:
    using Completion = std::function<void(const std::optional<QImage> &)>;

    static constexpr int countLimit = 400;
    // A 600 px thumbnail of a 16:10 screenshot is 0.9 MB of pixels, so 400 of
    // them would be 360 MB. 128 MB keep about 140: six screens of cells at the
    // default size, and a cell scrolled further back comes from the disk
    // cache in a few milliseconds.
    static constexpr qint64 defaultByteBudget = 128LL * 1024 * 1024;

    // `disk` may be null: no disk cache.
    explicit Thumbs(std::shared_ptr<ThumbDiskCache> disk, QObject *parent = nullptr);
    ~Thumbs() override;

    // Disk cache in $XDG_CACHE_HOME/Brindlewick/thumbnails.
    static Thumbs &shared();

    // "path#size"
    static QString key(const QUrl &file, int size);

    std::optional<QImage> cached(const QUrl &file, int size) const;
    // Calls `completion` at once with a cached image, or later with a new one
    // or with none (unreadable file, not an image). Failures are not cached.
    void load(const QUrl &file, int size, Completion completion);
    // Decodes an image whose longest side is at most `size`, upright. Any thread.
    static std::optional<QImage> makeThumbnail(const QUrl &file, int size);
    // Files here are always on the disk.
    bool needsDownload(const QUrl &) const { return false; }

    void setByteBudget(qint64 bytes);
    qint64 byteBudget() const { return m_byteBudget; }
    int cachedCount() const { return int(m_entries.size()); }
    qint64 cachedBytes() const { return m_bytes; }
    int pendingCount() const { return int(m_waiting.size()) + m_inFlight; }
    QThreadPool &pool() { return m_pool; }

private:
    struct Request
    {
        QUrl file;
        int size;
        QString key;
    };
    struct Entry
    {
        QImage image;
        std::list<QString>::iterator use;
    };

    void startWaiting();
    void finished(const QString &key, const std::optional<QImage> &image);
    void insert(const QString &key, const QImage &image);
    void evict();

    std::shared_ptr<ThumbDiskCache> m_disk;
    QHash<QString, Entry> m_entries;
    mutable std::list<QString> m_useOrder; // least recently used first
    qint64 m_bytes = 0;
    qint64 m_byteBudget = defaultByteBudget;
    QList<Request> m_waiting; // the last one is served first
    QHash<QString, QList<Completion>> m_completions; // waiting or decoding
    int m_inFlight = 0;
    QThreadPool m_pool;
};
