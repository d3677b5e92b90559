#include "ui/settingsform.h"

#include "actions/names.h"
#include "meta/metastore.h"
#include "meta/textindexer.h"
#include "model/shelf.h"
#include "system/flashsettings.h"
#include "system/heartbeat.h"
#include "system/loginitem.h"
#include "system/systemthumbnail.h"
#include "system/texts.h"
#include "tidy/autotidy.h"
#include "ui/settingswidgets.h"

#include <QComboBox>
#include <QDir>
#include <QFileInfo>
#include <QLabel>
#include <QLocale>
#include <QProgressBar>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

namespace {

constexpr int progressWidth = 120;

// The unit after a stepper's number: singular for 1.
void showUnit(QSpinBox *box)
{
    const char *unit = box->value() == 1 ? "unitOne" : "unitMany";
    box->setSuffix(QLatin1Char(' ') + box->property(unit).toString());
}

// A stepper over `min`..`max` that shows its unit after the number. Its width
// is that of the widest value, so stepping never moves it.
QSpinBox *stepper(int min, int max, int value, const QString &one, const QString &many)
{
    auto *box = new QSpinBox;
    box->setProperty("unitOne", one);
    box->setProperty("unitMany", many);
    box->setRange(min, max);
    box->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    // Typing "12" writes once, not "1" and then "12".
    box->setKeyboardTracking(false);
    box->setValue(max);
    showUnit(box);
    box->setFixedWidth(box->sizeHint().width());
    QObject::connect(box, &QSpinBox::valueChanged, box, [box] { showUnit(box); });
    box->setValue(value);
    showUnit(box);
    return box;
}

QPushButton *button(const QString &text, const char *name)
{
    auto *b = new QPushButton(text);
    b->setObjectName(QLatin1String(name));
    return b;
}

ToggleSwitch *toggle(bool on, const char *name)
{
    auto *t = new ToggleSwitch;
    t->setObjectName(QLatin1String(name));
    t->setChecked(on);
    return t;
}

QLabel *link(const QString &text, const QString &url)
{
    auto *label = new QLabel(QStringLiteral("<a href=\"%1\">%2</a>").arg(url.toHtmlEscaped(), text.toHtmlEscaped()));
    label->setTextFormat(Qt::RichText);
    label->setOpenExternalLinks(true);
    label->setTextInteractionFlags(Qt::LinksAccessibleByMouse | Qt::LinksAccessibleByKeyboard);
    label->setToolTip(url);
    return label;
}

QString versionText()
{
    const QString build = QStringLiteral(BRINDLEWICK_BUILD_NUMBER);
    const QString version = QStringLiteral(BRINDLEWICK_VERSION);
    return build.isEmpty() ? version : QStringLiteral("%1 (%2)").arg(version, build);
}

} // namespace

SettingsForm::SettingsForm(const SettingsParts &parts, QWidget *parent)
    : QWidget(parent), m_parts(parts), m_shelf(parts.shelf), m_tidy(parts.tidy), m_indexer(parts.indexer)
{
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 18, 20, 20);
    layout->setSpacing(22);
    for (QWidget *section : {buildGeneral(), buildPreview(), buildTidy(), buildSearch(), buildPrivacy(), buildAbout()})
        layout->addWidget(section);
    layout->addStretch(1);

    // A run or a tidy of thousands changes one record at a time: the row
    // (a count over every item when no run is under way) follows once per
    // event-loop turn. A run's start, size and end show at once.
    if (m_shelf) {
        connect(m_shelf, &Shelf::homeChanged, this, &SettingsForm::showHome);
        connect(m_shelf, &Shelf::itemsChanged, this, &SettingsForm::scheduleRecognition);
    }
    if (m_parts.meta)
        connect(m_parts.meta, &MetaStore::byNameChanged, this, &SettingsForm::scheduleRecognition);
    if (m_indexer) {
        connect(m_indexer, &TextIndexer::runningChanged, this, &SettingsForm::showRecognition);
        connect(m_indexer, &TextIndexer::doneChanged, this, &SettingsForm::scheduleRecognition);
        connect(m_indexer, &TextIndexer::totalChanged, this, &SettingsForm::showRecognition);
    }
    if (m_tidy) {
        for (auto signal : {&AutoTidy::enabledChanged, &AutoTidy::daysChanged, &AutoTidy::toTrashChanged,
                            &AutoTidy::candidatesChanged})
            connect(m_tidy, signal, this, &SettingsForm::showTidy);
        connect(m_tidy, &AutoTidy::checked, this, [this] {
            if (!std::exchange(m_rescanAfterTidy, false) || !m_shelf)
                return;
            m_shelf->scan();
        });
    }
    showHome();
    showTidy();
    showRecognition();
    // "Matching Now" counts what tidying would take today.
    if (m_tidy && m_shelf)
        m_tidy->refresh(m_shelf->home());
}

QWidget *SettingsForm::buildGeneral()
{
    auto *group = new SettingsGroup(tr("General"));
    LoginItem *login = m_parts.loginItem;
    auto *atLogin = toggle(login && login->autoRegister(), "openAtLogin");
    atLogin->setEnabled(login != nullptr);
    connect(atLogin, &ToggleSwitch::toggled, this, &SettingsForm::setLaunchAtLogin);
    group->addRow(tr("Open at Login"), {atLogin});

    auto *shortcut = new QLabel(Texts::globalShortcutHint());
    group->addRow(tr("Keyboard Shortcut"), {shortcut});

    m_homeName = new ElidedLabel;
    m_changeHome = button(tr("Change\u2026"), "changeHome");
    m_changeHome->setEnabled(m_shelf && m_parts.folderChooser);
    connect(m_changeHome, &QPushButton::clicked, this, [this] {
        if (m_shelf && m_parts.folderChooser)
            m_shelf->chooseHome(*m_parts.folderChooser);
    });
    group->addRow(tr("Screenshots Folder"), {m_homeName, m_changeHome});
    // Linux has no approval step for starting at login, so this footer is
    // the only one.
    group->setFooter(tr("The shortcut opens or hides the shelf from any app. New screenshots are "
                        "saved to the folder above while Brindlewick is running."));
    return group;
}

QWidget *SettingsForm::buildPreview()
{
    auto *group = new SettingsGroup(tr("Corner Preview"));
    Prefs *prefs = m_parts.prefs;
    auto *enabled = toggle(prefs && FlashSettings::enabled(*prefs), "flashEnabled");
    enabled->setEnabled(prefs != nullptr);
    connect(enabled, &ToggleSwitch::toggled, this, [prefs](bool on) {
        if (prefs)
            FlashSettings::setEnabled(*prefs, on);
    });
    group->addRow(tr("Show Preview After Taking a Screenshot"), {enabled});

    auto *seconds = stepper(1, 30, prefs ? int(FlashSettings::seconds(*prefs)) : 3, tr("second"), tr("seconds"));
    seconds->setObjectName(QStringLiteral("flashSeconds"));
    seconds->setEnabled(prefs != nullptr);
    connect(seconds, &QSpinBox::valueChanged, this, [prefs](int value) {
        if (prefs)
            FlashSettings::setSeconds(*prefs, value);
    });
    group->addRow(tr("Stays on Screen"), {seconds});

    // Only a tool with a switch of its own gets one here; otherwise the row
    // says why there is nothing to switch.
    SystemThumbnail *thumb = m_parts.systemThumbnail;
    const QString tool = thumb ? thumb->toolName() : QString();
    const bool available = thumb && thumb->available();
    auto *hide = toggle(available && !thumb->shown(), "hideSystemThumb");
    hide->setEnabled(available);
    connect(hide, &ToggleSwitch::toggled, this, [thumb](bool on) {
        if (thumb)
            thumb->setShown(!on);
    });
    QWidget *row = group->addRow(
        tool.isEmpty() ? Texts::hideAnyToolNotification() : Texts::hideToolNotification().arg(tool), {hide});
    if (!available) {
        const QString reason =
            tool.isEmpty() ? Texts::noKnownScreenshotTool() : Texts::toolHasNoNotification().arg(tool);
        SettingsGroup::setSubtitle(row, reason);
        hide->setToolTip(reason);
    }
    group->setFooter(Texts::previewFooter());
    return group;
}

QWidget *SettingsForm::buildTidy()
{
    auto *group = new SettingsGroup(tr("Tidy Up"));
    m_tidyEnabled = toggle(m_tidy && m_tidy->enabled(), "tidyEnabled");
    connect(m_tidyEnabled, &ToggleSwitch::toggled, this, [this](bool on) {
        if (m_tidy)
            m_tidy->setEnabled(on);
    });
    group->addRow(tr("Tidy Up Automatically"), {m_tidyEnabled});

    m_tidyDays = stepper(1, 365, m_tidy ? m_tidy->days() : AutoTidy::defaultDays, tr("day"), tr("days"));
    m_tidyDays->setObjectName(QStringLiteral("tidyDays"));
    connect(m_tidyDays, &QSpinBox::valueChanged, this, [this](int days) {
        if (m_tidy)
            m_tidy->setDays(days);
    });
    group->addRow(tr("Older Than"), {m_tidyDays});

    m_tidyTarget = new QComboBox;
    m_tidyTarget->setObjectName(QStringLiteral("tidyTarget"));
    m_tidyTarget->addItem(tr("Archive folder"), false);
    m_tidyTarget->addItem(tr("Trash"), true);
    connect(m_tidyTarget, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (m_tidy && index >= 0)
            m_tidy->setToTrash(m_tidyTarget->itemData(index).toBool());
    });
    group->addRow(tr("Move Them To"), {m_tidyTarget});

    m_matching = secondaryLabel(QString(), nullptr, false);
    m_matching->setObjectName(QStringLiteral("tidyMatching"));
    auto *refresh = button(tr("Refresh"), "tidyRefresh");
    connect(refresh, &QPushButton::clicked, this, [this] {
        if (m_tidy && m_shelf)
            m_tidy->refresh(m_shelf->home());
    });
    m_tidyNow = button(QString(), "tidyNow");
    connect(m_tidyNow, &QPushButton::clicked, this, [this] {
        if (!m_tidy || !m_shelf)
            return;
        // The shelf looks again once the files have gone.
        m_rescanAfterTidy = true;
        m_tidy->runNow(m_shelf->home());
    });
    group->addRow(tr("Matching Now"), {m_matching, refresh, m_tidyNow});
    for (QWidget *w : std::initializer_list<QWidget *>{m_tidyEnabled, m_tidyDays, m_tidyTarget, refresh})
        w->setEnabled(m_tidy != nullptr);
    group->setFooter(tr("Applies to screenshots in the Home folder only. The Archive folder is created "
                        "inside it and stays visible in the folder column."));
    return group;
}

QWidget *SettingsForm::buildSearch()
{
    auto *group = new SettingsGroup(tr("Search & Names"));
    m_recognise = button(QString(), "recognise");
    connect(m_recognise, &QPushButton::clicked, this, [this] {
        if (m_indexer && m_shelf)
            m_indexer->index(m_shelf->items(), false);
    });
    m_progress = new QProgressBar;
    m_progress->setObjectName(QStringLiteral("recogniseProgress"));
    m_progress->setFixedWidth(progressWidth);
    m_progress->setTextVisible(false);
    m_progressText = secondaryLabel(QString(), nullptr, false);
    m_progressText->setObjectName(QStringLiteral("recogniseProgressText"));
    m_stop = button(tr("Stop"), "recogniseStop");
    connect(m_stop, &QPushButton::clicked, this, [this] {
        if (m_indexer)
            m_indexer->cancel();
    });
    group->addRow(tr("Text Recognition"), {m_progress, m_progressText, m_stop, m_recognise});

    m_renamed = secondaryLabel(QString(), nullptr, false);
    m_renamed->setObjectName(QStringLiteral("renamed"));
    m_renamed->hide();
    m_cleanUp = button(tr("Clean Up Names\u2026"), "cleanUp");
    m_cleanUp->setEnabled(m_shelf && m_parts.confirm && m_parts.runner);
    connect(m_cleanUp, &QPushButton::clicked, this, &SettingsForm::cleanUpNames);
    group->addRow(tr("File Names"), {m_renamed, m_cleanUp});
    group->setFooter(Texts::recognitionFooter());
    return group;
}

QWidget *SettingsForm::buildPrivacy()
{
    auto *group = new SettingsGroup(tr("Privacy"));
    Heartbeat *heartbeat = m_parts.heartbeat;
    auto *share = toggle(heartbeat && heartbeat->enabled(), "heartbeat");
    share->setEnabled(heartbeat != nullptr);
    // On sends at once; off forgets the identifier.
    connect(share, &ToggleSwitch::toggled, this, [heartbeat](bool on) {
        if (heartbeat)
            heartbeat->setEnabled(on);
    });
    group->addRow(tr("Share an Anonymous Usage Count"), {share});
    group->setFooter(Texts::privacyFooter().arg(QUrl(QStringLiteral(BRINDLEWICK_PING_ENDPOINT)).host()));
    return group;
}

QWidget *SettingsForm::buildAbout()
{
    auto *group = new SettingsGroup(tr("About"));
    auto *version = new QLabel(versionText());
    version->setTextInteractionFlags(Qt::TextSelectableByMouse);
    group->addRow(tr("Version"), {version});
    group->addRow(tr("Made by"), {link(QStringLiteral("Merrowind"), QStringLiteral(BRINDLEWICK_WEBSITE_URL))});
    group->addRow(tr("Support the Project"), {link(tr("Buy me a coffee"), QStringLiteral(BRINDLEWICK_SUPPORT_URL))});
    group->setFooter(Texts::distributionNotice());
    return group;
}

void SettingsForm::setLaunchAtLogin(bool on)
{
    LoginItem *login = m_parts.loginItem;
    if (!login)
        return;
    if (on) {
        login->setAutoRegister(true);
        // Says so in an alert when the entry cannot be written.
        login->checkRegistration(true);
    } else {
        login->turnOff();
    }
}

void SettingsForm::showHome()
{
    const QString path = m_shelf ? QDir::toNativeSeparators(m_shelf->home().toLocalFile()) : QString();
    const QString name = QFileInfo(path).fileName();
    m_homeName->setText(name.isEmpty() ? path : name);
    m_homeName->setToolTip(path);
}

void SettingsForm::showTidy()
{
    const bool toTrash = m_tidy && m_tidy->toTrash();
    const qsizetype count = m_tidy ? m_tidy->candidates().size() : 0;
    {
        const QSignalBlocker a(m_tidyEnabled), b(m_tidyDays), c(m_tidyTarget);
        if (m_tidy) {
            m_tidyEnabled->setChecked(m_tidy->enabled());
            m_tidyDays->setValue(m_tidy->days());
        }
        showUnit(m_tidyDays);
        m_tidyTarget->setCurrentIndex(toTrash ? 1 : 0);
    }
    m_matching->setText(QLocale().toString(count));
    m_tidyNow->setText(toTrash ? tr("Trash Now") : tr("Archive Now"));
    m_tidyNow->setEnabled(m_tidy && m_shelf && count > 0);
}

qsizetype SettingsForm::unindexedCount() const
{
    if (!m_shelf)
        return 0;
    const QList<QUrl> items = m_shelf->items();
    if (!m_parts.meta)
        return items.size();
    return std::count_if(items.cbegin(), items.cend(), [this](const QUrl &item) {
        const std::optional<FileMeta> record = m_parts.meta->meta(item);
        return !record || !record->hasTextFor(m_shelf->modified(item));
    });
}

void SettingsForm::scheduleRecognition()
{
    if (std::exchange(m_recognitionDue, true))
        return;
    QMetaObject::invokeMethod(
        this,
        [this] {
            if (m_recognitionDue)
                showRecognition();
        },
        Qt::QueuedConnection);
}

void SettingsForm::showRecognition()
{
    m_recognitionDue = false;
    const bool running = m_indexer && m_indexer->running();
    m_progress->setVisible(running);
    m_progressText->setVisible(running);
    m_stop->setVisible(running);
    m_recognise->setVisible(!running);
    if (running) {
        m_progress->setRange(0, std::max(m_indexer->total(), 1));
        m_progress->setValue(std::min(m_indexer->done(), m_progress->maximum()));
        m_progressText->setText(tr("%L1 of %L2").arg(m_indexer->done()).arg(m_indexer->total()));
        return;
    }
    const qsizetype count = unindexedCount();
    // The word stays plural for one, as the button has always read.
    m_recognise->setText(count == 0 ? tr("Up to Date") : tr("Recognize Text in %Ln Screenshots", nullptr, int(count)));
    m_recognise->setEnabled(count > 0 && m_indexer);
}

void SettingsForm::cleanUpNames()
{
    if (!m_shelf || !m_parts.confirm || !m_parts.runner)
        return;
    QPointer<SettingsForm> self(this);
    ScreenshotNames::confirmCleanUp(*m_shelf, *m_parts.confirm, *m_parts.runner, this,
                                    [self](std::optional<qint64> renamed) {
                                        if (!self || !renamed)
                                            return;
                                        self->m_cleaned = *renamed;
                                        self->m_renamed->setText(ScreenshotNames::resultText(*renamed));
                                        self->m_renamed->show();
                                    });
}
