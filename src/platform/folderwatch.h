#pragma once

#include <QString>
#include <functional>
#include <memory>

// Change notifications for one folder's entries (added, removed, renamed,
// attributes) and for the folder itself (moved or deleted), delivered on the
// GUI thread.
class FolderWatch
{
public:
    virtual ~FolderWatch() = default;

    // nullptr when the folder cannot be watched (missing, no permission).
    static std::unique_ptr<FolderWatch> open(const QString &folder, std::function<void()> onEvent);
};
