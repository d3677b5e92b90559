#include "platform/capturesettings.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QUrl>

#include <gio/gio.h>

namespace {

// gnome-screenshot keeps its save folder in GSettings as a file:// URI; the
// empty string means its default: the XDG Pictures folder as GLib reads it
// (Home when user-dirs.dirs names none), Home when that folder is missing.
class GnomeScreenshotSettings final : public CaptureSettings
{
public:
    explicit GnomeScreenshotSettings(GSettings *settings) : m_settings(settings) {}
    ~GnomeScreenshotSettings() override { g_object_unref(m_settings); }

    QString toolName() const override { return QStringLiteral("GNOME Screenshot"); }
    bool canWrite(const QString &key) const override { return key == location; }

    std::optional<QString> readText(const QString &key) const override
    {
        if (key != location)
            return std::nullopt;
        gchar *uri = g_settings_get_string(m_settings, kKey);
        const QString text = QString::fromUtf8(uri);
        g_free(uri);
        if (text.isEmpty())
            return std::nullopt;
        const QUrl url(text);
        return url.isLocalFile() ? url.toLocalFile() : text;
    }
    void writeText(const QString &key, const QString &value) override
    {
        if (key != location)
            return;
        const QByteArray uri = QUrl::fromLocalFile(value).toString(QUrl::FullyEncoded).toUtf8();
        g_settings_set_string(m_settings, kKey, uri.constData());
        g_settings_sync();
    }
    std::optional<bool> readBool(const QString &) const override { return std::nullopt; }
    void writeBool(const QString &, bool) override {}
    void remove(const QString &key) override
    {
        if (key != location)
            return;
        g_settings_reset(m_settings, kKey);
        g_settings_sync();
    }
    QString defaultFolder() const override
    {
        const QString pictures = xdgUserFolder("PICTURES");
        return QFileInfo(pictures).isDir() ? pictures : QDir::homePath();
    }
    // Whether the user set the key and to what exact text: an unset key is
    // reset again rather than set to its default, so later defaults apply.
    QByteArray locationState() const override
    {
        GVariant *value = g_settings_get_user_value(m_settings, kKey);
        QJsonObject state{{QStringLiteral("user"), QJsonValue()}};
        if (value) {
            state.insert(QStringLiteral("user"), QString::fromUtf8(g_variant_get_string(value, nullptr)));
            g_variant_unref(value);
        }
        return QJsonDocument(state).toJson(QJsonDocument::Compact);
    }
    bool restoreLocationState(const QByteArray &stateText) override
    {
        const QJsonDocument doc = QJsonDocument::fromJson(stateText);
        if (!doc.isObject() || !doc.object().contains(QStringLiteral("user")))
            return false;
        const QJsonValue user = doc.object().value(QStringLiteral("user"));
        if (user.isString())
            g_settings_set_string(m_settings, kKey, user.toString().toUtf8().constData());
        else
            g_settings_reset(m_settings, kKey);
        g_settings_sync();
        return true;
    }
    // GSettings changes reach the tool by themselves.
    void reload() override {}

private:
    static constexpr const char *kKey = "auto-save-directory";
    GSettings *m_settings;
};

} // namespace

std::unique_ptr<CaptureSettings> makeGnomeScreenshotSettings()
{
    // g_settings_new aborts on a missing schema, so look it up first.
    GSettingsSchemaSource *source = g_settings_schema_source_get_default();
    if (!source)
        return nullptr;
    GSettingsSchema *schema = g_settings_schema_source_lookup(source, "org.gnome.gnome-screenshot", TRUE);
    if (!schema)
        return nullptr;
    const bool hasKey = g_settings_schema_has_key(schema, "auto-save-directory");
    GSettings *settings = hasKey ? g_settings_new_full(schema, nullptr, nullptr) : nullptr;
    g_settings_schema_unref(schema);
    if (!settings)
        return nullptr;
    return std::make_unique<GnomeScreenshotSettings>(settings);
}
