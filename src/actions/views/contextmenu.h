#pragma once

#include <QList>
#include <QPoint>
#include <QString>
#include <QUrl>

class ActionRunner;
class AppLauncher;
class FileManager;
class MetaStore;
class Pins;
class QMenu;
class QWidget;
class QuickLook;
class Shelf;
class TextIndexer;
class TextPrompt;

// The menu of a right-click on the shelf's thumbnails, built fresh for every
// click from the files it acts on (the selection in the order shown, or the
// clicked file alone). Each entry captures what it needs, so the menu keeps
// no state of its own and may go as soon as it closes. An entry whose
// collaborator is missing does nothing.
//
// The slow file work (duplicate, the image copies, moves, the Trash) goes
// through the runner, off the GUI thread; the shelf rescans once it lands.
namespace ContextMenu {

struct Parts
{
    Shelf *shelf = nullptr;
    AppLauncher *launcher = nullptr;
    FileManager *fileManager = nullptr;
    ActionRunner *runner = nullptr;
    QuickLook *quickLook = nullptr;
    Pins *pins = nullptr;
    TextIndexer *indexer = nullptr;
    // Asks for a file's new name and for a new folder's name.
    TextPrompt *prompt = nullptr;
    // Records follow a renamed file; may be null.
    MetaStore *meta = nullptr;
    // The window the preview opens beside.
    QWidget *window = nullptr;
};

// "Open" for one file, "Open 3 Items" for three.
QString openTitle(qsizetype count);
// "Move to Trash" for one file, "Move 3 Items to Trash" for three.
QString trashTitle(qsizetype count);

// The menu for `files`; empty for no files. The caller owns it.
QMenu *build(const QList<QUrl> &files, const Parts &parts, QWidget *parent = nullptr);

// Builds the menu and pops it up at `globalPos`; it deletes itself once closed.
QMenu *popup(const QList<QUrl> &files, const Parts &parts, const QPoint &globalPos, QWidget *parent = nullptr);

} // namespace ContextMenu
