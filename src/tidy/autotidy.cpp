#include "tidy/autotidy.h"

#include "actions/fileactions.h"
#include "meta/metastore.h"
#include "model/listing.h"
#include "model/shelf.h"
#include "platform/trash.h"
#include "system/prefs.h"

#include <QDir>
#include <QFile>
#include <QPointer>
#include <QRegularExpression>
#include <QTimer>

#include <sys/stat.h>

namespace {

constexpr qint64 kSecondsPerDay = 86400;

// The preferences file keeps no types, so "an integer" is text that reads
// as one. Values below one day cannot come from the settings sheet; they
// would make every image due, so they count as not set.
int storedDays(const Prefs &prefs)
{
    const QVariant value = prefs.value(PrefKey::tidyDays);
    if (!value.isValid())
        return AutoTidy::defaultDays;
    static const QRegularExpression integer(QStringLiteral("^\\s*[+-]?\\d+\\s*$"));
    const QString text = value.toString();
    bool ok = false;
    const int days = text.trimmed().toInt(&ok);
    if (!integer.match(text).hasMatch() || !ok || days < 1)
        return AutoTidy::defaultDays;
    return days;
}

// Modification time in nanoseconds since 1970; "now" when unreadable, which
// keeps such a file out of the candidates.
qint64 modifiedNs(const QString &path, qint64 nowNs)
{
    struct stat st;
    if (::stat(QFile::encodeName(path).constData(), &st) != 0)
        return nowNs;
    return qint64(st.st_mtim.tv_sec) * 1000000000LL + st.st_mtim.tv_nsec;
}

} // namespace

AutoTidy::AutoTidy(Prefs &prefs, MetaStore *meta, Trash &trash, Clock now, QObject *parent)
    : QObject(parent), m_prefs(prefs), m_meta(meta), m_trash(trash),
      m_now(now ? std::move(now) : Clock(&QDateTime::currentDateTimeUtc))
{
    m_enabled = prefs.flag(PrefKey::tidyEnabled, false);
    m_toTrash = prefs.flag(PrefKey::tidyToTrash, false);
    m_days = storedDays(prefs);
}

AutoTidy::~AutoTidy() = default;

AutoTidy &AutoTidy::shared()
{
    static AutoTidy *instance = new AutoTidy(Prefs::shared(), &MetaStore::shared(), Trash::shared());
    return *instance;
}

void AutoTidy::setEnabled(bool enabled)
{
    m_prefs.setValue(PrefKey::tidyEnabled, enabled);
    if (m_enabled == enabled)
        return;
    m_enabled = enabled;
    Q_EMIT enabledChanged();
}

void AutoTidy::setDays(int days)
{
    m_prefs.setValue(PrefKey::tidyDays, days);
    if (m_days == days)
        return;
    m_days = days;
    Q_EMIT daysChanged();
}

void AutoTidy::setToTrash(bool toTrash)
{
    m_prefs.setValue(PrefKey::tidyToTrash, toTrash);
    if (m_toTrash == toTrash)
        return;
    m_toTrash = toTrash;
    Q_EMIT toTrashChanged();
}

void AutoTidy::setCandidates(const QList<QUrl> &candidates)
{
    if (m_candidates == candidates)
        return;
    m_candidates = candidates;
    Q_EMIT candidatesChanged();
}

QUrl AutoTidy::archiveFolder(const QUrl &home)
{
    return QUrl::fromLocalFile(Shelf::folderKey(home).toLocalFile() + QLatin1Char('/') + archiveFolderName);
}

void AutoTidy::refresh(const QUrl &home)
{
    const qint64 nowNs = m_now().toMSecsSinceEpoch() * 1000000LL;
    // Strictly older than the cutoff: a file exactly `days` old is not due.
    const qint64 cutoffNs = nowNs - qint64(m_days) * kSecondsPerDay * 1000000000LL;
    QList<QUrl> due;
    const QList<QUrl> images = listImages(Shelf::folderKey(home).toLocalFile(), listLimit);
    for (const QUrl &image : images) {
        if (modifiedNs(image.toLocalFile(), nowNs) < cutoffNs)
            due.append(image);
    }
    setCandidates(due);
}

void AutoTidy::runNow(const QUrl &home)
{
    refresh(home);
    if (m_candidates.isEmpty())
        return;
    if (m_toTrash) {
        FileActions::trash(m_candidates, m_trash);
    } else {
        const QUrl archive = archiveFolder(home);
        QDir().mkpath(archive.toLocalFile());
        FileActions::move(m_candidates, archive, m_meta);
    }
    setCandidates({});
}

void AutoTidy::start(Shelf &shelf)
{
    QPointer<Shelf> weakShelf(&shelf);
    start([weakShelf] { return weakShelf ? weakShelf->home() : QUrl(); }, &shelf, firstTickMs,
          tickIntervalMs);
}

void AutoTidy::start(std::function<QUrl()> home, QObject *guard, int firstTickDelayMs, int intervalMs)
{
    delete m_timer;
    QPointer<QObject> weakGuard(guard);
    auto tick = [this, weakGuard, home] {
        if (!weakGuard)
            return;
        const QUrl folder = home();
        if (folder.isEmpty())
            return;
        if (m_enabled)
            runNow(folder);
        else
            refresh(folder);
    };
    m_timer = new QTimer(this);
    m_timer->setInterval(intervalMs);
    connect(m_timer, &QTimer::timeout, this, tick);
    m_timer->start();
    QTimer::singleShot(firstTickDelayMs, this, tick);
}
