#include "platform/capturesettings.h"
#include "support/shelfrig.h"
#include "system/systemthumbnail.h"

#include <QSettings>

using TestFiles::readAll;

class TestCaptureLocation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void applyRemembersTheFirstValueAndRestorePutsItBack()
    {
        HomeRig rig;
        auto &[box, prefs, tool, capture] = rig;
        const QString home = box.path("Shots");
        QDir().mkpath(home);

        // The tool had no setting: remembered as "", then ours is written.
        capture.apply(home);
        QCOMPARE(prefs.text(PrefKey::previousCaptureLocation, "unset"), QString());
        QCOMPARE(tool.readText(CaptureSettings::location), home);

        // A crash and a second launch, then a new Home: the first value survives.
        CaptureLocation(prefs, &tool).apply(home);
        QCOMPARE(tool.reloads, 1);
        capture.apply(box.path("Other"));
        QCOMPARE(prefs.text(PrefKey::previousCaptureLocation, "unset"), QString());

        // Quit: the setting goes away again and nothing stays remembered;
        // a second restore touches nothing.
        capture.restore();
        QCOMPARE(tool.readText(CaptureSettings::location), std::nullopt);
        QVERIFY(!prefs.contains(PrefKey::previousCaptureLocation));
        tool.writeText(CaptureSettings::location, "/users/choice");
        capture.restore();
        QCOMPARE(tool.readText(CaptureSettings::location), QStringLiteral("/users/choice"));
    }

    // The user's own value comes back as they wrote it, even when they
    // changed the tool while we ran; the folder the tool already uses,
    // however it is spelled, is not written.
    void userValueIsRestoredUnexpanded()
    {
        HomeRig rig;
        auto &[box, prefs, tool, capture] = rig;
        tool.writeText(CaptureSettings::location, "~/Pictures/Shots");
        QDir().mkpath(box.home() + "/Pictures/Shots");
        QCOMPARE(capture.systemFolder(), box.home() + "/Pictures/Shots");
        capture.apply(box.home() + "/Pictures/Shots/");
        QCOMPARE(prefs.text(PrefKey::previousCaptureLocation), QStringLiteral("~/Pictures/Shots"));
        QCOMPARE(tool.reloads, 0);

        capture.apply(box.path("Elsewhere"));
        tool.writeText(CaptureSettings::location, "/later/choice");
        capture.restore();
        QCOMPARE(tool.readText(CaptureSettings::location), QStringLiteral("~/Pictures/Shots"));
    }

    // With no setting the tool saves to the Desktop, and a link to it is the
    // same folder: nothing to write.
    void symlinkedDesktopIsTheSameFolder()
    {
        HomeRig rig;
        const QString link = rig.box.path("desk-link");
        QVERIFY(QFile::link(rig.box.home() + "/Desktop", link));
        rig.capture.apply(link);
        QVERIFY(rig.tool.values.isEmpty() && rig.tool.reloads == 0);
    }

    // Whatever Flameshot's file held (escapes of any Qt version, quotes,
    // comments, odd lines, no final newline; savePath with or without
    // savePathFixed, or neither), Flameshot reads Home while we run and
    // quitting puts back every byte.
    void flameshotGetsItsExactFileBack()
    {
        const QByteArray rest = "[General]\r\n# comment\r\ncontrastOpacity=188\r\nodd line\r\nlatin=\xe9t\xe9\r\n";
        const QList<QByteArray> originals = {
            rest + "savePath=\"/home/m\\xe9/Bilder \\\"x\\\"\\x4e0a\\x31, b\"\r\nsavePathFixed=true\r\n\r\n[Shortcuts]\r\nTYPE_COPY=Ctrl+C",
            rest + "savePath = /home/me/Bilder/sch\xc3\xb6n\r\nsavePathFixed=false\r\n",
            rest,
        };
        for (const QByteArray &original : originals) {
            HomeRig rig;
            const QString ini = rig.box.path("flameshot/flameshot.ini");
            Sandbox::writeFile(ini, original);
            auto tool = makeFlameshotSettings(ini);
            const auto asFlameshotReadsIt = [&ini](const char *key) { return QSettings(ini, QSettings::IniFormat).value(key); };
            // The escapes read as QSettings reads them.
            if (asFlameshotReadsIt("savePathFixed").toBool())
                QCOMPARE(*tool->readText(CaptureSettings::location), asFlameshotReadsIt("savePath").toString());

            CaptureLocation capture(rig.prefs, tool.get());
            const QString home = rig.box.path("Sch\u00f6ne \"Shots\", 1\u4e0a");
            capture.apply(home);
            QCOMPARE(asFlameshotReadsIt("savePath").toString(), home);
            QVERIFY(asFlameshotReadsIt("savePathFixed").toBool() && asFlameshotReadsIt("contrastOpacity").toInt() == 188);
            QCOMPARE(tool->readText(CaptureSettings::location), home);
            capture.restore();
            QCOMPARE(readAll(ini), original);
        }
    }

    void spectacleUsesFileUrlsAndGetsItsExactFileBack()
    {
        HomeRig rig;
        const QString rc = rig.box.path(QStringLiteral("spectaclerc"));
        const QByteArray original = "[General]\nlaunchAction=UseLastUsedCapturemode\n\n[Save]\n"
                                    "defaultSaveLocation[de]=file:///anderswo\n"
                                    "defaultSaveLocation=file:///home/me/Sch\xc3\xb6ne%20Shots\n";
        Sandbox::writeFile(rc, original);
        auto tool = makeSpectacleSettings(rc);
        QCOMPARE(tool->readText(CaptureSettings::location), QStringLiteral("/home/me/Sch\u00f6ne Shots"));

        CaptureLocation capture(rig.prefs, tool.get());
        capture.apply(QStringLiteral("/home/me/My Shots"));
        QVERIFY(readAll(rc).contains("[ImageSave]\nimageSaveLocation=file:///home/me/My%20Shots\n"));
        capture.restore();
        QCOMPARE(readAll(rc), original);
    }

    // Hiding the tool's own notification writes its switch, showing it again
    // gives the tool its default back; a tool without one is left untouched.
    void systemThumbnailIsTheToolsOwnSwitch()
    {
        HomeRig rig;
        const QString ini = rig.box.path("flameshot/flameshot.ini");
        Sandbox::writeFile(ini, "[General]\ncontrastOpacity=188\n");
        auto flameshot = makeFlameshotSettings(ini);
        SystemThumbnail thumbnail(flameshot.get());
        QVERIFY(thumbnail.available() && thumbnail.shown());
        thumbnail.setShown(false);
        QCOMPARE(QSettings(ini, QSettings::IniFormat).value("showDesktopNotification").toString(), QStringLiteral("false"));
        QVERIFY(!thumbnail.shown());
        thumbnail.setShown(true);
        QCOMPARE(readAll(ini), QByteArray("[General]\ncontrastOpacity=188\n"));

        const QString rc = rig.box.path(QStringLiteral("spectaclerc"));
        Sandbox::writeFile(rc, "[General]\nlaunchAction=UseLastUsedCapturemode\n");
        auto spectacle = makeSpectacleSettings(rc);
        SystemThumbnail none(spectacle.get());
        none.setShown(false);
        QVERIFY(!none.available() && none.shown() && !SystemThumbnail(nullptr).available());
        QCOMPARE(readAll(rc), QByteArray("[General]\nlaunchAction=UseLastUsedCapturemode\n"));
    }

    // GNOME Shell saves into Pictures/<"Screenshots" in the session's language>.
    void gnomeShellFolderIsTranslated()
    {
        Sandbox box;
        const QString pictures = box.home() + QStringLiteral("/Pictures");
        const QString locale = box.path(QStringLiteral("locale"));
        // A compiled catalogue with one translation: "Screenshots" at 44, its translation at 56.
        QByteArray mo;
        for (quint32 word : {0x950412deu, 0u, 1u, 28u, 36u, 0u, 0u, 11u, 44u, 15u, 56u})
            mo.append(reinterpret_cast<const char *>(&word), 4);
        Sandbox::writeFile(locale + "/de/LC_MESSAGES/gnome-shell.mo", mo + QByteArray("Screenshots\0Bildschirmfotos", 27));
        for (const char *name : {"LANGUAGE", "LC_ALL", "LC_MESSAGES"})
            qputenv(name, "");
        qputenv("LANG", "de_DE.UTF-8");
        QCOMPARE(gnomeShellScreenshotsFolder(pictures, locale), pictures + QStringLiteral("/Bildschirmfotos"));
        // No catalogue for the language: the folder already there, else the English name.
        qputenv("LANG", "fr_FR.UTF-8");
        QCOMPARE(gnomeShellScreenshotsFolder(pictures, locale), pictures + QStringLiteral("/Screenshots"));
        QDir().mkpath(pictures + QStringLiteral("/Captures d\u2019\u00e9cran"));
        QCOMPARE(gnomeShellScreenshotsFolder(pictures, locale), pictures + QStringLiteral("/Captures d\u2019\u00e9cran"));
        for (const char *name : {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"})
            qunsetenv(name);
    }
};

QTEST_GUILESS_MAIN(TestCaptureLocation)
#include "test_capturelocation.moc"
