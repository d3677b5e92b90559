#include "system/hotkey.h"

#include "platform/globalshortcut.h"

#include <QPointer>

HotKey::HotKey(QObject *parent) : QObject(parent) {}

HotKey::~HotKey() = default;

void HotKey::registerWith(std::unique_ptr<GlobalShortcut> backend)
{
    m_backend = std::move(backend);
    if (!m_backend)
        return;
    QPointer<HotKey> self(this);
    m_backend->grab(key, modifiers, [self] {
        if (self)
            Q_EMIT self->pressed();
    });
}
