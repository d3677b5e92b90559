// The shelf window's size on a screen: four columns of the cell width in
// three or four rows within 80 % of the usable area, or the size the user
// gave it when that is still usable.

#include "app/shelfplacement.h"
#include "model/shelf.h"
#include "support/sandbox.h"
#include "system/prefs.h"

#include <QTest>

#include <cmath>
#include <limits>

namespace {

bool near(QSizeF a, QSizeF b)
{
    return std::abs(a.width() - b.width()) < 0.01 && std::abs(a.height() - b.height()) < 0.01;
}

} // namespace

class TestShelfPlacement : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // A 1280 × 800 screen takes three rows of cells narrowed to fit four
    // columns; a tall one four rows of the cells as they are; a short one is
    // filled to 80 % of its height, the cells never below their smallest.
    void defaultSizeFitsTheScreen()
    {
        using ShelfPlacement::defaultSize;
        QVERIFY(near(defaultSize(QRectF(0, 0, 1280, 800), Shelf::defaultCellWidth), QSizeF(1024, 564.085)));
        QVERIFY(near(defaultSize(QRectF(0, 0, 1920, 1080), Shelf::smallestCellWidth), QSizeF(995, 687.8)));
        QVERIFY(near(defaultSize(QRectF(0, 0, 1920, 600), Shelf::defaultCellWidth), QSizeF(995, 480)));
    }

    // The size the user left is kept (and reduced to 80 % of a smaller
    // screen); one too small or not a number gives way to the default.
    void savedSizeWhenUsable()
    {
        Sandbox box;
        Prefs prefs(box.path(QStringLiteral("prefs.conf")));
        const QRectF screen(0, 0, 1280, 800);
        const QSizeF fallback = ShelfPlacement::defaultSize(screen, Shelf::defaultCellWidth);
        QVERIFY(!ShelfPlacement::savedSize(prefs));
        ShelfPlacement::saveSize(prefs, QSizeF(700, 500));
        QCOMPARE(ShelfPlacement::sizeFor(screen, prefs, Shelf::defaultCellWidth), QSizeF(700, 500));
        ShelfPlacement::saveSize(prefs, QSizeF(3000, 500));
        QCOMPARE(ShelfPlacement::sizeFor(screen, prefs, Shelf::defaultCellWidth), QSizeF(1024, 500));

        ShelfPlacement::saveSize(prefs, QSizeF(599, 500));
        QCOMPARE(ShelfPlacement::sizeFor(screen, prefs, Shelf::defaultCellWidth), fallback);
        ShelfPlacement::saveSize(prefs, QSizeF(std::numeric_limits<double>::quiet_NaN(), 500));
        QCOMPARE(ShelfPlacement::sizeFor(screen, prefs, Shelf::defaultCellWidth), fallback);
        prefs.setValue(QStringLiteral("shelfWindowSize/w"), QStringLiteral("wide"));
        QVERIFY(!ShelfPlacement::savedSize(prefs));
    }
};

QTEST_GUILESS_MAIN(TestShelfPlacement)
#include "test_shelfplacement.moc"
