#include "support/apprun.h"

#include <QColor>
#include <QDeadlineTimer>
#include <QDir>
#include <QImage>
#include <QStandardPaths>

#include <algorithm>

VirtualDisplay::VirtualDisplay()
{
    if (!isInstalled())
        return;
    // -displayfd 1: the server picks a free display and writes its number
    // to standard output once it accepts connections.
    m_server.start(QStringLiteral("Xvfb"),
                   {QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-screen"), QStringLiteral("0"),
                    QStringLiteral("1280x800x24"), QStringLiteral("-nolisten"), QStringLiteral("tcp")});
    if (!m_server.waitForStarted(10000))
        return;
    QByteArray number;
    const QDeadlineTimer deadline(20000);
    while (!number.contains('\n') && m_server.state() == QProcess::Running && !deadline.hasExpired()) {
        m_server.waitForReadyRead(int(std::max<qint64>(deadline.remainingTime(), 1)));
        number += m_server.readAllStandardOutput();
    }
    number = number.trimmed();
    if (!number.isEmpty() && m_server.state() == QProcess::Running)
        m_display = QLatin1Char(':') + QString::fromLatin1(number);
}

VirtualDisplay::~VirtualDisplay()
{
    if (m_server.state() == QProcess::NotRunning)
        return;
    m_server.terminate();
    if (!m_server.waitForFinished(5000))
        m_server.kill();
    m_server.waitForFinished(5000);
}

bool VirtualDisplay::isInstalled() { return !QStandardPaths::findExecutable(QStringLiteral("Xvfb")).isEmpty(); }

AppRun::AppRun(const QString &display)
{
    const QString root = m_root.path();
    for (const char *folder : {"home/.config", "home/.local/share", "home/.cache", "home/Desktop", "run"})
        QDir().mkpath(root + QLatin1Char('/') + QLatin1String(folder));
    QFile::setPermissions(root + QStringLiteral("/run"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    m_environment.insert(QStringLiteral("PATH"), qEnvironmentVariable("PATH"));
    m_environment.insert(QStringLiteral("HOME"), root + QStringLiteral("/home"));
    m_environment.insert(QStringLiteral("XDG_CONFIG_HOME"), root + QStringLiteral("/home/.config"));
    m_environment.insert(QStringLiteral("XDG_DATA_HOME"), root + QStringLiteral("/home/.local/share"));
    m_environment.insert(QStringLiteral("XDG_CACHE_HOME"), root + QStringLiteral("/home/.cache"));
    m_environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), root + QStringLiteral("/run"));
    // No screenshot tool of the test machine is ever touched.
    m_environment.insert(QStringLiteral("BRINDLEWICK_SCREENSHOT_TOOL"), QStringLiteral("none"));
    if (!display.isEmpty())
        m_environment.insert(QStringLiteral("DISPLAY"), display);
    m_process.setProcessEnvironment(m_environment);
    // waitForReadyRead then waits for standard error.
    m_process.setReadChannel(QProcess::StandardError);
    QObject::connect(&m_process, &QProcess::readyReadStandardError, &m_process, [this] { readErrors(); });
}

AppRun::~AppRun()
{
    if (m_process.state() == QProcess::NotRunning)
        return;
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

int AppRun::runOnce(const QStringList &arguments, QString *output, int timeoutMs)
{
    QProcess once;
    once.setProcessEnvironment(m_environment);
    once.start(binary(), arguments);
    if (!once.waitForFinished(timeoutMs)) {
        once.kill();
        once.waitForFinished(5000);
        return -1;
    }
    if (output)
        *output = QString::fromUtf8(once.readAllStandardOutput());
    return once.exitStatus() == QProcess::NormalExit ? once.exitCode() : -1;
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

QStringList AppRun::diagnosticLines() const
{
    static const QString prefix = QStringLiteral("[Brindlewick] ");
    QStringList result;
    for (const QString &line : m_lines) {
        if (line.startsWith(prefix))
            result << line.mid(prefix.size());
    }
    return result;
}

bool AppRun::waitForExit(int timeoutMs)
{
    const bool ended = m_process.waitForFinished(timeoutMs);
    readErrors();
    return ended;
}

void writeTestPng(const QString &path, int size)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QImage image(size, size, QImage::Format_RGB32);
    image.fill(QColor::fromHsv(int(qHash(path) % 360), 160, 220));
    image.save(path, "PNG");
}
