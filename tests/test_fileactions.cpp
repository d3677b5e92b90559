#include "actions/fileactions.h"
#include "actions/safefiles.h"
#include "meta/metastore.h"
#include "platform/trash.h"
#include "support/badimages.h"
#include "support/files.h"
#include "support/isolatedmain.h"
#include "support/scriptedprompts.h"

#include <QClipboard>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDesktopServices>
#include <QDirIterator>
#include <QImage>
#include <QImageReader>
#include <QMimeData>
#include <QTemporaryDir>
#include <QTest>

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

void writePng(const QString &path, int w, int h, QImage::Format format = QImage::Format_RGB32)
{
    QImage image(w, h, format);
    image.fill(QColor(10, 200, 30, format == QImage::Format_ARGB32 ? 0 : 255));
    QVERIFY(image.save(path, "PNG"));
}

QUrl url(const QString &path) { return QUrl::fromLocalFile(path); }

// The rename dialog answers at once here, so its result is there on return.
std::optional<QUrl> renamed(const QUrl &file, TextPrompt &prompt, MetaStore *meta)
{
    std::optional<QUrl> result;
    FileActions::rename(file, prompt, meta, [&](const std::optional<QUrl> &url) { result = url; });
    return result;
}

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

private Q_SLOTS:
    void init()
    {
        dir = std::make_unique<QTemporaryDir>();
        folder = dir->path() + QStringLiteral("/shots");
        QDir().mkpath(folder);
        meta = std::make_unique<MetaStore>(dir->path() + QStringLiteral("/meta.json"));
    }

    void uniqueNamesNumberFromTwo()
    {
        write(path("shot.png"), "a");
        write(path("shot 2.png"), "b");
        QCOMPARE(FileActions::uniqueURL(url(path("free.png"))), url(path("free.png")));
        QCOMPARE(FileActions::uniqueURL(url(path("shot.png"))), url(path("shot 3.png")));
        // A name that already ends in a number gets a second one.
        QCOMPARE(FileActions::uniqueURL(url(path("shot 2.png"))), url(path("shot 2 2.png")));
        write(path("README"), "c");
        QCOMPARE(FileActions::uniqueURL(url(path("README"))), url(path("README 2")));
        write(path(".hidden"), "d");
        QCOMPARE(FileActions::uniqueURL(url(path(".hidden"))), url(path(".hidden 2")));
        write(path("archive.tar.gz"), "e");
        QCOMPARE(FileActions::uniqueURL(url(path("archive.tar.gz"))), url(path("archive.tar 2.gz")));
        // A dangling symlink occupies its name too.
        QVERIFY(::symlink("nowhere", QFile::encodeName(path("link.png")).constData()) == 0);
        QCOMPARE(FileActions::uniqueURL(url(path("link.png"))), url(path("link 2.png")));
    }

    void nameTakenBetweenCheckAndWriteTakesTheNextNumber()
    {
        write(path("a.png"), "original");
        int intrusions = 0;
        // Another program creates the chosen name right after we chose it, twice.
        const auto racingChooser = [&](const QString &wanted) {
            const QString chosen = SafeFiles::uniquePath(wanted);
            if (intrusions < 2) {
                ++intrusions;
                write(chosen, "intruder " + QByteArray::number(intrusions));
            }
            return chosen;
        };
        const QString copy = SafeFiles::copyUnique(path("a.png"), path("a copy.png"), racingChooser);
        QCOMPARE(copy, path("a copy 3.png"));
        QCOMPARE(readAll(path("a copy.png")), QByteArray("intruder 1"));
        QCOMPARE(readAll(path("a copy 2.png")), QByteArray("intruder 2"));
        QCOMPARE(readAll(copy), QByteArray("original"));

        intrusions = 0;
        write(path("b.png"), "to move");
        QDir().mkpath(path("sub"));
        const QString moved = SafeFiles::moveUnique(path("b.png"), path("sub/b.png"), racingChooser);
        QCOMPARE(moved, path("sub/b 3.png"));
        QCOMPARE(readAll(path("sub/b.png")), QByteArray("intruder 1"));
        QCOMPARE(readAll(moved), QByteArray("to move"));
        QVERIFY(!QFile::exists(path("b.png")));
    }

    void duplicateKeepsBytesAndNumbersCopies()
    {
        write(path("a.png"), "pixels");
        ::chmod(QFile::encodeName(path("a.png")).constData(), 0640);
        const time_t old = 1'600'000'000;
        setMtimeMs(path("a.png"), old * 1000 + 123);
        meta->update(url(path("a.png")), [](FileMeta &m) { m.app = QStringLiteral("Editor"); });

        for (int i = 0; i < 3; ++i)
            FileActions::duplicate({url(path("a.png"))});
        write(path("README"), "text");
        FileActions::duplicate({url(path("README"))});
        FileActions::duplicate({url(path("README"))});
        FileActions::duplicate({url(path("gone.png"))}); // vanished: skipped

        QCOMPARE(entries(folder), QStringList({"README", "README copy", "README copy 2", "a copy 2.png",
                                               "a copy 3.png", "a copy.png", "a.png"}));
        struct stat st;
        QVERIFY(::stat(QFile::encodeName(path("a copy 3.png")).constData(), &st) == 0);
        QCOMPARE(st.st_mode & 07777, mode_t(0640));
        QCOMPARE(st.st_mtim.tv_sec, old);
        QCOMPARE(readAll(path("a copy 3.png")), QByteArray("pixels"));
        QVERIFY(!meta->meta(url(path("a copy.png"))).has_value()); // copies get no record
    }

    void renameRefusesAnythingButAFreeSingleName()
    {
        write(path("a.png"), "A");
        write(path("taken.png"), "T");
        meta->update(url(path("a.png")), [](FileMeta &m) { m.text = QStringLiteral("hello"); });
        ScriptedPrompt prompt;

        prompt.answer = std::nullopt; // Cancel
        QVERIFY(!renamed(url(path("a.png")), prompt, meta.get()));
        QCOMPARE(prompt.asked.message, QStringLiteral("Rename \u201Ca.png\u201D"));
        QCOMPARE(prompt.asked.text, QStringLiteral("a.png"));
        QCOMPARE(prompt.asked.confirmButton, QStringLiteral("Rename"));

        const QString tooLong = QString(300, QLatin1Char('x')) + QStringLiteral(".png");
        for (const QString &bad : {QStringLiteral("taken.png"), QStringLiteral("../out.png"),
                                   QStringLiteral("sub/b.png"), QStringLiteral(".."), QStringLiteral("."),
                                   QStringLiteral("   "), QStringLiteral(" a.png "), tooLong}) {
            prompt.answer = bad;
            QVERIFY2(!renamed(url(path("a.png")), prompt, meta.get()), qPrintable(bad));
        }
        QCOMPARE(entries(folder), QStringList({"a.png", "taken.png"}));
        QCOMPARE(entries(dir->path()), QStringList({"shots"}));
        QCOMPARE(readAll(path("taken.png")), QByteArray("T"));

        prompt.answer = QStringLiteral("  b.png\n");
        QCOMPARE(renamed(url(path("a.png")), prompt, meta.get()), url(path("b.png")));
        QCOMPARE(readAll(path("b.png")), QByteArray("A"));
        QCOMPARE(meta->meta(url(path("b.png")))->text, QStringLiteral("hello"));
        QVERIFY(!meta->meta(url(path("a.png"))).has_value());
    }

    void moveCountsAndCarriesRecords()
    {
        QDir().mkpath(path("Sub"));
        write(path("a.png"), "new a");
        write(path("b.png"), "b");
        write(path("Sub/a.png"), "old a");
        meta->update(url(path("a.png")), [](FileMeta &m) { m.app = QStringLiteral("Viewer"); });

        const qint64 moved = FileActions::move(
            {url(path("a.png")), url(path("b.png")), url(path("Sub/a.png")), url(path("missing.png"))},
            url(path("Sub/")), meta.get());
        QCOMPARE(moved, qint64(2)); // Sub/a.png is already there, missing.png fails
        QCOMPARE(entries(path("Sub")), QStringList({"a 2.png", "a.png", "b.png"}));
        QCOMPARE(readAll(path("Sub/a.png")), QByteArray("old a"));
        QCOMPARE(readAll(path("Sub/a 2.png")), QByteArray("new a"));
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
        const time_t old = 1'500'000'000;
        setMtime(path("a.png"), old);
        meta->update(url(path("a.png")), [](FileMeta &m) { m.app = QStringLiteral("X"); });
        QDir().mkpath(path("folder"));

        const qint64 moved = FileActions::move({url(path("a.png")), url(path("folder"))},
                                               url(other.path()), meta.get());
        QCOMPARE(moved, qint64(1)); // folders do not cross file systems
        QCOMPARE(entries(other.path()), QStringList({"a 2.png", "a.png"}));
        QCOMPARE(readAll(other.filePath("a 2.png")), QByteArray(200000, 'q'));
        QCOMPARE(readAll(other.filePath("a.png")), QByteArray("already there"));
        QCOMPARE(entries(folder), QStringList({"folder"}));
        struct stat st;
        QVERIFY(::stat(QFile::encodeName(other.filePath("a 2.png")).constData(), &st) == 0);
        QCOMPARE(st.st_mtim.tv_sec, old);
        QCOMPARE(meta->meta(url(other.filePath("a 2.png")))->app, QStringLiteral("X"));

        // A source that cannot be removed makes the move fail as a whole:
        // the copy goes again. An immutable file stops even root.
        write(path("stuck.png"), "stuck");
        const int fd = ::open(QFile::encodeName(path("stuck.png")).constData(), O_RDONLY);
        int flags = 0;
        const bool immutable = ::ioctl(fd, FS_IOC_GETFLAGS, &flags) == 0
                               && (flags |= FS_IMMUTABLE_FL, ::ioctl(fd, FS_IOC_SETFLAGS, &flags) == 0);
        if (immutable) {
            QCOMPARE(FileActions::move({url(path("stuck.png"))}, url(other.path()), meta.get()), qint64(0));
            flags &= ~FS_IMMUTABLE_FL;
            ::ioctl(fd, FS_IOC_SETFLAGS, &flags);
            QCOMPARE(entries(other.path()), QStringList({"a 2.png", "a.png"}));
            QCOMPARE(readAll(path("stuck.png")), QByteArray("stuck"));
        }
        ::close(fd);
        if (!immutable)
            QSKIP("cannot make a file immutable here; the undo of a failed move is not exercised");
    }

    void trashIntoTheHomeTrash()
    {
        const QString homeTrash = dir->path() + QStringLiteral("/data/Trash");
        const QDateTime when(QDate(2026, 10, 8), QTime(5, 12, 49));
        FreedesktopTrash trash(homeTrash, [](const QString &) { return QStringLiteral("/"); },
                               [when] { return when; });
        write(path("a b%.png"), "first");
        meta->update(url(path("a b%.png")), [](FileMeta &m) { m.app = QStringLiteral("Keep"); });
        QCOMPARE(FileActions::trash({url(path("a b%.png")), url(path("missing.png"))}, trash), qint64(1));
        write(path("a b%.png"), "second");
        QDir().mkpath(path("Folder/inner"));
        QCOMPARE(FileActions::trash({url(path("a b%.png")), url(path("Folder"))}, trash), qint64(2));

        QCOMPARE(entries(folder), QStringList());
        QCOMPARE(entries(homeTrash + "/files"), QStringList({"Folder", "a b% 2.png", "a b%.png"}));
        QCOMPARE(entries(homeTrash + "/info"),
                 QStringList({"Folder.trashinfo", "a b% 2.png.trashinfo", "a b%.png.trashinfo"}));
        QCOMPARE(readAll(homeTrash + "/files/a b%.png"), QByteArray("first"));
        QCOMPARE(readAll(homeTrash + "/files/a b% 2.png"), QByteArray("second"));
        const QString canonical = QFileInfo(folder).canonicalFilePath();
        QCOMPARE(readAll(homeTrash + "/info/a b%.png.trashinfo"),
                 "[Trash Info]\nPath=" + QFile::encodeName(canonical + "/a b%.png").toPercentEncoding("/")
                     + "\nDeletionDate=2026-10-08T05:12:49\n");
        QVERIFY(QFileInfo(homeTrash + "/files/Folder/inner").isDir());
        // Trashing does not tell the metadata store.
        QCOMPARE(meta->meta(url(path("a b%.png")))->app, QStringLiteral("Keep"));
        QCOMPARE(QFileInfo(homeTrash).permissions() & 0x0077, QFileDevice::Permissions());

        // The session's Trash is the one under $XDG_DATA_HOME.
        write(path("c.png"), "c");
        QCOMPARE(FileActions::trash({url(path("c.png"))}), qint64(1));
        const QString sessionTrash = qEnvironmentVariable("XDG_DATA_HOME") + QStringLiteral("/Trash");
        QCOMPARE(readAll(sessionTrash + "/files/c.png"), QByteArray("c"));
        QVERIFY(readAll(sessionTrash + "/info/c.png.trashinfo").startsWith("[Trash Info]\nPath=/"));
    }

    void trashOnAnotherDriveUsesThatDrivesTrash()
    {
        // A pretend drive mounted at <tmp>/drive; the home Trash elsewhere.
        const QString drive = dir->path() + QStringLiteral("/drive");
        const QString homeTrash = dir->path() + QStringLiteral("/data/Trash");
        const auto mountRoot = [drive](const QString &p) {
            return p == drive || p.startsWith(drive + "/") ? drive : QStringLiteral("/");
        };
        const QString uid = QString::number(::getuid());
        FreedesktopTrash trash(homeTrash, mountRoot);
        write(drive + "/shots/x.png", "x");
        QVERIFY(trash.moveToTrash(drive + "/shots/x.png"));
        QCOMPARE(entries(drive + "/.Trash-" + uid + "/files"), QStringList({"x.png"}));
        QVERIFY(readAll(drive + "/.Trash-" + uid + "/info/x.png.trashinfo").contains("\nPath=shots/x.png\n"));
        QVERIFY(!QFile::exists(homeTrash + "/files/x.png"));

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

        // A drive whose top folder we cannot write keeps its files.
        if (::getuid() != 0) {
            const QString locked = dir->path() + QStringLiteral("/locked");
            write(locked + "/shots/w.png", "w");
            ::chmod(QFile::encodeName(locked).constData(), 0555);
            FreedesktopTrash lockedTrash(homeTrash, [locked](const QString &p) {
                return p.startsWith(locked) ? locked : QStringLiteral("/");
            });
            QVERIFY(!lockedTrash.moveToTrash(locked + "/shots/w.png"));
            ::chmod(QFile::encodeName(locked).constData(), 0755);
            QCOMPARE(readAll(locked + "/shots/w.png"), QByteArray("w"));
        }
    }

    void halfSizeAndJpegCopies()
    {
        writePng(path("big.png"), 1441, 901);
        writePng(path("thin.png"), 1, 500);
        writePng(path("tiny.png"), 3, 3);
        QImage photo(10, 10, QImage::Format_RGB32);
        photo.fill(Qt::red);
        QVERIFY(photo.save(path("x.jpg"), "JPEG"));
        write(path("notes.png"), "not an image");

        const QList<QUrl> halves = FileActions::resizeHalf(
            {url(path("big.png")), url(path("thin.png")), url(path("tiny.png")), url(path("x.jpg")),
             url(path("notes.png"))});
        QCOMPARE(halves, QList<QUrl>({url(path("big @50%.png")), url(path("tiny @50%.png")),
                                      url(path("x @50%.png"))}));
        QCOMPARE(QImageReader(path("big @50%.png")).size(), QSize(720, 450));
        QCOMPARE(QImageReader(path("tiny @50%.png")).size(), QSize(1, 1));
        QCOMPARE(QImageReader(path("x @50%.png")).format(), QByteArray("png"));
        FileActions::resizeHalf({url(path("big.png"))});
        QVERIFY(QFile::exists(path("big @50% 2.png")));

        QVERIFY(photo.save(path("y.JPG"), "JPEG"));
        QVERIFY(photo.save(path("z.jpeg"), "JPEG"));
        writePng(path("clear.png"), 4, 4, QImage::Format_ARGB32);
        const QList<QUrl> jpegs = FileActions::convertToJPG(
            {url(path("y.JPG")), url(path("z.jpeg")), url(path("x.jpg")), url(path("clear.png"))});
        QCOMPARE(jpegs, QList<QUrl>({url(path("z.jpg")), url(path("clear.jpg"))}));
        QCOMPARE(FileActions::convertToJPG({url(path("z.jpeg"))}), QList<QUrl>({url(path("z 2.jpg"))}));
        QVERIFY(QFile::exists(path("z.jpeg"))); // the source stays
        QCOMPARE(QImageReader(path("z 2.jpg")).format(), QByteArray("jpeg"));
        // Transparent pixels come out white, not black.
        QVERIFY(qGray(QImage(path("clear.jpg")).pixel(1, 1)) > 240);
        // Nothing half-written was left behind.
        for (const QString &name : entries(folder))
            QVERIFY2(!name.startsWith(QLatin1Char('.')), qPrintable(name));
    }

    void hugeImagesFailCleanly()
    {
        write(path("bomb.png"), BadImages::hugePng());
        QCOMPARE(QImageReader(path("bomb.png")).size(), QSize(30000, 30000));
        const QStringList before = entries(folder);
        QVERIFY(FileActions::resizeHalf({url(path("bomb.png"))}).isEmpty());
        QVERIFY(FileActions::convertToJPG({url(path("bomb.png"))}).isEmpty());
        QScopedPointer<QMimeData> data(FileActions::filesMimeData({url(path("bomb.png"))}));
        QVERIFY(!data->hasFormat(QStringLiteral("image/png")));
        QCOMPARE(entries(folder), before);
    }

    void clipboardContents()
    {
        writePng(path("one.png"), 4, 4);
        write(path("Screen (1).png"), "x");
        QScopedPointer<QMimeData> single(FileActions::filesMimeData({url(path("one.png"))}));
        QCOMPARE(single->formats().first(), QStringLiteral("image/png"));
        QCOMPARE(single->data(QStringLiteral("image/png")), readAll(path("one.png")));
        QCOMPARE(single->urls(), QList<QUrl>({url(path("one.png"))}));

        QScopedPointer<QMimeData> two(
            FileActions::filesMimeData({url(path("one.png")), url(path("Screen (1).png"))}));
        QVERIFY(!two->hasFormat(QStringLiteral("image/png")));
        QCOMPARE(two->urls().size(), 2);
        QCOMPARE(two->data(QStringLiteral("x-special/gnome-copied-files")),
                 "copy\n" + url(path("one.png")).toEncoded() + "\n"
                     + url(path("Screen (1).png")).toEncoded());

        QCOMPARE(FileActions::pathsText({url("/a/b c.png"), url("/d.png")}), QStringLiteral("/a/b c.png\n/d.png"));
        QCOMPARE(FileActions::pathsText({}), QString());
        QCOMPARE(FileActions::markdownText({url("/Users/a/Shots/Screen 1.png")}),
                 QStringLiteral("![Screen 1](file:///Users/a/Shots/Screen%201.png)"));
        QCOMPARE(FileActions::markdownText({url("/s/[draft] (2) é.png"), url("/s/README")}),
                 QStringLiteral("![\\[draft\\] (2) é](file:///s/%5Bdraft%5D%20%282%29%20%C3%A9.png)\n"
                                "![README](file:///s/README)"));

        FileActions::copyPaths({url("/x.png")});
        QCOMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("/x.png"));
    }

    void withoutAFileManagerTheFoldersOpen()
    {
        // No session bus or no FileManager1 on it, as in a test run: each
        // folder opens once.
        if (QDBusConnection::sessionBus().interface()
            && QDBusConnection::sessionBus().interface()->isServiceRegistered(
                QStringLiteral("org.freedesktop.FileManager1")))
            QSKIP("a real file manager answers on this session bus");
        opened.clear();
        QDesktopServices::setUrlHandler(QStringLiteral("file"), this, "recordOpened");
        write(path("a.png"), "a");
        write(path("b.png"), "b");
        write(path("Sub/c.png"), "c");
        FileActions::showInFinder({url(path("a.png")), url(path("b.png")), url(path("Sub/c.png"))});
        QTRY_COMPARE_WITH_TIMEOUT(opened.size(), 2, 10000);
        QCOMPARE(opened, QList<QUrl>({url(folder), url(path("Sub"))}));
        FileActions::getInfo(url(path("Sub/c.png")));
        QTRY_COMPARE_WITH_TIMEOUT(opened.size(), 3, 10000);
        QCOMPARE(opened.last(), url(path("Sub")));
        QDesktopServices::unsetUrlHandler(QStringLiteral("file"));
    }

    void applicationsComeFromDesktopEntriesSortedByName()
    {
        const QString apps = qEnvironmentVariable("XDG_DATA_HOME") + QStringLiteral("/applications");
        const auto entry = [&](const QString &file, const QString &name) {
            write(apps + "/" + file,
                  "[Desktop Entry]\nType=Application\nName=" + name.toUtf8()
                      + "\nExec=true %U\nIcon=/nonexistent/icon.png\nMimeType=image/png;\n");
        };
        entry(QStringLiteral("bw-test-zeta.desktop"), QStringLiteral("zeta Viewer"));
        entry(QStringLiteral("bw-test-alpha.desktop"), QStringLiteral("Alpha Paint"));
        entry(QStringLiteral("bw-test-mid.desktop"), QStringLiteral("Mid Editor"));
        // As update-desktop-database writes it on a real system.
        write(apps + "/mimeinfo.cache",
              "[MIME Cache]\nimage/png=bw-test-zeta.desktop;bw-test-alpha.desktop;bw-test-mid.desktop;\n");
        writePng(path("p.png"), 2, 2);

        QStringList ours;
        const QList<AppChoice> choices = FileActions::applications(url(path("p.png")));
        for (const AppChoice &choice : choices) {
            if (choice.url.fileName().startsWith(QLatin1String("bw-test-")))
                ours << choice.name;
        }
        QCOMPARE(ours, QStringList({"Alpha Paint", "Mid Editor", "zeta Viewer"}));
        for (int i = 1; i < choices.size(); ++i)
            QVERIFY(choices[i - 1].name.compare(choices[i].name, Qt::CaseInsensitive) <= 0);
    }
};

ISOLATED_GUI_TEST_MAIN(TestFileActions)
#include "test_fileactions.moc"
