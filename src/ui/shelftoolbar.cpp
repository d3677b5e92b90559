#include "ui/shelftoolbar.h"

#include "actions/views/filecommands.h"
#include "model/shelf.h"
#include "system/texts.h"

#include <QAction>
#include <QLineEdit>
#include <QMenu>
#include <QSizePolicy>
#include <QToolButton>

namespace {

constexpr int searchWidth = 260;

} // namespace

QIcon ShelfToolbar::icon(const QStringList &themeNames, const QString &bundled)
{
    return FileCommand::themedIcon(themeNames, bundled);
}

ShelfToolbar::ShelfToolbar(Shelf *shelf, FileCommands &commands, QWidget *parent)
    : QToolBar(parent), m_shelf(shelf), m_search(new QLineEdit(this)), m_menuButton(new QToolButton(this)),
      m_menu(new QMenu(this))
{
    setObjectName(QStringLiteral("shelfToolbar"));
    setMovable(false);
    setFloatable(false);
    setIconSize(QSize(18, 18));
    // Icons with their titles: a person need not guess what a symbol does.
    setToolButtonStyle(Qt::ToolButtonTextUnderIcon);

    m_back =
        addButton(tr("Home"), icon({QStringLiteral("go-home"), QStringLiteral("go-previous")}, QStringLiteral("home")),
                  tr("Back to Home"));
    if (auto *button = qobject_cast<QToolButton *>(widgetForAction(m_back)))
        button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    connect(m_back, &QAction::triggered, this, [this] {
        if (m_shelf)
            m_shelf->openFolder(m_shelf->home());
    });

    auto *spacer = new QWidget(this);
    spacer->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    addWidget(spacer);

    m_search->setObjectName(QStringLiteral("searchField"));
    m_search->setPlaceholderText(tr("Search names and recognised text"));
    m_search->setClearButtonEnabled(true);
    m_search->setAccessibleName(tr("Search"));
    m_search->setAccessibleDescription(m_search->placeholderText());
    m_search->setToolTip(m_search->placeholderText()); // where a narrow window cuts the hint
    m_search->addAction(icon({QStringLiteral("edit-find")}, QStringLiteral("search")), QLineEdit::LeadingPosition);
    m_search->setMinimumWidth(120);
    m_search->setMaximumWidth(searchWidth);
    m_search->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    addWidget(m_search);
    connect(m_search, &QLineEdit::textChanged, this, [this](const QString &text) {
        if (m_shelf)
            m_shelf->setQuery(text);
    });
    if (shelf) {
        m_search->setText(shelf->query());
        connect(shelf, &Shelf::queryChanged, this, [this] {
            if (m_shelf && m_search->text() != m_shelf->query())
                m_search->setText(m_shelf->query());
        });
    }

    m_newFolder = commands.newFolder().action();
    m_preview = commands.preview().action();
    m_pin = commands.pin().action();
    m_trash = commands.trash().action();
    for (QAction *action : {m_newFolder, m_preview, m_pin, m_trash})
        addButton(action);
    m_settings =
        addButton(tr("Settings"),
                  icon({QStringLiteral("configure"), QStringLiteral("preferences-system")}, QStringLiteral("settings")),
                  tr("Settings (%1)").arg(Texts::settingsKeyHint()));
    connect(m_settings, &QAction::triggered, this, &ShelfToolbar::settingsRequested);

    // The application's menus: no menu bar is drawn on this desktop.
    m_menuButton->setObjectName(QStringLiteral("menuButton"));
    m_menuButton->setIcon(
        icon({QStringLiteral("open-menu"), QStringLiteral("application-menu")}, QStringLiteral("menu")));
    m_menuButton->setText(tr("Menu"));
    m_menuButton->setToolTip(tr("Menu"));
    m_menuButton->setToolButtonStyle(Qt::ToolButtonIconOnly);
    m_menuButton->setPopupMode(QToolButton::InstantPopup);
    m_menuButton->setMenu(m_menu);
    m_menuButton->setFocusPolicy(Qt::NoFocus);
    m_menuButton->setAutoRaise(true);
    addWidget(m_menuButton)->setVisible(false);

    if (shelf) {
        connect(shelf, &Shelf::currentChanged, this, &ShelfToolbar::refresh);
        connect(shelf, &Shelf::homeChanged, this, &ShelfToolbar::refresh);
    }
    refresh();
}

void ShelfToolbar::focusSearch()
{
    m_search->setFocus(Qt::ShortcutFocusReason);
    m_search->selectAll();
}

void ShelfToolbar::dropFocus()
{
    // To the window itself: a window with no focus hands it to its first
    // field when it is next activated.
    if (m_search->hasFocus() || window()->focusWidget() == m_search)
        window()->setFocus(Qt::OtherFocusReason);
}

QAction *ShelfToolbar::addButton(const QString &title, const QIcon &icon, const QString &help)
{
    QAction *action = addAction(icon, title);
    action->setToolTip(help);
    addButton(action);
    return action;
}

void ShelfToolbar::addButton(QAction *action)
{
    if (!actions().contains(action))
        addAction(action);
    if (QWidget *button = widgetForAction(action))
        button->setFocusPolicy(Qt::NoFocus);
}

void ShelfToolbar::setMainMenu(const QList<QMenu *> &menus)
{
    m_menu->clear();
    for (QMenu *menu : menus)
        m_menu->addMenu(menu);
    for (QAction *action : actions()) {
        if (widgetForAction(action) == m_menuButton)
            action->setVisible(!menus.isEmpty());
    }
}

void ShelfToolbar::refresh() { m_back->setEnabled(m_shelf && !m_shelf->isHome()); }
