#pragma once

#include <QSettings>
#include <QString>
#include <QVariant>
#include <memory>

// The program's own preferences: one INI file,
// $XDG_CONFIG_HOME/Brindlewick/Brindlewick.conf. Writes go to disk at once.
// Code takes a Prefs& so tests can hand in one backed by a temporary file.
class Prefs
{
public:
    explicit Prefs(const QString &filePath);

    // The user's preferences file (created on first use).
    static QString defaultFilePath();

    bool contains(const QString &key) const;
    QVariant value(const QString &key) const;
    void setValue(const QString &key, const QVariant &value);
    void remove(const QString &key);

    // Typed reads; a missing or malformed value yields `fallback`.
    QString text(const QString &key, const QString &fallback = {}) const;
    double number(const QString &key, double fallback) const;
    bool flag(const QString &key, bool fallback) const;

    QString filePath() const;

private:
    std::unique_ptr<QSettings> m_settings;
};

// Preference keys, exactly as stored.
namespace PrefKey {
inline const QString folder = QStringLiteral("folder");
inline const QString cellWidth = QStringLiteral("cellWidth");
inline const QString shelfWindowSize = QStringLiteral("shelfWindowSize");
inline const QString flashEnabled = QStringLiteral("flashEnabled");
inline const QString flashSeconds = QStringLiteral("flashSeconds");
inline const QString tidyEnabled = QStringLiteral("tidyEnabled");
inline const QString tidyDays = QStringLiteral("tidyDays");
inline const QString tidyToTrash = QStringLiteral("tidyToTrash");
inline const QString previousCaptureLocation = QStringLiteral("previousCaptureLocation");
// The screenshot tool's own lines behind previousCaptureLocation, so quitting
// puts back exactly what was there (base64 of the tool backend's record).
inline const QString previousCaptureState = QStringLiteral("previousCaptureState");
inline const QString loginAutoRegisterOff = QStringLiteral("loginAutoRegisterOff");
inline const QString loginGuideShownForStatusPrefix = QStringLiteral("loginGuideShownForStatus.");
inline const QString heartbeatEnabled = QStringLiteral("heartbeatEnabled");
inline const QString installID = QStringLiteral("installID");
inline const QString heartbeatLast = QStringLiteral("heartbeatLast");
// Tesseract languages for text recognition, "eng+deu" style.
inline const QString ocrLanguages = QStringLiteral("ocrLanguages");
} // namespace PrefKey
