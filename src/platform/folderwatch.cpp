#include "platform/folderwatch.h"

#include "files/async.h"
#include "files/logcategories.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSocketNotifier>

#include <climits>
#include <cstring>
#include <optional>
#include <sys/inotify.h>
#include <unistd.h>

namespace {

// Entry changes of the folder, writes to its files, and the folder itself
// going away. Whoever listens decides which of these matter.
constexpr uint32_t folderMask = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_ATTRIB | IN_MODIFY
                                | IN_CLOSE_WRITE | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR | IN_EXCL_UNLINK;
// While the folder is not there: anything that could bring it back in its parent.
constexpr uint32_t ancestorMask = IN_CREATE | IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;

using Event = FolderWatch::Event;

// The inotify descriptor outlives the watch while a background arming still
// uses it, so its number is never reused under that arming's feet.
struct Descriptor
{
    explicit Descriptor(int fd) : fd(fd) {}
    ~Descriptor() { ::close(fd); }
    const int fd;
};

// What one inotify event on the folder says about one of its entries.
std::optional<Event::Kind> entryKind(uint32_t mask)
{
    if (mask & IN_CREATE)
        return Event::created;
    if (mask & IN_MOVED_TO)
        return Event::movedIn;
    if (mask & (IN_DELETE | IN_MOVED_FROM))
        return Event::removed;
    if (mask & IN_MODIFY)
        return Event::modified;
    if (mask & IN_CLOSE_WRITE)
        return Event::closedWritten;
    if (mask & IN_ATTRIB)
        return Event::attributes;
    return std::nullopt;
}

// One inotify instance per watched folder. When the folder is not there, the
// watch sits on its nearest existing ancestor and comes back to the folder's
// path as soon as something appears on the way, so a folder that is made
// later, or made again, is followed without anyone having to ask.
class InotifyFolderWatch final : public FolderWatch
{
public:
    InotifyFolderWatch(int fd, const QString &folder, Handler onEvents)
        : m_descriptor(std::make_shared<Descriptor>(fd)), m_fd(fd), m_folder(folder), m_onEvents(std::move(onEvents)),
          m_notifier(fd, QSocketNotifier::Read)
    {
        QObject::connect(&m_notifier, &QSocketNotifier::activated, [this] { readEvents(); });
    }

    bool ready() const override { return !m_arming; }

    // Adding a watch makes the kernel mark every entry of the folder it has
    // in memory: 10 ms for 100,000 entries, too long for the GUI thread.
    void armInBackground(QThreadPool &arming)
    {
        m_arming = true;
        // The notifier goes with the watch, and the answer with it.
        Async::run(
            arming, &m_notifier,
            [descriptor = m_descriptor, path = QFile::encodeName(m_folder)] {
                return ::inotify_add_watch(descriptor->fd, path.constData(), folderMask);
            },
            [this](int wd) { armed(wd); });
    }

private:
    void armed(int wd)
    {
        m_arming = false;
        qCDebug(lcWatch) << (wd >= 0 ? "watching" : "waiting for") << m_folder;
        if (wd >= 0)
            m_folderWatch = wd;
        else
            follow();
        m_onEvents({Event{Event::watching, {}, true}}); // last: the handler may end this watch
    }

    // True when the folder itself is watched now, else its nearest ancestor.
    bool follow()
    {
        if (armFolder())
            return true;
        armAncestor();
        return armFolder(); // it may have appeared while the ancestor was armed
    }

    bool armFolder()
    {
        const int wd = ::inotify_add_watch(m_fd, QFile::encodeName(m_folder).constData(), folderMask);
        if (wd < 0)
            return false;
        m_folderWatch = wd;
        dropAncestorWatch();
        return true;
    }

    void dropAncestorWatch()
    {
        if (m_ancestorWatch >= 0)
            ::inotify_rm_watch(m_fd, m_ancestorWatch);
        m_ancestorWatch = -1;
    }

    // Watches the nearest ancestor that exists, for the folder to appear.
    bool armAncestor()
    {
        dropAncestorWatch();
        QString dir = m_folder;
        while (true) {
            const QString parent = QFileInfo(dir).path();
            if (parent == dir)
                return false;
            dir = parent;
            const int wd = ::inotify_add_watch(m_fd, QFile::encodeName(dir).constData(), ancestorMask);
            if (wd >= 0) {
                m_ancestorWatch = wd;
                return true;
            }
        }
    }

    void readEvents()
    {
        alignas(inotify_event) char buffer[16 * (sizeof(inotify_event) + NAME_MAX + 1)];
        QList<Event> events;
        bool folderChanged = false;
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
                    folderChanged = true; // events were lost: anything may have changed
                } else if (event->wd == m_folderWatch) {
                    if (event->mask & (IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED | IN_UNMOUNT))
                        folderGone = true;
                    const QByteArray name(event->name, qsizetype(::strnlen(event->name, event->len)));
                    const std::optional<Event::Kind> kind = entryKind(event->mask);
                    if (name.isEmpty() || !kind)
                        folderChanged = true; // the folder's own attributes, or it went away
                    else
                        events.append(Event{*kind, name, (event->mask & IN_ISDIR) != 0});
                } else if (event->wd == m_ancestorWatch) {
                    ancestorChanged = true;
                } else if (m_arming) {
                    folderChanged = true; // the folder's, read before its arming landed
                }
            }
        }
        if (folderGone) {
            qCInfo(lcWatch) << m_folder << "is gone; watching for it to come back";
            // A moved folder keeps its watch; the shelf lists by path, so let it go.
            if (m_folderWatch >= 0)
                ::inotify_rm_watch(m_fd, m_folderWatch);
            m_folderWatch = -1;
            ancestorChanged = true;
        }
        if (ancestorChanged && m_folderWatch < 0 && !m_arming && follow())
            folderChanged = true; // there again: whatever it holds now is news
        if (folderChanged)
            events.append(Event{Event::folder, {}, true});
        if (!events.isEmpty())
            m_onEvents(events); // last: the handler may end this watch
    }

    std::shared_ptr<Descriptor> m_descriptor;
    int m_fd;
    bool m_arming = false;
    int m_folderWatch = -1;
    int m_ancestorWatch = -1;
    QString m_folder;
    Handler m_onEvents;
    QSocketNotifier m_notifier;
};

} // namespace

std::unique_ptr<FolderWatch> FolderWatch::open(const QString &folder, QThreadPool &arming, Handler onEvents)
{
    if (folder.isEmpty())
        return nullptr;
    const int fd = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (fd < 0) {
        qCWarning(lcWatch, "cannot watch %s: %s", qUtf8Printable(folder), strerror(errno));
        return nullptr;
    }
    auto watch = std::make_unique<InotifyFolderWatch>(fd, QDir::cleanPath(folder), std::move(onEvents));
    watch->armInBackground(arming);
    return watch;
}
