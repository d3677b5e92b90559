#pragma once

#include <QPointer>
#include <QWidget>

class QLabel;
#include "model/shelf.h"

// What the shelf window shows until the thumbnail grid takes its place: the
// folder on show, where it is, and how much it holds.
class ShelfPlaceholder : public QWidget
{
    Q_OBJECT

public:
    explicit ShelfPlaceholder(Shelf *shelf, QWidget *parent = nullptr);

private:
    void refresh();

    QPointer<Shelf> m_shelf;
    QLabel *m_name;
    QLabel *m_path;
    QLabel *m_counts;
    QLabel *m_hint;
};
