#include "actions/actionrunner.h"
#include "platform/trash.h"
#include "support/shelfrig.h"
#include "ui/foldercolumn.h"

#include <QMimeData>
#include <QTest>

#include <sys/stat.h>
#include <unistd.h>

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

QMimeData *filesData(const QList<QUrl> &files)
{
    auto *data = new QMimeData;
    data->setUrls(files);
    return data;
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
        column.resize(FolderColumn::idealColumnWidth, 500);
        column.show();
        QVERIFY(QTest::qWaitForWindowExposed(&column));
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
        QStringList expected{QStringLiteral("Home 2")};
        for (const QUrl &folder : rig.shelf->subfolders()) {
            const QString name = QFileInfo(folder.toLocalFile()).fileName();
            // root reads the locked folder all the same.
            const bool counted = name == QLatin1String("B") || name == odd
                                 || (name == QLatin1String("Locked") && ::geteuid() == 0);
            expected << QStringLiteral("%1 %2").arg(name).arg(counted ? 1 : 0);
        }
        QCOMPARE(expected.size(), 5);
        QCOMPARE(describe(column), expected);
        QVERIFY(!column.grab().isNull()); // paints every row, the long name elided

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

    void choosingARowOpensItsFolder()
    {
        ShelfRig rig;
        QDir().mkpath(rig.file(QStringLiteral("Sub")));
        QVERIFY(rig.start());
        FolderColumn column(rig.shelf.get(), {});
        column.resize(FolderColumn::idealColumnWidth, 500);
        column.show();
        QVERIFY(QTest::qWaitForWindowExposed(&column));

        QTest::mouseClick(column.viewport(), Qt::LeftButton, {}, centreOf(column, QStringLiteral("Sub")));
        QCOMPARE(rig.shelf->current(), Shelf::folderKey(rig.url(QStringLiteral("Sub"))));
        // Headers are not rows.
        QTest::mouseClick(column.viewport(), Qt::LeftButton, {}, centreOf(column, QStringLiteral("Home")) - QPoint(0, 20));
        QCOMPARE(rig.shelf->current(), Shelf::folderKey(rig.url(QStringLiteral("Sub"))));
        QTest::mouseClick(column.viewport(), Qt::LeftButton, {}, centreOf(column, QStringLiteral("Home")));
        QCOMPARE(rig.shelf->current(), rig.shelf->home());
    }

    void droppedFilesMoveIntoTheRowsFolder()
    {
        ShelfRig rig;
        rig.addImage(QStringLiteral("a.png"));
        Sandbox::writeFile(rig.file(QStringLiteral("Sub/b.png")));
        QVERIFY(rig.start());
        FreedesktopTrash trash(rig.box.path(QStringLiteral("Trash")), [](const QString &) { return QStringLiteral("/"); });
        ActionRunner runner(trash, &rig.meta);
        FolderColumn::Parts parts;
        parts.runner = &runner;
        FolderColumn column(rig.shelf.get(), parts);
        column.resize(FolderColumn::idealColumnWidth, 500);
        column.show();
        QVERIFY(QTest::qWaitForWindowExposed(&column));
        const QSet<QUrl> selection{rig.url(QStringLiteral("a.png"))};
        rig.shelf->setSelection(selection);

        // Not files: refused.
        QMimeData text;
        text.setText(QStringLiteral("hello"));
        QVERIFY(!dropOn(column, QStringLiteral("Sub"), &text));
        std::unique_ptr<QMimeData> web(filesData({QUrl(QStringLiteral("https://example.com/x.png"))}));
        QVERIFY(!dropOn(column, QStringLiteral("Sub"), web.get()));

        // Already there: nothing moves and the selection stays.
        std::unique_ptr<QMimeData> there(filesData({rig.url(QStringLiteral("Sub/b.png"))}));
        QVERIFY(dropOn(column, QStringLiteral("Sub"), there.get()));
        QTRY_COMPARE_WITH_TIMEOUT(runner.pending(), 0, 10000);
        QVERIFY(QFile::exists(rig.file(QStringLiteral("Sub/b.png"))));
        QVERIFY(!QFile::exists(rig.file(QStringLiteral("Sub/b 2.png"))));
        QCOMPARE(rig.shelf->selection(), selection);

        std::unique_ptr<QMimeData> home(filesData({rig.url(QStringLiteral("a.png"))}));
        QVERIFY(dropOn(column, QStringLiteral("Sub"), home.get()));
        QTRY_COMPARE_WITH_TIMEOUT(runner.pending(), 0, 10000);
        QVERIFY(QFile::exists(rig.file(QStringLiteral("Sub/a.png"))));
        QVERIFY(!QFile::exists(rig.file(QStringLiteral("a.png"))));
        QVERIFY(rig.shelf->selection().isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(describe(column), QStringList({"Home 0", "Sub 2"}), 10000);
    }
};

QTEST_MAIN(TestFolderColumn)
#include "test_foldercolumn.moc"
