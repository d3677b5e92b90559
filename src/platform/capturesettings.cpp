#include "platform/capturesettings.h"

#include "platform/inifile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QStandardPaths>
#include <QtEndian>
#include <QUrl>

#include <cstring>

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

// The raw lines of some keys of an INI file, as a small JSON array of
// [group, key, base64 line or null].
struct IniKey
{
    QString group;
    QString key;
};

QByteArray iniState(const QString &path, IniFile::Dialect dialect, const QList<IniKey> &keys)
{
    const IniFile ini(path, dialect);
    QJsonArray state;
    for (const IniKey &k : keys) {
        const std::optional<QByteArray> line = ini.rawLine(k.group, k.key);
        state.append(QJsonArray{k.group, k.key,
                                line ? QJsonValue(QString::fromLatin1(line->toBase64())) : QJsonValue()});
    }
    return QJsonDocument(state).toJson(QJsonDocument::Compact);
}

bool restoreIniState(const QString &path, IniFile::Dialect dialect, const QList<IniKey> &keys,
                     const QByteArray &stateText)
{
    const QJsonDocument doc = QJsonDocument::fromJson(stateText);
    if (!doc.isArray() || doc.array().size() != keys.size())
        return false;
    IniFile ini(path, dialect);
    for (const QJsonValue &entry : doc.array()) {
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
    }
    return ini.save();
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
    QByteArray locationState() const override { return iniState(m_path, IniFile::Dialect::KConfig, keys()); }
    bool restoreLocationState(const QByteArray &state) override
    {
        return restoreIniState(m_path, IniFile::Dialect::KConfig, keys(), state);
    }
    // Spectacle reads its settings at every start.
    void reload() override {}

private:
    static QList<IniKey> keys() { return {{QStringLiteral("ImageSave"), QStringLiteral("imageSaveLocation")}}; }
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
    return gnomeShellScreenshotsFolder(QStandardPaths::writableLocation(QStandardPaths::PicturesLocation));
}

// The languages gettext would try, most specific first: LANGUAGE's list
// unless the locale is C/POSIX (then no translation at all), each as
// ll_CC@mod, ll_CC, ll@mod, ll.
QStringList messageLanguages()
{
    QString locale;
    for (const char *name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        locale = qEnvironmentVariable(name);
        if (!locale.isEmpty())
            break;
    }
    if (locale.isEmpty() || locale == QLatin1String("C") || locale.startsWith(QLatin1String("C."))
        || locale == QLatin1String("POSIX"))
        return {};
    QStringList wanted = qEnvironmentVariable("LANGUAGE").split(QLatin1Char(':'), Qt::SkipEmptyParts);
    if (wanted.isEmpty())
        wanted = {locale};
    QStringList out;
    for (const QString &name : std::as_const(wanted)) {
        const qsizetype at = name.indexOf(QLatin1Char('@'));
        const QString modifier = at < 0 ? QString() : name.mid(at);
        const QString base = (at < 0 ? name : name.left(at)).section(QLatin1Char('.'), 0, 0);
        const QString language = base.section(QLatin1Char('_'), 0, 0);
        for (const QString &candidate : {base + modifier, base, language + modifier, language})
            if (!candidate.isEmpty() && !out.contains(candidate))
                out << candidate;
    }
    return out;
}

quint32 moWord(const QByteArray &data, qsizetype at, bool swap)
{
    if (at < 0 || at + 4 > data.size())
        return 0;
    quint32 v;
    std::memcpy(&v, data.constData() + at, 4);
    return swap ? qbswap(v) : v;
}

// The translation of `msgid` (with or without a context) in a compiled
// gettext catalogue; empty when it has none.
QString moLookup(const QString &path, const QByteArray &msgid)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || file.size() > 64 * 1024 * 1024)
        return {};
    const QByteArray data = file.readAll();
    const quint32 magic = moWord(data, 0, false);
    const bool swap = magic == 0xde120495u;
    if (magic != 0x950412deu && !swap)
        return {};
    const quint32 count = moWord(data, 8, swap);
    const quint32 originals = moWord(data, 12, swap);
    const quint32 translations = moWord(data, 16, swap);
    for (quint32 i = 0; i < count; ++i) {
        const quint32 length = moWord(data, originals + 8 * qsizetype(i), swap);
        const quint32 offset = moWord(data, originals + 8 * qsizetype(i) + 4, swap);
        if (qsizetype(offset) + length > data.size())
            return {};
        const QByteArray original(data.constData() + offset, length);
        if (original != msgid && !original.endsWith('\x04' + msgid))
            continue;
        const quint32 tLength = moWord(data, translations + 8 * qsizetype(i), swap);
        const quint32 tOffset = moWord(data, translations + 8 * qsizetype(i) + 4, swap);
        if (qsizetype(tOffset) + tLength > data.size())
            return {};
        // Plural forms follow the first one after a NUL.
        QByteArray translated(data.constData() + tOffset, tLength);
        if (const qsizetype nul = translated.indexOf('\0'); nul >= 0)
            translated.truncate(nul);
        return QString::fromUtf8(translated);
    }
    return {};
}

} // namespace

QString gnomeShellScreenshotsFolder(const QString &picturesFolder, const QString &localeRoot)
{
    const QString english = QStringLiteral("Screenshots");
    for (const QString &language : messageLanguages()) {
        const QString catalogue = localeRoot + QLatin1Char('/') + language + QStringLiteral("/LC_MESSAGES/gnome-shell.mo");
        const QString name = moLookup(catalogue, english.toUtf8());
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
