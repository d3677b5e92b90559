#include "meta/metastore.h"
#include "meta/textindexer.h"
#include "platform/tesseractrecognizer.h"
#include "support/badimages.h"
#include "support/files.h"
#include "support/sandbox.h"
#include "support/textimage.h"

#include <QElapsedTimer>
#include <QPainter>
#include <QSemaphore>
#include <QTest>

#include <atomic>
#include <thread>

namespace {

// Shared between the test and the fake on the worker thread: the fake counts
// the files it has begun and waits for a permit before finishing each one.
struct Script
{
    QSemaphore permits;
    QSemaphore begun;    // one for each file begun
    QStringList failing; // file names the fake cannot read
};

struct FakeRecognizer : TextRecognizer
{
    explicit FakeRecognizer(Script &script) : script(script) {}
    void abandonWhen(const std::atomic<bool> *flag) override { abandon = flag; }
    std::optional<QString> recognize(const QString &filePath) override
    {
        script.begun.release();
        while (!script.permits.tryAcquire(1, 10))
            if (abandon && *abandon)
                return std::nullopt;
        const QString name = QFileInfo(filePath).fileName();
        return script.failing.contains(name) ? std::nullopt : std::optional(QStringLiteral("text of ") + name);
    }
    Script &script;
    const std::atomic<bool> *abandon = nullptr;
};

QList<QUrl> files(const QString &dir, int count, const QString &prefix = QStringLiteral("shot"))
{
    QList<QUrl> out;
    for (int i = 1; i <= count; ++i)
        out << QUrl::fromLocalFile(QStringLiteral("%1/%2%3.png").arg(dir, prefix).arg(i));
    return out;
}

// The text stored for each of `files`: "-" where there is none.
QStringList texts(MetaStore &store, const QList<QUrl> &files)
{
    QStringList out;
    for (const QUrl &file : files) {
        const std::optional<FileMeta> meta = store.meta(file);
        out << (meta && meta->text ? meta->text->toString() : QStringLiteral("-"));
    }
    return out;
}

} // namespace

class TestTextIndexer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void recognisesLinesWithTesseract()
    {
        Sandbox box;
        MetaStore store(box.path(QStringLiteral("meta.json")));
        const QString png = box.path("hello.png");
        QVERIFY(textImage(QSize(480, 240), 40, {"Hello", "World"}).save(png));
        // A language that is not installed is left out rather than failing.
        TextIndexer indexer(store, [] { return makeTesseractRecognizer(QStringLiteral("eng+zzz")); });
        indexer.index({QUrl::fromLocalFile(png)}, false);
        QVERIFY(indexer.running());
        QTRY_VERIFY_WITH_TIMEOUT(!indexer.running(), 30000);
        QCOMPARE(texts(store, {QUrl::fromLocalFile(png)}), QStringList{"Hello\nWorld"});
        QVERIFY(store.meta(QUrl::fromLocalFile(png))->textAt);

        // Unreadable images (a PNG cut short as one still being written
        // among them) give nothing, not the empty text; a blank one gives
        // the empty text.
        auto recognizer = makeTesseractRecognizer(QStringLiteral("eng"));
        const QStringList bad = BadImages::write(box.path(QStringLiteral("bad"))) << box.path("missing.png");
        for (const QString &path : bad)
            QVERIFY2(!recognizer->recognize(path), qPrintable(path));
        QVERIFY(textImage(QSize(200, 100), 40, {}).save(box.path(QStringLiteral("blank.png"))));
        QCOMPARE(recognizer->recognize(box.path(QStringLiteral("blank.png"))), std::optional<QString>(QString()));

        // Once told to give up (the program quits), it gives nothing.
        const std::atomic<bool> quitting{true};
        recognizer->abandonWhen(&quitting);
        QVERIFY(!recognizer->recognize(png));
    }

    void storesEachResultStopsWhenCancelledAndAtQuit()
    {
        Sandbox box;
        MetaStore store(box.path(QStringLiteral("meta.json")));
        Script script;
        int made = 0;
        TextIndexer indexer(store, [&] {
            ++made;
            return std::make_unique<FakeRecognizer>(script);
        });
        const QList<QUrl> run = files(box.path(), 3);
        script.failing << QStringLiteral("shot2.png");
        indexer.index(run, false);
        // Each result is stored as it comes.
        script.permits.release(1);
        QTRY_COMPARE(indexer.done(), 1);
        QCOMPARE(texts(store, run), (QStringList{"text of shot1.png", "-", "-"}));
        script.permits.release(2);
        QTRY_VERIFY(!indexer.running());
        // A file that cannot be read counts as indexed, with the empty text,
        // and the run tells which it was.
        QCOMPARE(texts(store, run), (QStringList{"text of shot1.png", "", "text of shot3.png"}));
        QCOMPARE(indexer.unreadable(), QList<QUrl>{run[1]});

        // Unforced runs skip indexed files (the empty text included), but
        // not text recognised before its file last changed (a screenshot
        // saved over an old name: another picture's). A forced run
        // recognises again, renews textAt, and reuses the warm recognizer.
        const QDateTime before = *store.meta(run[1])->textAt;
        indexer.setModifiedTime([&](const QUrl &file) {
            return file == run[2] ? before.addSecs(60) : file == run[0] ? QDateTime() : before.addSecs(-60);
        });
        script.permits.release(1);
        indexer.index(run, false);
        QCOMPARE(indexer.total(), 1);
        QTRY_VERIFY(!indexer.running());
        QVERIFY(*store.meta(run[2])->textAt > before);
        script.failing.clear();
        script.permits.release(1);
        indexer.index({run[1]}, true);
        QTRY_VERIFY(!indexer.running());
        QCOMPARE(texts(store, run), (QStringList{"text of shot1.png", "text of shot2.png", "text of shot3.png"}));
        QVERIFY(*store.meta(run[1])->textAt >= before && made == 1);

        // Cancel stops before the next file; a request while running is
        // dropped; an earlier stop does not affect the next run.
        const QList<QUrl> many = files(box.path(), 10, QStringLiteral("many"));
        const QList<QUrl> other = files(box.path(), 2, QStringLiteral("other"));
        script.begun.acquire(script.begun.available());
        indexer.index(many, true);
        script.permits.release(2);
        QVERIFY(script.begun.tryAcquire(3, 10000)); // file 3 is being recognised
        indexer.index(other, true);
        QCOMPARE(indexer.total(), 10);
        indexer.cancel();
        script.permits.release(1);
        QTRY_VERIFY(!indexer.running());
        QVERIFY(indexer.done() == 3 && script.begun.available() == 0);
        QCOMPARE(texts(store, many.mid(2, 2) + other), (QStringList{"text of many3.png", "-", "-", "-"}));
        script.permits.release(2);
        indexer.index(other, true);
        QTRY_VERIFY(!indexer.running());
        QCOMPARE(texts(store, other), (QStringList{"text of other1.png", "text of other2.png"}));

        // At quit, with no event loop from here on: file 1 is recognised but
        // its result never reached the store by an event; it is stored, and
        // file 2 is given up, not waited for the 10 s allowed.
        const QList<QUrl> last = files(box.path(), 3, QStringLiteral("last"));
        script.begun.acquire(script.begun.available());
        indexer.index(last, true);
        script.permits.release(1);
        QVERIFY(script.begun.tryAcquire(2, 10000) && !store.meta(last[0]));
        QElapsedTimer quitting;
        quitting.start();
        indexer.stopForQuit(10000);
        QVERIFY(quitting.elapsed() < 8000);
        QCOMPARE(texts(store, last), (QStringList{"text of last1.png", "-", "-"}));
        QVERIFY(store.flush());
        const auto written = MetaStore::decode(TestFiles::readAll(box.path("meta.json")));
        QVERIFY(written && written->contains("last1.png") && !written->contains("last2.png"));
    }
};

QTEST_MAIN(TestTextIndexer)
#include "test_textindexer.moc"
