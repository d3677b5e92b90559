#pragma once

#include <QList>
#include <QPoint>
#include <QUrl>

class FileCommands;
class QMenu;
class QWidget;

// The menu of a right-click on the shelf's thumbnails (and on the corner
// card), built fresh for every click from the file commands and the files
// it acts on (the selection in the order shown, or the clicked file alone).
// Each entry holds its files, so the menu keeps no state of its own and may
// go as soon as it closes.
namespace ContextMenu {

// The menu for `files`; empty for no files. The caller owns it.
QMenu *build(const QList<QUrl> &files, FileCommands &commands, QWidget *parent = nullptr);

// Builds the menu and pops it up at `globalPos`; it deletes itself once closed.
QMenu *popup(const QList<QUrl> &files, FileCommands &commands, const QPoint &globalPos, QWidget *parent = nullptr);

} // namespace ContextMenu
