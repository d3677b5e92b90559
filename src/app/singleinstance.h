#pragma once

#include <QObject>
#include <QString>

#include <functional>
#include <optional>

class QLocalServer;
class QLocalSocket;

// One Brindlewick per user: two would both write the metadata file, the
// preferences and the screenshot tool's settings. The one instance holds a
// lock file for its whole life and listens on a local socket beside it; a
// later start hands its request ("show" or "toggle") to it and exits. This
// is also how `brindlewick --toggle` reaches the shelf on desktops where no
// global shortcut can be grabbed, and how `brindlewick --recognise` hands
// its results to the running store. One request per line; a request the
// answerer takes gets one line back before the instance hangs up.
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

    // A request that wants an answer. `notRunning` when no instance listens,
    // `noAnswer` when one took the request but hung up without answering.
    struct Reply
    {
        enum Status { answered, notRunning, noAnswer } status = notRunning;
        QByteArray answer;
    };
    Reply ask(const QByteArray &request, int timeoutMs = 30000);

    // Runs `job` only while no instance runs, and keeps one from starting
    // until it is done (a start waits at the gate). False, without running
    // it, when an instance is running. For short jobs on shared files.
    bool runWhileNoneRunning(const std::function<void()> &job);

    // Requests are offered to the answerer first. It returns false to leave
    // a request to `requested`; when it takes one it calls `answer` once,
    // now or later (after the client left, the answer goes nowhere).
    using Answer = std::function<void(const QByteArray &answer)>;
    using Answerer = std::function<bool(const QByteArray &request, const Answer &answer)>;
    void setAnswerer(Answerer answerer) { m_answerer = std::move(answerer); }

    // Longest request line accepted; a longer one is dropped with its client.
    static constexpr qint64 maxRequestBytes = 64LL * 1024 * 1024;

Q_SIGNALS:
    void requested(const QByteArray &request);

private:
    void listen();
    void readRequest(QLocalSocket *client);

    QString m_socketPath;
    int m_lockFd = -1;
    QLocalServer *m_server = nullptr;
    Answerer m_answerer;
};
