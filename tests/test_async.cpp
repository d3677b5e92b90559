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
    void answersComeOnTheContextsThreadOrNotAtAll()
    {
        QThreadPool pool;
        {
            // The work runs on the pool; its result, which may be move-only,
            // comes to the asking object's thread, even when that is not the
            // GUI thread, and only through that thread's event loop.
            QThread other;
            auto *context = new QObject;
            context->moveToThread(&other);
            other.start();
            const auto stop = qScopeGuard([&] {
                context->deleteLater();
                other.quit();
                other.wait();
            });
            std::atomic<bool> returned = false;
            std::atomic<int> value = 0;
            QMetaObject::invokeMethod(context, [&] {
                const auto work = [&] { return std::make_unique<int>(QThread::currentThread() == &other ? -1 : 7); };
                Async::run(pool, context, work, [&](std::unique_ptr<int> result) {
                    value = returned && QThread::currentThread() == &other ? *result : -2;
                });
                pool.waitForDone(); // even finished work waits for the event loop
                returned = true;
            });
            QTRY_COMPARE_WITH_TIMEOUT(value.load(), 7, 5000);
        }

        // An asker gone while its job runs or before it starts hears nothing;
        // nor does work its owner cleared from the pool before it started; a
        // context that goes away inside its own answer takes nothing down.
        pool.setMaxThreadCount(1);
        QSemaphore started, release;
        int answered = 0, ran = 0;
        const auto answer = [&] { ++answered; };
        const auto count = [&] { ++ran; };
        const auto blocking = [&] { return started.release(), release.acquire(); };
        auto *gone = new QObject;
        Async::run(pool, gone, blocking, answer);
        Async::run(pool, gone, count, answer);
        QVERIFY(started.tryAcquire(1, 5000));
        delete gone;
        release.release();
        pool.waitForDone();
        QObject staying;
        Async::run(pool, &staying, blocking, answer); // the one free thread takes it at once
        Async::run(pool, &staying, count, answer);
        pool.clear(); // as an owner does on its way out
        release.release();
        pool.waitForDone();
        QCoreApplication::processEvents();
        QCOMPARE(ran, 1);
        QCOMPARE(answered, 1);

        QPointer<QObject> selfDeleting = new QObject;
        const auto answerAndGo = [&](int) {
            ++answered;
            delete selfDeleting.data();
        };
        Async::run(
            pool, selfDeleting.data(), [] { return 3; }, answerAndGo);
        QTRY_VERIFY_WITH_TIMEOUT(answered == 2 && !selfDeleting, 5000);
    }
};

QTEST_GUILESS_MAIN(TestAsync)
#include "test_async.moc"
