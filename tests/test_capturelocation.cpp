#include "platform/capturesettings.h"
#include "support/shelfrig.h"
#include "system/systemthumbnail.h"

#include <QSettings>

using TestFiles::readAll;

static QString home(const QString &name = {}) { return QDir::home().filePath(name); }

class TestCaptureLocation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // No setting is never taken for Home, even where the tool's default is
    // Home's folder (the tool may ask, or move its default in its next
    // version): it is remembered as none and ours is written. After a crash
    // and a second launch, then a new Home, the first value survives.
    // Quitting takes the setting away again; a second restore touches nothing.
    // The user's own value comes back as they wrote it, even when they
    // changed the tool while we ran; the folder the tool already uses,
    // however it is spelled ("~", a final "/"), is not written.
    void theToolsSettingIsWrittenAndPutBack()
    {
        HomeRig rig;
        auto &[box, prefs, tool, capture] = rig;
        const QString defaultFolder = tool.defaultFolder();
        capture.apply(defaultFolder);
        QCOMPARE(tool.readText(CaptureSettings::location), defaultFolder);
        CaptureLocation(prefs, &tool).apply(defaultFolder);
        QCOMPARE(tool.reloads, 1);
        capture.apply(box.path("Other"));
        QCOMPARE(prefs.text(PrefKey::previousCaptureLocation, "unset"), QString());
        capture.restore();
        QVERIFY(tool.values.isEmpty() && !prefs.contains(PrefKey::previousCaptureLocation));
        tool.writeText(CaptureSettings::location, "~/Pictures/Shots");
        capture.restore();
        QCOMPARE(tool.readText(CaptureSettings::location), "~/Pictures/Shots");

        QDir().mkpath(box.home() + "/Pictures/Shots");
        QCOMPARE(capture.systemFolder(), box.home() + "/Pictures/Shots");
        const int reloads = tool.reloads;
        capture.apply(box.home() + "/Pictures/Shots/");
        QCOMPARE(tool.reloads, reloads);
        capture.apply(box.path("Elsewhere"));
        tool.writeText(CaptureSettings::location, "/later/choice");
        capture.restore();
        QCOMPARE(tool.readText(CaptureSettings::location), "~/Pictures/Shots");
    }

    // Whatever Flameshot's file held (escapes of any Qt version, quotes,
    // comments, odd lines, no final newline; savePath with or without
    // savePathFixed, or neither), Flameshot reads Home while we run and
    // quitting puts back every byte; a savePath without savePathFixed is
    // only where the save dialog last was. Hiding the tool's own
    // notification writes its switch, showing it again gives the tool its
    // default back. (A tool never configured is test_e2e_tools'.)
    void flameshotGetsItsExactFileBack()
    {
        const QByteArray rest = "[General]\r\n# comment\r\ncontrastOpacity=188\r\nodd line\r\nlatin=\xe9t\xe9\r\n";
        const QList<std::pair<QByteArray, std::optional<QString>>> cases = {
            {rest + "savePath=\"/home/m\\xe9/Bilder \\\"x\\\"\\x4e0a\\x31, b\"\r\nsavePathFixed=true",
             "/home/m\u00e9/Bilder \"x\"\u4e0a1, b"},
            {rest + "savePath = /home/me/Bilder/sch\xc3\xb6n\r\nsavePathFixed=false\r\n", std::nullopt},
            {rest, std::nullopt},
        };
        for (const auto &[original, location] : cases) {
            HomeRig rig;
            const QString ini = home("flameshot.ini"), shots = home("Sch\u00f6ne \"Shots\", 1\u4e0a");
            Sandbox::writeFile(ini, original);
            auto tool = makeFlameshotSettings(ini);
            const auto reads = [&ini](const char *key) { return QSettings(ini, QSettings::IniFormat).value(key); };
            QCOMPARE(tool->readText(CaptureSettings::location), location);
            SystemThumbnail thumbnail(tool.get());
            QVERIFY(thumbnail.available() && thumbnail.shown());
            thumbnail.setShown(false);
            QVERIFY(!thumbnail.shown() && reads("showDesktopNotification").toString() == "false");
            thumbnail.setShown(true);
            QCOMPARE(readAll(ini), original);
            CaptureLocation capture(rig.prefs, tool.get());
            capture.apply(shots);
            QCOMPARE(reads("savePath").toString(), shots);
            QVERIFY(reads("savePathFixed").toBool() && reads("contrastOpacity").toInt() == 188);
            capture.restore();
            QCOMPARE(readAll(ini), original);
        }
    }

    // Spectacle keeps file URLs and gets its exact file back; it has no
    // notification switch of its own, so that is left untouched. Up to
    // 23.04 it reads [Save], later ones [ImageSave]; which one is installed
    // its release list says. (Its rewriting the whole file after a capture
    // is test_e2e_tools', with the real tool.)
    void spectacleGetsItsExactFileBackInTheGroupsItReads()
    {
        Prefs prefs(home("prefs.conf"));
        const QString rc = home("spectaclerc");
        const QByteArray original = "[General]\nlaunchAction=UseLastUsedCapturemode\n\n[Save]\n"
                                    "defaultSaveLocation[de]=file:///anderswo\n"
                                    "defaultSaveLocation=file:///home/me/Sch\xc3\xb6ne%20Shots\n";
        Sandbox::writeFile(rc, original);
        auto tool = makeSpectacleSettings(rc);
        QCOMPARE(tool->readText(CaptureSettings::location), "/home/me/Sch\u00f6ne Shots");
        SystemThumbnail none(tool.get());
        none.setShown(false);
        QVERIFY(!none.available() && none.shown() && !SystemThumbnail(nullptr).available());
        QCOMPARE(readAll(rc), original);
        CaptureLocation capture(prefs, tool.get());
        capture.apply("/home/me/My Shots");
        QVERIFY(readAll(rc).endsWith(
            "[Save]\ndefaultSaveLocation[de]=file:///anderswo\ndefaultSaveLocation=file:///home/me/"
            "My%20Shots\n\n[ImageSave]\nimageSaveLocation=file:///home/me/My%20Shots\n"));
        capture.restore();
        QCOMPARE(readAll(rc), original);

        const QString xml = home("spectacle.xml");
        Sandbox::writeFile(xml, "<releases><release version=\"23.04.3\"/></releases>\n");
        QCOMPARE(spectacleReadsImageSave(xml), false);
        Sandbox::writeFile(xml, "<releases><release version=\"6.3.1\"/><release version=\"24.12.0\"/></releases>\n");
        QCOMPARE(spectacleReadsImageSave(xml), true);
        QCOMPARE(spectacleReadsImageSave(home("missing.xml")), std::nullopt);

        Sandbox::writeFile(rc, "[ImageSave]\nimageSaveLocation=file:///new\n[Save]\ndefaultSaveLocation=file:///old\n");
        QCOMPARE(makeSpectacleSettings(rc, false)->readText(CaptureSettings::location), "/old");
        QCOMPARE(makeSpectacleSettings(rc)->readText(CaptureSettings::location), "/new");
    }

    // gnome-screenshot's default folder is the Pictures folder as GLib reads
    // it: Home without one. (Its key coming back exactly is test_e2e_tools',
    // with real dconf.) GNOME Shell saves into Pictures/<"Screenshots" in
    // the session's language>: the catalogue's name, else the folder already
    // there, else the English name.
    void gnomeFolders()
    {
        // A compiled catalogue with one translation: "Screenshots" at 44, its translation at 56.
        QByteArray mo;
        for (quint32 word : {0x950412deu, 0u, 1u, 28u, 36u, 0u, 0u, 11u, 44u, 15u, 56u})
            mo.append(reinterpret_cast<const char *>(&word), 4);
        const QString pictures = home("Pictures"), locale = home("locale");
        Sandbox::writeFile(locale + "/de/LC_MESSAGES/gnome-shell.mo",
                           mo + QByteArray("Screenshots\0Bildschirmfotos", 27));
        qunsetenv("LANGUAGE");
        qputenv("LC_ALL", "de_DE.UTF-8");
        QCOMPARE(gnomeShellScreenshotsFolder(pictures, locale), pictures + "/Bildschirmfotos");
        qputenv("LC_ALL", "fr_FR.UTF-8");
        QCOMPARE(gnomeShellScreenshotsFolder(pictures, locale), pictures + "/Screenshots");
        QDir().mkpath(pictures + "/Captures d\u2019\u00e9cran");
        QCOMPARE(gnomeShellScreenshotsFolder(pictures, locale), pictures + "/Captures d\u2019\u00e9cran");

        qputenv("GSETTINGS_BACKEND", "memory"); // never the session's settings
        auto tool = makeGnomeScreenshotSettings();
        if (!tool)
            QSKIP("the gnome-screenshot settings schema is not installed (./setup.sh test installs gnome-screenshot)");
        QCOMPARE(tool->defaultFolder(), home());
        Sandbox::writeFile(home(".config/user-dirs.dirs"), "XDG_PICTURES_DIR=\"$HOME/Bilder\"\n");
        QCOMPARE(tool->defaultFolder(), home());
        QDir().mkpath(home("Bilder"));
        QCOMPARE(tool->defaultFolder(), home("Bilder"));
    }
};

QTEST_GUILESS_MAIN(TestCaptureLocation)
#include "test_capturelocation.moc"
