// A file whose name is not UTF-8 ("shot-\xFF.png") beside the file its lossy
// text spells ("shot-\uFFFD.png"): the shelf shows both, and everything done
// to one reaches that one only.

#include "actions/fileactions.h"
#include "files/localpaths.h"
#include "meta/metastore.h"
#include "meta/thumbs.h"
#include "model/listing.h"
#include "platform/applauncher.h"
#include "platform/trash.h"
#include "support/colourimages.h"
#include "support/sandbox.h"

#include <QGuiApplication>
#include <QTest>

#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace {

const QString lossyName = QStringLiteral("shot-\uFFFD.png");

bool exists(const QByteArray &path) { return ::access(path.constData(), F_OK) == 0; }

QByteArray readBytes(const QByteArray &path)
{
    std::ifstream in(path.constData(), std::ios::binary);
    return QByteArray::fromStdString(std::string(std::istreambuf_iterator<char>(in), {}));
}

// Whether the picture at `path` is all `colour`.
bool shows(const QByteArray &path, Qt::GlobalColor colour)
{
    return ColourImages::shows(QImage::fromData(readBytes(path)), colour);
}

QByteArray bytesOf(const QUrl &url) { return LocalPaths::pathBytes(LocalPaths::localPath(url)); }

} // namespace

class TestByteNames : public QObject
{
    Q_OBJECT

    std::unique_ptr<Sandbox> box;
    QString home;
    QByteArray base, raw, twin;
    QUrl rawUrl, twinUrl;

private Q_SLOTS:
    void init()
    {
        box = std::make_unique<Sandbox>();
        home = box->home();
        base = QFile::encodeName(home);
        raw = base + "/shot-\xFF.png";
        twin = base + "/shot-\xEF\xBF\xBD.png";
        for (const auto &[name, colour] : {std::pair{raw, Qt::red}, {twin, Qt::blue}})
            QVERIFY(ColourImages::write(home + "/new.png", colour)
                    && ::rename(QFile::encodeName(home + "/new.png"), name) == 0);
        const QList<QUrl> listed = listImages(home, 400);
        for (const QUrl &url : listed)
            (bytesOf(url) == raw ? rawUrl : twinUrl) = url;
        QVERIFY(listed.size() == 2 && !rawUrl.isEmpty() && !twinUrl.isEmpty());
    }
    void cleanup()
    {
        std::filesystem::remove_all(box->path().toStdString()); // names QTemporaryDir cannot spell
        box.reset();
    }

    void listedDrawnRecordedAndActedOnAsItself()
    {
        QVERIFY(rawUrl.fileName() == lossyName && twinUrl.fileName() == lossyName && countImages(home, 100) == 2);
        QVERIFY(ColourImages::shows(Thumbs::makeThumbnail(rawUrl, 4).value_or(QImage()), Qt::red)
                && ColourImages::shows(Thumbs::makeThumbnail(twinUrl, 4).value_or(QImage()), Qt::blue));

        // Each keeps its own record, under a key that survives the file.
        {
            MetaStore store(home + "/meta.json");
            QTRY_VERIFY(store.isLoaded());
            store.update(rawUrl, [](FileMeta &m) { m.app = "Raw"; });
            store.update(twinUrl, [](FileMeta &m) { m.app = "Twin"; });
            QVERIFY(store.flush());
        }
        MetaStore again(home + "/meta.json");
        QTRY_VERIFY(again.isLoaded());
        QCOMPARE(MetaStore::recordName(rawUrl), "/shot-%FF.png");
        QVERIFY(again.meta(rawUrl)->app == "Raw" && again.meta(twinUrl)->app == "Twin");

        // Every action reaches that file only. Confirming the name as shown
        // changes nothing (its text is the twin's).
        QVERIFY(!FileActions::renameTo(rawUrl, lossyName, nullptr));
        const QList<QPair<QList<QUrl>, QByteArray>> made = {{FileActions::duplicate({rawUrl}), "/shot-\xFF copy.png"},
                                                            {FileActions::resizeHalf({rawUrl}), "/shot-\xFF @50%.png"},
                                                            {FileActions::convertToJPG({rawUrl}), "/shot-\xFF.jpg"}};
        for (const auto &[copies, name] : made)
            QVERIFY2(copies.size() == 1 && bytesOf(copies[0]) == base + name && shows(base + name, Qt::red), name);
        QCOMPARE(QImage::fromData(readBytes(base + "/shot-\xFF @50%.png")).width(), 48);
        QVERIFY(FileActions::renameTo(made[0].first[0], "renamed.png", nullptr));
        QVERIFY(shows(base + "/renamed.png", Qt::red) && !exists(base + "/shot-\xFF copy.png"));

        QVERIFY(QDir().mkpath(home + "/Sub"));
        const FileActions::Moves moves = FileActions::move({rawUrl}, QUrl::fromLocalFile(home + "/Sub"));
        QVERIFY(moves.size() == 1 && bytesOf(moves[0].second) == base + "/Sub/shot-\xFF.png");
        QVERIFY(shows(base + "/Sub/shot-\xFF.png", Qt::red) && !exists(raw));

        // Into the Trash under its own bytes; the info file records them
        // percent-encoded, as file managers read them back.
        const QString trashDir = qEnvironmentVariable("XDG_DATA_HOME") + "/Trash";
        FreedesktopTrash trash(trashDir, [](const QString &) { return QStringLiteral("/"); });
        const QByteArray trashBytes = QFile::encodeName(trashDir);
        QVERIFY(FileActions::trash({moves[0].second}, trash) == 1
                && shows(trashBytes + "/files/shot-\xFF.png", Qt::red));
        const QByteArray info = readBytes(trashBytes + "/info/shot-\xFF.png.trashinfo");
        QVERIFY2(info.contains("\nPath=" + (base + "/Sub/").toPercentEncoding("/") + "shot-%FF.png\n"), info);

        // The twin was never touched, and nothing took its name.
        QVERIFY(shows(twin, Qt::blue));
        QCOMPARE(QDir(home).entryList({QStringLiteral("*\uFFFD*")}, QDir::Files), QStringList{lossyName});
    }

    // The default application is handed the file itself: a desktop entry
    // that writes down what it was given stands in for an image viewer.
    // (GIO reads the XDG folders once: the only test here that uses it.)
    void theDefaultApplicationOpensTheFileShown()
    {
        const QString record = home + "/opened", script = home + "/viewer.sh";
        Sandbox::writeFile(script, "#!/bin/sh\nprintf '%s' \"$1\" > \"$0.part\" && mv \"$0.part\" "
                                       + QFile::encodeName(record) + "\n");
        QFile::setPermissions(script, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        Sandbox::writeFile(qEnvironmentVariable("XDG_DATA_HOME") + "/applications/viewer.desktop",
                           "[Desktop Entry]\nType=Application\nName=Viewer\nMimeType=image/png;\nExec="
                               + QFile::encodeName(script) + " %f\n");
        Sandbox::writeFile(qEnvironmentVariable("XDG_CONFIG_HOME") + "/mimeapps.list",
                           "[Default Applications]\nimage/png=viewer.desktop\n");
        makeAppLauncher()->open(rawUrl);
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(record), 10000);
        QCOMPARE(readBytes(QFile::encodeName(record)), raw);
    }
};

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("XDG_CURRENT_DESKTOP", "Test");
    QGuiApplication app(argc, argv);
    TestByteNames test;
    return QTest::qExec(&test, argc, argv);
}

#include "test_bytenames.moc"
