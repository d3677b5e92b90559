#pragma once

#include "support/apprun.h"

#include <QImage>
#include <QProcess>
#include <QRect>
#include <QTemporaryDir>
#include <QTest>

// What the desktop and the Wayland sessions share: a private home for their
// tools, a 1280 × 800 screen, the tools run in it, and a reason when they did
// not start (a tool missing, a server that did not come up).
class ScreenSession
{
public:
    static constexpr int screenWidth = 1280;
    static constexpr int screenHeight = 800;

    virtual ~ScreenSession() = default;
    Q_DISABLE_COPY(ScreenSession)

    bool isRunning() const { return m_running; }
    QString problem() const { return m_problem; }

    // Runs a tool in the session to its end.
    Ran tool(const QString &program, const QStringList &arguments, int timeoutMs = 15000) const;
    // Only the session's own home, display and bus; nothing of the machine's.
    virtual QProcessEnvironment environment() const;

    // X11 windows (on the session's display) as xdotool and xprop see them:
    // the mapped ones whose title matches `nameRegex`, a window's frame-less
    // geometry, one property as xprop prints it after the "=" (or ":" for an
    // unset one; window 0 is the root).
    QList<quint32> windowsNamed(const QString &nameRegex) const;
    QRect geometry(quint32 window) const;
    QString property(quint32 window, const QString &name) const;
    quint32 activeWindow() const;

protected:
    ScreenSession() = default;
    // False, with the missing ones as the problem, unless all are installed.
    bool haveTools(const QStringList &tools);
    bool fail(const QString &problem)
    {
        m_problem = problem;
        return false;
    }
    // Starts a server of the session, its chatter kept in its home.
    bool startLogged(QProcess &process, const QString &program, const QStringList &arguments,
                     const QProcessEnvironment &environment);
    bool waitUntil(const std::function<bool()> &up, const QString &problem);
    // A settings file for a server, in the session's home, readable by all;
    // its path, or empty.
    QString writeConfig(const QString &name, const QByteArray &text);
    // "search --name" as a program's arguments.
    static QStringList words(const QString &line);
    // Window ids in the order xprop or xdotool printed them.
    static QList<quint32> windowIds(const QString &text);
    // `path`, written by a capture tool, as a 32-bit image.
    static QImage loaded(const QString &path) { return QImage(path).convertToFormat(QImage::Format_RGB32); }

    QTemporaryDir m_root;
    bool m_running = false;

private:
    QString m_problem;
};

// Skips the calling test, with the session's reason, when it did not start;
// fails it in CI, where every tool is installed and a skip would hide that
// nothing was tested.
#define SKIP_WITHOUT_SESSION(session)                                                                                  \
    do {                                                                                                               \
        if (!(session).isRunning()) {                                                                                  \
            const QString why = "no session to test on (" + (session).problem() + ")";                                 \
            if (qEnvironmentVariable("CI") == QLatin1String("true"))                                                   \
                QFAIL(qPrintable(why));                                                                                \
            QSKIP(qPrintable(why.chopped(1) + "; ./setup.sh test installs the tools)"));                               \
        }                                                                                                              \
    } while (false)
