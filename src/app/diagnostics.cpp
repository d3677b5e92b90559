#include "app/diagnostics.h"

#include "app/appdelegate.h"
#include "model/shelf.h"
#include "platform/keytable.h"
#include "ui/shelfwindow.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPixmap>
#include <QSaveFile>
#include <QTimer>
#include <QWindow>

#include <cstdio>

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

void postMouse(ShelfWindow *window, QEvent::Type type, const QPointF &at, Qt::MouseButton button,
               Qt::MouseButtons buttons)
{
    QWindow *handle = window->windowHandle();
    if (!handle)
        return;
    // Addressed to the native window, as the window system would, so Qt
    // finds the widget under the point and tracks the press itself.
    QCoreApplication::postEvent(handle, new QMouseEvent(type, at, at, window->mapToGlobal(at), button,
                                                        buttons, Qt::NoModifier));
}

QPointF centreInWindow(QWidget *cell, QWidget *window)
{
    return QPointF(cell->mapTo(window, cell->rect().center()));
}

} // namespace

DiagnosticHooks::DiagnosticHooks(AppDelegate &delegate) : m_delegate(&delegate) {}

void DiagnosticHooks::log(const QString &line)
{
    const QByteArray bytes = (QStringLiteral("[Brindlewick] ") + line + QLatin1Char('\n')).toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stderr);
    std::fflush(stderr);
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
    QTimer::singleShot(settingsDelayMs, m_delegate, [this] {
        if (m_delegate)
            m_delegate->openSettings();
    });
}

void DiagnosticHooks::scheduleLaunchHooks()
{
    if (hookSet("BRINDLEWICK_OPEN")) {
        QTimer::singleShot(openDelayMs, m_delegate, [this] {
            if (m_delegate)
                m_delegate->showShelf();
        });
    }
    if (hookSet("BRINDLEWICK_CLICK"))
        QTimer::singleShot(clickDelayMs, m_delegate, [this] { click(); });
    if (hookSet("BRINDLEWICK_MARQUEE"))
        QTimer::singleShot(clickDelayMs, m_delegate, [this] { marquee(); });
    const QStringList tokens = keyTokens(qEnvironmentVariable("BRINDLEWICK_KEY"));
    for (qsizetype i = 0; i < tokens.size(); ++i) {
        const QString token = tokens.at(i);
        QTimer::singleShot(keyFirstDelayMs + keySpacingMs * int(i), m_delegate, [this, token] { sendKey(token); });
    }
}

void DiagnosticHooks::afterShow()
{
    const QString path = qEnvironmentVariable("BRINDLEWICK_SNAPSHOT");
    if (!path.isEmpty()) {
        QTimer::singleShot(snapshotDelayMs, m_delegate, [this, path] {
            if (m_delegate)
                snapshotWindow(m_delegate->window(), path);
        });
    }
    if (hookSet("BRINDLEWICK_DEBUG")) {
        QTimer::singleShot(debugDelayMs, m_delegate, [this] {
            ShelfWindow *window = m_delegate ? m_delegate->window() : nullptr;
            QWidget *responder = window ? window->focusWidget() : nullptr;
            // With no view focused, keys go to the window itself.
            log(QStringLiteral("first responder after show: ")
                + typeName(responder ? static_cast<QObject *>(responder) : window));
        });
    }
}

void DiagnosticHooks::afterOpenSettings(QWidget *sheet)
{
    const QString path = qEnvironmentVariable("BRINDLEWICK_SNAPSHOT_SETTINGS");
    if (path.isEmpty())
        return;
    QPointer<QWidget> target(sheet);
    QTimer::singleShot(settingsSnapshotDelayMs, m_delegate, [target, path] {
        if (target)
            snapshotWindow(target, path);
    });
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
            parsed.flags |= KeyTable::commandBit;
        else
            break;
    }
    QString rest = token.mid(i);
    if (rest.startsWith(QLatin1Char('+')))
        rest = rest.mid(1);
    if (rest.isEmpty() || !std::all_of(rest.cbegin(), rest.cend(), [](QChar c) { return c.isDigit() && c.unicode() < 128; }))
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

QWidget *DiagnosticHooks::findCell(QWidget *root, const QUrl &url)
{
    if (!root || !root->isVisible())
        return nullptr;
    for (QObject *child : root->children()) {
        auto *widget = qobject_cast<QWidget *>(child);
        if (!widget || !widget->isVisible())
            continue;
        if (widget->inherits("CellInteractionView") && widget->property("url").toUrl() == url)
            return widget;
        if (QWidget *found = findCell(widget, url))
            return found;
    }
    return nullptr;
}

void DiagnosticHooks::snapshotWindow(QWidget *window, const QString &path)
{
    if (!window)
        return;
    const QPixmap image = window->grab();
    if (image.isNull())
        return;
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return;
    if (!image.save(&file, "PNG") || !file.commit())
        return;
    log(QStringLiteral("snapshot %1x%2 -> %3").arg(image.width()).arg(image.height()).arg(path));
}

void DiagnosticHooks::click()
{
    if (!m_delegate)
        return;
    ShelfWindow *window = m_delegate->window();
    Shelf &shelf = m_delegate->shelf();
    const QList<QUrl> visible = shelf.visible();
    if (!window || visible.isEmpty())
        return;
    const QUrl clicked = visible.first();
    QWidget *cell = findCell(window, clicked);
    if (!cell)
        return;
    const QPointF p = centreInWindow(cell, window);
    QWidget *hit = window->childAt(p.toPoint());
    log(QStringLiteral("view under the click point: ")
        + typeName(hit ? static_cast<QObject *>(hit) : window));
    QPointer<ShelfWindow> target(window);
    postMouse(window, QEvent::MouseButtonPress, p, Qt::LeftButton, Qt::LeftButton);
    QTimer::singleShot(clickReleaseDelayMs, m_delegate, [this, target, p, clicked] {
        if (!target)
            return;
        postMouse(target, QEvent::MouseButtonRelease, p, Qt::LeftButton, Qt::NoButton);
        QTimer::singleShot(clickReportDelayMs, m_delegate, [this, clicked] {
            if (!m_delegate)
                return;
            QStringList names;
            for (const QUrl &url : m_delegate->shelf().selection())
                names << QLatin1Char('"') + url.fileName() + QLatin1Char('"');
            log(QStringLiteral("after click: selected [%1] (clicked %2)")
                    .arg(names.join(QStringLiteral(", ")), clicked.fileName()));
        });
    });
}

void DiagnosticHooks::marquee()
{
    if (!m_delegate)
        return;
    ShelfWindow *window = m_delegate->window();
    const QList<QUrl> visible = m_delegate->shelf().visible();
    if (!window || visible.size() < 2)
        return;
    QWidget *cell = findCell(window, visible.at(1));
    if (!cell)
        return;
    // From empty grid background 40 points in from the right edge and 60
    // above the bottom, to the centre of the second cell.
    const QPointF s(window->width() - 40, window->height() - 60);
    const QPointF t = centreInWindow(cell, window);
    QPointer<ShelfWindow> target(window);
    postMouse(window, QEvent::MouseButtonPress, s, Qt::LeftButton, Qt::LeftButton);
    for (int k = 1; k <= marqueeSteps; ++k) {
        const QPointF at = s + (t - s) * (double(k) / marqueeSteps);
        QTimer::singleShot(k * marqueeStepMs, m_delegate, [target, at] {
            if (target)
                postMouse(target, QEvent::MouseMove, at, Qt::NoButton, Qt::LeftButton);
        });
    }
    QTimer::singleShot(marqueeReleaseMs, m_delegate, [this, target, t] {
        if (!target)
            return;
        postMouse(target, QEvent::MouseButtonRelease, t, Qt::LeftButton, Qt::NoButton);
        QTimer::singleShot(marqueeReportDelayMs, m_delegate, [this] {
            if (m_delegate)
                log(QStringLiteral("after marquee: selected slots ") + selectedSlots(m_delegate->shelf()));
        });
    });
}

void DiagnosticHooks::sendKey(const QString &tokenText)
{
    if (!m_delegate)
        return;
    const std::optional<KeyToken> token = parseKeyToken(tokenText);
    if (!token)
        return;
    ShelfWindow *window = m_delegate->window();
    const auto key = KeyTable::forVirtualCode(token->code);
    if (window && window->windowHandle() && key) {
        Qt::KeyboardModifiers modifiers = KeyTable::modifiersForFlags(token->flags);
        if (key->keypad)
            modifiers |= Qt::KeypadModifier;
        // To the native window, as a real key: Qt hands it to the focused
        // view, and shortcuts and the key routing see it first.
        QCoreApplication::postEvent(window->windowHandle(),
                                    new QKeyEvent(QEvent::KeyPress, key->key, modifiers,
                                                  KeyTable::textForVirtualCode(token->code)));
    }
    const QString text = token->text;
    QTimer::singleShot(keyReportDelayMs, m_delegate, [this, text] {
        if (!m_delegate)
            return;
        Shelf &shelf = m_delegate->shelf();
        QString line = QStringLiteral("after key %1: selected slots %2 columns=%3")
                           .arg(text, selectedSlots(shelf))
                           .arg(shelf.columns());
        ShelfWindow *window = m_delegate->window();
        if (QWidget *cell = shelf.cursor().isEmpty() ? nullptr : findCell(window, shelf.cursor())) {
            const QRect r(cell->mapTo(window, QPoint(0, 0)), cell->size());
            const int h = window->height();
            const bool fully = r.top() >= 0 && r.top() + r.height() <= h;
            line += (fully ? QStringLiteral(" cursor cell fully visible (y ") : QStringLiteral(" cursor cell OFFSCREEN (y "))
                    + QStringLiteral("%1\u2013%2 of %3)").arg(r.top()).arg(r.top() + r.height()).arg(h);
        }
        log(line);
    });
}
