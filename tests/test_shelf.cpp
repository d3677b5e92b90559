#include "support/shelfrig.h"

#include <cmath>
#include <fcntl.h>
#include <unistd.h>

namespace {

class AnsweringChooser final : public FolderChooser
{
public:
    QString answer;
    QString startIn;
    void chooseFolder(const QString &start, const QString &, const QString &,
                      std::function<void(const QString &)> done) override
    {
        startIn = start;
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
        for (int i = 0; i < 5; ++i)
            Sandbox::writeFile(home + QStringLiteral("/%1.png").arg(i));
        Sandbox::writeFile(home + QStringLiteral("/Folder 10/a.png"));
        Sandbox::writeFile(home + QStringLiteral("/folder 2/a.png"));
        Sandbox::writeFile(home + QStringLiteral("/folder 2/b.jpg"));
        QDir().mkpath(home + QStringLiteral("/Archive"));
        rig->prefs.setValue(PrefKey::folder, home + QLatin1Char('/'));

        auto shelf = makeShelf();
        QCOMPARE(shelf->items().size(), 5);
        QCOMPARE(shelf->subfolders().size(), 3);
        QCOMPARE(shelf->subfolders().at(1).fileName(), QStringLiteral("folder 2"));
        // Every folder the column shows finds its count under its own URL.
        QCOMPARE(shelf->folderCounts().value(shelf->home()), 5);
        QCOMPARE(shelf->folderCounts().value(shelf->subfolders().at(0)), 0);
        QCOMPARE(shelf->folderCounts().value(shelf->subfolders().at(1)), 2);
        QCOMPARE(shelf->folderCounts().value(shelf->subfolders().at(2)), 1);
        QCOMPARE(shelf->folderCounts().size(), 4);

        // In a subfolder: its images are listed, Home's subfolders and counts stay.
        shelf->openFolder(shelf->subfolders().at(1));
        QTRY_COMPARE_WITH_TIMEOUT(shelf->items().size(), 2, 5000);
        QVERIFY(!shelf->isHome());
        QCOMPARE(shelf->subfolders().size(), 3);
        QCOMPARE(shelf->folderCounts().value(shelf->home()), 5);
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

    void cellWidthIsKeptInRangeAndZoomRoundsThenClamps()
    {
        rig->prefs.setValue(PrefKey::folder, rig->box.path());
        const QList<std::pair<QVariant, double>> stored = {
            {QVariant(), 300}, {QVariant(-5.0), 300}, {QVariant(std::nan("")), 300},
            {QVariant(QStringLiteral("wide")), 300}, {QVariant(100.0), 160}, {QVariant(900.0), 560}};
        for (const auto &[value, initial] : stored) {
            rig->prefs.setValue(PrefKey::cellWidth, value);
            QCOMPARE(makeShelf()->cellWidth(), initial);
        }
        auto shelf = makeShelf();
        shelf->setCellWidth(540);
        shelf->zoom(40);
        QCOMPARE(shelf->cellWidth(), 560.0);
        shelf->setCellWidth(185.5);
        shelf->zoom(-40); // 145.5 rounds away from zero to 146, then clamps
        QCOMPARE(shelf->cellWidth(), 160.0);
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
        QCOMPARE(chooser.startIn, first);
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

    void debugLineNamesTheFolderAsItIs()
    {
        // "%1" in a folder's name is text, not a placeholder.
        const QString odd = rig->box.path(QStringLiteral("Shots %1 at 100%"));
        Sandbox::writeFile(odd + QStringLiteral("/a.png"));
        rig->prefs.setValue(PrefKey::folder, odd);
        const QString log = rig->box.path(QStringLiteral("stderr.txt"));
        const int saved = ::dup(STDERR_FILENO);
        const int fd = ::open(QFile::encodeName(log).constData(), O_CREAT | O_WRONLY | O_TRUNC, 0644);
        ::dup2(fd, STDERR_FILENO);
        ::close(fd);
        qputenv("BRINDLEWICK_DEBUG", "");
        const bool scanned = !makeShelf()->items().isEmpty();
        qunsetenv("BRINDLEWICK_DEBUG");
        ::dup2(saved, STDERR_FILENO);
        ::close(saved);
        QVERIFY(scanned);
        const QString expected = QStringLiteral("[Brindlewick] ") + odd + QStringLiteral(": 1 images, 0 subfolders\n");
        QVERIFY2(QString::fromUtf8(TestFiles::readAll(log)).contains(expected), TestFiles::readAll(log).constData());
    }
};

QTEST_GUILESS_MAIN(TestShelf)
#include "test_shelf.moc"
