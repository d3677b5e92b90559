// The command line as the real binary runs it, in a throwaway home; and the
// installed desktop files against the freedesktop validators.

#include "app/singleinstance.h"
#include "meta/metastore.h"
#include "support/apprun.h"
#include "support/files.h"
#include "support/sandbox.h"
#include "support/textimage.h"

#include <QLocalSocket>
#include <QtTest> // and with it all of Qt Core

#include <csignal>
#include <fcntl.h>
#include <grp.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// Written `minutesOld` minutes ago, as far as its modification time goes.
void writeFile(const QString &path, const QByteArray &bytes, int minutesOld = 0)
{
    Sandbox::writeFile(path, bytes);
    TestFiles::setMtime(path, QDateTime::currentSecsSinceEpoch() - 60 * minutesOld);
}

void writeText(const QString &path, const QString &text)
{
    QVERIFY(QDir().mkpath(QFileInfo(path).absolutePath()) && textImage(QSize(640, 160), 48, {text}).save(path));
}

FileMeta withText(const QString &text, const std::optional<QString> &app = {}, const std::optional<QDateTime> &at = {})
{
    return FileMeta{app, {}, text, at};
}

// A throwaway home whose Home folder is "shots", chosen in the preferences.
struct Home
{
    AppRun app{QString()};

    Home()
    {
        app.setPreference("folder", app.path("shots"));
        QDir().mkpath(app.path("shots"));
    }
    QString shot(const QString &name) const { return app.path("shots/" + name); }
    QString metaPath() const { return app.path("home/.local/share/Brindlewick/meta.json"); }
    QHash<QString, FileMeta> records() const
    {
        return MetaStore::decode(TestFiles::readAll(metaPath())).value_or(QHash<QString, FileMeta>());
    }
    QStringList search(const QString &text)
    {
        return QString::fromUtf8(run({"--search", text}).out).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    }

    // One run of the binary here, both outputs kept as bytes. `terminal`:
    // standard output is a terminal (a pseudo-terminal the test reads).
    Ran run(const QStringList &arguments, bool terminal = false)
    {
        if (!terminal)
            return runProcess(app.environment(), AppRun::binary(), arguments, 120000);
        const int master = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK);
        const bool opened = master >= 0 && ::grantpt(master) == 0 && ::unlockpt(master) == 0;
        const int slave = opened ? ::open(::ptsname(master), O_RDWR | O_NOCTTY | O_CLOEXEC) : -1;
        QProcess process;
        process.setProcessEnvironment(app.environment());
        process.setChildProcessModifier([slave] { ::dup2(slave, STDOUT_FILENO); });
        process.start(AppRun::binary(), arguments);
        const bool ended = process.waitForFinished(120000) && process.exitStatus() == QProcess::NormalExit;
        Ran ran{ended ? process.exitCode() : -1, {}, {}};
        ::close(slave);
        char buffer[4096];
        for (ssize_t n; (n = ::read(master, buffer, sizeof buffer)) > 0;)
            ran.out.append(buffer, n);
        ::close(master);
        return ran;
    }
};

// Runs `body` in a child process as another local user ("nobody"; needs
// root); the child writes the byte `body` returns to the socket whose other
// end comes back with its id. Only calls that are safe after fork.
std::pair<pid_t, int> asOtherUser(const std::function<char()> &body)
{
    int result[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, result) != 0)
        return {-1, -1};
    const pid_t child = ::fork();
    if (child == 0) {
        if (::setgroups(0, nullptr) != 0 || ::setgid(65534) != 0 || ::setuid(65534) != 0)
            ::_exit(90);
        const char said = body();
        ::_exit(::write(result[1], &said, 1) == 1 ? 0 : 91);
    }
    ::close(result[1]);
    return {child, result[0]};
}

// The byte a child of asOtherUser wrote to `result` (left there), or '-' while none came.
char said(int result)
{
    char c = '-';
    return ::recv(result, &c, 1, MSG_PEEK) == 1 ? c : '-';
}

// A local socket made for `path`, connected (else listening) there.
int unixSocket(const QString &path, bool listen)
{
    sockaddr_un address = {.sun_family = AF_UNIX, .sun_path = {}};
    std::strncpy(address.sun_path, QFile::encodeName(path).constData(), sizeof address.sun_path - 1);
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    const auto *at = reinterpret_cast<sockaddr *>(&address);
    const bool ready =
        listen ? ::bind(fd, at, sizeof address) == 0 && ::listen(fd, 8) == 0 : ::connect(fd, at, sizeof address) == 0;
    return fd >= 0 && ready ? fd : -1;
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
    void optionsAreDocumentedAndChecked()
    {
        Home home;
        const Ran help = home.run({"--help"});
        const QString manual = QString::fromUtf8(TestFiles::readAll(BRINDLEWICK_DATA_DIR "/brindlewick.1"));
        QVERIFY(help.status == 0 && help.out.count("--") >= 8 && !manual.isEmpty());
        for (const QRegularExpressionMatch &match : QRegularExpression("--([a-z]+)").globalMatch(help.out)) {
            // A paragraph of its own starts ".TP" and names the option next.
            const QRegularExpression paragraph("\\.TP\n\\.B[IR]? [^\n]*\\\\-\\\\-" + match.captured(1) + "\\b");
            QVERIFY2(manual.contains(paragraph), qPrintable(match.captured(0)));
        }

        // Bad options exit 2 with the usage on standard error. --login needs
        // no display; an entry that cannot be written is an error with its reason.
        for (const char *arguments :
             {"--bogus", "--json", "--search", "--recognise", "--null", "stray", "--search x --toggle"}) {
            const Ran ran = home.run(QString(arguments).split(' '));
            QVERIFY2(ran.status == 2 && ran.out.isEmpty(), arguments);
        }
        const QString entry = home.app.configHome() + "/autostart/brindlewick.desktop";
        QVERIFY(home.run({"--login", "on"}).status == 0 && QFile::exists(entry));
        QVERIFY(home.run({"--login", "off"}).status == 0 && !QFile::exists(entry));
        QVERIFY(QDir().rmdir(home.app.configHome() + "/autostart"));
        writeFile(home.app.configHome() + "/autostart", "a file where the folder goes");
        const Ran failed = home.run({"--login", "on"});
        QVERIFY2(failed.status == 1 && failed.out.startsWith("error: "), failed.out.constData());
    }

    // Names and recognised text by the shelf's rule, newest first; text
    // recognised before its file was last written belongs to the image that
    // was there before and is not searched; the metadata file is only ever
    // read, even one that cannot be.
    void searchFindsNewestFirstAndNeverWrites()
    {
        Home home;
        for (const auto &[name, minutesOld] :
             {std::pair{"old due.png", 30}, {"receipt.png", 20}, {"Due list.png", 10}, {"cat.png", 0}})
            writeFile(home.shot(name), "png", minutesOld);
        writeFile(home.shot("due.txt"), "not an image");
        const FileMeta stale = withText("zebra", {}, QDateTime::currentDateTimeUtc().addSecs(-3600));
        const QByteArray meta = MetaStore::encode({{"receipt.png", withText("Total DUE: 12", "Shop")},
                                                   {"cat.png", withText(QString())},
                                                   {"old due.png", stale}});
        writeFile(home.metaPath(), meta);
        const QDateTime written = QFileInfo(home.metaPath()).lastModified();

        QCOMPARE(home.search("  due "),
                 (QStringList{home.shot("Due list.png"), home.shot("receipt.png"), home.shot("old due.png")}));
        QCOMPARE(home.run({"--search", "zebra"}).status, 1); // none found
        QStringList found;                                   // without the date; a null text reads as empty
        for (const QJsonValue &item : QJsonDocument::fromJson(home.run({"--search", "due", "--json"}).out).array())
            found << QStringList{item["path"].toString(), item["application"].toString(), item["text"].toString()}.join(
                '|');
        QCOMPARE(found, (QStringList{home.shot("Due list.png") + "||", home.shot("receipt.png") + "|Shop|Total DUE: 12",
                                     home.shot("old due.png") + "||"}));
        QCOMPARE(TestFiles::readAll(home.metaPath()), meta);
        QCOMPARE(QFileInfo(home.metaPath()).lastModified(), written);

        // Paths reach a program as their own bytes, one a line or each ended
        // by a NUL; a terminal sees control characters escaped, never acted on.
        const QByteArray split = QFile::encodeName(home.shot("odd\nlist.png"));
        const QByteArray coloured = QFile::encodeName(home.shot("odd\x1b[31mred.png"));
        writeFile(QFile::decodeName(split), "png", 10);
        writeFile(QFile::decodeName(coloured), "png");
        QCOMPARE(home.run({"--search", "odd"}).out, coloured + '\n' + split + '\n');
        QCOMPARE(home.run({"--search", "odd", "--null"}).out, coloured + '\0' + split + '\0');
        const Ran shown = home.run({"--search", "odd"}, true);
        QVERIFY2(shown.status == 0 && !shown.out.contains('\x1b') && shown.out.contains("odd\\x1b[31mred.png")
                     && shown.out.contains("odd\\nlist.png"),
                 shown.out.constData());

        // A file that cannot be read: names still match, the file stays put.
        writeFile(home.metaPath(), "{ not json");
        QCOMPARE(home.search("cat"), QStringList{home.shot("cat.png")});
        QCOMPARE(TestFiles::readAll(home.metaPath()), QByteArray("{ not json"));
        const QDir metaFolder = QFileInfo(home.metaPath()).absoluteDir();
        QCOMPARE(metaFolder.entryList(QDir::Files | QDir::Hidden), QStringList{"meta.json"});

        // No metadata file at all: not even its folder is made.
        QVERIFY(QDir(metaFolder).removeRecursively());
        QVERIFY(home.search("due list") == QStringList{home.shot("Due list.png")} && !metaFolder.exists());
    }

    // Recognised text lands in the store, keeping every other record, both
    // when it writes the file itself and when it hands the text to the
    // running instance (started by a bare --login, which starts the program).
    void recogniseThenSearch()
    {
        for (const bool instanceRunning : {false, true}) {
            Home home;
            const QString hello = home.shot("hello.png");
            writeText(hello, "Hello Marmalade");
            const FileMeta other = withText("kept", "Editor");
            writeFile(home.metaPath(), MetaStore::encode({{"other.png", other}}));
            home.app.setVar("QT_QPA_PLATFORM", "offscreen");
            home.app.setVar("BRINDLEWICK_DEBUG");
            QVERIFY(!instanceRunning || home.app.startReady({"--login"}));
            QCOMPARE(home.run({"--recognise", hello, home.shot("missing.png")}).status, 1); // the missing one
            QCOMPARE(home.search("marmalade"), QStringList{hello});
            home.app.terminate();
            QVERIFY(!instanceRunning || home.app.waitForExit());
            QCOMPARE(home.records().value("other.png"), other);
            const FileMeta recognised = home.records().value("hello.png");
            QVERIFY(recognised.text.value_or(QString()).toString().contains("Marmalade") && recognised.textAt);
        }
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
        QVERIFY(!requests.wait(100)); // the first piece alone is no request
        client.write(QByteArray(300000, 'A') + '\n');
        QVERIFY(requests.wait(5000));
        QCOMPARE(requests.first().first().toByteArray().size(), qsizetype(11 + 300000));
    }

    // Records go by name: --recognise stores nothing for an image the shelf
    // does not show, for two images with one name, or for an image it cannot
    // read (one still being written), and says so.
    void recogniseRefusesWhatItCannotStoreRightly()
    {
        Home home;
        const QString elsewhere = home.app.path("other/invoice.png");
        writeText(elsewhere, "Elsewhere");
        writeText(home.shot("x/shot.png"), "First");
        writeText(home.shot("y/shot.png"), "Second");
        writeText(home.shot("half.png"), "Half");
        const QByteArray whole = TestFiles::readAll(home.shot("half.png"));
        writeFile(home.shot("half.png"), whole.left(whole.size() / 2));
        for (const QStringList &images : {QStringList{elsewhere},
                                          {home.shot("x/shot.png"), home.shot("y/shot.png")},
                                          QStringList{home.shot("half.png")}}) {
            const Ran ran = home.run(QStringList{"--recognise"} + images);
            QVERIFY2(ran.status == 1 && ran.err.contains(QFile::encodeName(images.first())), ran.err.constData());
        }
        QVERIFY(home.records().isEmpty());
    }

    // The socket, its locks, its folder and whoever is on the other end must
    // be ours: our instance hangs up on another user's program, and a start
    // refuses another user's socket or server, never telling it anything.
    void anotherUsersSocketOrPeerIsRefused()
    {
        if (::geteuid() != 0)
            QSKIP("needs root, to act as a second user");
        QList<std::pair<pid_t, int>> children;
        const auto endChildren = qScopeGuard([&children] {
            for (const auto &[child, result] : std::as_const(children))
                ::kill(child, SIGKILL);
        });
        // Our instance, its folder and socket opened up as a file system
        // without permissions on sockets would leave them.
        QTemporaryDir dir;
        const QString path = dir.filePath("socket");
        QVERIFY(::chmod(QFile::encodeName(dir.path()).constData(), 0711) == 0);
        {
            SingleInstance instance(path);
            QCOMPARE(instance.claim(), SingleInstance::Claim::won);
            QVERIFY(::chmod(QFile::encodeName(path).constData(), 0777) == 0);
            QSignalSpy requests(&instance, &SingleInstance::requested);
            children << asOtherUser([&path] {
                const int fd = unixSocket(path, false);
                char c;
                if (fd < 0 || ::send(fd, "show\n", 5, MSG_NOSIGNAL) != 5)
                    return 'c';
                return ::read(fd, &c, 1) > 0 ? 'a' : 'h'; // answered, or hung up on
            });
            QTRY_COMPARE(said(children[0].second), 'h'); // hung up on, after any request it read
            QCOMPARE(requests.size(), 0);
        }

        // Another user's server, its socket moved where ours goes and given
        // to us: it says whether it heard anything before it was hung up on.
        const QString theirs = dir.filePath("theirs");
        QVERIFY(QDir().mkpath(theirs) && ::chown(QFile::encodeName(theirs).constData(), 65534, 65534) == 0);
        children << asOtherUser([&theirs] {
            const int server = unixSocket(theirs + "/socket", true);
            if (server < 0 || ::chmod(QFile::encodeName(theirs + "/socket").constData(), 0777) != 0)
                return 'f';
            for (char c;;) {
                const int client = ::accept(server, nullptr, nullptr);
                if (client >= 0 && ::read(client, &c, 1) == 1)
                    return 'h';
                ::close(client);
            }
        });
        QTRY_VERIFY(QFileInfo::exists(theirs + "/socket"));
        QVERIFY(::rename(QFile::encodeName(theirs + "/socket").constData(), QFile::encodeName(path).constData()) == 0);
        QVERIFY(::chown(QFile::encodeName(path).constData(), ::geteuid(), ::getegid()) == 0);
        QVERIFY(::chmod(QFile::encodeName(dir.path()).constData(), 0700) == 0);
        SingleInstance client(path);
        QCOMPARE(client.ask("recognised e30=").status, SingleInstance::Reply::refused);
        QVERIFY(!client.problem().isEmpty() && said(children[1].second) == '-');

        // A shared temporary folder where the private folder we would use is
        // theirs: neither --recognise nor a start goes on.
        Home home;
        const QString ours = home.app.path("tmp/" BRINDLEWICK_APP_ID "-") + QString::number(::geteuid());
        QVERIFY(QDir().mkpath(ours) && ::chmod(QFile::encodeName(home.app.path("tmp")).constData(), 01777) == 0);
        QVERIFY(::chown(QFile::encodeName(ours).constData(), 65534, 65534) == 0);
        writeText(home.shot("hello.png"), "Hello Marmalade");
        home.app.environment().remove("XDG_RUNTIME_DIR");
        home.app.setVar("TMPDIR", home.app.path("tmp"));
        home.app.setVar("QT_QPA_PLATFORM", "offscreen");
        for (const QStringList &arguments : {QStringList{"--recognise", home.shot("hello.png")}, QStringList{}}) {
            const Ran run = home.run(arguments);
            QVERIFY2(run.status == 1 && run.err.contains("another user"), run.err.constData());
        }
        QVERIFY(home.records().isEmpty());
    }
};

QTEST_MAIN(TestCommandLine)
#include "test_commandline.moc"
