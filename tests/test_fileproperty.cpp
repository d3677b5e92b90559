// Random sequences of file actions on real folders. After every step the
// bytes of every file that existed before must still exist somewhere (in a
// folder or in a Trash), and the only new contents are the files the step
// reports having written. A lost, truncated or overwritten file breaks that.
#include "actions/fileactions.h"
#include "actions/names.h"
#include "files/safefiles.h"
#include "platform/trash.h"
#include "support/files.h"

#include <QDirIterator>
#include <QImage>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

using TestFiles::readAll;

namespace {

using Contents = QHash<QByteArray, int>; // file bytes -> how many files hold them

const QStringList names = QStringLiteral("a.png|a 2.png|a copy.png|README|x.jpeg|x.jpg|shot 2|.hidden.png|"
                                         "Screenshot 2026-10-08 at 05.12.49.png|2026-10-08 05.12.49.png")
                              .split(QLatin1Char('|'));

// Every file's bytes under `roots` (Trash folders included); the paths outside a Trash into `files`.
Contents snapshot(const QStringList &roots, QStringList *files = nullptr)
{
    Contents contents;
    for (const QString &root : roots) {
        QDirIterator it(root, QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QString path = it.next();
            if (it.fileName().startsWith(QLatin1String(".brindlewick-")))
                qFatal("a half-written file left behind: %s", qPrintable(path));
            if (path.endsWith(QLatin1String(".trashinfo")))
                continue;
            ++contents[readAll(path)];
            if (files && !path.contains(QLatin1String("Trash")))
                files->append(path);
        }
    }
    return contents;
}

} // namespace

class TestFileProperty : public QObject
{
    Q_OBJECT

    QRandomGenerator random{20261008};

    QString anyName() { return names.at(random.bounded(int(names.size()))); }

    void makeFile(const QString &folder, int serial)
    {
        const QString path = SafeFiles::uniquePath(folder + QLatin1Char('/') + anyName());
        QImage image(2 + random.bounded(5), 2 + random.bounded(5), QImage::Format_ARGB32);
        image.fill(QColor::fromRgba(random.generate() | 0x01000000u));
        image.setPixel(0, 0, uint(serial)); // every image distinct
        if (path.endsWith(QLatin1String(".png")) || path.endsWith(QLatin1String(".jpeg")))
            QVERIFY(image.save(path, path.endsWith(QLatin1String(".png")) ? "PNG" : "JPEG"));
        else if (QFile f(path); f.open(QIODevice::NewOnly))
            f.write("bytes #" + QByteArray::number(serial));
    }

    // One random action on up to three of `files`; returns what it reports having written.
    QList<QUrl> step(const QStringList &files, const QStringList &folders, FreedesktopTrash &trash)
    {
        QList<QUrl> some;
        for (int i = files.isEmpty() ? 0 : 1 + random.bounded(int(std::min<qsizetype>(3, files.size()))); i > 0; --i)
            some.append(QUrl::fromLocalFile(files.at(random.bounded(int(files.size())))));
        switch (random.bounded(8)) {
        case 0:
            return FileActions::duplicate(some);
        case 1:
            return FileActions::convertToJPG(some);
        case 2:
            return FileActions::resizeHalf(some);
        case 3:
        case 4: // the other file system's folder, synced to a real disk, more rarely
            (void)FileActions::move(some, QUrl::fromLocalFile(folders.at(random.bounded(12) == 0 ? folders.size() - 1
                                                                                                 : random.bounded(2))));
            return {};
        case 5:
            if (!some.isEmpty())
                (void)FileActions::renameTo(some.first(), anyName(), nullptr);
            return {};
        case 6:
            ScreenshotNames::cleanUpNames(some);
            return {};
        }
        (void)FileActions::trash(some, trash);
        return {};
    }

private Q_SLOTS:
    void noBytesAreEverLostOrOverwritten()
    {
        // Most folders in memory (/dev/shm) when it is a file system of its
        // own, so syncing does not dominate; the folder C on the ordinary
        // temporary folder then makes moves cross file systems.
        const bool split = QFileInfo("/dev/shm").isWritable()
                           && TestFiles::deviceOf("/dev/shm") != TestFiles::deviceOf(QDir::tempPath());
        QTemporaryDir other;
        int crossDevice = 0, serial = 0;
        for (int sequence = 0; sequence < 400; ++sequence) {
            QTemporaryDir dir((split ? "/dev/shm" : QDir::tempPath()) + "/brindlewick-test-XXXXXX");
            const QString otherRoot = other.filePath(QString::number(sequence));
            const QStringList folders{dir.filePath("A"), dir.filePath("A/B"), otherRoot + "/C"},
                roots{dir.path(), otherRoot};
            QVERIFY(QDir().mkpath(folders[1]) && QDir().mkpath(folders[2]));
            FreedesktopTrash trash(dir.filePath("Trash"),
                                   [otherRoot](const QString &p) { return p.startsWith(otherRoot) ? otherRoot : "/"; });
            for (int i = 0; i < 6; ++i)
                makeFile(folders.at(random.bounded(2)), ++serial);
            for (int s = 0; s < 8; ++s) {
                // What was there stays, somewhere; the only new bytes are the ones reported written.
                QStringList files;
                Contents expected = snapshot(roots, &files);
                for (const QUrl &url : step(files, folders, trash))
                    ++expected[readAll(url.toLocalFile())];
                QVERIFY2(snapshot(roots) == expected, qPrintable(QStringLiteral("in sequence %1").arg(sequence)));
            }
            crossDevice += QDirIterator(otherRoot + "/C", QDir::Files).hasNext();
        }
        QVERIFY(!split || crossDevice > 0);
    }
};

QTEST_MAIN(TestFileProperty)
#include "test_fileproperty.moc"
