#include "ui/shelfwindow.h"

#include "actions/views/filecommands.h"
#include "model/shelf.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTextEdit>
#include <QTimer>
#include <QVBoxLayout>

#include <optional>

namespace {

// A window manager reports a drag-resize as a stream of sizes; the user has
// finished once the stream has been quiet this long.
constexpr int resizeSettleMs = 400;

QString fieldText(const QWidget *field)
{
    if (const auto *line = qobject_cast<const QLineEdit *>(field))
        return line->text();
    if (const auto *text = qobject_cast<const QTextEdit *>(field))
        return text->toPlainText();
    if (const auto *plain = qobject_cast<const QPlainTextEdit *>(field))
        return plain->toPlainText();
    return {};
}

// The digit 1 to 8 of a Ctrl+digit key press (0 to 7), also with Shift,
// which turns the digit into a symbol: on X11 the key's place tells (the
// X keycodes of the digit row), elsewhere the symbols of a US keyboard.
std::optional<int> copySlot(const QKeyEvent *event)
{
    const int key = event->key();
    if (key >= Qt::Key_1 && key <= Qt::Key_8)
        return key - Qt::Key_1;
    if (!(event->modifiers() & Qt::ShiftModifier))
        return std::nullopt;
    constexpr quint32 firstDigitKeycode = 10; // "1" in the X server's evdev numbering
    const quint32 code = event->nativeScanCode();
    if (QGuiApplication::platformName() == QLatin1String("xcb") && code >= firstDigitKeycode
        && code < firstDigitKeycode + 8)
        return int(code - firstDigitKeycode);
    static constexpr Qt::Key shifted[] = {Qt::Key_Exclam,  Qt::Key_At,          Qt::Key_NumberSign, Qt::Key_Dollar,
                                          Qt::Key_Percent, Qt::Key_AsciiCircum, Qt::Key_Ampersand,  Qt::Key_Asterisk};
    for (int i = 0; i < 8; ++i) {
        if (key == shifted[i])
            return i;
    }
    return std::nullopt;
}

} // namespace

// Sees each key press of the shelf window once, where Qt first hands it to
// a widget (the focused one, or the window when nothing has the focus), and
// before that widget does.
class ShelfWindow::KeyRouting : public QObject
{
public:
    explicit KeyRouting(ShelfWindow *window) : QObject(window), m_window(window) {}

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() != QEvent::KeyPress || !watched->isWidgetType())
            return false;
        QWidget *first = m_window->focusWidget() ? m_window->focusWidget() : m_window;
        if (watched != first)
            return false;
        if (!m_window->routeKeyEvent(static_cast<QKeyEvent *>(event)))
            return false;
        event->accept();
        return true;
    }

private:
    ShelfWindow *m_window;
};

ShelfWindow::ShelfWindow(QWidget *parent)
    : QWidget(parent, Qt::Tool | Qt::WindowStaysOnTopHint), m_resizeSettle(new QTimer(this))
{
    setWindowTitle(QStringLiteral("Brindlewick"));
    setObjectName(QStringLiteral("shelfWindow"));
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    m_resizeSettle->setSingleShot(true);
    m_resizeSettle->setInterval(resizeSettleMs);
    connect(m_resizeSettle, &QTimer::timeout, this, [this] { Q_EMIT liveResizeEnded(size()); });
}

void ShelfWindow::setContent(QWidget *content)
{
    if (m_content)
        m_content->deleteLater();
    m_content = content;
    if (!content)
        return;
    layout()->addWidget(content);
    // The content names the window (the folder on show).
    if (!content->windowTitle().isEmpty())
        setWindowTitle(content->windowTitle());
    connect(content, &QWidget::windowTitleChanged, this, [this](const QString &title) {
        if (!title.isEmpty())
            setWindowTitle(title);
    });
}

void ShelfWindow::placeAt(const QRect &geometry)
{
    m_placedSize = geometry.size();
    setGeometry(geometry);
}

void ShelfWindow::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    // Sizes we set ourselves come back here too (sometimes later, from the
    // window manager); only a size we did not ask for is the user's doing.
    if (isVisible() && event->size() != m_placedSize)
        m_resizeSettle->start();
}

void ShelfWindow::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    Q_EMIT shownChanged(true);
}

void ShelfWindow::hideEvent(QHideEvent *event)
{
    QWidget::hideEvent(event);
    m_resizeSettle->stop();
    Q_EMIT shownChanged(false);
}

void ShelfWindow::keyPressEvent(QKeyEvent *event)
{
    // A key the text field left alone stays with the field: the routing
    // has already given the shelf the keys that are its own there.
    if (!isEditableText(focusWidget()) && handleKey(event))
        event->accept();
    else
        QWidget::keyPressEvent(event);
}

bool ShelfWindow::handleKey(QKeyEvent *event)
{
    const Qt::KeyboardModifiers mods = event->modifiers();
    const bool command = mods & Qt::ControlModifier;
    const bool shift = mods & Qt::ShiftModifier;
    Shelf *shelf = m_shelf;
    FileCommands *commands = m_commands;

    // Ctrl with a digit copies that cell's file, Shift or not.
    if (const std::optional<int> slot = command ? copySlot(event) : std::nullopt) {
        if (commands)
            commands->copyCell(*slot);
        return true;
    }

    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (commands)
            commands->open().trigger();
        return true;
    case Qt::Key_Backspace:
    case Qt::Key_Delete:
        if (commands)
            commands->trash().trigger();
        return true;
    case Qt::Key_Escape:
        hide();
        return true;
    case Qt::Key_Left:
    case Qt::Key_Right:
    case Qt::Key_Up:
    case Qt::Key_Down: {
        if (!shelf)
            return true;
        const Move move = event->key() == Qt::Key_Left    ? Move::left
                          : event->key() == Qt::Key_Right ? Move::right
                          : event->key() == Qt::Key_Up    ? Move::up
                                                          : Move::down;
        shelf->moveCursor(move, shift);
        if (commands)
            commands->previewCursor();
        return true;
    }
    case Qt::Key_Space:
        if (commands)
            commands->togglePreview(true);
        return true;
    case Qt::Key_P:
        if (command)
            return false;
        if (commands)
            commands->pin().trigger();
        return true;
    case Qt::Key_N:
        if (!command || !shift)
            return false;
        if (commands)
            commands->newFolder().trigger();
        return true;
    // Ctrl+A, Ctrl+=, Ctrl+-, Ctrl+0 and Ctrl+, are the menu's shortcuts
    // and never come here.
    default:
        return false;
    }
}

bool ShelfWindow::isEditableText(const QWidget *widget)
{
    if (const auto *line = qobject_cast<const QLineEdit *>(widget))
        return !line->isReadOnly();
    if (const auto *text = qobject_cast<const QTextEdit *>(widget))
        return !text->isReadOnly();
    if (const auto *plain = qobject_cast<const QPlainTextEdit *>(widget))
        return !plain->isReadOnly();
    return false;
}

bool ShelfWindow::routeKeyEvent(QKeyEvent *event)
{
    QWidget *field = focusWidget();
    // A list that walks its own rows (the folder column) keeps the keys
    // that walk it.
    if (field && field->property("walksOwnRows").toBool()) {
        switch (event->key()) {
        case Qt::Key_Up:
        case Qt::Key_Down:
        case Qt::Key_Home:
        case Qt::Key_End:
            return false;
        default:
            break;
        }
    }
    if (!isEditableText(field))
        return handleKey(event);
    if ((event->modifiers() & Qt::ControlModifier) && copySlot(event))
        return handleKey(event);
    switch (event->key()) {
    case Qt::Key_Escape:
        if (m_shelf && !m_shelf->query().isEmpty())
            m_shelf->setQuery(QString());
        else
            hide();
        return true;
    case Qt::Key_Space:
        // With text in the field, a blank is part of the search.
        return fieldText(field).isEmpty() && handleKey(event);
    default:
        // Typing, editing, Ctrl+A on the field's text; Ctrl+, is the
        // menu's and has acted already.
        return false;
    }
}

void ShelfWindow::installKeyRouting()
{
    if (!m_routing) {
        m_routing = new KeyRouting(this);
        QCoreApplication::instance()->installEventFilter(m_routing);
    }
}
