#include "ui/shelfcommands.h"

#include "actions/actionrunner.h"
#include "actions/fileactions.h"
#include "actions/folderops.h"
#include "actions/views/pins.h"
#include "actions/views/quicklook.h"
#include "model/shelf.h"

ShelfCommands::ShelfCommands(Shelf *shelf, const Parts &parts, QObject *parent)
    : QObject(parent), m_shelf(shelf), m_launcher(parts.launcher), m_runner(parts.runner), m_quickLook(parts.quickLook),
      m_pins(parts.pins), m_folderPrompt(parts.folderPrompt)
{
    if (!shelf)
        return;
    // An open preview follows the list as soon as the shelf learns of a
    // change: a file deleted from outside is not shown a moment longer.
    const auto follow = [this] {
        if (m_shelf && m_quickLook)
            m_quickLook->follow(m_shelf->visible());
    };
    connect(shelf, &Shelf::itemsChanged, this, follow);
    connect(shelf, &Shelf::queryChanged, this, follow);
    connect(shelf, &Shelf::contentChanged, this, [this](const QList<QUrl> &files) {
        if (m_quickLook)
            m_quickLook->filesChanged(files);
        if (m_pins)
            m_pins->filesChanged(files);
    });
}

QuickLook *ShelfCommands::quickLook() const { return m_quickLook; }

QList<QUrl> ShelfCommands::targets() const { return m_shelf ? m_shelf->selectedURLs() : QList<QUrl>(); }

std::optional<QUrl> ShelfCommands::primary() const
{
    if (!m_shelf)
        return std::nullopt;
    const QList<QUrl> selected = m_shelf->selectedURLs();
    if (!selected.isEmpty())
        return selected.first();
    const QList<QUrl> visible = m_shelf->visible();
    if (!visible.isEmpty())
        return visible.first();
    return std::nullopt;
}

void ShelfCommands::open(const QList<QUrl> &files)
{
    if (m_launcher && !files.isEmpty())
        FileActions::open(files, *m_launcher);
}

void ShelfCommands::trash(const QList<QUrl> &files)
{
    if (!m_runner || files.isEmpty())
        return;
    QPointer<Shelf> shelf = m_shelf;
    m_runner->trash(files, m_shelf ? m_shelf->stamps(files) : FileStamps(), m_shelf,
                    [shelf, asked = files.size()](const FileWorkResult &result) {
                        // The folder watch would notice too; a scan now shows it at once,
                        // and shows the new content of a file that was refused.
                        if (shelf && (result.count > 0 || result.count < asked))
                            shelf->scan();
                    });
}

void ShelfCommands::copyItem(qsizetype index)
{
    if (!m_shelf)
        return;
    const QList<QUrl> visible = m_shelf->visible();
    if (index < 0 || index >= visible.size())
        return;
    FileActions::copyFiles({visible.at(index)});
    m_shelf->select(visible.at(index));
}

void ShelfCommands::pinPrimary()
{
    if (!m_pins)
        return;
    if (const std::optional<QUrl> file = primary())
        m_pins->pin(*file);
}

void ShelfCommands::togglePreview(bool selectWhenNone)
{
    if (!m_shelf)
        return;
    const bool hadTargets = !targets().isEmpty();
    const std::optional<QUrl> file = primary();
    if (m_quickLook)
        m_quickLook->toggle(file, m_shelf->visible(), m_window);
    if (selectWhenNone && !hadTargets && file)
        m_shelf->select(*file);
}

void ShelfCommands::previewCursor()
{
    if (!m_shelf || !m_quickLook || !m_quickLook->isOpen() || m_shelf->cursor().isEmpty())
        return;
    m_quickLook->show(m_shelf->cursor(), m_shelf->visible(), m_window);
}

void ShelfCommands::newFolder()
{
    if (m_shelf && m_folderPrompt)
        FolderOps::newFolder(*m_shelf, *m_folderPrompt);
}
