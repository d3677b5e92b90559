#include "platform/globalshortcut.h"

#include "platform/session.h"

#include <QGuiApplication>

ShortcutRoute shortcutRoute(SessionKind session, const QString &qtPlatform)
{
    const bool qtOnX11 = qtPlatform == QLatin1String("xcb");
    switch (session) {
    case SessionKind::wayland:
        return ShortcutRoute::portal;
    case SessionKind::x11:
        return qtOnX11 ? ShortcutRoute::keyGrab : ShortcutRoute::none;
    case SessionKind::unknown:
        break;
    }
    if (qtOnX11)
        return ShortcutRoute::keyGrab;
    return qtPlatform.startsWith(QLatin1String("wayland")) ? ShortcutRoute::portal : ShortcutRoute::none;
}

std::unique_ptr<GlobalShortcut> makeGlobalShortcut()
{
    switch (shortcutRoute(sessionKind(), QGuiApplication::platformName())) {
    case ShortcutRoute::keyGrab:
        return makeX11GlobalShortcut();
    case ShortcutRoute::portal:
        return makePortalGlobalShortcut();
    case ShortcutRoute::none:
        break;
    }
    return nullptr;
}
