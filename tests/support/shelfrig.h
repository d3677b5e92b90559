#pragma once

#include "meta/metastore.h"
#include "model/shelf.h"
#include "support/fakecapturesettings.h"
#include "support/fakefrontapp.h"
#include "support/files.h"
#include "support/sandbox.h"
#include "system/capturelocation.h"
#include "system/prefs.h"

#include <QSignalSpy>
#include <QTest>

// A throwaway home with its own preferences and a screenshot tool held in memory.
struct HomeRig
{
    Sandbox box;
    Prefs prefs{box.path("prefs.conf")};
    FakeCaptureSettings tool;
    CaptureLocation capture{prefs, &tool};
};

// A shelf on a folder of a throwaway home, with its own preferences,
// screenshot tool, metadata store and front application.
class ShelfRig : public HomeRig
{
public:
    MetaStore meta{box.path("meta.json")};
    FakeFrontApp front;
    std::unique_ptr<Shelf> shelf;
    QList<QUrl> reported; // every freshScreenshot the shelf announced

    QString folder() const { return box.path("shots"); }
    QString file(const QString &name) const { return folder() + QLatin1Char('/') + name; }
    QUrl url(const QString &name) const { return QUrl::fromLocalFile(file(name)); }

    // Starts the shelf on folder() (made first unless told not to) and waits
    // for its first scan.
    bool start(bool makeFolder = true)
    {
        if (makeFolder)
            QDir().mkpath(folder());
        qputenv("BRINDLEWICK_FOLDER", QFile::encodeName(folder()));
        shelf = std::make_unique<Shelf>(prefs, capture, &meta, &front);
        qunsetenv("BRINDLEWICK_FOLDER");
        QObject::connect(shelf.get(), &Shelf::freshScreenshot, shelf.get(),
                         [this](const QUrl &url) { reported.append(url); });
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
        TestFiles::setMtimeMs(path, QDateTime::currentMSecsSinceEpoch() - qint64(secondsAgo * 1000));
    }

    QStringList itemNames() const { return TestFiles::names(shelf->items()); }
};
