#include "actions/views/pins.h"
#include "actions/views/pinwindow.h"
#include "actions/views/previewwindow.h"
#include "actions/views/quicklook.h"
#include "support/badimages.h"

#include <QBuffer>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QScreen>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

namespace {

QUrl writeImage(const QString &path, int w, int h, const char *format = "PNG")
{
    QImage image(w, h, QImage::Format_RGB32);
    image.fill(QColor(40, 120, 200));
    if (!image.save(path, format))
        return {};
    return QUrl::fromLocalFile(path);
}

// A JPEG stored as w × h whose EXIF orientation (6) says to turn it a
// quarter: upright it is h × w, as phone photos are.
QUrl writeTurnedJpeg(const QString &path, int w, int h)
{
    QImage image(w, h, QImage::Format_RGB32);
    image.fill(Qt::red);
    QByteArray jpeg;
    QBuffer buffer(&jpeg);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "JPEG");
    const QByteArray tiff = QByteArray("MM\0\x2a\0\0\0\x08\0\x01\x01\x12\0\x03\0\0\0\x01\0\x06\0\0\0\0\0\0", 26);
    const QByteArray app1 = QByteArray("Exif\0\0", 6) + tiff;
    QByteArray segment("\xff\xe1");
    segment.append(char((app1.size() + 2) >> 8)).append(char((app1.size() + 2) & 0xff)).append(app1);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return {};
    file.write(jpeg.left(2) + segment + jpeg.mid(2));
    return QUrl::fromLocalFile(path);
}

// Stands in for the shelf window: records the keys it receives.
class KeyRecorder : public QWidget
{
public:
    QList<int> keys;

protected:
    void keyPressEvent(QKeyEvent *event) override
    {
        keys.append(event->key());
        event->accept();
    }
};

} // namespace

class TestPreviewPins : public QObject
{
    Q_OBJECT

    QTemporaryDir dir;

    QString path(const QString &name) const { return dir.filePath(name); }

private Q_SLOTS:
    void pinGeometry()
    {
        // The screen's usable area need not start at the origin (a panel
        // on the left or top).
        const QRect vf(100, 30, 1440, 875);
        // Small images are never enlarged, and grow to the minimum size.
        QCOMPARE(PinWindow::geometryFor(QSizeF(100, 50), vf), QRect(100 + 1440 - 160 - 24, 30 + 24, 160, 100));
        QCOMPARE(PinWindow::geometryFor(QSizeF(300, 200), vf).size(), QSize(300, 200));
        // Large ones take at most 40 % of the width and half the height.
        QCOMPARE(PinWindow::geometryFor(QSizeF(4000, 3000), vf), QRect(100 + 1440 - 576 - 24, 30 + 24, 576, 432));
        const QRect tall = PinWindow::geometryFor(QSizeF(600, 3000), vf);
        QVERIFY(tall.height() <= 438 && tall.height() >= 437);
        QCOMPARE(tall.width(), 160);
    }

    void pinOpensClosesAndForgets()
    {
        Pins pins;
        QSignalSpy changed(&pins, &Pins::windowsChanged);
        const QUrl big = writeImage(path("big.png"), 3000, 2000);
        QScreen *screen = QGuiApplication::primaryScreen();
        pins.pin(big, screen);
        pins.pin(writeImage(path("small.png"), 50, 40), screen);
        QTRY_COMPARE(pins.windows().size(), 2);
        PinWindow *first = pins.windows().at(0);
        QCOMPARE(first->windowTitle(), QStringLiteral("big.png"));
        const double ratio = screen->devicePixelRatio();
        QCOMPARE(first->geometry(), PinWindow::geometryFor(QSizeF(3000, 2000) / ratio, screen->availableGeometry()));
        // Decoded no larger than the screen could show.
        QVERIFY(first->image().width() <= screen->availableGeometry().width() * ratio);
        QVERIFY(first->isVisible());

        // Escape closes one, a double-click the other; both leave the list.
        QPointer<PinWindow> escaped = first;
        QTest::keyClick(first, Qt::Key_Escape);
        QTRY_VERIFY(!escaped);
        QCOMPARE(pins.windows().size(), 1);
        QPointer<PinWindow> clicked = pins.windows().at(0);
        QTest::mouseDClick(clicked.data(), Qt::LeftButton, {}, QPoint(80, 50));
        QTRY_VERIFY(!clicked);
        QVERIFY(pins.windows().isEmpty());
        QCOMPARE(changed.count(), 4);
    }

    void unreadableFilesPinNothingAndPreviewBlank()
    {
        QStringList bad = BadImages::write(path("bad"));
        bad << path("bad/vanished.png");
        Pins pins;
        QSignalSpy failed(&pins, &Pins::pinFailed);
        for (const QString &file : {path("bad/empty.png"), path("bad/notes.png"), path("bad/huge.png"),
                                    path("bad/vanished.png")})
            pins.pin(QUrl::fromLocalFile(file), QGuiApplication::primaryScreen());
        QTRY_COMPARE(failed.count(), 4);
        QVERIFY(pins.windows().isEmpty());

        // The preview pages over every one of them without harm, and the
        // good file after them still shows.
        QList<QUrl> list;
        for (const QString &file : bad)
            list << QUrl::fromLocalFile(file);
        list << writeImage(path("good.png"), 400, 300);
        QuickLook look;
        look.show(list.first(), list);
        PreviewWindow *window = look.window();
        for (int i = 0; i < list.size(); ++i) {
            look.setCurrent(i);
            QTRY_VERIFY(window->isSettled());
            if (QFileInfo(list.at(i).toLocalFile()).fileName() != QLatin1String("truncated.png")
                && i + 1 < list.size())
                QVERIFY2(window->image().isNull(), qPrintable(list.at(i).toString()));
            window->grab(); // painting a blank or partial picture is fine too
        }
        QCOMPARE(window->image().size(), QSize(400, 300));
    }

    void previewDecodesAtShownSize()
    {
        const QUrl big = writeImage(path("wide.jpg"), 3200, 1000, "JPEG");
        const QUrl small = writeImage(path("tiny.png"), 60, 40);
        QuickLook look;
        look.show(big, {big, small});
        PreviewWindow *window = look.window();
        QTRY_VERIFY(window->isSettled());
        const QSize area = (QSizeF(window->imageArea().size()) * window->devicePixelRatioF()).toSize();
        QVERIFY(window->image().width() <= area.width() && window->image().height() <= area.height());
        QVERIFY(window->image().width() >= area.width() - 1 || window->image().height() >= area.height() - 1);
        look.step(1);
        QTRY_VERIFY(window->isSettled());
        QCOMPARE(window->image().size(), QSize(60, 40)); // never enlarged

        // A turned photo is fitted upright, not squeezed.
        const QUrl turned = writeTurnedJpeg(path("turned.jpg"), 600, 3000);
        look.show(turned, {turned});
        QTRY_VERIFY(window->isSettled());
        const QSize upright = window->image().size();
        QVERIFY2(upright.width() > upright.height() * 4.5 && upright.width() <= area.width(),
                 qPrintable(QStringLiteral("%1x%2").arg(upright.width()).arg(upright.height())));
        look.show(big, {big, small});

        // A larger window gets a sharper picture once resizing settles.
        look.step(-1);
        QTRY_VERIFY(window->isSettled());
        const int before = window->image().width();
        window->resize(window->width() + 400, window->height());
        QTRY_VERIFY(window->image().width() > before);
    }

    void pagingStopsAtTheEnds()
    {
        QList<QUrl> list;
        for (int i = 0; i < 4; ++i)
            list << writeImage(path(QStringLiteral("p%1.png").arg(i)), 80 + 10 * i, 60);
        QuickLook look;
        look.show(list.at(2), list);
        QCOMPARE(look.current(), 2);
        look.step(1);
        look.step(1);
        QCOMPARE(look.current(), 3);
        look.setCurrent(-7);
        QCOMPARE(look.currentURL(), list.at(0));
        QCOMPARE(look.window()->file(), list.at(0));

        // Paging quickly, while pictures are still being decoded ahead,
        // ends on the right picture; so does paging back after they settled.
        PreviewWindow *window = look.window();
        for (const int delta : {1, 1, -1, 1, 1, -1}) {
            look.step(delta);
            QTRY_VERIFY(window->isSettled());
            QCOMPARE(window->image().width(), 80 + 10 * look.current());
        }
        for (const int delta : {1, -1, -1, 1, -1})
            look.step(delta);
        QTRY_VERIFY(window->isSettled());
        QCOMPARE(window->image().width(), 80 + 10 * look.current());

        // A file outside the list opens the first entry; without a list,
        // the file alone.
        look.show(writeImage(path("other.png"), 80, 60), list);
        QCOMPARE(look.current(), 0);
        const QUrl alone = QUrl::fromLocalFile(path("other.png"));
        look.show(alone, {});
        QCOMPARE(look.urls(), QList<QUrl>{alone});
    }

    void toggleAndKeysWithTheShelf()
    {
        QList<QUrl> list;
        for (int i = 0; i < 3; ++i)
            list << writeImage(path(QStringLiteral("k%1.png").arg(i)), 80, 60);
        KeyRecorder shelf;
        shelf.resize(400, 300);
        shelf.show();
        QuickLook look;
        QSignalSpy open(&look, &QuickLook::openChanged);
        look.toggle(std::nullopt, list, &shelf);
        QVERIFY(!look.isOpen());
        look.toggle(list.at(0), list, &shelf);
        QVERIFY(look.isOpen());
        PreviewWindow *window = look.window();
        QVERIFY(window->windowFlags() & Qt::WindowDoesNotAcceptFocus);

        // Its own keys page and close; the rest reach the shelf.
        QTest::keyClick(window, Qt::Key_Right);
        QCOMPARE(look.current(), 1);
        QTest::keyClick(window, Qt::Key_Return);
        QTest::keyClick(window, Qt::Key_Delete);
        QCOMPARE(shelf.keys, (QList<int>{Qt::Key_Return, Qt::Key_Delete}));
        QTest::keyClick(window, Qt::Key_Space);
        QVERIFY(!look.isOpen());

        // Toggle closes an open preview whatever file it is given.
        look.toggle(list.at(2), list, &shelf);
        QVERIFY(look.isOpen());
        look.toggle(list.at(0), list, &shelf);
        QVERIFY(!look.isOpen());

        // Hiding the shelf takes the preview with it.
        look.show(list.at(1), list, &shelf);
        shelf.hide();
        QVERIFY(!look.isOpen());
        QCOMPARE(open.count(), 6);
    }
};

QTEST_MAIN(TestPreviewPins)
#include "test_previewpins.moc"
