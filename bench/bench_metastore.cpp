// Loading and saving the metadata store.
//
//   bench_metastore generate <count> <file>   writes a store of <count> records
//   bench_metastore measure <file>            loads it, encodes it, saves it
//
// `measure` prints one "name milliseconds" pair per line; bench/run-metastore
// turns them into ratios against python3's json module on the same file.
// Besides the store's own load and save it times the parts and the choices
// they were made from: the bare parse (the floor of a load), simdjson's
// on-demand parser, what holding the recognised text as QString would add,
// and a save that encodes into one buffer before writing.

#include "meta/metaformat.h"
#include "meta/metastore.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QJsonDocument>
#include <QRandomGenerator>
#include <QSaveFile>
#include <QTimer>

#include <simdjson.h>

#include <cstdio>
#include <vector>

namespace {

// About 600 characters of screenshot-like text: words, line breaks, a few
// accented letters, quotes and tabs that need escaping.
QString sampleText(QRandomGenerator &random)
{
    static const QStringList words = {
        QStringLiteral("Invoice"),
        QStringLiteral("total"),
        QStringLiteral("due:"),
        QStringLiteral("12.40"),
        QStringLiteral("Café"),
        QStringLiteral("naïve"),
        QStringLiteral("\"quoted\""),
        QStringLiteral("error"),
        QStringLiteral("build"),
        QStringLiteral("failed"),
        QStringLiteral("/usr/lib/x86_64"),
        QStringLiteral("ok"),
        QStringLiteral("Settings"),
        QStringLiteral("Straße"),
        QStringLiteral("→"),
        QStringLiteral("tab\there"),
    };
    QString text;
    text.reserve(640);
    while (text.size() < 600) {
        text += words.at(random.bounded(qsizetype(words.size())));
        text += random.bounded(8) == 0 ? QLatin1Char('\n') : QLatin1Char(' ');
    }
    return text;
}

int generate(qsizetype count, const QString &path)
{
    QRandomGenerator random(20011);
    QHash<QString, FileMeta> records;
    records.reserve(count);
    const QDateTime start(QDate(2025, 3, 1), QTime(9, 0), Qt::UTC);
    for (qsizetype i = 0; i < count; ++i) {
        FileMeta m;
        if (i % 3 == 0) {
            m.app = QStringLiteral("Text Editor");
            m.appPath = QStringLiteral("/usr/share/applications/org.gnome.TextEditor.desktop");
        }
        m.text = sampleText(random);
        m.textAt = start.addMSecs(i * 1337);
        records.insert(QStringLiteral("Screenshot from 2025-03-01 %1.png").arg(i, 6, 10, QLatin1Char('0')), m);
    }
    QFile out(path);
    if (!out.open(QIODevice::WriteOnly) || out.write(MetaStore::encode(records)) < 0)
        return 1;
    return 0;
}

void report(const char *name, qint64 nanoseconds) { std::printf("%s %.1f\n", name, double(nanoseconds) / 1e6); }

int measure(const QString &path)
{
    QElapsedTimer timer;
    timer.start();
    MetaStore store(path);
    report("load-blocks-gui", timer.nsecsElapsed());
    // The file is read on the I/O thread; the records arrive with loaded().
    {
        QEventLoop loop;
        QObject::connect(&store, &MetaStore::loaded, &loop, &QEventLoop::quit);
        if (!store.isLoaded())
            loop.exec();
    }
    report("load", timer.nsecsElapsed());
    if (store.byName().isEmpty())
        return 1;

    // The parts of a load, on this thread at normal priority.
    timer.restart();
    QFile file(path);
    file.open(QIODevice::ReadOnly);
    QByteArray onDisk;
    onDisk.reserve(file.size() + simdjson::SIMDJSON_PADDING); // the parser reads past the end
    onDisk = file.read(file.size());
    report("read", timer.nsecsElapsed());
    const auto size = size_t(onDisk.size());
    timer.restart();
    {
        simdjson::dom::parser parser;
        simdjson::dom::element root;
        if (parser.parse(onDisk.constData(), size, false).get(root) != simdjson::SUCCESS)
            return 1;
    }
    report("parse-dom", timer.nsecsElapsed());
    timer.restart();
    {
        // Every string is unescaped, nothing else is checked.
        simdjson::ondemand::parser parser;
        simdjson::ondemand::document doc;
        simdjson::ondemand::object files;
        if (parser.iterate(onDisk.constData(), size, size_t(onDisk.capacity())).get(doc) != simdjson::SUCCESS
            || doc.get_object().get(files) != simdjson::SUCCESS)
            return 1;
        size_t total = 0;
        for (auto member : files) {
            simdjson::ondemand::object fields;
            if (member.value().get_object().get(fields) != simdjson::SUCCESS)
                return 1;
            for (auto field : fields) {
                std::string_view text;
                if (field.value().get_string().get(text) == simdjson::SUCCESS)
                    total += text.size();
            }
        }
        if (total == 0)
            return 1;
    }
    report("parse-ondemand", timer.nsecsElapsed());
    timer.restart();
    std::optional<QHash<QString, FileMeta>> decoded = MetaStore::decode(onDisk);
    if (!decoded)
        return 1;
    report("decode", timer.nsecsElapsed());
    // What keeping the recognised text as QString would add to the decode:
    // every text turned into UTF-16, in fresh memory, kept.
    timer.restart();
    {
        std::vector<QString> asUtf16;
        asUtf16.reserve(size_t(decoded->size()));
        for (const FileMeta &m : std::as_const(*decoded))
            if (m.text)
                asUtf16.push_back(m.text->toString());
        report("text-to-qstring", timer.nsecsElapsed());
    }
    decoded.reset();
    // For comparison: Qt's own JSON parser alone.
    timer.restart();
    const QJsonDocument parsed = QJsonDocument::fromJson(onDisk);
    report("parse", timer.nsecsElapsed());

    timer.restart();
    const QByteArray bytes = MetaStore::encode(store.byName());
    report("encode", timer.nsecsElapsed());
    std::printf("bytes %lld\n", static_cast<long long>(bytes.size()));
    // A save that writes the one buffer after encoding it all, to compare
    // with the store's, which hands the disk each piece as it is made.
    {
        timer.restart();
        const QByteArray whole = MetaStore::encode(store.byName());
        QSaveFile out(path + QStringLiteral(".one-buffer"));
        if (!out.open(QIODevice::WriteOnly) || out.write(whole) != whole.size() || !out.commit())
            return 1;
        report("save-one-buffer", timer.nsecsElapsed());
        QFile::remove(path + QStringLiteral(".one-buffer"));
    }

    // A change, then a save: how long the GUI thread is held, and how long
    // until the file is on disk.
    store.update(QUrl::fromLocalFile(QStringLiteral("/x/new.png")), [](FileMeta &m) { m.app = QStringLiteral("A"); });
    int exitCode = 1;
    QObject::connect(&store, &MetaStore::saveFinished, [&](bool written) {
        // Only the first write is timed; the change made during it is not waited for.
        if (exitCode == 1) {
            report("save", timer.nsecsElapsed());
            exitCode = written ? 0 : 2;
            QCoreApplication::quit();
        }
    });
    QTimer::singleShot(0, [&] {
        timer.restart();
        QElapsedTimer held;
        held.start();
        store.save();
        report("save-blocks-gui", held.nsecsElapsed());
        // The first change while the snapshot is being written detaches from it.
        held.restart();
        store.update(QUrl::fromLocalFile(QStringLiteral("/x/during.png")),
                     [](FileMeta &m) { m.app = QStringLiteral("B"); });
        report("update-during-save", held.nsecsElapsed());
    });
    QCoreApplication::exec();
    return exitCode;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() == 4 && args.at(1) == QLatin1String("generate"))
        return generate(args.at(2).toLongLong(), args.at(3));
    if (args.size() == 3 && args.at(1) == QLatin1String("measure"))
        return measure(args.at(2));
    std::fputs("usage: bench_metastore generate <count> <file> | measure <file>\n", stderr);
    return 2;
}
