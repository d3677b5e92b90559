#pragma once

#include <QList>
#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QThreadPool>

#include <memory>
#include <optional>

class QFileSystemWatcher;
class QTimer;

// What the program needs from one desktop entry, read by GIO.
struct DesktopEntryFacts
{
    QString file;
    QString name;        // localised Name
    QString icon;        // a theme icon's name or an absolute file; empty when none
    QString windowClass; // StartupWMClass
    QString executable;  // Exec's program, as written (field codes left alone)
    // Hidden=true: the entry counts as removed. X-GNOME-Autostart-enabled=
    // false: a start-up entry switched off in the desktop's settings.
    bool hidden = false;
    bool autostartEnabled = true;
    // GIO would start it: it has an Exec and its TryExec program is there.
    bool runnable = false;

    bool shows() const { return !hidden && autostartEnabled; }
};

// The entry at an absolute path, or the installed one with that id
// ("org.gnome.TextEditor", with or without ".desktop"). None when there is
// no such file or it is no desktop entry. Reads the disk: never from paint.
std::optional<DesktopEntryFacts> readDesktopEntry(const QString &pathOrId);

// What naming an application needs from one installed desktop entry.
struct DesktopEntry
{
    QString id;   // "org.gnome.TextEditor", without ".desktop"
    QString name; // localised Name
    QString file;
    QString windowClass;    // StartupWMClass
    QString executableName; // file name of Exec's program; empty for launchers (env, sh, ...)
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
    // Reads the folders; stopped (and waited for) with the index.
    QThreadPool m_reads;
};
