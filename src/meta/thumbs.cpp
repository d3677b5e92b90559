#include "meta/thumbs.h"

#include "meta/thumbdiskcache.h"

#include <QImageReader>

namespace {

// No screenshot comes near this (an 8K screen is 33 megapixels); beyond it a
// file is refused before decoding instead of costing gigabytes.
constexpr qint64 maxSourcePixels = 100LL * 1000 * 1000;

std::optional<QImage> decodeOrReuse(const std::shared_ptr<ThumbDiskCache> &disk, const QUrl &file, int size)
{
    if (!file.isLocalFile())
        return std::nullopt;
    const QString path = file.toLocalFile();
    const auto stamp = ThumbDiskCache::stampOf(path);
    if (!stamp)
        return std::nullopt;
    if (disk) {
        if (auto image = disk->read(path, size, *stamp))
            return image;
    }
    auto image = Thumbs::makeThumbnail(file, size);
    // A file that changed while we decoded it is not recorded as unchanged.
    if (image && disk && ThumbDiskCache::stampOf(path) == stamp)
        disk->write(path, size, *stamp, *image);
    return image;
}

} // namespace

Thumbs::Thumbs(std::shared_ptr<ThumbDiskCache> disk, QObject *parent) : QObject(parent), m_disk(std::move(disk))
{
    m_pool.setObjectName(QStringLiteral("brindlewick.thumbs"));
    m_pool.setMaxThreadCount(std::max(2, QThread::idealThreadCount()));
}

Thumbs::~Thumbs()
{
    m_pool.clear();
    m_pool.waitForDone();
}

Thumbs &Thumbs::shared()
{
    static Thumbs *instance =
        new Thumbs(std::make_shared<ThumbDiskCache>(ThumbDiskCache::defaultDir()));
    return *instance;
}

QString Thumbs::key(const QUrl &file, int size)
{
    return file.toLocalFile() + QLatin1Char('#') + QString::number(size);
}

std::optional<QImage> Thumbs::cached(const QUrl &file, int size) const
{
    const auto it = m_entries.constFind(key(file, size));
    if (it == m_entries.cend())
        return std::nullopt;
    m_useOrder.splice(m_useOrder.end(), m_useOrder, it->use);
    return it->image;
}

void Thumbs::load(const QUrl &file, int size, Completion completion)
{
    if (auto image = cached(file, size)) {
        completion(image);
        return;
    }
    if (needsDownload(file)) {
        completion(std::nullopt);
        return;
    }
    const QString k = key(file, size);
    auto pending = m_completions.find(k);
    if (pending != m_completions.end()) {
        // Asked again before it was made: decode once, and if it is still
        // waiting, it is now the most recently asked.
        pending->append(std::move(completion));
        for (qsizetype i = 0; i < m_waiting.size(); ++i) {
            if (m_waiting[i].key == k) {
                m_waiting.append(m_waiting.takeAt(i));
                break;
            }
        }
        return;
    }
    m_completions.insert(k, {std::move(completion)});
    m_waiting.append({file, size, k});
    startWaiting();
}

void Thumbs::startWaiting()
{
    while (m_inFlight < m_pool.maxThreadCount() && !m_waiting.isEmpty()) {
        const Request request = m_waiting.takeLast();
        ++m_inFlight;
        m_pool.start([this, disk = m_disk, request] {
            const auto image = decodeOrReuse(disk, request.file, request.size);
            // Queued on us: dropped if we are gone by then.
            QMetaObject::invokeMethod(
                this, [this, key = request.key, image] { finished(key, image); }, Qt::QueuedConnection);
        });
    }
}

void Thumbs::finished(const QString &key, const std::optional<QImage> &image)
{
    --m_inFlight;
    if (image)
        insert(key, *image);
    const QList<Completion> completions = m_completions.take(key);
    for (const Completion &completion : completions)
        completion(image);
    startWaiting();
}

void Thumbs::insert(const QString &key, const QImage &image)
{
    auto it = m_entries.find(key);
    if (it != m_entries.end()) {
        m_bytes -= it->image.sizeInBytes();
        m_useOrder.erase(it->use);
        m_entries.erase(it);
    }
    m_useOrder.push_back(key);
    m_entries.insert(key, {image, std::prev(m_useOrder.end())});
    m_bytes += image.sizeInBytes();
    evict();
}

void Thumbs::setByteBudget(qint64 bytes)
{
    m_byteBudget = bytes;
    evict();
}

void Thumbs::evict()
{
    while (!m_useOrder.empty() && (int(m_entries.size()) > countLimit || m_bytes > m_byteBudget)) {
        const auto it = m_entries.find(m_useOrder.front());
        m_bytes -= it->image.sizeInBytes();
        m_entries.erase(it);
        m_useOrder.pop_front();
    }
}

std::optional<QImage> Thumbs::makeThumbnail(const QUrl &file, int size)
{
    if (!file.isLocalFile() || size <= 0)
        return std::nullopt;
    QImageReader reader(file.toLocalFile());
    reader.setAutoTransform(true);
    const QSize full = reader.size();
    if (full.isValid()) {
        if (qint64(full.width()) * full.height() > maxSourcePixels)
            return std::nullopt;
        // Orientation is applied after scaling, so fitting the stored size
        // into a square bounds the upright image's longest side as well.
        if (full.width() > size || full.height() > size)
            reader.setScaledSize(full.scaled(size, size, Qt::KeepAspectRatio).expandedTo(QSize(1, 1)));
    }
    QImage image = reader.read();
    if (image.isNull())
        return std::nullopt;
    if (!full.isValid() && (image.width() > size || image.height() > size))
        image = image.scaled(size, size, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    // The formats the paint engine draws fastest.
    return image.convertToFormat(image.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied
                                                         : QImage::Format_RGB32);
}
