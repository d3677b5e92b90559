#include "meta/metastore.h"
#include "meta/textindexer.h"
#include "platform/tesseractrecognizer.h"
#include "support/badimages.h"
#include "support/files.h"
#include "support/sandbox.h"
#include "support/textimage.h"

#include <QSemaphore>
#include <QTest>

#include <atomic>

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

// prefix1.png, prefix2.png, ...: the fake reads only their names.
QList<QUrl> files(const char *prefix, int count)
{
    QList<QUrl> out;
    for (int i = 1; i <= count; ++i)
        out << QUrl::fromLocalFile(QStringLiteral("/shots/%1%2.png").arg(QLatin1String(prefix)).arg(i));
    return out;
}

// The text stored for each of `files`: "-" where there is none.
QStringList texts(MetaStore &store, const QList<QUrl> &files)
{
    QStringList out;
    for (const QUrl &file : files)
        out << (store.meta(file) && store.meta(file)->text ? store.meta(file)->text->toString() : QStringLiteral("-"));
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
        QCOMPARE(texts(store, {QUrl::fromLocalFile(png)}), QStringList{"Hello\nWorld"}); // with its time, below
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
        TextIndexer indexer(store, [&] { return std::make_unique<FakeRecognizer>(script); });
        const QList<QUrl> run = files("shot", 3);
        script.failing << QStringLiteral("shot2.png");
        indexer.index(run, false);
        script.permits.release(3);
        QTRY_VERIFY(!indexer.running());
        // A file that cannot be read counts as indexed, with the empty text,
        // and the run tells which it was.
        QCOMPARE(texts(store, run), (QStringList{"text of shot1.png", "", "text of shot3.png"}));
        QCOMPARE(indexer.unreadable(), QList<QUrl>{run[1]});

        // Unforced runs skip indexed files (the empty text included), but
        // not text recognised before its file last changed (a screenshot
        // saved over an old name: another picture's). A forced run
        // recognises again and renews textAt.
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
        QVERIFY(*store.meta(run[1])->textAt >= before);

        // Cancel stops before the next file; a request while running is
        // dropped; an earlier stop does not affect the next run (at quit, below).
        const QList<QUrl> many = files("many", 10);
        const QList<QUrl> other = files("other", 2);
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

        // At quit, with no event loop from here on: file 1 is recognised but
        // its result never reached the store by an event; it is stored, and
        // file 2 is given up, not waited for the 10 s allowed.
        const QList<QUrl> last = files("last", 3);
        script.begun.acquire(script.begun.available());
        indexer.index(last, true);
        script.permits.release(1);
        QVERIFY(script.begun.tryAcquire(2, 10000) && !store.meta(last[0]));
        const qint64 started = QDateTime::currentMSecsSinceEpoch();
        indexer.stopForQuit(10000);
        QVERIFY(QDateTime::currentMSecsSinceEpoch() - started < 8000);
        QCOMPARE(texts(store, last), (QStringList{"text of last1.png", "-", "-"}));
        QVERIFY(store.flush());
        QVERIFY(MetaStore::decode(TestFiles::readAll(box.path("meta.json")))->contains("last1.png"));
    }
};

QTEST_MAIN(TestTextIndexer)
#include "test_textindexer.moc"
