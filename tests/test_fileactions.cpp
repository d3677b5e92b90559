#include "actions/actionrunner.h"
#include "actions/fileactions.h"
#include "files/safefiles.h"
#include "meta/metastore.h"
#include "platform/trash.h"
#include "support/badimages.h"
#include "support/files.h"
#include "support/isolatedmain.h"
#include "support/sandbox.h"
#include "support/scriptedprompts.h"

#include <QImageReader>
#include <QImageWriter>
#include <QMimeData>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>
#include <QXmlStreamReader>

#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

using namespace TestFiles;

namespace {

void write(const QString &path, const QByteArray &bytes) { Sandbox::writeFile(path, bytes); }

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

    std::unique_ptr<QTemporaryDir> dir;
    std::unique_ptr<MetaStore> meta;
    QString folder;

    QString path(const QString &name) const { return folder + QLatin1Char('/') + name; }
    QString trashPath() const { return dir->path() + "/data/Trash"; }

private Q_SLOTS:
    void init()
    {
        dir = std::make_unique<QTemporaryDir>();
        folder = dir->path() + "/shots";
        QDir().mkpath(folder);
        meta = std::make_unique<MetaStore>(dir->path() + "/meta.json");
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
        setMtime(path("a.png"), 1'600'000'000);
        write(path("README"), "text");
        for (int i = 0; i < 2; ++i)
            (void)FileActions::duplicate({url(path("a.png")), url(path("README")), url(path("gone.png"))});
        QCOMPARE(entries(folder),
                 QStringList({"README", "README copy", "README copy 2", "a copy 2.png", "a copy.png", "a.png"}));
        const QFileInfo copy(path("a copy 2.png"));
        QCOMPARE(copy.permissions() & 0x0777, QFileDevice::ReadUser | QFileDevice::WriteUser | QFileDevice::ReadGroup);
        QCOMPARE(copy.lastModified().toSecsSinceEpoch(), 1'600'000'000);
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
            std::optional<QUrl> result = QUrl("unset:");
            FileActions::rename(url(path("a.png")), prompt, meta.get(), [&](auto renamed) { result = renamed; });
            return result;
        };

        QVERIFY(!rename(std::nullopt)); // Cancel
        for (const char *bad : {"taken.png", "../out.png", "sub/b.png", "..", "   "})
            QVERIFY2(!rename(QString::fromUtf8(bad)), bad);
        QCOMPARE(entries(folder), QStringList({"a.png", "taken.png"}));
        QCOMPARE(entries(dir->path()), QStringList({"shots"}));
        QCOMPARE(readAll(path("taken.png")), QByteArray("T"));

        // A name that begins or ends in white space, confirmed as it stands,
        // stays: trimming it is not the user's doing.
        write(path(" c\n.png "), "C");
        QVERIFY(!FileActions::renameTo(url(path(" c\n.png ")), " c\n.png ", meta.get()));
        QCOMPARE(readAll(path(" c\n.png ")), QByteArray("C"));
        QFile::remove(path(" c\n.png "));

        QCOMPARE(rename("  b.png\n"), url(path("b.png")));
        QCOMPARE(readAll(path("b.png")), QByteArray("A"));
        QCOMPARE(meta->meta(url(path("b.png")))->text, "hello");
        QVERIFY(!meta->meta(url(path("a.png"))).has_value());
    }

    void moveNumbersCollisionsAndSkipsFilesAlreadyThere()
    {
        write(path("a.png"), "new a");
        write(path("b.png"), "b");
        write(path("Sub/a.png"), "old a");
        // The same folder under another name.
        const QString link = dir->path() + "/link";
        QVERIFY(::symlink(QFile::encodeName(folder).constData(), QFile::encodeName(link).constData()) == 0);
        QVERIFY(FileActions::move({url(path("a.png")), url(link + "/b.png")}, url(link)).isEmpty());
        QCOMPARE(entries(folder), QStringList({"Sub", "a.png", "b.png"}));

        meta->update(url(path("a.png")), [](FileMeta &m) { m.app = "Viewer"; });
        const FileActions::Moves moves = FileActions::move(
            {url(path("a.png")), url(path("b.png")), url(path("Sub/a.png")), url(path("missing.png"))},
            url(path("Sub/")));
        QCOMPARE(moves, FileActions::Moves({{url(path("a.png")), url(path("Sub/a 2.png"))},
                                            {url(path("b.png")), url(path("Sub/b.png"))}}));
        QCOMPARE(readAll(path("Sub/a.png")), QByteArray("old a"));
        QCOMPARE(readAll(path("Sub/a 2.png")), QByteArray("new a"));
        QVERIFY(meta->meta(url(path("a.png"))).has_value()); // the caller's to carry
        FileActions::carryRecords(moves, meta.get());
        QCOMPARE(meta->meta(url(path("Sub/a 2.png")))->app, "Viewer");
    }

    void moveAcrossFileSystems()
    {
        if (!QFileInfo("/dev/shm").isWritable() || deviceOf("/dev/shm") == deviceOf(folder))
            QSKIP("no second writable file system (/dev/shm) here");
        QTemporaryDir other("/dev/shm/brindlewick-test-XXXXXX");
        QVERIFY(other.isValid());
        write(path("a.png"), QByteArray(200000, 'q'));
        write(other.filePath("a.png"), "already there");
        setMtime(path("a.png"), 1'500'000'000);
        QDir().mkpath(path("folder"));
        // Folders do not cross file systems.
        QCOMPARE(FileActions::move({url(path("a.png")), url(path("folder"))}, url(other.path())).size(), 1);
        QCOMPARE(readAll(other.filePath("a 2.png")), QByteArray(200000, 'q'));
        QCOMPARE(QFileInfo(other.filePath("a 2.png")).lastModified().toSecsSinceEpoch(), 1'500'000'000);
        QCOMPARE(entries(folder), QStringList({"folder"}));

        // A source that cannot be removed (immutable stops even root) fails
        // the move as a whole: the copy goes again.
        write(path("stuck.png"), "stuck");
        const int fd = ::open(QFile::encodeName(path("stuck.png")).constData(), O_RDONLY);
        int flags = 0;
        const bool immutable = ::ioctl(fd, FS_IOC_GETFLAGS, &flags) == 0
                               && (flags |= FS_IMMUTABLE_FL, ::ioctl(fd, FS_IOC_SETFLAGS, &flags) == 0);
        if (immutable) {
            QVERIFY(FileActions::move({url(path("stuck.png"))}, url(other.path())).isEmpty());
            flags &= ~FS_IMMUTABLE_FL;
            ::ioctl(fd, FS_IOC_SETFLAGS, &flags);
        }
        ::close(fd);
        QCOMPARE(entries(other.path()), QStringList({"a 2.png", "a.png"}));
        if (!immutable)
            QSKIP("cannot make a file immutable here; the undo of a failed move is not exercised");
    }

    void trashKeepsTheRealPlaceAndShortensLongNames()
    {
        const QDateTime when(QDate(2026, 10, 8), QTime(5, 12, 49));
        FreedesktopTrash trash(trashPath(), rootMount, [when] { return when; });
        write(path("a b%.png"), "first");
        QCOMPARE(FileActions::trash({url(path("a b%.png")), url(path("missing.png"))}, trash), qint64(1));
        write(path("a b%.png"), "second");
        QCOMPARE(FileActions::trash({url(path("a b%.png"))}, trash), qint64(1));
        QCOMPARE(readAll(trashPath() + "/files/a b% 2.png"), QByteArray("second"));
        const QString canonical = QFileInfo(folder).canonicalFilePath();
        const auto pathLine = [&](const QString &name) {
            return "\nPath=" + QFile::encodeName(canonical + "/" + name).toPercentEncoding("/") + "\n";
        };
        QCOMPARE(readAll(trashPath() + "/info/a b% 2.png.trashinfo"),
                 "[Trash Info]" + pathLine("a b%.png") + "DeletionDate=2026-10-08T05:12:49\n");
        QCOMPARE(QFileInfo(trashPath()).permissions() & 0x0077, QFileDevice::Permissions());

        // 250 bytes: a valid name, but "<name>.trashinfo" is not.
        const QString ascii = QString(246, QLatin1Char('x')) + ".png";
        const QString accented = QString(125, QChar(0x00E9)) + ".png"; // 254 bytes
        for (const QString &name : {ascii, ascii, accented}) {
            write(path(name), name.toUtf8());
            QVERIFY(trash.moveToTrash(path(name)));
        }
        QSet<QByteArray> contents;
        for (const QString &entry : entries(trashPath() + "/files")) {
            if (entry.startsWith(QLatin1String("a b%")))
                continue;
            // Never cut inside a character; the info file keeps the real place.
            QVERIFY2(entry.toUtf8().size() + 10 <= 255 && entry.endsWith(QLatin1String(".png")), qPrintable(entry));
            QVERIFY(!entry.contains(QChar::ReplacementCharacter));
            const QByteArray name = readAll(trashPath() + "/files/" + entry);
            contents.insert(name);
            QVERIFY(readAll(trashPath() + "/info/" + entry + ".trashinfo").contains(pathLine(name)));
        }
        QCOMPARE(entries(trashPath() + "/files").size(), 5);
        QCOMPARE(contents, QSet<QByteArray>({ascii.toUtf8(), accented.toUtf8()}));
    }

    void homeTrashMayBeASymlinkToAFolderOfOurs()
    {
        const QString target = dir->path() + "/elsewhere";
        QDir().mkpath(target);
        QDir().mkpath(dir->path() + "/data");
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
        // Pretend drives mounted at <tmp>/drive and <tmp>/other; the home Trash elsewhere.
        const QString drive = dir->path() + "/drive";
        const QString other = dir->path() + "/other";
        const auto mountRoot = [drive, other](const QString &p) {
            const auto under = [&p](const QString &root) { return p == root || p.startsWith(root + "/"); };
            return under(drive) ? drive : under(other) ? other : QStringLiteral("/");
        };
        const QString uid = QString::number(::getuid());
        FreedesktopTrash trash(trashPath(), mountRoot);
        // An administrator's shared .Trash counts only with the sticky bit.
        QDir().mkpath(drive + "/.Trash");
        ::chmod(QFile::encodeName(drive + "/.Trash").constData(), 0777);
        for (const char *name : {"x.png", "y.png"}) {
            write(drive + "/shots/" + name, name);
            QVERIFY(trash.moveToTrash(drive + "/shots/" + name));
            ::chmod(QFile::encodeName(drive + "/.Trash").constData(), 01777);
        }
        QVERIFY(readAll(drive + "/.Trash-" + uid + "/info/x.png.trashinfo").contains("\nPath=shots/x.png\n"));
        QCOMPARE(readAll(drive + "/.Trash/" + uid + "/files/y.png"), QByteArray("y.png"));
        QCOMPARE(entries(trashPath() + "/files"), QStringList());

        // A drive where no Trash can be made keeps its files: no silent
        // copy into the home Trash.
        write(other + "/.Trash-" + uid, "a file where the folder would be");
        write(other + "/w.png", "w");
        QVERIFY(!trash.moveToTrash(other + "/w.png"));
        QCOMPARE(readAll(other + "/w.png"), QByteArray("w"));
    }

    // A too-large file and transparency in a JPEG copy are the decode
    // limits test's.
    void halfSizeAndJpegCopies()
    {
        writeImage(path("big.png"), 1441, 901);
        writeImage(path("tiny.png"), 3, 3);
        writeImage(path("x.jpg"), 10, 10, "JPEG");
        QCOMPARE(FileActions::resizeHalf({url(path("big.png")), url(path("tiny.png")), url(path("x.jpg"))}),
                 QList<QUrl>({url(path("big @50%.png")), url(path("tiny @50%.png")), url(path("x @50%.png"))}));
        QCOMPARE(QImageReader(path("big @50%.png")).size(), QSize(720, 450));

        writeImage(path("y.JPG"), 4, 4, "JPEG");
        writeImage(path("z.jpeg"), 4, 4, "JPEG");
        QCOMPARE(FileActions::convertToJPG({url(path("y.JPG")), url(path("z.jpeg")), url(path("big.png"))}),
                 QList<QUrl>({url(path("z.jpg")), url(path("big.jpg"))}));
        QCOMPARE(FileActions::convertToJPG({url(path("z.jpeg"))}), QList<QUrl>({url(path("z 2.jpg"))}));
        // The sources stay; nothing half-written was left behind.
        QVERIFY(QFile::exists(path("z.jpeg")) && QFile::exists(path("big.png")));
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
        for (const char *name : {"a.png", "d.png"}) {
            write(path(name), name);
            meta->update(url(path(name)), [](FileMeta &m) { m.app = "Term"; });
        }
        QDir().mkpath(path("Sub"));
        QList<FileWorkResult> results;
        bool inOrder = true;
        const auto collect = [&](const FileWorkResult &result) {
            results.append(result);
            // On the GUI thread, with the records already moved.
            inOrder = inOrder && QThread::currentThread() == QCoreApplication::instance()->thread()
                      && (result.moves.isEmpty() || meta->meta(result.moves.first().second));
        };
        {
            ActionRunner runner(trash, meta.get());
            QObject requester;
            runner.move({url(path("a.png"))}, url(path("Sub")), &requester, collect);
            runner.duplicate({url(path("Sub/a.png"))}, &requester, collect); // after the move
            runner.trash({url(path("Sub/a copy.png"))}, &requester, collect);
            QCOMPARE(runner.pending(), 3);
            QTRY_COMPARE_WITH_TIMEOUT(runner.pending(), 0, 10000);
            // Destroyed while busy: the work is finished and the records move.
            runner.move({url(path("d.png"))}, url(path("Sub")), &requester, collect);
        }
        QVERIFY(inOrder);
        QCOMPARE(results.size(), 3); // the unfinished job hears nothing
        QCOMPARE(results[1].written, QList<QUrl>({url(path("Sub/a copy.png"))}));
        QCOMPARE(results[2].count, qint64(1));
        QCOMPARE(entries(path("Sub")), QStringList({"a.png", "d.png"}));
        QVERIFY(meta->meta(url(path("Sub/d.png"))).has_value());
    }

    // What Copy and a drag carry: one image as its PNG bytes; a name that is
    // not UTF-8 keeps its bytes in the URI list and reads as text with a
    // stand-in. (Other names, as another program pastes them, are
    // test_clipboard's.)
    void clipboardFormatsKeepEveryNameWhole()
    {
        writeImage(path("one.png"), 4, 4);
        QScopedPointer<QMimeData> single(FileActions::filesMimeData({url(path("one.png"))}));
        QCOMPARE(single->formats().first(), "image/png");
        QCOMPARE(single->data("image/png"), readAll(path("one.png")));

        const QByteArray encoded = "file://" + QFile::encodeName(folder).toPercentEncoding("/") + "/raw%FF.png";
        QScopedPointer<QMimeData> data(FileActions::filesMimeData({url(path("one.png")), QUrl::fromEncoded(encoded)}));
        QVERIFY(!data->hasFormat("image/png"));
        QCOMPARE(QByteArray::fromPercentEncoding(data->data("text/uri-list")),
                 "file://" + QFile::encodeName(path("one.png")) + "\r\nfile://" + QFile::encodeName(folder)
                     + "/raw\xFF.png\r\n");
        QCOMPARE(data->text(), path("one.png") + "\n" + path("raw") + QChar::ReplacementCharacter + ".png");
    }

    // Copy as Markdown gives one image link per file, whatever the name, as
    // a CommonMark reader sees it: the alt text reads as the name and the
    // link leads to the file.
    void markdownLinksStayOneImageEach()
    {
        const QStringList names = {
            "a\n\nb.png",    "[draft] (2) é.png", "x](y) ![z.png", "back\\slash.png", "`c` *e* _u_ <b> &amp; ~s~.png",
            "tab\tcr\r.png", "100%.png",          "README"};
        QList<QUrl> files;
        QStringList alts;
        for (const QString &name : names) {
            files.append(url("/s/" + name));
            QString alt = SafeFiles::splitName(name).stem;
            alts.append(alt.replace(QRegularExpression("[\\t\\n\\r]"), " "));
        }
        files.append(QUrl::fromEncoded("file:///s/raw%FF.png"));
        alts.append(QStringLiteral("raw") + QChar::ReplacementCharacter);
        const QString markdown = FileActions::markdownText(files);

        if (QStandardPaths::findExecutable("cmark").isEmpty())
            QSKIP("cmark is not installed (setup.sh test)");
        QProcess cmark;
        cmark.start("cmark", {"--to", "xml"});
        cmark.write(markdown.toUtf8());
        cmark.closeWriteChannel();
        QVERIFY(cmark.waitForFinished());
        // Each image's destination and its alt text; any other markup inside
        // the alt text shows up as {name}.
        QXmlStreamReader xml(cmark.readAllStandardOutput());
        QList<QByteArray> targets;
        QStringList read;
        int paragraphs = 0;
        int depth = -1;
        while (!xml.atEnd()) {
            xml.readNext();
            if (xml.isStartElement()) {
                if (xml.name() == QLatin1String("paragraph"))
                    ++paragraphs;
                if (depth >= 0) {
                    ++depth;
                    if (xml.name() != QLatin1String("text"))
                        read.last() += QStringLiteral("{%1}").arg(xml.name());
                } else if (xml.name() == QLatin1String("image")) {
                    depth = 0;
                    targets.append(xml.attributes().value(QLatin1String("destination")).toUtf8());
                    read.append(QString());
                }
            } else if (xml.isEndElement() && depth >= 0) {
                --depth;
            } else if (xml.isCharacters() && depth > 0) {
                read.last() += xml.text();
            }
        }
        QVERIFY(!xml.hasError() && paragraphs == 1);
        QCOMPARE(read, alts);
        QCOMPARE(targets.size(), files.size());
        for (qsizetype i = 0; i < files.size(); ++i)
            QCOMPARE(QByteArray::fromPercentEncoding(targets[i]),
                     QByteArray::fromPercentEncoding(files[i].toEncoded()));
    }
};

ISOLATED_GUI_TEST_MAIN(TestFileActions)
#include "test_fileactions.moc"
