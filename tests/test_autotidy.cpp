#include "meta/metastore.h"
#include "platform/trash.h"
#include "support/sandbox.h"
#include "system/prefs.h"
#include "tidy/autotidy.h"

#include <QSignalSpy>
#include <QTest>

#include <fcntl.h>
#include <sys/stat.h>

namespace {

const QDateTime kNow = QDateTime(QDate(2026, 10, 8), QTime(12, 0, 0, 250), Qt::UTC);

void setModified(const QString &path, qint64 secondsBeforeNow)
{
    const qint64 ms = kNow.toMSecsSinceEpoch() - secondsBeforeNow * 1000;
    const struct timespec t = {time_t(ms / 1000), long(ms % 1000) * 1000000};
    const struct timespec times[2] = {t, t};
    ::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, 0);
}

QStringList names(const QList<QUrl> &urls)
{
    QStringList out;
    for (const QUrl &url : urls)
        out << url.fileName();
    return out;
}

} // namespace

class TestAutoTidy : public QObject
{
    Q_OBJECT

    std::unique_ptr<Sandbox> box;
    std::unique_ptr<Prefs> prefs;
    std::unique_ptr<MetaStore> meta;
    std::unique_ptr<FreedesktopTrash> trash;
    QString home;

    std::unique_ptr<AutoTidy> makeTidy()
    {
        return std::make_unique<AutoTidy>(*prefs, meta.get(), *trash, [] { return kNow; });
    }
    QString file(const QString &name) const { return home + QLatin1Char('/') + name; }
    void add(const QString &name, qint64 days, qint64 extraSeconds = 0)
    {
        Sandbox::writeFile(file(name), name.toUtf8());
        setModified(file(name), days * 86400 + extraSeconds);
    }

private Q_SLOTS:
    void init()
    {
        box = std::make_unique<Sandbox>();
        prefs = std::make_unique<Prefs>(box->path("prefs.conf"));
        meta = std::make_unique<MetaStore>(box->path("meta.json"));
        trash = std::make_unique<FreedesktopTrash>(box->path("Trash"),
                                                   [](const QString &) { return QStringLiteral("/"); });
        home = box->path("shots");
        QDir().mkpath(home);
    }

    void settingsReadOnceAndWrittenAtOnce()
    {
        QCOMPARE(makeTidy()->days(), 30);
        prefs->setValue(PrefKey::tidyDays, QStringLiteral("7.5"));
        QCOMPARE(makeTidy()->days(), 30);
        prefs->setValue(PrefKey::tidyDays, QStringLiteral("often"));
        QCOMPARE(makeTidy()->days(), 30);

        auto tidy = makeTidy();
        QVERIFY(!tidy->enabled());
        QVERIFY(!tidy->toTrash());
        QSignalSpy days(tidy.get(), &AutoTidy::daysChanged);
        tidy->setDays(7);
        tidy->setEnabled(true);
        tidy->setToTrash(true);
        QCOMPARE(days.count(), 1);
        Prefs reread(box->path("prefs.conf"));
        QCOMPARE(reread.value(PrefKey::tidyDays).toInt(), 7);
        auto again = std::make_unique<AutoTidy>(reread, meta.get(), *trash);
        QCOMPARE(again->days(), 7);
        QVERIFY(again->enabled());
        QVERIFY(again->toTrash());
    }

    void candidatesAreStrictlyOlderImagesDirectlyInHome()
    {
        add("due.png", 30, 1);
        add("exactly.png", 30);
        add("fresh.png", 2);
        add("older.jpg", 400);
        add("notes.txt", 400);
        add("Old/ancient.png", 400);
        add(".hidden.png", 400);
        auto tidy = makeTidy();
        tidy->refresh(QUrl::fromLocalFile(home));
        QCOMPARE(names(tidy->candidates()), QStringList({"due.png", "older.jpg"}));

        // New settings apply from the next refresh only.
        tidy->setDays(1);
        QCOMPARE(tidy->candidates().size(), 2);
        tidy->refresh(QUrl::fromLocalFile(home));
        QCOMPARE(names(tidy->candidates()), QStringList({"fresh.png", "exactly.png", "due.png", "older.jpg"}));
    }

    void archivingNumbersCollisionsAndCarriesRecords()
    {
        add("shot.png", 40);
        add("Archive/shot.png", 100);
        add("keep.png", 1);
        meta->update(QUrl::fromLocalFile(file("shot.png")), [](FileMeta &m) { m.app = QStringLiteral("Term"); });
        auto tidy = makeTidy();
        tidy->runNow(QUrl::fromLocalFile(home));
        QVERIFY(tidy->candidates().isEmpty());
        QVERIFY(!QFile::exists(file("shot.png")));
        QCOMPARE(QFile(file("Archive/shot 2.png")).size(), qint64(8));
        QCOMPARE(meta->meta(QUrl::fromLocalFile(file("Archive/shot 2.png")))->app, QStringLiteral("Term"));
        QVERIFY(QFile::exists(file("keep.png")));
    }

    void trashingMakesNoArchiveAndLeavesRecords()
    {
        add("old.png", 40);
        meta->update(QUrl::fromLocalFile(file("old.png")), [](FileMeta &m) { m.app = QStringLiteral("Term"); });
        auto tidy = makeTidy();
        tidy->setToTrash(true);
        tidy->runNow(QUrl::fromLocalFile(home));
        QVERIFY(!QFileInfo::exists(file("Archive")));
        QVERIFY(QFile::exists(box->path("Trash/files/old.png")));
        QVERIFY(meta->meta(QUrl::fromLocalFile(file("old.png"))).has_value());
    }

    void failedMovesStillEmptyTheCandidates()
    {
        add("old.png", 40);
        Sandbox::writeFile(file("Archive"), "a file where the folder should be");
        auto tidy = makeTidy();
        tidy->runNow(QUrl::fromLocalFile(home));
        QVERIFY(tidy->candidates().isEmpty());
        QVERIFY(QFile::exists(file("old.png")));
        tidy->refresh(QUrl::fromLocalFile(home));
        QCOMPARE(names(tidy->candidates()), QStringList({"old.png"}));
    }

    void ticksRefreshWhenOffAndActWhenOn()
    {
        add("old.png", 40);
        auto tidy = makeTidy();
        QObject shelfStandIn;
        const QUrl homeUrl = QUrl::fromLocalFile(home);
        tidy->start([homeUrl] { return homeUrl; }, &shelfStandIn, 10, 60000);
        QTRY_COMPARE_WITH_TIMEOUT(tidy->candidates().size(), 1, 5000);
        QVERIFY(QFile::exists(file("old.png")));

        tidy->setEnabled(true);
        tidy->start([homeUrl] { return homeUrl; }, &shelfStandIn, 10, 60000);
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(file("Archive/old.png")), 5000);
        QVERIFY(tidy->candidates().isEmpty());
    }

    void ticksDoNothingOnceTheShelfIsGone()
    {
        add("old.png", 40);
        auto tidy = makeTidy();
        tidy->setEnabled(true);
        auto shelfStandIn = std::make_unique<QObject>();
        const QUrl homeUrl = QUrl::fromLocalFile(home);
        tidy->start([homeUrl] { return homeUrl; }, shelfStandIn.get(), 10, 20);
        shelfStandIn.reset();
        QTest::qWait(100);
        QVERIFY(QFile::exists(file("old.png")));
    }
};

QTEST_GUILESS_MAIN(TestAutoTidy)
#include "test_autotidy.moc"
