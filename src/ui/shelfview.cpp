#include "ui/shelfview.h"

#include "actions/views/filecommands.h"
#include "meta/metastore.h"
#include "meta/textindexer.h"
#include "model/shelf.h"
#include "system/texts.h"
#include "tidy/autotidy.h"
#include "ui/shelfgrid.h"
#include "ui/shelftoolbar.h"

#include <QFileInfo>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalBlocker>
#include <QSlider>
#include <QSplitter>
#include <QStackedWidget>
#include <QStyle>
#include <QTimer>
#include <QVBoxLayout>

#include <cmath>

namespace {

QLabel *secondaryLabel(QWidget *parent)
{
    auto *label = new QLabel(parent);
    label->setForegroundRole(QPalette::PlaceholderText);
    return label;
}

// The theme's icon, else our own, drawn sharp for the widget's screen.
QPixmap themed(const char *name, const char *bundled, QWidget *widget, int side)
{
    const QIcon icon = QIcon::fromTheme(
        QString::fromLatin1(name), QIcon(QStringLiteral(":/brindlewick/icons/%1.svg").arg(QLatin1String(bundled))));
    return icon.pixmap(QSize(side, side), widget->devicePixelRatioF());
}

} // namespace

ShelfView::ShelfView(Shelf *shelf, MetaStore *meta, Thumbs *thumbs, FileCommands &commands, QWidget *parent)
    : QWidget(parent), m_shelf(shelf), m_meta(meta), m_toolbar(new ShelfToolbar(shelf, commands, this)),
      m_split(new QSplitter(Qt::Horizontal, this)), m_stack(new QStackedWidget(this)),
      m_grid(new ShelfGrid(shelf, meta, thumbs, this)), m_emptyIcon(secondaryLabel(this)),
      m_emptyText(secondaryLabel(this)), m_emptyHint(secondaryLabel(this)),
      m_recognise(new QPushButton(tr("Recognise text in unindexed screenshots to search inside them"), this)),
      m_status(secondaryLabel(this)), m_reportTimer(new QTimer(this)), m_progress(new QProgressBar(this)),
      m_progressText(secondaryLabel(this)), m_tidyText(secondaryLabel(this)), m_tidyButton(new QPushButton(this)),
      m_size(new QSlider(Qt::Horizontal, this))
{
    setObjectName(QStringLiteral("shelfView"));

    // The empty state.
    auto *empty = new QWidget(this);
    auto *emptyLayout = new QVBoxLayout(empty);
    emptyLayout->setSpacing(8);
    emptyLayout->addStretch(1);
    // The texts span the area so that they wrap only when it is narrow.
    emptyLayout->addWidget(m_emptyIcon, 0, Qt::AlignHCenter);
    emptyLayout->addWidget(m_emptyText);
    emptyLayout->addWidget(m_emptyHint);
    emptyLayout->addWidget(m_recognise, 0, Qt::AlignHCenter);
    emptyLayout->addStretch(1);
    m_emptyText->setAlignment(Qt::AlignCenter);
    m_emptyHint->setAlignment(Qt::AlignCenter);
    m_emptyText->setWordWrap(true);
    m_emptyHint->setWordWrap(true);
    QFont caption = font();
    caption.setPointSizeF(font().pointSizeF() * 0.9);
    m_emptyHint->setFont(caption);
    m_recognise->setAutoDefault(false);
    connect(m_recognise, &QPushButton::clicked, this, [this] {
        if (m_shelf)
            Q_EMIT recogniseRequested(m_shelf->items());
    });

    m_stack->addWidget(m_grid);
    m_stack->addWidget(empty);

    // The status bar.
    auto *bar = new QWidget(this);
    bar->setObjectName(QStringLiteral("statusBar"));
    bar->setBackgroundRole(QPalette::Window);
    bar->setAutoFillBackground(true);
    auto *barLayout = new QHBoxLayout(bar);
    barLayout->setContentsMargins(12, 5, 12, 5);
    barLayout->setSpacing(12);
    m_status->setObjectName(QStringLiteral("statusText"));
    barLayout->addWidget(m_status);
    m_reportTimer->setSingleShot(true);
    m_reportTimer->setInterval(reportMs);
    connect(m_reportTimer, &QTimer::timeout, this, [this] { showReport(QString()); });
    connect(&commands, &FileCommands::reported, this, &ShelfView::showReport);
    m_progress->setAccessibleName(tr("Text recognition"));
    m_progress->setFixedWidth(100);
    m_progress->setTextVisible(false);
    m_progress->setMaximumHeight(m_status->sizeHint().height() / 2 + 2);
    barLayout->addWidget(m_progress);
    barLayout->addWidget(m_progressText);
    barLayout->addWidget(m_tidyText);
    m_tidyButton->setAutoDefault(false);
    m_tidyButton->setFocusPolicy(Qt::TabFocus);
    barLayout->addWidget(m_tidyButton);
    connect(m_tidyButton, &QPushButton::clicked, this, [this] {
        if (!m_tidy || !m_shelf)
            return;
        // Tidying reports when it has acted; the shelf then shows what is left.
        connect(m_tidy, &AutoTidy::checked, m_shelf, &Shelf::scan, Qt::SingleShotConnection);
        m_tidy->runNow(m_shelf->home());
    });
    barLayout->addStretch(1);
    auto *smallPhoto = secondaryLabel(bar);
    auto *largePhoto = secondaryLabel(bar);
    smallPhoto->setPixmap(themed("image-x-generic", "image", this, 12));
    largePhoto->setPixmap(themed("image-x-generic", "image", this, 18));
    m_size->setRange(int(Shelf::smallestCellWidth), int(Shelf::largestCellWidth));
    m_size->setFixedWidth(110);
    m_size->setFocusPolicy(Qt::TabFocus);
    m_size->setToolTip(tr("Thumbnail size (%1)").arg(Texts::zoomKeyHint()));
    m_size->setAccessibleName(tr("Thumbnail size"));
    auto *sizeRow = new QHBoxLayout;
    sizeRow->setSpacing(6);
    sizeRow->addWidget(smallPhoto);
    sizeRow->addWidget(m_size);
    sizeRow->addWidget(largePhoto);
    barLayout->addLayout(sizeRow);
    connect(m_size, &QSlider::valueChanged, this, [this](int value) {
        if (m_shelf && std::lround(m_shelf->cellWidth()) != value)
            m_shelf->setCellWidth(value);
    });

    auto *rule = new QFrame(this);
    rule->setFrameShape(QFrame::HLine);
    rule->setFrameShadow(QFrame::Sunken);

    auto *detail = new QWidget(this);
    detail->setObjectName(QStringLiteral("screenshotArea"));
    auto *detailLayout = new QVBoxLayout(detail);
    detailLayout->setContentsMargins(0, 0, 0, 0);
    detailLayout->setSpacing(0);
    detailLayout->addWidget(m_stack, 1);
    detailLayout->addWidget(rule);
    detailLayout->addWidget(bar);

    // The folder column joins at index 0 (setSidebar).
    m_split->setChildrenCollapsible(false);
    m_split->addWidget(detail);
    m_split->setStretchFactor(0, 1);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_toolbar);
    // Cells scroll under the toolbar: a hairline keeps the two apart.
    auto *toolbarRule = new QFrame(this);
    toolbarRule->setFrameShape(QFrame::HLine);
    toolbarRule->setFrameShadow(QFrame::Sunken);
    layout->addWidget(toolbarRule);
    layout->addWidget(m_split);

    // Tab walks the window as it reads: the search, the screenshots, then
    // the status bar's controls.
    setTabOrder(m_toolbar->searchField(), m_grid);
    setTabOrder(m_grid, m_recognise);
    setTabOrder(m_recognise, m_tidyButton);
    setTabOrder(m_tidyButton, m_size);

    if (shelf) {
        for (auto signal :
             {&Shelf::itemsChanged, &Shelf::queryChanged, &Shelf::selectionChanged, &Shelf::cellWidthChanged})
            connect(shelf, signal, this, &ShelfView::refresh);
        connect(shelf, &Shelf::currentChanged, this, &ShelfView::refreshTitle);
        connect(shelf, &Shelf::homeChanged, this, &ShelfView::refreshTitle);
    }
    if (meta)
        connect(meta, &MetaStore::byNameChanged, this, &ShelfView::refresh);
    refresh();
    refreshTitle();
    refreshProgress();
    refreshTidy();
}

void ShelfView::setIndexer(TextIndexer *indexer)
{
    m_indexer = indexer;
    if (indexer) {
        connect(indexer, &TextIndexer::runningChanged, this, &ShelfView::refreshProgress);
        connect(indexer, &TextIndexer::doneChanged, this, &ShelfView::refreshProgress);
        connect(indexer, &TextIndexer::totalChanged, this, &ShelfView::refreshProgress);
    }
    refreshProgress();
}

void ShelfView::setTidy(AutoTidy *tidy)
{
    m_tidy = tidy;
    if (tidy) {
        for (auto signal : {&AutoTidy::candidatesChanged, &AutoTidy::daysChanged, &AutoTidy::toTrashChanged})
            connect(tidy, signal, this, &ShelfView::refreshTidy);
    }
    refreshTidy();
}

void ShelfView::refreshProgress()
{
    const bool running = m_indexer && m_indexer->running();
    m_progress->setVisible(running);
    m_progressText->setVisible(running);
    if (!running)
        return;
    m_progress->setRange(0, std::max(m_indexer->total(), 1));
    m_progress->setValue(m_indexer->done());
    m_progressText->setText(tr("recognising %L1/%L2").arg(m_indexer->done()).arg(m_indexer->total()));
}

void ShelfView::refreshTidy()
{
    const qsizetype due = m_tidy ? m_tidy->candidates().size() : 0;
    m_tidyText->setVisible(due > 0);
    m_tidyButton->setVisible(due > 0);
    if (due == 0)
        return;
    const int days = m_tidy->days();
    // "· 3 older than 30 days": the count of screenshots, then the age.
    const QString age = days == 1 ? tr("older than %n day", nullptr, days) : tr("older than %n days", nullptr, days);
    m_tidyText->setText(tr("\u00b7 %L1 %2").arg(due).arg(age));
    m_tidyButton->setText(m_tidy->toTrash() ? tr("Trash now") : tr("Archive now"));
}

void ShelfView::setMainMenu(const QList<QMenu *> &menus) { m_toolbar->setMainMenu(menus); }

void ShelfView::showReport(const QString &message)
{
    if (message == m_report)
        return;
    m_report = message;
    if (message.isEmpty())
        m_reportTimer->stop();
    else
        m_reportTimer->start();
    refresh();
}

void ShelfView::setSidebar(QWidget *sidebar)
{
    m_split->insertWidget(0, sidebar);
    m_split->setStretchFactor(0, 0);
    m_split->setStretchFactor(1, 1);
    // The folders come between the search and the screenshots.
    setTabOrder(m_toolbar->searchField(), sidebar);
    setTabOrder(sidebar, m_grid);
}

QString ShelfView::statusText(qsizetype visible, qsizetype items, bool searching, qsizetype selected)
{
    // The English "1 screenshots" is kept as it always was; the catalogues
    // give each language its plural forms through %n.
    QString text = searching ? tr("%Ln of %L1 screenshots", nullptr, int(visible)).arg(items)
                             : tr("%Ln screenshots", nullptr, int(visible));
    if (selected > 0)
        text = tr("%1, %Ln selected", nullptr, int(selected)).arg(text);
    return text;
}

void ShelfView::refresh()
{
    if (!m_shelf)
        return;
    const QList<QUrl> visible = m_grid->shownItems();
    const QString query = m_shelf->query();
    // A report of what could not be done stands in for the counts a while,
    // in the colour of ordinary text rather than the counts' quieter one.
    m_status->setForegroundRole(m_report.isEmpty() ? QPalette::PlaceholderText : QPalette::WindowText);
    m_status->setText(!m_report.isEmpty() ? m_report
                                          : statusText(visible.size(), m_shelf->items().size(), !query.isEmpty(),
                                                       m_shelf->selection().size()));
    {
        const QSignalBlocker quiet(m_size);
        m_size->setValue(int(std::lround(m_shelf->cellWidth())));
    }
    if (!visible.isEmpty()) {
        m_stack->setCurrentWidget(m_grid);
        return;
    }
    m_stack->setCurrentIndex(1);
    const bool searching = !query.isEmpty();
    m_emptyIcon->setPixmap(searching ? themed("edit-find", "search", this, 48)
                                     : themed("image-x-generic", "image", this, 48));
    m_emptyText->setText(searching ? tr("Nothing matches \u201c%1\u201d.").arg(query)
                                   : tr("No images in this folder yet."));
    m_emptyHint->setText(Texts::emptyShelfHint());
    m_emptyHint->setVisible(!searching);
    bool unindexed = false;
    if (searching) {
        for (const QUrl &item : m_shelf->items()) {
            const std::optional<FileMeta> record = m_meta ? m_meta->meta(item) : std::nullopt;
            if (!record || !record->hasTextFor(m_shelf->modified(item))) {
                unindexed = true;
                break;
            }
        }
    }
    m_recognise->setVisible(unindexed);
}

void ShelfView::refreshTitle()
{
    if (!m_shelf)
        return;
    const QUrl folder = m_shelf->isHome() ? m_shelf->home() : m_shelf->current();
    const QString path = folder.toLocalFile();
    const QString name = QFileInfo(path).fileName();
    setWindowTitle(name.isEmpty() ? path : name);
    if (window() != this)
        window()->setWindowTitle(windowTitle());
}
