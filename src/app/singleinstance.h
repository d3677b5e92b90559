#pragma once

#include <QObject>
#include <QString>

class QLocalServer;

// One Brindlewick per desktop session. The running one listens on a local
// socket; a second start hands its request ("show" or "toggle") to it and
// exits. This is also how `brindlewick --toggle` reaches the shelf on
// desktops where no global shortcut can be grabbed.
class SingleInstance : public QObject
{
    Q_OBJECT

public:
    explicit SingleInstance(QString socketPath, QObject *parent = nullptr);

    // In the user's runtime folder, one per display.
    static QString defaultSocketPath();

    // True when a running instance took `request`.
    bool sendToRunning(const QByteArray &request, int timeoutMs = 2000);
    // Starts listening, taking over a socket left behind by a crashed run.
    bool listen();

Q_SIGNALS:
    void requested(const QByteArray &request);

private:
    QString m_socketPath;
    QLocalServer *m_server = nullptr;
};
