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
//
// Everything lives in a folder only this user can enter, and every file in
// it (locks, socket) and every peer on the socket must be this user's:
// another local user who put a socket of theirs where ours belongs would
// otherwise hear our requests, answer them, and keep Brindlewick from
// starting. When that is not so, nothing falls back: `problem()` says why.
class SingleInstance : public QObject
{
    Q_OBJECT

public:
    // `basePath` names the socket; the locks are `basePath` + ".lock" (held
    // while running) and + ".gate" (held only while deciding who runs). Its
    // folder must be this user's and closed to others.
    explicit SingleInstance(QString basePath, QObject *parent = nullptr);
    ~SingleInstance() override;

    // In the user's runtime folder when it is a private one of this user,
    // otherwise in a private folder of this user's made in the temporary
    // folder. Empty, with the reason in `problem`, when neither can be had
    // safely (another user owns the folder the name is meant for).
    static QString defaultSocketPath(QString *problem = nullptr);
    // The folder itself: made (0700) when missing, then checked.
    static QString privateFolder(QString *problem = nullptr);

    // Why this instance refuses to take part; empty while all is well.
    QString problem() const { return m_problem; }

    // `won` when this process is the one instance: it holds the lock and
    // listens. `running` when another is: it was listening by the time this
    // returns, so `sendToRunning` reaches it (two starts at the same moment
    // cannot both win, nor can the loser find no one to talk to). `refused`
    // when a file in the way is not ours.
    enum class Claim { won, running, refused };
    Claim claim();

    // True when the running instance took `request`.
    [[nodiscard]] bool sendToRunning(const QByteArray &request, int timeoutMs = 2000);

    // A request that wants an answer. `notRunning` when no instance listens,
    // `noAnswer` when one took the request but hung up without answering,
    // `refused` when what listens is not this user's (see `problem()`).
    struct Reply
    {
        enum Status { answered, notRunning, noAnswer, refused } status = notRunning;
        QByteArray answer;
    };
    Reply ask(const QByteArray &request, int timeoutMs = 30000);

    // Runs `job` only while no instance runs, and keeps one from starting
    // until it is done (a start waits at the gate). False, without running
    // it, when an instance is running or a lock is not ours (`problem()`).
    // For short jobs on shared files.
    [[nodiscard]] bool runWhileNoneRunning(const std::function<void()> &job);

    // The user a connected local socket's other end runs as; -1 when unknown.
    static qint64 peerUid(qintptr socketDescriptor);

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
    int openLock(const QString &suffix);
    // Connects `socket` when what listens is ours; false otherwise (with
    // `m_problem` set when it is someone else's).
    bool connectToOurs(QLocalSocket &socket, int timeoutMs);

    QString m_socketPath;
    QString m_problem;
    int m_lockFd = -1;
    QLocalServer *m_server = nullptr;
    Answerer m_answerer;
};
