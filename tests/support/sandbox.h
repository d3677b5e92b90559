#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

// A throwaway home: HOME and the XDG folders point into a temporary folder
// for as long as the sandbox lives, so nothing a test does reaches the real
// user's files.
class Sandbox
{
public:
    Sandbox()
    {
        const QString root = m_dir.path();
        setVar("HOME", root + "/home");
        setVar("XDG_CONFIG_HOME", root + "/home/.config");
        setVar("XDG_DATA_HOME", root + "/home/.local/share");
        setVar("XDG_CACHE_HOME", root + "/home/.cache");
        QDir().mkpath(root + "/home/Desktop");
    }
    ~Sandbox()
    {
        for (auto it = m_saved.cbegin(); it != m_saved.cend(); ++it) {
            if (it->isNull())
                qunsetenv(it.key().constData());
            else
                qputenv(it.key().constData(), *it);
        }
    }
    Sandbox(const Sandbox &) = delete;
    Sandbox &operator=(const Sandbox &) = delete;

    QString path(const QString &relative = {}) const
    {
        return relative.isEmpty() ? m_dir.path() : m_dir.path() + QLatin1Char('/') + relative;
    }
    QString home() const { return path("home"); }

    // Creates a file (and its folders) with the given bytes.
    static void writeFile(const QString &path, const QByteArray &bytes = "x")
    {
        QDir().mkpath(QFileInfo(path).absolutePath());
        QFile f(path);
        if (f.open(QIODevice::WriteOnly))
            f.write(bytes);
    }

private:
    void setVar(const char *name, const QString &value)
    {
        if (!m_saved.contains(name))
            m_saved.insert(name, qEnvironmentVariableIsSet(name) ? qgetenv(name) : QByteArray());
        QDir().mkpath(value);
        qputenv(name, QFile::encodeName(value));
    }

    QTemporaryDir m_dir;
    QHash<QByteArray, QByteArray> m_saved;
};
