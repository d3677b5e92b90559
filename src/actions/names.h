#pragma once

#include "actions/fileactions.h"

#include <QList>
#include <QString>
#include <QUrl>

#include <functional>
#include <optional>

class ActionRunner;
class ConfirmPrompt;
class QObject;
class Shelf;

// Screenshot tools name files with a localised word and a separator, e.g.
// "Screenshot 2026-10-08 at 05.12.49.png". Cleaning a name keeps the bare
// date and time: "2026-10-08 05.12.49.png". The rule is purely textual.
namespace ScreenshotNames {

// The known prefixes and separator words, in the order they are tried.
const QList<QString> &prefixes();
const QList<QString> &separators();

// The clean form of a file name: at most one known prefix removed from the
// start, every known separator replaced by one space, horizontal white space
// trimmed. Canonically equivalent spellings match (a composed "é" and "e" +
// combining acute are the same); case matters. A name with nothing to clean
// comes back exactly as given.
QString cleanName(const QString &fileName);

// Renames each file to its clean name, numbered when the name is taken, and
// says where each renamed file went (the metadata records are the caller's,
// FileActions::carryRecords). Clean names that could not be a visible file
// of the folder (empty, "..", or a leading dot that would hide the file)
// are left alone. Safe on a worker thread.
FileActions::Moves cleanUpNames(const QList<QUrl> &files);

// Asks whether to clean up the names of the shelf's items (the whole current
// listing) and, on confirmation, cleans up the items as listed at that
// moment through `runner`, which carries the records along. `done` gets the
// renamed count, or nothing when cancelled; it is not called once
// `requester` is gone.
void confirmCleanUp(const Shelf &shelf, ConfirmPrompt &prompt, ActionRunner &runner, QObject *requester,
                    std::function<void(std::optional<qint64>)> done);

// "Renamed 3", as the settings sheet reports the result.
QString resultText(qint64 renamed);

} // namespace ScreenshotNames
