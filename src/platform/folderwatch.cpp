#include "platform/folderwatch.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSocketNotifier>

#include <cerrno>
#include <climits>
#include <sys/inotify.h>
#include <unistd.h>

namespace {

// Entry changes of the folder, and the folder itself going away. A file that
// is finished being written counts too: a screenshot tool that takes longer
// than the rescan delay to write a large image would otherwise be listed
// half-written and never looked at again.
constexpr uint32_t folderMask = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_ATTRIB
                                | IN_CLOSE_WRITE | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR
                                | IN_EXCL_UNLINK;
// While the folder is gone: anything that could bring it back in its parent.
constexpr uint32_t ancestorMask = IN_CREATE | IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;

// One inotify instance per watched folder. When the folder is deleted or moved
// away, the watch moves to its nearest existing ancestor and comes back to the
// folder's path as soon as something appears there again, so a folder that is
// recreated is followed without anyone having to ask.
class InotifyFolderWatch final : public FolderWatch
{
public:
    InotifyFolderWatch(int fd, const QString &folder, std::function<void()> onEvent)
        : m_fd(fd), m_folder(folder), m_onEvent(std::move(onEvent)),
          m_notifier(fd, QSocketNotifier::Read)
    {
        QObject::connect(&m_notifier, &QSocketNotifier::activated, [this] { readEvents(); });
    }

    ~InotifyFolderWatch() override { ::close(m_fd); }

    bool armFolder()
    {
        const int wd = ::inotify_add_watch(m_fd, QFile::encodeName(m_folder).constData(), folderMask);
        if (wd < 0)
            return false;
        m_folderWatch = wd;
        dropAncestorWatch();
        return true;
    }

private:
    void dropAncestorWatch()
    {
        if (m_ancestorWatch >= 0)
            ::inotify_rm_watch(m_fd, m_ancestorWatch);
        m_ancestorWatch = -1;
    }

    // Watches the nearest ancestor that exists, for the folder to reappear.
    void armAncestor()
    {
        dropAncestorWatch();
        QString dir = m_folder;
        while (true) {
            const QString parent = QFileInfo(dir).path();
            if (parent == dir)
                return;
            dir = parent;
            const int wd = ::inotify_add_watch(m_fd, QFile::encodeName(dir).constData(), ancestorMask);
            if (wd >= 0) {
                m_ancestorWatch = wd;
                return;
            }
        }
    }

    void readEvents()
    {
        alignas(inotify_event) char buffer[16 * (sizeof(inotify_event) + NAME_MAX + 1)];
        bool changed = false;
        bool folderGone = false;
        bool ancestorChanged = false;
        while (true) {
            const ssize_t length = ::read(m_fd, buffer, sizeof buffer);
            if (length <= 0)
                break; // EAGAIN: drained
            for (ssize_t offset = 0; offset < length;) {
                const auto *event = reinterpret_cast<const inotify_event *>(buffer + offset);
                offset += ssize_t(sizeof(inotify_event) + event->len);
                if (event->mask & IN_Q_OVERFLOW) {
                    changed = true;
                } else if (event->wd == m_folderWatch) {
                    changed = true;
                    if (event->mask & (IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED | IN_UNMOUNT))
                        folderGone = true;
                } else if (event->wd == m_ancestorWatch) {
                    ancestorChanged = true;
                }
            }
        }
        if (folderGone) {
            // A moved folder keeps its watch; the shelf lists by path, so let it go.
            if (m_folderWatch >= 0)
                ::inotify_rm_watch(m_fd, m_folderWatch);
            m_folderWatch = -1;
            ancestorChanged = true;
        }
        if (ancestorChanged && m_folderWatch < 0) {
            if (armFolder())
                changed = true; // back again: whatever it holds now is news
            else
                armAncestor();
        }
        if (changed)
            m_onEvent(); // last: the callback may end this watch
    }

    int m_fd;
    int m_folderWatch = -1;
    int m_ancestorWatch = -1;
    QString m_folder;
    std::function<void()> m_onEvent;
    QSocketNotifier m_notifier;
};

} // namespace

std::unique_ptr<FolderWatch> FolderWatch::open(const QString &folder, std::function<void()> onEvent)
{
    if (folder.isEmpty())
        return nullptr;
    const int fd = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (fd < 0)
        return nullptr;
    auto watch = std::make_unique<InotifyFolderWatch>(fd, QDir::cleanPath(folder), std::move(onEvent));
    if (!watch->armFolder())
        return nullptr; // the destructor closes the descriptor
    return watch;
}
