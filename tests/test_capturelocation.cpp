#include "platform/capturesettings.h"
#include "support/shelfrig.h"

#include <QProcess>
#include <QSettings>
#include <QStandardPaths>

using TestFiles::readAll;

class TestCaptureLocation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void applyRemembersTheFirstValueAndRestorePutsItBack()
    {
        HomeRig rig;
        auto &[box, prefs, tool, capture] = rig;
        const QString home = box.path(QStringLiteral("Shots"));
        const QString other = box.path(QStringLiteral("Other"));
        QDir().mkpath(home);

        // The tool had no setting: remembered as "", then ours is written.
        capture.apply(home);
        QCOMPARE(prefs.text(PrefKey::previousCaptureLocation, QStringLiteral("unset")), QString());
        QCOMPARE(tool.readText(CaptureSettings::location), home);
        QCOMPARE(tool.reloads, 1);

        // A crash and a second launch, then a new Home: the first value survives.
        CaptureLocation(prefs, &tool).apply(home);
        QCOMPARE(tool.reloads, 1);
        capture.apply(other);
        QCOMPARE(tool.readText(CaptureSettings::location), other);
        QVERIFY(prefs.contains(PrefKey::previousCaptureLocation));
        QCOMPARE(prefs.text(PrefKey::previousCaptureLocation), QString());

        // Quit: the setting goes away again and nothing stays remembered.
        capture.restore();
        QCOMPARE(tool.readText(CaptureSettings::location), std::nullopt);
        QVERIFY(!prefs.contains(PrefKey::previousCaptureLocation));
        QCOMPARE(tool.reloads, 3);

        // Nothing remembered: restore touches nothing.
        tool.writeText(CaptureSettings::location, QStringLiteral("/users/choice"));
        capture.restore();
        QCOMPARE(tool.readText(CaptureSettings::location), QStringLiteral("/users/choice"));
        QCOMPARE(tool.reloads, 3);
    }

    void userValueIsRestoredUnexpanded()
    {
        HomeRig rig;
        auto &[box, prefs, tool, capture] = rig;
        tool.writeText(CaptureSettings::location, QStringLiteral("~/Pictures/Shots"));
        QDir().mkpath(box.home() + QStringLiteral("/Pictures/Shots"));

        QCOMPARE(capture.systemFolder(), box.home() + QStringLiteral("/Pictures/Shots"));
        // The same folder spelled absolutely: remembered, but nothing written.
        capture.apply(box.home() + QStringLiteral("/Pictures/Shots/"));
        QCOMPARE(prefs.text(PrefKey::previousCaptureLocation), QStringLiteral("~/Pictures/Shots"));
        QCOMPARE(tool.reloads, 0);

        capture.apply(box.path(QStringLiteral("Elsewhere")));
        // The user changes the tool while we run; quit restores their old value.
        tool.writeText(CaptureSettings::location, QStringLiteral("/later/choice"));
        capture.restore();
        QCOMPARE(tool.readText(CaptureSettings::location), QStringLiteral("~/Pictures/Shots"));
    }

    void symlinkedDesktopCountsAsTheDefault()
    {
        HomeRig rig;
        auto &[box, prefs, tool, capture] = rig;
        const QString link = box.path(QStringLiteral("desk-link"));
        QVERIFY(QFile::link(box.home() + QStringLiteral("/Desktop"), link));

        QCOMPARE(capture.systemFolder(), QStandardPaths::writableLocation(QStandardPaths::DesktopLocation));
        capture.apply(link);
        QCOMPARE(tool.readText(CaptureSettings::location), std::nullopt);
        QCOMPARE(tool.reloads, 0);
        QCOMPARE(prefs.text(PrefKey::previousCaptureLocation, QStringLiteral("unset")), QString());
    }

    void withoutAToolNothingIsWritten()
    {
        Sandbox box;
        Prefs prefs(box.path(QStringLiteral("prefs.conf")));
        CaptureLocation capture(prefs, nullptr);
        QCOMPARE(capture.systemFolder(), box.home() + QStringLiteral("/Desktop"));
        capture.apply(box.path(QStringLiteral("Shots")));
        capture.restore();
        QVERIFY(!prefs.contains(PrefKey::previousCaptureLocation));

        // A tool whose folder is fixed is read, never written.
        auto shell = makeGnomeShellSettings(box.home() + QStringLiteral("/Pictures/Screenshots"));
        CaptureLocation fixed(prefs, shell.get());
        QCOMPARE(fixed.systemFolder(), box.home() + QStringLiteral("/Pictures/Screenshots"));
        fixed.apply(box.path(QStringLiteral("Shots")));
        QCOMPARE(shell->readText(CaptureSettings::location), box.home() + QStringLiteral("/Pictures/Screenshots"));
    }

    void flameshotFileKeepsEverythingElse()
    {
        Sandbox box;
        const QString ini = box.path(QStringLiteral("flameshot/flameshot.ini"));
        const QByteArray original = "[General]\ncontrastOpacity=188\ndrawColor=#ff0000\n"
                                    "savePath=/home/me/Pictures\nsavePathFixed=false\n\n[Shortcuts]\nTYPE_COPY=Ctrl+C\n";
        Sandbox::writeFile(ini, original);
        auto tool = makeFlameshotSettings(ini);

        // Without savePathFixed the path is only a suggestion, not where it saves.
        QCOMPARE(tool->readText(CaptureSettings::location), std::nullopt);

        const QString odd = QStringLiteral("/tmp/a, b; \"c\" \\ d");
        tool->writeText(CaptureSettings::location, odd);
        QCOMPARE(tool->readText(CaptureSettings::location), odd);
        // Flameshot reads the file with QSettings, where [General] holds the
        // top-level keys: it must see the same path.
        QSettings asFlameshotReadsIt(ini, QSettings::IniFormat);
        QCOMPARE(asFlameshotReadsIt.value(QStringLiteral("savePath")).toString(), odd);
        QCOMPARE(asFlameshotReadsIt.value(QStringLiteral("savePathFixed")).toBool(), true);
        QCOMPARE(asFlameshotReadsIt.value(QStringLiteral("drawColor")).toString(), QStringLiteral("#ff0000"));
        QCOMPARE(asFlameshotReadsIt.value(QStringLiteral("Shortcuts/TYPE_COPY")).toString(), QStringLiteral("Ctrl+C"));

        QCOMPARE(tool->readBool(CaptureSettings::showThumbnail), std::nullopt);
        tool->writeBool(CaptureSettings::showThumbnail, false);
        QCOMPARE(tool->readBool(CaptureSettings::showThumbnail), false);
        tool->remove(CaptureSettings::showThumbnail);

        tool->remove(CaptureSettings::location);
        QByteArray expected = original;
        expected.replace("savePath=/home/me/Pictures\nsavePathFixed=false\n", "");
        QCOMPARE(readAll(ini), expected);
    }

    void spectacleUsesFileUrls()
    {
        Sandbox box;
        const QString rc = box.path(QStringLiteral("spectaclerc"));
        Sandbox::writeFile(rc, "[General]\nlaunchAction=UseLastUsedCapturemode\n\n[Save]\ndefaultSaveLocation=file:///home/me/Old%20Shots\n");
        auto tool = makeSpectacleSettings(rc);
        QCOMPARE(tool->readText(CaptureSettings::location), QStringLiteral("/home/me/Old Shots"));

        tool->writeText(CaptureSettings::location, QStringLiteral("/home/me/My Shots"));
        QCOMPARE(tool->readText(CaptureSettings::location), QStringLiteral("/home/me/My Shots"));
        QVERIFY(readAll(rc).contains("[ImageSave]\nimageSaveLocation=file:///home/me/My%20Shots\n"));
        QVERIFY(readAll(rc).contains("launchAction=UseLastUsedCapturemode\n"));
        QCOMPARE(tool->readBool(CaptureSettings::showThumbnail), std::nullopt);

        tool->remove(CaptureSettings::location);
        QCOMPARE(tool->readText(CaptureSettings::location), QStringLiteral("/home/me/Old Shots"));
    }

    void gnomeScreenshotUsesGSettings()
    {
        const QString compiler = QStandardPaths::findExecutable(QStringLiteral("glib-compile-schemas"));
        if (compiler.isEmpty())
            QSKIP("glib-compile-schemas is not installed");
        Sandbox box;
        const QString schemas = box.path(QStringLiteral("schemas"));
        Sandbox::writeFile(schemas + QStringLiteral("/org.gnome.gnome-screenshot.gschema.xml"),
                           "<schemalist><schema id=\"org.gnome.gnome-screenshot\" path=\"/org/gnome/gnome-screenshot/\">"
                           "<key name=\"auto-save-directory\" type=\"s\"><default>''</default></key>"
                           "</schema></schemalist>");
        QCOMPARE(QProcess::execute(compiler, {schemas}), 0);
        qputenv("GSETTINGS_SCHEMA_DIR", QFile::encodeName(schemas));
        qputenv("GSETTINGS_BACKEND", "memory");

        auto tool = makeGnomeScreenshotSettings();
        QVERIFY(tool);
        QCOMPARE(tool->readText(CaptureSettings::location), std::nullopt);
        tool->writeText(CaptureSettings::location, QStringLiteral("/home/me/My Shots"));
        QCOMPARE(tool->readText(CaptureSettings::location), QStringLiteral("/home/me/My Shots"));
        tool->remove(CaptureSettings::location);
        QCOMPARE(tool->readText(CaptureSettings::location), std::nullopt);
    }
};

QTEST_GUILESS_MAIN(TestCaptureLocation)
#include "test_capturelocation.moc"
