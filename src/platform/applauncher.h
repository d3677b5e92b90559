#pragma once

#include <QIcon>
#include <QList>
#include <QString>
#include <QUrl>

#include <memory>

// One application offered under "Open With".
struct AppChoice
{
    QString name;           // display name, as the desktop shows it
    QIcon icon;             // from the application's desktop entry; shown at 16 × 16
    QUrl url;               // the application's desktop entry file
    bool isDefault = false; // the desktop's default for the file's type
};

// Opening files with applications.
class AppLauncher
{
public:
    virtual ~AppLauncher() = default;

    // Opens one file with its default application.
    virtual void open(const QUrl &file) = 0;
    // Opens all `files` in one launch of the application at `app`.
    virtual void openWith(const QList<QUrl> &files, const QUrl &app) = 0;
    // The applications that can open `file`, each once and only those the
    // desktop shows in its menus: the default one first, the others by name.
    virtual QList<AppChoice> applicationsFor(const QUrl &file) = 0;
};

// GIO's application registry and the desktop's default handlers.
std::unique_ptr<AppLauncher> makeAppLauncher();

// The default application first, then the others by name, ascending,
// locale-aware and ignoring case; equal names keep their order and all stay.
void orderAppChoices(QList<AppChoice> &choices);
