#include "system/prefs.h"

#include <QDir>
#include <QStandardPaths>

Prefs::Prefs(const QString &filePath) : m_settings(std::make_unique<QSettings>(filePath, QSettings::IniFormat)) {}

QString Prefs::defaultFilePath()
{
    // GenericConfigLocation honours XDG_CONFIG_HOME.
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation)
           + QStringLiteral("/Brindlewick/Brindlewick.conf");
}

bool Prefs::contains(const QString &key) const { return m_settings->contains(key); }

QVariant Prefs::value(const QString &key) const { return m_settings->value(key); }

void Prefs::setValue(const QString &key, const QVariant &value)
{
    m_settings->setValue(key, value);
    m_settings->sync();
}

void Prefs::remove(const QString &key)
{
    m_settings->remove(key);
    m_settings->sync();
}

QString Prefs::text(const QString &key, const QString &fallback) const
{
    const QVariant v = m_settings->value(key);
    if (!v.isValid() || !v.canConvert<QString>())
        return fallback;
    return v.toString();
}

double Prefs::number(const QString &key, double fallback) const
{
    bool ok = false;
    const double d = m_settings->value(key).toDouble(&ok);
    return ok ? d : fallback;
}

bool Prefs::flag(const QString &key, bool fallback) const
{
    const QVariant v = m_settings->value(key);
    if (!v.isValid())
        return fallback;
    // INI stores booleans as text; anything but a clear true/false falls back.
    const QString s = v.toString().trimmed().toLower();
    if (s == QLatin1String("true") || s == QLatin1String("1"))
        return true;
    if (s == QLatin1String("false") || s == QLatin1String("0"))
        return false;
    return fallback;
}

QString Prefs::filePath() const { return m_settings->fileName(); }
