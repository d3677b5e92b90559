#pragma once

#include <QString>
#include <memory>
#include <optional>

// The screenshot tool's own settings, as far as we touch them: its save folder
// ("location", a path that may start with "~") and its after-capture
// notification switch ("show-thumbnail"). One backend per supported tool.
// A key the tool does not have reads as absent and ignores writes.
class CaptureSettings
{
public:
    static inline const QString location = QStringLiteral("location");
    static inline const QString showThumbnail = QStringLiteral("show-thumbnail");

    virtual ~CaptureSettings() = default;

    // The tool's name as users know it ("Flameshot", "Spectacle", ...).
    virtual QString toolName() const = 0;
    // False for tools whose save folder cannot be changed (GNOME Shell's own).
    virtual bool canWrite(const QString &key) const = 0;

    virtual std::optional<QString> readText(const QString &key) const = 0;
    virtual void writeText(const QString &key, const QString &value) = 0;
    virtual std::optional<bool> readBool(const QString &key) const = 0;
    virtual void writeBool(const QString &key, bool value) = 0;
    virtual void remove(const QString &key) = 0;
    // Where the tool saves, or starts its save dialog, while "location"
    // reads as absent: its own default folder.
    virtual QString defaultFolder() const = 0;
    // Every setting that writing "location" changes, exactly as the tool
    // stored it (present or absent), and putting that back byte for byte.
    // Empty, and false, for tools without such a file.
    virtual QByteArray locationState() const { return {}; }
    [[nodiscard]] virtual bool restoreLocationState(const QByteArray &) { return false; }
    // Makes the tool pick up a change: a reload request where the tool has
    // one, otherwise nothing. Never ends a process.
    virtual void reload() = 0;
};

// Backends, each over an explicit settings location so tests can use their own.
std::unique_ptr<CaptureSettings> makeFlameshotSettings(const QString &iniPath);
// `readsImageSave`: whether the installed Spectacle reads the newer key
// (none: not known).
std::unique_ptr<CaptureSettings> makeSpectacleSettings(const QString &rcPath,
                                                       std::optional<bool> readsImageSave = std::nullopt);
// From the installed Spectacle's release list: true from 23.08 on (and for
// the Plasma-numbered 6.x), false before, none when it cannot be read.
std::optional<bool> spectacleReadsImageSave(
    const QString &metainfoPath = QStringLiteral("/usr/share/metainfo/org.kde.spectacle.appdata.xml"));
// nullptr when the gnome-screenshot schema is not installed.
std::unique_ptr<CaptureSettings> makeGnomeScreenshotSettings();
std::unique_ptr<CaptureSettings> makeGnomeShellSettings(const QString &screenshotsFolder);

// The XDG user folder `name` ("PICTURES") as user-dirs.dirs sets it, read
// the way GLib reads it: Home when it is not set there.
QString xdgUserFolder(const char *name);

// Where GNOME Shell saves screenshots: `picturesFolder` plus "Screenshots"
// in the session's language, read from GNOME Shell's own translation
// catalogue under `localeRoot` (LANGUAGE, LC_ALL, LC_MESSAGES, LANG as
// gettext reads them). Without a catalogue, an existing folder under one of
// the common translated names, else "Screenshots".
QString gnomeShellScreenshotsFolder(const QString &picturesFolder,
                                    const QString &localeRoot = QStringLiteral("/usr/share/locale"));

// The tool in use on this desktop, or nullptr when none is recognised (then
// nothing is changed).
// BRINDLEWICK_SCREENSHOT_TOOL=flameshot|spectacle|gnome-screenshot|gnome-shell|none
// overrides the detection.
std::unique_ptr<CaptureSettings> detectCaptureSettings();
