#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <functional>
#include <memory>

class QThreadPool;

// Change notifications for one folder's entries and for the folder itself,
// delivered on the GUI thread in batches. A watch follows the path, not the
// folder: while nothing is at the path (not yet made, deleted, moved away) the
// nearest existing ancestor is watched, and the folder that appears there is
// watched again, with a `folder` event when it does. Watching starts in the
// background (adding a watch to a large folder takes the kernel a while):
// changes are reported from the `watching` event on, so whoever lists the
// folder should do it after that event.
class FolderWatch
{
public:
    struct Event
    {
        enum Kind {
            created,       // a new entry; a file may still be being written
            movedIn,       // an entry renamed or moved into the folder, complete
            removed,       // deleted, or renamed or moved away
            modified,      // a file's contents were written
            closedWritten, // a file opened for writing was closed
            attributes,    // times, permissions or owner of an entry changed
            folder,        // the folder itself changed, appeared or went away, or events were lost
            watching,      // the watch is in place (on the folder, or on an ancestor while it is missing)
        };
        Kind kind;
        QByteArray name;       // the entry's name as stored on disk; empty for `folder`
        bool isFolder = false; // the entry is a directory
    };
    using Handler = std::function<void(const QList<Event> &)>;

    virtual ~FolderWatch() = default;
    // Whether the `watching` event has been delivered.
    virtual bool ready() const = 0;

    // nullptr when the system gives no change notifications at all. The
    // watch is put in place on `arming`, which its owner stops (clear, then
    // wait) before it goes.
    static std::unique_ptr<FolderWatch> open(const QString &folder, QThreadPool &arming, Handler onEvents);
};
