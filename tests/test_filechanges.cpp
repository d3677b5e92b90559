// Files changed behind the shelf's back: overwritten in place, renamed over
// by another program, deleted. The grid, an open preview and a pin show the
// new content as soon as the shelf lists it, an open preview never stays on
// a deleted file, and Delete never trashes content the person did not see.

#include "actions/views/pinwindow.h"
#include "actions/views/previewwindow.h"
#include "meta/thumbs.h"
#include "support/colourimages.h"
#include "support/commandsrig.h"
#include "ui/shelfgrid.h"

#include <QTest>

#include <cstdio>

namespace {

// a.png (red, oldest), b.png (green) and c.png (blue) in a shown grid, with
// the commands the shelf's keys use.
struct ChangesRig : CommandsRig
{
    Thumbs thumbs{nullptr};
    std::unique_ptr<ShelfGrid> grid;

    bool build()
    {
        int age = 40;
        for (const QString name : {"a.png", "b.png", "c.png"}) {
            if (!ColourImages::write(file(name), colourOf(name)))
                return false;
            setAge(file(name), age -= 10);
        }
        if (!start(true))
            return false;
        makeCommands();
        grid = std::make_unique<ShelfGrid>(shelf.get(), &meta, &thumbs);
        grid->resize(1000, 600);
        grid->show();
        return QTest::qWaitForWindowExposed(grid.get());
    }

    static QColor colourOf(const QString &name) { return ColourImages::colour(name.at(0).unicode() - 'a'); }

    bool cellShows(const QString &name, const QColor &colour) const
    {
        QImage image;
        return grid->shows(url(name), &image) == ShelfGrid::Shows::image && ColourImages::shows(image, colour);
    }
    bool previewShows(const QString &name, const QColor &colour) const
    {
        return previewer.isOpen() && previewer.currentURL() == url(name)
               && ColourImages::shows(previewer.window()->image(), colour);
    }
    bool pinShows(const QColor &colour) const
    {
        return pins.windows().size() == 1 && ColourImages::shows(pins.windows().first()->image(), colour);
    }
};

} // namespace

class TestFileChanges : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Overwritten in place, then renamed over (mv a c; mv b a): the cell, the
    // preview and the pin of a.png show what a.png holds now.
    void changedContentIsRedrawn()
    {
        ChangesRig rig;
        QVERIFY(rig.build());
        const QString a = "a.png";
        const auto everywhere = [&rig, &a](const QColor &colour) {
            return rig.cellShows(a, colour) && rig.previewShows(a, colour) && rig.pinShows(colour);
        };
        rig.previewer.show(rig.url(a), rig.shelf->visible());
        rig.pins.pin(rig.url(a));
        QTRY_VERIFY(everywhere(rig.colourOf(a)));

        const QColor yellow(250, 220, 40);
        QVERIFY(ColourImages::write(rig.file(a), yellow));
        QTRY_VERIFY(everywhere(yellow));

        QCOMPARE(::rename(QFile::encodeName(rig.file(a)), QFile::encodeName(rig.file("c.png"))), 0);
        QCOMPARE(::rename(QFile::encodeName(rig.file("b.png")), QFile::encodeName(rig.file(a))), 0);
        QTRY_VERIFY(everywhere(rig.colourOf("b.png")));
        QTRY_VERIFY(rig.cellShows("c.png", yellow));
    }

    // Delete on a file overwritten since it was drawn leaves it where it is;
    // once the grid shows the new content, Delete trashes it.
    void deleteActsOnlyOnWhatWasShown()
    {
        ChangesRig rig;
        QVERIFY(rig.build());
        const QString b = "b.png";
        QTRY_VERIFY(rig.cellShows(b, rig.colourOf(b)));
        rig.shelf->select(rig.url(b));
        const QColor grey(128, 128, 128);
        QVERIFY(ColourImages::write(rig.file(b), grey));
        rig.commands->trash().trigger();
        QTRY_COMPARE(rig.runner.pending(), 0);
        QVERIFY(QFile::exists(rig.file(b)) && !QFile::exists(rig.trashed(b)));

        QTRY_VERIFY(rig.cellShows(b, grey));
        rig.shelf->select(rig.url(b));
        rig.commands->trash().trigger();
        QTRY_VERIFY(QFile::exists(rig.trashed(b)));
        QVERIFY(!QFile::exists(rig.file(b)));
    }

    // A file deleted from outside leaves the preview as soon as the shelf
    // lists the folder again: it shows the file that took its place, and
    // closes when none is left.
    void previewLeavesDeletedFiles()
    {
        ChangesRig rig;
        QVERIFY(rig.build());
        const QList<QUrl> shown = rig.shelf->visible(); // c, b, a
        rig.previewer.show(shown.at(1), shown);
        QTRY_VERIFY(rig.previewer.window()->isSettled());
        QVERIFY(QFile::remove(rig.file("b.png")));
        QTRY_COMPARE(rig.previewer.currentURL(), rig.url("a.png"));
        QCOMPARE(rig.previewer.urls(), rig.shelf->visible());
        QTRY_VERIFY(rig.previewShows("a.png", rig.colourOf("a.png")));
        QVERIFY(QFile::remove(rig.file("a.png")));
        QTRY_COMPARE(rig.previewer.currentURL(), rig.url("c.png"));
        QVERIFY(QFile::remove(rig.file("c.png")));
        QTRY_VERIFY(!rig.previewer.isOpen());
    }
};

QTEST_MAIN(TestFileChanges)
#include "test_filechanges.moc"
