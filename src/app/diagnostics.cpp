#include "app/diagnostics.h"

#include "actions/views/previewer.h"
#include "app/appdelegate.h"
#include "app/keytable.h"
#include "model/shelf.h"
#include "ui/flash.h"
#include "ui/foldercolumn.h"
#include "ui/shelfgrid.h"
#include "ui/shelftoolbar.h"
#include "ui/shelfwindow.h"

#include <QCoreApplication>
#include <QDialog>
#include <QFileInfo>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QMouseEvent>
#include <QPixmap>
#include <QSaveFile>
#include <QScrollBar>
#include <QTimer>
#include <QToolButton>
#include <QWindow>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <utility>

namespace {

constexpr int openDelayMs = 500;
constexpr int settingsDelayMs = 800;
constexpr int clickDelayMs = 2500;
constexpr int keyFirstDelayMs = 2000;
constexpr int keySpacingMs = 300;
constexpr int keyReportDelayMs = 150;
constexpr int clickReleaseDelayMs = 60;
constexpr int clickReportDelayMs = 500;
constexpr int marqueeStepMs = 50;
constexpr int marqueeSteps = 8;
constexpr int marqueeReleaseMs = 500;
constexpr int marqueeReportDelayMs = 400;
constexpr int snapshotDelayMs = 2500;
constexpr int settingsSnapshotDelayMs = 1500;
constexpr int debugDelayMs = 1500;

bool hookSet(const char *name) { return qEnvironmentVariableIsSet(name); }

bool anyHookSet()
{
    for (const char *name :
         {"BRINDLEWICK_DEBUG", "BRINDLEWICK_OPEN", "BRINDLEWICK_SETTINGS", "BRINDLEWICK_CLICK", "BRINDLEWICK_MARQUEE",
          "BRINDLEWICK_KEY", "BRINDLEWICK_SNAPSHOT", "BRINDLEWICK_SNAPSHOT_SETTINGS", "BRINDLEWICK_SNAPSHOT_FLASH"}) {
        if (hookSet(name))
            return true;
    }
    return false;
}

void writeToStandardError(const QString &line)
{
    const QByteArray bytes = (QStringLiteral("[Brindlewick] ") + line + QLatin1Char('\n')).toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stderr);
    std::fflush(stderr);
}

// Runs `fn` `ms` from now (at once when `ms` is not positive), unless
// `context` is gone by then. Precise: these delays are short and documented.
template <typename Fn>
void later(QObject *context, qint64 ms, Fn fn)
{
    if (context)
        QTimer::singleShot(int(std::max<qint64>(ms, 0)), Qt::PreciseTimer, context, std::move(fn));
}

// Runs `fn` once every event posted so far has been handled: posted events
// are delivered in order, so this comes after a synthetic event posted
// just before it, however long the loop was held up.
template <typename Fn>
void afterPostedEvents(QObject *context, Fn fn)
{
    if (context)
        QMetaObject::invokeMethod(context, std::move(fn), Qt::QueuedConnection);
}

void postMouse(ShelfWindow *window, QEvent::Type type, const QPointF &at, Qt::MouseButton button,
               Qt::MouseButtons buttons)
{
    QWindow *handle = window->windowHandle();
    if (!handle)
        return;
    // Addressed to the native window, as the window system would, so Qt
    // finds the widget under the point and tracks the press itself.
    QCoreApplication::postEvent(
        handle, new QMouseEvent(type, at, at, window->mapToGlobal(at), button, buttons, Qt::NoModifier));
}

QString placeText(const QRect &r)
{
    return QStringLiteral("%1,%2 %3x%4").arg(r.x()).arg(r.y()).arg(r.width()).arg(r.height());
}

// CLOCK_MONOTONIC in milliseconds: a harness compares it with its own
// monotonic clock (Python's time.monotonic) to time what it did against what
// the program saw.
QString monotonicMs()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return QString::number(double(now.tv_sec) * 1000.0 + double(now.tv_nsec) / 1e6, 'f', 3);
}

// Reports the first paint of a window as it begins, then lets go.
class FirstPaintWatch : public QObject
{
public:
    FirstPaintWatch(QObject *parent, std::function<void()> report) : QObject(parent), m_report(std::move(report)) {}

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Paint && m_report) {
            std::exchange(m_report, nullptr)();
            watched->removeEventFilter(this);
            deleteLater();
        }
        return false;
    }

private:
    std::function<void()> m_report;
};

// Writes where each entry of a menu lies on the screen when it opens, and
// where a dialog opens.
class PopupWatch : public QObject
{
public:
    explicit PopupWatch(std::function<void(const QString &)> log) : m_log(std::move(log)) {}

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() != QEvent::Show)
            return false;
        if (auto *dialog = qobject_cast<QDialog *>(watched); dialog && dialog->isWindow()) {
            QPointer<QDialog> shown(dialog);
            QMetaObject::invokeMethod(
                dialog,
                [this, shown] {
                    if (shown && shown->isVisible())
                        m_log(QStringLiteral("dialog shown ") + placeText(shown->frameGeometry()));
                },
                Qt::QueuedConnection);
            return false;
        }
        auto *menu = qobject_cast<QMenu *>(watched);
        if (!menu)
            return false;
        // Once it has been placed and laid out.
        QPointer<QMenu> shown(menu);
        QMetaObject::invokeMethod(
            menu,
            [this, shown] {
                if (!shown || !shown->isVisible())
                    return;
                m_log(QStringLiteral("menu shown ") + placeText(shown->geometry()));
                for (QAction *action : shown->actions()) {
                    if (action->isSeparator() || !action->isVisible())
                        continue;
                    const QRect r = shown->actionGeometry(action).translated(shown->geometry().topLeft());
                    m_log(QStringLiteral("menu item %1 %2").arg(action->text(), placeText(r)));
                }
            },
            Qt::QueuedConnection);
        return false;
    }

private:
    std::function<void(const QString &)> m_log;
};

} // namespace

DiagnosticHooks::DiagnosticHooks(AppDelegate &delegate) : m_delegate(&delegate), m_sink(writeToStandardError)
{
    m_clock.start();
    // The shelf started its first scan when it was made; its result arrives
    // through the event loop, so it cannot have been applied yet.
    QObject::connect(&delegate.shelf(), &Shelf::scanApplied, &delegate, [this] {
        m_scanned = true;
        announceReadyIfDue();
    });
    if (hookSet("BRINDLEWICK_DEBUG")) {
        QObject::connect(&delegate.shelf(), &Shelf::freshScreenshot, &delegate, [this](const QUrl &url) {
            log(QStringLiteral("fresh %1 at %2").arg(url.fileName(), monotonicMs()));
        });
    }
}

DiagnosticHooks::~DiagnosticHooks() = default;

void DiagnosticHooks::log(const QString &line) const
{
    if (m_sink)
        m_sink(line);
}

void DiagnosticHooks::announceReadyIfDue()
{
    if (m_announced || !m_launched || !m_scanned || !anyHookSet())
        return;
    m_announced = true;
    log(QStringLiteral("ready"));
}

QString DiagnosticHooks::typeName(const QObject *object)
{
    if (!object)
        return QStringLiteral("nil");
    const QString name = QString::fromLatin1(object->metaObject()->className());
    return name.mid(name.lastIndexOf(QLatin1Char(':')) + 1);
}

void DiagnosticHooks::scheduleSettingsHook()
{
    if (!hookSet("BRINDLEWICK_SETTINGS"))
        return;
    later(m_delegate, settingsDelayMs, [this] {
        if (m_delegate)
            m_delegate->openSettings();
    });
}

void DiagnosticHooks::scheduleLaunchHooks()
{
    // The hooks' times count from here, the end of launching.
    m_clock.restart();
    if (hookSet("BRINDLEWICK_OPEN")) {
        later(m_delegate, openDelayMs, [this] {
            if (m_delegate)
                m_delegate->showShelf();
        });
    }
    const QStringList tokens = keyTokens(qEnvironmentVariable("BRINDLEWICK_KEY"));
    for (qsizetype i = 0; i < tokens.size(); ++i) {
        const QString &token = tokens.at(i);
        enqueue({keyFirstDelayMs + keySpacingMs * i, keySpacingMs,
                 [this, token](Done done) { sendKey(token, std::move(done)); }});
    }
    if (hookSet("BRINDLEWICK_DEBUG") && !m_popupWatch) {
        m_popupWatch = std::make_unique<PopupWatch>([this](const QString &line) { log(line); });
        QCoreApplication::instance()->installEventFilter(m_popupWatch.get());
    }
    if (hookSet("BRINDLEWICK_CLICK"))
        enqueue({clickDelayMs, 0, [this](Done done) { click(std::move(done)); }});
    if (hookSet("BRINDLEWICK_MARQUEE"))
        enqueue({clickDelayMs, 0, [this](Done done) { marquee(std::move(done)); }});
    m_launched = true;
    announceReadyIfDue();
}

void DiagnosticHooks::enqueue(Gesture gesture)
{
    // Stable: gestures due at the same time keep the order they were given.
    const auto at = std::upper_bound(m_gestures.begin(), m_gestures.end(), gesture.dueMs,
                                     [](qint64 due, const Gesture &g) { return due < g.dueMs; });
    m_gestures.insert(at, std::move(gesture));
    runNextGesture();
}

void DiagnosticHooks::runNextGesture()
{
    if (m_gestureRunning || m_gestures.isEmpty())
        return;
    const Gesture &next = m_gestures.first();
    qint64 startMs = next.dueMs;
    if (next.keySpacingMs > 0 && m_lastKeyMs >= 0)
        startMs = std::max(startMs, m_lastKeyMs + next.keySpacingMs);
    m_gestureRunning = true;
    later(m_delegate, startMs - m_clock.elapsed(), [this] {
        const Gesture gesture = m_gestures.takeFirst();
        gesture.run([this] {
            m_gestureRunning = false;
            runNextGesture();
        });
    });
}

void DiagnosticHooks::afterShow()
{
    const QString path = qEnvironmentVariable("BRINDLEWICK_SNAPSHOT");
    if (!path.isEmpty()) {
        later(m_delegate, snapshotDelayMs, [this, path] {
            if (m_delegate)
                snapshotWindow(m_delegate->window(), path);
        });
    }
    if (hookSet("BRINDLEWICK_DEBUG")) {
        later(m_delegate, debugDelayMs, [this] {
            ShelfWindow *window = m_delegate ? m_delegate->window() : nullptr;
            QWidget *responder = window ? window->focusWidget() : nullptr;
            // With no view focused, keys go to the window itself.
            log(QStringLiteral("first responder after show: ")
                + typeName(responder ? static_cast<QObject *>(responder) : window));
            reportPlaces();
        });
    }
}

void DiagnosticHooks::reportPlaces() const
{
    ShelfWindow *window = m_delegate ? m_delegate->window() : nullptr;
    if (!window || !window->isVisible())
        return;
    auto place = [this](const QString &what, const QWidget *widget, const QRect &local) {
        log(QStringLiteral("place %1 %2")
                .arg(what, placeText(QRect(widget->mapToGlobal(local.topLeft()), local.size()))));
    };
    if (auto *toolbar = window->findChild<ShelfToolbar *>()) {
        place(QStringLiteral("search field"), toolbar->searchField(), toolbar->searchField()->rect());
        place(QStringLiteral("menu button"), toolbar->menuButton(), toolbar->menuButton()->rect());
        for (QAction *action : toolbar->actions()) {
            QWidget *button = toolbar->widgetForAction(action);
            if (button && !action->text().isEmpty() && button->isVisible())
                place(QStringLiteral("button ") + action->text(), button, button->rect());
        }
    }
    if (auto *column = window->findChild<FolderColumn *>()) {
        const QPoint scroll(column->horizontalScrollBar()->value(), column->verticalScrollBar()->value());
        for (const FolderColumn::Row &row : column->rows()) {
            if (row.kind == FolderColumn::Row::folderRow || row.kind == FolderColumn::Row::homeRow)
                place(QStringLiteral("folder ")
                          + (row.kind == FolderColumn::Row::homeRow ? QStringLiteral("Home") : row.title),
                      column->viewport(), row.rect.translated(-scroll));
        }
    }
    if (auto *grid = window->findChild<ShelfGrid *>()) {
        for (const QUrl &url : grid->shownItems()) {
            const QRect tile = grid->tileRect(url).intersected(grid->viewport()->rect());
            if (!tile.isEmpty())
                place(QStringLiteral("cell ") + url.fileName(), grid->viewport(), tile);
        }
    }
}

void DiagnosticHooks::afterOpenSettings(QWidget *sheet)
{
    const QString path = qEnvironmentVariable("BRINDLEWICK_SNAPSHOT_SETTINGS");
    if (path.isEmpty())
        return;
    QPointer<QWidget> target(sheet);
    later(m_delegate, settingsSnapshotDelayMs, [this, target, path] {
        // The whole form, also what is scrolled out of view.
        if (auto *window = qobject_cast<SettingsSheetWindow *>(target.data()))
            writeSnapshot(window->snapshot(), path);
        else if (target)
            snapshotWindow(target, path);
    });
}

void DiagnosticHooks::afterFlashShown(QWidget *card)
{
    if (!card || !anyHookSet())
        return;
    const auto *panel = qobject_cast<FlashPanel *>(card);
    const QString name = panel ? panel->url().fileName() : QString();
    log(QStringLiteral("flash shown %1 %2x%3")
            .arg(name, QString::number(card->width()), QString::number(card->height())));
    const QString path = qEnvironmentVariable("BRINDLEWICK_SNAPSHOT_FLASH");
    if (!path.isEmpty())
        snapshotWindow(card, path);
}

void DiagnosticHooks::afterFlashMade(QWidget *card)
{
    const auto *panel = qobject_cast<FlashPanel *>(card);
    if (!panel || !hookSet("BRINDLEWICK_DEBUG"))
        return;
    const QString name = panel->url().fileName();
    log(QStringLiteral("flash made %1 at %2").arg(name, monotonicMs()));
    card->installEventFilter(new FirstPaintWatch(
        card, [this, name] { log(QStringLiteral("flash painted %1 at %2").arg(name, monotonicMs())); }));
}

void DiagnosticHooks::afterFlashGone(const QUrl &url, qint64 msOnScreen)
{
    if (anyHookSet())
        log(QStringLiteral("flash gone %1 after %2 ms").arg(url.fileName()).arg(msOnScreen));
}

QStringList DiagnosticHooks::keyTokens(const QString &value)
{
    return value.split(QLatin1Char(','), Qt::SkipEmptyParts);
}

std::optional<DiagnosticHooks::KeyToken> DiagnosticHooks::parseKeyToken(const QString &token)
{
    KeyToken parsed;
    parsed.text = token;
    qsizetype i = 0;
    for (; i < token.size(); ++i) {
        if (token.at(i) == QLatin1Char('S'))
            parsed.flags |= KeyTable::shiftBit;
        else if (token.at(i) == QLatin1Char('C'))
            parsed.flags |= KeyTable::ctrlBit;
        else
            break;
    }
    QString rest = token.mid(i);
    if (rest.startsWith(QLatin1Char('+')))
        rest = rest.mid(1);
    if (rest.isEmpty()
        || !std::all_of(rest.cbegin(), rest.cend(), [](QChar c) { return c.isDigit() && c.unicode() < 128; }))
        return std::nullopt;
    bool ok = false;
    const uint code = rest.toUInt(&ok);
    if (!ok || code > 0xFFFF)
        return std::nullopt;
    parsed.code = quint16(code);
    return parsed;
}

QString DiagnosticHooks::selectedSlots(const Shelf &shelf)
{
    const QList<QUrl> visible = shelf.visible();
    const QSet<QUrl> selection = shelf.selection();
    QStringList slots;
    for (qsizetype i = 0; i < visible.size(); ++i) {
        if (selection.contains(visible.at(i)))
            slots << QString::number(i + 1);
    }
    return slots.join(QLatin1Char(','));
}

std::optional<QRect> DiagnosticHooks::findCell(QWidget *window, const QUrl &url)
{
    if (!window || !window->isVisible())
        return std::nullopt;
    auto *grid = window->findChild<ShelfGrid *>();
    if (!grid || !grid->isVisible())
        return std::nullopt;
    const QRect cell = grid->tileRect(url);
    if (cell.isEmpty())
        return std::nullopt;
    return QRect(grid->viewport()->mapTo(window, cell.topLeft()), cell.size());
}

void DiagnosticHooks::snapshotWindow(QWidget *window, const QString &path) const
{
    if (window)
        writeSnapshot(window->grab(), path);
}

void DiagnosticHooks::writeSnapshot(const QPixmap &image, const QString &path) const
{
    if (image.isNull())
        return;
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return;
    if (!image.save(&file, "PNG") || !file.commit())
        return;
    log(QStringLiteral("snapshot %1x%2 -> %3")
            .arg(QString::number(image.width()), QString::number(image.height()), path));
}

void DiagnosticHooks::click(Done done)
{
    ShelfWindow *window = m_delegate ? m_delegate->window() : nullptr;
    const QList<QUrl> visible = window ? m_delegate->shelf().visible() : QList<QUrl>();
    const std::optional<QRect> cell = visible.isEmpty() ? std::nullopt : findCell(window, visible.first());
    if (!cell) {
        done();
        return;
    }
    const QUrl &clicked = visible.first();
    const QPointF p = QRectF(*cell).center();
    QWidget *hit = window->childAt(p.toPoint());
    // The grid draws its cells itself: it names the part under the point.
    auto *grid = window->findChild<ShelfGrid *>();
    const QString hitName = grid && hit == grid->viewport()
                                ? grid->partAt(grid->viewport()->mapFrom(window, p.toPoint()))
                                : typeName(hit ? static_cast<QObject *>(hit) : window);
    log(QStringLiteral("view under the click point: ") + hitName);
    QPointer<ShelfWindow> target(window);
    postMouse(window, QEvent::MouseButtonPress, p, Qt::LeftButton, Qt::LeftButton);
    later(m_delegate, clickReleaseDelayMs, [this, target, p, clicked, done] {
        if (!target) {
            done();
            return;
        }
        postMouse(target, QEvent::MouseButtonRelease, p, Qt::LeftButton, Qt::NoButton);
        const qint64 releasedMs = m_clock.elapsed();
        afterPostedEvents(m_delegate, [this, releasedMs, clicked, done] {
            later(m_delegate, releasedMs + clickReportDelayMs - m_clock.elapsed(), [this, clicked, done] {
                QStringList names;
                for (const QUrl &url : m_delegate->shelf().selection())
                    names << QLatin1Char('"') + url.fileName() + QLatin1Char('"');
                log(QStringLiteral("after click: selected [%1] (clicked %2)")
                        .arg(names.join(QStringLiteral(", ")), clicked.fileName()));
                done();
            });
        });
    });
}

void DiagnosticHooks::marquee(Done done)
{
    ShelfWindow *window = m_delegate ? m_delegate->window() : nullptr;
    const QList<QUrl> visible = window ? m_delegate->shelf().visible() : QList<QUrl>();
    const std::optional<QRect> cell = visible.size() < 2 ? std::nullopt : findCell(window, visible.at(1));
    if (!cell) {
        done();
        return;
    }
    // From empty grid background 40 points in from the right edge and 60
    // above the bottom, to the centre of the second cell.
    const QPointF s(window->width() - 40, window->height() - 60);
    const QPointF t = QRectF(*cell).center();
    const qint64 pressedMs = m_clock.elapsed();
    QPointer<ShelfWindow> target(window);
    postMouse(window, QEvent::MouseButtonPress, s, Qt::LeftButton, Qt::LeftButton);

    auto release = [this, target, t, done] {
        if (!target) {
            done();
            return;
        }
        postMouse(target, QEvent::MouseButtonRelease, t, Qt::LeftButton, Qt::NoButton);
        const qint64 releasedMs = m_clock.elapsed();
        afterPostedEvents(m_delegate, [this, releasedMs, done] {
            later(m_delegate, releasedMs + marqueeReportDelayMs - m_clock.elapsed(), [this, done] {
                log(QStringLiteral("after marquee: selected slots ") + selectedSlots(m_delegate->shelf()));
                done();
            });
        });
    };
    // Built from the last step back: each step schedules the next, so they
    // go out in order even when their times have all passed.
    std::function<void()> next = [this, pressedMs, release] {
        later(m_delegate, pressedMs + marqueeReleaseMs - m_clock.elapsed(), release);
    };
    for (int k = marqueeSteps; k >= 1; --k) {
        const QPointF at = s + (t - s) * (double(k) / marqueeSteps);
        const qint64 dueMs = pressedMs + k * marqueeStepMs;
        next = [this, target, at, dueMs, next] {
            later(m_delegate, dueMs - m_clock.elapsed(), [target, at, next] {
                if (target)
                    postMouse(target, QEvent::MouseMove, at, Qt::NoButton, Qt::LeftButton);
                next();
            });
        };
    }
    next();
}

void DiagnosticHooks::sendKey(const QString &tokenText, Done done)
{
    // A token that does not parse is skipped but keeps its place in time.
    m_lastKeyMs = m_clock.elapsed();
    const std::optional<KeyToken> token = parseKeyToken(tokenText);
    if (!token || !m_delegate) {
        done();
        return;
    }
    ShelfWindow *window = m_delegate->window();
    const auto key = KeyTable::forVirtualCode(token->code);
    if (window && window->windowHandle() && key) {
        Qt::KeyboardModifiers modifiers = KeyTable::modifiersForFlags(token->flags);
        if (key->keypad)
            modifiers |= Qt::KeypadModifier;
        // To the native window, as a real key: Qt hands it to the focused
        // view, and shortcuts and the key routing see it first.
        // The text a keyboard would give: none with Ctrl, upper case with Shift.
        QString text = (modifiers & Qt::ControlModifier) ? QString() : KeyTable::textForVirtualCode(token->code);
        if (modifiers & Qt::ShiftModifier)
            text = text.toUpper();
        QCoreApplication::postEvent(window->windowHandle(), new QKeyEvent(QEvent::KeyPress, key->key, modifiers, text));
    }
    const qint64 sentMs = m_lastKeyMs;
    const QString text = token->text;
    // The report waits for the key to be handled, and the next key waits
    // for the report.
    afterPostedEvents(m_delegate, [this, sentMs, text, done] {
        later(m_delegate, sentMs + keyReportDelayMs - m_clock.elapsed(), [this, text, done] {
            reportKey(text);
            done();
        });
    });
}

void DiagnosticHooks::reportKey(const QString &text) const
{
    if (!m_delegate)
        return;
    Shelf &shelf = m_delegate->shelf();
    QString line = QStringLiteral("after key %1: selected slots %2 columns=%3")
                       .arg(text, selectedSlots(shelf))
                       .arg(shelf.columns());
    ShelfWindow *window = m_delegate->window();
    if (const std::optional<QRect> cell = shelf.cursor().isEmpty() ? std::nullopt : findCell(window, shelf.cursor())) {
        const QRect r = *cell;
        const int h = window->height();
        const bool fully = r.top() >= 0 && r.top() + r.height() <= h;
        line +=
            (fully ? QStringLiteral(" cursor cell fully visible (y ") : QStringLiteral(" cursor cell OFFSCREEN (y "))
            + QStringLiteral("%1\u2013%2 of %3)").arg(r.top()).arg(r.top() + r.height()).arg(h);
    }
    if (m_delegate->previewer().isOpen())
        line += QStringLiteral(" preview ") + m_delegate->previewer().currentURL().fileName();
    log(line);
}
