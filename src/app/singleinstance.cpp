#include "app/singleinstance.h"

#include <QDir>
#include <QLocalServer>
#include <QLocalSocket>
#include <QStandardPaths>

#include <unistd.h>

SingleInstance::SingleInstance(QString socketPath, QObject *parent)
    : QObject(parent), m_socketPath(std::move(socketPath))
{
}

QString SingleInstance::defaultSocketPath()
{
    QString folder = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (folder.isEmpty() || !QDir(folder).exists())
        folder = QDir::tempPath();
    QString display = qEnvironmentVariable("WAYLAND_DISPLAY");
    if (display.isEmpty())
        display = qEnvironmentVariable("DISPLAY");
    for (QChar &c : display) {
        if (!c.isLetterOrNumber())
            c = QLatin1Char('_');
    }
    return folder + QStringLiteral("/brindlewick-%1-%2.socket").arg(::getuid()).arg(display);
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

bool SingleInstance::listen()
{
    m_server = new QLocalServer(this);
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    if (!m_server->listen(m_socketPath)) {
        // Nobody answered on it (sendToRunning failed first), so the socket
        // is a leftover.
        QLocalServer::removeServer(m_socketPath);
        if (!m_server->listen(m_socketPath))
            return false;
    }
    connect(m_server, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket *client = m_server->nextPendingConnection()) {
            connect(client, &QLocalSocket::disconnected, client, &QObject::deleteLater);
            connect(client, &QLocalSocket::readyRead, this, [this, client] {
                while (client->canReadLine()) {
                    const QByteArray line = client->readLine().trimmed();
                    Q_EMIT requested(line);
                }
                client->disconnectFromServer();
            });
        }
    });
    return true;
}
