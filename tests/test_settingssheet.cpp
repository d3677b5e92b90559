// The settings sheet over a throwaway shelf, preferences and screenshot tool:
// the steppers, the recognition row's states, the name clean-up and
// the notification switch of a tool that has none.

#include "meta/textindexer.h"
#include "platform/textrecognizer.h"
#include "support/actionrig.h"
#include "system/flashsettings.h"
#include "system/systemthumbnail.h"
#include "tidy/autotidy.h"
#include "ui/settingssheet.h"
#include "ui/settingswidgets.h"

#include <QApplication>
#include <QFile>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QRegularExpression>
#include <QSemaphore>
#include <QSpinBox>

namespace {

// Each file waits for a permit, so a run stays under way while the test looks.
class GatedRecognizer : public TextRecognizer
{
public:
    explicit GatedRecognizer(QSemaphore &permits) : m_permits(permits) {}
    std::optional<QString> recognize(const QString &) override
    {
        m_permits.acquire();
        return QString();
    }

private:
    QSemaphore &m_permits;
};

// A shelf with its sheet's collaborators, all on the rig's own files.
struct SheetRig : ActionRig
{
    AutoTidy tidy{prefs, &meta, trash};
    QSemaphore permits;
    TextIndexer indexer{meta, [this] { return std::make_unique<GatedRecognizer>(permits); }};
    ScriptedConfirm confirm;
    SystemThumbnail thumbnail{&tool};

    ~SheetRig()
    {
        indexer.cancel();
        permits.release(100);
    }

    SettingsParts parts()
    {
        return {.shelf = shelf.get(),
                .prefs = &prefs,
                .tidy = &tidy,
                .indexer = &indexer,
                .meta = &meta,
                .systemThumbnail = &thumbnail,
                .confirm = &confirm,
                .runner = &runner};
    }
};

template <typename T>
T *child(QWidget *form, const char *name)
{
    T *found = form->findChild<T *>(QLatin1String(name));
    if (!found)
        qFatal("no control %s", name);
    return found;
}

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
    // The steppers start from the stored values (a fractional duration is
    // cut to whole seconds), write each step through at once and follow a
    // change made elsewhere, with its unit. (The bounds are the settings'
    // own: test_flash and test_autotidy.)
    void steppersWriteThroughAndFollow()
    {
        SheetRig rig;
        QVERIFY(rig.start());
        FlashSettings::setSeconds(rig.prefs, 7.8);
        rig.tidy.setDays(365);
        SettingsForm form(rig.parts());
        auto *seconds = child<QSpinBox>(&form, "flashSeconds");
        auto *days = child<QSpinBox>(&form, "tidyDays");
        QVERIFY(seconds->value() == 7 && days->value() == 365);
        const QString plural = days->suffix();
        days->setValue(1);
        QVERIFY(rig.tidy.days() == 1 && rig.prefs.value(PrefKey::tidyDays).toInt() == 1 && days->suffix() != plural);
        seconds->setValue(12);
        QCOMPARE(FlashSettings::seconds(rig.prefs), 12.0);
        rig.tidy.setDays(12);
        QVERIFY(days->value() == 12 && days->suffix() == plural);
    }

    // Unindexed items offer a run; a run under way shows its progress and
    // Stop; with every item indexed the row is a disabled "Up to Date".
    void recognitionRowFollowsTheIndexer()
    {
        SheetRig rig;
        for (const QString name : {"a.png", "b.png", "c.png", "d.png"})
            rig.addImage(name);
        QVERIFY(rig.start());
        rig.meta.update(rig.url(QStringLiteral("c.png")), [](FileMeta &m) { m.text = QString(); });
        SettingsForm form(rig.parts());
        auto *start = child<QPushButton>(&form, "recognise");
        auto *progress = child<QProgressBar>(&form, "recogniseProgress");
        auto *stop = child<QPushButton>(&form, "recogniseStop");
        QVERIFY(start->isEnabled() && !start->isHidden() && progress->isHidden() && stop->isHidden());
        QVERIFY(start->text().contains(QLatin1String(" 3 ")));

        start->click();
        QVERIFY(rig.indexer.running());
        QVERIFY(start->isHidden() && !progress->isHidden() && !stop->isHidden());
        QCOMPARE(progress->maximum(), 3);
        rig.permits.release(1);
        QTRY_COMPARE(progress->value(), 1);

        // Stopped with a file or two left: the offer comes back for them.
        stop->click();
        rig.permits.release(1);
        QTRY_VERIFY(!rig.indexer.running());
        QVERIFY(!start->isHidden() && stop->isHidden());
        QVERIFY(start->isEnabled() && start->text().contains(QRegularExpression(QStringLiteral(" [12] "))));

        rig.permits.release(2);
        start->click();
        QTRY_VERIFY(!rig.indexer.running());
        QVERIFY(!start->isEnabled());
        QVERIFY(!start->text().contains(QRegularExpression(QStringLiteral("\\d"))));
    }

    // Cancel in the clean-up question renames nothing and reports nothing;
    // Clean Up renames and reports how many.
    void cleanUpAsksFirstAndReportsTheCount()
    {
        SheetRig rig;
        const QString shot = QStringLiteral("Screenshot 2026-10-08 at 05.12.49.png");
        rig.addImage(shot);
        rig.addImage(QStringLiteral("plain.png"));
        QVERIFY(rig.start());
        SettingsForm form(rig.parts());
        auto *cleanUp = child<QPushButton>(&form, "cleanUp");
        auto *renamed = child<QLabel>(&form, "renamed");

        rig.confirm.answer = false;
        cleanUp->click();
        QVERIFY(!rig.confirm.asked.message.isEmpty());
        QCoreApplication::processEvents();
        QVERIFY(QFile::exists(rig.file(shot)));
        QVERIFY(renamed->isHidden() && !form.cleaned());

        rig.confirm.answer = true;
        cleanUp->click();
        QTRY_VERIFY(!renamed->isHidden());
        QCOMPARE(form.cleaned(), std::optional<qint64>(1));
        QVERIFY(!QFile::exists(rig.file(shot)) && QFile::exists(rig.file(QStringLiteral("2026-10-08 05.12.49.png"))));
    }

    // A tool without a notification switch, or no known tool, gets a
    // disabled switch and a reason under it; a tool with one gets a switch
    // that writes the tool's own setting.
    void notificationSwitchOnlyWhereTheToolHasOne()
    {
        SheetRig rig;
        QVERIFY(rig.start());
        rig.tool.writable = false;
        for (const bool known : {true, false}) {
            SettingsParts parts = rig.parts();
            if (!known)
                parts.systemThumbnail = nullptr;
            SettingsForm form(parts);
            auto *hide = child<ToggleSwitch>(&form, "hideSystemThumb");
            QVERIFY(!hide->isEnabled() && !hide->isChecked());
            QVERIFY(rowSubtitle(hide).contains(known ? rig.tool.toolName() : QString())
                    && !rowSubtitle(hide).isEmpty());
        }
        rig.tool.writable = true;
        SettingsForm form(rig.parts());
        auto *hide = child<ToggleSwitch>(&form, "hideSystemThumb");
        QVERIFY(hide->isEnabled() && rowSubtitle(hide).isEmpty());
        hide->click();
        QCOMPARE(rig.tool.readBool(CaptureSettings::showThumbnail), std::optional<bool>(false));
        hide->click();
        QVERIFY(!rig.tool.values.contains(CaptureSettings::showThumbnail));
    }
};

QTEST_MAIN(TestSettingsSheet)
#include "test_settingssheet.moc"
