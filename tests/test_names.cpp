#include "actions/actionrunner.h"
#include "actions/names.h"
#include "support/scriptedprompts.h"
#include "support/shelfrig.h"

#include <QTest>

static QString decomposed(const QString &text) { return text.normalized(QString::NormalizationForm_D); }

class TestNames : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanName()
    {
        const QString bare = "2026-10-08 05.12.49.png";
        const QList<QPair<QString, QString>> cases = {
            {"Screenshot 2026-10-08 at 05.12.49.png", bare},
            {"\u622A\u5C4F2026-10-08 05.12.49.png", bare}, // no space after the prefix
            // File managers and other tools on Linux often write names decomposed.
            {decomposed("Capture d'\u00E9cran 2026-10-08 \u00E0 05.12.49.png"), bare},
            // Spelled otherwise than in the table: the prefix stays.
            {"Capture d\u2019\u00E9cran 2026-10-08 \u00E0 05.12.49.png",
             "Capture d\u2019\u00E9cran 2026-10-08 05.12.49.png"},
            {"Screenshot Screenshot 1.png", "Screenshot 1.png"},
            {"Lunch at noon.png", "Lunch noon.png"},
            // Nothing to clean: the name keeps its own (decomposed) spelling.
            {decomposed("Caf\u00E9 menu.png"), decomposed("Caf\u00E9 menu.png")},
            {"Screenshot \t a  b\t.png", "a  b\t.png"},
        };
        for (const auto &[name, clean] : cases)
            QCOMPARE(ScreenshotNames::cleanName(name), clean);
    }

    // The question counts the whole listing; taken names are numbered, a name
    // that would become hidden stays, a file gone since the listing is
    // skipped, and a renamed file keeps its record.
    void cleanUpRenamesNumbersAndKeepsRecords()
    {
        ShelfRig rig;
        const QString shot = "Screenshot 2026-10-08 at 05.12.49.png";
        rig.addImage("2026-10-08 05.12.49.png", 30);
        rig.addImage(decomposed("Capture d'\u00E9cran 2026-10-08 \u00E0 05.12.49.png"), 20);
        rig.addImage("Screenshot .png", 10);
        rig.addImage("Lunch at noon.png", 5);
        rig.addImage(shot);
        QVERIFY(rig.start());
        rig.meta.update(rig.url(shot), [](FileMeta &m) { m.text = QStringLiteral("receipt"); });
        QFile::remove(rig.file("Lunch at noon.png"));
        FreedesktopTrash trash(rig.box.path("Trash"));
        ActionRunner runner(trash, &rig.meta);
        std::optional<qint64> result;
        ScriptedConfirm prompt;
        ScreenshotNames::confirmCleanUp(*rig.shelf, prompt, runner, nullptr,
                                        [&](std::optional<qint64> count) { result = count; });
        QVERIFY(prompt.asked.message.contains(QLatin1String(" 5 ")));
        QTRY_COMPARE_WITH_TIMEOUT(result, std::optional<qint64>(2), 10000);
        QCOMPARE(TestFiles::entries(rig.folder()),
                 QStringList({"2026-10-08 05.12.49 2.png", "2026-10-08 05.12.49 3.png", "2026-10-08 05.12.49.png",
                              "Screenshot .png"}));
        QCOMPARE(rig.meta.meta(rig.url("2026-10-08 05.12.49 2.png"))->text, "receipt");
    }
};

QTEST_GUILESS_MAIN(TestNames)
#include "test_names.moc"
