// The settings sheet over a throwaway shelf, preferences and screenshot tool:
// the steppers, the recognition row's states, the name clean-up and
// the notification switch of a tool that has none.

#include "meta/textindexer.h"
#include "platform/textrecognizer.h"
#include "support/actionrig.h"
#include "system/flashsettings.h"
#include "system/systemthumbnail.h"
#include "tidy/autotidy.h"
#include "ui/settingsform.h"
#include "ui/settingswidgets.h"

#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QRegularExpression>
#include <QSemaphore>
#include <QSpinBox>

namespace {

// Each file waits for a permit (at most ten seconds, should the test fail
// before it gives one), so a run stays under way while the test looks.
struct GatedRecognizer : TextRecognizer
{
    QSemaphore &permits;
    explicit GatedRecognizer(QSemaphore &permits) : permits(permits) {}
    std::optional<QString> recognize(const QString &) override
    {
        permits.tryAcquire(1, 10000);
        return QString();
    }
};

QString rowSubtitle(QWidget *control)
{
    auto *subtitle = control->parentWidget()->findChild<QLabel *>(QStringLiteral("rowSubtitle"));
    return subtitle && !subtitle->isHidden() ? subtitle->text() : QString();
}

} // namespace

class TestSettingsSheet : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Unindexed items offer a run; a run under way shows its progress and
    // Stop; stopped with a file or two left, the offer comes back for them;
    // with every item indexed the row is a disabled "Up to Date". The
    // steppers start from the stored values (a fractional duration is cut to
    // whole seconds), write each step through at once and follow a change
    // made elsewhere (the bounds are the settings' own).
    // Cancel in the clean-up question renames nothing and reports nothing;
    // Clean Up renames and reports how many. A tool without a notification
    // switch, or no known tool, gets a disabled switch and a reason under it;
    // a tool with one gets a switch that writes the tool's own setting.
    void everyRowOnItsOwnFiles()
    {
        ActionRig rig;
        AutoTidy tidy{rig.prefs, &rig.meta, rig.trash};
        QSemaphore permits;
        TextIndexer indexer{rig.meta, [&permits] { return std::make_unique<GatedRecognizer>(permits); }};
        ScriptedConfirm confirm;
        SystemThumbnail thumbnail{&rig.tool};
        const QString shot = QStringLiteral("Screenshot 2026-10-08 at 05.12.49.png");
        for (const QString &name : {shot, QStringLiteral("a.png"), QStringLiteral("b.png"), QStringLiteral("c.png")})
            rig.addImage(name);
        QVERIFY(rig.start());
        rig.meta.update(rig.url(QStringLiteral("c.png")), [](FileMeta &m) { m.text = QString(); });
        FlashSettings::setSeconds(rig.prefs, 7.8);
        tidy.setDays(365);
        rig.tool.writable = false;
        const auto parts = SettingsParts{.shelf = rig.shelf.get(),
                                         .prefs = &rig.prefs,
                                         .tidy = &tidy,
                                         .indexer = &indexer,
                                         .meta = &rig.meta,
                                         .systemThumbnail = &thumbnail,
                                         .confirm = &confirm,
                                         .runner = &rig.runner};
        SettingsForm form(parts);
        auto *start = form.findChild<QPushButton *>("recognise");
        auto *progress = form.findChild<QProgressBar *>("recogniseProgress");
        auto *stop = form.findChild<QPushButton *>("recogniseStop");
        QVERIFY(start->isEnabled() && !start->isHidden() && progress->isHidden() && stop->isHidden());
        QVERIFY(start->text().contains(QLatin1String(" 3 ")));
        start->click();
        QVERIFY(indexer.running() && start->isHidden() && !progress->isHidden() && !stop->isHidden());
        QCOMPARE(progress->maximum(), 3);
        permits.release(1);
        QTRY_COMPARE(progress->value(), 1);
        stop->click();
        permits.release(1);
        QTRY_VERIFY(!indexer.running());
        QVERIFY(!start->isHidden() && stop->isHidden() && start->isEnabled());
        QVERIFY(start->text().contains(QRegularExpression(QStringLiteral(" [12] "))));
        permits.release(2);
        start->click();
        QTRY_VERIFY(!indexer.running());
        QVERIFY(!start->isEnabled() && !start->text().contains(QRegularExpression(QStringLiteral("\\d"))));
        // A record changed outside a run shows too (a turn later).
        rig.meta.update(rig.url(QStringLiteral("a.png")), [](FileMeta &m) { m.text.reset(); });
        QTRY_VERIFY(start->isEnabled() && start->text().contains(QLatin1String(" 1 ")));

        auto *seconds = form.findChild<QSpinBox *>("flashSeconds");
        auto *days = form.findChild<QSpinBox *>("tidyDays");
        QVERIFY(seconds->value() == 7 && days->value() == 365);
        days->setValue(1);
        QVERIFY(tidy.days() == 1 && rig.prefs.value(PrefKey::tidyDays).toInt() == 1);
        seconds->setValue(12);
        QCOMPARE(FlashSettings::seconds(rig.prefs), 12.0);
        tidy.setDays(12);
        QCOMPARE(days->value(), 12);

        auto *cleanUp = form.findChild<QPushButton *>("cleanUp");
        auto *renamed = form.findChild<QLabel *>("renamed");
        confirm.answer = false;
        cleanUp->click();
        QCoreApplication::processEvents();
        QVERIFY(QFile::exists(rig.file(shot)) && renamed->isHidden() && !form.cleaned());
        confirm.answer = true;
        cleanUp->click();
        QTRY_VERIFY(!renamed->isHidden());
        QCOMPARE(form.cleaned(), std::optional<qint64>(1));
        QVERIFY(!QFile::exists(rig.file(shot)) && QFile::exists(rig.file(QStringLiteral("2026-10-08 05.12.49.png"))));

        SettingsParts unknownTool = parts;
        unknownTool.systemThumbnail = nullptr;
        SettingsForm withoutTool(unknownTool);
        for (SettingsForm *sheet : {&form, &withoutTool}) {
            auto *hide = sheet->findChild<ToggleSwitch *>("hideSystemThumb");
            QVERIFY(!hide->isEnabled() && !hide->isChecked() && !rowSubtitle(hide).isEmpty());
            QVERIFY(rowSubtitle(hide).contains(sheet == &form ? rig.tool.toolName() : QString()));
        }
        rig.tool.writable = true;
        SettingsForm writable(parts);
        auto *hide = writable.findChild<ToggleSwitch *>("hideSystemThumb");
        QVERIFY(hide->isEnabled() && rowSubtitle(hide).isEmpty());
        hide->click();
        QCOMPARE(rig.tool.readBool(CaptureSettings::showThumbnail), std::optional<bool>(false));
        hide->click();
        QVERIFY(!rig.tool.values.contains(CaptureSettings::showThumbnail));
    }
};

QTEST_MAIN(TestSettingsSheet)
#include "test_settingssheet.moc"
