#include "platform/folderwatch.h"
#include "support/shelfrig.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QSemaphore>
#include <QThreadPool>
#include <QTimer>

#include <atomic>

namespace {

using Event = FolderWatch::Event;

RunningApp otherApp() { return RunningApp{1, "Image Viewer", "/usr/share/applications/viewer.desktop"}; }

void append(const QString &path)
{
    QFile f(path);
    if (f.open(QIODevice::Append))
        f.write("line\n");
}

} // namespace

class TestWatching : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qunsetenv("BRINDLEWICK_DEBUG"); }

    void folderWatchNamesEntriesAndFollowsItsPath()
    {
        Sandbox box;
        const QString dir = box.path("not yet/watched");
        QList<Event> seen;
        QThreadPool arming;
        auto watch = FolderWatch::open(dir, arming, [&](const QList<Event> &events) { seen += events; });
        QVERIFY(watch); // nothing there yet: it waits on the nearest folder that does exist
        QTRY_VERIFY_WITH_TIMEOUT(watch->ready(), 5000);
        const auto saw = [&](Event::Kind kind, const QByteArray &name) {
            return std::any_of(seen.cbegin(), seen.cend(),
                               [&](const Event &e) { return e.kind == kind && e.name == name; });
        };
        const auto expect = [&](const std::function<void()> &change, Event::Kind kind, const QByteArray &name) {
            seen.clear();
            change();
            QTRY_VERIFY2_WITH_TIMEOUT(saw(kind, name), name.constData(), 5000);
        };
        // (Files moved in and removed, and a folder deleted and made again,
        // are the shelf's tests below and its random run's.)
        expect([&] { QDir().mkpath(dir); }, Event::folder, {});
        expect([&] { Sandbox::writeFile(dir + "/b.png"); }, Event::closedWritten, "b.png");
        expect([&] { ShelfRig::setAge(dir + "/b.png", 60); }, Event::attributes, "b.png");

        // Moved away, then made again: the path is what the shelf shows.
        expect([&] { QDir().rename(dir, box.path("gone")); }, Event::folder, {});
        expect([&] { QDir().mkpath(dir); }, Event::folder, {});
        expect(
            [&] {
                Sandbox::writeFile(box.path("gone/e.png"));
                Sandbox::writeFile(dir + "/f.png");
            },
            Event::created, "f.png");
        QVERIFY(!saw(Event::created, "e.png")); // the moved folder is no longer ours
    }

    void otherFilesCostNothingAndBusyFoldersStillShowNewImages()
    {
        ShelfRig rig;
        QVERIFY(rig.start());
        QSignalSpy scans(rig.shelf.get(), &Shelf::scanApplied);
        // A log written, rotated and locked down: nothing the shelf shows.
        append(rig.file("app.log"));
        QFile::rename(rig.file("app.log"), rig.file("app.log.1"));
        QFile::setPermissions(rig.file("app.log.1"), QFileDevice::ReadOwner);
        QVERIFY(!scans.wait(2 * Shelf::rescanDelayMs));

        // Something written every 0.1 s, an image among it, never lets the
        // folder fall quiet; a new screenshot is shown all the same.
        QTimer busy;
        busy.setInterval(100);
        QObject::connect(&busy, &QTimer::timeout, [&] {
            append(rig.file("app.log"));
            Sandbox::writeFile(rig.file("live.png"), "frame");
        });
        QSignalSpy ticks(&busy, &QTimer::timeout);
        busy.start();
        QVERIFY(ticks.wait());
        // A debounce that the writer keeps pushing back would never list it.
        rig.addImage("new.png");
        QTRY_VERIFY_WITH_TIMEOUT(rig.itemNames().contains("new.png"), 4000);
    }

    void imagesStillBeingWrittenWaitTillClosedOrQuiet()
    {
        ShelfRig rig;
        QVERIFY(rig.start());
        QFile writing(rig.file("writing.png"));
        QVERIFY(writing.open(QIODevice::WriteOnly) && writing.write("half") && writing.flush());
        rig.addImage("done.png");
        QTRY_COMPARE_WITH_TIMEOUT(rig.itemNames(), QStringList{"done.png"}, 5000);
        writing.write(" and the rest");
        writing.close();
        QTRY_COMPARE_WITH_TIMEOUT(rig.itemNames().size(), 2, 5000);
        QCOMPARE(rig.reported, (QList<QUrl>{rig.url("done.png"), rig.url("writing.png")}));

        // A writer that never closes cannot hide its image for ever.
        QFile stuck(rig.file("stuck.png"));
        QVERIFY(stuck.open(QIODevice::WriteOnly) && stuck.write("all of it") && stuck.flush());
        QTRY_VERIFY_WITH_TIMEOUT(rig.itemNames().contains("stuck.png"), Shelf::writeQuietMs + 3000);
    }

    void newScreenshotsAreReportedAndTheirAppRecorded()
    {
        ShelfRig rig;
        rig.addImage("before launch.png", 1);
        rig.front.front = otherApp();
        QVERIFY(rig.start());
        QVERIFY(rig.reported.isEmpty()); // the first scan reports nothing

        // Several at once: the newest is reported, all recent ones get the
        // app (keeping what was known), a copied old file gets nothing.
        rig.meta.update(rig.url("newer.png"), [](FileMeta &m) { m.text = QStringLiteral("kept"); });
        rig.addImage("older.png", 3);
        rig.addImage("newer.png", 2);
        rig.addImage("copied with its old date.png", 3600);
        QTRY_COMPARE_WITH_TIMEOUT(rig.shelf->items().size(), 4, 5000);
        QVERIFY(rig.reported == QList<QUrl>{rig.url("newer.png")} && rig.front.asked == 1);
        const FileMeta newer = *rig.meta.metaForName("newer.png");
        QVERIFY(newer.app == otherApp().name && newer.appPath == otherApp().path);
        QCOMPARE(newer.text, std::optional<QString>("kept"));
        QCOMPARE(rig.meta.metaForName("older.png")->app, otherApp().name);
        QVERIFY(!rig.meta.metaForName("copied with its old date.png"));

        // Nothing new: nothing reported, nobody asked. Ourselves in front:
        // reported, no app recorded.
        QVERIFY(rig.rescan());
        QVERIFY(rig.reported.size() == 1 && rig.front.asked == 1);
        rig.front.front = RunningApp{QCoreApplication::applicationPid(), "Us", {}};
        rig.addImage("ours.png");
        QTRY_COMPARE_WITH_TIMEOUT(rig.reported.size(), 2, 5000);
        QVERIFY(!rig.meta.metaForName("ours.png"));
    }

    void countsOfFoldersNotShownFollowTheirImages()
    {
        ShelfRig rig;
        QDir().mkpath(rig.file("A"));
        QVERIFY(rig.start());
        const QUrl a = Shelf::folderKey(QUrl::fromLocalFile(rig.file("A")));
        Sandbox::writeFile(rig.file("A/one.png"));
        QTRY_COMPARE_WITH_TIMEOUT(rig.shelf->folderCounts().value(a), 1, 5000);
        QFile::remove(rig.file("A/one.png"));
        QTRY_COMPARE_WITH_TIMEOUT(rig.shelf->folderCounts().value(a), 0, 5000);
    }

    void changingFoldersReportsNothingWhateverOrderScansFinishIn()
    {
        // A's listing is held up until B's has been shown.
        QSemaphore gate;
        std::atomic_bool heldStarted = false, heldDone = false;
        ShelfRig rig;
        const QString a = rig.file("A"), b = rig.file("B");
        Sandbox::writeFile(a + "/fresh in A.png");
        Sandbox::writeFile(b + "/fresh in B.png");
        QVERIFY(rig.start());
        rig.shelf->setScanner([&, a](const QString &current, const QString &home) {
            if (current != a)
                return Shelf::runScan(current, home);
            heldStarted = true;
            gate.tryAcquire(1, 10000);
            Shelf::ScanResult result = Shelf::runScan(current, home);
            heldDone = true;
            return result;
        });
        QSignalSpy applied(rig.shelf.get(), &Shelf::scanApplied);
        rig.shelf->openFolder(QUrl::fromLocalFile(a));
        QTRY_VERIFY_WITH_TIMEOUT(heldStarted.load(), 5000);
        rig.shelf->openFolder(QUrl::fromLocalFile(b));
        QVERIFY(applied.wait(5000));
        gate.release();
        QTRY_VERIFY_WITH_TIMEOUT(heldDone.load(), 5000);
        QVERIFY(rig.rescan()); // lands after A's late listing
        QCOMPARE(rig.itemNames(), QStringList{"fresh in B.png"});
        QVERIFY(rig.reported.isEmpty()); // a folder's first scan is never news, nor is a stale one
    }

    void aMissingOrVanishedHomeIsFollowedOrReplaced()
    {
        ShelfRig rig;
        rig.tool.values.insert(CaptureSettings::location, rig.folder()); // Home is the tool's folder
        rig.prefs.setValue(PrefKey::folder, rig.folder());
        QVERIFY(rig.start(false)); // and it is not there yet
        rig.addImage("first.png");
        QTRY_COMPARE_WITH_TIMEOUT(rig.itemNames(), QStringList{"first.png"}, 5000);
        QDir(rig.folder()).removeRecursively();
        rig.addImage("back.png");
        QTRY_COMPARE_WITH_TIMEOUT(rig.itemNames(), QStringList{"back.png"}, 5000);

        // The tool saves elsewhere now: Home's deletion is enough to move
        // there, and what that folder already holds is not news.
        const QString toolFolder = rig.box.path("tool");
        Sandbox::writeFile(toolFolder + "/from the tool.png");
        rig.tool.values.insert(CaptureSettings::location, toolFolder);
        QDir(rig.folder()).removeRecursively();
        QTRY_COMPARE_WITH_TIMEOUT(rig.itemNames(), QStringList{"from the tool.png"}, 5000);
        Sandbox::writeFile(toolFolder + "/watched there.png");
        QTRY_COMPARE_WITH_TIMEOUT(rig.itemNames().size(), 2, 5000);
        QCOMPARE(TestFiles::names(rig.reported), (QStringList{"first.png", "back.png", "watched there.png"}));
        QCOMPARE(rig.prefs.text(PrefKey::folder), rig.folder()); // the choice itself is kept

        // Gone with nowhere to go (no tool folder, no Desktop): it stays, empty.
        QDir(rig.box.home() + "/Desktop").removeRecursively();
        QDir(toolFolder).removeRecursively();
        QTRY_VERIFY_WITH_TIMEOUT(rig.itemNames().isEmpty(), 5000);
        QVERIFY(rig.shelf->home() == QUrl::fromLocalFile(toolFolder)
                && rig.shelf->folderCounts().value(rig.shelf->home()) == 0);
    }
};

QTEST_GUILESS_MAIN(TestWatching)
#include "test_watching.moc"
