#include "ui/shelfplaceholder.h"

#include "model/shelf.h"
#include "system/texts.h"
#include "ui/appicon.h"

#include <QDir>
#include <QFileInfo>
#include <QLabel>
#include <QVBoxLayout>

namespace {

QString countText(qint64 n, const QString &one, const QString &many)
{
    return n == 1 ? QStringLiteral("1 ") + one : QString::number(n) + QLatin1Char(' ') + many;
}

// "~/Pictures/Screenshots" rather than the whole path.
QString shortPath(const QString &path)
{
    const QString home = QDir::homePath();
    if (path == home)
        return QStringLiteral("~");
    if (path.startsWith(home + QLatin1Char('/')))
        return QStringLiteral("~") + path.mid(home.size());
    return path;
}

} // namespace

ShelfPlaceholder::ShelfPlaceholder(Shelf *shelf, QWidget *parent)
    : QWidget(parent), m_shelf(shelf), m_name(new QLabel(this)), m_path(new QLabel(this)),
      m_counts(new QLabel(this)), m_hint(new QLabel(this))
{
    auto *icon = new QLabel(this);
    icon->setPixmap(appIcon().pixmap(96, 96));
    icon->setAlignment(Qt::AlignCenter);

    QFont nameFont = font();
    nameFont.setPointSizeF(nameFont.pointSizeF() * 1.8);
    nameFont.setBold(true);
    m_name->setFont(nameFont);
    for (QLabel *label : {m_name, m_path, m_counts, m_hint}) {
        label->setAlignment(Qt::AlignCenter);
        label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    }
    m_path->setForegroundRole(QPalette::PlaceholderText);
    m_hint->setForegroundRole(QPalette::PlaceholderText);
    m_hint->setWordWrap(true);

    auto *layout = new QVBoxLayout(this);
    layout->addStretch(3);
    layout->addWidget(icon);
    layout->addSpacing(12);
    layout->addWidget(m_name);
    layout->addWidget(m_path);
    layout->addSpacing(8);
    layout->addWidget(m_counts);
    layout->addSpacing(4);
    layout->addWidget(m_hint);
    layout->addStretch(4);

    if (shelf) {
        for (auto signal : {&Shelf::currentChanged, &Shelf::itemsChanged, &Shelf::subfoldersChanged,
                            &Shelf::folderCountsChanged})
            connect(shelf, signal, this, &ShelfPlaceholder::refresh);
    }
    refresh();
}

void ShelfPlaceholder::refresh()
{
    if (!m_shelf) {
        m_name->clear();
        m_path->clear();
        m_counts->clear();
        m_hint->clear();
        return;
    }
    const QString folder = m_shelf->current().toLocalFile();
    const QString name = QFileInfo(folder).fileName();
    m_name->setText(name.isEmpty() ? folder : name);
    m_path->setText(shortPath(folder));

    const qint64 images = m_shelf->folderCounts().value(Shelf::folderKey(m_shelf->current()),
                                                        m_shelf->items().size());
    QString counts = images == 0 ? QStringLiteral("No screenshots yet")
                                 : countText(images, QStringLiteral("image"), QStringLiteral("images"));
    if (m_shelf->isHome() && !m_shelf->subfolders().isEmpty())
        counts += QStringLiteral(" \u00b7 ")
                  + countText(m_shelf->subfolders().size(), QStringLiteral("folder"), QStringLiteral("folders"));
    m_counts->setText(counts);
    m_hint->setText(images == 0 ? Texts::emptyShelfHint : QString());
    m_hint->setVisible(images == 0);
}
