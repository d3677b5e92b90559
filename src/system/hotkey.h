#pragma once

#include <QObject>
#include <Qt>

#include <memory>

class GlobalShortcut;

// The one system-wide shortcut, Alt+Shift+S, that opens or hides the shelf
// from any program. It is fixed: nothing configures it. Registered once at
// launch and kept while this object lives; a desktop that refuses it leaves
// the tray icon, `brindlewick --toggle` and the menus as the ways in.
class HotKey : public QObject
{
    Q_OBJECT

public:
    // The key that types S, with Alt and Shift.
    static constexpr Qt::Key key = Qt::Key_S;
    static constexpr Qt::KeyboardModifiers modifiers = Qt::AltModifier | Qt::ShiftModifier;

    explicit HotKey(QObject *parent = nullptr);
    ~HotKey() override;

    // Asks the desktop for the key through `backend`, the route it offers
    // (kept from then on; null where there is none, and nothing happens).
    // Presses arrive as `pressed`.
    void registerWith(std::unique_ptr<GlobalShortcut> backend);

Q_SIGNALS:
    void pressed();

private:
    std::unique_ptr<GlobalShortcut> m_backend;
};
