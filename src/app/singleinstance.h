#pragma once

#include <QObject>
#include <QString>

class QLocalServer;

// One Brindlewick per user: two would both write the metadata file, the
// preferences and the screenshot tool's settings. The one instance holds a
// lock file for its whole life and listens on a local socket beside it; a
// later start hands its request ("show" or "toggle") to it and exits. This
// is also how `brindlewick --toggle` reaches the shelf on desktops where no
// global shortcut can be grabbed.
class SingleInstance : public QObject
{
    Q_OBJECT

public:
    // `basePath` names the socket; the locks are `basePath` + ".lock" (held
    // while running) and + ".gate" (held only while deciding who runs).
    explicit SingleInstance(QString basePath, QObject *parent = nullptr);
    ~SingleInstance() override;

    // In the user's runtime folder.
    static QString defaultSocketPath();

    // True when this process is the one instance: it holds the lock and
    // listens. Otherwise the running one was listening by the time this
    // returns, so `sendToRunning` reaches it (two starts at the same moment
    // cannot both win, nor can the loser find no one to talk to).
    bool claim();

    // True when the running instance took `request`.
    bool sendToRunning(const QByteArray &request, int timeoutMs = 2000);

Q_SIGNALS:
    void requested(const QByteArray &request);

private:
    void listen();

    QString m_socketPath;
    int m_lockFd = -1;
    QLocalServer *m_server = nullptr;
};
