#include "actions/views/desktopwindows.h"

#include "platform/session.h"

#include <QGuiApplication>
#include <QList>
#include <QTimer>
#include <QWidget>

#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>
#include <initializer_list>

namespace {

xcb_connection_t *x11Connection()
{
    if (QGuiApplication::platformName() != QLatin1String("xcb"))
        return nullptr;
    auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->connection() : nullptr;
}

xcb_atom_t internAtom(xcb_connection_t *connection, const char *name)
{
    xcb_intern_atom_reply_t *reply =
        xcb_intern_atom_reply(connection, xcb_intern_atom(connection, 0, uint16_t(std::strlen(name)), name), nullptr);
    const xcb_atom_t atom = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
    std::free(reply);
    return atom;
}

// Sends an EWMH client message about `window` to the root window, as an
// ordinary application does (source indication 1).
void sendToWindowManager(xcb_connection_t *connection, xcb_window_t window, xcb_atom_t type,
                         std::initializer_list<uint32_t> data)
{
    const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    if (!screen || type == XCB_ATOM_NONE)
        return;
    xcb_client_message_event_t event;
    std::memset(&event, 0, sizeof event);
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window;
    event.type = type;
    int i = 0;
    for (uint32_t value : data)
        event.data.data32[i++] = value;
    xcb_send_event(connection, 0, screen->root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char *>(&event));
}

constexpr uint32_t stateRemove = 0;
constexpr uint32_t stateAdd = 1;
constexpr uint32_t fromApplication = 1;

// Asks an EWMH window manager to give `window` the states `names`: in the
// property before the window is mapped (read at map time, and kept by Qt
// when it adds its own states), and by client messages once it is (a
// mapped window's property is the manager's).
void requestStates(xcb_window_t window, bool mapped, std::initializer_list<const char *> names)
{
    xcb_connection_t *connection = x11Connection();
    if (!connection || !window)
        return;
    const xcb_atom_t state = internAtom(connection, "_NET_WM_STATE");
    if (state == XCB_ATOM_NONE)
        return;
    QList<xcb_atom_t> atoms;
    for (const char *name : names) {
        const xcb_atom_t atom = internAtom(connection, name);
        if (atom != XCB_ATOM_NONE)
            atoms.append(atom);
    }
    if (!mapped) {
        xcb_change_property(connection, XCB_PROP_MODE_APPEND, window, state, XCB_ATOM_ATOM, 32, uint32_t(atoms.size()),
                            atoms.constData());
    } else {
        // Two states a message at most.
        for (qsizetype i = 0; i < atoms.size(); i += 2) {
            const uint32_t second = i + 1 < atoms.size() ? atoms.at(i + 1) : 0;
            sendToWindowManager(connection, window, state, {stateAdd, atoms.at(i), second, fromApplication});
        }
    }
    xcb_flush(connection);
}

// The same for the workspace: every one of them (0xFFFFFFFF).
void requestAllWorkspaces(xcb_window_t window, bool mapped)
{
    xcb_connection_t *connection = x11Connection();
    if (!connection || !window)
        return;
    const xcb_atom_t desktop = internAtom(connection, "_NET_WM_DESKTOP");
    if (desktop == XCB_ATOM_NONE)
        return;
    const uint32_t all = 0xFFFFFFFFu;
    if (!mapped)
        xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, desktop, XCB_ATOM_CARDINAL, 32, 1, &all);
    else
        sendToWindowManager(connection, window, desktop, {all, 0, 0, fromApplication});
    xcb_flush(connection);
}

// Before the window is mapped, then once it is: where Qt maps it in the
// same turn of the event loop, the property is read; otherwise the
// messages reach the manager.
void requestOnShow(QWidget *window, void (*request)(xcb_window_t, bool))
{
    const xcb_window_t id = xcb_window_t(window->winId());
    request(id, false);
    QTimer::singleShot(0, window, [id, request] { request(id, true); });
}

} // namespace

namespace DesktopWindows {

void joinAllWorkspaces(QWidget *window)
{
    if (!window || !x11Connection())
        return; // elsewhere the compositor decides; nothing to ask
    requestOnShow(window, [](xcb_window_t id, bool mapped) {
        requestStates(id, mapped, {"_NET_WM_STATE_STICKY"});
        requestAllWorkspaces(id, mapped);
    });
}

void keepOffTaskbar(QWidget *window)
{
    if (!window || !x11Connection())
        return; // Wayland: the compositor lists what it likes
    requestOnShow(window, [](xcb_window_t id, bool mapped) {
        requestStates(id, mapped, {"_NET_WM_STATE_SKIP_TASKBAR", "_NET_WM_STATE_SKIP_PAGER"});
    });
}

void keepAbove(QWidget *window, bool above)
{
    xcb_connection_t *connection = x11Connection();
    if (!window || !connection || !window->isVisible())
        return;
    const xcb_atom_t state = internAtom(connection, "_NET_WM_STATE");
    const xcb_atom_t atom = internAtom(connection, "_NET_WM_STATE_ABOVE");
    if (state == XCB_ATOM_NONE || atom == XCB_ATOM_NONE)
        return;
    sendToWindowManager(connection, xcb_window_t(window->winId()), state,
                        {above ? stateAdd : stateRemove, atom, 0, fromApplication});
    xcb_flush(connection);
}

bool compositing()
{
    xcb_connection_t *connection = x11Connection();
    if (!connection)
        return true;
    // A compositing manager owns the selection _NET_WM_CM_S<n> of the X
    // screen it composites: the default one, ":0.<n>" in DISPLAY (monitors
    // are one X screen nowadays, so nearly always 0).
    const QByteArray display = qgetenv("DISPLAY");
    const qsizetype colon = display.lastIndexOf(':');
    const qsizetype dot = display.lastIndexOf('.');
    const int number = dot > colon && colon >= 0 ? display.mid(dot + 1).toInt() : 0;
    const QByteArray name = "_NET_WM_CM_S" + QByteArray::number(number);
    const xcb_atom_t selection = internAtom(connection, name.constData());
    if (selection == XCB_ATOM_NONE)
        return false;
    xcb_get_selection_owner_reply_t *reply =
        xcb_get_selection_owner_reply(connection, xcb_get_selection_owner(connection, selection), nullptr);
    const bool owned = reply && reply->owner != XCB_NONE;
    std::free(reply);
    return owned;
}

bool throughXWayland()
{
    return QGuiApplication::platformName() == QLatin1String("xcb") && sessionKind() == SessionKind::wayland;
}

Qt::WindowFlags cornerCardFlags()
{
    Qt::WindowFlags flags =
        Qt::Tool | Qt::FramelessWindowHint | Qt::WindowDoesNotAcceptFocus | Qt::WindowStaysOnTopHint;
    if (throughXWayland())
        flags |= Qt::X11BypassWindowManagerHint;
    return flags;
}

} // namespace DesktopWindows
