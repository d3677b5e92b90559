#include "system/hotkey.h"

#include "platform/globalshortcut.h"
#include "platform/keytable.h"

#include <memory>

namespace HotKey {

std::function<void()> &handler()
{
    static std::function<void()> current;
    return current;
}

void registerWith(GlobalShortcut &backend)
{
    const auto key = KeyTable::forVirtualCode(virtualKeyCode);
    if (!key)
        return;
    backend.grab(key->key, modifiers, [] {
        if (handler())
            handler()();
    });
}

void registerShortcut()
{
    static std::unique_ptr<GlobalShortcut> backend = makeGlobalShortcut();
    if (backend)
        registerWith(*backend);
}

} // namespace HotKey
