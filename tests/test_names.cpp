#include "actions/actionrunner.h"
#include "actions/names.h"
#include "support/scriptedprompts.h"
#include "support/shelfrig.h"

#include <QTemporaryDir>
#include <QTest>

using namespace ScreenshotNames;

namespace {

QString decomposed(const QString &text) { return text.normalized(QString::NormalizationForm_D); }

} // namespace

class TestNames : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanName()
    {
        const QString bare = "2026-10-08 05.12.49.png";
        const QString french = "Capture d'\u00E9cran 2026-10-08 \u00E0 05.12.49.png";
        const QList<QPair<QString, QString>> cases = {
            {"Screenshot 2026-10-08 at 05.12.49.png", bare},
            {"\u622A\u5C4F2026-10-08 05.12.49.png", bare}, // no space after the prefix
            // File managers and other tools on Linux often write names decomposed.
            {decomposed(french), bare},
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

    void cleanUpRenamesAndNumbers()
    {
        QTemporaryDir dir;
        const QString french = decomposed("Capture d'\u00E9cran 2026-10-08 \u00E0 05.12.49.png");
        const QStringList present = {"2026-10-08 05.12.49.png", "Screenshot 2026-10-08 at 05.12.49.png", french,
                                     "Screenshot .png"};
        for (const QString &name : present)
            Sandbox::writeFile(dir.filePath(name), name.toUtf8());
        QList<QUrl> files;
        for (const QString &name : present.mid(1) + QStringList{"vanished at noon.png"})
            files << QUrl::fromLocalFile(dir.filePath(name));
        const FileActions::Moves moves = cleanUpNames(files);
        QCOMPARE(moves.size(), 2);
        // Taken names are numbered; "Screenshot .png" would become hidden and stays.
        QCOMPARE(TestFiles::entries(dir.path()), QStringList({"2026-10-08 05.12.49 2.png", "2026-10-08 05.12.49 3.png",
                                                              "2026-10-08 05.12.49.png", "Screenshot .png"}));
        QCOMPARE(moves.first().second, QUrl::fromLocalFile(dir.filePath("2026-10-08 05.12.49 2.png")));
        QCOMPARE(TestFiles::readAll(dir.filePath("2026-10-08 05.12.49 2.png")),
                 QByteArray("Screenshot 2026-10-08 at 05.12.49.png"));
    }

    // The question counts the whole listing, not the one file to rename, and
    // the renamed file keeps its record. (Cancelling is the settings sheet's.)
    void confirmationAsksAboutTheWholeListing()
    {
        ShelfRig rig;
        const QString shot = "Screenshot 2026-10-08 at 05.12.49.png";
        for (const QString &name : {shot, QString("a.png"), QString("b.png")})
            rig.addImage(name);
        QVERIFY(rig.start());
        rig.meta.update(rig.url(shot), [](FileMeta &m) { m.text = QStringLiteral("receipt"); });
        FreedesktopTrash trash(rig.box.path("Trash"));
        ActionRunner runner(trash, &rig.meta);
        std::optional<qint64> result;
        ScriptedConfirm prompt;
        prompt.answer = true;
        confirmCleanUp(*rig.shelf, prompt, runner, nullptr, [&](std::optional<qint64> count) { result = count; });
        QVERIFY(prompt.asked.message.contains(QLatin1String(" 3 ")));
        QTRY_COMPARE_WITH_TIMEOUT(result, std::optional<qint64>(1), 10000);
        QCOMPARE(rig.meta.meta(rig.url("2026-10-08 05.12.49.png"))->text, "receipt");
    }
};

QTEST_GUILESS_MAIN(TestNames)
#include "test_names.moc"
