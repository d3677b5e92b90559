#include "platform/trash.h"

#include "actions/safefiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QStorageInfo>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

QByteArray encoded(const QString &path) { return QFile::encodeName(path); }

bool isOwnPrivateFolder(const QString &path)
{
    struct stat st;
    return ::lstat(encoded(path).constData(), &st) == 0 && S_ISDIR(st.st_mode)
           && st.st_uid == ::getuid();
}

// Creates `path` as a folder only its owner can enter; an existing folder
// is taken as it is.
bool makePrivateFolder(const QString &path)
{
    if (::mkdir(encoded(path).constData(), 0700) != 0 && errno != EEXIST)
        return false;
    return isOwnPrivateFolder(path);
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

} // namespace

Trash &Trash::shared()
{
    static FreedesktopTrash instance;
    return instance;
}

FreedesktopTrash::FreedesktopTrash(QString homeTrash, MountRoot mountRoot,
                                   std::function<QDateTime()> now)
    : m_homeTrash(std::move(homeTrash)),
      m_mountRoot(mountRoot ? std::move(mountRoot) : MountRoot(systemMountRoot)),
      m_now(now ? std::move(now) : std::function<QDateTime()>(&QDateTime::currentDateTime))
{
}

QString FreedesktopTrash::defaultHomeTrash()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation)
           + QStringLiteral("/Trash");
}

QString FreedesktopTrash::homeTrash() const
{
    return m_homeTrash.isEmpty() ? defaultHomeTrash() : m_homeTrash;
}

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
    if (::lstat(encoded(shared).constData(), &st) == 0 && S_ISDIR(st.st_mode)
        && (st.st_mode & S_ISVTX)) {
        const QString mine = shared + QLatin1Char('/') + uid;
        if (makePrivateFolder(mine) && ensureTrashSubfolders(mine))
            return mine;
    }

    const QString own = topDir + QStringLiteral("/.Trash-") + uid;
    if (makePrivateFolder(own) && ensureTrashSubfolders(own))
        return own;
    return {};
}

QString FreedesktopTrash::trashFolderFor(const QString &absolutePath) const
{
    const QString homeTrash = this->homeTrash();
    if (!QDir().mkpath(parentOf(homeTrash)))
        return {};
    if (!makePrivateFolder(homeTrash) || !ensureTrashSubfolders(homeTrash))
        return {};

    const QString fileRoot = m_mountRoot(parentOf(absolutePath));
    if (fileRoot.isEmpty() || fileRoot == m_mountRoot(homeTrash))
        return homeTrash;
    return topDirTrash(fileRoot == QLatin1String("/") ? QString() : fileRoot);
}

bool FreedesktopTrash::moveToTrash(const QString &path)
{
    const QFileInfo info(path);
    // The folder holding the item, with symlinks resolved, so the recorded
    // original location is where the item really was.
    const QString folder = QFileInfo(info.absolutePath()).canonicalFilePath();
    if (folder.isEmpty() || !SafeFiles::pathTaken(path))
        return false;
    const QString name = info.fileName();
    if (name.isEmpty() || name == QLatin1String(".") || name == QLatin1String(".."))
        return false;
    const QString absolute = (folder == QLatin1String("/") ? QString() : folder) + QLatin1Char('/') + name;

    const QString trash = trashFolderFor(absolute);
    if (trash.isEmpty() || isWithin(trash, absolute))
        return false;

    // A drive's own Trash records the place relative to the drive, so the
    // entry stays right wherever the drive is mounted next time.
    QString recorded = absolute;
    const QString root = m_mountRoot(folder);
    if (trash != homeTrash() && root != QLatin1String("/")
        && absolute.startsWith(root + QLatin1Char('/')))
        recorded = absolute.mid(root.size() + 1);

    const QByteArray infoText = "[Trash Info]\nPath=" + encoded(recorded).toPercentEncoding("/")
                                + "\nDeletionDate="
                                + m_now().toString(QStringLiteral("yyyy-MM-ddThh:mm:ss")).toUtf8()
                                + "\n";

    const SafeFiles::NameParts parts = SafeFiles::splitName(name);
    for (qint64 n = 1; n < 100000; ++n) {
        const QString trashedName =
            n == 1 ? name
                   : parts.stem + QLatin1Char(' ') + QString::number(n)
                         + (parts.extension.isEmpty() ? QString() : QLatin1Char('.') + parts.extension);
        const QString filesEntry = trash + QStringLiteral("/files/") + trashedName;
        if (SafeFiles::pathTaken(filesEntry))
            continue;
        const QString infoPath = trash + QStringLiteral("/info/") + trashedName + QStringLiteral(".trashinfo");
        const int fd = ::open(encoded(infoPath).constData(),
                              O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600);
        if (fd < 0) {
            if (errno == EEXIST)
                continue;
            return false;
        }
        const bool written = ::write(fd, infoText.constData(), size_t(infoText.size())) == infoText.size();
        if (!SafeFiles::syncAndClose(fd) || !written) {
            ::unlink(encoded(infoPath).constData());
            return false;
        }
        switch (SafeFiles::renameNoReplace(absolute, filesEntry)) {
        case SafeFiles::RenameResult::renamed:
            return true;
        case SafeFiles::RenameResult::targetExists:
            ::unlink(encoded(infoPath).constData());
            continue;
        case SafeFiles::RenameResult::crossDevice:
        case SafeFiles::RenameResult::failed:
            ::unlink(encoded(infoPath).constData());
            return false;
        }
    }
    return false;
}
