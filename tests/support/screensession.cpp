#include "support/screensession.h"

#include <QStandardPaths>

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

QProcessEnvironment ScreenSession::environment() const
{
    QProcessEnvironment environment;
    environment.insert("PATH", qEnvironmentVariable("PATH"));
    environment.insert("HOME", m_root.path());
    environment.insert("XDG_CONFIG_HOME", m_root.path() + "/.config");
    environment.insert("XDG_CACHE_HOME", m_root.path() + "/.cache");
    return environment;
}
