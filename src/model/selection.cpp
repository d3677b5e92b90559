#include "model/shelf.h"

// Placeholders until selection lands.
QList<QUrl> Shelf::visible() const { return m_items; }
QList<QUrl> Shelf::selectedURLs() const { return {}; }
void Shelf::select(const QUrl &) {}
void Shelf::toggle(const QUrl &) {}
void Shelf::extend(const QUrl &) {}
void Shelf::selectAll() {}
void Shelf::moveCursor(Move, bool) {}
