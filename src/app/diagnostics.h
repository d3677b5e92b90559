#pragma once

#include <QList>
#include <QPointer>
#include <QString>
#include <QUrl>
#include <Qt>
#include <optional>

class AppDelegate;
class QWidget;
class Shelf;

// Environment variables that drive the running program without a person at
// the keyboard, for end-to-end tests: open the shelf or the settings, replay
// a click, a marquee drag or key presses through the real event paths, write
// PNG snapshots, and report the outcome as "[Brindlewick] ..." lines on
// standard error. Without them nothing here happens.
//
//   BRINDLEWICK_OPEN               show the shelf 0.5 s after launch
//   BRINDLEWICK_SETTINGS           open the settings 0.8 s after launch
//   BRINDLEWICK_CLICK              click the first item's cell 2.5 s after launch
//   BRINDLEWICK_MARQUEE            drag from empty space to the second cell
//   BRINDLEWICK_KEY=C18,S124,...   keys from 2.0 s, one every 0.3 s
//   BRINDLEWICK_SNAPSHOT=path      PNG of the shelf 2.5 s after every show
//   BRINDLEWICK_SNAPSHOT_SETTINGS  PNG of the settings 1.5 s after they open
//   BRINDLEWICK_DEBUG              the focused view 1.5 s after every show
//
// The click and marquee find an item's cell by searching the shelf window's
// widgets depth first for a visible CellInteractionView whose `url`
// property is the item's file.
class DiagnosticHooks
{
public:
    explicit DiagnosticHooks(AppDelegate &delegate);

    void scheduleSettingsHook();
    void scheduleLaunchHooks();
    void afterShow();
    void afterOpenSettings(QWidget *sheet);

    // One key token: modifier letters ("S" Shift, "C" Ctrl) and a virtual
    // key code ("C18" is Ctrl+1). std::nullopt for a token that does not
    // parse.
    struct KeyToken
    {
        QString text;
        quint16 code = 0;
        quint32 flags = 0;
    };
    static std::optional<KeyToken> parseKeyToken(const QString &token);
    // The value split at commas, empty pieces dropped.
    static QStringList keyTokens(const QString &value);

    // "1,3": the 1-based places in `visible` of the selected items.
    static QString selectedSlots(const Shelf &shelf);
    static QWidget *findCell(QWidget *root, const QUrl &url);
    // Writes `window` as a PNG (atomically) and logs it; silent on failure.
    static void snapshotWindow(QWidget *window, const QString &path);
    static QString typeName(const QObject *object);
    static void log(const QString &line);

private:
    void click();
    void marquee();
    void sendKey(const QString &token);

    QPointer<AppDelegate> m_delegate;
};
