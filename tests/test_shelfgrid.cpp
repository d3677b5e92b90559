// The thumbnail grid: how many columns fit, where drag images go, and what
// presses, releases and marquee drags on a real grid do to the selection.

#include "meta/thumbs.h"
#include "support/colourimages.h"
#include "support/shelfrig.h"
#include "ui/gridlayout.h"
#include "ui/shelfgrid.h"

#include <QApplication>
#include <QPaintEvent>

using namespace GridLayout;

namespace {

// A shown grid, three columns wide, over six images of their own colours and
// an unreadable file (the oldest), noting what its cells were asked to paint.
struct Rig : ShelfRig, QObject
{
    Thumbs thumbs{nullptr};
    std::unique_ptr<ShelfGrid> grid;
    QRegion painted;

    bool startGrid()
    {
        for (int i = 0; i < 6; ++i) {
            ColourImages::write(file(QStringLiteral("%1.png").arg(i)), ColourImages::colour(i));
            setAge(file(QStringLiteral("%1.png").arg(i)), 100 + i);
        }
        addImage("broken.png", 200);
        if (!start())
            return false;
        grid = std::make_unique<ShelfGrid>(shelf.get(), &meta, &thumbs);
        grid->resize(1000 + 2 * pad, 900);
        grid->show();
        view()->installEventFilter(this);
        return QTest::qWaitForWindowExposed(grid.get());
    }
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::Paint)
            painted += static_cast<QPaintEvent *>(event)->region();
        return false;
    }
    // Every cell shows its image, and the unreadable file shows as such
    // rather than as a loading ring that never ends.
    bool drawn() const
    {
        for (int i = 0; i < 7; ++i) {
            QImage image;
            const ShelfGrid::Shows shows = grid->shows(item(i), &image);
            if (i == 6 ? shows != ShelfGrid::Shows::failed : !ColourImages::shows(image, ColourImages::colour(i)))
                return false;
        }
        return true;
    }
    QUrl item(int i) const { return shelf->visible().at(i); }
    QSet<QUrl> items(auto... indexes) const { return {item(indexes)...}; }
    QRect tile(int i) const { return grid->tileRect(item(i)); }
    QWidget *view() const { return grid->viewport(); }
    // The mouse moved to `to` with the left button held.
    void moveHeld(QPoint to, Qt::KeyboardModifiers mods = {}) const
    {
        QMouseEvent move(QEvent::MouseMove, QPointF(to), view()->mapToGlobal(QPointF(to)), Qt::NoButton, Qt::LeftButton,
                         mods);
        QApplication::sendEvent(view(), &move);
    }
};

} // namespace

class TestShelfGrid : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Two 300-point cells and their gap fit in 615 points, not in 614 (a
    // press in a gap starts a marquee, below); six dragged files fan as five,
    // and a file without a size does not divide by zero.
    void columnsAndDragFan()
    {
        QVERIFY(columnsFor(615, 300) == 2 && columnsFor(614, 300) == 1 && columnsFor(100, 300) == 1);
        const QList<QRect> rects = fanRects(QList<QSize>(6, QSize(1600, 1000)), 300);
        QVERIFY(rects.at(5) == rects.at(4) && !dragImageSize(QSize(0, 0), 100).isEmpty());
    }

    // A plain press on one of three selected files keeps all three (a drag
    // would carry them) until the release narrows them to it; Ctrl+Shift
    // toggles; a double-click opens without changing the selection. A
    // marquee that grazes cells selects them, added to the earlier selection
    // with Shift and never taking it away, and leaves the cursor on the last
    // selected item in visible order, whichever way it went. Only the tile
    // takes the mouse: the name under it is background.
    void mouseOnCellsAndBackground()
    {
        Rig rig;
        QVERIFY(rig.startGrid());
        QSignalSpy opened(rig.grid.get(), &ShelfGrid::openRequested);
        QSignalSpy menu(rig.grid.get(), &ShelfGrid::contextMenuRequested);
        rig.shelf->setSelection(rig.items(0, 1, 2));
        QTest::mousePress(rig.view(), Qt::LeftButton, {}, rig.tile(1).center());
        QCOMPARE(rig.shelf->selection().size(), 3);
        QTest::mouseRelease(rig.view(), Qt::LeftButton, {}, rig.tile(1).center());
        QCOMPARE(rig.shelf->selection(), rig.items(1));
        QTest::mouseClick(rig.view(), Qt::LeftButton, Qt::ControlModifier | Qt::ShiftModifier, rig.tile(4).center());
        QCOMPARE(rig.shelf->selection(), rig.items(1, 4));
        QTest::mouseDClick(rig.view(), Qt::LeftButton, {}, rig.tile(4).center());
        QCOMPARE(opened.takeFirst().at(0).value<QList<QUrl>>(), QList<QUrl>{rig.item(4)});
        QTest::mouseClick(rig.view(), Qt::RightButton, {}, rig.tile(0).center());
        QCOMPARE(rig.shelf->selection(), rig.items(0));
        QCOMPARE(menu.at(0).at(0).value<QList<QUrl>>(), QList<QUrl>{rig.item(0)});

        // From the gap right of the third cell, leftwards and down to the top
        // edge of the fifth, back, and down again.
        rig.shelf->setSelection(rig.items(5));
        const QPoint start(rig.tile(2).right() + 8, rig.tile(0).center().y());
        const QPoint end(rig.tile(4).center().x(), rig.tile(4).top());
        QTest::mousePress(rig.view(), Qt::LeftButton, Qt::ShiftModifier, start);
        rig.moveHeld(end, Qt::ShiftModifier);
        QCOMPARE(rig.shelf->selection(), rig.items(1, 2, 4, 5));
        rig.moveHeld(start + QPoint(-1, 1), Qt::ShiftModifier);
        QCOMPARE(rig.shelf->selection(), rig.items(5));
        rig.moveHeld(end, Qt::ShiftModifier);
        QTest::mouseRelease(rig.view(), Qt::LeftButton, Qt::ShiftModifier, end);
        QVERIFY(rig.shelf->cursor() == rig.item(5) && rig.shelf->anchor() == rig.item(5));

        const QPoint name(rig.tile(1).center().x(), rig.grid->cellRect(rig.item(1)).bottom() - 2);
        QTest::mouseClick(rig.view(), Qt::LeftButton, {}, name);
        QVERIFY(rig.shelf->selection().isEmpty());
        QTest::mousePress(rig.view(), Qt::LeftButton, {}, name);
        rig.moveHeld(rig.tile(5).topLeft() + QPoint(2, 2));
        QTest::mouseRelease(rig.view(), Qt::LeftButton, {}, rig.tile(5).topLeft() + QPoint(2, 2));
        QCOMPARE(rig.shelf->selection(), rig.items(4, 5));
    }

    // A change of selection draws again the cells whose state changed, and
    // only them (redrawing every cell made selecting all a slow frame). A
    // cell's application badge is the icon its desktop entry names, read
    // once off the paint path; an entry that is gone shows no badge. A
    // record that changes what a search matches brings its cell in or takes
    // it out, and the grid lays the cells out again only then. Cells a
    // search hid get their images back when it is cleared.
    void drawing()
    {
        Rig rig;
        QVERIFY(rig.startGrid());
        QTRY_VERIFY(rig.drawn());
        const auto redraws = [&](const QSet<QUrl> &selection, int changed, int unchanged) {
            rig.painted = {};
            rig.shelf->setSelection(selection);
            if (!QTest::qWaitFor([&] { return rig.painted.contains(rig.grid->cellRect(rig.item(changed))); }))
                return false;
            return !rig.painted.intersects(rig.tile(unchanged));
        };
        // Whatever the thumbnails still had to paint is painted first.
        redraws(rig.items(2), 2, 4);
        QVERIFY(redraws(rig.items(1), 1, 4));
        QVERIFY(redraws(rig.items(1, 4), 4, 1));
        QVERIFY(redraws(rig.items(4), 1, 4));

        const QString icon = rig.box.path(QStringLiteral("red.png"));
        QVERIFY(ColourImages::write(icon, Qt::red, 64));
        const QString entry = rig.box.path(QStringLiteral("applications/painter.desktop"));
        Sandbox::writeFile(entry, "[Desktop Entry]\nType=Application\nName=Painter\nExec=sh\nIcon=" + icon.toUtf8());
        rig.meta.update(rig.url("0.png"), [&](FileMeta &m) { m.appPath = entry; });
        rig.meta.update(rig.url("1.png"), [&](FileMeta &m) { m.appPath = rig.box.path("applications/gone.desktop"); });
        // The badge sits in the tile's lower left corner.
        const auto badgeColour = [&rig](int i) {
            return rig.view()->grab().toImage().pixelColor(rig.tile(i).left() + 8 + 11, rig.tile(i).bottom() - 8 - 11);
        };
        QTRY_COMPARE(badgeColour(0), QColor(Qt::red));
        QVERIFY(badgeColour(1) != QColor(Qt::red));

        const QUrl second = rig.url("2.png");
        rig.shelf->setQuery(QStringLiteral("invoice"));
        QVERIFY(rig.grid->shownItems().isEmpty());
        rig.meta.update(second, [](FileMeta &m) { m.text = QStringLiteral("Invoice 12"); });
        QCOMPARE(rig.grid->shownItems(), QList<QUrl>{second});
        rig.meta.update(rig.url("0.png"), [](FileMeta &m) { m.app = QStringLiteral("Editor"); });
        QCOMPARE(rig.grid->shownItems(), QList<QUrl>{second});
        rig.meta.update(second, [](FileMeta &m) { m.text = QStringLiteral("Receipt"); });
        QVERIFY(rig.grid->shownItems().isEmpty());

        rig.shelf->setQuery("broken");
        rig.shelf->setQuery(QString());
        QTRY_VERIFY_WITH_TIMEOUT(rig.drawn(), 2000);
    }
};

QTEST_MAIN(TestShelfGrid)
#include "test_shelfgrid.moc"
