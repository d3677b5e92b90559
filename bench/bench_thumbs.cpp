// Thumbnails: how fast 400 screenshot PNGs (2880 x 1800) and 40 large JPEGs
// become 768 px thumbnails, single-threaded and on the pool, against
// `vipsthumbnail -s 768` over the same files in the same go; peak resident
// memory; the time to fill a first screen of 24 cells from a cold and a warm
// disk cache, and what its decoding cannot go below; the same first screen
// from the desktop's shared thumbnails;
// and the memory a 400-image folder's thumbnails take.
//
//   bench_thumbs DATA_DIR [png|jpeg]   (images are generated into DATA_DIR
//   once; naming a kind times only that kind's rates, for quick comparisons)

#include "codec/pngsource.h"
#include "meta/sharedthumbs.h"
#include "meta/thumbdiskcache.h"
#include "meta/thumbs.h"

#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QGuiApplication>
#include <QImageWriter>
#include <QPainter>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtConcurrent>

#include <isa-l/igzip_lib.h>

#include <cstdio>

namespace {

constexpr int screenshotCount = 400;
constexpr int photoCount = 40;
// One of the size steps: what a 300 pt cell asks for on a 2x screen.
constexpr int thumbSize = 768;

// Noise that deflate cannot squeeze, like a photo or wallpaper.
void paintPhoto(QImage &image, QRect area, quint32 seed)
{
    QRandomGenerator random(seed);
    const int r0 = random.bounded(256), g0 = random.bounded(256), b0 = random.bounded(256);
    for (int y = area.top(); y <= area.bottom(); ++y) {
        auto *line = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = area.left(); x <= area.right(); ++x) {
            const int n = int(random.generate() & 31);
            line[x] = qRgb((r0 + x / 12 + n) & 255, (g0 + y / 10 + n) & 255, (b0 + (x + y) / 20 + n) & 255);
        }
    }
}

QImage screenshot(int index)
{
    QImage image(2880, 1800, QImage::Format_RGB32);
    const bool dark = index % 3 == 0;
    image.fill(dark ? QColor(0x1e1e1e) : QColor(0xfafafa));
    // A third show a photo or a wallpaper, as screenshots of a desktop do.
    if (index % 3 == 1)
        paintPhoto(image, QRect(0, 0, 2880, 1800), quint32(index));
    QPainter p(&image);
    p.fillRect(QRect(200, 150, 2480, 1500), dark ? QColor(0x252526) : QColor(0xffffff));
    p.fillRect(QRect(200, 150, 2480, 72), dark ? QColor(0x333333) : QColor(0xececec));
    p.fillRect(QRect(200, 222, 440, 1428), dark ? QColor(0x2b2b2d) : QColor(0xf2f2f4));
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(26);
    p.setFont(font);
    p.setPen(dark ? QColor(0xdcdcdc) : QColor(0x1d1d1f));
    QRandomGenerator random(quint32(index) * 7919);
    for (int line = 0; line < 40; ++line) {
        QString text;
        const int words = 4 + random.bounded(9);
        for (int w = 0; w < words; ++w)
            text += QString::number(random.generate(), 36) + QLatin1Char(' ');
        p.drawText(QPoint(line < 12 ? 240 : 700, 280 + (line % 28) * 48), text);
    }
    if (index % 3 == 2)
        paintPhoto(image, QRect(1500, 500, 900, 600), quint32(index));
    return image;
}

QImage photo(int index)
{
    QImage image(4032, 3024, QImage::Format_RGB32);
    paintPhoto(image, image.rect(), quint32(index) + 100000);
    return image;
}

QStringList generate(const QString &dir, const QString &prefix, int count, const char *format, QImage (*make)(int))
{
    QDir().mkpath(dir);
    QStringList paths;
    for (int i = 0; i < count; ++i)
        paths << QStringLiteral("%1/%2-%3.%4")
                     .arg(dir, prefix)
                     .arg(i, 3, 10, QLatin1Char('0'))
                     .arg(QString::fromLatin1(format).toLower());
    QtConcurrent::blockingMap(paths, [&](const QString &path) {
        if (QFile::exists(path))
            return;
        const int index = QFileInfo(path).baseName().section(QLatin1Char('-'), 1).toInt();
        QImageWriter writer(path + QStringLiteral(".part"), format);
        writer.setQuality(qstrcmp(format, "JPEG") == 0 ? 92 : 50);
        if (writer.write(make(index)))
            QFile::rename(writer.fileName(), path);
    });
    return paths;
}

double residentMB()
{
    QFile status(QStringLiteral("/proc/self/status"));
    status.open(QIODevice::ReadOnly);
    for (const QByteArray &line : status.readAll().split('\n'))
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').first().toDouble() / 1024;
    return 0;
}

void resetPeak()
{
    QFile refs(QStringLiteral("/proc/self/clear_refs"));
    if (refs.open(QIODevice::WriteOnly))
        refs.write("5");
}

double peakResidentMB(qint64 pid)
{
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray &line : status.readAll().split('\n'))
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').first().toDouble() / 1024;
    return 0;
}

struct Result
{
    double seconds = 0;
    int made = 0;
    double peakMB = 0;
};

Result runVips(const QStringList &files, const QString &outDir)
{
    QDir(outDir).removeRecursively();
    QDir().mkpath(outDir);
    QElapsedTimer timer;
    timer.start();
    QProcess vips;
    vips.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    vips.start(QStringLiteral("vipsthumbnail"), QStringList{QStringLiteral("-s"), QString::number(thumbSize),
                                                            QStringLiteral("-o"), outDir + QStringLiteral("/%s.jpg")}
                                                    + files);
    Result r;
    // Without it there is nothing to compare with (and nothing to wait for).
    if (!vips.waitForStarted()) {
        std::printf("  vipsthumbnail did not start: no ratios (./setup.sh bench installs it)\n");
        return r;
    }
    // Its peak, read while it runs (the last reading is within 50 ms of its end).
    while (!vips.waitForFinished(50) && vips.state() != QProcess::NotRunning)
        r.peakMB = std::max(r.peakMB, peakResidentMB(vips.processId()));
    r.seconds = timer.nsecsElapsed() / 1e9;
    r.made = int(QDir(outDir).entryList(QDir::Files).size());
    return r;
}

Result runSingle(const QStringList &files)
{
    resetPeak();
    QElapsedTimer timer;
    timer.start();
    Result r;
    for (const QString &file : files)
        r.made += Thumbs::makeThumbnail(QUrl::fromLocalFile(file), thumbSize).has_value();
    r.seconds = timer.nsecsElapsed() / 1e9;
    r.peakMB = peakResidentMB(QCoreApplication::applicationPid());
    return r;
}

// Asks for every file like cells coming into view and waits for all answers.
Result runPool(Thumbs &thumbs, const QStringList &files, int size = thumbSize)
{
    resetPeak();
    QElapsedTimer timer;
    timer.start();
    Result r;
    int answers = 0;
    QEventLoop loop;
    for (const QString &file : files)
        thumbs.request(QUrl::fromLocalFile(file), size, 1.0, &thumbs, [&](const QImage &image) {
            r.made += !image.isNull();
            if (++answers == files.size())
                loop.quit();
        });
    if (answers < files.size())
        loop.exec();
    r.seconds = timer.nsecsElapsed() / 1e9;
    r.peakMB = peakResidentMB(QCoreApplication::applicationPid());
    return r;
}

void print(const char *what, const Result &r, const Result *reference)
{
    const double rate = r.seconds > 0 ? r.made / r.seconds : 0;
    std::printf("  %-34s %4d thumbnails in %6.2f s = %6.1f /s", what, r.made, r.seconds, rate);
    if (reference && reference->made > 0)
        std::printf("  (%.2f× vipsthumbnail)", rate / (reference->made / reference->seconds));
    std::printf("  peak RSS %.0f MB\n", r.peakMB);
    std::fflush(stdout);
}

// Inflates a PNG's image data into a batch-sized buffer over and over, and
// nothing else: the part of a decode no scaling or caching changes.
void inflateOnly(const QString &path)
{
    QFile file(path);
    file.open(QIODevice::ReadOnly);
    const QByteArray bytes = file.readAll();
    QByteArray data;
    for (qsizetype at = 8; at + 12 <= bytes.size();) {
        const auto *p = reinterpret_cast<const uchar *>(bytes.constData() + at);
        const qsizetype length = qsizetype(p[0]) << 24 | p[1] << 16 | p[2] << 8 | p[3];
        if (bytes.mid(at + 4, 4) == "IDAT")
            data += bytes.mid(at + 8, length);
        at += 12 + length;
    }
    std::vector<uint8_t> out(256 * 1024);
    inflate_state state;
    isal_inflate_init(&state);
    state.crc_flag = ISAL_ZLIB;
    state.next_in = reinterpret_cast<uint8_t *>(data.data());
    state.avail_in = uint32_t(data.size());
    do {
        state.next_out = out.data();
        state.avail_out = uint32_t(out.size());
    } while (isal_inflate(&state) == ISAL_DECOMP_OK && state.block_state != ISAL_BLOCK_FINISH && state.avail_in > 0);
}

// Every row unfiltered and let go: the part of a decode before scaling.
void rowsOnly(const QString &path)
{
    PngSource source;
    if (source.open(path, 100LL * 1000 * 1000) != PngRows::Status::Ready)
        return;
    for (uint32_t y = 0; y < source.height(); ++y)
        source.row(y);
}

} // namespace

int main(int argc, char **argv)
{
    QGuiApplication app(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: bench_thumbs DATA_DIR [png|jpeg]\n");
        return 2;
    }
    const QString data = QString::fromLocal8Bit(argv[1]);
    QElapsedTimer timer;
    timer.start();
    const QStringList pngs =
        generate(data + QStringLiteral("/png"), QStringLiteral("shot"), screenshotCount, "PNG", screenshot);
    const QStringList jpegs =
        generate(data + QStringLiteral("/jpeg"), QStringLiteral("photo"), photoCount, "JPEG", photo);
    std::printf("data: %d PNGs 2880x1800, %d JPEGs 4032x3024 (ready in %.1f s)\n", int(pngs.size()), int(jpegs.size()),
                timer.nsecsElapsed() / 1e9);
    // Read every file once so that neither side pays for the first disk read.
    for (const QStringList *set : {&pngs, &jpegs})
        for (const QString &f : *set) {
            QFile file(f);
            file.open(QIODevice::ReadOnly);
            while (!file.read(1 << 20).isEmpty()) {
            }
        }
    std::printf("threads: %d\n\n", QThread::idealThreadCount());

    QTemporaryDir scratch;
    const QString only = argc > 2 ? QString::fromLocal8Bit(argv[2]) : QString();
    for (const auto &[name, files] :
         {qMakePair(QStringLiteral("screenshot PNGs"), pngs), qMakePair(QStringLiteral("JPEG photos"), jpegs)}) {
        if (!only.isEmpty() && !name.contains(only, Qt::CaseInsensitive))
            continue;
        std::printf("%s at %d px:\n", qPrintable(name), thumbSize);
        const Result vips = runVips(files, scratch.path() + QStringLiteral("/vips"));
        print(qPrintable(QStringLiteral("vipsthumbnail -s %1").arg(thumbSize)), vips, nullptr);
        {
            // Cold: decodes and writes every disk cache entry, as a first run does.
            Thumbs thumbs(std::make_shared<ThumbDiskCache>(scratch.path() + QStringLiteral("/disk-") + name.left(3)));
            print("Thumbs on the pool (cold disk cache)", runPool(thumbs, files), &vips);
        }
        {
            Thumbs thumbs(nullptr);
            print("Thumbs on the pool (no disk cache)", runPool(thumbs, files), &vips);
        }
        print("makeThumbnail, one thread", runSingle(files), &vips);
        std::printf("\n");
    }

    if (!only.isEmpty())
        return 0;

    // The first screen: the 24 newest files, asked for the way the grid asks.
    const QStringList screen = pngs.mid(0, 24);
    const QString screenDisk = scratch.path() + QStringLiteral("/screen");
    {
        Thumbs thumbs(std::make_shared<ThumbDiskCache>(screenDisk));
        const Result cold = runPool(thumbs, screen);
        std::printf("first screen of 24 cells, cold disk cache: %.0f ms\n", cold.seconds * 1000);
    }
    {
        // What decoding them cannot go below, on as many threads as the pool:
        // their rows undone and let go, and their data only inflated.
        QThreadPool two;
        two.setMaxThreadCount(std::max(2, QThread::idealThreadCount()));
        const auto best = [&](void (*work)(const QString &)) {
            double ms = 1e9;
            for (int round = 0; round < 3; ++round) {
                QElapsedTimer clock;
                clock.start();
                QtConcurrent::blockingMap(&two, QStringList(screen), work);
                ms = std::min(ms, clock.nsecsElapsed() / 1e6);
            }
            return ms;
        };
        const double rows = best(rowsOnly), inflating = best(inflateOnly);
        std::printf("the same 24, best of three: rows undone only %.0f ms, inflated only %.0f ms\n", rows, inflating);
    }
    for (int round = 0; round < 3; ++round) {
        Thumbs thumbs(std::make_shared<ThumbDiskCache>(screenDisk));
        const Result warm = runPool(thumbs, screen);
        std::printf("first screen of 24 cells, warm disk cache (new process state, round %d): %.0f ms\n", round + 1,
                    warm.seconds * 1000);
    }

    // The same cold first screen three ways, at the steps whose shared level
    // we write (large and x-large): decoding (which also writes both caches),
    // reading the desktop's shared thumbnails, reading our own cache.
    std::printf("\n");
    for (const int step : {256, 512}) {
        const QString dir = scratch.path() + QStringLiteral("/share-%1").arg(step);
        const auto shared = std::make_shared<SharedThumbs>(dir + QStringLiteral("/thumbnails"));
        const QString ours = dir + QStringLiteral("/ours");
        const auto run = [&](const QString &disk, const std::shared_ptr<SharedThumbs> &share) {
            Thumbs thumbs(std::make_shared<ThumbDiskCache>(disk), share);
            return runPool(thumbs, screen, step).seconds * 1000;
        };
        const double bare = [&] {
            Thumbs thumbs(nullptr);
            return runPool(thumbs, screen, step).seconds * 1000;
        }();
        const double oursOnly = run(dir + QStringLiteral("/ours-only"), nullptr);
        const double decode = run(ours, shared);
        double sharedBest = 1e9, oursBest = 1e9, sharedSum = 0, oursSum = 0;
        for (int round = 0; round < 5; ++round) {
            // An empty cache of our own each time, so the shared thumbnails serve.
            const double s = run(dir + QStringLiteral("/empty-%1").arg(round), shared);
            const double o = run(ours, shared);
            sharedBest = std::min(sharedBest, s);
            oursBest = std::min(oursBest, o);
            sharedSum += s;
            oursSum += o;
        }
        std::printf("first screen of 24 cells at %d px, cold: decode %.0f ms (%.0f ms writing neither cache, %.0f ms "
                    "ours only); "
                    "shared thumbnails %.1f ms (best; mean %.1f) = %.1f× faster; our cache %.1f ms (best; mean %.1f) "
                    "= %.1f× faster\n",
                    step, decode, bare, oursOnly, sharedBest, sharedSum / 5, decode / sharedBest, oursBest, oursSum / 5,
                    decode / oursBest);
    }

    // What a folder of 400 costs in memory, with and without the byte budget.
    {
        const QString disk = scratch.path() + QStringLiteral("/disk-scr");
        const double before = residentMB();
        Thumbs thumbs(std::make_shared<ThumbDiskCache>(disk));
        thumbs.setByteBudget(qint64(1) << 40);
        runPool(thumbs, pngs);
        std::printf("\n400 thumbnails at 768 px without a budget: %.0f MB of pixels, resident +%.0f MB\n",
                    thumbs.cachedBytes() / 1048576.0, residentMB() - before);
        thumbs.setByteBudget(Thumbs::defaultByteBudget);
        std::printf("with the %lld MB budget: %d kept, %.0f MB of pixels\n", Thumbs::defaultByteBudget / 1048576,
                    thumbs.cachedCount(), thumbs.cachedBytes() / 1048576.0);
    }
    qint64 diskBytes = 0;
    for (const QFileInfo &info : QDir(scratch.path() + QStringLiteral("/disk-scr")).entryInfoList(QDir::Files))
        diskBytes += info.size();
    std::printf("disk cache for 400 screenshots at 768 px: %.1f MB\n", diskBytes / 1048576.0);
    return 0;
}
