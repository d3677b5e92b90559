#include "meta/metastore.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>
#include <QTimer>
#include <QCoreApplication>
#include <QPointer>
#include <QThreadPool>
#include <QtConcurrent>

namespace {

QString fileNameOf(const QUrl &url) { return url.fileName(); }

} // namespace

MetaStore::MetaStore(const QString &filePath, QObject *parent)
    : QObject(parent), m_filePath(filePath), m_saveWork(new QTimer(this))
{
    m_saveWork->setSingleShot(true);
    m_saveWork->setInterval(saveDelayMs);
    connect(m_saveWork, &QTimer::timeout, this, &MetaStore::save);
    QDir().mkpath(QFileInfo(filePath).absolutePath());
    load();
}

MetaStore::~MetaStore() = default;

QString MetaStore::defaultFilePath()
{
    // GenericDataLocation honours XDG_DATA_HOME.
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation)
           + QStringLiteral("/Brindlewick/meta.json");
}

MetaStore &MetaStore::shared()
{
    static MetaStore *instance = new MetaStore(defaultFilePath());
    return *instance;
}

void MetaStore::load()
{
    QFile file(m_filePath);
    if (!file.exists())
        return;
    if (!file.open(QIODevice::ReadOnly)) {
        m_setAsideBeforeSave = true;
        return;
    }
    auto decoded = decode(file.readAll());
    if (!decoded) {
        m_setAsideBeforeSave = true;
        return;
    }
    m_byName = std::move(*decoded);
}

std::optional<FileMeta> MetaStore::meta(const QUrl &file) const { return metaForName(fileNameOf(file)); }

std::optional<FileMeta> MetaStore::metaForName(const QString &fileName) const
{
    const auto it = m_byName.constFind(fileName);
    if (it == m_byName.cend())
        return std::nullopt;
    return *it;
}

void MetaStore::update(const QUrl &file, const std::function<void(FileMeta &)> &change)
{
    const QString name = fileNameOf(file);
    FileMeta record = m_byName.value(name);
    change(record);
    m_byName.insert(name, record);
    Q_EMIT byNameChanged();
    scheduleSave();
}

void MetaStore::moveRecord(const QUrl &from, const QUrl &to)
{
    const auto it = m_byName.find(fileNameOf(from));
    if (it == m_byName.end())
        return;
    FileMeta record = *it;
    m_byName.erase(it);
    m_byName.insert(fileNameOf(to), record);
    Q_EMIT byNameChanged();
    scheduleSave();
}

void MetaStore::scheduleSave() { m_saveWork->start(); }

namespace {

// One worker for every store: writes never overlap, and the GUI thread never
// waits for a large encode.
QThreadPool &writerPool()
{
    static QThreadPool *pool = [] {
        auto *p = new QThreadPool;
        p->setMaxThreadCount(1);
        p->setExpiryTimeout(-1);
        return p;
    }();
    return *pool;
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

void MetaStore::save()
{
    m_saveWork->stop();
    if (m_writing) {
        m_writeAgain = true;
        return;
    }
    m_writing = true;
    // Implicitly shared: the copy is cheap. A change made while the writer
    // still holds it detaches, copying the records once.
    QHash<QString, FileMeta> snapshot = m_byName;
    const QString path = m_filePath;
    const bool setAsideFirst = m_setAsideBeforeSave;
    QPointer<MetaStore> self(this);
    (void)QtConcurrent::run(&writerPool(), [self, snapshot = std::move(snapshot), path, setAsideFirst]() mutable {
        const WriteResult result = writeSnapshot(std::move(snapshot), path, setAsideFirst);
        QCoreApplication *app = QCoreApplication::instance();
        if (!app)
            return; // the program is ending
        QMetaObject::invokeMethod(
            app,
            [self, result] {
                if (self)
                    self->onWriteFinished(result);
            },
            Qt::QueuedConnection);
    });
}

void MetaStore::onWriteFinished(WriteResult result)
{
    m_writing = false;
    if (result.setAside)
        m_setAsideBeforeSave = false;
    Q_EMIT saveFinished(result.written);
    if (m_writeAgain) {
        m_writeAgain = false;
        save();
    }
}

MetaStore::WriteResult MetaStore::writeSnapshot(QHash<QString, FileMeta> records, const QString &filePath,
                                                bool setAsideFirst)
{
    WriteResult result;
    const QByteArray bytes = encode(records);
    records = {}; // let go before the slow part: changes from now on copy nothing
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
    if (out.write(bytes) != bytes.size())
        return result; // QSaveFile discards the partial file
    result.written = out.commit();
    return result;
}
