// The corner card of new screenshots: where it goes, how long it stays, what
// holds it, what its image does, and a new card taking the place of the old.

#include "support/shelfrig.h"
#include "system/flashsettings.h"
#include "ui/flash.h"

#include <QApplication>
#include <QDrag>
#include <QMimeData>
#include <QMouseEvent>

namespace {

using State = FlashPanel::State;
// A card's state and how long its running timer was set for (-1: held).
using Look = std::pair<State, int>;

Look look(const FlashPanel *card)
{
    return {card->state(), card->dismissTimer().isActive() ? card->dismissTimer().interval() : -1};
}

// A press, move, release or double-click on the card's image, or the pointer
// coming onto the card (Enter) or leaving it.
void send(QWidget *card, QEvent::Type type, QPoint at = {60, 40}, Qt::MouseButtons buttons = Qt::LeftButton)
{
    const Qt::MouseButton button = type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
    QMouseEvent mouse(type, at, at, card->mapToGlobal(at), button, buttons, Qt::NoModifier);
    QEnterEvent enter(at, at, card->mapToGlobal(QPointF(at)));
    QApplication::sendEvent(card, type == QEvent::Enter ? static_cast<QEvent *>(&enter) : &mouse);
}

// Cards for files of a shelf; a drag a card starts only notes what it
// carried and how the card looked meanwhile.
struct Rig : ShelfRig
{
    std::unique_ptr<Flash> flash;
    QList<QUrl> opened;
    QList<QUrl> carried;
    std::optional<Look> duringDrag;

    Rig()
    {
        addImage("listed.png");
        start();
        const auto runDrag = [this](QDrag *drag) {
            carried = drag->mimeData()->urls();
            duringDrag = flash->current()->dragging() ? look(flash->current()) : Look();
        };
        flash = std::make_unique<Flash>(
            Flash::Parts{.prefs = &prefs, .shelf = shelf.get(), .contextMenu = {}, .runDrag = runDrag});
        QObject::connect(flash.get(), &Flash::openInShelf, flash.get(), [this](const QUrl &url) { opened << url; });
    }
    // A card for `name` (or the current one if none comes), slid in unless
    // told not to wait.
    FlashPanel *show(const QString &name, bool slidIn = true)
    {
        QImage image(400, 250, QImage::Format_RGB32);
        image.fill(Qt::darkCyan);
        flash->showImage(url(name), image, QGuiApplication::primaryScreen());
        FlashPanel *card = flash->current();
        return !slidIn || QTest::qWaitFor([card] { return card->state() == State::shown; }, 3000) ? card : nullptr;
    }
};

} // namespace

class TestFlash : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // The image fits 30 % by 35 % of the usable area (at most 420 × 300),
    // never enlarged, at least 140 × 90; the card sits 20 from the right and
    // bottom edges, wherever the usable area begins.
    void placeAndSize()
    {
        const QRect vf(100, 30, 1440, 875);
        QCOMPARE(FlashPanel::layoutFor(QSizeF(200, 100), vf).frame,
                 QRect(100 + 1440 - 220 - 20, 30 + 875 - 142 - 20, 220, 142));
        QCOMPARE(FlashPanel::layoutFor(QSizeF(100, 50), vf).image.size(), QSize(140, 90));
        QCOMPARE(FlashPanel::layoutFor(QSizeF(4000, 3000), vf).image.size(), QSize(400, 300));
    }

    // The card's time (3 seconds unset) runs from the moment it appears, not
    // from the end of its slide. The pointer on the card holds it, even when
    // its time is up or a new card (for the same file too) has taken its
    // place, and also while it slides in; leaving gives it one more second,
    // then it slides out and is gone, leaving the newer card current. A
    // stored time below 1 or above 30 seconds counts as 1 or 30; 0 or less is
    // the default again. The image acts like a shelf cell: a click makes the
    // file the shelf's only selection; a drag carries the file (also one the
    // shelf does not list) and holds the card while it lasts, and after the
    // drop the card stays 1.2 seconds, also with the pointer still on it; a
    // double-click hides the card at once and asks for the file in the shelf.
    // Switched off, no card comes.
    void timingHoldsImageAndSwitch()
    {
        Rig rig;
        QSignalSpy gone(rig.flash.get(), &Flash::gone);
        FlashPanel *card = rig.show("a.png", false);
        QCOMPARE(look(card), Look(State::presenting, 3000));
        QTRY_COMPARE(card->state(), State::shown);
        QVERIFY(card->dismissTimer().remainingTime() <= 3000 - 150);
        QCOMPARE(card->pos(), card->finalFrame().topLeft());

        send(card, QEvent::Enter);
        card->dismiss();
        FlashPanel *second = rig.show("a.png");
        QCOMPARE(card->state(), State::shown);
        send(card, QEvent::Leave);
        QCOMPARE(look(card), Look(State::shown, 1000));
        card->dismiss();
        QTRY_COMPARE(gone.size(), 1);
        QCOMPARE(rig.flash->current(), second);

        FlashPanel *third = rig.show("b.png", false);
        send(third, QEvent::Enter);
        QCOMPARE(look(third), Look(State::presenting, -1));
        send(third, QEvent::Leave);
        QCOMPARE(look(third), Look(State::presenting, 1000));
        QTRY_COMPARE(gone.size(), 2);
        QCOMPARE(rig.flash->current(), third);

        for (auto [stored, shown] : {std::pair{0.0, 3000}, {0.5, 1000}, {45.0, 30000}}) {
            rig.prefs.setValue(PrefKey::flashSeconds, stored);
            QCOMPARE(rig.show("a.png")->dismissTimer().interval(), shown);
        }

        rig.shelf->setSelection({rig.url("listed.png")});
        card = rig.show("b.png");
        send(card, QEvent::MouseButtonPress);
        send(card, QEvent::MouseButtonRelease, {60, 40}, Qt::NoButton);
        QCOMPARE(rig.shelf->selection(), QSet<QUrl>{rig.url("b.png")});
        send(card, QEvent::Enter);
        send(card, QEvent::MouseButtonPress);
        send(card, QEvent::MouseMove, QPoint(70, 40));
        QCOMPARE(rig.duringDrag, Look(State::shown, -1));
        QCOMPARE(rig.carried, QList<QUrl>{rig.url("b.png")});
        QCOMPARE(look(card), Look(State::shown, 1200));
        send(card, QEvent::MouseButtonDblClick);
        QVERIFY(!card->isVisible() && !rig.flash->current());
        QCOMPARE(rig.opened, QList<QUrl>{rig.url("b.png")});

        FlashSettings::setEnabled(rig.prefs, false);
        QCOMPARE(rig.show("c.png", false), nullptr);
    }
};

QTEST_MAIN(TestFlash)
#include "test_flash.moc"
