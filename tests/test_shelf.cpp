#include "support/shelfrig.h"

#include <cmath>

namespace {

class AnsweringChooser final : public FolderChooser
{
public:
    QString answer;
    QStringList asked;
    void chooseFolder(const QString &startIn, const QString &confirmText, const QString &message,
                      std::function<void(const QString &)> done) override
    {
        asked = {startIn, confirmText, message};
        done(answer);
    }
};

QUrl fileUrl(const QString &path) { return QUrl::fromLocalFile(path); }

} // namespace

class TestShelf : public QObject
{
    Q_OBJECT

    std::unique_ptr<HomeRig> rig;

    std::unique_ptr<Shelf> makeShelf()
    {
        auto shelf = std::make_unique<Shelf>(rig->prefs, rig->capture);
        QSignalSpy applied(shelf.get(), &Shelf::scanApplied);
        if (!applied.wait(5000))
            qWarning("first scan did not arrive");
        return shelf;
    }

    static void waitForScan(Shelf &shelf)
    {
        QSignalSpy applied(&shelf, &Shelf::scanApplied);
        shelf.scan();
        QVERIFY(applied.wait(5000));
    }

    QString shots(const QString &name = {}) const
    {
        return rig->box.path(name.isEmpty() ? QStringLiteral("Shots") : QStringLiteral("Shots/") + name);
    }
    // A shelf whose Home is "Shots", holding `files`.
    std::unique_ptr<Shelf> shelfWith(const QStringList &files)
    {
        for (const QString &name : files)
            Sandbox::writeFile(shots(name));
        rig->prefs.setValue(PrefKey::folder, shots());
        return makeShelf();
    }

private Q_SLOTS:
    void init()
    {
        qunsetenv("BRINDLEWICK_FOLDER");
        rig = std::make_unique<HomeRig>();
    }
    void cleanup()
    {
        rig.reset();
        qunsetenv("BRINDLEWICK_FOLDER");
    }

    void homeResolvesInOrder()
    {
        const QString envFolder = rig->box.path(QStringLiteral("from-env"));
        const QString chosen = rig->box.path(QStringLiteral("chosen"));
        const QString toolFolder = rig->box.path(QStringLiteral("tool"));
        QDir().mkpath(chosen);
        rig->tool.values.insert(CaptureSettings::location, toolFolder);

        // A path given from outside wins, even one that does not exist.
        qputenv("BRINDLEWICK_FOLDER", QFile::encodeName(envFolder));
        rig->prefs.setValue(PrefKey::folder, chosen);
        QCOMPARE(makeShelf()->home(), fileUrl(envFolder));

        qunsetenv("BRINDLEWICK_FOLDER");
        QCOMPARE(makeShelf()->home(), fileUrl(chosen));

        // A chosen folder that is gone falls back to the screenshot tool's.
        rig->prefs.setValue(PrefKey::folder, rig->box.path(QStringLiteral("gone")));
        QCOMPARE(makeShelf()->home(), fileUrl(toolFolder));

        // No tool setting: the Desktop.
        rig->tool.values.clear();
        auto shelf = makeShelf();
        QCOMPARE(shelf->home(), fileUrl(rig->box.home() + QStringLiteral("/Desktop")));
        QCOMPARE(shelf->current(), shelf->home());
        QVERIFY(shelf->isHome());
    }

    void scanPublishesItemsSubfoldersAndCounts()
    {
        const QString home = rig->box.path(QStringLiteral("Shots"));
        for (int i = 0; i < 450; ++i)
            Sandbox::writeFile(home + QStringLiteral("/%1.png").arg(i));
        Sandbox::writeFile(home + QStringLiteral("/Folder 10/a.png"));
        Sandbox::writeFile(home + QStringLiteral("/folder 2/a.png"));
        Sandbox::writeFile(home + QStringLiteral("/folder 2/b.jpg"));
        QDir().mkpath(home + QStringLiteral("/Archive"));
        rig->prefs.setValue(PrefKey::folder, home + QLatin1Char('/'));

        auto shelf = makeShelf();
        QCOMPARE(shelf->items().size(), 400);
        QCOMPARE(shelf->subfolders().size(), 3);
        QCOMPARE(shelf->subfolders().at(1).fileName(), QStringLiteral("folder 2"));
        // Every folder the column shows finds its count under its own URL.
        QCOMPARE(shelf->folderCounts().value(shelf->home()), 450);
        QCOMPARE(shelf->folderCounts().value(shelf->subfolders().at(0)), 0);
        QCOMPARE(shelf->folderCounts().value(shelf->subfolders().at(1)), 2);
        QCOMPARE(shelf->folderCounts().value(shelf->subfolders().at(2)), 1);
        QCOMPARE(shelf->folderCounts().size(), 4);

        // In a subfolder: its images are listed, Home's subfolders and counts stay.
        shelf->openFolder(shelf->subfolders().at(1));
        QTRY_COMPARE_WITH_TIMEOUT(shelf->items().size(), 2, 5000);
        QVERIFY(!shelf->isHome());
        QCOMPARE(shelf->subfolders().size(), 3);
        QCOMPARE(shelf->folderCounts().value(shelf->home()), 450);
    }

    void scanKeepsOnlyListedSelection()
    {
        auto shelf = shelfWith({QStringLiteral("keep.png"), QStringLiteral("gone.png")});
        const QUrl keep = fileUrl(shots(QStringLiteral("keep.png")));
        const QUrl gone = fileUrl(shots(QStringLiteral("gone.png")));
        shelf->setSelection({keep, gone});
        shelf->setCursor(gone);
        QFile::remove(gone.toLocalFile());
        waitForScan(*shelf);
        QCOMPARE(shelf->selection(), QSet<QUrl>{keep});
        QCOMPARE(shelf->cursor(), gone);
    }

    void openFolderComparesFolderIdentity()
    {
        const QString home = shots();
        auto shelf = shelfWith({QStringLiteral("a.png"), QStringLiteral("Sub/b.png")});
        const QUrl a = fileUrl(shots(QStringLiteral("a.png")));
        shelf->setSelection({a});

        QSignalSpy currentChanged(shelf.get(), &Shelf::currentChanged);
        shelf->openFolder(fileUrl(home + QStringLiteral("/./")));
        shelf->openFolder(fileUrl(home + QStringLiteral("/Sub/..")));
        QCOMPARE(currentChanged.count(), 0);
        QCOMPARE(shelf->selection(), QSet<QUrl>{a});

        shelf->openFolder(fileUrl(home + QStringLiteral("/Sub/")));
        QCOMPARE(currentChanged.count(), 1);
        QVERIFY(shelf->selection().isEmpty());
        QVERIFY(shelf->firstScan());
        QCOMPARE(shelf->current(), shelf->subfolders().value(0));
    }

    void cellWidthAndZoom_data()
    {
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<double>("initial");
        QTest::newRow("missing") << QVariant() << 300.0;
        QTest::newRow("zero") << QVariant(0.0) << 300.0;
        QTest::newRow("negative") << QVariant(-5.0) << 300.0;
        QTest::newRow("nan") << QVariant(std::nan("")) << 300.0;
        QTest::newRow("garbage") << QVariant(QStringLiteral("wide")) << 300.0;
        QTest::newRow("small") << QVariant(100.0) << 160.0;
        QTest::newRow("large") << QVariant(900.0) << 560.0;
        QTest::newRow("inside") << QVariant(333.5) << 333.5;
    }
    void cellWidthAndZoom()
    {
        QFETCH(QVariant, stored);
        QFETCH(double, initial);
        rig->prefs.setValue(PrefKey::folder, rig->box.path());
        if (stored.isValid())
            rig->prefs.setValue(PrefKey::cellWidth, stored);
        auto shelf = makeShelf();
        QCOMPARE(shelf->cellWidth(), initial);
    }

    void zoomRoundsThenClamps()
    {
        rig->prefs.setValue(PrefKey::folder, rig->box.path());
        auto shelf = makeShelf();
        shelf->setCellWidth(540);
        shelf->zoom(40);
        QCOMPARE(shelf->cellWidth(), 560.0);
        shelf->setCellWidth(185.5);
        shelf->zoom(-40); // 145.5 rounds away from zero to 146, then clamps
        QCOMPARE(shelf->cellWidth(), 160.0);
        shelf->setCellWidth(300.5);
        shelf->zoom(40);
        QCOMPARE(shelf->cellWidth(), 341.0);
        // Writing stores the value as given and persists it at once.
        shelf->setCellWidth(1000);
        QCOMPARE(Prefs(rig->prefs.filePath()).number(PrefKey::cellWidth, 0), 1000.0);
    }

    void setHomeAndChooseHome()
    {
        const QString first = rig->box.path(QStringLiteral("first"));
        const QString second = rig->box.path(QStringLiteral("second"));
        Sandbox::writeFile(first + QStringLiteral("/a.png"));
        Sandbox::writeFile(second + QStringLiteral("/b.png"));
        Sandbox::writeFile(second + QStringLiteral("/c.png"));
        rig->prefs.setValue(PrefKey::folder, first);
        auto shelf = makeShelf();
        shelf->setSelection({fileUrl(first + QStringLiteral("/a.png"))});

        AnsweringChooser chooser;
        shelf->chooseHome(chooser); // cancelled
        QCOMPARE(chooser.asked,
                 (QStringList{first, QStringLiteral("Use this folder"),
                              QStringLiteral("Screenshots will be shown from, and saved to, this folder.")}));
        QCOMPARE(shelf->home(), fileUrl(first));

        chooser.answer = second;
        shelf->chooseHome(chooser);
        QCOMPARE(shelf->home(), fileUrl(second));
        QCOMPARE(shelf->current(), fileUrl(second));
        QVERIFY(shelf->selection().isEmpty());
        QCOMPARE(rig->prefs.text(PrefKey::folder), second);
        QCOMPARE(rig->tool.readText(CaptureSettings::location), second);
        QTRY_COMPARE_WITH_TIMEOUT(shelf->items().size(), 2, 5000);
    }

    // Moving to the tool's folder when Home vanishes is in test_watching.
    void vanishedHomeWithNowhereToGoStays()
    {
        const QString home = shots();
        auto shelf = shelfWith({QStringLiteral("a.png")});
        QCOMPARE(shelf->items().size(), 1);

        // Gone, and neither the tool's folder nor the Desktop exists: keep pointing at it.
        QDir(rig->box.home() + QStringLiteral("/Desktop")).removeRecursively();
        QDir(home).removeRecursively();
        waitForScan(*shelf);
        QCOMPARE(shelf->home(), fileUrl(home));
        QVERIFY(shelf->items().isEmpty());
        QCOMPARE(shelf->folderCounts().value(shelf->home()), 0);
    }

    void unchangedFieldsDoNotNotify()
    {
        rig->prefs.setValue(PrefKey::folder, rig->box.path());
        auto shelf = makeShelf();
        QSignalSpy items(shelf.get(), &Shelf::itemsChanged);
        QSignalSpy query(shelf.get(), &Shelf::queryChanged);
        waitForScan(*shelf);
        shelf->setQuery(QString());
        QCOMPARE(items.count(), 0);
        QCOMPARE(query.count(), 0);
    }
};

QTEST_GUILESS_MAIN(TestShelf)
#include "test_shelf.moc"
