// End-to-end under real Wayland compositors, headless: weston and sway,
// with XWayland (the program then runs on X11 through it) and sway without
// (Qt's Wayland platform). Read back with the compositors' own tools: their
// screen captures, sway's window tree, xdotool and xprop for X11 windows.

#include "support/apprun.h"
#include "support/colourimages.h"
#include "support/files.h"
#include "support/waylandsession.h"

#include <QDir>
#include <QRegularExpression>
#include <QTest>

namespace {

constexpr int patience = AppRun::defaultTimeoutMs;
const QRect output(0, 0, WaylandSession::screenWidth, WaylandSession::screenHeight);

// Pixels of `image` inside `area` within `tolerance` of `colour`.
int countNear(const QImage &image, const QRect &area, const QColor &colour, int tolerance = 12)
{
    return ColourImages::count(image, area, colour.rgb(), tolerance);
}

// How many rows and columns of `image` hold at least `least` pixels near
// `colour`: the size of one large patch of that colour, as drawn, ignoring
// smaller ones.
QSize extent(const QImage &image, QColor colour, int least)
{
    QSize size(0, 0);
    for (int y = 0; y < image.height(); ++y)
        size.rheight() += countNear(image, QRect(0, y, image.width(), 1), colour) >= least;
    for (int x = 0; x < image.width(); ++x)
        size.rwidth() += countNear(image, QRect(x, 0, 1, image.height()), colour) >= least * 2 / 3;
    return size;
}

// Within a few pixels of 320 × 200: a pin's border and rounded corners are
// not the picture's colour.
bool nearShotSize(QSize actual)
{
    return actual.boundedTo({320, 200}) == actual && actual.expandedTo({314, 194}) == actual;
}

// Where sway put the window whose title matches `nameRegex`: null while it
// manages no such window, and when it tiles it rather than floating it.
QRect floatingInSway(const WaylandSession &session, const QString &nameRegex)
{
    bool floating = false;
    const QRect r = session.swayWindow(nameRegex, &floating);
    return floating ? r : QRect();
}

} // namespace

Q_DECLARE_METATYPE(WaylandSession::Compositor)

class TestE2eWayland : public QObject
{
    Q_OBJECT

    QString m_captures;

    QString capturePath(const QString &what) const
    {
        return m_captures + '/' + QString(QTest::currentDataTag()).replace(' ', '-') + what;
    }

    // Three screenshots in Home: red shot0 the newest, green shot1 larger
    // (to be told from the others in a preview), blue shot2; the program
    // started in the session.
    static bool start(const WaylandSession &session, AppRun &run)
    {
        run.useShots(
            3, [](int i) { return QColor::fromHsv(i * 120, 200, 220); },
            [](int i) { return i == 1 ? QSize(560, 350) : QSize(320, 200); });
        session.enter(run);
        return run.startReady();
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(QFileInfo(AppRun::binary()).isExecutable(), "BRINDLEWICK_BIN must name the binary");
        m_captures = qEnvironmentVariable("BRINDLEWICK_CAPTURES", QDir::tempPath() + "/brindlewick-captures-wayland");
        QDir().mkpath(m_captures);
    }

    // A new screenshot brings the card. Through XWayland: in the output's
    // bottom-right corner 20 px from both edges, at the size the program gave
    // it, drawn (the white screenshot and the dark card show in the
    // compositor's capture), without focus, and under sway not in its tree.
    // Without XWayland (Qt's Wayland platform) a window cannot say where it
    // goes: sway floats the card at its own size instead of tiling it over
    // the output. It leaves after its time.
    void cardInTheCorner_data()
    {
        QTest::addColumn<WaylandSession::Compositor>("compositor");
        QTest::addColumn<bool>("xwayland");
        QTest::newRow("weston") << WaylandSession::Compositor::weston << true;
        QTest::newRow("sway") << WaylandSession::Compositor::sway << true;
        QTest::newRow("sway without XWayland") << WaylandSession::Compositor::sway << false;
    }
    void cardInTheCorner()
    {
        QFETCH(WaylandSession::Compositor, compositor);
        QFETCH(bool, xwayland);
        WaylandSession session(compositor, xwayland);
        SKIP_WITHOUT_SESSION(session);
        AppRun run(QString{});
        QVERIFY(start(session, run));
        QVERIFY(TestFiles::writeImage(run.path("shots/fresh.png"), {400, 250}, Qt::white).isValid());
        const QString shown = run.waitForLine("] flash shown fresh.png");
        QVERIFY2(!shown.isNull(), qPrintable(run.lines().join('\n')));

        const QList<quint32> cards = session.windowsNamed("^New Screenshot$");
        QRect card;
        if (xwayland) {
            QCOMPARE(cards.size(), 1);
            card = session.geometry(cards.first());
            QCOMPARE(card.bottomRight(), output.bottomRight() - QPoint(20, 20));
            const QImage screen = session.capture(capturePath("-card.png"));
            const QRect image = card.adjusted(10, 10, -10, -32);
            QVERIFY(countNear(screen, image, Qt::white) > image.width() * image.height() * 9 / 10);
            const QRect footer(card.left() + 4, card.bottom() - 8, card.width() - 8, 4);
            QVERIFY(countNear(screen, footer, QColor::fromRgbF(0.12f, 0.12f, 0.12f), 16) > footer.width() * 2);
            QVERIFY(session.activeWindow() != cards.first()
                    && (compositor == WaylandSession::Compositor::weston
                        || session.swayWindow("^New Screenshot$").isNull()));
        } else {
            QTRY_VERIFY_WITH_TIMEOUT(!(card = floatingInSway(session, "^New Screenshot$")).isNull(), patience);
            session.capture(capturePath("-card.png"));
        }
        // "flash shown fresh.png 404x282": the card's size as the program made it.
        QCOMPARE(QStringLiteral("%1x%2").arg(card.width()).arg(card.height()), shown.section(' ', -1));
        QVERIFY(!run.waitForLine("] flash gone fresh.png").isNull());
        QTRY_VERIFY_WITH_TIMEOUT(session.windowsNamed("^New Screenshot$").isEmpty()
                                     && session.swayWindow("^New Screenshot$").isNull(),
                                 patience);
    }

    // Through XWayland the preview (Space) and a pin (P) keep their own
    // sizes (sway floats them rather than tiling them over the output), the
    // preview is drawn above the shelf and the pin above the preview. Where
    // they go is the compositor's choice. Right then moves the preview on to
    // the larger, green shot1, so that the red pin and the preview can be
    // told apart in the capture. Light under weston, dark under sway.
    void pinAndPreview_data()
    {
        QTest::addColumn<WaylandSession::Compositor>("compositor");
        QTest::newRow("weston") << WaylandSession::Compositor::weston;
        QTest::newRow("sway dark") << WaylandSession::Compositor::sway;
    }
    void pinAndPreview()
    {
        QFETCH(WaylandSession::Compositor, compositor);
        const bool sway = compositor == WaylandSession::Compositor::sway;
        WaylandSession session(compositor, true);
        SKIP_WITHOUT_SESSION(session);
        AppRun run(QString{});
        run.setVar("BRINDLEWICK_PALETTE", sway ? "dark" : "light");
        run.setVar("BRINDLEWICK_OPEN");
        // Space; a pause (a token that is no key) long enough to capture the
        // preview alone; P; Right.
        run.setVar("BRINDLEWICK_KEY", "49,-,-,-,-,-,-,-,35,124");
        QVERIFY(start(session, run));
        const QColor red = QColor::fromHsv(0, 200, 220);

        // The preview of the newest, red shot0, 70 % x 80 % of the output,
        // above the shelf: its picture whole in the capture, at its own size.
        // Found in the capture itself (weston's X11 coordinates of a managed
        // window are not the output's), captured until drawn (a window shows
        // before its first frame); no pin yet.
        QList<quint32> windows;
        QTRY_COMPARE_WITH_TIMEOUT((windows = session.windowsNamed("^shot0\\.png$")).size(), 1, patience);
        const QString previewShot = capturePath("-preview.png");
        QTRY_VERIFY2_WITH_TIMEOUT(nearShotSize(extent(session.capture(previewShot), red, 250)), qPrintable(previewShot),
                                  patience);
        QCOMPARE(session.windowsNamed("^shot0\\.png$").size(), 1);
        const QRect preview = session.geometry(windows.first());
        QCOMPARE(preview.size(), QSize(output.width() * 7 / 10, output.height() * 8 / 10));
        QVERIFY(!sway || floatingInSway(session, "^shot0\\.png$") == preview);

        // The pin of shot0 (320 x 200, the picture's size) whole above the
        // preview, which now shows shot1: most of its green picture shows
        // beside or under the pin.
        QTRY_VERIFY_WITH_TIMEOUT(session.windowsNamed("^shot1\\.png$").size() == 1
                                     && (windows = session.windowsNamed("^shot0\\.png$")).size() == 1,
                                 patience);
        const QString pinShot = capturePath("-pin.png");
        QImage screen;
        QTRY_VERIFY2_WITH_TIMEOUT(nearShotSize(extent(screen = session.capture(pinShot), red, 250))
                                      && countNear(screen, output, QColor::fromHsv(120, 200, 220)) > 560 * 350 / 2,
                                  qPrintable(pinShot), patience);
        QCOMPARE(session.geometry(windows.first()).size(), QSize(320, 200));
        QVERIFY(!sway || !floatingInSway(session, "^shot0\\.png$").isNull());
    }

    // Under sway through XWayland the settings float as a dialog at their
    // own size, over the shelf (shown first), instead of being tiled beside
    // it; a termination signal quits even with the sheet open.
    void settingsFloatUnderSway()
    {
        WaylandSession session(WaylandSession::Compositor::sway, true);
        SKIP_WITHOUT_SESSION(session);
        AppRun run(QString{});
        run.setVar("BRINDLEWICK_SETTINGS");
        QVERIFY(start(session, run));
        QList<quint32> windows;
        QTRY_COMPARE_WITH_TIMEOUT((windows = session.windowsNamed("^Settings$")).size(), 1, patience);
        QRect node;
        QTRY_VERIFY_WITH_TIMEOUT(!(node = floatingInSway(session, "^Settings$")).isNull(), patience);
        session.capture(m_captures + "/sway-settings.png");
        QCOMPARE(node, session.geometry(windows.first()));
        QCOMPARE(node.width(), 540);
        QVERIFY(floatingInSway(session, "^shots$").height() > node.height());
        run.terminate();
        QVERIFY(run.waitForExit() && run.exitStatus() == QProcess::NormalExit);
    }
};

QTEST_GUILESS_MAIN(TestE2eWayland)
#include "test_e2e_wayland.moc"
