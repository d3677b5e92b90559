#pragma once

#include <QDateTime>
#include <QList>
#include <QObject>
#include <QThreadPool>
#include <QUrl>

#include <functional>
#include <memory>

class MetaStore;
class TextRecognizer;

// Recognises the text in screenshots when the user asks and stores it in each
// file's metadata record, file by file, so search sees each result at once.
// One run at a time on one low-priority worker thread ("brindlewick.ocr");
// `index`, `cancel` and every change of the counters happen on the GUI thread.
class TextIndexer : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool running READ running NOTIFY runningChanged)
    Q_PROPERTY(int done READ done NOTIFY doneChanged)
    Q_PROPERTY(int total READ total NOTIFY totalChanged)

public:
    // Called once, on the worker thread, the first time a run needs it; the
    // recognizer then stays warm for every later run.
    using RecognizerFactory = std::function<std::unique_ptr<TextRecognizer>()>;

    TextIndexer(MetaStore &store, RecognizerFactory makeRecognizer, QObject *parent = nullptr);
    ~TextIndexer() override;

    // When a file last changed; an invalid time when not known.
    using ModifiedTime = std::function<QDateTime(const QUrl &)>;
    // Text recognised before a file's last change is another picture's, so
    // the file is still to do. Unset, a file's record is taken as it is.
    void setModifiedTime(ModifiedTime modified) { m_modified = std::move(modified); }

    // Starts a run over `files` (only the unindexed ones unless `force`).
    // Dropped, not queued, while a run is in progress.
    void index(const QList<QUrl> &files, bool force);
    // Stops the run before its next file; the file in hand is still stored.
    void cancel();
    // For the end of the program: stops the run, gives up on the file in
    // hand (waiting at most `waitMs` for the recogniser to let go), and puts
    // every result already recognised into the store.
    void stopForQuit(int waitMs = 500);
    // Puts the results recognised so far into the store now rather than when
    // the event loop gets to them (the session is ending).
    void storeRecognised();

    bool running() const { return m_running; }
    int done() const { return m_done; }
    int total() const { return m_total; }
    bool cancelled() const;
    // The files of the current (or last) run that could not be read as
    // images. They are stored with the empty text all the same, so an
    // unforced run does not try them again until they change.
    QList<QUrl> unreadable() const { return m_unreadable; }

Q_SIGNALS:
    void runningChanged(bool running);
    void doneChanged(int done);
    void totalChanged(int total);

private:
    struct Worker;

    static void deliver(const std::shared_ptr<Worker> &worker, MetaStore *store, TextIndexer *self);
    void setRunning(bool running);
    void setDone(int done);
    void setTotal(int total);

    MetaStore &m_store;
    ModifiedTime m_modified;
    QList<QUrl> m_unreadable;
    std::shared_ptr<Worker> m_worker;
    QThreadPool m_queue;
    bool m_running = false;
    int m_done = 0;
    int m_total = 0;
};
