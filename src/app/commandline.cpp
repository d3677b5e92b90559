#include "app/commandline.h"

#include "app/logincommand.h"
#include "app/singleinstance.h"
#include "files/localpaths.h"
#include "meta/metastore.h"
#include "meta/textindexer.h"
#include "model/listing.h"
#include "model/shelf.h"
#include "platform/textrecognizer.h"
#include "system/capturelocation.h"
#include "system/loginitem.h"
#include "system/prefs.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>
#include <QTemporaryDir>
#include <QTimer>

#include <cstdio>

#include <unistd.h>

namespace {

const QByteArray recognisedVerb = QByteArrayLiteral("recognised ");
// Records per request: keeps each line far below what the instance accepts.
constexpr qsizetype recordsPerRequest = 100;

// Qt's own options for the desktop program ("-platform xcb", "-session ID"
// from a session manager): passed on to the application, not ours to judge.
bool isQtOption(const QString &argument, bool *takesValue)
{
    static const QStringList withValue = {QStringLiteral("-platform"),
                                          QStringLiteral("-platformpluginpath"),
                                          QStringLiteral("-platformtheme"),
                                          QStringLiteral("-plugin"),
                                          QStringLiteral("-display"),
                                          QStringLiteral("-style"),
                                          QStringLiteral("-stylesheet"),
                                          QStringLiteral("-session"),
                                          QStringLiteral("-qwindowgeometry"),
                                          QStringLiteral("-geometry"),
                                          QStringLiteral("-name")};
    static const QStringList alone = {QStringLiteral("-reverse"), QStringLiteral("-widgetcount")};
    *takesValue = withValue.contains(argument);
    return *takesValue || alone.contains(argument);
}

void write(FILE *stream, const QByteArray &bytes)
{
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stream);
    std::fflush(stream);
}

void say(FILE *stream, const QString &text) { write(stream, text.toLocal8Bit()); }

// A path as a terminal should show it: control characters (which could
// move the cursor, or split one path over two lines) and the backslash
// written as escapes, everything else as it is.
QByteArray escapedForTerminal(const QString &path)
{
    QString out;
    out.reserve(path.size());
    for (const QChar c : path) {
        const char16_t u = c.unicode();
        if (u == u'\\')
            out += QStringLiteral("\\\\");
        else if (u == u'\n')
            out += QStringLiteral("\\n");
        else if (u == u'\t')
            out += QStringLiteral("\\t");
        else if (u < 0x20 || u == 0x7f)
            out += QStringLiteral("\\x%1").arg(int(u), 2, 16, QLatin1Char('0'));
        else if (u >= 0xdc80 && u <= 0xdcff) // a byte of a name that is not UTF-8
            out += QStringLiteral("\\x%1").arg(int(u - 0xdc00), 2, 16, QLatin1Char('0'));
        else if (u >= 0x80 && u < 0xa0)
            out += QStringLiteral("\\u%1").arg(int(u), 4, 16, QLatin1Char('0'));
        else
            out += c;
    }
    return out.toUtf8();
}

QString isoDate(const QDateTime &time)
{
    // Local time with its offset, to the second.
    return time.toOffsetFromUtc(time.offsetFromUtc()).toString(Qt::ISODate);
}

// The screenshots of Home matching `query`, by the shelf's own listing and
// search, newest first. Runs the event loop until the listing and the
// metadata are in; never writes the metadata file.
enum class Listing { lines, nulls, json };

int runSearch(Prefs &prefs, CaptureLocation &capture, const QString &query, Listing listing)
{
    // A missing metadata file means names only; a store is not even made
    // then, since making one creates its folder.
    const QString metaPath = MetaStore::defaultFilePath();
    std::unique_ptr<MetaStore> meta;
    if (QFileInfo(metaPath).exists() || QFileInfo(metaPath).isSymLink())
        meta = std::make_unique<MetaStore>(metaPath);
    // No front application: the scan records nothing in the store.
    Shelf shelf(prefs, capture, meta.get(), nullptr);
    shelf.setQuery(query);

    bool scanned = false;
    const auto quitWhenReady = [&] {
        if (scanned && (!meta || meta->isLoaded()))
            QCoreApplication::quit();
    };
    QObject::connect(&shelf, &Shelf::scanApplied, &shelf, [&] {
        scanned = true;
        quitWhenReady();
    });
    if (meta)
        QObject::connect(meta.get(), &MetaStore::loaded, &shelf, quitWhenReady);
    QCoreApplication::exec();

    const QList<QUrl> found = shelf.visible();
    if (listing == Listing::json) {
        QJsonArray list;
        for (const QUrl &url : found) {
            const QString path = LocalPaths::localPath(url);
            const std::optional<FileMeta> record = meta ? meta->meta(url) : std::nullopt;
            QJsonObject item;
            item.insert(QStringLiteral("name"), url.fileName());
            // JSON holds text only: a name that is not UTF-8 is given as its
            // file URI, which keeps the bytes, never as the lossy look-alike.
            if (LocalPaths::hasRawBytes(path)) {
                item.insert(QStringLiteral("path"), QJsonValue());
                item.insert(QStringLiteral("uri"), QString::fromLatin1(url.toEncoded()));
            } else {
                item.insert(QStringLiteral("path"), path);
            }
            const std::optional<FileStamp> stamp = stampOf(LocalPaths::pathBytes(path));
            item.insert(QStringLiteral("date"),
                        stamp ? isoDate(QDateTime::fromMSecsSinceEpoch(stamp->mtimeNs / 1000000)) : QString());
            item.insert(QStringLiteral("application"), record && record->app ? QJsonValue(*record->app) : QJsonValue());
            // Text recognised before the file last changed is another picture's.
            item.insert(QStringLiteral("text"), record && record->hasTextFor(shelf.modified(url))
                                                    ? QJsonValue(record->text->toString())
                                                    : QJsonValue());
            list.append(item);
        }
        const QByteArray out = QJsonDocument(list).toJson(QJsonDocument::Indented);
        std::fwrite(out.constData(), 1, size_t(out.size()), stdout);
    } else {
        // The path's own bytes for programs; on a terminal, escaped.
        const bool terminal = listing == Listing::lines && ::isatty(STDOUT_FILENO);
        for (const QUrl &url : found) {
            const QString path = LocalPaths::localPath(url);
            QByteArray line = terminal ? escapedForTerminal(path) : LocalPaths::pathBytes(path);
            line += listing == Listing::nulls ? '\0' : '\n';
            std::fwrite(line.constData(), 1, size_t(line.size()), stdout);
        }
    }
    std::fflush(stdout);
    return found.isEmpty() ? 1 : 0;
}

// Recognised text replaces what the store had for those names; the rest of
// each record (the application in front) stays.
void mergeText(MetaStore &store, const QHash<QString, FileMeta> &records)
{
    for (auto it = records.cbegin(); it != records.cend(); ++it) {
        const FileMeta &incoming = it.value();
        store.updateName(it.key(), [&incoming](FileMeta &m) {
            m.text = incoming.text;
            m.textAt = incoming.textAt;
        });
    }
}

// Hands `records` to the running instance, or writes them into the store
// directly when none runs (holding off a start meanwhile).
bool storeRecognised(const QHash<QString, FileMeta> &records, QString *problem)
{
    // Only ever handed to a Brindlewick of this user's, in a folder of ours.
    const QString socketPath = SingleInstance::defaultSocketPath(problem);
    if (socketPath.isEmpty())
        return false;
    SingleInstance instance(socketPath);
    *problem = instance.problem();
    if (!problem->isEmpty())
        return false;
    const QList<QString> names = records.keys();
    for (qsizetype first = 0; first < names.size(); first += recordsPerRequest) {
        QHash<QString, FileMeta> part;
        for (const QString &name : names.mid(first, recordsPerRequest))
            part.insert(name, records.value(name));
        const QByteArray request = recognisedVerb + MetaStore::encode(part).toBase64();
        bool stored = false;
        // An instance may start or end between our two tries; a few rounds settle it.
        for (int attempt = 0; attempt < 3 && !stored; ++attempt) {
            const SingleInstance::Reply reply = instance.ask(request);
            if (reply.status == SingleInstance::Reply::answered) {
                if (reply.answer != "stored")
                    return false;
                stored = true;
                break;
            }
            if (reply.status == SingleInstance::Reply::refused) {
                *problem = instance.problem();
                return false;
            }
            if (reply.status == SingleInstance::Reply::noAnswer)
                return false;
            bool written = false;
            const bool ran = instance.runWhileNoneRunning([&part, &written] {
                MetaStore store(MetaStore::defaultFilePath());
                mergeText(store, part);
                // Waits for the load, replays our changes over it, writes atomically.
                written = store.flush(30000);
            });
            if (ran && !written)
                return false;
            if (!instance.problem().isEmpty()) {
                *problem = instance.problem();
                return false;
            }
            stored = ran;
        }
        if (!stored)
            return false;
    }
    return true;
}

// Records are kept by file name for the images the shelf shows: those of
// Home and of its subfolders (not hidden ones) one level down.
bool isOnShelf(const QString &canonicalPath, const QString &home)
{
    const QFileInfo file(canonicalPath);
    const QFileInfo folder(file.absolutePath());
    if (home.isEmpty() || file.fileName().startsWith(QLatin1Char('.')))
        return false;
    return folder.absoluteFilePath() == home
           || (folder.absolutePath() == home && !folder.fileName().startsWith(QLatin1Char('.')));
}

int runRecognise(Prefs &prefs, CaptureLocation &capture, const QStringList &paths)
{
    int status = 0;
    const QString home = QFileInfo(Shelf::homeFolder(prefs, capture).toLocalFile()).canonicalFilePath();
    // Each record belongs to one file: the arguments for each record's name.
    QHash<QString, QStringList> argumentsByName;
    QHash<QString, QSet<QString>> filesByName;
    QStringList names;
    for (const QString &path : paths) {
        const QFileInfo info(path);
        if (!info.isFile() || !QImageReader(info.absoluteFilePath()).canRead()) {
            say(stderr, QStringLiteral("brindlewick: not a readable image: ") + path + QLatin1Char('\n'));
            status = 1;
            continue;
        }
        const QString canonical = info.canonicalFilePath();
        if (!isOnShelf(canonical, home)) {
            say(stderr, QStringLiteral("brindlewick: not in the shelf's folders (%1 and its subfolders): %2\n")
                            .arg(home.isEmpty() ? QStringLiteral("Home") : home, path));
            status = 1;
            continue;
        }
        const QString name = QFileInfo(canonical).fileName();
        if (!argumentsByName.contains(name))
            names << name;
        argumentsByName[name] << path;
        filesByName[name].insert(canonical);
    }
    QList<QUrl> files;
    for (const QString &name : std::as_const(names)) {
        const QSet<QString> &same = filesByName.value(name);
        if (same.size() > 1) {
            say(stderr, QStringLiteral("brindlewick: different images with one name, whose text would share one "
                                       "record, left out: ")
                            + argumentsByName.value(name).join(QStringLiteral(", ")) + QLatin1Char('\n'));
            status = 1;
            continue;
        }
        files.append(QUrl::fromLocalFile(*same.cbegin()));
    }
    if (files.isEmpty())
        return status;

    // The indexer's results land in a store that lives in memory only: with
    // a folder in its file's place, it neither reads nor writes one.
    const QTemporaryDir scratchPlace;
    MetaStore scratch(scratchPlace.path());
    const QString languages = recognitionLanguages(prefs.text(PrefKey::ocrLanguages));
    TextIndexer indexer(scratch, [languages] { return makeTesseractRecognizer(languages); });
    const bool terminal = ::isatty(STDERR_FILENO);
    QObject::connect(&indexer, &TextIndexer::doneChanged, &indexer, [&indexer, terminal](int done) {
        if (terminal)
            say(stderr, QStringLiteral("\rRecognising text: %1 of %2").arg(done).arg(indexer.total()));
    });
    QObject::connect(&indexer, &TextIndexer::runningChanged, &indexer, [terminal](bool running) {
        if (running)
            return;
        if (terminal)
            say(stderr, QStringLiteral("\n"));
        QCoreApplication::quit();
    });
    // Once the scratch store is "loaded", so nothing waits to be replayed.
    const auto start = [&indexer, &files] { indexer.index(files, true); };
    if (scratch.isLoaded())
        QTimer::singleShot(0, &indexer, start);
    else
        QObject::connect(&scratch, &MetaStore::loaded, &indexer, start);
    QCoreApplication::exec();

    // An image that could not be read (cut short, still being written) has
    // no text to store: its record stays as it was.
    const QList<QUrl> unreadable = indexer.unreadable();
    QHash<QString, FileMeta> records;
    for (const QUrl &file : std::as_const(files)) {
        const std::optional<FileMeta> record = scratch.meta(file);
        if (unreadable.contains(file) || !record || !record->text) {
            say(stderr, QStringLiteral("brindlewick: not a readable image: ") + LocalPaths::localPath(file)
                            + QLatin1Char('\n'));
            status = 1;
            continue;
        }
        records.insert(MetaStore::recordName(file), *record);
    }
    if (records.isEmpty())
        return 1;
    QString problem;
    if (!storeRecognised(records, &problem)) {
        say(stderr, QStringLiteral("brindlewick: the recognised text could not be stored")
                        + (problem.isEmpty() ? QString() : QStringLiteral(": ") + problem) + QLatin1Char('\n'));
        return 1;
    }
    return status;
}

} // namespace

bool takeRecognisedText(MetaStore &store, const QByteArray &request,
                        const std::function<void(const QByteArray &)> &answer)
{
    if (!request.startsWith(recognisedVerb))
        return false;
    const std::optional<QHash<QString, FileMeta>> records =
        MetaStore::decode(QByteArray::fromBase64(request.mid(recognisedVerb.size())));
    if (!records) {
        answer(QByteArrayLiteral("unreadable"));
        return true;
    }
    mergeText(store, *records);
    // Answered once a write that includes these records is done and no
    // other is queued behind it (a write under way when they came in holds
    // the older records; the one after it, ours).
    auto *waiter = new QObject(&store);
    QObject::connect(&store, &MetaStore::saveFinished, waiter, [waiter, &store, answer](bool written) {
        QTimer::singleShot(0, waiter, [waiter, &store, answer, written] {
            if (store.isSaving())
                return;
            answer(written ? QByteArrayLiteral("stored") : QByteArrayLiteral("unsaved"));
            delete waiter;
        });
    });
    store.save();
    return true;
}

QString programPath()
{
    const QString self = QCoreApplication::applicationFilePath();
    const QString installed = QStringLiteral(BRINDLEWICK_INSTALLED_BINARY);
    const QFileInfo installedInfo(installed);
    if (installedInfo.exists() && installedInfo.canonicalFilePath() == QFileInfo(self).canonicalFilePath())
        return installed;
    return self;
}

CommandLine runCommandLine(int argc, char *argv[], Prefs &prefs, CaptureLocation &capture)
{
    CommandLine result;
    QStringList arguments;
    for (int i = 0; i < argc; ++i) {
        bool takesValue = false;
        const QString argument = QString::fromLocal8Bit(argv[i]);
        if (i > 0 && isQtOption(argument, &takesValue)) {
            i += takesValue ? 1 : 0;
            continue;
        }
        arguments << argument;
    }
    // A bare --login at the end asks nothing: the program starts as usual.
    if (arguments.size() > 1 && arguments.constLast() == QLatin1String("--login"))
        arguments.removeLast();
    if (arguments.size() <= 1)
        return result;

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Keeps your screenshots at hand: a tray icon and a shelf of your screenshot folder.\n"
                       "With no option it starts (or shows the running one's shelf)."));
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Show this help and exit."));
    const QCommandLineOption version({QStringLiteral("v"), QStringLiteral("version")},
                                     QStringLiteral("Show the version and exit."));
    const QCommandLineOption toggle(QStringLiteral("toggle"),
                                    QStringLiteral("Show the shelf, or hide it when it is in front."));
    const QCommandLineOption search(QStringLiteral("search"),
                                    QStringLiteral("Print the screenshots whose name or recognised text "
                                                   "contains TEXT, newest first, one path a line. "
                                                   "Exit status 1 when none does."),
                                    QStringLiteral("TEXT"));
    const QCommandLineOption json(QStringLiteral("json"),
                                  QStringLiteral("With --search: print name, path, date, application and "
                                                 "text of each match as JSON."));
    const QCommandLineOption null(QStringLiteral("null"),
                                  QStringLiteral("With --search: end each path with a NUL byte instead of a "
                                                 "line end, for xargs -0."));
    const QCommandLineOption recognise({QStringLiteral("recognise"), QStringLiteral("recognize")},
                                       QStringLiteral("Recognise the text of the given images now and store it "
                                                      "for search."));
    const QCommandLineOption login(QStringLiteral("login"),
                                   QStringLiteral("Start at login (on), or not (off); any other word "
                                                  "prints the state."),
                                   QStringLiteral("on|off"));
    parser.addOptions({help, version, toggle, search, json, null, recognise, login});
    parser.addPositionalArgument(QStringLiteral("PATH"), QStringLiteral("With --recognise: the images."),
                                 QStringLiteral("[PATH...]"));

    const bool parsed = parser.parse(arguments);
    const int commands =
        int(parser.isSet(search)) + int(parser.isSet(recognise)) + int(parser.isSet(login)) + int(parser.isSet(toggle));
    QString problem;
    if (!parsed)
        problem = parser.errorText();
    else if (commands > 1)
        problem = QStringLiteral("--search, --recognise, --login and --toggle go alone");
    else if (parser.isSet(json) && !parser.isSet(search))
        problem = QStringLiteral("--json goes with --search");
    else if (parser.isSet(null) && (!parser.isSet(search) || parser.isSet(json)))
        problem = QStringLiteral("--null goes with --search, without --json");
    else if (parser.isSet(recognise) && parser.positionalArguments().isEmpty())
        problem = QStringLiteral("--recognise needs at least one image");
    else if (!parser.isSet(recognise) && !parser.positionalArguments().isEmpty())
        problem = QStringLiteral("unexpected argument: ") + parser.positionalArguments().constFirst();

    if (problem.isEmpty() && !parser.isSet(help) && !parser.isSet(version) && commands == int(parser.isSet(toggle))) {
        result.toggle = parser.isSet(toggle);
        return result; // the desktop program
    }

    // Only the program's name: the usage line shows it as typed on a path.
    static char name[] = "brindlewick";
    static char *coreArgv[] = {name, nullptr};
    static int coreArgc = 1;
    QCoreApplication app(coreArgc, coreArgv);
    QCoreApplication::setApplicationName(QStringLiteral("brindlewick"));
    QCoreApplication::setApplicationVersion(QStringLiteral(BRINDLEWICK_VERSION));
    if (!problem.isEmpty()) {
        say(stderr, QStringLiteral("brindlewick: ") + problem + QStringLiteral("\n\n") + parser.helpText());
        result.status = 2;
    } else if (parser.isSet(help)) {
        say(stdout, parser.helpText());
        result.status = 0;
    } else if (parser.isSet(version)) {
        say(stdout, QStringLiteral("brindlewick " BRINDLEWICK_VERSION "\n"));
        result.status = 0;
    } else if (parser.isSet(login)) {
        LoginItem item(prefs, LoginItem::defaultEntryPath(), programPath(), nullptr,
                       QCoreApplication::applicationPid());
        result.status = runLoginCommand(item, parser.value(login));
    } else if (parser.isSet(search)) {
        result.status = runSearch(prefs, capture, parser.value(search),
                                  parser.isSet(json)   ? Listing::json
                                  : parser.isSet(null) ? Listing::nulls
                                                       : Listing::lines);
    } else {
        result.status = runRecognise(prefs, capture, parser.positionalArguments());
    }
    return result;
}
