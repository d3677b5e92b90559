// org.freedesktop.FileManager1 is answered by the common file managers
// (Files, Dolphin, Nemo, Caja, Thunar, PCManFM-Qt). The calls are
// asynchronous: the file manager may first have to start, and the interface
// must not wait for it.
#include "platform/filemanager.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDesktopServices>
#include <QFileInfo>
#include <QSet>

namespace {

void openFolders(const QList<QUrl> &files)
{
    QSet<QString> opened;
    for (const QUrl &file : files) {
        const QString folder = QFileInfo(file.toLocalFile()).absolutePath();
        if (!opened.contains(folder)) {
            opened.insert(folder);
            QDesktopServices::openUrl(QUrl::fromLocalFile(folder));
        }
    }
}

class DBusFileManager final : public FileManager
{
public:
    void showItems(const QList<QUrl> &files) override { call(QStringLiteral("ShowItems"), files); }
    void showItemProperties(const QUrl &file) override { call(QStringLiteral("ShowItemProperties"), {file}); }

private:
    static void call(const QString &method, const QList<QUrl> &files)
    {
        if (files.isEmpty())
            return;
        QStringList uris;
        for (const QUrl &file : files)
            uris.append(QString::fromUtf8(file.toEncoded()));
        QDBusMessage message = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.FileManager1"),
                                                              QStringLiteral("/org/freedesktop/FileManager1"),
                                                              QStringLiteral("org.freedesktop.FileManager1"), method);
        message << uris << QString();
        QDBusConnection bus = QDBusConnection::sessionBus();
        if (!bus.isConnected()) {
            openFolders(files);
            return;
        }
        auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(message));
        QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [files](QDBusPendingCallWatcher *self) {
            if (self->isError())
                openFolders(files);
            self->deleteLater();
        });
    }
};

} // namespace

std::unique_ptr<FileManager> makeFileManager() { return std::make_unique<DBusFileManager>(); }
