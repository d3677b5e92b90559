#pragma once

#include <QList>
#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

class QFileSystemWatcher;
class QTimer;

// The application a window of which is active, as the desktop knows it.
struct RunningApp
{
    qint64 pid = 0;              // 0 when the window names no process
    std::optional<QString> name; // the desktop entry's (localised) Name
    std::optional<QString> path; // the desktop entry's file
};

// Which application is in front right now. Asked once per new screenshot.
class FrontApp
{
public:
    virtual ~FrontApp() = default;
    // None when the desktop does not say (Wayland, no active window).
    virtual std::optional<RunningApp> frontmost() = 0;
};

// What naming an application needs from one desktop entry.
struct DesktopEntry
{
    QString id;   // "org.gnome.TextEditor", without ".desktop"
    QString name; // localised Name
    QString file;
    QString windowClass;    // StartupWMClass
    QString executableName; // file name of Exec's program
    QString executablePath; // that program resolved on PATH, canonical; empty for launchers
};
using DesktopEntryList = std::shared_ptr<const QList<DesktopEntry>>;

// The installed applications' desktop entries, read on a worker thread at
// start and again (debounced) when an applications folder changes, so that
// naming the front application costs no disk scan on the GUI thread.
class DesktopEntries : public QObject
{
    Q_OBJECT

public:
    // `folders` in priority order: an id found earlier hides later ones.
    explicit DesktopEntries(QStringList folders, QObject *parent = nullptr);
    ~DesktopEntries() override;

    // $XDG_DATA_HOME/applications, then each of $XDG_DATA_DIRS.
    static QStringList defaultFolders();

    // Empty until the first reading is in.
    DesktopEntryList entries() const { return m_entries; }

Q_SIGNALS:
    void loaded();

private:
    void reload();
    void watch(const QStringList &subfolders);

    QStringList m_folders;
    DesktopEntryList m_entries;
    QFileSystemWatcher *m_watcher;
    QTimer *m_debounce;
    QSet<QString> m_parents; // watched only for a missing folder to appear
    quint64 m_generation = 0;
};

// The X11 backend in an X11 session, otherwise one that always answers none.
// Reads the desktop entries once, in the background.
std::unique_ptr<FrontApp> makeFrontApp();

// The desktop entry of a running process: matched by its executable, its
// command name or its window class against `entries`. Name and path stay
// empty when none matches. Reads only the process's own /proc files.
RunningApp describeProcess(const QList<DesktopEntry> &entries, qint64 pid, const QString &windowClass = {});
