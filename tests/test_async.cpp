#include "files/async.h"

#include <QPointer>
#include <QSemaphore>
#include <QTest>
#include <QThread>

#include <atomic>
#include <memory>

namespace {

// An object that owns its pool, as the shelf, the store and the tidy do.
class Owner : public QObject
{
public:
    Owner() { pool.setMaxThreadCount(1); }
    ~Owner() override
    {
        pool.clear();
        going->release(100); // lets the job in hand finish
        pool.waitForDone();
    }

    // A job that holds its thread until the owner starts going away.
    void start(const std::shared_ptr<QSemaphore> &started, const std::shared_ptr<std::atomic<int>> &ran,
               const std::shared_ptr<std::atomic<int>> &delivered)
    {
        Async::run(
            pool, this,
            [started, ran, going = going] {
                ++*ran;
                started->release();
                going->acquire();
                return std::make_unique<int>(42);
            },
            [delivered](std::unique_ptr<int>) { ++*delivered; });
    }

    QThreadPool pool;
    std::shared_ptr<QSemaphore> going = std::make_shared<QSemaphore>();
};

} // namespace

class TestAsync : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // The work runs on the pool; its result, which may be move-only, comes
    // to the asking object's thread, even when that is not the GUI thread,
    // and only through that thread's event loop.
    void theResultComesToTheContextsThread()
    {
        QThreadPool pool;
        QThread other;
        auto *context = new QObject;
        context->moveToThread(&other);
        other.start();
        const auto stop = qScopeGuard([&] {
            context->deleteLater(); // on its thread, as it ends
            other.quit();
            other.wait();
        });

        std::atomic<QThread *> workedOn = nullptr, doneOn = nullptr;
        std::atomic<bool> doneDuringRun = false;
        std::atomic<int> value = 0;
        std::atomic<bool> returned = false;
        QMetaObject::invokeMethod(context, [&] {
            Async::run(
                pool, context,
                [&] {
                    workedOn = QThread::currentThread();
                    return std::make_unique<int>(7);
                },
                [&](std::unique_ptr<int> result) {
                    doneOn = QThread::currentThread();
                    doneDuringRun = !returned;
                    value = *result;
                });
            // Even finished work waits for the event loop.
            pool.waitForDone();
            returned = true;
        });
        QTRY_COMPARE_WITH_TIMEOUT(value.load(), 7, 5000);
        QCOMPARE(doneOn.load(), &other);
        QVERIFY(!doneDuringRun);
        QVERIFY(workedOn.load() != &other && workedOn.load() != QThread::currentThread());
    }

    // The asker goes away while its job runs, or before its job started:
    // nothing of it is called or touched afterwards, and a context that
    // goes away inside its own answer takes nothing down with it.
    void aContextGoneMeansNoAnswer()
    {
        QThreadPool pool;
        pool.setMaxThreadCount(1);
        QSemaphore started, release;
        bool answered = false;
        auto *running = new QObject;
        auto *queued = new QObject;
        Async::run(
            pool, running,
            [&] {
                started.release();
                release.acquire();
                return 1;
            },
            [&](int) { answered = true; });
        Async::run(
            pool, queued, [] {}, [&] { answered = true; });
        QVERIFY(started.tryAcquire(1, 5000));
        delete running;
        delete queued;
        release.release();
        pool.waitForDone();
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
        QVERIFY(!answered);

        QPointer<QObject> selfDeleting = new QObject;
        Async::run(
            pool, selfDeleting.data(), [] { return 3; },
            [&](int) {
                answered = true;
                delete selfDeleting.data();
            });
        QTRY_VERIFY_WITH_TIMEOUT(answered && !selfDeleting, 5000);
    }

    // The owner of the pool goes away in the middle of a job, with another
    // waiting: the job in hand finishes before the owner is gone, the one
    // waiting never starts, and neither answers.
    void anOwnerGoneMidJob()
    {
        auto started = std::make_shared<QSemaphore>();
        auto ran = std::make_shared<std::atomic<int>>(0);
        auto delivered = std::make_shared<std::atomic<int>>(0);
        auto owner = std::make_unique<Owner>();
        owner->start(started, ran, delivered);
        owner->start(started, ran, delivered);
        QVERIFY(started->tryAcquire(1, 5000));
        owner.reset();
        QCOMPARE(ran->load(), 1);
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
        QCOMPARE(delivered->load(), 0);
    }
};

QTEST_GUILESS_MAIN(TestAsync)
#include "test_async.moc"
