#include "platform/frontapp.h"

#include "platform/session.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>

#include <cstdlib>
#include <cstring>

#if QT_CONFIG(xcb)
#include <xcb/xcb.h>
#endif

namespace {

QString canonical(const QString &path)
{
    const QString resolved = QFileInfo(path).canonicalFilePath();
    return resolved.isEmpty() ? path : resolved;
}

struct ProcessFacts
{
    QString exe;     // resolved executable, when readable
    QString command; // comm: the kernel's short name
    QString argv0;   // file name of the first argument
};

ProcessFacts readProcess(qint64 pid)
{
    ProcessFacts facts;
    const QString proc = QStringLiteral("/proc/%1/").arg(pid);
    facts.exe = QFile::symLinkTarget(proc + QStringLiteral("exe"));
    if (facts.exe.endsWith(QLatin1String(" (deleted)")))
        facts.exe.chop(10); // updated on disk while running
    QFile comm(proc + QStringLiteral("comm"));
    if (comm.open(QIODevice::ReadOnly))
        facts.command = QString::fromUtf8(comm.readAll()).trimmed();
    QFile cmdline(proc + QStringLiteral("cmdline"));
    if (cmdline.open(QIODevice::ReadOnly)) {
        const QByteArray all = cmdline.read(4096);
        facts.argv0 = QFileInfo(QFile::decodeName(all.left(all.indexOf('\0')))).fileName();
    }
    return facts;
}

} // namespace

RunningApp describeProcess(const QList<DesktopEntry> &entries, qint64 pid, const QString &windowClass)
{
    RunningApp app;
    app.pid = pid;
    const ProcessFacts facts = pid > 0 ? readProcess(pid) : ProcessFacts{};
    const QString exe = facts.exe.isEmpty() ? QString() : canonical(facts.exe);

    // The best match wins: the same executable file or the window class the
    // entry declares, then the entry named after the window class, then the
    // command name alone.
    int bestScore = 0;
    const DesktopEntry *best = nullptr;
    for (const DesktopEntry &entry : entries) {
        int score = 0;
        if (!windowClass.isEmpty() && entry.windowClass.compare(windowClass, Qt::CaseInsensitive) == 0)
            score = 4;
        if (score < 3 && !exe.isEmpty() && entry.executablePath == exe)
            score = 3;
        // "org.gnome.TextEditor.desktop" is named after the class "TextEditor".
        if (score < 2 && !windowClass.isEmpty()
            && (entry.id.compare(windowClass, Qt::CaseInsensitive) == 0
                || entry.id.section(QLatin1Char('.'), -1).compare(windowClass, Qt::CaseInsensitive) == 0))
            score = 2;
        if (score < 1 && !entry.executableName.isEmpty()
            && (entry.executableName == facts.command || entry.executableName == facts.argv0))
            score = 1;
        if (score > bestScore) {
            bestScore = score;
            best = &entry;
        }
    }
    if (best) {
        app.name = best->name;
        app.path = best->file;
    } else if (!windowClass.isEmpty()) {
        app.name = windowClass;
    } else if (!facts.command.isEmpty()) {
        app.name = facts.command;
    }
    return app;
}

namespace {

class NoFrontApp final : public FrontApp
{
public:
    std::optional<RunningApp> frontmost() override { return std::nullopt; }
};

#if QT_CONFIG(xcb)

// _NET_ACTIVE_WINDOW on the root window, then that window's _NET_WM_PID and
// WM_CLASS. Uses the toolkit's own connection, on the GUI thread.
class X11FrontApp final : public FrontApp
{
public:
    explicit X11FrontApp(xcb_connection_t *connection)
        : m_connection(connection), m_entries(DesktopEntries::defaultFolders())
    {
        const xcb_setup_t *setup = xcb_get_setup(connection);
        m_root = xcb_setup_roots_iterator(setup).data->root;
        m_ownIdBase = setup->resource_id_base;
        m_ownIdMask = setup->resource_id_mask;
        m_activeWindow = atom("_NET_ACTIVE_WINDOW");
        m_windowPid = atom("_NET_WM_PID");
    }

    std::optional<RunningApp> frontmost() override
    {
        if (m_activeWindow == XCB_ATOM_NONE)
            return std::nullopt;
        const QByteArray active = property(m_root, m_activeWindow, XCB_ATOM_WINDOW, 4);
        if (active.size() < 4)
            return std::nullopt;
        xcb_window_t window;
        std::memcpy(&window, active.constData(), 4);
        if (window == XCB_WINDOW_NONE)
            return std::nullopt;
        const qint64 ownPid = QCoreApplication::applicationPid();
        // Made by our own connection: one of our windows.
        if ((window & ~m_ownIdMask) == m_ownIdBase)
            return RunningApp{ownPid, {}, {}};

        qint64 pid = 0;
        const QByteArray pidBytes = property(window, m_windowPid, XCB_ATOM_CARDINAL, 4);
        if (pidBytes.size() >= 4) {
            uint32_t value;
            std::memcpy(&value, pidBytes.constData(), 4);
            pid = value;
        }
        if (pid == ownPid)
            return RunningApp{ownPid, {}, {}};
        // WM_CLASS is "instance\0class\0"; the class is the application's name.
        const QList<QByteArray> classParts = property(window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 1024).split('\0');
        const QString windowClass = classParts.size() > 1 ? QString::fromLocal8Bit(classParts.at(1)) : QString();
        if (pid == 0 && windowClass.isEmpty())
            return std::nullopt;
        return describeProcess(*m_entries.entries(), pid, windowClass);
    }

private:
    xcb_atom_t atom(const char *name)
    {
        xcb_intern_atom_reply_t *reply = xcb_intern_atom_reply(
            m_connection, xcb_intern_atom(m_connection, 1, uint16_t(std::strlen(name)), name), nullptr);
        const xcb_atom_t result = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
        std::free(reply);
        return result;
    }

    QByteArray property(xcb_window_t window, xcb_atom_t name, xcb_atom_t type, uint32_t maxBytes)
    {
        const auto cookie = xcb_get_property(m_connection, 0, window, name, type, 0, (maxBytes + 3) / 4);
        xcb_get_property_reply_t *reply = xcb_get_property_reply(m_connection, cookie, nullptr);
        QByteArray bytes;
        if (reply && reply->type == type)
            bytes = QByteArray(static_cast<const char *>(xcb_get_property_value(reply)),
                               xcb_get_property_value_length(reply));
        std::free(reply);
        return bytes;
    }

    xcb_connection_t *m_connection;
    DesktopEntries m_entries;
    xcb_window_t m_root = XCB_WINDOW_NONE;
    uint32_t m_ownIdBase = 0;
    uint32_t m_ownIdMask = 0;
    xcb_atom_t m_activeWindow = XCB_ATOM_NONE;
    xcb_atom_t m_windowPid = XCB_ATOM_NONE;
};

#endif

} // namespace

std::unique_ptr<FrontApp> makeFrontApp()
{
#if QT_CONFIG(xcb)
    // On Wayland, XWayland's active window says nothing about the other
    // applications.
    if (sessionKind() == SessionKind::wayland)
        return std::make_unique<NoFrontApp>();
    if (auto *gui = qobject_cast<QGuiApplication *>(QCoreApplication::instance())) {
        if (auto *x11 = gui->nativeInterface<QNativeInterface::QX11Application>()) {
            if (xcb_connection_t *connection = x11->connection())
                return std::make_unique<X11FrontApp>(connection);
        }
    }
#endif
    return std::make_unique<NoFrontApp>();
}
