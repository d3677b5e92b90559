#pragma once

#include <QList>
#include <QObject>
#include <QPointer>
#include <QUrl>

#include <memory>
#include <optional>

class PreviewWindow;
class QWidget;

// The preview of the shelf's images: a list of files to page through and
// the one shown, in a PreviewWindow that opens on the screen of the window
// it was asked from.
//
// While that window (the shelf) is given, the preview takes no keyboard
// focus, so the shelf keeps every key: Space closes the preview through
// toggle and the shelf's arrow keys keep it on the cursor through show or
// setCurrent. Where the window manager gives the preview the focus anyway
// (or it was opened on its own), its own keys page (arrows), close (Space,
// Escape) and pass the rest on to the shelf. Paging stops at either end of
// the list, as the shelf's cursor does. Hiding the shelf closes it.
class Previewer : public QObject
{
    Q_OBJECT

public:
    explicit Previewer(QObject *parent = nullptr);
    ~Previewer() override;

    // Pages through `list` (or just `file` when the list is empty), opened
    // on `file`, or on the first entry when `file` is not in the list.
    // `near` is the window asking; the preview opens on its screen. An
    // open preview keeps its place and size and shows the new file.
    void show(const QUrl &file, const QList<QUrl> &list, QWidget *near = nullptr);
    // Closes an open preview, whatever file is given; otherwise shows
    // `file` (when one is given) among `list`.
    void toggle(const std::optional<QUrl> &file, const QList<QUrl> &list, QWidget *near = nullptr);
    void close();

    bool isOpen() const;
    QList<QUrl> urls() const { return m_urls; }
    // The index shown (-1 when the list is empty) and its file.
    int current() const { return m_current; }
    QUrl currentURL() const;
    // Shows the entry at `index`, kept within the list.
    void setCurrent(int index);
    void step(int delta) { setCurrent(m_current + delta); }
    // The list it pages through changed (files deleted, a search typed): an
    // open preview keeps its file while it is listed, else shows the one
    // that took its place, and closes when nothing is left.
    void follow(const QList<QUrl> &list);
    // `files` changed on disk: the one shown is decoded again.
    void filesChanged(const QList<QUrl> &files);

    // The window (created by the first show); for tests and snapshots.
    PreviewWindow *window() const { return m_window.get(); }

Q_SIGNALS:
    void urlsChanged();
    void currentChanged(int index);
    void openChanged(bool open);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void ensureWindow();
    void placeNear(QWidget *near);
    void showCurrent();

    QList<QUrl> m_urls;
    int m_current = -1;
    std::unique_ptr<PreviewWindow> m_window;
    QPointer<QWidget> m_near;
};
