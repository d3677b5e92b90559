// The grid's mouse: clicks and the marquee on tiles and background, tooltips,
// dragging files out and dropping them in. Painting and loading are in
// shelfgrid.cpp.
#include "ui/shelfgrid.h"

#include "actions/fileactions.h"
#include "meta/metastore.h"
#include "model/shelf.h"

#include <QDrag>
#include <QDropEvent>
#include <QFileInfo>
#include <QHelpEvent>
#include <QMimeData>
#include <QPainter>
#include <QScrollBar>
#include <QStyle>
#include <QTimer>
#include <QToolTip>

#include <algorithm>
#include <cmath>

bool ShelfGrid::viewportEvent(QEvent *event)
{
    if (event->type() == QEvent::ToolTip) {
        auto *help = static_cast<QHelpEvent *>(event);
        const int index = m_geometry.indexAt(toContent(help->pos()));
        if (index < 0) {
            QToolTip::hideText();
            event->ignore();
            return true;
        }
        const QUrl url = m_visible.at(index);
        const QRect tile = m_geometry.tileRect(index).translated(0, -offset());
        const std::optional<FileMeta> record = m_meta ? m_meta->meta(url) : std::nullopt;
        QString tip = url.fileName();
        if (record && record->hasTextFor(m_shelf ? m_shelf->modified(url) : QDateTime())
            && textBadgeRect(tile).contains(help->pos()))
            tip = tr("Text recognised, searchable");
        else if (record && record->appPath && QFileInfo::exists(*record->appPath)
                 && appBadgeRect(tile).contains(help->pos()))
            tip = tr("Taken while %1 was in front").arg(record->app.value_or(QString()));
        QToolTip::showText(help->globalPos(), tip, viewport());
        return true;
    }
    if (event->type() == QEvent::Leave && m_shelf && !m_marqueePressed)
        m_shelf->setHovered(QUrl());
    return QAbstractScrollArea::viewportEvent(event);
}

void ShelfGrid::mousePressEvent(QMouseEvent *event)
{
    if (m_focusVisible) {
        m_focusVisible = false;
        viewport()->update();
    }
    Q_EMIT pressed();
    if (!m_shelf)
        return;
    const QPoint at = event->position().toPoint();
    const int index = m_geometry.indexAt(toContent(at));
    const Qt::KeyboardModifiers mods = event->modifiers();
    if (event->button() == Qt::RightButton) {
        if (index < 0)
            return;
        const QUrl url = m_visible.at(index);
        if (!m_shelf->selection().contains(url))
            m_shelf->select(url);
        QList<QUrl> files = m_shelf->selectedFiles();
        if (files.isEmpty())
            files = {url};
        Q_EMIT contextMenuRequested(files, event->globalPosition().toPoint());
        return;
    }
    if (event->button() != Qt::LeftButton)
        return;
    if (index >= 0) {
        const QUrl url = m_visible.at(index);
        m_pressOnCell = true;
        m_pressUrl = url;
        m_pressPos = at;
        switch (GridLayout::pressAction(mods, m_shelf->selection().contains(url))) {
        case GridLayout::Press::toggle:
            m_shelf->toggle(url);
            break;
        case GridLayout::Press::extend:
            m_shelf->extend(url);
            break;
        case GridLayout::Press::keep:
            break;
        case GridLayout::Press::select:
            m_shelf->select(url);
            break;
        }
        return;
    }
    m_marqueePressed = true;
    m_marqueeStart = toContent(at);
    m_marqueeLast = at;
    m_marquee = QRect();
    m_base = GridLayout::marqueeBase(mods, m_shelf->selection());
    m_shelf->setSelection(m_base);
}

void ShelfGrid::mouseMoveEvent(QMouseEvent *event)
{
    const QPoint at = event->position().toPoint();
    if (!(event->buttons() & Qt::LeftButton)) {
        if (m_shelf) {
            const int index = m_geometry.indexAt(toContent(at));
            const QUrl url = index >= 0 ? m_visible.at(index) : QUrl();
            if (m_shelf->hovered() != url)
                m_shelf->setHovered(url);
        }
        return;
    }
    if (m_pressOnCell && !m_pressUrl.isEmpty()) {
        const QPoint d = at - m_pressPos;
        if (std::hypot(d.x(), d.y()) > GridLayout::dragThreshold)
            startDrag();
        return;
    }
    if (m_marqueePressed)
        updateMarquee(at);
}

void ShelfGrid::updateMarquee(const QPoint &viewportPoint)
{
    if (!m_shelf || !m_marqueePressed)
        return;
    m_marqueeLast = viewportPoint;
    // Past the top or bottom edge the grid scrolls, faster the further out.
    const int h = viewport()->height();
    const int over = viewportPoint.y() < 0 ? viewportPoint.y() : viewportPoint.y() > h ? viewportPoint.y() - h : 0;
    if (over != 0) {
        verticalScrollBar()->setValue(offset() + std::clamp(over, -40, 40));
        if (!m_autoScroll->isActive())
            m_autoScroll->start();
    } else {
        m_autoScroll->stop();
    }
    const QPoint now = toContent(viewportPoint);
    m_marquee = QRect(QPoint(std::min(now.x(), m_marqueeStart.x()), std::min(now.y(), m_marqueeStart.y())),
                      QSize(std::abs(now.x() - m_marqueeStart.x()), std::abs(now.y() - m_marqueeStart.y())));
    QSet<QUrl> selection = m_base;
    // Touching counts: a rectangle without area still grazes what it lies on.
    const QRect probe = m_marquee.adjusted(0, 0, 1, 1);
    const auto range = m_geometry.rangeIn(probe.top(), probe.bottom() + 1);
    for (int i = range.first; i < range.second; ++i) {
        if (m_geometry.tileRect(i).intersects(probe))
            selection.insert(m_visible.at(i));
    }
    if (selection != m_shelf->selection())
        m_shelf->setSelection(selection);
    viewport()->update();
}

void ShelfGrid::endMarquee()
{
    m_autoScroll->stop();
    m_marqueePressed = false;
    m_marquee = QRect();
    m_base.clear();
    viewport()->update();
    if (!m_shelf)
        return;
    const QUrl last = GridLayout::lastSelected(m_visible, m_shelf->selection());
    if (!last.isEmpty()) {
        m_shelf->setAnchor(last);
        m_shelf->setCursor(last);
    }
}

void ShelfGrid::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton)
        return;
    if (m_marqueePressed) {
        endMarquee();
        return;
    }
    if (m_pressOnCell && !m_pressUrl.isEmpty() && m_shelf) {
        const QSet<QUrl> selection = m_shelf->selection();
        if (GridLayout::releaseSelectsOnly(1, event->modifiers(), selection.size(), selection.contains(m_pressUrl)))
            m_shelf->select(m_pressUrl);
    }
    m_pressOnCell = false;
    m_pressUrl.clear();
}

void ShelfGrid::mouseDoubleClickEvent(QMouseEvent *event)
{
    Q_EMIT pressed();
    if (event->button() != Qt::LeftButton)
        return;
    const int index = m_geometry.indexAt(toContent(event->position().toPoint()));
    // The selection stays as the first click left it; the release that
    // follows is not a click of its own.
    m_pressOnCell = false;
    m_pressUrl.clear();
    if (index >= 0)
        Q_EMIT openRequested({m_visible.at(index)});
}

QPixmap ShelfGrid::dragPixmap(const QList<QImage> &images, int cellWidth, qreal dpr, QPoint *firstCentre)
{
    QList<QSize> sizes;
    for (const QImage &image : images)
        sizes << image.deviceIndependentSize().toSize();
    const QList<QRect> rects = GridLayout::fanRects(sizes, cellWidth);
    QRect bounds;
    for (const QRect &r : rects)
        bounds |= r;
    QPixmap pixmap(bounds.size() * dpr);
    pixmap.setDevicePixelRatio(dpr);
    pixmap.fill(Qt::transparent);
    QPainter p(&pixmap);
    p.setRenderHint(QPainter::SmoothPixmapTransform);
    // The first lies on top.
    for (qsizetype i = rects.size() - 1; i >= 0; --i)
        p.drawImage(rects.at(i).translated(-bounds.topLeft()), images.at(i));
    if (firstCentre)
        *firstCentre = rects.isEmpty() ? QPoint() : rects.first().translated(-bounds.topLeft()).center();
    return pixmap;
}

void ShelfGrid::startDrag()
{
    const QUrl url = m_pressUrl;
    const QPoint pressPos = m_pressPos;
    m_pressOnCell = false;
    m_pressUrl.clear();
    if (!m_shelf)
        return;
    const QList<QUrl> files = m_shelf->selection().contains(url) ? m_shelf->selectedFiles() : QList<QUrl>{url};
    if (files.isEmpty())
        return;
    const qreal dpr = devicePixelRatioF();
    const int width = m_geometry.cellWidth;
    const QIcon fallback =
        QIcon::fromTheme(QStringLiteral("image-x-generic"), style()->standardIcon(QStyle::SP_FileIcon));
    QList<QImage> images;
    for (const QUrl &file : files) {
        QImage image = m_images.value(file).image;
        if (image.isNull() && m_thumbs)
            image = m_thumbs->cached(file, width, dpr);
        if (image.isNull())
            image = fallback.pixmap(64, 64).toImage();
        images << image;
        if (images.size() == GridLayout::fanCount)
            break; // the rest lie under the fifth
    }
    QPoint centre;
    const QPixmap pixmap = dragPixmap(images, width, dpr, &centre);
    auto *drag = new QDrag(this);
    drag->setMimeData(FileActions::filesMimeData(files));
    drag->setPixmap(pixmap);
    const int index = m_index.value(url, -1);
    const QPoint tileCentre = index >= 0 ? m_geometry.tileRect(index).translated(0, -offset()).center() : pressPos;
    drag->setHotSpot(centre + (pressPos - tileCentre));
    // Only a copy is offered to the world outside: a file manager must not
    // take the file away. Drops inside the program move files themselves.
    drag->exec(Qt::CopyAction);
}

QList<QUrl> ShelfGrid::droppableFiles(const QMimeData *data) const
{
    if (!data || !data->hasUrls())
        return {};
    const QList<QUrl> urls = data->urls();
    for (const QUrl &url : urls) {
        if (!url.isLocalFile())
            return {};
    }
    return urls;
}

void ShelfGrid::dragEnterEvent(QDragEnterEvent *event)
{
    // Home takes no drops: files are moved out of it, never into it here.
    if (!m_shelf || m_shelf->isHome() || droppableFiles(event->mimeData()).isEmpty()) {
        event->ignore();
        return;
    }
    m_dropTargeted = true;
    viewport()->update();
    event->acceptProposedAction();
}

void ShelfGrid::dragMoveEvent(QDragMoveEvent *event)
{
    if (m_dropTargeted)
        event->acceptProposedAction();
    else
        event->ignore();
}

void ShelfGrid::dragLeaveEvent(QDragLeaveEvent *)
{
    m_dropTargeted = false;
    viewport()->update();
}

void ShelfGrid::dropEvent(QDropEvent *event)
{
    const bool targeted = m_dropTargeted;
    m_dropTargeted = false;
    viewport()->update();
    const QList<QUrl> files = droppableFiles(event->mimeData());
    if (!targeted || !m_shelf || m_shelf->isHome() || files.isEmpty()) {
        event->ignore();
        return;
    }
    // Files already here stay where they are.
    const QString here = QFileInfo(m_shelf->current().toLocalFile()).absoluteFilePath();
    QList<QUrl> moving;
    for (const QUrl &file : files) {
        if (QFileInfo(file.toLocalFile()).absolutePath() != here)
            moving << file;
    }
    event->acceptProposedAction();
    if (!moving.isEmpty())
        Q_EMIT filesDropped(moving);
}
