#include "meta/sharedthumbs.h"
#include "meta/thumbs.h"
#include "support/apprun.h"
#include "support/files.h"
#include "support/sandbox.h"

#include <QDirIterator>
#include <QTest>

using TestFiles::setMtime;
using TestFiles::writeImage;

namespace {

// A thumbnail of `file` from a fresh service that shares with the desktop's
// thumbnails under `root` (and keeps its own in `ours` when given).
QImage loadAndWait(const QString &root, const QUrl &file, qreal size, const QString &ours = {})
{
    Thumbs thumbs(ours.isEmpty() ? nullptr : std::make_shared<ThumbDiskCache>(ours),
                  std::make_shared<SharedThumbs>(root));
    std::optional<QImage> result;
    thumbs.request(file, size, 1, &thumbs, [&](const QImage &image) { result = image; });
    if (!QTest::qWaitFor([&] { return result.has_value(); }, 10000))
        qFatal("no answer for %s", qPrintable(file.toLocalFile()));
    return *result;
}

int modeOf(const QString &path) { return int(QFile::permissions(path) & 0x0777); } // as 0x0rwx, User Group Other

bool isGreen(QRgb pixel) { return qGreen(pixel) > 100 && qRed(pixel) < 60; }
bool isRed(QRgb pixel) { return qRed(pixel) > 200 && qGreen(pixel) < 60; }

QStringList filesUnder(const QString &dir)
{
    QStringList found;
    for (QDirIterator it(dir, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories); it.hasNext();)
        found << it.next();
    found.sort();
    return found;
}

} // namespace

class TestSharedThumbs : public QObject
{
    Q_OBJECT

    // The GNOME desktop's thumbnail factory: what file managers write and read with.
    // Its answer; empty when it failed (what it said is logged).
    QString factory(const QStringList &args)
    {
        // Debian's own interpreter, the one python3-gi is installed for (a
        // python3 earlier on PATH may be another).
        const QStringList arguments = QStringList{QFINDTESTDATA("support/desktopthumbs.py")} + args;
        const Ran ran = runProcess(QProcessEnvironment::systemEnvironment(), "/usr/bin/python3", arguments, 30000);
        if (ran.status != 0)
            qWarning() << "the thumbnail factory failed:" << ran.err;
        return ran.status == 0 ? QString::fromUtf8(ran.out).trimmed() : QString();
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (factory({"uri", "/probe"}).isEmpty())
            QSKIP("no desktop thumbnail factory (python3-gi and gir1.2-gnomedesktop-3.0; ./setup.sh test)");
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
        const QString green = writeImage(box.path("green.png"), {2000, 1250}, QColor(0, 160, 0)).toLocalFile();
        const QString uri = factory({"uri", path});
        QCOMPARE(uri.toUtf8(), SharedThumbs::uriOf(path));
        factory({"save", "large", green, uri, "1700000000"});
        SharedThumbs shared(root);
        QVERIFY(QFile::exists(shared.entryPath(path, SharedThumbs::levels[1])));
        const QString ours = box.path("ours");
        const QImage cell = loadAndWait(root, file, 200, ours); // the 256 step: the large level serves it
        QVERIFY(cell.size() == QSize(256, 160) && isGreen(cell.pixel(100, 80)));
        // Too small for a larger cell, which is decoded.
        QVERIFY(isRed(loadAndWait(root, file, 500, ours).pixel(100, 80)));
        // What it served is kept in our own cache too, which reads faster.
        const auto kept = ThumbDiskCache(ours).read(path, 256, *ThumbDiskCache::stampOf(path));
        QVERIFY(kept && isGreen(kept->pixel(100, 80)));
        // Edited since: the thumbnail is stale, the file is decoded and the
        // entry replaced with one the factory accepts for the new time.
        setMtime(path, 1700000100);
        QVERIFY(isRed(loadAndWait(root, file, 200).pixel(100, 80)));
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
        // Large, reduced from the 384 step, and xx-large.
        QVERIFY(!loadAndWait(root, file, 384).isNull() && !loadAndWait(root, file, 1536).isNull());
        // The desktop's own reader takes them.
        const QString uri = factory({"uri", path});
        const QString large = factory({"lookup", "large", uri, "1700000000"});
        const QString xxLarge = factory({"lookup", "xx-large", uri, "1700000000"});
        QCOMPARE(shared.entryPath(path, SharedThumbs::levels[1]), large);
        QCOMPARE(filesUnder(root), (QStringList{large, xxLarge})); // no temporary files left
        for (const QString &made : {root, root + "/large", root + "/xx-large", large})
            QCOMPARE(modeOf(made), made == large ? 0x600 : 0x700);
        QCOMPARE(SharedThumbs::readHead(large)->texts.value("Thumb::Size").toLongLong(), QFileInfo(path).size());
        QVERIFY(QImage(large).size() == QSize(256, 128) && QImage(xxLarge).size() == QSize(1024, 512));

        // A valid entry someone else made is left as it is.
        factory({"save", "x-large", writeImage(box.path("green.png"), {800, 400}, Qt::green).toLocalFile(), uri,
                 "1700000000"});
        const QString xLarge = factory({"lookup", "x-large", uri, "1700000000"});
        const QByteArray theirs = TestFiles::readAll(xLarge);
        shared.write(path, *ThumbDiskCache::stampOf(path), QImage(xxLarge).scaled(512, 256), false);
        QCOMPARE(TestFiles::readAll(xLarge), theirs);
    }

    void failuresAreRecordedAndTheThumbnailFolderIsLeftAlone()
    {
        Sandbox box;
        const QString root = SharedThumbs::defaultRoot();
        SharedThumbs shared(root);
        const QString bad = box.path("broken.png");
        Sandbox::writeFile(bad, QByteArray("\x89PNG\r\n\x1a\n") + QByteArray(500, 'x'));
        QVERIFY(loadAndWait(root, QUrl::fromLocalFile(bad), 256).isNull());
        QCOMPARE(filesUnder(root),
                 QStringList{root + "/fail/brindlewick/" + QFileInfo(shared.failPath(bad)).fileName()});
        QVERIFY(shared.failed(bad, *ThumbDiskCache::stampOf(bad)) && modeOf(shared.failPath(bad)) == 0x600);

        // A recorded failure is not decoded again until the file changes.
        const QString good = box.path("good.png");
        const QUrl goodFile = writeImage(good, {400, 300}, Qt::red);
        setMtime(good, 1700000000);
        shared.writeFailure(good, *ThumbDiskCache::stampOf(good));
        QVERIFY(loadAndWait(root, goodFile, 256).isNull());
        setMtime(good, 1700000001);
        QVERIFY(isRed(loadAndWait(root, goodFile, 256).pixel(10, 10)));
    }
};

QTEST_MAIN(TestSharedThumbs)
#include "test_sharedthumbs.moc"
