#include "ui/flash.h"

#include "actions/fileactions.h"
#include "actions/views/desktopwindows.h"
#include "actions/views/screens.h"
#include "meta/thumbs.h"
#include "model/shelf.h"
#include "system/flashsettings.h"
#include "ui/gridlayout.h"
#include "ui/shelfgrid.h"

#include <QBitmap>
#include <QCoreApplication>
#include <QDrag>
#include <QEasingCurve>
#include <QEnterEvent>
#include <QFileInfo>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QHelpEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QScreen>
#include <QToolTip>
#include <QVariantAnimation>

#include <algorithm>
#include <cmath>

namespace {

// Proportions of the card (points).
constexpr double boxWidthShare = 0.3;
constexpr double boxHeightShare = 0.35;
constexpr double boxMaxWidth = 420;
constexpr double boxMaxHeight = 300;
constexpr int minImageWidth = 140;
constexpr int minImageHeight = 90;
constexpr int padding = 10; // around the image
constexpr int footer = 32;  // below it: the name and the hint
constexpr int edgeGap = 20; // from the screen's right and bottom edges
constexpr int labelHeight = 18;
constexpr int labelBottom = 4;
constexpr int labelGap = 8; // between the name and the hint
constexpr double cardRadius = 14;
constexpr double imageRadius = 8;
// It slides this far beyond its own width, off the screen's edge.
constexpr int slideMargin = 40;

QString hintText() { return QCoreApplication::translate("FlashPanel", "drag me"); }
QString cardTitle() { return QCoreApplication::translate("FlashPanel", "New Screenshot"); }

QColor cardColour() { return QColor::fromRgbF(0.12f, 0.12f, 0.12f, 0.96f); }
QColor borderColour() { return QColor::fromRgbF(1, 1, 1, 0.14f); }
QColor nameColour() { return QColor::fromRgbF(1, 1, 1, 0.7f); }
QColor hintColour() { return QColor::fromRgbF(0.95f, 0.72f, 0.30f); }

// The usual timing curves of sliding panels: quick start and gentle stop
// for arriving, gentle start for leaving.
QEasingCurve bezier(double x1, double y1, double x2, double y2)
{
    QEasingCurve curve(QEasingCurve::BezierSpline);
    curve.addCubicBezierSegment(QPointF(x1, y1), QPointF(x2, y2), QPointF(1, 1));
    return curve;
}
QEasingCurve easeOut() { return bezier(0, 0, 0.58, 1); }
QEasingCurve easeIn() { return bezier(0.42, 0, 1, 1); }

int ms(double seconds) { return int(std::lround(seconds * 1000)); }

// The card's labels are to the desktop's body text what 11 is to 13.
QFont labelFont(const QFont &base, QFont::Weight weight)
{
    QFont font = base;
    font.setPointSizeF(base.pointSizeF() * 11.0 / 13.0);
    font.setWeight(weight);
    return font;
}

} // namespace

FlashPanel::FlashPanel(const QUrl &url, const QImage &thumb, Shelf *shelf, const FlashLayout &layout, Hooks hooks)
    : QWidget(nullptr, DesktopWindows::cornerCardFlags()), m_url(url), m_thumb(thumb), m_shelf(shelf), m_layout(layout),
      m_hooks(std::move(hooks))
{
    setObjectName(QStringLiteral("flashPanel"));
    // A plain name: where a desktop lists windows, a path reads as noise.
    setWindowTitle(cardTitle());
    // What a screen reader says as the card appears.
    setAccessibleName(tr("%1: %2").arg(cardTitle(), url.fileName()));
    setAccessibleDescription(
        tr("Drag it into another program, open its menu, or double-click to show it in the shelf"));
    setAttribute(Qt::WA_ShowWithoutActivating);
    setFocusPolicy(Qt::NoFocus);
    setMouseTracking(true);
    m_translucent = DesktopWindows::compositing();
    // Only a compositing X11 display fades windows; elsewhere Qt can't.
    m_fades = m_translucent && QGuiApplication::platformName() == QLatin1String("xcb");
    if (m_translucent) {
        setAttribute(Qt::WA_TranslucentBackground);
    } else {
        // Without a compositor the corners would show black: cut them off.
        QBitmap shape(layout.frame.size());
        shape.fill(Qt::color0);
        QPainter painter(&shape);
        painter.setBrush(Qt::color1);
        painter.setPen(Qt::NoPen);
        painter.drawRoundedRect(QRect(QPoint(), layout.frame.size()), cardRadius, cardRadius);
        painter.end();
        setMask(shape);
    }
    // Fixed on Wayland, where the compositor places it: a tiling one (sway)
    // then floats it at its own size instead of tiling it. X11 places it.
    if (QGuiApplication::platformName().startsWith(QLatin1String("wayland")))
        setFixedSize(layout.frame.size());
    setGeometry(layout.frame);
    m_dismissTimer.setSingleShot(true);
    connect(&m_dismissTimer, &QTimer::timeout, this, &FlashPanel::dismiss);
}

FlashPanel::~FlashPanel() = default;

FlashLayout FlashPanel::layoutFor(const QSizeF &thumbPoints, const QRect &available)
{
    const double boxW = std::min(available.width() * boxWidthShare, boxMaxWidth);
    const double boxH = std::min(available.height() * boxHeightShare, boxMaxHeight);
    const double iw = thumbPoints.width();
    const double ih = thumbPoints.height();
    const double scale = std::min({boxW / std::max(iw, 1.0), boxH / std::max(ih, 1.0), 1.0});
    const int w = std::max(int(std::lround(iw * scale)), minImageWidth);
    const int h = std::max(int(std::lround(ih * scale)), minImageHeight);
    const QSize card(w + 2 * padding, h + padding + footer);
    const int right = available.x() + available.width();
    const int bottom = available.y() + available.height();
    return {QRect(QPoint(right - card.width() - edgeGap, bottom - card.height() - edgeGap), card),
            QRect(padding, padding, w, h)};
}

void FlashPanel::present(double seconds)
{
    m_state = State::presenting;
    m_onScreen.start();
    // From beyond the screen's right edge, fading in.
    move(m_layout.frame.topLeft() + QPoint(width() + slideMargin, 0));
    if (m_fades)
        setWindowOpacity(0);
    QWidget::show();
    slide(0, 1, slideInSeconds, true);
    connect(m_slide, &QVariantAnimation::finished, this, [this] {
        m_state = State::shown;
        Q_EMIT presented();
    });
    // The countdown runs from the moment it appears, sliding in included.
    scheduleDismissal(seconds);
}

void FlashPanel::slide(double from, double to, double seconds, bool arriving)
{
    if (m_slide) {
        m_slide->stop();
        m_slide->deleteLater();
    }
    m_slide = new QVariantAnimation(this);
    m_slide->setStartValue(from);
    m_slide->setEndValue(to);
    m_slide->setDuration(ms(seconds));
    m_slide->setEasingCurve(arriving ? easeOut() : easeIn());
    // 1 is in place, 0 beyond the edge.
    connect(m_slide, &QVariantAnimation::valueChanged, this, [this](const QVariant &value) {
        const double shown = value.toDouble();
        const int away = int(std::lround((1 - shown) * (width() + slideMargin)));
        move(m_layout.frame.topLeft() + QPoint(away, 0));
        if (m_fades)
            setWindowOpacity(shown);
    });
    m_slide->start();
}

void FlashPanel::scheduleDismissal(double seconds)
{
    if (m_state == State::dismissing || m_state == State::gone)
        return;
    m_dismissTimer.start(ms(seconds));
}

void FlashPanel::dismiss()
{
    if (m_state == State::dismissing || m_state == State::gone)
        return;
    if (m_hovering || m_dragging || m_menuOpen) {
        scheduleDismissal(leaveSeconds);
        return;
    }
    m_dismissTimer.stop();
    m_state = State::dismissing;
    // From wherever it is: a card sent away while still arriving turns back.
    slide(m_slide ? m_slide->currentValue().toDouble() : 1.0, 0, slideOutSeconds, false);
    connect(m_slide, &QVariantAnimation::finished, this, &FlashPanel::finish);
}

void FlashPanel::finish()
{
    if (m_state == State::gone)
        return;
    m_state = State::gone;
    m_dismissTimer.stop();
    if (m_slide)
        m_slide->stop();
    hide();
    if (m_hooks.onClose)
        m_hooks.onClose(this);
    deleteLater();
}

void FlashPanel::setHovering(bool hovering)
{
    m_hovering = hovering;
    if (hovering)
        m_dismissTimer.stop();
    else if (!m_dragging && !m_menuOpen)
        scheduleDismissal(leaveSeconds);
}

void FlashPanel::enterEvent(QEnterEvent *event)
{
    QWidget::enterEvent(event);
    setHovering(true);
}

void FlashPanel::leaveEvent(QEvent *event)
{
    QWidget::leaveEvent(event);
    setHovering(false);
}

void FlashPanel::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    DesktopWindows::joinAllWorkspaces(this);
    DesktopWindows::keepOffTaskbar(this);
}

bool FlashPanel::event(QEvent *event)
{
    if (event->type() == QEvent::ToolTip) {
        auto *help = static_cast<QHelpEvent *>(event);
        if (m_layout.image.contains(help->pos()))
            QToolTip::showText(help->globalPos(), QFileInfo(m_url.toLocalFile()).fileName(), this);
        else
            QToolTip::hideText();
        return true;
    }
    return QWidget::event(event);
}

void FlashPanel::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    const QRectF bounds = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    if (m_translucent) {
        painter.setPen(QPen(borderColour(), 1));
        painter.setBrush(cardColour());
        painter.drawRoundedRect(bounds, cardRadius, cardRadius);
    } else {
        // Opaque: the card's colour over black, as a dark desktop would
        // show it, and the border on that.
        const QColor c = cardColour();
        painter.fillRect(rect(),
                         QColor::fromRgbF(c.redF() * c.alphaF(), c.greenF() * c.alphaF(), c.blueF() * c.alphaF()));
        painter.setPen(QPen(borderColour(), 1));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(bounds, cardRadius, cardRadius);
    }

    // The image, proportionally scaled to fill its area, rounded.
    const QRectF area(m_layout.image);
    if (!m_thumb.isNull()) {
        const QSizeF shown = m_thumb.deviceIndependentSize().scaled(area.size(), Qt::KeepAspectRatio);
        const QRectF target(area.center() - QPointF(shown.width() / 2, shown.height() / 2), shown);
        QPainterPath clip;
        clip.addRoundedRect(target, imageRadius, imageRadius);
        painter.save();
        painter.setClipPath(clip);
        painter.drawImage(target, m_thumb);
        painter.restore();
    }

    // The hint takes what its words need, up to half the width (a longer
    // language elides it); the name, elided in the middle, the rest.
    const int labelTop = height() - labelBottom - labelHeight;
    const int inner = width() - 2 * padding;
    const QFont hintFont = labelFont(font(), QFont::Medium);
    // Measured in fractions: a rounded width can be a hair short and elide it.
    const QFontMetricsF hintMetrics(hintFont, this);
    const int hintW = std::min(int(std::ceil(hintMetrics.horizontalAdvance(hintText()))), inner / 2);
    painter.setFont(labelFont(font(), QFont::Normal));
    painter.setPen(nameColour());
    const QRect nameRect(padding, labelTop, std::max(inner - hintW - labelGap, 0), labelHeight);
    const QString name = QFileInfo(m_url.toLocalFile()).fileName();
    painter.drawText(nameRect, Qt::AlignLeft | Qt::AlignVCenter,
                     painter.fontMetrics().elidedText(name, Qt::ElideMiddle, nameRect.width()));
    painter.setFont(hintFont);
    painter.setPen(hintColour());
    painter.drawText(QRect(width() - padding - hintW, labelTop, hintW, labelHeight), Qt::AlignRight | Qt::AlignVCenter,
                     hintMetrics.elidedText(hintText(), Qt::ElideRight, hintW));
}

void FlashPanel::mousePressEvent(QMouseEvent *event)
{
    const QPoint at = event->position().toPoint();
    if (!m_layout.image.contains(at))
        return;
    const bool selected = m_shelf && m_shelf->selection().contains(m_url);
    if (event->button() == Qt::RightButton) {
        if (m_shelf && !selected)
            m_shelf->select(m_url);
        const QList<QUrl> files = carried();
        if (!m_hooks.contextMenu)
            return;
        QMenu *menu = m_hooks.contextMenu(files, event->globalPosition().toPoint());
        if (!menu)
            return;
        // Held while the menu is open; the pointer has left for the menu.
        m_menuOpen = true;
        m_dismissTimer.stop();
        connect(menu, &QMenu::aboutToHide, this, [this] {
            m_menuOpen = false;
            if (!m_hovering && !m_dragging)
                scheduleDismissal(leaveSeconds);
        });
        return;
    }
    if (event->button() != Qt::LeftButton)
        return;
    m_pressAt = at;
    if (!m_shelf)
        return;
    switch (GridLayout::pressAction(event->modifiers(), selected)) {
    case GridLayout::Press::toggle:
        m_shelf->toggle(m_url);
        break;
    case GridLayout::Press::extend:
        m_shelf->extend(m_url);
        break;
    case GridLayout::Press::keep:
        break;
    case GridLayout::Press::select:
        m_shelf->select(m_url);
        break;
    }
}

void FlashPanel::mouseMoveEvent(QMouseEvent *event)
{
    if (!m_pressAt || !(event->buttons() & Qt::LeftButton))
        return;
    const QPoint d = event->position().toPoint() - *m_pressAt;
    if (std::hypot(d.x(), d.y()) > GridLayout::dragThreshold)
        startDrag();
}

void FlashPanel::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton || !m_pressAt)
        return;
    m_pressAt.reset();
    if (!m_shelf)
        return;
    const QSet<QUrl> selection = m_shelf->selection();
    if (GridLayout::releaseSelectsOnly(1, event->modifiers(), selection.size(), selection.contains(m_url)))
        m_shelf->select(m_url);
}

void FlashPanel::mouseDoubleClickEvent(QMouseEvent *event)
{
    m_pressAt.reset();
    if (event->button() != Qt::LeftButton || !m_layout.image.contains(event->position().toPoint()))
        return;
    // Gone at once, no slide: the shelf comes up in its place.
    const std::function<void()> then = m_hooks.onDoubleClick;
    finish();
    if (then)
        then();
}

QList<QUrl> FlashPanel::carried() const
{
    // The selection in the order shown when it holds this file; it may
    // not: a search or another folder can hide the file in the shelf.
    const QList<QUrl> selected = m_shelf ? m_shelf->selectedFiles() : QList<QUrl>();
    return selected.contains(m_url) ? selected : QList<QUrl>{m_url};
}

void FlashPanel::startDrag()
{
    m_pressAt.reset();
    const QList<QUrl> files = carried();
    const qreal dpr = devicePixelRatioF();
    QPoint centre;
    const QPixmap pixmap = ShelfGrid::dragPixmap({m_thumb}, m_layout.image.width(), dpr, &centre);
    auto *drag = new QDrag(this);
    drag->setMimeData(FileActions::filesMimeData(files));
    drag->setPixmap(pixmap);
    drag->setHotSpot(centre);

    m_dragging = true;
    m_dismissTimer.stop();
    QPointer<FlashPanel> self(this);
    QPointer<QDrag> running(drag);
    if (m_hooks.runDrag)
        m_hooks.runDrag(drag);
    else
        drag->exec(Qt::CopyAction); // only a copy for the world outside
    if (!self)
        return;
    if (running)
        running->deleteLater();
    m_dragging = false;
    // Also while the pointer is still on the card: leaving it later starts
    // a fresh countdown of its own.
    scheduleDismissal(dropSeconds);
}

Flash::Flash(Parts parts, QObject *parent) : QObject(parent), m_parts(std::move(parts)) {}

Flash::~Flash()
{
    for (const QPointer<FlashPanel> &card : std::as_const(m_cards))
        delete card.data();
}

void Flash::show(const QUrl &url)
{
    if (m_parts.prefs && !FlashSettings::enabled(*m_parts.prefs))
        return;
    QPointer<QScreen> screen = screenUnderPointer();
    if (!screen || !m_parts.thumbs)
        return;
    const qreal dpr = screen->devicePixelRatio();
    m_parts.thumbs->request(url, thumbnailPixels / dpr, dpr, this, [this, url, screen](const QImage &image) {
        if (!image.isNull() && screen)
            showImage(url, image, screen);
    });
}

void Flash::showImage(const QUrl &url, const QImage &thumb, QScreen *screen)
{
    if (!screen || thumb.isNull())
        return;
    if (m_parts.prefs && !FlashSettings::enabled(*m_parts.prefs))
        return;
    if (m_current)
        m_current->dismiss(); // may linger a while when hovered

    const FlashLayout layout = FlashPanel::layoutFor(thumb.deviceIndependentSize(), screen->availableGeometry());
    QPointer<Flash> self(this);
    FlashPanel::Hooks hooks;
    hooks.contextMenu = m_parts.contextMenu;
    hooks.runDrag = m_parts.runDrag;
    hooks.onClose = [self, url](FlashPanel *card) {
        if (!self)
            return;
        // Only the card itself: a newer card, even of the same file, stays.
        if (self->m_current == card)
            self->setCurrent(nullptr);
        self->m_cards.removeAll(card);
        Q_EMIT self->gone(url, card->msOnScreen());
    };
    hooks.onDoubleClick = [self, url] {
        if (self)
            Q_EMIT self->openInShelf(url);
    };
    auto *card = new FlashPanel(url, thumb, m_parts.shelf, layout, std::move(hooks));
    QPointer<FlashPanel> handle(card);
    connect(card, &FlashPanel::presented, this, [this, handle] {
        if (handle)
            Q_EMIT shown(handle);
    });
    card->setScreen(screen);
    m_cards.append(handle);
    setCurrent(card);
    card->present(m_parts.prefs ? FlashSettings::seconds(*m_parts.prefs) : 3.0);
}

void Flash::setCurrent(FlashPanel *card)
{
    if (m_current == card)
        return;
    m_current = card;
    Q_EMIT currentChanged();
}
