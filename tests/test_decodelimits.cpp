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
    const uint8_t pixel[4] = {uint8_t(qRed(colour)), uint8_t(qGreen(colour)), uint8_t(qBlue(colour)),
                              uint8_t(qAlpha(colour))};
    std::vector<uint8_t> piece(std::max<size_t>(stride, 1 << 20) / stride * stride);
    for (size_t i = 0; i < piece.size(); i += stride)
        for (size_t x = 0; x < width; ++x)
            std::memcpy(piece.data() + i + 1 + channels * x, pixel, channels);
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
    const QList<QByteArray> lines =
        status.open(QIODevice::ReadOnly) ? status.readAll().split('\n') : QList<QByteArray>();
    for (const QByteArray &line : lines)
        if (line.startsWith(field))
            return line.mid(qsizetype(std::strlen(field))).trimmed().split(' ').first().toLongLong();
    return -1;
}

// What `decode` answered, the resident memory it added at its peak and its
// time, from a child process so its peak can be read alone; all -1 when it
// crashed or ran past a minute. The child's address space is capped 3 GB
// above the parent's, so a decode that tries to hold more fails there instead
// of on the machine; any lower and the known bombs (2 GB) would fail their
// allocation at once and pass.
std::array<qint64, 3> measure(const std::function<int()> &decode)
{
    std::array<qint64, 3> report{-1, -1, -1};
    int pipeFds[2];
    if (::pipe2(pipeFds, O_CLOEXEC) != 0)
        return report;
    const qint64 addressKb = statusKb("VmSize:");
    const pid_t child = ::fork();
    if (child == 0) {
        const auto capBytes = rlim_t(addressKb + (3 << 20)) * 1024;
        const rlimit cap{capBytes, capBytes};
        ::setrlimit(RLIMIT_AS, &cap);
        const qint64 baseKb = statusKb("VmRSS:");
        // Resets the peak to what is resident now.
        if (const int fd = ::open("/proc/self/clear_refs", O_WRONLY); fd >= 0 && ::write(fd, "5", 1) == 1)
            ::close(fd);
        QElapsedTimer timer;
        timer.start();
        const qint64 answer = decode(), ms = timer.elapsed();
        report = {answer, statusKb("VmHWM:") - baseKb, ms};
        ::_exit(::write(pipeFds[1], report.data(), sizeof report) == sizeof report ? 0 : 1);
    }
    ::close(pipeFds[1]);
    pollfd ready{pipeFds[0], POLLIN, 0};
    if (::poll(&ready, 1, 60000) != 1 || ::read(pipeFds[0], report.data(), sizeof report) != sizeof report)
        report = {-1, -1, -1};
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    ::close(pipeFds[0]);
    return report;
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

// 0 when `how` makes something of `file`, else -1; thumbnails as above.
int decode(const QString &how, const QString &file)
{
    const QList<QUrl> files{QUrl::fromLocalFile(file)};
    if (how == "thumbnail")
        return thumbnailAnswer(file, 256);
    if (how == "clipboard")
        return std::unique_ptr<QMimeData>(FileActions::filesMimeData(files))->hasFormat("image/png") ? 0 : -1;
    const bool made = how == "recognition" ? bool(readGrayForRecognition(file, {}))
                      : how == "preview"   ? bool(FittedImage::decode(file, {1200, 800}))
                      : how == "half size" ? !FileActions::resizeHalf(files).isEmpty()
                                           : !FileActions::convertToJPG(files).isEmpty();
    return made ? 0 : -1;
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
        QTest::addColumn<QString>("how");
        QTest::addColumn<int>("expected");
        // 1 x 99 million pixels in 400 KB: a column of one colour.
        QTest::newRow("thumbnail, tall and thin") << "tall.png"
                                                  << "thumbnail" << (1 << 30 | 1 << 29 | 0x804020);
        // Too wide to hold one row of within the bound.
        QTest::newRow("thumbnail, too wide") << "wide.png"
                                             << "thumbnail" << -1;
        for (const char *file : {"text.png", "text16.png"}) {
            for (const char *how : {"thumbnail", "recognition", "preview", "half size"})
                QTest::addRow("%s, %s", how, file) << file << how << -1;
            QTest::addRow("clipboard, %s", file) << file << "clipboard" << 0; // a PNG is copied undecoded
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
        QFETCH(QString, how);
        QFETCH(int, expected);
        const QRgb brown = qRgb(0x80, 0x40, 0x20), halfBrown = qRgba(0x80, 0x40, 0x20, 0x80);
        Sandbox box;
        const QString name = box.path(file);
        Sandbox::writeFile(name, file == "tall.png"    ? flatPng(1, 99000000, brown)
                                 : file == "wide.png"  ? flatPng(16000000, 1, brown)
                                 : file == "large.png" ? flatPng(3500, 3000, halfBrown, true)
                                                       : hugeTextPng(file == "text.png" ? 8 : 16, 2));
        QVERIFY(QFileInfo(name).size() < 1000 * 1000);

        const auto [answer, peakKb, ms] = measure([&] { return decode(how, name); });
        qInfo("%s, %s: %lld KB at the peak, %lld ms", qPrintable(how), qPrintable(file), peakKb, ms);
        QVERIFY2(ms >= 0, "the decode crashed or ran past a minute");
        QCOMPARE(answer, expected);
        // AddressSanitizer's red zones and quarantine count in the peak, and
        // its checks in the time: then only the answers are compared.
#ifndef __SANITIZE_ADDRESS__
        QVERIFY2(peakKb * 1024 < DecodeLimits::maxBytes, qPrintable(QString::number(peakKb)));
        // The tall one inflates 400 MB of rows, the large one 42 MB; the
        // others end at their header.
        QVERIFY2(ms < (file == "tall.png" || file == "large.png" ? 8000 : 500), qPrintable(QString::number(ms)));
#endif
        if (file == "large.png") {
            // Half size keeps the colour and its transparency; the JPEG has
            // it laid over white.
            const bool half = how == "half size";
            const QImage made(box.path(half ? "large @50%.png" : "large.jpg"));
            const QRgb pixel = made.pixel(10, 10);
            QVERIFY2(made.size() == (half ? QSize(1750, 1500) : QSize(3500, 3000))
                         && ColourImages::near(pixel, half ? halfBrown : qRgb(191, 159, 143), 3),
                     qPrintable(QString::number(pixel, 16)));
        }
    }

    void wideAndTallImagesStillGetTheirThumbnails()
    {
        // Wider than 250 source pixels a target pixel, and taller: sums that
        // would overflow 32 bits, and rows that floats would round away.
        Sandbox box;
        for (const auto &[width, height, alpha, thumbnail] : {std::tuple{1000000u, 2u, true, QSize(256, 1)},
                                                              {3u, 2000000u, false, QSize(1, 256)},
                                                              {70000u, 300u, true, QSize(256, 1)}}) {
            const QString name = box.path(QString("%1x%2.png").arg(width).arg(height));
            Sandbox::writeFile(name, flatPng(width, height, qRgb(250, 251, 3), alpha));
            const std::optional<QImage> image = Thumbs::makeThumbnail(QUrl::fromLocalFile(name), 256);
            QVERIFY2(image && image->size() == thumbnail, qPrintable(name));
            QImage expected(thumbnail, image->format());
            expected.fill(qRgb(250, 251, 3));
            QCOMPARE(*image, expected);
        }
    }
};

QTEST_GUILESS_MAIN(TestDecodeLimits)
#include "test_decodelimits.moc"
