// The global shortcut on X11: a passive key grab on every root window, for
// each combination of the lock modifiers (Caps Lock, Num Lock) so the
// shortcut works whatever their state, read back through a native event
// filter before Qt dispatches the event.

#include "files/logcategories.h"
#include "platform/globalshortcut.h"

#include <QAbstractEventDispatcher>
#include <QAbstractNativeEventFilter>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QKeySequence>
#include <QList>
#include <QMetaObject>

#include <xcb/xcb.h>

#include <cstdlib>

namespace {

constexpr xcb_keysym_t numLockKeysym = 0xff7f;

// Keysyms of the keys we may be asked for: letters and digits are their
// ASCII codes (lower case for letters).
xcb_keysym_t keysymFor(Qt::Key key)
{
    if (key >= Qt::Key_A && key <= Qt::Key_Z)
        return xcb_keysym_t('a' + (key - Qt::Key_A));
    if (key >= Qt::Key_0 && key <= Qt::Key_9)
        return xcb_keysym_t('0' + (key - Qt::Key_0));
    return 0;
}

uint16_t maskFor(Qt::KeyboardModifiers modifiers)
{
    uint16_t mask = 0;
    if (modifiers & Qt::ShiftModifier)
        mask |= XCB_MOD_MASK_SHIFT;
    if (modifiers & Qt::ControlModifier)
        mask |= XCB_MOD_MASK_CONTROL;
    if (modifiers & Qt::AltModifier)
        mask |= XCB_MOD_MASK_1;
    if (modifiers & Qt::MetaModifier)
        mask |= XCB_MOD_MASK_4;
    return mask;
}

QList<xcb_keycode_t> keycodesFor(xcb_connection_t *connection, xcb_keysym_t keysym)
{
    QList<xcb_keycode_t> keycodes;
    const xcb_setup_t *setup = xcb_get_setup(connection);
    const int count = setup->max_keycode - setup->min_keycode + 1;
    auto cookie = xcb_get_keyboard_mapping(connection, setup->min_keycode, uint8_t(count));
    xcb_get_keyboard_mapping_reply_t *reply = xcb_get_keyboard_mapping_reply(connection, cookie, nullptr);
    if (!reply)
        return keycodes;
    const xcb_keysym_t *syms = xcb_get_keyboard_mapping_keysyms(reply);
    const int perCode = reply->keysyms_per_keycode;
    const xcb_keysym_t upper = (keysym >= 'a' && keysym <= 'z') ? keysym - 32 : keysym;
    for (int i = 0; i < count; ++i) {
        for (int j = 0; j < perCode; ++j) {
            const xcb_keysym_t sym = syms[i * perCode + j];
            if (sym == keysym || sym == upper) {
                keycodes.append(xcb_keycode_t(setup->min_keycode + i));
                break;
            }
        }
    }
    std::free(reply);
    return keycodes;
}

// The modifier bit Num Lock sits on in this server's mapping (usually Mod2).
uint16_t numLockMask(xcb_connection_t *connection)
{
    const QList<xcb_keycode_t> numLockCodes = keycodesFor(connection, numLockKeysym);
    uint16_t mask = XCB_MOD_MASK_2;
    auto cookie = xcb_get_modifier_mapping(connection);
    xcb_get_modifier_mapping_reply_t *reply = xcb_get_modifier_mapping_reply(connection, cookie, nullptr);
    if (!reply)
        return mask;
    const xcb_keycode_t *codes = xcb_get_modifier_mapping_keycodes(reply);
    const int perModifier = reply->keycodes_per_modifier;
    for (int modifier = 0; modifier < 8; ++modifier) {
        for (int k = 0; k < perModifier; ++k) {
            if (numLockCodes.contains(codes[modifier * perModifier + k]))
                mask = uint16_t(1u << modifier);
        }
    }
    std::free(reply);
    return mask;
}

class X11GlobalShortcut final : public GlobalShortcut, public QAbstractNativeEventFilter
{
public:
    ~X11GlobalShortcut() override
    {
        if (auto *dispatcher = QAbstractEventDispatcher::instance())
            dispatcher->removeNativeEventFilter(this);
    }

    void grab(Qt::Key key, Qt::KeyboardModifiers modifiers, std::function<void()> onPress) override
    {
        auto *x11 = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
        xcb_connection_t *connection = x11 ? x11->connection() : nullptr;
        const xcb_keysym_t keysym = keysymFor(key);
        if (!connection || !keysym) {
            qCInfo(lcShortcut) << "no X connection or no keysym for" << QKeySequence(key | modifiers);
            return;
        }
        m_onPress = std::move(onPress);
        m_mask = maskFor(modifiers);
        m_keycodes = keycodesFor(connection, keysym);
        const uint16_t numLock = numLockMask(connection);
        const uint16_t lockVariants[] = {0, XCB_MOD_MASK_LOCK, numLock, uint16_t(XCB_MOD_MASK_LOCK | numLock)};
        int refused = 0;

        xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
        for (; screens.rem; xcb_screen_next(&screens)) {
            for (xcb_keycode_t keycode : std::as_const(m_keycodes)) {
                for (uint16_t variant : lockVariants) {
                    // Checked so that a refusal (another program holds the
                    // key) is swallowed here instead of being logged by Qt.
                    auto cookie = xcb_grab_key_checked(connection, 1, screens.data->root, uint16_t(m_mask | variant),
                                                       keycode, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
                    xcb_generic_error_t *error = xcb_request_check(connection, cookie);
                    refused += error != nullptr;
                    std::free(error);
                }
            }
        }
        xcb_flush(connection);
        if (refused)
            qCWarning(lcShortcut) << QKeySequence(key | modifiers) << "is held by another program:" << refused
                                  << "grabs refused";
        else
            qCInfo(lcShortcut) << "grabbed" << QKeySequence(key | modifiers) << "on" << m_keycodes.size()
                               << "key codes";
        if (auto *dispatcher = QAbstractEventDispatcher::instance())
            dispatcher->installNativeEventFilter(this);
    }

    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *) override
    {
        if (eventType != "xcb_generic_event_t")
            return false;
        auto *event = static_cast<xcb_generic_event_t *>(message);
        if ((event->response_type & 0x7f) != XCB_KEY_PRESS)
            return false;
        auto *press = reinterpret_cast<xcb_key_press_event_t *>(event);
        constexpr uint16_t relevant = XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1 | XCB_MOD_MASK_4;
        if (!m_keycodes.contains(press->detail) || (press->state & relevant) != m_mask)
            return false;
        // Run the handler after this event is done: it shows and activates
        // windows, which is better not done inside Qt's event reading.
        // The event itself goes on to Qt (which ignores it: its window is
        // the root), so Qt still learns the time of this user action and
        // lets the shelf take focus.
        if (m_onPress)
            QMetaObject::invokeMethod(QCoreApplication::instance(), m_onPress, Qt::QueuedConnection);
        return false;
    }

private:
    std::function<void()> m_onPress;
    QList<xcb_keycode_t> m_keycodes;
    uint16_t m_mask = 0;
};

} // namespace

std::unique_ptr<GlobalShortcut> makeX11GlobalShortcut() { return std::make_unique<X11GlobalShortcut>(); }
