#include "platform/folderwatch.h"
#include "support/shelfrig.h"

#include <QCoreApplication>
#include <QTimer>

namespace {

RunningApp otherApp()
{
    return RunningApp{1, QStringLiteral("Image Viewer"), QStringLiteral("/usr/share/applications/viewer.desktop")};
}

} // namespace

class TestWatching : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qunsetenv("BRINDLEWICK_DEBUG"); }

    void folderWatchSeesEntriesAndOutlivesItsFolder()
    {
        Sandbox box;
        const QString dir = box.path(QStringLiteral("watched"));
        QDir().mkpath(dir);
        QVERIFY(!FolderWatch::open(box.path(QStringLiteral("missing")), [] {}));

        int events = 0;
        auto watch = FolderWatch::open(dir, [&] { ++events; });
        QVERIFY(watch);
        const auto expectEvent = [&](const std::function<void()> &change) {
            const int before = events;
            change();
            QTRY_VERIFY_WITH_TIMEOUT(events > before, 5000);
        };
        expectEvent([&] { Sandbox::writeFile(dir + QStringLiteral("/a.png")); });
        expectEvent([&] { QFile::rename(dir + QStringLiteral("/a.png"), dir + QStringLiteral("/b.png")); });
        expectEvent([&] { ShelfRig::setAge(dir + QStringLiteral("/b.png"), 60); });
        expectEvent([&] { QFile::remove(dir + QStringLiteral("/b.png")); });

        // Deleted, then made again: the new folder is followed.
        expectEvent([&] { QDir(dir).removeRecursively(); });
        expectEvent([&] { QDir().mkpath(dir); });
        expectEvent([&] { Sandbox::writeFile(dir + QStringLiteral("/c.png")); });

        // Moved away, then made again: the path is what the shelf shows.
        expectEvent([&] { QDir().rename(dir, box.path(QStringLiteral("gone"))); });
        expectEvent([&] { QDir().mkpath(dir); });
        expectEvent([&] { Sandbox::writeFile(dir + QStringLiteral("/d.png")); });
        const int before = events;
        Sandbox::writeFile(box.path(QStringLiteral("gone/e.png")));
        QTest::qWait(300);
        QCOMPARE(events, before); // the moved folder is no longer ours
    }

    void aThousandFilesInOneSecondReportOnlyTheNewest()
    {
        ShelfRig rig;
        QVERIFY(rig.start());
        QSignalSpy scans(rig.shelf.get(), &Shelf::scanApplied);
        int made = 0;
        QTimer maker;
        maker.setInterval(20);
        QObject::connect(&maker, &QTimer::timeout, [&] {
            for (int i = 0; i < 20; ++i, ++made)
                rig.addImage(QStringLiteral("shot %1.png").arg(made, 4, 10, QLatin1Char('0')));
            if (made == 1000) {
                maker.stop();
                // Unmistakably the newest, still younger than 20 s.
                ShelfRig::setAge(rig.file(QStringLiteral("shot 0999.png")), -5);
            }
        });
        maker.start();
        QTRY_VERIFY_WITH_TIMEOUT(made == 1000 && !scans.isEmpty()
                                     && rig.shelf->items().value(0) == rig.url(QStringLiteral("shot 0999.png")),
                                 20000);
        QTest::qWait(1000);
        QVERIFY2(scans.size() <= 2, qPrintable(QString::number(scans.size())));
        QVERIFY(!rig.reported.isEmpty() && rig.reported.size() <= scans.size());
        QCOMPARE(rig.reported.last(), rig.url(QStringLiteral("shot 0999.png")));
        QCOMPARE(rig.shelf->items().size(), Shelf::listLimit);
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
    }

    void withOurselvesOrNothingInFrontNoAppIsRecorded()
    {
        ShelfRig rig;
        rig.front.front = RunningApp{QCoreApplication::applicationPid(), QStringLiteral("Us"), {}};
        QVERIFY(rig.start());
        rig.addImage(QStringLiteral("ours.png"));
        QTRY_COMPARE_WITH_TIMEOUT(rig.reported.size(), 1, 5000);
        QVERIFY(!rig.meta.metaForName(QStringLiteral("ours.png")));

        rig.front.front.reset(); // Wayland: nobody knows
        rig.addImage(QStringLiteral("unknown.png"));
        QTRY_COMPARE_WITH_TIMEOUT(rig.reported.size(), 2, 5000);
        QVERIFY(!rig.meta.metaForName(QStringLiteral("unknown.png")));
    }

    void changingFoldersReportsNothing()
    {
        ShelfRig rig;
        QDir().mkpath(rig.file(QStringLiteral("sub")));
        QVERIFY(rig.start());
        Sandbox::writeFile(rig.file(QStringLiteral("sub/fresh in sub.png")));
        rig.shelf->openFolder(QUrl::fromLocalFile(rig.file(QStringLiteral("sub"))));
        QTRY_VERIFY_WITH_TIMEOUT(rig.itemNames() == QStringList{QStringLiteral("fresh in sub.png")}, 5000);
        rig.addImage(QStringLiteral("fresh in home.png"));
        rig.shelf->openFolder(QUrl::fromLocalFile(rig.folder()));
        QTRY_VERIFY_WITH_TIMEOUT(rig.itemNames() == QStringList{QStringLiteral("fresh in home.png")}, 5000);
        QTest::qWait(600); // any rescan the new file caused has run too
        QVERIFY(rig.reported.isEmpty());
    }

    void aDeletedHomeIsFollowedOrReplaced()
    {
        ShelfRig rig;
        rig.tool.values.insert(CaptureSettings::location, rig.folder()); // Home is the tool's folder
        rig.prefs.setValue(PrefKey::folder, rig.folder());
        QVERIFY(rig.start());
        QDir(rig.folder()).removeRecursively();
        QDir().mkpath(rig.folder());
        rig.addImage(QStringLiteral("back.png"));
        QTRY_COMPARE_WITH_TIMEOUT(rig.itemNames(), QStringList{QStringLiteral("back.png")}, 5000);

        // The tool saves elsewhere now: the folder's own deletion is enough to move there.
        const QString toolFolder = rig.box.path(QStringLiteral("tool"));
        Sandbox::writeFile(toolFolder + QStringLiteral("/from the tool.png"));
        rig.tool.values.insert(CaptureSettings::location, toolFolder);
        QDir(rig.folder()).removeRecursively();
        QTRY_COMPARE_WITH_TIMEOUT(rig.itemNames(), QStringList{QStringLiteral("from the tool.png")}, 5000);
        Sandbox::writeFile(toolFolder + QStringLiteral("/watched there.png"));
        QTRY_COMPARE_WITH_TIMEOUT(rig.itemNames().size(), 2, 5000);
        QCOMPARE(rig.prefs.text(PrefKey::folder), rig.folder()); // the choice itself is kept
    }
};

QTEST_GUILESS_MAIN(TestWatching)
#include "test_watching.moc"
