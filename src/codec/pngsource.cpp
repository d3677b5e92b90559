#include "codec/pngsource.h"

#include "codec/decodelimits.h"
#include "files/localpaths.h"
#include "files/logcategories.h"

#include <QFile>

#include <spng.h>

namespace {

constexpr qint64 bound = DecodeLimits::maxBytes / 2;

} // namespace

void PngSource::ContextFree::operator()(spng_ctx *context) const { spng_ctx_free(context); }

PngSource::PngSource() = default;
PngSource::~PngSource() = default;

qint64 PngSource::rowBytesFor(uint32_t width)
{
    // libspng keeps the row being inflated, the one above and the one it
    // hands out, at up to 8 bytes a pixel (16-bit RGBA), and we one more.
    return qint64(width) * 8 * 4;
}

PngRows::Status PngSource::open(const QString &path, qint64 maxPixels)
{
    m_file.reset(std::fopen(LocalPaths::pathBytes(path).constData(), "rbe"));
    if (!m_file)
        return PngRows::Status::Failed;
    const PngRows::Status header = PngRows::readHeader(m_file.get(), m_header);
    if (header != PngRows::Status::Ready)
        return header;
    if (qint64(m_header.width) * m_header.height > maxPixels || rowBytesFor(m_header.width) > bound) {
        qCInfo(lcDecode, "refused %s: %ux%u is past the bound", qUtf8Printable(path), m_header.width, m_header.height);
        return PngRows::Status::Failed;
    }
    m_rows = std::make_unique<PngRows::Rows>();
    switch (m_rows->open(m_file.get(), m_header)) {
    case PngRows::Status::Ready:
        m_channels = m_rows->channels();
        return PngRows::Status::Ready;
    case PngRows::Status::Failed:
        return PngRows::Status::Failed;
    case PngRows::Status::NotHandled:
        break;
    }
    m_rows.reset();
    if (std::fseek(m_file.get(), 0, SEEK_SET) != 0)
        return PngRows::Status::Failed;
    return openGeneral();
}

PngRows::Status PngSource::openGeneral()
{
    const auto failed = PngRows::Status::Failed;
    // The checksum of the inflated rows is skipped (a few percent of the
    // time); every chunk's CRC is still checked, so damage is caught.
    m_context.reset(spng_ctx_new(SPNG_CTX_IGNORE_ADLER32));
    if (!m_context)
        return failed;
    spng_ctx *context = m_context.get();
    // Text, profiles and the like are not ours to hold without end: a chunk
    // that declares more is refused before anything is read of it.
    spng_set_chunk_limits(context, 4u << 20, 8u << 20);
    spng_set_option(context, SPNG_CHUNK_COUNT_LIMIT, 4096);
    // The size was checked against our own limits above.
    spng_set_image_limits(context, 0x7fffffffu, 0x7fffffffu);
#ifdef FUZZING_BUILD_MODE_UNSAFE_FOR_PRODUCTION
    spng_set_crc_action(context, SPNG_CRC_USE, SPNG_CRC_USE); // as in codec/pngrows.cpp
#endif
    spng_ihdr ihdr{};
    if (spng_set_png_file(context, m_file.get()) != 0 || spng_get_ihdr(context, &ihdr) != 0)
        return failed;
    spng_trns transparency{};
    const bool alpha = ihdr.color_type == SPNG_COLOR_TYPE_GRAYSCALE_ALPHA
                       || ihdr.color_type == SPNG_COLOR_TYPE_TRUECOLOR_ALPHA
                       || spng_get_trns(context, &transparency) == 0;
    m_channels = alpha ? 4 : 3;
    const int format = alpha ? SPNG_FMT_RGBA8 : SPNG_FMT_RGB8;
    const size_t rowBytes = size_t(m_header.width) * size_t(m_channels);
    m_whole = ihdr.interlace_method != 0;
    if (m_whole) {
        // Rows come pass by pass: the image is made whole first.
        if (qint64(rowBytes) * m_header.height + rowBytesFor(m_header.width) > bound) {
            qCInfo(lcDecode, "refused an interlaced %ux%u image: too large to make whole", m_header.width,
                   m_header.height);
            return failed;
        }
        m_buffer.resize(rowBytes * m_header.height + rowPadding);
        return spng_decode_image(context, m_buffer.data(), rowBytes * m_header.height, format, SPNG_DECODE_TRNS) == 0
                   ? PngRows::Status::Ready
                   : failed;
    }
    if (spng_decode_image(context, nullptr, 0, format, SPNG_DECODE_TRNS | SPNG_DECODE_PROGRESSIVE) != 0)
        return failed;
    m_buffer.resize(rowBytes + rowPadding);
    return PngRows::Status::Ready;
}

const uint8_t *PngSource::row(uint32_t y)
{
    if (y >= m_header.height)
        return nullptr;
    if (m_rows)
        return m_rows->row(y);
    const size_t rowBytes = size_t(m_header.width) * size_t(m_channels);
    if (m_whole)
        return m_buffer.data() + rowBytes * y;
    const int status = spng_decode_row(m_context.get(), m_buffer.data(), rowBytes);
    // The last row's call reports the end of the image.
    return status == 0 || (status == SPNG_EOI && y + 1 == m_header.height) ? m_buffer.data() : nullptr;
}
