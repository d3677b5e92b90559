#include "support/commandsrig.h"
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
            lines << "hint";
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
        CommandsRig rig;
        rig.addImage("a.png");
        rig.addImage("b.png");
        QVERIFY(rig.start());
        rig.makeCommands();
        FolderColumn column(rig.shelf.get(), *rig.commands);
        QVERIFY(show(column));
        QCOMPARE(describe(column), QStringList({"Home 2", "hint"}));

        // Folders appear in the shelf's order with their counts; odd names
        // and a folder that cannot be read show like any other.
        const QString longName = QString(QLatin1Char('x')).repeated(251) + ".dir";
        const QString odd = "Say \"cheese\" \U0001F600 'now'";
        for (const QString &name : QStringList{"B", odd, longName, "Locked"})
            QVERIFY(QDir().mkpath(rig.file(name)));
        Sandbox::writeFile(rig.file("B/c.png"));
        Sandbox::writeFile(rig.file(odd + "/d.png"));
        Sandbox::writeFile(rig.file("Locked/e.png"));
        ::chmod(QFile::encodeName(rig.file("Locked")).constData(), 0);
        QVERIFY(rig.rescan());
        ::chmod(QFile::encodeName(rig.file("Locked")).constData(), 0755);
        const QStringList rows = describe(column);
        QCOMPARE(rows.size(), 5);
        QVERIFY(rows.contains("B 1") && rows.contains(odd + " 1"));
        QVERIFY(rows.contains(longName + " 0") && rows.filter("Locked ").size() == 1);
        QVERIFY(!column.grab().isNull()); // paints every row, the long name elided

        // Clicking a row opens its folder; its header does nothing. (Counts
        // that change from outside are test_watching's.)
        QTest::mouseClick(column.viewport(), Qt::LeftButton, {}, centreOf(column, "B"));
        QTest::mouseClick(column.viewport(), Qt::LeftButton, {}, centreOf(column, "Home") - QPoint(0, 20));
        QCOMPARE(rig.shelf->current(), Shelf::folderKey(rig.url("B")));

        // The last folder gone: the hint comes back.
        for (const QUrl &folder : rig.shelf->subfolders())
            QVERIFY(QDir(folder.toLocalFile()).removeRecursively());
        QVERIFY(rig.rescan());
        QCOMPARE(describe(column), QStringList({"Home 2", "hint"}));
    }

    void droppedFilesMoveIntoTheRowsFolder()
    {
        CommandsRig rig;
        rig.addImage("a.png");
        Sandbox::writeFile(rig.file("Sub/b.png"));
        QVERIFY(rig.start());
        rig.makeCommands();
        ActionRunner &runner = rig.runner;
        FolderColumn column(rig.shelf.get(), *rig.commands);
        QVERIFY(show(column));
        const QSet<QUrl> selection{rig.url("a.png")};
        rig.shelf->setSelection(selection);

        // Not files: refused.
        QMimeData text;
        text.setText("hello");
        QVERIFY(!dropOn(column, "Sub", &text));
        QVERIFY(!dropOn(column, "Sub", filesData({QUrl("https://example.com/x.png")}).get()));

        // What a move into the folder does is test_folderops'.
        QVERIFY(dropOn(column, "Sub", filesData({rig.url("a.png")}).get()));
        QTRY_COMPARE_WITH_TIMEOUT(runner.pending(), 0, 10000);
        QVERIFY(QFile::exists(rig.file("Sub/a.png")));
        QVERIFY(rig.shelf->selection().isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(describe(column), QStringList({"Home 0", "Sub 2"}), 10000);
    }
};

QTEST_MAIN(TestFolderColumn)
#include "test_foldercolumn.moc"
