#include "platform/inifile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStringDecoder>

#include <algorithm>

namespace {

bool isHexDigit(uint c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

int hexValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    return (c | 0x20) - 'a' + 10;
}

// QSettings (INI format) writes every character outside printable ASCII as
// "\x" and its hex code, so the file reads the same whatever text encoding
// the reader assumes, and escapes a hex digit right after such an escape so
// it is not read as part of it. A value with a list separator or an outer
// space is quoted; a leading "@" is doubled (it marks typed values).
QByteArray encodeQSettings(const QString &text)
{
    const QString value = text.startsWith(QLatin1Char('@')) ? QLatin1Char('@') + text : text;
    QByteArray out;
    bool needsQuotes = false;
    bool escapeNextIfDigit = false;
    for (const QChar qc : value) {
        const uint c = qc.unicode();
        if (c == ';' || c == ',' || c == '=')
            needsQuotes = true;
        if (escapeNextIfDigit && isHexDigit(c)) {
            out += "\\x" + QByteArray::number(c, 16);
            continue;
        }
        escapeNextIfDigit = false;
        switch (c) {
        case '\0':
            out += "\\0";
            escapeNextIfDigit = true;
            break;
        case '\a':
            out += "\\a";
            break;
        case '\b':
            out += "\\b";
            break;
        case '\f':
            out += "\\f";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\t':
            out += "\\t";
            break;
        case '\v':
            out += "\\v";
            break;
        case '"':
        case '\\':
            out += '\\';
            out += char(c);
            break;
        default:
            if (c <= 0x1F || c >= 0x7F) {
                out += "\\x" + QByteArray::number(c, 16);
                escapeNextIfDigit = true;
            } else {
                out += char(c);
            }
        }
    }
    if (needsQuotes || out.startsWith(' ') || out.endsWith(' '))
        out = '"' + out + '"';
    return out;
}

void chopTrailingSpaces(QString &s)
{
    qsizetype n = s.size();
    while (n > 0 && (s.at(n - 1) == QLatin1Char(' ') || s.at(n - 1) == QLatin1Char('\t')))
        --n;
    s.truncate(n);
}

// Reads a value the way QSettings does: escapes, quotes, and unquoted commas
// making a list. Unescaped bytes are UTF-8 as Qt 6 writes them, or Latin-1
// where they are not valid UTF-8 (Qt 5 without a codec).
std::optional<QString> decodeQSettings(const QByteArray &s)
{
    auto decoder = QStringDecoder(QStringDecoder::Utf8);
    (void)decoder.decode(s);
    const bool utf8 = !decoder.hasError();
    const auto text = [utf8](const char *data, qsizetype size) {
        return utf8 ? QString::fromUtf8(data, size) : QString::fromLatin1(data, size);
    };

    QString result;
    int items = 1;
    bool inQuotes = false;
    bool quoted = false;
    const qsizetype to = s.size();
    qsizetype i = 0;
    const auto skipSpaces = [&] {
        while (i < to && (s.at(i) == ' ' || s.at(i) == '\t'))
            ++i;
    };
    skipSpaces();
    while (i < to) {
        const char c = s.at(i);
        if (c == '\\') {
            if (++i >= to)
                break;
            const char e = s.at(i++);
            static const char plain[] = "a\ab\bf\fn\nr\rt\tv\v\"\"?\?''\\\\";
            const char *hit = nullptr;
            for (const char *p = plain; *p; p += 2)
                if (*p == e)
                    hit = p;
            if (hit) {
                result += QLatin1Char(hit[1]);
            } else if (e == 'x' && i < to && isHexDigit(uchar(s.at(i)))) {
                uint value = 0;
                while (i < to && isHexDigit(uchar(s.at(i))))
                    value = (value << 4) + uint(hexValue(s.at(i++)));
                result += QChar(char16_t(value));
            } else if (e >= '0' && e <= '7') {
                uint value = uint(e - '0');
                while (i < to && s.at(i) >= '0' && s.at(i) <= '7')
                    value = (value << 3) + uint(s.at(i++) - '0');
                result += QChar(char16_t(value));
            } else if (e == '\n' || e == '\r') {
                if (i < to && (s.at(i) == '\n' || s.at(i) == '\r') && s.at(i) != e)
                    ++i;
            } // any other escaped character is dropped, as QSettings does
        } else if (c == '"') {
            ++i;
            quoted = true;
            inQuotes = !inQuotes;
            if (!inQuotes)
                skipSpaces();
        } else if (c == ',' && !inQuotes) {
            ++items;
            result.clear();
            quoted = false;
            ++i;
            skipSpaces();
        } else {
            qsizetype j = i + 1;
            while (j < to && s.at(j) != '\\' && s.at(j) != '"' && s.at(j) != ',')
                ++j;
            result += text(s.constData() + i, j - i);
            i = j;
        }
    }
    if (!quoted)
        chopTrailingSpaces(result);
    if (items > 1)
        return std::nullopt;
    if (result.startsWith(QLatin1String("@@")))
        return result.mid(1);
    static const QStringList typed = {QStringLiteral("@ByteArray("), QStringLiteral("@Variant("),
                                      QStringLiteral("@Invalid("),   QStringLiteral("@DateTime("),
                                      QStringLiteral("@Rect("),      QStringLiteral("@Size("),
                                      QStringLiteral("@Point(")};
    for (const QString &prefix : typed)
        if (result.startsWith(prefix) && result.endsWith(QLatin1Char(')')))
            return std::nullopt;
    return result;
}

// KConfig stores UTF-8, escaping control bytes, the backslash and a
// leading or trailing space.
QByteArray encodeKConfig(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    QByteArray out;
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        const uchar c = uchar(bytes.at(i));
        if (i == 0 && c == ' ')
            out += "\\s";
        else if (c == '\n')
            out += "\\n";
        else if (c == '\t')
            out += "\\t";
        else if (c == '\r')
            out += "\\r";
        else if (c == '\\')
            out += "\\\\";
        else if (c < 32)
            out += "\\x" + QByteArray::number(c, 16).rightJustified(2, '0');
        else
            out += char(c);
    }
    if (out.endsWith(' '))
        out.replace(out.size() - 1, 1, "\\s");
    return out;
}

QString decodeKConfig(const QByteArray &stored)
{
    const QByteArray s = stored.trimmed();
    if (!s.contains('\\'))
        return QString::fromUtf8(s);
    QByteArray out;
    const qsizetype l = s.size();
    for (qsizetype i = 0; i < l; ++i) {
        if (s.at(i) != '\\') {
            out += s.at(i);
            continue;
        }
        if (++i >= l) {
            out += '\\';
            break;
        }
        switch (s.at(i)) {
        case 's':
            out += ' ';
            break;
        case 't':
            out += '\t';
            break;
        case 'n':
            out += '\n';
            break;
        case 'r':
            out += '\r';
            break;
        case '\\':
            out += '\\';
            break;
        case ';':
            out += "\\;";
            break; // kept as written, as KConfig does
        case ',':
            out += "\\,";
            break;
        case 'x':
            if (i + 2 < l && isHexDigit(uchar(s.at(i + 1))) && isHexDigit(uchar(s.at(i + 2)))) {
                out += char(hexValue(s.at(i + 1)) << 4 | hexValue(s.at(i + 2)));
                i += 2;
            } else {
                out += 'x';
                if (i + 2 >= l)
                    i = l;
                else
                    i += 2;
            }
            break;
        default:
            out += '\\';
            break;
        }
    }
    return QString::fromUtf8(out);
}

QByteArray stripCarriageReturn(const QByteArray &line) { return line.endsWith('\r') ? line.chopped(1) : line; }

} // namespace

IniFile::IniFile(const QString &path, Dialect dialect) : m_path(path), m_dialect(dialect)
{
    QFile file(path);
    if (!file.exists())
        return;
    m_exists = true;
    if (!file.open(QIODevice::ReadOnly)) {
        m_unreadable = true;
        return;
    }
    const QByteArray text = file.readAll();
    if (text.isEmpty())
        return;
    m_lines = text.split('\n');
    m_finalNewline = text.endsWith('\n');
    if (m_finalNewline)
        m_lines.removeLast();
}

QByteArray IniFile::encode(const QString &value, Dialect dialect)
{
    return dialect == Dialect::QSettings ? encodeQSettings(value) : encodeKConfig(value);
}

std::optional<QString> IniFile::decode(const QByteArray &stored, Dialect dialect)
{
    if (dialect == Dialect::QSettings)
        return decodeQSettings(stored);
    return decodeKConfig(stored);
}

// The last line of `key` in any section named `group` (the one that counts
// when a section repeats), and where a new key goes: after the last
// non-blank line of the first such section, or -1 when there is none.
qsizetype IniFile::findKey(const QString &group, const QString &key, qsizetype *insertAt) const
{
    const QByteArray header = '[' + group.toUtf8() + ']';
    const QByteArray wanted = key.toUtf8();
    bool inGroup = false;
    bool firstSeen = false;
    bool firstDone = false;
    qsizetype found = -1;
    *insertAt = -1;
    for (qsizetype i = 0; i < m_lines.size(); ++i) {
        const QByteArray line = m_lines[i].trimmed();
        if (line.startsWith('[')) {
            if (inGroup)
                firstDone = true;
            inGroup = line == header;
            if (inGroup && !firstSeen) {
                firstSeen = true;
                *insertAt = i + 1;
            }
            continue;
        }
        if (!inGroup)
            continue;
        if (!firstDone && !line.isEmpty())
            *insertAt = i + 1;
        const qsizetype eq = line.indexOf('=');
        if (eq < 0 || line.startsWith('#') || line.startsWith(';'))
            continue;
        QByteArray name = line.left(eq).trimmed();
        // KConfig marks a key "[$e]" (expand) or "[$i]" (immutable); "[de]"
        // would be a translation, which is another key.
        if (m_dialect == Dialect::KConfig) {
            while (name.endsWith(']') && name.lastIndexOf("[$") > 0)
                name = name.left(name.lastIndexOf("[$"));
        }
        if (name == wanted)
            found = i;
    }
    return found;
}

std::optional<QByteArray> IniFile::rawLine(const QString &group, const QString &key) const
{
    qsizetype insertAt;
    const qsizetype at = findKey(group, key, &insertAt);
    if (at < 0)
        return std::nullopt;
    return stripCarriageReturn(m_lines[at]);
}

std::optional<QString> IniFile::value(const QString &group, const QString &key) const
{
    const std::optional<QByteArray> line = rawLine(group, key);
    if (!line)
        return std::nullopt;
    return decode(line->mid(line->indexOf('=') + 1), m_dialect);
}

void IniFile::putLine(const QString &group, const QString &key, const QByteArray &line)
{
    // New lines follow the file's own line ends.
    const QByteArray cr = !m_lines.isEmpty() && m_lines.first().endsWith('\r') ? "\r" : "";
    qsizetype insertAt;
    const qsizetype at = findKey(group, key, &insertAt);
    if (at >= 0) {
        const QByteArray ending = m_lines[at].endsWith('\r') ? "\r" : "";
        if (m_lines[at] == line + ending)
            return;
        m_lines[at] = line + ending;
    } else if (insertAt >= 0) {
        m_lines.insert(insertAt, line + cr);
    } else {
        if (!m_lines.isEmpty() && !stripCarriageReturn(m_lines.last()).trimmed().isEmpty())
            m_lines.append(cr);
        m_lines.append('[' + group.toUtf8() + ']' + cr);
        m_lines.append(line + cr);
    }
    m_dirty = true;
}

void IniFile::setValue(const QString &group, const QString &key, const QString &value)
{
    // An existing line keeps its own spelling of the key ("key = ", "key[$e]=").
    const std::optional<QByteArray> old = rawLine(group, key);
    QByteArray prefix = key.toUtf8() + '=';
    if (old) {
        const qsizetype eq = old->indexOf('=');
        qsizetype valueStart = eq + 1;
        while (valueStart < old->size() && (old->at(valueStart) == ' ' || old->at(valueStart) == '\t'))
            ++valueStart;
        prefix = old->left(valueStart);
    }
    putLine(group, key, prefix + encode(value, m_dialect));
}

void IniFile::setRawLine(const QString &group, const QString &key, const std::optional<QByteArray> &line)
{
    if (line)
        putLine(group, key, *line);
    else
        remove(group, key, true);
}

void IniFile::remove(const QString &group, const QString &key, bool keepSection)
{
    qsizetype insertAt;
    const qsizetype at = findKey(group, key, &insertAt);
    if (at < 0)
        return;
    m_lines.removeAt(at);
    // The last key of a section at the end of the file: the section goes
    // too, as setValue added it (with the blank line before it).
    const bool sectionNowEmpty =
        !keepSection && at == m_lines.size() && at > 0 && m_lines[at - 1].trimmed().startsWith('[');
    if (sectionNowEmpty) {
        m_lines.removeAt(at - 1);
        if (at - 1 > 0 && m_lines[at - 2].trimmed().isEmpty())
            m_lines.removeAt(at - 2);
    }
    m_dirty = true;
}

bool IniFile::hasGroup(const QString &group) const
{
    const QByteArray header = '[' + group.toUtf8() + ']';
    return std::any_of(m_lines.cbegin(), m_lines.cend(),
                       [&header](const QByteArray &line) { return line.trimmed() == header; });
}

void IniFile::removeGroupIfEmpty(const QString &group)
{
    const QByteArray header = '[' + group.toUtf8() + ']';
    for (qsizetype i = 0; i < m_lines.size(); ++i) {
        if (m_lines[i].trimmed() != header)
            continue;
        qsizetype end = i + 1;
        while (end < m_lines.size() && m_lines[end].trimmed().isEmpty())
            ++end;
        if (end < m_lines.size() && !m_lines[end].trimmed().startsWith('['))
            continue;
        qsizetype from = i;
        // At the end, the blank line before the header went in with it.
        if (end == m_lines.size() && from > 0 && m_lines[from - 1].trimmed().isEmpty())
            --from;
        m_lines.remove(from, end - from);
        m_dirty = true;
        i = from - 1;
    }
}

bool IniFile::isBlank() const
{
    return std::all_of(m_lines.cbegin(), m_lines.cend(),
                       [](const QByteArray &line) { return line.trimmed().isEmpty(); });
}

bool IniFile::save()
{
    if (!m_dirty)
        return true;
    if (m_unreadable)
        return false;
    QDir().mkpath(QFileInfo(m_path).absolutePath());
    QSaveFile out(m_path);
    if (!out.open(QIODevice::WriteOnly))
        return false;
    QByteArray text = m_lines.join('\n');
    if (m_finalNewline && !m_lines.isEmpty())
        text += '\n';
    out.write(text);
    if (!out.commit())
        return false;
    m_dirty = false;
    return true;
}
