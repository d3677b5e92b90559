#include "model/shelf.h"

#include "platform/folderwatch.h"

// Placeholder until folder watching lands: no sources, first-scan bookkeeping only.
void Shelf::watch() {}

void Shelf::scheduleScan() {}

void Shelf::noticeNew(const QList<QUrl> &images) { remember(images); }

void Shelf::remember(const QList<QUrl> &images)
{
    m_known.clear();
    for (const QUrl &url : images)
        m_known.insert(url.toLocalFile());
    m_firstScan = false;
}

std::unique_ptr<FolderWatch> FolderWatch::open(const QString &, std::function<void()>) { return {}; }
