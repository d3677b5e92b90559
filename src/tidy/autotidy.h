#pragma once

#include <QDateTime>
#include <QList>
#include <QObject>
#include <QThreadPool>
#include <QUrl>

#include <functional>

class MetaStore;
class Prefs;
class QTimer;
class Shelf;
class Trash;

// Keeps Home in order: images in Home (not its subfolders) whose content was
// last modified more than `days` days ago are the candidates; acting on them
// moves them into Home's "Archive" folder, or to the Trash. When enabled it
// acts by itself 15 s after launch and every six hours; when not, those
// ticks only keep `candidates` current for the interface to offer.
//
// Home may hold 100,000 images, so the listing runs on a worker thread and
// `candidates` changes when it comes back; a listing of a Home that is no
// longer the one last asked about is dropped. Destroying the tidy waits for a
// listing under way.
class AutoTidy : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool enabled READ enabled WRITE setEnabled NOTIFY enabledChanged)
    Q_PROPERTY(int days READ days WRITE setDays NOTIFY daysChanged)
    Q_PROPERTY(bool toTrash READ toTrash WRITE setToTrash NOTIFY toTrashChanged)
    Q_PROPERTY(QList<QUrl> candidates READ candidates NOTIFY candidatesChanged)

public:
    static constexpr int defaultDays = 30;
    static constexpr int firstTickMs = 15 * 1000;
    static constexpr int tickIntervalMs = 21600 * 1000;
    static constexpr qsizetype listLimit = 100000;
    static inline const QString archiveFolderName = QStringLiteral("Archive");

    using Clock = std::function<QDateTime()>;

    // Reads the three settings once from `prefs`. `meta` may be null.
    AutoTidy(Prefs &prefs, MetaStore *meta, Trash &trash, Clock now = {}, QObject *parent = nullptr);
    ~AutoTidy() override;

    bool enabled() const { return m_enabled; }
    int days() const { return m_days; }
    bool toTrash() const { return m_toTrash; }
    QList<QUrl> candidates() const { return m_candidates; }

    // Each writes its preference at once. None recomputes `candidates`: the
    // new value applies from the next refresh.
    void setEnabled(bool enabled);
    void setDays(int days);
    void setToTrash(bool toTrash);

    // Starts (or restarts) the six-hour timer and the first tick 15 s later.
    // Ticks stop once the shelf is gone.
    void start(Shelf &shelf);
    // The same with any source of Home and any delays (tests).
    void start(std::function<QUrl()> home, QObject *guard, int firstTickDelayMs, int intervalMs);

    // Both return at once; `checked` follows when the listing is in (after
    // the candidates were acted on, for runNow).
    void refresh(const QUrl &home);
    void runNow(const QUrl &home);
    // A refresh or runNow is under way (listing, or acting on what it found).
    bool checking() const { return m_checksRunning > 0; }
    // The ticks still come (the shelf they were started for is there).
    bool ticking() const;

    // The files of `images` (modification times read again) that are due
    // with `days` at `now`. A file dated after `now` never is, whatever
    // `days` holds.
    static QList<QUrl> dueAmong(const QList<QUrl> &images, qint64 days, const QDateTime &now);

    static QUrl archiveFolder(const QUrl &home);

Q_SIGNALS:
    void enabledChanged();
    void daysChanged();
    void toTrashChanged();
    void candidatesChanged();
    void checked();
    void checkingChanged();

private:
    void setCandidates(const QList<QUrl> &candidates);
    void check(const QUrl &home, bool act);
    void finishCheck(quint64 request, const QUrl &home, const QList<QUrl> &due, bool act);
    void setChecksRunning(int running);

    Prefs &m_prefs;
    MetaStore *m_meta;
    Trash &m_trash;
    Clock m_now;
    bool m_enabled = false;
    int m_days = defaultDays;
    bool m_toTrash = false;
    QList<QUrl> m_candidates;
    QTimer *m_timer = nullptr;
    quint64 m_lastRequest = 0;
    quint64 m_lastApplied = 0;
    QUrl m_lastHome;
    int m_checksRunning = 0;
    // Lists Home; stopped before we go.
    QThreadPool m_listing;
};
