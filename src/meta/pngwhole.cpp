#include "meta/pngwhole.h"

#include <libdeflate.h>

#include <sys/mman.h>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

namespace PngWhole {

namespace {

// Past the last row: the per-pixel loads below read 4 bytes for a 3-byte
// pixel.
constexpr size_t padding = 16;

uint32_t bigEndian(const uint8_t *p) { return uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | p[3]; }

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

// Reads the body and checks the CRC over type and body.
bool readChunkBody(FILE *file, const Chunk &chunk, uint8_t *body)
{
    uint8_t crc[4];
    if (std::fread(body, 1, chunk.length, file) != chunk.length || std::fread(crc, 1, 4, file) != 4)
        return false;
    const uint32_t sum = libdeflate_crc32(libdeflate_crc32(0, chunk.type, 4), body, chunk.length);
    return sum == bigEndian(crc);
}

struct DecompressorFree
{
    void operator()(libdeflate_decompressor *d) const { libdeflate_free_decompressor(d); }
};

#if defined(__SSE2__)
inline __m128i load32(const uint8_t *p)
{
    int32_t v;
    std::memcpy(&v, p, 4);
    return _mm_unpacklo_epi8(_mm_cvtsi32_si128(v), _mm_setzero_si128());
}

inline __m128i abs16(__m128i v) { return _mm_max_epi16(v, _mm_sub_epi16(_mm_setzero_si128(), v)); }

// `yes` where `mask` is set, else `no`; with `yes ^ no` at hand, two steps.
inline __m128i pick(__m128i mask, __m128i no, __m128i yesXorNo) { return _mm_xor_si128(no, _mm_and_si128(yesXorNo, mask)); }

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
        perPixel<Channels>(row, above, bytes,
                           [](__m128i left, __m128i up, __m128i) { return _mm_srli_epi16(_mm_add_epi16(left, up), 1); });
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

// Anonymous pages read as zeros and take memory only once written. Faulting
// in 4 KB pages one by one cost a fifth of a screenshot's decode; large
// pages (where the system hands them out on request) take most of that back.
Pages::Pages(size_t bytes)
{
    void *pages = ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pages != MAP_FAILED && bytes >= (2u << 20))
        ::madvise(pages, bytes, MADV_HUGEPAGE);
    if (pages != MAP_FAILED) {
        m_data = static_cast<uint8_t *>(pages);
        m_bytes = bytes;
    }
}

Pages::Pages(Pages &&other) noexcept
    : m_data(std::exchange(other.m_data, nullptr)), m_bytes(std::exchange(other.m_bytes, 0))
{
}

Pages &Pages::operator=(Pages &&other) noexcept
{
    Pages gone(std::move(*this));
    m_data = std::exchange(other.m_data, nullptr);
    m_bytes = std::exchange(other.m_bytes, 0);
    return *this;
}

Pages::~Pages()
{
    if (m_data)
        ::munmap(m_data, m_bytes);
}

bool unfilter(uint8_t filter, uint8_t *row, const uint8_t *above, size_t bytes, int channels)
{
    return channels == 4 ? unfilterRow<4>(filter, row, above, bytes) : unfilterRow<3>(filter, row, above, bytes);
}

Status readHeader(FILE *file, Header &header)
{
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

Status Rows::load(FILE *file, const Header &header, int64_t fileSize)
{
    if (header.bitDepth != 8 || header.interlace != 0 || (header.colourType != 2 && header.colourType != 6))
        return Status::NotHandled;
    m_channels = header.colourType == 6 ? 4 : 3;
    m_rowBytes = size_t(header.width) * size_t(m_channels);
    const size_t filteredBytes = (m_rowBytes + 1) * header.height;

    // The compressed data is at most what is left of the file; only the
    // pages it lands on take memory.
    const long start = std::ftell(file);
    if (start < 0 || fileSize < start)
        return Status::Failed;
    const Pages compressed(size_t(fileSize - start) + 1);
    if (!compressed.data())
        return Status::Failed;
    size_t compressedBytes = 0;
    bool inData = false;
    Chunk chunk;
    for (;;) {
        if (!readChunkHead(file, chunk))
            return Status::Failed;
        if (chunk.is("IDAT")) {
            if (chunk.length > size_t(fileSize - start) - compressedBytes)
                return Status::Failed;
            if (!readChunkBody(file, chunk, compressed.data() + compressedBytes))
                return Status::Failed;
            compressedBytes += chunk.length;
            inData = true;
            continue;
        }
        if (inData || chunk.is("IEND"))
            break; // the image data ends at its first other chunk
        // A transparent colour needs the general path; so does any critical
        // chunk we do not know.
        if (chunk.is("tRNS") || (!(chunk.type[0] & 0x20) && !chunk.is("PLTE")))
            return Status::NotHandled;
        if (std::fseek(file, long(chunk.length) + 4, SEEK_CUR) != 0)
            return Status::Failed;
    }
    if (!inData)
        return Status::Failed;

    // A zlib stream: deflate, a window of at most 32 KB, no preset dictionary.
    // Its checksum is skipped (every chunk's CRC was checked).
    const uint8_t *z = compressed.data();
    if (compressedBytes < 2 || (z[0] & 0x0f) != 8 || (z[0] >> 4) > 7 || (z[1] & 0x20) || (z[0] * 256 + z[1]) % 31)
        return Status::Failed;
    m_filtered = Pages(filteredBytes + padding);
    m_zeroRow = Pages(m_rowBytes + padding);
    if (!m_filtered.data() || !m_zeroRow.data())
        return Status::Failed;
    std::unique_ptr<libdeflate_decompressor, DecompressorFree> inflater(libdeflate_alloc_decompressor());
    if (!inflater)
        return Status::Failed;
    size_t used = 0, produced = 0;
    const libdeflate_result result = libdeflate_deflate_decompress_ex(
        inflater.get(), z + 2, compressedBytes - 2, m_filtered.data(), filteredBytes, &used, &produced);
    // More data than the image needs is harmless to others' readers; the
    // streaming path decides about it.
    if (result == LIBDEFLATE_INSUFFICIENT_SPACE)
        return Status::NotHandled;
    if (result != LIBDEFLATE_SUCCESS || produced != filteredBytes)
        return Status::Failed;
    return Status::Ready;
}

const uint8_t *Rows::row(uint32_t y)
{
    uint8_t *line = m_filtered.data() + size_t(y) * (m_rowBytes + 1);
    const uint8_t *above = y == 0 ? m_zeroRow.data() : line - m_rowBytes;
    if (!unfilter(line[0], line + 1, above, m_rowBytes, m_channels))
        return nullptr;
    return line + 1;
}

} // namespace PngWhole
