#include "tidy/autotidy.h"

#include "actions/actionrunner.h"
#include "files/async.h"
#include "files/localpaths.h"
#include "files/logcategories.h"
#include "meta/metastore.h"
#include "model/listing.h"
#include "model/shelf.h"
#include "platform/threadpriority.h"
#include "platform/trash.h"
#include "system/prefs.h"

#include <QDir>
#include <QFile>
#include <QPointer>
#include <QRegularExpression>
#include <QTimer>

#include <limits>
#include <optional>

#include <sys/stat.h>

namespace {

constexpr qint64 kSecondsPerDay = 86400;
constexpr qint64 kNsPerSecond = 1000000000LL;

// The preferences file keeps no types, so "an integer" is text that reads
// as one. Values below one day cannot come from the settings sheet; they
// would make every image due, so they count as not set. A number too large
// for an int is a long way of saying "never".
int storedDays(const Prefs &prefs)
{
    const QVariant value = prefs.value(PrefKey::tidyDays);
    if (!value.isValid())
        return AutoTidy::defaultDays;
    static const QRegularExpression integer(QStringLiteral("^\\s*([+-]?)(\\d+)\\s*$"));
    const QRegularExpressionMatch match = integer.match(value.toString());
    if (!match.hasMatch() || match.captured(1) == QLatin1String("-"))
        return AutoTidy::defaultDays;
    bool ok = false;
    const qlonglong days = match.captured(2).toLongLong(&ok);
    if (!ok || days > std::numeric_limits<int>::max())
        return std::numeric_limits<int>::max();
    return days < 1 ? AutoTidy::defaultDays : int(days);
}

// Modification time in nanoseconds since 1970, if readable.
std::optional<qint64> modifiedNs(const QString &path)
{
    struct stat st;
    if (::stat(LocalPaths::pathBytes(path).constData(), &st) != 0)
        return std::nullopt;
    return qint64(st.st_mtim.tv_sec) * kNsPerSecond + st.st_mtim.tv_nsec;
}

} // namespace

AutoTidy::AutoTidy(Prefs &prefs, MetaStore *meta, Trash &trash, Clock now, QObject *parent)
    : QObject(parent), m_prefs(prefs), m_meta(meta), m_trash(trash),
      m_now(now ? std::move(now) : Clock(&QDateTime::currentDateTimeUtc))
{
    m_enabled = prefs.flag(PrefKey::tidyEnabled, false);
    m_toTrash = prefs.flag(PrefKey::tidyToTrash, false);
    m_days = storedDays(prefs);
    m_listing.setObjectName(QStringLiteral("brindlewick.tidy"));
    m_listing.setMaxThreadCount(1);
}

AutoTidy::~AutoTidy()
{
    // No listing outlives us, nor starts once we are going.
    m_listing.clear();
    m_listing.waitForDone();
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
    days = std::max(days, 1);
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

QList<QUrl> AutoTidy::dueAmong(const QList<QUrl> &images, qint64 days, const QDateTime &now)
{
    const qint64 nowNs = now.toMSecsSinceEpoch() * 1000000LL;
    // Strictly older than the cutoff: a file exactly `days` old is not due.
    // A cutoff too far back to write down means nothing is due.
    qint64 ageNs = 0;
    qint64 cutoffNs = 0;
    if (__builtin_mul_overflow(std::max<qint64>(days, 1), kSecondsPerDay * kNsPerSecond, &ageNs)
        || __builtin_sub_overflow(nowNs, ageNs, &cutoffNs))
        return {};
    QList<QUrl> due;
    for (const QUrl &image : images) {
        // An unreadable date counts as "now": such a file stays.
        const std::optional<qint64> modified = modifiedNs(LocalPaths::localPath(image));
        if (modified && *modified < cutoffNs && *modified <= nowNs)
            due.append(image);
    }
    return due;
}

void AutoTidy::refresh(const QUrl &home) { check(home, false); }

void AutoTidy::runNow(const QUrl &home) { check(home, true); }

void AutoTidy::check(const QUrl &home, bool act)
{
    const quint64 request = ++m_lastRequest;
    m_lastHome = Shelf::folderKey(home);
    const QString folder = m_lastHome.toLocalFile();
    const qint64 days = m_days;
    const QDateTime now = m_now();
    const QUrl key = m_lastHome;
    setChecksRunning(m_checksRunning + 1);
    Async::run(
        m_listing, this,
        [folder, days, now] {
            standBack(Background::utility); // like the shelf's own listing
            return dueAmong(listImages(folder, listLimit), days, now);
        },
        [this, request, key, act](const QList<QUrl> &due) { finishCheck(request, key, due, act); });
}

void AutoTidy::finishCheck(quint64 request, const QUrl &home, const QList<QUrl> &due, bool act)
{
    // Home changed while this was listed: the answer is about another folder.
    if (home != m_lastHome) {
        setChecksRunning(m_checksRunning - 1);
        return;
    }
    // An older listing finishing late must not undo a newer one; an action
    // asked for still happens.
    if (request > m_lastApplied) {
        m_lastApplied = request;
        setCandidates(due);
    }
    if (act && !due.isEmpty()) {
        // The files move off the GUI thread; `checked` follows once they have.
        qCInfo(lcTidy) << "tidying" << due.size() << "images" << (m_toTrash ? "into the trash" : "into the archive");
        ActionRunner *runner = ActionRunner::oneShot(m_trash, m_meta, this);
        const auto moved = [this](const FileWorkResult &) {
            setChecksRunning(m_checksRunning - 1);
            Q_EMIT checked();
        };
        if (m_toTrash) {
            runner->trash(due, this, moved);
        } else {
            const QUrl archive = archiveFolder(home);
            QDir().mkpath(archive.toLocalFile());
            runner->move(due, archive, this, moved);
        }
        setCandidates({});
        return;
    }
    setChecksRunning(m_checksRunning - 1);
    Q_EMIT checked();
}

bool AutoTidy::ticking() const { return m_timer && m_timer->isActive(); }

void AutoTidy::setChecksRunning(int running)
{
    const bool was = checking();
    m_checksRunning = running;
    if (checking() != was)
        Q_EMIT checkingChanged();
}

void AutoTidy::start(Shelf &shelf)
{
    QPointer<Shelf> weakShelf(&shelf);
    start([weakShelf] { return weakShelf ? weakShelf->home() : QUrl(); }, &shelf, firstTickMs, tickIntervalMs);
}

void AutoTidy::start(std::function<QUrl()> home, QObject *guard, int firstTickDelayMs, int intervalMs)
{
    delete m_timer;
    m_timer = new QTimer(this);
    m_timer->setInterval(intervalMs);
    QPointer<QObject> weakGuard(guard);
    QPointer<QTimer> timer(m_timer);
    auto tick = [this, weakGuard, timer, home] {
        if (!weakGuard) {
            // The shelf is gone for good: nothing to tick for any more.
            if (timer)
                timer->stop();
            return;
        }
        const QUrl folder = home();
        if (folder.isEmpty())
            return;
        if (m_enabled)
            runNow(folder);
        else
            refresh(folder);
    };
    connect(m_timer, &QTimer::timeout, this, tick);
    m_timer->start();
    QTimer::singleShot(firstTickDelayMs, this, tick);
}
