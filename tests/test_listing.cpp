#include "model/listing.h"
#include "support/files.h"
#include "support/sandbox.h"

#include <QDirIterator>
#include <QTest>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using TestFiles::names;
using TestFiles::setMtime;

class TestListing : public QObject
{
    Q_OBJECT

    std::unique_ptr<Sandbox> box;
    QString dir;

private Q_SLOTS:
    void init()
    {
        box = std::make_unique<Sandbox>();
        dir = box->path("shots");
    }
    // Each sandbox puts the environment back as it found it: one at a time.
    void cleanup() { box.reset(); }

    // Regular, visible images only: no links, folders or other files.
    // Names that do not decode to exactly their bytes (not UTF-8; or a
    // leading byte-order mark decoding would drop, "b.PNG" again) are listed
    // by their bytes, each its own file, never the look-alike; folders with
    // such names are left out.
    void onlyRegularVisibleImagesAreListed()
    {
        for (const char *name : {"b.PNG", "a.txt", ".hidden.png", "noextension", "trailingdot."})
            Sandbox::writeFile(dir + '/' + name);
        QDir().mkpath(dir + "/x.png");
        QFile::link(dir + "/b.PNG", dir + "/l.png");
        QFile::link(dir + "/missing.png", dir + "/dangling.png");
        QFile::link(dir + "/loop.png", dir + "/loop.png");
        const QByteArray base = QFile::encodeName(dir), bom = "\xef\xbb\xbf";
        const QByteArrayList badFiles = {base + "/caf\xe9.png", base + '/' + bom + "b.PNG"};
        const QByteArray badFolder = base + '/' + bom + "x.png";
        for (const QByteArray &name : badFiles)
            QVERIFY(::close(::open(name.constData(), O_CREAT | O_WRONLY, 0644)) == 0);
        QCOMPARE(::mkdir(badFolder.constData(), 0755), 0);

        const QList<QUrl> urls = listImages(dir, 400);
        const int counted = countImages(dir, 100000);
        const QStringList folders = names(listSubfolders(dir));
        // QTemporaryDir cannot remove what it cannot name.
        for (const QByteArray &name : badFiles + QByteArrayList{badFolder})
            ::remove(name.constData());
        QByteArrayList listed;
        for (const QUrl &url : urls)
            listed.append(QByteArray::fromPercentEncoding(url.path(QUrl::FullyEncoded).toLatin1()));
        std::sort(listed.begin(), listed.end());
        QCOMPARE(listed, (QByteArrayList{base + "/b.PNG", badFiles[0], badFiles[1]}));
        QCOMPARE(counted, 3);
        QCOMPARE(folders, QStringList{"x.png"});
    }

    void theNewestAreListedAndEqualTimesKeepDirectoryOrder()
    {
        // The 30 newest share one time; the list keeps the newest 400. Enough
        // files that their modification times are read on more than one thread.
        for (int i = 0; i < 4500; ++i) {
            const QString path = dir + QString("/%1.png").arg(i);
            Sandbox::writeFile(path);
            setMtime(path, 1700000000 + std::min(i, 4470));
        }
        QStringList directoryOrder;
        for (QDirIterator it(dir, QDir::Files); it.hasNext();)
            if (const QString name = QFileInfo(it.next()).fileName(); name.section('.', 0, 0).toInt() >= 4470)
                directoryOrder << name;
        const QList<QUrl> listed = listImages(dir, 400);
        QCOMPARE(listed.size(), 400);
        QCOMPARE(names(listed.mid(0, 30)), directoryOrder);
        QCOMPARE(listed.at(30).fileName(), "4469.png");
        QCOMPARE(listed.last().fileName(), "4100.png");
        QCOMPARE(countImages(dir, 100000), 4500);
        QCOMPARE(countImages(dir, 100), 100);
        const FolderListing once = listFolder(dir, 400, 100000, true, true);
        QCOMPARE(once.images, listed);
        QCOMPARE(once.imageCount, 4500);
    }

    void subfoldersSortLikeAFileManager()
    {
        for (const char *name : {"Folder 10", "folder 2", "Archive", ".cache", "b"})
            QDir().mkpath(dir + '/' + name);
        QDir().mkpath(box->path("elsewhere"));
        QFile::link(box->path("elsewhere"), dir + "/linked");
        Sandbox::writeFile(dir + "/file.png");
        QCOMPARE(names(listSubfolders(dir)), (QStringList{"Archive", "b", "folder 2", "Folder 10"}));
    }

    void unreadableOrMissingFoldersListAsEmpty()
    {
        QVERIFY(listImages(box->path("nope"), 400).isEmpty() && listSubfolders(box->path("nope")).isEmpty());

        if (::geteuid() == 0)
            QSKIP("root reads every folder");
        const QString locked = box->path("locked");
        Sandbox::writeFile(locked + "/a.png");
        QFile::setPermissions(locked, QFileDevice::WriteOwner);
        QVERIFY(listImages(locked, 400).isEmpty());
        QFile::setPermissions(locked, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    }
};

QTEST_GUILESS_MAIN(TestListing)
#include "test_listing.moc"
