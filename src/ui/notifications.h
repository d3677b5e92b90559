#pragma once

#include <QObject>

// Application-wide notices between windows that do not know each other:
// whoever wants the settings opened, the search field focused or the focus
// taken away from it emits; the window that can do it listens.
class Notifications : public QObject
{
    Q_OBJECT

public:
    static Notifications &shared()
    {
        static Notifications instance;
        return instance;
    }

Q_SIGNALS:
    // Open the settings sheet (the application opens it).
    void openSettings();
    // Put keyboard focus into the search field (the shelf view does it).
    void focusSearch();
    // Take keyboard focus away from the search field (the shelf view does it).
    void dropFocus();
};
