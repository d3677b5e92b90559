#include "support/apprun.h"

#include "support/files.h"

#include <QColor>
#include <QDeadlineTimer>
#include <QDir>
#include <QSettings>
#include <QStandardPaths>

#include <algorithm>

Ran runProcess(const QProcessEnvironment &environment, const QString &program, const QStringList &arguments,
               int timeoutMs, const QString &workingDirectory)
{
    Ran ran;
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(workingDirectory);
    process.start(program, arguments);
    if (!process.waitForFinished(timeoutMs)) {
        endProcess(process);
        return ran;
    }
    ran.status = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    ran.out = process.readAllStandardOutput();
    ran.err = process.readAllStandardError();
    return ran;
}

void endProcess(QProcess &process)
{
    if (process.state() == QProcess::NotRunning)
        return;
    process.terminate();
    if (!process.waitForFinished(5000))
        process.kill();
    process.waitForFinished(5000);
}

namespace {

// The first line `process` writes to standard output (a display number, a
// bus address), trimmed; empty when none comes in time.
QString firstLine(QProcess &process, int timeoutMs = 20000)
{
    QByteArray line;
    const QDeadlineTimer deadline(timeoutMs);
    while (!line.contains('\n') && process.state() != QProcess::NotRunning && !deadline.hasExpired()) {
        process.waitForReadyRead(int(std::max<qint64>(deadline.remainingTime(), 1)));
        line += process.readAllStandardOutput();
    }
    return QString::fromUtf8(line.trimmed());
}

} // namespace

SessionBus::SessionBus(const QProcessEnvironment &environment, const QStringList &services, bool machineServices)
{
    QStringList arguments{"--nofork", "--print-address=1"};
    if (machineServices) {
        arguments << "--session";
    } else {
        const QString serviceDir = m_dir.filePath("services");
        QDir().mkpath(serviceDir);
        for (const QString &name : services)
            QFile::copy("/usr/share/dbus-1/services/" + name, serviceDir + '/' + name);
        const QString config = m_dir.filePath("bus.conf");
        QFile file(config);
        if (!file.open(QIODevice::WriteOnly))
            return;
        file.write("<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\" "
                   "\"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
                   "<busconfig><type>session</type><listen>unix:tmpdir=/tmp</listen><auth>EXTERNAL</auth>"
                   "<servicedir>"
                   + QFile::encodeName(serviceDir)
                   + "</servicedir><policy context=\"default\"><allow send_destination=\"*\" eavesdrop=\"true\"/>"
                     "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>\n");
        file.close();
        arguments << "--config-file=" + config;
    }
    m_daemon.setProcessEnvironment(environment);
    m_daemon.start("dbus-daemon", arguments);
    m_address = firstLine(m_daemon);
}

VirtualDisplay::VirtualDisplay()
{
    if (QStandardPaths::findExecutable("Xvfb").isEmpty())
        return;
    // -displayfd 1: the server picks a free display and writes its number
    // to standard output once it accepts connections.
    m_server.start("Xvfb", {"-displayfd", "1", "-screen", "0", "1280x800x24", "-nolisten", "tcp"});
    const QString number = firstLine(m_server);
    if (!number.isEmpty() && m_server.state() == QProcess::Running)
        m_display = ':' + number;
}

VirtualDisplay::~VirtualDisplay() { endProcess(m_server); }

AppRun::AppRun(const QString &display)
{
    const QString root = m_root.path();
    for (const char *folder : {"home/.config", "home/.local/share", "home/.cache", "home/Desktop", "run"})
        QDir().mkpath(root + QLatin1Char('/') + QLatin1String(folder));
    QFile::setPermissions(root + "/run", QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    m_environment.insert("PATH", qEnvironmentVariable("PATH"));
    m_environment.insert("HOME", root + "/home");
    m_environment.insert("XDG_CONFIG_HOME", root + "/home/.config");
    m_environment.insert("XDG_DATA_HOME", root + "/home/.local/share");
    m_environment.insert("XDG_CACHE_HOME", root + "/home/.cache");
    m_environment.insert("XDG_RUNTIME_DIR", root + "/run");
    // No screenshot tool of the test machine is ever touched.
    m_environment.insert("BRINDLEWICK_SCREENSHOT_TOOL", "none");
    if (!display.isEmpty())
        m_environment.insert("DISPLAY", display);
    m_process.setProcessEnvironment(m_environment);
    // waitForReadyRead then waits for standard error.
    m_process.setReadChannel(QProcess::StandardError);
    QObject::connect(&m_process, &QProcess::readyReadStandardError, &m_process, [this] { readErrors(); });
}

AppRun::~AppRun()
{
    m_process.kill();
    m_process.waitForFinished(5000);
}

QString AppRun::binary() { return qEnvironmentVariable("BRINDLEWICK_BIN"); }

QString AppRun::path(const QString &relative) const { return m_root.path() + QLatin1Char('/') + relative; }

void AppRun::start(const QStringList &arguments)
{
    m_process.setProcessEnvironment(m_environment);
    m_process.start(binary(), arguments);
    m_process.waitForStarted(10000);
}

bool AppRun::startReady(const QStringList &arguments)
{
    start(arguments);
    if (!waitForLine("] ready").isNull())
        return true;
    qWarning("no ready line in:\n%s", qPrintable(m_lines.join('\n')));
    return false;
}

void AppRun::setPreference(const QString &key, const QVariant &value) const
{
    QSettings(configHome() + "/Brindlewick/Brindlewick.conf", QSettings::IniFormat).setValue(key, value);
}

QVariant AppRun::preference(const QString &key) const
{
    return QSettings(configHome() + "/Brindlewick/Brindlewick.conf", QSettings::IniFormat).value(key);
}

QString AppRun::useShots(int count, const std::function<QColor(int)> &colour, const std::function<QSize(int)> &size)
{
    const QString shots = path("shots");
    const qint64 now = QDateTime::currentSecsSinceEpoch();
    for (int i = 0; i < count; ++i) {
        const QString file = shots + QStringLiteral("/shot%1.png").arg(i);
        TestFiles::writeImage(file, size ? size(i) : QSize(320, 200), colour(i));
        TestFiles::setMtime(file, now - 60 * (i + 1));
    }
    setPreference("folder", shots);
    setPreference("cellWidth", 160);
    setVar("BRINDLEWICK_DEBUG");
    return shots;
}

int AppRun::runOnce(const QStringList &arguments, QString *output, int timeoutMs)
{
    const Ran ran = runProcess(m_environment, binary(), arguments, timeoutMs);
    if (output)
        *output = QString::fromUtf8(ran.out);
    return ran.status;
}

void AppRun::readErrors()
{
    m_partial += m_process.readAllStandardError();
    qsizetype newline;
    while ((newline = m_partial.indexOf('\n')) >= 0) {
        m_lines << QString::fromUtf8(m_partial.left(newline));
        m_partial.remove(0, newline + 1);
    }
}

QString AppRun::waitForLine(const QString &text, int occurrence, int timeoutMs)
{
    const QDeadlineTimer deadline(timeoutMs);
    qsizetype checked = 0;
    int found = 0;
    for (;;) {
        readErrors();
        for (; checked < m_lines.size(); ++checked) {
            if (m_lines.at(checked).contains(text) && ++found == occurrence)
                return m_lines.at(checked);
        }
        if (deadline.hasExpired() || m_process.state() == QProcess::NotRunning)
            return {};
        // Blocks until more of standard error arrives (or the time is up).
        m_process.waitForReadyRead(int(std::max<qint64>(deadline.remainingTime(), 1)));
    }
}

bool AppRun::waitForExit(int timeoutMs)
{
    const bool ended = m_process.waitForFinished(timeoutMs);
    readErrors();
    return ended;
}

void writeTestPng(const QString &path, int size)
{
    TestFiles::writeImage(path, QSize(size, size), QColor::fromHsv(int(qHash(path) % 360), 160, 220));
}
