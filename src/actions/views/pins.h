#pragma once

#include "actions/views/fittedimage.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QUrl>

class PinWindow;
class QScreen;

// The pinned images: any number, each in its own PinWindow, in the order
// they were pinned. A window stays in the list until it closes.
class Pins : public QObject
{
    Q_OBJECT

public:
    explicit Pins(QObject *parent = nullptr);
    ~Pins() override;

    // Pins `file` on the screen under the pointer (else the primary one).
    // The image is decoded off the GUI thread, so the window appears a
    // moment later; a file that cannot be read as an image pins nothing.
    void pin(const QUrl &file);
    // The same on a given screen.
    void pin(const QUrl &file, QScreen *screen);

    QList<PinWindow *> windows() const { return m_windows; }
    QUrl file(PinWindow *window) const { return m_files.value(window); }
    // `files` were overwritten or renamed over: their pins show the new content.
    void filesChanged(const QList<QUrl> &files);

Q_SIGNALS:
    void windowsChanged();
    // A file could not be pinned (not an image, vanished, too large).
    void pinFailed(const QUrl &file);

private:
    void opened(quint64 serial, const QUrl &file, QPointer<QScreen> screen, const QImage &image, const QSize &original);

    QList<PinWindow *> m_windows;
    // The pin order of each open window (decoding may finish out of order).
    QHash<PinWindow *, quint64> m_serials;
    QHash<PinWindow *, QUrl> m_files;
    QHash<PinWindow *, quint64> m_reloads;
    quint64 m_nextReload = 0;
    quint64 m_nextSerial = 0;
    FittedImage::Threads m_decoding;
};
