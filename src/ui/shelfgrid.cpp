#include "ui/shelfgrid.h"

#include "actions/fileactions.h"
#include "files/async.h"
#include "meta/metastore.h"
#include "meta/thumbs.h"
#include "model/shelf.h"
#include "platform/desktopentries.h"
#include "system/texts.h"
#include "ui/accessiblegrid.h"

#include <QApplication>
#include <QFileInfo>
#include <QGuiApplication>
#include <QPaintEvent>
#include <QPainter>
#include <QPainterPath>
#include <QScrollBar>
#include <QStyle>
#include <QThreadPool>
#include <QTimer>
#include <QVariantAnimation>

#include <algorithm>
#include <cmath>

namespace {

constexpr double liftScale = 1.015;
constexpr int liftMs = 120;
constexpr int scrollMs = 150;
constexpr int tileRadius = 10;
constexpr int badgeInset = 8;
constexpr int appBadgeSide = 22;
constexpr int textBadgeSide = 18;
constexpr int autoScrollMs = 30;

QColor withAlpha(QColor c, double alpha)
{
    c.setAlphaF(alpha);
    return c;
}

// A small "recognised text" mark: a viewfinder's corners around two lines.
void drawTextMark(QPainter &p, const QRectF &r, const QColor &colour)
{
    p.save();
    p.setPen(QPen(colour, 1.4, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.setBrush(Qt::NoBrush);
    const qreal c = r.width() * 0.3;
    const QPointF corners[4][3] = {
        {r.topLeft() + QPointF(0, c), r.topLeft(), r.topLeft() + QPointF(c, 0)},
        {r.topRight() + QPointF(-c, 0), r.topRight(), r.topRight() + QPointF(0, c)},
        {r.bottomRight() + QPointF(0, -c), r.bottomRight(), r.bottomRight() + QPointF(-c, 0)},
        {r.bottomLeft() + QPointF(c, 0), r.bottomLeft(), r.bottomLeft() + QPointF(0, -c)},
    };
    for (const auto &corner : corners)
        p.drawPolyline(corner, 3);
    const qreal x0 = r.left() + r.width() * 0.28;
    const qreal x1 = r.right() - r.width() * 0.28;
    p.drawLine(QPointF(x0, r.center().y() - r.height() * 0.12), QPointF(x1, r.center().y() - r.height() * 0.12));
    p.drawLine(QPointF(x0, r.center().y() + r.height() * 0.12),
               QPointF(x1 - r.width() * 0.12, r.center().y() + r.height() * 0.12));
    p.restore();
}

} // namespace

ShelfGrid::ShelfGrid(Shelf *shelf, MetaStore *meta, Thumbs *thumbs, QWidget *parent)
    : QAbstractScrollArea(parent), m_shelf(shelf), m_meta(meta), m_thumbs(thumbs),
      m_scroll(new QVariantAnimation(this)), m_autoScroll(new QTimer(this))
{
    // Before anything here asks Qt for this view's accessible interface.
    Accessibility::installFactories();
    setObjectName(QStringLiteral("shelfGrid"));
    setFrameShape(QFrame::NoFrame);
    // Reached with Tab or a click; the window's keys then walk the cells.
    setFocusPolicy(Qt::StrongFocus);
    setAccessibleName(tr("Screenshots"));
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    setAcceptDrops(true);
    viewport()->setMouseTracking(true);
    viewport()->setAutoFillBackground(false);
    verticalScrollBar()->setSingleStep(40);

    m_scroll->setDuration(scrollMs);
    m_scroll->setEasingCurve(QEasingCurve::OutCubic);
    connect(m_scroll, &QVariantAnimation::valueChanged, this,
            [this](const QVariant &v) { verticalScrollBar()->setValue(v.toInt()); });
    m_autoScroll->setInterval(autoScrollMs);
    connect(m_autoScroll, &QTimer::timeout, this, [this] { updateMarquee(m_marqueeLast); });

    if (shelf) {
        connect(shelf, &Shelf::itemsChanged, this, &ShelfGrid::refreshItems);
        connect(shelf, &Shelf::contentChanged, this, &ShelfGrid::contentChanged);
        connect(shelf, &Shelf::queryChanged, this, &ShelfGrid::refreshItems);
        connect(shelf, &Shelf::cellWidthChanged, this, &ShelfGrid::relayout);
        connect(shelf, &Shelf::currentChanged, this, &ShelfGrid::folderChanged);
        connect(shelf, &Shelf::cursorChanged, this, &ShelfGrid::scrollToCursor);
        // The keyboard's ring moves with the cursor; a move made without a
        // button held is the keyboard's, and shows it.
        connect(shelf, &Shelf::cursorChanged, this, [this] {
            if (hasFocus() && QGuiApplication::mouseButtons() == Qt::NoButton)
                m_focusVisible = true;
            viewport()->update();
        });
        connect(shelf, &Shelf::selectionChanged, this, &ShelfGrid::selectionChanged);
        connect(shelf, &Shelf::hoveredChanged, this, [this, previous = QUrl()]() mutable {
            if (!previous.isEmpty())
                animateLift(previous);
            previous = m_shelf ? m_shelf->hovered() : QUrl();
            if (!previous.isEmpty())
                animateLift(previous);
        });
    }
    // The search text lands after the background load and changes what matches.
    if (meta)
        connect(meta, &MetaStore::byNameChanged, this, &ShelfGrid::recordsChanged);
    refreshItems();
    // Connected after the grid's own handlers, so it speaks of the new list.
    Accessibility::watchGrid(this, shelf);
}

ShelfGrid::~ShelfGrid()
{
    if (m_thumbs)
        m_thumbs->cancel(this);
}

Shelf *ShelfGrid::shelf() const { return m_shelf; }

MetaStore *ShelfGrid::meta() const { return m_meta; }

int ShelfGrid::offset() const { return verticalScrollBar()->value(); }

int ShelfGrid::labelHeight() const { return fontMetrics().height(); }

QPoint ShelfGrid::toContent(const QPoint &viewportPoint) const { return viewportPoint + QPoint(0, offset()); }

QRect ShelfGrid::cellRect(const QUrl &url) const
{
    const int index = m_index.value(url, -1);
    if (index < 0)
        return {};
    return m_geometry.cellRect(index).translated(0, -offset());
}

QRect ShelfGrid::tileRect(const QUrl &url) const
{
    const int index = m_index.value(url, -1);
    return index < 0 ? QRect() : m_geometry.tileRect(index).translated(0, -offset());
}

ShelfGrid::Shows ShelfGrid::shows(const QUrl &url, QImage *image) const
{
    if (!m_index.contains(url))
        return Shows::none;
    const FileStamp stamp = stampOf(url);
    const auto loaded = m_images.constFind(url);
    if (loaded != m_images.cend() && !loaded->image.isNull() && loaded->stamp == stamp) {
        if (image)
            *image = loaded->image;
        return Shows::image;
    }
    return m_failed.value(url, FileStamp{0, -2, 0}) == stamp ? Shows::failed : Shows::loading;
}

QString ShelfGrid::partAt(const QPoint &viewportPoint) const
{
    return m_geometry.indexAt(toContent(viewportPoint)) >= 0 ? QStringLiteral("ThumbCell")
                                                             : QStringLiteral("GridBackground");
}

void ShelfGrid::refreshItems()
{
    m_visible = m_shelf ? m_shelf->visible() : QList<QUrl>();
    m_index.clear();
    for (int i = 0; i < m_visible.size(); ++i)
        m_index.insert(m_visible.at(i), i);
    // Forget what belongs to files no longer shown; a file shown again
    // (a search cleared) is asked for again.
    for (auto it = m_images.begin(); it != m_images.end();)
        it = m_index.contains(it.key()) ? std::next(it) : m_images.erase(it);
    for (auto it = m_failed.begin(); it != m_failed.end();)
        it = m_index.contains(it.key()) ? std::next(it) : m_failed.erase(it);
    for (auto it = m_labels.begin(); it != m_labels.end();)
        it = m_index.contains(it.key()) ? std::next(it) : m_labels.erase(it);
    relayout();
}

void ShelfGrid::recordsChanged()
{
    // Records change one at a time (a tidy of 1,000 is 1,000 changes): the
    // cells are laid out again only when a search now matches other files;
    // otherwise their badges are drawn again.
    if (m_shelf && m_shelf->visible() == m_visible) {
        viewport()->update();
        return;
    }
    refreshItems();
}

void ShelfGrid::relayout()
{
    const double requested = m_shelf ? m_shelf->cellWidth() : Shelf::defaultCellWidth;
    m_geometry = GridLayout::Geometry::make(viewport()->width(), requested, labelHeight(), int(m_visible.size()));
    if (m_shelf && !m_visible.isEmpty())
        m_shelf->setColumns(m_geometry.columns);
    QScrollBar *bar = verticalScrollBar();
    bar->setPageStep(viewport()->height());
    bar->setRange(0, std::max(0, m_geometry.contentHeight() - viewport()->height()));
    loadThumbs();
    viewport()->update();
}

void ShelfGrid::folderChanged()
{
    if (m_thumbs)
        m_thumbs->cancel(this);
    m_asked.clear();
    m_images.clear();
    m_failed.clear();
    m_scroll->stop();
    refreshItems();
    verticalScrollBar()->setValue(0);
}

FileStamp ShelfGrid::stampOf(const QUrl &url) const { return m_shelf ? m_shelf->stamp(url) : FileStamp(); }

void ShelfGrid::forget(const QUrl &url)
{
    if (const auto asked = m_asked.constFind(url); asked != m_asked.cend()) {
        if (m_thumbs && asked->ticket)
            m_thumbs->cancel(asked->ticket);
        m_asked.erase(asked);
    }
    m_images.remove(url);
    m_failed.remove(url);
}

void ShelfGrid::contentChanged(const QList<QUrl> &urls)
{
    // The old picture is not shown a moment longer: an action on the cell
    // must never act on content other than what is drawn.
    for (const QUrl &url : urls) {
        forget(url);
        updateCell(url);
    }
    loadThumbs();
}

void ShelfGrid::resizeEvent(QResizeEvent *event)
{
    QAbstractScrollArea::resizeEvent(event);
    relayout();
}

void ShelfGrid::showEvent(QShowEvent *event)
{
    QAbstractScrollArea::showEvent(event);
    relayout();
}

void ShelfGrid::scrollContentsBy(int, int)
{
    loadThumbs();
    viewport()->update();
}

void ShelfGrid::loadThumbs()
{
    if (!m_thumbs || m_visible.isEmpty() || !isVisible())
        return;
    const qreal dpr = devicePixelRatioF();
    const int width = m_geometry.cellWidth;
    const int step = Thumbs::stepFor(width, dpr);
    const int height = viewport()->height();
    const auto inView = m_geometry.rangeIn(offset(), offset() + height);
    // A screen above and below is "near": ready before it scrolls in.
    const auto near = m_geometry.rangeIn(offset() - height, offset() + 2 * height);

    QList<QUrl> order;
    QList<QUrl> shown;
    for (int i = inView.first; i < inView.second; ++i)
        shown << m_visible.at(i);
    order = shown;
    for (int i = near.first; i < near.second; ++i) {
        if (i < inView.first || i >= inView.second)
            order << m_visible.at(i);
    }
    const QSet<QUrl> wanted(order.cbegin(), order.cend());
    for (auto it = m_asked.begin(); it != m_asked.end();) {
        if (wanted.contains(it.key())) {
            ++it;
            continue;
        }
        if (it->ticket)
            m_thumbs->cancel(it->ticket);
        it = m_asked.erase(it);
    }
    // Asked nearest first, since the queue serves the latest request first.
    for (auto it = order.crbegin(); it != order.crend(); ++it) {
        const QUrl &url = *it;
        const FileStamp stamp = stampOf(url);
        if (const auto failed = m_failed.constFind(url); failed != m_failed.cend()) {
            if (*failed == stamp)
                continue;
            m_failed.erase(failed);
        }
        if (const auto loaded = m_images.constFind(url); loaded != m_images.cend()) {
            if (loaded->stamp == stamp && loaded->step >= step)
                continue;
            if (loaded->stamp != stamp)
                m_images.erase(loaded);
        }
        if (const auto asked = m_asked.constFind(url); asked != m_asked.cend() && asked->step >= step)
            continue;
        const quint64 serial = ++m_serial;
        m_asked.insert(url, {0, step, serial});
        QPointer<ShelfGrid> self(this);
        const Thumbs::Ticket ticket =
            m_thumbs->request(url, width, dpr, this, [self, url, step, stamp, serial](const QImage &image) {
                if (!self)
                    return;
                const auto asked = self->m_asked.constFind(url);
                const bool current = asked != self->m_asked.cend() && asked->serial == serial;
                if (current)
                    self->m_asked.erase(asked);
                // An answer about content the file no longer has is dropped;
                // the newer content was asked for when the change was seen.
                if (self->stampOf(url) != stamp)
                    return;
                if (image.isNull()) {
                    if (current)
                        self->m_failed.insert(url, stamp);
                } else if (current || self->m_images.value(url).step < step) {
                    self->m_images.insert(url, {image, step, stamp});
                }
                self->updateCell(url);
            });
        if (ticket != 0) {
            if (const auto asked = m_asked.find(url); asked != m_asked.end() && asked->serial == serial)
                asked->ticket = ticket;
        }
    }
    m_thumbs->prioritize(shown);
    // Images far out of view are the cache's to keep, not ours.
    if (m_images.size() > 3 * std::max<qsizetype>(order.size(), 1)) {
        for (auto it = m_images.begin(); it != m_images.end();) {
            if (wanted.contains(it.key())) {
                ++it;
            } else {
                it = m_images.erase(it);
            }
        }
    }
}

void ShelfGrid::selectionChanged()
{
    if (!m_shelf)
        return;
    if (!m_shelf->hovered().isEmpty())
        animateLift(m_shelf->hovered());
    // Only the cells on screen whose state changed are drawn again; the
    // others are drawn as they are when they scroll in.
    const QSet<QUrl> &now = m_shelf->selection();
    const auto inView = m_geometry.rangeIn(offset(), offset() + viewport()->height());
    for (int i = inView.first; i < inView.second; ++i) {
        const QUrl &url = m_visible.at(i);
        if (now.contains(url) != m_shownSelection.contains(url))
            updateCell(url);
    }
    m_shownSelection = now;
}

void ShelfGrid::updateCell(const QUrl &url)
{
    const QRect r = cellRect(url);
    if (!r.isEmpty())
        viewport()->update(r.adjusted(-4, -4, 4, 4));
}

void ShelfGrid::scrollToCursor()
{
    if (!m_shelf)
        return;
    const int index = m_index.value(m_shelf->cursor(), -1);
    if (index < 0)
        return;
    const QRect r = m_geometry.cellRect(index);
    const int top = offset();
    const int height = viewport()->height();
    int target = top;
    if (r.top() - GridLayout::gap < top)
        target = r.top() - GridLayout::gap;
    else if (r.bottom() + GridLayout::gap > top + height)
        target = r.bottom() + GridLayout::gap - height;
    target = std::clamp(target, 0, verticalScrollBar()->maximum());
    if (target == top)
        return;
    m_scroll->stop();
    m_scroll->setStartValue(top);
    m_scroll->setEndValue(target);
    m_scroll->start();
}

void ShelfGrid::animateLift(const QUrl &url)
{
    const bool lifted = m_shelf && m_shelf->hovered() == url && !m_shelf->selection().contains(url);
    const double target = lifted ? liftScale : 1.0;
    const double from = m_lift.value(url, 1.0);
    if (QVariantAnimation *running = m_liftAnimations.take(url))
        running->deleteLater();
    if (qFuzzyCompare(from, target)) {
        if (!lifted)
            m_lift.remove(url);
        return;
    }
    auto *animation = new QVariantAnimation(this);
    animation->setDuration(liftMs);
    animation->setEasingCurve(QEasingCurve::OutCubic);
    animation->setStartValue(from);
    animation->setEndValue(target);
    connect(animation, &QVariantAnimation::valueChanged, this, [this, url](const QVariant &v) {
        m_lift.insert(url, v.toDouble());
        updateCell(url);
    });
    connect(animation, &QVariantAnimation::finished, this, [this, url, animation, lifted] {
        if (m_liftAnimations.value(url) == animation)
            m_liftAnimations.remove(url);
        if (!lifted)
            m_lift.remove(url);
        animation->deleteLater();
        updateCell(url);
    });
    m_liftAnimations.insert(url, animation);
    animation->start();
}

QRect ShelfGrid::appBadgeRect(const QRect &tile) const
{
    return {tile.left() + badgeInset, tile.bottom() + 1 - badgeInset - appBadgeSide, appBadgeSide, appBadgeSide};
}

QRect ShelfGrid::textBadgeRect(const QRect &tile) const
{
    return {tile.right() + 1 - badgeInset - textBadgeSide, tile.bottom() + 1 - badgeInset - textBadgeSide,
            textBadgeSide, textBadgeSide};
}

QIcon ShelfGrid::appIcon(const QString &desktopEntry)
{
    auto found = m_appIcons.constFind(desktopEntry);
    if (found != m_appIcons.constEnd())
        return *found;
    // Reading the entry takes the disk: once per application, off the GUI
    // thread; the cells repaint when it is in.
    m_appIcons.insert(desktopEntry, QIcon());
    Async::run(
        m_entryReads, this, [desktopEntry] { return readDesktopEntry(desktopEntry); },
        [this, desktopEntry](const std::optional<DesktopEntryFacts> &entry) {
            appIconRead(desktopEntry, entry ? std::optional<QString>(entry->icon) : std::nullopt);
        });
    return {};
}

void ShelfGrid::appIconRead(const QString &desktopEntry, const std::optional<QString> &name)
{
    // An entry that is gone shows no badge.
    if (!name)
        return;
    QIcon icon;
    if (QFileInfo(*name).isAbsolute())
        icon = QIcon(*name);
    else if (!name->isEmpty())
        icon = QIcon::fromTheme(*name);
    if (icon.isNull())
        icon =
            QIcon::fromTheme(QStringLiteral("application-x-executable"), style()->standardIcon(QStyle::SP_DesktopIcon));
    m_appIcons.insert(desktopEntry, icon);
    viewport()->update();
}

void ShelfGrid::paintEvent(QPaintEvent *event)
{
    QPainter p(viewport());
    p.setRenderHint(QPainter::Antialiasing);
    p.setRenderHint(QPainter::SmoothPixmapTransform);
    const QRect dirty = event->rect();
    const auto range = m_geometry.rangeIn(offset() + dirty.top() - 8, offset() + dirty.bottom() + 9);
    for (int i = range.first; i < range.second; ++i)
        paintCell(p, i);

    const QColor accent = palette().color(QPalette::Highlight);
    if (m_marqueePressed && !m_marquee.isNull()) {
        const QRectF r = QRectF(m_marquee.translated(0, -offset())).adjusted(0.5, 0.5, -0.5, -0.5);
        p.setPen(QPen(withAlpha(accent, 0.65), 1));
        p.setBrush(withAlpha(accent, 0.16));
        p.drawRoundedRect(r, 3, 3);
    }
    if (hasFocus() && m_focusVisible && !m_dropTargeted) {
        // The grid has the keyboard: a thin ring round it, as a list has.
        p.setPen(QPen(withAlpha(accent, 0.7), 2));
        p.setBrush(Qt::NoBrush);
        p.drawRect(QRectF(viewport()->rect()).adjusted(1, 1, -1, -1));
    }
    if (m_dropTargeted) {
        p.setPen(QPen(accent, 2));
        p.setBrush(Qt::NoBrush);
        p.drawRoundedRect(QRectF(viewport()->rect()).adjusted(1, 1, -1, -1), tileRadius, tileRadius);
    }
}

void ShelfGrid::paintCell(QPainter &p, int index)
{
    const QUrl url = m_visible.at(index);
    const QPalette &pal = palette();
    const QColor text = pal.color(QPalette::WindowText);
    const QColor accent = pal.color(QPalette::Highlight);
    const bool selected = m_shelf && m_shelf->selection().contains(url);
    const bool hovered = m_shelf && m_shelf->hovered() == url;
    const QRect tile = m_geometry.tileRect(index).translated(0, -offset());

    p.save();
    const double scale = m_lift.value(url, 1.0);
    if (scale != 1.0) {
        p.translate(QRectF(tile).center());
        p.scale(scale, scale);
        p.translate(-QRectF(tile).center());
    }
    QImage image;
    const Shows state = shows(url, &image);
    // Where the image goes, relative to the tile.
    QRectF target;
    if (state == Shows::image) {
        const QRectF box = QRectF(QPointF(), QSizeF(tile.size())).adjusted(6, 6, -6, -6);
        QSizeF size = image.deviceIndependentSize();
        size.scale(box.size(), Qt::KeepAspectRatio);
        target = QRectF(QPointF(), size);
        target.moveCenter(box.center());
    }
    const Look look = selected ? Look::selected : hovered ? Look::hovered : Look::plain;
    p.drawPixmap(tile.topLeft() - QPoint(frameMargin, frameMargin),
                 tileFrame(tile.size(), look, target, state == Shows::loading));
    if (state == Shows::image)
        p.drawImage(target.translated(tile.topLeft()), image);

    const std::optional<FileMeta> record = m_meta ? m_meta->meta(url) : std::nullopt;
    if (const QIcon app = record && record->appPath ? appIcon(*record->appPath) : QIcon(); !app.isNull())
        app.paint(&p, appBadgeRect(tile));
    if (index < 8) {
        QFont small = font();
        small.setFamily(QStringLiteral("monospace"));
        small.setStyleHint(QFont::Monospace);
        small.setPointSizeF(font().pointSizeF() * 0.8);
        const QString label = Texts::cellSlotKeyHint().arg(index + 1);
        const QFontMetrics fm(small);
        const QRect badge(tile.right() + 1 - badgeInset - fm.horizontalAdvance(label) - 10, tile.top() + badgeInset,
                          fm.horizontalAdvance(label) + 10, fm.height() + 4);
        p.save();
        p.setOpacity(0.8);
        p.setPen(Qt::NoPen);
        p.setBrush(withAlpha(pal.color(QPalette::Window), 0.85));
        p.drawRoundedRect(QRectF(badge), 4, 4);
        p.setFont(small);
        p.setPen(text);
        p.drawText(badge, Qt::AlignCenter, label);
        p.restore();
    }
    if (record && record->hasTextFor(m_shelf ? m_shelf->modified(url) : QDateTime()))
        drawTextMark(p, QRectF(textBadgeRect(tile)).adjusted(2, 2, -2, -2), withAlpha(text, 0.6));

    p.restore();

    if (hasFocus() && m_focusVisible && m_shelf && m_shelf->cursor() == url) {
        // The keyboard's cell: a ring a gap outside the tile, apart from
        // the selection's border on the tile itself.
        p.setPen(QPen(accent, 2, Qt::SolidLine, Qt::FlatCap, Qt::MiterJoin));
        p.setBrush(Qt::NoBrush);
        p.drawRoundedRect(QRectF(tile).adjusted(-4, -4, 4, 4), tileRadius + 4, tileRadius + 4);
    }

    const QRect label(tile.left(), tile.bottom() + 1 + GridLayout::labelGap, tile.width(), labelHeight());
    p.setPen(selected ? accent : pal.color(QPalette::PlaceholderText));
    const QStaticText &name = labelText(url, label.width());
    p.drawStaticText(QPointF(label.left() + (label.width() - name.size().width()) / 2, label.top()), name);
}

void ShelfGrid::focusInEvent(QFocusEvent *event)
{
    m_focusVisible = event->reason() != Qt::MouseFocusReason;
    QAbstractScrollArea::focusInEvent(event);
    viewport()->update();
}

void ShelfGrid::focusOutEvent(QFocusEvent *event)
{
    QAbstractScrollArea::focusOutEvent(event);
    viewport()->update();
}
