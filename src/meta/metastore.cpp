#include "meta/metastore.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <QStandardPaths>
#include <QTimeZone>
#include <QTimer>

namespace {

// Times are stored as seconds since 2001-01-01 00:00:00 UTC.
const QDateTime &referenceDate()
{
    static const QDateTime date(QDate(2001, 1, 1), QTime(0, 0), Qt::UTC);
    return date;
}

double toReferenceSeconds(const QDateTime &t)
{
    return double(referenceDate().msecsTo(t)) / 1000.0;
}

QDateTime fromReferenceSeconds(double seconds)
{
    return referenceDate().addMSecs(qint64(std::llround(seconds * 1000.0)));
}

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

void MetaStore::save()
{
    const QByteArray bytes = encode(m_byName);
    if (m_setAsideBeforeSave) {
        // Keep whatever we could not read; never write over it.
        const QString aside = m_filePath + QStringLiteral(".unreadable-")
                              + QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd'T'HHmmss'Z'"));
        if (QFile::exists(m_filePath) && !QFile::rename(m_filePath, aside))
            return;
        m_setAsideBeforeSave = false;
    }
    QSaveFile out(m_filePath);
    if (!out.open(QIODevice::WriteOnly))
        return;
    out.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    if (out.write(bytes) != bytes.size())
        return; // QSaveFile discards the partial file
    out.commit();
}

QByteArray MetaStore::encode(const QHash<QString, FileMeta> &records)
{
    QJsonObject root;
    for (auto it = records.cbegin(); it != records.cend(); ++it) {
        QJsonObject record;
        const FileMeta &m = it.value();
        if (m.app)
            record.insert(QLatin1String("app"), *m.app);
        if (m.appPath)
            record.insert(QLatin1String("appPath"), *m.appPath);
        if (m.text)
            record.insert(QLatin1String("text"), *m.text);
        if (m.textAt)
            record.insert(QLatin1String("textAt"), toReferenceSeconds(*m.textAt));
        root.insert(it.key(), record);
    }
    return QJsonDocument(root).toJson(QJsonDocument::Compact);
}

std::optional<QHash<QString, FileMeta>> MetaStore::decode(const QByteArray &json)
{
    QJsonParseError error;
    const QJsonDocument doc = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError || !doc.isObject())
        return std::nullopt;
    const QJsonObject root = doc.object();
    QHash<QString, FileMeta> records;
    records.reserve(root.size());
    for (auto it = root.constBegin(); it != root.constEnd(); ++it) {
        if (!it->isObject())
            return std::nullopt;
        const QJsonObject obj = it->toObject();
        FileMeta m;
        const auto readText = [&](QLatin1String key, std::optional<QString> &field) {
            const QJsonValue v = obj.value(key);
            if (v.isUndefined() || v.isNull())
                return true;
            if (!v.isString())
                return false;
            field = v.toString();
            return true;
        };
        if (!readText(QLatin1String("app"), m.app) || !readText(QLatin1String("appPath"), m.appPath)
            || !readText(QLatin1String("text"), m.text))
            return std::nullopt;
        const QJsonValue at = obj.value(QLatin1String("textAt"));
        if (!at.isUndefined() && !at.isNull()) {
            if (!at.isDouble())
                return std::nullopt;
            m.textAt = fromReferenceSeconds(at.toDouble());
        }
        records.insert(it.key(), m);
    }
    return records;
}
