#pragma once

#include <QPointer>
#include <QWidget>

class MetaStore;
class QLabel;
class QMenu;
class QPushButton;
class QSlider;
class QSplitter;
class QStackedWidget;
class Shelf;
class FileCommands;
class QTimer;
class ShelfGrid;
class ShelfToolbar;
class Thumbs;

// The whole content of the shelf window: the folder column's place on the
// leading side, and the screenshot grid (or what to do when it is empty)
// above a status bar with the counts and the thumbnail size.
class AutoTidy;
class QProgressBar;
class TextIndexer;

class ShelfView : public QWidget
{
    Q_OBJECT

public:
    // `meta` and `thumbs` may be null (no badges or search text, no images).
    // The toolbar's file buttons are the commands' actions, and what the
    // commands could not do is shown in the status bar.
    ShelfView(Shelf *shelf, MetaStore *meta, Thumbs *thumbs, FileCommands &commands, QWidget *parent = nullptr);

    ShelfGrid *grid() const { return m_grid; }
    ShelfToolbar *toolbar() const { return m_toolbar; }
    // The application's menus, drawn from the toolbar's menu button.
    void setMainMenu(const QList<QMenu *> &menus);
    // The folder column goes here, leading the grid.
    void setSidebar(QWidget *sidebar);

    // "3 of 12 screenshots, 1 selected".
    static QString statusText(qsizetype visible, qsizetype items, bool searching, qsizetype selected);
    // Shows `message` in place of the counts for reportMs, or until the next
    // report (an empty one ends it at once).
    void showReport(const QString &message);
    static constexpr int reportMs = 6000;
    // The status bar's text as shown.
    QLabel *statusLabel() const { return m_status; }

    // The status bar follows recognition's progress and offers the tidy's
    // candidates. Either may be null (nothing shown).
    void setIndexer(TextIndexer *indexer);
    void setTidy(AutoTidy *tidy);

Q_SIGNALS:
    // The empty search asks for text recognition of these files.
    void recogniseRequested(const QList<QUrl> &files);

private:
    void refresh();
    void refreshTitle();
    void refreshProgress();
    void refreshTidy();

    QPointer<Shelf> m_shelf;
    QPointer<MetaStore> m_meta;
    ShelfToolbar *m_toolbar;
    QSplitter *m_split;
    QStackedWidget *m_stack;
    ShelfGrid *m_grid;
    QLabel *m_emptyIcon;
    QLabel *m_emptyText;
    QLabel *m_emptyHint;
    QPushButton *m_recognise;
    QLabel *m_status;
    QString m_report;
    QTimer *m_reportTimer;
    QProgressBar *m_progress;
    QLabel *m_progressText;
    QLabel *m_tidyText;
    QPushButton *m_tidyButton;
    QSlider *m_size;
    QPointer<TextIndexer> m_indexer;
    QPointer<AutoTidy> m_tidy;
};
