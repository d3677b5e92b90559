#include "ui/foldercolumn.h"

#include "actions/views/filecommands.h"
#include "model/shelf.h"
#include "system/texts.h"
#include "ui/accessiblefolders.h"

#include <QContextMenuEvent>
#include <QCoreApplication>
#include <QDragEnterEvent>
#include <QFileInfo>
#include <QHelpEvent>
#include <QIcon>
#include <QKeyEvent>
#include <QMenu>
#include <QMimeData>
#include <QPainter>
#include <QPainterPath>
#include <QScrollBar>
#include <QToolTip>

namespace {

constexpr int sideMargin = 10;
constexpr int iconSide = 16;
constexpr int iconGap = 7;
constexpr int rowPadding = 1; // above and below each row
constexpr int dropOverhang = 4;

// Only local files can be moved into a folder; anything else is refused
// whole, so a mixed drop never half-happens.
QList<QUrl> localFiles(const QMimeData *data)
{
    if (!data || !data->hasUrls())
        return {};
    const QList<QUrl> urls = data->urls();
    for (const QUrl &url : urls) {
        if (!url.isLocalFile() || url.toLocalFile().isEmpty())
            return {};
    }
    return urls;
}

QPixmap tinted(QPixmap pixmap, const QColor &color)
{
    QPainter painter(&pixmap);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(pixmap.rect(), color);
    return pixmap;
}

QString hintText()
{
    return QCoreApplication::translate("FolderColumn",
                                       "Drop a screenshot on a folder to move it there. Make one with %1.")
        .arg(Texts::newFolderKeyHint());
}

} // namespace

FolderColumn::FolderColumn(Shelf *shelf, FileCommands &commands, QWidget *parent)
    : QAbstractScrollArea(parent), m_shelf(shelf), m_commands(&commands)
{
    // Before anything here asks Qt for this view's accessible interface.
    Accessibility::installFactories();
    setObjectName(QStringLiteral("folderColumn"));
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setMinimumWidth(minimumColumnWidth);
    setMaximumWidth(maximumColumnWidth);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Expanding);
    // Reached with Tab; a click on a row leaves the keyboard with the grid.
    setFocusPolicy(Qt::TabFocus);
    // The window's key routing leaves Up, Down, Home and End to the column.
    setProperty("walksOwnRows", true);
    setAccessibleName(tr("Folders"));
    viewport()->setBackgroundRole(QPalette::Window);
    viewport()->setAutoFillBackground(true);
    viewport()->setMouseTracking(true);
    setAcceptDrops(true);
    viewport()->setAcceptDrops(true);
    if (m_shelf) {
        connect(m_shelf, &Shelf::subfoldersChanged, this, &FolderColumn::relayout);
        connect(m_shelf, &Shelf::folderCountsChanged, this, &FolderColumn::relayout);
        connect(m_shelf, &Shelf::homeChanged, this, &FolderColumn::relayout);
        connect(m_shelf, &Shelf::currentChanged, viewport(), qOverload<>(&QWidget::update));
    }
    relayout();
    Accessibility::watchFolders(this, shelf);
}

QSize FolderColumn::sizeHint() const { return {idealColumnWidth, 400}; }

QFont FolderColumn::captionFont() const
{
    QFont caption = font();
    caption.setPointSizeF(font().pointSizeF() * 0.85);
    return caption;
}

void FolderColumn::relayout()
{
    m_rows.clear();
    const int width = viewport()->width();
    const QFontMetrics metrics(font());
    const QFontMetrics caption(captionFont());
    const int rowHeight = std::max(iconSide + 8, metrics.height() + 8) + 2 * rowPadding;
    const int headerHeight = caption.height() + 10;
    int y = 6;
    const auto add = [&](Row::Kind kind, const QUrl &folder, const QString &title, qint64 count, int height) {
        Row row;
        row.kind = kind;
        row.folder = folder;
        row.title = title;
        row.count = count;
        row.rect = QRect(0, y, width, height);
        m_rows.append(row);
        y += height;
    };

    const FolderCounts counts = m_shelf ? m_shelf->folderCounts() : FolderCounts{};
    const auto countOf = [&counts](const QUrl &folder) {
        const auto found = counts.constFind(folder);
        if (found != counts.constEnd())
            return *found;
        return counts.value(Shelf::folderKey(folder), 0);
    };

    add(Row::headerRow, {}, tr("Screenshots"), 0, headerHeight);
    if (m_shelf)
        add(Row::homeRow, m_shelf->home(), tr("Home"), countOf(m_shelf->home()), rowHeight);
    y += 8;
    add(Row::headerRow, {}, tr("Folders"), 0, headerHeight);
    const QList<QUrl> subfolders = m_shelf ? m_shelf->subfolders() : QList<QUrl>{};
    if (subfolders.isEmpty()) {
        const QRect room(0, 0, std::max(1, width - 2 * sideMargin), 100000);
        const int height = caption.boundingRect(room, Qt::TextWordWrap, hintText()).height() + 8;
        add(Row::hintRow, {}, hintText(), 0, height);
    }
    for (const QUrl &folder : subfolders)
        add(Row::folderRow, folder, QFileInfo(folder.toLocalFile()).fileName(), countOf(folder), rowHeight);
    m_contentHeight = y + 8;

    verticalScrollBar()->setPageStep(viewport()->height());
    verticalScrollBar()->setSingleStep(rowHeight);
    verticalScrollBar()->setRange(0, std::max(0, m_contentHeight - viewport()->height()));
    viewport()->update();
}

const FolderColumn::Row *FolderColumn::rowAt(const QPoint &viewportPos) const
{
    const QPoint pos = viewportPos + QPoint(0, verticalScrollBar()->value());
    for (const Row &row : m_rows) {
        if ((row.kind == Row::homeRow || row.kind == Row::folderRow) && row.rect.contains(pos))
            return &row;
    }
    return nullptr;
}

QPixmap FolderColumn::rowIcon(bool isHome, bool selected) const
{
    const QString name = isHome ? QStringLiteral("go-home") : QStringLiteral("folder");
    const QColor tint = palette().color(selected ? QPalette::HighlightedText : QPalette::Highlight);
    const qreal dpr = devicePixelRatioF();
    const QSize size(iconSide, iconSide);
    // A symbolic icon takes the accent; a full-colour one keeps the theme's
    // own colours; our bundled outline takes the accent too.
    const QString symbolic = name + QStringLiteral("-symbolic");
    if (QIcon::hasThemeIcon(symbolic))
        return tinted(QIcon::fromTheme(symbolic).pixmap(size, dpr), tint);
    if (QIcon::hasThemeIcon(name))
        return QIcon::fromTheme(name).pixmap(size, dpr);
    const QString bundled = isHome ? QStringLiteral("home") : QStringLiteral("folder");
    return tinted(QIcon(QStringLiteral(":/brindlewick/icons/%1.svg").arg(bundled)).pixmap(size, dpr), tint);
}

void FolderColumn::paintEvent(QPaintEvent *)
{
    QPainter painter(viewport());
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(0, -verticalScrollBar()->value());
    const QPalette pal = palette();
    const QFont caption = captionFont();
    const QFontMetrics metrics(font());
    const QFontMetrics captionMetrics(caption);
    // Digits of equal width, so counts line up whatever the font.
    int digitWidth = 0;
    for (char digit = '0'; digit <= '9'; ++digit)
        digitWidth = std::max(digitWidth, captionMetrics.horizontalAdvance(QLatin1Char(digit)));
    const QUrl current = m_shelf ? Shelf::folderKey(m_shelf->current()) : QUrl();
    const QRect visible(0, verticalScrollBar()->value(), viewport()->width(), viewport()->height());

    for (const Row &row : std::as_const(m_rows)) {
        if (!row.rect.intersects(visible.adjusted(0, -dropOverhang, 0, dropOverhang)))
            continue;
        const QRect inner = row.rect.adjusted(sideMargin, rowPadding, -sideMargin, -rowPadding);
        if (row.kind == Row::headerRow) {
            QFont bold = caption;
            bold.setBold(true);
            painter.setFont(bold);
            painter.setPen(pal.color(QPalette::PlaceholderText));
            painter.drawText(inner.adjusted(2, 0, 0, -3), Qt::AlignLeft | Qt::AlignBottom, row.title);
            continue;
        }
        if (row.kind == Row::hintRow) {
            painter.setFont(caption);
            painter.setPen(pal.color(QPalette::PlaceholderText));
            painter.drawText(inner.adjusted(2, 2, 0, 0), Qt::AlignLeft | Qt::AlignTop | Qt::TextWordWrap, row.title);
            continue;
        }

        const bool selected = Shelf::folderKey(row.folder) == current;
        if (row.folder == m_targeted) {
            QColor drop = pal.color(QPalette::Highlight);
            drop.setAlphaF(0.28);
            QPainterPath path;
            path.addRoundedRect(QRectF(inner.adjusted(-dropOverhang, -dropOverhang, dropOverhang, dropOverhang)), 6, 6);
            painter.fillPath(path, drop);
        }
        if (selected) {
            QPainterPath path;
            path.addRoundedRect(QRectF(inner), 5, 5);
            painter.fillPath(path, pal.color(QPalette::Highlight));
            // The keyboard's ring, a gap outside the row's own fill.
            if (hasFocus()) {
                painter.setPen(QPen(pal.color(QPalette::Highlight), 2));
                painter.setBrush(Qt::NoBrush);
                painter.drawRoundedRect(QRectF(inner).adjusted(-4, -4, 4, 4), 8, 8);
            }
        }

        const QRect content = inner.adjusted(8, 0, -8, 0);
        const QPixmap icon = rowIcon(row.kind == Row::homeRow, selected);
        painter.drawPixmap(QPoint(content.left(), content.center().y() - iconSide / 2 + 1), icon);

        const QString count = QString::number(row.count);
        const int countWidth = digitWidth * int(count.size());
        painter.setFont(caption);
        painter.setPen(selected ? pal.color(QPalette::HighlightedText) : pal.color(QPalette::PlaceholderText));
        int x = content.right() - countWidth + 1;
        for (const QChar digit : count) {
            painter.drawText(QRect(x, content.top(), digitWidth, content.height()), Qt::AlignCenter, QString(digit));
            x += digitWidth;
        }

        const int textLeft = content.left() + iconSide + iconGap;
        const int textWidth = std::max(0, content.right() - countWidth - 8 - textLeft);
        painter.setFont(font());
        painter.setPen(pal.color(selected ? QPalette::HighlightedText : QPalette::WindowText));
        painter.drawText(QRect(textLeft, content.top(), textWidth, content.height()), Qt::AlignLeft | Qt::AlignVCenter,
                         metrics.elidedText(row.title, Qt::ElideMiddle, textWidth));
    }
}

void FolderColumn::resizeEvent(QResizeEvent *event)
{
    QAbstractScrollArea::resizeEvent(event);
    relayout();
}

void FolderColumn::changeEvent(QEvent *event)
{
    QAbstractScrollArea::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::PaletteChange)
        relayout();
}

void FolderColumn::scrollContentsBy(int, int) { viewport()->update(); }

bool FolderColumn::viewportEvent(QEvent *event)
{
    // The full name of a folder whose name had to be shortened.
    if (event->type() == QEvent::ToolTip) {
        auto *help = static_cast<QHelpEvent *>(event);
        const Row *row = rowAt(help->pos());
        if (row && row->kind == Row::folderRow)
            QToolTip::showText(help->globalPos(), row->title, viewport());
        else
            QToolTip::hideText();
        return true;
    }
    return QAbstractScrollArea::viewportEvent(event);
}

void FolderColumn::mousePressEvent(QMouseEvent *event)
{
    const Row *row = rowAt(event->position().toPoint());
    if (event->button() != Qt::LeftButton || !row || !m_shelf) {
        QAbstractScrollArea::mousePressEvent(event);
        return;
    }
    m_shelf->openFolder(row->folder);
}

void FolderColumn::contextMenuEvent(QContextMenuEvent *event)
{
    const Row *row = rowAt(event->pos());
    if (!row || !m_shelf)
        return;
    const QUrl folder = row->folder;
    const bool isHome = row->kind == Row::homeRow;
    QPointer<FileCommands> commands = m_commands;
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addAction(Texts::showInFileManager(), this, [commands, folder] {
        if (commands)
            commands->showInFileManager().run({folder});
    });
    if (!isHome) {
        menu->addAction(tr("Rename\u2026"), this, [commands, folder] {
            if (commands)
                commands->renameFolder(folder);
        });
        menu->addSeparator();
        menu->addAction(tr("Move Folder to Trash"), this, [commands, folder] {
            if (commands)
                commands->trashFolder(folder);
        });
    }
    menu->popup(event->globalPos());
}

void FolderColumn::setTargeted(const QUrl &folder)
{
    if (m_targeted == folder)
        return;
    m_targeted = folder;
    viewport()->update();
}

void FolderColumn::dragEnterEvent(QDragEnterEvent *event)
{
    if (!m_shelf || !m_commands || localFiles(event->mimeData()).isEmpty()) {
        event->ignore();
        return;
    }
    // Accepted anywhere on the column, so moving between rows keeps the drag.
    event->acceptProposedAction();
    const Row *row = rowAt(event->position().toPoint());
    setTargeted(row ? row->folder : QUrl());
}

void FolderColumn::dragMoveEvent(QDragMoveEvent *event)
{
    const Row *row = rowAt(event->position().toPoint());
    if (!row || !m_shelf || !m_commands || localFiles(event->mimeData()).isEmpty()) {
        setTargeted({});
        event->ignore();
        return;
    }
    setTargeted(row->folder);
    event->acceptProposedAction();
}

void FolderColumn::dragLeaveEvent(QDragLeaveEvent *) { setTargeted({}); }

void FolderColumn::dropEvent(QDropEvent *event)
{
    setTargeted({});
    const Row *row = rowAt(event->position().toPoint());
    const QList<QUrl> files = localFiles(event->mimeData());
    if (!row || !m_shelf || !m_commands || files.isEmpty()) {
        event->ignore();
        return;
    }
    // We move the files ourselves: the source is told they were copied, so
    // a file manager never removes them on its own as well.
    if (event->possibleActions() & Qt::CopyAction)
        event->setDropAction(Qt::CopyAction);
    event->accept();
    m_commands->dropOnFolder(files, row->folder);
}

Shelf *FolderColumn::shelf() const { return m_shelf; }

QUrl FolderColumn::currentRow() const
{
    if (!m_shelf)
        return {};
    const QUrl current = Shelf::folderKey(m_shelf->current());
    for (const Row &row : m_rows) {
        if ((row.kind == Row::homeRow || row.kind == Row::folderRow) && Shelf::folderKey(row.folder) == current)
            return row.folder;
    }
    return {};
}

void FolderColumn::keyPressEvent(QKeyEvent *event)
{
    QList<QUrl> folders;
    for (const Row &row : std::as_const(m_rows)) {
        if (row.kind == Row::homeRow || row.kind == Row::folderRow)
            folders << row.folder;
    }
    const qsizetype at = folders.indexOf(currentRow());
    qsizetype to = -1;
    switch (event->key()) {
    case Qt::Key_Up:
        to = std::max<qsizetype>(at - 1, 0);
        break;
    case Qt::Key_Down:
        to = std::min(at + 1, folders.size() - 1);
        break;
    case Qt::Key_Home:
        to = 0;
        break;
    case Qt::Key_End:
        to = folders.size() - 1;
        break;
    default:
        QAbstractScrollArea::keyPressEvent(event);
        return;
    }
    event->accept();
    if (!m_shelf || to < 0 || to == at)
        return;
    m_shelf->openFolder(folders.at(to));
    for (const Row &row : std::as_const(m_rows)) {
        if (row.folder == folders.at(to)) {
            const int top = verticalScrollBar()->value();
            if (row.rect.top() < top)
                verticalScrollBar()->setValue(row.rect.top());
            else if (row.rect.bottom() > top + viewport()->height())
                verticalScrollBar()->setValue(row.rect.bottom() - viewport()->height());
        }
    }
}

void FolderColumn::focusInEvent(QFocusEvent *event)
{
    QAbstractScrollArea::focusInEvent(event);
    viewport()->update();
}

void FolderColumn::focusOutEvent(QFocusEvent *event)
{
    QAbstractScrollArea::focusOutEvent(event);
    viewport()->update();
}
