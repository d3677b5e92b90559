#pragma once

#include <QImage>
#include <QPoint>
#include <QRect>
#include <QSizeF>
#include <QWidget>

#include <optional>

class QScreen;

// One pinned image: a small frameless window above the others, on every
// workspace, with rounded corners and a light border. Dragging anywhere on
// the image moves it, the edges resize it, and Escape or a double-click
// closes it (and frees it).
class PinWindow : public QWidget
{
    Q_OBJECT

public:
    static constexpr int minimumWidth = 160;
    static constexpr int minimumHeight = 100;
    static constexpr int margin = 24;
    static constexpr double cornerRadius = 8;

    // `image` is shown proportionally scaled to fill the window; its pixels
    // count `imagePoints` points (the picture's size on the screen).
    PinWindow(const QImage &image, const QSizeF &imagePoints, const QString &title, QScreen *screen);

    // Where a pin of an image of `imagePoints` goes on a screen whose
    // usable area is `available`: never enlarged, at most 40 % of the width
    // and half the height, at least 160 × 100, in the top-right corner with
    // 24-point margins.
    static QRect geometryFor(const QSizeF &imagePoints, const QRect &available);

    const QImage &image() const { return m_image; }
    // The file's content changed: `image` is its new picture (null while it
    // is decoded again).
    void setImage(const QImage &image);

protected:
    void paintEvent(QPaintEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    Qt::Edges edgesAt(const QPoint &pos) const;
    void joinAllWorkspaces();

    QImage m_image;
    // Pointer position (global) and window position when a press began;
    // a move starts only once the pointer travels, so a double-click stays
    // a double-click.
    std::optional<QPoint> m_pressAt;
    QPoint m_windowAtPress;
    bool m_manualMove = false;
};
