// Times a full shelf scan (the 400 newest images of Home, its subfolders and
// every folder's count) against `find | sort | head`, which lists Home alone,
// on a generated folder of 100,000 images and 10 subfolders of 1,000.
//
//   bench_scan DIR [runs]     DIR is filled on the first run and reused.

#include "model/shelf.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>

#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <random>
#include <sys/stat.h>
#include <unistd.h>

namespace {

void touch(const QByteArray &path, qint64 mtime)
{
    const int fd = ::open(path.constData(), O_CREAT | O_WRONLY | O_CLOEXEC, 0644);
    if (fd < 0)
        return;
    const struct timespec times[2] = {{mtime, 0}, {mtime, 0}};
    ::futimens(fd, times);
    ::close(fd);
}

void generate(const QString &dir)
{
    const QByteArray root = QFile::encodeName(dir);
    QDir().mkpath(dir);
    std::mt19937 random(42);
    std::uniform_int_distribution<qint64> when(1600000000, 1790000000);
    const char *extensions[] = {".png", ".png", ".png", ".jpg", ".PNG", ".webp"};
    for (int i = 0; i < 100000; ++i)
        touch(root + "/Screenshot " + QByteArray::number(i) + extensions[i % 6], when(random));
    for (int s = 0; s < 10; ++s) {
        const QByteArray sub = root + "/Folder " + QByteArray::number(s);
        ::mkdir(sub.constData(), 0755);
        for (int i = 0; i < 1000; ++i)
            touch(sub + "/shot " + QByteArray::number(i) + ".png", when(random));
    }
    for (int i = 0; i < 500; ++i) {
        touch(root + "/notes " + QByteArray::number(i) + ".txt", when(random));
        touch(root + "/.hidden " + QByteArray::number(i) + ".png", when(random));
    }
    ::mkdir((root + "/x.png").constData(), 0755);
    ::symlink("Screenshot 1.png", (root + "/link.png").constData());
}

double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: bench_scan DIR [runs]\n");
        return 2;
    }
    const QString dir = QDir(QString::fromLocal8Bit(argv[1])).absolutePath();
    const int runs = argc > 2 ? std::max(1, atoi(argv[2])) : 7;
    if (!QFileInfo::exists(dir + QStringLiteral("/x.png"))) {
        QElapsedTimer t;
        t.start();
        generate(dir);
        std::printf("generated %s in %.1f s\n", qPrintable(dir), t.elapsed() / 1000.0);
    }

    // The folder name goes to the shell as an argument, never into the script.
    const QStringList findPipeline = {
        QStringLiteral("-c"),
        QStringLiteral("find \"$1\" -maxdepth 1 -type f -printf '%T@ %p\\n' | sort -rn | head -400 > /dev/null"),
        QStringLiteral("sh"), dir};

    std::vector<double> scanMs, findMs;
    Shelf::ScanResult last;
    for (int i = 0; i <= runs; ++i) { // the first round only warms the caches
        QElapsedTimer t;
        t.start();
        last = Shelf::runScan(dir, dir);
        const double scan = t.nsecsElapsed() / 1e6;
        t.restart();
        QProcess::execute(QStringLiteral("/bin/sh"), findPipeline);
        const double find = t.nsecsElapsed() / 1e6;
        if (i > 0) {
            scanMs.push_back(scan);
            findMs.push_back(find);
        }
    }

    const double scan = median(scanMs), find = median(findMs);
    std::printf("images listed %lld, Home count %lld, subfolders %lld\n", (long long)last.images.size(),
                (long long)last.counts.value(QUrl::fromLocalFile(dir)), (long long)last.subfolders.size());
    std::printf("full scan        %8.1f ms (median of %d)\n", scan, runs);
    std::printf("find|sort|head   %8.1f ms (median of %d)\n", find, runs);
    std::printf("ratio scan/find  %8.2f\n", scan / find);
    return 0;
}
