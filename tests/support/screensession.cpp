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
