#include "platform/trash.h"

#include "files/localpaths.h"
#include "files/logcategories.h"
#include "files/safefiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QStorageInfo>

#include <cerrno>
#include <climits>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Paths keep every byte of a name that is not UTF-8 (LocalPaths).
QByteArray encoded(const QString &path) { return LocalPaths::pathBytes(path); }

bool isOwnPrivateFolder(const QString &path)
{
    struct stat st;
    return ::lstat(encoded(path).constData(), &st) == 0 && S_ISDIR(st.st_mode) && st.st_uid == ::getuid();
}

// Creates `path` as a folder only its owner can enter; an existing folder
// is taken as it is.
bool makePrivateFolder(const QString &path)
{
    if (::mkdir(encoded(path).constData(), 0700) != 0 && errno != EEXIST)
        return false;
    return isOwnPrivateFolder(path);
}

// The home Trash may be a symlink (to keep it on another disk, say), but it
// must lead to a folder of ours that nobody else can put things into or take
// them out of.
bool isUsableHomeTrash(const QString &path)
{
    struct stat st;
    if (::stat(encoded(path).constData(), &st) != 0 || !S_ISDIR(st.st_mode) || st.st_uid != ::getuid())
        return false;
    return !(st.st_mode & S_IWOTH) || (st.st_mode & S_ISVTX);
}

QString systemMountRoot(const QString &path) { return QStorageInfo(path).rootPath(); }

QString parentOf(const QString &absolutePath)
{
    const qsizetype slash = absolutePath.lastIndexOf(QLatin1Char('/'));
    return slash <= 0 ? QStringLiteral("/") : absolutePath.left(slash);
}

bool isWithin(const QString &path, const QString &folder)
{
    return path == folder || path.startsWith(folder + QLatin1Char('/'));
}

constexpr char kInfoSuffix[] = ".trashinfo";

// Cuts characters off the end of `stem` until stem + tail fits in `limit`
// bytes, never inside a character.
QString fitted(QString stem, const QString &tail, qsizetype limit)
{
    while (!stem.isEmpty() && encoded(stem + tail).size() > limit) {
        stem.chop(1);
        if (!stem.isEmpty() && stem.back().isHighSurrogate())
            stem.chop(1);
    }
    return stem + tail;
}

// The name of the n-th candidate entry for `name` inside the Trash: the
// name itself, then "stem 2.ext" and so on, shortened where the info file's
// name ("<entry>.trashinfo") would pass the file system's limit. The real
// name stays in the info file's Path. The extension is kept unless it is
// long enough to leave no room for the stem.
QString entryName(const QString &name, qint64 n, qsizetype limit)
{
    const SafeFiles::NameParts parts = SafeFiles::splitName(name);
    const QString number = n == 1 ? QString() : QLatin1Char(' ') + QString::number(n);
    const QString extension = parts.extension.isEmpty() ? QString() : QLatin1Char('.') + parts.extension;
    if (encoded(number + extension).size() + 32 <= limit)
        return fitted(parts.stem, number + extension, limit);
    return fitted(parts.stem + extension, number, limit);
}

qsizetype nameLimit(const QString &folder)
{
    const long limit = ::pathconf(encoded(folder).constData(), _PC_NAME_MAX);
    return qsizetype(limit > 0 ? limit : NAME_MAX);
}

} // namespace

FreedesktopTrash::FreedesktopTrash(QString homeTrash, MountRoot mountRoot, std::function<QDateTime()> now)
    : m_homeTrash(std::move(homeTrash)), m_mountRoot(mountRoot ? std::move(mountRoot) : MountRoot(systemMountRoot)),
      m_now(now ? std::move(now) : std::function<QDateTime()>(&QDateTime::currentDateTime))
{}

QString FreedesktopTrash::defaultHomeTrash()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QStringLiteral("/Trash");
}

QString FreedesktopTrash::homeTrash() const { return m_homeTrash.isEmpty() ? defaultHomeTrash() : m_homeTrash; }

bool FreedesktopTrash::ensureTrashSubfolders(const QString &trashFolder)
{
    return makePrivateFolder(trashFolder + QStringLiteral("/files"))
           && makePrivateFolder(trashFolder + QStringLiteral("/info"));
}

QString FreedesktopTrash::topDirTrash(const QString &topDir) const
{
    const QString uid = QString::number(::getuid());

    // An administrator's shared $topdir/.Trash counts only when it is a real
    // folder with the sticky bit; otherwise others could tamper with it.
    const QString shared = topDir + QStringLiteral("/.Trash");
    struct stat st;
    if (::lstat(encoded(shared).constData(), &st) == 0 && S_ISDIR(st.st_mode) && (st.st_mode & S_ISVTX)) {
        const QString mine = shared + QLatin1Char('/') + uid;
        if (makePrivateFolder(mine) && ensureTrashSubfolders(mine))
            return mine;
    }

    const QString own = topDir + QStringLiteral("/.Trash-") + uid;
    if (makePrivateFolder(own) && ensureTrashSubfolders(own))
        return own;
    return {};
}

QString FreedesktopTrash::readyHomeTrash() const
{
    const QString homeTrash = this->homeTrash();
    if (!QDir().mkpath(parentOf(homeTrash)))
        return {};
    if (::mkdir(encoded(homeTrash).constData(), 0700) != 0 && errno != EEXIST)
        return {};
    if (!isUsableHomeTrash(homeTrash))
        return {};
    const QString resolved = QFileInfo(homeTrash).canonicalFilePath();
    return !resolved.isEmpty() && ensureTrashSubfolders(resolved) ? resolved : QString();
}

QString FreedesktopTrash::trashFolderFor(const QString &absolutePath) const
{
    return trashFolderFor(absolutePath, readyHomeTrash());
}

QString FreedesktopTrash::trashFolderFor(const QString &absolutePath, const QString &homeTrash) const
{
    if (homeTrash.isEmpty())
        return {};
    const QString fileRoot = m_mountRoot(parentOf(absolutePath));
    if (fileRoot.isEmpty() || fileRoot == m_mountRoot(homeTrash))
        return homeTrash;
    return topDirTrash(fileRoot == QLatin1String("/") ? QString() : fileRoot);
}

bool FreedesktopTrash::moveToTrash(const QString &path, int *error)
{
    // Records why, from errno as the failing call left it unless told.
    const auto refuse = [error](int why = 0) {
        if (error)
            *error = why ? why : (errno ? errno : EIO);
        return false;
    };
    errno = 0;
    const QFileInfo info(path);
    // The folder holding the item, with symlinks resolved, so the recorded
    // original location is where the item really was.
    const QString folder = QFileInfo(info.absolutePath()).canonicalFilePath();
    if (folder.isEmpty() || !SafeFiles::pathTaken(path))
        return refuse(ENOENT);
    const QString name = info.fileName();
    if (name.isEmpty() || name == QLatin1String(".") || name == QLatin1String(".."))
        return refuse(EINVAL);
    const QString absolute = (folder == QLatin1String("/") ? QString() : folder) + QLatin1Char('/') + name;

    errno = 0;
    const QString homeTrash = readyHomeTrash();
    const QString trash = trashFolderFor(absolute, homeTrash);
    if (trash.isEmpty()) {
        // A drive that refused the Trash folder says why (read-only, no
        // permission); one that only lacks a usable Trash gets EXDEV.
        const int why = errno;
        qCWarning(lcTrash, "no trash folder takes %s", qUtf8Printable(absolute));
        return refuse(why == EROFS || why == EACCES || why == EPERM || why == ENOSPC ? why : EXDEV);
    }
    if (isWithin(trash, absolute))
        return refuse(EINVAL);

    // A drive's own Trash records the place relative to the drive, so the
    // entry stays right wherever the drive is mounted next time.
    QString recorded = absolute;
    const QString root = m_mountRoot(folder);
    if (trash != homeTrash && root != QLatin1String("/") && absolute.startsWith(root + QLatin1Char('/')))
        recorded = absolute.mid(root.size() + 1);

    // Path is percent-encoded, as in a URL, with "/" left as it is.
    const QByteArray infoText = "[Trash Info]\nPath=" + encoded(recorded).toPercentEncoding("/") + "\nDeletionDate="
                                + m_now().toString(QStringLiteral("yyyy-MM-ddThh:mm:ss")).toUtf8() + "\n";

    const QString infoFolder = trash + QStringLiteral("/info/");
    const qsizetype limit = nameLimit(infoFolder) - qsizetype(std::strlen(kInfoSuffix));
    for (qint64 n = 1; n < 100000; ++n) {
        const QString trashedName = entryName(name, n, limit);
        const QString filesEntry = trash + QStringLiteral("/files/") + trashedName;
        if (SafeFiles::pathTaken(filesEntry))
            continue;
        const QString infoPath = infoFolder + trashedName + QLatin1String(kInfoSuffix);
        const int fd =
            ::open(encoded(infoPath).constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600);
        if (fd < 0) {
            if (errno == EEXIST)
                continue;
            const int why = errno;
            qCWarning(lcTrash, "cannot write %s: %s", qUtf8Printable(infoPath), strerror(why));
            return refuse(why);
        }
        const bool written = ::write(fd, infoText.constData(), size_t(infoText.size())) == infoText.size();
        if (!SafeFiles::syncAndClose(fd) || !written) {
            const int why = errno;
            qCWarning(lcTrash, "cannot write %s: %s", qUtf8Printable(infoPath), strerror(why));
            ::unlink(encoded(infoPath).constData());
            return refuse(why);
        }
        switch (SafeFiles::renameNoReplace(absolute, filesEntry)) {
        case SafeFiles::RenameResult::renamed:
            qCDebug(lcTrash) << "trashed" << absolute << "as" << filesEntry;
            return true;
        case SafeFiles::RenameResult::targetExists:
            ::unlink(encoded(infoPath).constData());
            continue;
        case SafeFiles::RenameResult::crossDevice:
        case SafeFiles::RenameResult::failed: {
            const int why = errno;
            qCWarning(lcTrash, "cannot move %s into %s: %s", qUtf8Printable(absolute), qUtf8Printable(trash),
                      strerror(why));
            ::unlink(encoded(infoPath).constData());
            return refuse(why);
        }
        }
    }
    return refuse(EEXIST);
}
