#include "actions/actionrunner.h"
#include "actions/names.h"
#include "meta/metastore.h"
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
    void cleanName_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("clean");
        const QString bare = QStringLiteral("2026-10-08 05.12.49.png");
        // As the screenshot tools of several languages write their names.
        QTest::newRow("English") << "Screenshot 2026-10-08 at 05.12.49.png" << bare;
        QTest::newRow("German") << "Bildschirmfoto 2026-10-08 um 05.12.49.png" << bare;
        QTest::newRow("French") << QStringLiteral("Capture d'\u00E9cran 2026-10-08 \u00E0 05.12.49.png") << bare;
        QTest::newRow("Spanish") << "Captura de pantalla 2026-10-08 a las 05.12.49.png" << bare;
        QTest::newRow("Portuguese") << QStringLiteral("Captura de ecr\u00E3 2026-10-08 \u00E0s 05.12.49.png") << bare;
        QTest::newRow("Swedish") << QStringLiteral("Sk\u00E4rmavbild 2026-10-08 kl. 05.12.49.png") << bare;
        QTest::newRow("Russian")
            << QStringLiteral("\u0421\u043D\u0438\u043C\u043E\u043A \u044D\u043A\u0440\u0430\u043D\u0430 2026-10-08 \u0432 05.12.49.png")
            << bare;
        QTest::newRow("Japanese") << QStringLiteral("\u30B9\u30AF\u30EA\u30FC\u30F3\u30B7\u30E7\u30C3\u30C8 2026-10-08 5.12.49.png")
                                  << "2026-10-08 5.12.49.png";
        QTest::newRow("Chinese, no space") << QStringLiteral("\u622A\u5C4F2026-10-08 05.12.49.png") << bare;
        // File managers and other tools on Linux often write names decomposed.
        QTest::newRow("French, decomposed")
            << decomposed(QStringLiteral("Capture d'\u00E9cran 2026-10-08 \u00E0 05.12.49.png")) << bare;
        QTest::newRow("Swedish, decomposed")
            << decomposed(QStringLiteral("Sk\u00E4rmavbild 2026-10-08 kl. 05.12.49.png")) << bare;
        // Spelled otherwise than in the table: the prefix stays.
        QTest::newRow("typographic apostrophe")
            << QStringLiteral("Capture d\u2019\u00E9cran 2026-10-08 \u00E0 05.12.49.png")
            << QStringLiteral("Capture d\u2019\u00E9cran 2026-10-08 05.12.49.png");
        QTest::newRow("one prefix only") << "Screenshot Screenshot 1.png" << "Screenshot 1.png";
        QTest::newRow("separator without prefix") << "Lunch at noon.png" << "Lunch noon.png";
        QTest::newRow("case matters") << "Screenshot 2026-10-08 AT 05.12.49.png" << "2026-10-08 AT 05.12.49.png";
        QTest::newRow("untouched") << "notes.png" << "notes.png";
        // Nothing to clean: the name keeps its own (decomposed) spelling.
        QTest::newRow("untouched, decomposed") << decomposed(QStringLiteral("Caf\u00E9 menu.png"))
                                               << decomposed(QStringLiteral("Caf\u00E9 menu.png"));
        QTest::newRow("tabs trimmed, inner kept") << "Screenshot \t a  b\t.png" << "a  b\t.png";
        QTest::newRow("every separator, in order") << "x at y um z o w.png" << "x y z w.png";
    }

    void cleanName()
    {
        QFETCH(QString, name);
        QFETCH(QString, clean);
        QCOMPARE(ScreenshotNames::cleanName(name), clean);
    }

    void cleanUpRenamesAndNumbers()
    {
        QTemporaryDir dir;
        const auto file = [&](const QString &name) { return dir.filePath(name); };
        const auto url = [&](const QString &name) { return QUrl::fromLocalFile(file(name)); };
        for (const QString &name :
             {QStringLiteral("2026-10-08 05.12.49.png"), QStringLiteral("Screenshot 2026-10-08 at 05.12.49.png"),
              decomposed(QStringLiteral("Capture d'\u00E9cran 2026-10-08 \u00E0 05.12.49.png")),
              decomposed(QStringLiteral("Caf\u00E9.png")), QStringLiteral("notes.png"),
              QStringLiteral("Screenshot .png")})
            Sandbox::writeFile(file(name), name.toUtf8());

        const QList<QUrl> files = {
            url("Screenshot 2026-10-08 at 05.12.49.png"),
            url(decomposed(QStringLiteral("Capture d'\u00E9cran 2026-10-08 \u00E0 05.12.49.png"))),
            url(decomposed(QStringLiteral("Caf\u00E9.png"))), url("notes.png"), url("vanished at noon.png"),
            url("Screenshot .png")};
        const FileActions::Moves moves = cleanUpNames(files);
        QCOMPARE(moves.size(), 2);

        QStringList names = QDir(dir.path()).entryList({"*.png"}, QDir::Files | QDir::Hidden);
        names.sort();
        QStringList expected = {"2026-10-08 05.12.49 2.png", "2026-10-08 05.12.49 3.png",
                                "2026-10-08 05.12.49.png", "Screenshot .png", // would be hidden
                                decomposed(QStringLiteral("Caf\u00E9.png")), "notes.png"};
        expected.sort();
        QCOMPARE(names, expected);
        QCOMPARE(moves.first().second, url("2026-10-08 05.12.49 2.png"));
        QCOMPARE(QFile(file("2026-10-08 05.12.49 2.png")).size(),
                 qint64(QByteArray("Screenshot 2026-10-08 at 05.12.49.png").size()));
    }

    void confirmationAsksAboutTheWholeListing()
    {
        ShelfRig rig;
        rig.addImage(QStringLiteral("Screenshot 2026-10-08 at 05.12.49.png"));
        rig.addImage(QStringLiteral("a.png"));
        rig.addImage(QStringLiteral("b.png"));
        QVERIFY(rig.start());
        QCOMPARE(rig.shelf->items().size(), 3);

        FreedesktopTrash trash(rig.box.path("Trash"));
        ActionRunner runner(trash, &rig.meta);
        rig.meta.update(rig.url(QStringLiteral("Screenshot 2026-10-08 at 05.12.49.png")),
                        [](FileMeta &m) { m.text = QStringLiteral("receipt"); });
        QList<std::optional<qint64>> results;
        const auto done = [&](std::optional<qint64> count) { results.append(count); };
        ScriptedConfirm prompt;
        prompt.answer = false;
        confirmCleanUp(*rig.shelf, prompt, runner, nullptr, done);
        QCOMPARE(prompt.asked.message, QStringLiteral("Clean up the names of 3 screenshots?"));
        QCOMPARE(results, QList<std::optional<qint64>>({std::nullopt}));

        prompt.answer = true;
        confirmCleanUp(*rig.shelf, prompt, runner, nullptr, done);
        QTRY_COMPARE_WITH_TIMEOUT(results.size(), 2, 10000);
        QCOMPARE(results.last(), std::optional<qint64>(1));
        QCOMPARE(rig.meta.meta(rig.url(QStringLiteral("2026-10-08 05.12.49.png")))->text, QStringLiteral("receipt"));
    }
};

QTEST_GUILESS_MAIN(TestNames)
#include "test_names.moc"
