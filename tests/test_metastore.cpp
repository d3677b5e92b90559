#include "meta/metaformat.h"
#include "meta/metastore.h"
#include "support/files.h"
#include "support/sandbox.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTest>

#include <sys/stat.h>

using TestFiles::readAll;

namespace {

QUrl file(const char *name) { return QUrl::fromLocalFile("/shots/" + QLatin1String(name)); }

std::unique_ptr<MetaStore> loadedStore(const QString &path)
{
    auto store = std::make_unique<MetaStore>(path);
    if (!QTest::qWaitFor([&] { return store->isLoaded(); }, 10000))
        qFatal("meta.json did not load");
    return store;
}

// Whether the next write went through; nothing when none ended in time.
std::optional<bool> written(MetaStore &store)
{
    QSignalSpy finished(&store, &MetaStore::saveFinished);
    return finished.wait(10000) ? std::optional(finished.first().first().toBool()) : std::nullopt;
}

} // namespace

class TestMetaStore : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void writesTheFileFormatAndReadsItBack()
    {
        Sandbox box;
        // The folder does not exist yet: the store makes it.
        const QString path = box.path("data/Brindlewick/meta.json");
        const QDateTime at(QDate(2001, 1, 2), QTime(0, 0, 0, 500), Qt::UTC);
        // A lone half of a surrogate pair (a recogniser may hand one over) is
        // written as U+FFFD, so the file stays UTF-8 that any reader takes.
        const QString text =
            QStringLiteral("Total due: 12\n\"quoted\"\ttab \\ Café 🙂 \x01 ") + QChar(0xd800) + "x" + QChar(0xdc00);
        const QString readBack = "Total due: 12\n\"quoted\"\ttab \\ Café 🙂 \x01 \uFFFDx\uFFFD";
        auto store = loadedStore(path);
        store->update(file("empty.png"), [](FileMeta &) {});
        store->update(file("blank.png"), [](FileMeta &m) { m.text = QString(); });
        store->update(file("full.png"), [&](FileMeta &m) { m = FileMeta{"Text Editor", {}, text, at}; });
        QVERIFY(written(*store).value_or(false));
        store.reset();

        // Absent fields are left out; "ran, found nothing" is an empty text.
        const QByteArray bytes = readAll(path);
        const QJsonObject full{{"app", "Text Editor"}, {"text", readBack}, {"textAt", 86400.5}}; // since 2001
        QCOMPARE(
            QJsonDocument::fromJson(bytes).object(),
            QJsonObject({{"empty.png", QJsonObject()}, {"blank.png", QJsonObject{{"text", ""}}}, {"full.png", full}}));
        QCOMPARE(QFile::permissions(path) & 0x0777, QFileDevice::ReadUser | QFileDevice::WriteUser);

        // Read back, and written again: the same records, the same bytes.
        const auto again = loadedStore(path);
        QCOMPARE(*again->metaForName("full.png"), (FileMeta{"Text Editor", {}, readBack, at}));
        QCOMPARE(MetaStore::encode(again->byName()), bytes);

        // Written in pieces as it is made, nothing more is offered after a
        // piece is refused.
        int offered = 0;
        QVERIFY(!encodeMetaJson(again->byName(), 8, [&](QByteArrayView) { return ++offered < 2; }) && offered == 2);
    }

    // What is in meta.json's place and cannot be read is never replaced: a
    // file that does not decode (a member of the wrong type, trailing bytes,
    // a file cut short) is set aside once for the new records; a pipe (a
    // load that opened it would never end) or a folder stays, the records
    // kept in memory.
    void whatCannotBeReadIsNeverReplaced()
    {
        for (const QByteArray &contents :
             {QByteArray("{\"a.png\":{\"text\":\"kept\",\"textAt\":\"yesterday\"}}"), QByteArray("{\"a.png\":{}}x"),
              QByteArray("{\"a.png\":{\"text\":\"kep"), QByteArray("pipe"), QByteArray("folder")}) {
            Sandbox box;
            const QString path = box.path("meta.json");
            const QByteArray native = QFile::encodeName(path);
            const bool isFile = contents != "pipe" && contents != "folder";
            if (isFile)
                Sandbox::writeFile(path, contents);
            QVERIFY(isFile || (contents == "pipe" ? ::mkfifo(native, 0600) : ::mkdir(native, 0700)) == 0);
            const auto store = loadedStore(path); // a load that opened a pipe would never end
            QVERIFY(store->byName().isEmpty());
            QVERIFY(!isFile || readAll(path) == contents); // loading alone changes nothing
            for (const char *name : {"new.png", "newer.png"}) {
                store->update(file(name), [](FileMeta &m) { m.text = QStringLiteral("new"); });
                store->save(); // rather than wait for the timer
                QCOMPARE(written(*store), std::optional(isFile));
            }
            const QStringList aside =
                QDir(box.path()).entryList({"meta.json.unreadable-*"}, QDir::AllEntries | QDir::Hidden);
            QCOMPARE(aside.size(), isFile ? 1 : 0);
            struct stat st;
            QVERIFY(isFile ? readAll(box.path(aside.first())) == contents && loadedStore(path)->byName().size() == 2
                           : ::lstat(native, &st) == 0 && S_ISFIFO(st.st_mode) == (contents == "pipe")
                                 && !store->flush() && store->metaForName("new.png"));
        }
    }

    void changesMadeWhileLoadingOrWritingLandOnTheRecords()
    {
        Sandbox box;
        const QString path = box.path("meta.json");
        const QByteArray onDisk(
            R"({"a.png":{"app":"Editor","text":"old"},"b.png":{"text":"bee"},"c.png":{"app":"Terminal"}})");
        Sandbox::writeFile(path, onDisk);
        // The load lands through the event loop, so until the loop runs,
        // whatever the I/O thread has read, these changes come before it.
        MetaStore store(path);
        QSignalSpy changed(&store, &MetaStore::byNameChanged);
        store.update(file("a.png"), [](FileMeta &m) { m.text = QStringLiteral("new"); });
        store.moveRecord(file("b.png"), file("b 2.png"));
        store.update(file("d.png"), [](FileMeta &m) { m.app = "Viewer"; });
        store.save();
        QVERIFY(!store.isLoaded() && !store.isSaving());
        QCOMPARE(readAll(path), onDisk); // nothing written over records not yet read
        const qsizetype changes = changed.size();

        QSignalSpy loaded(&store, &MetaStore::loaded);
        QVERIFY(loaded.wait(10000) && changed.size() == changes + 1);
        const QByteArray merged("{\"a.png\":{\"app\":\"Editor\",\"text\":\"new\"},\"b 2.png\":{\"text\":\"bee\"},"
                                "\"c.png\":{\"app\":\"Terminal\"},\"d.png\":{\"app\":\"Viewer\"}}");
        QCOMPARE(MetaStore::encode(store.byName()), merged);
        // The save asked for before the load is written once it is in.
        QVERIFY(written(store).value_or(false) && readAll(path) == merged);

        // Once loaded, a move from a name without a record changes nothing,
        // and a move onto a name with one replaces it.
        store.moveRecord(file("nothing.png"), file("d.png"));
        QCOMPARE(changed.size(), changes + 1);
        store.moveRecord(file("a.png"), QUrl::fromLocalFile("/elsewhere/c.png"));
        QVERIFY(!store.metaForName("a.png") && store.metaForName("c.png")->text == std::optional<QString>("new"));

        // A save asked for during a write lands last; changes made while
        // the writer holds the records read back at once.
        QSignalSpy writes(&store, &MetaStore::saveFinished);
        store.update(file("early.png"), [](FileMeta &) {});
        store.save();
        QVERIFY(store.isSaving()); // until the event loop hears back from the writer
        store.update(file("late.png"), [](FileMeta &m) { m.app = "first"; });
        store.save();
        // Changes made while the writer holds the records read back at once.
        store.moveRecord(file("early.png"), file("moved.png"));
        QVERIFY(!store.byName().contains("early.png") && store.byName().contains("moved.png"));
        QVERIFY(!store.metaForName("early.png") && store.metaForName("moved.png"));
        QCOMPARE(store.metaForName("late.png")->app, std::optional<QString>("first"));
        store.update(file("late.png"), [](FileMeta &m) { m.app = "last"; });
        store.save();
        QTRY_COMPARE_WITH_TIMEOUT(writes.size(), 2, 30000); // the two waiting saves became one
        QVERIFY(!store.isSaving());
        const auto reread = loadedStore(path);
        QVERIFY(reread->metaForName("late.png")->app == "last" && !reread->metaForName("early.png"));
    }
};

QTEST_GUILESS_MAIN(TestMetaStore)
#include "test_metastore.moc"
