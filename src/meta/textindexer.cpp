#include "meta/textindexer.h"

#include "files/localpaths.h"
#include "meta/metastore.h"
#include "platform/textrecognizer.h"
#include "platform/threadpriority.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QMutex>
#include <QPointer>
#include <QThread>

#include <atomic>

#include <pthread.h>

// What the job on the worker thread shares with the indexer. The recognizer
// is created on the worker thread and only ever used there.
struct TextIndexer::Worker
{
    RecognizerFactory makeRecognizer;
    std::unique_ptr<TextRecognizer> recognizer;
    // Written on the GUI thread, read by the job before each file.
    std::atomic<bool> cancelled{false};
    // Set at quit: the recognizer gives up on the file in hand.
    std::atomic<bool> abandoned{false};
    // Recognised and not yet in the store, oldest first. Kept here rather
    // than in the posted events so that quitting can still store them.
    QMutex lock;
    struct Result
    {
        QUrl file;
        std::optional<QString> text; // nothing: the image could not be read
        QDateTime at;                // when reading it began
    };
    QList<Result> recognised;

    std::optional<QString> recognize(const QUrl &file)
    {
        if (!recognizer && makeRecognizer) {
            recognizer = makeRecognizer();
            if (recognizer)
                recognizer->abandonWhen(&abandoned);
        }
        if (!recognizer || !file.isLocalFile())
            return std::nullopt;
        return recognizer->recognize(LocalPaths::localPath(file));
    }
};

TextIndexer::TextIndexer(MetaStore &store, RecognizerFactory makeRecognizer, QObject *parent)
    : QObject(parent), m_store(store), m_worker(std::make_shared<Worker>())
{
    m_worker->makeRecognizer = std::move(makeRecognizer);
    m_queue.setObjectName(QStringLiteral("brindlewick.ocr"));
    m_queue.setMaxThreadCount(1);
    // The thread, and with it the warm recognizer, lives as long as we do.
    m_queue.setExpiryTimeout(-1);
}

TextIndexer::~TextIndexer()
{
    // The job finishes the file in hand; its result still reaches the store
    // if the store outlives us.
    m_worker->cancelled = true;
    m_queue.waitForDone();
}

bool TextIndexer::cancelled() const { return m_worker->cancelled; }

void TextIndexer::index(const QList<QUrl> &files, bool force)
{
    QList<QUrl> kept;
    for (const QUrl &file : files) {
        if (force) {
            kept << file;
            continue;
        }
        const auto record = m_store.meta(file);
        if (!record || !record->hasTextFor(m_modified ? m_modified(file) : QDateTime()))
            kept << file;
    }
    if (kept.isEmpty() || m_running)
        return;

    m_worker->cancelled = false;
    m_worker->abandoned = false;
    m_unreadable.clear();
    setRunning(true);
    setDone(0);
    setTotal(int(kept.size()));

    QPointer<TextIndexer> self(this);
    QPointer<MetaStore> store(&m_store);
    std::shared_ptr<Worker> worker = m_worker;
    m_queue.start([self, store, worker, kept] {
        standBack(Background::idle);
        // The OS-level name shows in top and debuggers; 15 characters fit.
        QThread::currentThread()->setObjectName(QStringLiteral("brindlewick.ocr"));
        pthread_setname_np(pthread_self(), "brindlewick.ocr");
        lowerCurrentThreadPriority();
        for (const QUrl &file : kept) {
            if (worker->cancelled)
                break;
            // Dated before the file is read: a change while it is being
            // read makes the file newer than its text.
            const QDateTime began = QDateTime::currentDateTimeUtc();
            std::optional<QString> text = worker->recognize(file);
            if (worker->abandoned)
                break; // cut short: not a result
            {
                QMutexLocker locked(&worker->lock);
                worker->recognised.append({file, std::move(text), began});
            }
            // Results are stored even when the indexer is gone, never after
            // the store is.
            QMetaObject::invokeMethod(
                QCoreApplication::instance(), [self, store, worker] { deliver(worker, store, self); },
                Qt::QueuedConnection);
        }
        // Queued behind the last result, so it runs after that was stored.
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [self, store, worker] {
                deliver(worker, store, self);
                if (self)
                    self->setRunning(false);
            },
            Qt::QueuedConnection);
    });
}

void TextIndexer::deliver(const std::shared_ptr<Worker> &worker, MetaStore *store, TextIndexer *self)
{
    QList<Worker::Result> results;
    {
        QMutexLocker locked(&worker->lock);
        results.swap(worker->recognised);
    }
    if (!store)
        return;
    for (const Worker::Result &result : std::as_const(results)) {
        // An image that could not be read (cut short, still being written)
        // counts as done, with no text, until it changes.
        store->update(result.file, [&result](FileMeta &meta) {
            meta.text = result.text.value_or(QString());
            meta.textAt = result.at;
        });
        if (self) {
            if (!result.text)
                self->m_unreadable.append(result.file);
            self->setDone(self->m_done + 1);
        }
    }
}

void TextIndexer::storeRecognised() { deliver(m_worker, &m_store, this); }

void TextIndexer::stopForQuit(int waitMs)
{
    m_worker->cancelled = true;
    m_worker->abandoned = true;
    m_queue.waitForDone(waitMs);
    storeRecognised();
}

void TextIndexer::cancel() { m_worker->cancelled = true; }

void TextIndexer::setRunning(bool running)
{
    if (m_running == running)
        return;
    m_running = running;
    Q_EMIT runningChanged(running);
}

void TextIndexer::setDone(int done)
{
    if (m_done == done)
        return;
    m_done = done;
    Q_EMIT doneChanged(done);
}

void TextIndexer::setTotal(int total)
{
    if (m_total == total)
        return;
    m_total = total;
    Q_EMIT totalChanged(total);
}
