// The JSON form of the metadata store, both ways. Written by hand: building a
// QJsonObject of many members costs time quadratic in their number, and
// reading goes straight from the bytes to the records, with no document in
// between.

#include "meta/metastore.h"

#include <QStringDecoder>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

namespace {

// Times are stored as seconds since 2001-01-01 00:00:00 UTC.
const QDateTime &referenceDate()
{
    static const QDateTime date(QDate(2001, 1, 1), QTime(0, 0), Qt::UTC);
    return date;
}

double toReferenceSeconds(const QDateTime &t)
{
    return double(referenceDate().msecsTo(t)) / 1000.0;
}

QDateTime fromReferenceSeconds(double seconds)
{
    // Far beyond any real date, but keeps the millisecond count in range.
    seconds = std::clamp(seconds, -1e13, 1e13);
    return referenceDate().addMSecs(qint64(std::llround(seconds * 1000.0)));
}

// UTF-16 straight to escaped UTF-8, without a temporary per string. A lone
// surrogate becomes U+FFFD, as QString::toUtf8 would make it.
void appendJsonString(QByteArray &out, const QString &text)
{
    static const char hex[] = "0123456789abcdef";
    const qsizetype start = out.size();
    out.resize(start + 2 + 6 * text.size()); // six bytes per unit at worst: \u001f
    char *dst = out.data() + start;
    *dst++ = '"';
    const char16_t *p = reinterpret_cast<const char16_t *>(text.constData());
    const char16_t *end = p + text.size();
    for (; p != end; ++p) {
        char32_t c = *p;
        if (c < 0x80) {
            if (c >= 0x20 && c != '"' && c != '\\') {
                *dst++ = char(c);
                continue;
            }
            *dst++ = '\\';
            switch (c) {
            case '"': *dst++ = '"'; break;
            case '\\': *dst++ = '\\'; break;
            case '\n': *dst++ = 'n'; break;
            case '\t': *dst++ = 't'; break;
            case '\r': *dst++ = 'r'; break;
            default:
                *dst++ = 'u';
                *dst++ = '0';
                *dst++ = '0';
                *dst++ = hex[c >> 4];
                *dst++ = hex[c & 15];
            }
            continue;
        }
        if (c < 0x800) {
            *dst++ = char(0xc0 | (c >> 6));
            *dst++ = char(0x80 | (c & 0x3f));
            continue;
        }
        if (QChar::isSurrogate(c)) {
            if (QChar::isHighSurrogate(c) && p + 1 != end && QChar::isLowSurrogate(p[1])) {
                c = QChar::surrogateToUcs4(char16_t(c), p[1]);
                ++p;
                *dst++ = char(0xf0 | (c >> 18));
                *dst++ = char(0x80 | ((c >> 12) & 0x3f));
                *dst++ = char(0x80 | ((c >> 6) & 0x3f));
                *dst++ = char(0x80 | (c & 0x3f));
                continue;
            }
            c = QChar::ReplacementCharacter;
        }
        *dst++ = char(0xe0 | (c >> 12));
        *dst++ = char(0x80 | ((c >> 6) & 0x3f));
        *dst++ = char(0x80 | (c & 0x3f));
    }
    *dst++ = '"';
    out.truncate(dst - out.constData());
}

} // namespace

QByteArray MetaStore::encode(const QHash<QString, FileMeta> &records)
{
    // Names are sorted so an unchanged store always writes the same bytes.
    QList<QHash<QString, FileMeta>::const_iterator> order;
    order.reserve(records.size());
    qsizetype estimate = 2;
    for (auto it = records.cbegin(); it != records.cend(); ++it) {
        order.append(it);
        const FileMeta &m = it.value();
        estimate += 16 + it.key().size() + (m.app ? m.app->size() + 8 : 0)
                    + (m.appPath ? m.appPath->size() + 12 : 0) + (m.text ? m.text->size() + 10 : 0)
                    + (m.textAt ? 30 : 0);
    }
    std::sort(order.begin(), order.end(), [](const auto &a, const auto &b) { return a.key() < b.key(); });

    QByteArray out;
    out.reserve(estimate + estimate / 8);
    out.append('{');
    bool firstRecord = true;
    for (const auto &it : std::as_const(order)) {
        if (!firstRecord)
            out.append(',');
        firstRecord = false;
        appendJsonString(out, it.key());
        out.append(":{", 2);
        const FileMeta &m = it.value();
        bool firstField = true;
        const auto field = [&](const char *name) {
            if (!firstField)
                out.append(',');
            firstField = false;
            out.append('"').append(name).append("\":", 2);
        };
        if (m.app) {
            field("app");
            appendJsonString(out, *m.app);
        }
        if (m.appPath) {
            field("appPath");
            appendJsonString(out, *m.appPath);
        }
        if (m.text) {
            field("text");
            appendJsonString(out, *m.text);
        }
        if (m.textAt) {
            field("textAt");
            out.append(QByteArray::number(toReferenceSeconds(*m.textAt), 'g', QLocale::FloatingPointShortest));
        }
        out.append('}');
    }
    out.append('}');
    return out;
}

namespace {

// A strict JSON reader (RFC 8259) for the one shape the file has. Anything
// that is not valid JSON, or a known member of the wrong type, fails the
// whole read; unknown members are checked for validity and skipped.
class MetaReader
{
public:
    explicit MetaReader(const QByteArray &json) : m_p(json.constData()), m_end(m_p + json.size()) {}

    bool read(QHash<QString, FileMeta> &records)
    {
        skipSpace();
        if (!take('{'))
            return false;
        skipSpace();
        if (take('}'))
            return atEnd();
        do {
            skipSpace();
            QString name;
            if (!readString(&name) || !colon())
                return false;
            FileMeta record;
            if (!readRecord(record))
                return false;
            records.insert(name, record);
            skipSpace();
        } while (take(','));
        return take('}') && atEnd();
    }

private:
    static constexpr int maxDepth = 512;

    bool atEnd()
    {
        skipSpace();
        return m_p == m_end;
    }
    void skipSpace()
    {
        while (m_p != m_end && (*m_p == ' ' || *m_p == '\n' || *m_p == '\r' || *m_p == '\t'))
            ++m_p;
    }
    bool take(char c)
    {
        if (m_p == m_end || *m_p != c)
            return false;
        ++m_p;
        return true;
    }
    bool colon()
    {
        skipSpace();
        if (!take(':'))
            return false;
        skipSpace();
        return true;
    }
    bool takeWord(const char *word, size_t length)
    {
        if (size_t(m_end - m_p) < length || std::memcmp(m_p, word, length) != 0)
            return false;
        m_p += length;
        return true;
    }
    bool takeNull() { return takeWord("null", 4); }

    bool readRecord(FileMeta &record)
    {
        if (!take('{'))
            return false; // a record must be an object; null is not one
        skipSpace();
        if (take('}'))
            return true;
        do {
            skipSpace();
            QString key;
            if (!readString(&key) || !colon())
                return false;
            bool ok;
            if (key == QLatin1String("app"))
                ok = readOptionalText(record.app);
            else if (key == QLatin1String("appPath"))
                ok = readOptionalText(record.appPath);
            else if (key == QLatin1String("text"))
                ok = readOptionalText(record.text);
            else if (key == QLatin1String("textAt"))
                ok = readOptionalTime(record.textAt);
            else
                ok = skipValue(1);
            if (!ok)
                return false;
            skipSpace();
        } while (take(','));
        return take('}');
    }

    bool readOptionalText(std::optional<QString> &field)
    {
        if (takeNull()) {
            field.reset();
            return true;
        }
        QString text;
        if (!readString(&text))
            return false;
        field = std::move(text);
        return true;
    }

    bool readOptionalTime(std::optional<QDateTime> &field)
    {
        if (takeNull()) {
            field.reset();
            return true;
        }
        double seconds;
        if (!readNumber(&seconds) || !std::isfinite(seconds))
            return false;
        field = fromReferenceSeconds(seconds);
        return true;
    }

    // A JSON string; `out` may be null to only check it.
    bool readString(QString *out)
    {
        if (!take('"'))
            return false;
        const char *start = m_p;
        while (m_p != m_end && *m_p != '"' && *m_p != '\\' && static_cast<unsigned char>(*m_p) >= 0x20)
            ++m_p;
        if (m_p == m_end || static_cast<unsigned char>(*m_p) < 0x20)
            return false;
        if (*m_p == '"') { // the common case: nothing escaped
            const QByteArrayView utf8(start, m_p - start);
            ++m_p;
            return decodeUtf8(utf8, out);
        }
        QByteArray utf8(start, m_p - start);
        while (true) {
            if (m_p == m_end)
                return false;
            const unsigned char c = static_cast<unsigned char>(*m_p++);
            if (c == '"')
                break;
            if (c < 0x20)
                return false;
            if (c != '\\') {
                utf8.append(char(c));
                continue;
            }
            if (m_p == m_end)
                return false;
            switch (*m_p++) {
            case '"': utf8.append('"'); break;
            case '\\': utf8.append('\\'); break;
            case '/': utf8.append('/'); break;
            case 'b': utf8.append('\b'); break;
            case 'f': utf8.append('\f'); break;
            case 'n': utf8.append('\n'); break;
            case 'r': utf8.append('\r'); break;
            case 't': utf8.append('\t'); break;
            case 'u': {
                char32_t unit;
                if (!readHex4(&unit))
                    return false;
                char32_t code = unit;
                if (QChar::isHighSurrogate(unit) && m_end - m_p >= 6 && m_p[0] == '\\' && m_p[1] == 'u') {
                    const char *save = m_p;
                    m_p += 2;
                    char32_t low;
                    if (!readHex4(&low))
                        return false;
                    if (QChar::isLowSurrogate(low))
                        code = QChar::surrogateToUcs4(char16_t(unit), char16_t(low));
                    else
                        m_p = save; // two separate escapes
                }
                if (QChar::isSurrogate(code))
                    code = QChar::ReplacementCharacter; // a lone half cannot be kept
                const char32_t one[] = {code};
                utf8.append(QString::fromUcs4(one, 1).toUtf8());
                break;
            }
            default:
                return false;
            }
        }
        return decodeUtf8(utf8, out);
    }

    bool readHex4(char32_t *value)
    {
        if (m_end - m_p < 4)
            return false;
        *value = 0;
        for (int i = 0; i < 4; ++i) {
            const char c = *m_p++;
            int digit;
            if (c >= '0' && c <= '9')
                digit = c - '0';
            else if (c >= 'a' && c <= 'f')
                digit = c - 'a' + 10;
            else if (c >= 'A' && c <= 'F')
                digit = c - 'A' + 10;
            else
                return false;
            *value = *value * 16 + char32_t(digit);
        }
        return true;
    }

    static bool decodeUtf8(QByteArrayView utf8, QString *out)
    {
        QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
        QString text = decoder.decode(utf8);
        if (decoder.hasError())
            return false; // not UTF-8: not JSON
        if (out)
            *out = std::move(text);
        return true;
    }

    // -? (0 | [1-9][0-9]*) (. [0-9]+)? ([eE] [+-]? [0-9]+)?
    bool readNumber(double *out)
    {
        const char *start = m_p;
        const auto digits = [this] {
            const char *from = m_p;
            while (m_p != m_end && *m_p >= '0' && *m_p <= '9')
                ++m_p;
            return m_p != from;
        };
        take('-');
        if (!take('0') && !digits())
            return false;
        if (take('.') && !digits())
            return false;
        if (m_p != m_end && (*m_p == 'e' || *m_p == 'E')) {
            ++m_p;
            if (!take('+'))
                take('-');
            if (!digits())
                return false;
        }
        if (out) {
            const auto [end, error] = std::from_chars(start, m_p, *out);
            if (error != std::errc() || end != m_p)
                return false;
        }
        return true;
    }

    bool skipValue(int depth)
    {
        if (depth > maxDepth || m_p == m_end)
            return false;
        switch (*m_p) {
        case '"':
            return readString(nullptr);
        case 't':
            return takeWord("true", 4);
        case 'f':
            return takeWord("false", 5);
        case 'n':
            return takeNull();
        case '[':
        case '{': {
            const bool object = *m_p++ == '{';
            const char close = object ? '}' : ']';
            skipSpace();
            if (take(close))
                return true;
            do {
                skipSpace();
                if (object && (!readString(nullptr) || !colon()))
                    return false;
                if (!skipValue(depth + 1))
                    return false;
                skipSpace();
            } while (take(','));
            return take(close);
        }
        default:
            return readNumber(nullptr);
        }
    }

    const char *m_p;
    const char *m_end;
};

} // namespace

std::optional<QHash<QString, FileMeta>> MetaStore::decode(const QByteArray &json)
{
    QHash<QString, FileMeta> records;
    if (!MetaReader(json).read(records))
        return std::nullopt;
    return records;
}
