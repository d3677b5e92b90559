#pragma once

#include "codec/pngrows.h"

#include <QString>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <vector>

struct spng_ctx;

// Any PNG's rows as 8-bit RGB or RGBA, top to bottom, holding at most half of
// DecodeLimits::maxBytes whatever the file claims (the caller keeps the other
// half for what it makes of them). The common kinds go through PngRows; the
// rest (grey, palettes, 16 bits, a transparent colour) through libspng with
// its chunks limited. An interlaced image arrives in passes, so it is decoded
// whole, and only when that fits. A PNG neither can read is damaged: it is
// never handed to another reader.
class PngSource
{
public:
    PngSource();
    ~PngSource();
    PngSource(const PngSource &) = delete;
    PngSource &operator=(const PngSource &) = delete;

    // Ready; Failed for a PNG that is damaged, cut short, of more than
    // `maxPixels` pixels or too large to read within the bound; NotHandled
    // for a file that is not a PNG.
    PngRows::Status open(const QString &path, qint64 maxPixels);

    uint32_t width() const { return m_header.width; }
    uint32_t height() const { return m_header.height; }
    int channels() const { return m_channels; } // 3, or 4 with alpha

    // Row `y`, asked for in order from 0; null once the file turns out damaged.
    // It may be read a few bytes past its end (a 3-byte pixel loaded as 4).
    const uint8_t *row(uint32_t y);
    static constexpr size_t rowPadding = 4;

    // The most the rows of a file `width` wide hold while it is read.
    static qint64 rowBytesFor(uint32_t width);

private:
    PngRows::Status openGeneral();

    struct FileCloser
    {
        void operator()(FILE *file) const { std::fclose(file); }
    };
    struct ContextFree
    {
        void operator()(spng_ctx *context) const;
    };

    std::unique_ptr<FILE, FileCloser> m_file;
    PngRows::Header m_header;
    int m_channels = 0;
    std::unique_ptr<PngRows::Rows> m_rows;            // the common kinds
    std::unique_ptr<spng_ctx, ContextFree> m_context; // the rest
    std::vector<uint8_t> m_buffer;                    // one row, or an interlaced image whole
    bool m_whole = false;
};
