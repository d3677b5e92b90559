#include "platform/tesseractrecognizer.h"

#include "codec/decodelimits.h"
#include "codec/pngsource.h"
#include "files/logcategories.h"

#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QStringList>

#include <tesseract/baseapi.h>
#include <tesseract/ocrclass.h>
#include <tesseract/resultiterator.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <memory>
#include <vector>

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

// Screenshots of an 8K screen are 33 megapixels, read to gray as 33 MB;
// anything beyond that is not a screenshot and would cost gigabytes to
// recognise.
constexpr qint64 maxSourcePixels = DecodeLimits::maxBytes / 2;
constexpr qint64 maxScaledPixels = 40LL * 1000 * 1000;

QString installedTessdata()
{
    const QByteArray prefix = qgetenv("TESSDATA_PREFIX");
    if (!prefix.isEmpty())
        return QString::fromLocal8Bit(prefix);
    return QStringLiteral("/usr/share/tesseract-ocr/5/tessdata");
}

// Keeps only the languages whose trained data is installed, so that one
// misspelt name in the setting does not switch recognition off.
QString usableLanguages(const QString &wanted)
{
    QStringList usable;
    const QString dir = installedTessdata();
    for (const QString &lang : wanted.split(QLatin1Char('+'), Qt::SkipEmptyParts)) {
        const QString name = lang.trimmed();
        if (!name.isEmpty() && QFileInfo::exists(dir + QLatin1Char('/') + name + QStringLiteral(".traineddata")))
            usable << name;
    }
    return usable.isEmpty() ? QStringLiteral("eng") : usable.join(QLatin1Char('+'));
}

// Leptonica's weights, as Tesseract uses for colour input; transparent
// pixels count as white.
inline uchar grayOf(int r, int g, int b) { return uchar((3 * r + 5 * g + 2 * b + 5) / 10); }
inline uchar grayOf(int r, int g, int b, int a) { return uchar((grayOf(r, g, b) * a + 255 * (255 - a)) / 255); }

QImage toGray(const QImage &image)
{
    // Screenshots are mostly opaque, and then the blend (and Qt's conversion
    // to a format with alpha) is skipped.
    const bool opaque = !image.hasAlphaChannel();
    const QImage rgb = image.convertToFormat(opaque ? QImage::Format_RGB32 : QImage::Format_ARGB32);
    const int width = rgb.width();
    QImage gray(rgb.size(), QImage::Format_Grayscale8);
    for (int y = 0; y < rgb.height(); ++y) {
        const auto *src = reinterpret_cast<const QRgb *>(rgb.constScanLine(y));
        uchar *dst = gray.scanLine(y);
        for (int x = 0; x < width; ++x)
            dst[x] = opaque ? grayOf(qRed(src[x]), qGreen(src[x]), qBlue(src[x]))
                            : grayOf(qRed(src[x]), qGreen(src[x]), qBlue(src[x]), qAlpha(src[x]));
    }
    return gray;
}

// Gray straight from the rows of a PNG (nearly every screenshot), without
// the colour image Qt's reader makes first, and inflated by ISA-L rather
// than zlib for the common kinds: recognising a 2x screenshot takes 7-10 %
// less time. A PNG it cannot read is damaged, and not given to another
// reader; Qt's takes gigabytes and seconds over a chunk that claims to be
// huge. Nothing (NotHandled) for a file that is not a PNG.
PngRows::Status readGrayPng(const QString &path, QImage &gray)
{
    PngSource source;
    const PngRows::Status status = source.open(path, maxSourcePixels);
    if (status != PngRows::Status::Ready)
        return status;
    gray = QImage(int(source.width()), int(source.height()), QImage::Format_Grayscale8);
    if (gray.isNull())
        return PngRows::Status::Failed;
    const int channels = source.channels();
    const bool alpha = channels == 4;
    for (uint32_t y = 0; y < source.height(); ++y) {
        const uint8_t *p = source.row(y);
        if (!p) {
            gray = QImage();
            return PngRows::Status::Failed;
        }
        uchar *dst = gray.scanLine(int(y));
        for (uint32_t x = 0; x < source.width(); ++x, p += channels)
            dst[x] = alpha ? grayOf(p[0], p[1], p[2], p[3]) : grayOf(p[0], p[1], p[2]);
    }
    return PngRows::Status::Ready;
}

// The gray value most of the image has: the ground the text sits on.
int dominantGray(const QImage &gray)
{
    std::array<qint64, 256> histogram{};
    const int step = std::max(1, gray.height() / 400);
    const int width = gray.width();
    for (int y = 0; y < gray.height(); y += step) {
        const uchar *row = gray.constScanLine(y);
        for (int x = 0; x < width; ++x)
            ++histogram[row[x]];
    }
    return int(std::max_element(histogram.begin(), histogram.end()) - histogram.begin());
}

// Median height of the horizontal bands that hold ink: on a screenshot those
// are mostly text lines. 0 when there are none.
int typicalLineHeight(const QImage &gray, int ground)
{
    std::vector<int> runs;
    int run = 0;
    const int width = gray.width();
    for (int y = 0; y < gray.height(); ++y) {
        const uchar *row = gray.constScanLine(y);
        int ink = 0;
        for (int x = 0; x < width; ++x)
            ink += std::abs(int(row[x]) - ground) > 80;
        // A band of ink that spans nearly the whole width is a rule or a bar.
        const bool inky = ink > 0 && ink < width * 3 / 4;
        if (inky) {
            ++run;
        } else {
            if (run >= 5 && run <= 120)
                runs.push_back(run);
            run = 0;
        }
    }
    if (runs.empty())
        return 0;
    std::nth_element(runs.begin(), runs.begin() + runs.size() / 2, runs.end());
    return runs[runs.size() / 2];
}

// Screenshot preprocessing: dark text on light ground, text lines about
// `targetLineHeight` pixels tall. `scale` receives the factor applied.
QImage prepareGray(QImage gray, const TesseractOptions &options, double *scale);

class TesseractRecognizer final : public TextRecognizer
{
public:
    explicit TesseractRecognizer(const TesseractOptions &options) : m_options(options)
    {
        m_options.languages = usableLanguages(options.languages);
        m_ready = m_api.Init(nullptr, m_options.languages.toUtf8().constData(), tesseract::OEM_LSTM_ONLY) == 0;
        if (!m_ready) {
            qCWarning(lcOcr) << "Tesseract cannot start with the languages" << m_options.languages;
            return;
        }
        m_api.SetVariable("debug_file", "/dev/null");
        m_api.SetPageSegMode(tesseract::PageSegMode(m_options.pageSegMode));
        for (const auto &[name, value] : m_options.variables)
            m_api.SetVariable(name.constData(), value.constData());
    }
    ~TesseractRecognizer() override { m_api.End(); }

    void abandonWhen(const std::atomic<bool> *flag) override { m_abandon = flag; }

    std::optional<QString> recognize(const QString &filePath) override
    {
        if (!m_ready || abandoned())
            return std::nullopt;
        std::optional<QImage> gray = readGrayForRecognition(filePath, m_options);
        if (!gray) {
            qCDebug(lcOcr) << "cannot read for recognition:" << filePath;
            return std::nullopt;
        }
        return recognizeGray(std::move(*gray));
    }

    QString recognizeGray(QImage gray)
    {
        double scale = 1;
        gray = prepareGray(std::move(gray), m_options, &scale);
        m_api.SetImage(gray.constBits(), gray.width(), gray.height(), 1, int(gray.bytesPerLine()));
        m_api.SetSourceResolution(m_options.sourceDpi > 0 ? m_options.sourceDpi : int(std::lround(96 * scale)));
        QStringList lines;
        int status = -1;
        // Tesseract asks this between words, so quitting need not wait for a
        // whole page.
        tesseract::ETEXT_DESC monitor;
        monitor.cancel = [](void *flag, int) { return static_cast<const std::atomic<bool> *>(flag)->load(); };
        monitor.cancel_this = const_cast<std::atomic<bool> *>(m_abandon);
        // OMP_THREAD_LIMIT is read once, when the OpenMP runtime loads with
        // Tesseract at program start, so setting it now is too late. A host
        // `teams` region with a thread limit of 1 sets the same limit for
        // this thread only, and Tesseract's parallel loops then run inline.
#pragma omp teams num_teams(1) thread_limit(1)
        status = m_api.Recognize(m_abandon ? &monitor : nullptr);
        if (status == 0 && !abandoned()) {
            std::unique_ptr<tesseract::ResultIterator> it(m_api.GetIterator());
            if (it) {
                do {
                    std::unique_ptr<char[]> text(it->GetUTF8Text(tesseract::RIL_TEXTLINE));
                    if (!text)
                        continue;
                    const QString line = QString::fromUtf8(text.get()).trimmed();
                    if (!line.isEmpty())
                        lines << line;
                } while (it->Next(tesseract::RIL_TEXTLINE));
            }
        }
        m_api.Clear();
        return lines.join(QLatin1Char('\n'));
    }

private:
    bool abandoned() const { return m_abandon && m_abandon->load(); }

    TesseractOptions m_options;
    tesseract::TessBaseAPI m_api;
    bool m_ready = false;
    const std::atomic<bool> *m_abandon = nullptr;
};

} // namespace

std::optional<QImage> readGrayForRecognition(const QString &path, const TesseractOptions &options)
{
    if (options.readPngRows) {
        QImage gray;
        switch (readGrayPng(path, gray)) {
        case PngRows::Status::Ready:
            return gray;
        case PngRows::Status::Failed:
            return std::nullopt;
        case PngRows::Status::NotHandled:
            break;
        }
    }
    const std::unique_ptr<DecodeLimits::QtReader> qt = DecodeLimits::openQtReader(path);
    if (!qt)
        return std::nullopt;
    QImageReader &reader = qt->reader;
    const QSize size = reader.size();
    // The colour image it makes, and then the gray one.
    if (!size.isValid() || qint64(size.width()) * size.height() * 5 > DecodeLimits::maxBytes) {
        qCInfo(lcDecode) << "refused for recognition:" << path << size;
        return std::nullopt;
    }
    const QImage image = reader.read();
    if (image.isNull())
        return std::nullopt;
    return toGray(image);
}

namespace {

QImage prepareGray(QImage gray, const TesseractOptions &options, double *scale)
{
    // Dark themes: light text on a dark ground reads faster and better inverted.
    if (options.invertDark && dominantGray(gray) < 128)
        gray.invertPixels();
    const int ground = dominantGray(gray);
    double factor = 1;
    if (options.scaleToText) {
        const int lineHeight = typicalLineHeight(gray, ground);
        // Tesseract's LSTM reads best when a line is about this many pixels
        // tall; 1x UI text is half that.
        const int target = options.targetLineHeight;
        if (lineHeight > 0 && lineHeight < target * 2 / 3)
            factor = std::min(3.0, double(target) / lineHeight);
        // A whole factor keeps every stroke the same width: 13 px text
        // doubled reads as well as at 2.3 times, on three quarters of the
        // pixels.
        if (options.wholeFactor && factor > 1)
            factor = std::max(2.0, std::round(factor));
        const double pixels = double(gray.width()) * gray.height();
        factor = std::min(factor, std::sqrt(double(maxScaledPixels) / pixels));
        factor = std::max(1.0, factor);
        if (factor > 1.05)
            gray = gray.scaled(QSize(int(gray.width() * factor), int(gray.height() * factor)), Qt::IgnoreAspectRatio,
                               options.smoothUpscale ? Qt::SmoothTransformation : Qt::FastTransformation);
        else
            factor = 1;
    }
    if (scale)
        *scale = factor;
    return gray;
}

} // namespace

QList<QPair<QByteArray, QByteArray>> defaultTesseractVariables()
{
    // The quick fixed-pitch test spaces the words of monospaced code better.
    // Table detection only shapes blocks, and we read lines, so it is skipped.
    return {{QByteArrayLiteral("textord_fast_pitch_test"), QByteArrayLiteral("1")},
            {QByteArrayLiteral("textord_tabfind_find_tables"), QByteArrayLiteral("0")}};
}

std::unique_ptr<TextRecognizer> makeTesseractRecognizer(const TesseractOptions &options)
{
    return std::make_unique<TesseractRecognizer>(options);
}

std::unique_ptr<TextRecognizer> makeTesseractRecognizer(const QString &languages)
{
    TesseractOptions options;
    options.languages = languages;
    return makeTesseractRecognizer(options);
}

QString recognitionLanguages(const QString &preference)
{
    const QString fromEnvironment = qEnvironmentVariable("BRINDLEWICK_OCR_LANGUAGES").trimmed();
    if (!fromEnvironment.isEmpty())
        return fromEnvironment;
    if (!preference.trimmed().isEmpty())
        return preference.trimmed();
    return QStringLiteral("eng");
}

void lowerCurrentThreadPriority()
{
    // On Linux a nice value can be set per thread; Qt's thread priorities do
    // nothing under the default scheduler.
    setpriority(PRIO_PROCESS, pid_t(syscall(SYS_gettid)), 19);
}
