#pragma once

#include <QList>
#include <QUrl>

#include <memory>

// The desktop's file manager.
class FileManager
{
public:
    virtual ~FileManager() = default;

    // Shows the files selected in their folders. Without a file manager that
    // answers, opens the folders instead.
    virtual void showItems(const QList<QUrl> &files) = 0;
    // Opens the file manager's properties window for the file; without one,
    // shows the file in its folder as above.
    virtual void showItemProperties(const QUrl &file) = 0;
};

// org.freedesktop.FileManager1 on the session bus.
std::unique_ptr<FileManager> makeFileManager();
