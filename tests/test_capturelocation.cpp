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

    void symlinkedDesktopAndFixedFolders()
    {
        HomeRig rig;
        auto &[box, prefs, tool, capture] = rig;
        const QString link = box.path(QStringLiteral("desk-link"));
        QVERIFY(QFile::link(box.home() + QStringLiteral("/Desktop"), link));
        capture.apply(link);
        QCOMPARE(tool.readText(CaptureSettings::location), std::nullopt);
        QCOMPARE(tool.reloads, 0);
        QCOMPARE(prefs.text(PrefKey::previousCaptureLocation, QStringLiteral("unset")), QString());

        // No tool: nothing remembered. A tool whose folder is fixed: read, never written.
        CaptureLocation none(prefs, nullptr);
        prefs.remove(PrefKey::previousCaptureLocation);
        none.apply(box.path(QStringLiteral("Shots")));
        none.restore();
        QVERIFY(!prefs.contains(PrefKey::previousCaptureLocation));
        auto shell = makeGnomeShellSettings(box.home() + QStringLiteral("/Pictures/Screenshots"));
        CaptureLocation fixed(prefs, shell.get());
        fixed.apply(box.path(QStringLiteral("Shots")));
        QCOMPARE(fixed.systemFolder(), box.home() + QStringLiteral("/Pictures/Screenshots"));
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
            const QString ini = rig.box.path(QStringLiteral("flameshot/flameshot.ini"));
            Sandbox::writeFile(ini, original);
            auto tool = makeFlameshotSettings(ini);
            CaptureLocation capture(rig.prefs, tool.get());
            const QString home = rig.box.path(QStringLiteral("Sch\u00f6ne \"Shots\", 1\u4e0a"));

            capture.apply(home);
            {
                QSettings asFlameshotReadsIt(ini, QSettings::IniFormat);
                QCOMPARE(asFlameshotReadsIt.value(QStringLiteral("savePath")).toString(), home);
                QCOMPARE(asFlameshotReadsIt.value(QStringLiteral("savePathFixed")).toBool(), true);
                QCOMPARE(asFlameshotReadsIt.value(QStringLiteral("contrastOpacity")).toInt(), 188);
            }
            QCOMPARE(tool->readText(CaptureSettings::location), home);
            capture.restore();
            QCOMPARE(readAll(ini), original);
        }
        // The escapes read as QSettings reads them.
        Sandbox box;
        const QString ini = box.path(QStringLiteral("flameshot.ini"));
        Sandbox::writeFile(ini, originals.first());
        QCOMPARE(makeFlameshotSettings(ini)->readText(CaptureSettings::location),
                 QSettings(ini, QSettings::IniFormat).value(QStringLiteral("savePath")).toString());

        auto tool = makeFlameshotSettings(ini);
        QCOMPARE(tool->readBool(CaptureSettings::showThumbnail), std::nullopt);
        tool->writeBool(CaptureSettings::showThumbnail, false);
        QCOMPARE(tool->readBool(CaptureSettings::showThumbnail), false);
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
        QCOMPARE(tool->readText(CaptureSettings::location), QStringLiteral("/home/me/My Shots"));
        QCOMPARE(tool->readBool(CaptureSettings::showThumbnail), std::nullopt);
        capture.restore();
        QCOMPARE(readAll(rc), original);
    }

    // GNOME Shell saves into Pictures/<"Screenshots" in the session's language>.
    void gnomeShellFolderIsTranslated()
    {
        Sandbox box;
        const QString pictures = box.home() + QStringLiteral("/Pictures");
        const QString locale = box.path(QStringLiteral("locale"));
        // A compiled catalogue: the header entry and one translation.
        const QList<QPair<QByteArray, QByteArray>> entries = {{"", "Content-Type: text/plain; charset=UTF-8\n"},
                                                              {"Screenshots", "Bildschirmfotos"}};
        QByteArray mo;
        const auto word = [&mo](quint32 v) { mo.append(reinterpret_cast<const char *>(&v), 4); };
        const quint32 n = quint32(entries.size());
        word(0x950412de); word(0); word(n); word(28); word(28 + 8 * n); word(0); word(0);
        quint32 at = 28 + 16 * n;
        QByteArray strings;
        for (bool translated : {false, true}) {
            for (const auto &[id, text] : entries) {
                const QByteArray &s = translated ? text : id;
                word(quint32(s.size()));
                word(at + quint32(strings.size()));
                strings += s + '\0';
            }
        }
        Sandbox::writeFile(locale + QStringLiteral("/de/LC_MESSAGES/gnome-shell.mo"), mo + strings);

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
