#include "platform/globalshortcut.h"

#include <QGuiApplication>

std::unique_ptr<GlobalShortcut> makeGlobalShortcut()
{
    const QString platform = QGuiApplication::platformName();
    if (platform == QLatin1String("xcb"))
        return makeX11GlobalShortcut();
    if (platform.startsWith(QLatin1String("wayland")))
        return makePortalGlobalShortcut();
    return nullptr;
}
