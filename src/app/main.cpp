#include "app/appdelegate.h"
#include "app/appservices.h"
#include "app/commandline.h"
#include "app/quitsignals.h"
#include "app/singleinstance.h"
#include "app/translations.h"
#include "meta/metastore.h"
#include "meta/textindexer.h"
#include "model/shelf.h"
#include "platform/capturesettings.h"
#include "platform/frontapp.h"
#include "platform/globalshortcut.h"
#include "platform/session.h"
#include "system/capturelocation.h"
#include "system/heartbeat.h"
#include "system/hotkey.h"
#include "system/prefs.h"
#include "tidy/autotidy.h"
#include "ui/appicon.h"
#include "ui/darkpalette.h"

#include <QApplication>
#include <QScopeGuard>
#include <QTimer>
#include <cstdio>
#include <cstdlib>

#include <fcntl.h>
#include <unistd.h>

namespace {

bool hasDisplay()
{
    return qEnvironmentVariableIsSet("QT_QPA_PLATFORM") || !qEnvironmentVariableIsEmpty("DISPLAY")
           || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

// If the display goes away under us (the session ends and takes the X
// server with it), Qt ends the process with exit() rather than quitting the
// event loop; the screenshot tool must get its folder back then too. main()'s
// objects are still alive then, since exit() does not unwind the stack; once
// main() returns (the quit already gave the folder back) this is unset.
CaptureLocation *captureToRestoreAtExit = nullptr;

void restoreCaptureLocationAtExit()
{
    if (captureToRestoreAtExit)
        captureToRestoreAtExit->restore();
}

// Qt says the display connection broke just before it calls exit(). The exit
// hook alone comes too late: static destruction runs first for whatever was
// made after it was registered, and can crash under a worker thread (a host
// lookup of the usage ping, on a loaded machine) so the hook never runs. The
// folder goes back as soon as Qt says so.
QtMessageHandler nextMessageHandler = nullptr;

void restoreWhenDisplayBreaks(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (type == QtWarningMsg && message.contains(QLatin1String("connection broke")))
        restoreCaptureLocationAtExit();
    if (nextMessageHandler)
        nextMessageHandler(type, context, message);
}

} // namespace

int main(int argc, char *argv[])
{
    // The user's preferences and screenshot tool: every start needs them,
    // and nothing here writes a file yet.
    Prefs prefs(Prefs::defaultFilePath());
    const std::unique_ptr<CaptureSettings> captureSettings = detectCaptureSettings();
    CaptureLocation capture(prefs, captureSettings.get());

    // --help, --version, --login, --search, --recognise: no display needed.
    const CommandLine commandLine = runCommandLine(argc, argv, prefs, capture);
    if (commandLine.status)
        return *commandLine.status;
    const bool toggle = commandLine.toggle;

    if (!hasDisplay()) {
        std::fputs("Brindlewick needs a desktop session, and this one has no display.\n"
                   "To try it without one, run it under Xvfb as the README's \"Running headless\" "
                   "section shows.\n",
                   stderr);
        return 1;
    }
    const QByteArray platform = preferredQtPlatform(sessionKind(), qEnvironmentVariableIsSet("QT_QPA_PLATFORM"),
                                                    !qEnvironmentVariableIsEmpty("DISPLAY"));
    if (!platform.isEmpty())
        qputenv("QT_QPA_PLATFORM", platform);
    QApplication app(argc, argv);
    // Only for us: an application opened from the shelf picks its own.
    if (!platform.isEmpty())
        qunsetenv("QT_QPA_PLATFORM");
    app.setApplicationName(QStringLiteral("Brindlewick"));
    // The windows speak the desktop's language; the command line's output
    // above, the log and the files we write stay in English.
    Translations::install(app, QLocale::system());
    app.setApplicationVersion(QStringLiteral(BRINDLEWICK_VERSION));
    // Wayland and the portals match our windows to the installed desktop entry by it.
    app.setDesktopFileName(QStringLiteral(BRINDLEWICK_APP_ID));
    app.setQuitOnLastWindowClosed(false);
    app.setWindowIcon(appIcon());
    if (qgetenv("BRINDLEWICK_PALETTE") == "dark")
        app.setPalette(darkPalette());

    // A second start shows the running one's shelf instead, and ends before
    // it touches any shared file.
    // Another user's files where ours belong stop us: answering them would
    // hand that user our requests.
    QString unsafe;
    const QString socketPath = SingleInstance::defaultSocketPath(&unsafe);
    SingleInstance instance(socketPath);
    if (unsafe.isEmpty())
        unsafe = instance.problem();
    // Test hook: several starts wait here on one FIFO and are let go at the
    // same instant, when the test opens it for writing.
    if (const QByteArray gate = qgetenv("BRINDLEWICK_START_GATE"); !gate.isEmpty())
        ::close(::open(gate.constData(), O_RDONLY | O_CLOEXEC));
    const SingleInstance::Claim claim = unsafe.isEmpty() ? instance.claim() : SingleInstance::Claim::refused;
    if (claim != SingleInstance::Claim::won) {
        if (claim == SingleInstance::Claim::running && instance.sendToRunning(toggle ? "toggle" : "show"))
            return 0;
        if (unsafe.isEmpty())
            unsafe = instance.problem();
        if (!unsafe.isEmpty()) {
            std::fputs(qPrintable(QStringLiteral("Brindlewick will not start: %1.\n").arg(unsafe)), stderr);
            return 1;
        }
        std::fputs("Brindlewick is already running, but did not answer.\n", stderr);
        return 1;
    }

    // Built in order: each part after what it uses, and gone before it.
    captureToRestoreAtExit = &capture;
    const auto forgetCapture = qScopeGuard([] { captureToRestoreAtExit = nullptr; });
    std::atexit(restoreCaptureLocationAtExit);
    nextMessageHandler = qInstallMessageHandler(restoreWhenDisplayBreaks);
    quitOnTerminationSignals();
    AppServices services(prefs, capture);
    // Unsaved records and recognised text are written at quit.
    saveOnQuit(*services.meta, *services.indexer);

    const std::unique_ptr<FrontApp> frontApp = makeFrontApp();
    AppDelegate delegate(services, frontApp.get());
    // Text recognised before a screenshot was saved over is recognised again.
    services.indexer->setModifiedTime([&delegate](const QUrl &file) { return delegate.shelf().modified(file); });
    // `brindlewick --recognise` run meanwhile hands its text to our store.
    MetaStore &meta = *services.meta;
    instance.setAnswerer([&meta](const QByteArray &request, const SingleInstance::Answer &answer) {
        return takeRecognisedText(meta, request, answer);
    });
    QObject::connect(&instance, &SingleInstance::requested, &delegate, [&delegate](const QByteArray &request) {
        if (request == "toggle")
            delegate.toggleShelf();
        else
            delegate.showShelf();
    });
    QObject::connect(&app, &QCoreApplication::aboutToQuit, &delegate, &AppDelegate::prepareToQuit);
    // The session is ending (logout): give the folder back now, in case the
    // session manager does not wait for us to quit.
    QObject::connect(&app, &QGuiApplication::commitDataRequest, &delegate,
                     [&delegate](QSessionManager &) { delegate.prepareToQuit(); });

    // The global shortcut toggles the shelf, from launch on (registered then).
    HotKey hotKey;
    QObject::connect(&hotKey, &HotKey::pressed, &delegate, &AppDelegate::toggleShelf);

    Heartbeat heartbeat(prefs, QUrl(QStringLiteral(BRINDLEWICK_PING_ENDPOINT)), QStringLiteral(BRINDLEWICK_VERSION),
                        Heartbeat::distributionVersion());
    delegate.setHeartbeat(&heartbeat);
    QTimer::singleShot(0, &delegate, [&delegate, &hotKey, &services, &heartbeat, toggle] {
        delegate.launch();
        hotKey.registerWith(makeGlobalShortcut());
        // Old screenshots go to Archive (or the Trash) when the user asked for it.
        services.tidy->start(delegate.shelf());
        // The daily usage count, unless the user switched it off.
        heartbeat.start();
        if (toggle)
            delegate.toggleShelf();
    });
    return app.exec();
}
