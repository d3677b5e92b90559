#include "app/singleinstance.h"

#include <QDir>
#include <QFile>
#include <QLocalServer>
#include <QLocalSocket>
#include <QPointer>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace {

int openLockFile(const QString &path)
{
    return ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
}

} // namespace

SingleInstance::SingleInstance(QString basePath, QObject *parent)
    : QObject(parent), m_socketPath(std::move(basePath))
{
}

SingleInstance::~SingleInstance()
{
    // Closed last: the socket goes first, so a start that wins the lock
    // next finds no one listening.
    delete m_server;
    m_server = nullptr;
    if (m_lockFd >= 0)
        ::close(m_lockFd);
}

QString SingleInstance::defaultSocketPath()
{
    QString folder = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (folder.isEmpty() || !QDir(folder).exists())
        folder = QDir::tempPath();
    // Named by the application ID; the user's number keeps users apart in
    // the shared temporary folder.
    return folder + QLatin1Char('/') + QStringLiteral(BRINDLEWICK_APP_ID)
           + QStringLiteral("-%1.socket").arg(::getuid());
}

bool SingleInstance::claim()
{
    // The gate makes "take the lock, then listen" one step as others see
    // it: a loser waits at the gate until the winner listens, instead of
    // polling for a socket that is not there yet. It is held for
    // milliseconds, never while running.
    const int gate = openLockFile(m_socketPath + QStringLiteral(".gate"));
    if (gate >= 0)
        (void)::flock(gate, LOCK_EX);
    m_lockFd = openLockFile(m_socketPath + QStringLiteral(".lock"));
    const bool won = m_lockFd >= 0 && ::flock(m_lockFd, LOCK_EX | LOCK_NB) == 0;
    if (won) {
        listen();
    } else if (m_lockFd >= 0) {
        ::close(m_lockFd);
        m_lockFd = -1;
    }
    if (gate >= 0)
        ::close(gate);
    return won;
}

bool SingleInstance::sendToRunning(const QByteArray &request, int timeoutMs)
{
    QLocalSocket socket;
    socket.connectToServer(m_socketPath);
    if (!socket.waitForConnected(timeoutMs))
        return false;
    socket.write(request + '\n');
    if (!socket.waitForBytesWritten(timeoutMs))
        return false;
    // Wait for the running instance to hang up: it has read the request.
    socket.waitForDisconnected(timeoutMs);
    return true;
}

SingleInstance::Reply SingleInstance::ask(const QByteArray &request, int timeoutMs)
{
    Reply reply;
    QLocalSocket socket;
    socket.connectToServer(m_socketPath);
    if (!socket.waitForConnected(2000))
        return reply;
    reply.status = Reply::noAnswer;
    socket.write(request + '\n');
    if (!socket.waitForBytesWritten(timeoutMs))
        return reply;
    while (!socket.canReadLine()) {
        if (socket.state() != QLocalSocket::ConnectedState || !socket.waitForReadyRead(timeoutMs))
            break;
    }
    if (!socket.canReadLine())
        return reply;
    reply.status = Reply::answered;
    reply.answer = socket.readLine().trimmed();
    return reply;
}

bool SingleInstance::runWhileNoneRunning(const std::function<void()> &job)
{
    // The same two locks as `claim`, in the same order: a start that comes
    // now waits at the gate until the job is done, then runs as usual.
    const int gate = openLockFile(m_socketPath + QStringLiteral(".gate"));
    if (gate >= 0)
        (void)::flock(gate, LOCK_EX);
    const int lock = openLockFile(m_socketPath + QStringLiteral(".lock"));
    const bool free = lock >= 0 && ::flock(lock, LOCK_EX | LOCK_NB) == 0;
    if (free)
        job();
    if (lock >= 0)
        ::close(lock);
    if (gate >= 0)
        ::close(gate);
    return free;
}

void SingleInstance::listen()
{
    m_server = new QLocalServer(this);
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    // We hold the lock, so a socket file is a crashed run's leftover.
    QLocalServer::removeServer(m_socketPath);
    if (!m_server->listen(m_socketPath))
        return; // still the one instance, only unreachable
    connect(m_server, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket *client = m_server->nextPendingConnection()) {
            connect(client, &QLocalSocket::disconnected, client, &QObject::deleteLater);
            connect(client, &QLocalSocket::readyRead, this, [this, client] { readRequest(client); });
        }
    });
}

void SingleInstance::readRequest(QLocalSocket *client)
{
    // A long request arrives in pieces: wait for its line to end.
    if (!client->canReadLine()) {
        if (client->bytesAvailable() > maxRequestBytes)
            client->abort();
        return;
    }
    // One request per connection; the client waits for us to hang up (or
    // for the answer).
    client->disconnect(this);
    const QByteArray line = client->readLine().trimmed();
    QPointer<QLocalSocket> guard(client);
    const Answer answer = [guard](const QByteArray &text) {
        if (!guard)
            return;
        guard->write(text + '\n');
        guard->disconnectFromServer();
    };
    if (m_answerer && m_answerer(line, answer))
        return;
    Q_EMIT requested(line);
    client->disconnectFromServer();
}
