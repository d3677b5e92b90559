#include "meta/sharedthumbs.h"
#include "meta/thumbs.h"
#include "support/files.h"
#include "support/sandbox.h"

#include <QProcess>
#include <QTest>

#include <sys/stat.h>

using TestFiles::setMtime;
using TestFiles::writeImage;

namespace {

// Debian's own interpreter, the one python3-gi is installed for (a python3
// earlier on PATH may be another).
const char python[] = "/usr/bin/python3";

QImage loadAndWait(Thumbs &thumbs, const QUrl &file, qreal size)
{
    bool answered = false;
    QImage result;
    thumbs.request(file, size, 1, &thumbs, [&](const QImage &image) {
        answered = true;
        result = image;
    });
    if (!QTest::qWaitFor([&] { return answered; }, 10000))
        qFatal("no answer for %s", qPrintable(file.toLocalFile()));
    return result;
}

int modeOf(const QString &path)
{
    struct stat st;
    return ::stat(QFile::encodeName(path).constData(), &st) == 0 ? int(st.st_mode & 07777) : -1;
}

bool isGreen(QRgb pixel) { return qGreen(pixel) > 100 && qRed(pixel) < 60; }
bool isRed(QRgb pixel) { return qRed(pixel) > 200 && qGreen(pixel) < 60; }

QStringList filesUnder(const QString &dir)
{
    QStringList found;
    const QFileInfoList infos = QDir(dir).entryInfoList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden);
    for (const QFileInfo &info : infos)
        found += info.isDir() ? filesUnder(info.filePath()) : QStringList{info.filePath()};
    return found;
}

} // namespace

class TestSharedThumbs : public QObject
{
    Q_OBJECT

    // The GNOME desktop's thumbnail factory: what file managers write and read with.
    QString factory(const QStringList &args)
    {
        QProcess process;
        process.start(QString::fromLatin1(python), QStringList{m_script} + args);
        if (!process.waitForFinished(30000) || process.exitCode() != 0)
            qWarning() << "the thumbnail factory failed:" << process.readAllStandardError();
        return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
    }

    QString m_script;

private Q_SLOTS:
    void initTestCase()
    {
        m_script = QFINDTESTDATA("support/desktopthumbs.py");
        QProcess probe;
        probe.start(QString::fromLatin1(python), {m_script, "uri", "/probe"});
        if (!probe.waitForFinished(30000) || probe.exitCode() != 0)
            QSKIP("no desktop thumbnail factory (python3-gi and gir1.2-gnomedesktop-3.0; ./setup.sh test installs "
                  "them)");
    }

    void readsTheDesktopsThumbnailUntilTheFileChanges()
    {
        Sandbox box;
        const QString root = SharedThumbs::defaultRoot();
        const QString path = box.path("Pictures/a shot #1;é.png");
        const QUrl file = writeImage(path, {2000, 1250}, Qt::red);
        setMtime(path, 1700000000);
        // The factory thumbnails a green picture and files it as the red
        // screenshot's: green cells prove the thumbnail was read, not the file.
        const QString green = box.path("green.png");
        writeImage(green, {2000, 1250}, QColor(0, 160, 0));
        const QString uri = factory({"uri", path});
        QCOMPARE(uri.toUtf8(), SharedThumbs::uriOf(path));
        factory({"save", "large", green, uri, "1700000000"});
        SharedThumbs shared(root);
        QVERIFY(QFile::exists(shared.entryPath(path, SharedThumbs::levels[1])));
        const QString ours = box.path("ours");
        {
            Thumbs thumbs(std::make_shared<ThumbDiskCache>(ours), std::make_shared<SharedThumbs>(root));
            const QImage cell = loadAndWait(thumbs, file, 200); // the 256 step: the large level serves it
            QCOMPARE(cell.size(), QSize(256, 160));
            QVERIFY(isGreen(cell.pixel(100, 80)));
            // Too small for a larger cell, which is decoded.
            QVERIFY(isRed(loadAndWait(thumbs, file, 500).pixel(100, 80)));
        }
        // What it served is kept in our own cache too, which reads faster.
        const auto kept = ThumbDiskCache(ours).read(path, 256, *ThumbDiskCache::stampOf(path));
        QVERIFY(kept && isGreen(kept->pixel(100, 80)));
        // Edited since: the thumbnail is stale, the file is decoded and the
        // entry replaced with one the factory accepts for the new time.
        setMtime(path, 1700000100);
        {
            Thumbs thumbs(nullptr, std::make_shared<SharedThumbs>(root));
            QVERIFY(isRed(loadAndWait(thumbs, file, 200).pixel(100, 80)));
        }
        QCOMPARE(factory({"lookup", "large", uri, "1700000100"}), shared.entryPath(path, SharedThumbs::levels[1]));
        QVERIFY(factory({"lookup", "large", uri, "1700000000"}).isEmpty());
    }

    void writesWhatTheDesktopAccepts()
    {
        Sandbox box;
        const QString root = SharedThumbs::defaultRoot();
        SharedThumbs shared(root);
        const QString path = box.path("Pictures/50% [done] it's.png");
        const QUrl file = writeImage(path, {3000, 1500}, Qt::red);
        setMtime(path, 1700000000);
        {
            Thumbs thumbs(nullptr, std::make_shared<SharedThumbs>(root));
            QVERIFY(!loadAndWait(thumbs, file, 384).isNull());  // large, reduced from the 384 step
            QVERIFY(!loadAndWait(thumbs, file, 1536).isNull()); // xx-large
        }
        // The desktop's own reader takes them.
        const QString uri = factory({"uri", path});
        const QString large = factory({"lookup", "large", uri, "1700000000"});
        const QString xxLarge = factory({"lookup", "xx-large", uri, "1700000000"});
        QCOMPARE(shared.entryPath(path, SharedThumbs::levels[1]), large);
        QCOMPARE(filesUnder(root), (QStringList{large, xxLarge})); // no temporary files left
        for (const QString &made : {root, root + "/large", root + "/xx-large", large})
            QCOMPARE(modeOf(made), made == large ? 0600 : 0700);
        QCOMPARE(SharedThumbs::readHead(large)->texts.value("Thumb::Size").toLongLong(), QFileInfo(path).size());
        QCOMPARE(QImage(large).size(), QSize(256, 128));
        QCOMPARE(QImage(xxLarge).size(), QSize(1024, 512));

        // A valid entry someone else made is left as it is.
        factory({"save", "x-large", writeImage(box.path("green.png"), {800, 400}, Qt::green).toLocalFile(), uri,
                 "1700000000"});
        const QString xLarge = factory({"lookup", "x-large", uri, "1700000000"});
        const QByteArray theirs = TestFiles::readAll(xLarge);
        QImage ours(512, 256, QImage::Format_RGB32);
        ours.fill(Qt::red);
        shared.write(path, *ThumbDiskCache::stampOf(path), ours, false);
        QCOMPARE(TestFiles::readAll(xLarge), theirs);
    }

    void failuresAreRecordedAndTheThumbnailFolderIsLeftAlone()
    {
        Sandbox box;
        const QString root = SharedThumbs::defaultRoot();
        SharedThumbs shared(root);
        const QString bad = box.path("broken.png");
        Sandbox::writeFile(bad, QByteArray("\x89PNG\r\n\x1a\n") + QByteArray(500, 'x'));
        {
            Thumbs thumbs(nullptr, std::make_shared<SharedThumbs>(root));
            QVERIFY(loadAndWait(thumbs, QUrl::fromLocalFile(bad), 256).isNull());
        }
        QCOMPARE(filesUnder(root),
                 QStringList{root + "/fail/brindlewick/" + QFileInfo(shared.failPath(bad)).fileName()});
        QVERIFY(shared.failed(bad, *ThumbDiskCache::stampOf(bad)));
        QCOMPARE(modeOf(shared.failPath(bad)), 0600);

        // A recorded failure is not decoded again until the file changes.
        const QString good = box.path("good.png");
        const QUrl goodFile = writeImage(good, {400, 300}, Qt::red);
        setMtime(good, 1700000000);
        shared.writeFailure(good, *ThumbDiskCache::stampOf(good));
        {
            Thumbs thumbs(nullptr, std::make_shared<SharedThumbs>(root));
            QVERIFY(loadAndWait(thumbs, goodFile, 256).isNull());
        }
        setMtime(good, 1700000001);
        {
            Thumbs thumbs(nullptr, std::make_shared<SharedThumbs>(root));
            QVERIFY(isRed(loadAndWait(thumbs, goodFile, 256).pixel(10, 10)));
        }

        // Images inside the thumbnail folder are shown but get no thumbnail.
        const QStringList before = filesUnder(root);
        const QString inside = root + "/large/picture.png";
        const QUrl insideFile = writeImage(inside, {600, 400}, Qt::red);
        {
            Thumbs thumbs(nullptr, std::make_shared<SharedThumbs>(root));
            QVERIFY(!loadAndWait(thumbs, insideFile, 256).isNull());
        }
        QCOMPARE(filesUnder(root).size(), before.size() + 1);
        QVERIFY(!shared.covers(inside));
    }
};

QTEST_MAIN(TestSharedThumbs)
#include "test_sharedthumbs.moc"
