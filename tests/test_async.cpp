#include "files/async.h"

#include <QPointer>
#include <QSemaphore>
#include <QTest>
#include <QThread>

#include <atomic>

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
    // nothing of it is called or touched afterwards; work its owner cleared
    // from the pool before it started answers nothing either; and a context
    // that goes away inside its own answer takes nothing down with it.
    void aContextGoneOrWorkClearedMeansNoAnswer()
    {
        QThreadPool pool;
        pool.setMaxThreadCount(1);
        QSemaphore started, release;
        int answered = 0, ran = 0;
        auto *running = new QObject;
        auto *queued = new QObject;
        QObject staying;
        Async::run(
            pool, running,
            [&] {
                started.release();
                release.acquire();
                return 1;
            },
            [&](int) { ++answered; });
        Async::run(
            pool, queued, [&] { ++ran; }, [&] { ++answered; });
        QVERIFY(started.tryAcquire(1, 5000));
        delete running;
        delete queued;
        release.release();
        pool.waitForDone();
        Async::run(
            pool, &staying, [&] { return started.acquire(), 2; }, [&](int) { ++answered; });
        Async::run(
            pool, &staying, [&] { ++ran; }, [&] { ++answered; });
        pool.clear(); // as an owner does on its way out: the job in hand goes on, the one waiting never starts
        started.release();
        pool.waitForDone();
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
        QCOMPARE(ran, 1);
        QTRY_COMPARE(answered, 1); // only the job that was in hand

        QPointer<QObject> selfDeleting = new QObject;
        Async::run(
            pool, selfDeleting.data(), [] { return 3; },
            [&](int) {
                ++answered;
                delete selfDeleting.data();
            });
        QTRY_VERIFY_WITH_TIMEOUT(answered == 2 && !selfDeleting, 5000);
    }
};

QTEST_GUILESS_MAIN(TestAsync)
#include "test_async.moc"
