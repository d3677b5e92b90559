#include "model/shelf.h"
#include "support/fakecapturesettings.h"
#include "support/sandbox.h"
#include "system/capturelocation.h"
#include "system/prefs.h"

#include <QSignalSpy>
#include <QTest>

#include <cmath>
#include <sys/stat.h>

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

    std::unique_ptr<Sandbox> box;
    std::unique_ptr<Prefs> prefs;
    std::unique_ptr<FakeCaptureSettings> tool;
    std::unique_ptr<CaptureLocation> capture;

    std::unique_ptr<Shelf> makeShelf()
    {
        auto shelf = std::make_unique<Shelf>(*prefs, *capture);
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

private Q_SLOTS:
    void init()
    {
        qunsetenv("BRINDLEWICK_FOLDER");
        box = std::make_unique<Sandbox>();
        prefs = std::make_unique<Prefs>(box->path(QStringLiteral("prefs.conf")));
        tool = std::make_unique<FakeCaptureSettings>();
        capture = std::make_unique<CaptureLocation>(*prefs, tool.get());
    }
    void cleanup()
    {
        capture.reset();
        tool.reset();
        prefs.reset();
        box.reset();
        qunsetenv("BRINDLEWICK_FOLDER");
    }

    void homeResolvesInOrder()
    {
        const QString envFolder = box->path(QStringLiteral("from-env"));
        const QString chosen = box->path(QStringLiteral("chosen"));
        const QString toolFolder = box->path(QStringLiteral("tool"));
        QDir().mkpath(chosen);
        tool->values.insert(CaptureSettings::location, toolFolder);

        // A path given from outside wins, even one that does not exist.
        qputenv("BRINDLEWICK_FOLDER", QFile::encodeName(envFolder));
        prefs->setValue(PrefKey::folder, chosen);
        QCOMPARE(makeShelf()->home(), fileUrl(envFolder));

        qunsetenv("BRINDLEWICK_FOLDER");
        QCOMPARE(makeShelf()->home(), fileUrl(chosen));

        // A chosen folder that is gone falls back to the screenshot tool's.
        prefs->setValue(PrefKey::folder, box->path(QStringLiteral("gone")));
        QCOMPARE(makeShelf()->home(), fileUrl(toolFolder));

        // No tool setting: the Desktop.
        tool->values.clear();
        auto shelf = makeShelf();
        QCOMPARE(shelf->home(), fileUrl(box->home() + QStringLiteral("/Desktop")));
        QCOMPARE(shelf->current(), shelf->home());
        QVERIFY(shelf->isHome());
    }

    void scanPublishesItemsSubfoldersAndCounts()
    {
        const QString home = box->path(QStringLiteral("Shots"));
        for (int i = 0; i < 450; ++i)
            Sandbox::writeFile(home + QStringLiteral("/%1.png").arg(i));
        Sandbox::writeFile(home + QStringLiteral("/Folder 10/a.png"));
        Sandbox::writeFile(home + QStringLiteral("/folder 2/a.png"));
        Sandbox::writeFile(home + QStringLiteral("/folder 2/b.jpg"));
        QDir().mkpath(home + QStringLiteral("/Archive"));
        prefs->setValue(PrefKey::folder, home + QLatin1Char('/'));

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
        const QString home = box->path(QStringLiteral("Shots"));
        Sandbox::writeFile(home + QStringLiteral("/keep.png"));
        Sandbox::writeFile(home + QStringLiteral("/gone.png"));
        prefs->setValue(PrefKey::folder, home);
        auto shelf = makeShelf();
        const QUrl keep = fileUrl(home + QStringLiteral("/keep.png"));
        const QUrl gone = fileUrl(home + QStringLiteral("/gone.png"));
        shelf->setSelection({keep, gone});
        shelf->setCursor(gone);
        QFile::remove(gone.toLocalFile());
        waitForScan(*shelf);
        QCOMPARE(shelf->selection(), QSet<QUrl>{keep});
        QCOMPARE(shelf->cursor(), gone);
    }

    void openFolderComparesFolderIdentity()
    {
        const QString home = box->path(QStringLiteral("Shots"));
        Sandbox::writeFile(home + QStringLiteral("/a.png"));
        Sandbox::writeFile(home + QStringLiteral("/Sub/b.png"));
        prefs->setValue(PrefKey::folder, home);
        auto shelf = makeShelf();
        const QUrl a = fileUrl(home + QStringLiteral("/a.png"));
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
        prefs->setValue(PrefKey::folder, box->path());
        if (stored.isValid())
            prefs->setValue(PrefKey::cellWidth, stored);
        auto shelf = makeShelf();
        QCOMPARE(shelf->cellWidth(), initial);
    }

    void zoomRoundsThenClamps()
    {
        prefs->setValue(PrefKey::folder, box->path());
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
        QCOMPARE(Prefs(prefs->filePath()).number(PrefKey::cellWidth, 0), 1000.0);
    }

    void setHomeAndChooseHome()
    {
        const QString first = box->path(QStringLiteral("first"));
        const QString second = box->path(QStringLiteral("second"));
        Sandbox::writeFile(first + QStringLiteral("/a.png"));
        Sandbox::writeFile(second + QStringLiteral("/b.png"));
        Sandbox::writeFile(second + QStringLiteral("/c.png"));
        prefs->setValue(PrefKey::folder, first);
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
        QCOMPARE(prefs->text(PrefKey::folder), second);
        QCOMPARE(tool->readText(CaptureSettings::location), second);
        QTRY_COMPARE_WITH_TIMEOUT(shelf->items().size(), 2, 5000);
    }

    void vanishedHomeFallsBackToTheToolsFolder()
    {
        const QString home = box->path(QStringLiteral("Shots"));
        const QString toolFolder = box->path(QStringLiteral("ToolShots"));
        Sandbox::writeFile(home + QStringLiteral("/a.png"));
        prefs->setValue(PrefKey::folder, home);
        auto shelf = makeShelf();
        QCOMPARE(shelf->items().size(), 1);

        // Gone, and neither the tool's folder nor the Desktop exists: keep pointing at it.
        QDir(box->home() + QStringLiteral("/Desktop")).removeRecursively();
        QDir(home).removeRecursively();
        waitForScan(*shelf);
        QCOMPARE(shelf->home(), fileUrl(home));
        QVERIFY(shelf->items().isEmpty());
        QCOMPARE(shelf->folderCounts().value(shelf->home()), 0);

        tool->values.insert(CaptureSettings::location, toolFolder);
        Sandbox::writeFile(toolFolder + QStringLiteral("/b.png"));
        Sandbox::writeFile(toolFolder + QStringLiteral("/c.png"));
        waitForScan(*shelf);
        QCOMPARE(shelf->home(), fileUrl(toolFolder));
        QCOMPARE(shelf->current(), fileUrl(toolFolder));
        QCOMPARE(shelf->items().size(), 2);
        QCOMPARE(prefs->text(PrefKey::folder), home); // the choice itself is kept
    }

    void unchangedFieldsDoNotNotify()
    {
        prefs->setValue(PrefKey::folder, box->path());
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
