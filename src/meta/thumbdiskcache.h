#pragma once

#include <QImage>
#include <QString>

#include <atomic>
#include <optional>

// Made thumbnails kept on disk between runs, one file per source path and
// size, so that a folder seen before fills its screen at once. An entry
// records the source's modification time and size and is used only while both
// still match; an entry that cannot be read in full counts as missing.
// Safe to use from several threads: entries are written atomically.
class ThumbDiskCache
{
public:
    // 256 MB hold about 4000 thumbnails of 600 px screenshots.
    static constexpr qint64 defaultCapBytes = 256LL * 1024 * 1024;

    explicit ThumbDiskCache(const QString &dir, qint64 capBytes = defaultCapBytes);

    // $XDG_CACHE_HOME/Brindlewick/thumbnails
    static QString defaultDir();

    // What an entry is validated against: the source file as it is now.
    struct Stamp
    {
        qint64 mtimeNs = 0;
        qint64 size = 0;
        bool operator==(const Stamp &) const = default;
    };
    static std::optional<Stamp> stampOf(const QString &sourcePath);

    std::optional<QImage> read(const QString &sourcePath, int size, const Stamp &stamp) const;
    void write(const QString &sourcePath, int size, const Stamp &stamp, const QImage &image);

    // Deletes the least recently used entries until the cache is well under
    // its cap. Runs by itself every so many writes.
    void trim();

    QString dir() const { return m_dir; }
    QString entryPath(const QString &sourcePath, int size) const;

private:
    QString m_dir;
    qint64 m_capBytes;
    std::atomic<int> m_writesSinceTrim{0};
};
