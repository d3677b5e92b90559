// Every test program runs in a home of its own, set up before main().

#include <QDir>
#include <QStandardPaths>
#include <QTest>

class TestIsolation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void homeAndXdgFoldersAreThrowaway()
    {
        const QString home = QDir::homePath();
        QVERIFY2(home.startsWith(QDir::tempPath() + "/brindlewick-test-") && QFileInfo(home).isDir(), qPrintable(home));
        for (const auto location : {QStandardPaths::ConfigLocation, QStandardPaths::GenericDataLocation,
                                    QStandardPaths::GenericCacheLocation})
            QVERIFY2(QStandardPaths::writableLocation(location).startsWith(QFileInfo(home).path()),
                     qPrintable(QStandardPaths::writableLocation(location)));
    }
};

QTEST_GUILESS_MAIN(TestIsolation)
#include "test_isolation.moc"
