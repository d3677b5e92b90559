// The thumbnails' context menu: which entries a click on one file or on a
// selection offers, where "Move to" can send the files, and that the slow
// file work reaches the disk through the runner.

#include "actions/views/contextmenu.h"
#include "support/apprun.h"
#include "support/commandsrig.h"

#include <QAction>
#include <QMenu>
#include <QTest>

#include <memory>

namespace {

// The titles of a menu, "-" for each separator.
QStringList titles(const QMenu *menu)
{
    QStringList out;
    for (const QAction *action : menu->actions())
        out.append(action->isSeparator() ? QStringLiteral("-") : action->text());
    return out;
}

QAction *entry(const QMenu *menu, const QString &title)
{
    for (QAction *action : menu->actions())
        if (action->text() == title)
            return action;
    return nullptr;
}

// Home holds a.png, b.png, c.png and the empty folders A and B.
struct MenuRig : CommandsRig
{
    bool build()
    {
        QDir().mkpath(folder() + "/A");
        QDir().mkpath(folder() + "/B");
        for (const char *name : {"a.png", "b.png", "c.png"})
            writeTestPng(file(QString::fromLatin1(name)));
        if (!start(false))
            return false;
        makeCommands();
        return true;
    }

    std::unique_ptr<QMenu> menu(const QStringList &names)
    {
        QList<QUrl> files;
        for (const QString &name : names)
            files.append(url(name));
        return std::unique_ptr<QMenu>(ContextMenu::build(files, *commands));
    }
};

} // namespace

class TestContextMenu : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void entriesForOneFileAndForSeveral()
    {
        MenuRig rig;
        QVERIFY(rig.build());

        // One file: the single-file entries; three: counted titles and none
        // of the entries that only make sense for one file.
        const auto one = rig.menu({QStringLiteral("a.png")});
        const QStringList single = titles(one.get());
        QVERIFY(single.contains("Properties") && single.contains("Rename…"));
        // Nothing in the menu shows or takes a key.
        for (const QAction *action : one->actions())
            QVERIFY2(action->shortcut().isEmpty(), qPrintable(action->text()));

        const auto three = rig.menu({QStringLiteral("c.png"), QStringLiteral("a.png"), QStringLiteral("b.png")});
        const QStringList many = titles(three.get());
        QVERIFY(many.contains("Open 3 Items") && !many.contains("Properties") && !many.contains("Rename…"));

        // Preview opens on the first of the files, paging through all in sight.
        entry(three.get(), "Preview")->trigger();
        QCOMPARE(rig.previewer.currentURL(), rig.url("c.png"));
        QCOMPARE(rig.previewer.urls(), rig.shelf->visible());
        rig.previewer.close();

        QVERIFY(std::unique_ptr<QMenu>(ContextMenu::build({}, *rig.commands))->actions().isEmpty());

        // A popped-up menu is gone once closed.
        QPointer<QMenu> popup = ContextMenu::popup({rig.url("a.png")}, *rig.commands, QPoint(20, 20));
        QVERIFY(QTest::qWaitForWindowExposed(popup.data()));
        popup->hide();
        QTRY_VERIFY(popup.isNull());
    }

    void openWithListsTheFirstFilesApplications()
    {
        MenuRig rig;
        QVERIFY(rig.build());
        // None registered (a bare X server): the entry is there, empty.
        QVERIFY(entry(rig.menu({"a.png"}).get(), "Open With")->menu()->isEmpty());

        const QUrl viewer = QUrl::fromLocalFile("/usr/share/applications/viewer.desktop");
        const QUrl editor = QUrl::fromLocalFile("/usr/share/applications/editor.desktop");
        rig.launcher.apps = {{"viewer", QIcon(), viewer, true}, {"Editor", QIcon(), editor}};
        const auto menu = rig.menu({QStringLiteral("a.png"), QStringLiteral("b.png")});
        QMenu *openWith = entry(menu.get(), "Open With")->menu();
        // The default stands apart from the alternatives.
        QCOMPARE(titles(openWith), (QStringList{"viewer", "-", "Editor"}));
        entry(openWith, "viewer")->trigger();
        QCOMPARE(rig.launcher.openedWith,
                 (QList<QPair<QList<QUrl>, QUrl>>{{{rig.url("a.png"), rig.url("b.png")}, viewer}}));
    }

    void moveToOffersEveryOtherFolderAndTrashGoesThroughTheRunner()
    {
        MenuRig rig;
        QVERIFY(rig.build());
        const QString homeEntry = QStringLiteral("Home (shots)");

        // Home shown: no Home entry, every subfolder.
        QCOMPARE(titles(entry(rig.menu({"a.png"}).get(), "Move to")->menu()),
                 (QStringList{"A", "B", "-", "New Folder…"}));

        // A shown: Home and every subfolder but A. Choosing Home moves the
        // files there, through the runner.
        QVERIFY(QFile::rename(rig.file("a.png"), rig.file("A/a.png")));
        rig.shelf->openFolder(QUrl::fromLocalFile(rig.file("A")));
        QTRY_COMPARE(rig.itemNames(), QStringList{"a.png"});
        const auto inA = rig.menu({QStringLiteral("A/a.png")});
        QMenu *moveTo = entry(inA.get(), "Move to")->menu();
        QCOMPARE(titles(moveTo), (QStringList{homeEntry, "B", "-", "New Folder…"}));
        entry(moveTo, homeEntry)->trigger();
        QVERIFY(rig.settle());
        QVERIFY(QFile::exists(rig.file("a.png")) && !QFile::exists(rig.file("A/a.png")));

        // "New Folder…" only makes the folder; the files stay.
        rig.prompt.answer = "C";
        entry(moveTo, "New Folder…")->trigger();
        QVERIFY(QFileInfo(rig.file("C")).isDir() && QFile::exists(rig.file("a.png")));

        // Trash is handed to the worker, not done on the spot.
        rig.shelf->openFolder(rig.shelf->home());
        entry(rig.menu({"a.png", "b.png"}).get(), "Move 2 Items to Trash")->trigger();
        QCOMPARE(rig.runner.pending(), 1);
        QVERIFY(rig.settle());
        QVERIFY(QFile::exists(rig.trashed("a.png")) && QFile::exists(rig.trashed("b.png")));
        QTRY_COMPARE(rig.itemNames(), QStringList{"c.png"});
    }
};

QTEST_MAIN(TestContextMenu)
#include "test_contextmenu.moc"
