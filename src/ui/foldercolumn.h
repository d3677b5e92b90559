#pragma once

#include <QAbstractScrollArea>
#include <QPointer>
#include <QUrl>

class FileCommands;
class Shelf;

// The folder column beside the grid: Home, then Home's subfolders, each
// with its image count. Choosing a row shows that folder; files dropped on
// a row move into it; a row's menu reveals, renames or trashes the folder.
// The rows are painted, not widgets, so a Home with hundreds of subfolders
// costs nothing but a longer list.
class FolderColumn : public QAbstractScrollArea
{
    Q_OBJECT

public:
    static constexpr int minimumColumnWidth = 190;
    static constexpr int idealColumnWidth = 230;
    static constexpr int maximumColumnWidth = 320;

    // The rows' menus and drops act through the shelf's file commands.
    FolderColumn(Shelf *shelf, FileCommands &commands, QWidget *parent = nullptr);

    // One laid-out line of the column, in viewport coordinates (unscrolled).
    struct Row
    {
        enum Kind { headerRow, homeRow, folderRow, hintRow } kind = headerRow;
        QUrl folder;   // home and folder rows
        QString title; // header and hint text, or the full folder name
        qint64 count = 0;
        QRect rect;
    };
    const QList<Row> &rows() const { return m_rows; }
    // The home or folder row under a viewport point, or none.
    const Row *rowAt(const QPoint &viewportPos) const;
    // The row a drag is hovering over (empty when none).
    QUrl targeted() const { return m_targeted; }
    Shelf *shelf() const;
    // The listed folder of the row on show (the keyboard's row), or none.
    QUrl currentRow() const;

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dragLeaveEvent(QDragLeaveEvent *event) override;
    void dropEvent(QDropEvent *event) override;
    bool viewportEvent(QEvent *event) override;
    void changeEvent(QEvent *event) override;
    void scrollContentsBy(int dx, int dy) override;
    // Up and Down (Home, End) show the folder of the row above or below.
    void keyPressEvent(QKeyEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;

private:
    void relayout();
    void setTargeted(const QUrl &folder);
    QPixmap rowIcon(bool isHome, bool selected) const;
    QFont captionFont() const;

    QPointer<Shelf> m_shelf;
    QPointer<FileCommands> m_commands;
    QList<Row> m_rows;
    int m_contentHeight = 0;
    QUrl m_targeted;
};
