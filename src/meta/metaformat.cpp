// The JSON form of the metadata store, both ways. Reading is simdjson's
// validating parser. Writing is our own (building a QJsonObject of many
// members costs time quadratic in their number): straight from the records
// into one buffer, or into pieces handed on as they fill.

#include "meta/metaformat.h"

#include <simdjson.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <vector>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace {

// Times are stored as seconds since 2001-01-01 00:00:00 UTC.
const QDateTime &referenceDate()
{
    static const QDateTime date(QDate(2001, 1, 1), QTime(0, 0), Qt::UTC);
    return date;
}

QDateTime fromReferenceSeconds(double seconds)
{
    // Far beyond any real date, but keeps the millisecond count in range.
    seconds = std::clamp(seconds, -1e13, 1e13);
    return referenceDate().addMSecs(qint64(std::llround(seconds * 1000.0)));
}

// The JSON escape of an ASCII control, quote or backslash.
char *writeEscape(char *dst, unsigned c)
{
    static const char hex[] = "0123456789abcdef";
    *dst++ = '\\';
    switch (c) {
    case '"':
        *dst++ = '"';
        break;
    case '\\':
        *dst++ = '\\';
        break;
    case '\n':
        *dst++ = 'n';
        break;
    case '\t':
        *dst++ = 't';
        break;
    case '\r':
        *dst++ = 'r';
        break;
    default:
        *dst++ = 'u';
        *dst++ = '0';
        *dst++ = '0';
        *dst++ = hex[c >> 4];
        *dst++ = hex[c & 15];
    }
    return dst;
}

// Valid UTF-8 to a JSON string at `dst`, which has room for 6 bytes per byte
// plus 2: the bytes go as they are, but for quotes, backslashes and controls.
char *writeJsonString(char *dst, QByteArrayView utf8)
{
    *dst++ = '"';
    const char *p = utf8.data();
    const char *end = p + utf8.size();
    while (p != end) {
#ifdef __SSE2__
        while (end - p >= 16) {
            const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i *>(p));
            // A control is a byte the unsigned minimum with 0x1f leaves as it is.
            const __m128i special = _mm_or_si128(
                _mm_cmpeq_epi8(_mm_min_epu8(bytes, _mm_set1_epi8(0x1f)), bytes),
                _mm_or_si128(_mm_cmpeq_epi8(bytes, _mm_set1_epi8('"')), _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\\'))));
            _mm_storeu_si128(reinterpret_cast<__m128i *>(dst), bytes);
            const unsigned mask = unsigned(_mm_movemask_epi8(special));
            const int plain = mask ? __builtin_ctz(mask) : 16;
            p += plain;
            dst += plain;
            if (mask)
                break;
        }
        if (p == end)
            break;
#endif
        const auto c = static_cast<unsigned char>(*p++);
        if (c >= 0x20 && c != '"' && c != '\\')
            *dst++ = char(c);
        else
            dst = writeEscape(dst, c);
    }
    *dst++ = '"';
    return dst;
}

// Writes into one buffer. Without a sink the buffer grows, only when a string
// holds many escapes or letters beyond ASCII (the first guess fits ordinary
// text); with one, each full piece goes to the sink and the buffer is reused.
class Writer
{
public:
    using Sink = std::function<bool(QByteArrayView)>;

    Writer(qsizetype capacity, const Sink *sink) : m_out(capacity, Qt::Uninitialized), m_dst(m_out.data()), m_sink(sink)
    {}

    bool failed() const { return m_failed; }
    void raw(const char *text, qsizetype length)
    {
        room(length);
        m_dst = std::copy_n(text, length, m_dst);
    }
    void raw(char c)
    {
        room(1);
        *m_dst++ = c;
    }
    // Names and applications are short: converting them first costs little
    // and leaves one escaping loop to get right.
    void string(QStringView text) { utf8String(Utf8Text(text.toString())); }
    void utf8String(const Utf8Text &text)
    {
        room(6 * text.utf8().size() + 2);
        m_dst = writeJsonString(m_dst, QByteArrayView(text.utf8()));
    }
    void number(double value)
    {
        room(32);
        m_dst = std::to_chars(m_dst, m_dst + 32, value).ptr; // shortest form that reads back the same
    }
    bool flush()
    {
        if (m_dst != m_out.constData() && !m_failed)
            m_failed = !(*m_sink)(QByteArrayView(m_out.constData(), m_dst - m_out.constData()));
        m_dst = m_out.data();
        return !m_failed;
    }
    QByteArray take()
    {
        m_out.truncate(m_dst - m_out.constData());
        return std::move(m_out);
    }

private:
    void room(qsizetype length)
    {
        qsizetype used = m_dst - m_out.constData();
        if (m_out.size() - used >= length)
            return;
        if (m_sink) {
            flush();
            used = 0;
            if (m_out.size() >= length)
                return;
        }
        m_out.resize(std::max(used + length, m_out.size() + m_out.size() / 2));
        m_dst = m_out.data() + used;
    }

    QByteArray m_out;
    char *m_dst;
    const Sink *m_sink;
    bool m_failed = false;
};

void encodeInto(Writer &out, const QHash<QString, FileMeta> &records)
{
    // Names are sorted so an unchanged store always writes the same bytes.
    // The views keep the sort from chasing each name through the table.
    std::vector<std::pair<QStringView, const FileMeta *>> order;
    order.reserve(size_t(records.size()));
    for (auto it = records.cbegin(); it != records.cend(); ++it)
        order.emplace_back(it.key(), &it.value());
    std::sort(order.begin(), order.end(), [](const auto &a, const auto &b) { return a.first < b.first; });

    out.raw('{');
    bool firstRecord = true;
    for (const auto &[name, m] : order) {
        if (out.failed())
            return;
        if (!firstRecord)
            out.raw(',');
        firstRecord = false;
        out.string(name);
        out.raw(":{", 2);
        bool firstField = true;
        const auto field = [&](const char *nameAndColon, qsizetype length) {
            out.raw(firstField ? "\"" : ",\"", firstField ? 1 : 2);
            firstField = false;
            out.raw(nameAndColon, length);
        };
        if (m->app) {
            field("app\":", 5);
            out.string(*m->app);
        }
        if (m->appPath) {
            field("appPath\":", 9);
            out.string(*m->appPath);
        }
        if (m->text) {
            field("text\":", 6);
            out.utf8String(*m->text);
        }
        if (m->textAt) {
            field("textAt\":", 8);
            out.number(double(referenceDate().msecsTo(*m->textAt)) / 1000.0);
        }
        out.raw('}');
    }
    out.raw('}');
}

} // namespace

QByteArray MetaStore::encode(const QHash<QString, FileMeta> &records)
{
    qsizetype guess = 64;
    for (auto it = records.cbegin(); it != records.cend(); ++it) {
        const FileMeta &m = it.value();
        guess += 64 + it.key().size() + (m.app ? m.app->size() : 0) + (m.appPath ? m.appPath->size() : 0)
                 + (m.text ? m.text->utf8().size() : 0);
    }
    Writer out(guess + guess / 8, nullptr);
    encodeInto(out, records);
    return out.take();
}

bool encodeMetaJson(const QHash<QString, FileMeta> &records, qsizetype pieceBytes,
                    const std::function<bool(QByteArrayView)> &sink)
{
    Writer out(pieceBytes, &sink);
    encodeInto(out, records);
    return out.flush();
}

namespace {

// Arrays and objects nested deeper than this (in an unknown member) make the
// file undecodable, rather than the parser's stack large.
constexpr size_t maxDepth = 514;

bool readText(simdjson::dom::element value, std::optional<QString> &field)
{
    std::string_view utf8;
    if (value.is_null())
        field.reset();
    else if (value.get(utf8) == simdjson::SUCCESS)
        field = QString::fromUtf8(utf8.data(), qsizetype(utf8.size())); // valid UTF-8: checked by the parser
    else
        return false;
    return true;
}

bool readText(simdjson::dom::element value, std::optional<Utf8Text> &field)
{
    std::string_view utf8;
    if (value.is_null())
        field.reset();
    else if (value.get(utf8) == simdjson::SUCCESS)
        field = Utf8Text::fromValidUtf8(QByteArray(utf8.data(), qsizetype(utf8.size()))); // checked by the parser
    else
        return false;
    return true;
}

bool readTime(simdjson::dom::element value, std::optional<QDateTime> &field)
{
    double seconds;
    if (value.is_null())
        field.reset();
    else if (value.get(seconds) == simdjson::SUCCESS)
        field = fromReferenceSeconds(seconds);
    else
        return false;
    return true;
}

bool readRecords(simdjson::dom::element root, QHash<QString, FileMeta> &records)
{
    simdjson::dom::object files;
    if (root.get(files) != simdjson::SUCCESS)
        return false;
    records.reserve(qsizetype(files.size()));
    for (const auto [name, value] : files) {
        simdjson::dom::object fields;
        if (value.get(fields) != simdjson::SUCCESS)
            return false; // a record must be an object; null is not one
        FileMeta record;
        for (const auto [key, field] : fields) {
            const bool ok = key == "app"       ? readText(field, record.app)
                            : key == "appPath" ? readText(field, record.appPath)
                            : key == "text"    ? readText(field, record.text)
                            : key == "textAt"  ? readTime(field, record.textAt)
                                               : true; // unknown members are skipped
            if (!ok)
                return false;
        }
        records.emplace(QString::fromUtf8(name.data(), qsizetype(name.size())), std::move(record));
    }
    return true;
}

// The parser refuses an escaped lone surrogate; we have always read one as
// U+FFFD, so such escapes are rewritten in place (same length) and the bytes
// read again. True when something was rewritten.
bool replaceLoneSurrogates(char *p, char *end)
{
    const auto unitAt = [end](const char *at) -> int {
        if (end - at < 6 || at[0] != '\\' || at[1] != 'u')
            return -1;
        int unit = 0;
        for (int i = 2; i < 6; ++i) {
            const char c = at[i];
            const int digit = c >= '0' && c <= '9'   ? c - '0'
                              : c >= 'a' && c <= 'f' ? c - 'a' + 10
                              : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                                     : -1;
            if (digit < 0)
                return -1;
            unit = unit * 16 + digit;
        }
        return unit;
    };
    bool replaced = false;
    while ((p = static_cast<char *>(std::memchr(p, '\\', size_t(end - p))))) {
        const int unit = unitAt(p);
        if (unit < 0) {
            p += std::min<qsizetype>(2, end - p); // another escape, or not JSON at all
            continue;
        }
        if (QChar::isHighSurrogate(char32_t(unit))) {
            const int next = unitAt(p + 6);
            if (next >= 0 && QChar::isLowSurrogate(char32_t(next))) {
                p += 12; // a pair
                continue;
            }
        }
        if (QChar::isSurrogate(char32_t(unit))) {
            std::copy_n("fffd", 4, p + 2);
            replaced = true;
        }
        p += 6;
    }
    return replaced;
}

} // namespace

std::optional<QHash<QString, FileMeta>> MetaStore::decode(const QByteArray &json)
{
    const auto size = size_t(json.size());
    simdjson::dom::parser parser;
    if (parser.allocate(std::max<size_t>(size, 64), maxDepth) != simdjson::SUCCESS)
        return std::nullopt;
    QHash<QString, FileMeta> records;
    // The bytes as read leave room at the end for the parser to read past
    // them; anything else it copies.
    const bool copy = json.capacity() - json.size() < qsizetype(simdjson::SIMDJSON_PADDING);
    simdjson::dom::element root;
    simdjson::error_code error = parser.parse(json.constData(), size, copy).get(root);
    if (error == simdjson::STRING_ERROR) {
        QByteArray rewritten(json.constData(), json.size());
        if (replaceLoneSurrogates(rewritten.data(), rewritten.data() + rewritten.size()))
            error = parser.parse(rewritten.constData(), size, true).get(root);
    }
    if (error != simdjson::SUCCESS || !readRecords(root, records))
        return std::nullopt;
    return records;
}
