#include "meta/sharedthumbs.h"

#include "codec/pngscale.h"
#include "files/localpaths.h"
#include "files/logcategories.h"

#include <QBuffer>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QImageWriter>
#include <QStandardPaths>

#include <isa-l/crc.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Nothing at the largest level comes near this; a bigger file is not a thumbnail.
constexpr qint64 maxThumbPixels = 4LL * 1024 * 1024;
constexpr quint32 maxTextChunk = 64 * 1024;
constexpr int maxChunksBeforeData = 64;
const char pngSignature[8] = {'\x89', 'P', 'N', 'G', '\r', '\n', '\x1a', '\n'};

quint32 bigEndian(const uchar *bytes)
{
    return quint32(bytes[0]) << 24 | quint32(bytes[1]) << 16 | quint32(bytes[2]) << 8 | bytes[3];
}

void appendBigEndian(QByteArray &out, quint32 value)
{
    const char bytes[4] = {char(value >> 24), char(value >> 16), char(value >> 8), char(value)};
    out.append(bytes, 4);
}

quint32 chunkCrc(const QByteArray &typeAndData)
{
    return crc32_gzip_refl(0, reinterpret_cast<const uchar *>(typeAndData.constData()), uint64_t(typeAndData.size()));
}

QByteArray textChunk(const QByteArray &key, const QByteArray &value)
{
    const QByteArray body = QByteArrayLiteral("tEXt") + key + '\0' + value;
    QByteArray chunk;
    appendBigEndian(chunk, quint32(body.size() - 4));
    chunk += body;
    appendBigEndian(chunk, chunkCrc(body));
    return chunk;
}

qint64 mtimeSeconds(const ThumbDiskCache::Stamp &stamp)
{
    return stamp.mtimeNs >= 0 ? stamp.mtimeNs / 1000000000 : -((-stamp.mtimeNs + 999999999) / 1000000000);
}

// The PNG of `image` with the entry's text chunks after its header.
QByteArray encodeEntry(const QImage &image, const QList<std::pair<QByteArray, QByteArray>> &texts)
{
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, "png");
    // zlib's fastest level: twice as fast as Qt's default here, and smaller
    // on screenshots.
    writer.setQuality(80);
    if (!writer.write(image) || png.size() < 33 || !png.startsWith(QByteArray(pngSignature, 8)))
        return {};
    QByteArray chunks;
    for (const auto &[key, value] : texts)
        chunks += textChunk(key, value);
    return png.insert(33, chunks); // after the signature and IHDR
}

const SharedThumbs::Level *levelFor(const QImage &image, bool whole)
{
    const int longest = std::max(image.width(), image.height());
    // The whole of a small image goes where it fits unscaled; a reduction
    // goes to the largest level it fills.
    if (whole) {
        for (const auto &level : SharedThumbs::levels) {
            if (longest <= level.pixels)
                return &level;
        }
        return &SharedThumbs::levels.back();
    }
    const SharedThumbs::Level *best = nullptr;
    for (const auto &level : SharedThumbs::levels) {
        if (level.pixels <= longest)
            best = &level;
    }
    return best;
}

} // namespace

SharedThumbs::SharedThumbs(const QString &root, const QByteArray &program) : m_root(root), m_program(program) {}

QString SharedThumbs::defaultRoot()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) + QStringLiteral("/thumbnails");
}

QByteArray SharedThumbs::uriOf(const QString &path)
{
    // GLib's escaping of a path: letters, digits and -_.!~*'()/:@&=+$, stay.
    static const QByteArray kept("-_.!~*'()/:@&=+$,");
    const QByteArray bytes = LocalPaths::pathBytes(QDir::cleanPath(path));
    QByteArray uri("file://");
    for (const char c : bytes) {
        const auto u = uchar(c);
        if ((u >= 'a' && u <= 'z') || (u >= 'A' && u <= 'Z') || (u >= '0' && u <= '9') || kept.contains(c)) {
            uri += c;
        } else {
            static const char hex[] = "0123456789ABCDEF";
            uri += '%';
            uri += hex[u >> 4];
            uri += hex[u & 15];
        }
    }
    return uri;
}

bool SharedThumbs::covers(const QString &path) const
{
    const QString root = QDir::cleanPath(m_root) + QLatin1Char('/');
    return !m_root.isEmpty() && path.startsWith(QLatin1Char('/')) && !QDir::cleanPath(path).startsWith(root);
}

static QString entryName(const QString &path)
{
    return QString::fromLatin1(QCryptographicHash::hash(SharedThumbs::uriOf(path), QCryptographicHash::Md5).toHex())
           + QStringLiteral(".png");
}

QString SharedThumbs::entryPath(const QString &path, const Level &level) const
{
    return m_root + QLatin1Char('/') + QLatin1String(level.dir) + QLatin1Char('/') + entryName(path);
}

QString SharedThumbs::failPath(const QString &path) const
{
    return m_root + QStringLiteral("/fail/") + QString::fromLatin1(m_program) + QLatin1Char('/') + entryName(path);
}

std::optional<SharedThumbs::Head> SharedThumbs::readHead(const QString &pngPath)
{
    std::unique_ptr<FILE, int (*)(FILE *)> file(std::fopen(QFile::encodeName(pngPath).constData(), "rbe"), std::fclose);
    if (!file)
        return std::nullopt;
    char signature[8];
    if (std::fread(signature, 1, 8, file.get()) != 8 || std::memcmp(signature, pngSignature, 8) != 0)
        return std::nullopt;
    Head head;
    for (int i = 0; i < maxChunksBeforeData; ++i) {
        uchar header[8];
        if (std::fread(header, 1, 8, file.get()) != 8)
            return std::nullopt;
        const quint32 length = bigEndian(header);
        const QByteArray type(reinterpret_cast<const char *>(header + 4), 4);
        if (type == "IDAT" || type == "IEND")
            return head.size.isValid() ? std::optional(head) : std::nullopt;
        if (type != "IHDR" && type != "tEXt") {
            if (length > 0x7fffffff || std::fseek(file.get(), long(length) + 4, SEEK_CUR) != 0)
                return std::nullopt;
            continue;
        }
        if (length > maxTextChunk)
            return std::nullopt;
        QByteArray body = type + QByteArray(int(length), Qt::Uninitialized);
        uchar crc[4];
        if (std::fread(body.data() + 4, 1, length, file.get()) != length || std::fread(crc, 1, 4, file.get()) != 4
            || bigEndian(crc) != chunkCrc(body))
            return std::nullopt;
        const QByteArray data = body.mid(4);
        if (type == "IHDR") {
            if (length != 13)
                return std::nullopt;
            head.size = QSize(int(bigEndian(reinterpret_cast<const uchar *>(data.constData())) & 0x7fffffff),
                              int(bigEndian(reinterpret_cast<const uchar *>(data.constData()) + 4) & 0x7fffffff));
        } else if (const qsizetype nul = data.indexOf('\0'); nul > 0) {
            head.texts.insert(data.left(nul), data.mid(nul + 1));
        }
    }
    return std::nullopt;
}

bool SharedThumbs::valid(const QString &entry, const QByteArray &uri, const ThumbDiskCache::Stamp &stamp,
                         Head *head) const
{
    const auto read = readHead(entry);
    if (!read || read->texts.value("Thumb::URI") != uri)
        return false;
    bool ok = false;
    if (read->texts.value("Thumb::MTime").toLongLong(&ok) != mtimeSeconds(stamp) || !ok)
        return false;
    // Optional, but where given it also tells an edit within the same second.
    if (const auto size = read->texts.constFind("Thumb::Size");
        size != read->texts.cend() && size->toLongLong() != stamp.size)
        return false;
    if (head)
        *head = *read;
    return true;
}

std::optional<QImage> SharedThumbs::read(const QString &path, int pixels, const ThumbDiskCache::Stamp &stamp) const
{
    if (!covers(path))
        return std::nullopt;
    const QByteArray uri = uriOf(path);
    // The smallest level that is large enough, then the larger ones, then
    // the smaller ones in case one holds a small image whole.
    QList<const Level *> order;
    for (const auto &level : levels) {
        if (level.pixels >= pixels)
            order.append(&level);
    }
    for (auto level = levels.rbegin(); level != levels.rend(); ++level) {
        if (level->pixels < pixels)
            order.append(&*level);
    }
    for (const Level *level : std::as_const(order)) {
        const QString entry = entryPath(path, *level);
        Head head;
        if (!valid(entry, uri, stamp, &head))
            continue;
        const bool large = std::max(head.size.width(), head.size.height()) >= pixels;
        const bool whole = head.texts.value("Thumb::Image::Width").toInt() == head.size.width()
                           && head.texts.value("Thumb::Image::Height").toInt() == head.size.height();
        if (!large && !whole)
            continue;
        // Through our own bounded reader, like any PNG.
        PngScale::Result png = PngScale::readScaled(entry, pixels, maxThumbPixels);
        if (png.outcome == PngScale::Outcome::Done)
            return std::move(png.image);
        qCDebug(lcThumbs) << "a shared thumbnail cannot be read" << entry;
    }
    return std::nullopt;
}

bool SharedThumbs::store(const QString &entry, const QByteArray &png) const
{
    // New folders keep what the screenshots show to the user; folders that
    // exist are another program's business.
    const QString dir = QFileInfo(entry).absolutePath();
    if (!QDir().mkpath(QFileInfo(m_root).absolutePath()))
        return false;
    QStringList chain;
    for (QString d = dir; d.size() >= m_root.size(); d = QFileInfo(d).absolutePath())
        chain.prepend(d);
    for (const QString &d : std::as_const(chain)) {
        if (::mkdir(QFile::encodeName(d).constData(), 0700) != 0 && errno != EEXIST)
            return false;
    }
    QByteArray temp = QFile::encodeName(entry) + ".XXXXXX";
    const int fd = ::mkostemp(temp.data(), O_CLOEXEC); // 0600
    if (fd < 0)
        return false;
    qint64 written = 0;
    while (written < png.size()) {
        const ssize_t n = ::write(fd, png.constData() + written, size_t(png.size() - written));
        if (n <= 0)
            break;
        written += n;
    }
    const bool ok = ::close(fd) == 0 && written == png.size()
                    && ::rename(temp.constData(), QFile::encodeName(entry).constData()) == 0;
    if (!ok)
        ::unlink(temp.constData());
    return ok;
}

void SharedThumbs::write(const QString &path, const ThumbDiskCache::Stamp &stamp, const QImage &image, bool whole) const
{
    const Level *level = levelFor(image, whole);
    if (!covers(path) || image.isNull() || !level)
        return;
    const QString entry = entryPath(path, *level);
    const QByteArray uri = uriOf(path);
    if (valid(entry, uri, stamp))
        return; // someone made it already
    QImage fitted = image;
    if (std::max(image.width(), image.height()) > level->pixels)
        fitted = image.scaled(level->pixels, level->pixels, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    QList<std::pair<QByteArray, QByteArray>> texts{{"Thumb::URI", uri},
                                                   {"Thumb::MTime", QByteArray::number(mtimeSeconds(stamp))},
                                                   {"Thumb::Size", QByteArray::number(stamp.size)},
                                                   {"Software", "Brindlewick"}};
    if (whole) {
        texts.append({"Thumb::Image::Width", QByteArray::number(image.width())});
        texts.append({"Thumb::Image::Height", QByteArray::number(image.height())});
    }
    const QByteArray png = encodeEntry(fitted, texts);
    // Checked again at the last moment: one made meanwhile is not replaced.
    if (!png.isEmpty() && !valid(entry, uri, stamp))
        store(entry, png);
}

bool SharedThumbs::failed(const QString &path, const ThumbDiskCache::Stamp &stamp) const
{
    return covers(path) && valid(failPath(path), uriOf(path), stamp);
}

void SharedThumbs::writeFailure(const QString &path, const ThumbDiskCache::Stamp &stamp) const
{
    if (!covers(path))
        return;
    QImage dot(1, 1, QImage::Format_ARGB32);
    dot.fill(Qt::transparent);
    const QByteArray png = encodeEntry(dot, {{"Thumb::URI", uriOf(path)},
                                             {"Thumb::MTime", QByteArray::number(mtimeSeconds(stamp))},
                                             {"Thumb::Size", QByteArray::number(stamp.size)},
                                             {"Software", "Brindlewick"}});
    if (!png.isEmpty())
        store(failPath(path), png);
}
