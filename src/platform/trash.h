#pragma once

#include <QDateTime>
#include <QString>

#include <functional>

// Moving files and folders to the Trash. Called on the file-work thread, so
// an implementation keeps no state that changes.
class Trash
{
public:
    virtual ~Trash() = default;
    // True when `path` is now in a Trash; false leaves it where it was and
    // puts the errno value that tells why in `error` (when given).
    [[nodiscard]] virtual bool moveToTrash(const QString &path, int *error = nullptr) = 0;
};

// The freedesktop.org Trash, done by hand rather than with QFile::moveToTrash:
// Qt 6.4 decides between the home Trash and a drive's own Trash by comparing
// with the home folder's drive rather than the Trash's, and has no test seam.
//
// - Files on the drive of $XDG_DATA_HOME/Trash go there. That folder may be
//   a symlink to a folder of ours that others cannot write into.
// - Files on any other drive go to that drive's $topdir/.Trash/$uid when an
//   administrator prepared $topdir/.Trash (a real folder, not a symlink, with
//   the sticky bit), else to $topdir/.Trash-$uid, created on demand.
// - If neither can be used (a read-only or foreign-owned drive) the file is
//   refused (EROFS, EACCES, or EXDEV when the drive simply has no Trash)
//   and stays where it is: copying it across drives into the home
//   Trash would be a silent, possibly huge copy the user never asked for.
//
// The .trashinfo file is created exclusively before the rename, as the
// Trash format asks, so two trashings of equal names never collide. A name
// too long for "<name>.trashinfo" is shortened inside the Trash; the info
// file keeps the real path.
class FreedesktopTrash final : public Trash
{
public:
    // Maps a path to the mount point of the file system holding it.
    using MountRoot = std::function<QString(const QString &path)>;

    // `homeTrash` is the home Trash folder ($XDG_DATA_HOME/Trash by default);
    // `mountRoot` defaults to the system's mount table.
    explicit FreedesktopTrash(QString homeTrash = {}, MountRoot mountRoot = {}, std::function<QDateTime()> now = {});

    [[nodiscard]] bool moveToTrash(const QString &path, int *error = nullptr) override;

    // The Trash folder a path would go to; empty when there is none.
    QString trashFolderFor(const QString &absolutePath) const;

    static QString defaultHomeTrash();
    QString homeTrash() const;

private:
    // The home Trash, created if need be and resolved; empty when unusable.
    QString readyHomeTrash() const;
    QString trashFolderFor(const QString &absolutePath, const QString &homeTrash) const;
    QString topDirTrash(const QString &topDir) const;
    [[nodiscard]] static bool ensureTrashSubfolders(const QString &trashFolder);

    QString m_homeTrash;
    MountRoot m_mountRoot;
    std::function<QDateTime()> m_now;
};
