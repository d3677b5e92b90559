#include "platform/desktopentries.h"

#include "files/async.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QPointer>
#include <QScopeGuard>
#include <QStandardPaths>
#include <QThreadPool>
#include <QTimer>

#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>

#include <algorithm>

namespace {

// Executables that run someone else's program: matching a desktop entry by
// them would name the wrong application.
bool isLauncher(const QString &baseName)
{
    static const QStringList launchers = {
        QStringLiteral("env"),  QStringLiteral("sh"),   QStringLiteral("bash"), QStringLiteral("perl"),
        QStringLiteral("java"), QStringLiteral("node"), QStringLiteral("mono"), QStringLiteral("flatpak"),
        QStringLiteral("snap"), QStringLiteral("gjs"),  QStringLiteral("wine"), QStringLiteral("electron"),
    };
    return launchers.contains(baseName) || baseName.startsWith(QLatin1String("python"));
}

QString fromGString(const char *text) { return text ? QString::fromUtf8(text) : QString(); }

QString takeGString(char *text)
{
    QString result = fromGString(text);
    g_free(text);
    return result;
}

// The installed entry of an id, found where the desktop looks for it.
QString fileOfId(QString id)
{
    if (!id.endsWith(QLatin1String(".desktop")))
        id += QLatin1String(".desktop");
    GDesktopAppInfo *info = g_desktop_app_info_new(id.toUtf8().constData());
    if (!info)
        return {};
    const QString file = QFile::decodeName(g_desktop_app_info_get_filename(info));
    g_object_unref(info);
    return file;
}

// A theme icon's name or a file, as GIO turns the Icon key into one.
QString iconName(GIcon *icon)
{
    if (G_IS_THEMED_ICON(icon)) {
        const gchar *const *names = g_themed_icon_get_names(G_THEMED_ICON(icon));
        return names && names[0] ? fromGString(names[0]) : QString();
    }
    if (G_IS_FILE_ICON(icon)) {
        char *path = g_file_get_path(g_file_icon_get_file(G_FILE_ICON(icon)));
        return QFile::decodeName(QByteArray(path ? path : ""));
    }
    return {};
}

// Exec's first word, unquoted as the desktop does ("%%" is a lone "%").
// GIO's own executable takes the text up to the first space, quotes and all.
QString programOf(const QString &exec)
{
    gchar **argv = nullptr;
    if (exec.isEmpty() || !g_shell_parse_argv(exec.toUtf8().constData(), nullptr, &argv, nullptr))
        return {};
    QString program = fromGString(argv[0]);
    g_strfreev(argv);
    return program.replace(QStringLiteral("%%"), QStringLiteral("%"));
}

QString canonical(const QString &path)
{
    const QString resolved = QFileInfo(path).canonicalFilePath();
    return resolved.isEmpty() ? path : resolved;
}

// Runs on a worker thread: GIO parses each entry (with its localised name).
QList<DesktopEntry> readDesktopEntries(const QStringList &folders, QStringList *subfolders)
{
    QList<DesktopEntry> entries;
    QSet<QString> seen;
    for (const QString &folder : folders) {
        const QDir root(folder);
        QDirIterator it(folder, QDir::Dirs | QDir::Files | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QString path = it.next();
            if (it.fileInfo().isDir()) {
                subfolders->append(path);
                continue;
            }
            if (!path.endsWith(QLatin1String(".desktop")))
                continue;
            QString id = root.relativeFilePath(path);
            id.chop(8);
            id.replace(QLatin1Char('/'), QLatin1Char('-'));
            if (seen.contains(id))
                continue;
            seen.insert(id);
            const std::optional<DesktopEntryFacts> facts = readDesktopEntry(path);
            if (!facts || !facts->runnable || facts->hidden)
                continue;
            DesktopEntry entry;
            entry.id = id;
            entry.name = facts->name;
            entry.file = path;
            entry.windowClass = facts->windowClass;
            const QString program = QFileInfo(facts->executable).fileName();
            if (!program.isEmpty() && !isLauncher(program)) {
                entry.executableName = program;
                QString onPath = facts->executable;
                if (!onPath.startsWith(QLatin1Char('/')))
                    onPath = takeGString(g_find_program_in_path(onPath.toUtf8().constData()));
                if (!onPath.isEmpty())
                    entry.executablePath = canonical(onPath);
            }
            entries.append(entry);
        }
    }
    return entries;
}

} // namespace

std::optional<DesktopEntryFacts> readDesktopEntry(const QString &pathOrId)
{
    const QString file = QFileInfo(pathOrId).isAbsolute() ? pathOrId : fileOfId(pathOrId);
    if (file.isEmpty())
        return std::nullopt;
    GKeyFile *keys = g_key_file_new();
    const auto freeKeys = qScopeGuard([keys] { g_key_file_free(keys); });
    if (!g_key_file_load_from_file(keys, QFile::encodeName(file).constData(), G_KEY_FILE_NONE, nullptr)
        || !g_key_file_has_group(keys, G_KEY_FILE_DESKTOP_GROUP))
        return std::nullopt;

    const auto text = [keys](const char *key) {
        return takeGString(g_key_file_get_string(keys, G_KEY_FILE_DESKTOP_GROUP, key, nullptr));
    };
    const auto flag = [keys](const char *key, bool otherwise) {
        GError *error = nullptr;
        const bool value = g_key_file_get_boolean(keys, G_KEY_FILE_DESKTOP_GROUP, key, &error);
        if (!error)
            return value;
        g_error_free(error);
        return otherwise;
    };
    DesktopEntryFacts facts;
    facts.file = file;
    facts.hidden = flag(G_KEY_FILE_DESKTOP_KEY_HIDDEN, false);
    facts.autostartEnabled = flag("X-GNOME-Autostart-enabled", true);
    facts.windowClass = text(G_KEY_FILE_DESKTOP_KEY_STARTUP_WM_CLASS);
    facts.executable = programOf(text(G_KEY_FILE_DESKTOP_KEY_EXEC));

    // GIO turns down an entry whose TryExec program is missing; the keys
    // themselves still say what the entry is.
    if (GDesktopAppInfo *info = g_desktop_app_info_new_from_keyfile(keys)) {
        facts.runnable = true;
        facts.name = fromGString(g_app_info_get_name(G_APP_INFO(info)));
        if (GIcon *icon = g_app_info_get_icon(G_APP_INFO(info)))
            facts.icon = iconName(icon);
        g_object_unref(info);
    } else {
        facts.name = takeGString(g_key_file_get_locale_string(keys, G_KEY_FILE_DESKTOP_GROUP,
                                                              G_KEY_FILE_DESKTOP_KEY_NAME, nullptr, nullptr));
        facts.icon = text(G_KEY_FILE_DESKTOP_KEY_ICON);
    }
    return facts;
}

DesktopEntries::DesktopEntries(QStringList folders, QObject *parent)
    : QObject(parent), m_folders(std::move(folders)), m_entries(std::make_shared<QList<DesktopEntry>>()),
      m_watcher(new QFileSystemWatcher(this)), m_debounce(new QTimer(this))
{
    // Installing a package touches many entries in a row: read once after.
    m_debounce->setSingleShot(true);
    m_debounce->setInterval(1000);
    connect(m_debounce, &QTimer::timeout, this, &DesktopEntries::reload);
    connect(m_watcher, &QFileSystemWatcher::directoryChanged, this, [this](const QString &path) {
        // A parent watched for a folder yet to come: only that folder's
        // arrival counts, not the parent's other traffic.
        if (m_parents.contains(path)
            && std::none_of(m_folders.cbegin(), m_folders.cend(), [&path](const QString &folder) {
                   return QFileInfo(folder).absolutePath() == path && QFileInfo(folder).isDir();
               }))
            return;
        m_debounce->start();
    });
    reload();
}

DesktopEntries::~DesktopEntries() = default;

QStringList DesktopEntries::defaultFolders()
{
    return QStandardPaths::standardLocations(QStandardPaths::ApplicationsLocation);
}

void DesktopEntries::reload()
{
    const quint64 generation = ++m_generation;
    const QStringList folders = m_folders;
    struct Reading
    {
        std::shared_ptr<const QList<DesktopEntry>> entries;
        QStringList subfolders;
    };
    Async::run(
        m_reads, this,
        [folders] {
            Reading reading;
            reading.entries =
                std::make_shared<const QList<DesktopEntry>>(readDesktopEntries(folders, &reading.subfolders));
            return reading;
        },
        [this, generation](Reading reading) {
            if (generation != m_generation)
                return; // a newer reading is under way
            m_entries = std::move(reading.entries);
            watch(reading.subfolders);
            Q_EMIT loaded();
        });
}

void DesktopEntries::watch(const QStringList &subfolders)
{
    // A folder that does not exist yet is watched through its parent, so
    // its creation is noticed (the parent's other changes cost one reading).
    QStringList wanted = subfolders;
    m_parents.clear();
    for (const QString &folder : std::as_const(m_folders)) {
        if (QFileInfo(folder).isDir()) {
            wanted << folder;
        } else {
            wanted << QFileInfo(folder).absolutePath();
            m_parents.insert(QFileInfo(folder).absolutePath());
        }
    }
    wanted.removeDuplicates();
    const QStringList current = m_watcher->directories();
    for (const QString &path : current)
        if (!wanted.contains(path))
            m_watcher->removePath(path);
    for (const QString &path : std::as_const(wanted))
        if (!current.contains(path) && QFileInfo(path).isDir())
            m_watcher->addPath(path);
}
