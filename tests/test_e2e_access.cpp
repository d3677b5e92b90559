// End-to-end with a screen reader's eyes: the binary runs on a real desktop
// with accessibility on and an AT-SPI registry on its session bus, and its
// tree is read back over AT-SPI (pyatspi, as Orca reads it) while it is
// driven with real keys.

#include "support/apprun.h"
#include "support/desktopsession.h"
#include "support/files.h"

#include <QDir>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSettings>
#include <QStandardPaths>
#include <QTest>

#include <memory>

namespace {

constexpr int shotCount = 3;
const char busLauncher[] = "/usr/libexec/at-spi-bus-launcher";
// Debian's own interpreter, the one its python3-pyatspi is installed for
// (a python3 earlier on PATH may be another).
const char python[] = "/usr/bin/python3";

QString shotName(int i) { return QStringLiteral("shot%1.png").arg(i); }

// One object of the tree (or one event) as the walker printed it.
struct Seen
{
    QString path, role, name, description, event;
    QStringList states;
    int children = 0;
    int detail = 0;

    static Seen from(const QByteArray &line)
    {
        const QJsonObject o = QJsonDocument::fromJson(line).object();
        Seen seen{o.value("path").toString(),        o.value("role").toString(),  o.value("name").toString(),
                  o.value("description").toString(), o.value("event").toString(), {},
                  o.value("children").toInt(),       o.value("detail1").toInt()};
        for (const QJsonValue &state : o.value("states").toArray())
            seen.states << state.toString();
        return seen;
    }
    bool has(const char *state) const { return states.contains(QLatin1String(state)); }
};

} // namespace

class TestE2eAccess : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<DesktopSession> m_desktop;
    QProcess m_launcher;
    QString m_walker;

    QProcessEnvironment busEnvironment(const QString &home) const
    {
        QProcessEnvironment environment;
        environment.insert("PATH", qEnvironmentVariable("PATH"));
        environment.insert("HOME", home);
        environment.insert("DISPLAY", m_desktop->display());
        environment.insert("DBUS_SESSION_BUS_ADDRESS", m_desktop->busAddress());
        return environment;
    }

    // The program's tree as a screen reader reads it now.
    QList<Seen> tree(const AppRun &run) const
    {
        QByteArray out;
        m_desktop->tool(python, {m_walker, "tree", QString::number(run.processId())}, &out, 20000);
        QList<Seen> seen;
        for (const QByteArray &line : out.split('\n'))
            if (!line.trimmed().isEmpty())
                seen << Seen::from(line);
        return seen;
    }

    static QList<Seen> childrenOf(const QList<Seen> &tree, const Seen &parent)
    {
        QList<Seen> children;
        for (const Seen &node : tree)
            if (node.path.startsWith(parent.path + '/') && !node.path.mid(parent.path.size() + 1).contains('/'))
                children << node;
        return children;
    }

    static std::optional<Seen> find(const QList<Seen> &tree, const QString &role, const QString &name)
    {
        for (const Seen &node : tree)
            if (node.role == role && node.name == name)
                return node;
        return std::nullopt;
    }

    static QString dump(const QList<Seen> &tree)
    {
        QStringList lines;
        for (const Seen &node : tree)
            lines << QStringLiteral("%1 %2 \"%3\" [%4] %5")
                         .arg(node.path, node.role, node.name, node.states.join(','), node.description);
        return lines.join('\n');
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(QFileInfo(AppRun::binary()).isExecutable(), "BRINDLEWICK_BIN must name the binary");
        m_walker = QFINDTESTDATA("support/atspiwalk.py");
        m_desktop = std::make_unique<DesktopSession>();
    }

    void cleanupTestCase()
    {
        if (m_launcher.state() != QProcess::NotRunning) {
            m_launcher.terminate();
            if (!m_launcher.waitForFinished(5000))
                m_launcher.kill();
        }
        m_desktop.reset();
    }

    // A screen reader reaches every cell of the grid and every folder row
    // by name, every control it can focus is named, and the keys that walk
    // the window (Tab, then an arrow in the grid) move what it announces.
    void aScreenReaderWalksTheShelf()
    {
        if (!m_desktop->isRunning())
            QSKIP(
                qPrintable("no desktop to test on (" + m_desktop->problem() + "; ./setup.sh test installs the tools)"));
        if (!QFileInfo(busLauncher).isExecutable())
            QSKIP("no AT-SPI bus launcher (the at-spi2-core package)");
        if (m_walker.isEmpty() || m_desktop->tool(python, {"-c", "import pyatspi"}) != 0)
            QSKIP("no pyatspi (the python3-pyatspi package; ./setup.sh test installs it)");

        AppRun run(QString{});
        // The accessibility bus of this desktop, with its registry.
        m_launcher.setProcessEnvironment(busEnvironment(run.home()));
        m_launcher.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_launcher.start(busLauncher, {"--launch-immediately"});
        QVERIFY(m_launcher.waitForStarted());
        // Asked without starting it: a call to the bus itself would have the
        // session bus start a second launcher that outlives the test.
        const auto launched = [&] {
            QByteArray out;
            m_desktop->tool("dbus-send",
                            {"--session", "--print-reply", "--dest=org.freedesktop.DBus", "/org/freedesktop/DBus",
                             "org.freedesktop.DBus.NameHasOwner", "string:org.a11y.Bus"},
                            &out);
            return out.contains("boolean true");
        };
        QTRY_VERIFY_WITH_TIMEOUT(launched(), AppRun::defaultTimeoutMs);

        const QString shots = run.path("shots");
        QDir().mkpath(shots + "/Archive");
        const qint64 now = QDateTime::currentSecsSinceEpoch();
        for (int i = 0; i < shotCount; ++i) {
            QImage image(320, 200, QImage::Format_RGB32);
            image.fill(QColor::fromHsv(i * 100, 200, 220));
            QVERIFY(image.save(shots + '/' + shotName(i)));
            TestFiles::setMtime(shots + '/' + shotName(i), now - 60 * (i + 1));
        }
        writeTestPng(shots + "/Archive/old.png");
        QSettings prefs(run.configHome() + "/Brindlewick/Brindlewick.conf", QSettings::IniFormat);
        prefs.setValue("folder", shots);
        prefs.setValue("cellWidth", 160);
        prefs.sync();
        m_desktop->enter(run);
        run.setVar("BRINDLEWICK_DEBUG");
        run.setVar("BRINDLEWICK_OPEN");
        run.setVar("QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "1");
        run.start();
        QVERIFY2(!run.waitForLine("] ready").isNull(), qPrintable(run.lines().join('\n')));
        const quint32 shelf = m_desktop->waitForWindow(run.processId(), "^shots$");
        QVERIFY(shelf);
        QTRY_COMPARE_WITH_TIMEOUT(m_desktop->activeWindow(), shelf, AppRun::defaultTimeoutMs);

        // The cells, newest first, each named by its file and told by its date.
        QList<Seen> seen;
        std::optional<Seen> grid;
        // Waited for once, not retried as QTRY would: each look is a walk.
        const auto gridListed = [&] {
            grid = find(seen = tree(run), "list", "Screenshots");
            return grid && grid->children == shotCount;
        };
        const bool listed = QTest::qWaitFor(gridListed, AppRun::defaultTimeoutMs);
        QVERIFY2(listed, qPrintable(dump(seen)));
        const QList<Seen> cells = childrenOf(seen, *grid);
        QCOMPARE(cells.size(), shotCount);
        for (int i = 0; i < shotCount; ++i) {
            QCOMPARE(cells.at(i).role, QStringLiteral("list item"));
            QCOMPARE(cells.at(i).name, shotName(i));
            QVERIFY2(cells.at(i).has("selectable") && cells.at(i).has("focusable"), qPrintable(dump(cells)));
            QVERIFY2(cells.at(i).description.contains(QString::number(QDate::currentDate().year())),
                     qPrintable(cells.at(i).description));
        }
        // The folders, each with its count.
        const std::optional<Seen> folders = find(seen, "list", "Folders");
        QVERIFY2(folders, qPrintable(dump(seen)));
        QStringList rows;
        for (const Seen &row : childrenOf(seen, *folders))
            rows << row.name;
        QCOMPARE(rows, (QStringList{"Home, 3 screenshots", "Archive, 1 screenshot"}));
        // Nothing a person can tab to is left nameless.
        for (const Seen &node : std::as_const(seen))
            if (node.has("focusable") && node.has("showing") && node.role != "frame")
                QVERIFY2(!node.name.isEmpty(),
                         qPrintable(QStringLiteral("unnamed %1 at %2\n%3").arg(node.role, node.path, dump(seen))));

        // What a screen reader hears as the keyboard moves.
        QProcess listener;
        listener.setProcessEnvironment(busEnvironment(run.home()));
        listener.start(python, {m_walker, "events", QString::number(run.processId())});
        QVERIFY(listener.waitForStarted());
        QByteArray heard;
        QTRY_VERIFY_WITH_TIMEOUT((heard += listener.readAllStandardOutput()).contains("listening\n"),
                                 AppRun::defaultTimeoutMs);
        const auto focusedAfter = [&](qsizetype from) -> std::optional<Seen> {
            std::optional<Seen> last;
            for (const QByteArray &line : heard.mid(from).split('\n')) {
                const Seen event = Seen::from(line);
                if (event.event == "object:state-changed:focused" && event.detail == 1)
                    last = event;
            }
            return last;
        };
        const auto press = [&](const QString &key, const QString &role, const QString &name) {
            const qsizetype from = heard.size();
            m_desktop->key(key);
            std::optional<Seen> focused;
            const bool arrived = QTest::qWaitFor(
                [&] {
                    heard += listener.readAllStandardOutput();
                    focused = focusedAfter(from);
                    return focused && focused->role == role && focused->name == name;
                },
                AppRun::defaultTimeoutMs);
            if (!arrived)
                qWarning("after %s heard:\n%s", qPrintable(key), heard.mid(from).constData());
            return arrived ? focused : std::nullopt;
        };

        // Into the search field, then Tab: the folders, then the grid.
        m_desktop->key("ctrl+f");
        QVERIFY(press("Tab", "list item", "Home, 3 screenshots"));
        // The column walks its own rows: each shows its folder.
        QVERIFY(press("Down", "list item", "Archive, 1 screenshot"));
        QVERIFY(press("Up", "list item", "Home, 3 screenshots"));
        QVERIFY(press("Tab", "list", "Screenshots"));
        // An arrow moves the keyboard's cell, selected, and says so.
        QVERIFY(press("Right", "list item", shotName(0)));
        const std::optional<Seen> next = press("Right", "list item", shotName(1));
        QVERIFY(next);
        QVERIFY2(next->has("selected") && next->has("focused"), qPrintable(next->states.join(',')));
        seen = tree(run);
        const QList<Seen> after = childrenOf(seen, *find(seen, "list", "Screenshots"));
        QVERIFY2(!after.at(0).has("selected") && after.at(1).has("selected") && after.at(1).has("focused"),
                 qPrintable(dump(after)));

        listener.terminate();
        listener.waitForFinished(5000);
        run.terminate();
        QVERIFY(run.waitForExit());
    }
};

QTEST_GUILESS_MAIN(TestE2eAccess)
#include "test_e2e_access.moc"
