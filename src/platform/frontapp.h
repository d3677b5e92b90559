#pragma once

#include "platform/desktopentries.h"

#include <QString>

#include <memory>
#include <optional>

// The application a window of which is active, as the desktop knows it.
struct RunningApp
{
    qint64 pid = 0;              // 0 when the window names no process
    std::optional<QString> name; // the desktop entry's (localised) Name
    std::optional<QString> path; // the desktop entry's file
};

// Which application is in front right now. Asked once per new screenshot.
class FrontApp
{
public:
    virtual ~FrontApp() = default;
    // None when the desktop does not say (Wayland, no active window).
    virtual std::optional<RunningApp> frontmost() = 0;
};

// The X11 backend in an X11 session, otherwise one that always answers none.
// Reads the desktop entries once, in the background.
std::unique_ptr<FrontApp> makeFrontApp();

// The desktop entry of a running process: matched by its executable, its
// command name or its window class against `entries`. Name and path stay
// empty when none matches. Reads only the process's own /proc files.
RunningApp describeProcess(const QList<DesktopEntry> &entries, qint64 pid, const QString &windowClass = {});
