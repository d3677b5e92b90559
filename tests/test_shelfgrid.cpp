// The thumbnail grid: how many columns fit, where drag images go, and what
// presses, releases and marquee drags on a real grid do to the selection.

#include "meta/thumbs.h"
#include "support/colourimages.h"
#include "support/shelfrig.h"
#include "ui/gridlayout.h"
#include "ui/shelfgrid.h"

#include <QApplication>
#include <QPaintEvent>
#include <QTest>

using namespace GridLayout;

namespace {

// Collects what the widget it watches was asked to paint.
class PaintedRegion : public QObject
{
public:
    QRegion region;
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::Paint)
            region += static_cast<QPaintEvent *>(event)->region();
        return false;
    }
};

} // namespace

class TestShelfGrid : public QObject
{
    Q_OBJECT

private:
    // A shown grid over six images of their own colours and an unreadable
    // file (the oldest), 1000 points wide: three columns. With thumbnails
    // the cells draw their images.
    struct Rig
    {
        ShelfRig shelf;
        Thumbs thumbs{nullptr};
        std::unique_ptr<ShelfGrid> grid;

        bool start(bool withThumbs = false)
        {
            if (!shelf.start())
                return false;
            for (int i = 0; i < 6; ++i) {
                if (!ColourImages::write(shelf.file(QStringLiteral("%1.png").arg(i)), ColourImages::colour(i)))
                    return false;
                ShelfRig::setAge(shelf.file(QStringLiteral("%1.png").arg(i)), 100 + i);
            }
            shelf.addImage("broken.png", 200);
            if (!shelf.rescan())
                return false;
            grid = std::make_unique<ShelfGrid>(shelf.shelf.get(), &shelf.meta, withThumbs ? &thumbs : nullptr);
            grid->resize(1000 + 2 * pad, 900);
            grid->show();
            return QTest::qWaitForWindowExposed(grid.get());
        }
        QUrl item(int i) const { return shelf.shelf->visible().at(i); }
        QPoint centre(int i) const { return grid->tileRect(item(i)).center(); }
        QWidget *view() const { return grid->viewport(); }
        QSet<QUrl> selection() const { return shelf.shelf->selection(); }
        // The mouse moved to `to` with the left button held.
        void moveHeld(QPoint to, Qt::KeyboardModifiers mods = {}) const
        {
            QMouseEvent move(QEvent::MouseMove, QPointF(to), view()->mapToGlobal(QPointF(to)), Qt::NoButton,
                             Qt::LeftButton, mods);
            QApplication::sendEvent(view(), &move);
        }
    };

private Q_SLOTS:
    // Two 300-point cells and their gap fit in 615 points (one point of
    // slack), not in 614; hit-testing misses gaps; six dragged files fan as
    // five, and a file without a size does not divide by zero. (Where the
    // cells land on screen is walked by the clicks below and by
    // test_shelfproperty.)
    void columnsHitsAndDragFan()
    {
        QVERIFY(columnsFor(615, 300) == 2 && columnsFor(614, 300) == 1 && columnsFor(100, 300) == 1);
        const Geometry g = Geometry::make(1000 + 2 * pad, 300, 16, 7);
        QCOMPARE(g.indexAt(QPoint(pad + g.cellWidth + gap / 2, pad + 10)), -1);
        const QList<QRect> rects = fanRects(QList<QSize>(6, QSize(1600, 1000)), 300);
        QCOMPARE(rects.at(5), rects.at(4));
        QVERIFY(!dragImageSize(QSize(0, 0), 100).isEmpty());
    }

    // A plain press on one of three selected files keeps all three (a drag
    // would carry them) until the release narrows them to it; Ctrl+Shift
    // toggles; a double-click opens without changing the selection.
    void clicksOnCells()
    {
        Rig rig;
        QVERIFY(rig.start());
        rig.shelf.shelf->setSelection({rig.item(0), rig.item(1), rig.item(2)});
        QTest::mousePress(rig.view(), Qt::LeftButton, {}, rig.centre(1));
        QCOMPARE(rig.selection().size(), 3);
        QTest::mouseRelease(rig.view(), Qt::LeftButton, {}, rig.centre(1));
        QCOMPARE(rig.selection(), QSet<QUrl>{rig.item(1)});

        QTest::mouseClick(rig.view(), Qt::LeftButton, Qt::ControlModifier | Qt::ShiftModifier, rig.centre(4));
        QCOMPARE(rig.selection(), (QSet<QUrl>{rig.item(1), rig.item(4)}));

        QSignalSpy opened(rig.grid.get(), &ShelfGrid::openRequested);
        QTest::mouseDClick(rig.view(), Qt::LeftButton, {}, rig.centre(4));
        QCOMPARE(opened.at(0).at(0).value<QList<QUrl>>(), QList<QUrl>{rig.item(4)});

        QSignalSpy menu(rig.grid.get(), &ShelfGrid::contextMenuRequested);
        QTest::mouseClick(rig.view(), Qt::RightButton, {}, rig.centre(0));
        QCOMPARE(rig.selection(), QSet<QUrl>{rig.item(0)});
        QCOMPARE(menu.at(0).at(0).value<QList<QUrl>>(), QList<QUrl>{rig.item(0)});
    }

    // A marquee that grazes cells selects them, added to the earlier
    // selection with Shift and never taking it away; a plain press on empty
    // space clears. On release the cursor goes to the last selected item in
    // visible order, whichever way the drag went.
    void marqueeOnEmptySpace()
    {
        Rig rig;
        QVERIFY(rig.start());
        Shelf &shelf = *rig.shelf.shelf;
        shelf.setSelection({rig.item(5)});
        const QRect first = rig.grid->tileRect(rig.item(0));
        const QRect fifth = rig.grid->tileRect(rig.item(4));
        // From the gap right of the third cell, leftwards and down to the
        // top edge of the fifth.
        const QPoint start(rig.grid->tileRect(rig.item(2)).right() + 8, first.center().y());
        const QPoint end(fifth.center().x(), fifth.top());
        QTest::mousePress(rig.view(), Qt::LeftButton, Qt::ShiftModifier, start);
        rig.moveHeld(end, Qt::ShiftModifier);
        QCOMPARE(rig.selection(), (QSet<QUrl>{rig.item(2), rig.item(4), rig.item(5), rig.item(1)}));
        rig.moveHeld(start + QPoint(-1, 1), Qt::ShiftModifier);
        QCOMPARE(rig.selection(), QSet<QUrl>{rig.item(5)});
        rig.moveHeld(end, Qt::ShiftModifier);
        QTest::mouseRelease(rig.view(), Qt::LeftButton, Qt::ShiftModifier, end);
        QCOMPARE(shelf.cursor(), rig.item(5));
        QCOMPARE(shelf.anchor(), rig.item(5));

        QTest::mouseClick(rig.view(), Qt::LeftButton, {}, QPoint(5, 5));
        QVERIFY(rig.selection().isEmpty());
    }

    // Only the tile takes the mouse: the name under it is background, where
    // a press clears the selection and a drag draws a marquee, which selects
    // the tiles it touches and not the names.
    void namesAreBackground()
    {
        Rig rig;
        QVERIFY(rig.start());
        Shelf &shelf = *rig.shelf.shelf;
        const QRect tile = rig.grid->tileRect(rig.item(1));
        const QPoint name(tile.center().x(), rig.grid->cellRect(rig.item(1)).bottom() - 2);

        shelf.setSelection({rig.item(0)});
        QTest::mouseClick(rig.view(), Qt::LeftButton, {}, name);
        QVERIFY(rig.selection().isEmpty());
        QSignalSpy opened(rig.grid.get(), &ShelfGrid::openRequested);
        QTest::mouseDClick(rig.view(), Qt::LeftButton, {}, name);
        QVERIFY(opened.isEmpty());

        // A marquee from a name down into the next row's tiles.
        QTest::mousePress(rig.view(), Qt::LeftButton, {}, name);
        const QPoint below = rig.grid->tileRect(rig.item(5)).topLeft() + QPoint(2, 2);
        rig.moveHeld(below);
        QTest::mouseRelease(rig.view(), Qt::LeftButton, {}, below);
        QCOMPARE(rig.selection(), (QSet<QUrl>{rig.item(4), rig.item(5)}));
    }

    // A cell's application badge is the icon its desktop entry names, read
    // once off the paint path; an entry that is gone shows no badge.
    void applicationBadgeFromItsEntry()
    {
        Rig rig;
        QVERIFY(rig.start());
        const QString icon = rig.shelf.box.path(QStringLiteral("red.png"));
        QVERIFY(ColourImages::write(icon, Qt::red, 64));
        const QString entry = rig.shelf.box.path(QStringLiteral("applications/painter.desktop"));
        Sandbox::writeFile(entry,
                           "[Desktop Entry]\nType=Application\nName=Painter\nExec=sh\nIcon=" + icon.toUtf8() + "\n");
        for (int i : {0, 1})
            rig.shelf.meta.update(rig.item(i), [&](FileMeta &m) {
                m.appPath = i == 0 ? entry : rig.shelf.box.path(QStringLiteral("applications/gone.desktop"));
            });
        // The badge sits in the tile's lower left corner.
        const auto badgeColour = [&rig](int i) {
            const QRect tile = rig.grid->tileRect(rig.item(i));
            const QImage shot = rig.view()->grab().toImage();
            return shot.pixelColor(tile.left() + 8 + 11, tile.bottom() - 8 - 11);
        };
        QTRY_COMPARE(badgeColour(0), QColor(Qt::red));
        QVERIFY(badgeColour(1) != QColor(Qt::red));
    }

    // A change of selection draws again the cells whose state changed, and
    // only them: redrawing every cell made selecting all a slow frame.
    void selectionRedrawsChangedCells()
    {
        Rig rig;
        QVERIFY(rig.start());
        PaintedRegion painted;
        rig.view()->installEventFilter(&painted);
        // Whatever was still to paint is painted first.
        rig.view()->update();
        QTRY_VERIFY(!painted.region.isEmpty());
        const auto redraws = [&](const QSet<QUrl> &selection, int changed, int unchanged) {
            painted.region = {};
            rig.shelf.shelf->setSelection(selection);
            if (!QTest::qWaitFor([&] { return painted.region.contains(rig.grid->cellRect(rig.item(changed))); }))
                return false;
            return !painted.region.intersects(rig.grid->tileRect(rig.item(unchanged)));
        };
        QVERIFY(redraws({rig.item(1)}, 1, 4));
        QVERIFY(redraws({rig.item(1), rig.item(4)}, 4, 1));
        QVERIFY(redraws({rig.item(4)}, 1, 4));
    }

    // A record that changes what a search matches brings its cell in or
    // takes it out; the grid lays the cells out again only then.
    void recordChangesFollowTheSearch()
    {
        Rig rig;
        QVERIFY(rig.start());
        const QUrl first = rig.item(0);
        const QUrl second = rig.item(2);
        rig.shelf.shelf->setQuery(QStringLiteral("invoice"));
        QVERIFY(rig.grid->shownItems().isEmpty());
        rig.shelf.meta.update(second, [](FileMeta &m) { m.text = QStringLiteral("Invoice 12"); });
        QCOMPARE(rig.grid->shownItems(), QList<QUrl>{second});
        rig.shelf.meta.update(first, [](FileMeta &m) { m.app = QStringLiteral("Editor"); });
        QCOMPARE(rig.grid->shownItems(), QList<QUrl>{second});
        rig.shelf.meta.update(second, [](FileMeta &m) { m.text = QStringLiteral("Receipt"); });
        QVERIFY(rig.grid->shownItems().isEmpty());
    }

    // Cells a search hid get their images back when it is cleared, and a
    // file that cannot be read stays shown as such rather than as a loading
    // ring that never ends.
    void clearedSearchShowsImagesAgain()
    {
        Rig rig;
        QVERIFY(rig.start(true));
        Shelf &shelf = *rig.shelf.shelf;
        const auto settled = [&] {
            for (int i = 0; i < 7; ++i) {
                QImage image;
                const ShelfGrid::Shows shows = rig.grid->shows(rig.item(i), &image);
                if (i == 6 ? shows != ShelfGrid::Shows::failed : !ColourImages::shows(image, ColourImages::colour(i)))
                    return false;
            }
            return true;
        };
        QTRY_VERIFY(settled());
        shelf.setQuery("5");
        QCOMPARE(shelf.visible().size(), 1);
        shelf.setQuery(QString());
        QTRY_VERIFY_WITH_TIMEOUT(settled(), 2000);
        shelf.setQuery("broken");
        shelf.setQuery(QString());
        QCOMPARE(rig.grid->shows(rig.item(6)), ShelfGrid::Shows::failed);
        QTRY_VERIFY_WITH_TIMEOUT(settled(), 2000);
    }
};

QTEST_MAIN(TestShelfGrid)
#include "test_shelfgrid.moc"
