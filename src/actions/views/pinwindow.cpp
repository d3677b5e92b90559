#include "actions/views/pinwindow.h"

#include "actions/views/desktopwindows.h"

#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QScreen>
#include <QWindow>

#include <algorithm>
#include <cmath>

namespace {

// How close to an edge (points) a press resizes instead of moving.
constexpr int resizeBand = 6;

} // namespace

PinWindow::PinWindow(const QImage &image, const QSizeF &imagePoints, const QString &title, QScreen *screen)
    : QWidget(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint), m_image(image)
{
    setObjectName(QStringLiteral("pinWindow"));
    setWindowTitle(title);
    setAccessibleName(tr("Pinned screenshot: %1").arg(title));
    setAccessibleDescription(QStringLiteral(
        "Stays above other windows; drag to move it, drag an edge to resize it, double-click or Escape to close it"));
    setAttribute(Qt::WA_DeleteOnClose);
    setAttribute(Qt::WA_TranslucentBackground);
    setMouseTracking(true);
    setMinimumSize(minimumWidth, minimumHeight);
    if (screen) {
        setScreen(screen);
        setGeometry(geometryFor(imagePoints, screen->availableGeometry()));
    } else {
        resize(geometryFor(imagePoints, QRect(0, 0, 1280, 800)).size());
    }
}

QRect PinWindow::geometryFor(const QSizeF &imagePoints, const QRect &available)
{
    const double iw = imagePoints.width();
    const double ih = imagePoints.height();
    const double scale =
        std::min({available.width() * 0.4 / std::max(iw, 1.0), available.height() * 0.5 / std::max(ih, 1.0), 1.0});
    const int width = std::max(int(std::lround(iw * scale)), minimumWidth);
    const int height = std::max(int(std::lround(ih * scale)), minimumHeight);
    return QRect(available.x() + available.width() - width - margin, available.y() + margin, width, height);
}

void PinWindow::setImage(const QImage &image)
{
    m_image = image;
    update();
}

void PinWindow::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    const QRectF bounds = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    QPainterPath outline;
    outline.addRoundedRect(bounds, cornerRadius, cornerRadius);
    painter.setClipPath(outline);
    // Where the picture's shape leaves the window uncovered, a faint
    // backing instead of a hole.
    QColor backing = palette().color(QPalette::Window);
    backing.setAlphaF(0.85);
    painter.fillPath(outline, backing);
    if (!m_image.isNull()) {
        // Proportionally up or down to fill the window, centred.
        QSizeF shown = QSizeF(m_image.size()).scaled(size(), Qt::KeepAspectRatio);
        const QRectF target(QPointF((width() - shown.width()) / 2, (height() - shown.height()) / 2), shown);
        painter.drawImage(target, m_image);
    }
    painter.setClipping(false);
    QColor border = palette().color(QPalette::Light);
    border.setAlphaF(0.6);
    painter.setPen(QPen(border, 1));
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(outline);
}

void PinWindow::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape) {
        close();
        return;
    }
    QWidget::keyPressEvent(event);
}

Qt::Edges PinWindow::edgesAt(const QPoint &pos) const
{
    Qt::Edges edges;
    if (pos.x() < resizeBand)
        edges |= Qt::LeftEdge;
    if (pos.x() >= width() - resizeBand)
        edges |= Qt::RightEdge;
    if (pos.y() < resizeBand)
        edges |= Qt::TopEdge;
    if (pos.y() >= height() - resizeBand)
        edges |= Qt::BottomEdge;
    return edges;
}

void PinWindow::mousePressEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton) {
        QWidget::mousePressEvent(event);
        return;
    }
    const Qt::Edges edges = edgesAt(event->position().toPoint());
    if (edges && windowHandle() && windowHandle()->startSystemResize(edges))
        return;
    m_pressAt = event->globalPosition().toPoint();
    m_windowAtPress = pos();
    m_manualMove = false;
}

void PinWindow::mouseMoveEvent(QMouseEvent *event)
{
    if (!(event->buttons() & Qt::LeftButton) || !m_pressAt) {
        const Qt::Edges edges = edgesAt(event->position().toPoint());
        const bool horizontal = edges & (Qt::LeftEdge | Qt::RightEdge);
        const bool vertical = edges & (Qt::TopEdge | Qt::BottomEdge);
        if (horizontal && vertical) {
            const bool falling = (edges & Qt::LeftEdge) == bool(edges & Qt::TopEdge);
            setCursor(falling ? Qt::SizeFDiagCursor : Qt::SizeBDiagCursor);
        } else if (horizontal) {
            setCursor(Qt::SizeHorCursor);
        } else if (vertical) {
            setCursor(Qt::SizeVerCursor);
        } else {
            unsetCursor();
        }
        return;
    }
    const QPoint global = event->globalPosition().toPoint();
    if (m_manualMove) {
        move(m_windowAtPress + global - *m_pressAt);
        return;
    }
    if ((global - *m_pressAt).manhattanLength() < QApplication::startDragDistance())
        return;
    // The window manager (or compositor) moves the window from here; where
    // it cannot, the window follows the pointer itself.
    if (windowHandle() && windowHandle()->startSystemMove())
        m_pressAt.reset();
    else
        m_manualMove = true;
}

void PinWindow::mouseReleaseEvent(QMouseEvent *event)
{
    m_pressAt.reset();
    m_manualMove = false;
    QWidget::mouseReleaseEvent(event);
}

void PinWindow::mouseDoubleClickEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton)
        close();
}

void PinWindow::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    joinAllWorkspaces();
    DesktopWindows::keepOffTaskbar(this);
}

void PinWindow::joinAllWorkspaces() { DesktopWindows::joinAllWorkspaces(this); }
