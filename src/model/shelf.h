#pragma once

#include "model/listing.h"
#include "platform/folderwatch.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QHash>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QThreadPool>
#include <QUrl>

#include <functional>
#include <memory>
#include <vector>

class CaptureLocation;
class FrontApp;
class MetaStore;
class Prefs;
class QTimer;

using FolderCounts = QHash<QUrl, qint64>;

// Direction of one keyboard-cursor step over the grid.
enum class Move { left, right, up, down };

// Asks the user for a folder (the Home folder chooser). The UI shows a
// window-modal dialog and answers later; tests answer at once.
class FolderChooser
{
public:
    virtual ~FolderChooser() = default;
    // `done` receives the chosen folder, or an empty string when cancelled.
    virtual void chooseFolder(const QString &startIn, const QString &confirmText, const QString &message,
                              std::function<void(const QString &)> done) = 0;
};

// The one model object: which folder is Home, which is shown, what it holds,
// what is selected and searched. Lives and changes on the GUI thread only.
class Shelf : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QUrl home READ home NOTIFY homeChanged)
    Q_PROPERTY(QUrl current READ current NOTIFY currentChanged)
    Q_PROPERTY(QList<QUrl> items READ items NOTIFY itemsChanged)
    Q_PROPERTY(QList<QUrl> subfolders READ subfolders NOTIFY subfoldersChanged)
    Q_PROPERTY(FolderCounts folderCounts READ folderCounts NOTIFY folderCountsChanged)
    Q_PROPERTY(QSet<QUrl> selection READ selection WRITE setSelection NOTIFY selectionChanged)
    Q_PROPERTY(QUrl hovered READ hovered WRITE setHovered NOTIFY hoveredChanged)
    Q_PROPERTY(double cellWidth READ cellWidth WRITE setCellWidth NOTIFY cellWidthChanged)
    Q_PROPERTY(QString query READ query WRITE setQuery NOTIFY queryChanged)
    Q_PROPERTY(QUrl cursor READ cursor WRITE setCursor NOTIFY cursorChanged)

public:
    static constexpr qsizetype listLimit = 400;
    static constexpr qint64 countLimit = 100000;
    static constexpr double defaultCellWidth = 300;
    static constexpr double smallestCellWidth = 160;
    static constexpr double largestCellWidth = 560;
    static constexpr qint64 defaultColumns = 4;
    static constexpr qint64 largestColumns = 6;
    static constexpr int rescanDelayMs = 400;
    // However busy the folder, a rescan follows its first unserved event
    // within this long.
    static constexpr int rescanMaxWaitMs = 1000;
    // An image still open for writing is held back until it is closed, or
    // has not been written to for this long.
    static constexpr int writeQuietMs = 3000;
    static constexpr double freshAgeSeconds = 20;

    // Resolves Home, starts watching and starts the first scan.
    // `meta` and `frontApp` may be null (no metadata, no front application).
    Shelf(Prefs &prefs, CaptureLocation &capture, MetaStore *meta = nullptr, FrontApp *frontApp = nullptr,
          QObject *parent = nullptr);
    // Waits for a listing under way; none that has not started does.
    ~Shelf() override;
    // The Home folder a shelf made now starts with.
    static QUrl homeFolder(Prefs &prefs, CaptureLocation &capture);

    // Observable state. Empty QUrl stands for "none" in the optional fields.
    QUrl home() const { return m_home; }
    QUrl current() const { return m_current; }
    QList<QUrl> items() const { return m_items; }
    // What each item was when last listed (modification time, size, inode);
    // a default stamp for a file the shelf does not list.
    FileStamp stamp(const QUrl &url) const { return m_stamps.value(url); }
    // The stamps of those of `files` the shelf lists.
    FileStamps stamps(const QList<QUrl> &files) const;
    QList<QUrl> subfolders() const { return m_subfolders; }
    FolderCounts folderCounts() const { return m_folderCounts; }
    QSet<QUrl> selection() const { return m_selection; }
    QUrl hovered() const { return m_hovered; }
    double cellWidth() const { return m_cellWidth; }
    QString query() const { return m_query; }
    QUrl cursor() const { return m_cursor; }

    // Written by the views.
    void setSelection(const QSet<QUrl> &selection);
    void setHovered(const QUrl &url);
    void setCellWidth(double width); // stored as given, persisted at once
    void setQuery(const QString &query);
    void setCursor(const QUrl &url);
    qint64 columns() const { return m_columns; }
    void setColumns(qint64 columns) { m_columns = columns; }
    QUrl anchor() const { return m_anchor; }
    void setAnchor(const QUrl &url) { m_anchor = url; }
    QSet<QUrl> base() const { return m_base; }

    // Derived values, computed on each read.
    bool isHome() const;
    QList<QUrl> visible() const;
    QList<QUrl> selectedFiles() const;
    // When an item was last changed, as the last scan saw it (invalid when
    // it is not an item).
    QDateTime modified(const QUrl &url) const;
    // The item has recognised text, and recognised since its last change.
    bool hasText(const QUrl &url) const;

    // Folders.
    void scan();
    void openFolder(const QUrl &folder);
    void setHome(const QUrl &folder);
    void chooseHome(FolderChooser &chooser);
    void zoom(double delta);

    // Watching and new screenshots.
    void watch();
    void scheduleScan();
    // Records the front application for the images new since the last scan
    // and returns the newest new screenshot (empty when there is none).
    QUrl noticeNew(const QList<QUrl> &images);
    void remember(const QList<QUrl> &images);
    bool firstScan() const { return m_firstScan; }
    const QSet<QString> &known() const { return m_known; }

    // Selection and keyboard cursor.
    void select(const QUrl &url);
    void toggle(const QUrl &url);
    void extend(const QUrl &url);
    void selectAll();
    void moveCursor(Move direction, bool extendSelection);

    // The folder identity used for `home`, `current`, `subfolders` and the
    // keys of `folderCounts`.
    static QUrl folderKey(const QUrl &folder);

    // The background half of `scan`: plain values, no shelf state touched.
    struct ScanResult
    {
        QList<QUrl> images;
        FileStamps stamps; // of the images
        QList<QUrl> subfolders;
        FolderCounts counts;
    };
    static ScanResult runScan(const QString &current, const QString &home);
    // What the background half runs; runScan unless replaced (tests slow a
    // scan down with it). Called off the GUI thread.
    using Scanner = std::function<ScanResult(const QString &current, const QString &home)>;
    void setScanner(Scanner scanner) { m_scanner = std::move(scanner); }

Q_SIGNALS:
    void homeChanged();
    void currentChanged();
    void itemsChanged();
    // Items still listed under their names whose files changed since the
    // last scan: overwritten in place, or replaced by a rename. Whatever was
    // drawn from them is out of date.
    void contentChanged(const QList<QUrl> &urls);
    void subfoldersChanged();
    void folderCountsChanged();
    void selectionChanged();
    void hoveredChanged();
    void cellWidthChanged();
    void queryChanged();
    void cursorChanged();
    // After each applied scan, once every field above is published.
    void scanApplied();
    // The newest image that appeared since the last scan and was created
    // moments ago: a new screenshot. At most once per applied scan.
    void freshScreenshot(const QUrl &url);

private:
    void applyScan(quint64 serial, ScanResult result);
    // Results of scans started before now no longer fit the shelf's folders.
    void dropRunningScans() { m_staleBefore = m_scansStarted + 1; }
    // An event source on `folder` that schedules a rescan when something that
    // can change the listing happens; none when the folder cannot be watched.
    std::unique_ptr<FolderWatch> makeSource(const QUrl &folder);
    void folderEvents(const QString &folder, const QList<FolderWatch::Event> &events);
    // The other subfolders are watched for their counts alone.
    void watchCounts();
    void countEvents(const QList<FolderWatch::Event> &events);
    void expireQuietWrites();
    void setHomeAndCurrent(const QUrl &home, const QUrl &current);
    void setItems(const QList<QUrl> &items);
    void setSubfolders(const QList<QUrl> &subfolders);
    void setFolderCounts(const FolderCounts &counts);
    static double initialCellWidth(Prefs &prefs);

    Prefs &m_prefs;
    CaptureLocation &m_capture;
    MetaStore *m_meta;
    FrontApp *m_frontApp;

    QUrl m_home;
    QUrl m_current;
    QList<QUrl> m_items;
    FileStamps m_stamps;
    QList<QUrl> m_subfolders;
    FolderCounts m_folderCounts;
    QSet<QUrl> m_selection;
    QUrl m_hovered;
    qint64 m_columns = defaultColumns;
    double m_cellWidth = defaultCellWidth;
    QString m_query;
    QUrl m_anchor;
    std::unique_ptr<FolderWatch> m_homeSource;
    std::unique_ptr<FolderWatch> m_currentSource;
    std::vector<std::unique_ptr<FolderWatch>> m_countSources;
    QList<QUrl> m_countsWatched;
    QTimer *m_pending = nullptr;
    QElapsedTimer m_clock;
    qint64 m_firstUnservedMs = 0;     // on m_clock, while m_pending runs
    QHash<QString, qint64> m_writing; // image path -> last write seen, on m_clock
    QTimer *m_quietCheck = nullptr;
    bool m_scanWhenWatched = false;
    Scanner m_scanner = &Shelf::runScan;
    // Listings, and the folder watches being put in place: stopped before
    // the shelf goes.
    QThreadPool m_scanPool;
    QThreadPool m_watchPool;
    quint64 m_scansStarted = 0;
    quint64 m_staleBefore = 1; // results of scans numbered below this are dropped
    QSet<QString> m_known;
    bool m_firstScan = true;
    QUrl m_cursor;
    QSet<QUrl> m_base;
};
