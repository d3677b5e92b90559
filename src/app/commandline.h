#pragma once

#include <QByteArray>
#include <QString>

#include <functional>
#include <optional>

class CaptureLocation;
class MetaStore;
class Prefs;
class SingleInstance;

// The command line forms that need no display: --help, --version, --login,
// --search and --recognise. They run on a QCoreApplication of their own,
// whether or not Brindlewick is running. Nothing (no options, or --toggle)
// means the desktop program; `toggle` then tells which request a second
// start hands to the running one. The commands work with the user's
// preferences and screenshot tool as main() made them.
struct CommandLine
{
    // The exit status when the command line was handled here.
    std::optional<int> status;
    bool toggle = false;
};
CommandLine runCommandLine(int argc, char *argv[], Prefs &prefs, CaptureLocation &capture);

// The running instance's side of --recognise: a request carrying recognised
// text is merged into `store`, and `answer` hears "stored" once it is on
// disk (or "unsaved"). False for any other request.
bool takeRecognisedText(MetaStore &store, const QByteArray &request,
                        const std::function<void(const QByteArray &)> &answer);

// What the login item starts: the installed binary when this process is it,
// otherwise this very file (a build folder's binary).
QString programPath();
