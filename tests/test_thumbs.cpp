#include "codec/pngrows.h"
#include "meta/thumbdiskcache.h"
#include "meta/thumbs.h"
#include "platform/tesseractrecognizer.h"
#include "support/badimages.h"
#include "support/colourimages.h"
#include "support/files.h"
#include "support/sandbox.h"

#include <QRandomGenerator>
#include <QTest>

using TestFiles::setMtime;
using TestFiles::writeImage;

namespace {

// Asks and waits for the answer, which may come at once (`atOnce`) or later.
QImage loadAndWait(Thumbs &thumbs, const QUrl &file, qreal size, qreal dpr = 1, bool *atOnce = nullptr)
{
    std::optional<QImage> result;
    thumbs.request(file, size, dpr, &thumbs, [&](const QImage &image) { result = image; });
    if (atOnce)
        *atOnce = result && !result->isNull();
    if (!QTest::qWaitFor([&] { return result.has_value(); }, 10000))
        qFatal("no answer for %s", qPrintable(file.toLocalFile()));
    return *result;
}

// A PNG made by hand: random filtered bytes under each row filter in turn,
// so the pixels are whatever unfiltering makes of them and Qt's reader is
// the reference. The zlib stream is split
// over IDAT chunks of 1000 bytes; `filters` over 5 makes rows with filters
// that do not exist, `extra` rows run past the image.
QByteArray filteredPng(int width, int height, int channels, quint32 seed, int filters = 5, int extra = 0)
{
    QRandomGenerator random(seed);
    const int stride = width * channels + 1;
    QByteArray rows((height + extra) * stride, '\0');
    for (int y = 0; y < height + extra; ++y) {
        rows[y * stride] = char(y % filters);
        for (int i = 1; i < stride; ++i)
            rows[y * stride + i] = char(random.generate());
    }
    return PngBytes::file(PngBytes::head(quint32(width), quint32(height), 8, channels == 4 ? 6 : 2),
                          PngBytes::deflated(rows), 1000);
}

// Whether our own row reader takes the file (rather than leaving it to libspng).
bool rowsOpen(const QString &path)
{
    std::unique_ptr<FILE, int (*)(FILE *)> file(std::fopen(QFile::encodeName(path).constData(), "rb"), std::fclose);
    PngRows::Header header;
    PngRows::Rows rows;
    return PngRows::readHeader(file.get(), header) == PngRows::Status::Ready
           && rows.open(file.get(), header) == PngRows::Status::Ready;
}

QStringList entries(const QString &dir) { return QDir(dir).entryList({"*.thumb"}, QDir::Files); }

} // namespace

class TestThumbs : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void makesUprightThumbnailsAtSizeStepsForTheScreen()
    {
        Sandbox box;
        Thumbs thumbs(nullptr);
        const QUrl big = writeImage(box.path("big.png"), {4000, 3000}, Qt::red);

        // 300 pt on a 2x screen is 600 px, rounded up to the 768 step.
        const QImage cell = loadAndWait(thumbs, big, 300, 2);
        bool atOnce = false;
        loadAndWait(thumbs, big, 300, 2, &atOnce);
        QVERIFY(cell.size() == QSize(768, 576) && cell.devicePixelRatio() == 2.0 && atOnce);
        // Zooming out is served by what is there; zooming in makes a larger one.
        QVERIFY(thumbs.cached(big, 200, 2).size() == QSize(768, 576) && thumbs.cached(big, 600, 2).isNull());
        QCOMPARE(loadAndWait(thumbs, big, 600, 2).size(), QSize(1536, 1152));

        // Small images are not blown up.
        QCOMPARE(loadAndWait(thumbs, writeImage(box.path("small.png"), {120, 80}, Qt::blue), 100).size(),
                 QSize(120, 80));
    }

    void shrinkingAveragesDetailAndKeepsTransparentEdgesTheirColour()
    {
        Sandbox box;
        // Fine detail averages out instead of aliasing, and half-transparent
        // edges keep their colour: averaged premultiplied (pixel() answers
        // premultiplied here, so full red is red equal to alpha), where
        // averaging straight colours darkens red next to transparency.
        const QRgb pattern[2][2] = {{qRgb(255, 255, 255), qRgb(0, 0, 0)}, {qRgba(0, 0, 0, 0), qRgba(255, 0, 0, 255)}};
        QImage detail(400, 400, QImage::Format_ARGB32);
        for (int y = 0; y < 400; ++y)
            for (int x = 0; x < 400; ++x)
                detail.setPixel(x, y, pattern[x >= 200][(x + y) % 2]);
        QVERIFY(detail.save(box.path("detail.png")));
        const QImage small = *Thumbs::makeThumbnail(QUrl::fromLocalFile(box.path("detail.png")), 100);
        const QRgb gray = small.pixel(20, 50), pink = small.pixel(80, 50);
        QVERIFY2(small.format() == QImage::Format_ARGB32_Premultiplied && qAbs(qRed(gray) - 128) <= 2
                     && qAlpha(gray) == 255 && qRed(pink) == qAlpha(pink) && qGreen(pink) == 0
                     && qAbs(qAlpha(pink) - 128) <= 2,
                 qPrintable(QString::asprintf("%08x %08x", gray, pink)));
    }

    // Our row reader under every row filter, and libspng for the less common
    // kinds (palettes, grey, 16 bits, interlacing), read as Qt's reader reads
    // them, for thumbnails and for recognition alike.
    void decodesAsQtReadsIt()
    {
        Sandbox box;
        QList<std::pair<QString, int>> files; // and how far a channel may differ
        // Odd widths put a 3-byte pixel's 4-byte loads at row ends; 1 pixel
        // wide leaves no left neighbour at all; wide ones are inflated in
        // several batches of rows.
        for (const auto &[width, height, channels] :
             {std::tuple{37, 23, 3}, {53, 20, 4}, {1, 9, 3}, {1, 9, 4}, {1501, 70, 3}, {1203, 50, 4}}) {
            const QString path = box.path(QStringLiteral("f%1x%2.png").arg(width).arg(channels));
            Sandbox::writeFile(path, filteredPng(width, height, channels, quint32(width)));
            QVERIFY(rowsOpen(path));
            files.append({path, channels == 4 ? 1 : 0}); // premultiplying may round the other way
        }
        QImage colours(37, 29, QImage::Format_ARGB32);
        for (int y = 0; y < colours.height(); ++y)
            for (int x = 0; x < colours.width(); ++x)
                colours.setPixel(x, y, qRgba(x * 7, y * 9, (x * y) % 256, 255 - x * 3));
        const QImage opaque = colours.convertToFormat(QImage::Format_RGB32);
        for (const auto &[name, image] : {std::pair{"palette.png", opaque.convertToFormat(QImage::Format_Indexed8)},
                                          {"grey.png", opaque.convertToFormat(QImage::Format_Grayscale8)},
                                          {"grey16.png", opaque.convertToFormat(QImage::Format_Grayscale16)},
                                          {"rgba16.png", colours.convertToFormat(QImage::Format_RGBA64)}}) {
            QVERIFY(image.save(box.path(name)));
            files.append({box.path(name), 2}); // 16 bits come down to 8 rounded by one, truncated by the other
        }

        TesseractOptions viaQt;
        viaQt.readPngRows = false;
        for (const auto &[path, slack] : files) {
            const std::optional<QImage> ours = Thumbs::makeThumbnail(QUrl::fromLocalFile(path), 2000);
            const std::optional<QImage> gray = readGrayForRecognition(path, {}),
                                        viaQtGray = readGrayForRecognition(path, viaQt);
            const QImage reference = QImage(path).convertToFormat(QImage::Format_ARGB32_Premultiplied);
            QVERIFY2(ours && gray && viaQtGray && ours->size() == reference.size(), qPrintable(path));
            for (int y = 0; y < ours->height(); ++y)
                for (int x = 0; x < ours->width(); ++x) {
                    const QRgb a = ours->pixel(x, y), b = reference.pixel(x, y);
                    QVERIFY2(ColourImages::near(a, b, slack, slack ? 1 : 0)
                                 && qAbs(qGray(gray->pixel(x, y)) - qGray(viaQtGray->pixel(x, y))) <= slack / 2,
                             qPrintable(QString::asprintf("%s at %d,%d: %08x for %08x", qPrintable(path), x, y, a, b)));
                }
        }
    }

    void damagedImageDataFailsCleanly()
    {
        Sandbox box;
        const QByteArray good = filteredPng(300, 200, 3, 7);
        const auto fails = [&](const QString &name, const QByteArray &bytes) {
            const QString path = box.path(name);
            Sandbox::writeFile(path, bytes);
            return !Thumbs::makeThumbnail(QUrl::fromLocalFile(path), 100).has_value();
        };
        const auto flipped = [&](qsizetype at) {
            QByteArray bytes = good;
            bytes[at] = char(bytes[at] ^ 0x10);
            return bytes;
        };
        // One byte changed in the middle: a middle chunk's CRC catches it.
        QVERIFY(fails("flipped.png", flipped(good.size() / 2)));
        // The same in the stream's checksum, past the last row's data, before
        // IEND and the chunk's CRC: only the last chunk's CRC sees it. (A
        // file cut short is among the bad files below.)
        QVERIFY(fails("tail.png", flipped(good.size() - 12 - 4 - 1)));
        // The data ends before the last row, with or without what follows it.
        QByteArray tall = good;
        qToBigEndian<quint32>(201, tall.data() + 20);
        qToBigEndian<quint32>(PngBytes::crc32(tall.mid(12, 17)), tall.data() + 29);
        QVERIFY(fails("short.png", tall));
        QVERIFY(fails("filter.png", filteredPng(300, 40, 3, 7, 6)));
        // More rows than the header says: not damage to other readers.
        QVERIFY(!fails("long.png", filteredPng(300, 40, 3, 7, 5, 2)));
    }

    void badFilesGiveNothingAndChangedFilesAreMadeAgain()
    {
        Sandbox box;
        const QString diskDir = box.path("cache");
        Thumbs thumbs(std::make_shared<ThumbDiskCache>(diskDir));
        const QStringList bad = BadImages::write(box.path("bad")) << box.path("missing.png");
        for (const QString &path : bad)
            QVERIFY2(loadAndWait(thumbs, QUrl::fromLocalFile(path), 600).isNull(), qPrintable(path));
        QVERIFY(thumbs.cachedCount() == 0 && entries(diskDir).isEmpty());

        // Not cached: once the file is a real image, the next load makes it;
        // once edited, it is made again.
        const QString path = box.path("bad/notes.png");
        const QUrl file = writeImage(path, {800, 500}, Qt::red);
        setMtime(path, 1700000000);
        QVERIFY(qRed(loadAndWait(thumbs, file, 256).pixel(5, 5)) > 200);
        writeImage(path, {800, 500}, Qt::blue);
        setMtime(path, 1700000100);
        bool atOnce = true;
        QVERIFY(qBlue(loadAndWait(thumbs, file, 256, 1, &atOnce).pixel(5, 5)) > 200 && !atOnce);
    }

    void theLeastRecentlyUsedGoFirst()
    {
        Sandbox box;
        Thumbs thumbs(nullptr);
        QList<QUrl> files;
        for (int i = 0; i < 4; ++i)
            files << writeImage(box.path(QStringLiteral("f%1.png").arg(i)), {10, 10}, Qt::gray);
        const qint64 one = loadAndWait(thumbs, files[0], 100).sizeInBytes();
        thumbs.setByteBudget(3 * one);
        for (const int i : {1, 2, 0, 3}) // 0 again is the most recently used
            QVERIFY(!loadAndWait(thumbs, files[i], 100).isNull());
        QVERIFY(thumbs.cachedCount() == 3 && thumbs.cachedBytes() == 3 * one);
        QVERIFY(thumbs.cached(files[1], 100, 1).isNull() && !thumbs.cached(files[0], 100, 1).isNull());
    }

    void servesWhatIsInViewFirstAndOnlyWhoStillWaits()
    {
        Sandbox box;
        Thumbs thumbs(nullptr);
        thumbs.pool().setMaxThreadCount(1);
        auto gone = std::make_unique<QObject>();
        QStringList order;
        QHash<QString, Thumbs::Ticket> tickets;
        const auto ask = [&](const QString &name, QObject *context) {
            const QUrl file = writeImage(box.path(name + ".png"), {300, 200}, Qt::red);
            tickets[name] = thumbs.request(file, 100, 1, context, [&order, name](const QImage &image) {
                order << (image.isNull() ? "none" : name);
            });
        };
        for (const char *name : {"a", "b", "c", "d", "e"})
            ask(QLatin1String(name), &thumbs);
        const Thumbs::Ticket b = tickets["b"];
        ask("b", &thumbs); // asked again: one answer, and now the most recent
        QCOMPARE(tickets["b"], b);
        ask("f", gone.get());
        gone.reset(); // a requester that is gone gets nothing, and its work is dropped
        thumbs.cancel(tickets["c"]);
        QCOMPARE(thumbs.pendingCount(), 4);
        thumbs.prioritize({QUrl::fromLocalFile(box.path("e.png")), QUrl::fromLocalFile(box.path("d.png"))});
        QTRY_COMPARE(thumbs.pendingCount(), 0);
        // "a" was already decoding when the others were asked for.
        QCOMPARE(order, (QStringList{"a", "e", "d", "b"}));
    }

    void diskCacheServesUnchangedFilesAndSurvivesDamage()
    {
        Sandbox box;
        const QString diskDir = box.path("cache"), path = box.path("shot.png");
        const QUrl file = writeImage(path, {800, 500}, Qt::red);
        setMtime(path, 1700000000);
        const auto load = [&] {
            Thumbs thumbs(std::make_shared<ThumbDiskCache>(diskDir));
            return loadAndWait(thumbs, file, 400);
        };
        QVERIFY(!load().isNull() && entries(diskDir).size() == 1);

        // Same modification time and size: the next run uses the entry without
        // decoding the file, which we prove by making the file unreadable.
        Sandbox::writeFile(path, QByteArray(QFileInfo(path).size(), 'x'));
        setMtime(path, 1700000000);
        const QImage image = load();
        QVERIFY(image.size() == QSize(512, 320) && qRed(image.pixel(200, 125)) > 200); // the 512 step
        // A changed file is never shown stale.
        setMtime(path, 1700000100);
        QVERIFY(load().isNull());

        // A damaged entry counts as missing and is written again.
        writeImage(path, {800, 500}, Qt::blue);
        const ThumbDiskCache::Stamp stamp = *ThumbDiskCache::stampOf(path);
        ThumbDiskCache disk(diskDir);
        for (int damaged = 0; damaged < 2; ++damaged) {
            QVERIFY(qBlue(load().pixel(10, 10)) > 200 && disk.read(path, 512, stamp));
            QByteArray bytes = TestFiles::readAll(disk.entryPath(path, 512));
            bytes[bytes.size() - 100] = char(bytes[bytes.size() - 100] ^ 0xff);
            Sandbox::writeFile(disk.entryPath(path, 512), bytes);
            QVERIFY(!disk.read(path, 512, stamp));
        }
    }

    void diskCacheTrimsTheLeastRecentlyUsed()
    {
        Sandbox box;
        const QString diskDir = box.path("cache");
        ThumbDiskCache disk(diskDir);
        const QImage image = QImage::fromData(BadImages::encoded("PNG"));
        const ThumbDiskCache::Stamp stamp{1, 1};
        const auto shot = [](int i) { return QStringLiteral("/shot%1.png").arg(i); };
        for (int i = 0; i < 12; ++i) {
            disk.write(shot(i), 200, stamp, image);
            setMtime(disk.entryPath(shot(i), 200), 1700000000 + i);
        }
        QVERIFY(disk.read(shot(0), 200, stamp)); // used again just now
        ThumbDiskCache(diskDir, 8 * QFileInfo(disk.entryPath(shot(0), 200)).size()).trim();
        QVERIFY(entries(diskDir).size() <= 8 && !disk.read(shot(1), 200, stamp));
        QVERIFY(disk.read(shot(0), 200, stamp) && disk.read(shot(11), 200, stamp));
    }
};

QTEST_MAIN(TestThumbs)
#include "test_thumbs.moc"
