#include "support/shelfrig.h"

#include <QLocale>

namespace {

// A shelf showing `count` images named "<prefix><i>.png", index i in the grid.
struct Grid : ShelfRig
{
    QList<QUrl> urls;

    explicit Grid(int count, const QString &prefix = "item ")
    {
        for (int i = 0; i < count; ++i) {
            const QString name = prefix + QString::number(i) + ".png";
            addImage(name, 100 + i); // older as i grows: newest first
            urls.append(url(name));
        }
    }
    bool start(qint64 columns = 4)
    {
        if (!ShelfRig::start() || shelf->items() != urls)
            return false;
        shelf->setColumns(columns);
        return true;
    }
    QSet<QUrl> at(std::initializer_list<int> indices) const
    {
        QSet<QUrl> set;
        for (int i : indices)
            set.insert(urls.at(i));
        return set;
    }
    int cursorIndex() const { return int(urls.indexOf(shelf->cursor())); }
};

} // namespace

class TestSelection : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates)); }

    void clicksSelectRectanglesAndTheSearchLimitsActions()
    {
        Grid grid(10);
        QVERIFY(grid.start(4));
        Shelf &shelf = *grid.shelf;
        shelf.select(grid.urls[1]);
        shelf.extend(grid.urls[6]);
        QCOMPARE(shelf.selection(), grid.at({1, 2, 5, 6})); // rows 0-1, columns 1-2
        QVERIFY(grid.cursorIndex() == 6 && shelf.anchor() == grid.urls[1]);

        // Cells past the end of a short last row do not exist.
        shelf.select(grid.urls[3]);
        shelf.extend(grid.urls[9]);
        QCOMPARE(shelf.selection(), grid.at({1, 2, 3, 5, 6, 7, 9}));

        // A Ctrl-click adds to what the next rectangle is added to.
        shelf.select(grid.urls[0]);
        shelf.toggle(grid.urls[2]);
        shelf.extend(grid.urls[3]);
        QCOMPARE(shelf.selection(), grid.at({0, 2, 3}));
        shelf.toggle(grid.urls[0]);
        QCOMPARE(shelf.base(), grid.at({2, 3}));

        // An anchor hidden by the search does not fall back to the cursor.
        shelf.select(grid.urls[1]);
        shelf.toggle(grid.urls[3]);
        shelf.setQuery("item 2");
        shelf.setCursor(grid.urls[2]);
        shelf.extend(grid.urls[2]);
        QCOMPARE(shelf.selection(), grid.at({2}));

        // What the search hides stays selected but is not acted on; Select All
        // takes only what is shown. Actions take the grid's order.
        shelf.setQuery({});
        shelf.select(grid.urls[0]);
        shelf.setQuery("item 2");
        QVERIFY(shelf.selection() == grid.at({0}) && shelf.selectedFiles().isEmpty());
        shelf.selectAll();
        QVERIFY(shelf.selection() == grid.at({2}) && shelf.base() == grid.at({2}));
        shelf.setQuery({});
        shelf.setSelection(grid.at({3, 0, 2}));
        QCOMPARE(shelf.selectedFiles(), (QList<QUrl>{grid.urls[0], grid.urls[2], grid.urls[3]}));
    }

    void arrowsStopAtTheEdgesAndShiftGrowsARectangle()
    {
        Grid grid(7);
        QVERIFY(grid.start(4));
        Shelf &shelf = *grid.shelf;
        const auto move = [&](int from, Move direction) {
            shelf.select(grid.urls[from]);
            shelf.moveCursor(direction, false);
            return grid.cursorIndex();
        };
        QCOMPARE(move(6, Move::right), 6);
        QCOMPARE(move(5, Move::down), 5); // 5 + 4 is past the end, though row 1 exists
        QCOMPARE(move(2, Move::down), 6);
        QCOMPARE(move(4, Move::left), 3); // left walks back a row

        // Without a cursor: from before the first item, or from it when something is selected.
        for (Move direction : {Move::left, Move::up}) {
            shelf.setSelection({});
            shelf.setCursor({});
            shelf.moveCursor(direction, false);
            QVERIFY(grid.cursorIndex() == 0 && shelf.selection() == grid.at({0}));
        }
        // A selection but no cursor: counted from the first item.
        shelf.setSelection(grid.at({5}));
        shelf.setCursor(QUrl::fromLocalFile("/gone.png")); // names an item no longer listed
        shelf.moveCursor(Move::down, false);
        QCOMPARE(grid.cursorIndex(), 4);

        // Shift grows a rectangle from the anchor; with no anchor yet the
        // cursor's cell becomes it, and the selection the base.
        shelf.select(grid.urls[5]);
        shelf.moveCursor(Move::up, true);
        shelf.moveCursor(Move::left, true);
        QCOMPARE(shelf.selection(), grid.at({0, 1, 4, 5}));
        shelf.setSelection(grid.at({6}));
        shelf.setAnchor({});
        shelf.setCursor(grid.urls[2]);
        shelf.moveCursor(Move::right, true);
        QVERIFY(shelf.anchor() == grid.urls[2] && shelf.selection() == grid.at({2, 3, 6}));

        // Nothing visible: nothing happens.
        shelf.setQuery("matches nothing");
        shelf.moveCursor(Move::down, false);
        QCOMPARE(grid.cursorIndex(), 3);
        shelf.setQuery({});

        // Files that left the folder, or a folder left behind, are not
        // brought back by a Shift+arrow growing from the old base.
        shelf.select(grid.urls[0]);
        shelf.toggle(grid.urls[6]);
        shelf.toggle(grid.urls[1]);
        QVERIFY(QFile::remove(grid.file("item 6.png")));
        QVERIFY(grid.rescan());
        shelf.moveCursor(Move::right, true);
        QCOMPARE(shelf.selection(), grid.at({0, 1, 2}));
        shelf.selectAll();
        QDir().mkpath(grid.file("other"));
        grid.addImage("other/x.png");
        QSignalSpy scanned(&shelf, &Shelf::scanApplied);
        shelf.openFolder(QUrl::fromLocalFile(grid.file("other")));
        QVERIFY(scanned.wait());
        shelf.moveCursor(Move::right, true);
        QCOMPARE(shelf.selection(), QSet<QUrl>{grid.url("other/x.png")});
    }

    void searchMatchesNamesThenRecognisedText()
    {
        ShelfRig rig;
        const QStringList names = {"Invoice March.png", "receipt.jpg", "notes.png",
                                   "Café menu.png",     "blank.png",   "Straße.png"};
        for (int i = 0; i < names.size(); ++i)
            rig.addImage(names[i], 10 + i);
        QVERIFY(rig.start());
        rig.meta.update(rig.url("receipt.jpg"), [](FileMeta &m) { m.text = QStringLiteral("Total due: 12"); });
        rig.meta.update(rig.url("notes.png"), [](FileMeta &m) { m.text = QStringLiteral("due total\nline two"); });
        rig.meta.update(rig.url("blank.png"), [](FileMeta &m) { m.text = QString(); });
        Shelf &shelf = *rig.shelf;
        const auto found = [&](const QString &query) {
            shelf.setQuery(query);
            return TestFiles::names(shelf.visible());
        };
        QCOMPARE(found(" \t "), names);
        QCOMPARE(found("  invoice "), QStringList{names[0]});
        QCOMPARE(found("total due"), QStringList{names[1]});
        QCOMPARE(found("two\n"), QStringList()); // line breaks are not trimmed
        QCOMPARE(found("cafe"), QStringList());  // accents count
        QCOMPARE(found("CAFÉ"), QStringList{names[3]});
        QCOMPARE(found("strasse"), QStringList{names[5]});
        QCOMPARE(found("due"), (QStringList{names[1], names[2]})); // newest first still
    }
};

QTEST_GUILESS_MAIN(TestSelection)
#include "test_selection.moc"
