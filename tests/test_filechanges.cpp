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

class TestFileChanges : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void changedAndDeletedFiles()
    {
        CommandsRig rig;
        int age = 40;
        for (const QString name : {"a.png", "b.png", "c.png"}) {
            QVERIFY(ColourImages::write(rig.file(name), ColourImages::colour(name.at(0).unicode() - 'a')));
            rig.setAge(rig.file(name), age -= 10);
        }
        QVERIFY(rig.start(true));
        rig.makeCommands();
        Thumbs thumbs(nullptr);
        ShelfGrid grid(rig.shelf.get(), &rig.meta, &thumbs);
        grid.resize(1000, 600);
        grid.show();
        QVERIFY(QTest::qWaitForWindowExposed(&grid));
        const auto cellShows = [&](const QString &name, const QColor &colour) {
            QImage image;
            return grid.shows(rig.url(name), &image) == ShelfGrid::Shows::image && ColourImages::shows(image, colour);
        };
        const auto previewShows = [&](const QString &name, const QColor &colour) {
            return rig.previewer.isOpen() && rig.previewer.currentURL() == rig.url(name)
                   && ColourImages::shows(rig.previewer.window()->image(), colour);
        };
        const auto everywhere = [&](const QColor &colour) {
            return cellShows("a.png", colour) && previewShows("a.png", colour) && rig.pins.windows().size() == 1
                   && ColourImages::shows(rig.pins.windows().first()->image(), colour);
        };

        // Overwritten in place, then renamed over (mv a c; mv b a): the cell,
        // the preview and the pin of a.png show what a.png holds now.
        rig.previewer.show(rig.url("a.png"), rig.shelf->visible());
        rig.pins.pin(rig.url("a.png"));
        QTRY_VERIFY(everywhere(ColourImages::colour(0)));
        const QColor yellow(250, 220, 40);
        QVERIFY(ColourImages::write(rig.file("a.png"), yellow));
        QTRY_VERIFY(everywhere(yellow));
        QCOMPARE(::rename(QFile::encodeName(rig.file("a.png")), QFile::encodeName(rig.file("c.png"))), 0);
        QCOMPARE(::rename(QFile::encodeName(rig.file("b.png")), QFile::encodeName(rig.file("a.png"))), 0);
        QTRY_VERIFY(everywhere(ColourImages::colour(1)));
        QTRY_VERIFY(cellShows("c.png", yellow));

        // Deleted from outside: the preview shows the file that took its place.
        QTRY_VERIFY(rig.previewer.window()->isSettled());
        QVERIFY(QFile::remove(rig.file("a.png")));
        QTRY_COMPARE(rig.previewer.currentURL(), rig.url("c.png"));
        QCOMPARE(rig.previewer.urls(), rig.shelf->visible());

        // Delete on a file overwritten since it was drawn leaves it where it
        // is; once the grid shows the new content, Delete trashes it, and the
        // preview closes when no file is left.
        rig.shelf->select(rig.url("c.png"));
        const QColor grey(128, 128, 128);
        QVERIFY(ColourImages::write(rig.file("c.png"), grey));
        rig.commands->trash().trigger();
        QTRY_COMPARE(rig.runner.pending(), 0);
        QVERIFY(QFile::exists(rig.file("c.png")) && !QFile::exists(rig.trashed("c.png")));
        QTRY_VERIFY(cellShows("c.png", grey) && previewShows("c.png", grey));
        rig.shelf->select(rig.url("c.png"));
        rig.commands->trash().trigger();
        QTRY_VERIFY(QFile::exists(rig.trashed("c.png")) && !QFile::exists(rig.file("c.png")));
        QTRY_VERIFY(!rig.previewer.isOpen());
    }
};

QTEST_MAIN(TestFileChanges)
#include "test_filechanges.moc"
