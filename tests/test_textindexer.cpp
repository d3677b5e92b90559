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
    std::atomic<int> begun{0};
    QSemaphore begins;   // one for each file begun
    QStringList failing; // file names the fake cannot read
};

class FakeRecognizer : public TextRecognizer
{
public:
    explicit FakeRecognizer(Script &script) : m_script(script) {}
    void abandonWhen(const std::atomic<bool> *flag) override { m_abandon = flag; }
    std::optional<QString> recognize(const QString &filePath) override
    {
        ++m_script.begun;
        m_script.begins.release();
        while (!m_script.permits.tryAcquire(1, 10)) {
            if (m_abandon && *m_abandon)
                return std::nullopt;
        }
        const QString name = QFileInfo(filePath).fileName();
        if (m_script.failing.contains(name))
            return std::nullopt;
        return QStringLiteral("text of ") + name;
    }

private:
    Script &m_script;
    const std::atomic<bool> *m_abandon = nullptr;
};

QList<QUrl> files(const QString &dir, int count, const QString &prefix = QStringLiteral("shot"))
{
    QList<QUrl> out;
    for (int i = 1; i <= count; ++i)
        out << QUrl::fromLocalFile(QStringLiteral("%1/%2%3.png").arg(dir, prefix).arg(i));
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
        const auto record = store.meta(QUrl::fromLocalFile(png));
        QVERIFY(record);
        QCOMPARE(record->text, std::optional<QString>(QStringLiteral("Hello\nWorld")));
        QVERIFY(record->textAt);

        // Unreadable images (a PNG cut short as one still being written
        // among them) give nothing, not the empty text; a blank one gives
        // the empty text.
        auto recognizer = makeTesseractRecognizer(QStringLiteral("eng"));
        QStringList bad = BadImages::write(box.path(QStringLiteral("bad")));
        bad << box.path(QStringLiteral("missing.png"));
        for (const QString &path : bad)
            QVERIFY2(!recognizer->recognize(path), qPrintable(path));
        QImage blank(200, 100, QImage::Format_RGB32);
        blank.fill(Qt::white);
        QVERIFY(blank.save(box.path(QStringLiteral("blank.png"))));
        QCOMPARE(recognizer->recognize(box.path(QStringLiteral("blank.png"))), std::optional<QString>(QString()));

        // Once told to give up (the program quits), it gives nothing.
        const std::atomic<bool> quitting{true};
        recognizer->abandonWhen(&quitting);
        QVERIFY(!recognizer->recognize(png));
    }

    void storesEachResultAndStopsWhenCancelled()
    {
        Sandbox box;
        MetaStore store(box.path(QStringLiteral("meta.json")));
        Script script;
        script.failing << QStringLiteral("shot2.png");
        int factoryCalls = 0;
        TextIndexer indexer(store, [&] {
            ++factoryCalls;
            return std::make_unique<FakeRecognizer>(script);
        });
        const QList<QUrl> run = files(box.path(), 3);
        indexer.index(run, false);
        // Each result is stored as it comes.
        script.permits.release(1);
        QTRY_COMPARE(indexer.done(), 1);
        QCOMPARE(store.meta(run[0])->text, std::optional<QString>(QStringLiteral("text of shot1.png")));
        QVERIFY(!store.meta(run[1]));
        script.permits.release(2);
        QTRY_VERIFY(!indexer.running());
        // A file that cannot be read counts as indexed, with the empty text,
        // and the run tells which it was.
        QCOMPARE(store.meta(run[1])->text, std::optional<QString>(QString()));
        QCOMPARE(indexer.unreadable(), QList<QUrl>{run[1]});

        // Unforced runs skip indexed files (the empty text included).
        indexer.index(run, false);
        QVERIFY(!indexer.running());
        // A forced run recognises again, renews textAt, and reuses the warm recognizer.
        const QDateTime before = *store.meta(run[1])->textAt;
        script.failing.clear();
        script.permits.release(1);
        indexer.index({run[1]}, true);
        QTRY_VERIFY(!indexer.running());
        QCOMPARE(store.meta(run[1])->text, std::optional<QString>(QStringLiteral("text of shot2.png")));
        QVERIFY(*store.meta(run[1])->textAt >= before);
        QCOMPARE(factoryCalls, 1);

        // Cancel stops before the next file; a request while running is dropped.
        const QList<QUrl> many = files(box.path(), 10, QStringLiteral("many"));
        const QList<QUrl> other = files(box.path(), 2, QStringLiteral("other"));
        script.begun = 0;
        indexer.index(many, true);
        script.permits.release(2);
        QTRY_COMPARE(script.begun.load(), 3); // file 3 is being recognised
        indexer.index(other, true);
        QCOMPARE(indexer.total(), 10);
        indexer.cancel();
        script.permits.release(1);
        QTRY_VERIFY(!indexer.running());
        QCOMPARE(indexer.done(), 3);
        QVERIFY(store.meta(many[2]) && store.meta(many[2])->text);
        QVERIFY(!store.meta(many[3]) && !store.meta(other[0]));
        QCOMPARE(script.begun.load(), 3);

        // An earlier stop does not affect the next run.
        script.permits.release(2);
        indexer.index(other, true);
        QTRY_VERIFY(!indexer.running());
        QCOMPARE(indexer.done(), 2);
        QVERIFY(store.meta(other[1])->text);
    }

    // Text recognised before its file last changed (a screenshot saved over
    // an old name) is another picture's: an unforced run does that file again.
    void textOlderThanItsFileIsDoneAgain()
    {
        Sandbox box;
        MetaStore store(box.path(QStringLiteral("meta.json")));
        Script script;
        TextIndexer indexer(store, [&] { return std::make_unique<FakeRecognizer>(script); });
        const QList<QUrl> run = files(box.path(), 3);
        const QDateTime recognised = QDateTime::currentDateTimeUtc().addSecs(-60);
        for (const QUrl &file : run)
            store.update(file, [&](FileMeta &meta) {
                meta.text = QStringLiteral("old words");
                meta.textAt = recognised;
            });
        indexer.setModifiedTime([&](const QUrl &file) {
            return file == run[1] ? recognised.addSecs(5) : file == run[2] ? QDateTime() : recognised.addSecs(-5);
        });
        script.permits.release(1);
        indexer.index(run, false);
        QCOMPARE(indexer.total(), 1);
        QTRY_VERIFY(!indexer.running());
        QCOMPARE(store.meta(run[0])->text, std::optional<QString>(QStringLiteral("old words")));
        QCOMPARE(store.meta(run[1])->text, std::optional<QString>(QStringLiteral("text of shot2.png")));
        QVERIFY(*store.meta(run[1])->textAt > recognised);
    }

    void quittingStoresWhatWasRecognisedWithoutWaitingForTheRest()
    {
        Sandbox box;
        const QString path = box.path(QStringLiteral("meta.json"));
        MetaStore store(path);
        Script script;
        TextIndexer indexer(store, [&] { return std::make_unique<FakeRecognizer>(script); });
        const QList<QUrl> run = files(box.path(), 3);
        indexer.index(run, true);
        script.permits.release(1);
        // No event loop from here on, as after the last event at quit: file 1
        // is recognised but its result never reached the store by an event.
        QVERIFY(script.begins.tryAcquire(2, 10000));
        QVERIFY(!store.meta(run[0]));
        QElapsedTimer quitting;
        quitting.start();
        indexer.stopForQuit(10000);
        QVERIFY(quitting.elapsed() < 8000); // file 2 is given up, not waited for the 10 s allowed
        QCOMPARE(store.meta(run[0])->text, std::optional<QString>(QStringLiteral("text of shot1.png")));
        QVERIFY(!store.meta(run[1]));
        QVERIFY(store.flush());
        QCOMPARE(MetaStore::decode(TestFiles::readAll(path))->keys(), QStringList{QStringLiteral("shot1.png")});
    }
};

QTEST_MAIN(TestTextIndexer)
#include "test_textindexer.moc"
