// End-to-end under real Wayland compositors, headless: weston and sway,
// with XWayland (the program then runs on X11 through it) and sway without
// (Qt's Wayland platform). Read back with the compositors' own tools: their
// screen captures, sway's window tree, xdotool and xprop for X11 windows.

#include "support/apprun.h"
#include "support/colourimages.h"
#include "support/files.h"
#include "support/waylandsession.h"

#include <QDir>
#include <QImage>
#include <QRegularExpression>
#include <QSettings>
#include <QTest>

#include <algorithm>

namespace {

constexpr int edgeGap = 20;

// "flash shown fresh.png 404x282": the card's size as the program made it.
QSize shownSize(const QString &line)
{
    static const QRegularExpression size(" (\\d+)x(\\d+)$");
    const QRegularExpressionMatch m = size.match(line);
    return m.hasMatch() ? QSize(m.captured(1).toInt(), m.captured(2).toInt()) : QSize();
}

// Pixels of `image` inside `area` within `tolerance` of `colour`.
int countNear(const QImage &image, const QRect &area, const QColor &colour, int tolerance = 12)
{
    return ColourImages::count(image, area, colour.rgb(), tolerance);
}

// The rectangle spanned by the rows and columns of `image` that hold at
// least `least` pixels near `colour`: one large patch of that colour, as
// drawn, ignoring smaller ones.
QRect extent(const QImage &image, QColor colour, int least)
{
    int left = image.width(), right = -1, top = image.height(), bottom = -1;
    for (int y = 0; y < image.height(); ++y) {
        if (countNear(image, QRect(0, y, image.width(), 1), colour) >= least) {
            top = std::min(top, y);
            bottom = y;
        }
    }
    for (int x = 0; x < image.width(); ++x) {
        if (countNear(image, QRect(x, 0, 1, image.height()), colour) >= least * 2 / 3) {
            left = std::min(left, x);
            right = x;
        }
    }
    return right < 0 || bottom < 0 ? QRect() : QRect(QPoint(left, top), QPoint(right, bottom));
}

// Within a few pixels: a pin's border and rounded corners are not the
// picture's colour.
bool nearSize(QSize actual, QSize expected)
{
    return actual.width() <= expected.width() && actual.width() >= expected.width() - 6
           && actual.height() <= expected.height() && actual.height() >= expected.height() - 6;
}

} // namespace

Q_DECLARE_METATYPE(WaylandSession::Compositor)

class TestE2eWayland : public QObject
{
    Q_OBJECT

    QString m_captures;

    QString capturePath(const QString &name) const { return m_captures + QLatin1Char('/') + name; }

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
    // compositor's capture), without focus. Without XWayland (Qt's Wayland
    // platform) a window cannot say where it goes: sway centres the card, but
    // floats it at its own size instead of tiling it over the output. It
    // leaves after its time.
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
        const bool sway = compositor == WaylandSession::Compositor::sway;
        WaylandSession session(compositor, xwayland);
        SKIP_WITHOUT_SESSION(session);
        AppRun run(QString{});
        QVERIFY(start(session, run));
        QVERIFY(TestFiles::writeImage(run.path("shots/fresh.png"), {400, 250}, Qt::white).isValid());
        const QString shown = run.waitForLine("] flash shown fresh.png");
        QVERIFY2(!shown.isNull(), qPrintable(run.lines().join('\n')));
        const QString shot = capturePath(QString(QTest::currentDataTag()).replace(' ', '-') + "-card.png");

        if (!xwayland) {
            bool floating = false;
            QRect card;
            QTRY_VERIFY_WITH_TIMEOUT(!(card = session.swayWindow("^New Screenshot$", &floating)).isNull(),
                                     AppRun::defaultTimeoutMs);
            session.capture(shot);
            QVERIFY(floating);
            QCOMPARE(card.size(), shownSize(shown));
            QVERIFY(!run.waitForLine("] flash gone fresh.png").isNull());
            QTRY_VERIFY_WITH_TIMEOUT(session.swayWindow("^New Screenshot$").isNull(), AppRun::defaultTimeoutMs);
            return;
        }
        const QList<quint32> cards = session.windowsNamed("^New Screenshot$");
        QCOMPARE(cards.size(), 1);
        const QRect card = session.geometry(cards.first());
        QCOMPARE(card.size(), shownSize(shown));
        QCOMPARE(card.right() + 1, WaylandSession::screenWidth - edgeGap);
        QCOMPARE(card.bottom() + 1, WaylandSession::screenHeight - edgeGap);

        const QImage screen = session.capture(shot);
        QCOMPARE(screen.size(), QSize(WaylandSession::screenWidth, WaylandSession::screenHeight));
        const QRect image = card.adjusted(10, 10, -10, -32);
        QVERIFY2(countNear(screen, image, Qt::white) > image.width() * image.height() * 9 / 10, qPrintable(shot));
        const QRect footer(card.left() + 4, card.bottom() - 8, card.width() - 8, 4);
        QVERIFY(countNear(screen, footer, QColor::fromRgbF(0.12f, 0.12f, 0.12f), 16) > footer.width() * 2);

        // Without focus; under sway nothing of ours in its tree: it manages no such window.
        QVERIFY(session.activeWindow() != cards.first());
        QVERIFY(!sway || session.swayWindow("^New Screenshot$").isNull());
        QVERIFY(!run.waitForLine("] flash gone fresh.png").isNull());
        QTRY_VERIFY_WITH_TIMEOUT(session.windowsNamed("^New Screenshot$").isEmpty(), AppRun::defaultTimeoutMs);
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
        QTest::addColumn<bool>("dark");
        QTest::newRow("weston") << WaylandSession::Compositor::weston << false;
        QTest::newRow("sway dark") << WaylandSession::Compositor::sway << true;
    }
    void pinAndPreview()
    {
        QFETCH(WaylandSession::Compositor, compositor);
        QFETCH(bool, dark);
        const bool sway = compositor == WaylandSession::Compositor::sway;
        WaylandSession session(compositor, true);
        SKIP_WITHOUT_SESSION(session);
        AppRun run(QString{});
        if (dark)
            run.setVar("BRINDLEWICK_PALETTE", "dark");
        run.setVar("BRINDLEWICK_OPEN");
        // Space; a pause (a token that is no key) long enough to capture the
        // preview alone; P; Right.
        run.setVar("BRINDLEWICK_KEY", "49,-,-,-,-,-,-,-,35,124");
        QVERIFY(start(session, run));
        const QString name = QString(QTest::currentDataTag()).replace(' ', '-');
        const QRect output(0, 0, WaylandSession::screenWidth, WaylandSession::screenHeight);
        const QColor red = QColor::fromHsv(0, 200, 220);

        // The preview of the newest, red shot0, 70 % x 80 % of the output,
        // above the shelf: its picture whole in the capture, at its own size.
        // Found in the capture itself (weston's X11 coordinates of a managed
        // window are not the output's), captured until drawn (a window shows
        // before its first frame).
        QList<quint32> windows;
        QTRY_COMPARE_WITH_TIMEOUT((windows = session.windowsNamed("^shot0\\.png$")).size(), 1,
                                  AppRun::defaultTimeoutMs);
        const QString previewShot = capturePath(name + "-preview.png");
        QTRY_VERIFY2_WITH_TIMEOUT(nearSize(extent(session.capture(previewShot), red, 250).size(), QSize(320, 200)),
                                  qPrintable(previewShot), AppRun::defaultTimeoutMs);
        QCOMPARE(session.windowsNamed("^shot0\\.png$").size(), 1); // no pin yet
        const QRect preview = session.geometry(windows.first());
        QCOMPARE(preview.size(), QSize(WaylandSession::screenWidth * 7 / 10, WaylandSession::screenHeight * 8 / 10));
        if (sway) {
            bool floating = false;
            QCOMPARE(session.swayWindow("^shot0\\.png$", &floating), preview);
            QVERIFY(floating);
        }

        // The pin of shot0 (320 x 200, the picture's size) whole above the
        // preview, which now shows shot1: most of its green picture shows
        // beside or under the pin.
        quint32 pinWindow = 0;
        QTRY_VERIFY_WITH_TIMEOUT(session.windowsNamed("^shot1\\.png$").size() == 1
                                     && (windows = session.windowsNamed("^shot0\\.png$")).size() == 1
                                     && (pinWindow = windows.first()),
                                 AppRun::defaultTimeoutMs);
        const QString pinShot = capturePath(name + "-pin.png");
        QImage screen;
        QTRY_VERIFY2_WITH_TIMEOUT(nearSize(extent(screen = session.capture(pinShot), red, 250).size(), QSize(320, 200))
                                      && countNear(screen, output, QColor::fromHsv(120, 200, 220)) > 560 * 350 / 2,
                                  qPrintable(pinShot), AppRun::defaultTimeoutMs);
        QCOMPARE(session.geometry(pinWindow).size(), QSize(320, 200));
        if (sway) {
            bool floating = false;
            session.swayWindow("^shot0\\.png$", &floating);
            QVERIFY(floating);
        }
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
        QTRY_COMPARE_WITH_TIMEOUT((windows = session.windowsNamed("^Settings$")).size(), 1, AppRun::defaultTimeoutMs);
        bool floating = false;
        QRect node;
        QTRY_VERIFY_WITH_TIMEOUT(!(node = session.swayWindow("^Settings$", &floating)).isNull(),
                                 AppRun::defaultTimeoutMs);
        session.capture(capturePath("sway-settings.png"));
        QVERIFY(floating);
        const QRect settings = session.geometry(windows.first());
        QCOMPARE(settings.width(), 540);
        QCOMPARE(node, settings);
        bool shelfFloats = false;
        QVERIFY(session.swayWindow("^shots$", &shelfFloats).height() > settings.height());
        QVERIFY(shelfFloats);
        run.terminate();
        QVERIFY(run.waitForExit() && run.exitStatus() == QProcess::NormalExit);
    }
};

QTEST_GUILESS_MAIN(TestE2eWayland)
#include "test_e2e_wayland.moc"
