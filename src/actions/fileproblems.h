#pragma once

#include <QList>
#include <QString>
#include <QUrl>

// Why a file could not be worked on. The file work skips such a file and
// goes on with the rest; the reasons come back so the person learns what
// was left undone, in plain words rather than error numbers.
enum class FileProblem {
    readOnly,   // the drive is mounted read-only
    denied,     // no permission for the file or its folder
    changed,    // the file changed since the shelf showed it
    nameTaken,  // a file with the wanted name is already there
    gone,       // the file is no longer there
    diskFull,   // no space left (or over quota)
    noTrash,    // the file's drive has no Trash that can be used
    unreadable, // not an image that can be read
    badName,    // a name with "/", or "." or ".."
    other,
};

struct FileFailure
{
    QUrl file;
    FileProblem problem = FileProblem::other;
    bool operator==(const FileFailure &) const = default;
};
using FileFailures = QList<FileFailure>;

namespace FileProblems {

// The problem an errno value stands for; `fallback` for one that says
// nothing a person could act on.
FileProblem fromErrno(int error, FileProblem fallback = FileProblem::other);

// "read-only file system", "permission denied", ...
QString reason(FileProblem problem);

// What could not be done and why, for the status bar: "2 could not be moved
// to the Trash: read-only file system", or the file's name when only one
// failed. `done` is the participle ("moved to the Trash", "duplicated").
// When the reasons differ, the commonest is named and the rest summed up.
// Empty for no failures.
QString report(const QString &done, const FileFailures &failures);

} // namespace FileProblems
