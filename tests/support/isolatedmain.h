#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QTemporaryDir>
#include <QTest>

// A test main that points HOME and the XDG folders into a temporary folder
// before the application (or GIO, which reads them once) is started, so a
// test can never reach the real home, Trash or desktop entries.
#define ISOLATED_GUI_TEST_MAIN(TestClass)                                                                              \
    int main(int argc, char **argv)                                                                                    \
    {                                                                                                                  \
        QTemporaryDir isolatedRoot;                                                                                    \
        if (!isolatedRoot.isValid())                                                                                   \
            return 1;                                                                                                  \
        const QString home = isolatedRoot.path() + QStringLiteral("/home");                                            \
        const char *names[] = {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"};                                  \
        const char *subs[] = {"/.config", "/.local/share", "/.cache"};                                                 \
        QDir().mkpath(home);                                                                                           \
        qputenv("HOME", QFile::encodeName(home));                                                                      \
        for (int i = 0; i < 3; ++i) {                                                                                  \
            QDir().mkpath(home + QLatin1String(subs[i]));                                                              \
            qputenv(names[i], QFile::encodeName(home + QLatin1String(subs[i])));                                       \
        }                                                                                                              \
        qputenv("QT_QPA_PLATFORM", "offscreen");                                                                       \
        QGuiApplication app(argc, argv);                                                                               \
        TestClass test;                                                                                                \
        return QTest::qExec(&test, argc, argv);                                                                        \
    }
