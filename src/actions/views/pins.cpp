#include "actions/views/pins.h"
#include "actions/views/screens.h"

#include "actions/views/fittedimage.h"
#include "actions/views/pinwindow.h"
#include "files/localpaths.h"

#include <QCursor>
#include <QFileInfo>
#include <QGuiApplication>
#include <QScreen>

#include <algorithm>

Pins::Pins(QObject *parent) : QObject(parent) {}

Pins::~Pins()
{
    const QList<PinWindow *> open = m_windows;
    m_windows.clear();
    qDeleteAll(open);
}

void Pins::pin(const QUrl &file) { pin(file, screenUnderPointer()); }

void Pins::pin(const QUrl &file, QScreen *screen)
{
    if (!file.isLocalFile())
        return;
    // As many pixels as the screen could ever show of it: the window can
    // be resized up to that and stays sharp.
    QSize most(4096, 4096);
    if (screen)
        most = (QSizeF(screen->availableGeometry().size()) * screen->devicePixelRatio()).toSize();
    QPointer<QScreen> where(screen);
    const quint64 serial = m_nextSerial++;
    FittedImage::decodeLater(m_decoding, this, LocalPaths::localPath(file), most,
                             [this, serial, file, where](const std::optional<FittedImage::Decoded> &decoded) {
                                 if (!decoded) {
                                     Q_EMIT pinFailed(file);
                                     return;
                                 }
                                 opened(serial, file, where, decoded->image, decoded->original);
                             });
}

void Pins::opened(quint64 serial, const QUrl &file, QPointer<QScreen> screen, const QImage &image,
                  const QSize &original)
{
    if (!screen)
        screen = screenUnderPointer();
    // A picture's pixels are the screen's device pixels: a screenshot of a
    // scale-2 screen pins at the size it had there.
    const double ratio = screen ? screen->devicePixelRatio() : 1.0;
    auto *window = new PinWindow(image, QSizeF(original) / ratio, file.fileName(), screen);
    const auto later = std::find_if(m_windows.cbegin(), m_windows.cend(),
                                    [&](PinWindow *open) { return m_serials.value(open) > serial; });
    m_windows.insert(later - m_windows.cbegin(), window);
    m_serials.insert(window, serial);
    m_files.insert(window, file);
    connect(window, &QObject::destroyed, this, [this, window] {
        m_serials.remove(window);
        m_files.remove(window);
        m_reloads.remove(window);
        if (m_windows.removeOne(window))
            Q_EMIT windowsChanged();
    });
    Q_EMIT windowsChanged();
    window->show();
    window->raise();
    window->activateWindow();
}

void Pins::filesChanged(const QList<QUrl> &files)
{
    for (PinWindow *window : std::as_const(m_windows)) {
        const QUrl file = m_files.value(window);
        if (!files.contains(file))
            continue;
        // Nothing of the old content stays on screen while the new decodes.
        window->setImage(QImage());
        const quint64 reload = ++m_nextReload;
        m_reloads.insert(window, reload);
        QPointer<PinWindow> alive(window);
        QScreen *screen = window->screen();
        const QSize most = screen ? (QSizeF(screen->availableGeometry().size()) * screen->devicePixelRatio()).toSize()
                                  : QSize(4096, 4096);
        FittedImage::decodeLater(m_decoding, window, LocalPaths::localPath(file), most,
                                 [this, alive, reload](const std::optional<FittedImage::Decoded> &decoded) {
                                     // Only the latest of overlapping reloads lands.
                                     if (alive && decoded && m_reloads.value(alive.data()) == reload)
                                         alive->setImage(decoded->image);
                                 });
    }
}
