#pragma once

#include <QFutureWatcher>
#include <QObject>
#include <QPromise>
#include <QRunnable>
#include <QThread>
#include <QThreadPool>

#include <type_traits>
#include <utility>

// Background work that hands a plain result back to the thread of the object
// that asked for it.
//
//     Async::run(m_pool, this, [copies] { return slowWork(copies); },
//                [this](Result result) { use(std::move(result)); });
//
// `work` runs on a thread of `pool` and may use only what it captured by
// value: never the asker, which may be gone by the time it runs. `done` runs
// on `context`'s thread through its event loop, and not at all once
// `context` is destroyed, however far the work had got; work that never
// started (the pool was cleared) calls nothing either.
//
// The result comes back through a watcher that is a child of `context`, so
// the worker never touches `context` (not even to post to it): destroying
// `context` on its own thread is safe at any point.
//
// Whoever owns `pool` stops it before going away (`clear()` for work not yet
// started, then `waitForDone()`), so nothing runs after its owner is gone.
namespace Async {

namespace Detail {

template <typename Result, typename Work>
class Job final : public QRunnable
{
public:
    Job(QPromise<Result> promise, Work work) : m_promise(std::move(promise)), m_work(std::move(work)) {}

    void run() override
    {
        m_promise.start();
        if constexpr (std::is_void_v<Result>)
            m_work();
        else
            m_promise.addResult(m_work());
        m_promise.finish();
    }

    // A job dropped unstarted lets go of its promise here, which cancels it:
    // the watcher then sees a finish without a result.

private:
    QPromise<Result> m_promise;
    Work m_work;
};

} // namespace Detail

template <typename Work, typename Done>
void run(QThreadPool &pool, QObject *context, Work work, Done done)
{
    using Result = std::invoke_result_t<Work &>;
    Q_ASSERT(context && context->thread() == QThread::currentThread());

    auto *watcher = new QFutureWatcher<Result>(context);
    QObject::connect(watcher, &QFutureWatcherBase::finished, watcher, [watcher, done = std::move(done)]() mutable {
        QFuture<Result> future = watcher->future();
        watcher->deleteLater();
        if (future.isCanceled())
            return;
        if constexpr (std::is_void_v<Result>)
            done();
        else if (future.resultCount() > 0)
            done(future.takeResult());
    });
    QPromise<Result> promise;
    watcher->setFuture(promise.future());
    pool.start(new Detail::Job<Result, Work>(std::move(promise), std::move(work)));
}

} // namespace Async
