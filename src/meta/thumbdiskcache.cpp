#include "meta/thumbdiskcache.h"

#include "files/localpaths.h"

#include <QBuffer>
#include <QCryptographicHash>
#include <QDataStream>
#include <QDir>
#include <QFile>
#include <QImageReader>
#include <QSaveFile>
#include <QStandardPaths>

#include <algorithm>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>

namespace {

const QByteArray magic("BWTHUMB1");
// No thumbnail we make comes near this; anything bigger is not ours.
constexpr qint64 maxEntryBytes = 16 * 1024 * 1024;
constexpr int writesBetweenTrims = 64;

QByteArray encodeImage(const QImage &image)
{
    // JPEG is small and quick to decode; PNG only where there is transparency.
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    const bool ok = image.hasAlphaChannel() ? image.save(&buffer, "PNG") : image.save(&buffer, "JPEG", 90);
    return ok ? bytes : QByteArray();
}

} // namespace

ThumbDiskCache::ThumbDiskCache(const QString &dir, qint64 capBytes) : m_dir(dir), m_capBytes(capBytes)
{
    // Thumbnails show what the screenshots show: keep them to the user.
    QDir().mkpath(m_dir);
    QFile::setPermissions(m_dir, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
}

QString ThumbDiskCache::defaultDir()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation)
           + QStringLiteral("/Brindlewick/thumbnails");
}

std::optional<ThumbDiskCache::Stamp> ThumbDiskCache::stampOf(const QString &sourcePath)
{
    struct stat st;
    if (::stat(LocalPaths::pathBytes(sourcePath).constData(), &st) != 0 || !S_ISREG(st.st_mode))
        return std::nullopt;
    return Stamp{qint64(st.st_mtim.tv_sec) * 1000000000 + st.st_mtim.tv_nsec, qint64(st.st_size)};
}

QString ThumbDiskCache::entryPath(const QString &sourcePath, int size) const
{
    const QByteArray hash =
        QCryptographicHash::hash(LocalPaths::pathBytes(sourcePath), QCryptographicHash::Sha1).toHex();
    return m_dir + QLatin1Char('/') + QString::fromLatin1(hash) + QLatin1Char('-') + QString::number(size)
           + QStringLiteral(".thumb");
}

std::optional<QImage> ThumbDiskCache::read(const QString &sourcePath, int size, const Stamp &stamp) const
{
    QFile file(entryPath(sourcePath, size));
    if (!file.open(QIODevice::ReadOnly) || file.size() > maxEntryBytes)
        return std::nullopt;
    const QByteArray bytes = file.readAll();
    QDataStream in(bytes);
    QByteArray head(magic.size(), Qt::Uninitialized);
    in.readRawData(head.data(), int(head.size()));
    QString storedPath;
    qint64 mtimeNs = 0, sourceSize = 0;
    qint32 storedSize = 0;
    QByteArray digest, payload;
    in >> storedPath >> mtimeNs >> sourceSize >> storedSize >> digest >> payload;
    if (in.status() != QDataStream::Ok || head != magic || storedPath != sourcePath || storedSize != size
        || Stamp{mtimeNs, sourceSize} != stamp || QCryptographicHash::hash(payload, QCryptographicHash::Md5) != digest)
        return std::nullopt;
    QImage image;
    if (!image.loadFromData(payload))
        return std::nullopt;
    // Recently used entries are the last to go when the cache is trimmed.
    ::utimensat(AT_FDCWD, QFile::encodeName(file.fileName()).constData(), nullptr, 0);
    return image;
}

void ThumbDiskCache::write(const QString &sourcePath, int size, const Stamp &stamp, const QImage &image)
{
    const QByteArray payload = encodeImage(image);
    if (payload.isEmpty())
        return;
    QSaveFile file(entryPath(sourcePath, size));
    if (!file.open(QIODevice::WriteOnly))
        return;
    QDataStream out(&file);
    out.writeRawData(magic.constData(), int(magic.size()));
    out << sourcePath << stamp.mtimeNs << stamp.size << qint32(size)
        << QCryptographicHash::hash(payload, QCryptographicHash::Md5) << payload;
    if (out.status() != QDataStream::Ok || !file.commit())
        return;
    if (++m_writesSinceTrim >= writesBetweenTrims) {
        m_writesSinceTrim = 0;
        trim();
    }
}

void ThumbDiskCache::trim()
{
    struct Entry
    {
        qint64 used;
        qint64 bytes;
        QString path;
    };
    std::vector<Entry> entries;
    qint64 total = 0;
    const QFileInfoList infos = QDir(m_dir).entryInfoList({QStringLiteral("*.thumb")}, QDir::Files);
    for (const QFileInfo &info : infos) {
        entries.push_back({info.lastModified().toMSecsSinceEpoch(), info.size(), info.filePath()});
        total += info.size();
    }
    if (total <= m_capBytes)
        return;
    // Down to three quarters, so the next trim is a while away.
    std::sort(entries.begin(), entries.end(), [](const Entry &a, const Entry &b) { return a.used < b.used; });
    for (const Entry &e : entries) {
        if (total <= m_capBytes * 3 / 4)
            break;
        if (QFile::remove(e.path))
            total -= e.bytes;
    }
}
