#pragma once

#include "actions/fileactions.h"
#include "model/listing.h"

#include <QHash>
#include <QObject>
#include <QPointer>
#include <QThreadPool>

#include <functional>
#include <memory>
#include <mutex>

class MetaStore;
class Trash;

// What one piece of file work did, handed back on the GUI thread.
struct FileWorkResult
{
    qint64 count = 0;         // files moved, trashed, renamed or written
    QList<QUrl> written;      // new files (duplicate, half size, JPEG)
    FileActions::Moves moves; // files that changed place; their records follow
    FileFailures failed;      // files left as they were, and why
};

// Runs the slow file actions on a worker thread, one job at a time in the
// order they were asked for, so a large selection or a move to another drive
// never freezes the window. The worker gets copies of the file lists and
// touches no model state; each result comes back on the GUI thread, where
// the metadata records follow the moved files first and then `done` runs,
// only while its requester still exists (a gone requester gets nothing; the
// records move all the same).
//
// Destroying the runner waits for the job in hand and the queued ones, and
// still carries their records over: a move the user asked for is finished,
// never dropped halfway.
class ActionRunner : public QObject
{
    Q_OBJECT
    Q_PROPERTY(int pending READ pending NOTIFY pendingChanged)

public:
    using Done = std::function<void(const FileWorkResult &)>;
    using Work = std::function<FileWorkResult()>;

    // `trash` must outlive the runner; `meta` may be null (no records move).
    ActionRunner(Trash &trash, MetaStore *meta, QObject *parent = nullptr);
    ~ActionRunner() override;

    // A runner for owners that keep none: it deletes itself once everything
    // asked of it has landed.
    static ActionRunner *oneShot(Trash &trash, MetaStore *meta, QObject *parent);

    void duplicate(const QList<QUrl> &files, QObject *requester = nullptr, Done done = {});
    void resizeHalf(const QList<QUrl> &files, QObject *requester = nullptr, Done done = {});
    void convertToJPG(const QList<QUrl> &files, QObject *requester = nullptr, Done done = {});
    void move(const QList<QUrl> &files, const QUrl &folder, QObject *requester = nullptr, Done done = {});
    void trash(const QList<QUrl> &files, QObject *requester = nullptr, Done done = {});
    // The same for files chosen from what the shelf drew: a file whose stamp
    // is no longer `expected` (overwritten or renamed over since it was
    // listed) is left where it is, since the person never saw that content,
    // and comes back as failed with FileProblem::changed.
    // Files without an expected stamp go by name.
    void trash(const QList<QUrl> &files, const FileStamps &expected, QObject *requester = nullptr, Done done = {});
    // Any other file work: `work` runs on the worker thread, so it may use
    // only what it captured by value. Without a requester, `done` runs as
    // long as the runner exists.
    void run(Work work, QObject *requester, Done done);

    // Jobs asked for whose results have not been handed back yet.
    int pending() const { return int(m_jobs.size()); }

Q_SIGNALS:
    void pendingChanged();

private:
    struct Job
    {
        QPointer<QObject> requester;
        bool hasRequester = false;
        Done done;
    };

    void deliver(bool callBack);

    Trash &m_trash;
    QPointer<MetaStore> m_meta;
    QHash<quint64, Job> m_jobs; // GUI thread only
    quint64 m_nextId = 0;
    struct Landed
    {
        std::mutex lock;
        QList<QPair<quint64, FileWorkResult>> results; // filled by the worker
    };
    std::shared_ptr<Landed> m_landed;
    QThreadPool m_pool;
};
