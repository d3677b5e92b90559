// Files changed behind the shelf's back: overwritten in place, renamed over
// by another program, deleted. The grid, an open preview and a pin show the
// new content as soon as the shelf lists it, an open preview never stays on
// a deleted file, and Delete never trashes content the person did not see.

#include "actions/actionrunner.h"
#include "actions/views/pins.h"
#include "actions/views/pinwindow.h"
#include "actions/views/previewwindow.h"
#include "actions/views/quicklook.h"
#include "meta/thumbs.h"
#include "platform/trash.h"
#include "support/colourimages.h"
#include "support/shelfrig.h"
#include "ui/shelfcommands.h"
#include "ui/shelfgrid.h"

#include <QTest>

#include <cstdio>

namespace {

// a.png (red, oldest), b.png (green) and c.png (blue) in a shown grid, with
// the commands the shelf's keys use.
struct ChangesRig : ShelfRig
{
    Thumbs thumbs{nullptr};
    FreedesktopTrash trash{box.path(QStringLiteral("Trash"))};
    ActionRunner runner{trash, &meta};
    QuickLook quickLook;
    Pins pins;
    std::unique_ptr<ShelfCommands> commands;
    std::unique_ptr<ShelfGrid> grid;

    bool build()
    {
        int age = 40;
        for (const QString &name : {QStringLiteral("a.png"), QStringLiteral("b.png"), QStringLiteral("c.png")}) {
            if (!ColourImages::write(file(name), colourOf(name)))
                return false;
            setAge(file(name), age -= 10);
        }
        if (!start(true))
            return false;
        commands = std::make_unique<ShelfCommands>(shelf.get(),
                                                   ShelfCommands::Parts{nullptr, &runner, &quickLook, &pins, nullptr});
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
        return quickLook.isOpen() && quickLook.currentURL() == url(name)
               && ColourImages::shows(quickLook.window()->image(), colour);
    }
    bool pinShows(const QColor &colour) const
    {
        return pins.windows().size() == 1 && ColourImages::shows(pins.windows().first()->image(), colour);
    }
    QString trashed(const QString &name) const { return box.path(QStringLiteral("Trash/files/")) + name; }
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
        const QString a = QStringLiteral("a.png");
        QTRY_VERIFY(rig.cellShows(a, rig.colourOf(a)));
        rig.quickLook.show(rig.url(a), rig.shelf->visible());
        rig.pins.pin(rig.url(a));
        QTRY_VERIFY(rig.previewShows(a, rig.colourOf(a)));
        QTRY_VERIFY(rig.pinShows(rig.colourOf(a)));

        const QColor yellow(250, 220, 40);
        QVERIFY(ColourImages::write(rig.file(a), yellow));
        QTRY_VERIFY(rig.cellShows(a, yellow));
        QTRY_VERIFY(rig.previewShows(a, yellow));
        QTRY_VERIFY(rig.pinShows(yellow));

        QCOMPARE(std::rename(QFile::encodeName(rig.file(a)).constData(),
                             QFile::encodeName(rig.file(QStringLiteral("c.png"))).constData()), 0);
        QCOMPARE(std::rename(QFile::encodeName(rig.file(QStringLiteral("b.png"))).constData(),
                             QFile::encodeName(rig.file(a)).constData()), 0);
        const QColor green = rig.colourOf(QStringLiteral("b.png"));
        QTRY_VERIFY(rig.cellShows(a, green));
        QTRY_VERIFY(rig.cellShows(QStringLiteral("c.png"), yellow));
        QTRY_VERIFY(rig.previewShows(a, green));
        QTRY_VERIFY(rig.pinShows(green));
    }

    // Delete on a file overwritten since it was drawn leaves it where it is;
    // once the grid shows the new content, Delete trashes it.
    void deleteActsOnlyOnWhatWasShown()
    {
        ChangesRig rig;
        QVERIFY(rig.build());
        const QString b = QStringLiteral("b.png");
        QTRY_VERIFY(rig.cellShows(b, rig.colourOf(b)));
        rig.shelf->select(rig.url(b));
        const QColor grey(128, 128, 128);
        QVERIFY(ColourImages::write(rig.file(b), grey));
        rig.commands->trash(rig.commands->targets());
        QTRY_COMPARE(rig.runner.pending(), 0);
        QVERIFY(QFile::exists(rig.file(b)));
        QVERIFY(!QFile::exists(rig.trashed(b)));

        QTRY_VERIFY(rig.cellShows(b, grey));
        rig.shelf->select(rig.url(b));
        rig.commands->trash(rig.commands->targets());
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
        rig.quickLook.show(shown.at(1), shown);
        QTRY_VERIFY(rig.quickLook.window()->isSettled());
        QVERIFY(QFile::remove(rig.file(QStringLiteral("b.png"))));
        QTRY_COMPARE(rig.quickLook.currentURL(), rig.url(QStringLiteral("a.png")));
        QCOMPARE(rig.quickLook.urls(), rig.shelf->visible());
        QTRY_VERIFY(rig.previewShows(QStringLiteral("a.png"), rig.colourOf(QStringLiteral("a.png"))));
        QVERIFY(QFile::remove(rig.file(QStringLiteral("a.png"))));
        QTRY_COMPARE(rig.quickLook.currentURL(), rig.url(QStringLiteral("c.png")));
        QVERIFY(QFile::remove(rig.file(QStringLiteral("c.png"))));
        QTRY_VERIFY(!rig.quickLook.isOpen());
    }
};

QTEST_MAIN(TestFileChanges)
#include "test_filechanges.moc"
