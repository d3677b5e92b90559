// The command line as the real binary runs it, in a throwaway home; and the
// installed desktop files against the freedesktop validators.

#include "app/singleinstance.h"
#include "meta/metastore.h"
#include "support/apprun.h"
#include "support/files.h"
#include "support/textimage.h"

#include <QLocalSocket>
#include <QtTest> // and with it all of Qt Core

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
        run.setPreference("folder", shots());
        QDir().mkpath(shots());
    }
    QString shots() const { return run.path("shots"); }
    QString shot(const QString &name) const { return shots() + QLatin1Char('/') + name; }
    QString metaPath() const { return run.path("home/.local/share/Brindlewick/meta.json"); }
    QHash<QString, FileMeta> records() const
    {
        return MetaStore::decode(TestFiles::readAll(metaPath())).value_or(QHash<QString, FileMeta>());
    }
    QStringList search(const QString &text, int *status)
    {
        QString out;
        *status = run.runOnce({"--search", text}, &out);
        return out.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    }
};

// One run of the binary in `home`'s environment, both outputs kept as bytes.
// `terminal`: standard output is a terminal (a pseudo-terminal the test reads).
Ran runBinary(AppRun &home, const QStringList &arguments, bool terminal = false)
{
    if (!terminal)
        return runProcess(home.environment(), AppRun::binary(), arguments, 120000);
    Ran run;
    QProcess process;
    process.setProcessEnvironment(home.environment());
    const int master = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (master < 0 || ::grantpt(master) != 0 || ::unlockpt(master) != 0)
        return run;
    const int slave = ::open(::ptsname(master), O_RDWR | O_NOCTTY | O_CLOEXEC);
    process.setChildProcessModifier([slave] { ::dup2(slave, STDOUT_FILENO); });
    process.start(AppRun::binary(), arguments);
    const bool finished = process.waitForFinished(120000);
    if (!finished)
        process.kill();
    run.status = finished && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    run.out = process.readAllStandardOutput();
    ::close(slave);
    char buffer[4096];
    ::fcntl(master, F_SETFL, O_NONBLOCK);
    for (ssize_t n; (n = ::read(master, buffer, sizeof buffer)) > 0;)
        run.out.append(buffer, n);
    ::close(master);
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
        const QList<QStringList> checks{{"desktop-file-validate", file + ".desktop"},
                                        {"appstreamcli", "validate", "--no-net", "--pedantic", file + ".metainfo.xml"}};
        for (const QStringList &check : checks) {
            if (QStandardPaths::findExecutable(check.first()).isEmpty())
                QSKIP(qPrintable(check.first() + " is not installed"));
            const Ran ran = runProcess(QProcessEnvironment::systemEnvironment(), check.first(), check.mid(1), 60000);
            // Notes are fine; warnings and errors are not.
            const QByteArray said = ran.out + ran.err;
            QVERIFY2(ran.status == 0 && !said.contains("warning") && !said.contains("error"), said.constData());
        }
    }

    // The manual page has a paragraph for every option --help lists.
    void manualCoversEveryOption()
    {
        Home home;
        QString help;
        QCOMPARE(home.run.runOnce({"--help"}, &help), 0);
        const QString manual = QString::fromUtf8(TestFiles::readAll(BRINDLEWICK_DATA_DIR "/brindlewick.1"));
        QVERIFY(!manual.isEmpty());
        const QRegularExpression option("--([a-z]+)");
        int options = 0;
        for (const QRegularExpressionMatch &match : option.globalMatch(help)) {
            ++options;
            // A paragraph of its own starts ".TP" and names the option next.
            const QRegularExpression paragraph("\\.TP\n\\.B[IR]? [^\n]*\\\\-\\\\-" + match.captured(1) + "\\b");
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
    // Needs no display; an entry that cannot be written is an error with its reason.
    void loginCommand()
    {
        Home home;
        const QString entry = home.run.configHome() + "/autostart/brindlewick.desktop";
        QString out;
        QCOMPARE(home.run.runOnce({"--login", "on"}, &out), 0);
        QVERIFY(QFile::exists(entry));
        QCOMPARE(home.run.runOnce({"--login", "off"}, &out), 0);
        QVERIFY(!QFile::exists(entry));
        QVERIFY(QDir().rmdir(home.run.configHome() + "/autostart"));
        writeFile(home.run.configHome() + "/autostart", "a file where the folder goes");
        QCOMPARE(home.run.runOnce({"--login", "on"}, &out), 1);
        QVERIFY2(out.startsWith("error: "), qPrintable(out));
    }
    void badOptionsExitTwo()
    {
        QFETCH(QStringList, arguments);
        Home home;
        QString out;
        QCOMPARE(home.run.runOnce(arguments, &out), 2);
        QVERIFY(out.isEmpty()); // the usage goes to standard error
    }

    // Names and recognised text by the shelf's rule, newest first; text
    // recognised before its file was last written belongs to the image that
    // was there before and is not searched; the metadata file is only ever
    // read, even one that cannot be.
    void searchFindsNewestFirstAndNeverWrites()
    {
        Home home;
        writeFile(home.shot("old due.png"), "png", 30);
        writeFile(home.shot("receipt.png"), "png", 20);
        writeFile(home.shot("Due list.png"), "png", 10);
        writeFile(home.shot("cat.png"), "png");
        writeFile(home.shot("due.txt"), "not an image");
        FileMeta stale = withText("zebra");
        stale.textAt = QDateTime::currentDateTimeUtc().addSecs(-3600);
        const QByteArray meta = MetaStore::encode({{"receipt.png", withText("Total DUE: 12", "Shop")},
                                                   {"cat.png", withText(QString())},
                                                   {"old due.png", stale}});
        writeFile(home.metaPath(), meta);
        const QDateTime written = QFileInfo(home.metaPath()).lastModified();

        int status = -1;
        QCOMPARE(home.search("  due ", &status),
                 (QStringList{home.shot("Due list.png"), home.shot("receipt.png"), home.shot("old due.png")}));
        QCOMPARE(status, 0);
        QVERIFY(home.search("zebra", &status).isEmpty());
        QCOMPARE(status, 1);

        QString out;
        const QStringList asJson{"--search", "total", "--json"};
        QCOMPARE(home.run.runOnce(asJson, &out), 0);
        const QJsonArray found = QJsonDocument::fromJson(out.toUtf8()).array();
        QCOMPARE(found.size(), 1);
        const QJsonObject receipt = found.first().toObject();
        QCOMPARE(receipt.value("path").toString(), home.shot("receipt.png"));
        QCOMPARE(receipt.value("application").toString(), "Shop");
        QCOMPARE(receipt.value("text").toString(), "Total DUE: 12");
        QCOMPARE(home.run.runOnce({"--search", "old", "--json"}, &out), 0);
        QVERIFY(QJsonDocument::fromJson(out.toUtf8()).array().first().toObject().value("text").isNull());

        QCOMPARE(TestFiles::readAll(home.metaPath()), meta);
        QCOMPARE(QFileInfo(home.metaPath()).lastModified(), written);

        // A file that cannot be read: names still match, the file stays put.
        writeFile(home.metaPath(), "{ not json");
        QCOMPARE(home.search("cat", &status), QStringList{home.shot("cat.png")});
        QCOMPARE(TestFiles::readAll(home.metaPath()), QByteArray("{ not json"));
        QCOMPARE(QDir(QFileInfo(home.metaPath()).absolutePath()).entryList(QDir::Files | QDir::Hidden),
                 QStringList{"meta.json"});

        // No metadata file at all: not even its folder is made.
        QVERIFY(QDir(QFileInfo(home.metaPath()).absolutePath()).removeRecursively());
        QCOMPARE(home.search("list", &status), QStringList{home.shot("Due list.png")});
        QVERIFY(!QFileInfo::exists(QFileInfo(home.metaPath()).absolutePath()));
    }

    // Recognised text lands in the store, keeping every other record, both
    // when it writes the file itself and when it hands the text to the
    // running instance (started by a bare --login, which starts the program).
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
        const QString hello = home.shot("hello.png");
        writeText(hello, "Hello Marmalade");
        const FileMeta other = withText("kept", "Editor");
        writeFile(home.metaPath(), MetaStore::encode({{"other.png", other}}));
        if (instanceRunning) {
            home.run.setVar("QT_QPA_PLATFORM", "offscreen");
            home.run.setVar("BRINDLEWICK_DEBUG");
            QVERIFY(home.run.startReady({"--login"}));
        }

        const QStringList recognise{"--recognise", hello, home.shot("missing.png")};
        QCOMPARE(home.run.runOnce(recognise, nullptr, 120000), 1); // the missing one
        int status = -1;
        QCOMPARE(home.search("marmalade", &status), QStringList{hello});

        if (instanceRunning) {
            home.run.terminate();
            QVERIFY(home.run.waitForExit());
        }
        const QHash<QString, FileMeta> records = home.records();
        QCOMPARE(records.value("other.png"), other);
        const FileMeta recognised = records.value("hello.png");
        QVERIFY(recognised.text.value_or(QString()).toString().contains("Marmalade") && recognised.textAt);
    }

    // A request that arrives in pieces is read whole, not cut at the first.
    void longRequestArrivesWhole()
    {
        QTemporaryDir dir;
        SingleInstance instance(dir.filePath("socket"));
        QCOMPARE(instance.claim(), SingleInstance::Claim::won);
        QSignalSpy requests(&instance, &SingleInstance::requested);
        QLocalSocket client;
        client.connectToServer(dir.filePath("socket"));
        QVERIFY(client.waitForConnected(5000));
        client.write("recognised ");
        QVERIFY(client.waitForBytesWritten(5000));
        // The first piece alone is no request, however long it waits.
        QVERIFY(!requests.wait(100));
        client.write(QByteArray(300000, 'A') + '\n');
        QVERIFY(requests.wait(5000));
        QCOMPARE(requests.first().first().toByteArray().size(), qsizetype(11 + 300000));
    }

    // Paths reach a program as their own bytes, one a line or each ended by
    // a NUL, and JSON, which holds text only, gives a name that is not UTF-8
    // as its URI; a terminal sees control characters escaped, never acted on.
    void searchPrintsPathsSafely()
    {
        Home home;
        const QString split = home.shot("due\nlist.png");
        const QString coloured = home.shot("due\x1b[31mred.png");
        writeFile(split, "png", 10);
        writeFile(coloured, "png", 5);
        const QByteArray raw = QFile::encodeName(home.shots()) + "/due\xFF.png";
        const int fd = ::open(raw.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
        QVERIFY(fd >= 0 && ::write(fd, "png", 3) == 3 && ::close(fd) == 0);
        const QStringList query{"--search", "due"};
        const QByteArrayList paths{raw, QFile::encodeName(coloured), QFile::encodeName(split)};

        Ran piped = runBinary(home.run, query);
        QCOMPARE(piped.status, 0);
        QCOMPARE(piped.out, paths.join('\n') + '\n');
        QCOMPARE(runBinary(home.run, query + QStringList{"--null"}).out, paths.join('\0') + '\0');
        QCOMPARE(runBinary(home.run, {"--null"}).status, 2);
        const QJsonDocument json = QJsonDocument::fromJson(runBinary(home.run, query + QStringList{"--json"}).out);
        QVERIFY(json[0]["path"].isNull());
        QCOMPARE(json[0]["uri"].toString().toLatin1(), "file://" + raw.toPercentEncoding("/"));

        Ran shown = runBinary(home.run, query, true);
        QCOMPARE(shown.status, 0);
        QVERIFY2(!shown.out.contains('\x1b') && shown.out.contains("due\\x1b[31mred.png")
                     && shown.out.contains("due\\nlist.png"),
                 shown.out.constData());
    }

    // Records go by name: --recognise stores nothing for an image the shelf
    // does not show, for two images with one name, or for an image it cannot
    // read (one still being written), and says so.
    void recogniseRefusesWhatItCannotStoreRightly()
    {
        Home home;
        const FileMeta before = withText("Home's own invoice");
        writeFile(home.metaPath(), MetaStore::encode({{"invoice.png", before}}));
        writeText(home.shot("invoice.png"), "Home");
        const QString elsewhere = home.run.path("other/invoice.png");
        writeText(elsewhere, "Elsewhere");
        writeText(home.shot("x/shot.png"), "First");
        writeText(home.shot("y/shot.png"), "Second");
        QVERIFY(textImage(QSize(640, 160), 48, {"Half"}).save(home.shot("half.png")));
        const QByteArray whole = TestFiles::readAll(home.shot("half.png"));
        writeFile(home.shot("half.png"), whole.left(whole.size() / 2));

        for (const QStringList &arguments :
             {QStringList{elsewhere}, QStringList{home.shot("x/shot.png"), home.shot("y/shot.png")},
              QStringList{home.shot("half.png")}}) {
            const Ran run = runBinary(home.run, QStringList{"--recognise"} + arguments);
            QVERIFY2(run.status == 1 && run.err.contains(QFile::encodeName(arguments.first())), run.err.constData());
        }
        QCOMPARE(home.records(), (QHash<QString, FileMeta>{{"invoice.png", before}}));
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
        const QString hello = home.shot("hello.png");
        writeText(hello, "Hello Marmalade");
        // A shared temporary folder, and the names we would use in it taken.
        QVERIFY(::chmod(QFile::encodeName(home.run.path(QString())).constData(), 0711) == 0);
        const QString shared = home.run.path("tmp");
        QVERIFY(QDir().mkpath(shared) && ::chmod(QFile::encodeName(shared).constData(), 01777) == 0);
        const QString base = shared + QStringLiteral("/" BRINDLEWICK_APP_ID "-%1").arg(::geteuid());
        const QString taken = base + ".socket";
        QVERIFY(QDir().mkpath(base) && ::chown(QFile::encodeName(base).constData(), other.uid, other.gid) == 0);
        const QString inside = base + QStringLiteral("/" BRINDLEWICK_APP_ID "-%1.socket").arg(::geteuid());
        QList<pid_t> children;
        const auto endChildren = qScopeGuard([&children] {
            for (const pid_t child : std::as_const(children))
                endChild(child);
        });
        children << listenAsOtherUser(other, taken) << listenAsOtherUser(other, inside);
        QTRY_VERIFY(QFileInfo::exists(taken) && QFileInfo::exists(inside));
        home.run.environment().remove("XDG_RUNTIME_DIR");
        home.run.setVar("TMPDIR", shared);

        const Ran recognise = runBinary(home.run, {"--recognise", hello});
        QVERIFY2(recognise.status == 1 && recognise.err.contains("another user"), recognise.err.constData());
        home.run.setVar("QT_QPA_PLATFORM", "offscreen");
        const Ran start = runBinary(home.run, {});
        QVERIFY2(start.status == 1 && start.err.contains("another user"), start.err.constData());
        QVERIFY(TestFiles::readAll(taken + ".heard").isEmpty() && TestFiles::readAll(inside + ".heard").isEmpty());
        QVERIFY(home.records().isEmpty());

        // A runtime folder that is not ours is passed over for one of our
        // own, made in the temporary folder.
        const QString runtime = home.run.path("theirs");
        QVERIFY(QDir().mkpath(runtime) && ::chmod(QFile::encodeName(runtime).constData(), 0777) == 0
                && ::chown(QFile::encodeName(runtime).constData(), other.uid, other.gid) == 0);
        const QString theirs = runtime + QStringLiteral("/" BRINDLEWICK_APP_ID "-%1.socket").arg(::geteuid());
        children << listenAsOtherUser(other, theirs);
        QTRY_VERIFY(QFileInfo::exists(theirs));
        home.run.setVar("XDG_RUNTIME_DIR", runtime);
        home.run.setVar("TMPDIR", home.run.path("mine"));
        QDir().mkpath(home.run.path("mine"));
        QCOMPARE(runBinary(home.run, {"--recognise", hello}).status, 0);
        QVERIFY(TestFiles::readAll(theirs + ".heard").isEmpty());
        QVERIFY(home.records().value("hello.png").text.value_or(QString()).toString().contains("Marmalade"));
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
        const QString path = dir.filePath("socket");
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
        const QString theirs = dir.filePath("theirs");
        QVERIFY(QDir().mkpath(theirs) && ::chown(QFile::encodeName(theirs).constData(), other.uid, other.gid) == 0);
        const pid_t server = listenAsOtherUser(other, theirs + "/socket");
        const auto endServer = qScopeGuard([server] { endChild(server); });
        QTRY_VERIFY(QFileInfo::exists(theirs + "/socket"));
        QVERIFY(::rename(QFile::encodeName(theirs + "/socket").constData(), QFile::encodeName(path).constData()) == 0);
        QVERIFY(::chown(QFile::encodeName(path).constData(), ::geteuid(), ::getegid()) == 0);
        QVERIFY(::chmod(QFile::encodeName(dir.path()).constData(), 0700) == 0);
        SingleInstance client(path);
        QVERIFY(!client.sendToRunning("show"));
        QCOMPARE(client.ask("recognised e30=").status, SingleInstance::Reply::refused);
        QVERIFY(!client.problem().isEmpty());
        QVERIFY(TestFiles::readAll(theirs + "/socket.heard").isEmpty());
    }
};

QTEST_MAIN(TestCommandLine)
#include "test_commandline.moc"
