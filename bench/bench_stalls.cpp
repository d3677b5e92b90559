// The longest the GUI thread goes without getting back to its event loop
// while the engine does its heaviest work: starting on a 100,000-record
// meta.json and a 100,000-image Home, rescanning that Home, trashing 50
// screenshots, tidying 1,000 and recognising text. A 1 ms timer on the GUI
// thread notes the gap between its ticks; a gap is a frame the shelf could
// not draw. The same meter over an idle loop is the reference: what the
// machine's scheduler alone costs.
//
//   bench_stalls DIR     DIR is filled on the first run and reused.

#include "actions/actionrunner.h"
#include "meta/metastore.h"
#include "meta/textindexer.h"
#include "model/shelf.h"
#include "platform/tesseractrecognizer.h"
#include "platform/trash.h"
#include "system/capturelocation.h"
#include "system/prefs.h"
#include "tidy/autotidy.h"

#include <QBuffer>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFont>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <functional>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

namespace {

constexpr int homeImages = 100000;
constexpr int metaRecords = 100000;

class StallMeter : public QObject
{
public:
    StallMeter()
    {
        m_tick.setTimerType(Qt::PreciseTimer);
        m_tick.setInterval(1);
        connect(&m_tick, &QTimer::timeout, this, [this] { note(); });
    }
    struct Figures
    {
        double worst = 0;    // the longest gap, ms
        int over = 0;        // gaps over 16 ms
        double worstCpu = 0; // the most CPU time the GUI thread spent within one gap, ms
        // Within the worst gap: the GUI thread's CPU time and its wait for a
        // core; the rest it slept or was blocked (a lock, a page fault).
        double worstGapCpu = 0;
        double worstGapQueued = 0;
    };
    void start()
    {
        m_worst = 0;
        m_worstCpu = 0;
        m_over = 0;
        m_clock.start();
        m_last = 0;
        m_lastCpu = threadCpuNs();
        m_lastQueued = queuedNs();
        m_worstGapCpu = m_worstGapQueued = 0;
        m_tick.start();
    }
    Figures stop()
    {
        note();
        m_tick.stop();
        return {m_worst / 1e6, m_over, m_worstCpu / 1e6, m_worstGapCpu / 1e6, m_worstGapQueued / 1e6};
    }

private:
    // A gap is either the GUI thread's own work or its wait for a core on a
    // busy machine; its CPU time tells them apart.
    static qint64 threadCpuNs()
    {
        struct timespec ts;
        ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
        return qint64(ts.tv_sec) * 1'000'000'000 + ts.tv_nsec;
    }
    // Time this thread spent runnable but waiting for a core (the kernel's schedstat).
    static qint64 queuedNs()
    {
        static const int fd = ::open("/proc/thread-self/schedstat", O_RDONLY | O_CLOEXEC);
        char buffer[96] = {};
        if (fd < 0 || ::pread(fd, buffer, sizeof buffer - 1, 0) <= 0)
            return 0;
        unsigned long long run = 0, wait = 0;
        return std::sscanf(buffer, "%llu %llu", &run, &wait) == 2 ? qint64(wait) : 0;
    }
    void note()
    {
        const qint64 now = m_clock.nsecsElapsed();
        const qint64 cpu = threadCpuNs();
        const qint64 queued = queuedNs();
        const qint64 gap = now - m_last;
        if (gap > m_worst) {
            m_worst = gap;
            m_worstGapCpu = cpu - m_lastCpu;
            m_worstGapQueued = queued - m_lastQueued;
        }
        m_worstCpu = std::max(m_worstCpu, cpu - m_lastCpu);
        if (gap > 16'000'000)
            ++m_over;
        m_last = now;
        m_lastCpu = cpu;
        m_lastQueued = queued;
    }

    QTimer m_tick;
    QElapsedTimer m_clock;
    qint64 m_last = 0;
    qint64 m_lastCpu = 0;
    qint64 m_lastQueued = 0;
    qint64 m_worstGapCpu = 0;
    qint64 m_worstGapQueued = 0;
    qint64 m_worst = 0;
    qint64 m_worstCpu = 0;
    int m_over = 0;
};

void touch(const QString &path, qint64 mtime, const QByteArray &bytes = {})
{
    const int fd = ::open(QFile::encodeName(path).constData(), O_CREAT | O_WRONLY | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0)
        return;
    if (!bytes.isEmpty()) [[maybe_unused]]
        auto written = ::write(fd, bytes.constData(), size_t(bytes.size()));
    const struct timespec times[2] = {{mtime, 0}, {mtime, 0}};
    ::futimens(fd, times);
    ::close(fd);
}

QByteArray smallPng()
{
    QImage image(64, 40, QImage::Format_RGB32);
    image.fill(Qt::darkCyan);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

// A screenshot-like image of a few lines of text.
QImage textImage(int n)
{
    QImage image(1280, 400, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(18);
    painter.setFont(font);
    painter.setPen(Qt::black);
    for (int line = 0; line < 12; ++line)
        painter.drawText(20, 30 + line * 28,
                         QStringLiteral("Build %1 step %2: compiling module number %3 of the shelf")
                             .arg(n)
                             .arg(line)
                             .arg(line * 7 + n));
    return image;
}

void generate(const QString &dir)
{
    if (QFile::exists(dir + QStringLiteral("/ready")))
        return;
    std::fprintf(stderr, "generating %s ...\n", qPrintable(dir));
    QDir().mkpath(dir + QStringLiteral("/home"));
    const qint64 now = QDateTime::currentSecsSinceEpoch();
    for (int i = 0; i < homeImages; ++i)
        touch(dir + QStringLiteral("/home/Screenshot %1.png").arg(i), now - 86400 - i * 60);

    QHash<QString, FileMeta> records;
    records.reserve(metaRecords);
    const QString text =
        QStringLiteral("Invoice total due 12.40 Café naïve \"quoted\" error build failed ").repeated(9);
    for (int i = 0; i < metaRecords; ++i) {
        FileMeta m;
        m.text = text;
        m.textAt = QDateTime::fromSecsSinceEpoch(now - i);
        records.insert(QStringLiteral("Screenshot %1.png").arg(i), m);
    }
    QFile meta(dir + QStringLiteral("/meta.json"));
    if (meta.open(QIODevice::WriteOnly))
        meta.write(MetaStore::encode(records));

    QDir().mkpath(dir + QStringLiteral("/ocr"));
    for (int i = 0; i < 6; ++i)
        textImage(i).save(dir + QStringLiteral("/ocr/text %1.png").arg(i));
    touch(dir + QStringLiteral("/ready"), now);
}

// Fresh work folders for the steps that use up their files.
void refill(const QString &dir)
{
    const QByteArray png = smallPng();
    const qint64 now = QDateTime::currentSecsSinceEpoch();
    for (const QString &sub : {QStringLiteral("trash"), QStringLiteral("tidy"), QStringLiteral("Trash")})
        QDir(dir + QLatin1Char('/') + sub).removeRecursively();
    QDir().mkpath(dir + QStringLiteral("/trash"));
    for (int i = 0; i < 50; ++i)
        touch(dir + QStringLiteral("/trash/Screenshot %1.png").arg(i), now, png);
    QDir().mkpath(dir + QStringLiteral("/tidy"));
    for (int i = 0; i < 1000; ++i)
        touch(dir + QStringLiteral("/tidy/Screenshot %1.png").arg(i), now - 90 * 86400, png);
}

// Runs each step once the previous one reported it was done.
struct Step
{
    const char *name;
    std::function<void(std::function<void()> done)> run;
};

} // namespace

// Trying the scheduler's latency hint (Linux 6.12 and later): a SCHED_OTHER
// thread that asks for a shorter slice is run sooner when it wakes.
// BENCH_GUI_SLICE_US=500 asks for 0.5 ms on the GUI thread.
void askForSlice()
{
    const int us = qEnvironmentVariableIntValue("BENCH_GUI_SLICE_US");
    if (us <= 0)
        return;
    struct
    {
        quint32 size;
        quint32 policy;
        quint64 flags;
        qint32 nice;
        quint32 priority;
        quint64 runtime, deadline, period;
    } attr = {};
    attr.size = sizeof attr;
    attr.policy = 0; // SCHED_OTHER
    attr.runtime = quint64(us) * 1000;
    if (::syscall(SYS_sched_setattr, 0, &attr, 0) != 0)
        std::perror("sched_setattr");
    else
        std::fprintf(stderr, "GUI thread asks for a %d us slice\n", us);
}

int main(int argc, char *argv[])
{
    if (argc < 2) {
        std::fprintf(stderr, "usage: bench_stalls DIR\n");
        return 2;
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    askForSlice();
    const QString dir = QDir(QString::fromLocal8Bit(argv[1])).absolutePath();
    generate(dir);
    refill(dir);

    Prefs prefs(dir + QStringLiteral("/prefs.conf"));
    prefs.setValue(PrefKey::tidyEnabled, true);
    prefs.setValue(PrefKey::tidyDays, 30);
    prefs.setValue(PrefKey::tidyToTrash, false);
    CaptureLocation capture(prefs, nullptr);
    FreedesktopTrash trash(dir + QStringLiteral("/Trash"));
    std::unique_ptr<MetaStore> meta;
    std::unique_ptr<Shelf> shelf;
    std::unique_ptr<ActionRunner> runner;
    std::unique_ptr<AutoTidy> tidy;
    std::unique_ptr<TextIndexer> indexer;

    QList<Step> steps;
    steps.append({"idle loop (reference)", [](auto done) { QTimer::singleShot(2000, done); }});
    steps.append({"start: 100,000-record meta.json, 100,000-image Home", [&](auto done) {
                      meta = std::make_unique<MetaStore>(dir + QStringLiteral("/meta.json"));
                      qputenv("BRINDLEWICK_FOLDER", QFile::encodeName(dir + QStringLiteral("/home")));
                      shelf = std::make_unique<Shelf>(prefs, capture, meta.get(), nullptr);
                      auto waiting = std::make_shared<int>(2);
                      auto one = [waiting, done] {
                          if (--*waiting == 0)
                              done();
                      };
                      if (meta->isLoaded())
                          one();
                      else
                          QObject::connect(meta.get(), &MetaStore::loaded, meta.get(), one, Qt::SingleShotConnection);
                      QObject::connect(shelf.get(), &Shelf::scanApplied, shelf.get(), one, Qt::SingleShotConnection);
                  }});
    steps.append({"rescan the 100,000-image Home", [&](auto done) {
                      QObject::connect(shelf.get(), &Shelf::scanApplied, shelf.get(), done, Qt::SingleShotConnection);
                      shelf->scan();
                  }});
    steps.append({"trash 50 screenshots", [&](auto done) {
                      runner = std::make_unique<ActionRunner>(trash, meta.get());
                      QList<QUrl> files;
                      for (int i = 0; i < 50; ++i)
                          files.append(QUrl::fromLocalFile(dir + QStringLiteral("/trash/Screenshot %1.png").arg(i)));
                      runner->trash(files, runner.get(), [done](const FileWorkResult &result) {
                          if (result.count != 50)
                              std::fprintf(stderr, "trashed only %lld\n", result.count);
                          done();
                      });
                  }});
    steps.append({"tidy 1,000 screenshots into Archive", [&](auto done) {
                      tidy = std::make_unique<AutoTidy>(prefs, meta.get(), trash);
                      QObject::connect(tidy.get(), &AutoTidy::checked, tidy.get(), done, Qt::SingleShotConnection);
                      tidy->runNow(QUrl::fromLocalFile(dir + QStringLiteral("/tidy")));
                  }});
    steps.append({"a record changed while meta.json is saved", [&](auto done) {
                      const QString home = dir + QStringLiteral("/home/");
                      meta->update(QUrl::fromLocalFile(home + QStringLiteral("Screenshot 1.png")),
                                   [](FileMeta &m) { m.app = QStringLiteral("Editor"); });
                      meta->save();
                      // While the writer encodes its snapshot of the records.
                      QTimer::singleShot(20, meta.get(), [&, home] {
                          meta->update(QUrl::fromLocalFile(home + QStringLiteral("Screenshot 2.png")),
                                       [](FileMeta &m) { m.app = QStringLiteral("Editor"); });
                      });
                      QObject::connect(meta.get(), &MetaStore::saveFinished, meta.get(), done,
                                       Qt::SingleShotConnection);
                  }});
    steps.append(
        {"recognise the text of 6 screenshots", [&](auto done) {
             indexer = std::make_unique<TextIndexer>(*meta, [] { return makeTesseractRecognizer(TesseractOptions{}); });
             QList<QUrl> files;
             for (int i = 0; i < 6; ++i)
                 files.append(QUrl::fromLocalFile(dir + QStringLiteral("/ocr/text %1.png").arg(i)));
             QObject::connect(indexer.get(), &TextIndexer::runningChanged, indexer.get(), [done](bool running) {
                 if (!running)
                     done();
             });
             indexer->index(files, true);
         }});

    StallMeter meter;
    QElapsedTimer took;
    int next = 0;
    std::function<void()> runNext = [&] {
        if (next >= steps.size()) {
            app.quit();
            return;
        }
        const Step &step = steps.at(next++);
        meter.start();
        took.start();
        step.run([&, name = step.name] {
            const StallMeter::Figures f = meter.stop();
            std::printf("%-55s worst stall %6.1f ms (%4.1f ms working, %4.1f ms waiting for a core), %3d over 16 ms; "
                        "most work in one gap %4.1f ms (%lld ms in all)\n",
                        name, f.worst, f.worstGapCpu, f.worstGapQueued, f.over, f.worstCpu, took.elapsed());
            std::fflush(stdout);
            QTimer::singleShot(200, &app, runNext);
        });
    };
    QTimer::singleShot(0, &app, runNext);
    const int status = app.exec();
    // Nothing of the run may be left for later.
    indexer.reset();
    runner.reset();
    return status;
}
