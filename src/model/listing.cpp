#include "model/listing.h"

#include "files/localpaths.h"
#include "files/logcategories.h"

#include <QCollator>
#include <QDir>
#include <QFile>
#include <QSemaphore>
#include <QStringDecoder>
#include <QThread>
#include <QThreadPool>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <limits>
#include <memory>
#include <string_view>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// The image/* globs of shared-mime-info, lower-case, without the dot.
constexpr std::array<std::string_view, 52> kImageExtensions = {
    "png",  "jpg", "jpeg", "jpe",  "jfif", "gif", "bmp",  "dib", "tif", "tiff", "webp", "heic", "heif",
    "avif", "jxl", "ico",  "icns", "cur",  "svg", "svgz", "tga", "psd", "xcf",  "ppm",  "pgm",  "pbm",
    "pnm",  "pam", "xpm",  "xbm",  "jp2",  "jpf", "jpx",  "j2k", "exr", "hdr",  "dng",  "cr2",  "cr3",
    "crw",  "nef", "nrw",  "arw",  "orf",  "rw2", "raf",  "pef", "srw", "dds",  "ktx",  "qoi",  "wbmp"};

bool isHiddenName(const char *name) { return name[0] == '.'; }

// An image found in a folder: its name in the listing's name buffer, its
// modification time once known, and its place in directory order.
struct Entry
{
    qint64 mtimeNs;
    quint32 nameAt;
    quint32 order;
    qint64 size = -1;
    quint64 inode = 0;
};

// Marks an entry whose stat failed (gone, or no longer a regular file).
constexpr qint64 kNoFile = std::numeric_limits<qint64>::max();
// Below this many images one thread stats them all; above, the work is shared.
constexpr size_t kSharedStatThreshold = 4096;
constexpr size_t kStatChunk = 1024;

class DirReader
{
public:
    explicit DirReader(const QString &folder)
    {
        const QByteArray path = LocalPaths::pathBytes(folder);
        const int fd = ::open(path.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (fd < 0)
            return;
        m_dir = ::fdopendir(fd);
        if (!m_dir)
            ::close(fd);
    }
    ~DirReader()
    {
        if (m_dir)
            ::closedir(m_dir);
    }
    DirReader(const DirReader &) = delete;
    DirReader &operator=(const DirReader &) = delete;

    DIR *dir() const { return m_dir; }
    int fd() const { return m_dir ? ::dirfd(m_dir) : -1; }

private:
    DIR *m_dir = nullptr;
};

// The entry type without following symlinks; asks the file system only when
// the directory entry does not carry it.
unsigned char entryType(int dirFd, const dirent *entry)
{
    if (entry->d_type != DT_UNKNOWN)
        return entry->d_type;
    struct statx sx;
    if (::statx(dirFd, entry->d_name, AT_SYMLINK_NOFOLLOW, STATX_TYPE, &sx) != 0)
        return DT_UNKNOWN;
    if (S_ISREG(sx.stx_mode))
        return DT_REG;
    if (S_ISDIR(sx.stx_mode))
        return DT_DIR;
    return DT_UNKNOWN;
}

void statEntries(int dirFd, const QByteArray &names, Entry *entries, size_t count)
{
    for (size_t i = 0; i < count; ++i) {
        struct statx sx;
        Entry &e = entries[i];
        if (::statx(dirFd, names.constData() + e.nameAt, AT_SYMLINK_NOFOLLOW,
                    STATX_MTIME | STATX_TYPE | STATX_SIZE | STATX_INO, &sx)
                != 0
            || !S_ISREG(sx.stx_mode)) {
            e.mtimeNs = kNoFile;
            continue;
        }
        e.mtimeNs = (sx.stx_mask & STATX_MTIME) ? qint64(sx.stx_mtime.tv_sec) * 1000000000 + sx.stx_mtime.tv_nsec
                                                : std::numeric_limits<qint64>::min();
        e.size = qint64(sx.stx_size);
        e.inode = sx.stx_ino;
    }
}

QThreadPool &statPool()
{
    static QThreadPool *pool = [] {
        auto *p = new QThreadPool;
        p->setObjectName(QStringLiteral("brindlewick.stat"));
        p->setMaxThreadCount(std::max(1, QThread::idealThreadCount() - 1));
        return p;
    }();
    return *pool;
}

// One statx per image is most of a large folder's scan; with more than one
// core the calling thread and helpers from a pool take chunks in turn. The
// caller never waits for a helper that has not started: what is left
// unclaimed it does itself.
void statAll(int dirFd, const QByteArray &names, std::vector<Entry> &entries)
{
    const size_t chunks = (entries.size() + kStatChunk - 1) / kStatChunk;
    if (entries.size() < kSharedStatThreshold || QThread::idealThreadCount() < 2) {
        statEntries(dirFd, names, entries.data(), entries.size());
        return;
    }
    struct Shared
    {
        std::atomic<size_t> next{0};
        QSemaphore done;
    };
    const auto shared = std::make_shared<Shared>();
    const auto work = [dirFd, &names, &entries, chunks](Shared &s) {
        for (size_t chunk; (chunk = s.next.fetch_add(1)) < chunks;) {
            const size_t first = chunk * kStatChunk;
            statEntries(dirFd, names, entries.data() + first, std::min(kStatChunk, entries.size() - first));
            s.done.release();
        }
    };
    const int helpers = std::min<int>(statPool().maxThreadCount(), int(chunks) - 1);
    // Helpers take the caller's nice value where it is higher than theirs (a
    // thread cannot lower its own), so a background scan's helpers stand
    // back as far as it does.
    errno = 0;
    const int callerNice = ::getpriority(PRIO_PROCESS, id_t(::gettid()));
    const bool knowNice = errno == 0;
    for (int i = 0; i < helpers; ++i) {
        // A helper that starts after the work is all claimed touches only
        // `shared`, which it keeps alive; `names` and `entries` are used only
        // for a claimed chunk, and the caller waits for every one of those.
        statPool().start([shared, work, callerNice, knowNice] {
            const auto self = id_t(::gettid());
            if (knowNice && ::getpriority(PRIO_PROCESS, self) < callerNice)
                ::setpriority(PRIO_PROCESS, self, callerNice);
            work(*shared);
        });
    }
    work(*shared);
    shared->done.acquire(int(chunks));
}

QList<QUrl> newestFirst(const QString &folder, const QByteArray &names, std::vector<Entry> &entries, qsizetype limit,
                        FileStamps *stamps)
{
    const auto newer = [](const Entry &a, const Entry &b) {
        return a.mtimeNs != b.mtimeNs ? a.mtimeNs > b.mtimeNs : a.order < b.order;
    };
    const auto keep = std::min<qsizetype>(std::max<qsizetype>(limit, 0), qsizetype(entries.size()));
    std::partial_sort(entries.begin(), entries.begin() + keep, entries.end(), newer);
    QList<QUrl> urls;
    urls.reserve(keep);
    const QString prefix = folder == QLatin1String("/") ? folder : folder + QLatin1Char('/');
    // Only the names shown are made into text. A name that is not UTF-8 keeps
    // its bytes in the URL, so it is shown (with U+FFFD) and acted on as
    // itself, never as the look-alike name its text would spell.
    for (qsizetype i = 0; i < keep; ++i) {
        const Entry &e = entries[size_t(i)];
        urls.append(LocalPaths::fileUrl(prefix + LocalPaths::pathText(names.constData() + e.nameAt)));
        if (stamps)
            stamps->insert(urls.last(), {e.mtimeNs, e.size, e.inode});
    }
    return urls;
}

QList<QUrl> sortedFolders(const QString &folder, QStringList names)
{
    // Qt's collator compares code points in the C locale and ignores numeric
    // mode there; a session without a locale still deserves "2" before "10".
    QLocale locale;
    if (locale.language() == QLocale::C)
        locale = QLocale(QLocale::English, QLocale::UnitedStates);
    QCollator collator(locale);
    collator.setNumericMode(true);
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    std::stable_sort(names.begin(), names.end(),
                     [&](const QString &a, const QString &b) { return collator.compare(a, b) < 0; });
    QList<QUrl> urls;
    urls.reserve(names.size());
    const QString prefix = folder == QLatin1String("/") ? folder : folder + QLatin1Char('/');
    for (const QString &name : std::as_const(names))
        urls.append(QUrl::fromLocalFile(prefix + name));
    return urls;
}

} // namespace

bool decodeEntryName(QByteArrayView name, QString *out)
{
    // Strict: a name that is not UTF-8 fails, and so does one the decoder
    // changes on the way (it drops a leading byte-order mark, which would make
    // "\xEF\xBB\xBFa.png" and "a.png" one name).
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    *out = decoder(name);
    return !decoder.hasError() && QFile::encodeName(*out) == name;
}

bool isImageName(const QByteArray &fileName)
{
    const qsizetype dot = fileName.lastIndexOf('.');
    if (dot < 0 || dot == fileName.size() - 1)
        return false;
    const qsizetype len = fileName.size() - dot - 1;
    if (len > 4)
        return false;
    char ext[5] = {};
    for (qsizetype i = 0; i < len; ++i) {
        const char c = fileName[dot + 1 + i];
        ext[i] = (c >= 'A' && c <= 'Z') ? char(c + 32) : c;
    }
    const std::string_view e(ext, size_t(len));
    return std::find(kImageExtensions.begin(), kImageExtensions.end(), e) != kImageExtensions.end();
}

FolderListing listFolder(const QString &folder, qsizetype listLimit, qint64 countLimit, bool wantImages,
                         bool wantSubfolders)
{
    FolderListing result;
    DirReader reader(folder);
    if (!reader.dir()) {
        qCInfo(lcScan, "cannot list %s: %s", qUtf8Printable(folder), strerror(errno));
        return result;
    }

    std::vector<Entry> images;
    QByteArray names; // the images' names, each ending in a zero byte
    QStringList folders;
    qint64 count = 0;
    const int dirFd = reader.fd();
    while (const dirent *entry = ::readdir(reader.dir())) {
        const char *name = entry->d_name;
        if (isHiddenName(name))
            continue;
        const size_t length = std::strlen(name);
        const QByteArray raw = QByteArray::fromRawData(name, qsizetype(length));
        const bool imageName = isImageName(raw);
        if (!imageName && !wantSubfolders)
            continue;
        const unsigned char type = entryType(dirFd, entry);
        if (type == DT_DIR && wantSubfolders) {
            QString decoded;
            if (decodeEntryName(raw, &decoded))
                folders.append(decoded);
            else
                qCDebug(lcScan) << "skipped a subfolder whose name is not UTF-8:" << raw;
            continue;
        }
        if (type != DT_REG || !imageName) {
            if (imageName)
                qCDebug(lcScan) << "skipped" << raw << "in" << folder << "- not a regular file";
            continue;
        }
        if (wantImages) {
            images.push_back({0, quint32(names.size()), quint32(images.size())});
            names.append(name, qsizetype(length) + 1);
        } else if (count < countLimit) {
            ++count;
        }
    }

    if (wantImages) {
        statAll(dirFd, names, images);
        images.erase(std::remove_if(images.begin(), images.end(), [](const Entry &e) { return e.mtimeNs == kNoFile; }),
                     images.end());
        count = std::min<qint64>(qint64(images.size()), std::max<qint64>(countLimit, 0));
    }
    result.imageCount = count;
    if (wantImages)
        result.images = newestFirst(folder, names, images, listLimit, &result.stamps);
    if (wantSubfolders)
        result.subfolders = sortedFolders(folder, folders);
    return result;
}

std::optional<FileStamp> stampOf(const QByteArray &path)
{
    struct statx sx;
    if (::statx(AT_FDCWD, path.constData(), AT_SYMLINK_NOFOLLOW, STATX_MTIME | STATX_SIZE | STATX_INO, &sx) != 0)
        return std::nullopt;
    return FileStamp{qint64(sx.stx_mtime.tv_sec) * 1000000000 + sx.stx_mtime.tv_nsec, qint64(sx.stx_size), sx.stx_ino};
}

QList<QUrl> listImages(const QString &folder, qsizetype limit)
{
    return listFolder(folderPath(folder), limit, 0, true, false).images;
}

QList<QUrl> listSubfolders(const QString &folder)
{
    return listFolder(folderPath(folder), 0, 0, false, true).subfolders;
}

qint64 countImages(const QString &folder, qint64 limit)
{
    return listFolder(folderPath(folder), 0, limit, false, false).imageCount;
}

QString folderPath(const QString &path)
{
    if (path.isEmpty())
        return path;
    return QDir::cleanPath(QDir::isAbsolutePath(path) ? path : QDir::current().absoluteFilePath(path));
}

QUrl folderUrl(const QString &path) { return QUrl::fromLocalFile(folderPath(path)); }
