#include "actions/actionrunner.h"
#include "platform/trash.h"
#include "support/shelfrig.h"
#include "ui/foldercolumn.h"

#include <QMimeData>
#include <QTest>

#include <sys/stat.h>

namespace {

using Row = FolderColumn::Row;

// "Home 2" or "B 1" per home and folder row, "hint" for the hint.
QStringList describe(const FolderColumn &column)
{
    QStringList lines;
    for (const Row &row : column.rows()) {
        if (row.kind == Row::hintRow)
            lines << QStringLiteral("hint");
        else if (row.kind != Row::headerRow)
            lines << QStringLiteral("%1 %2").arg(row.title).arg(row.count);
    }
    return lines;
}

QPoint centreOf(const FolderColumn &column, const QString &title)
{
    for (const Row &row : column.rows()) {
        if (row.kind != Row::headerRow && row.title == title)
            return row.rect.center();
    }
    return {-1, -1};
}

// Drags `data` onto the row titled `title` and drops it; true when the
// column took the drop.
bool dropOn(FolderColumn &column, const QString &title, QMimeData *data)
{
    const QPoint at = centreOf(column, title);
    QDragEnterEvent enter(at, Qt::CopyAction | Qt::MoveAction, data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(column.viewport(), &enter);
    if (!enter.isAccepted())
        return false;
    QDragMoveEvent move(at, Qt::CopyAction | Qt::MoveAction, data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(column.viewport(), &move);
    if (!move.isAccepted() || column.targeted().isEmpty())
        return false;
    QDropEvent drop(QPointF(at), Qt::CopyAction | Qt::MoveAction, data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(column.viewport(), &drop);
    return drop.isAccepted() && column.targeted().isEmpty();
}

std::unique_ptr<QMimeData> filesData(const QList<QUrl> &files)
{
    auto data = std::make_unique<QMimeData>();
    data->setUrls(files);
    return data;
}

bool show(FolderColumn &column)
{
    column.resize(FolderColumn::idealColumnWidth, 500);
    column.show();
    return QTest::qWaitForWindowExposed(&column);
}

} // namespace

class TestFolderColumn : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void rowsFollowSubfoldersAndCounts()
    {
        ShelfRig rig;
        rig.addImage(QStringLiteral("a.png"));
        rig.addImage(QStringLiteral("b.png"));
        QVERIFY(rig.start());
        FolderColumn column(rig.shelf.get(), {});
        QVERIFY(show(column));
        QCOMPARE(describe(column), QStringList({"Home 2", "hint"}));

        // Folders appear in the shelf's order with their counts; odd names
        // and a folder that cannot be read show like any other.
        const QString longName = QString(QLatin1Char('x')).repeated(251) + QStringLiteral(".dir");
        const QString odd = QStringLiteral("Say \"cheese\" \U0001F600 'now'");
        for (const QString &name : {QStringLiteral("B"), odd, longName, QStringLiteral("Locked")})
            QVERIFY(QDir().mkpath(rig.file(name)));
        Sandbox::writeFile(rig.file(QStringLiteral("B/c.png")));
        Sandbox::writeFile(rig.file(odd + QStringLiteral("/d.png")));
        Sandbox::writeFile(rig.file(QStringLiteral("Locked/e.png")));
        ::chmod(QFile::encodeName(rig.file(QStringLiteral("Locked"))).constData(), 0);
        QVERIFY(rig.rescan());
        ::chmod(QFile::encodeName(rig.file(QStringLiteral("Locked"))).constData(), 0755);
        const QStringList rows = describe(column);
        QCOMPARE(rows.size(), 5);
        QVERIFY(rows.contains(QStringLiteral("B 1")) && rows.contains(odd + QStringLiteral(" 1")));
        QVERIFY(rows.contains(longName + QStringLiteral(" 0")) && rows.filter(QStringLiteral("Locked ")).size() == 1);
        QVERIFY(!column.grab().isNull()); // paints every row, the long name elided

        // Clicking a row opens its folder; its header does nothing.
        QTest::mouseClick(column.viewport(), Qt::LeftButton, {}, centreOf(column, QStringLiteral("B")));
        QCOMPARE(rig.shelf->current(), Shelf::folderKey(rig.url(QStringLiteral("B"))));
        QTest::mouseClick(column.viewport(), Qt::LeftButton, {}, centreOf(column, QStringLiteral("Home")) - QPoint(0, 20));
        QCOMPARE(rig.shelf->current(), Shelf::folderKey(rig.url(QStringLiteral("B"))));
        QTest::mouseClick(column.viewport(), Qt::LeftButton, {}, centreOf(column, QStringLiteral("Home")));
        QCOMPARE(rig.shelf->current(), rig.shelf->home());

        // A file moved into the shown subfolder from outside updates its count.
        rig.shelf->openFolder(QUrl::fromLocalFile(rig.file(QStringLiteral("B"))));
        QVERIFY(QFile::rename(rig.file(QStringLiteral("a.png")), rig.file(QStringLiteral("B/a.png"))));
        QTRY_COMPARE_WITH_TIMEOUT(describe(column).value(0), QStringLiteral("Home 1"), 10000);
        QVERIFY(describe(column).contains(QStringLiteral("B 2")));

        // The last folder gone: the hint comes back.
        for (const QUrl &folder : rig.shelf->subfolders())
            QVERIFY(QDir(folder.toLocalFile()).removeRecursively());
        QVERIFY(rig.rescan());
        QCOMPARE(describe(column), QStringList({"Home 1", "hint"}));
    }

    void droppedFilesMoveIntoTheRowsFolder()
    {
        ShelfRig rig;
        rig.addImage(QStringLiteral("a.png"));
        Sandbox::writeFile(rig.file(QStringLiteral("Sub/b.png")));
        QVERIFY(rig.start());
        FreedesktopTrash trash(rig.box.path(QStringLiteral("Trash")), [](const QString &) { return QStringLiteral("/"); });
        ActionRunner runner(trash, &rig.meta);
        FolderColumn column(rig.shelf.get(), {.runner = &runner});
        QVERIFY(show(column));
        const QSet<QUrl> selection{rig.url(QStringLiteral("a.png"))};
        rig.shelf->setSelection(selection);

        // Not files: refused.
        QMimeData text;
        text.setText(QStringLiteral("hello"));
        QVERIFY(!dropOn(column, QStringLiteral("Sub"), &text));
        QVERIFY(!dropOn(column, QStringLiteral("Sub"), filesData({QUrl(QStringLiteral("https://example.com/x.png"))}).get()));

        // Already there: nothing moves and the selection stays.
        QVERIFY(dropOn(column, QStringLiteral("Sub"), filesData({rig.url(QStringLiteral("Sub/b.png"))}).get()));
        QTRY_COMPARE_WITH_TIMEOUT(runner.pending(), 0, 10000);
        QVERIFY(QFile::exists(rig.file(QStringLiteral("Sub/b.png"))));
        QVERIFY(!QFile::exists(rig.file(QStringLiteral("Sub/b 2.png"))));
        QCOMPARE(rig.shelf->selection(), selection);

        QVERIFY(dropOn(column, QStringLiteral("Sub"), filesData({rig.url(QStringLiteral("a.png"))}).get()));
        QTRY_COMPARE_WITH_TIMEOUT(runner.pending(), 0, 10000);
        QVERIFY(QFile::exists(rig.file(QStringLiteral("Sub/a.png"))));
        QVERIFY(rig.shelf->selection().isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(describe(column), QStringList({"Home 0", "Sub 2"}), 10000);
    }
};

QTEST_MAIN(TestFolderColumn)
#include "test_foldercolumn.moc"
