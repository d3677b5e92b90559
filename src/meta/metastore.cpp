#include "meta/metastore.h"

#include "files/async.h"
#include "files/localpaths.h"
#include "files/logcategories.h"
#include "meta/metaformat.h"
#include "platform/threadpriority.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>
#include <QTimer>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

QString fileNameOf(const QUrl &url) { return MetaStore::recordName(url); }

constexpr unsigned appField = 1, appPathField = 2, textField = 4, textAtField = 8;

unsigned alteredFields(const FileMeta &before, const FileMeta &after)
{
    return (before.app != after.app ? appField : 0) | (before.appPath != after.appPath ? appPathField : 0)
           | (before.text != after.text ? textField : 0) | (before.textAt != after.textAt ? textAtField : 0);
}

void applyFields(FileMeta &record, const FileMeta &from, unsigned fields)
{
    if (fields & appField)
        record.app = from.app;
    if (fields & appPathField)
        record.appPath = from.appPath;
    if (fields & textField)
        record.text = from.text;
    if (fields & textAtField)
        record.textAt = from.textAt;
}

bool isRegularOrAbsent(const QString &path)
{
    struct stat st;
    if (::stat(QFile::encodeName(path).constData(), &st) == 0)
        return S_ISREG(st.st_mode);
    return errno == ENOENT;
}

QString setAsideName(const QString &filePath)
{
    const QString stamp = QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd'T'HHmmss'Z'"));
    QString name = filePath + QStringLiteral(".unreadable-") + stamp;
    for (int n = 2; QFileInfo::exists(name) || QFileInfo(name).isSymLink(); ++n)
        name = filePath + QStringLiteral(".unreadable-") + stamp + QLatin1Char('-') + QString::number(n);
    return name;
}

} // namespace

MetaStore::MetaStore(const QString &filePath, QObject *parent)
    : QObject(parent), m_filePath(filePath), m_saveWork(new QTimer(this)),
      m_loadResult(std::make_shared<std::optional<LoadResult>>())
{
    m_saveWork->setSingleShot(true);
    m_saveWork->setInterval(saveDelayMs);
    connect(m_saveWork, &QTimer::timeout, this, &MetaStore::save);
    // One thread: the load and the writes never overlap, and the GUI thread
    // never waits for a large file.
    m_io.setObjectName(QStringLiteral("brindlewick.meta"));
    m_io.setMaxThreadCount(1);
    m_io.setExpiryTimeout(-1);
    runOnIoThread(
        [slot = m_loadResult, filePath] {
            QDir().mkpath(QFileInfo(filePath).absolutePath());
            *slot = readFile(filePath);
        },
        &MetaStore::finishLoad);
}

MetaStore::~MetaStore()
{
    // A write under way is finished, never cut off halfway; what was not
    // handed to it is for flush() to write before this.
    m_io.waitForDone();
}

template <typename Work>
void MetaStore::runOnIoThread(Work work, void (MetaStore::*finish)())
{
    // The result is taken from its slot, not handed over: flush() takes it
    // too, without the event loop.
    Async::run(
        m_io, this,
        [work = std::move(work)]() mutable {
            standBack(Background::utility);
            work();
        },
        [this, finish] { (this->*finish)(); });
}

QString MetaStore::defaultFilePath()
{
    // GenericDataLocation honours XDG_DATA_HOME.
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation)
           + QStringLiteral("/Brindlewick/meta.json");
}

MetaStore::LoadResult MetaStore::readFile(const QString &filePath)
{
    LoadResult result;
    const QByteArray path = QFile::encodeName(filePath);
    // Non-blocking: opening a pipe for reading would otherwise wait for a writer.
    const int fd = ::open(path.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    struct stat st;
    if (fd < 0) {
        if (::stat(path.constData(), &st) != 0)
            result.state = errno == ENOENT ? OnDisk::missing : OnDisk::notAFile;
        else
            result.state = S_ISREG(st.st_mode) ? OnDisk::unreadable : OnDisk::notAFile;
        return result;
    }
    result.state = OnDisk::unreadable;
    QByteArray bytes;
    if (::fstat(fd, &st) != 0) {
        ::close(fd);
        return result;
    }
    if (!S_ISREG(st.st_mode)) {
        ::close(fd);
        result.state = OnDisk::notAFile;
        return result;
    }
    bool ok = st.st_size <= maxFileBytes;
    if (ok) {
        // Room for the JSON parser to read a little past the end, so it needs no copy.
        bytes.reserve(qsizetype(st.st_size) + 1 + 64);
        bytes.resize(qsizetype(st.st_size) + 1);
        qsizetype filled = 0;
        while (true) {
            if (filled == bytes.size()) {
                if (bytes.size() > maxFileBytes) {
                    ok = false;
                    break;
                }
                bytes.resize(bytes.size() * 2); // it grew as we read
            }
            const ssize_t n = ::read(fd, bytes.data() + filled, size_t(bytes.size() - filled));
            if (n < 0 && errno == EINTR)
                continue;
            if (n < 0) {
                ok = false;
                break;
            }
            if (n == 0)
                break;
            filled += n;
        }
        bytes.truncate(filled);
    }
    ::close(fd);
    if (!ok)
        return result;
    if (auto decoded = decode(bytes)) {
        result.state = OnDisk::records;
        result.records = std::move(*decoded);
    }
    return result;
}

void MetaStore::finishLoad()
{
    if (m_loaded || !*m_loadResult)
        return;
    LoadResult result = std::move(**m_loadResult);
    m_loadResult->reset();
    m_loaded = true;
    m_setAsideBeforeSave = result.state == OnDisk::unreadable;
    qCInfo(lcMeta).nospace() << m_filePath
                             << (m_setAsideBeforeSave ? " cannot be read: set aside at the next save" : " read");

    // What was done before the load lands on top of it, in order.
    QHash<QString, FileMeta> records = std::move(result.records);
    bool replayed = false;
    for (const Early &early : std::as_const(m_early)) {
        if (!early.to.isNull()) {
            const auto it = records.find(early.name);
            if (it == records.end())
                continue;
            const FileMeta record = *it;
            records.erase(it);
            records.insert(early.to, record);
        } else {
            FileMeta &record = records[early.name];
            applyFields(record, early.altered, early.fields);
        }
        replayed = true;
    }
    m_early.clear();
    m_byName = std::move(records);
    if (replayed)
        m_unsaved = true;
    Q_EMIT byNameChanged();
    Q_EMIT loaded();
    if (m_saveWhenLoaded) {
        m_saveWhenLoaded = false;
        if (m_unsaved)
            save();
    }
}

QString MetaStore::recordName(const QUrl &file)
{
    const QString path = LocalPaths::localPath(file);
    if (!LocalPaths::hasRawBytes(path))
        return file.fileName();
    const QString name = path.mid(path.lastIndexOf(QLatin1Char('/')) + 1);
    return QLatin1Char('/') + QString::fromLatin1(LocalPaths::pathBytes(name).toPercentEncoding());
}

std::optional<FileMeta> MetaStore::meta(const QUrl &file) const { return metaForName(fileNameOf(file)); }

std::optional<FileMeta> MetaStore::metaForName(const QString &fileName) const
{
    if (const auto changed = m_whileWriting.constFind(fileName); changed != m_whileWriting.cend())
        return *changed;
    const auto it = m_byName.constFind(fileName);
    if (it == m_byName.cend())
        return std::nullopt;
    return *it;
}

void MetaStore::update(const QUrl &file, const std::function<void(FileMeta &)> &change)
{
    updateName(fileNameOf(file), change);
}

void MetaStore::updateName(const QString &name, const std::function<void(FileMeta &)> &change)
{
    const FileMeta before = metaForName(name).value_or(FileMeta());
    FileMeta record = before;
    change(record);
    put(name, record);
    if (!m_loaded)
        m_early.append({name, QString(), record, alteredFields(before, record)});
    changed();
}

void MetaStore::moveRecord(const QUrl &from, const QUrl &to)
{
    if (!m_loaded) {
        // The record may be in the file still on its way.
        m_early.append({fileNameOf(from), fileNameOf(to), {}, 0});
        scheduleSave();
    }
    const std::optional<FileMeta> record = metaForName(fileNameOf(from));
    if (!record)
        return;
    put(fileNameOf(from), std::nullopt);
    put(fileNameOf(to), record);
    changed();
}

void MetaStore::put(const QString &name, const std::optional<FileMeta> &record)
{
    if (m_writing)
        m_whileWriting.insert(name, record);
    else if (record)
        m_byName.insert(name, *record);
    else
        m_byName.remove(name);
}

void MetaStore::takeInChangesMadeWhileWriting()
{
    // The writer has let go of its snapshot: nothing is copied.
    for (auto it = m_whileWriting.cbegin(); it != m_whileWriting.cend(); ++it) {
        if (it.value())
            m_byName.insert(it.key(), *it.value());
        else
            m_byName.remove(it.key());
    }
    m_whileWriting.clear();
}

QHash<QString, FileMeta> MetaStore::byName() const
{
    QHash<QString, FileMeta> records = m_byName;
    for (auto it = m_whileWriting.cbegin(); it != m_whileWriting.cend(); ++it) {
        if (it.value())
            records.insert(it.key(), *it.value());
        else
            records.remove(it.key());
    }
    return records;
}

void MetaStore::changed()
{
    m_unsaved = true;
    Q_EMIT byNameChanged();
    scheduleSave();
}

void MetaStore::scheduleSave() { m_saveWork->start(); }

void MetaStore::save()
{
    m_saveWork->stop();
    if (!m_loaded) {
        m_saveWhenLoaded = true;
        return;
    }
    if (m_writing) {
        m_writeAgain = true;
        return;
    }
    m_writing = true;
    m_unsaved = false;
    // Implicitly shared: the copy is cheap. Changes made while the writer
    // holds it wait beside the records (see put()).
    QHash<QString, FileMeta> snapshot = m_byName;
    m_writeResult = std::make_shared<std::optional<WriteResult>>();
    runOnIoThread(
        [slot = m_writeResult, snapshot = std::move(snapshot), path = m_filePath,
         setAsideFirst = m_setAsideBeforeSave]() mutable {
            *slot = writeSnapshot(std::move(snapshot), path, setAsideFirst);
        },
        &MetaStore::finishWrite);
}

void MetaStore::finishWrite()
{
    if (!m_writing || !m_writeResult || !*m_writeResult)
        return;
    const WriteResult result = **m_writeResult;
    m_writeResult.reset();
    m_writing = false;
    takeInChangesMadeWhileWriting();
    if (result.setAside)
        m_setAsideBeforeSave = false;
    qCDebug(lcMeta) << (result.written ? "wrote" : "could not write") << m_filePath
                    << (result.setAside ? "(the old one set aside)" : "");
    if (!result.written)
        m_unsaved = true; // the next change, or the flush at quit, tries again
    Q_EMIT saveFinished(result.written);
    if (m_writeAgain) {
        m_writeAgain = false;
        save();
    }
}

bool MetaStore::flush(int timeoutMs)
{
    m_saveWork->stop();
    if (!m_io.waitForDone(timeoutMs))
        return false; // a load or a write is stuck: writing now could drop records
    // Take in what the I/O thread finished, without starting anything new there.
    m_saveWhenLoaded = false;
    m_writeAgain = false;
    finishLoad();
    finishWrite();
    if (!m_loaded)
        return false;
    if (!m_unsaved)
        return true;
    const WriteResult result = writeSnapshot(m_byName, m_filePath, m_setAsideBeforeSave);
    if (result.setAside)
        m_setAsideBeforeSave = false;
    m_unsaved = !result.written;
    Q_EMIT saveFinished(result.written);
    return result.written;
}

MetaStore::WriteResult MetaStore::writeSnapshot(QHash<QString, FileMeta> records, const QString &filePath,
                                                bool setAsideFirst)
{
    WriteResult result;
    // A pipe, a device or a folder in the file's place is not ours to replace.
    if (!isRegularOrAbsent(filePath))
        return result;
    if (setAsideFirst) {
        // Keep whatever we could not read; never write over it.
        const QFileInfo existing(filePath);
        if (existing.exists() || existing.isSymLink()) {
            if (!QFile::rename(filePath, setAsideName(filePath)))
                return result;
        }
        result.setAside = true;
    }
    QSaveFile out(filePath);
    if (!out.open(QIODevice::WriteOnly))
        return result;
    // Before the first byte goes in: recognised text can be private.
    out.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    // Each piece is handed to the disk as soon as it is written, so most of
    // the file is there by the time commit() waits for all of it (a large
    // store takes longer to encode than to write out).
    const int fd = out.handle();
    off_t offset = 0;
    const bool encoded = encodeMetaJson(records, 4 << 20, [&](QByteArrayView piece) {
        if (out.write(piece.data(), piece.size()) != piece.size() || !out.flush())
            return false;
        (void)::sync_file_range(fd, offset, off_t(piece.size()), SYNC_FILE_RANGE_WRITE);
        offset += off_t(piece.size());
        return true;
    });
    records = {}; // let go before the wait for the disk: changes from now on copy nothing
    if (!encoded)
        return result;             // QSaveFile discards the partial file
    result.written = out.commit(); // flushes the file to disk, then renames it into place
    return result;
}
