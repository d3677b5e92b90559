#pragma once

#include "actions/fileproblems.h"
#include "platform/applauncher.h"

#include <QIcon>
#include <QKeySequence>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QUrl>

#include <functional>
#include <optional>

class ActionRunner;
class FileManager;
class MetaStore;
class Pins;
class QAction;
class Previewer;
class QWidget;
class Shelf;
class TextIndexer;
class TextPrompt;
struct FileWorkResult;

// One file operation: the action a person sees (title, icon, the key that
// does it shown as a hint, enabled while there is something to act on) and
// the one implementation, which takes the files it acts on. The keys, the
// toolbar, every context menu and the main menu all reach the operation
// through this object.
//
// The key hint is shown, never grabbed: the shelf window's own key map does
// the work, so a key has exactly one way in.
class FileCommand : public QObject
{
    Q_OBJECT

public:
    // What the action acts on when triggered.
    enum class Reach {
        selection,   // the selected files in sight, in display order
        oneSelected, // exactly one selected file
        primary,     // the first selected file, else the first in sight
        nothing,     // no files (a new folder)
    };
    using Act = std::function<void(const QList<QUrl> &)>;
    // The title for a number of files ("Open 3 Items").
    using Title = std::function<QString(qsizetype)>;

    FileCommand(Shelf &shelf, Reach reach, Title title, Act act, QObject *parent);

    QAction *action() const { return m_action; }
    Reach reach() const { return m_reach; }
    QString title(qsizetype count) const { return m_title(count); }

    // The files the action acts on now.
    QList<QUrl> targets() const;
    // The operation itself, on these files.
    void run(const QList<QUrl> &files);
    // What the action does: run on the targets, unless told otherwise.
    void trigger();
    void setTrigger(std::function<void()> trigger) { m_trigger = std::move(trigger); }

    // A menu entry acting on `files` alone, titled for their number, with
    // this command's icon and key hint. `parent` owns it.
    QAction *entryFor(const QList<QUrl> &files, QObject *parent);

    // Follows the shelf: enabled while there is something to act on.
    void refresh();

    // The desktop theme's icon of the first of these names it has, else
    // the one bundled with the program (none when not named).
    static QIcon themedIcon(const QStringList &themeNames, const QString &bundled = {});
    void setIcon(const QStringList &themeNames, const QString &bundled = {});
    void setKeyHint(const QKeySequence &key);

private:
    Shelf &m_shelf;
    Reach m_reach;
    Title m_title;
    Act m_act;
    std::function<void()> m_trigger;
    QAction *m_action;
};

// Every file operation of the shelf, built once from what they act through
// (all required but the metadata store, which renamed files' records follow
// when there is one) and handed to the window, the toolbar and the menus. The
// slow work goes through the runner, off the GUI thread; once it lands the
// shelf rescans, and what could not be done is reported with its reason.
class FileCommands : public QObject
{
    Q_OBJECT

public:
    // The window a preview opens beside (and closes with); may give null
    // (the preview then takes the keyboard itself).
    using Beside = std::function<QWidget *()>;

    FileCommands(Shelf &shelf, ActionRunner &runner, AppLauncher &launcher, FileManager &fileManager,
                 Previewer &previewer, Pins &pins, TextIndexer &indexer, TextPrompt &prompt, MetaStore *meta,
                 Beside beside, QObject *parent = nullptr);

    FileCommand &open() const { return *m_open; }
    FileCommand &openWith() const { return *m_openWith; }
    FileCommand &preview() const { return *m_preview; }
    FileCommand &pin() const { return *m_pin; }
    FileCommand &copy() const { return *m_copy; }
    FileCommand &copyPath() const { return *m_copyPath; }
    FileCommand &copyMarkdown() const { return *m_copyMarkdown; }
    FileCommand &showInFileManager() const { return *m_show; }
    FileCommand &properties() const { return *m_properties; }
    FileCommand &rename() const { return *m_rename; }
    FileCommand &duplicate() const { return *m_duplicate; }
    FileCommand &resizeHalf() const { return *m_resizeHalf; }
    FileCommand &convertToJPG() const { return *m_convert; }
    FileCommand &recognise() const { return *m_recognise; }
    FileCommand &moveTo() const { return *m_moveTo; }
    FileCommand &trash() const { return *m_trash; }
    FileCommand &newFolder() const { return *m_newFolder; }
    QList<FileCommand *> all() const;

    // Open With and Move to take a second choice: the application, the folder.
    QList<AppChoice> applications(const QUrl &file) const;
    void openWith(const QList<QUrl> &files, const QUrl &app);
    // Where files in sight can move: Home (unless shown) and every other subfolder.
    QList<QUrl> moveDestinations() const;
    void moveTo(const QList<QUrl> &files, const QUrl &folder);

    // The folder column's and the drops' operations on folders; what they
    // could not do is reported like the files' own.
    void renameFolder(const QUrl &folder);
    void trashFolder(const QUrl &folder);
    // Files dropped on a folder (the selection then empties) or on the grid
    // (into the folder shown).
    void dropOnFolder(const QList<QUrl> &files, const QUrl &folder);
    void dropOnGrid(const QList<QUrl> &files);

    // The keys' extras. Ctrl+digit: the cell at `index` goes to the
    // clipboard and is selected; nothing past the end.
    void copyCell(qsizetype index);
    // Space opens the preview on the primary file or closes an open one;
    // with `selectWhenNone` an unselected shelf then selects what it shows.
    void togglePreview(bool selectWhenNone);
    // An open preview moves to the keyboard cursor.
    void previewCursor();

    Shelf &shelf() const { return m_shelf; }

Q_SIGNALS:
    // What could not be done and why; empty when a new operation starts
    // (the old report no longer applies).
    void reported(const QString &message);

private:
    FileCommand *add(FileCommand::Reach reach, const QString &title, FileCommand::Act act);
    FileCommand *add(FileCommand::Reach reach, FileCommand::Title title, FileCommand::Act act);
    // Rescans once the work lands and reports what failed, as `done`
    // ("moved to the Trash").
    std::function<void(const FileWorkResult &)> landed(const QString &done);
    // Only the report, for work that updates the shelf itself.
    std::function<void(const FileWorkResult &)> reporter(const QString &done);
    // The report of a name that could not be used.
    std::function<void(const FileFailure &)> refusal(const QString &done);
    void refreshAll();

    Shelf &m_shelf;
    ActionRunner &m_runner;
    AppLauncher &m_launcher;
    FileManager &m_fileManager;
    Previewer &m_previewer;
    Pins &m_pins;
    TextIndexer &m_indexer;
    TextPrompt &m_prompt;
    QPointer<MetaStore> m_meta;
    Beside m_beside;

    FileCommand *m_open;
    FileCommand *m_openWith;
    FileCommand *m_preview;
    FileCommand *m_pin;
    FileCommand *m_copy;
    FileCommand *m_copyPath;
    FileCommand *m_copyMarkdown;
    FileCommand *m_show;
    FileCommand *m_properties;
    FileCommand *m_rename;
    FileCommand *m_duplicate;
    FileCommand *m_resizeHalf;
    FileCommand *m_convert;
    FileCommand *m_recognise;
    FileCommand *m_moveTo;
    FileCommand *m_trash;
    FileCommand *m_newFolder;
};
