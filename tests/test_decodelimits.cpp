#include "actions/fileactions.h"
#include "actions/views/fittedimage.h"
#include "codec/decodelimits.h"
#include "meta/thumbs.h"
#include "platform/tesseractrecognizer.h"
#include "support/colourimages.h"
#include "support/pngbytes.h"
#include "support/sandbox.h"

#include <QElapsedTimer>
#include <QImageReader>
#include <QMimeData>
#include <QTest>

#include <isa-l/igzip_lib.h>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>

// Small files that claim to be enormous, against every path that decodes a
// picture: what one decode holds stays within DecodeLimits::maxBytes and it
// ends in moments, with a picture where one fits the bound and a clean
// failure where none does.
namespace {

// A PNG of one colour (RGBA with `alpha`, else RGB), its rows deflated a
// piece at a time, so a file of a few hundred kilobytes that inflates to
// hundreds of megabytes takes little to make.
QByteArray flatPng(quint32 width, quint32 height, QRgb colour, bool alpha = false)
{
    const size_t channels = alpha ? 4 : 3, stride = size_t(width) * channels + 1, total = stride * height;
    std::vector<uint8_t> piece(std::max<size_t>(stride, 1 << 20) / stride * stride);
    for (size_t i = 0; i < piece.size(); i += stride)
        for (size_t x = 0; x < width; ++x) {
            uint8_t *p = piece.data() + i + 1 + channels * x;
            p[0] = uint8_t(qRed(colour));
            p[1] = uint8_t(qGreen(colour));
            p[2] = uint8_t(qBlue(colour));
            if (alpha)
                p[3] = uint8_t(qAlpha(colour));
        }
    std::vector<uint8_t> level(ISAL_DEF_LVL1_DEFAULT), out(1 << 20);
    isal_zstream z;
    isal_deflate_init(&z);
    z.level = 1;
    z.level_buf = level.data();
    z.level_buf_size = uint32_t(level.size());
    z.gzip_flag = IGZIP_ZLIB;
    QByteArray stream;
    for (size_t done = 0; done < total;) {
        const size_t n = std::min(piece.size(), total - done);
        done += n;
        z.next_in = piece.data();
        z.avail_in = uint32_t(n);
        z.end_of_stream = done == total;
        do {
            z.next_out = out.data();
            z.avail_out = uint32_t(out.size());
            isal_deflate(&z);
            stream.append(reinterpret_cast<const char *>(out.data()), qsizetype(out.size() - z.avail_out));
        } while (z.avail_out == 0);
    }
    return PngBytes::file(PngBytes::head(width, height, 8, alpha ? 6 : 2), stream);
}

// A text chunk that declares 1.9 GB, in a file that ends a hundred bytes in.
QByteArray hugeTextPng(int depth, int colourType)
{
    QByteArray length(4, '\0');
    qToBigEndian<quint32>(0x71000000, length.data());
    return PngBytes::head(1, 1, depth, colourType) + length + "tEXt" + "Comment" + QByteArray(1, '\0')
           + QByteArray(100, 'a');
}

qint64 statusKb(const char *field)
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n'))
        if (line.startsWith(field))
            return line.mid(qsizetype(std::strlen(field))).trimmed().split(' ').first().toLongLong();
    return -1;
}

struct Measured
{
    int answer = 0;     // what the decode said; see each case
    qint64 peakKb = -1; // resident memory it added at its peak
    qint64 ms = -1;
    QString failure; // why nothing was measured
};

// Runs `decode` in a child process so its peak resident memory can be read
// alone. Its address space is capped 3 GB above the parent's, so a decode
// that tries to hold more fails there instead of on the machine; any lower
// and the known bombs (2 GB) would fail their allocation at once and pass.
Measured measure(const std::function<int()> &decode)
{
    int pipeFds[2];
    if (::pipe2(pipeFds, O_CLOEXEC) != 0)
        return {0, -1, -1, QStringLiteral("no pipe")};
    const qint64 addressKb = statusKb("VmSize:");
    const pid_t child = ::fork();
    if (child == 0) {
        ::close(pipeFds[0]);
        const auto capBytes = rlim_t(addressKb + (3 << 20)) * 1024;
        const rlimit cap{capBytes, capBytes};
        ::setrlimit(RLIMIT_AS, &cap);
        const qint64 baseKb = statusKb("VmRSS:");
        // Resets the peak to what is resident now.
        if (const int fd = ::open("/proc/self/clear_refs", O_WRONLY); fd >= 0) {
            [[maybe_unused]] const auto written = ::write(fd, "5", 1);
            ::close(fd);
        }
        QElapsedTimer timer;
        timer.start();
        const qint64 answer = decode(), ms = timer.elapsed();
        const qint64 report[3] = {answer, statusKb("VmHWM:") - baseKb, ms};
        [[maybe_unused]] const auto sent = ::write(pipeFds[1], report, sizeof report);
        ::_exit(0);
    }
    ::close(pipeFds[1]);
    Measured measured;
    qint64 report[3];
    pollfd ready{pipeFds[0], POLLIN, 0};
    if (::poll(&ready, 1, 60000) == 1 && ::read(pipeFds[0], report, sizeof report) == sizeof report) {
        measured.answer = int(report[0]);
        measured.peakKb = report[1];
        measured.ms = report[2];
    } else {
        measured.failure = QStringLiteral("the decode crashed or ran past a minute");
        ::kill(child, SIGKILL);
    }
    ::close(pipeFds[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    if (measured.failure.isEmpty() && !(WIFEXITED(status) && WEXITSTATUS(status) == 0))
        measured.failure = QStringLiteral("the child failed");
    return measured;
}

// A thumbnail's size and its middle pixel packed in one answer, or -1.
int thumbnailAnswer(const QString &path, int pixels)
{
    const std::optional<QImage> image = Thumbs::makeThumbnail(QUrl::fromLocalFile(path), pixels);
    if (!image)
        return -1;
    const QRgb middle = image->pixel(image->width() / 2, image->height() / 2);
    return (image->width() == 1 ? 1 << 30 : 0) | (image->height() == pixels ? 1 << 29 : 0) | int(middle & 0xffffff);
}

} // namespace

class TestDecodeLimits : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        // Qt's image plugins are loaded here, not counted in the first decode.
        QImageReader::supportedImageFormats();
    }

    void everyDecodeStaysWithinItsBound_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("path");
        QTest::addColumn<int>("expected");
        // 1 x 99 million pixels in 400 KB: a column of one colour.
        QTest::newRow("thumbnail, tall and thin") << "tall.png"
                                                  << "thumbnail" << (1 << 30 | 1 << 29 | 0x804020);
        // Too wide to hold one row of within the bound.
        QTest::newRow("thumbnail, too wide") << "wide.png"
                                             << "thumbnail" << -1;
        for (const char *file : {"text.png", "text16.png"}) {
            for (const char *path : {"thumbnail", "recognition", "preview", "half size"})
                QTest::addRow("%s, %s", path, file) << file << path << -1;
            // A PNG is copied as it is, undecoded.
            QTest::addRow("clipboard, %s", file) << file << "clipboard" << 0;
        }
        // Half-transparent, 42 MB of pixels: shrunk as it is read, and made
        // a JPEG without a second copy as large.
        QTest::newRow("half size, large") << "large.png"
                                          << "half size" << 0;
        QTest::newRow("jpeg copy, large") << "large.png"
                                          << "jpeg copy" << 0;
    }

    void everyDecodeStaysWithinItsBound()
    {
        QFETCH(QString, file);
        QFETCH(QString, path);
        QFETCH(int, expected);
        const QRgb brown = qRgb(0x80, 0x40, 0x20);
        const QHash<QString, std::function<QByteArray()>> files{
            {"tall.png", [&] { return flatPng(1, 99000000, brown); }},
            {"wide.png", [&] { return flatPng(16000000, 1, brown); }},
            {"large.png", [] { return flatPng(3500, 3000, qRgba(0x80, 0x40, 0x20, 0x80), true); }},
            {"text.png", [] { return hugeTextPng(8, 2); }},
            {"text16.png", [] { return hugeTextPng(16, 2); }}};
        const auto ok = [](bool done) { return done ? 0 : -1; };
        const QHash<QString, std::function<int(const QString &)>> decoders{
            {"thumbnail", [](const QString &f) { return thumbnailAnswer(f, 256); }},
            {"recognition", [&](const QString &f) { return ok(bool(readGrayForRecognition(f, {}))); }},
            {"preview",
             [&](const QString &f) {
                 return ok(bool(FittedImage::decode(f, {1200, 800})));
             }},
            {"half size",
             [&](const QString &f) { return ok(!FileActions::resizeHalf({QUrl::fromLocalFile(f)}).isEmpty()); }},
            {"jpeg copy",
             [&](const QString &f) { return ok(!FileActions::convertToJPG({QUrl::fromLocalFile(f)}).isEmpty()); }},
            {"clipboard", [&](const QString &f) {
                 std::unique_ptr<QMimeData> data(FileActions::filesMimeData({QUrl::fromLocalFile(f)}));
                 return ok(data->hasFormat("image/png"));
             }}};
        Sandbox box;
        const QString name = box.path(file);
        Sandbox::writeFile(name, files[file]());
        QVERIFY(QFileInfo(name).size() < 1000 * 1000);

        const Measured m = measure([&] { return decoders[path](name); });
        qInfo("%s, %s: %lld KB at the peak, %lld ms", qPrintable(path), qPrintable(file), m.peakKb, m.ms);
        QVERIFY2(m.failure.isEmpty(), qPrintable(m.failure));
        QCOMPARE(m.answer, expected);
#ifdef __SANITIZE_ADDRESS__
        // AddressSanitizer's red zones and quarantine count in the peak, and
        // its checks in the time: only the answers are compared.
        const bool measurable = false;
#else
        const bool measurable = true;
#endif
        QVERIFY2(!measurable || m.peakKb * 1024 < DecodeLimits::maxBytes, qPrintable(QString::number(m.peakKb)));
        // The tall one inflates 400 MB of rows, the large one 42 MB; the
        // others end at their header.
        QVERIFY2(!measurable || m.ms < (file == "tall.png" || file == "large.png" ? 8000 : 500),
                 qPrintable(QString::number(m.ms)));
        if (file == "large.png") {
            // Half size keeps the colour and its transparency; the JPEG has
            // it laid over white.
            const bool half = path == "half size";
            const QImage made(box.path(half ? "large @50%.png" : "large.jpg"));
            QCOMPARE(made.size(), half ? QSize(1750, 1500) : QSize(3500, 3000));
            const QRgb pixel = made.pixel(10, 10);
            QVERIFY2(ColourImages::near(pixel, half ? qRgba(0x80, 0x40, 0x20, 0x80) : qRgb(191, 159, 143), 3),
                     qPrintable(QString::number(pixel, 16)));
        }
    }

    void wideAndTallImagesStillGetTheirThumbnails()
    {
        // Wider than 250 source pixels a target pixel, and taller: sums that
        // would overflow 32 bits, and rows that floats would round away.
        Sandbox box;
        const struct
        {
            quint32 width, height;
            bool alpha;
            QSize thumbnail;
        } shapes[] = {{1000000, 2, true, {256, 1}}, {3, 2000000, false, {1, 256}}, {70000, 300, true, {256, 1}}};
        for (const auto &shape : shapes) {
            const QString name = box.path(QString("%1x%2.png").arg(shape.width).arg(shape.height));
            Sandbox::writeFile(name, flatPng(shape.width, shape.height, qRgb(250, 251, 3), shape.alpha));
            const std::optional<QImage> image = Thumbs::makeThumbnail(QUrl::fromLocalFile(name), 256);
            QVERIFY2(image, qPrintable(name));
            QCOMPARE(image->size(), shape.thumbnail);
            for (int y = 0; y < image->height(); ++y)
                for (int x = 0; x < image->width(); ++x)
                    QCOMPARE(image->pixel(x, y), qRgb(250, 251, 3));
        }
    }
};

QTEST_GUILESS_MAIN(TestDecodeLimits)
#include "test_decodelimits.moc"
