#include "support/apprun.h"

#include "support/files.h"
#include "support/sandbox.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QSettings>
#include <QTest>

#include <algorithm>

Ran runProcess(const QProcessEnvironment &environment, const QString &program, const QStringList &arguments,
               int timeoutMs, const QString &workingDirectory)
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(workingDirectory);
    process.start(program, arguments);
    const bool ended = process.waitForFinished(timeoutMs);
    endProcess(process);
    return {ended && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            process.readAllStandardOutput(), process.readAllStandardError()};
}

void endProcess(QProcess &process)
{
    process.terminate();
    if (!process.waitForFinished(5000))
        process.kill();
    process.waitForFinished(5000);
}

namespace {

// A session bus that starts only the services in its own folder (%1).
const char busConfig[] = R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig><type>session</type><listen>unix:tmpdir=/tmp</listen><auth>EXTERNAL</auth><servicedir>%1</servicedir>
<policy context="default"><allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/><allow own="*"/>
</policy></busconfig>
)";

// The first line `process` writes to standard output (a display number, a
// bus address), trimmed; empty when none comes in time.
QString firstLine(QProcess &process)
{
    const QDeadlineTimer deadline(20000);
    while (!process.canReadLine() && process.state() != QProcess::NotRunning && !deadline.hasExpired())
        process.waitForReadyRead(int(std::max<qint64>(deadline.remainingTime(), 1)));
    return QString::fromUtf8(process.readLine().trimmed());
}

} // namespace

SessionBus::SessionBus(const QProcessEnvironment &environment, const QStringList &services, bool machineServices)
{
    QStringList arguments{"--nofork", "--print-address=1"};
    if (machineServices) {
        arguments << "--session";
    } else {
        // The bus reads only the .service files of its folder.
        for (const QString &name : services)
            QFile::copy("/usr/share/dbus-1/services/" + name, m_dir.filePath(name));
        const QString config = m_dir.filePath("bus.conf");
        Sandbox::writeFile(config, QString::fromLatin1(busConfig).arg(m_dir.path()).toUtf8());
        arguments << "--config-file=" + config;
    }
    m_daemon.setProcessEnvironment(environment);
    m_daemon.start("dbus-daemon", arguments);
    m_address = firstLine(m_daemon);
}

VirtualDisplay::VirtualDisplay()
{
    // -displayfd 1: the server picks a free display and writes its number
    // to standard output once it accepts connections.
    m_server.start("Xvfb", {"-displayfd", "1", "-screen", "0", "1280x800x24", "-nolisten", "tcp"});
    const QString number = firstLine(m_server);
    if (!number.isEmpty() && m_server.state() == QProcess::Running)
        m_display = ':' + number;
}

AppRun::AppRun(const QString &display)
{
    for (const char *folder : {"home/Desktop", "home/.config", "home/.local/share", "home/.cache", "run"})
        QDir().mkpath(path(folder));
    QFile::setPermissions(path("run"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    m_environment.insert("HOME", path("home"));
    m_environment.insert("XDG_CONFIG_HOME", path("home/.config"));
    m_environment.insert("XDG_DATA_HOME", path("home/.local/share"));
    m_environment.insert("XDG_CACHE_HOME", path("home/.cache"));
    m_environment.insert("XDG_RUNTIME_DIR", path("run"));
    m_environment.insert("PATH", qEnvironmentVariable("PATH"));
    // No screenshot tool of the test machine is ever touched.
    m_environment.insert("BRINDLEWICK_SCREENSHOT_TOOL", "none");
    if (!display.isEmpty())
        m_environment.insert("DISPLAY", display);
    // waitForReadyRead then waits for standard error.
    m_process.setReadChannel(QProcess::StandardError);
    QObject::connect(&m_process, &QProcess::readyReadStandardError, &m_process, [this] { readErrors(); });
}

AppRun::~AppRun()
{
    m_process.kill();
    m_process.waitForFinished(5000);
}

bool AppRun::startReady(const QStringList &arguments)
{
    m_process.setProcessEnvironment(m_environment);
    m_process.start(binary(), arguments);
    if (m_process.waitForStarted(10000) && !waitForLine("] ready").isNull())
        return true;
    qWarning("no ready line in:\n%s", qPrintable(m_lines.join('\n')));
    return false;
}

void AppRun::setPreference(const QString &key, const QVariant &value) const
{
    QSettings(preferencesFile(), QSettings::IniFormat).setValue(key, value);
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
    while (m_process.canReadLine())
        m_lines << QString::fromUtf8(m_process.readLine().chopped(1));
}

QString AppRun::waitForLine(const QString &text, int occurrence, int timeoutMs)
{
    QStringList found;
    (void)QTest::qWaitFor(
        [&] {
            readErrors();
            return (found = m_lines.filter(text)).size() >= occurrence || m_process.state() == QProcess::NotRunning;
        },
        timeoutMs);
    return found.value(occurrence - 1);
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
