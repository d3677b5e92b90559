#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <optional>

// Edits single keys of another program's INI-style settings file and leaves
// every other byte as it was: comments, unknown lines, other keys, line
// endings, even text that is not UTF-8. Values are read and written in the
// owning program's own escaping: the one QSettings uses (Flameshot) or
// KDE's KConfig (Spectacle). Saves atomically; a file that exists but
// cannot be read is never written over.
class IniFile
{
public:
    enum class Dialect { QSettings, KConfig };

    IniFile(const QString &path, Dialect dialect);

    std::optional<QString> value(const QString &group, const QString &key) const;
    void setValue(const QString &group, const QString &key, const QString &value);
    // Removing a section's last key at the end of the file takes the section
    // too (setValue added it) unless `keepSection`.
    void remove(const QString &group, const QString &key, bool keepSection = false);

    bool hasGroup(const QString &group) const;
    // Takes out every section named `group` that holds nothing but blank
    // lines, with the blank line that set it apart at the end of the file.
    void removeGroupIfEmpty(const QString &group);
    // Nothing but blank lines.
    bool isBlank() const;
    bool exists() const { return m_exists; }

    // The key's whole line exactly as stored (none when absent), and putting
    // such a line back: what was there can be restored byte for byte
    // (sections are left for removeGroupIfEmpty).
    std::optional<QByteArray> rawLine(const QString &group, const QString &key) const;
    void setRawLine(const QString &group, const QString &key, const std::optional<QByteArray> &line);

    // Writes the file if anything changed; false when that failed.
    [[nodiscard]] bool save();

    // A value as the dialect stores it after "key=", and back. Decoding
    // gives none for what is not one plain string (a QSettings list or
    // typed value).
    static QByteArray encode(const QString &value, Dialect dialect);
    static std::optional<QString> decode(const QByteArray &stored, Dialect dialect);

private:
    qsizetype findKey(const QString &group, const QString &key, qsizetype *insertAt) const;
    void putLine(const QString &group, const QString &key, const QByteArray &line);

    QString m_path;
    Dialect m_dialect;
    QList<QByteArray> m_lines; // without their "\n"; a "\r" stays part of the line
    bool m_finalNewline = true;
    bool m_unreadable = false;
    bool m_exists = false;
    bool m_dirty = false;
};
