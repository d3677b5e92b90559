#pragma once

#include <QColor>
#include <QProcess>
#include <QSize>
#include <QTemporaryDir>
#include <QVariant>

#include <functional>

// What a program run to its end left: its exit code (-1 when it did not end
// normally in time) and its two outputs.
struct Ran
{
    int status = -1;
    QByteArray out, err;
};
Ran runProcess(const QProcessEnvironment &environment, const QString &program, const QStringList &arguments,
               int timeoutMs = 20000, const QString &workingDirectory = {});
// Ends a process the test started: asks first, then kills.
void endProcess(QProcess &process);

// A private D-Bus session bus in `environment`: the machine's session
// services (`machineServices`), or only those named from its list.
class SessionBus
{
public:
    explicit SessionBus(const QProcessEnvironment &environment, const QStringList &services = {},
                        bool machineServices = false);
    ~SessionBus() { endProcess(m_daemon); }
    Q_DISABLE_COPY(SessionBus)
    QString address() const { return m_address; }

private:
    QTemporaryDir m_dir;
    QProcess m_daemon;
    QString m_address;
};

// A virtual X server for end-to-end tests, on a display number it picks
// itself. Not started when Xvfb is not installed (`isRunning` is false).
class VirtualDisplay
{
public:
    VirtualDisplay();
    ~VirtualDisplay() { endProcess(m_server); }
    Q_DISABLE_COPY(VirtualDisplay)

    bool isRunning() const { return !m_display.isEmpty(); }
    // ":12"
    QString display() const { return m_display; }

private:
    QProcess m_server;
    QString m_display;
};

// The real brindlewick binary ($BRINDLEWICK_BIN) run in a throwaway home:
// HOME, the XDG folders and the runtime folder point into a temporary
// folder, and nothing of the test's own session (display, bus) leaks in.
// Collects its standard error line by line.
class AppRun
{
public:
    // Generous: a loaded two-core machine may take its time, and a wait
    // ends as soon as what it waits for has happened.
    static constexpr int defaultTimeoutMs = 30000;

    // `display` empty: no display at all.
    explicit AppRun(const QString &display);
    ~AppRun();
    Q_DISABLE_COPY(AppRun)

    static QString binary() { return qEnvironmentVariable("BRINDLEWICK_BIN"); }
    QString path(const QString &relative) const { return m_root.filePath(relative); }
    QString configHome() const { return path("home/.config"); }
    QProcessEnvironment &environment() { return m_environment; }
    void setVar(const QString &name, const QString &value = {}) { m_environment.insert(name, value); }

    // Starts it and waits for its ready line; false (what it wrote logged)
    // when none comes.
    bool startReady(const QStringList &arguments = {});
    // One of the program's preferences, in the file it reads them from
    // (`preferencesFile`).
    void setPreference(const QString &key, const QVariant &value) const;
    QString preferencesFile() const { return configHome() + "/Brindlewick/Brindlewick.conf"; }
    // Home (by the preferences) is "shots", holding `count` screenshots
    // shot0.png, shot1.png, ... newest first in the order of their numbers,
    // each one plain `colour(i)` at `size(i)` (320 × 200 when not given);
    // cells narrow enough that all fit; its scans and parts reported
    // (BRINDLEWICK_DEBUG). Returns the folder.
    QString useShots(int count, const std::function<QColor(int)> &colour, const std::function<QSize(int)> &size = {});
    // Runs the binary once more in the same home to its end: its exit code
    // (-1 when it did not finish), its standard output in `output`.
    int runOnce(const QStringList &arguments, QString *output = nullptr, int timeoutMs = defaultTimeoutMs);
    // Runs another program in the same home and session to its end.
    Ran tool(const QString &program, const QStringList &args) const { return runProcess(m_environment, program, args); }

    // Reads standard error as it arrives until the `occurrence`-th line
    // containing `text` has come (counting those read before), and returns
    // it; a null string after `timeoutMs` or once the program has ended
    // without it.
    QString waitForLine(const QString &text, int occurrence = 1, int timeoutMs = defaultTimeoutMs);
    QStringList lines() const { return m_lines; }

    qint64 processId() const { return m_process.processId(); }
    void terminate() { m_process.terminate(); }
    bool waitForExit(int timeoutMs = defaultTimeoutMs);
    int exitCode() const { return m_process.exitCode(); }
    QProcess::ExitStatus exitStatus() const { return m_process.exitStatus(); }

private:
    void readErrors();

    QTemporaryDir m_root;
    QProcessEnvironment m_environment;
    QProcess m_process;
    QStringList m_lines;
};

// Writes a small PNG (a coloured square) at `path`, creating its folder.
void writeTestPng(const QString &path, int size = 64);
