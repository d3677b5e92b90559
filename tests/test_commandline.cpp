// The command line as the real binary runs it, in a throwaway home; and the
// installed desktop files against the freedesktop validators.

#include "app/singleinstance.h"
#include "meta/metastore.h"
#include "support/textimage.h"
#include "support/apprun.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFont>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocalSocket>
#include <QPainter>
#include <QSettings>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

namespace {

QByteArray readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Written `minutesOld` minutes ago, as far as its modification time goes.
void writeFile(const QString &path, const QByteArray &bytes, int minutesOld = 0)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
    const QDateTime time = QDateTime::currentDateTime().addSecs(-60 * minutesOld);
    QVERIFY(file.setFileTime(time, QFileDevice::FileModificationTime));
}

void writeText(const QString &path, const QString &text)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QVERIFY(textImage(QSize(640, 160), 48, {text}).save(path));
}

// A throwaway home whose Home folder is "shots", chosen in the preferences.
struct Home
{
    AppRun run{QString()};

    Home()
    {
        QSettings(run.configHome() + QStringLiteral("/Brindlewick/Brindlewick.conf"), QSettings::IniFormat)
            .setValue(QStringLiteral("folder"), shots());
        QDir().mkpath(shots());
    }
    QString shots() const { return run.path(QStringLiteral("shots")); }
    QString shot(const QString &name) const { return shots() + QLatin1Char('/') + name; }
    QString metaPath() const { return run.path(QStringLiteral("home/.local/share/Brindlewick/meta.json")); }
    QHash<QString, FileMeta> records() const
    {
        return MetaStore::decode(readAll(metaPath())).value_or(QHash<QString, FileMeta>());
    }
    QStringList search(const QString &text, int *status)
    {
        QString out;
        *status = run.runOnce({QStringLiteral("--search"), text}, &out);
        return out.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    }
};

FileMeta withText(const QString &text, const QString &app = {})
{
    FileMeta meta;
    meta.text = text;
    if (!app.isEmpty())
        meta.app = app;
    return meta;
}

} // namespace

class TestCommandLine : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void desktopFilesValidate()
    {
        const QString file = QStringLiteral(BRINDLEWICK_DATA_DIR "/" BRINDLEWICK_APP_ID);
        const QList<QStringList> checks{
            {QStringLiteral("desktop-file-validate"), file + QStringLiteral(".desktop")},
            {QStringLiteral("appstreamcli"), QStringLiteral("validate"), QStringLiteral("--no-net"),
             QStringLiteral("--pedantic"), file + QStringLiteral(".metainfo.xml")}};
        for (const QStringList &check : checks) {
            if (QStandardPaths::findExecutable(check.first()).isEmpty())
                QSKIP(qPrintable(check.first() + QStringLiteral(" is not installed")));
            QProcess tool;
            tool.setProcessChannelMode(QProcess::MergedChannels);
            tool.start(check.first(), check.mid(1));
            QVERIFY(tool.waitForFinished(60000));
            // Notes are fine; warnings and errors are not.
            const QByteArray said = tool.readAll();
            QVERIFY2(tool.exitCode() == 0 && !said.contains("warning") && !said.contains("error"),
                     said.constData());
        }
    }

    void badOptionsExitTwo()
    {
        Home home;
        for (const char *arguments : {"--bogus", "--json", "--search", "--recognise", "stray", "--search x --toggle"}) {
            QString out;
            QCOMPARE(home.run.runOnce(QString::fromLatin1(arguments).split(QLatin1Char(' ')), &out), 2);
            QVERIFY2(out.isEmpty(), arguments); // the usage goes to standard error
        }
        QCOMPARE(home.run.runOnce({QStringLiteral("--help")}), 0);
    }

    // Names and recognised text by the shelf's rule, newest first; the
    // metadata file is only ever read, even one that cannot be.
    void searchFindsNewestFirstAndNeverWrites()
    {
        Home home;
        writeFile(home.shot(QStringLiteral("old due.png")), "png", 30);
        writeFile(home.shot(QStringLiteral("receipt.png")), "png", 20);
        writeFile(home.shot(QStringLiteral("Due list.png")), "png", 10);
        writeFile(home.shot(QStringLiteral("cat.png")), "png");
        writeFile(home.shot(QStringLiteral("due.txt")), "not an image");
        const QByteArray meta = MetaStore::encode(
            {{QStringLiteral("receipt.png"), withText(QStringLiteral("Total DUE: 12"), QStringLiteral("Shop"))},
             {QStringLiteral("cat.png"), withText(QString())}});
        writeFile(home.metaPath(), meta);
        const QDateTime written = QFileInfo(home.metaPath()).lastModified();

        int status = -1;
        QCOMPARE(home.search(QStringLiteral("  due "), &status),
                 (QStringList{home.shot(QStringLiteral("Due list.png")), home.shot(QStringLiteral("receipt.png")),
                              home.shot(QStringLiteral("old due.png"))}));
        QCOMPARE(status, 0);
        QVERIFY(home.search(QStringLiteral("zebra"), &status).isEmpty());
        QCOMPARE(status, 1);

        QString out;
        const QStringList asJson{QStringLiteral("--search"), QStringLiteral("total"), QStringLiteral("--json")};
        QCOMPARE(home.run.runOnce(asJson, &out), 0);
        const QJsonArray found = QJsonDocument::fromJson(out.toUtf8()).array();
        QCOMPARE(found.size(), 1);
        const QJsonObject receipt = found.first().toObject();
        QCOMPARE(receipt.value(QStringLiteral("path")).toString(), home.shot(QStringLiteral("receipt.png")));
        QCOMPARE(receipt.value(QStringLiteral("application")).toString(), QStringLiteral("Shop"));
        QCOMPARE(receipt.value(QStringLiteral("text")).toString(), QStringLiteral("Total DUE: 12"));

        QCOMPARE(readAll(home.metaPath()), meta);
        QCOMPARE(QFileInfo(home.metaPath()).lastModified(), written);

        // A file that cannot be read: names still match, the file stays put.
        writeFile(home.metaPath(), "{ not json");
        QCOMPARE(home.search(QStringLiteral("cat"), &status), QStringList{home.shot(QStringLiteral("cat.png"))});
        QCOMPARE(readAll(home.metaPath()), QByteArray("{ not json"));
        QCOMPARE(QDir(QFileInfo(home.metaPath()).absolutePath()).entryList(QDir::Files | QDir::Hidden),
                 QStringList{QStringLiteral("meta.json")});

        // No metadata file at all: not even its folder is made.
        QVERIFY(QDir(QFileInfo(home.metaPath()).absolutePath()).removeRecursively());
        QCOMPARE(home.search(QStringLiteral("list"), &status), QStringList{home.shot(QStringLiteral("Due list.png"))});
        QVERIFY(!QFileInfo::exists(QFileInfo(home.metaPath()).absolutePath()));
    }

    // Recognised text lands in the store, keeping every other record, both
    // when it writes the file itself and when it hands the text to the
    // running instance.
    void recogniseThenSearch_data()
    {
        QTest::addColumn<bool>("instanceRunning");
        QTest::newRow("alone") << false;
        QTest::newRow("beside a running instance") << true;
    }
    void recogniseThenSearch()
    {
        QFETCH(bool, instanceRunning);
        Home home;
        const QString hello = home.shot(QStringLiteral("hello.png"));
        writeText(hello, QStringLiteral("Hello Marmalade"));
        const FileMeta other = withText(QStringLiteral("kept"), QStringLiteral("Editor"));
        writeFile(home.metaPath(), MetaStore::encode({{QStringLiteral("other.png"), other}}));
        if (instanceRunning) {
            home.run.setVar(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
            home.run.setVar(QStringLiteral("BRINDLEWICK_DEBUG"));
            home.run.start();
            QVERIFY2(!home.run.waitForLine(QStringLiteral("] ready")).isNull(),
                     qPrintable(home.run.lines().join('\n')));
        }

        const QStringList recognise{QStringLiteral("--recognise"), hello, home.shot(QStringLiteral("missing.png"))};
        QCOMPARE(home.run.runOnce(recognise, nullptr, 120000), 1); // the missing one
        int status = -1;
        QCOMPARE(home.search(QStringLiteral("marmalade"), &status), QStringList{hello});

        if (instanceRunning) {
            home.run.terminate();
            QVERIFY(home.run.waitForExit());
        }
        const QHash<QString, FileMeta> records = home.records();
        QCOMPARE(records.value(QStringLiteral("other.png")), other);
        const FileMeta recognised = records.value(QStringLiteral("hello.png"));
        QVERIFY(recognised.text.value_or(QString()).toString().contains(QStringLiteral("Marmalade")) && recognised.textAt);
    }

    // A request that arrives in pieces is read whole, not cut at the first.
    void longRequestArrivesWhole()
    {
        QTemporaryDir dir;
        SingleInstance instance(dir.filePath(QStringLiteral("socket")));
        QVERIFY(instance.claim());
        QSignalSpy requests(&instance, &SingleInstance::requested);
        QLocalSocket client;
        client.connectToServer(dir.filePath(QStringLiteral("socket")));
        QVERIFY(client.waitForConnected(5000));
        client.write("recognised ");
        client.flush();
        QTest::qWait(100);
        client.write(QByteArray(300000, 'A') + '\n');
        QVERIFY(requests.wait(5000));
        QCOMPARE(requests.first().first().toByteArray().size(), qsizetype(11 + 300000));
    }
};

QTEST_MAIN(TestCommandLine)
#include "test_commandline.moc"
