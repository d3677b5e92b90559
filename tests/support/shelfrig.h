#pragma once

#include "meta/metastore.h"
#include "model/shelf.h"
#include "support/fakecapturesettings.h"
#include "support/fakefrontapp.h"
#include "support/sandbox.h"
#include "system/capturelocation.h"
#include "system/prefs.h"

#include <QSignalSpy>
#include <QTest>

#include <fcntl.h>
#include <sys/stat.h>

// A shelf on a folder of a throwaway home, with its own preferences,
// screenshot tool, metadata store and front application.
class ShelfRig
{
public:
    Sandbox box;
    Prefs prefs{box.path(QStringLiteral("prefs.conf"))};
    FakeCaptureSettings tool;
    CaptureLocation capture{prefs, &tool};
    MetaStore meta{box.path(QStringLiteral("meta.json"))};
    FakeFrontApp front;
    std::unique_ptr<Shelf> shelf;
    QList<QUrl> reported; // what onFreshScreenshot was called with

    QString folder() const { return box.path(QStringLiteral("shots")); }
    QString file(const QString &name) const { return folder() + QLatin1Char('/') + name; }
    QUrl url(const QString &name) const { return QUrl::fromLocalFile(file(name)); }

    // Starts the shelf on folder() and waits for its first scan.
    bool start()
    {
        QDir().mkpath(folder());
        qputenv("BRINDLEWICK_FOLDER", QFile::encodeName(folder()));
        shelf = std::make_unique<Shelf>(prefs, capture, &meta, &front);
        qunsetenv("BRINDLEWICK_FOLDER");
        shelf->onFreshScreenshot = [this](const QUrl &url) { reported.append(url); };
        QSignalSpy applied(shelf.get(), &Shelf::scanApplied);
        return applied.wait(10000);
    }

    bool rescan()
    {
        QSignalSpy applied(shelf.get(), &Shelf::scanApplied);
        shelf->scan();
        return applied.wait(10000);
    }

    // An image whose modification time is `secondsAgo` in the past.
    void addImage(const QString &name, double secondsAgo = 0) const
    {
        Sandbox::writeFile(file(name));
        if (secondsAgo != 0)
            setAge(file(name), secondsAgo);
    }

    static void setAge(const QString &path, double secondsAgo)
    {
        const qint64 ms = QDateTime::currentMSecsSinceEpoch() - qint64(secondsAgo * 1000);
        const struct timespec t = {time_t(ms / 1000), long(ms % 1000) * 1000000};
        const struct timespec times[2] = {t, t};
        ::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, 0);
    }

    QStringList itemNames() const { return names(shelf->items()); }
    static QStringList names(const QList<QUrl> &urls)
    {
        QStringList out;
        for (const QUrl &u : urls)
            out << u.fileName();
        return out;
    }
};
