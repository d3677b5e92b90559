#include "model/listing.h"
#include "support/files.h"
#include "support/sandbox.h"

#include <QDirIterator>
#include <QTest>

#include <fcntl.h>
#include <unistd.h>

using TestFiles::names;

// A folder of its own for each test, in the throwaway home.
static QString testFolder() { return QDir::home().filePath(QTest::currentTestFunction()); }

class TestListing : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Regular, visible images only: no links, folders or other files.
    // Names that do not decode to exactly their bytes (not UTF-8; or a
    // leading byte-order mark decoding would drop, "b.PNG" again) are listed
    // by their bytes, each its own file, never the look-alike; folders with
    // such names are left out. Folders sort as a file manager sorts them.
    void onlyRegularVisibleImagesAndFoldersAreListed()
    {
        const QString dir = testFolder();
        for (const char *name : {"b.PNG", "a.txt", ".hidden.png", "noextension", "trailingdot."})
            Sandbox::writeFile(dir + '/' + name);
        for (const char *name : {"x.png", "Folder 10", "folder 2", "Archive", ".cache", "b", "../elsewhere"})
            QDir().mkpath(dir + '/' + name);
        QFile::link(dir + "/../elsewhere", dir + "/linked");
        QFile::link(dir + "/b.PNG", dir + "/l.png");
        QFile::link(dir + "/missing.png", dir + "/dangling.png");
        QFile::link(dir + "/loop.png", dir + "/loop.png");
        const QByteArray base = QFile::encodeName(dir), bom = "\xef\xbb\xbf";
        const QByteArrayList badFiles = {base + "/caf\xe9.png", base + '/' + bom + "b.PNG"};
        for (const QByteArray &name : badFiles)
            QVERIFY(::close(::open(name.constData(), O_CREAT | O_WRONLY, 0644)) == 0);
        QCOMPARE(::mkdir(base + '/' + bom + "x.png", 0755), 0);

        QByteArrayList listed;
        for (const QUrl &url : listImages(dir, 400))
            listed.append(QByteArray::fromPercentEncoding(url.path(QUrl::FullyEncoded).toLatin1()));
        std::sort(listed.begin(), listed.end());
        QCOMPARE(listed, (QByteArrayList{base + "/b.PNG", badFiles[0], badFiles[1]}));
        QCOMPARE(countImages(dir, 100000), 3);
        QCOMPARE(names(listSubfolders(dir)), (QStringList{"Archive", "b", "folder 2", "Folder 10", "x.png"}));
    }

    void theNewestAreListedAndEqualTimesKeepDirectoryOrder()
    {
        // The 30 newest share one time; the list keeps the newest 400. Enough
        // files that their modification times are read on more than one thread.
        const QString dir = testFolder();
        for (int i = 0; i < 4500; ++i) {
            Sandbox::writeFile(dir + QString("/%1.png").arg(i));
            TestFiles::setMtime(dir + QString("/%1.png").arg(i), 1700000000 + std::min(i, 4470));
        }
        QStringList directoryOrder;
        for (QDirIterator it(dir, QDir::Files); it.hasNext();)
            if (const QString name = QFileInfo(it.next()).fileName(); name.section('.', 0, 0).toInt() >= 4470)
                directoryOrder << name;
        const QList<QUrl> listed = listImages(dir, 400);
        QCOMPARE(names(listed.mid(0, 30)), directoryOrder);
        QCOMPARE(names({listed.at(30), listed.last()}), QStringList({"4469.png", "4100.png"}));
        QCOMPARE(countImages(dir, 100), 100);
        const FolderListing once = listFolder(dir, 400, 100000, true, true);
        QCOMPARE(once.images, listed);
        QCOMPARE(once.imageCount, 4500);
    }

    void unreadableOrMissingFoldersListAsEmpty()
    {
        const QString dir = testFolder();
        QVERIFY(listImages(dir, 400).isEmpty() && listSubfolders(dir).isEmpty());
        if (::geteuid() == 0)
            QSKIP("root reads every folder");
        Sandbox::writeFile(dir + "/a.png");
        QFile::setPermissions(dir, QFileDevice::WriteOwner);
        QVERIFY(listImages(dir, 400).isEmpty());
        QFile::setPermissions(dir, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    }
};

QTEST_GUILESS_MAIN(TestListing)
#include "test_listing.moc"
