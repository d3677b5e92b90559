// Every test program runs in a home of its own, set up before main().

#include <QDir>
#include <QStandardPaths>
#include <QTest>

#include <pwd.h>
#include <unistd.h>

class TestIsolation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void homeAndXdgFoldersAreThrowaway()
    {
        const QString home = QDir::homePath();
        const passwd *user = ::getpwuid(::getuid());
        QVERIFY(user);
        QVERIFY2(home != QDir(QString::fromLocal8Bit(user->pw_dir)).canonicalPath(), qPrintable(home));
        QVERIFY2(home.startsWith(QDir::tempPath() + "/brindlewick-test-"), qPrintable(home));
        QVERIFY(QFileInfo(home).isDir());
        QVERIFY(QDir(home).entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::Hidden).size() <= 3);
        for (const auto location : {QStandardPaths::ConfigLocation, QStandardPaths::GenericDataLocation,
                                    QStandardPaths::GenericCacheLocation})
            QVERIFY2(QStandardPaths::writableLocation(location).startsWith(QFileInfo(home).path()),
                     qPrintable(QStandardPaths::writableLocation(location)));
    }
};

QTEST_GUILESS_MAIN(TestIsolation)
#include "test_isolation.moc"
