#include "support/shelfrig.h"

#include <fcntl.h>
#include <unistd.h>

static QUrl fileUrl(const QString &path) { return QUrl::fromLocalFile(path); }

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

    QString shots(const QString &name = {}) const { return rig->box.path("Shots/" + name); }
    // A shelf whose Home is "Shots/", holding `files`.
    std::unique_ptr<Shelf> shelfWith(const QStringList &files)
    {
        for (const QString &name : files)
            Sandbox::writeFile(shots(name));
        rig->prefs.setValue(PrefKey::folder, shots());
        return makeShelf();
    }

private Q_SLOTS:
    void init() { rig = std::make_unique<HomeRig>(); }

    void homeResolvesInOrder()
    {
        const QString envFolder = rig->box.path("from-env");
        const QString chosen = rig->box.path("chosen");
        const QString toolFolder = rig->box.path("tool");
        QDir().mkpath(chosen);
        rig->tool.values.insert(CaptureSettings::location, toolFolder);

        // A path given from outside wins, even one that does not exist.
        qputenv("BRINDLEWICK_FOLDER", QFile::encodeName(envFolder));
        rig->prefs.setValue(PrefKey::folder, chosen);
        QCOMPARE(makeShelf()->home(), fileUrl(envFolder));
        qunsetenv("BRINDLEWICK_FOLDER");
        QCOMPARE(makeShelf()->home(), fileUrl(chosen));

        // A chosen folder that is gone, or that is no folder (a file, a link
        // to one, a link to nothing): the screenshot tool's, else the Desktop.
        // A link to a folder is a folder.
        Sandbox::writeFile(rig->box.path("a-file"));
        QFile::link(rig->box.path("a-file"), rig->box.path("file-link"));
        QFile::link(rig->box.path("nowhere"), rig->box.path("dangling"));
        QFile::link(chosen, rig->box.path("folder-link"));
        for (const char *notFolder : {"gone", "a-file", "file-link", "dangling"}) {
            rig->prefs.setValue(PrefKey::folder, rig->box.path(notFolder));
            QVERIFY2(makeShelf()->home() == fileUrl(toolFolder), notFolder);
        }
        rig->prefs.setValue(PrefKey::folder, rig->box.path("folder-link"));
        QCOMPARE(makeShelf()->home(), fileUrl(rig->box.path("folder-link")));
        rig->prefs.setValue(PrefKey::folder, rig->box.path("gone"));
        rig->tool.values.clear();
        auto shelf = makeShelf();
        QCOMPARE(shelf->home(), fileUrl(rig->box.home() + "/Desktop"));
        QVERIFY(shelf->isHome());
    }

    void choosingAFileAsHomeIsRefused()
    {
        struct Chooser : FolderChooser
        {
            QString answer;
            void chooseFolder(const QString &, const QString &, const QString &,
                              std::function<void(const QString &)> done) override
            {
                done(answer);
            }
        } chooser;
        auto shelf = shelfWith({"a.png"});
        const QUrl home = shelf->home();
        QSignalSpy homeChanged(shelf.get(), &Shelf::homeChanged);
        for (const QString &notFolder : {shots("a.png"), rig->box.path("gone")}) {
            chooser.answer = notFolder;
            shelf->chooseHome(chooser);
        }
        QCOMPARE(homeChanged.count(), 0);
        QCOMPARE(shelf->home(), home);
        QCOMPARE(rig->prefs.text(PrefKey::folder), shots());
        QVERIFY(!rig->tool.values.contains(CaptureSettings::location));

        chooser.answer = rig->box.path("Other");
        QDir().mkpath(chooser.answer);
        shelf->chooseHome(chooser);
        QCOMPARE(shelf->home(), fileUrl(chooser.answer));
        QCOMPARE(rig->prefs.text(PrefKey::folder), chooser.answer);
    }

    // One scan gives the items, the subfolders in number order and a count
    // for every folder the column shows, under the URL the column asks with
    // (Home was given with a trailing slash). Opening a folder compares
    // folders, not spellings, and keeps the selection.
    void scanCountsFoldersAndComparesFolders()
    {
        QDir().mkpath(shots("Archive"));
        auto shelf = shelfWith({"keep.png", "other.png", "Folder 10/a.png", "folder 2/a.png", "folder 2/b.jpg"});
        QCOMPARE(shelf->items().size(), 2);
        const QList<QUrl> folders = shelf->subfolders();
        QCOMPARE(folders.size(), 3);
        QCOMPARE(folders.at(1).fileName(), "folder 2");
        QCOMPARE(shelf->folderCounts(),
                 (FolderCounts{{shelf->home(), 2}, {folders[0], 0}, {folders[1], 2}, {folders[2], 1}}));

        // (A file gone from the disk leaves the selection: test_shelfproperty.)
        const QUrl keep = fileUrl(shots("keep.png"));
        shelf->setSelection({keep});
        QSignalSpy currentChanged(shelf.get(), &Shelf::currentChanged);
        shelf->openFolder(fileUrl(shots() + "/./"));
        shelf->openFolder(fileUrl(shots("folder 2/..")));
        QCOMPARE(currentChanged.count(), 0);
        QCOMPARE(shelf->selection(), QSet<QUrl>{keep});

        // In a subfolder: its images are listed, Home's subfolders and counts stay.
        shelf->openFolder(fileUrl(shots("folder 2/")));
        QCOMPARE(currentChanged.count(), 1);
        QVERIFY(shelf->selection().isEmpty() && !shelf->isHome());
        QCOMPARE(shelf->current(), folders[1]);
        QTRY_COMPARE_WITH_TIMEOUT(shelf->items().size(), 2, 5000);
        QCOMPARE(shelf->subfolders(), folders);
        QCOMPARE(shelf->folderCounts().value(shelf->home()), 2);
    }

    void debugLineNamesTheFolderAsItIs()
    {
        // "%1" in a folder's name is text, not a placeholder.
        const QString odd = rig->box.path("Shots %1 at 100%");
        Sandbox::writeFile(odd + "/a.png");
        rig->prefs.setValue(PrefKey::folder, odd);
        const QString log = rig->box.path("stderr.txt");
        const int saved = ::dup(STDERR_FILENO);
        const int fd = ::open(QFile::encodeName(log).constData(), O_CREAT | O_WRONLY | O_TRUNC, 0644);
        ::dup2(fd, STDERR_FILENO);
        ::close(fd);
        qputenv("BRINDLEWICK_DEBUG", "");
        const bool scanned = !makeShelf()->items().isEmpty();
        qunsetenv("BRINDLEWICK_DEBUG");
        ::dup2(saved, STDERR_FILENO);
        ::close(saved);
        const QString written = QString::fromUtf8(TestFiles::readAll(log));
        QVERIFY2(scanned && written.contains("[Brindlewick] " + odd + ": 1 images, 0 subfolders\n"),
                 qPrintable(written));
    }
};

QTEST_GUILESS_MAIN(TestShelf)
#include "test_shelf.moc"
