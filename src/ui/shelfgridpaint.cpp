// What the grid's cells draw the same way again and again, drawn once and
// kept: the tile under the image, and each name's laid-out label. The cells
// themselves are painted in shelfgrid.cpp.
#include "ui/shelfgrid.h"

#include <QEvent>
#include <QPainter>
#include <QPainterPath>

namespace {

constexpr int tileRadius = 10;
// Images of other proportions each add a frame; past this many they are drawn again.
constexpr int maxFrames = 24;

QColor withAlpha(QColor c, double alpha)
{
    c.setAlphaF(alpha);
    return c;
}

} // namespace

const QPixmap &ShelfGrid::tileFrame(QSize tile, Look look, const QRectF &image, bool loading)
{
    const qreal dpr = devicePixelRatioF();
    const QString key = QStringLiteral("%1x%2 %3 %4,%5 %6x%7 %8 %9")
                            .arg(tile.width())
                            .arg(tile.height())
                            .arg(int(look))
                            .arg(qRound(image.x() * 64))
                            .arg(qRound(image.y() * 64))
                            .arg(qRound(image.width() * 64))
                            .arg(qRound(image.height() * 64))
                            .arg(loading)
                            .arg(dpr);
    if (const auto found = m_frames.constFind(key); found != m_frames.cend())
        return *found;
    // A new tile size (a resize, a zoom) leaves the old frames behind for good.
    if (m_frames.size() >= maxFrames || tile != m_framesTile)
        m_frames.clear();
    m_framesTile = tile;

    const QSize outer = tile + QSize(2 * frameMargin, 2 * frameMargin);
    QPixmap frame(outer * dpr);
    frame.setDevicePixelRatio(dpr);
    frame.fill(Qt::transparent);
    QPainter p(&frame);
    p.setRenderHint(QPainter::Antialiasing);
    p.translate(frameMargin, frameMargin);
    drawFrame(p, tile, look, image, loading);
    p.end();
    return *m_frames.insert(key, frame);
}

void ShelfGrid::drawFrame(QPainter &p, QSize tile, Look look, const QRectF &image, bool loading) const
{
    const QPalette &pal = palette();
    const QColor text = pal.color(QPalette::WindowText);
    const QRectF rect{QPointF(), QSizeF(tile)};
    QPainterPath shape;
    shape.addRoundedRect(rect, tileRadius, tileRadius);
    p.fillPath(shape, look == Look::hovered ? withAlpha(text, 0.10) : pal.color(QPalette::Base));
    if (!image.isEmpty()) {
        // A soft shadow under the image, one point down.
        p.setPen(Qt::NoPen);
        for (int k = 3; k >= 1; --k) {
            p.setBrush(QColor(0, 0, 0, int(255 * 0.18 / 3)));
            p.drawRoundedRect(image.translated(0, 1).adjusted(-k * 0.5, -k * 0.5, k * 0.5, k * 0.5), k, k);
        }
    }
    if (loading) {
        // Still loading: a faint ring where the image will be.
        const qreal side = 18;
        const QRectF ring(rect.center() - QPointF(side / 2, side / 2), QSizeF(side, side));
        p.setPen(QPen(withAlpha(text, 0.25), 2, Qt::SolidLine, Qt::RoundCap));
        p.setBrush(Qt::NoBrush);
        p.drawArc(ring, 90 * 16, -270 * 16);
    }
    p.setBrush(Qt::NoBrush);
    if (look == Look::selected)
        p.setPen(QPen(pal.color(QPalette::Highlight), 3, Qt::SolidLine, Qt::FlatCap, Qt::MiterJoin));
    else
        p.setPen(
            QPen(withAlpha(text, look == Look::hovered ? 0.28 : 0.10), 1, Qt::SolidLine, Qt::FlatCap, Qt::MiterJoin));
    p.drawPath(shape);
}

const QStaticText &ShelfGrid::labelText(const QUrl &url, int width)
{
    if (width != m_labelsWidth) {
        m_labels.clear();
        m_labelsWidth = width;
    }
    if (const auto found = m_labels.constFind(url); found != m_labels.cend())
        return *found;
    QStaticText label(fontMetrics().elidedText(url.fileName(), Qt::ElideMiddle, width));
    label.setTextFormat(Qt::PlainText);
    label.setPerformanceHint(QStaticText::AggressiveCaching);
    label.prepare(QTransform(), font());
    return *m_labels.insert(url, label);
}

void ShelfGrid::dropPaintCaches()
{
    m_frames.clear();
    m_labels.clear();
}

void ShelfGrid::changeEvent(QEvent *event)
{
    switch (event->type()) {
    case QEvent::PaletteChange:
    case QEvent::FontChange:
    case QEvent::StyleChange:
        dropPaintCaches();
        break;
    default:
        break;
    }
    QAbstractScrollArea::changeEvent(event);
}
