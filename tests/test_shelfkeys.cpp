// The shelf window's keys and toolbar on the offscreen platform, through the
// real key routing: which keys the search field keeps and which act on the
// shelf, and what the shelf's own keys do to the files (with a Trash, an
// application launcher and a folder prompt of the test's own).

#include "support/apprun.h"
#include "support/commandsrig.h"
#include "ui/shelftoolbar.h"
#include "ui/shelfview.h"
#include "ui/shelfwindow.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QLineEdit>
#include <QMimeData>
#include <QTest>

namespace {

// A shelf of a.png (oldest), b.png and c.png (newest, shown first) in a
// shown and active shelf window with the keyboard on the window itself.
struct KeysRig : CommandsRig
{
    std::unique_ptr<ShelfWindow> window;
    ShelfView *view = nullptr;

    bool build()
    {
        QDir().mkpath(folder());
        double age = 30;
        for (const char *name : {"a.png", "b.png", "c.png"}) {
            writeTestPng(file(QString::fromLatin1(name)));
            setAge(file(QString::fromLatin1(name)), age -= 10);
        }
        if (!start(false))
            return false;
        makeCommands();
        window = std::make_unique<ShelfWindow>();
        window->setShelf(shelf.get());
        window->setCommands(*commands);
        beside = window.get();
        view = new ShelfView(shelf.get(), &meta, nullptr, *commands);
        window->setContent(view);
        window->installKeyRouting();
        window->resize(900, 600);
        window->show();
        window->activateWindow();
        if (!QTest::qWaitForWindowActive(window.get()))
            return false;
        window->setFocus();
        return true;
    }

    QLineEdit *field() const { return view->toolbar()->searchField(); }
    // A key as the keyboard sends it: to whatever has the focus.
    void key(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) const
    {
        QTest::keyClick(window->focusWidget() ? window->focusWidget() : window.get(), key, modifiers);
    }
    QStringList selected() const { return TestFiles::names(shelf->selectedFiles()); }
};

} // namespace

class TestShelfKeys : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // In the search field, typing and editing keys stay with the field
    // (Return opens nothing, Backspace trashes nothing, Ctrl+A selects the
    // text), Space previews only while the field is empty, Ctrl+digit (with
    // Shift too) still copies and selects, and Escape clears the search
    // before it hides.
    void searchFieldKeepsItsKeys()
    {
        KeysRig rig;
        QVERIFY(rig.build());
        rig.view->toolbar()->focusSearch();
        QVERIFY(rig.field()->hasFocus());

        rig.key(Qt::Key_Space);
        QCOMPARE(rig.previewer.currentURL(), rig.url(QStringLiteral("c.png")));
        QCOMPARE(rig.field()->text(), QString());
        rig.key(Qt::Key_Space);
        QVERIFY(!rig.previewer.isOpen());
        QCOMPARE(rig.selected(), QStringList{QStringLiteral("c.png")});

        QTest::keyClicks(rig.field(), QStringLiteral("png"));
        QCOMPARE(rig.shelf->query(), QStringLiteral("png"));
        rig.key(Qt::Key_Space);
        QCOMPARE(rig.field()->text(), QStringLiteral("png "));
        QVERIFY(!rig.previewer.isOpen());
        rig.key(Qt::Key_Backspace);
        rig.key(Qt::Key_Return);
        QCOMPARE(rig.field()->text(), QStringLiteral("png"));
        QVERIFY(rig.launcher.opened.isEmpty());
        QCOMPARE(rig.runner.pending(), 0);
        rig.key(Qt::Key_A, Qt::ControlModifier);
        QCOMPARE(rig.field()->selectedText(), QStringLiteral("png"));
        QCOMPARE(rig.selected(), QStringList{QStringLiteral("c.png")});

        rig.key(Qt::Key_2, Qt::ControlModifier);
        QCOMPARE(rig.selected(), QStringList{QStringLiteral("b.png")});
        QCOMPARE(QGuiApplication::clipboard()->mimeData()->urls(), QList<QUrl>{rig.url(QStringLiteral("b.png"))});
        QVERIFY(rig.field()->hasFocus());
        // With Shift the digit arrives as its symbol ("!" is Shift+1 on a
        // US keyboard); it is still the shelf's, and never typed.
        rig.key(Qt::Key_Exclam, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(rig.selected(), QStringList{QStringLiteral("c.png")});
        QCOMPARE(rig.field()->text(), QStringLiteral("png"));
        rig.window->setFocus();
        rig.key(Qt::Key_At, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(rig.selected(), QStringList{QStringLiteral("b.png")});
        rig.view->toolbar()->focusSearch();

        rig.key(Qt::Key_Escape);
        QCOMPARE(rig.shelf->query(), QString());
        QVERIFY(rig.window->isVisible());
        rig.key(Qt::Key_Escape);
        QVERIFY(!rig.window->isVisible());
    }

    // On the shelf: an open preview follows the arrow keys; Return opens,
    // P pins and Delete trashes the selected file (into the given Trash);
    // Ctrl+Shift+N asks for a folder inside Home, Ctrl+N is not the shelf's.
    // The toolbar's buttons follow the shelf: Delete needs a
    // selection, Home a subfolder; Preview opens without selecting.
    void shelfKeysAndButtonsActOnTheFiles()
    {
        KeysRig rig;
        QVERIFY(rig.build());
        ShelfToolbar *toolbar = rig.view->toolbar();
        QVERIFY(!toolbar->trashAction()->isEnabled());
        toolbar->previewAction()->trigger();
        QVERIFY(rig.previewer.isOpen() && rig.selected().isEmpty());
        toolbar->previewAction()->trigger();

        rig.key(Qt::Key_Right);
        rig.key(Qt::Key_Space);
        rig.key(Qt::Key_Right);
        QCOMPARE(rig.previewer.currentURL(), rig.url(QStringLiteral("b.png")));
        rig.key(Qt::Key_Space);
        QVERIFY(!rig.previewer.isOpen());

        rig.key(Qt::Key_Return);
        QCOMPARE(rig.launcher.opened, QList<QUrl>{rig.url(QStringLiteral("b.png"))});
        rig.key(Qt::Key_P);
        QTRY_COMPARE(rig.pins.windows().size(), 1);
        QVERIFY(toolbar->trashAction()->isEnabled());
        rig.key(Qt::Key_Delete);
        QTRY_COMPARE(rig.itemNames(), (QStringList{QStringLiteral("c.png"), QStringLiteral("a.png")}));
        QVERIFY(QFile::exists(rig.box.path(QStringLiteral("Trash/files/b.png"))));

        QKeyEvent plainN(QEvent::KeyPress, Qt::Key_N, Qt::ControlModifier);
        QVERIFY(!rig.window->handleKey(&plainN));
        rig.prompt.answer = QStringLiteral("Receipts");
        rig.key(Qt::Key_N, Qt::ControlModifier | Qt::ShiftModifier);
        QVERIFY(QFileInfo(rig.file(QStringLiteral("Receipts"))).isDir());
        QTRY_COMPARE(rig.shelf->subfolders().size(), 1);
        QVERIFY(!toolbar->backAction()->isEnabled());
        rig.shelf->openFolder(rig.shelf->subfolders().first());
        toolbar->backAction()->trigger();
        QVERIFY(rig.shelf->isHome());
    }
};

QTEST_MAIN(TestShelfKeys)
#include "test_shelfkeys.moc"
