#include "ui/shelfwindow.h"

#include "model/shelf.h"

#include <QKeyEvent>
#include <QTimer>
#include <QVBoxLayout>

namespace {

// A window manager reports a drag-resize as a stream of sizes; the user has
// finished once the stream has been quiet this long.
constexpr int resizeSettleMs = 400;

} // namespace

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
    if (handleKey(event))
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

    switch (event->key()) {
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
        // Quick Look follows the cursor here once the preview window exists.
        return true;
    }
    case Qt::Key_Space: {
        if (!shelf)
            return true;
        // The preview window toggles here once it exists.
        const QList<QUrl> visible = shelf->visible();
        if (shelf->selectedURLs().isEmpty() && !visible.isEmpty())
            shelf->select(visible.first());
        return true;
    }
    case Qt::Key_1:
    case Qt::Key_2:
    case Qt::Key_3:
    case Qt::Key_4:
    case Qt::Key_5:
    case Qt::Key_6:
    case Qt::Key_7:
    case Qt::Key_8: {
        if (!command)
            return false;
        const qsizetype index = event->key() - Qt::Key_1;
        const QList<QUrl> visible = shelf ? shelf->visible() : QList<QUrl>();
        if (index < visible.size()) {
            // Copying the file to the clipboard joins here with the file actions.
            shelf->select(visible.at(index));
        }
        return true;
    }
    // Return/Enter (open), Delete/Backspace (trash), P (pin) and
    // Ctrl+Shift+N (new folder) join this map with the file actions,
    // pinned windows and folder operations. Ctrl+A, Ctrl+=, Ctrl+-, Ctrl+0
    // and Ctrl+, are the menu's shortcuts and never come here.
    default:
        return false;
    }
}
