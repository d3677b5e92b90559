// "Open With" as the desktop offers it: GIO reads the desktop entries and
// default handlers written into the throwaway home.

#include "platform/applauncher.h"
#include "support/sandbox.h"

#include <QProcess>
#include <QStandardPaths>
#include <QTest>

// GIO reads the XDG folders once, so they are set before main: system
// folders holding only the system's file types, none of its applications.
static const QTemporaryDir systemFolders;
static const bool systemFoldersSet = [] {
    const QString share = systemFolders.path() + "/share";
    QDir().mkpath(share);
    QFile::link("/usr/share/mime", share + "/mime");
    qputenv("XDG_DATA_DIRS", QFile::encodeName(share));
    qputenv("XDG_CONFIG_DIRS", QFile::encodeName(systemFolders.path() + "/etc"));
    return qputenv("XDG_CURRENT_DESKTOP", "Test");
}();

class TestAppLauncher : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void defaultFirstThenTheShownOnesByName()
    {
        const QString applications = qEnvironmentVariable("XDG_DATA_HOME") + "/applications/";
        const QList<QPair<QString, QByteArray>> entries = {
            {"zviewer", "Zeta Viewer\nMimeType=image/png;"},
            {"apaint", "alpha Paint\nMimeType=image/png;"},
            {"bdraw", "Beta Draw\nMimeType=image/png;"},
            {"helper", "Aardvark Helper\nMimeType=image/png;\nNoDisplay=true"},
            {"other", "Ant Other\nMimeType=image/png;\nOnlyShowIn=Elsewhere;"},
            {"notes", "Notes\nMimeType=text/plain;"},
        };
        for (const auto &[id, entry] : entries)
            Sandbox::writeFile(applications + id + ".desktop",
                               "[Desktop Entry]\nType=Application\nExec=true %U\nName=" + entry + "\n");
        Sandbox::writeFile(qEnvironmentVariable("XDG_CONFIG_HOME") + "/mimeapps.list",
                           "[Default Applications]\nimage/png=zviewer.desktop\n"
                           "[Added Associations]\nimage/png=apaint.desktop;zviewer.desktop;\n");
        // GIO takes the types from the folder's cache, as the desktop's
        // package tools keep it.
        if (QStandardPaths::findExecutable("update-desktop-database").isEmpty())
            QSKIP("update-desktop-database is not installed (setup.sh test)");
        QCOMPARE(QProcess::execute("update-desktop-database", {applications}), 0);

        QStringList offered;
        for (const AppChoice &choice :
             makeAppLauncher()->applicationsFor(QUrl::fromLocalFile(QDir::home().filePath("a.png"))))
            offered.append(choice.name + (choice.isDefault ? " (default) " + choice.url.fileName() : ""));
        QCOMPARE(offered, QStringList({"Zeta Viewer (default) zviewer.desktop", "alpha Paint", "Beta Draw"}));
    }
};

QTEST_MAIN(TestAppLauncher)
#include "test_applauncher.moc"
