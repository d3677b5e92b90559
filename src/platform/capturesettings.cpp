#include "platform/capturesettings.h"

#include "platform/inifile.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>
#include <QUrl>

namespace {

QString configHome()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
}

std::optional<bool> parseBool(const std::optional<QString> &text)
{
    if (!text)
        return std::nullopt;
    const QString s = text->trimmed().toLower();
    if (s == QLatin1String("true"))
        return true;
    if (s == QLatin1String("false"))
        return false;
    return std::nullopt;
}

// Flameshot keeps its settings in a QSettings INI file: [General] savePath is
// used as the save folder only while savePathFixed is true;
// showDesktopNotification is its after-capture notification.
class FlameshotSettings final : public CaptureSettings
{
public:
    explicit FlameshotSettings(QString path) : m_path(std::move(path)) {}

    QString toolName() const override { return QStringLiteral("Flameshot"); }
    bool canWrite(const QString &key) const override { return key == location || key == showThumbnail; }

    std::optional<QString> readText(const QString &key) const override
    {
        if (key != location)
            return std::nullopt;
        IniFile ini(m_path, IniFile::Dialect::QSettings);
        if (parseBool(ini.value(general(), QStringLiteral("savePathFixed"))) != true)
            return std::nullopt;
        return ini.value(general(), QStringLiteral("savePath"));
    }
    void writeText(const QString &key, const QString &value) override
    {
        if (key != location)
            return;
        IniFile ini(m_path, IniFile::Dialect::QSettings);
        ini.setValue(general(), QStringLiteral("savePath"), value);
        ini.setValue(general(), QStringLiteral("savePathFixed"), QStringLiteral("true"));
        ini.save();
    }
    std::optional<bool> readBool(const QString &key) const override
    {
        if (key != showThumbnail)
            return std::nullopt;
        return parseBool(IniFile(m_path, IniFile::Dialect::QSettings).value(general(), notification()));
    }
    void writeBool(const QString &key, bool value) override
    {
        if (key != showThumbnail)
            return;
        IniFile ini(m_path, IniFile::Dialect::QSettings);
        ini.setValue(general(), notification(), value ? QStringLiteral("true") : QStringLiteral("false"));
        ini.save();
    }
    void remove(const QString &key) override
    {
        IniFile ini(m_path, IniFile::Dialect::QSettings);
        if (key == location) {
            ini.remove(general(), QStringLiteral("savePath"));
            ini.remove(general(), QStringLiteral("savePathFixed"));
        } else if (key == showThumbnail) {
            ini.remove(general(), notification());
        }
        ini.save();
    }
    // Flameshot watches its own configuration file.
    void reload() override {}

private:
    static QString general() { return QStringLiteral("General"); }
    static QString notification() { return QStringLiteral("showDesktopNotification"); }
    QString m_path;
};

// Spectacle (KDE): [ImageSave] imageSaveLocation, a file:// URL; versions
// before 22.x used [Save] defaultSaveLocation. No notification switch.
class SpectacleSettings final : public CaptureSettings
{
public:
    explicit SpectacleSettings(QString path) : m_path(std::move(path)) {}

    QString toolName() const override { return QStringLiteral("Spectacle"); }
    bool canWrite(const QString &key) const override { return key == location; }

    std::optional<QString> readText(const QString &key) const override
    {
        if (key != location)
            return std::nullopt;
        IniFile ini(m_path, IniFile::Dialect::KConfig);
        auto url = ini.value(QStringLiteral("ImageSave"), QStringLiteral("imageSaveLocation"));
        if (!url)
            url = ini.value(QStringLiteral("Save"), QStringLiteral("defaultSaveLocation"));
        if (!url || url->isEmpty())
            return url;
        const QUrl parsed(*url);
        return parsed.isLocalFile() ? parsed.toLocalFile() : *url;
    }
    void writeText(const QString &key, const QString &value) override
    {
        if (key != location)
            return;
        IniFile ini(m_path, IniFile::Dialect::KConfig);
        ini.setValue(QStringLiteral("ImageSave"), QStringLiteral("imageSaveLocation"),
                     QUrl::fromLocalFile(expandHome(value)).toString(QUrl::FullyEncoded));
        ini.save();
    }
    std::optional<bool> readBool(const QString &) const override { return std::nullopt; }
    void writeBool(const QString &, bool) override {}
    void remove(const QString &key) override
    {
        if (key != location)
            return;
        IniFile ini(m_path, IniFile::Dialect::KConfig);
        ini.remove(QStringLiteral("ImageSave"), QStringLiteral("imageSaveLocation"));
        ini.save();
    }
    // Spectacle reads its settings at every start.
    void reload() override {}

private:
    static QString expandHome(const QString &path)
    {
        if (path.startsWith(QLatin1String("~/")))
            return QDir::homePath() + path.mid(1);
        return path;
    }
    QString m_path;
};

// GNOME Shell's own screenshot tool always saves into Pictures/Screenshots;
// there is nothing to change.
class GnomeShellSettings final : public CaptureSettings
{
public:
    explicit GnomeShellSettings(QString folder) : m_folder(std::move(folder)) {}

    QString toolName() const override { return QStringLiteral("GNOME Screenshot"); }
    bool canWrite(const QString &) const override { return false; }
    std::optional<QString> readText(const QString &key) const override
    {
        if (key == location)
            return m_folder;
        return std::nullopt;
    }
    void writeText(const QString &, const QString &) override {}
    std::optional<bool> readBool(const QString &) const override { return std::nullopt; }
    void writeBool(const QString &, bool) override {}
    void remove(const QString &) override {}
    void reload() override {}

private:
    QString m_folder;
};

bool desktopIs(const char *name)
{
    const QString desktops = qEnvironmentVariable("XDG_CURRENT_DESKTOP");
    for (const QString &d : desktops.split(QLatin1Char(':'), Qt::SkipEmptyParts))
        if (d.compare(QLatin1String(name), Qt::CaseInsensitive) == 0)
            return true;
    return false;
}

QString gnomeShellScreenshots()
{
    // GNOME translates the folder name; we only know the English one.
    const QString pictures = QStandardPaths::writableLocation(QStandardPaths::PicturesLocation);
    return pictures + QStringLiteral("/Screenshots");
}

} // namespace

std::unique_ptr<CaptureSettings> makeFlameshotSettings(const QString &iniPath)
{
    return std::make_unique<FlameshotSettings>(iniPath);
}

std::unique_ptr<CaptureSettings> makeSpectacleSettings(const QString &rcPath)
{
    return std::make_unique<SpectacleSettings>(rcPath);
}

std::unique_ptr<CaptureSettings> makeGnomeShellSettings(const QString &screenshotsFolder)
{
    return std::make_unique<GnomeShellSettings>(screenshotsFolder);
}

std::unique_ptr<CaptureSettings> detectCaptureSettings()
{
    const QString flameshotIni = configHome() + QStringLiteral("/flameshot/flameshot.ini");
    const QString spectaclerc = configHome() + QStringLiteral("/spectaclerc");

    const QString forced = qEnvironmentVariable("BRINDLEWICK_SCREENSHOT_TOOL");
    if (forced == QLatin1String("flameshot"))
        return makeFlameshotSettings(flameshotIni);
    if (forced == QLatin1String("spectacle"))
        return makeSpectacleSettings(spectaclerc);
    if (forced == QLatin1String("gnome-screenshot"))
        return makeGnomeScreenshotSettings();
    if (forced == QLatin1String("gnome-shell"))
        return makeGnomeShellSettings(gnomeShellScreenshots());
    if (!forced.isEmpty())
        return nullptr;

    // A separately installed tool was chosen on purpose, so it wins over the
    // desktop's own.
    if (!QStandardPaths::findExecutable(QStringLiteral("flameshot")).isEmpty())
        return makeFlameshotSettings(flameshotIni);
    if (desktopIs("KDE"))
        return makeSpectacleSettings(spectaclerc);
    if (desktopIs("GNOME") || desktopIs("ubuntu") || desktopIs("Unity"))
        return makeGnomeShellSettings(gnomeShellScreenshots());
    if (!QStandardPaths::findExecutable(QStringLiteral("gnome-screenshot")).isEmpty())
        if (auto gnome = makeGnomeScreenshotSettings())
            return gnome;
    return nullptr;
}
