#include "actions/views/pins.h"
#include "actions/views/pinwindow.h"
#include "actions/views/previewer.h"
#include "actions/views/previewwindow.h"
#include "support/badimages.h"
#include "support/files.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QScreen>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

namespace {

QUrl writeImage(const QString &path, int w, int h, const char *format = "PNG")
{
    return TestFiles::writeImage(path, {w, h}, QColor(40, 120, 200), format);
}

// Stands in for the shelf window: records the keys it receives.
struct KeyRecorder : QWidget
{
    QList<int> keys;
    void keyPressEvent(QKeyEvent *event) override { keys.append(event->key()); }
};

} // namespace

class TestPreviewPins : public QObject
{
    Q_OBJECT

    QTemporaryDir dir;

    QString path(const QString &name) const { return dir.filePath(name); }

private Q_SLOTS:
    // Small images are never enlarged but grow to the minimum size; large
    // ones shrink; all sit in the top right corner of the usable area, which
    // need not start at the origin.
    void pinsPlaceOpenAndClose()
    {
        const QRect vf(100, 30, 1440, 875);
        QCOMPARE(PinWindow::geometryFor(QSizeF(100, 50), vf), QRect(1356, 54, 160, 100));
        QCOMPARE(PinWindow::geometryFor(QSizeF(4000, 3000), vf), QRect(940, 54, 576, 432));

        Pins pins;
        QSignalSpy changed(&pins, &Pins::windowsChanged);
        QScreen *screen = QGuiApplication::primaryScreen();
        pins.pin(writeImage(path("big.png"), 3000, 2000), screen);
        pins.pin(writeImage(path("small.png"), 50, 40), screen);
        QTRY_COMPARE(pins.windows().size(), 2);
        PinWindow *first = pins.windows().at(0);
        // Decoded no larger than the screen could show.
        QVERIFY(first->image().width() <= screen->availableGeometry().width() * screen->devicePixelRatio());

        // Escape closes one, a double-click the other; both leave the list.
        QPointer<PinWindow> escaped = first;
        QTest::keyClick(first, Qt::Key_Escape);
        QTRY_VERIFY(!escaped);
        QPointer<PinWindow> clicked = pins.windows().value(0);
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
        for (const char *name : {"empty.png", "notes.png", "huge.png", "vanished.png"})
            pins.pin(QUrl::fromLocalFile(path("bad/") + QLatin1String(name)), QGuiApplication::primaryScreen());
        QTRY_COMPARE(failed.count(), 4);
        QVERIFY(pins.windows().isEmpty());

        // The preview pages over every one of them without harm (a truncated
        // file may show in part), and the good file after them still shows.
        QList<QUrl> list;
        for (const QString &file : bad)
            list << QUrl::fromLocalFile(file);
        list << writeImage(path("good.png"), 400, 300);
        Previewer look;
        look.show(list.first(), list);
        PreviewWindow *window = look.window();
        for (int i = 0; i < list.size(); ++i) {
            look.setCurrent(i);
            QTRY_VERIFY(window->isSettled());
            if (list.at(i).fileName() != QLatin1String("truncated.png") && i + 1 < list.size())
                QVERIFY2(window->image().isNull(), qPrintable(list.at(i).toString()));
            window->grab();
        }
        QCOMPARE(window->image().size(), QSize(400, 300));
    }

    // The preview decodes to fit the shown area, never enlarged, sharper
    // once the window grows. Paging stops at the ends; paging quickly, while
    // pictures are still being decoded ahead, ends on the right picture.
    void previewDecodesAtShownSizeAndPages()
    {
        QList<QUrl> list{writeImage(path("wide.jpg"), 3200, 1000, "JPEG")};
        for (int i = 1; i < 5; ++i)
            list << writeImage(path(QStringLiteral("p%1.png").arg(i)), 80 + 10 * i, 60);
        Previewer look;
        look.show(list.first(), list);
        PreviewWindow *window = look.window();
        QTRY_VERIFY(window->isSettled());
        const QSize area = (QSizeF(window->imageArea().size()) * window->devicePixelRatioF()).toSize();
        const QSize shown = window->image().size();
        QVERIFY(shown.width() <= area.width() && shown.height() <= area.height());
        QVERIFY(shown.width() >= area.width() - 1 || shown.height() >= area.height() - 1);
        window->resize(window->width() + 400, window->height());
        QTRY_VERIFY(window->image().width() > shown.width());

        for (const int delta : {1, 1, -1, 1}) {
            look.step(delta);
            QTRY_VERIFY(window->isSettled());
            QCOMPARE(window->image().width(), 80 + 10 * look.current());
        }
        for (const int delta : {1, 1, 1, -1, 1, 1})
            look.step(delta);
        QCOMPARE(look.current(), 4);
        QTRY_VERIFY(window->isSettled());
        QCOMPARE(window->image().width(), 80 + 10 * look.current());
        look.setCurrent(-7);
        QCOMPARE(window->file(), list.at(0));
    }

    // The preview never takes the focus: its own keys page and close, the
    // rest reach the shelf; toggling closes whatever file it is given, and
    // hiding the shelf takes the preview with it.
    void toggleAndKeysWithTheShelf()
    {
        QList<QUrl> list;
        for (int i = 0; i < 3; ++i)
            list << writeImage(path(QStringLiteral("k%1.png").arg(i)), 80, 60);
        KeyRecorder shelf;
        shelf.resize(400, 300);
        shelf.show();
        Previewer look;
        QSignalSpy open(&look, &Previewer::openChanged);
        look.toggle(std::nullopt, list, &shelf);
        QVERIFY(!look.isOpen());
        look.toggle(list.at(0), list, &shelf);
        PreviewWindow *window = look.window();
        QVERIFY(window->windowFlags() & Qt::WindowDoesNotAcceptFocus);

        QTest::keyClick(window, Qt::Key_Right);
        QCOMPARE(look.current(), 1);
        QTest::keyClick(window, Qt::Key_Return);
        QTest::keyClick(window, Qt::Key_Delete);
        QCOMPARE(shelf.keys, (QList<int>{Qt::Key_Return, Qt::Key_Delete}));
        QTest::keyClick(window, Qt::Key_Space);
        QVERIFY(!look.isOpen());

        look.toggle(list.at(2), list, &shelf);
        look.toggle(list.at(0), list, &shelf);
        QVERIFY(!look.isOpen());
        look.show(list.at(1), list, &shelf);
        shelf.hide();
        QVERIFY(!look.isOpen());
        QCOMPARE(open.count(), 6);
    }
};

QTEST_MAIN(TestPreviewPins)
#include "test_previewpins.moc"
