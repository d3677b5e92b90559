#include "platform/trash.h"
#include "support/shelfrig.h"
#include "tidy/autotidy.h"

using TestFiles::names;

namespace {

const QDateTime kNow = QDateTime(QDate(2026, 10, 8), QTime(12, 0, 0, 250), Qt::UTC);

} // namespace

class TestAutoTidy : public QObject
{
    Q_OBJECT

    // Only its preferences, metadata store and folder: no shelf is started.
    std::unique_ptr<ShelfRig> rig;
    std::unique_ptr<FreedesktopTrash> trash;
    QString home;

    std::unique_ptr<AutoTidy> makeTidy()
    {
        return std::make_unique<AutoTidy>(rig->prefs, &rig->meta, *trash, [] { return kNow; });
    }
    QString file(const QString &name) const { return home + QLatin1Char('/') + name; }
    void add(const QString &name, qint64 days, qint64 extraSeconds = 0)
    {
        Sandbox::writeFile(file(name), name.toUtf8());
        TestFiles::setMtimeMs(file(name), kNow.toMSecsSinceEpoch() - (days * 86400 + extraSeconds) * 1000);
    }

private Q_SLOTS:
    void init()
    {
        rig = std::make_unique<ShelfRig>();
        trash = std::make_unique<FreedesktopTrash>(rig->box.path("Trash"),
                                                   [](const QString &) { return QStringLiteral("/"); });
        home = rig->folder();
        QDir().mkpath(home);
    }
    // Each sandbox puts the environment back as it found it: one at a time.
    void cleanup()
    {
        trash.reset();
        rig.reset();
    }

    void settingsReadOnceAndWrittenAtOnce()
    {
        QCOMPARE(makeTidy()->days(), 30);
        rig->prefs.setValue(PrefKey::tidyDays, QStringLiteral("7.5"));
        QCOMPARE(makeTidy()->days(), 30);
        rig->prefs.setValue(PrefKey::tidyDays, QStringLiteral("often"));
        QCOMPARE(makeTidy()->days(), 30);

        auto tidy = makeTidy();
        QVERIFY(!tidy->enabled());
        QVERIFY(!tidy->toTrash());
        QSignalSpy days(tidy.get(), &AutoTidy::daysChanged);
        tidy->setDays(7);
        tidy->setEnabled(true);
        tidy->setToTrash(true);
        QCOMPARE(days.count(), 1);
        Prefs reread(rig->box.path("prefs.conf"));
        QCOMPARE(reread.value(PrefKey::tidyDays).toInt(), 7);
        auto again = std::make_unique<AutoTidy>(reread, &rig->meta, *trash);
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
        rig->meta.update(QUrl::fromLocalFile(file("shot.png")), [](FileMeta &m) { m.app = QStringLiteral("Term"); });
        auto tidy = makeTidy();
        tidy->runNow(QUrl::fromLocalFile(home));
        QVERIFY(tidy->candidates().isEmpty());
        QVERIFY(!QFile::exists(file("shot.png")));
        QCOMPARE(QFile(file("Archive/shot 2.png")).size(), qint64(8));
        QCOMPARE(rig->meta.meta(QUrl::fromLocalFile(file("Archive/shot 2.png")))->app, QStringLiteral("Term"));
        QVERIFY(QFile::exists(file("keep.png")));
    }

    void trashingMakesNoArchiveAndLeavesRecords()
    {
        add("old.png", 40);
        rig->meta.update(QUrl::fromLocalFile(file("old.png")), [](FileMeta &m) { m.app = QStringLiteral("Term"); });
        auto tidy = makeTidy();
        tidy->setToTrash(true);
        tidy->runNow(QUrl::fromLocalFile(home));
        QVERIFY(!QFileInfo::exists(file("Archive")));
        QVERIFY(QFile::exists(rig->box.path("Trash/files/old.png")));
        QVERIFY(rig->meta.meta(QUrl::fromLocalFile(file("old.png"))).has_value());
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
