// GIO reads the same desktop entries and MIME associations the file manager
// uses, so "Open With" offers what the rest of the desktop offers.
#include "files/localpaths.h"
#include "platform/applauncher.h"

#include <QCollator>
#include <QDesktopServices>
#include <QFile>
#include <QMimeDatabase>
#include <QSet>

#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>

#include <algorithm>

namespace {

QIcon iconFrom(GIcon *icon)
{
    if (!icon)
        return {};
    if (G_IS_THEMED_ICON(icon)) {
        const gchar *const *names = g_themed_icon_get_names(G_THEMED_ICON(icon));
        for (; names && *names; ++names) {
            const QString name = QString::fromUtf8(*names);
            if (QIcon::hasThemeIcon(name))
                return QIcon::fromTheme(name);
        }
        return {};
    }
    if (G_IS_FILE_ICON(icon)) {
        GFile *file = g_file_icon_get_file(G_FILE_ICON(icon));
        gchar *path = file ? g_file_get_path(file) : nullptr;
        QIcon result = path ? QIcon(QFile::decodeName(path)) : QIcon();
        g_free(path);
        return result;
    }
    return {};
}

class GioAppLauncher final : public AppLauncher
{
public:
    void open(const QUrl &file) override
    {
        // GIO finds the type and the default application from the URI, which
        // keeps a name's bytes; xdg-open outside a desktop it knows asks a
        // tool that cannot read names that are not UTF-8. It stays the
        // fallback where GIO knows no application.
        const QByteArray uri = file.toEncoded();
        GError *error = nullptr;
        if (g_app_info_launch_default_for_uri(uri.constData(), nullptr, &error))
            return;
        g_clear_error(&error);
        QDesktopServices::openUrl(file);
    }

    void openWith(const QList<QUrl> &files, const QUrl &app) override
    {
        if (files.isEmpty() || !app.isLocalFile())
            return;
        GDesktopAppInfo *info = g_desktop_app_info_new_from_filename(QFile::encodeName(app.toLocalFile()).constData());
        if (!info)
            return;
        QList<QByteArray> uris;
        for (const QUrl &file : files)
            uris.append(file.toEncoded());
        GList *list = nullptr;
        for (const QByteArray &uri : uris)
            list = g_list_append(list, const_cast<char *>(uri.constData()));
        g_app_info_launch_uris(G_APP_INFO(info), list, nullptr, nullptr);
        g_list_free(list);
        g_object_unref(info);
    }

    QList<AppChoice> applicationsFor(const QUrl &file) override
    {
        // Its content through its own bytes: a Qt file name could reach a look-alike.
        const std::unique_ptr<QFile> device = LocalPaths::openForReading(LocalPaths::localPath(file));
        const QByteArray type =
            (device ? QMimeDatabase().mimeTypeForFileNameAndData(file.fileName(), device.get())
                    : QMimeDatabase().mimeTypeForFile(file.fileName(), QMimeDatabase::MatchExtension))
                .name()
                .toUtf8();
        GAppInfo *fallback = g_app_info_get_default_for_type(type.constData(), FALSE);
        GList *apps = g_app_info_get_all_for_type(type.constData());
        QList<AppChoice> choices;
        QSet<QByteArray> seen;
        const auto offer = [&](GAppInfo *app, bool isDefault) {
            // Helpers and other desktops' programs are hidden from menus; the
            // default handler also comes back among all the others.
            if (!app || !g_app_info_should_show(app))
                return;
            const char *id = g_app_info_get_id(app);
            const QByteArray key = id ? QByteArray(id) : QByteArray(g_app_info_get_executable(app));
            if (seen.contains(key))
                return;
            seen.insert(key);
            AppChoice choice;
            choice.name = QString::fromUtf8(g_app_info_get_display_name(app));
            choice.icon = iconFrom(g_app_info_get_icon(app));
            choice.isDefault = isDefault;
            if (G_IS_DESKTOP_APP_INFO(app)) {
                if (const char *path = g_desktop_app_info_get_filename(G_DESKTOP_APP_INFO(app)))
                    choice.url = QUrl::fromLocalFile(QFile::decodeName(path));
            }
            choices.append(choice);
        };
        offer(fallback, true);
        for (GList *it = apps; it; it = it->next)
            offer(G_APP_INFO(it->data), false);
        g_list_free_full(apps, g_object_unref);
        if (fallback)
            g_object_unref(fallback);
        orderAppChoices(choices);
        return choices;
    }
};

} // namespace

void orderAppChoices(QList<AppChoice> &choices)
{
    QCollator collator;
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    std::stable_sort(choices.begin(), choices.end(), [&](const AppChoice &a, const AppChoice &b) {
        if (a.isDefault != b.isDefault)
            return a.isDefault;
        return collator.compare(a.name, b.name) < 0;
    });
}

std::unique_ptr<AppLauncher> makeAppLauncher() { return std::make_unique<GioAppLauncher>(); }
