// The logging categories: quiet at debug level until QT_LOGGING_RULES asks,
// information and warnings shown.

#include "files/logcategories.h"

#include <QCoreApplication>
#include <QTest>

class TestLogging : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void rulesSwitchDebugOn()
    {
        QVERIFY(lcScan().isDebugEnabled());
        QVERIFY(lcTrash().isDebugEnabled());
        QVERIFY(!lcPing().isDebugEnabled());
        QVERIFY(lcPing().isInfoEnabled() && lcPing().isWarningEnabled());
    }
};

// The rules are read when the application starts, as in the program.
int main(int argc, char **argv)
{
    qputenv("QT_LOGGING_RULES", "brindlewick.scan.debug=true;brindlewick.trash.debug=true");
    QCoreApplication app(argc, argv);
    TestLogging test;
    return QTest::qExec(&test, argc, argv);
}

#include "test_logging.moc"
