#pragma once

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>

// The screen a new window belongs on: the one under the pointer, else the
// primary one, else any; null without a screen at all.
inline QScreen *screenUnderPointer()
{
    if (QScreen *screen = QGuiApplication::screenAt(QCursor::pos()))
        return screen;
    if (QScreen *screen = QGuiApplication::primaryScreen())
        return screen;
    const QList<QScreen *> screens = QGuiApplication::screens();
    return screens.isEmpty() ? nullptr : screens.first();
}
