#include "actions/actionrunner.h"
#include "actions/fileactions.h"
#include "files/safefiles.h"
#include "meta/metastore.h"
#include "platform/trash.h"
#include "support/files.h"
#include "support/isolatedmain.h"
#include "support/sandbox.h"
#include "support/scriptedprompts.h"

#include <QImageReader>
#include <QMimeData>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>
#include <QXmlStreamReader>

#include <unistd.h>

using namespace TestFiles;

namespace {

void write(const QString &path, const QByteArray &bytes) { Sandbox::writeFile(path, bytes); }

QUrl url(const QString &path) { return QUrl::fromLocalFile(path); }

bool chmodPath(const QString &path, mode_t mode) { return ::chmod(QFile::encodeName(path).constData(), mode) == 0; }

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
    QUrl file(const QString &name) const { return url(path(name)); }
    QString trashPath() const { return dir->path() + "/data/Trash"; }

private Q_SLOTS:
    void init()
    {
        dir = std::make_unique<QTemporaryDir>();
        folder = dir->path() + "/shots";
        QDir().mkpath(folder);
        meta = std::make_unique<MetaStore>(dir->path() + "/meta.json");
    }

    void uniqueNamesSurviveRacesAndDuplicatesKeepTheFile()
    {
        // A dangling symlink occupies its name too.
        QVERIFY(::symlink("nowhere", QFile::encodeName(path("link.png")).constData()) == 0);
        QCOMPARE(FileActions::uniqueURL(file("link.png")), file("link 2.png"));
        // Another program creates the chosen name right after we chose it, twice.
        write(path("a.png"), "original");
        int intrusions = 0;
        const auto racingChooser = [&](const QString &wanted) {
            const QString chosen = SafeFiles::uniquePath(wanted);
            if (intrusions++ % 3 < 2) // two in every three tries
                write(chosen, "intruder");
            return chosen;
        };
        QCOMPARE(SafeFiles::copyUnique(path("a.png"), path("a copy.png"), racingChooser), path("a copy 3.png"));
        QDir().mkpath(path("sub"));
        QCOMPARE(SafeFiles::moveUnique(path("a.png"), path("sub/a.png"), racingChooser), path("sub/a 3.png"));
        QVERIFY(readAll(path("a copy 3.png")) == "original" && readAll(path("sub/a 3.png")) == "original");

        // Duplicates keep bytes, mode and time, numbered past those there.
        write(path("dup/a.png"), "pixels");
        QVERIFY(chmodPath(path("dup/a.png"), 0640));
        setMtime(path("dup/a.png"), 1'600'000'000);
        write(path("dup/README"), "text");
        for (int i = 0; i < 2; ++i)
            (void)FileActions::duplicate({file("dup/a.png"), file("dup/README"), file("dup/gone.png")});
        QCOMPARE(entries(path("dup")),
                 QStringList({"README", "README copy", "README copy 2", "a copy 2.png", "a copy.png", "a.png"}));
        const QFileInfo copy(path("dup/a copy 2.png"));
        QCOMPARE(copy.permissions() & 0x0777, QFileDevice::ReadUser | QFileDevice::WriteUser | QFileDevice::ReadGroup);
        QVERIFY(copy.lastModified().toSecsSinceEpoch() == 1'600'000'000 && readAll(copy.filePath()) == "pixels");
    }

    void renameRefusesAnythingButAFreeSingleName()
    {
        for (const char *name : {"a.png", "taken.png", " c\n.png "})
            write(path(name), name);
        meta->update(file("a.png"), [](FileMeta &m) { m.text = QStringLiteral("hello"); });
        ScriptedPrompt prompt;
        const auto rename = [&](std::optional<QString> answer) {
            prompt.answer = answer;
            std::optional<QUrl> result = QUrl("unset:");
            FileActions::rename(file("a.png"), prompt, meta.get(), [&](auto renamed) { result = renamed; });
            return result;
        };
        QVERIFY(!rename(std::nullopt)); // Cancel
        for (const char *bad : {"taken.png", "../out.png", "sub/b.png", "..", "   "})
            QVERIFY2(!rename(QString::fromUtf8(bad)), bad);
        QCOMPARE(entries(folder), QStringList({" c\n.png ", "a.png", "taken.png"}));
        QVERIFY(entries(dir->path()) == QStringList{"shots"} && readAll(path("taken.png")) == "taken.png");

        // A name that begins or ends in white space, confirmed as it stands,
        // stays: trimming it is not the user's doing.
        QVERIFY(!FileActions::renameTo(file(" c\n.png "), " c\n.png ", meta.get()));
        QCOMPARE(readAll(path(" c\n.png ")), QByteArray(" c\n.png "));

        QVERIFY(rename("  b.png\n") == file("b.png") && readAll(path("b.png")) == "a.png");
        QVERIFY(!meta->meta(file("a.png")) && meta->meta(file("b.png"))->text == "hello");
    }

    void moveNumbersCollisionsAndSkipsFilesAlreadyThere()
    {
        for (const char *name : {"a.png", "b.png", "Sub/a.png"})
            write(path(name), name);
        // The same folder under another name.
        const QString link = dir->path() + "/link";
        QVERIFY(::symlink(QFile::encodeName(folder).constData(), QFile::encodeName(link).constData()) == 0);
        QVERIFY(FileActions::move({file("a.png"), url(link + "/b.png")}, url(link)).isEmpty());
        QCOMPARE(entries(folder), QStringList({"Sub", "a.png", "b.png"}));

        meta->update(file("a.png"), [](FileMeta &m) { m.app = "Viewer"; });
        const FileActions::Moves moves =
            FileActions::move({file("a.png"), file("b.png"), file("Sub/a.png"), file("missing.png")}, file("Sub/"));
        QCOMPARE(moves, FileActions::Moves({{file("a.png"), file("Sub/a 2.png")}, {file("b.png"), file("Sub/b.png")}}));
        QVERIFY(readAll(path("Sub/a.png")) == "Sub/a.png" && readAll(path("Sub/a 2.png")) == "a.png");
        QVERIFY(meta->meta(file("a.png")).has_value()); // the caller's to carry
        FileActions::carryRecords(moves, meta.get());
        QCOMPARE(meta->meta(file("Sub/a 2.png"))->app, "Viewer");
    }

    void trashKeepsTheRealPlaceAndShortensLongNames()
    {
        FreedesktopTrash trash(trashPath(), rootMount, [] { return QDateTime(QDate(2026, 10, 8), QTime(5, 12, 49)); });
        write(path("a b%.png"), "first");
        QCOMPARE(FileActions::trash({file("a b%.png"), file("missing.png")}, trash), qint64(1));
        write(path("a b%.png"), "second");
        QCOMPARE(FileActions::trash({file("a b%.png")}, trash), qint64(1));
        QCOMPARE(readAll(trashPath() + "/files/a b% 2.png"), QByteArray("second"));
        const QByteArray place = QFile::encodeName(QFileInfo(folder).canonicalFilePath() + "/");
        const auto pathLine = [&](const QByteArray &name) {
            return "\nPath=" + (place + name).toPercentEncoding("/") + "\n";
        };
        QCOMPARE(readAll(trashPath() + "/info/a b% 2.png.trashinfo"),
                 "[Trash Info]" + pathLine("a b%.png") + "DeletionDate=2026-10-08T05:12:49\n");
        QCOMPARE(QFileInfo(trashPath()).permissions() & 0x0077, QFileDevice::Permissions());

        // 250 bytes: a valid name, but "<name>.trashinfo" is not. Never cut
        // inside a character; the info file keeps the real place.
        const QString ascii = QString(246, QLatin1Char('x')) + ".png";
        const QString accented = QString(125, QChar(0x00E9)) + ".png"; // 254 bytes
        for (const QString &name : {ascii, ascii, accented}) {
            write(path(name), name.toUtf8());
            QVERIFY(trash.moveToTrash(path(name)));
        }
        const QStringList trashed = entries(trashPath() + "/files").filter(QRegularExpression("^x|^\\x{e9}"));
        QCOMPARE(trashed.size(), 3);
        for (const QString &entry : trashed) {
            QVERIFY2(entry.toUtf8().size() + 10 <= 255 && entry.endsWith(QLatin1String(".png"))
                         && !entry.contains(QChar::ReplacementCharacter),
                     qPrintable(entry));
            const QByteArray name = readAll(trashPath() + "/files/" + entry);
            QVERIFY(readAll(trashPath() + "/info/" + entry + ".trashinfo").contains(pathLine(name)));
        }
    }

    void homeTrashMayBeASymlinkToAFolderOfOurs()
    {
        const QString target = dir->path() + "/elsewhere";
        QVERIFY(QDir().mkpath(target) && QDir().mkpath(dir->path() + "/data"));
        QVERIFY(::symlink(QFile::encodeName(target).constData(), QFile::encodeName(trashPath()).constData()) == 0);
        FreedesktopTrash trash(trashPath(), rootMount);
        write(path("a.png"), "a");
        QVERIFY(trash.moveToTrash(path("a.png")) && readAll(target + "/files/a.png") == "a");

        // Not when others could write into it.
        write(path("b.png"), "b");
        QVERIFY(chmodPath(target, 0777) && !trash.moveToTrash(path("b.png")) && readAll(path("b.png")) == "b");
    }

    void trashOnAnotherDriveUsesThatDrivesTrash()
    {
        // Pretend drives mounted at <tmp>/drive and <tmp>/other; the home Trash elsewhere.
        const QString drive = dir->path() + "/drive", other = dir->path() + "/other";
        FreedesktopTrash trash(trashPath(), [drive, other](const QString &p) {
            const auto under = [&p](const QString &root) { return p == root || p.startsWith(root + "/"); };
            return under(drive) ? drive : under(other) ? other : QStringLiteral("/");
        });
        const QString uid = QString::number(::getuid());
        write(drive + "/shots/x.png", "x");
        QVERIFY(trash.moveToTrash(drive + "/shots/x.png"));
        QVERIFY(readAll(drive + "/.Trash-" + uid + "/info/x.png.trashinfo").contains("\nPath=shots/x.png\n"));

        // A drive where no Trash can be made keeps its files: no silent
        // copy into the home Trash.
        write(other + "/.Trash-" + uid, "a file where the folder would be");
        write(other + "/w.png", "w");
        QVERIFY(!trash.moveToTrash(other + "/w.png") && readAll(other + "/w.png") == "w");
    }

    // A too-large file and transparency in a JPEG copy are the decode
    // limits test's.
    void halfSizeAndJpegCopies()
    {
        writeImage(path("big.png"), {1441, 901});
        writeImage(path("tiny.png"), {3, 3});
        for (const char *name : {"x.jpg", "y.JPG", "z.jpeg"})
            writeImage(path(name), {10, 10}, Qt::green, "JPEG");
        QCOMPARE(FileActions::resizeHalf({file("big.png"), file("tiny.png"), file("x.jpg")}),
                 QList<QUrl>({file("big @50%.png"), file("tiny @50%.png"), file("x @50%.png")}));
        QCOMPARE(QImageReader(path("big @50%.png")).size(), QSize(720, 450));
        QCOMPARE(FileActions::convertToJPG({file("y.JPG"), file("z.jpeg"), file("big.png")}),
                 QList<QUrl>({file("z.jpg"), file("big.jpg")}));
        QCOMPARE(FileActions::convertToJPG({file("z.jpeg")}), QList<QUrl>({file("z 2.jpg")}));
        // The sources stay; nothing half-written was left behind.
        QVERIFY(QFile::exists(path("z.jpeg")) && QFile::exists(path("big.png"))
                && QDir(folder).entryList({".*"}, QDir::Hidden | QDir::Files).isEmpty());
    }

    void runnerHandsResultsBackOnTheGuiThread()
    {
        FreedesktopTrash trash(trashPath(), rootMount);
        for (const char *name : {"a.png", "d.png", "Sub/x.png"}) {
            write(path(name), name);
            meta->update(file(name), [](FileMeta &m) { m.app = "Term"; });
        }
        QStringList results; // "!" when off the GUI thread or before the records moved
        const auto collect = [&](const FileWorkResult &r) {
            const bool moved = r.moves.isEmpty() || meta->meta(r.moves.first().second);
            results << names(r.written).join(',') + '/' + QString::number(r.count)
                           + (moved && QThread::currentThread() == thread() ? "" : "!");
        };
        {
            ActionRunner runner(trash, meta.get());
            QObject requester;
            runner.move({file("a.png")}, file("Sub"), &requester, collect);
            runner.duplicate({file("Sub/a.png")}, &requester, collect); // after the move
            runner.trash({file("Sub/a copy.png")}, &requester, collect);
            QCOMPARE(runner.pending(), 3);
            QTRY_COMPARE_WITH_TIMEOUT(runner.pending(), 0, 10000);
            // Destroyed while busy: the work is finished and the records
            // move, but the unfinished job hears nothing.
            runner.move({file("d.png")}, file("Sub"), &requester, collect);
        }
        QCOMPARE(results, (QStringList{"/1", "a copy.png/1", "/1"}));
        QCOMPARE(entries(path("Sub")), QStringList({"a.png", "d.png", "x.png"}));
        QVERIFY(meta->meta(file("Sub/d.png")).has_value());
    }

    // What Copy and a drag carry: one image as its PNG bytes; a name that is
    // not UTF-8 keeps its bytes in the URI list and reads as text with a
    // stand-in. (Other names, as another program pastes them, are
    // test_clipboard's.)
    void clipboardFormatsKeepEveryNameWhole()
    {
        writeImage(path("one.png"), {4, 4});
        const QScopedPointer<QMimeData> one(FileActions::filesMimeData({file("one.png")}));
        QVERIFY(one->formats().first() == "image/png" && one->data("image/png") == readAll(path("one.png")));
        const QByteArray encoded = "file://" + QFile::encodeName(folder).toPercentEncoding("/") + "/raw%FF.png";
        QScopedPointer<QMimeData> data(FileActions::filesMimeData({file("one.png"), QUrl::fromEncoded(encoded)}));
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
        const auto place = [](const QByteArray &uri) {
            return QString::fromLatin1(QByteArray::fromPercentEncoding(uri)) + '|';
        };
        QList<QUrl> files{QUrl::fromEncoded("file:///s/raw%FF.png")};
        QStringList expected{"file:///s/raw\u00ff.png|raw" + QString(QChar::ReplacementCharacter)};
        for (const char *name : {"a\n\nb.png", "[draft] (2) \u00e9.png", "x](y) ![z.png", "back\\slash.png",
                                 "`c` *e* _u_ <b> &amp; ~s~.png", "tab\tcr\r.png", "100%.png", "README"}) {
            files.append(url("/s/" + QString::fromUtf8(name)));
            const QString alt = SafeFiles::splitName(QString::fromUtf8(name)).stem;
            expected.append(place(files.last().toEncoded())
                            + QString(alt).replace(QRegularExpression("[\\t\\n\\r]"), " "));
        }
        if (QStandardPaths::findExecutable("cmark").isEmpty())
            QSKIP("cmark is not installed (setup.sh test)");
        QProcess cmark;
        cmark.start("cmark", {"--to", "xml"});
        cmark.write(FileActions::markdownText(files).toUtf8());
        cmark.closeWriteChannel();
        QVERIFY(cmark.waitForFinished());
        // Each image's destination and its alt text; markup inside the alt
        // text would change what it reads as.
        QXmlStreamReader xml(cmark.readAllStandardOutput());
        QStringList read;
        int paragraphs = 0;
        const QRegularExpression indent("\\n *"); // the XML's own, between elements
        while (xml.readNext() != QXmlStreamReader::EndDocument && !xml.hasError()) {
            paragraphs += xml.isStartElement() && xml.name() == QLatin1String("paragraph");
            if (xml.isStartElement() && xml.name() == QLatin1String("image")) {
                const QString destination = place(xml.attributes().value("destination").toUtf8());
                read.append(destination + xml.readElementText(QXmlStreamReader::IncludeChildElements).remove(indent));
            }
        }
        QVERIFY(!xml.hasError() && paragraphs == 1);
        QCOMPARE(read, expected);
    }
};

ISOLATED_GUI_TEST_MAIN(TestFileActions)
#include "test_fileactions.moc"
