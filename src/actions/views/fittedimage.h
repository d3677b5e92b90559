#pragma once

#include <QImage>
#include <QSize>
#include <QString>
#include <QThreadPool>

#include <functional>
#include <optional>

class QObject;

// Images for windows that show one picture large: decoded off the GUI
// thread, never bigger than the pixels they will cover, within the same
// memory limit as the file actions.
namespace FittedImage {

// `size` scaled down, aspect kept, to fit inside `box`; never enlarged.
// Each side is at least 1 so a very long, thin image still shows.
QSize fitted(const QSize &size, const QSize &box);

struct Decoded
{
    QImage image;
    // The upright size of the picture in the file (before any scaling).
    QSize original;
};

// Decodes the first picture of `path`, upright, scaled down to fit
// `maxPixels` where the format can decode at a smaller size. Nothing for a
// file that cannot be read, is not an image, or would take too much memory.
// Safe on any thread.
std::optional<Decoded> decode(const QString &path, const QSize &maxPixels);

// Threads for decoding: user-initiated work, apart from the thumbnail and
// listing pools so a preview never waits behind a scan. Each window that
// shows pictures owns its own; destroying it drops the decodes not started
// and waits for the ones under way.
class Threads : public QThreadPool
{
public:
    Threads();
    ~Threads() override;
};

// decode on `threads`; `done` runs on `context`'s thread, and not at all
// once `context` is gone.
void decodeLater(QThreadPool &threads, QObject *context, const QString &path, const QSize &maxPixels,
                 std::function<void(const std::optional<Decoded> &)> done);

} // namespace FittedImage
