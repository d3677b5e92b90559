#pragma once

#include <QString>
#include <functional>

class Prefs;

// The questions the login item puts to the user. The UI shows them without
// blocking and answers through the callback; tests answer directly.
class LoginPrompts
{
public:
    enum class GuideChoice { openLoginItems, notNow, never };

    virtual ~LoginPrompts() = default;
    // `answer(true)` when the user asks to see the start-up settings.
    virtual void showRegistrationError(const QString &title, const QString &detail,
                                       std::function<void(bool openLoginItems)> answer) = 0;
    virtual void showGuide(std::function<void(GuideChoice)> answer) = 0;
    // Shows where the desktop keeps start-up entries.
    virtual void openLoginItems(const QString &autostartFolder) = 0;
};

// Starting at login, as an XDG autostart entry
// ($XDG_CONFIG_HOME/autostart/brindlewick.desktop). It registers itself on
// the first run unless the user opted out ("loginAutoRegisterOff"). There
// is no approval step on Linux, so the entry is either there and switched on
// (enabled), or not. The object must outlive the prompts it shows.
class LoginItem
{
public:
    enum Status { notRegistered = 0, enabled = 1, requiresApproval = 2, notFound = 3 };

    // `executable` is what the entry starts; `prompts` may be null (no
    // alerts, as for the command line); `processId` names the guide mark.
    LoginItem(Prefs &prefs, QString entryPath, QString executable, LoginPrompts *prompts, qint64 processId);

    static QString defaultEntryPath();

    bool autoRegister() const;
    void setAutoRegister(bool on);

    // Read from the file system each time: enabled when the entry exists,
    // starts `executable` and the desktop has not been told to skip it.
    Status status() const;
    bool isEnabled() const { return status() == enabled; }
    // The entry exists but tells the desktop to skip it (Hidden=true, or
    // X-GNOME-Autostart-enabled=false): the desktop's start-up settings
    // switched it off.
    bool switchedOffByDesktop() const;

    // Writes the entry atomically. On failure returns false with the reason
    // in `error` (a whole sentence, naming the file and the system's words).
    [[nodiscard]] bool registerEntry(QString *error);
    // Removes the entry; failures are ignored.
    void unregisterEntry();

    void checkRegistration(bool userInitiated);
    void turnOff();
    void showGuide(bool force);

    QString entryPath() const { return m_entryPath; }
    QString guideKey() const;

private:
    Prefs &m_prefs;
    QString m_entryPath;
    QString m_executable;
    LoginPrompts *m_prompts;
    qint64 m_processId;
};
