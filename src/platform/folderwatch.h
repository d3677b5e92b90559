#pragma once

#include <QString>
#include <functional>
#include <memory>

// Change notifications for one folder's entries (added, removed, renamed,
// attributes, finished writing) and for the folder itself (moved or deleted),
// delivered on the GUI thread. A watch follows the path, not the folder: once
// the folder is deleted or moved away, the next folder made at that path is
// watched again (with one more notification when it appears).
class FolderWatch
{
public:
    virtual ~FolderWatch() = default;

    // nullptr when the folder cannot be watched (missing, no permission).
    static std::unique_ptr<FolderWatch> open(const QString &folder, std::function<void()> onEvent);
};
