// End-to-end under real Wayland compositors, headless: weston and sway,
// with XWayland (the program then runs on X11 through it) and sway without
// (Qt's Wayland platform). Read back with the compositors' own tools: their
// screen captures, sway's window tree, xwininfo for X11 windows.

#include "support/apprun.h"
#include "support/waylandsession.h"

#include <QDir>
#include <QImage>
#include <QJsonArray>
#include <QRegularExpression>
#include <QSettings>
#include <QTest>

#include <algorithm>
#include <functional>

namespace {

constexpr int edgeGap = 20;

// "flash shown fresh.png 404x282": the card's size as the program made it.
QSize shownSize(const QString &line)
{
    static const QRegularExpression size(QStringLiteral(" (\\d+)x(\\d+)$"));
    const QRegularExpressionMatch m = size.match(line);
    return m.hasMatch() ? QSize(m.captured(1).toInt(), m.captured(2).toInt()) : QSize();
}

QRect swayRect(const QJsonObject &node)
{
    const QJsonObject r = node.value(QStringLiteral("rect")).toObject();
    return QRect(r.value(QStringLiteral("x")).toInt(), r.value(QStringLiteral("y")).toInt(),
                 r.value(QStringLiteral("width")).toInt(), r.value(QStringLiteral("height")).toInt());
}

// The name of the focused window in sway's tree, or the node type when a
// workspace (nothing) has focus.
QString swayFocus(const QJsonObject &node)
{
    if (node.value(QStringLiteral("focused")).toBool())
        return node.value(QStringLiteral("type")).toString() == QLatin1String("workspace")
                   ? QStringLiteral("(workspace)")
                   : node.value(QStringLiteral("name")).toString();
    for (const char *kind : {"nodes", "floating_nodes"}) {
        for (const QJsonValue &child : node.value(QLatin1String(kind)).toArray()) {
            const QString found = swayFocus(child.toObject());
            if (!found.isNull())
                return found;
        }
    }
    return {};
}

// Pixels of `image` inside `area` within `tolerance` of `colour`.
int countNear(const QImage &image, const QRect &area, QColor colour, int tolerance = 12)
{
    int count = 0;
    const QRect r = area.intersected(image.rect());
    for (int y = r.top(); y <= r.bottom(); ++y) {
        for (int x = r.left(); x <= r.right(); ++x) {
            const QColor c = image.pixelColor(x, y);
            if (qAbs(c.red() - colour.red()) <= tolerance && qAbs(c.green() - colour.green()) <= tolerance
                && qAbs(c.blue() - colour.blue()) <= tolerance)
                ++count;
        }
    }
    return count;
}

} // namespace

class TestE2eWayland : public QObject
{
    Q_OBJECT

    QString m_captures;

    QString capturePath(const QString &name) const { return m_captures + QLatin1Char('/') + name; }

    static void needSession(const WaylandSession &session)
    {
        if (!session.isRunning())
            QSKIP(qPrintable(QStringLiteral("no compositor to test on (%1; ./setup.sh test installs them)")
                                 .arg(session.problem())));
    }

    // Three screenshots in a Home of the preferences; the card stays 3 s.
    static void prepare(AppRun &run, bool dark)
    {
        const QString shots = run.path(QStringLiteral("shots"));
        QDir().mkpath(shots);
        for (int i = 0; i < 3; ++i) {
            QImage image(320, 200, QImage::Format_RGB32);
            image.fill(QColor::fromHsv(i * 120, 200, 220));
            QVERIFY(image.save(shots + QStringLiteral("/shot%1.png").arg(i)));
        }
        QSettings prefs(run.configHome() + QStringLiteral("/Brindlewick/Brindlewick.conf"), QSettings::IniFormat);
        prefs.setValue(QStringLiteral("folder"), shots);
        prefs.setValue(QStringLiteral("cellWidth"), 160);
        run.setVar(QStringLiteral("BRINDLEWICK_DEBUG"));
        if (dark)
            run.setVar(QStringLiteral("BRINDLEWICK_PALETTE"), QStringLiteral("dark"));
    }

    static void start(AppRun &run)
    {
        run.start();
        QVERIFY2(!run.waitForLine(QStringLiteral("] ready")).isNull(), qPrintable(run.lines().join('\n')));
    }

    // A new screenshot brings the card: in the output's bottom-right corner
    // 20 px from both edges, at the size the program gave it, drawn (the
    // white screenshot and the dark card show in the compositor's capture),
    // without focus; it leaves after its time.
    void cardInTheCorner(WaylandSession::Compositor compositor, const QString &name)
    {
        WaylandSession session(compositor, true);
        needSession(session);
        AppRun run(QString{});
        prepare(run, false);
        session.enter(run);
        start(run);
        QImage fresh(400, 250, QImage::Format_RGB32);
        fresh.fill(Qt::white);
        QVERIFY(fresh.save(run.path(QStringLiteral("shots/fresh.png"))));
        const QString shown = run.waitForLine(QStringLiteral("] flash shown fresh.png"));
        QVERIFY2(!shown.isNull(), qPrintable(run.lines().join('\n')));
        const QSize size = shownSize(shown);

        const QList<quint32> cards = session.x11Windows(QStringLiteral("^New Screenshot$"));
        QCOMPARE(cards.size(), 1);
        const QRect card = session.x11Geometry(cards.first());
        QCOMPARE(card.size(), size);
        QCOMPARE(card.right() + 1, WaylandSession::screenWidth - edgeGap);
        QCOMPARE(card.bottom() + 1, WaylandSession::screenHeight - edgeGap);

        const QImage screen = session.capture(capturePath(name + QStringLiteral("-card.png")));
        QVERIFY(!screen.isNull());
        QCOMPARE(screen.size(), QSize(WaylandSession::screenWidth, WaylandSession::screenHeight));
        const QRect image = card.adjusted(10, 10, -10, -32);
        QVERIFY2(countNear(screen, image, Qt::white) > image.width() * image.height() * 9 / 10,
                 qPrintable(capturePath(name + QStringLiteral("-card.png"))));
        const QRect footer(card.left() + 4, card.bottom() - 8, card.width() - 8, 4);
        QVERIFY(countNear(screen, footer, QColor::fromRgbF(0.12f, 0.12f, 0.12f), 16) > footer.width() * 2);

        if (compositor == WaylandSession::Compositor::sway) {
            // Nothing of ours in sway's tree: it manages no such window.
            const QJsonObject tree = session.tree();
            QVERIFY(findSwayWindow(tree, QStringLiteral("^New Screenshot$")).isEmpty());
            QCOMPARE(swayFocus(tree), QStringLiteral("(workspace)"));
        } else {
            QByteArray active;
            session.tool(QStringLiteral("xprop"), {QStringLiteral("-root"), QStringLiteral("_NET_ACTIVE_WINDOW")}, &active);
            QVERIFY2(!active.contains(QByteArray::number(cards.first(), 16)), active.constData());
        }

        QVERIFY(!run.waitForLine(QStringLiteral("] flash gone fresh.png")).isNull());
        QTRY_VERIFY_WITH_TIMEOUT(session.x11Windows(QStringLiteral("^New Screenshot$")).isEmpty(),
                                 AppRun::defaultTimeoutMs);
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(QFileInfo(AppRun::binary()).isExecutable(), "BRINDLEWICK_BIN must name the binary");
        m_captures = qEnvironmentVariable("BRINDLEWICK_CAPTURES",
                                          QDir::tempPath() + QStringLiteral("/brindlewick-captures-wayland"));
        QDir().mkpath(m_captures);
    }

    void cardInTheCornerUnderWeston() { cardInTheCorner(WaylandSession::Compositor::weston, QStringLiteral("weston")); }
    void cardInTheCornerUnderSway() { cardInTheCorner(WaylandSession::Compositor::sway, QStringLiteral("sway")); }

    // Without XWayland (Qt's Wayland platform) a Wayland window cannot say
    // where it goes: sway centres the card, but floats it at its own size
    // instead of tiling it over the whole output.
    void cardFloatsUnderSwayWithoutXWayland()
    {
        WaylandSession session(WaylandSession::Compositor::sway, false);
        needSession(session);
        AppRun run(QString{});
        prepare(run, false);
        session.enter(run);
        start(run);
        QImage fresh(400, 250, QImage::Format_RGB32);
        fresh.fill(Qt::white);
        QVERIFY(fresh.save(run.path(QStringLiteral("shots/fresh.png"))));
        const QString shown = run.waitForLine(QStringLiteral("] flash shown fresh.png"));
        QVERIFY2(!shown.isNull(), qPrintable(run.lines().join('\n')));
        bool floating = false;
        QJsonObject card;
        QTRY_VERIFY_WITH_TIMEOUT(!(card = findSwayWindow(session.tree(), QStringLiteral("^New Screenshot$"), &floating))
                                      .isEmpty(),
                                 AppRun::defaultTimeoutMs);
        session.capture(capturePath(QStringLiteral("sway-native-card.png")));
        QVERIFY(floating);
        QCOMPARE(swayRect(card).size(), shownSize(shown));
        QVERIFY(!run.waitForLine(QStringLiteral("] flash gone fresh.png")).isNull());
        QTRY_VERIFY_WITH_TIMEOUT(findSwayWindow(session.tree(), QStringLiteral("^New Screenshot$")).isEmpty(),
                                 AppRun::defaultTimeoutMs);
    }

    // Under sway through XWayland the shelf, the preview (Space) and a pin
    // (P, over the preview) float at their own sizes instead of being tiled
    // over the whole output; light and dark.
    void shelfPinAndPreviewFloatUnderSway_data()
    {
        QTest::addColumn<bool>("dark");
        QTest::newRow("light") << false;
        QTest::newRow("dark") << true;
    }
    void shelfPinAndPreviewFloatUnderSway()
    {
        QFETCH(bool, dark);
        WaylandSession session(WaylandSession::Compositor::sway, true);
        needSession(session);
        AppRun run(QString{});
        prepare(run, dark);
        session.enter(run);
        run.setVar(QStringLiteral("BRINDLEWICK_OPEN"));
        run.setVar(QStringLiteral("BRINDLEWICK_CLICK"));
        run.setVar(QStringLiteral("BRINDLEWICK_KEY"), QStringLiteral("49,35"));
        start(run);
        const QString suffix = dark ? QStringLiteral("-dark.png") : QStringLiteral(".png");

        bool floating = false;
        QJsonObject shelf, pin, preview;
        // The pin and the preview both carry the file's name; the preview is
        // the larger.
        const bool all = QTest::qWaitFor([&] {
            const QJsonObject tree = session.tree();
            shelf = findSwayWindow(tree, QStringLiteral("^shots$"), &floating);
            QList<QJsonObject> named;
            const std::function<void(const QJsonObject &)> collect = [&](const QJsonObject &node) {
                for (const char *kind : {"nodes", "floating_nodes"})
                    for (const QJsonValue &child : node.value(QLatin1String(kind)).toArray()) {
                        const QJsonObject o = child.toObject();
                        if (o.value(QStringLiteral("name")).toString().endsWith(QLatin1String(".png")))
                            named << o;
                        collect(o);
                    }
            };
            collect(tree);
            if (named.size() != 2)
                return false;
            std::sort(named.begin(), named.end(), [](const QJsonObject &a, const QJsonObject &b) {
                return swayRect(a).width() < swayRect(b).width();
            });
            pin = named.first();
            preview = named.last();
            return floating && !shelf.isEmpty();
        }, AppRun::defaultTimeoutMs);
        session.capture(capturePath(QStringLiteral("sway-shelf-pin-preview") + suffix));
        QVERIFY2(all, qPrintable(run.lines().join('\n')));

        const QRect output(0, 0, WaylandSession::screenWidth, WaylandSession::screenHeight);
        for (const QJsonObject &window : {shelf, pin, preview}) {
            bool floats = false;
            findSwayWindow(session.tree(), QRegularExpression::escape(window.value(QStringLiteral("name")).toString()),
                           &floats);
            QVERIFY2(floats, qPrintable(window.value(QStringLiteral("name")).toString()));
            QVERIFY(output.contains(swayRect(window)));
            QVERIFY(swayRect(window) != output);
        }
        // The shelf at the size the program chose: its X11 window's.
        const QList<quint32> shelves = session.x11Windows(QStringLiteral("^shots$"));
        QCOMPARE(shelves.size(), 1);
        QCOMPARE(swayRect(shelf).size(), session.x11Geometry(shelves.first()).size());
        QVERIFY(swayRect(pin).width() < swayRect(preview).width());
    }
};

QTEST_GUILESS_MAIN(TestE2eWayland)
#include "test_e2e_wayland.moc"
