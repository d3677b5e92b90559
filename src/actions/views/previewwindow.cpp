#include "actions/views/previewwindow.h"

#include "actions/views/desktopwindows.h"
#include "actions/views/fittedimage.h"
#include "files/localpaths.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QKeyEvent>
#include <QPainter>
#include <QTimer>

namespace {

// A resize is a stream of sizes; decode again once it has been quiet.
constexpr int resizeSettleMs = 120;

} // namespace

PreviewWindow::PreviewWindow() : QWidget(nullptr, Qt::Tool | Qt::WindowStaysOnTopHint), m_resizeSettle(new QTimer(this))
{
    setObjectName(QStringLiteral("previewWindow"));
    setMinimumSize(240, 180);
    m_resizeSettle->setSingleShot(true);
    m_resizeSettle->setInterval(resizeSettleMs);
    connect(m_resizeSettle, &QTimer::timeout, this, &PreviewWindow::decode);
}

void PreviewWindow::showItem(const QUrl &file, int index, int count, const QList<QUrl> &neighbours)
{
    m_index = index;
    m_count = count;
    m_neighbours = neighbours;
    setWindowTitle(QFileInfo(file.toLocalFile()).fileName());
    if (file != m_file) {
        // The picture we leave is kept for paging back.
        if (m_settled && m_file.isLocalFile())
            m_ahead.insert(m_file, Ahead{m_decodedFor, true, FittedImage::Decoded{m_image, m_original}});
        // Never the last picture under the next file's name.
        m_file = file;
        m_image = QImage();
        m_original = QSize();
        m_decodedFor = QSize();
        m_settled = false;
        ++m_request;
        const Ahead ahead = m_ahead.take(file);
        if (ahead.pixels == pixels() && !ahead.pixels.isEmpty()) {
            m_decodedFor = ahead.pixels;
            if (ahead.done)
                decoded(m_request, ahead.result ? ahead.result->image : QImage(),
                        ahead.result ? ahead.result->original : QSize());
            else
                m_ahead.insert(file, ahead); // still decoding: it becomes ours when done
        } else {
            decode();
        }
    }
    for (auto it = m_ahead.begin(); it != m_ahead.end();) {
        if (it.key() == m_file || neighbours.contains(it.key()))
            ++it;
        else
            it = m_ahead.erase(it);
    }
    if (m_settled)
        decodeAhead();
    update();
}

void PreviewWindow::filesChanged(const QList<QUrl> &files)
{
    for (const QUrl &file : files)
        m_ahead.remove(file);
    if (files.contains(m_file)) {
        m_image = QImage();
        m_original = QSize();
        m_decodedFor = QSize();
        m_settled = false;
        ++m_request;
        decode();
        update();
    } else if (m_settled) {
        decodeAhead();
    }
}

QSize PreviewWindow::pixels() const { return (QSizeF(imageArea().size()) * devicePixelRatioF()).toSize(); }

void PreviewWindow::decodeAhead()
{
    const QSize size = pixels();
    if (size.isEmpty())
        return;
    for (const QUrl &file : std::as_const(m_neighbours)) {
        if (!file.isLocalFile() || file == m_file || (m_ahead.contains(file) && m_ahead.value(file).pixels == size))
            continue;
        m_ahead.insert(file, Ahead{size, false, std::nullopt});
        FittedImage::decodeLater(m_decoding, this, LocalPaths::localPath(file), size,
                                 [this, file, size](const std::optional<FittedImage::Decoded> &result) {
                                     auto it = m_ahead.find(file);
                                     if (it == m_ahead.end() || it->pixels != size)
                                         return;
                                     if (file == m_file) {
                                         m_ahead.erase(it);
                                         if (!m_settled && size == m_decodedFor)
                                             decoded(m_request, result ? result->image : QImage(),
                                                     result ? result->original : QSize());
                                         return;
                                     }
                                     it->done = true;
                                     it->result = result;
                                 });
    }
}

QRect PreviewWindow::imageArea() const { return rect().adjusted(padding, padding, -padding, -padding - captionHeight); }

void PreviewWindow::decode()
{
    if (!m_file.isLocalFile()) {
        decoded(++m_request, QImage(), QSize());
        return;
    }
    const QSize size = pixels();
    // Already asked for (or decoded at) this size.
    if (size.isEmpty() || size == m_decodedFor)
        return;
    m_decodedFor = size;
    const quint64 request = ++m_request;
    FittedImage::decodeLater(m_decoding, this, LocalPaths::localPath(m_file), size,
                             [this, request](const std::optional<FittedImage::Decoded> &result) {
                                 if (result)
                                     decoded(request, result->image, result->original);
                                 else
                                     decoded(request, QImage(), QSize());
                             });
}

void PreviewWindow::decoded(quint64 request, const QImage &image, const QSize &original)
{
    if (request != m_request)
        return;
    m_image = image;
    m_original = original;
    m_settled = true;
    update();
    Q_EMIT settled();
    decodeAhead();
}

void PreviewWindow::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(rect(), palette().color(QPalette::Window));
    const QRect area = imageArea();
    if (!m_image.isNull() && !area.isEmpty()) {
        // At most one image pixel per device pixel, fitted to the area; the
        // picture decoded for an older size is stretched until the new one
        // arrives.
        const QSizeF natural = QSizeF(m_original.isValid() ? m_original : m_image.size()) / devicePixelRatioF();
        QSizeF shown = natural;
        if (shown.width() > area.width() || shown.height() > area.height())
            shown = shown.scaled(area.size(), Qt::KeepAspectRatio);
        const QRectF target(area.x() + (area.width() - shown.width()) / 2,
                            area.y() + (area.height() - shown.height()) / 2, shown.width(), shown.height());
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.drawImage(target, m_image);
    }

    const QRect caption(padding, height() - padding - captionHeight, width() - 2 * padding, captionHeight);
    QString position;
    if (m_count > 1 && m_index >= 0)
        position = tr("%1 of %2").arg(m_index + 1).arg(m_count);
    QFont countFont = font();
    const int positionWidth = position.isEmpty() ? 0 : QFontMetrics(countFont).horizontalAdvance(position) + padding;
    QFont nameFont = font();
    nameFont.setBold(true);
    painter.setFont(nameFont);
    painter.setPen(palette().color(QPalette::WindowText));
    const QString name = QFontMetrics(nameFont).elidedText(QFileInfo(m_file.toLocalFile()).fileName(), Qt::ElideMiddle,
                                                           caption.width() - positionWidth);
    painter.drawText(caption.adjusted(0, 0, -positionWidth, 0), Qt::AlignLeft | Qt::AlignVCenter, name);
    if (!position.isEmpty()) {
        painter.setFont(countFont);
        painter.setPen(palette().color(QPalette::PlaceholderText));
        painter.drawText(caption, Qt::AlignRight | Qt::AlignVCenter, position);
    }
}

void PreviewWindow::keyPressEvent(QKeyEvent *event)
{
    switch (event->key()) {
    case Qt::Key_Left:
    case Qt::Key_Up:
        Q_EMIT stepRequested(-1);
        return;
    case Qt::Key_Right:
    case Qt::Key_Down:
        Q_EMIT stepRequested(1);
        return;
    case Qt::Key_Space:
    case Qt::Key_Escape:
        Q_EMIT closeRequested();
        return;
    default:
        break;
    }
    if (m_keyTarget && m_keyTarget->isVisible()) {
        QKeyEvent copy(event->type(), event->key(), event->modifiers(), event->nativeScanCode(),
                       event->nativeVirtualKey(), event->nativeModifiers(), event->text(), event->isAutoRepeat(),
                       event->count());
        QCoreApplication::sendEvent(m_keyTarget, &copy);
        event->setAccepted(copy.isAccepted());
        return;
    }
    QWidget::keyPressEvent(event);
}

void PreviewWindow::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    if (isVisible())
        m_resizeSettle->start();
}

void PreviewWindow::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    DesktopWindows::keepOffTaskbar(this);
    // The size may have changed while hidden.
    decode();
    Q_EMIT shownChanged(true);
}

void PreviewWindow::hideEvent(QHideEvent *event)
{
    QWidget::hideEvent(event);
    m_resizeSettle->stop();
    Q_EMIT shownChanged(false);
}
