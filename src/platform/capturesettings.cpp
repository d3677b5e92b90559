#include "platform/capturesettings.h"

#include "platform/inifile.h"
#include "platform/messagecatalogue.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStandardPaths>
#include <QUrl>

namespace {

QString configHome() { return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation); }

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

// What writing some keys of an INI file changes, as a small JSON object:
// whether the file, its folder and each key's section were there, and each
// key's raw line (base64, or null when absent).
struct IniKey
{
    QString group;
    QString key;
};

QByteArray iniState(const QString &path, IniFile::Dialect dialect, const QList<IniKey> &keys)
{
    const IniFile ini(path, dialect);
    QJsonArray lines;
    QJsonArray groups;
    for (const IniKey &k : keys) {
        const std::optional<QByteArray> line = ini.rawLine(k.group, k.key);
        lines.append(
            QJsonArray{k.group, k.key, line ? QJsonValue(QString::fromLatin1(line->toBase64())) : QJsonValue()});
        if (ini.hasGroup(k.group) && !groups.contains(k.group))
            groups.append(k.group);
    }
    const QJsonObject state{{QStringLiteral("file"), ini.exists()},
                            {QStringLiteral("folder"), QFileInfo(QFileInfo(path).absolutePath()).isDir()},
                            {QStringLiteral("groups"), groups},
                            {QStringLiteral("keys"), lines}};
    return QJsonDocument(state).toJson(QJsonDocument::Compact);
}

bool restoreIniState(const QString &path, IniFile::Dialect dialect, const QList<IniKey> &keys,
                     const QByteArray &stateText)
{
    const QJsonDocument doc = QJsonDocument::fromJson(stateText);
    // A bare array: the key lines alone, as the first versions kept them.
    const QJsonObject state = doc.isObject() ? doc.object() : QJsonObject{{QStringLiteral("keys"), doc.array()}};
    const QJsonArray lines = state.value(QStringLiteral("keys")).toArray();
    if (lines.size() != keys.size())
        return false;
    IniFile ini(path, dialect);
    QStringList touched;
    for (const QJsonValue &entry : lines) {
        const QJsonArray e = entry.toArray();
        const bool known = std::any_of(keys.cbegin(), keys.cend(), [&e](const IniKey &k) {
            return e.at(0).toString() == k.group && e.at(1).toString() == k.key;
        });
        if (e.size() != 3 || !known)
            return false;
        std::optional<QByteArray> line;
        if (e.at(2).isString())
            line = QByteArray::fromBase64(e.at(2).toString().toLatin1());
        ini.setRawLine(e.at(0).toString(), e.at(1).toString(), line);
        if (!touched.contains(e.at(0).toString()))
            touched << e.at(0).toString();
    }
    // Sections we added go again; one that was there stays, even empty.
    const QJsonArray groups = state.value(QStringLiteral("groups")).toArray();
    for (const QString &group : std::as_const(touched))
        if (!groups.contains(group))
            ini.removeGroupIfEmpty(group);
    // A file (and folder) we created goes too, unless the tool has since
    // written settings of its own into it.
    if (!state.value(QStringLiteral("file")).toBool(true) && ini.isBlank()) {
        if (QFile::exists(path) && !QFile::remove(path))
            return false;
        if (!state.value(QStringLiteral("folder")).toBool(true))
            QDir().rmdir(QFileInfo(path).absolutePath());
        return true;
    }
    return ini.save();
}

// The Pictures folder when it exists, else Home: where Flameshot saves
// without a save path.
QString picturesOrHome()
{
    const QString pictures = QStandardPaths::writableLocation(QStandardPaths::PicturesLocation);
    return QFileInfo(pictures).isDir() ? pictures : QDir::homePath();
}

// Flameshot keeps its settings in a QSettings INI file: [General] savePath is
// used as the save folder only while savePathFixed is true; otherwise
// Flameshot asks for every capture, and savePath is just where its dialog
// last was. showDesktopNotification is its after-capture notification.
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
    // Without a fixed save path its dialog starts here; a fixed one that is
    // empty saves here.
    QString defaultFolder() const override { return picturesOrHome(); }
    void writeText(const QString &key, const QString &value) override
    {
        if (key != location)
            return;
        IniFile ini(m_path, IniFile::Dialect::QSettings);
        ini.setValue(general(), QStringLiteral("savePath"), value);
        ini.setValue(general(), QStringLiteral("savePathFixed"), QStringLiteral("true"));
        // A file that cannot be written keeps the tool's settings as they
        // were, which is what the next read of them reports.
        (void)ini.save();
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
        (void)ini.save(); // as above: the next read tells
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
        (void)ini.save(); // as above: the next read tells
    }
    // savePath means nothing without savePathFixed: the two go back together.
    QByteArray locationState() const override { return iniState(m_path, IniFile::Dialect::QSettings, keys()); }
    bool restoreLocationState(const QByteArray &state) override
    {
        return restoreIniState(m_path, IniFile::Dialect::QSettings, keys(), state);
    }
    // Flameshot watches its own configuration file.
    void reload() override {}

private:
    static QList<IniKey> keys()
    {
        return {{general(), QStringLiteral("savePath")}, {general(), QStringLiteral("savePathFixed")}};
    }
    static QString general() { return QStringLiteral("General"); }
    static QString notification() { return QStringLiteral("showDesktopNotification"); }
    QString m_path;
};

// Spectacle (KDE) keeps its save folder as a file:// URL: up to 23.04 (Debian
// 12 has 22.12) in [Save] defaultSaveLocation, from 23.08 on in [ImageSave]
// imageSaveLocation. Both are written, so the folder holds whichever version
// is installed or installed next, and both come back as they were. Without
// either it saves into the Pictures folder. No notification switch.
class SpectacleSettings final : public CaptureSettings
{
public:
    SpectacleSettings(QString path, std::optional<bool> readsImageSave)
        : m_path(std::move(path)), m_readsImageSave(readsImageSave)
    {}

    QString toolName() const override { return QStringLiteral("Spectacle"); }
    bool canWrite(const QString &key) const override { return key == location; }

    std::optional<QString> readText(const QString &key) const override
    {
        if (key != location)
            return std::nullopt;
        IniFile ini(m_path, IniFile::Dialect::KConfig);
        const auto image = ini.value(imageSave(), imageSaveLocation());
        const auto old = ini.value(save(), defaultSaveLocation());
        // The key the installed version reads; unknown version: the newer key first.
        const std::optional<QString> url = m_readsImageSave == false  ? old
                                           : m_readsImageSave == true ? image
                                           : image                    ? image
                                                                      : old;
        if (!url || url->isEmpty())
            return std::nullopt;
        const QUrl parsed(*url);
        return parsed.isLocalFile() ? parsed.toLocalFile() : *url;
    }
    void writeText(const QString &key, const QString &value) override
    {
        if (key != location)
            return;
        IniFile ini(m_path, IniFile::Dialect::KConfig);
        const QString url = QUrl::fromLocalFile(expandHome(value)).toString(QUrl::FullyEncoded);
        ini.setValue(save(), defaultSaveLocation(), url);
        ini.setValue(imageSave(), imageSaveLocation(), url);
        (void)ini.save(); // as above: the next read tells
    }
    std::optional<bool> readBool(const QString &) const override { return std::nullopt; }
    void writeBool(const QString &, bool) override {}
    void remove(const QString &key) override
    {
        if (key != location)
            return;
        IniFile ini(m_path, IniFile::Dialect::KConfig);
        ini.remove(save(), defaultSaveLocation());
        ini.remove(imageSave(), imageSaveLocation());
        (void)ini.save(); // as above: the next read tells
    }
    QString defaultFolder() const override
    {
        return QStandardPaths::writableLocation(QStandardPaths::PicturesLocation);
    }
    QByteArray locationState() const override { return iniState(m_path, IniFile::Dialect::KConfig, keys()); }
    bool restoreLocationState(const QByteArray &state) override
    {
        return restoreIniState(m_path, IniFile::Dialect::KConfig, keys(), state);
    }
    // Spectacle reads its settings at every start.
    void reload() override {}

private:
    static QString save() { return QStringLiteral("Save"); }
    static QString defaultSaveLocation() { return QStringLiteral("defaultSaveLocation"); }
    static QString imageSave() { return QStringLiteral("ImageSave"); }
    static QString imageSaveLocation() { return QStringLiteral("imageSaveLocation"); }
    static QList<IniKey> keys() { return {{save(), defaultSaveLocation()}, {imageSave(), imageSaveLocation()}}; }
    static QString expandHome(const QString &path)
    {
        if (path.startsWith(QLatin1String("~/")))
            return QDir::homePath() + path.mid(1);
        return path;
    }
    QString m_path;
    std::optional<bool> m_readsImageSave;
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
    QString defaultFolder() const override { return m_folder; }
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
    return gnomeShellScreenshotsFolder(QStandardPaths::writableLocation(QStandardPaths::PicturesLocation));
}

} // namespace

QString gnomeShellScreenshotsFolder(const QString &picturesFolder, const QString &localeRoot)
{
    const QString english = QStringLiteral("Screenshots");
    for (const QString &language : messageLanguages()) {
        const QString catalogue =
            localeRoot + QLatin1Char('/') + language + QStringLiteral("/LC_MESSAGES/gnome-shell.mo");
        const QString name = catalogueLookup(catalogue, english.toUtf8());
        if (!name.isEmpty() && !name.contains(QLatin1Char('/')))
            return picturesFolder + QLatin1Char('/') + name;
    }
    // No catalogue (a minimal install): a folder that is already there
    // under a common translation is the one GNOME Shell has been using.
    static const QStringList known = {
        english,
        QStringLiteral("Bildschirmfotos"),
        QStringLiteral("Captures d’écran"),
        QStringLiteral("Capturas de pantalla"),
        QStringLiteral("Capturas de ecrã"),
        QStringLiteral("Capturas de tela"),
        QStringLiteral("Schermate"),
        QStringLiteral("Schermafdrukken"),
        QStringLiteral("Zrzuty ekranu"),
        QStringLiteral("Skärmbilder"),
        QStringLiteral("Snímky obrazovky"),
        QStringLiteral("Снимки экрана"),
        QStringLiteral("スクリーンショット"),
        QStringLiteral("截图"),
    };
    for (const QString &name : known)
        if (QFileInfo(picturesFolder + QLatin1Char('/') + name).isDir())
            return picturesFolder + QLatin1Char('/') + name;
    return picturesFolder + QLatin1Char('/') + english;
}

std::unique_ptr<CaptureSettings> makeFlameshotSettings(const QString &iniPath)
{
    return std::make_unique<FlameshotSettings>(iniPath);
}

std::unique_ptr<CaptureSettings> makeSpectacleSettings(const QString &rcPath, std::optional<bool> readsImageSave)
{
    return std::make_unique<SpectacleSettings>(rcPath, readsImageSave);
}

std::optional<bool> spectacleReadsImageSave(const QString &metainfoPath)
{
    // The newest release is listed first.
    QFile file(metainfoPath);
    if (!file.open(QIODevice::ReadOnly) || file.size() > 4 * 1024 * 1024)
        return std::nullopt;
    const QByteArray text = file.readAll();
    const qsizetype at = text.indexOf("<release version=\"");
    if (at < 0)
        return std::nullopt;
    const QByteArray version = text.mid(at + 18, text.indexOf('"', at + 18) - at - 18);
    const QList<QByteArray> parts = version.split('.');
    bool okMajor = false;
    bool okMinor = parts.size() < 2;
    const int major = parts.value(0).toInt(&okMajor);
    const int minor = parts.size() < 2 ? 0 : parts.at(1).toInt(&okMinor);
    if (!okMajor || !okMinor)
        return std::nullopt;
    // Released with KDE Gear as year.month, then with Plasma (6.x).
    if (major < 15)
        return major >= 6;
    return major > 23 || (major == 23 && minor >= 8);
}

QString xdgUserFolder(const char *name)
{
    QFile file(configHome() + QStringLiteral("/user-dirs.dirs"));
    QString found = QDir::homePath();
    if (!file.open(QIODevice::ReadOnly))
        return found;
    const QByteArray wanted = QByteArray("XDG_") + name + "_DIR=";
    while (!file.atEnd()) {
        const QByteArray line = file.readLine().trimmed();
        if (!line.startsWith(wanted))
            continue;
        QByteArray value = line.mid(wanted.size());
        if (value.size() < 2 || !value.startsWith('"') || !value.endsWith('"'))
            continue;
        value = value.mid(1, value.size() - 2);
        if (value.startsWith("$HOME"))
            found = QDir::homePath() + QFile::decodeName(value.mid(5));
        else if (value.startsWith('/'))
            found = QFile::decodeName(value);
    }
    return found;
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
        return makeSpectacleSettings(spectaclerc, spectacleReadsImageSave());
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
        return makeSpectacleSettings(spectaclerc, spectacleReadsImageSave());
    if (desktopIs("GNOME") || desktopIs("ubuntu") || desktopIs("Unity"))
        return makeGnomeShellSettings(gnomeShellScreenshots());
    if (!QStandardPaths::findExecutable(QStringLiteral("gnome-screenshot")).isEmpty())
        if (auto gnome = makeGnomeScreenshotSettings())
            return gnome;
    return nullptr;
}
