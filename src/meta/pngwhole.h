#pragma once

#include <cstdint>
#include <cstdio>
#include <cstddef>

// The fast way through the common PNG: 8-bit RGB or RGBA, not interlaced.
// All its IDAT data is read and inflated in one call (libdeflate, two to
// three times zlib's streaming speed), and rows are unfiltered in place one at
// a time as the caller asks for them. What it holds is the filtered image
// (3 or 4 bytes a pixel) plus the compressed data; the caller decides whether
// a file is small enough for that.
namespace PngWhole {

struct Header
{
    uint32_t width = 0, height = 0;
    uint8_t bitDepth = 0, colourType = 0, interlace = 0;
};

enum class Status {
    Ready,      // rows can be read
    Failed,     // damaged or cut short
    NotHandled, // valid as far as read, but a kind this path does not take
};

// Reads the IHDR chunk that must follow the signature (`file` is just past it).
Status readHeader(FILE *file, Header &header);

// Pages straight from the kernel, handed back when done: through malloc,
// blocks this size would stay in each thread's arena after they are freed.
class Pages
{
public:
    Pages() = default;
    explicit Pages(size_t bytes);
    Pages(Pages &&other) noexcept;
    Pages &operator=(Pages &&other) noexcept;
    ~Pages();
    uint8_t *data() const { return m_data; }

private:
    uint8_t *m_data = nullptr;
    size_t m_bytes = 0;
};

class Rows
{
public:
    // Reads the chunks after IHDR up to the end of the image data and inflates
    // it. Takes 8-bit colour types 2 (without tRNS) and 6, not interlaced.
    Status load(FILE *file, const Header &header, int64_t fileSize);

    // Row `y` unfiltered, or null for a filter byte that is not one of the
    // five. Rows must be asked for in order from 0.
    const uint8_t *row(uint32_t y);

    int channels() const { return m_channels; }

private:
    Pages m_filtered;
    Pages m_zeroRow; // what the first row's "above" is
    size_t m_rowBytes = 0;
    int m_channels = 0;
};

// Undoes one row's filter in place given the row above (already undone).
// `channels` is 3 or 4; both rows may be read a byte past their end.
bool unfilter(uint8_t filter, uint8_t *row, const uint8_t *above, size_t bytes, int channels);

} // namespace PngWhole
