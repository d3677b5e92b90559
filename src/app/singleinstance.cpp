#include "app/singleinstance.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocalServer>
#include <QLocalSocket>
#include <QPointer>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

QString describe(const QString &path, const char *what)
{
    return QStringLiteral("%1 %2").arg(path, QString::fromLatin1(what));
}

// Ours, a real folder (not a link to one), and closed to everyone else.
// `exact`: nothing but 0700 will do (the folders we pick ourselves).
bool isPrivateFolder(const QString &path, bool exact, QString *problem)
{
    struct stat st;
    if (::lstat(QFile::encodeName(path).constData(), &st) != 0) {
        *problem = describe(path, "cannot be examined: ") + QString::fromLocal8Bit(std::strerror(errno));
        return false;
    }
    if (!S_ISDIR(st.st_mode))
        *problem = describe(path, "is not a folder");
    else if (st.st_uid != ::geteuid())
        *problem = describe(path, "belongs to another user");
    else if (exact ? (st.st_mode & 0777) != 0700 : (st.st_mode & 022) != 0)
        *problem = describe(path, "is open to other users");
    else
        return true;
    return false;
}

} // namespace

SingleInstance::SingleInstance(QString basePath, QObject *parent) : QObject(parent), m_socketPath(std::move(basePath))
{
    // Others must not be able to put a file of theirs where ours go.
    (void)isPrivateFolder(QFileInfo(m_socketPath).absolutePath(), false, &m_problem);
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

QString SingleInstance::privateFolder(QString *problem)
{
    QString unused;
    QString &why = problem ? *problem : unused;
    // The session's runtime folder, when it is what it should be: ours, 0700.
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    QString runtimeProblem;
    if (!runtime.isEmpty() && QDir::isAbsolutePath(runtime) && isPrivateFolder(runtime, true, &runtimeProblem))
        return runtime;
    // Otherwise (cron, su, some remote logins) a folder of our own in the
    // shared temporary folder. Its name is easy to guess, so another user
    // may have made it first: it is used only when it turns out to be ours.
    const QString folder = QDir::tempPath() + QLatin1Char('/') + QStringLiteral(BRINDLEWICK_APP_ID)
                           + QStringLiteral("-%1").arg(::geteuid());
    if (::mkdir(QFile::encodeName(folder).constData(), 0700) != 0 && errno != EEXIST) {
        why = describe(folder, "cannot be made: ") + QString::fromLocal8Bit(std::strerror(errno));
        return {};
    }
    if (!isPrivateFolder(folder, true, &why))
        return {};
    return folder;
}

QString SingleInstance::defaultSocketPath(QString *problem)
{
    const QString folder = privateFolder(problem);
    if (folder.isEmpty())
        return {};
    // Named by the application ID; the user's number keeps the name the
    // same as it was when the folder was shared.
    return folder + QLatin1Char('/') + QStringLiteral(BRINDLEWICK_APP_ID)
           + QStringLiteral("-%1.socket").arg(::geteuid());
}

qint64 SingleInstance::peerUid(qintptr socketDescriptor)
{
    struct ucred credentials = {};
    socklen_t length = sizeof credentials;
    if (socketDescriptor < 0
        || ::getsockopt(int(socketDescriptor), SOL_SOCKET, SO_PEERCRED, &credentials, &length) != 0)
        return -1;
    return qint64(credentials.uid);
}

int SingleInstance::openLock(const QString &suffix)
{
    if (!m_problem.isEmpty())
        return -1;
    const QString path = m_socketPath + suffix;
    // Never through a link, and only a file of ours.
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    struct stat st;
    if (fd < 0) {
        m_problem = describe(path, "cannot be opened: ") + QString::fromLocal8Bit(std::strerror(errno));
        return -1;
    }
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode) || st.st_uid != ::geteuid()) {
        m_problem = describe(path, "belongs to another user");
        ::close(fd);
        return -1;
    }
    return fd;
}

bool SingleInstance::connectToOurs(QLocalSocket &socket, int timeoutMs)
{
    if (!m_problem.isEmpty())
        return false;
    struct stat st;
    if (::lstat(QFile::encodeName(m_socketPath).constData(), &st) != 0)
        return false; // no one listens
    if (!S_ISSOCK(st.st_mode) || st.st_uid != ::geteuid()) {
        m_problem = describe(m_socketPath, "belongs to another user");
        return false;
    }
    socket.connectToServer(m_socketPath);
    if (!socket.waitForConnected(timeoutMs))
        return false;
    // The file may have changed hands since we looked; the peer cannot.
    if (peerUid(socket.socketDescriptor()) != qint64(::geteuid())) {
        socket.abort();
        m_problem = describe(m_socketPath, "is served by another user");
        return false;
    }
    return true;
}

SingleInstance::Claim SingleInstance::claim()
{
    // The gate makes "take the lock, then listen" one step as others see
    // it: a loser waits at the gate until the winner listens, instead of
    // polling for a socket that is not there yet. It is held for
    // milliseconds, never while running.
    const int gate = openLock(QStringLiteral(".gate"));
    if (gate < 0)
        return Claim::refused;
    (void)::flock(gate, LOCK_EX);
    m_lockFd = openLock(QStringLiteral(".lock"));
    const bool won = m_lockFd >= 0 && ::flock(m_lockFd, LOCK_EX | LOCK_NB) == 0;
    if (won) {
        listen();
    } else if (m_lockFd >= 0) {
        ::close(m_lockFd);
        m_lockFd = -1;
    }
    ::close(gate);
    if (!m_problem.isEmpty())
        return Claim::refused;
    return won ? Claim::won : Claim::running;
}

bool SingleInstance::sendToRunning(const QByteArray &request, int timeoutMs)
{
    QLocalSocket socket;
    if (!connectToOurs(socket, timeoutMs))
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
    if (!connectToOurs(socket, 2000)) {
        if (!m_problem.isEmpty())
            reply.status = Reply::refused;
        return reply;
    }
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
    const int gate = openLock(QStringLiteral(".gate"));
    if (gate < 0)
        return false;
    (void)::flock(gate, LOCK_EX);
    const int lock = openLock(QStringLiteral(".lock"));
    const bool free = lock >= 0 && ::flock(lock, LOCK_EX | LOCK_NB) == 0;
    if (free)
        job();
    if (lock >= 0)
        ::close(lock);
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
            // Only this user's programs may ask anything of us.
            if (peerUid(client->socketDescriptor()) != qint64(::geteuid())) {
                client->abort();
                client->deleteLater();
                continue;
            }
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
