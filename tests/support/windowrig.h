#pragma once

#include "support/commandsrig.h"
#include "ui/shelftoolbar.h"
#include "ui/shelfview.h"
#include "ui/shelfwindow.h"

#include <QLineEdit>

// A CommandsRig whose shelf is shown in a shelf window, with the program's
// key routing, active and with the keyboard on the window itself.
struct WindowRig : CommandsRig
{
    std::unique_ptr<ShelfWindow> window;
    ShelfView *view = nullptr;

    // Starts the shelf on folder() as it is, then shows the window.
    bool showWindow(Thumbs *thumbs = nullptr, QSize size = {900, 600})
    {
        if (!start(false))
            return false;
        makeCommands();
        window = std::make_unique<ShelfWindow>();
        window->setShelf(shelf.get());
        window->setCommands(*commands);
        beside = window.get();
        view = new ShelfView(shelf.get(), &meta, thumbs, *commands);
        window->setContent(view);
        window->installKeyRouting();
        window->resize(size);
        window->show();
        window->activateWindow();
        const bool active = QTest::qWaitForWindowActive(window.get());
        window->setFocus();
        return active;
    }

    QLineEdit *field() const { return view->toolbar()->searchField(); }
    // A key as the keyboard sends it: to whatever has the focus.
    void key(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) const
    {
        QTest::keyClick(window->focusWidget() ? window->focusWidget() : window.get(), key, modifiers);
    }
};
