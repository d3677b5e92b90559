#include "system/systemthumbnail.h"

#include "platform/capturesettings.h"

bool SystemThumbnail::available() const { return m_settings && m_settings->canWrite(CaptureSettings::showThumbnail); }

QString SystemThumbnail::toolName() const { return m_settings ? m_settings->toolName() : QString(); }

bool SystemThumbnail::shown() const
{
    if (!available())
        return true;
    return m_settings->readBool(CaptureSettings::showThumbnail).value_or(true);
}

void SystemThumbnail::setShown(bool shown)
{
    if (!available())
        return;
    // No reload: the tool reads this switch from its file when it next
    // takes a screenshot.
    if (shown)
        m_settings->remove(CaptureSettings::showThumbnail);
    else
        m_settings->writeBool(CaptureSettings::showThumbnail, false);
}
