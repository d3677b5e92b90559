#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <vector>

struct inflate_state;

// The fast way through the common PNG: 8-bit RGB or RGBA, not interlaced.
// The image data is read a piece at a time (every chunk's CRC checked),
// inflated by ISA-L a batch of rows at a time, and each row unfiltered in
// place as the caller asks for it. What it holds is one batch of rows and
// the deflate window, never the image.
namespace PngRows {

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

// Reads the signature and the IHDR chunk that must follow it (`file` is at
// its start); NotHandled for a file that is not a PNG.
Status readHeader(FILE *file, Header &header);

class Rows
{
public:
    Rows();
    ~Rows();
    Rows(const Rows &) = delete;
    Rows &operator=(const Rows &) = delete;

    // Reads the chunks after IHDR up to the image data. Takes 8-bit colour
    // types 2 (without tRNS) and 6, not interlaced.
    Status open(FILE *file, const Header &header);

    // Row `y` unfiltered, or null for damaged or missing data. Rows must be
    // asked for in order from 0. Data past the last row is not read, but the
    // chunk the last row ends in is still checked.
    const uint8_t *row(uint32_t y);

    int channels() const { return m_channels; }

private:
    bool fillBatch();
    bool readMore();
    bool endChunk();

    FILE *m_file = nullptr;
    uint32_t m_height = 0;
    int m_channels = 0;
    size_t m_stride = 0;      // a row's bytes and its filter byte
    uint32_t m_batchRows = 0; // rows inflated at a time
    // Slot 0 holds the row above the batch (zeros above the first row),
    // slots 1.. the batch.
    std::vector<uint8_t> m_rows;
    uint32_t m_batchStart = 0, m_batchCount = 0;

    std::unique_ptr<inflate_state> m_inflate;
    std::vector<uint8_t> m_input;
    uint32_t m_chunkLeft = 0; // of the IDAT chunk being read
    uint32_t m_chunkCrc = 0;
};

// Undoes one row's filter in place given the row above (already undone).
// `channels` is 3 or 4; both rows may be read a byte past their end.
bool unfilter(uint8_t filter, uint8_t *row, const uint8_t *above, size_t bytes, int channels);

} // namespace PngRows
