#include "system/loginitem.h"

#include "files/logcategories.h"
#include "platform/desktopentries.h"
#include "system/prefs.h"
#include "system/texts.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

namespace {

// The Exec value of a desktop entry: the path quoted when it holds anything
// the format reserves, and "%" doubled since it introduces field codes.
QString execValue(const QString &executable)
{
    QString path = executable;
    path.replace(QLatin1Char('%'), QStringLiteral("%%"));
    static const QString reserved = QStringLiteral(" \t\n\"'\\><~|&;$*?#()`");
    const bool needsQuotes = std::any_of(path.cbegin(), path.cend(), [](QChar c) { return reserved.contains(c); });
    if (!needsQuotes)
        return path;
    QString quoted;
    for (QChar c : std::as_const(path)) {
        if (c == QLatin1Char('"') || c == QLatin1Char('`') || c == QLatin1Char('$') || c == QLatin1Char('\\'))
            quoted += QLatin1Char('\\');
        quoted += c;
    }
    // Inside the file, a backslash is itself escaped once more.
    quoted.replace(QLatin1Char('\\'), QStringLiteral("\\\\"));
    return QLatin1Char('"') + quoted + QLatin1Char('"');
}

QByteArray entryText(const QString &executable)
{
    return QStringLiteral("[Desktop Entry]\n"
                          "Type=Application\n"
                          "Name=Brindlewick\n"
                          "Comment=Keeps your screenshots at hand\n"
                          "Exec=%1\n"
                          // Desktops skip the entry once the binary is gone
                          // (the package removed), instead of failing at login.
                          "TryExec=%2\n"
                          "Terminal=false\n"
                          "X-GNOME-Autostart-enabled=true\n")
        .arg(execValue(executable), QString(executable).replace(QLatin1Char('\\'), QStringLiteral("\\\\")))
        .toUtf8();
}

} // namespace

LoginItem::LoginItem(Prefs &prefs, QString entryPath, QString executable, LoginPrompts *prompts, qint64 processId)
    : m_prefs(prefs), m_entryPath(std::move(entryPath)), m_executable(std::move(executable)), m_prompts(prompts),
      m_processId(processId)
{}

QString LoginItem::defaultEntryPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation)
           + QStringLiteral("/autostart/brindlewick.desktop");
}

bool LoginItem::autoRegister() const { return !m_prefs.flag(PrefKey::loginAutoRegisterOff, false); }

void LoginItem::setAutoRegister(bool on) { m_prefs.setValue(PrefKey::loginAutoRegisterOff, !on); }

LoginItem::Status LoginItem::status() const
{
    // An entry that starts another program (left by an install elsewhere)
    // does not start this one at login.
    const std::optional<DesktopEntryFacts> entry = readDesktopEntry(m_entryPath);
    return entry && entry->shows() && entry->executable == m_executable ? enabled : notRegistered;
}

bool LoginItem::switchedOffByDesktop() const
{
    const std::optional<DesktopEntryFacts> entry = readDesktopEntry(m_entryPath);
    return entry && !entry->shows();
}

bool LoginItem::registerEntry(QString *error)
{
    const QString folder = QFileInfo(m_entryPath).absolutePath();
    QString reason;
    if (!QDir().mkpath(folder)) {
        reason = Texts::folderNotCreated().arg(folder);
    } else {
        QSaveFile file(m_entryPath);
        if (file.open(QIODevice::WriteOnly)) {
            file.write(entryText(m_executable));
            if (file.commit()) {
                qCInfo(lcLogin) << "wrote the start-up entry" << m_entryPath;
                return true;
            }
        }
        reason = file.errorString();
    }
    qCWarning(lcLogin) << "cannot write the start-up entry" << m_entryPath << reason;
    if (error)
        *error = Texts::loginErrorDetail().arg(m_entryPath, reason);
    return false;
}

void LoginItem::unregisterEntry() { QFile::remove(m_entryPath); }

void LoginItem::checkRegistration(bool userInitiated)
{
    if (!autoRegister())
        return;
    // The user switched it off in the desktop's own start-up settings: that
    // is their "off", remembered like ours. Only switching it on here again
    // writes the entry anew.
    if (!userInitiated && switchedOffByDesktop()) {
        qCInfo(lcLogin) << "the desktop's start-up settings switched the entry off; leaving it so";
        setAutoRegister(false);
        return;
    }
    switch (status()) {
    case enabled:
        return;
    case requiresApproval:
        showGuide(userInitiated);
        return;
    case notRegistered:
    case notFound:
        break;
    }
    QString error;
    if (registerEntry(&error)) {
        if (status() == requiresApproval)
            showGuide(userInitiated);
        return;
    }
    // There is no "installed in the right place" rule that would make a
    // failure at launch expected, so the user always hears about it.
    if (!m_prompts)
        return;
    const QString folder = QFileInfo(m_entryPath).absolutePath();
    LoginPrompts *prompts = m_prompts;
    m_prompts->showRegistrationError(Texts::loginErrorTitle(), error, [prompts, folder](bool open) {
        if (open)
            prompts->openLoginItems(folder);
    });
}

void LoginItem::turnOff()
{
    setAutoRegister(false);
    unregisterEntry();
}

QString LoginItem::guideKey() const { return PrefKey::loginGuideShownForStatusPrefix + QString::number(m_processId); }

void LoginItem::showGuide(bool force)
{
    const QString key = guideKey();
    if (!force && m_prefs.flag(key, false))
        return;
    m_prefs.setValue(key, true);
    if (!m_prompts)
        return;
    const QString folder = QFileInfo(m_entryPath).absolutePath();
    m_prompts->showGuide([this, folder](LoginPrompts::GuideChoice choice) {
        if (choice == LoginPrompts::GuideChoice::openLoginItems)
            m_prompts->openLoginItems(folder);
        else if (choice == LoginPrompts::GuideChoice::never)
            turnOff();
    });
}
