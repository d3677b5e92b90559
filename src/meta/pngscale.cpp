#include "meta/pngscale.h"

#include "files/localpaths.h"
#include "files/pngrows.h"

#include <QFile>

#include <spng.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

namespace PngScale {

namespace {

struct FileCloser
{
    void operator()(FILE *file) const { std::fclose(file); }
};
struct ContextFree
{
    void operator()(spng_ctx *context) const { spng_ctx_free(context); }
};

// Where one source pixel (or row) goes when `src` shrink to `dst`: `weight`
// 256ths of it to `to`, the rest to `to + 1`. With dst <= src a source
// pixel never covers more than two target pixels.
struct Span
{
    uint32_t to;
    uint32_t weight;
};

std::vector<Span> spansFor(uint32_t src, uint32_t dst)
{
    std::vector<Span> spans(src);
    for (uint64_t x = 0; x < src; ++x) {
        // Positions in target pixels times `src`, so everything stays integral.
        const uint64_t start = x * dst, end = start + dst;
        const auto to = uint32_t(start / src);
        const uint64_t boundary = uint64_t(to + 1) * src;
        const uint32_t weight = end <= boundary ? 256 : uint32_t(((boundary - start) * 256 + dst / 2) / dst);
        spans[x] = {to, weight};
    }
    return spans;
}

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
    const std::vector<Span> spans = spansFor(src, dst);
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
        add(spans[x].to, x, spans[x].weight);
        if (spans[x].weight < 256)
            add(spans[x].to + 1, x, 256 - spans[x].weight);
    }
    return covers;
}

// Sums one decoded row into `out`, C values per target pixel, in 256ths.
// With alpha the colours are premultiplied and alpha is scaled by 255 to
// match. Plain locals rather than arrays keep every sum in a register.
template <int C>
void foldRow(const uint8_t *row, const std::vector<Cover> &covers, uint32_t *out)
{
    for (const Cover &c : covers) {
        const uint8_t *p = row + size_t(c.begin) * C;
        const uint8_t *last = row + size_t(c.end - 1) * C;
        uint32_t s0, s1, s2, s3 = 0;
        const auto load = [](const uint8_t *q, uint32_t &v0, uint32_t &v1, uint32_t &v2, uint32_t &v3) {
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
        uint32_t f0, f1, f2, f3;
        load(p, f0, f1, f2, f3);
        s0 = s1 = s2 = 0;
        for (p += C; p < last; p += C) {
            uint32_t v0, v1, v2, v3;
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
            uint32_t l0, l1, l2, l3;
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

inline uint32_t toByte(float value)
{
    return uint32_t(std::clamp(value + 0.5f, 0.0f, 255.0f));
}

// `nextRow(y)` gives source row y (C bytes a pixel) or null when the file
// turns out damaged; rows are asked for in order.
template <int C, typename NextRow>
Result decode(uint32_t srcW, uint32_t srcH, QSize target, NextRow nextRow)
{
    const auto dstW = uint32_t(target.width()), dstH = uint32_t(target.height());
    const std::vector<Cover> columns = coversFor(srcW, dstW);
    const std::vector<Span> rows = spansFor(srcH, dstH);

    // What each target column's sums are divided by: its weights, times 255
    // with premultiplied alpha.
    std::vector<float> columnScale(dstW);
    for (uint32_t d = 0; d < dstW; ++d) {
        const Cover &c = columns[d];
        const uint32_t weight = c.end - c.begin == 1 ? c.firstWeight
                                                     : c.firstWeight + c.lastWeight + 256 * (c.end - c.begin - 2);
        columnScale[d] = 1.0f / (float(weight) * (C == 4 ? 255.0f : 1.0f));
    }

    Result result;
    result.image = QImage(target, C == 4 ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
    if (result.image.isNull()) {
        result.outcome = Outcome::Failed;
        return result;
    }

    std::vector<uint32_t> folded(size_t(dstW) * C);
    // The target row being filled and the next one, which takes the rest of
    // a source row that straddles both.
    std::vector<float> current(size_t(dstW) * C, 0.0f), next(size_t(dstW) * C, 0.0f);
    float currentWeight = 0, nextWeight = 0;
    uint32_t currentRow = 0;

    const auto finishRow = [&](uint32_t y) {
        auto *out = reinterpret_cast<QRgb *>(result.image.scanLine(int(y)));
        const float rowScale = currentWeight > 0 ? 1.0f / currentWeight : 0.0f;
        for (uint32_t x = 0; x < dstW; ++x) {
            const float scale = columnScale[x] * rowScale;
            const float *v = current.data() + size_t(x) * C;
            if constexpr (C == 4)
                out[x] = qRgba(toByte(v[0] * scale), toByte(v[1] * scale), toByte(v[2] * scale), toByte(v[3] * scale));
            else
                out[x] = qRgb(toByte(v[0] * scale), toByte(v[1] * scale), toByte(v[2] * scale));
        }
    };

    for (uint32_t y = 0; y < srcH; ++y) {
        const uint8_t *row = nextRow(y);
        if (!row) {
            result.outcome = Outcome::Failed;
            result.image = QImage();
            return result;
        }
        foldRow<C>(row, columns, folded.data());

        const Span span = rows[y];
        if (span.to != currentRow) {
            finishRow(currentRow);
            current.swap(next);
            std::fill(next.begin(), next.end(), 0.0f);
            currentWeight = nextWeight;
            nextWeight = 0;
            currentRow = span.to;
        }
        const float wa = float(span.weight) / 256.0f, wb = 1.0f - wa;
        const size_t n = size_t(dstW) * C;
        for (size_t i = 0; i < n; ++i)
            current[i] += float(folded[i]) * wa;
        if (span.weight < 256) {
            for (size_t i = 0; i < n; ++i)
                next[i] += float(folded[i]) * wb;
        }
        currentWeight += wa;
        nextWeight += wb;
    }
    finishRow(currentRow);
    result.outcome = Outcome::Done;
    return result;
}

// Rows as libspng decodes them one at a time: any bit depth, palettes, grey,
// a transparent colour. `file` is at its start.
template <int C>
Result decodeStreaming(spng_ctx *context, uint32_t width, uint32_t height, QSize target)
{
    const int format = C == 4 ? SPNG_FMT_RGBA8 : SPNG_FMT_RGB8;
    if (spng_decode_image(context, nullptr, 0, format, SPNG_DECODE_TRNS | SPNG_DECODE_PROGRESSIVE) != 0)
        return {Outcome::Failed, {}};
    std::vector<uint8_t> row(size_t(width) * C);
    return decode<C>(width, height, target, [&](uint32_t y) -> const uint8_t * {
        const int status = spng_decode_row(context, row.data(), row.size());
        // The last row's call reports the end of the image.
        return status == 0 || (status == SPNG_EOI && y == height - 1) ? row.data() : nullptr;
    });
}

Result readStreaming(FILE *file, QSize target)
{
    Result failed{Outcome::Failed, {}};
    // The checksum of the decompressed rows is skipped (a few percent of
    // the time); every chunk's CRC is still checked, so damage is caught.
    std::unique_ptr<spng_ctx, ContextFree> context(spng_ctx_new(SPNG_CTX_IGNORE_ADLER32));
    if (!context)
        return failed;
    // Ancillary chunks are not ours to hold in memory without end.
    spng_set_chunk_limits(context.get(), 16u << 20, 64u << 20);
    spng_set_image_limits(context.get(), 1u << 20, 1u << 20);
    spng_ihdr header{};
    if (spng_set_png_file(context.get(), file) != 0 || spng_get_ihdr(context.get(), &header) != 0)
        return failed;
    spng_trns transparency{};
    const bool alpha = header.color_type == SPNG_COLOR_TYPE_GRAYSCALE_ALPHA
                       || header.color_type == SPNG_COLOR_TYPE_TRUECOLOR_ALPHA
                       || spng_get_trns(context.get(), &transparency) == 0;
    return alpha ? decodeStreaming<4>(context.get(), header.width, header.height, target)
                 : decodeStreaming<3>(context.get(), header.width, header.height, target);
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
    Result failed{Outcome::Failed, {}};
    std::unique_ptr<FILE, FileCloser> file(std::fopen(LocalPaths::pathBytes(path).constData(), "rbe"));
    if (!file)
        return failed;
    PngRows::Header header;
    switch (PngRows::readHeader(file.get(), header)) {
    case PngRows::Status::Ready:
        break;
    case PngRows::Status::Failed:
        return failed;
    case PngRows::Status::NotHandled:
        return {};
    }
    const qint64 sourcePixels = qint64(header.width) * header.height;
    if (sourcePixels > maxPixels || pixels <= 0)
        return failed;
    // Interlaced rows arrive in seven passes; the general decoder takes them.
    if (header.interlace != 0)
        return {};
    const QSize target = fittedSize(QSize(int(header.width), int(header.height)), pixels);
    // A target pixel's 32-bit sum over more than 250 source pixels of a row
    // could overflow (up to 255 * 255 * 256 each with alpha).
    if (header.width / uint32_t(target.width()) > 250)
        return {};

    PngRows::Rows rows;
    switch (rows.open(file.get(), header)) {
    case PngRows::Status::Ready: {
        const auto next = [&rows](uint32_t y) { return rows.row(y); };
        return rows.channels() == 4 ? decode<4>(header.width, header.height, target, next)
                                    : decode<3>(header.width, header.height, target, next);
    }
    case PngRows::Status::Failed:
        return failed;
    case PngRows::Status::NotHandled:
        break;
    }
    if (std::fseek(file.get(), 0, SEEK_SET) != 0)
        return failed;
    return readStreaming(file.get(), target);
}

} // namespace PngScale
