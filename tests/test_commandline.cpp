// The command line as the real binary runs it, in a throwaway home; and the
// installed desktop files against the freedesktop validators.

#include "app/singleinstance.h"
#include "meta/metastore.h"
#include "support/apprun.h"
#include "support/textimage.h"

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
#include <QRegularExpression>
#include <QScopeGuard>
#include <QSettings>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>
#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

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

// One run of the binary in `home`'s environment, both outputs kept as bytes.
// `terminal`: standard output is a terminal (a pseudo-terminal the test reads).
struct Run
{
    int status = -1;
    QByteArray out;
    QByteArray err;
};
Run runBinary(AppRun &home, const QStringList &arguments, bool terminal = false, int timeoutMs = 120000)
{
    Run run;
    QProcess process;
    process.setProcessEnvironment(home.environment());
    int master = -1;
    int slave = -1;
    if (terminal) {
        master = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
        if (master < 0 || ::grantpt(master) != 0 || ::unlockpt(master) != 0)
            return run;
        slave = ::open(::ptsname(master), O_RDWR | O_NOCTTY | O_CLOEXEC);
        process.setChildProcessModifier([slave] { ::dup2(slave, STDOUT_FILENO); });
    }
    process.start(AppRun::binary(), arguments);
    const bool finished = process.waitForFinished(timeoutMs);
    if (!finished)
        process.kill();
    run.status = finished && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    run.out = process.readAllStandardOutput();
    run.err = process.readAllStandardError();
    if (terminal) {
        ::close(slave);
        char buffer[4096];
        ::fcntl(master, F_SETFL, O_NONBLOCK);
        for (ssize_t n; (n = ::read(master, buffer, sizeof buffer)) > 0;)
            run.out.append(buffer, n);
        ::close(master);
    }
    return run;
}

// Another local user, for the tests of what other users can and cannot do
// to us; they need root to become one.
struct OtherUser
{
    uid_t uid = 65534;
    gid_t gid = 65534;
    OtherUser()
    {
        if (const passwd *entry = ::getpwnam("nobody")) {
            uid = entry->pw_uid;
            gid = entry->pw_gid;
        }
    }
    // In a child process: become that user. Only calls that are safe after fork.
    void become() const
    {
        if (::setgroups(0, nullptr) != 0 || ::setgid(gid) != 0 || ::setuid(uid) != 0)
            ::_exit(90);
    }
};

// A socket the other user listens on at `path`: it answers every request
// line with "stored" and counts them in `path` + ".heard" (one byte each).
// Returns the child's process id.
pid_t listenAsOtherUser(const OtherUser &user, const QString &path)
{
    const QByteArray socketPath = QFile::encodeName(path);
    const QByteArray heardPath = socketPath + ".heard";
    const pid_t child = ::fork();
    if (child != 0)
        return child;
    user.become();
    const int server = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, socketPath.constData(), sizeof address.sun_path - 1);
    const int heard = ::open(heardPath.constData(), O_WRONLY | O_CREAT | O_APPEND, 0666);
    if (server < 0 || heard < 0 || ::bind(server, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0
        || ::chmod(socketPath.constData(), 0777) != 0 || ::listen(server, 8) != 0)
        ::_exit(91);
    for (;;) {
        const int client = ::accept(server, nullptr, nullptr);
        if (client < 0)
            continue;
        char c;
        while (::read(client, &c, 1) == 1) {
            if (c == '\n') {
                [[maybe_unused]] auto a = ::write(heard, "x", 1);
                [[maybe_unused]] auto b = ::write(client, "stored\n", 7);
            }
        }
        ::close(client);
    }
}

void endChild(pid_t child)
{
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
}

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
        const QList<QStringList> checks{{QStringLiteral("desktop-file-validate"), file + QStringLiteral(".desktop")},
                                        {QStringLiteral("appstreamcli"), QStringLiteral("validate"),
                                         QStringLiteral("--no-net"), QStringLiteral("--pedantic"),
                                         file + QStringLiteral(".metainfo.xml")}};
        for (const QStringList &check : checks) {
            if (QStandardPaths::findExecutable(check.first()).isEmpty())
                QSKIP(qPrintable(check.first() + QStringLiteral(" is not installed")));
            QProcess tool;
            tool.setProcessChannelMode(QProcess::MergedChannels);
            tool.start(check.first(), check.mid(1));
            QVERIFY(tool.waitForFinished(60000));
            // Notes are fine; warnings and errors are not.
            const QByteArray said = tool.readAll();
            QVERIFY2(tool.exitCode() == 0 && !said.contains("warning") && !said.contains("error"), said.constData());
        }
    }

    // The manual page has a paragraph for every option --help lists.
    void manualCoversEveryOption()
    {
        Home home;
        QString help;
        QCOMPARE(home.run.runOnce({QStringLiteral("--help")}, &help), 0);
        QFile page(QStringLiteral(BRINDLEWICK_DATA_DIR "/brindlewick.1"));
        QVERIFY(page.open(QIODevice::ReadOnly));
        const QString manual = QString::fromUtf8(page.readAll());
        const QRegularExpression option(QStringLiteral("--([a-z]+)"));
        int options = 0;
        for (const QRegularExpressionMatch &match : option.globalMatch(help)) {
            ++options;
            // A paragraph of its own starts ".TP" and names the option next.
            const QRegularExpression paragraph(QStringLiteral("\\.TP\n\\.B[IR]? [^\n]*\\\\-\\\\-") + match.captured(1)
                                               + QStringLiteral("\\b"));
            QVERIFY2(manual.contains(paragraph), qPrintable(match.captured(0)));
        }
        QVERIFY(options >= 8);
    }

    void badOptionsExitTwo_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::newRow("unknown") << QStringList{"--bogus"};
        QTest::newRow("json alone") << QStringList{"--json"};
        QTest::newRow("search without text") << QStringList{"--search"};
        QTest::newRow("recognise without images") << QStringList{"--recognise"};
        QTest::newRow("stray argument") << QStringList{"stray"};
        QTest::newRow("two commands") << QStringList{"--search", "x", "--toggle"};
    }
    void badOptionsExitTwo()
    {
        QFETCH(QStringList, arguments);
        Home home;
        QString out;
        QCOMPARE(home.run.runOnce(arguments, &out), 2);
        QVERIFY(out.isEmpty()); // the usage goes to standard error
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
        QVERIFY(recognised.text.value_or(QString()).toString().contains(QStringLiteral("Marmalade"))
                && recognised.textAt);
    }

    // A request that arrives in pieces is read whole, not cut at the first.
    void longRequestArrivesWhole()
    {
        QTemporaryDir dir;
        SingleInstance instance(dir.filePath(QStringLiteral("socket")));
        QCOMPARE(instance.claim(), SingleInstance::Claim::won);
        QSignalSpy requests(&instance, &SingleInstance::requested);
        QLocalSocket client;
        client.connectToServer(dir.filePath(QStringLiteral("socket")));
        QVERIFY(client.waitForConnected(5000));
        client.write("recognised ");
        QVERIFY(client.waitForBytesWritten(5000));
        // The first piece alone is no request, however long it waits.
        QVERIFY(!requests.wait(100));
        client.write(QByteArray(300000, 'A') + '\n');
        QVERIFY(requests.wait(5000));
        QCOMPARE(requests.first().first().toByteArray().size(), qsizetype(11 + 300000));
    }

    // A bare --login, with nothing after it, starts the program.
    void bareLoginStarts()
    {
        Home home;
        home.run.setVar(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        home.run.setVar(QStringLiteral("BRINDLEWICK_DEBUG"));
        home.run.start({QStringLiteral("--login")});
        QVERIFY2(!home.run.waitForLine(QStringLiteral("] ready")).isNull(), qPrintable(home.run.lines().join('\n')));
        home.run.terminate();
        QVERIFY(home.run.waitForExit());
    }

    // Paths reach a program as their own bytes, one a line or each ended by
    // a NUL; a terminal sees control characters escaped, never acted on.
    void searchPrintsPathsSafely()
    {
        Home home;
        const QString split = home.shot(QStringLiteral("due\nlist.png"));
        const QString coloured = home.shot(QStringLiteral("due\x1b[31mred.png"));
        writeFile(split, "png", 10);
        writeFile(coloured, "png");
        const QStringList query{QStringLiteral("--search"), QStringLiteral("due")};

        Run piped = runBinary(home.run, query);
        QCOMPARE(piped.status, 0);
        QCOMPARE(piped.out, QFile::encodeName(coloured) + '\n' + QFile::encodeName(split) + '\n');
        Run nulls = runBinary(home.run, query + QStringList{QStringLiteral("--null")});
        QCOMPARE(nulls.out, QFile::encodeName(coloured) + '\0' + QFile::encodeName(split) + '\0');
        QCOMPARE(runBinary(home.run, {QStringLiteral("--null")}).status, 2);

        Run shown = runBinary(home.run, query, true);
        QCOMPARE(shown.status, 0);
        QVERIFY2(!shown.out.contains('\x1b') && shown.out.contains("due\\x1b[31mred.png")
                     && shown.out.contains("due\\nlist.png"),
                 shown.out.constData());
    }

    // Text recognised before its file was last written belongs to the image
    // that was there before: search does not find the file by it.
    void textOlderThanItsFileIsNotSearched()
    {
        Home home;
        writeFile(home.shot(QStringLiteral("shot.png")), "png");
        FileMeta old = withText(QStringLiteral("Invoice 42"));
        old.textAt = QDateTime::currentDateTimeUtc().addSecs(-3600);
        FileMeta fresh = withText(QStringLiteral("Invoice 43"));
        fresh.textAt = QDateTime::currentDateTimeUtc().addSecs(60);
        writeFile(home.shot(QStringLiteral("kept.png")), "png", 30);
        writeFile(home.metaPath(),
                  MetaStore::encode({{QStringLiteral("shot.png"), old}, {QStringLiteral("kept.png"), fresh}}));
        int status = -1;
        QCOMPARE(home.search(QStringLiteral("invoice"), &status), QStringList{home.shot(QStringLiteral("kept.png"))});
        QString out;
        QCOMPARE(home.run.runOnce({QStringLiteral("--search"), QStringLiteral("shot"), QStringLiteral("--json")}, &out),
                 0);
        QVERIFY(
            QJsonDocument::fromJson(out.toUtf8()).array().first().toObject().value(QStringLiteral("text")).isNull());
    }

    // Records go by name: --recognise stores nothing for an image the shelf
    // does not show, for two images with one name, or for an image it cannot
    // read (one still being written), and says so.
    void recogniseRefusesWhatItCannotStoreRightly()
    {
        Home home;
        const FileMeta before = withText(QStringLiteral("Home's own invoice"));
        writeFile(home.metaPath(), MetaStore::encode({{QStringLiteral("invoice.png"), before}}));
        writeText(home.shot(QStringLiteral("invoice.png")), QStringLiteral("Home"));
        const QString elsewhere = home.run.path(QStringLiteral("other/invoice.png"));
        writeText(elsewhere, QStringLiteral("Elsewhere"));
        writeText(home.shot(QStringLiteral("x/shot.png")), QStringLiteral("First"));
        writeText(home.shot(QStringLiteral("y/shot.png")), QStringLiteral("Second"));
        QVERIFY(textImage(QSize(640, 160), 48, {QStringLiteral("Half")}).save(home.shot(QStringLiteral("half.png"))));
        const QByteArray whole = readAll(home.shot(QStringLiteral("half.png")));
        writeFile(home.shot(QStringLiteral("half.png")), whole.left(whole.size() / 2));

        for (const QStringList &arguments :
             {QStringList{elsewhere},
              QStringList{home.shot(QStringLiteral("x/shot.png")), home.shot(QStringLiteral("y/shot.png"))},
              QStringList{home.shot(QStringLiteral("half.png"))}}) {
            const Run run = runBinary(home.run, QStringList{QStringLiteral("--recognise")} + arguments);
            QVERIFY2(run.status == 1 && run.err.contains(QFile::encodeName(arguments.first())), run.err.constData());
        }
        QCOMPARE(home.records(), (QHash<QString, FileMeta>{{QStringLiteral("invoice.png"), before}}));
    }

    // The socket, its locks and its folder must be ours, and so must whoever
    // is on the other end. Another user who got there first is refused, not
    // answered, and never hears what we recognised.
    void anotherUsersSocketIsRefused()
    {
        if (::geteuid() != 0)
            QSKIP("needs root, to act as a second user");
        const OtherUser other;
        Home home;
        const QString hello = home.shot(QStringLiteral("hello.png"));
        writeText(hello, QStringLiteral("Hello Marmalade"));
        // A shared temporary folder, and the names we would use in it taken.
        QVERIFY(::chmod(QFile::encodeName(home.run.path(QString())).constData(), 0711) == 0);
        const QString shared = home.run.path(QStringLiteral("tmp"));
        QVERIFY(QDir().mkpath(shared) && ::chmod(QFile::encodeName(shared).constData(), 01777) == 0);
        const QString base = shared + QStringLiteral("/" BRINDLEWICK_APP_ID "-%1").arg(::geteuid());
        const QString taken = base + QStringLiteral(".socket");
        QVERIFY(QDir().mkpath(base) && ::chown(QFile::encodeName(base).constData(), other.uid, other.gid) == 0);
        const QString inside = base + QStringLiteral("/" BRINDLEWICK_APP_ID "-%1.socket").arg(::geteuid());
        QList<pid_t> children;
        const auto endChildren = qScopeGuard([&children] {
            for (const pid_t child : std::as_const(children))
                endChild(child);
        });
        children << listenAsOtherUser(other, taken) << listenAsOtherUser(other, inside);
        QTRY_VERIFY(QFileInfo::exists(taken) && QFileInfo::exists(inside));
        home.run.environment().remove(QStringLiteral("XDG_RUNTIME_DIR"));
        home.run.setVar(QStringLiteral("TMPDIR"), shared);

        const Run recognise = runBinary(home.run, {QStringLiteral("--recognise"), hello});
        QVERIFY2(recognise.status == 1 && recognise.err.contains("another user"), recognise.err.constData());
        home.run.setVar(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        const Run start = runBinary(home.run, {});
        QVERIFY2(start.status == 1 && start.err.contains("another user"), start.err.constData());
        QVERIFY(readAll(taken + QStringLiteral(".heard")).isEmpty()
                && readAll(inside + QStringLiteral(".heard")).isEmpty());
        QVERIFY(home.records().isEmpty());

        // A runtime folder that is not ours is passed over for one of our
        // own, made in the temporary folder.
        const QString runtime = home.run.path(QStringLiteral("theirs"));
        QVERIFY(QDir().mkpath(runtime) && ::chmod(QFile::encodeName(runtime).constData(), 0777) == 0
                && ::chown(QFile::encodeName(runtime).constData(), other.uid, other.gid) == 0);
        const QString theirs = runtime + QStringLiteral("/" BRINDLEWICK_APP_ID "-%1.socket").arg(::geteuid());
        children << listenAsOtherUser(other, theirs);
        QTRY_VERIFY(QFileInfo::exists(theirs));
        home.run.setVar(QStringLiteral("XDG_RUNTIME_DIR"), runtime);
        home.run.setVar(QStringLiteral("TMPDIR"), home.run.path(QStringLiteral("mine")));
        QDir().mkpath(home.run.path(QStringLiteral("mine")));
        QCOMPARE(runBinary(home.run, {QStringLiteral("--recognise"), hello}).status, 0);
        QVERIFY(readAll(theirs + QStringLiteral(".heard")).isEmpty());
        QVERIFY(home.records()
                    .value(QStringLiteral("hello.png"))
                    .text.value_or(QString())
                    .toString()
                    .contains(QStringLiteral("Marmalade")));
        QFileInfo mine(home.run.path(QStringLiteral("mine/" BRINDLEWICK_APP_ID "-%1").arg(::geteuid())));
        QVERIFY(mine.isDir()
                && mine.permissions()
                       == (QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadUser | QFile::WriteUser
                           | QFile::ExeUser));
    }

    // Each end checks who is on the other: the instance hangs up on another
    // user's program, and a start does not talk to another user's instance
    // even where the socket's file looks like ours.
    void peersOfAnotherUserAreRefused()
    {
        if (::geteuid() != 0)
            QSKIP("needs root, to act as a second user");
        const OtherUser other;
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("socket"));
        {
            // The folder and socket opened up, as a file system without
            // permissions on sockets would leave them.
            QVERIFY(::chmod(QFile::encodeName(dir.path()).constData(), 0711) == 0);
            SingleInstance instance(path);
            QCOMPARE(instance.claim(), SingleInstance::Claim::won);
            QVERIFY(::chmod(QFile::encodeName(path).constData(), 0777) == 0);
            QSignalSpy requests(&instance, &SingleInstance::requested);
            const QByteArray socketPath = QFile::encodeName(path);
            // The child tells how it went through a pipe (Qt may reap it first).
            int said[2];
            QVERIFY(::pipe2(said, O_CLOEXEC | O_NONBLOCK) == 0);
            const pid_t child = ::fork();
            if (child == 0) {
                other.become();
                const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
                sockaddr_un address = {};
                address.sun_family = AF_UNIX;
                std::strncpy(address.sun_path, socketPath.constData(), sizeof address.sun_path - 1);
                char outcome = 'c'; // could not connect
                if (fd >= 0 && ::connect(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0) {
                    // Hung up on before it is written: no SIGPIPE, please.
                    [[maybe_unused]] auto w = ::send(fd, "show\n", 5, MSG_NOSIGNAL);
                    char c;
                    outcome = ::read(fd, &c, 1) > 0 ? 'a' : 'h'; // answered, or hung up on
                }
                [[maybe_unused]] auto w = ::write(said[1], &outcome, 1);
                ::_exit(0);
            }
            ::close(said[1]);
            const auto reap = qScopeGuard([child, said] {
                endChild(child);
                ::close(said[0]);
            });
            char outcome = 0;
            QTRY_VERIFY(outcome != 0 || ::read(said[0], &outcome, 1) == 1);
            QCOMPARE(outcome, 'h');
            QCoreApplication::processEvents();
            QCOMPARE(requests.size(), 0);
        }

        // Another user's server, its socket moved where ours goes and given to us.
        const QString theirs = dir.filePath(QStringLiteral("theirs"));
        QVERIFY(QDir().mkpath(theirs) && ::chown(QFile::encodeName(theirs).constData(), other.uid, other.gid) == 0);
        const pid_t server = listenAsOtherUser(other, theirs + QStringLiteral("/socket"));
        const auto endServer = qScopeGuard([server] { endChild(server); });
        QTRY_VERIFY(QFileInfo::exists(theirs + QStringLiteral("/socket")));
        QVERIFY(::rename(QFile::encodeName(theirs + QStringLiteral("/socket")).constData(),
                         QFile::encodeName(path).constData())
                == 0);
        QVERIFY(::chown(QFile::encodeName(path).constData(), ::geteuid(), ::getegid()) == 0);
        QVERIFY(::chmod(QFile::encodeName(dir.path()).constData(), 0700) == 0);
        SingleInstance client(path);
        QVERIFY(!client.sendToRunning("show"));
        QCOMPARE(client.ask("recognised e30=").status, SingleInstance::Reply::refused);
        QVERIFY(!client.problem().isEmpty());
        QVERIFY(readAll(theirs + QStringLiteral("/socket.heard")).isEmpty());
    }
};

QTEST_MAIN(TestCommandLine)
#include "test_commandline.moc"
