#include "support/screensession.h"

#include <QRegularExpression>
#include <QStandardPaths>

QStringList ScreenSession::words(const QString &line) { return line.split(QLatin1Char(' '), Qt::SkipEmptyParts); }

QList<quint32> ScreenSession::windowIds(const QString &text)
{
    static const QRegularExpression id("(0x[0-9a-fA-F]+|\\b\\d+\\b)");
    QList<quint32> ids;
    for (auto it = id.globalMatch(text); it.hasNext();)
        if (const quint32 window = it.next().captured(0).toUInt(nullptr, 0))
            ids << window;
    return ids;
}

Ran ScreenSession::tool(const QString &program, const QStringList &arguments, int timeoutMs) const
{
    return runProcess(environment(), program, arguments, timeoutMs, m_root.path());
}

bool ScreenSession::haveTools(const QStringList &tools)
{
    QStringList missing;
    for (const QString &name : tools)
        if (QStandardPaths::findExecutable(name).isEmpty())
            missing << name;
    return missing.isEmpty() || fail("missing: " + missing.join(", "));
}

bool ScreenSession::startLogged(QProcess &process, const QString &program, const QStringList &arguments,
                                const QProcessEnvironment &environment)
{
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.setStandardOutputFile(m_root.filePath(program + ".log"));
    process.start(program, arguments);
    return process.waitForStarted(20000) || fail(program + " did not start");
}

bool ScreenSession::waitUntil(const std::function<bool()> &up, const QString &problem)
{
    return QTest::qWaitFor(up, 20000) || fail(problem);
}

QString ScreenSession::writeConfig(const QString &name, const QByteArray &text)
{
    QFile file(m_root.filePath(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(text) < 0) {
        fail("could not write " + name);
        return {};
    }
    file.setPermissions(file.permissions() | QFile::ReadOther);
    return file.fileName();
}

QProcessEnvironment ScreenSession::environment() const
{
    QProcessEnvironment environment;
    environment.insert("PATH", qEnvironmentVariable("PATH"));
    environment.insert("HOME", m_root.path());
    environment.insert("XDG_CONFIG_HOME", m_root.path() + "/.config");
    environment.insert("XDG_CACHE_HOME", m_root.path() + "/.cache");
    return environment;
}

QList<quint32> ScreenSession::windowsNamed(const QString &nameRegex) const
{
    return windowIds(QString::fromLatin1(tool("xdotool", words("search --onlyvisible --name") << nameRegex).out));
}

QRect ScreenSession::geometry(quint32 window) const
{
    static const QRegularExpression shell("X=(-?\\d+)\\nY=(-?\\d+)\\nWIDTH=(\\d+)\\nHEIGHT=(\\d+)");
    const Ran ran = tool("xdotool", words(QStringLiteral("getwindowgeometry --shell %1").arg(window)));
    const QRegularExpressionMatch m = shell.match(QString::fromLatin1(ran.out));
    return m.hasMatch()
               ? QRect(m.captured(1).toInt(), m.captured(2).toInt(), m.captured(3).toInt(), m.captured(4).toInt())
               : QRect();
}

QString ScreenSession::property(quint32 window, const QString &name) const
{
    QStringList target = words(window ? QStringLiteral("-id %1").arg(window) : "-root");
    const QString line = QString::fromUtf8(tool("xprop", target << name).out).trimmed();
    const qsizetype equals = line.indexOf(" = ");
    if (equals >= 0)
        return line.mid(equals + 3);
    return line.section(QLatin1Char(':'), 1).trimmed();
}

quint32 ScreenSession::activeWindow() const { return windowIds(property(0, "_NET_ACTIVE_WINDOW")).value(0); }
