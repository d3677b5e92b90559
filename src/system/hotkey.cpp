#include "system/hotkey.h"

#include "platform/globalshortcut.h"

#include <memory>

namespace HotKey {

std::function<void()> &handler()
{
    static std::function<void()> current;
    return current;
}

void registerWith(GlobalShortcut &backend)
{
    backend.grab(key, modifiers, [] {
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
