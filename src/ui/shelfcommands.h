#pragma once

#include <QList>
#include <QObject>
#include <QPointer>
#include <QUrl>
#include <QWidget>

#include <optional>

class ActionRunner;
class AppLauncher;
class Pins;
class QuickLook;
class Shelf;
class TextPrompt;

// What the shelf's keys and toolbar do to its files: open, preview, pin,
// copy, move to the Trash and make a folder. Every collaborator is passed
// in; a command whose collaborator is missing does nothing. The Trash is
// reached only through the runner, so it never blocks the GUI thread.
class ShelfCommands : public QObject
{
    Q_OBJECT

public:
    struct Parts
    {
        AppLauncher *launcher = nullptr;
        ActionRunner *runner = nullptr;
        QuickLook *quickLook = nullptr;
        Pins *pins = nullptr;
        TextPrompt *folderPrompt = nullptr;
    };

    ShelfCommands(Shelf *shelf, const Parts &parts, QObject *parent = nullptr);

    // The window the preview opens beside (and closes with).
    void setWindow(QWidget *window) { m_window = window; }

    // The selected items in sight, in display order.
    QList<QUrl> targets() const;
    // The first target, else the first item in sight.
    std::optional<QUrl> primary() const;

    void open(const QList<QUrl> &files);
    void trash(const QList<QUrl> &files);
    // The item in sight at `index` goes to the clipboard and is selected;
    // nothing happens past the end.
    void copyItem(qsizetype index);
    void pinPrimary();
    // Opens the preview on the primary item, or closes an open one. With
    // `selectWhenNone`, an unselected shelf then selects what it shows.
    void togglePreview(bool selectWhenNone);
    // An open preview moves to the keyboard cursor.
    void previewCursor();
    void newFolder();

    QuickLook *quickLook() const;

private:
    QPointer<Shelf> m_shelf;
    AppLauncher *m_launcher;
    QPointer<ActionRunner> m_runner;
    QPointer<QuickLook> m_quickLook;
    QPointer<Pins> m_pins;
    TextPrompt *m_folderPrompt;
    QPointer<QWidget> m_window;
};
