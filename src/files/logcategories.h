#pragma once

#include <QLoggingCategory>

// The program's logging categories, one per subsystem, in the lowest folder
// so that every other one may log. Debug messages are off unless asked for:
//   QT_LOGGING_RULES="brindlewick.*.debug=true" brindlewick
// Information and warnings show by default.
Q_DECLARE_LOGGING_CATEGORY(lcScan)     // listing the folder: files skipped
Q_DECLARE_LOGGING_CATEGORY(lcWatch)    // folder watches and the changes they report
Q_DECLARE_LOGGING_CATEGORY(lcMeta)     // meta.json: reading, writing, setting aside
Q_DECLARE_LOGGING_CATEGORY(lcThumbs)   // thumbnails and the images they come from
Q_DECLARE_LOGGING_CATEGORY(lcDecode)   // image decoding refused or failed
Q_DECLARE_LOGGING_CATEGORY(lcOcr)      // text recognition
Q_DECLARE_LOGGING_CATEGORY(lcFiles)    // moves, copies, renames, new folders
Q_DECLARE_LOGGING_CATEGORY(lcTrash)    // moving files to the trash
Q_DECLARE_LOGGING_CATEGORY(lcCapture)  // the screenshot tool's save folder
Q_DECLARE_LOGGING_CATEGORY(lcShortcut) // the global shortcut
Q_DECLARE_LOGGING_CATEGORY(lcPing)     // the daily usage ping
Q_DECLARE_LOGGING_CATEGORY(lcTidy)     // auto tidy
Q_DECLARE_LOGGING_CATEGORY(lcLogin)    // starting at login
