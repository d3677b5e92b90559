// What another program pasting from the X clipboard reads after Copy, Copy
// Path and Copy as Markdown, through a real clipboard client.

#include "actions/fileactions.h"
#include "support/apprun.h"

#include <QGuiApplication>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

namespace {

bool haveDisplay = false;

class TestClipboard : public QObject
{
    Q_OBJECT

    QTemporaryDir dir;

    // The clipboard as `xclip` reads it in `target`. The event loop runs
    // meanwhile: this process is the one that answers.
    static QByteArray paste(const char *target)
    {
        QProcess xclip;
        xclip.start("xclip", {"-selection", "clipboard", "-o", "-t", QString::fromLatin1(target)});
        if (!QTest::qWaitFor([&] { return xclip.state() == QProcess::NotRunning; }, 10000))
            return "(xclip did not finish)";
        return xclip.readAllStandardOutput();
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (!haveDisplay)
            QSKIP("Xvfb is not installed (setup.sh test)");
        if (QStandardPaths::findExecutable("xclip").isEmpty())
            QSKIP("xclip is not installed (setup.sh test)");
    }

    void pastedTextIsPlainPathsAndLinks()
    {
        const QString folder = dir.path();
        const QList<QUrl> files = {QUrl::fromLocalFile(folder + "/50% (1) é.png"),
                                   QUrl::fromLocalFile(folder + "/a\nb.png")};
        FileActions::copyFiles(files);
        const QByteArrayList targets = paste("TARGETS").split('\n');
        for (const char *wanted : {"text/uri-list", "x-special/gnome-copied-files", "UTF8_STRING", "text/plain"})
            QVERIFY2(targets.contains(wanted), wanted);
        const QByteArray encodedFolder = QFile::encodeName(folder).toPercentEncoding("/");
        // (The URI list's encoding is test_fileactions'; the same data.)
        QCOMPARE(paste("x-special/gnome-copied-files"), "copy\nfile://" + encodedFolder
                                                            + "/50%25%20(1)%20%C3%A9.png\n"
                                                              "file://"
                                                            + encodedFolder + "/a%0Ab.png");
        const QByteArray paths = (folder + "/50% (1) é.png\n$'" + folder + "/a\\nb.png'").toUtf8();
        QCOMPARE(paste("UTF8_STRING"), paths);

        FileActions::copyPaths(files);
        QCOMPARE(paste("UTF8_STRING"), paths);

        FileActions::copyMarkdown(files);
        QCOMPARE(paste("UTF8_STRING"), "![50% (1) é](file://" + encodedFolder
                                           + "/50%25%20%281%29%20%C3%A9.png)\n"
                                             "![a b](file://"
                                           + encodedFolder + "/a%0Ab.png)");
    }
};

} // namespace

// The real X clipboard of a virtual display (the home is a throwaway one).
int main(int argc, char **argv)
{
    VirtualDisplay display;
    if ((haveDisplay = display.isRunning())) {
        qputenv("DISPLAY", display.display().toLatin1());
        qputenv("QT_QPA_PLATFORM", "xcb");
    }
    QGuiApplication app(argc, argv);
    TestClipboard test;
    return QTest::qExec(&test, argc, argv);
}

#include "test_clipboard.moc"
