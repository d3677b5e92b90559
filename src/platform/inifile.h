#pragma once

#include <QString>
#include <QStringList>
#include <optional>

// Edits one key of another program's INI-style settings file and leaves every
// other line exactly as it was. Two escaping dialects: the one QSettings
// reads (Flameshot) and KDE's KConfig (Spectacle). Saves atomically.
class IniFile
{
public:
    enum class Dialect { QSettings, KConfig };

    IniFile(const QString &path, Dialect dialect);

    std::optional<QString> value(const QString &group, const QString &key) const;
    void setValue(const QString &group, const QString &key, const QString &value);
    void remove(const QString &group, const QString &key);
    // Writes the file if anything changed; false when that failed.
    bool save();

private:
    qsizetype findKey(const QString &group, const QString &key, qsizetype *groupEnd) const;
    QString escape(const QString &value) const;
    QString unescape(const QString &raw) const;

    QString m_path;
    Dialect m_dialect;
    QStringList m_lines;
    bool m_dirty = false;
};
