#include "platform/folderwatch.h"
#include "support/shelfrig.h"

#include <QCoreApplication>
#include <QSemaphore>
#include <QThreadPool>
#include <QTimer>

#include <atomic>

using Event = FolderWatch::Event;

static RunningApp otherApp() { return RunningApp{1, "Image Viewer", "/usr/share/applications/viewer.desktop"}; }

class TestWatching : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void folderWatchNamesEntriesAndFollowsItsPath()
    {
        const QString dir = QDir::home().filePath("not yet/watched");
        QList<std::pair<Event::Kind, QByteArray>> seen;
        QThreadPool arming;
        auto watch = FolderWatch::open(dir, arming, [&](const QList<Event> &events) {
            for (const Event &e : events)
                seen.append({e.kind, e.name});
        });
        // Nothing there yet: it waits on the nearest folder that does exist.
        QTRY_VERIFY_WITH_TIMEOUT(watch && watch->ready(), 5000);
        const auto expect = [&](const std::function<void()> &change, Event::Kind kind, const QByteArray &name) {
            seen.clear();
            change();
            QTRY_VERIFY2_WITH_TIMEOUT(seen.contains({kind, name}), name.constData(), 5000);
        };
        // (Files moved in and removed, and a folder deleted and made again,
        // are the shelf's tests below and its random run's.)
        expect([&] { QDir().mkpath(dir); }, Event::folder, {});
        expect([&] { Sandbox::writeFile(dir + "/b.png"); }, Event::closedWritten, "b.png");
        expect([&] { ShelfRig::setAge(dir + "/b.png", 60); }, Event::attributes, "b.png");
        // Moved away, then made again: the path is what the shelf shows, and
        // the moved folder is no longer ours.
        expect([&] { QDir().rename(dir, QDir::home().filePath("gone")); }, Event::folder, {});
        expect([&] { QDir().mkpath(dir); }, Event::folder, {});
        Sandbox::writeFile(QDir::home().filePath("gone/e.png"));
        expect([&] { Sandbox::writeFile(dir + "/f.png"); }, Event::created, "f.png");
        QVERIFY(!seen.contains({Event::created, "e.png"}));
    }

    // One Home through its day. A log written, rotated and locked down is
    // nothing the shelf shows. New screenshots: several at once report the
    // newest, all recent ones get the front app (keeping what was known), a
    // copied old file gets nothing; nothing new asks nobody; ourselves in
    // front: reported, no app recorded. Counts of folders not shown follow
    // their images. An image still being written waits till it is closed,
    // or quiet. An image written every 0.1 s never lets the folder fall
    // quiet; a new screenshot is shown all the same.
    void theShelfFollowsItsHome()
    {
        ShelfRig rig;
        rig.addImage("before launch.png", 1);
        Sandbox::writeFile(rig.file("A/fresh in A.png"));
        Sandbox::writeFile(rig.file("B/fresh in B.png"));
        rig.front.front = otherApp();
        QVERIFY(rig.start());
        const auto shows = [&](const QString &name) { return rig.itemNames().contains(name); };
        rig.meta.update(rig.url("newer.png"), [](FileMeta &m) { m.text = QStringLiteral("kept"); });
        rig.addImage("older.png", 3);
        rig.addImage("newer.png", 2);
        rig.addImage("copied.png", 3600); // a copy keeps its old date
        QTRY_COMPARE_WITH_TIMEOUT(rig.shelf->items().size(), 4, 5000);
        QVERIFY(rig.reported == QList<QUrl>{rig.url("newer.png")} && rig.front.asked == 1);
        const auto newer = rig.meta.metaForName("newer.png");
        QVERIFY(newer->app == otherApp().name && newer->appPath == otherApp().path && newer->text == "kept");
        QVERIFY(rig.meta.metaForName("older.png")->app == otherApp().name && !rig.meta.metaForName("copied.png"));
        QVERIFY(rig.rescan());
        QVERIFY(rig.reported.size() == 1 && rig.front.asked == 1);
        QSignalSpy scans(rig.shelf.get(), &Shelf::scanApplied);
        Sandbox::writeFile(rig.file("app.log"), "line");
        QFile::rename(rig.file("app.log"), rig.file("app.log.1"));
        QFile::setPermissions(rig.file("app.log.1"), QFileDevice::ReadOwner);
        QVERIFY(!scans.wait(2 * Shelf::rescanDelayMs));
        rig.front.front = RunningApp{QCoreApplication::applicationPid(), "Us", {}};
        rig.addImage("ours.png");
        QTRY_COMPARE_WITH_TIMEOUT(rig.reported.size(), 2, 5000);
        QVERIFY(!rig.meta.metaForName("ours.png"));

        // Changing folders reports nothing, whatever order the listings
        // finish in: A's is held up until B's has been shown.
        QSemaphore gate;
        std::atomic_bool heldStarted = false, heldDone = false;
        rig.shelf->setScanner([&](const QString &current, const QString &home) {
            if (current == rig.file("A") && !heldStarted.exchange(true))
                gate.tryAcquire(1, 10000);
            const Shelf::ScanResult result = Shelf::runScan(current, home);
            heldDone = heldDone || current == rig.file("A");
            return result;
        });
        rig.shelf->openFolder(QUrl::fromLocalFile(rig.file("A")));
        QTRY_VERIFY_WITH_TIMEOUT(heldStarted.load(), 5000);
        rig.shelf->openFolder(QUrl::fromLocalFile(rig.file("B")));
        QVERIFY(scans.wait(5000));
        gate.release();
        QTRY_VERIFY_WITH_TIMEOUT(heldDone.load(), 5000);
        QVERIFY(rig.rescan()); // lands after A's late listing
        QVERIFY(rig.itemNames() == QStringList{"fresh in B.png"} && rig.reported.size() == 2);
        rig.shelf->openFolder(rig.shelf->home());
        QVERIFY(scans.wait(5000));
        const QUrl a = Shelf::folderKey(QUrl::fromLocalFile(rig.file("A")));
        Sandbox::writeFile(rig.file("A/one.png"));
        QTRY_COMPARE_WITH_TIMEOUT(rig.shelf->folderCounts().value(a), 2, 5000);
        QFile::remove(rig.file("A/one.png"));
        QTRY_COMPARE_WITH_TIMEOUT(rig.shelf->folderCounts().value(a), 1, 5000);

        QFile writing(rig.file("writing.png"));
        QVERIFY(writing.open(QIODevice::WriteOnly) && writing.write("half") && writing.flush());
        rig.addImage("done.png");
        QTRY_VERIFY_WITH_TIMEOUT(shows("done.png") && !shows("writing.png"), 5000);
        writing.close();
        QTRY_COMPARE_WITH_TIMEOUT(TestFiles::names(rig.reported.mid(2)), QStringList({"done.png", "writing.png"}),
                                  5000);
        QFile stuck(rig.file("stuck.png"));
        QVERIFY(stuck.open(QIODevice::WriteOnly) && stuck.write("all of it") && stuck.flush());
        QTRY_VERIFY_WITH_TIMEOUT(shows("stuck.png"), Shelf::writeQuietMs + 3000);

        // A debounce that the writer keeps pushing back would never list it.
        QTimer busy;
        busy.callOnTimeout([&] { Sandbox::writeFile(rig.file("live.png"), "frame"); });
        busy.start(100);
        rig.addImage("new.png");
        QTRY_VERIFY_WITH_TIMEOUT(shows("new.png"), 4000);
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
    }
};

QTEST_GUILESS_MAIN(TestWatching)
#include "test_watching.moc"
