#include "meta/metastore.h"
#include "support/files.h"
#include "support/sandbox.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

using TestFiles::readAll;

namespace {

QUrl file(const char *name) { return QUrl::fromLocalFile(QStringLiteral("/shots/") + QLatin1String(name)); }

QStringList setAsideFiles(const QString &folder)
{
    return QDir(folder).entryList({QStringLiteral("meta.json.unreadable-*")}, QDir::Files | QDir::Hidden);
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
        const QString path = box.path(QStringLiteral("data/Brindlewick/meta.json"));
        const QDateTime at(QDate(2001, 1, 2), QTime(0, 0, 0, 500), Qt::UTC);
        {
            MetaStore store(path);
            QVERIFY(store.byName().isEmpty());
            store.update(file("empty.png"), [](FileMeta &) {});
            store.update(file("blank.png"), [](FileMeta &m) { m.text = QString(); });
            store.update(file("full.png"), [&](FileMeta &m) {
                m.app = QStringLiteral("Text Editor");
                m.appPath = QStringLiteral("/usr/share/applications/org.gnome.TextEditor.desktop");
                m.text = QStringLiteral("Total due: 12\n\"quoted\"\ttab \\ Café 🙂 \x01");
                m.textAt = at;
            });
            QVERIFY(waitForWrite(store));
        }

        const QByteArray bytes = readAll(path);
        QVERIFY(!bytes.contains('\n'));      // compact
        QVERIFY(!bytes.contains("null"));    // absent fields are left out
        const QJsonObject root = QJsonDocument::fromJson(bytes).object();
        QCOMPARE(root.size(), 3);
        QCOMPARE(root.value(QStringLiteral("empty.png")).toObject(), QJsonObject());
        QCOMPARE(root.value(QStringLiteral("blank.png")).toObject(),
                 QJsonObject({{QStringLiteral("text"), QString()}}));
        const QJsonObject full = root.value(QStringLiteral("full.png")).toObject();
        QCOMPARE(full.size(), 4);
        QCOMPARE(full.value(QStringLiteral("textAt")).toDouble(), 86400.5); // seconds since 2001
        QCOMPARE(QFile::permissions(path), QFileDevice::ReadOwner | QFileDevice::WriteOwner
                                               | QFileDevice::ReadUser | QFileDevice::WriteUser);

        // Read back, and written again: the same records, the same bytes.
        MetaStore again(path);
        const FileMeta back = *again.metaForName(QStringLiteral("full.png"));
        QCOMPARE(back.textAt, std::optional<QDateTime>(at));
        QCOMPARE(back.text, std::optional<QString>(QStringLiteral("Total due: 12\n\"quoted\"\ttab \\ Café 🙂 \x01")));
        QCOMPARE(MetaStore::encode(again.byName()), bytes);
        QVERIFY(setAsideFiles(QFileInfo(path).path()).isEmpty());
    }

    void nullAndUnknownMembersReadAsAbsent()
    {
        const auto decoded = MetaStore::decode(
            " {\"a.png\" : {\"app\":null,\"text\":\"h\\u00e9\\ud83d\\ude42\\/\\n\",\"textAt\":3.25e0,"
            "\"colour\":[1,{\"x\":[true,-0.5e-3,\"\\\"\"]}]}}\n");
        QVERIFY(decoded);
        const FileMeta a = decoded->value(QStringLiteral("a.png"));
        QVERIFY(!a.app && !a.appPath);
        QCOMPARE(*a.text, QStringLiteral("hé🙂/\n"));
        QCOMPARE(*a.textAt, QDateTime(QDate(2001, 1, 1), QTime(0, 0, 3, 250), Qt::UTC));
    }

    void anUndecodableFileIsSetAsideNotOverwritten_data()
    {
        QTest::addColumn<QByteArray>("contents");
        QTest::newRow("textAt is a string") << QByteArray("{\"a.png\":{\"text\":\"kept\",\"textAt\":\"yesterday\"}}");
        QTest::newRow("record is null") << QByteArray("{\"a.png\":null}");
        QTest::newRow("not an object") << QByteArray("[{\"a.png\":{}}]");
        QTest::newRow("unknown member not JSON") << QByteArray("{\"a.png\":{\"x\":01}}");
        QTest::newRow("trailing bytes") << QByteArray("{\"a.png\":{}}x");
        QTest::newRow("cut short") << QByteArray("{\"a.png\":{\"text\":\"kep");
    }
    void anUndecodableFileIsSetAsideNotOverwritten()
    {
        QFETCH(QByteArray, contents);
        Sandbox box;
        const QString path = box.path(QStringLiteral("meta.json"));
        Sandbox::writeFile(path, contents);

        MetaStore store(path);
        QVERIFY(store.byName().isEmpty());
        QCOMPARE(readAll(path), contents); // loading alone changes nothing
        store.update(file("new.png"), [](FileMeta &m) { m.text = QStringLiteral("new"); });
        store.save(); // rather than wait for the timer
        QVERIFY(waitForWrite(store));

        const QStringList aside = setAsideFiles(box.path());
        QCOMPARE(aside.size(), 1);
        QCOMPARE(readAll(box.path(aside.first())), contents);
        QVERIFY(MetaStore::decode(readAll(path)));
        QCOMPARE(MetaStore(path).byName().keys(), QStringList{QStringLiteral("new.png")});

        // Only the unreadable file is set aside, once.
        store.update(file("newer.png"), [](FileMeta &) {});
        store.save();
        QVERIFY(waitForWrite(store));
        QCOMPARE(setAsideFiles(box.path()).size(), 1);
    }

    void changesCloserThanTheDelayGiveOneWrite()
    {
        Sandbox box;
        const QString path = box.path(QStringLiteral("meta.json"));
        MetaStore store(path);
        QSignalSpy writes(&store, &MetaStore::saveFinished);
        int changes = 0;
        bool writtenEarly = false;
        QTimer ticker;
        ticker.setInterval(100);
        QObject::connect(&ticker, &QTimer::timeout, [&] {
            writtenEarly |= QFile::exists(path);
            store.update(QUrl::fromLocalFile(QStringLiteral("/s/%1.png").arg(changes)), [](FileMeta &) {});
            if (++changes == 10)
                ticker.stop();
        });
        ticker.start();
        QTRY_COMPARE_WITH_TIMEOUT(writes.size(), 1, 15000);
        QCOMPARE(changes, 10);
        QVERIFY(!writtenEarly);
        QCOMPARE(MetaStore(path).byName().size(), 10);
        QTest::qWait(1500); // and no second one
        QCOMPARE(writes.size(), 1);
    }

    void aSaveDuringAWriteLandsLast()
    {
        Sandbox box;
        const QString path = box.path(QStringLiteral("meta.json"));
        MetaStore store(path);
        QSignalSpy writes(&store, &MetaStore::saveFinished);
        store.update(file("early.png"), [](FileMeta &) {});
        store.save();
        QVERIFY(store.isSaving()); // until the event loop hears back from the writer
        store.update(file("late.png"), [](FileMeta &m) { m.app = QStringLiteral("first"); });
        store.save();
        store.update(file("late.png"), [](FileMeta &m) { m.app = QStringLiteral("last"); });
        store.save();
        QTRY_COMPARE_WITH_TIMEOUT(writes.size(), 2, 30000); // the two waiting saves became one
        QVERIFY(!store.isSaving());
        QCOMPARE(MetaStore(path).metaForName(QStringLiteral("late.png"))->app,
                 std::optional<QString>(QStringLiteral("last")));
    }

    void moveRecordReplacesTheTarget()
    {
        Sandbox box;
        MetaStore store(box.path(QStringLiteral("meta.json")));
        QSignalSpy changed(&store, &MetaStore::byNameChanged);
        store.moveRecord(file("nothing.png"), file("b.png"));
        QCOMPARE(changed.size(), 0);
        store.update(file("a.png"), [](FileMeta &m) { m.text = QStringLiteral("from a"); });
        store.update(file("a 2.png"), [](FileMeta &m) { m.text = QStringLiteral("old a 2"); });
        store.moveRecord(file("a.png"), QUrl::fromLocalFile(QStringLiteral("/elsewhere/a 2.png")));
        QCOMPARE(store.byName().keys(), QStringList{QStringLiteral("a 2.png")});
        QCOMPARE(store.metaForName(QStringLiteral("a 2.png"))->text, std::optional<QString>(QStringLiteral("from a")));
    }
};

QTEST_GUILESS_MAIN(TestMetaStore)
#include "test_metastore.moc"
