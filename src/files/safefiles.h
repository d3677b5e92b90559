#pragma once

#include <QString>

#include <functional>
#include <optional>

// The file-system steps every file action is built from. Each one either
// completes or leaves the folder as it was: nothing is ever written over,
// new files appear under their final name only once fully written, and a
// move that crosses file systems removes the source only after the copy is
// safely on disk.
namespace SafeFiles {

// Whether anything (a dangling symlink included) occupies `path`.
bool pathTaken(const QString &path);

// Whether two paths reach the same file-system object (device and inode),
// however differently they are spelled: through a symlink, "..", a bind
// mount. False when either cannot be reached.
bool sameObject(const QString &a, const QString &b);

// Splits a file name into stem and extension the way the naming rules need:
// "a.tar.gz" is "a.tar" + "gz"; ".hidden", "README" and "a." have no extension.
struct NameParts
{
    QString stem;
    QString extension; // without the dot; empty when there is none
};
NameParts splitName(const QString &fileName);

// `wanted` when nothing exists there, else the first free "stem n.ext"
// (n = 2, 3, ...) in the same folder.
QString uniquePath(const QString &wanted);

// Whether `name` can be a single entry of `folder`: not empty, no '/', no
// NUL, not "." or "..", and within the file system's name length.
bool isValidEntryName(const QString &name, const QString &folder);

enum class RenameResult { renamed, targetExists, crossDevice, failed };

// Renames without ever replacing what is at `to`.
RenameResult renameNoReplace(const QString &from, const QString &to);

// A fresh, exclusively created hidden file in `folder` that a finished file
// is written to before it is put in place. `mode` is subject to the umask.
struct TempFile
{
    int fd = -1;
    QString path;
};
[[nodiscard]] std::optional<TempFile> createTemp(const QString &folder, unsigned mode = 0666);

// Chooses a free name for a finished file; tests replace it to simulate a
// name being taken between the check and the rename.
using NameChooser = std::function<QString(const QString &wanted)>;

// Moves the finished temporary file to uniquePath(wanted), taking the next
// number whenever the chosen name appears in the meantime. Returns the final
// path, or an empty string after removing the temporary file.
[[nodiscard]] QString placeUnique(const QString &tempPath, const QString &wanted,
                                  const NameChooser &choose = uniquePath);

// Copies a regular file beside itself or into another folder under
// uniquePath(wanted), keeping its permissions and modification time.
// Returns the new path or an empty string.
[[nodiscard]] QString copyUnique(const QString &source, const QString &wanted, const NameChooser &choose = uniquePath);

// Moves `source` to uniquePath(wanted). Across file systems: copies to a
// temporary file beside the target, syncs it, renames it into place and
// only then removes the source. Returns the new path or an empty string.
[[nodiscard]] QString moveUnique(const QString &source, const QString &wanted, const NameChooser &choose = uniquePath);

// Flushes a finished file's data to disk and closes it. False on failure.
[[nodiscard]] bool syncAndClose(int fd);

} // namespace SafeFiles
