#include "actions/fileactions.h"
#include "actions/views/fittedimage.h"
#include "codec/decodelimits.h"
#include "meta/thumbs.h"
#include "platform/tesseractrecognizer.h"
#include "support/colourimages.h"
#include "support/pngbytes.h"
#include "support/sandbox.h"

#include <QDateTime>
#include <QImageReader>
#include <QMimeData>
#include <QRegularExpression>
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
// piece at a time, so a file of a few megabytes at most that inflates to
// hundreds of megabytes takes little to make.
QByteArray flatPng(quint32 width, quint32 height, QRgb colour, bool alpha = false)
{
    const size_t channels = alpha ? 4 : 3, stride = size_t(width) * channels + 1, total = stride * height;
    const quint32 pixel = qToBigEndian(quint32(colour) << 8 | quint32(qAlpha(colour))); // R, G, B, A
    std::vector<uint8_t> piece(std::max<size_t>(stride, 1 << 20) / stride * stride);
    for (size_t i = 0; i < piece.size(); i += stride)
        for (size_t x = 0; x < width; ++x)
            std::memcpy(piece.data() + i + 1 + channels * x, &pixel, channels);
    std::vector<uint8_t> out(1 << 20);
    isal_zstream z;
    isal_deflate_init(&z);
    z.gzip_flag = IGZIP_ZLIB;
    QByteArray stream;
    for (size_t done = 0; done < total;) {
        const size_t n = std::min(piece.size(), total - done);
        done += n;
        z.next_in = piece.data();
        z.avail_in = uint32_t(n);
        z.end_of_stream = done == total;
        z.next_out = out.data(); // a piece of like rows deflates to far less than `out` holds
        z.avail_out = uint32_t(out.size());
        isal_deflate(&z);
        stream.append(reinterpret_cast<const char *>(out.data()), qsizetype(out.size() - z.avail_out));
    }
    return PngBytes::file(PngBytes::head(width, height, 8, alpha ? 6 : 2), stream);
}

qint64 statusKb(const char *field)
{
    QFile file(QStringLiteral("/proc/self/status"));
    const QString status = file.open(QIODevice::ReadOnly) ? QString::fromLatin1(file.readAll()) : QString();
    return QRegularExpression(QLatin1String(field) + "\\s*(\\d+)").match(status).captured(1).toLongLong();
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
    const qint64 addressKb = statusKb("VmSize:");
    const pid_t child = ::pipe2(pipeFds, O_CLOEXEC) == 0 ? ::fork() : -1;
    if (child < 0)
        return report;
    if (child == 0) {
        const rlim_t capBytes = rlim_t(addressKb + (3 << 20)) * 1024;
        ::setrlimit(RLIMIT_AS, std::array{rlimit{capBytes, capBytes}}.data());
        const qint64 baseKb = statusKb("VmRSS:");
        // Resets the peak to what is resident now.
        if (const int fd = ::open("/proc/self/clear_refs", O_WRONLY); fd >= 0 && ::write(fd, "5", 1) == 1)
            ::close(fd);
        const qint64 started = QDateTime::currentMSecsSinceEpoch();
        const qint64 answer = decode(), ms = QDateTime::currentMSecsSinceEpoch() - started;
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

// 0 when `how` makes something of `file`, else -1; a thumbnail answers with
// its middle pixel and whether it is a line of 256 pixels.
int decode(const QString &how, const QString &file)
{
    const QList<QUrl> files{QUrl::fromLocalFile(file)};
    if (how == "thumbnail") {
        const std::optional<QImage> image = Thumbs::makeThumbnail(files.first(), 256);
        const QRgb middle = image ? image->pixel(image->width() / 2, image->height() / 2) : 0;
        const bool line =
            image && qMin(image->width(), image->height()) == 1 && qMax(image->width(), image->height()) == 256;
        return !image ? -1 : (line ? 1 << 30 : 0) | int(middle & 0xffffff);
    }
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
    void everyDecodeStaysWithinItsBound_data()
    {
        QImageReader::supportedImageFormats(); // Qt's image plugins loaded here, not in a measured decode
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("how");
        QTest::addColumn<int>("expected");
        // Named by their shape ("a": with alpha; "h": half transparent).
        // 1 x 99 million pixels in 4 MB: a column of one colour; too wide to
        // hold one row of within the bound; wider than 250 source pixels a
        // target pixel, and taller: sums that would overflow 32 bits, and
        // rows that floats would round away; 42 MB of pixels, shrunk as it is
        // read, and made a JPEG without a second copy as large.
        const int brown = 0x804020, line = 1 << 30;
        for (const auto &[file, how, expected] : {std::tuple{"1x99000000.png", "thumbnail", line | brown},
                                                  {"16000000x1.png", "thumbnail", -1},
                                                  {"1000000x2a.png", "thumbnail", line | brown},
                                                  {"3x2000000.png", "thumbnail", line | brown},
                                                  {"70000x300a.png", "thumbnail", line | brown},
                                                  {"3500x3000h.png", "half size", 0},
                                                  {"3500x3000h.png", "jpeg copy", 0}})
            QTest::addRow("%s, %s", how, file) << QString(file) << QString(how) << expected;
        for (const char *file : {"text8.png", "text16.png"}) {
            for (const char *how : {"thumbnail", "recognition", "preview", "half size"})
                QTest::addRow("%s, %s", how, file) << QString(file) << QString(how) << -1;
            QTest::addRow("clipboard, %s", file) << QString(file) << "clipboard" << 0; // a PNG is copied undecoded
        }
    }

    void everyDecodeStaysWithinItsBound()
    {
        QFETCH(QString, file);
        QFETCH(QString, how);
        QFETCH(int, expected);
        Sandbox box;
        const QString name = box.path(file);
        // A text chunk that declares 1.9 GB, in a file that ends a hundred bytes in.
        const QByteArray textChunk = QByteArray("\x71\0\0\0tEXtComment\0", 16) + QByteArray(100, 'a');
        const QRegularExpressionMatch shape = QRegularExpression("^(\\d+)x(\\d+)([ah]?)").match(file);
        const QRgb colour = qRgba(0x80, 0x40, 0x20, shape.captured(3) == "h" ? 0x80 : 0xff);
        Sandbox::writeFile(name, shape.hasMatch() ? flatPng(shape.captured(1).toUInt(), shape.captured(2).toUInt(),
                                                            colour, !shape.captured(3).isEmpty())
                                                  : PngBytes::head(1, 1, file == "text8.png" ? 8 : 16, 2) + textChunk);

        const auto [answer, peakKb, ms] = measure([&] { return decode(how, name); });
        QVERIFY2(
            ms >= 0 && answer == expected,
            qPrintable(QStringLiteral("answered %1 (-1 with no time: it crashed or ran past a minute)").arg(answer)));
        // AddressSanitizer's red zones and quarantine count in the peak, and
        // its checks in the time: then only the answers are compared.
#ifndef __SANITIZE_ADDRESS__
        QVERIFY2(peakKb * 1024 < DecodeLimits::maxBytes, qPrintable(QString::number(peakKb)));
        // The tall one inflates 400 MB of rows; the text ones end at their header.
        QVERIFY2(ms < (shape.hasMatch() ? 8000 : 500), qPrintable(QString::number(ms)));
#endif
        if (shape.captured(3) == "h") {
            // Half size keeps the colour and its transparency; the JPEG has
            // it laid over white.
            const bool half = how == "half size";
            const QImage made(box.path(half ? "3500x3000h @50%.png" : "3500x3000h.jpg"));
            const QRgb pixel = made.pixel(10, 10);
            QVERIFY2(made.size() == (half ? QSize(1750, 1500) : QSize(3500, 3000))
                         && ColourImages::near(pixel, half ? colour : qRgb(191, 159, 143), 3),
                     qPrintable(QString::number(pixel, 16)));
        }
    }
};

QTEST_GUILESS_MAIN(TestDecodeLimits)
#include "test_decodelimits.moc"
