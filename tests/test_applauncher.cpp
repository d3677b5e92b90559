// "Open With" as the desktop offers it: GIO reads the desktop entries and
// default handlers written into the throwaway home.

#include "platform/applauncher.h"
#include "support/files.h"
#include "support/sandbox.h"

#include <QGuiApplication>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

namespace {

QString applications() { return qEnvironmentVariable("XDG_DATA_HOME") + "/applications/"; }

void writeEntry(const QString &id, const QByteArray &name, const QByteArray &extra = "MimeType=image/png;\n")
{
    Sandbox::writeFile(applications() + id,
                       "[Desktop Entry]\nType=Application\nName=" + name + "\nExec=true %U\n" + extra);
}

QStringList names(const QList<AppChoice> &choices)
{
    QStringList out;
    for (const AppChoice &choice : choices)
        out.append(choice.name);
    return out;
}

} // namespace

class TestAppLauncher : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void defaultFirstThenTheShownOnesByName()
    {
        writeEntry("zviewer.desktop", "Zeta Viewer");
        writeEntry("apaint.desktop", "alpha Paint");
        writeEntry("bdraw.desktop", "Beta Draw");
        writeEntry("helper.desktop", "Aardvark Helper", "MimeType=image/png;\nNoDisplay=true\n");
        writeEntry("other.desktop", "Ant Other", "MimeType=image/png;\nOnlyShowIn=Elsewhere;\n");
        writeEntry("notes.desktop", "Notes", "MimeType=text/plain;\n");
        Sandbox::writeFile(qEnvironmentVariable("XDG_CONFIG_HOME") + "/mimeapps.list",
                           "[Default Applications]\nimage/png=zviewer.desktop\n"
                           "[Added Associations]\nimage/png=apaint.desktop;zviewer.desktop;\n");

        // GIO takes the types from the folder's cache, as the desktop's
        // package tools keep it.
        if (QStandardPaths::findExecutable("update-desktop-database").isEmpty())
            QSKIP("update-desktop-database is not installed (setup.sh test)");
        QCOMPARE(QProcess::execute("update-desktop-database", {applications()}), 0);

        const std::unique_ptr<AppLauncher> launcher = makeAppLauncher();
        const QString shot = qEnvironmentVariable("HOME") + "/shot.png";
        const QList<AppChoice> choices = launcher->applicationsFor(QUrl::fromLocalFile(shot));
        QCOMPARE(names(choices), (QStringList{"Zeta Viewer", "alpha Paint", "Beta Draw"}));
        QVERIFY(choices[0].isDefault && !choices[1].isDefault && !choices[2].isDefault);
        QCOMPARE(choices[0].url, QUrl::fromLocalFile(applications() + "zviewer.desktop"));

        const QString notes = qEnvironmentVariable("HOME") + "/notes.txt";
        QCOMPARE(names(launcher->applicationsFor(QUrl::fromLocalFile(notes))), QStringList{"Notes"});
    }
};

// GIO reads the XDG folders once, so they are set before anything starts:
// the throwaway home every test has, and system folders holding only the
// system's file types, none of its applications.
int main(int argc, char **argv)
{
    QTemporaryDir system;
    QDir().mkpath(system.path() + "/share");
    QFile::link("/usr/share/mime", system.path() + "/share/mime");
    qputenv("XDG_DATA_DIRS", QFile::encodeName(system.path() + "/share"));
    qputenv("XDG_CONFIG_DIRS", QFile::encodeName(system.path() + "/etc"));
    qputenv("XDG_CURRENT_DESKTOP", "Test");
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    TestAppLauncher test;
    return QTest::qExec(&test, argc, argv);
}

#include "test_applauncher.moc"
