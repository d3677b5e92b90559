// The shelf grid with 400 real-size screenshots whose thumbnails are in the
// disk cache: from showing the window to every cell in view painted with its
// image, frame times while scrolling top to bottom, relayout and paint at ten
// window sizes, the repaint after selecting all, and the process's resident
// memory with the 400 shown. Frames are timed as the GUI thread spends them
// (layout and paint of the whole window, as a repaint does).
//
//   bench_grid DIR     DIR is filled on the first run (about a minute) and reused.

#include "actions/actionrunner.h"
#include "actions/prompts.h"
#include "actions/views/filecommands.h"
#include "actions/views/pins.h"
#include "actions/views/previewer.h"
#include "meta/metastore.h"
#include "meta/textindexer.h"
#include "meta/thumbdiskcache.h"
#include "meta/thumbs.h"
#include "model/shelf.h"
#include "platform/filemanager.h"
#include "platform/textrecognizer.h"
#include "platform/trash.h"
#include "system/capturelocation.h"
#include "system/prefs.h"
#include "ui/shelfgrid.h"
#include "ui/shelfview.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QPainter>
#include <QScrollBar>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <time.h>
#include <vector>

namespace {

constexpr int imageCount = 400;

// A 2880 x 1800 screenshot: window chrome, panels and lines of text.
QImage screenshot(int n)
{
    QImage image(2880, 1800, QImage::Format_RGB32);
    image.fill(QColor::fromHsv((n * 37) % 360, 40, 235));
    QPainter p(&image);
    p.fillRect(0, 0, 2880, 70, QColor::fromHsv((n * 37) % 360, 90, 120));
    p.fillRect(160, 200, 2560, 1450, Qt::white);
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(30);
    p.setFont(font);
    p.setPen(Qt::black);
    for (int line = 0; line < 30; ++line)
        p.drawText(220, 270 + line * 44,
                   QStringLiteral("Window %1, line %2: the quick brown fox jumps over the lazy dog").arg(n).arg(line));
    return image;
}

void generate(const QString &dir)
{
    const QString shots = dir + QStringLiteral("/shots");
    if (QDir(shots).entryList(QDir::Files).size() == imageCount)
        return;
    std::fprintf(stderr, "generating %d screenshots in %s ...\n", imageCount, qPrintable(shots));
    QDir().mkpath(shots);
    const QDateTime now = QDateTime::currentDateTime();
    for (int i = 0; i < imageCount; ++i) {
        const QString path = shots + QStringLiteral("/Screenshot %1.png").arg(i, 3, 10, QLatin1Char('0'));
        screenshot(i).save(path, "PNG", 90);
        QFile file(path);
        if (file.open(QIODevice::ReadWrite))
            file.setFileTime(now.addSecs(-60 * i), QFileDevice::FileModificationTime);
    }
}

double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v.empty() ? 0 : v[v.size() / 2];
}

double residentMB()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray &line : status.readAll().split('\n'))
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').first().toDouble() / 1024.0;
    return 0;
}

// Calls `done` once `ready` holds, checking after every pass of the loop.
void when(std::function<bool()> ready, std::function<void()> done)
{
    if (ready()) {
        done();
        return;
    }
    QTimer::singleShot(
        1, [ready = std::move(ready), done = std::move(done)]() mutable { when(std::move(ready), std::move(done)); });
}

qint64 threadCpuNs()
{
    struct timespec ts;
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return qint64(ts.tv_sec) * 1'000'000'000 + ts.tv_nsec;
}

// Notes that a paint event reached the object it watches.
class PaintSeen : public QObject
{
public:
    bool seen = false;
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::Paint)
            seen = true;
        return false;
    }
};

// One synchronous layout and paint of the whole window, as a frame.
double frameMs(QWidget &window)
{
    QElapsedTimer t;
    t.start();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
    window.repaint();
    return t.nsecsElapsed() / 1e6;
}

} // namespace

// The grid is measured, not the file commands: these only stand in.
class IdleLauncher final : public AppLauncher
{
public:
    void open(const QUrl &) override {}
    void openWith(const QList<QUrl> &, const QUrl &) override {}
    QList<AppChoice> applicationsFor(const QUrl &) override { return {}; }
};

class IdleFileManager final : public FileManager
{
public:
    void showItems(const QList<QUrl> &) override {}
    void showItemProperties(const QUrl &) override {}
};

class IdlePrompt final : public TextPrompt
{
public:
    void askText(const TextPromptRequest &, std::function<void(const std::optional<QString> &)> reply) override
    {
        reply(std::nullopt);
    }
};

int main(int argc, char *argv[])
{
    if (argc < 2) {
        std::fprintf(stderr, "usage: bench_grid DIR\n");
        return 2;
    }
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const QString dir = QDir(QString::fromLocal8Bit(argv[1])).absolutePath();
    generate(dir);

    Prefs prefs(dir + QStringLiteral("/prefs.conf"));
    CaptureLocation capture(prefs, nullptr);
    MetaStore meta(dir + QStringLiteral("/meta.json"));
    auto disk = std::make_shared<ThumbDiskCache>(dir + QStringLiteral("/thumbnails"));
    qputenv("BRINDLEWICK_FOLDER", QFile::encodeName(dir + QStringLiteral("/shots")));
    Shelf shelf(prefs, capture, &meta, nullptr);
    FreedesktopTrash trash(dir + QStringLiteral("/Trash"));
    ActionRunner runner(trash, &meta);
    IdleLauncher launcher;
    IdleFileManager fileManager;
    Previewer previewer;
    Pins pins;
    TextIndexer indexer(meta, [] { return std::unique_ptr<TextRecognizer>(); });
    IdlePrompt prompt;
    FileCommands commands(shelf, runner, launcher, fileManager, previewer, pins, indexer, prompt, &meta,
                          [] { return nullptr; });

    std::unique_ptr<Thumbs> warmer;
    std::unique_ptr<Thumbs> thumbs;
    std::unique_ptr<ShelfView> view;
    QElapsedTimer clock;
    std::function<void()> measureMemory;
    std::function<void()> recordChanges;

    // 1. Fill the disk cache the way the grid asks (a first run pays this once).
    auto measure = [&] {
        warmer.reset();
        thumbs = std::make_unique<Thumbs>(disk);
        view = std::make_unique<ShelfView>(&shelf, &meta, thumbs.get(), commands);
        view->resize(1024, 700);
        ShelfGrid *grid = view->grid();
        clock.start();
        const qint64 showCpu = threadCpuNs();
        view->show();
        // 2. Until every cell in view has its image: nothing is waiting, and
        //    the last answer has been painted.
        when([&] { return thumbs->cachedCount() > 0 && thumbs->pendingCount() == 0; },
             [&, grid, showCpu] {
                 frameMs(*view);
                 const qint64 firstScreen = clock.elapsed();
                 std::printf("show to every visible cell painted with its thumbnail: %lld ms, GUI thread busy %.1f ms "
                             "(%d columns, %lld cells)\n",
                             firstScreen, (threadCpuNs() - showCpu) / 1e6, grid->layoutGeometry().columns,
                             qlonglong(grid->shownItems().size()));

                 // 3. Scrolling top to bottom in 20 steps.
                 QScrollBar *bar = grid->verticalScrollBar();
                 std::vector<double> frames;
                 for (int step = 1; step <= 20; ++step) {
                     bar->setValue(bar->maximum() * step / 20);
                     frames.push_back(frameMs(*view));
                 }
                 std::printf("scroll, 20 steps: median frame %.2f ms, worst %.2f ms (images not yet in memory paint as "
                             "placeholders)\n",
                             median(frames), *std::max_element(frames.begin(), frames.end()));

                 // 4. Ten window sizes.
                 frames.clear();
                 for (int i = 0; i < 10; ++i) {
                     view->resize(700 + i * 120, 500 + i * 40);
                     frames.push_back(frameMs(*view));
                 }
                 std::printf("resize, 10 sizes: median relayout + paint %.2f ms, worst %.2f ms\n", median(frames),
                             *std::max_element(frames.begin(), frames.end()));

                 // 5. Select all: the GUI thread's work from the change to the
                 //    grid's next paint done (what the grid chooses to
                 //    redraw), then the whole window repainted for comparison.
                 bar->setValue(0);
                 frameMs(*view);
                 auto painted = std::make_shared<PaintSeen>();
                 grid->viewport()->installEventFilter(painted.get());
                 const qint64 cpuBefore = threadCpuNs();
                 shelf.selectAll();
                 when([painted] { return painted->seen; },
                      [&, painted, cpuBefore] {
                          const double repaintMs = (threadCpuNs() - cpuBefore) / 1e6;
                          shelf.setSelection({});
                          frameMs(*view);
                          shelf.selectAll();
                          std::printf("select all 400, repaint: %.2f ms of GUI-thread time (the whole window "
                                      "repainted: %.2f ms)\n",
                                      repaintMs, frameMs(*view));
                          // 5b. A click's change: one cell selected instead of all.
                          painted->seen = false;
                          const qint64 clickCpu = threadCpuNs();
                          shelf.setSelection({shelf.items().first()});
                          when([painted] { return painted->seen; },
                               [&, clickCpu] {
                                   std::printf("select one cell instead of all, repaint: %.2f ms of GUI-thread time\n",
                                               (threadCpuNs() - clickCpu) / 1e6);
                                   recordChanges();
                               });
                      });
             });
    };
    // 6. A thousand record changes, one at a time, as a tidy of 1,000 makes
    //    them: each tells every view that the records changed.
    recordChanges = [&] {
        const QString shots = dir + QStringLiteral("/shots/");
        for (int i = 0; i < 1000; ++i)
            meta.update(QUrl::fromLocalFile(shots + QStringLiteral("old %1.png").arg(i)),
                        [](FileMeta &m) { m.app = QStringLiteral("Editor"); });
        const qint64 cpu = threadCpuNs();
        for (int i = 0; i < 1000; ++i)
            meta.moveRecord(QUrl::fromLocalFile(shots + QStringLiteral("old %1.png").arg(i)),
                            QUrl::fromLocalFile(shots + QStringLiteral("Archive/old %1.png").arg(i)));
        std::printf("1,000 records moved, one change each, with the window shown: %.2f ms of GUI-thread time\n",
                    (threadCpuNs() - cpu) / 1e6);
        measureMemory();
    };
    // 7. Memory once the thumbnails that scrolling asked for are in.
    measureMemory = [&] {
        when([&] { return thumbs->pendingCount() == 0; },
             [&] {
                 std::printf("resident memory with the 400 cells shown: %.0f MB (%d thumbnails in memory, %.0f MB)\n",
                             residentMB(), thumbs->cachedCount(), thumbs->cachedBytes() / 1048576.0);
                 app.quit();
             });
    };

    QObject::connect(&shelf, &Shelf::scanApplied, &app, [&] {
        static bool started = false;
        if (started)
            return;
        started = true;
        warmer = std::make_unique<Thumbs>(disk);
        auto answered = std::make_shared<int>(0);
        const QList<QUrl> items = shelf.items();
        // The size a default cell (300 points, 3 columns in 1024) asks for at scale 1.
        for (const QUrl &url : items)
            warmer->request(url, 300, 1.0, warmer.get(), [answered](const QImage &) { ++*answered; });
        when([answered, n = items.size()] { return *answered >= n; }, measure);
    });
    return app.exec();
}
