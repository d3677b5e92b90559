#include "app/quitsignals.h"

#include "meta/metastore.h"
#include "meta/textindexer.h"

#include <QGuiApplication>
#include <QSessionManager>
#include <QSocketNotifier>
#include <QThread>

#include <csignal>
#include <cstdlib>
#include <sys/socket.h>
#include <unistd.h>

namespace {

int signalPipe[2] = {-1, -1};

MetaStore *quitStore = nullptr;
TextIndexer *quitIndexer = nullptr;

void saveNow(bool quitting)
{
    if (!quitStore || !quitIndexer)
        return;
    if (quitting)
        quitIndexer->stopForQuit();
    else
        quitIndexer->storeRecognised();
    // Nothing more can be done about a write that does not finish in time:
    // the file on disk is the last whole one.
    (void)quitStore->flush();
}

void saveAtExit()
{
    // After main() returns the application is gone and the quit already
    // saved; only an exit() from inside the event loop gets here with work.
    const QCoreApplication *app = QCoreApplication::instance();
    if (app && QThread::currentThread() == app->thread())
        saveNow(true);
}

void onSignal(int)
{
    const char byte = 1;
    // Only async-signal-safe calls here.
    [[maybe_unused]] const ssize_t written = ::write(signalPipe[0], &byte, 1);
}

} // namespace

void quitNow()
{
    // Not quit(): in a GUI application that first asks every window to
    // close, and a window-modal sheet refuses, so the quit would be dropped.
    QCoreApplication::exit(0);
}

void quitOnTerminationSignals()
{
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, signalPipe) != 0)
        return;
    auto *notifier = new QSocketNotifier(signalPipe[1], QSocketNotifier::Read, QCoreApplication::instance());
    QObject::connect(notifier, &QSocketNotifier::activated, notifier, [] {
        char byte = 0;
        [[maybe_unused]] const ssize_t read = ::read(signalPipe[1], &byte, 1);
        quitNow();
    });
    struct sigaction action = {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (int signal : {SIGTERM, SIGINT, SIGHUP})
        ::sigaction(signal, &action, nullptr);
}

void saveOnQuit(MetaStore &store, TextIndexer &indexer)
{
    quitStore = &store;
    quitIndexer = &indexer;
    QCoreApplication *app = QCoreApplication::instance();
    QObject::connect(app, &QCoreApplication::aboutToQuit, &store, [] { saveNow(true); });
    if (auto *gui = qobject_cast<QGuiApplication *>(app))
        QObject::connect(gui, &QGuiApplication::commitDataRequest, &store, [](QSessionManager &) { saveNow(false); });
    std::atexit(saveAtExit);
}
