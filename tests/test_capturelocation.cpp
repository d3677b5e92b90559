#include "platform/capturesettings.h"
#include "support/shelfrig.h"
#include "system/systemthumbnail.h"

#include <QSettings>

using TestFiles::readAll;

class TestCaptureLocation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // GSettings in memory: the test never touches the session's settings.
    void initTestCase() { qputenv("GSETTINGS_BACKEND", "memory"); }

    // No setting is never taken for Home, even where the tool's default is
    // Home's folder (the tool may ask, or move its default in its next
    // version): it is remembered as none and ours is written. After a crash
    // and a second launch, then a new Home, the first value survives.
    // Quitting takes the setting away again; a second restore touches nothing.
    void noSettingIsWrittenAndTakenAwayAgain()
    {
        HomeRig rig;
        auto &[box, prefs, tool, capture] = rig;
        const QString home = tool.defaultFolder();
        QCOMPARE(capture.systemFolder(), home);
        capture.apply(home);
        QCOMPARE(prefs.text(PrefKey::previousCaptureLocation, "unset"), QString());
        QCOMPARE(tool.readText(CaptureSettings::location), home);

        CaptureLocation(prefs, &tool).apply(home);
        QCOMPARE(tool.reloads, 1);
        capture.apply(box.path("Other"));
        QCOMPARE(prefs.text(PrefKey::previousCaptureLocation, "unset"), QString());

        capture.restore();
        QVERIFY(tool.values.isEmpty() && !prefs.contains(PrefKey::previousCaptureLocation));
        tool.writeText(CaptureSettings::location, "/users/choice");
        capture.restore();
        QCOMPARE(tool.readText(CaptureSettings::location), "/users/choice");
    }

    // The user's own value comes back as they wrote it, even when they
    // changed the tool while we ran; the folder the tool already uses,
    // however it is spelled ("~", a final "/", a link), is not written.
    void userValueIsRestoredUnexpanded()
    {
        HomeRig rig;
        auto &[box, prefs, tool, capture] = rig;
        tool.writeText(CaptureSettings::location, "~/Pictures/Shots");
        QDir().mkpath(box.home() + "/Pictures/Shots");
        QCOMPARE(capture.systemFolder(), box.home() + "/Pictures/Shots");
        capture.apply(box.home() + "/Pictures/Shots/");
        QCOMPARE(prefs.text(PrefKey::previousCaptureLocation), "~/Pictures/Shots");
        QCOMPARE(tool.reloads, 0);

        capture.apply(box.path("Elsewhere"));
        tool.writeText(CaptureSettings::location, "/later/choice");
        capture.restore();
        QCOMPARE(tool.readText(CaptureSettings::location), "~/Pictures/Shots");

        QVERIFY(QFile::link(box.home() + "/Desktop", box.path("desk-link")));
        tool.writeText(CaptureSettings::location, box.path("desk-link"));
        const int reloads = tool.reloads;
        capture.apply(box.home() + "/Desktop");
        QCOMPARE(tool.reloads, reloads);
    }

    // Whatever Flameshot's file held (escapes of any Qt version, quotes,
    // comments, odd lines, no final newline; savePath with or without
    // savePathFixed, or neither), Flameshot reads Home while we run and
    // quitting puts back every byte. (A tool never configured, with no file
    // at all, is test_e2e_tools', with the real tools.)
    void flameshotGetsItsExactFileBack()
    {
        const QByteArray rest = "[General]\r\n# comment\r\ncontrastOpacity=188\r\nodd line\r\nlatin=\xe9t\xe9\r\n";
        const QList<QByteArray> originals = {
            rest
                + "savePath=\"/home/m\\xe9/Bilder \\\"x\\\"\\x4e0a\\x31, "
                  "b\"\r\nsavePathFixed=true\r\n\r\n[Shortcuts]\r\nTYPE_COPY=Ctrl+C",
            rest + "savePath = /home/me/Bilder/sch\xc3\xb6n\r\nsavePathFixed=false\r\n",
            rest,
        };
        for (const QByteArray &original : originals) {
            HomeRig rig;
            const QString ini = rig.box.path("flameshot/flameshot.ini");
            Sandbox::writeFile(ini, original);
            auto tool = makeFlameshotSettings(ini);
            const auto asFlameshotReadsIt = [&ini](const char *key) {
                return QSettings(ini, QSettings::IniFormat).value(key);
            };
            // The escapes read as QSettings reads them; a savePath without
            // savePathFixed is only where the save dialog last was.
            QCOMPARE(tool->readText(CaptureSettings::location),
                     asFlameshotReadsIt("savePathFixed").toBool()
                         ? std::optional<QString>(asFlameshotReadsIt("savePath").toString())
                         : std::nullopt);

            CaptureLocation capture(rig.prefs, tool.get());
            const QString home = rig.box.path("Sch\u00f6ne \"Shots\", 1\u4e0a");
            capture.apply(home);
            QCOMPARE(asFlameshotReadsIt("savePath").toString(), home);
            QVERIFY(asFlameshotReadsIt("savePathFixed").toBool()
                    && asFlameshotReadsIt("contrastOpacity").toInt() == 188);
            QCOMPARE(tool->readText(CaptureSettings::location), home);
            capture.restore();
            QCOMPARE(readAll(ini), original);
        }
    }

    // Spectacle keeps file URLs and gets its exact file back. Up to 23.04 it
    // reads [Save], later ones [ImageSave]; which one is installed its
    // release list says.
    void spectacleGetsItsExactFileBackInTheGroupsItReads()
    {
        HomeRig rig;
        const QString rc = rig.box.path("spectaclerc");
        const QByteArray original = "[General]\nlaunchAction=UseLastUsedCapturemode\n\n[Save]\n"
                                    "defaultSaveLocation[de]=file:///anderswo\n"
                                    "defaultSaveLocation=file:///home/me/Sch\xc3\xb6ne%20Shots\n";
        Sandbox::writeFile(rc, original);
        auto tool = makeSpectacleSettings(rc);
        QCOMPARE(tool->readText(CaptureSettings::location), "/home/me/Sch\u00f6ne Shots");

        CaptureLocation capture(rig.prefs, tool.get());
        capture.apply("/home/me/My Shots");
        QVERIFY(readAll(rc).contains(
            "[Save]\ndefaultSaveLocation[de]=file:///anderswo\ndefaultSaveLocation=file:///home/me/My%20Shots\n"));
        QVERIFY(readAll(rc).endsWith("\n\n[ImageSave]\nimageSaveLocation=file:///home/me/My%20Shots\n"));
        capture.restore();
        QCOMPARE(readAll(rc), original);
        // Spectacle rewriting its whole file after a capture is test_e2e_tools', with the real tool.

        const QString metainfo = rig.box.path("spectacle.appdata.xml");
        const auto readsImageSave = [&metainfo](const QByteArray &releases) {
            Sandbox::writeFile(metainfo, "<component>\n  <releases>\n" + releases + "  </releases>\n</component>\n");
            return spectacleReadsImageSave(metainfo);
        };
        QCOMPARE(readsImageSave("    <release version=\"23.04.3\"/>\n"), false);
        QCOMPARE(readsImageSave("    <release version=\"23.08.0\"/>\n"), true);
        QCOMPARE(readsImageSave("    <release version=\"6.3.1\"/>\n    <release version=\"24.12.0\"/>\n"), true);
        QCOMPARE(spectacleReadsImageSave(rig.box.path("missing.xml")), std::nullopt);

        Sandbox::writeFile(rc,
                           "[ImageSave]\nimageSaveLocation=file:///new\n\n[Save]\ndefaultSaveLocation=file:///old\n");
        QCOMPARE(makeSpectacleSettings(rc, false)->readText(CaptureSettings::location), "/old");
        QCOMPARE(makeSpectacleSettings(rc)->readText(CaptureSettings::location), "/new");
        Sandbox::writeFile(rc, "[Save]\ndefaultSaveLocation=file:///old\n");
        QCOMPARE(makeSpectacleSettings(rc, true)->readText(CaptureSettings::location), std::nullopt);
        QCOMPARE(makeSpectacleSettings(rc)->readText(CaptureSettings::location), "/old");
    }

    // gnome-screenshot's default folder is the Pictures folder as GLib reads
    // it: Home without one. (Its key coming back exactly is test_e2e_tools',
    // with real dconf.)
    void gnomeScreenshotDefaultsToPictures()
    {
        auto tool = makeGnomeScreenshotSettings();
        if (!tool)
            QSKIP("the gnome-screenshot settings schema is not installed (./setup.sh test installs gnome-screenshot)");
        Sandbox box;
        QDir().mkpath(box.home() + "/Pictures");
        QCOMPARE(tool->defaultFolder(), box.home());
        Sandbox::writeFile(box.home() + "/.config/user-dirs.dirs", "XDG_PICTURES_DIR=\"$HOME/Bilder\"\n");
        QCOMPARE(tool->defaultFolder(), box.home());
        QDir().mkpath(box.home() + "/Bilder");
        QCOMPARE(tool->defaultFolder(), box.home() + "/Bilder");
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
        QCOMPARE(QSettings(ini, QSettings::IniFormat).value("showDesktopNotification").toString(), "false");
        QVERIFY(!thumbnail.shown());
        thumbnail.setShown(true);
        QCOMPARE(readAll(ini), QByteArray("[General]\ncontrastOpacity=188\n"));

        const QString rc = rig.box.path("spectaclerc");
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
        const QString pictures = box.home() + "/Pictures";
        const QString locale = box.path("locale");
        // A compiled catalogue with one translation: "Screenshots" at 44, its translation at 56.
        QByteArray mo;
        for (quint32 word : {0x950412deu, 0u, 1u, 28u, 36u, 0u, 0u, 11u, 44u, 15u, 56u})
            mo.append(reinterpret_cast<const char *>(&word), 4);
        Sandbox::writeFile(locale + "/de/LC_MESSAGES/gnome-shell.mo",
                           mo + QByteArray("Screenshots\0Bildschirmfotos", 27));
        for (const char *name : {"LANGUAGE", "LC_ALL", "LC_MESSAGES"})
            qputenv(name, "");
        qputenv("LANG", "de_DE.UTF-8");
        QCOMPARE(gnomeShellScreenshotsFolder(pictures, locale), pictures + "/Bildschirmfotos");
        // No catalogue for the language: the folder already there, else the English name.
        qputenv("LANG", "fr_FR.UTF-8");
        QCOMPARE(gnomeShellScreenshotsFolder(pictures, locale), pictures + "/Screenshots");
        QDir().mkpath(pictures + "/Captures d\u2019\u00e9cran");
        QCOMPARE(gnomeShellScreenshotsFolder(pictures, locale), pictures + "/Captures d\u2019\u00e9cran");
        for (const char *name : {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"})
            qunsetenv(name);
    }
};

QTEST_GUILESS_MAIN(TestCaptureLocation)
#include "test_capturelocation.moc"
