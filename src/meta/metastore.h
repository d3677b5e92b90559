#pragma once

#include "meta/utf8text.h"

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QObject>
#include <QString>
#include <QThreadPool>
#include <QUrl>

#include <functional>
#include <memory>
#include <optional>

class QTimer;

// What we know about one screenshot that the file itself does not carry.
struct FileMeta
{
    std::optional<QString> app;      // application in front when it appeared
    std::optional<QString> appPath;  // that application's desktop entry
    std::optional<Utf8Text> text;    // recognised text; "" = ran, found nothing
    std::optional<QDateTime> textAt; // when `text` was written

    bool isIndexed() const { return text.has_value(); }
    // Recognised from the file as it is now: not before `modified`, its last
    // change, since a screenshot saved over an old name must not keep the
    // old image's words. A record without a date, or a file whose time is
    // not known, is taken as it is.
    bool hasTextFor(const QDateTime &modified) const
    {
        return text.has_value() && (!textAt || !modified.isValid() || *textAt >= modified);
    }
    bool operator==(const FileMeta &) const = default;
};

// Per-file records keyed by file name, kept in memory and written to one JSON
// file 1 s after the last change. GUI thread only; reading the file, and the
// encoding and writing of each save, happen on one I/O thread.
//
// Loading. The file is read on the I/O thread, so the shelf shows its names
// at once and the records follow: until `loaded()`, `byName()` holds only the
// changes made since start. Changes and moves made before the load lands are
// replayed over the loaded records when it does (a change counts by the fields
// it altered), and no save is written before that, since it would drop the
// records still on their way. `byNameChanged()` follows the load, so search
// and the views look again.
//
// What is on disk is never thrown away. Only a regular file is read (opened
// non-blocking, so a pipe or a device in its place cannot hang us). A regular
// file that cannot be read or decoded, or is implausibly large, is renamed
// aside ("meta.json.unreadable-<time>") before the first save. Anything else
// in its place (a pipe, a socket, a device, a folder) is not ours to move or
// replace: the store works in memory and its saves are refused for as long as
// that entry is there.
class MetaStore : public QObject
{
    Q_OBJECT

public:
    static constexpr int saveDelayMs = 1000;
    // Far above any real store (100,000 records of recognised text); a bigger
    // file is not ours and is set aside unread.
    static constexpr qint64 maxFileBytes = 512LL * 1024 * 1024;

    // Starts loading `filePath` (missing, unreadable: an empty store).
    explicit MetaStore(const QString &filePath, QObject *parent = nullptr);
    // Waits for a load or a write under way; writes nothing itself (see flush).
    ~MetaStore() override;

    // $XDG_DATA_HOME/Brindlewick/meta.json.
    static QString defaultFilePath();

    bool isLoaded() const { return m_loaded; }

    // The name a file's record is kept under: its name as text. A name that
    // is not UTF-8 has no text of its own (its lossy text is another file's
    // name), so its record is kept under "/" and the name's bytes
    // percent-encoded, "/shot-%FF.png": no file name holds a "/", so no other
    // file's record can be it, and the same bytes always give the same key.
    static QString recordName(const QUrl &file);

    std::optional<FileMeta> meta(const QUrl &file) const;
    std::optional<FileMeta> metaForName(const QString &fileName) const;
    void update(const QUrl &file, const std::function<void(FileMeta &)> &change);
    void updateName(const QString &recordName, const std::function<void(FileMeta &)> &change);
    void moveRecord(const QUrl &from, const QUrl &to);
    void scheduleSave();
    // Starts writing the records as they are now (once loaded). While a write
    // is under way a second one waits for it, so the newest records land last.
    void save();
    bool isSaving() const { return m_writing; }
    // The last word before the program ends: waits at most `timeoutMs` for
    // the load and any write under way, then writes what is unsaved on this
    // thread. False when something is left unwritten.
    [[nodiscard]] bool flush(int timeoutMs = 3000);

    // Every record, the changes made while a write is under way included.
    QHash<QString, FileMeta> byName() const;
    QString filePath() const { return m_filePath; }

    // The JSON form of the records, and back. decode() fails on anything but
    // an object of objects with correctly typed members.
    static QByteArray encode(const QHash<QString, FileMeta> &records);
    static std::optional<QHash<QString, FileMeta>> decode(const QByteArray &json);

Q_SIGNALS:
    void byNameChanged();
    void loaded();
    // A write finished (whether or not it reached the disk).
    void saveFinished(bool written);

private:
    enum class OnDisk { missing, records, unreadable, notAFile };
    struct LoadResult
    {
        OnDisk state = OnDisk::missing;
        QHash<QString, FileMeta> records;
    };
    struct WriteResult
    {
        bool written = false;
        bool setAside = false;
    };
    // A change made before the load landed, to be replayed over it.
    struct Early
    {
        QString name;
        QString to;       // a move when set
        FileMeta altered; // the fields the change set
        unsigned fields = 0;
    };

    static LoadResult readFile(const QString &filePath);
    static WriteResult writeSnapshot(QHash<QString, FileMeta> records, const QString &filePath, bool setAsideFirst);
    // `work` runs on the I/O thread, `finish` on ours after it unless the
    // store is gone.
    template <typename Work>
    void runOnIoThread(Work work, void (MetaStore::*finish)());
    void finishLoad();
    void finishWrite();
    void changed();
    // Sets (or, with nullopt, removes) one record.
    void put(const QString &name, const std::optional<FileMeta> &record);
    void takeInChangesMadeWhileWriting();

    QString m_filePath;
    QHash<QString, FileMeta> m_byName;
    // While a write holds a snapshot shared with m_byName, a change there
    // would copy every record on this thread (14 ms for 100,000): changes
    // wait here instead, read before m_byName, and go in once the writer is
    // done (nullopt: removed).
    QHash<QString, std::optional<FileMeta>> m_whileWriting;
    QTimer *m_saveWork = nullptr;
    bool m_loaded = false;
    QList<Early> m_early;
    bool m_saveWhenLoaded = false;
    // Changed since the last snapshot went to the writer.
    bool m_unsaved = false;
    // The file on disk could not be read; it is moved aside before the first save.
    bool m_setAsideBeforeSave = false;
    bool m_writing = false;
    bool m_writeAgain = false;
    // Filled on the I/O thread, taken on ours.
    std::shared_ptr<std::optional<LoadResult>> m_loadResult;
    std::shared_ptr<std::optional<WriteResult>> m_writeResult;
    // Reads and writes this store's file, one job at a time, in order.
    QThreadPool m_io;
};
