#include "actions/actionrunner.h"

#include <QFile>

#include "files/async.h"
#include "files/localpaths.h"
#include "meta/metastore.h"
#include "platform/threadpriority.h"

ActionRunner::ActionRunner(Trash &trash, MetaStore *meta, QObject *parent)
    : QObject(parent), m_trash(trash), m_meta(meta), m_landed(std::make_shared<Landed>())
{
    // One worker: jobs run in the order asked, and two jobs never race for
    // the same file.
    m_pool.setMaxThreadCount(1);
    m_pool.setObjectName(QStringLiteral("brindlewick.files"));
}

ActionRunner::~ActionRunner()
{
    m_pool.waitForDone();
    // The requesters may be halfway through their own destruction here, so
    // only the records are carried over.
    deliver(false);
}

ActionRunner *ActionRunner::oneShot(Trash &trash, MetaStore *meta, QObject *parent)
{
    auto *runner = new ActionRunner(trash, meta, parent);
    connect(runner, &ActionRunner::pendingChanged, runner, [runner] {
        if (runner->pending() == 0)
            runner->deleteLater();
    });
    return runner;
}

void ActionRunner::run(Work work, QObject *requester, Done done)
{
    const quint64 id = ++m_nextId;
    m_jobs.insert(id, Job{requester, requester != nullptr, std::move(done)});
    Q_EMIT pendingChanged();
    // Results land in a box of their own rather than through the event loop,
    // so the destructor can still carry over the records of the jobs it
    // waited for.
    Async::run(
        m_pool, this,
        [landed = m_landed, id, work = std::move(work)] {
            standBack(Background::utility);
            FileWorkResult result = work();
            const std::lock_guard<std::mutex> lock(landed->lock);
            landed->results.append({id, std::move(result)});
        },
        [this] { deliver(true); });
}

void ActionRunner::deliver(bool callBack)
{
    QList<QPair<quint64, FileWorkResult>> landed;
    {
        const std::lock_guard<std::mutex> lock(m_landed->lock);
        landed.swap(m_landed->results);
    }
    if (landed.isEmpty())
        return;
    for (const auto &[id, result] : std::as_const(landed)) {
        const Job job = m_jobs.take(id);
        FileActions::carryRecords(result.moves, m_meta.data());
        if (callBack && job.done && (!job.hasRequester || job.requester))
            job.done(result);
    }
    if (callBack)
        Q_EMIT pendingChanged();
}

namespace {

// The work of an action that writes new files beside the chosen ones.
ActionRunner::Work writing(QList<QUrl> (*write)(const QList<QUrl> &, FileFailures *), const QList<QUrl> &files)
{
    return [write, files] {
        FileWorkResult result;
        result.written = write(files, &result.failed);
        result.count = result.written.size();
        return result;
    };
}

} // namespace

void ActionRunner::duplicate(const QList<QUrl> &files, QObject *requester, Done done)
{
    run(writing(&FileActions::duplicate, files), requester, std::move(done));
}

void ActionRunner::resizeHalf(const QList<QUrl> &files, QObject *requester, Done done)
{
    run(writing(&FileActions::resizeHalf, files), requester, std::move(done));
}

void ActionRunner::convertToJPG(const QList<QUrl> &files, QObject *requester, Done done)
{
    run(writing(&FileActions::convertToJPG, files), requester, std::move(done));
}

void ActionRunner::move(const QList<QUrl> &files, const QUrl &folder, QObject *requester, Done done)
{
    run(
        [files, folder] {
            FileWorkResult result;
            result.moves = FileActions::move(files, folder, &result.failed);
            result.count = result.moves.size();
            return result;
        },
        requester, std::move(done));
}

void ActionRunner::trash(const QList<QUrl> &files, const FileStamps &expected, QObject *requester, Done done)
{
    Trash *trash = &m_trash;
    run(
        [files, expected, trash] {
            FileWorkResult result;
            QList<QUrl> unchanged;
            for (const QUrl &file : files) {
                const auto wanted = expected.constFind(file);
                if (wanted == expected.cend()) {
                    unchanged.append(file);
                    continue;
                }
                // Checked as late as can be, just before the file is moved.
                const std::optional<FileStamp> now = stampOf(LocalPaths::pathBytes(LocalPaths::localPath(file)));
                if (now == *wanted)
                    unchanged.append(file);
                else
                    result.failed.append({file, now ? FileProblem::changed : FileProblem::gone});
            }
            result.count = FileActions::trash(unchanged, *trash, &result.failed);
            return result;
        },
        requester, std::move(done));
}

void ActionRunner::trash(const QList<QUrl> &files, QObject *requester, Done done)
{
    Trash *trash = &m_trash;
    run(
        [files, trash] {
            FileWorkResult result;
            result.count = FileActions::trash(files, *trash, &result.failed);
            return result;
        },
        requester, std::move(done));
}
