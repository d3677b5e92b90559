#include "meta/thumbs.h"

#include "codec/decodelimits.h"
#include "codec/pagedimage.h"
#include "codec/pngscale.h"
#include "files/async.h"
#include "files/localpaths.h"
#include "files/logcategories.h"
#include "platform/threadpriority.h"

#include <QFile>
#include <QImageReader>

#include <algorithm>
#include <cmath>

namespace {

// No screenshot comes near this (an 8K screen is 33 megapixels); beyond it a
// file is refused before decoding instead of costing gigabytes.
constexpr qint64 maxSourcePixels = 100LL * 1000 * 1000;

QImage withRatio(QImage image, qreal dpr)
{
    // Only when it differs: changing it copies the pixels.
    if (!image.isNull() && image.devicePixelRatio() != dpr)
        image.setDevicePixelRatio(dpr);
    return image;
}

} // namespace

Thumbs::Thumbs(std::shared_ptr<ThumbDiskCache> disk, std::shared_ptr<SharedThumbs> shared, QObject *parent)
    : QObject(parent), m_disk(std::move(disk)), m_shared(std::move(shared))
{
    m_pool.setObjectName(QStringLiteral("brindlewick.thumbs"));
    m_pool.setMaxThreadCount(std::max(2, QThread::idealThreadCount()));
    m_shareWrites.setObjectName(QStringLiteral("brindlewick.sharedthumbs"));
    m_shareWrites.setMaxThreadCount(1);
}

Thumbs::~Thumbs()
{
    m_pool.clear();
    m_pool.waitForDone();
    m_shareWrites.waitForDone();
}

int Thumbs::stepFor(qreal logicalSize, qreal dpr)
{
    const qreal pixels = logicalSize * (dpr > 0 ? dpr : 1);
    for (int step : sizeSteps) {
        if (pixels <= step)
            return step;
    }
    return sizeSteps.back();
}

QString Thumbs::entryKey(const QString &path, int step) { return path + QLatin1Char('#') + QString::number(step); }

const Thumbs::Entry *Thumbs::lookup(const QString &path, int step, const Stamp &stamp) const
{
    // The step itself, else the smallest larger one, else a smaller one that
    // holds the whole (small) source.
    const Entry *smallerWhole = nullptr;
    for (int s : sizeSteps) {
        const auto it = m_entries.constFind(entryKey(path, s));
        if (it == m_entries.cend() || !(it->stamp == stamp))
            continue;
        if (s >= step)
            return &*it;
        if (it->whole)
            smallerWhole = &*it;
    }
    return smallerWhole;
}

QImage Thumbs::cached(const QUrl &file, qreal logicalSize, qreal dpr) const
{
    if (!file.isLocalFile())
        return {};
    const QString path = LocalPaths::localPath(file);
    // A stat, no open: what makes an edited file miss.
    const auto stamp = ThumbDiskCache::stampOf(path);
    if (!stamp)
        return {};
    const Entry *entry = lookup(path, stepFor(logicalSize, dpr), *stamp);
    if (!entry)
        return {};
    m_useOrder.splice(m_useOrder.end(), m_useOrder, entry->use);
    return withRatio(entry->image, dpr);
}

Thumbs::Ticket Thumbs::request(const QUrl &file, qreal logicalSize, qreal dpr, QObject *context, Completion completion)
{
    if (const QImage image = cached(file, logicalSize, dpr); !image.isNull()) {
        completion(image);
        return 0;
    }
    if (needsDownload(file) || !file.isLocalFile()) {
        completion(QImage());
        return 0;
    }
    if (!context)
        context = this;
    const int step = stepFor(logicalSize, dpr);
    const QString key = entryKey(LocalPaths::localPath(file), step);
    Job &job = m_jobs[key];
    job.file = file;
    job.step = step;
    Ticket ticket = 0;
    // One waiter per context: a new request replaces its completion.
    const auto waiter = std::find_if(job.waiters.begin(), job.waiters.end(),
                                     [context](const Waiter &w) { return w.context == context; });
    if (waiter != job.waiters.end()) {
        waiter->completion = std::move(completion);
        waiter->dpr = dpr;
        ticket = waiter->ticket;
    } else {
        ticket = ++m_lastTicket;
        job.waiters.append({ticket, context, QPointer<QObject>(context), dpr, std::move(completion)});
        m_tickets.insert(ticket, key);
        watch(context);
    }
    if (!job.running) {
        m_waiting.removeOne(key);
        m_waiting.prepend(key);
        trimQueue();
    }
    startWaiting();
    return ticket;
}

void Thumbs::watch(QObject *context)
{
    if (context == this || m_contexts.contains(context))
        return;
    m_contexts.insert(context, connect(context, &QObject::destroyed, this, [this, context] { cancel(context); }));
}

void Thumbs::cancel(Ticket ticket)
{
    const QString key = m_tickets.take(ticket);
    const auto job = m_jobs.find(key);
    if (job == m_jobs.end())
        return;
    job->waiters.removeIf([ticket](const Waiter &w) { return w.ticket == ticket; });
    if (job->waiters.isEmpty() && !job->running) {
        m_waiting.removeOne(key);
        m_jobs.erase(job);
    }
}

void Thumbs::cancel(QObject *context)
{
    if (const auto connection = m_contexts.find(context); connection != m_contexts.end()) {
        disconnect(*connection);
        m_contexts.erase(connection);
    }
    for (auto job = m_jobs.begin(); job != m_jobs.end();) {
        job->waiters.removeIf([this, context](const Waiter &w) {
            if (w.context != context)
                return false;
            m_tickets.remove(w.ticket);
            return true;
        });
        if (job->waiters.isEmpty() && !job->running) {
            m_waiting.removeOne(job.key());
            job = m_jobs.erase(job);
        } else {
            ++job;
        }
    }
}

void Thumbs::forget(const Job &job)
{
    for (const Waiter &waiter : job.waiters)
        m_tickets.remove(waiter.ticket);
}

void Thumbs::trimQueue()
{
    while (m_waiting.size() > queueLimit)
        forget(m_jobs.take(m_waiting.takeLast()));
}

void Thumbs::prioritize(const QList<QUrl> &files)
{
    QHash<QString, qsizetype> rank;
    for (qsizetype i = 0; i < files.size(); ++i)
        rank.insert(LocalPaths::localPath(files[i]), i); // a later duplicate does not matter
    QList<QString> first, rest;
    for (const QString &key : std::as_const(m_waiting))
        (rank.contains(LocalPaths::localPath(m_jobs.value(key).file)) ? first : rest).append(key);
    std::stable_sort(first.begin(), first.end(), [&](const QString &a, const QString &b) {
        return rank.value(LocalPaths::localPath(m_jobs.value(a).file))
               < rank.value(LocalPaths::localPath(m_jobs.value(b).file));
    });
    m_waiting = first + rest;
}

void Thumbs::startWaiting()
{
    while (m_inFlight < m_pool.maxThreadCount() && !m_waiting.isEmpty()) {
        const QString key = m_waiting.takeFirst();
        Job &job = m_jobs[key];
        job.running = true;
        ++m_inFlight;
        Async::run(
            m_pool, this,
            [disk = m_disk, shared = m_shared, file = job.file, step = job.step] {
                standBack(Background::userInitiated);
                return make(disk, shared, file, step);
            },
            [this, key](Made made) { finished(key, std::move(made)); });
    }
}

Thumbs::Made Thumbs::make(const std::shared_ptr<ThumbDiskCache> &disk, const std::shared_ptr<SharedThumbs> &shared,
                          const QUrl &file, int step)
{
    Made made;
    const QString path = LocalPaths::localPath(file);
    const auto stamp = ThumbDiskCache::stampOf(path);
    if (!stamp)
        return made;
    if (disk) {
        if (auto image = disk->read(path, step, *stamp)) {
            made.image = PagedImage::copyOf(*image);
            made.stamp = stamp;
            return made;
        }
    }
    // A file manager's thumbnail costs a small PNG's decode instead of the
    // screenshot's; a file nobody could decode is not tried again until it changes.
    const bool sharing = shared && shared->covers(path);
    if (sharing) {
        if (auto image = shared->read(path, step, *stamp)) {
            made.image = PagedImage::copyOf(*image);
            made.stamp = stamp;
            made.keep = disk != nullptr;
            return made;
        }
        if (shared->failed(path, *stamp))
            return made;
    }
    made.image = makeThumbnail(file, step); // on pages of its own already
    // A file that changed while we decoded it is not recorded as unchanged.
    if (ThumbDiskCache::stampOf(path) != stamp)
        return made;
    if (made.image) {
        made.stamp = stamp;
        if (disk)
            disk->write(path, step, *stamp, *made.image);
        made.share = sharing;
    } else if (sharing) {
        shared->writeFailure(path, *stamp);
    }
    return made;
}

void Thumbs::finished(const QString &key, Made made)
{
    --m_inFlight;
    // A file overwritten or renamed over while it was decoded: whoever asked
    // since then wants the new content, so the job runs again.
    if (made.image && !m_jobs.value(key).waiters.isEmpty()) {
        const auto now = ThumbDiskCache::stampOf(LocalPaths::localPath(m_jobs.value(key).file));
        if (now && made.stamp != now) {
            m_jobs[key].running = false;
            m_waiting.prepend(key);
            startWaiting();
            return;
        }
    }
    const Job job = m_jobs.take(key);
    forget(job);
    // Not shared yet, so setting its ratio copies nothing.
    QImage image = made.image ? std::move(*made.image) : QImage();
    if (!image.isNull() && !job.waiters.isEmpty())
        image.setDevicePixelRatio(job.waiters.first().dpr); // stored as most will want it
    const bool whole = std::max(image.width(), image.height()) < job.step;
    if (!image.isNull() && made.stamp)
        insert(key, image, *made.stamp, whole);
    if (!image.isNull() && made.stamp && (made.share || made.keep))
        writeLater(LocalPaths::localPath(job.file), job.step, *made.stamp, image, whole, made);
    for (const Waiter &waiter : job.waiters) {
        if (waiter.alive)
            waiter.completion(withRatio(image, waiter.dpr));
    }
    startWaiting();
}

void Thumbs::writeLater(const QString &path, int step, const Stamp &stamp, const QImage &image, bool whole,
                        const Made &made)
{
    // Encoding a PNG takes a fifth of a decode's time: the cells are served
    // first. Past two screens' worth waiting, a thumbnail goes unwritten
    // rather than hold up quitting.
    constexpr int maxPending = 48;
    if (m_sharesPending >= maxPending)
        return;
    ++m_sharesPending;
    m_shareWrites.start([this, disk = made.keep ? m_disk : nullptr, shared = made.share ? m_shared : nullptr, path,
                         step, stamp, image, whole] {
        standBack(Background::utility);
        if (disk)
            disk->write(path, step, stamp, image);
        if (shared)
            shared->write(path, stamp, image, whole);
        --m_sharesPending;
    });
}

void Thumbs::insert(const QString &key, const QImage &image, Stamp stamp, bool whole)
{
    auto it = m_entries.find(key);
    if (it != m_entries.end()) {
        m_bytes -= it->image.sizeInBytes();
        m_useOrder.erase(it->use);
        m_entries.erase(it);
    }
    // Room first, so the cache never holds more than its budget and a thumbnail.
    evict(image.sizeInBytes());
    m_useOrder.push_back(key);
    m_entries.insert(key, {image, stamp, whole, std::prev(m_useOrder.end())});
    m_bytes += image.sizeInBytes();
    evict();
}

void Thumbs::setByteBudget(qint64 bytes)
{
    m_byteBudget = bytes;
    evict();
}

void Thumbs::evict(qint64 coming)
{
    const int room = coming > 0 ? 1 : 0;
    while (!m_useOrder.empty() && (int(m_entries.size()) + room > countLimit || m_bytes + coming > m_byteBudget)) {
        const auto it = m_entries.find(m_useOrder.front());
        m_bytes -= it->image.sizeInBytes();
        m_entries.erase(it);
        m_useOrder.pop_front();
    }
}

std::optional<QImage> Thumbs::makeThumbnail(const QUrl &file, int pixels)
{
    if (!file.isLocalFile() || pixels <= 0)
        return std::nullopt;
    // PNGs, nearly every screenshot, are scaled as they are decoded. One our
    // reader refused is not given to Qt's, which can take gigabytes and
    // seconds over a chunk that claims to be huge.
    PngScale::Result png = PngScale::readScaled(LocalPaths::localPath(file), pixels, maxSourcePixels);
    if (png.outcome == PngScale::Outcome::Done)
        return std::move(png.image);
    if (png.outcome == PngScale::Outcome::Failed) {
        qCDebug(lcThumbs) << "no thumbnail: the PNG cannot be read" << file.toLocalFile();
        return std::nullopt;
    }
    const std::unique_ptr<DecodeLimits::QtReader> qt = DecodeLimits::openQtReader(LocalPaths::localPath(file));
    if (!qt)
        return std::nullopt;
    QImageReader &reader = qt->reader;
    // Below 50 Qt's JPEG reader takes libjpeg's fast integer DCT and plain
    // chroma upsampling: a few percent faster, a level or two off per
    // channel, which a thumbnail does not show. (It already decodes at
    // 1/2, 1/4 or 1/8 scale when asked for a smaller size; what remains is
    // mostly entropy decoding, which no setting skips.)
    reader.setQuality(49);
    const QSize full = reader.size();
    if (full.isValid()) {
        if (qint64(full.width()) * full.height() > maxSourcePixels) {
            qCInfo(lcDecode) << "refused" << file.toLocalFile() << full << "is past the bound";
            return std::nullopt;
        }
        // Orientation is applied after scaling, so fitting the stored size
        // into a square bounds the upright image's longest side as well.
        if (full.width() > pixels || full.height() > pixels)
            reader.setScaledSize(full.scaled(pixels, pixels, Qt::KeepAspectRatio).expandedTo(QSize(1, 1)));
    }
    QImage image = reader.read();
    if (image.isNull()) {
        qCDebug(lcThumbs) << "no thumbnail of" << file.toLocalFile() << reader.errorString();
        return std::nullopt;
    }
    if (!full.isValid() && (image.width() > pixels || image.height() > pixels))
        image = image.scaled(pixels, pixels, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    // The formats the paint engine draws fastest (a scaled RGB888 image, a
    // quarter smaller, draws four to six times slower).
    return PagedImage::copyOf(
        image.convertToFormat(image.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32));
}
