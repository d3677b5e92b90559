#include "platform/trash.h"
#include "support/shelfrig.h"
#include "tidy/autotidy.h"

#include <limits>

using TestFiles::names;

static const QDateTime kNow = QDateTime(QDate(2026, 10, 8), QTime(12, 0, 0, 250), Qt::UTC);

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
    QUrl homeUrl() const { return QUrl::fromLocalFile(home); }
    void add(const QString &name, qint64 days, qint64 extraSeconds = 0)
    {
        Sandbox::writeFile(file(name), name.toUtf8());
        TestFiles::setMtimeMs(file(name), kNow.toMSecsSinceEpoch() - (days * 86400 + extraSeconds) * 1000);
    }
    // Runs a refresh or runNow to its end: the listing comes back later.
    static bool settled(AutoTidy &tidy, const std::function<void()> &ask)
    {
        QSignalSpy checked(&tidy, &AutoTidy::checked);
        ask();
        return checked.wait(10000);
    }
    QStringList candidatesFor(AutoTidy &tidy)
    {
        if (!settled(tidy, [&] { tidy.refresh(homeUrl()); }))
            return {QStringLiteral("(no answer)")};
        return names(tidy.candidates());
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

    void candidatesAreStrictlyOlderImagesDirectlyInHome()
    {
        for (const auto &[name, days] : {std::pair{"exactly.png", 30},
                                         {"fresh.png", 2},
                                         {"older.jpg", 400},
                                         {"notes.txt", 400},
                                         {"Old/ancient.png", 400},
                                         {".hidden.png", 400}})
            add(name, days);
        add("due.png", 30, 1);
        auto tidy = makeTidy();
        QCOMPARE(candidatesFor(*tidy), QStringList({"due.png", "older.jpg"}));

        tidy->setDays(1);
        QCOMPARE(candidatesFor(*tidy), QStringList({"fresh.png", "exactly.png", "due.png", "older.jpg"}));
    }

    // Whatever "tidyDays" holds (a day count whose seconds overflow, a
    // negative or non-numeric value), a file newer than the cutoff never
    // becomes due, and a file dated in the future never does.
    void noStoredValueMakesNewFilesDue()
    {
        add("minute.png", 0, 60);
        add("future.png", -3);
        add("year.png", 365);
        const QList<std::pair<QString, QStringList>> cases = {
            {"200000", {}},      // the seconds overflow
            {"99999999999", {}}, // the days overflow
            {"-5", {"year.png"}},    {"0", {"year.png"}},
            {"often", {"year.png"}}, {QString::number(std::numeric_limits<int>::max()), {}},
        };
        for (const auto &[stored, due] : cases) {
            rig->prefs.setValue(PrefKey::tidyDays, stored);
            QVERIFY2(candidatesFor(*makeTidy()) == due, qPrintable(stored));
        }
    }

    // The listing runs off the GUI thread; the answer for a Home that is no
    // longer the one asked about is dropped.
    void listingComesBackLaterAndStaleHomesAreDropped()
    {
        add("old.png", 40);
        add("../other/elsewhere.png", 100);
        const QString other = rig->box.path("other");
        auto tidy = makeTidy();
        QVERIFY(settled(*tidy, [&] {
            tidy->refresh(homeUrl());
            QVERIFY(tidy->candidates().isEmpty());
            tidy->refresh(QUrl::fromLocalFile(other));
        }));
        // One listing at a time: Home's answer came (and went) before this one.
        QCOMPARE(names(tidy->candidates()), QStringList{"elsewhere.png"});
    }

    // Archiving never overwrites and carries the records along; trashing
    // makes no archive and leaves them. Failed moves still empty the
    // candidates, and the next refresh finds the files again.
    void archivingTrashingAndFailedMoves()
    {
        add("shot.png", 40);
        add("Archive/shot.png", 100);
        add("keep.png", 1);
        rig->meta.update(QUrl::fromLocalFile(file("shot.png")), [](FileMeta &m) { m.app = QStringLiteral("Term"); });
        auto tidy = makeTidy();
        QVERIFY(settled(*tidy, [&] { tidy->runNow(homeUrl()); }));
        QVERIFY(tidy->candidates().isEmpty() && !QFile::exists(file("shot.png")) && QFile::exists(file("keep.png")));
        QCOMPARE(TestFiles::readAll(file("Archive/shot 2.png")), QByteArray("shot.png"));
        QCOMPARE(rig->meta.meta(QUrl::fromLocalFile(file("Archive/shot 2.png")))->app, QStringLiteral("Term"));

        add("old.png", 40);
        rig->meta.update(QUrl::fromLocalFile(file("old.png")), [](FileMeta &m) { m.app = QStringLiteral("Term"); });
        tidy->setToTrash(true);
        QVERIFY(settled(*tidy, [&] { tidy->runNow(homeUrl()); }));
        QVERIFY(QFile::exists(rig->box.path("Trash/files/old.png")) && !QFile::exists(file("Archive/old.png")));
        QVERIFY(rig->meta.meta(QUrl::fromLocalFile(file("old.png"))).has_value());

        add("stuck.png", 40);
        QDir(file("Archive")).removeRecursively();
        Sandbox::writeFile(file("Archive"), "a file where the folder should be");
        tidy->setToTrash(false);
        QVERIFY(settled(*tidy, [&] { tidy->runNow(homeUrl()); }));
        QVERIFY(tidy->candidates().isEmpty());
        QCOMPARE(candidatesFor(*tidy), QStringList({"stuck.png"}));
    }

    // Ticks refresh when off, act when on, and stop once the shelf is gone.
    void ticks()
    {
        add("old.png", 40);
        auto tidy = makeTidy();
        auto shelfStandIn = std::make_unique<QObject>();
        const auto home = [url = homeUrl()] { return url; };
        tidy->start(home, shelfStandIn.get(), 10, 60000);
        QTRY_COMPARE_WITH_TIMEOUT(tidy->candidates().size(), 1, 5000);
        QVERIFY(QFile::exists(file("old.png")));
        tidy->setEnabled(true);
        tidy->start(home, shelfStandIn.get(), 10, 20);
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(file("Archive/old.png")) && tidy->candidates().isEmpty(), 5000);

        // The next tick finds the shelf gone and ends the ticks; a check
        // already under way still finishes, and none follows it.
        shelfStandIn.reset();
        QTRY_VERIFY_WITH_TIMEOUT(!tidy->ticking() && !tidy->checking(), 5000);
        add("late.png", 40);
        QSignalSpy started(tidy.get(), &AutoTidy::checkingChanged);
        QCoreApplication::processEvents();
        QVERIFY(started.isEmpty() && !tidy->checking());
        QVERIFY(QFile::exists(file("late.png")));
    }
};

QTEST_GUILESS_MAIN(TestAutoTidy)
#include "test_autotidy.moc"
