#include "files/safefiles.h"

#include "files/localpaths.h"
#include "files/logcategories.h"

#include <QFile>
#include <QRandomGenerator>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <unistd.h>

namespace SafeFiles {

namespace {

// However often a name is snatched away, we give up eventually rather than
// spin; each retry already re-reads the folder.
constexpr int kPlacementAttempts = 1000;

// Paths keep every byte of a name that is not UTF-8 (LocalPaths).
QByteArray encoded(const QString &path) { return LocalPaths::pathBytes(path); }

QString folderOf(const QString &path)
{
    const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
    if (slash < 0)
        return QStringLiteral(".");
    return slash == 0 ? QStringLiteral("/") : path.left(slash);
}

QString nameOf(const QString &path) { return path.mid(path.lastIndexOf(QLatin1Char('/')) + 1); }

// A crash right after a rename should not lose the entry: the folder's
// metadata is synced before the source of a cross-device move goes away.
void syncFolder(const QString &folder)
{
    const int fd = ::open(encoded(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return;
    ::fsync(fd);
    ::close(fd);
}

bool copyBytes(int from, int to)
{
    for (;;) {
        const ssize_t n = ::copy_file_range(from, nullptr, to, nullptr, 1 << 30, 0);
        if (n == 0)
            return true;
        if (n > 0)
            continue;
        if (errno == EINTR)
            continue;
        if (errno != EXDEV && errno != ENOSYS && errno != EOPNOTSUPP && errno != EINVAL)
            return false;
        break; // this pair of file systems cannot do it; copy by hand
    }
    char buffer[1 << 16];
    for (;;) {
        const ssize_t n = ::read(from, buffer, sizeof buffer);
        if (n == 0)
            return true;
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        for (ssize_t done = 0; done < n;) {
            const ssize_t w = ::write(to, buffer + done, size_t(n - done));
            if (w < 0) {
                if (errno == EINTR)
                    continue;
                return false;
            }
            done += w;
        }
    }
}

// A finished copy of `source` in `targetFolder`'s temporary file; the
// caller places it. Returns the temporary path or an empty string.
QString copyToTemp(const QString &source, const QString &targetFolder)
{
    const int in = ::open(encoded(source).constData(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
    if (in < 0) {
        qCWarning(lcFiles, "cannot read %s: %s", qUtf8Printable(source), strerror(errno));
        return {};
    }
    struct stat st;
    if (::fstat(in, &st) != 0 || !S_ISREG(st.st_mode)) {
        ::close(in);
        return {};
    }
    const auto temp = createTemp(targetFolder, 0600);
    if (!temp) {
        qCWarning(lcFiles, "cannot write into %s: %s", qUtf8Printable(targetFolder), strerror(errno));
        ::close(in);
        return {};
    }
    bool ok = copyBytes(in, temp->fd);
    ::close(in);
    if (ok) {
        ::fchmod(temp->fd, st.st_mode & 07777);
        const struct timespec times[2] = {st.st_atim, st.st_mtim};
        ::futimens(temp->fd, times);
    }
    ok = syncAndClose(temp->fd) && ok;
    if (!ok) {
        qCWarning(lcFiles, "cannot copy %s into %s: %s", qUtf8Printable(source), qUtf8Printable(targetFolder),
                  strerror(errno));
        ::unlink(encoded(temp->path).constData());
        return {};
    }
    return temp->path;
}

} // namespace

bool pathTaken(const QString &path)
{
    struct stat st;
    return ::lstat(encoded(path).constData(), &st) == 0 || errno != ENOENT;
}

bool sameObject(const QString &a, const QString &b)
{
    struct stat sa;
    struct stat sb;
    return ::stat(encoded(a).constData(), &sa) == 0 && ::stat(encoded(b).constData(), &sb) == 0
           && sa.st_dev == sb.st_dev && sa.st_ino == sb.st_ino;
}

NameParts splitName(const QString &fileName)
{
    const qsizetype dot = fileName.lastIndexOf(QLatin1Char('.'));
    if (dot <= 0 || dot == fileName.size() - 1)
        return {fileName, {}};
    return {fileName.left(dot), fileName.mid(dot + 1)};
}

// Whether a name is in use. A folder we cannot look into (missing, not a
// folder, no permission) answers "free": the write that follows fails
// cleanly, where calling every name taken would never end.
static bool nameInUse(const QString &path)
{
    struct stat st;
    return ::lstat(encoded(path).constData(), &st) == 0;
}

QString uniquePath(const QString &wanted)
{
    if (!nameInUse(wanted))
        return wanted;
    const QString folder = folderOf(wanted);
    const NameParts parts = splitName(nameOf(wanted));
    const QString prefix =
        (folder == QLatin1String("/") ? QString() : folder) + QLatin1Char('/') + parts.stem + QLatin1Char(' ');
    const QString suffix = parts.extension.isEmpty() ? QString() : QLatin1Char('.') + parts.extension;
    for (qint64 n = 2;; ++n) {
        const QString candidate = prefix + QString::number(n) + suffix;
        if (!nameInUse(candidate))
            return candidate;
    }
}

bool isValidEntryName(const QString &name, const QString &folder)
{
    if (name.isEmpty() || name == QLatin1String(".") || name == QLatin1String("..") || name.contains(QLatin1Char('/'))
        || name.contains(QChar(0)))
        return false;
    long limit = ::pathconf(encoded(folder).constData(), _PC_NAME_MAX);
    if (limit <= 0)
        limit = NAME_MAX;
    return encoded(name).size() <= limit;
}

RenameResult renameNoReplace(const QString &from, const QString &to)
{
    const QByteArray src = encoded(from);
    const QByteArray dst = encoded(to);
    if (::renameat2(AT_FDCWD, src.constData(), AT_FDCWD, dst.constData(), RENAME_NOREPLACE) == 0)
        return RenameResult::renamed;
    if (errno == EEXIST)
        return RenameResult::targetExists;
    if (errno == EXDEV)
        return RenameResult::crossDevice;
    if (errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP)
        return RenameResult::failed;

    // The file system cannot refuse to replace by itself. A hard link can,
    // and is atomic; then the old name goes.
    if (::link(src.constData(), dst.constData()) == 0) {
        ::unlink(src.constData());
        return RenameResult::renamed;
    }
    if (errno == EEXIST)
        return RenameResult::targetExists;
    if (errno == EXDEV)
        return RenameResult::crossDevice;

    // No hard links either (FAT and friends). Claim the name with an
    // exclusive create, then rename over our own empty claim; folders cannot
    // claim that way and take the small risk of a check before the rename.
    struct stat st;
    if (::lstat(src.constData(), &st) != 0)
        return RenameResult::failed;
    if (S_ISDIR(st.st_mode)) {
        if (pathTaken(to))
            return RenameResult::targetExists;
        return ::rename(src.constData(), dst.constData()) == 0 ? RenameResult::renamed : RenameResult::failed;
    }
    const int claim = ::open(dst.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (claim < 0)
        return errno == EEXIST ? RenameResult::targetExists : RenameResult::failed;
    ::close(claim);
    if (::rename(src.constData(), dst.constData()) == 0)
        return RenameResult::renamed;
    ::unlink(dst.constData());
    return RenameResult::failed;
}

std::optional<TempFile> createTemp(const QString &folder, unsigned mode)
{
    for (int attempt = 0; attempt < 100; ++attempt) {
        const QString path = folder + QStringLiteral("/.brindlewick-")
                             + QString::number(QRandomGenerator::global()->generate64(), 36) + QStringLiteral(".part");
        const int fd = ::open(encoded(path).constData(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, mode);
        if (fd >= 0)
            return TempFile{fd, path};
        if (errno != EEXIST)
            return std::nullopt;
    }
    return std::nullopt;
}

bool syncAndClose(int fd)
{
    const bool synced = ::fsync(fd) == 0;
    const bool closed = ::close(fd) == 0;
    return synced && closed;
}

QString placeUnique(const QString &tempPath, const QString &wanted, const NameChooser &choose)
{
    for (int attempt = 0; attempt < kPlacementAttempts; ++attempt) {
        const QString target = choose(wanted);
        switch (renameNoReplace(tempPath, target)) {
        case RenameResult::renamed:
            return target;
        case RenameResult::targetExists:
            continue; // someone took it between the check and now: next number
        case RenameResult::crossDevice:
        case RenameResult::failed:
            qCWarning(lcFiles, "cannot place %s: %s", qUtf8Printable(target), strerror(errno));
            break;
        }
        break;
    }
    ::unlink(encoded(tempPath).constData());
    return {};
}

QString copyUnique(const QString &source, const QString &wanted, const NameChooser &choose)
{
    const QString temp = copyToTemp(source, folderOf(wanted));
    if (temp.isEmpty())
        return {};
    return placeUnique(temp, wanted, choose);
}

QString moveUnique(const QString &source, const QString &wanted, const NameChooser &choose)
{
    for (int attempt = 0; attempt < kPlacementAttempts; ++attempt) {
        const QString target = choose(wanted);
        switch (renameNoReplace(source, target)) {
        case RenameResult::renamed:
            return target;
        case RenameResult::targetExists:
            continue;
        case RenameResult::failed:
            qCWarning(lcFiles, "cannot move %s to %s: %s", qUtf8Printable(source), qUtf8Printable(target),
                      strerror(errno));
            return {};
        case RenameResult::crossDevice:
            break;
        }
        break;
    }

    // Another file system: copy, make the copy durable, then let go of the
    // source. If the source cannot be removed, the copy goes again, so the
    // move either happened or did not.
    const QString placed = copyUnique(source, wanted, choose);
    if (placed.isEmpty())
        return {};
    syncFolder(folderOf(placed));
    if (::unlink(encoded(source).constData()) != 0) {
        qCWarning(lcFiles, "moved %s by copying, but cannot remove it: %s", qUtf8Printable(source), strerror(errno));
        ::unlink(encoded(placed).constData());
        return {};
    }
    return placed;
}

} // namespace SafeFiles
