#pragma once

#include <QPointer>
#include <QWidget>

#include <optional>

class ActionRunner;
class AutoTidy;
class ConfirmPrompt;
class ElidedLabel;
class FolderChooser;
class Heartbeat;
class LoginItem;
class MetaStore;
class Prefs;
class QComboBox;
class QLabel;
class QProgressBar;
class QPushButton;
class QSpinBox;
class Shelf;
class SystemThumbnail;
class TextIndexer;
class ToggleSwitch;

// What the settings act on, handed in by the application (tests hand in
// their own). Any pointer may be null: the rows that need it are then
// disabled, and nothing falls back to the user's real settings or files.
struct SettingsParts
{
    Shelf *shelf = nullptr;
    Prefs *prefs = nullptr; // the corner preview's two settings
    AutoTidy *tidy = nullptr;
    TextIndexer *indexer = nullptr;
    MetaStore *meta = nullptr;
    LoginItem *loginItem = nullptr;
    SystemThumbnail *systemThumbnail = nullptr;
    Heartbeat *heartbeat = nullptr;
    FolderChooser *folderChooser = nullptr;
    ConfirmPrompt *confirm = nullptr; // the name clean-up question
    ActionRunner *runner = nullptr;   // does the clean-up's renames
};

// The six sections of settings. Every control writes through at once; there
// is nothing to apply or cancel. The values are read once when the form is
// made, except where another part of the program owns them and announces
// changes (tidying, recognition, the shelf's folder and items).
class SettingsForm : public QWidget
{
    Q_OBJECT

public:
    explicit SettingsForm(const SettingsParts &parts, QWidget *parent = nullptr);

    // Files renamed by the last name clean-up started here.
    std::optional<qint64> cleaned() const { return m_cleaned; }

private:
    QWidget *buildGeneral();
    QWidget *buildPreview();
    QWidget *buildTidy();
    QWidget *buildSearch();
    QWidget *buildPrivacy();
    QWidget *buildAbout();

    void setLaunchAtLogin(bool on);
    void showHome();
    void showTidy();
    void showRecognition();
    void scheduleRecognition(); // once, on the next event-loop turn
    void cleanUpNames();
    qsizetype unindexedCount() const;

    SettingsParts m_parts;
    QPointer<Shelf> m_shelf;
    QPointer<AutoTidy> m_tidy;
    QPointer<TextIndexer> m_indexer;
    bool m_rescanAfterTidy = false;
    bool m_recognitionDue = false;
    std::optional<qint64> m_cleaned;

    ElidedLabel *m_homeName = nullptr;
    QPushButton *m_changeHome = nullptr;
    ToggleSwitch *m_tidyEnabled = nullptr;
    QSpinBox *m_tidyDays = nullptr;
    QComboBox *m_tidyTarget = nullptr;
    QLabel *m_matching = nullptr;
    QPushButton *m_tidyNow = nullptr;
    QPushButton *m_recognise = nullptr;
    QProgressBar *m_progress = nullptr;
    QLabel *m_progressText = nullptr;
    QPushButton *m_stop = nullptr;
    QLabel *m_renamed = nullptr;
    QPushButton *m_cleanUp = nullptr;
};
