#pragma once

#include <QElapsedTimer>
#include <QList>
#include <QPointer>
#include <QRect>
#include <QString>
#include <QUrl>
#include <Qt>
#include <functional>
#include <memory>
#include <optional>

class AppDelegate;
class QPixmap;
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
//   BRINDLEWICK_SNAPSHOT_SETTINGS  PNG of the whole settings form (also what is
//                                  scrolled out of view) 1.5 s after it opens
//   BRINDLEWICK_DEBUG              the focused view 1.5 s after every show, and
//                                  where the shelf's parts are on the screen
//                                  ("place cell a.png 400,160 160x100") and
//                                  the entries of every menu that opens
//                                  ("menu item Open 610,300 180x24") and each
//                                  dialog ("dialog shown 500,300 400x150"), so
//                                  that a test can point at them with real input
//   BRINDLEWICK_SNAPSHOT_FLASH=path PNG of each corner card once it has slid in
//
// With any of them set, the corner card reports "flash shown <name> WxH"
// once it has slid in and "flash gone <name> after <ms> ms" (counted from
// when it began to slide in) when it has left; with BRINDLEWICK_DEBUG also
// "fresh <name> at <ms>" when the shelf finds a new screenshot, and
// "flash made <name> at <ms>" and "flash painted <name> at <ms>" as its card
// is made and first painted (CLOCK_MONOTONIC milliseconds); and
// "[Brindlewick] ready" is written once launching has
// finished and the first scan of the folder is in, so a harness can wait
// for it instead of guessing.
//
// The click, the marquee and the keys are gestures that run one at a time:
// each starts when it falls due, but never before the previous one has
// written its report, so a report describes exactly the input sent so far
// however late a busy machine runs the event loop. The times above are the
// earliest a gesture starts.
//
// The click and marquee find an item's cell by asking the shelf window's
// visible grid where it drew it.
class DiagnosticHooks
{
public:
    using LogSink = std::function<void(const QString &line)>;

    // `delegate` must already own its shelf: the first scan is watched from here.
    explicit DiagnosticHooks(AppDelegate &delegate);
    ~DiagnosticHooks();

    void scheduleSettingsHook();
    // The last step of launching: schedules the launch hooks and writes the
    // ready line once the first scan is in.
    void scheduleLaunchHooks();
    void afterShow();
    void afterOpenSettings(QWidget *sheet);
    void afterFlashShown(QWidget *card);
    // A card exists, its thumbnail made; with BRINDLEWICK_DEBUG, reports
    // that and its first paint.
    void afterFlashMade(QWidget *card);
    void afterFlashGone(const QUrl &url, qint64 msOnScreen);

    // Where the lines go (without the "[Brindlewick] " prefix); standard
    // error unless a test listens instead.
    void setLogSink(LogSink sink) { m_sink = std::move(sink); }

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
    // The cell of `url` in `window`'s coordinates; none when it is not shown.
    static std::optional<QRect> findCell(QWidget *window, const QUrl &url);
    static QString typeName(const QObject *object);

private:
    using Done = std::function<void()>;
    struct Gesture
    {
        qint64 dueMs = 0;        // after launch
        qint64 keySpacingMs = 0; // at least this long after the previous key
        std::function<void(Done)> run;
    };

    void log(const QString &line) const;
    void snapshotWindow(QWidget *window, const QString &path) const;
    void writeSnapshot(const QPixmap &image, const QString &path) const;
    void announceReadyIfDue();

    void enqueue(Gesture gesture);
    void runNextGesture();
    void click(Done done);
    void marquee(Done done);
    void sendKey(const QString &token, Done done);
    void reportKey(const QString &token) const;
    void reportPlaces() const;

    QPointer<AppDelegate> m_delegate;
    LogSink m_sink;
    // Reports the entries of each menu that opens (BRINDLEWICK_DEBUG).
    std::unique_ptr<QObject> m_popupWatch;
    bool m_launched = false;
    bool m_scanned = false;
    bool m_announced = false;

    QElapsedTimer m_clock; // since launch
    QList<Gesture> m_gestures;
    bool m_gestureRunning = false;
    qint64 m_lastKeyMs = -1;
};
