// A file whose name is not UTF-8 ("shot-\xFF.png") beside the file its lossy
// text spells ("shot-\uFFFD.png"): the shelf shows both, and everything done
// to one reaches that one only.

#include "actions/fileactions.h"
#include "files/localpaths.h"
#include "meta/metastore.h"
#include "meta/thumbs.h"
#include "model/listing.h"
#include "platform/applauncher.h"
#include "platform/trash.h"
#include "support/colourimages.h"
#include "support/sandbox.h"

#include <QBuffer>
#include <QGuiApplication>
#include <QImage>
#include <QTest>

#include <fcntl.h>
#include <ftw.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const QString lossyName = QStringLiteral("shot-\uFFFD.png");

bool exists(const QByteArray &path)
{
    struct stat st;
    return ::lstat(path.constData(), &st) == 0;
}

QByteArray readBytes(const QByteArray &path)
{
    const int fd = ::open(path.constData(), O_RDONLY | O_CLOEXEC);
    QFile file;
    if (fd < 0 || !file.open(fd, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle))
        return {};
    return file.readAll();
}

void writeBytes(const QByteArray &path, const QByteArray &bytes)
{
    const int fd = ::open(path.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    QVERIFY(fd >= 0);
    QCOMPARE(::write(fd, bytes.constData(), size_t(bytes.size())), ssize_t(bytes.size()));
    ::close(fd);
}

QByteArray png(Qt::GlobalColor colour, int side)
{
    QImage image(side, side, QImage::Format_RGB32);
    image.fill(colour);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

// Whether the picture at `path`, or `image`, is all `colour`.
bool shows(const std::optional<QImage> &image, Qt::GlobalColor colour)
{
    return ColourImages::shows(image.value_or(QImage()), colour);
}
bool shows(const QByteArray &path, Qt::GlobalColor colour) { return shows(QImage::fromData(readBytes(path)), colour); }

// QTemporaryDir cannot remove a name it cannot spell; this can.
void removeTree(const QString &root)
{
    ::nftw(
        QFile::encodeName(root).constData(),
        [](const char *path, const struct stat *, int, struct FTW *) { return ::remove(path); }, 16,
        FTW_DEPTH | FTW_PHYS);
}

QByteArray bytesOf(const QUrl &url) { return LocalPaths::pathBytes(LocalPaths::localPath(url)); }

} // namespace

class TestByteNames : public QObject
{
    Q_OBJECT

    std::unique_ptr<Sandbox> box;
    QString home;
    QByteArray raw, twin;
    QUrl rawUrl, twinUrl;

private Q_SLOTS:
    void init()
    {
        box = std::make_unique<Sandbox>();
        home = box->home();
        raw = QFile::encodeName(home) + "/shot-\xFF.png";
        twin = QFile::encodeName(home) + "/shot-\xEF\xBF\xBD.png";
        writeBytes(raw, png(Qt::red, 8));
        writeBytes(twin, png(Qt::blue, 8));
        const QList<QUrl> listed = listImages(home, 400);
        for (const QUrl &url : listed)
            (bytesOf(url) == raw ? rawUrl : twinUrl) = url;
        QCOMPARE(listed.size(), 2);
        QVERIFY(!rawUrl.isEmpty() && !twinUrl.isEmpty());
    }
    void cleanup()
    {
        removeTree(box->path());
        box.reset();
    }

    void listedShownDrawnAndRecordedAsItself()
    {
        QCOMPARE(rawUrl.fileName(), lossyName);
        QCOMPARE(twinUrl.fileName(), lossyName);
        QCOMPARE(countImages(home, 100), qint64(2));

        QVERIFY(shows(Thumbs::makeThumbnail(rawUrl, 4), Qt::red) && shows(Thumbs::makeThumbnail(twinUrl, 4), Qt::blue));

        // Each keeps its own record, under a key that survives the file.
        const QString metaFile = home + "/meta.json";
        {
            MetaStore store(metaFile);
            QTRY_VERIFY(store.isLoaded());
            store.update(rawUrl, [](FileMeta &m) { m.app = "Raw"; });
            store.update(twinUrl, [](FileMeta &m) { m.app = "Twin"; });
            QVERIFY(store.flush());
        }
        MetaStore again(metaFile);
        QTRY_VERIFY(again.isLoaded());
        QCOMPARE(MetaStore::recordName(rawUrl), "/shot-%FF.png");
        QVERIFY(again.meta(rawUrl)->app == "Raw" && again.meta(twinUrl)->app == "Twin");
    }

    void everyActionReachesOnlyTheFileShown()
    {
        const QByteArray base = QFile::encodeName(home);
        // Confirming the name as shown changes nothing (its text is the twin's).
        QVERIFY(!FileActions::renameTo(rawUrl, lossyName, nullptr));

        const QList<QPair<QList<QUrl>, QByteArray>> made = {{FileActions::duplicate({rawUrl}), "/shot-\xFF copy.png"},
                                                            {FileActions::resizeHalf({rawUrl}), "/shot-\xFF @50%.png"},
                                                            {FileActions::convertToJPG({rawUrl}), "/shot-\xFF.jpg"}};
        for (const auto &[copies, name] : made) {
            QCOMPARE(copies.size(), 1);
            QCOMPARE(bytesOf(copies[0]), base + name);
            QVERIFY(shows(base + name, Qt::red));
        }
        QCOMPARE(QImage::fromData(readBytes(base + "/shot-\xFF @50%.png")).size(), QSize(4, 4));

        QVERIFY(FileActions::renameTo(made[0].first[0], "renamed.png", nullptr));
        QVERIFY(shows(base + "/renamed.png", Qt::red));
        QVERIFY(!exists(base + "/shot-\xFF copy.png"));

        QVERIFY(QDir().mkpath(home + "/Sub"));
        const FileActions::Moves moves = FileActions::move({rawUrl}, QUrl::fromLocalFile(home + "/Sub"));
        QCOMPARE(moves.size(), 1);
        QCOMPARE(bytesOf(moves[0].second), base + "/Sub/shot-\xFF.png");
        QVERIFY(shows(base + "/Sub/shot-\xFF.png", Qt::red));
        QVERIFY(!exists(raw));

        // Into the Trash under its own bytes; the info file records them
        // percent-encoded, as file managers read them back.
        const QString trashDir = qEnvironmentVariable("XDG_DATA_HOME") + "/Trash";
        FreedesktopTrash trash(trashDir, [](const QString &) { return QStringLiteral("/"); });
        QCOMPARE(FileActions::trash({moves[0].second}, trash), qint64(1));
        const QByteArray trashBytes = QFile::encodeName(trashDir);
        QVERIFY(shows(trashBytes + "/files/shot-\xFF.png", Qt::red));
        const QByteArray info = readBytes(trashBytes + "/info/shot-\xFF.png.trashinfo");
        QVERIFY2(info.contains("\nPath=" + (base + "/Sub/").toPercentEncoding("/") + "shot-%FF.png\n"), info);

        // The twin was never touched, and nothing took its name.
        QVERIFY(shows(twin, Qt::blue));
        QCOMPARE(QDir(home).entryList({QStringLiteral("*\uFFFD*")}, QDir::Files), QStringList{lossyName});
    }

    // The default application is handed the file itself: a desktop entry
    // that writes down what it was given stands in for an image viewer.
    // (GIO reads the XDG folders once: the only test here that uses it.)
    void theDefaultApplicationOpensTheFileShown()
    {
        const QString record = home + "/opened", script = home + "/viewer.sh";
        Sandbox::writeFile(script, "#!/bin/sh\nprintf '%s' \"$1\" > \"$0.part\" && mv \"$0.part\" "
                                       + QFile::encodeName(record) + "\n");
        QFile::setPermissions(script, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        const QString data = qEnvironmentVariable("XDG_DATA_HOME");
        Sandbox::writeFile(data + "/applications/viewer.desktop",
                           "[Desktop Entry]\nType=Application\nName=Viewer\nMimeType=image/png;\nExec="
                               + QFile::encodeName(script) + " %f\n");
        Sandbox::writeFile(qEnvironmentVariable("XDG_CONFIG_HOME") + "/mimeapps.list",
                           "[Default Applications]\nimage/png=viewer.desktop\n");
        makeAppLauncher()->open(rawUrl);
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(record), 10000);
        QCOMPARE(readBytes(QFile::encodeName(record)), raw);
    }
};

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("XDG_CURRENT_DESKTOP", "Test");
    QGuiApplication app(argc, argv);
    TestByteNames test;
    return QTest::qExec(&test, argc, argv);
}

#include "test_bytenames.moc"
