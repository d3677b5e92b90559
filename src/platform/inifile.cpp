#include "platform/inifile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

IniFile::IniFile(const QString &path, Dialect dialect) : m_path(path), m_dialect(dialect)
{
    QFile file(path);
    if (file.open(QIODevice::ReadOnly)) {
        const QString text = QString::fromUtf8(file.readAll());
        m_lines = text.split(QLatin1Char('\n'));
        if (!m_lines.isEmpty() && m_lines.last().isEmpty())
            m_lines.removeLast();
    }
}

qsizetype IniFile::findKey(const QString &group, const QString &key, qsizetype *groupEnd) const
{
    const QString header = QLatin1Char('[') + group + QLatin1Char(']');
    bool inGroup = false;
    qsizetype found = -1;
    *groupEnd = -1;
    for (qsizetype i = 0; i < m_lines.size(); ++i) {
        const QString line = m_lines[i].trimmed();
        if (line.startsWith(QLatin1Char('['))) {
            if (inGroup)
                return found;
            inGroup = line == header;
            if (inGroup)
                *groupEnd = i + 1;
            continue;
        }
        if (!inGroup)
            continue;
        if (!line.isEmpty())
            *groupEnd = i + 1;
        const qsizetype eq = line.indexOf(QLatin1Char('='));
        // KConfig may mark a key "[$e]" (expand) or "[$i]" (immutable).
        QString name = eq < 0 ? QString() : line.left(eq).trimmed();
        if (m_dialect == Dialect::KConfig && name.endsWith(QLatin1Char(']')))
            name = name.left(name.indexOf(QLatin1Char('[')));
        if (name == key)
            found = i;
    }
    return found;
}

std::optional<QString> IniFile::value(const QString &group, const QString &key) const
{
    qsizetype end;
    const qsizetype at = findKey(group, key, &end);
    if (at < 0)
        return std::nullopt;
    const QString &line = m_lines[at];
    return unescape(line.mid(line.indexOf(QLatin1Char('=')) + 1).trimmed());
}

void IniFile::setValue(const QString &group, const QString &key, const QString &value)
{
    qsizetype end;
    const qsizetype at = findKey(group, key, &end);
    const QString line = key + QLatin1Char('=') + escape(value);
    if (at >= 0) {
        if (m_lines[at] == line)
            return;
        m_lines[at] = line;
    } else if (end >= 0) {
        m_lines.insert(end, line);
    } else {
        if (!m_lines.isEmpty() && !m_lines.last().isEmpty())
            m_lines.append(QString());
        m_lines.append(QLatin1Char('[') + group + QLatin1Char(']'));
        m_lines.append(line);
    }
    m_dirty = true;
}

void IniFile::remove(const QString &group, const QString &key)
{
    qsizetype end;
    const qsizetype at = findKey(group, key, &end);
    if (at < 0)
        return;
    m_lines.removeAt(at);
    m_dirty = true;
}

bool IniFile::save()
{
    if (!m_dirty)
        return true;
    QDir().mkpath(QFileInfo(m_path).absolutePath());
    QSaveFile out(m_path);
    if (!out.open(QIODevice::WriteOnly))
        return false;
    out.write((m_lines.join(QLatin1Char('\n')) + QLatin1Char('\n')).toUtf8());
    if (!out.commit())
        return false;
    m_dirty = false;
    return true;
}

QString IniFile::escape(const QString &value) const
{
    QString out;
    for (qsizetype i = 0; i < value.size(); ++i) {
        const QChar c = value[i];
        if (c == QLatin1Char('\\'))
            out += QLatin1String("\\\\");
        else if (c == QLatin1Char('\n'))
            out += QLatin1String("\\n");
        else if (c == QLatin1Char('\t'))
            out += QLatin1String("\\t");
        else if (c == QLatin1Char('"') && m_dialect == Dialect::QSettings)
            out += QLatin1String("\\\"");
        else if (c == QLatin1Char(' ') && i == 0 && m_dialect == Dialect::KConfig)
            out += QLatin1String("\\s");
        else
            out += c;
    }
    // QSettings reads an unquoted value with a comma as a list, and drops
    // surrounding spaces; quoting keeps it one string.
    if (m_dialect == Dialect::QSettings
        && (out.contains(QLatin1Char(',')) || out.contains(QLatin1Char(';')) || out != out.trimmed()))
        out = QLatin1Char('"') + out + QLatin1Char('"');
    return out;
}

QString IniFile::unescape(const QString &raw) const
{
    QString s = raw;
    if (m_dialect == Dialect::QSettings && s.size() >= 2 && s.startsWith(QLatin1Char('"'))
        && s.endsWith(QLatin1Char('"')))
        s = s.mid(1, s.size() - 2);
    QString out;
    for (qsizetype i = 0; i < s.size(); ++i) {
        if (s[i] != QLatin1Char('\\') || i + 1 == s.size()) {
            out += s[i];
            continue;
        }
        const QChar next = s[++i];
        switch (next.unicode()) {
        case 'n': out += QLatin1Char('\n'); break;
        case 't': out += QLatin1Char('\t'); break;
        case 's': out += QLatin1Char(' '); break;
        default: out += next; break;
        }
    }
    return out;
}
