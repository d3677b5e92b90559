// The shelf window under long random sequences of what a person does
// (search, folders, zoom, scrolling, clicks, marquees, keys, Delete) and of
// what other programs do to the files meanwhile (add, remove, rename, rename
// over, overwrite). After every step: each cell in view shows the image of
// the file's current content, the grid lists the folder's files newest first,
// the counts are the disk's, the selection lies within the items, and no file
// is lost except those trashed, which are in the Trash.
//
// Every sequence comes from a seed and replays exactly. A few seeds run by
// default; BRINDLEWICK_PROPERTY_SEEDS (a count, or seeds after a plus:
// "+77,78") and BRINDLEWICK_PROPERTY_STEPS run more. A failure names the
// seed and step.

#include "meta/thumbs.h"
#include "support/colourimages.h"
#include "support/windowrig.h"
#include "ui/gridlayout.h"
#include "ui/shelfgrid.h"

#include <QApplication>
#include <QRandomGenerator>
#include <QScrollBar>
#include <QTest>

namespace {

const char failure[] =
    "seed %1, step %2 (%3): %4; replay with BRINDLEWICK_PROPERTY_SEEDS=+%1 BRINDLEWICK_PROPERTY_STEPS=%2";

// One random sequence, and what it believes is on disk: each file's content
// (a colour number) and modification time, in Home and in its one
// subfolder, and what went to the Trash.
class Run
{
public:
    explicit Run(quint32 seed) : m_seed(seed), m_random(seed) {}

    // Home with 12 to 41 screenshots, the subfolder with 5; the window shown.
    bool populate()
    {
        QDir().mkpath(m_sub);
        const int homeFiles = 12 + below(30);
        for (int i = 0; i < homeFiles + 5; ++i)
            if (write(i < homeFiles ? m_home : m_sub).isEmpty())
                return false;
        return m_rig.showWindow(&m_thumbs, {1000, 700});
    }

    // One step chosen at random; returns what it was.
    QString step()
    {
        // Each kind's chance in percent, as the upper end of its share.
        static constexpr std::tuple<int, void (Run::*)(), const char *> kinds[] = {
            {10, &Run::search, "search"}, {15, &Run::switchFolder, "switch folders"},
            {20, &Run::zoom, "zoom"},     {28, &Run::scroll, "scroll"},
            {50, &Run::click, "click"},   {58, &Run::marquee, "marquee"},
            {66, &Run::keys, "keys"},     {72, &Run::trash, "Delete"}};
        const int pick = below(100);
        for (const auto &[upTo, act, name] : kinds)
            if (pick < upTo) {
                (this->*act)();
                return name;
            }
        return outside();
    }

    // Takes `steps` steps, the invariants checked before the first and after
    // each; empty when they held, else what did not and how to replay it.
    QString walk(int steps)
    {
        QString last = "start", problem;
        for (int step = 0;; ++step) {
            if (!QTest::qWaitFor([&] { return (problem = violation()).isEmpty(); }, 2000 + Shelf::rescanMaxWaitMs))
                return QString::fromLatin1(failure).arg(m_seed).arg(step).arg(last, problem);
            if (step == steps)
                return {};
            last = this->step();
        }
    }

private:
    ShelfGrid *grid() const { return m_rig.view->grid(); }
    QWidget *viewport() const { return grid()->viewport(); }
    int below(qsizetype n) { return n <= 0 ? 0 : int(m_random.bounded(quint32(n))); }
    QList<QUrl> inView() const
    {
        QList<QUrl> urls = grid()->shownItems();
        urls.removeIf([&](const QUrl &url) { return !grid()->tileRect(url).intersects(viewport()->rect()); });
        return urls;
    }
    static QString where(const QString &path) { return path.section('/', -2); }

    // Writes the next content at `path` (a new file in `folder` when none is
    // given), each at a time of its own so that the order is known; the
    // path, or empty.
    QString write(const QString &folder, QString path = {})
    {
        if (path.isEmpty())
            path = folder + QStringLiteral("/shot %1.png").arg(m_next);
        if (!ColourImages::write(path, ColourImages::colour(m_next)))
            return {};
        TestFiles::setMtimeMs(path, m_clock += 1000);
        m_files.insert(path, m_next++);
        return path;
    }
    // The names of the files in `folder`, newest first: by the times given
    // them, as the disk holds only the files it knows (see disk()).
    static QStringList inFolder(const QString &folder)
    {
        return QDir(folder).entryList({"*.png"}, QDir::Files, QDir::Time);
    }
    QString pickFile(const QString &folder)
    {
        const QStringList names = inFolder(folder);
        return names.isEmpty() ? QString() : folder + '/' + names.at(below(names.size()));
    }

    void search()
    {
        m_rig.field()->setFocus();
        QTest::keyClicks(m_rig.field(), QString::number(below(10)));
        QApplication::processEvents();
        if (below(2) == 0)
            QTest::keyClick(m_rig.field(), Qt::Key_Escape);
        else
            m_rig.field()->clear(); // the field's clear button
        m_rig.window->setFocus();
    }
    void switchFolder() { m_rig.shelf->openFolder(QUrl::fromLocalFile(m_rig.shelf->isHome() ? m_sub : m_home)); }
    void zoom() { m_rig.shelf->zoom(below(2) ? 40 : -40); }
    void scroll() { grid()->verticalScrollBar()->setValue(below(grid()->verticalScrollBar()->maximum() + 1)); }
    void click()
    {
        const QList<QUrl> urls = inView();
        if (urls.isEmpty())
            return;
        const QUrl url = urls.at(below(urls.size()));
        const int kind = below(4);
        // The fourth kind on the name under the tile, which is background.
        const QRect cell = grid()->cellRect(url);
        const QPoint at = kind == 3 ? QPoint(cell.center().x(), cell.bottom() - 2)
                                    : grid()->tileRect(url).intersected(viewport()->rect()).center();
        const Qt::KeyboardModifiers mods = QList{Qt::NoModifier, Qt::ControlModifier, Qt::ShiftModifier}.value(kind);
        if (viewport()->rect().contains(at))
            QTest::mouseClick(viewport(), Qt::LeftButton, mods, at);
    }
    void marquee()
    {
        const QRect area = viewport()->rect();
        const QPoint from(GridLayout::pad / 2, below(area.height())), to(below(area.width()), below(area.height()));
        const Qt::KeyboardModifiers mods = below(2) ? Qt::ShiftModifier : Qt::NoModifier;
        QTest::mousePress(viewport(), Qt::LeftButton, mods, from);
        QMouseEvent move(QEvent::MouseMove, QPointF(to), viewport()->mapToGlobal(QPointF(to)), Qt::NoButton,
                         Qt::LeftButton, mods);
        QApplication::sendEvent(viewport(), &move);
        QTest::mouseRelease(viewport(), Qt::LeftButton, mods, to);
    }
    void keys()
    {
        // Ctrl+A once in six, else an arrow, with Shift once in three.
        const bool all = below(6) == 0;
        const Qt::Key key = all ? Qt::Key_A : QList{Qt::Key_Left, Qt::Key_Right, Qt::Key_Up, Qt::Key_Down}.at(below(4));
        m_rig.key(key, all ? Qt::ControlModifier : below(3) ? Qt::NoModifier : Qt::ShiftModifier);
    }
    void trash()
    {
        const QList<QUrl> selected = m_rig.shelf->selectedFiles();
        m_rig.key(Qt::Key_Delete);
        (void)m_rig.settle(); // what it left is checked below
        for (const QUrl &url : selected)
            if (m_files.contains(url.toLocalFile()) && !QFile::exists(url.toLocalFile()))
                m_trashed << m_files.take(url.toLocalFile());
    }
    QString outside()
    {
        const QString folder = below(4) == 0 ? m_sub : m_home;
        const int kind = below(5);
        const QString path = pickFile(folder);
        if (kind == 0 || path.isEmpty())
            return "added " + where(write(folder));
        if (kind == 1) {
            QFile::remove(path);
            m_files.remove(path);
            return "removed " + where(path);
        }
        if (kind == 2)
            return "overwrote " + where(write(folder, path));
        // Renamed, to a new name or over another file (mv a c; mv b a).
        const QString other = pickFile(folder);
        const QString target =
            kind == 3 || other == path ? folder + QStringLiteral("/renamed %1.png").arg(m_next++) : other;
        ::rename(QFile::encodeName(path).constData(), QFile::encodeName(target).constData());
        m_files.insert(target, m_files.take(path));
        return "renamed " + where(path) + " to " + where(target);
    }

    QString violation() const
    {
        const Shelf &shelf = *m_rig.shelf;
        const QStringList expected = inFolder(shelf.current().toLocalFile());
        if (m_rig.itemNames() != expected)
            return "items " + m_rig.itemNames().join(',') + ", on disk " + expected.join(',');
        if (shelf.query().isEmpty() && TestFiles::names(grid()->shownItems()) != expected)
            return "the grid shows " + TestFiles::names(grid()->shownItems()).join(',');
        if (shelf.folderCounts().value(QUrl::fromLocalFile(m_home)) != inFolder(m_home).size())
            return "Home's count is not what it holds";
        if (!QSet<QUrl>(shelf.items().cbegin(), shelf.items().cend()).contains(shelf.selection()))
            return "the selection is not within the items";
        for (const QUrl &url : inView()) {
            QImage image;
            if (const ShelfGrid::Shows shows = grid()->shows(url, &image); shows != ShelfGrid::Shows::image)
                return QStringLiteral("%1 shows %2, not its image").arg(url.fileName()).arg(int(shows));
            if (!ColourImages::shows(image, ColourImages::colour(m_files.value(url.toLocalFile()))))
                return url.fileName() + " shows other content than its own";
        }
        return disk();
    }

    // Nothing lost: every file it knows is on disk with its content, nothing
    // else is, and the Trash holds exactly the trashed contents.
    QString disk() const
    {
        QStringList found;
        for (const QString &folder : {m_home, m_sub})
            for (const QString &name : inFolder(folder))
                found << folder + '/' + name;
        if (QSet<QString>(found.cbegin(), found.cend()) != QSet<QString>(m_files.keyBegin(), m_files.keyEnd()))
            return "the folders hold other files than they should";
        for (auto it = m_files.cbegin(); it != m_files.cend(); ++it)
            if (!ColourImages::shows(QImage(it.key()), ColourImages::colour(it.value())))
                return it.key() + " lost its content";
        QList<int> inTrash;
        const QDir trash(m_rig.box.path("Trash/files"));
        for (const QString &name : trash.entryList(QDir::Files)) {
            const QImage image(trash.filePath(name));
            for (int c = 0; c < m_next; ++c)
                if (ColourImages::shows(image, ColourImages::colour(c)))
                    inTrash << c;
        }
        const bool trashed =
            std::is_permutation(inTrash.cbegin(), inTrash.cend(), m_trashed.cbegin(), m_trashed.cend());
        return trashed ? QString() : "the Trash does not hold what was trashed";
    }

    quint32 m_seed;
    QRandomGenerator m_random;
    Thumbs m_thumbs{nullptr}; // outlives the window
    WindowRig m_rig;
    const QString m_home = m_rig.folder(), m_sub = m_home + "/sub";
    QHash<QString, int> m_files; // path -> content
    QList<int> m_trashed;
    int m_next = 0; // the next content
    qint64 m_clock = QDateTime::currentMSecsSinceEpoch() - 3600 * 1000;
};

QList<quint32> seeds()
{
    const QByteArray given = qgetenv("BRINDLEWICK_PROPERTY_SEEDS");
    QList<quint32> out;
    for (const QByteArray &seed : given.startsWith('+') ? given.mid(1).split(',') : QByteArrayList())
        out << seed.toUInt();
    for (quint32 seed = 1; out.isEmpty() && seed <= (given.isEmpty() ? 3 : given.toUInt()); ++seed)
        out << seed;
    return out;
}

} // namespace

class TestShelfProperty : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void randomSequences()
    {
        const char *const stepsVariable = "BRINDLEWICK_PROPERTY_STEPS";
        const int steps = qEnvironmentVariableIsSet(stepsVariable) ? qEnvironmentVariableIntValue(stepsVariable) : 45;
        for (const quint32 seed : seeds()) {
            Run run(seed);
            QVERIFY(run.populate());
            const QString problem = run.walk(steps);
            QVERIFY2(problem.isEmpty(), qPrintable(problem));
        }
    }
};

QTEST_MAIN(TestShelfProperty)
#include "test_shelfproperty.moc"
