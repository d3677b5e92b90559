#pragma once

#include "actions/views/fittedimage.h"

#include <QHash>
#include <QImage>
#include <QList>
#include <QPointer>
#include <QUrl>
#include <QWidget>

class QTimer;

// The preview window: one image as large as the window allows (never
// beyond one image pixel per screen pixel), its file name and its place in
// the list ("3 of 12"). It draws what it is told; Previewer decides which
// file and pages. The image is decoded off the GUI thread at the size it
// is shown, again after the window is resized.
class PreviewWindow : public QWidget
{
    Q_OBJECT

public:
    static constexpr int padding = 16;
    static constexpr int captionHeight = 36;

    PreviewWindow();

    // Shows `file`, the `index`-th (from 0) of `count`. `neighbours` (the
    // files one step either way) are decoded ahead, so paging to them shows
    // them at once.
    void showItem(const QUrl &file, int index, int count, const QList<QUrl> &neighbours = {});
    QUrl file() const { return m_file; }
    // `files` were overwritten or renamed over: what was decoded of them is
    // dropped, and the one shown is decoded again (nothing is drawn until then).
    void filesChanged(const QList<QUrl> &files);
    // The decoded picture (null while decoding or when the file could not
    // be read) and whether decoding has finished for the current file.
    const QImage &image() const { return m_image; }
    bool isSettled() const { return m_settled; }

    // Keys the preview does not use go to `target` (the shelf window), so
    // the shelf keeps its keys even where the window manager gives the
    // preview the keyboard focus.
    void setKeyTarget(QWidget *target) { m_keyTarget = target; }

    // The area the image is fitted into.
    QRect imageArea() const;

Q_SIGNALS:
    void stepRequested(int delta);
    void closeRequested();
    void shownChanged(bool shown);
    // The current file's picture has been decoded (or found unreadable).
    void settled();

protected:
    void paintEvent(QPaintEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    QSize pixels() const;
    void decode();
    void decoded(quint64 request, const QImage &image, const QSize &original);
    void decodeAhead();

    // A neighbour's picture, decoded (or being decoded) at `pixels`.
    struct Ahead
    {
        QSize pixels;
        bool done = false;
        std::optional<FittedImage::Decoded> result;
    };

    QUrl m_file;
    int m_index = -1;
    int m_count = 0;
    QImage m_image;
    QSize m_original;
    QSize m_decodedFor;
    bool m_settled = false;
    // Results of older requests (another file, an older size) are dropped.
    quint64 m_request = 0;
    QList<QUrl> m_neighbours;
    QHash<QUrl, Ahead> m_ahead;
    QTimer *m_resizeSettle;
    QPointer<QWidget> m_keyTarget;
    FittedImage::Threads m_decoding;
};
