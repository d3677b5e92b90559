#include "platform/folderwatch.h"
#include "support/shelfrig.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QSemaphore>
#include <QTimer>

#include <atomic>

namespace {

using Event = FolderWatch::Event;

RunningApp otherApp()
{
    return RunningApp{1, QStringLiteral("Image Viewer"), QStringLiteral("/usr/share/applications/viewer.desktop")};
}

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
        const QString dir = box.path(QStringLiteral("not yet/watched"));
        QList<Event> seen;
        auto watch = FolderWatch::open(dir, [&](const QList<Event> &events) { seen += events; });
        QVERIFY(watch); // nothing there yet: it waits on the nearest folder that does exist
        const auto saw = [&](Event::Kind kind, const QByteArray &name) {
            return std::any_of(seen.cbegin(), seen.cend(),
                               [&](const Event &e) { return e.kind == kind && e.name == name; });
        };
        const auto expect = [&](const std::function<void()> &change, Event::Kind kind, const QByteArray &name) {
            seen.clear();
            change();
            QTRY_VERIFY2_WITH_TIMEOUT(saw(kind, name), name.constData(), 5000);
        };
        const QString a = dir + QStringLiteral("/a.png");
        expect([&] { QDir().mkpath(dir); }, Event::folder, {});
        expect([&] { Sandbox::writeFile(a); }, Event::closedWritten, "a.png");
        QVERIFY(saw(Event::created, "a.png") && saw(Event::modified, "a.png"));
        expect([&] { QFile::rename(a, dir + QStringLiteral("/b.png")); }, Event::movedIn, "b.png");
        QVERIFY(saw(Event::removed, "a.png"));
        expect([&] { ShelfRig::setAge(dir + QStringLiteral("/b.png"), 60); }, Event::attributes, "b.png");
        expect([&] { QDir().mkpath(dir + QStringLiteral("/sub")); }, Event::created, "sub");
        QVERIFY(std::any_of(seen.cbegin(), seen.cend(), [](const Event &e) { return e.name == "sub" && e.isFolder; }));

        // Deleted, then made again: the new folder is followed.
        expect([&] { QDir(dir).removeRecursively(); }, Event::folder, {});
        expect([&] { QDir().mkpath(dir); }, Event::folder, {});
        expect([&] { Sandbox::writeFile(dir + QStringLiteral("/c.png")); }, Event::created, "c.png");

        // Moved away, then made again: the path is what the shelf shows.
        expect([&] { QDir().rename(dir, box.path(QStringLiteral("gone"))); }, Event::folder, {});
        expect([&] { QDir().mkpath(dir); }, Event::folder, {});
        expect([&] {
            Sandbox::writeFile(box.path(QStringLiteral("gone/e.png")));
            Sandbox::writeFile(dir + QStringLiteral("/f.png"));
        }, Event::created, "f.png");
        QVERIFY(!saw(Event::created, "e.png")); // the moved folder is no longer ours
    }

    void otherFilesCostNothingAndBusyFoldersStillShowNewImages()
    {
        ShelfRig rig;
        QVERIFY(rig.start());
        QSignalSpy scans(rig.shelf.get(), &Shelf::scanApplied);
        // A log written, rotated and locked down: nothing the shelf shows.
        append(rig.file(QStringLiteral("app.log")));
        QFile::rename(rig.file(QStringLiteral("app.log")), rig.file(QStringLiteral("app.log.1")));
        QFile::setPermissions(rig.file(QStringLiteral("app.log.1")), QFileDevice::ReadOwner);
        QTest::qWait(2 * Shelf::rescanDelayMs);
        QCOMPARE(scans.size(), 0);

        // Something written every 0.1 s, an image among it, never lets the
        // folder fall quiet; a new screenshot is shown all the same.
        QTimer busy;
        busy.setInterval(100);
        QObject::connect(&busy, &QTimer::timeout, [&] {
            append(rig.file(QStringLiteral("app.log")));
            Sandbox::writeFile(rig.file(QStringLiteral("live.png")), "frame");
        });
        busy.start();
        QTest::qWait(150);
        QElapsedTimer since;
        since.start();
        rig.addImage(QStringLiteral("new.png"));
        QTRY_VERIFY_WITH_TIMEOUT(rig.itemNames().contains(QStringLiteral("new.png")), 4000);
        QVERIFY2(since.elapsed() < 2 * Shelf::rescanMaxWaitMs, qPrintable(QString::number(since.elapsed())));
    }

    void imagesStillBeingWrittenWaitTillClosedOrQuiet()
    {
        ShelfRig rig;
        QVERIFY(rig.start());
        QFile writing(rig.file(QStringLiteral("writing.png")));
        QVERIFY(writing.open(QIODevice::WriteOnly));
        writing.write("half");
        writing.flush();
        rig.addImage(QStringLiteral("done.png"));
        QTRY_COMPARE_WITH_TIMEOUT(rig.itemNames(), QStringList{QStringLiteral("done.png")}, 5000);

        writing.write(" and the rest");
        writing.close();
        QTRY_COMPARE_WITH_TIMEOUT(rig.itemNames().size(), 2, 5000);
        QCOMPARE(rig.reported, (QList<QUrl>{rig.url(QStringLiteral("done.png")), rig.url(QStringLiteral("writing.png"))}));

        // A writer that never closes cannot hide its image for ever.
        QFile stuck(rig.file(QStringLiteral("stuck.png")));
        QVERIFY(stuck.open(QIODevice::WriteOnly));
        stuck.write("all of it");
        stuck.flush();
        QTRY_VERIFY_WITH_TIMEOUT(rig.itemNames().contains(QStringLiteral("stuck.png")), Shelf::writeQuietMs + 3000);
    }

    void newScreenshotsAreReportedAndTheirAppRecorded()
    {
        ShelfRig rig;
        rig.addImage(QStringLiteral("before launch.png"), 1);
        rig.front.front = otherApp();
        QVERIFY(rig.start());
        QVERIFY(rig.shelf->items().size() == 1 && rig.reported.isEmpty()); // the first scan reports nothing
        QVERIFY(!rig.meta.metaForName(QStringLiteral("before launch.png")));

        rig.meta.update(rig.url(QStringLiteral("newer.png")), [](FileMeta &m) { m.text = QStringLiteral("kept"); });
        rig.addImage(QStringLiteral("older.png"), 3);
        rig.addImage(QStringLiteral("newer.png"), 2);
        rig.addImage(QStringLiteral("copied with its old date.png"), 3600);
        QTRY_COMPARE_WITH_TIMEOUT(rig.shelf->items().size(), 4, 5000);

        QCOMPARE(rig.reported, QList<QUrl>{rig.url(QStringLiteral("newer.png"))});
        QCOMPARE(rig.front.asked, 1);
        const FileMeta newer = *rig.meta.metaForName(QStringLiteral("newer.png"));
        QCOMPARE(newer.app, otherApp().name);
        QCOMPARE(newer.appPath, otherApp().path);
        QCOMPARE(newer.text, std::optional<QString>(QStringLiteral("kept")));
        QCOMPARE(rig.meta.metaForName(QStringLiteral("older.png"))->app, otherApp().name);
        QVERIFY(!rig.meta.metaForName(QStringLiteral("copied with its old date.png")));

        // Nothing new: nothing reported, nobody asked.
        QVERIFY(rig.rescan());
        QCOMPARE(rig.reported.size(), 1);
        QCOMPARE(rig.front.asked, 1);

        // Ourselves in front, or nobody known (Wayland): reported, no app recorded.
        rig.front.front = RunningApp{QCoreApplication::applicationPid(), QStringLiteral("Us"), {}};
        rig.addImage(QStringLiteral("ours.png"));
        QTRY_COMPARE_WITH_TIMEOUT(rig.reported.size(), 2, 5000);
        rig.front.front.reset();
        rig.addImage(QStringLiteral("unknown.png"));
        QTRY_COMPARE_WITH_TIMEOUT(rig.reported.size(), 3, 5000);
        QVERIFY(!rig.meta.metaForName(QStringLiteral("ours.png")));
        QVERIFY(!rig.meta.metaForName(QStringLiteral("unknown.png")));
    }

    void changingFoldersReportsNothingWhateverOrderScansFinishIn()
    {
        ShelfRig rig;
        const QString a = rig.file(QStringLiteral("A"));
        const QString b = rig.file(QStringLiteral("B"));
        Sandbox::writeFile(a + QStringLiteral("/fresh in A.png"));
        Sandbox::writeFile(b + QStringLiteral("/fresh in B.png"));
        QVERIFY(rig.start());

        // A's listing is held up until B's has been shown.
        auto gate = std::make_shared<QSemaphore>();
        auto heldDone = std::make_shared<std::atomic_bool>(false);
        rig.shelf->setScanner([gate, heldDone, a](const QString &current, const QString &home) {
            if (current != a)
                return Shelf::runScan(current, home);
            gate->tryAcquire(1, 10000);
            Shelf::ScanResult result = Shelf::runScan(current, home);
            *heldDone = true;
            return result;
        });
        QSignalSpy applied(rig.shelf.get(), &Shelf::scanApplied);
        rig.shelf->openFolder(QUrl::fromLocalFile(a));
        rig.shelf->openFolder(QUrl::fromLocalFile(b));
        QVERIFY(applied.wait(5000));
        gate->release();
        QTRY_VERIFY_WITH_TIMEOUT(heldDone->load(), 5000);
        QVERIFY(rig.rescan()); // lands after A's late listing
        QCOMPARE(rig.itemNames(), QStringList{QStringLiteral("fresh in B.png")});
        QVERIFY(rig.reported.isEmpty()); // a folder's first scan is never news, nor is a stale one
    }

    void aMissingOrVanishedHomeIsFollowedOrReplaced()
    {
        ShelfRig rig;
        rig.tool.values.insert(CaptureSettings::location, rig.folder()); // Home is the tool's folder
        rig.prefs.setValue(PrefKey::folder, rig.folder());
        QVERIFY(rig.start(false)); // and it is not there yet
        rig.addImage(QStringLiteral("first.png"));
        QTRY_COMPARE_WITH_TIMEOUT(rig.itemNames(), QStringList{QStringLiteral("first.png")}, 5000);
        QDir(rig.folder()).removeRecursively();
        rig.addImage(QStringLiteral("back.png"));
        QTRY_COMPARE_WITH_TIMEOUT(rig.itemNames(), QStringList{QStringLiteral("back.png")}, 5000);

        // The tool saves elsewhere now: Home's deletion is enough to move
        // there, and what that folder already holds is not news.
        const QString toolFolder = rig.box.path(QStringLiteral("tool"));
        Sandbox::writeFile(toolFolder + QStringLiteral("/from the tool.png"));
        rig.tool.values.insert(CaptureSettings::location, toolFolder);
        QDir(rig.folder()).removeRecursively();
        QTRY_COMPARE_WITH_TIMEOUT(rig.itemNames(), QStringList{QStringLiteral("from the tool.png")}, 5000);
        Sandbox::writeFile(toolFolder + QStringLiteral("/watched there.png"));
        QTRY_COMPARE_WITH_TIMEOUT(rig.itemNames().size(), 2, 5000);
        QCOMPARE(TestFiles::names(rig.reported),
                 (QStringList{QStringLiteral("first.png"), QStringLiteral("back.png"), QStringLiteral("watched there.png")}));
        QCOMPARE(rig.prefs.text(PrefKey::folder), rig.folder()); // the choice itself is kept

        // Gone with nowhere to go (no tool folder, no Desktop): it stays, empty.
        QDir(rig.box.home() + QStringLiteral("/Desktop")).removeRecursively();
        QDir(toolFolder).removeRecursively();
        QTRY_VERIFY_WITH_TIMEOUT(rig.itemNames().isEmpty(), 5000);
        QCOMPARE(rig.shelf->home(), QUrl::fromLocalFile(toolFolder));
        QCOMPARE(rig.shelf->folderCounts().value(rig.shelf->home()), 0);
    }
};

QTEST_GUILESS_MAIN(TestWatching)
#include "test_watching.moc"
