#pragma once

#include "actions/views/filecommands.h"
#include "meta/textindexer.h"
#include "platform/applauncher.h"
#include "platform/filemanager.h"
#include "platform/textrecognizer.h"
#include "support/actionrig.h"

#include <QWidget>

// An application launcher and a file manager that only note what they were asked.
class RecordingLauncher final : public AppLauncher
{
public:
    QList<AppChoice> apps;
    QList<QUrl> opened;
    QList<QPair<QList<QUrl>, QUrl>> openedWith;
    void open(const QUrl &file) override { opened.append(file); }
    void openWith(const QList<QUrl> &files, const QUrl &app) override { openedWith.append({files, app}); }
    QList<AppChoice> applicationsFor(const QUrl &) override { return apps; }
};

class RecordingFileManager final : public FileManager
{
public:
    QList<QUrl> shown;
    void showItems(const QList<QUrl> &files) override { shown.append(files); }
    void showItemProperties(const QUrl &file) override { shown.append(file); }
};

// An ActionRig with the shelf's file commands on top. The preview opens
// beside `beside` (null until a test sets it).
struct CommandsRig : ActionRig
{
    RecordingLauncher launcher;
    RecordingFileManager fileManager;
    TextIndexer indexer{meta, [] { return std::unique_ptr<TextRecognizer>(); }};
    QPointer<QWidget> beside;
    std::unique_ptr<FileCommands> commands;

    // Builds the commands once the shelf has started.
    void makeCommands()
    {
        commands = std::make_unique<FileCommands>(*shelf, runner, launcher, fileManager, previewer, pins, indexer,
                                                  prompt, &meta, [this] { return beside.data(); });
    }
};
