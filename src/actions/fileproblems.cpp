#include "actions/fileproblems.h"

#include "system/texts.h"

#include <QHash>

#include <cerrno>

namespace FileProblems {

FileProblem fromErrno(int error, FileProblem fallback)
{
    switch (error) {
    case EROFS:
        return FileProblem::readOnly;
    case EACCES:
    case EPERM:
        return FileProblem::denied;
    case EEXIST:
    case ENOTEMPTY:
        return FileProblem::nameTaken;
    case ENOENT:
    case ENOTDIR:
        return FileProblem::gone;
    case ENOSPC:
    case EDQUOT:
        return FileProblem::diskFull;
    default:
        return fallback;
    }
}

QString reason(FileProblem problem)
{
    switch (problem) {
    case FileProblem::readOnly:
        return Texts::problemReadOnly();
    case FileProblem::denied:
        return Texts::problemDenied();
    case FileProblem::changed:
        return Texts::problemChanged();
    case FileProblem::nameTaken:
        return Texts::problemNameTaken();
    case FileProblem::gone:
        return Texts::problemGone();
    case FileProblem::diskFull:
        return Texts::problemDiskFull();
    case FileProblem::noTrash:
        return Texts::problemNoTrash();
    case FileProblem::unreadable:
        return Texts::problemUnreadable();
    case FileProblem::badName:
        return Texts::problemBadName();
    case FileProblem::other:
        break;
    }
    return Texts::problemOther();
}

QString report(const QString &done, const FileFailures &failures)
{
    if (failures.isEmpty())
        return {};
    QHash<FileProblem, qsizetype> tally;
    FileProblem commonest = failures.first().problem;
    for (const FileFailure &failure : failures) {
        // The first to reach the highest count wins a tie, so the message
        // does not change from one run to the next.
        if (++tally[failure.problem] > tally.value(commonest))
            commonest = failure.problem;
    }
    QString why = reason(commonest);
    if (tally.size() > 1)
        why = Texts::problemAndOthers().arg(why);
    const QString who = failures.size() == 1 ? Texts::quotedName().arg(failures.first().file.fileName())
                                             : QString::number(failures.size());
    return Texts::couldNotBe().arg(who, done, why);
}

} // namespace FileProblems
