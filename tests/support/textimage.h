#pragma once

#include <QPainter>
#include <QStringList>

// A white picture of black lines of text, large and plain enough for the
// recogniser to read without doubt, so tests check our plumbing, not it.
inline QImage textImage(QSize size, int pixelSize, const QStringList &lines)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter p(&image);
    QFont font("DejaVu Sans");
    font.setPixelSize(pixelSize);
    p.setFont(font);
    for (qsizetype i = 0; i < lines.size(); ++i)
        p.drawText(QPoint(40, pixelSize * 2 + 10 + int(i) * pixelSize * 2), lines.at(i));
    return image;
}
