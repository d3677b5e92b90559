#include "files/logcategories.h"

// Debug off by default; information and warnings on.
Q_LOGGING_CATEGORY(lcScan, "brindlewick.scan", QtInfoMsg)
Q_LOGGING_CATEGORY(lcWatch, "brindlewick.watch", QtInfoMsg)
Q_LOGGING_CATEGORY(lcMeta, "brindlewick.meta", QtInfoMsg)
Q_LOGGING_CATEGORY(lcThumbs, "brindlewick.thumbs", QtInfoMsg)
Q_LOGGING_CATEGORY(lcDecode, "brindlewick.decode", QtInfoMsg)
Q_LOGGING_CATEGORY(lcOcr, "brindlewick.ocr", QtInfoMsg)
Q_LOGGING_CATEGORY(lcFiles, "brindlewick.files", QtInfoMsg)
Q_LOGGING_CATEGORY(lcTrash, "brindlewick.trash", QtInfoMsg)
Q_LOGGING_CATEGORY(lcCapture, "brindlewick.capture", QtInfoMsg)
Q_LOGGING_CATEGORY(lcShortcut, "brindlewick.shortcut", QtInfoMsg)
Q_LOGGING_CATEGORY(lcPing, "brindlewick.ping", QtInfoMsg)
Q_LOGGING_CATEGORY(lcTidy, "brindlewick.tidy", QtInfoMsg)
Q_LOGGING_CATEGORY(lcLogin, "brindlewick.login", QtInfoMsg)
