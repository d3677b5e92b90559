#include "actions/actionrunner.h"
#include "actions/fileactions.h"
#include "files/safefiles.h"
#include "meta/metastore.h"
#include "platform/trash.h"
#include "support/badimages.h"
#include "support/files.h"
#include "support/isolatedmain.h"
#include "support/scriptedprompts.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDesktopServices>
#include <QImage>
#include <QImageReader>
#include <QImageWriter>
#include <QMimeData>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace TestFiles;

namespace {

void write(const QString &path, const QByteArray &bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile f(path);
    QVERIFY(f.open(QIODevice::NewOnly));
    f.write(bytes);
}

void writeImage(const QString &path, int w, int h, const char *format = "PNG",
                QImage::Format pixels = QImage::Format_RGB32)
{
    QImage image(w, h, pixels);
    image.fill(QColor(10, 200, 30, pixels == QImage::Format_ARGB32 ? 0 : 255));
    QVERIFY(image.save(path, format));
}

QUrl url(const QString &path) { return QUrl::fromLocalFile(path); }

// Every file system is "/" unless told otherwise.
QString rootMount(const QString &) { return QStringLiteral("/"); }

} // namespace

class TestFileActions : public QObject
{
    Q_OBJECT

public Q_SLOTS:
    // Stands in for the desktop's "open this URL".
    void recordOpened(const QUrl &url) { opened.append(url); }

private:
    QList<QUrl> opened;
    std::unique_ptr<QTemporaryDir> dir;
    std::unique_ptr<MetaStore> meta;
    QString folder;

    QString path(const QString &name) const { return folder + QLatin1Char('/') + name; }
    QString trashPath() const { return dir->path() + QStringLiteral("/data/Trash"); }

private Q_SLOTS:
    void init()
    {
        dir = std::make_unique<QTemporaryDir>();
        folder = dir->path() + QStringLiteral("/shots");
        QDir().mkpath(folder);
        meta = std::make_unique<MetaStore>(dir->path() + QStringLiteral("/meta.json"));
    }

    void uniqueNamesSurviveRaces()
    {
        // A dangling symlink occupies its name too.
        QVERIFY(::symlink("nowhere", QFile::encodeName(path("link.png")).constData()) == 0);
        QCOMPARE(FileActions::uniqueURL(url(path("link.png"))), url(path("link 2.png")));

        // Another program creates the chosen name right after we chose it, twice.
        write(path("a.png"), "original");
        int intrusions = 0;
        const auto racingChooser = [&](const QString &wanted) {
            const QString chosen = SafeFiles::uniquePath(wanted);
            if (intrusions < 2)
                write(chosen, "intruder " + QByteArray::number(++intrusions));
            return chosen;
        };
        const QString copy = SafeFiles::copyUnique(path("a.png"), path("a copy.png"), racingChooser);
        QCOMPARE(copy, path("a copy 3.png"));
        QCOMPARE(readAll(copy), QByteArray("original"));
        intrusions = 0;
        QDir().mkpath(path("sub"));
        QCOMPARE(SafeFiles::moveUnique(path("a.png"), path("sub/a.png"), racingChooser), path("sub/a 3.png"));
        QCOMPARE(readAll(path("sub/a 3.png")), QByteArray("original"));
    }

    void duplicateKeepsBytesModeAndTime()
    {
        write(path("a.png"), "pixels");
        ::chmod(QFile::encodeName(path("a.png")).constData(), 0640);
        const time_t old = 1'600'000'000;
        setMtime(path("a.png"), old);
        write(path("README"), "text");
        for (int i = 0; i < 2; ++i)
            FileActions::duplicate({url(path("a.png")), url(path("README")), url(path("gone.png"))});

        QCOMPARE(entries(folder),
                 QStringList({"README", "README copy", "README copy 2", "a copy 2.png", "a copy.png", "a.png"}));
        const QFileInfo copy(path("a copy 2.png"));
        QCOMPARE(copy.permissions() & 0x0777, QFileDevice::ReadUser | QFileDevice::WriteUser | QFileDevice::ReadGroup);
        QCOMPARE(copy.lastModified().toSecsSinceEpoch(), old);
        QCOMPARE(readAll(copy.filePath()), QByteArray("pixels"));
    }

    void renameRefusesAnythingButAFreeSingleName()
    {
        write(path("a.png"), "A");
        write(path("taken.png"), "T");
        meta->update(url(path("a.png")), [](FileMeta &m) { m.text = QStringLiteral("hello"); });
        ScriptedPrompt prompt;
        const auto rename = [&](std::optional<QString> answer) {
            prompt.answer = answer;
            std::optional<QUrl> result = QUrl(QStringLiteral("unset:"));
            FileActions::rename(url(path("a.png")), prompt, meta.get(), [&](auto renamed) { result = renamed; });
            return result;
        };

        QVERIFY(!rename(std::nullopt)); // Cancel
        QCOMPARE(prompt.asked.text, QStringLiteral("a.png"));
        for (const QString &bad : {QStringLiteral("taken.png"), QStringLiteral("../out.png"),
                                   QStringLiteral("sub/b.png"), QStringLiteral(".."), QStringLiteral("   "),
                                   QStringLiteral(" a.png "), QString(300, QLatin1Char('x'))})
            QVERIFY2(!rename(bad), qPrintable(bad));
        QCOMPARE(entries(folder), QStringList({"a.png", "taken.png"}));
        QCOMPARE(entries(dir->path()), QStringList({"shots"}));
        QCOMPARE(readAll(path("taken.png")), QByteArray("T"));

        QCOMPARE(rename(QStringLiteral("  b.png\n")), url(path("b.png")));
        QCOMPARE(readAll(path("b.png")), QByteArray("A"));
        QCOMPARE(meta->meta(url(path("b.png")))->text, QStringLiteral("hello"));
        QVERIFY(!meta->meta(url(path("a.png"))).has_value());
    }

    void moveNumbersCollisionsAndSkipsFilesAlreadyThere()
    {
        write(path("a.png"), "new a");
        write(path("b.png"), "b");
        write(path("Sub/a.png"), "old a");
        // The same folder under another name.
        const QString link = dir->path() + QStringLiteral("/link");
        QVERIFY(::symlink(QFile::encodeName(folder).constData(), QFile::encodeName(link).constData()) == 0);
        QVERIFY(FileActions::move({url(path("a.png")), url(link + "/b.png")}, url(link)).isEmpty());
        QCOMPARE(entries(folder), QStringList({"Sub", "a.png", "b.png"}));

        meta->update(url(path("a.png")), [](FileMeta &m) { m.app = QStringLiteral("Viewer"); });
        const FileActions::Moves moves = FileActions::move(
            {url(path("a.png")), url(path("b.png")), url(path("Sub/a.png")), url(path("missing.png"))},
            url(path("Sub/")));
        QCOMPARE(moves, FileActions::Moves({{url(path("a.png")), url(path("Sub/a 2.png"))},
                                           {url(path("b.png")), url(path("Sub/b.png"))}}));
        QCOMPARE(readAll(path("Sub/a.png")), QByteArray("old a"));
        QCOMPARE(readAll(path("Sub/a 2.png")), QByteArray("new a"));
        QVERIFY(meta->meta(url(path("a.png"))).has_value()); // the caller's to carry
        FileActions::carryRecords(moves, meta.get());
        QCOMPARE(meta->meta(url(path("Sub/a 2.png")))->app, QStringLiteral("Viewer"));
    }

    void moveAcrossFileSystems()
    {
        if (!QFileInfo(QStringLiteral("/dev/shm")).isWritable() || deviceOf("/dev/shm") == deviceOf(folder))
            QSKIP("no second writable file system (/dev/shm) here");
        QTemporaryDir other(QStringLiteral("/dev/shm/brindlewick-test-XXXXXX"));
        QVERIFY(other.isValid());
        write(path("a.png"), QByteArray(200000, 'q'));
        write(other.filePath("a.png"), "already there");
        setMtime(path("a.png"), 1'500'000'000);
        QDir().mkpath(path("folder"));

        // Folders do not cross file systems.
        QCOMPARE(FileActions::move({url(path("a.png")), url(path("folder"))}, url(other.path())).size(), 1);
        QCOMPARE(entries(other.path()), QStringList({"a 2.png", "a.png"}));
        QCOMPARE(readAll(other.filePath("a 2.png")), QByteArray(200000, 'q'));
        QCOMPARE(entries(folder), QStringList({"folder"}));
        QCOMPARE(QFileInfo(other.filePath("a 2.png")).lastModified().toSecsSinceEpoch(), 1'500'000'000);

        // A source that cannot be removed makes the move fail as a whole:
        // the copy goes again. An immutable file stops even root.
        write(path("stuck.png"), "stuck");
        const int fd = ::open(QFile::encodeName(path("stuck.png")).constData(), O_RDONLY);
        int flags = 0;
        const bool immutable = ::ioctl(fd, FS_IOC_GETFLAGS, &flags) == 0
                               && (flags |= FS_IMMUTABLE_FL, ::ioctl(fd, FS_IOC_SETFLAGS, &flags) == 0);
        if (immutable) {
            QVERIFY(FileActions::move({url(path("stuck.png"))}, url(other.path())).isEmpty());
            flags &= ~FS_IMMUTABLE_FL;
            ::ioctl(fd, FS_IOC_SETFLAGS, &flags);
            QCOMPARE(entries(other.path()), QStringList({"a 2.png", "a.png"}));
        }
        ::close(fd);
        if (!immutable)
            QSKIP("cannot make a file immutable here; the undo of a failed move is not exercised");
    }

    void trashIntoTheHomeTrash()
    {
        const QDateTime when(QDate(2026, 10, 8), QTime(5, 12, 49));
        FreedesktopTrash trash(trashPath(), rootMount, [when] { return when; });
        write(path("a b%.png"), "first");
        QCOMPARE(FileActions::trash({url(path("a b%.png")), url(path("missing.png"))}, trash), qint64(1));
        write(path("a b%.png"), "second");
        QCOMPARE(FileActions::trash({url(path("a b%.png"))}, trash), qint64(1));

        QCOMPARE(entries(folder), QStringList());
        QCOMPARE(entries(trashPath() + "/files"), QStringList({"a b% 2.png", "a b%.png"}));
        QCOMPARE(readAll(trashPath() + "/files/a b% 2.png"), QByteArray("second"));
        const QString canonical = QFileInfo(folder).canonicalFilePath();
        QCOMPARE(readAll(trashPath() + "/info/a b% 2.png.trashinfo"),
                 "[Trash Info]\nPath=" + QFile::encodeName(canonical + "/a b%.png").toPercentEncoding("/")
                     + "\nDeletionDate=2026-10-08T05:12:49\n");
        QCOMPARE(QFileInfo(trashPath()).permissions() & 0x0077, QFileDevice::Permissions());
    }

    void longNamesAreShortenedInsideTheTrash()
    {
        FreedesktopTrash trash(trashPath(), rootMount);
        // 250 bytes: a valid name, but "<name>.trashinfo" is not.
        const QString ascii = QString(246, QLatin1Char('x')) + QStringLiteral(".png");
        const QString accented = QString(125, QChar(0x00E9)) + QStringLiteral(".png"); // 254 bytes
        for (const QString &name : {ascii, ascii, accented}) {
            write(path(name), name.toUtf8());
            QVERIFY(trash.moveToTrash(path(name)));
        }
        const QStringList trashed = entries(trashPath() + "/files");
        QCOMPARE(trashed.size(), 3);
        const QString canonical = QFileInfo(folder).canonicalFilePath();
        QSet<QByteArray> contents;
        for (const QString &entry : trashed) {
            QVERIFY2(entry.toUtf8().size() + 10 <= 255 && entry.endsWith(QLatin1String(".png")), qPrintable(entry));
            QVERIFY(!entry.contains(QChar::ReplacementCharacter)); // never cut inside a character
            const QByteArray name = readAll(trashPath() + "/files/" + entry);
            contents.insert(name);
            // The info file keeps the real place.
            QVERIFY(readAll(trashPath() + "/info/" + entry + ".trashinfo")
                        .contains("\nPath=" + QFile::encodeName(canonical + "/" + name).toPercentEncoding("/") + "\n"));
        }
        QCOMPARE(contents, QSet<QByteArray>({ascii.toUtf8(), accented.toUtf8()}));
    }

    void homeTrashMayBeASymlinkToAFolderOfOurs()
    {
        const QString target = dir->path() + QStringLiteral("/elsewhere");
        QDir().mkpath(target);
        QDir().mkpath(dir->path() + QStringLiteral("/data"));
        QVERIFY(::symlink(QFile::encodeName(target).constData(), QFile::encodeName(trashPath()).constData()) == 0);
        FreedesktopTrash trash(trashPath(), rootMount);
        write(path("a.png"), "a");
        QVERIFY(trash.moveToTrash(path("a.png")));
        QCOMPARE(readAll(target + "/files/a.png"), QByteArray("a"));

        // Not when others could write into it, or it is not ours.
        write(path("b.png"), "b");
        ::chmod(QFile::encodeName(target).constData(), 0777);
        QVERIFY(!trash.moveToTrash(path("b.png")));
        ::chmod(QFile::encodeName(target).constData(), 0700);
        if (::getuid() == 0) {
            QVERIFY(::chown(QFile::encodeName(target).constData(), 65534, 65534) == 0);
            QVERIFY(!trash.moveToTrash(path("b.png")));
        }
        QCOMPARE(readAll(path("b.png")), QByteArray("b"));
    }

    void trashOnAnotherDriveUsesThatDrivesTrash()
    {
        // A pretend drive mounted at <tmp>/drive; the home Trash elsewhere.
        const QString drive = dir->path() + QStringLiteral("/drive");
        const auto mountRoot = [drive](const QString &p) {
            return p == drive || p.startsWith(drive + "/") ? drive : QStringLiteral("/");
        };
        const QString uid = QString::number(::getuid());
        FreedesktopTrash trash(trashPath(), mountRoot);
        write(drive + "/shots/x.png", "x");
        QVERIFY(trash.moveToTrash(drive + "/shots/x.png"));
        QVERIFY(readAll(drive + "/.Trash-" + uid + "/info/x.png.trashinfo").contains("\nPath=shots/x.png\n"));

        // An administrator's shared .Trash counts only with the sticky bit.
        QDir().mkpath(drive + "/.Trash");
        ::chmod(QFile::encodeName(drive + "/.Trash").constData(), 0777);
        write(drive + "/shots/y.png", "y");
        QVERIFY(trash.moveToTrash(drive + "/shots/y.png"));
        QVERIFY(QFile::exists(drive + "/.Trash-" + uid + "/files/y.png"));
        ::chmod(QFile::encodeName(drive + "/.Trash").constData(), 01777);
        write(drive + "/shots/z.png", "z");
        QVERIFY(trash.moveToTrash(drive + "/shots/z.png"));
        QCOMPARE(readAll(drive + "/.Trash/" + uid + "/files/z.png"), QByteArray("z"));
        QVERIFY(!QFileInfo::exists(trashPath() + "/files/x.png"));

        // A drive where no Trash can be made keeps its files: no silent
        // copy into the home Trash.
        const QString other = dir->path() + QStringLiteral("/other");
        write(other + "/.Trash-" + uid, "a file where the folder would be");
        write(other + "/w.png", "w");
        FreedesktopTrash otherTrash(trashPath(), [other](const QString &p) {
            return p.startsWith(other) ? other : QStringLiteral("/");
        });
        QVERIFY(!otherTrash.moveToTrash(other + "/w.png"));
        QCOMPARE(readAll(other + "/w.png"), QByteArray("w"));
    }

    void halfSizeAndJpegCopies()
    {
        writeImage(path("big.png"), 1441, 901);
        writeImage(path("tiny.png"), 3, 3);
        writeImage(path("x.jpg"), 10, 10, "JPEG");
        write(path("bomb.png"), BadImages::hugePng());
        const QList<QUrl> halves = FileActions::resizeHalf(
            {url(path("big.png")), url(path("tiny.png")), url(path("x.jpg")),
             url(path("bomb.png"))});
        QCOMPARE(halves, QList<QUrl>({url(path("big @50%.png")), url(path("tiny @50%.png")),
                                      url(path("x @50%.png"))}));
        QCOMPARE(QImageReader(path("big @50%.png")).size(), QSize(720, 450));
        QCOMPARE(QImageReader(path("x @50%.png")).format(), QByteArray("png"));

        writeImage(path("y.JPG"), 4, 4, "JPEG");
        writeImage(path("z.jpeg"), 4, 4, "JPEG");
        writeImage(path("clear.png"), 4, 4, "PNG", QImage::Format_ARGB32);
        const QList<QUrl> jpegs = FileActions::convertToJPG(
            {url(path("y.JPG")), url(path("z.jpeg")), url(path("clear.png")), url(path("bomb.png"))});
        QCOMPARE(jpegs, QList<QUrl>({url(path("z.jpg")), url(path("clear.jpg"))}));
        QCOMPARE(FileActions::convertToJPG({url(path("z.jpeg"))}), QList<QUrl>({url(path("z 2.jpg"))}));
        QVERIFY(QFile::exists(path("z.jpeg"))); // the source stays
        // Transparent pixels come out white, not black.
        QVERIFY(qGray(QImage(path("clear.jpg")).pixel(1, 1)) > 240);
        // Nothing half-written was left behind.
        for (const QString &name : entries(folder))
            QVERIFY2(!name.startsWith(QLatin1Char('.')), qPrintable(name));

        // Icons tell their size only when decoded.
        if (!QImageWriter::supportedImageFormats().contains("icns"))
            QSKIP("no icns image plugin here");
        writeImage(path("app.icns"), 64, 64, "icns", QImage::Format_ARGB32);
        QVERIFY(!QImageReader(path("app.icns")).size().isValid());
        QCOMPARE(FileActions::resizeHalf({url(path("app.icns"))}), QList<QUrl>({url(path("app @50%.png"))}));
        QCOMPARE(QImageReader(path("app @50%.png")).size(), QSize(32, 32));
        QCOMPARE(FileActions::convertToJPG({url(path("app.icns"))}), QList<QUrl>({url(path("app.jpg"))}));
    }

    void runnerHandsResultsBackOnTheGuiThread()
    {
        FreedesktopTrash trash(trashPath(), rootMount);
        for (const char *name : {"a.png", "c.png", "d.png"}) {
            write(path(name), name);
            meta->update(url(path(name)), [](FileMeta &m) { m.app = QStringLiteral("Term"); });
        }
        QDir().mkpath(path("Sub"));
        QList<FileWorkResult> results;
        bool inOrder = true;
        const auto collect = [&](const FileWorkResult &result) {
            results.append(result);
            // On the GUI thread, with the records already moved.
            inOrder = inOrder && QThread::currentThread() == qApp->thread()
                      && (result.moves.isEmpty() || meta->meta(result.moves.first().second));
        };
        {
            ActionRunner runner(trash, meta.get());
            QObject requester;
            auto gone = std::make_unique<QObject>();
            runner.move({url(path("a.png"))}, url(path("Sub")), &requester, collect);
            runner.duplicate({url(path("Sub/a.png"))}, &requester, collect); // after the move
            runner.move({url(path("c.png"))}, url(path("Sub")), gone.get(), collect);
            runner.trash({url(path("Sub/a copy.png"))}, &requester, collect);
            gone.reset();
            QCOMPARE(runner.pending(), 4);
            QTRY_COMPARE_WITH_TIMEOUT(runner.pending(), 0, 10000);
            // Destroyed while busy: the work is finished and the records move.
            runner.move({url(path("d.png"))}, url(path("Sub")), &requester, collect);
        }
        QVERIFY(inOrder);
        QCOMPARE(results.size(), 3); // the gone requester and the unfinished job hear nothing
        QCOMPARE(results[1].written, QList<QUrl>({url(path("Sub/a copy.png"))}));
        QCOMPARE(results[2].count, qint64(1));
        QCOMPARE(entries(path("Sub")), QStringList({"a.png", "c.png", "d.png"}));
        QVERIFY(meta->meta(url(path("Sub/d.png"))).has_value());
    }

    void clipboardContents()
    {
        writeImage(path("one.png"), 4, 4);
        write(path("Screen (1).png"), "x");
        QScopedPointer<QMimeData> single(FileActions::filesMimeData({url(path("one.png"))}));
        QCOMPARE(single->formats().first(), QStringLiteral("image/png"));
        QCOMPARE(single->data(QStringLiteral("image/png")), readAll(path("one.png")));

        QScopedPointer<QMimeData> two(
            FileActions::filesMimeData({url(path("one.png")), url(path("Screen (1).png"))}));
        QVERIFY(!two->hasFormat(QStringLiteral("image/png")));
        QCOMPARE(two->urls().size(), 2);

        QCOMPARE(FileActions::markdownText({url("/s/[draft] (2) é.png"), url("/s/README")}),
                 QStringLiteral("![\\[draft\\] (2) é](file:///s/%5Bdraft%5D%20%282%29%20%C3%A9.png)\n"
                                "![README](file:///s/README)"));
    }

    void withoutAFileManagerTheFoldersOpen()
    {
        // No session bus or no FileManager1 on it, as in a test run: each
        // folder opens once.
        const auto *bus = QDBusConnection::sessionBus().interface();
        if (bus && bus->isServiceRegistered(QStringLiteral("org.freedesktop.FileManager1")))
            QSKIP("a real file manager answers on this session bus");
        QDesktopServices::setUrlHandler(QStringLiteral("file"), this, "recordOpened");
        for (const char *name : {"a.png", "b.png", "Sub/c.png"})
            write(path(name), name);
        FileManager &manager = FileManager::shared();
        FileActions::showInFileManager({url(path("a.png")), url(path("b.png")), url(path("Sub/c.png"))}, manager);
        QTRY_COMPARE_WITH_TIMEOUT(opened.size(), 2, 10000);
        QCOMPARE(opened, QList<QUrl>({url(folder), url(path("Sub"))}));
        FileActions::getInfo(url(path("Sub/c.png")), manager);
        QTRY_COMPARE_WITH_TIMEOUT(opened.size(), 3, 10000);
        QCOMPARE(opened.last(), url(path("Sub")));
        QDesktopServices::unsetUrlHandler(QStringLiteral("file"));
    }

    void applicationsComeFromDesktopEntriesSortedByName()
    {
        const QString apps = qEnvironmentVariable("XDG_DATA_HOME") + QStringLiteral("/applications");
        QByteArray cache = "[MIME Cache]\nimage/png=";
        for (const char *name : {"zeta Viewer", "Alpha Paint", "Mid Editor"}) {
            const QByteArray file = "bw-test-" + QByteArray(name).left(3).toLower() + ".desktop";
            write(apps + "/" + file, "[Desktop Entry]\nType=Application\nName=" + QByteArray(name)
                                         + "\nExec=true %U\nMimeType=image/png;\n");
            cache += file + ";";
        }
        // As update-desktop-database writes it on a real system.
        write(apps + "/mimeinfo.cache", cache + "\n");
        writeImage(path("p.png"), 2, 2);

        QStringList ours;
        for (const AppChoice &choice : FileActions::applications(url(path("p.png")), AppLauncher::shared())) {
            if (choice.url.fileName().startsWith(QLatin1String("bw-test-")))
                ours << choice.name;
        }
        QCOMPARE(ours, QStringList({"Alpha Paint", "Mid Editor", "zeta Viewer"}));
    }
};

ISOLATED_GUI_TEST_MAIN(TestFileActions)
#include "test_fileactions.moc"
