// GIO reads the same desktop entries and MIME associations the file manager
// uses, so "Open With" offers what the rest of the desktop offers.
#include "platform/applauncher.h"

#include <QCollator>
#include <QDesktopServices>
#include <QFile>
#include <QMimeDatabase>

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
    void open(const QUrl &file) override { QDesktopServices::openUrl(file); }

    void openWith(const QList<QUrl> &files, const QUrl &app) override
    {
        if (files.isEmpty() || !app.isLocalFile())
            return;
        GDesktopAppInfo *info =
            g_desktop_app_info_new_from_filename(QFile::encodeName(app.toLocalFile()).constData());
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
        const QString type = QMimeDatabase().mimeTypeForFile(file.toLocalFile()).name();
        QList<AppChoice> choices;
        GList *apps = g_app_info_get_all_for_type(type.toUtf8().constData());
        for (GList *it = apps; it; it = it->next) {
            GAppInfo *app = G_APP_INFO(it->data);
            AppChoice choice;
            choice.name = QString::fromUtf8(g_app_info_get_display_name(app));
            choice.icon = iconFrom(g_app_info_get_icon(app));
            if (G_IS_DESKTOP_APP_INFO(app)) {
                if (const char *path = g_desktop_app_info_get_filename(G_DESKTOP_APP_INFO(app)))
                    choice.url = QUrl::fromLocalFile(QFile::decodeName(path));
            }
            choices.append(choice);
        }
        g_list_free_full(apps, g_object_unref);
        sortAppChoices(choices);
        return choices;
    }
};

} // namespace

void sortAppChoices(QList<AppChoice> &choices)
{
    QCollator collator;
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    std::stable_sort(choices.begin(), choices.end(), [&](const AppChoice &a, const AppChoice &b) {
        return collator.compare(a.name, b.name) < 0;
    });
}

AppLauncher &AppLauncher::shared()
{
    static GioAppLauncher instance;
    return instance;
}
