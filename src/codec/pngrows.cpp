#include "codec/pngrows.h"

#include <isa-l/crc.h>
#include <isa-l/igzip_lib.h>

#if defined(__SSE2__)
#include <emmintrin.h>
#include <immintrin.h>
#endif

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace PngRows {

namespace {

// Past the last row: the per-pixel loads below read 4 bytes for a 3-byte
// pixel.
constexpr size_t padding = 16;
// A batch of rows small enough to stay in the core's cache between being
// inflated and being unfiltered and folded.
constexpr size_t batchBytes = 256 * 1024;
constexpr size_t inputBytes = 64 * 1024;
// Two rows are held whatever the batch; a row wider than this is refused
// rather than held (no screen is a million pixels wide).
constexpr size_t maxStride = 16u << 20;

uint32_t bigEndian(const uint8_t *p)
{
    return uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | p[3];
}

#if defined(__SSE2__)
// ISA-L's inflate and CRC return with the upper halves of the AVX registers
// in use; until they are cleared, every SSE instruction after them that is
// not VEX-encoded (ours, and most of Qt's and Tesseract's) pays for the
// transition. Without this, unfiltering and averaging took 70 % longer, and
// recognition after a PNG was read a third longer.
__attribute__((target("avx"))) void clearUpperHalves() { _mm256_zeroupper(); }

void leaveWideRegisters()
{
    static const bool avx = __builtin_cpu_supports("avx");
    if (avx)
        clearUpperHalves();
}
#else
void leaveWideRegisters() {}
#endif

uint32_t crc32(uint32_t crc, const uint8_t *data, size_t bytes)
{
    crc = crc32_gzip_refl(crc, data, bytes);
    leaveWideRegisters();
    return crc;
}

struct Chunk
{
    uint32_t length = 0;
    char type[4] = {};
    bool is(const char *name) const { return std::memcmp(type, name, 4) == 0; }
};

bool readChunkHead(FILE *file, Chunk &chunk)
{
    uint8_t head[8];
    if (std::fread(head, 1, 8, file) != 8)
        return false;
    chunk.length = bigEndian(head);
    std::memcpy(chunk.type, head + 4, 4);
    return chunk.length <= 0x7fffffffu;
}

// Fuzzed inputs would hardly ever get past a checksum to the code behind it.
#ifdef FUZZING_BUILD_MODE_UNSAFE_FOR_PRODUCTION
constexpr bool checkCrc = false;
#else
constexpr bool checkCrc = true;
#endif

bool readCrc(FILE *file, uint32_t expected)
{
    uint8_t crc[4];
    return std::fread(crc, 1, 4, file) == 4 && (!checkCrc || bigEndian(crc) == expected);
}

// Reads the body and checks the CRC over type and body.
bool readChunkBody(FILE *file, const Chunk &chunk, uint8_t *body)
{
    if (std::fread(body, 1, chunk.length, file) != chunk.length)
        return false;
    return readCrc(file, crc32(crc32(0, reinterpret_cast<const uint8_t *>(chunk.type), 4), body, chunk.length));
}

#if defined(__SSE2__)
inline __m128i load32(const uint8_t *p)
{
    int32_t v;
    std::memcpy(&v, p, 4);
    return _mm_unpacklo_epi8(_mm_cvtsi32_si128(v), _mm_setzero_si128());
}

inline __m128i abs16(__m128i v) { return _mm_max_epi16(v, _mm_sub_epi16(_mm_setzero_si128(), v)); }

// `yes` where `mask` is set, else `no`; with `yes ^ no` at hand, two steps.
inline __m128i pick(__m128i mask, __m128i no, __m128i yesXorNo)
{
    return _mm_xor_si128(no, _mm_and_si128(yesXorNo, mask));
}

// Sub, Average and Paeth depend on the pixel to the left, so they run one
// pixel at a time, all its channels at once in 16-bit lanes, and the time is
// the chain from one pixel's left neighbour to the next: `predict` keeps on
// it only what depends on `left`. A 3-byte pixel is loaded as 4 bytes
// (reading the next pixel's first byte, not yet undone) and stored as 3.
template <int Channels, typename Predict>
void perPixel(uint8_t *row, const uint8_t *above, size_t bytes, Predict predict)
{
    const __m128i low = _mm_set1_epi16(0xff);
    __m128i left = _mm_setzero_si128(), upLeft = _mm_setzero_si128();
    for (size_t i = 0; i < bytes; i += Channels) {
        const __m128i up = load32(above + i);
        left = _mm_and_si128(_mm_add_epi16(load32(row + i), predict(left, up, upLeft)), low);
        const int32_t packed = _mm_cvtsi128_si32(_mm_packus_epi16(left, left));
        std::memcpy(row + i, &packed, Channels);
        upLeft = up;
    }
}

template <int Channels>
bool unfilterRow(uint8_t filter, uint8_t *row, const uint8_t *above, size_t bytes)
{
    switch (filter) {
    case 0:
        return true;
    case 1:
        perPixel<Channels>(row, above, bytes, [](__m128i left, __m128i, __m128i) { return left; });
        return true;
    case 2: {
        size_t i = 0;
        for (; i + 16 <= bytes; i += 16) {
            const __m128i r = _mm_loadu_si128(reinterpret_cast<const __m128i *>(row + i));
            const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i *>(above + i));
            _mm_storeu_si128(reinterpret_cast<__m128i *>(row + i), _mm_add_epi8(r, a));
        }
        for (; i < bytes; ++i)
            row[i] = uint8_t(row[i] + above[i]);
        return true;
    }
    case 3:
        perPixel<Channels>(row, above, bytes, [](__m128i left, __m128i up, __m128i) {
            return _mm_srli_epi16(_mm_add_epi16(left, up), 1);
        });
        return true;
    case 4:
        perPixel<Channels>(row, above, bytes, [](__m128i a, __m128i b, __m128i c) {
            // The neighbour nearest to a + b - c, ties to left, then up.
            const __m128i bc = _mm_sub_epi16(b, c), pa = abs16(bc), cXorB = _mm_xor_si128(c, b);
            const __m128i ac = _mm_sub_epi16(a, c);
            const __m128i pb = abs16(ac), pc = abs16(_mm_add_epi16(bc, ac));
            const __m128i bOrC = pick(_mm_cmpgt_epi16(pb, pc), b, cXorB);
            return pick(_mm_cmpgt_epi16(pa, _mm_min_epi16(pb, pc)), a, _mm_xor_si128(bOrC, a));
        });
        return true;
    default:
        return false;
    }
}

#else
// Elsewhere, one byte at a time.
template <int Channels>
bool unfilterRow(uint8_t filter, uint8_t *row, const uint8_t *above, size_t bytes)
{
    if (filter > 4)
        return false;
    for (size_t i = 0; filter != 0 && i < bytes; ++i) {
        const int a = i >= Channels ? row[i - Channels] : 0, b = above[i], c = i >= Channels ? above[i - Channels] : 0;
        const int pa = std::abs(b - c), pb = std::abs(a - c), pc = std::abs(a + b - 2 * c);
        const int paeth = pa <= pb && pa <= pc ? a : pb <= pc ? b : c;
        const int predicted[] = {0, a, b, (a + b) >> 1, paeth};
        row[i] = uint8_t(row[i] + predicted[filter]);
    }
    return true;
}
#endif

} // namespace

bool unfilter(uint8_t filter, uint8_t *row, const uint8_t *above, size_t bytes, int channels)
{
    return channels == 4 ? unfilterRow<4>(filter, row, above, bytes) : unfilterRow<3>(filter, row, above, bytes);
}

Status readHeader(FILE *file, Header &header)
{
    static constexpr uint8_t signature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
    uint8_t head[8];
    if (std::fread(head, 1, 8, file) != 8 || std::memcmp(head, signature, 8) != 0)
        return Status::NotHandled;
    Chunk chunk;
    uint8_t body[13];
    if (!readChunkHead(file, chunk) || !chunk.is("IHDR") || chunk.length != 13 || !readChunkBody(file, chunk, body))
        return Status::Failed;
    header.width = bigEndian(body);
    header.height = bigEndian(body + 4);
    header.bitDepth = body[8];
    header.colourType = body[9];
    header.interlace = body[12];
    // Only one compression method, one filter method and two interlace
    // methods exist.
    if (header.width == 0 || header.height == 0 || header.width > 0x7fffffffu || header.height > 0x7fffffffu
        || body[10] != 0 || body[11] != 0 || header.interlace > 1)
        return Status::Failed;
    return Status::Ready;
}

Rows::Rows() = default;
Rows::~Rows() = default;

Status Rows::open(FILE *file, const Header &header)
{
    if (header.bitDepth != 8 || header.interlace != 0 || (header.colourType != 2 && header.colourType != 6))
        return Status::NotHandled;
    m_file = file;
    m_height = header.height;
    m_channels = header.colourType == 6 ? 4 : 3;
    m_stride = size_t(header.width) * size_t(m_channels) + 1;
    if (m_stride > maxStride)
        return Status::Failed;
    m_batchRows = uint32_t(std::clamp<size_t>(batchBytes / m_stride, 1, m_height));

    Chunk chunk;
    for (;;) {
        if (!readChunkHead(file, chunk))
            return Status::Failed;
        if (chunk.is("IDAT"))
            break;
        if (chunk.is("IEND"))
            return Status::Failed;
        // A transparent colour needs the general path; so does any critical
        // chunk we do not know.
        if (chunk.is("tRNS") || (!(chunk.type[0] & 0x20) && !chunk.is("PLTE")))
            return Status::NotHandled;
        if (std::fseek(file, long(chunk.length) + 4, SEEK_CUR) != 0)
            return Status::Failed;
    }
    m_chunkLeft = chunk.length;
    m_chunkCrc = crc32(0, reinterpret_cast<const uint8_t *>(chunk.type), 4);

    m_inflate = std::make_unique<inflate_state>();
    isal_inflate_init(m_inflate.get());
    m_inflate->crc_flag = ISAL_DEFLATE;
    m_input.resize(inputBytes);
    m_inflate->avail_in = 0;
    // A zlib stream: deflate, a window of at most 32 KB, no preset
    // dictionary. Its checksum is skipped (every chunk's CRC is checked).
    if (!readMore())
        return Status::Failed;
    if (m_inflate->avail_in < 2)
        return Status::NotHandled; // a header split over chunks: valid, and left to libspng
    const uint8_t *z = m_inflate->next_in;
    if ((z[0] & 0x0f) != 8 || (z[0] >> 4) > 7 || (z[1] & 0x20) || (z[0] * 256 + z[1]) % 31)
        return Status::Failed;
    m_inflate->next_in += 2;
    m_inflate->avail_in -= 2;

    m_rows.assign((size_t(m_batchRows) + 1) * m_stride + padding, 0);
    m_batchStart = m_batchCount = 0;
    return Status::Ready;
}

// The next piece of image data into the input, across chunk boundaries;
// false at its end or on damage.
bool Rows::readMore()
{
    while (m_chunkLeft == 0) {
        if (!readCrc(m_file, m_chunkCrc))
            return false;
        Chunk chunk;
        if (!readChunkHead(m_file, chunk) || !chunk.is("IDAT"))
            return false; // the image data ends at its first other chunk
        m_chunkLeft = chunk.length;
        m_chunkCrc = crc32(0, reinterpret_cast<const uint8_t *>(chunk.type), 4);
    }
    const size_t want = std::min<size_t>(m_chunkLeft, m_input.size());
    if (std::fread(m_input.data(), 1, want, m_file) != want)
        return false;
    m_chunkCrc = crc32(m_chunkCrc, m_input.data(), want);
    m_chunkLeft -= uint32_t(want);
    m_inflate->next_in = m_input.data();
    m_inflate->avail_in = uint32_t(want);
    return true;
}

// Reads what is left of the chunk the image data ended in and checks it.
bool Rows::endChunk()
{
    uint8_t rest[4096];
    while (m_chunkLeft > 0) {
        const size_t want = std::min<size_t>(m_chunkLeft, sizeof rest);
        if (std::fread(rest, 1, want, m_file) != want)
            return false;
        m_chunkCrc = crc32(m_chunkCrc, rest, want);
        m_chunkLeft -= uint32_t(want);
    }
    return readCrc(m_file, m_chunkCrc);
}

bool Rows::fillBatch()
{
    // The last row of the batch before is the first one's "above".
    if (m_batchCount > 0)
        std::memcpy(m_rows.data(), m_rows.data() + size_t(m_batchCount) * m_stride, m_stride);
    m_batchStart += m_batchCount;
    m_batchCount = std::min(m_batchRows, m_height - m_batchStart);
    inflate_state &z = *m_inflate;
    z.next_out = m_rows.data() + m_stride;
    z.avail_out = uint32_t(size_t(m_batchCount) * m_stride);
    while (z.avail_out > 0) {
        const uint32_t in = z.avail_in, out = z.avail_out;
        const int status = isal_inflate(&z);
        leaveWideRegisters();
        if (status < 0)
            return false;
        if (z.avail_out == 0)
            break;
        if (z.block_state == ISAL_BLOCK_FINISH)
            return false; // the stream ended before the last row
        if (z.avail_in == 0) {
            if (!readMore())
                return false;
        } else if (z.avail_in == in && z.avail_out == out) {
            return false; // no progress
        }
    }
    return true;
}

const uint8_t *Rows::row(uint32_t y)
{
    if (y >= m_batchStart + m_batchCount && !fillBatch())
        return nullptr;
    const size_t slot = y - m_batchStart + 1;
    uint8_t *line = m_rows.data() + slot * m_stride;
    if (!unfilter(line[0], line + 1, line + 1 - m_stride, m_stride - 1, m_channels))
        return nullptr;
    if (y + 1 == m_height && !endChunk())
        return nullptr;
    return line + 1;
}

} // namespace PngRows
