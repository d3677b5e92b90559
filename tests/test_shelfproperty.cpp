// The shelf window under long random sequences of what a person does
// (search, folders, zoom, scrolling, clicks, marquees, keys, Delete) and of
// what other programs do to the files meanwhile (add, remove, rename, rename
// over, overwrite). After every step: each cell in view shows the image of
// the file's current content, the grid lists the folder's files newest first,
// the counts are the disk's, the selection lies within the items, and no file
// is lost except those trashed, which are in the Trash.
//
// Every sequence comes from a seed and replays exactly. A few seeds run by
// default; BRINDLEWICK_PROPERTY_SEEDS (a count, or seeds separated by commas)
// and BRINDLEWICK_PROPERTY_STEPS run more. A failure names the seed and step.

#include "meta/thumbs.h"
#include "support/colourimages.h"
#include "support/windowrig.h"
#include "ui/gridlayout.h"
#include "ui/shelfgrid.h"

#include <QApplication>
#include <QRandomGenerator>
#include <QScrollBar>
#include <QTest>

#include <cstdio>

namespace {

constexpr int settleMs = 2000;

struct PropertyRig : WindowRig
{
    Thumbs thumbs{nullptr};
    ShelfGrid *grid() const { return view->grid(); }
    QWidget *viewport() const { return grid()->viewport(); }
};

// What the test believes is on disk: each file's content (a colour number)
// and modification time, in Home and in its one subfolder, and what went to
// the Trash.
struct World
{
    QString home;
    QString sub;
    QHash<QString, QPair<int, qint64>> files; // path -> content, mtime in ms
    QList<int> trashed;
    int nextContent = 0;
    qint64 clock = QDateTime::currentMSecsSinceEpoch() - 3600 * 1000;

    bool write(const QString &path)
    {
        const int content = nextContent++;
        if (!ColourImages::write(path, ColourImages::colour(content)))
            return false;
        clock += 1000; // every content its own time, so the order is known
        TestFiles::setMtimeMs(path, clock);
        files.insert(path, {content, clock});
        return true;
    }
    QStringList inFolder(const QString &folder) const
    {
        QList<QPair<qint64, QString>> found;
        for (auto it = files.cbegin(); it != files.cend(); ++it)
            if (QFileInfo(it.key()).absolutePath() == folder)
                found.append({it->second, QFileInfo(it.key()).fileName()});
        std::sort(found.begin(), found.end(), [](const auto &a, const auto &b) { return a.first > b.first; });
        QStringList names;
        for (const auto &f : found)
            names << f.second;
        return names;
    }
};

class Run
{
public:
    Run(quint32 seed, PropertyRig &rig, World &world) : m_random(seed), m_rig(rig), m_world(world) {}

    // One step chosen at random; returns what it did.
    QString step()
    {
        // Each kind's chance in percent, as the upper end of its share.
        static constexpr std::pair<int, QString (Run::*)()> kinds[] = {
            {10, &Run::search}, {15, &Run::switchFolder}, {20, &Run::zoom}, {28, &Run::scroll},
            {50, &Run::click},  {58, &Run::marquee},      {66, &Run::keys}, {72, &Run::trash}};
        const int pick = int(m_random.bounded(100));
        for (const auto &[upTo, act] : kinds)
            if (pick < upTo)
                return (this->*act)();
        return outside();
    }

    // The invariants, waited for; empty when they hold, else what does not.
    QString check()
    {
        QString problem;
        (void)QTest::qWaitFor([&] { return (problem = violation()).isEmpty(); }, settleMs + Shelf::rescanMaxWaitMs);
        return problem;
    }

private:
    QString current() const { return m_rig.shelf->current().toLocalFile(); }
    QList<QUrl> shown() const { return m_rig.grid()->shownItems(); }
    int below(int n) { return n <= 0 ? 0 : int(m_random.bounded(quint32(n))); }
    QList<QUrl> inView() const
    {
        QList<QUrl> urls;
        const QRect area = m_rig.viewport()->rect();
        for (const QUrl &url : shown())
            if (m_rig.grid()->tileRect(url).intersects(area))
                urls << url;
        return urls;
    }
    static QString where(const QString &path) { return path.section(QLatin1Char('/'), -2); }
    QString pickFile(const QString &folder)
    {
        QStringList names = m_world.inFolder(folder);
        return names.isEmpty() ? QString() : folder + QLatin1Char('/') + names.at(below(int(names.size())));
    }

    QString search()
    {
        const QString text = QString::number(below(10));
        m_rig.field()->setFocus();
        QTest::keyClicks(m_rig.field(), text);
        QApplication::processEvents();
        const bool escape = m_random.bounded(2) == 0;
        if (escape)
            QTest::keyClick(m_rig.field(), Qt::Key_Escape);
        else
            m_rig.field()->clear(); // the field's clear button
        m_rig.window->setFocus();
        return QStringLiteral("search \"%1\", cleared with %2")
            .arg(text, escape ? QStringLiteral("Escape") : QStringLiteral("the button"));
    }
    QString switchFolder()
    {
        const bool home = m_rig.shelf->isHome();
        m_rig.shelf->openFolder(QUrl::fromLocalFile(home ? m_world.sub : m_world.home));
        return home ? QStringLiteral("open the subfolder") : QStringLiteral("back to Home");
    }
    QString zoom()
    {
        const double delta = m_random.bounded(2) ? 40 : -40;
        m_rig.shelf->zoom(delta);
        return QStringLiteral("zoom %1").arg(delta);
    }
    QString scroll()
    {
        QScrollBar *bar = m_rig.grid()->verticalScrollBar();
        const int to = below(bar->maximum() + 1);
        bar->setValue(to);
        return QStringLiteral("scroll to %1").arg(to);
    }
    QString click()
    {
        const QList<QUrl> urls = inView();
        if (urls.isEmpty())
            return QStringLiteral("click on nothing");
        const QUrl url = urls.at(below(int(urls.size())));
        const int kind = below(4);
        const Qt::KeyboardModifiers mods = QList{Qt::NoModifier, Qt::ControlModifier, Qt::ShiftModifier}.value(kind);
        const QRect tile = m_rig.grid()->tileRect(url).intersected(m_rig.viewport()->rect());
        if (kind == 3) {
            // On the name under the tile: background.
            const QRect cell = m_rig.grid()->cellRect(url);
            const QPoint at(cell.center().x(), cell.bottom() - 2);
            if (m_rig.viewport()->rect().contains(at))
                QTest::mouseClick(m_rig.viewport(), Qt::LeftButton, {}, at);
            return QStringLiteral("click the name of %1").arg(url.fileName());
        }
        QTest::mouseClick(m_rig.viewport(), Qt::LeftButton, mods, tile.center());
        return QStringLiteral("click %1 with %2").arg(url.fileName()).arg(int(mods));
    }
    QString marquee()
    {
        const QRect area = m_rig.viewport()->rect();
        const QPoint from(GridLayout::pad / 2, below(area.height()));
        const QPoint to(below(area.width()), below(area.height()));
        const Qt::KeyboardModifiers mods = m_random.bounded(2) ? Qt::ShiftModifier : Qt::NoModifier;
        QTest::mousePress(m_rig.viewport(), Qt::LeftButton, mods, from);
        QMouseEvent move(QEvent::MouseMove, QPointF(to), m_rig.viewport()->mapToGlobal(QPointF(to)), Qt::NoButton,
                         Qt::LeftButton, mods);
        QApplication::sendEvent(m_rig.viewport(), &move);
        QTest::mouseRelease(m_rig.viewport(), Qt::LeftButton, mods, to);
        return QStringLiteral("marquee from (%1,%2) to (%3,%4)").arg(from.x()).arg(from.y()).arg(to.x()).arg(to.y());
    }
    QString keys()
    {
        static const QList<Qt::Key> arrows{Qt::Key_Left, Qt::Key_Right, Qt::Key_Up, Qt::Key_Down};
        const Qt::Key key = arrows.at(below(4));
        const Qt::KeyboardModifiers mods = m_random.bounded(3) == 0 ? Qt::ShiftModifier : Qt::NoModifier;
        if (m_random.bounded(6) == 0) {
            m_rig.key(Qt::Key_A, Qt::ControlModifier);
            return QStringLiteral("Ctrl+A");
        }
        m_rig.key(key, mods);
        return QStringLiteral("key %1 with %2").arg(int(key)).arg(int(mods));
    }
    QString trash()
    {
        const QList<QUrl> selected = m_rig.shelf->selectedFiles();
        m_rig.key(Qt::Key_Delete);
        (void)m_rig.settle(); // what it left is checked below
        QStringList names;
        for (const QUrl &url : selected) {
            const QString path = url.toLocalFile();
            if (m_world.files.contains(path) && !QFile::exists(path)) {
                m_world.trashed << m_world.files.take(path).first;
                names << url.fileName();
            }
        }
        return QStringLiteral("Delete on %1").arg(names.join(QLatin1Char(' ')));
    }
    QString outside()
    {
        const QString folder = m_random.bounded(4) == 0 ? m_world.sub : m_world.home;
        const int kind = below(5);
        const QString path = pickFile(folder);
        if (kind == 0 || path.isEmpty()) {
            const QString added = folder + QStringLiteral("/shot %1.png").arg(m_world.nextContent);
            m_world.write(added);
            return "added " + where(added);
        }
        if (kind == 1) {
            QFile::remove(path);
            m_world.files.remove(path);
            return "removed " + where(path);
        }
        if (kind == 2) {
            m_world.write(path);
            return "overwrote " + where(path);
        }
        // Renamed, to a new name or over another file (mv a c; mv b a).
        const QString other = pickFile(folder);
        const QString target = kind == 3 || other.isEmpty() || other == path
                                   ? folder + QStringLiteral("/renamed %1.png").arg(m_world.nextContent++)
                                   : other;
        ::rename(QFile::encodeName(path).constData(), QFile::encodeName(target).constData());
        m_world.files.insert(target, m_world.files.take(path));
        return "renamed " + where(path) + " to " + where(target);
    }

    QString violation() const
    {
        Shelf &shelf = *m_rig.shelf;
        const QStringList expected = m_world.inFolder(current());
        if (m_rig.itemNames() != expected)
            return "items " + m_rig.itemNames().join(',') + ", on disk " + expected.join(',');
        if (shelf.query().isEmpty() && TestFiles::names(shown()) != expected)
            return "the grid shows " + TestFiles::names(shown()).join(',');
        if (shelf.folderCounts().value(QUrl::fromLocalFile(m_world.home)) != m_world.inFolder(m_world.home).size())
            return QStringLiteral("Home's count is not what it holds");
        const QSet<QUrl> items(shelf.items().cbegin(), shelf.items().cend());
        if (!items.contains(shelf.selection()))
            return QStringLiteral("the selection is not within the items");
        for (const QUrl &url : inView()) {
            QImage image;
            const ShelfGrid::Shows shows = m_rig.grid()->shows(url, &image);
            const int content = m_world.files.value(url.toLocalFile()).first;
            if (shows != ShelfGrid::Shows::image)
                return QStringLiteral("%1 shows %2, not its image").arg(url.fileName()).arg(int(shows));
            if (!ColourImages::shows(image, ColourImages::colour(content)))
                return QStringLiteral("%1 shows other content than its own").arg(url.fileName());
        }
        return {};
    }

public:
    // Nothing lost: every file the world holds is on disk with its content,
    // nothing else is, and the Trash holds exactly the trashed contents.
    QString disk() const
    {
        QSet<QString> found;
        for (const QString &folder : {m_world.home, m_world.sub}) {
            const QStringList names = QDir(folder).entryList({"*.png"}, QDir::Files);
            for (const QString &name : names)
                found.insert(folder + QLatin1Char('/') + name);
        }
        const QList<QString> known = m_world.files.keys();
        if (found != QSet<QString>(known.cbegin(), known.cend()))
            return QStringLiteral("the folders hold other files than they should");
        for (auto it = m_world.files.cbegin(); it != m_world.files.cend(); ++it)
            if (!ColourImages::shows(QImage(it.key()), ColourImages::colour(it->first)))
                return QStringLiteral("%1 lost its content").arg(it.key());
        QList<int> inTrash;
        const QString trashFiles = m_rig.box.path("Trash/files");
        for (const QString &name : QDir(trashFiles).entryList(QDir::Files)) {
            const QImage image(trashFiles + QLatin1Char('/') + name);
            for (int c = 0; c < m_world.nextContent; ++c)
                if (ColourImages::shows(image, ColourImages::colour(c))) {
                    inTrash << c;
                    break;
                }
        }
        QList<int> trashed = m_world.trashed;
        std::sort(trashed.begin(), trashed.end());
        std::sort(inTrash.begin(), inTrash.end());
        if (trashed != inTrash)
            return QStringLiteral("the Trash does not hold what was trashed");
        return {};
    }

private:
    QRandomGenerator m_random;
    PropertyRig &m_rig;
    World &m_world;
};

// Seeds separated by commas, or one given with a plus ("+77"), or a count:
// that many seeds from the first.
QList<quint32> seeds()
{
    const QByteArray given = qgetenv("BRINDLEWICK_PROPERTY_SEEDS");
    if (given.isEmpty())
        return {1, 2, 3};
    QList<quint32> out;
    if (given.contains(',') || given.startsWith('+'))
        for (const QByteArray &s : given.mid(given.startsWith('+') ? 1 : 0).split(','))
            out << s.trimmed().toUInt();
    for (quint32 s = 1; out.isEmpty() && s <= given.toUInt(); ++s)
        out << s;
    return out;
}

} // namespace

class TestShelfProperty : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void randomSequences()
    {
        bool given = false;
        const int chosen = qEnvironmentVariableIntValue("BRINDLEWICK_PROPERTY_STEPS", &given);
        const int steps = given ? chosen : 45;
        for (const quint32 seed : seeds()) {
            PropertyRig rig;
            World world;
            world.home = rig.folder();
            world.sub = rig.folder() + "/sub";
            QDir().mkpath(world.sub);
            QRandomGenerator start(seed);
            const int homeFiles = 12 + int(start.bounded(30u));
            for (int i = 0; i < homeFiles; ++i)
                QVERIFY(world.write(world.home + QStringLiteral("/shot %1.png").arg(world.nextContent)));
            for (int i = 0; i < 5; ++i)
                QVERIFY(world.write(world.sub + QStringLiteral("/shot %1.png").arg(world.nextContent)));
            QVERIFY(rig.showWindow(&rig.thumbs, {1000, 700}));
            Run run(seed, rig, world);
            QString problem = run.check();
            QString last = "start";
            int step = 0;
            for (; problem.isEmpty() && step < steps; ++step) {
                last = run.step();
                problem = run.check();
                if (problem.isEmpty())
                    problem = run.disk();
            }
            if (!problem.isEmpty()) {
                const QString replay = QStringLiteral("seed %1, step %2 (%3): %4; replay with "
                                                      "BRINDLEWICK_PROPERTY_SEEDS=+%1 BRINDLEWICK_PROPERTY_STEPS=%2")
                                           .arg(seed)
                                           .arg(step)
                                           .arg(last, problem);
                std::fprintf(stderr, "%s\n", qPrintable(replay));
                QFAIL(qPrintable(replay));
            }
        }
    }
};

QTEST_MAIN(TestShelfProperty)
#include "test_shelfproperty.moc"
