#include "meta/metaformat.h"
#include "meta/metastore.h"
#include "support/files.h"
#include "support/sandbox.h"

#include <QElapsedTimer>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTest>

#include <sys/stat.h>

using TestFiles::readAll;

namespace {

QUrl file(const char *name) { return QUrl::fromLocalFile("/shots/" + QLatin1String(name)); }

QStringList setAsideFiles(const QString &folder)
{
    return QDir(folder).entryList({"meta.json.unreadable-*"}, QDir::AllEntries | QDir::Hidden);
}

std::unique_ptr<MetaStore> loadedStore(const QString &path)
{
    auto store = std::make_unique<MetaStore>(path);
    if (!QTest::qWaitFor([&] { return store->isLoaded(); }, 10000))
        qFatal("meta.json did not load");
    return store;
}

bool waitForWrite(MetaStore &store)
{
    QSignalSpy finished(&store, &MetaStore::saveFinished);
    return finished.wait(10000) && finished.first().first().toBool();
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
        {
            const auto store = loadedStore(path);
            store->update(file("empty.png"), [](FileMeta &) {});
            store->update(file("blank.png"), [](FileMeta &m) { m.text = QString(); });
            store->update(file("full.png"), [&](FileMeta &m) {
                m.app = "Text Editor";
                m.text = text;
                m.textAt = at;
            });
            QVERIFY(waitForWrite(*store));
        }

        // Absent fields are left out; "ran, found nothing" is an empty text.
        const QByteArray bytes = readAll(path);
        const QJsonObject root = QJsonDocument::fromJson(bytes).object();
        QCOMPARE(root.value("empty.png").toObject(), QJsonObject());
        QCOMPARE(root.value("blank.png").toObject(), QJsonObject({{"text", QString()}}));
        QCOMPARE(root.value("full.png")["textAt"].toDouble(), 86400.5); // since 2001
        QCOMPARE(root.value("full.png")["text"].toString(), readBack);
        QCOMPARE(QFile::permissions(path),
                 QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ReadUser | QFileDevice::WriteUser);

        // Read back, and written again: the same records, the same bytes.
        const auto again = loadedStore(path);
        const FileMeta back = *again->metaForName("full.png");
        QCOMPARE(back.textAt, std::optional<QDateTime>(at));
        QCOMPARE(back.text, std::optional<QString>(readBack));
        QCOMPARE(MetaStore::encode(again->byName()), bytes);

        // Written in pieces as it is made, the file is the same; nothing
        // more is offered after a piece is refused.
        QByteArray joined;
        QVERIFY(encodeMetaJson(again->byName(), 7, [&](QByteArrayView part) { return joined.append(part), true; }));
        QCOMPARE(joined, bytes);
        int offered = 0;
        QVERIFY(!encodeMetaJson(again->byName(), 8, [&](QByteArrayView) { return ++offered < 2; }));
        QCOMPARE(offered, 2);

        // Null and unknown members read as absent; escapes of every kind,
        // a lone half of a surrogate pair as U+FFFD.
        const auto decoded =
            MetaStore::decode(" {\"a.png\" : {\"app\":null,\"text\":\"h\\u00e9\\ud83d\\ude42\\/\\n\",\"textAt\":3.25e0,"
                              "\"appPath\":\"\\ud800\\u0041\\udc00\\\\ud800\","
                              "\"colour\":[1,{\"x\":[true,-0.5e-3,\"\\\"\"]}]}}\n");
        QVERIFY(decoded);
        const FileMeta a = decoded->value("a.png");
        QVERIFY(!a.app);
        QCOMPARE(*a.appPath, "\uFFFDA\uFFFD\\ud800");
        QCOMPARE(*a.text, "hé🙂/\n");
        QCOMPARE(*a.textAt, QDateTime(QDate(2001, 1, 1), QTime(0, 0, 3, 250), Qt::UTC));
    }

    void anUndecodableFileIsSetAsideNotOverwritten()
    {
        // A member of the wrong type, trailing bytes, a file cut short.
        for (const QByteArray &contents : {QByteArray("{\"a.png\":{\"text\":\"kept\",\"textAt\":\"yesterday\"}}"),
                                           QByteArray("{\"a.png\":{}}x"), QByteArray("{\"a.png\":{\"text\":\"kep")}) {
            Sandbox box;
            const QString path = box.path("meta.json");
            Sandbox::writeFile(path, contents);
            const auto store = loadedStore(path);
            QVERIFY(store->byName().isEmpty());
            QCOMPARE(readAll(path), contents); // loading alone changes nothing
            // Only the unreadable file is set aside, once.
            for (const char *name : {"new.png", "newer.png"}) {
                store->update(file(name), [](FileMeta &m) { m.text = QStringLiteral("new"); });
                store->save(); // rather than wait for the timer
                QVERIFY(waitForWrite(*store));
            }
            const QStringList aside = setAsideFiles(box.path());
            QCOMPARE(aside.size(), 1);
            QCOMPARE(readAll(box.path(aside.first())), contents);
            QCOMPARE(loadedStore(path)->byName().size(), 2);
        }
    }

    void aPipeOrFolderInItsPlaceIsNeitherWaitedForNorReplaced()
    {
        for (const bool pipe : {true, false}) {
            Sandbox box;
            const QByteArray native = QFile::encodeName(box.path("meta.json"));
            QVERIFY(pipe ? ::mkfifo(native.constData(), 0600) == 0 : ::mkdir(native.constData(), 0700) == 0);
            // A load that opened the pipe for reading would never end.
            QElapsedTimer started;
            started.start();
            const auto store = loadedStore(box.path(QStringLiteral("meta.json")));
            QVERIFY(started.elapsed() < 3000);
            store->update(file("a.png"), [](FileMeta &m) { m.text = QStringLiteral("kept in memory"); });
            store->save();
            QSignalSpy finished(store.get(), &MetaStore::saveFinished);
            QVERIFY(finished.wait(10000));
            QCOMPARE(finished.first().first().toBool(), false);
            QVERIFY(!store->flush());
            struct stat st;
            QVERIFY(::lstat(native.constData(), &st) == 0);
            QVERIFY(pipe ? S_ISFIFO(st.st_mode) : S_ISDIR(st.st_mode));
            QVERIFY(setAsideFiles(box.path()).isEmpty());
            QVERIFY(store->metaForName("a.png"));
        }
    }

    void changesMadeWhileLoadingLandOnTheLoadedRecords()
    {
        Sandbox box;
        const QString path = box.path("meta.json");
        const QByteArray onDisk("{\"a.png\":{\"app\":\"Editor\",\"text\":\"old\"},\"b.png\":{\"text\":\"bee\"},"
                                "\"c.png\":{\"app\":\"Terminal\"}}");
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
        QVERIFY(loaded.wait(10000));
        QCOMPARE(changed.size(), changes + 1);
        const QByteArray merged("{\"a.png\":{\"app\":\"Editor\",\"text\":\"new\"},\"b 2.png\":{\"text\":\"bee\"},"
                                "\"c.png\":{\"app\":\"Terminal\"},\"d.png\":{\"app\":\"Viewer\"}}");
        QCOMPARE(MetaStore::encode(store.byName()), merged);
        // The save asked for before the load is written once it is in.
        QVERIFY(waitForWrite(store));
        QCOMPARE(readAll(path), merged);

        // Once loaded, a move from a name without a record changes nothing,
        // and a move onto a name with one replaces it.
        store.moveRecord(file("nothing.png"), file("d.png"));
        QCOMPARE(changed.size(), changes + 1);
        store.moveRecord(file("a.png"), QUrl::fromLocalFile("/elsewhere/c.png"));
        QVERIFY(!store.metaForName("a.png"));
        QCOMPARE(store.metaForName("c.png")->text, std::optional<QString>("new"));
    }

    void aSaveDuringAWriteLandsLast()
    {
        Sandbox box;
        const QString path = box.path("meta.json");
        const auto store = loadedStore(path);
        QSignalSpy writes(store.get(), &MetaStore::saveFinished);
        store->update(file("early.png"), [](FileMeta &) {});
        store->save();
        QVERIFY(store->isSaving()); // until the event loop hears back from the writer
        store->update(file("late.png"), [](FileMeta &m) { m.app = "first"; });
        store->save();
        // Changes made while the writer holds the records read back at once.
        store->moveRecord(file("early.png"), file("moved.png"));
        QCOMPARE(store->metaForName("late.png")->app, std::optional<QString>("first"));
        QVERIFY(!store->metaForName("early.png") && store->metaForName("moved.png"));
        QVERIFY(!store->byName().contains("early.png") && store->byName().contains("moved.png"));
        store->update(file("late.png"), [](FileMeta &m) { m.app = "last"; });
        store->save();
        QTRY_COMPARE_WITH_TIMEOUT(writes.size(), 2, 30000); // the two waiting saves became one
        QVERIFY(!store->isSaving());
        const auto reread = loadedStore(path);
        QCOMPARE(reread->metaForName("late.png")->app, std::optional<QString>("last"));
        QVERIFY(!reread->metaForName("early.png") && reread->metaForName("moved.png"));
    }
};

QTEST_GUILESS_MAIN(TestMetaStore)
#include "test_metastore.moc"
