#pragma once

#include "actions/fileproblems.h"
#include "actions/prompts.h"

#include <QList>
#include <QUrl>

#include <functional>
#include <optional>

class ActionRunner;
struct FileWorkResult;
class MetaStore;
class Shelf;

// The folder operations of the folder column and the drop targets, and what
// each does to the shelf afterwards. The menus, buttons and drop targets
// that call them live in the UI.
namespace FolderOps {

// The "New Folder" alert for a Home folder.
TextPromptRequest newFolderRequest(const QUrl &home);

// Creates `name` (trimmed) directly inside `home`, never a missing parent.
// A name with a "/" is refused outright rather than read as a path, so no
// folder is ever made anywhere but directly in Home; so are "." and "..".
// An existing file or folder of that name is left alone. True on success.
// Otherwise `why` (when given) says what stood in the way.
[[nodiscard]] bool createFolder(const QUrl &home, const QString &name, std::optional<FileProblem> *why = nullptr);

// Asks for a name and creates the folder inside Home, also while a
// subfolder is shown, then rescans. An empty name does nothing at all.
// A name that could not be used goes to `refused`, the folder it would
// have been the failure's file.
using Refused = std::function<void(const FileFailure &)>;
void newFolder(Shelf &shelf, TextPrompt &prompt, Refused refused = {});

// The rename dialog for a folder, then a rescan. Renaming the folder being
// shown keeps showing it under its new name.
void renameFolder(Shelf &shelf, const QUrl &folder, TextPrompt &prompt, MetaStore *meta, Refused refused = {});

// The moves and the Trash go through `runner`, off the GUI thread; the
// shelf changes once they have landed. `done`, when given, then gets what
// happened (how many went, which could not and why). Neither happens if
// the shelf is gone by then.
using Landed = std::function<void(const FileWorkResult &)>;

// Moves a folder to the Trash (never Home itself); the shelf goes back to
// Home if it was showing it, then rescans.
void trashFolder(Shelf &shelf, const QUrl &folder, ActionRunner &runner, Landed done = {});

// Files dropped on a folder row: moved there; if any moved, the selection
// is emptied and the shelf rescans.
void dropOnFolder(Shelf &shelf, const QList<QUrl> &files, const QUrl &folder, ActionRunner &runner, Landed done = {});

// Files dropped on the grid: moved into the current folder; if any moved,
// the shelf rescans (the selection is left to the scan).
void dropOnGrid(Shelf &shelf, const QList<QUrl> &files, ActionRunner &runner, Landed done = {});

} // namespace FolderOps
