#pragma once

#include <QDateTime>
#include <QHash>
#include <QObject>
#include <QString>
#include <QUrl>

#include <functional>
#include <optional>

class QTimer;

// What we know about one screenshot that the file itself does not carry.
struct FileMeta
{
    std::optional<QString> app;      // application in front when it appeared
    std::optional<QString> appPath;  // that application's desktop entry
    std::optional<QString> text;     // recognised text; "" = ran, found nothing
    std::optional<QDateTime> textAt; // when `text` was written

    bool isIndexed() const { return text.has_value(); }
    bool operator==(const FileMeta &) const = default;
};

// Per-file records keyed by file name, kept in memory and written to one JSON
// file 1 s after the last change. GUI thread only; the encoding and writing of
// a save happen on a worker thread from a snapshot, one write at a time.
class MetaStore : public QObject
{
    Q_OBJECT

public:
    static constexpr int saveDelayMs = 1000;

    // Loads `filePath` (a missing or unreadable file gives an empty store).
    explicit MetaStore(const QString &filePath, QObject *parent = nullptr);
    ~MetaStore() override;

    // $XDG_DATA_HOME/Brindlewick/meta.json, loaded on first use.
    static MetaStore &shared();
    static QString defaultFilePath();

    std::optional<FileMeta> meta(const QUrl &file) const;
    std::optional<FileMeta> metaForName(const QString &fileName) const;
    void update(const QUrl &file, const std::function<void(FileMeta &)> &change);
    void moveRecord(const QUrl &from, const QUrl &to);
    void scheduleSave();
    // Starts writing the records as they are now. While a write is under way
    // a second one waits for it, so the newest records always land last.
    void save();
    bool isSaving() const { return m_writing; }

    const QHash<QString, FileMeta> &byName() const { return m_byName; }
    QString filePath() const { return m_filePath; }

    // The JSON form of the records, and back. decode() fails on anything but
    // an object of objects with correctly typed members.
    static QByteArray encode(const QHash<QString, FileMeta> &records);
    static std::optional<QHash<QString, FileMeta>> decode(const QByteArray &json);

Q_SIGNALS:
    void byNameChanged();
    // A write finished (whether or not it reached the disk).
    void saveFinished(bool written);

private:
    struct WriteResult
    {
        bool written = false;
        bool setAside = false;
    };
    static WriteResult writeSnapshot(QHash<QString, FileMeta> records, const QString &filePath,
                                     bool setAsideFirst);
    void load();
    void onWriteFinished(WriteResult result);

    QString m_filePath;
    QHash<QString, FileMeta> m_byName;
    QTimer *m_saveWork = nullptr;
    // The file on disk could not be read; it is moved aside before the first save.
    bool m_setAsideBeforeSave = false;
    bool m_writing = false;
    bool m_writeAgain = false;
};
