// File actions over many files.
//
//   bench_fileactions generate <dir> <count>   <count> screenshot-named files
//   bench_fileactions cleanup <dir>            renames them all to clean names
//   bench_fileactions move <from> <to>         moves every file of <from> into <to>
//
// cleanup and move print "milliseconds files" on one line; bench/run-fileactions
// sets them against a shell loop of `mv` over the same files.

#include "actions/fileactions.h"
#include "actions/names.h"
#include "meta/metastore.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <cstdio>

namespace {

QList<QUrl> filesOf(const QString &dir)
{
    QList<QUrl> urls;
    const QStringList names = QDir(dir).entryList(QDir::Files);
    for (const QString &name : names)
        urls.append(QUrl::fromLocalFile(dir + QLatin1Char('/') + name));
    return urls;
}

// A store holding a record for every file, as after text recognition.
std::unique_ptr<MetaStore> storeFor(const QList<QUrl> &files, const QString &path)
{
    auto meta = std::make_unique<MetaStore>(path);
    for (const QUrl &file : files)
        meta->update(file, [](FileMeta &m) { m.text = QStringLiteral("recognised text"); });
    return meta;
}

int generate(const QString &dir, int count)
{
    QDir().mkpath(dir);
    for (int i = 0; i < count; ++i) {
        // Every tenth name collides after cleaning with an existing clean name.
        const QString stamp = QStringLiteral("2026-10-%1 05.%2.%3")
                                  .arg(1 + i / 3600 % 28, 2, 10, QLatin1Char('0'))
                                  .arg(i / 60 % 60, 2, 10, QLatin1Char('0'))
                                  .arg(i % 60, 2, 10, QLatin1Char('0'));
        const QString name = i % 10 == 9 ? stamp + QStringLiteral(".png")
                                         : QStringLiteral("Screenshot %1 at %2.png").arg(stamp.left(10), stamp.mid(11));
        QFile f(dir + QLatin1Char('/') + name);
        if (!f.open(QIODevice::NewOnly))
            continue;
        f.write(QByteArray(2048 + i % 512, char('a' + i % 26)));
    }
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() == 4 && args[1] == QLatin1String("generate"))
        return generate(args[2], args[3].toInt());

    QTemporaryDir scratch;
    if (args.size() == 3 && args[1] == QLatin1String("cleanup")) {
        const QList<QUrl> files = filesOf(args[2]);
        auto meta = storeFor(files, scratch.filePath(QStringLiteral("meta.json")));
        QElapsedTimer timer;
        timer.start();
        const FileActions::Moves moves = ScreenshotNames::cleanUpNames(files);
        FileActions::carryRecords(moves, meta.get());
        const qint64 renamed = moves.size();
        std::printf("%.1f %lld\n", timer.nsecsElapsed() / 1e6, static_cast<long long>(renamed));
        return 0;
    }
    if (args.size() == 4 && args[1] == QLatin1String("move")) {
        const QList<QUrl> files = filesOf(args[2]);
        auto meta = storeFor(files, scratch.filePath(QStringLiteral("meta.json")));
        QElapsedTimer timer;
        timer.start();
        const FileActions::Moves moves = FileActions::move(files, QUrl::fromLocalFile(args[3]));
        FileActions::carryRecords(moves, meta.get());
        const qint64 moved = moves.size();
        std::printf("%.1f %lld\n", timer.nsecsElapsed() / 1e6, static_cast<long long>(moved));
        return 0;
    }
    std::fprintf(stderr, "usage: bench_fileactions generate <dir> <count> | cleanup <dir> | move <from> <to>\n");
    return 2;
}
