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

int ScreenSession::tool(const QString &program, const QStringList &arguments, QByteArray *out, int timeoutMs) const
{
    const Ran ran = runProcess(environment(), program, arguments, timeoutMs, m_root.path());
    if (out)
        *out = ran.out;
    return ran.status;
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
        m_problem = "could not write " + name;
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

int ScreenSession::xdotool(const QStringList &arguments, QByteArray *out) const
{
    return tool("xdotool", arguments, out);
}

QList<quint32> ScreenSession::windowsNamed(const QString &nameRegex) const
{
    QByteArray out;
    xdotool(words("search --onlyvisible --name") << nameRegex, &out);
    return windowIds(QString::fromLatin1(out));
}

QRect ScreenSession::geometry(quint32 window) const
{
    QByteArray out;
    if (xdotool(words(QStringLiteral("getwindowgeometry --shell %1").arg(window)), &out) != 0)
        return {};
    QHash<QString, int> values;
    for (const QByteArray &line : out.split('\n')) {
        const QList<QByteArray> pair = line.split('=');
        if (pair.size() == 2)
            values.insert(QString::fromLatin1(pair.at(0)), pair.at(1).toInt());
    }
    return QRect(values.value("X"), values.value("Y"), values.value("WIDTH"), values.value("HEIGHT"));
}

QString ScreenSession::property(quint32 window, const QString &name) const
{
    QByteArray out;
    tool("xprop", words(window ? QStringLiteral("-id %1").arg(window) : "-root") << name, &out);
    const QString line = QString::fromUtf8(out).trimmed();
    const qsizetype equals = line.indexOf(" = ");
    if (equals >= 0)
        return line.mid(equals + 3);
    const qsizetype colon = line.indexOf(QLatin1Char(':'));
    return colon >= 0 ? line.mid(colon + 1).trimmed() : line;
}

quint32 ScreenSession::activeWindow() const { return windowIds(property(0, "_NET_ACTIVE_WINDOW")).value(0); }
