#include "codec/pngscale.h"

#include "codec/decodelimits.h"
#include "codec/pagedimage.h"
#include "codec/pngsource.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include <algorithm>
#include <cstring>
#include <vector>

namespace PngScale {

namespace {

// Where one source pixel (or row) goes when `src` shrink to `dst`: `weight`
// 256ths of it to `to`, the rest to `to + 1`. With dst <= src a source
// pixel never covers more than two target pixels.
struct Span
{
    uint32_t to;
    uint32_t weight;
};

// Source pixels (or rows) one after another, made as they are asked for: a
// table of them would cost 8 bytes a source row, 800 MB for an image of 100
// million rows one pixel wide.
class Spans
{
public:
    Spans(uint32_t src, uint32_t dst) : m_src(src), m_dst(dst), m_boundary(src) {}

    // The span of source pixel `x`, the one after the last asked for.
    Span next()
    {
        // Positions in target pixels times `src`, so everything stays integral.
        const uint64_t start = m_start, end = start + m_dst;
        m_start = end;
        while (start >= m_boundary) {
            ++m_to;
            m_boundary += m_src;
        }
        const uint32_t weight = end <= m_boundary ? 256 : uint32_t(((m_boundary - start) * 256 + m_dst / 2) / m_dst);
        return {m_to, weight};
    }

private:
    uint64_t m_src, m_dst;
    uint64_t m_start = 0, m_boundary;
    uint32_t m_to = 0;
};

// The source pixels [begin, end) that make one target pixel: the first and
// the last with these weights (256ths), those between whole.
struct Cover
{
    uint32_t begin = 0, end = 0;
    uint32_t firstWeight = 0, lastWeight = 0;
};

std::vector<Cover> coversFor(uint32_t src, uint32_t dst)
{
    std::vector<Cover> covers(dst);
    Spans spans(src, dst);
    const auto add = [&](uint32_t to, uint32_t x, uint32_t weight) {
        Cover &c = covers[to];
        if (c.end == 0) {
            c.begin = x;
            c.firstWeight = weight;
        }
        c.end = x + 1;
        c.lastWeight = weight;
    };
    for (uint32_t x = 0; x < src; ++x) {
        const Span span = spans.next();
        add(span.to, x, span.weight);
        if (span.weight < 256)
            add(span.to + 1, x, 256 - span.weight);
    }
    return covers;
}

// Sums one decoded row into `out`, C values per target pixel, in 256ths.
// With alpha the colours are premultiplied and alpha is scaled by 255 to
// match. Plain locals rather than arrays keep every sum in a register. A
// 32-bit sum holds up to 250 source pixels (255 * 255 * 256 each with
// alpha); wider covers take 64 bits.
template <int C, typename Sum>
void foldRow(const uint8_t *row, const std::vector<Cover> &covers, Sum *out)
{
    for (const Cover &c : covers) {
        const uint8_t *p = row + size_t(c.begin) * C;
        const uint8_t *last = row + size_t(c.end - 1) * C;
        Sum s0, s1, s2, s3 = 0;
        const auto load = [](const uint8_t *q, Sum &v0, Sum &v1, Sum &v2, Sum &v3) {
            if constexpr (C == 4) {
                const uint32_t alpha = q[3];
                v0 = q[0] * alpha;
                v1 = q[1] * alpha;
                v2 = q[2] * alpha;
                v3 = alpha * 255;
            } else {
                v0 = q[0];
                v1 = q[1];
                v2 = q[2];
                v3 = 0;
            }
        };
        Sum f0, f1, f2, f3;
        load(p, f0, f1, f2, f3);
        s0 = s1 = s2 = 0;
        for (p += C; p < last; p += C) {
            Sum v0, v1, v2, v3;
            load(p, v0, v1, v2, v3);
            s0 += v0;
            s1 += v1;
            s2 += v2;
            s3 += v3;
        }
        s0 = f0 * c.firstWeight + s0 * 256;
        s1 = f1 * c.firstWeight + s1 * 256;
        s2 = f2 * c.firstWeight + s2 * 256;
        s3 = f3 * c.firstWeight + s3 * 256;
        if (c.end - 1 > c.begin) {
            Sum l0, l1, l2, l3;
            load(last, l0, l1, l2, l3);
            s0 += l0 * c.lastWeight;
            s1 += l1 * c.lastWeight;
            s2 += l2 * c.lastWeight;
            s3 += l3 * c.lastWeight;
        }
        out[0] = s0;
        out[1] = s1;
        out[2] = s2;
        if constexpr (C == 4)
            out[3] = s3;
        out += C;
    }
}

template <typename Real>
inline uint32_t toByte(Real value)
{
    return uint32_t(std::clamp<Real>(value + Real(0.5), 0, 255));
}

// What each target column's sums are divided by: the weights of its cover.
template <typename Real>
std::vector<Real> columnScales(const std::vector<Cover> &columns, Real divisor)
{
    std::vector<Real> scales(columns.size());
    for (size_t d = 0; d < columns.size(); ++d) {
        const Cover &c = columns[d];
        const uint32_t weight =
            c.end - c.begin == 1 ? c.firstWeight : c.firstWeight + c.lastWeight + 256 * (c.end - c.begin - 2);
        scales[d] = Real(1) / (Real(weight) * divisor);
    }
    return scales;
}

// Source row y (C bytes a pixel) comes from `source`, in order. `Sum` holds
// a row's sum over one target pixel, `Real` the rows' sums: floats lose
// levels past a few hundred rows a target row.
template <int C, typename Sum, typename Real>
Result decode(PngSource &source, QSize target)
{
    const uint32_t srcW = source.width(), srcH = source.height();
    const auto dstW = uint32_t(target.width()), dstH = uint32_t(target.height());
    const std::vector<Cover> columns = coversFor(srcW, dstW);
    Spans rows(srcH, dstH);

    // Premultiplied alpha divides by 255 as well.
    const std::vector<Real> columnScale = columnScales<Real>(columns, C == 4 ? 255 : 1);

    Result result;
    result.image = PagedImage::create(target, C == 4 ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
    if (result.image.isNull()) {
        result.outcome = Outcome::Failed;
        return result;
    }

    std::vector<Sum> folded(size_t(dstW) * C);
    // The target row being filled and the next one, which takes the rest of
    // a source row that straddles both.
    std::vector<Real> current(size_t(dstW) * C, 0), next(size_t(dstW) * C, 0);
    Real currentWeight = 0, nextWeight = 0;
    uint32_t currentRow = 0;

    const auto finishRow = [&](uint32_t y) {
        auto *out = reinterpret_cast<QRgb *>(result.image.scanLine(int(y)));
        const Real rowScale = currentWeight > 0 ? 1 / currentWeight : 0;
        for (uint32_t x = 0; x < dstW; ++x) {
            const Real scale = columnScale[x] * rowScale;
            const Real *v = current.data() + size_t(x) * C;
            if constexpr (C == 4)
                out[x] = qRgba(toByte(v[0] * scale), toByte(v[1] * scale), toByte(v[2] * scale), toByte(v[3] * scale));
            else
                out[x] = qRgb(toByte(v[0] * scale), toByte(v[1] * scale), toByte(v[2] * scale));
        }
    };

    for (uint32_t y = 0; y < srcH; ++y) {
        const uint8_t *row = source.row(y);
        if (!row) {
            result.outcome = Outcome::Failed;
            result.image = QImage();
            return result;
        }
        foldRow<C>(row, columns, folded.data());

        const Span span = rows.next();
        if (span.to != currentRow) {
            finishRow(currentRow);
            current.swap(next);
            std::fill(next.begin(), next.end(), Real(0));
            currentWeight = nextWeight;
            nextWeight = 0;
            currentRow = span.to;
        }
        const Real wa = Real(span.weight) / 256, wb = 1 - wa;
        const size_t n = size_t(dstW) * C;
        for (size_t i = 0; i < n; ++i)
            current[i] += Real(folded[i]) * wa;
        if (span.weight < 256) {
            for (size_t i = 0; i < n; ++i)
                next[i] += Real(folded[i]) * wb;
        }
        currentWeight += wa;
        nextWeight += wb;
    }
    finishRow(currentRow);
    result.outcome = Outcome::Done;
    return result;
}

#if defined(__SSE2__)
// decode<3, uint32_t, float> with a pixel's channels in the lanes of one
// register, in the same integer and float steps, so the result is the same
// to the bit: a screenshot's rows are folded in well under half the time.
// The row sums go straight into the target rows, four lanes a pixel (the
// fourth unused). A cover is at most 251 pixels, so its whole pixels sum in
// 16-bit lanes.
Result decodeOpaque(PngSource &source, QSize target)
{
    const uint32_t srcW = source.width(), srcH = source.height();
    const auto dstW = uint32_t(target.width()), dstH = uint32_t(target.height());
    const std::vector<Cover> columns = coversFor(srcW, dstW);
    Spans rows(srcH, dstH);
    const std::vector<float> columnScale = columnScales<float>(columns, 1);

    Result result;
    result.image = PagedImage::create(target, QImage::Format_RGB32);
    if (result.image.isNull()) {
        result.outcome = Outcome::Failed;
        return result;
    }
    std::vector<float> current(size_t(dstW) * 4, 0), next(size_t(dstW) * 4, 0);
    float currentWeight = 0, nextWeight = 0;
    uint32_t currentRow = 0;
    const __m128i zero = _mm_setzero_si128();
    // A pixel's three bytes in 16-bit lanes (and the next pixel's first byte).
    const auto load = [zero](const uint8_t *p) {
        int32_t v;
        std::memcpy(&v, p, 4);
        return _mm_unpacklo_epi8(_mm_cvtsi32_si128(v), zero);
    };

    const auto finishRow = [&](uint32_t y) {
        auto *out = reinterpret_cast<QRgb *>(result.image.scanLine(int(y)));
        const float rowScale = currentWeight > 0 ? 1 / currentWeight : 0;
        const __m128 half = _mm_set1_ps(0.5f), top = _mm_set1_ps(255.0f), none = _mm_setzero_ps();
        for (uint32_t x = 0; x < dstW; ++x) {
            const __m128 v =
                _mm_mul_ps(_mm_loadu_ps(current.data() + size_t(x) * 4), _mm_set1_ps(columnScale[x] * rowScale));
            const __m128i bytes = _mm_cvttps_epi32(_mm_min_ps(_mm_max_ps(_mm_add_ps(v, half), none), top));
            // r g b in lanes 0 1 2 become b g r of a QRgb.
            const __m128i bgr = _mm_shufflelo_epi16(_mm_packs_epi32(bytes, bytes), _MM_SHUFFLE(3, 0, 1, 2));
            out[x] = (uint32_t(_mm_cvtsi128_si32(_mm_packus_epi16(bgr, bgr))) & 0xffffffu) | 0xff000000u;
        }
    };

    for (uint32_t y = 0; y < srcH; ++y) {
        const uint8_t *row = source.row(y);
        if (!row) {
            result.outcome = Outcome::Failed;
            result.image = QImage();
            return result;
        }
        const Span span = rows.next();
        if (span.to != currentRow) {
            finishRow(currentRow);
            current.swap(next);
            std::fill(next.begin(), next.end(), 0.0f);
            currentWeight = nextWeight;
            nextWeight = 0;
            currentRow = span.to;
        }
        const float a = float(span.weight) / 256, b = 1 - a;
        const __m128 wa = _mm_set1_ps(a), wb = _mm_set1_ps(b);
        float *into = current.data(), *spill = next.data();
        for (const Cover &c : columns) {
            const uint8_t *p = row + size_t(c.begin) * 3;
            const uint8_t *last = row + size_t(c.end - 1) * 3;
            __m128i whole = zero;
            for (const uint8_t *q = p + 3; q < last; q += 3)
                whole = _mm_add_epi16(whole, load(q));
            __m128i sum =
                _mm_add_epi32(_mm_unpacklo_epi16(_mm_mullo_epi16(load(p), _mm_set1_epi16(short(c.firstWeight))), zero),
                              _mm_slli_epi32(_mm_unpacklo_epi16(whole, zero), 8));
            if (last > p)
                sum = _mm_add_epi32(
                    sum, _mm_unpacklo_epi16(_mm_mullo_epi16(load(last), _mm_set1_epi16(short(c.lastWeight))), zero));
            const __m128 folded = _mm_cvtepi32_ps(sum);
            _mm_storeu_ps(into, _mm_add_ps(_mm_loadu_ps(into), _mm_mul_ps(folded, wa)));
            if (span.weight < 256)
                _mm_storeu_ps(spill, _mm_add_ps(_mm_loadu_ps(spill), _mm_mul_ps(folded, wb)));
            into += 4;
            spill += 4;
        }
        currentWeight += a;
        nextWeight += b;
    }
    finishRow(currentRow);
    result.outcome = Outcome::Done;
    return result;
}
#endif

template <int C>
Result decodeWith(PngSource &source, QSize target)
{
    // Sums over more source pixels than 32 bits and floats hold exactly
    // enough of.
    const bool wide =
        source.width() / uint32_t(target.width()) > 250 || source.height() / uint32_t(target.height()) > 250;
#if defined(__SSE2__)
    if constexpr (C == 3) {
        if (!wide)
            return decodeOpaque(source, target);
    }
#endif
    return wide ? decode<C, uint64_t, double>(source, target) : decode<C, uint32_t, float>(source, target);
}

} // namespace

QSize fittedSize(QSize full, int pixels)
{
    if (full.width() <= pixels && full.height() <= pixels)
        return full;
    return full.scaled(pixels, pixels, Qt::KeepAspectRatio).expandedTo(QSize(1, 1));
}

Result readScaled(const QString &path, int pixels, qint64 maxPixels)
{
    if (pixels <= 0)
        return {Outcome::Failed, {}};
    return readScaled(
        path, [pixels](QSize full) { return fittedSize(full, pixels); }, maxPixels);
}

Result readScaled(const QString &path, const std::function<QSize(QSize)> &sizeFor, qint64 maxPixels)
{
    Result failed{Outcome::Failed, {}};
    PngSource source;
    switch (source.open(path, maxPixels)) {
    case PngRows::Status::Ready:
        break;
    case PngRows::Status::Failed:
        return failed;
    case PngRows::Status::NotHandled:
        return {};
    }
    const QSize full(int(source.width()), int(source.height()));
    const QSize target = sizeFor(full);
    // Never enlarged. What is made counts towards the bound as well: the
    // image, and the sums of a row of it (32 bytes a pixel at most).
    const qint64 holds = qint64(target.width()) * target.height() * 4 + qint64(target.width()) * 32
                         + PngSource::rowBytesFor(source.width());
    if (target.isEmpty() || target.width() > full.width() || target.height() > full.height()
        || holds > DecodeLimits::maxBytes)
        return failed;
    return source.channels() == 4 ? decodeWith<4>(source, target) : decodeWith<3>(source, target);
}

} // namespace PngScale
