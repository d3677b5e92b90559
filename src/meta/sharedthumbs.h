#pragma once

#include "meta/thumbdiskcache.h"

#include <QByteArray>
#include <QHash>
#include <QImage>
#include <QSize>
#include <QString>

#include <array>
#include <optional>

// The thumbnails the desktop shares: file managers and image viewers keep
// them in $XDG_CACHE_HOME/thumbnails, one PNG per file and size level, named
// by the MD5 of the file's URI and carrying that URI and the file's
// modification time in text chunks. Reading one is a small PNG decode instead
// of a screenshot's; writing what we decode spares the file manager the same
// work. An entry counts only while its URI and time (and its size, when it
// gives one) match the file as it is now. Files we cannot decode get an entry
// in our own fail folder so that nobody retries them until they change.
// Safe to use from several threads: entries are written to a temporary name
// and renamed.
class SharedThumbs
{
public:
    struct Level
    {
        const char *dir;
        int pixels;
    };
    static constexpr std::array<Level, 4> levels{
        {{"normal", 128}, {"large", 256}, {"x-large", 512}, {"xx-large", 1024}}};

    explicit SharedThumbs(const QString &root, const QByteArray &program = QByteArrayLiteral("brindlewick"));

    // $XDG_CACHE_HOME/thumbnails (~/.cache/thumbnails without it)
    static QString defaultRoot();

    // file:// and the path's bytes, escaped as GLib escapes them (the name
    // other programs hash).
    static QByteArray uriOf(const QString &path);

    // Whether thumbnails of this file belong here: a file of the thumbnail
    // folder itself never gets one.
    bool covers(const QString &path) const;

    QString entryPath(const QString &path, const Level &level) const;
    QString failPath(const QString &path) const;

    // A valid thumbnail whose longest side is at least `pixels` (the
    // smallest such level first), or one that holds the whole image, read
    // scaled to fit `pixels`.
    std::optional<QImage> read(const QString &path, int pixels, const ThumbDiskCache::Stamp &stamp) const;
    // Stores what we decoded at the level it fits: `whole` when `image` is
    // the whole source rather than a reduction. Leaves a valid entry alone.
    void write(const QString &path, const ThumbDiskCache::Stamp &stamp, const QImage &image, bool whole) const;

    bool failed(const QString &path, const ThumbDiskCache::Stamp &stamp) const;
    void writeFailure(const QString &path, const ThumbDiskCache::Stamp &stamp) const;

    // A PNG's size and text chunks (up to the image data), or nothing for a
    // file that is not a readable PNG.
    struct Head
    {
        QSize size;
        QHash<QByteArray, QByteArray> texts;
    };
    static std::optional<Head> readHead(const QString &pngPath);

private:
    bool valid(const QString &entry, const QByteArray &uri, const ThumbDiskCache::Stamp &stamp,
               Head *head = nullptr) const;
    bool store(const QString &entry, const QByteArray &png) const;

    QString m_root;
    QByteArray m_program;
};
