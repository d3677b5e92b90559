#include "ui/appicon.h"

#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

namespace {

void drawPhoto(QPainter &p, const QRectF &card, const QColor &fill, bool withPicture)
{
    const qreal s = card.width();
    p.setPen(QPen(QColor(0x1f, 0x2a, 0x3a), s * 0.06));
    p.setBrush(fill);
    p.drawRoundedRect(card, s * 0.12, s * 0.12);
    if (!withPicture)
        return;
    // A sun and two hills inside the card.
    const QRectF inner = card.adjusted(s * 0.14, s * 0.14, -s * 0.14, -s * 0.14);
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(0xff, 0xd2, 0x4a));
    const qreal sun = inner.width() * 0.26;
    p.drawEllipse(QRectF(inner.right() - sun * 1.3, inner.top() + sun * 0.2, sun, sun));
    QPainterPath hills;
    hills.moveTo(inner.left(), inner.bottom());
    hills.lineTo(inner.left() + inner.width() * 0.36, inner.top() + inner.height() * 0.42);
    hills.lineTo(inner.left() + inner.width() * 0.6, inner.top() + inner.height() * 0.72);
    hills.lineTo(inner.left() + inner.width() * 0.74, inner.top() + inner.height() * 0.58);
    hills.lineTo(inner.right(), inner.bottom());
    hills.closeSubpath();
    p.setBrush(QColor(0x2f, 0x9e, 0x6a));
    p.drawPath(hills);
}

QPixmap render(int size)
{
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter p(&pixmap);
    p.setRenderHint(QPainter::Antialiasing);
    const qreal s = size;
    const QRectF card(s * 0.06, s * 0.22, s * 0.64, s * 0.56);
    // The photo behind, tilted.
    p.save();
    p.translate(s * 0.55, s * 0.45);
    p.rotate(-14);
    p.translate(-s * 0.55, -s * 0.45);
    drawPhoto(p, card.translated(s * 0.2, -s * 0.06), QColor(0xc9, 0xd8, 0xf2), false);
    p.restore();
    // The photo in front.
    drawPhoto(p, card.translated(0, s * 0.08), QColor(0x4a, 0x7b, 0xd0), true);
    return pixmap;
}

} // namespace

QIcon appIcon()
{
    static const QIcon icon = [] {
        QIcon built;
        for (int size : {16, 22, 24, 32, 48, 64, 128, 256})
            built.addPixmap(render(size));
        return built;
    }();
    return icon;
}
