#include "system/capturelocation.h"

#include "files/logcategories.h"
#include "platform/capturesettings.h"
#include "system/prefs.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

namespace {

// Symlinks resolved as far as the path exists; the rest is kept as written.
QString resolvedPath(const QString &path)
{
    if (path.isEmpty())
        return {};
    QString clean = QDir::cleanPath(QDir::isAbsolutePath(path) ? path : QDir::home().absoluteFilePath(path));
    QString tail;
    QString head = clean;
    while (!head.isEmpty() && head != QLatin1String("/")) {
        const QString canonical = QFileInfo(head).canonicalFilePath();
        if (!canonical.isEmpty())
            return QDir::cleanPath(canonical + tail);
        const qsizetype slash = head.lastIndexOf(QLatin1Char('/'));
        tail.prepend(head.mid(slash));
        head = head.left(slash);
    }
    return clean;
}

// With no known tool, where screenshots most likely land.
QString desktopFolder()
{
    const QString desktop = QStandardPaths::writableLocation(QStandardPaths::DesktopLocation);
    return QFileInfo(desktop).isDir() ? desktop : QDir::homePath();
}

} // namespace

CaptureLocation::CaptureLocation(Prefs &prefs, CaptureSettings *settings) : m_prefs(prefs), m_settings(settings) {}

QString CaptureLocation::expandTilde(const QString &path)
{
    if (path == QLatin1String("~"))
        return QDir::homePath();
    if (path.startsWith(QLatin1String("~/")))
        return QDir::homePath() + path.mid(1);
    return path;
}

QString CaptureLocation::currentSetting() const
{
    if (!m_settings)
        return {};
    return m_settings->readText(CaptureSettings::location).value_or(QString());
}

QString CaptureLocation::systemFolder() const
{
    const QString location = currentSetting();
    if (!location.isEmpty())
        return expandTilde(location);
    if (m_settings)
        return m_settings->defaultFolder();
    return desktopFolder();
}

void CaptureLocation::apply(const QString &folder)
{
    const QString current = currentSetting();
    // Without a setting the tool follows its own default, which may ask
    // for a folder or move with the tool's next version: only a setting of
    // the same folder counts as already saving into Home.
    const bool same = !current.isEmpty() && resolvedPath(expandTilde(current)) == resolvedPath(folder);
    if (!m_prefs.contains(PrefKey::previousCaptureLocation)) {
        m_prefs.setValue(PrefKey::previousCaptureLocation, current);
        const QByteArray state = m_settings ? m_settings->locationState() : QByteArray();
        if (state.isEmpty())
            m_prefs.remove(PrefKey::previousCaptureState);
        else
            m_prefs.setValue(PrefKey::previousCaptureState, QString::fromLatin1(state.toBase64()));
    }
    if (same)
        return;
    if (m_settings && m_settings->canWrite(CaptureSettings::location)) {
        qCInfo(lcCapture) << m_settings->toolName() << "now saves into" << folder << "instead of" << current;
        m_settings->writeText(CaptureSettings::location, QDir::cleanPath(QFileInfo(folder).absoluteFilePath()));
        restartSystemUI();
    }
}

void CaptureLocation::restore()
{
    if (!m_prefs.contains(PrefKey::previousCaptureLocation))
        return;
    const QString previous = m_prefs.text(PrefKey::previousCaptureLocation);
    const QByteArray state = QByteArray::fromBase64(m_prefs.text(PrefKey::previousCaptureState).toLatin1());
    if (m_settings && m_settings->canWrite(CaptureSettings::location)
        && (state.isEmpty() || !m_settings->restoreLocationState(state))) {
        qCInfo(lcCapture) << m_settings->toolName() << "save folder set back to" << previous << "(not byte for byte)";
        if (previous.isEmpty())
            m_settings->remove(CaptureSettings::location);
        else
            m_settings->writeText(CaptureSettings::location, previous);
    }
    qCInfo(lcCapture) << "the screenshot tool's save folder is back as it was:" << previous;
    m_prefs.remove(PrefKey::previousCaptureLocation);
    m_prefs.remove(PrefKey::previousCaptureState);
    restartSystemUI();
}

void CaptureLocation::restartSystemUI()
{
    if (m_settings)
        m_settings->reload();
}
