#include "actions/views/desktopwindows.h"

#include <QGuiApplication>
#include <QTimer>
#include <QWidget>

#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>

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
    xcb_intern_atom_reply_t *reply = xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, 0, uint16_t(std::strlen(name)), name), nullptr);
    const xcb_atom_t atom = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
    std::free(reply);
    return atom;
}

// Asks an EWMH window manager to keep `window` on every workspace: the
// state property before the window is mapped (read at map time), and the
// client messages once it is (a mapped window's property is the manager's).
void requestSticky(xcb_window_t window, bool mapped)
{
    xcb_connection_t *connection = x11Connection();
    if (!connection || !window)
        return;
    const xcb_atom_t state = internAtom(connection, "_NET_WM_STATE");
    const xcb_atom_t sticky = internAtom(connection, "_NET_WM_STATE_STICKY");
    const xcb_atom_t desktop = internAtom(connection, "_NET_WM_DESKTOP");
    if (state == XCB_ATOM_NONE || sticky == XCB_ATOM_NONE)
        return;
    if (!mapped) {
        xcb_change_property(connection, XCB_PROP_MODE_APPEND, window, state, XCB_ATOM_ATOM, 32, 1, &sticky);
        const uint32_t all = 0xFFFFFFFFu;
        if (desktop != XCB_ATOM_NONE)
            xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, desktop, XCB_ATOM_CARDINAL, 32, 1, &all);
        xcb_flush(connection);
        return;
    }
    const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    if (!screen)
        return;
    auto send = [&](xcb_atom_t type, uint32_t a, uint32_t b) {
        xcb_client_message_event_t event;
        std::memset(&event, 0, sizeof event);
        event.response_type = XCB_CLIENT_MESSAGE;
        event.format = 32;
        event.window = window;
        event.type = type;
        event.data.data32[0] = a;
        event.data.data32[1] = b;
        event.data.data32[3] = 1; // from an ordinary application
        xcb_send_event(connection, 0, screen->root,
                       XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                       reinterpret_cast<const char *>(&event));
    };
    send(state, 1 /* add */, sticky);
    if (desktop != XCB_ATOM_NONE)
        send(desktop, 0xFFFFFFFFu, 0);
    xcb_flush(connection);
}

} // namespace

namespace DesktopWindows {

void joinAllWorkspaces(QWidget *window)
{
    if (!window || !x11Connection())
        return; // elsewhere the compositor decides; nothing to ask
    const xcb_window_t id = xcb_window_t(window->winId());
    requestSticky(id, false);
    QTimer::singleShot(0, window, [id] { requestSticky(id, true); });
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

} // namespace DesktopWindows
