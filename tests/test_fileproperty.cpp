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

using TestFiles::deviceOf;
using TestFiles::readAll;

namespace {

using Contents = QHash<QByteArray, int>; // file bytes -> how many files hold them

const QStringList kNamePool = QStringLiteral("a.png|a 2.png|a copy.png|README|x.jpeg|x.jpg|shot 2|.hidden.png|"
                                             "Screenshot 2026-10-08 at 05.12.49.png|2026-10-08 05.12.49.png")
                                  .split(QLatin1Char('|'));

// What `after` holds beyond `before`; nullopt when some of `before` is gone.
std::optional<Contents> added(Contents after, const Contents &before)
{
    for (auto it = before.cbegin(); it != before.cend(); ++it) {
        const int left = after[it.key()] -= it.value();
        if (left < 0)
            return std::nullopt;
        if (left == 0)
            after.remove(it.key());
    }
    return after;
}

} // namespace

class TestFileProperty : public QObject
{
    Q_OBJECT

    QRandomGenerator random{20261008};
    QStringList roots;   // every folder a file may be in, Trash folders included
    QStringList folders; // where files are made and moved
    std::unique_ptr<FreedesktopTrash> trash;
    int serial = 0;
    int steps = 0;

    Contents snapshot(QStringList *files = nullptr)
    {
        Contents contents;
        for (const QString &root : roots) {
            QDirIterator it(root, QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
            while (it.hasNext()) {
                const QString path = it.next();
                if (path.endsWith(QLatin1String(".trashinfo")))
                    continue;
                // A temporary file left behind is a half-written file.
                if (it.fileName().startsWith(QLatin1String(".brindlewick-")))
                    qFatal("left behind: %s", qPrintable(path));
                ++contents[readAll(path)];
                if (files && !path.contains(QLatin1String("Trash")))
                    files->append(path);
            }
        }
        return contents;
    }

    void makeFile(const QString &folder)
    {
        const QString name = kNamePool.at(random.bounded(kNamePool.size()));
        const QString path = SafeFiles::uniquePath(folder + QLatin1Char('/') + name);
        if (name.endsWith(QLatin1String(".png")) || name.endsWith(QLatin1String(".jpeg"))) {
            QImage image(2 + random.bounded(5), 2 + random.bounded(5), QImage::Format_ARGB32);
            image.fill(QColor::fromRgba(random.generate() | 0x01000000u));
            image.setPixel(0, 0, uint(++serial)); // every image distinct
            image.save(path, name.endsWith(QLatin1String(".png")) ? "PNG" : "JPEG");
        } else {
            QFile f(path);
            if (f.open(QIODevice::NewOnly))
                f.write("bytes #" + QByteArray::number(++serial));
        }
    }

    QList<QUrl> pick(const QStringList &files, qsizetype most)
    {
        QList<QUrl> chosen;
        const qsizetype count = files.isEmpty() ? 0 : 1 + random.bounded(int(std::min(most, files.size())));
        for (qsizetype i = 0; i < count; ++i)
            chosen.append(QUrl::fromLocalFile(files.at(random.bounded(int(files.size())))));
        return chosen;
    }

    // One random action; returns the contents it reports having written.
    QList<QUrl> step(const QStringList &files)
    {
        ++steps;
        const QList<QUrl> some = pick(files, 3);
        switch (random.bounded(8)) {
        case 0:
            return FileActions::duplicate(some);
        case 1:
            return FileActions::convertToJPG(some);
        case 2:
            return FileActions::resizeHalf(some);
        case 3:
        case 4:
            // The folder on the other file system is a rarer target: every
            // file written there is synced to a real disk.
            (void)FileActions::move(some, QUrl::fromLocalFile(folders.at(random.bounded(12) == 0 ? folders.size() - 1
                                                                                                 : random.bounded(2))));
            break;
        case 5:
            if (!some.isEmpty())
                (void)FileActions::renameTo(some.first(), kNamePool.at(random.bounded(kNamePool.size())), nullptr);
            break;
        case 6:
            ScreenshotNames::cleanUpNames(some);
            break;
        default:
            (void)FileActions::trash(some, *trash);
        }
        return {};
    }

private Q_SLOTS:
    void noBytesAreEverLostOrOverwritten()
    {
        // Most folders live in memory (/dev/shm) when it is a file system of
        // its own, so syncing to disk does not dominate the run; one folder
        // on the ordinary temporary folder makes moves cross file systems.
        const QString shm = "/dev/shm";
        const bool split = QFileInfo(shm).isWritable() && deviceOf(shm) != deviceOf(QDir::tempPath());
        const QString mainTemplate = (split ? shm : QDir::tempPath()) + "/brindlewick-test-XXXXXX";
        const auto other = split ? std::make_unique<QTemporaryDir>() : nullptr;
        int crossDevice = 0;

        for (int sequence = 0; sequence < 400; ++sequence) {
            QTemporaryDir dir(mainTemplate);
            const QString otherRoot = other ? other->path() + QLatin1Char('/') + QString::number(sequence) : QString();
            folders = {dir.filePath("A"), dir.filePath("A/B")};
            roots = {dir.path()};
            if (other) {
                folders.append(otherRoot + "/C");
                roots.append(otherRoot);
            }
            for (const QString &folder : folders)
                QDir().mkpath(folder);
            trash = std::make_unique<FreedesktopTrash>(dir.filePath("Trash"), [otherRoot](const QString &p) {
                return !otherRoot.isEmpty() && p.startsWith(otherRoot) ? otherRoot : "/";
            });
            for (int i = 0; i < 6; ++i)
                makeFile(folders.at(random.bounded(2)));

            for (int s = 0; s < 8; ++s) {
                QStringList files;
                const Contents before = snapshot(&files);
                const QList<QUrl> written = step(files);
                const std::optional<Contents> added = ::added(snapshot(), before);
                QVERIFY2(added, qPrintable(QStringLiteral("bytes lost at step %1").arg(steps)));
                Contents reported;
                for (const QUrl &url : written)
                    ++reported[readAll(url.toLocalFile())];
                QCOMPARE(*added, reported);
            }
            if (other) {
                QDirIterator it(otherRoot + "/C", QDir::Files);
                crossDevice += it.hasNext() ? 1 : 0;
            }
        }
        if (other)
            QVERIFY(crossDevice > 0);
    }
};

QTEST_MAIN(TestFileProperty)
#include "test_fileproperty.moc"
