#include "platform/trash.h"
#include "support/shelfrig.h"
#include "tidy/autotidy.h"

#include <limits>

static QDateTime now() { return QDateTime(QDate(2026, 10, 8), QTime(12, 0, 0, 250), Qt::UTC); }

// A tidy on the rig's folder with its own Trash; no shelf is started.
struct TidyRig : ShelfRig
{
    FreedesktopTrash trash{box.path("Trash"), [](const QString &) { return QStringLiteral("/"); }};
    std::unique_ptr<AutoTidy> tidy = makeTidy();

    std::unique_ptr<AutoTidy> makeTidy() { return std::make_unique<AutoTidy>(prefs, &meta, trash, now); }
    QUrl home() const { return QUrl::fromLocalFile(folder()); }
    void add(const QString &name, qint64 days, qint64 extraSeconds = 0) const
    {
        Sandbox::writeFile(file(name), name.toUtf8());
        TestFiles::setMtimeMs(file(name), now().toMSecsSinceEpoch() - (days * 86400 + extraSeconds) * 1000);
    }
    // Runs a refresh or runNow to its end: the listing comes back later.
    bool settled(const std::function<void()> &ask)
    {
        QSignalSpy checked(tidy.get(), &AutoTidy::checked);
        ask();
        return checked.wait(10000);
    }
    QStringList candidates()
    {
        return settled([&] { tidy->refresh(home()); }) ? TestFiles::names(tidy->candidates()) : QStringList{"?"};
    }
};

class TestAutoTidy : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Strictly older images directly in Home. Whatever "tidyDays" holds (a
    // day count whose seconds overflow, a negative or non-numeric value), a
    // file newer than the cutoff never becomes due, and a file dated in the
    // future never does (200000 days overflow in seconds, 99999999999 as
    // days). The listing runs off the GUI thread; the answer for a Home no
    // longer asked about is dropped (one listing at a time: Home's came and
    // went before the other folder's).
    void whichFilesAreDue()
    {
        TidyRig rig;
        for (const char *name : {"older.jpg", "notes.txt", "Old/ancient.png", ".hidden.png"})
            rig.add(name, 400);
        rig.add("exactly.png", 30);
        rig.add("due.png", 30, 1);
        rig.add("future.png", -3);
        rig.add("../other/elsewhere.png", 100);
        QVERIFY(rig.settled([&] {
            rig.tidy->refresh(rig.home());
            QVERIFY(rig.tidy->candidates().isEmpty());
            rig.tidy->refresh(QUrl::fromLocalFile(rig.box.path("other")));
        }));
        QCOMPARE(TestFiles::names(rig.tidy->candidates()), QStringList{"elsewhere.png"});

        const QStringList byDefault = {"due.png", "older.jpg"};
        QCOMPARE(rig.candidates(), byDefault);
        const QList<std::pair<QString, QStringList>> cases = {
            {"200000", {}},   {"99999999999", {}},  {"-5", byDefault},
            {"0", byDefault}, {"often", byDefault}, {QString::number(std::numeric_limits<int>::max()), {}},
        };
        for (const auto &[stored, due] : cases) {
            rig.prefs.setValue(PrefKey::tidyDays, stored);
            rig.tidy = rig.makeTidy();
            QVERIFY2(rig.candidates() == due, qPrintable(stored));
        }
        rig.tidy->setDays(1);
        QCOMPARE(rig.candidates(), QStringList({"exactly.png", "due.png", "older.jpg"}));
    }

    // Ticks refresh when off, act when on, and stop once the shelf is gone;
    // a check already under way still finishes, and none follows it.
    // Archiving never overwrites and carries the records along; trashing
    // makes no archive and leaves them. Failed moves still empty the
    // candidates, and the next refresh finds the files again.
    void ticksArchivingTrashingAndFailedMoves()
    {
        TidyRig rig;
        rig.add("old.png", 40);
        auto shelfStandIn = std::make_unique<QObject>();
        rig.tidy->start([&] { return rig.home(); }, shelfStandIn.get(), 10, 60000);
        QTRY_VERIFY_WITH_TIMEOUT(rig.tidy->candidates().size() == 1 && QFile::exists(rig.file("old.png")), 5000);
        rig.tidy->setEnabled(true);
        rig.tidy->start([&] { return rig.home(); }, shelfStandIn.get(), 10, 20);
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(rig.file("Archive/old.png")) && rig.tidy->candidates().isEmpty(), 5000);
        shelfStandIn.reset();
        QTRY_VERIFY_WITH_TIMEOUT(!rig.tidy->ticking() && !rig.tidy->checking(), 5000);
        rig.add("shot.png", 40);
        QSignalSpy started(rig.tidy.get(), &AutoTidy::checkingChanged);
        QCoreApplication::processEvents();
        QVERIFY(started.isEmpty() && !rig.tidy->checking() && QFile::exists(rig.file("shot.png")));

        const auto runNow = [&] { return rig.settled([&] { rig.tidy->runNow(rig.home()); }); };
        rig.add("Archive/shot.png", 100);
        rig.meta.update(rig.url("shot.png"), [](FileMeta &m) { m.app = QStringLiteral("Term"); });
        QVERIFY(runNow());
        QCOMPARE(TestFiles::entries(rig.folder()) + TestFiles::entries(rig.file("Archive")),
                 QStringList({"Archive", "old.png", "shot 2.png", "shot.png"}));
        QCOMPARE(rig.meta.meta(rig.url("Archive/shot 2.png"))->app, QStringLiteral("Term"));

        rig.add("trashed.png", 40);
        rig.meta.update(rig.url("trashed.png"), [](FileMeta &m) { m.app = QStringLiteral("Term"); });
        rig.tidy->setToTrash(true);
        QVERIFY(runNow());
        QCOMPARE(TestFiles::entries(rig.box.path("Trash/files")), QStringList{"trashed.png"});
        QVERIFY(!QFile::exists(rig.file("Archive/trashed.png")) && rig.meta.meta(rig.url("trashed.png")));

        rig.add("stuck.png", 40);
        QDir(rig.file("Archive")).removeRecursively();
        Sandbox::writeFile(rig.file("Archive"), "a file where the folder should be");
        rig.tidy->setToTrash(false);
        QVERIFY(runNow());
        QVERIFY(rig.tidy->candidates().isEmpty());
        QCOMPARE(rig.candidates(), QStringList({"stuck.png"}));
    }
};

QTEST_GUILESS_MAIN(TestAutoTidy)
#include "test_autotidy.moc"
