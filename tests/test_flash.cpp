// The corner card of new screenshots: where it goes, how long it stays, what
// holds it, what its image does, and a new card taking the place of the old.

#include "support/shelfrig.h"
#include "system/flashsettings.h"
#include "ui/flash.h"

#include <QApplication>
#include <QDrag>
#include <QEnterEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QScreen>
#include <QTest>

namespace {

QImage thumb(int w, int h)
{
    QImage image(w, h, QImage::Format_RGB32);
    image.fill(Qt::darkCyan);
    return image;
}

// A press, move, release or double-click on the card's image.
void send(QWidget *card, QEvent::Type type, QPoint at = {60, 40}, Qt::MouseButtons buttons = Qt::LeftButton)
{
    const Qt::MouseButton button = type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
    QMouseEvent event(type, at, at, card->mapToGlobal(at), button, buttons, Qt::NoModifier);
    QApplication::sendEvent(card, &event);
}

// The pointer comes onto the card or leaves it.
void hover(QWidget *card, bool on)
{
    QEnterEvent enter(QPointF(5, 5), QPointF(5, 5), card->mapToGlobal(QPointF(5, 5)));
    QEvent leave(QEvent::Leave);
    QApplication::sendEvent(card, on ? static_cast<QEvent *>(&enter) : &leave);
}

// Cards for files of a shelf, with the drags they would start recorded.
struct Rig : ShelfRig
{
    std::unique_ptr<Flash> flash;
    QList<QUrl> opened;
    std::function<void(QDrag *)> duringDrag;

    Rig()
    {
        start();
        Flash::Parts parts;
        parts.prefs = &prefs;
        parts.shelf = shelf.get();
        parts.runDrag = [this](QDrag *drag) {
            if (duringDrag)
                duringDrag(drag);
        };
        flash = std::make_unique<Flash>(parts);
        QObject::connect(flash.get(), &Flash::openInShelf, flash.get(), [this](const QUrl &url) { opened << url; });
    }

    // A card for `name`, slid in.
    FlashPanel *show(const QString &name)
    {
        flash->showImage(url(name), thumb(400, 250), QGuiApplication::primaryScreen());
        FlashPanel *card = flash->current();
        if (card && !QTest::qWaitFor([card] { return card->state() == FlashPanel::State::shown; }, 3000))
            return nullptr;
        return card;
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
        const FlashLayout layout = FlashPanel::layoutFor(QSizeF(200, 100), vf);
        QCOMPARE(layout.frame, QRect(100 + 1440 - 220 - 20, 30 + 875 - 142 - 20, 220, 142));
        QCOMPARE(FlashPanel::layoutFor(QSizeF(100, 50), vf).image.size(), QSize(140, 90));
        QCOMPARE(FlashPanel::layoutFor(QSizeF(4000, 3000), vf).image.size(), QSize(400, 300));
    }

    // Unset, the cards are on and stay 3 seconds; a stored time below 1 or
    // above 30 seconds counts as 1 or 30 and is stored so; 0 or less is the
    // default again. Switched off, no card comes.
    void durationAndSwitch()
    {
        Rig rig;
        for (auto [stored, shown] : {std::pair{0.0, 3000}, {0.5, 1000}, {45.0, 30000}}) {
            rig.prefs.setValue(PrefKey::flashSeconds, stored);
            QCOMPARE(rig.show("a.png")->dismissTimer().interval(), shown);
        }
        FlashSettings::setSeconds(rig.prefs, 45);
        QCOMPARE(rig.prefs.value(PrefKey::flashSeconds).toDouble(), 30.0);

        FlashSettings::setEnabled(rig.prefs, false);
        FlashPanel *last = rig.flash->current();
        rig.flash->showImage(rig.url("b.png"), thumb(10, 10), QGuiApplication::primaryScreen());
        QCOMPARE(rig.flash->current(), last);
    }

    // The card's time runs from the moment it appears, not from the end of
    // its slide. The pointer on the card holds it, even when its time is up
    // or a new card (for the same file too) has taken its place, and also
    // while it slides in; leaving gives it one more second, then it slides
    // out and is gone, leaving the newer card current.
    void countdownHoverAndReplacement()
    {
        Rig rig;
        QSignalSpy gone(rig.flash.get(), &Flash::gone);
        rig.flash->showImage(rig.url("a.png"), thumb(400, 250), QGuiApplication::primaryScreen());
        FlashPanel *card = rig.flash->current();
        QVERIFY(card && card->state() == FlashPanel::State::presenting);
        QVERIFY(card->dismissTimer().isActive() && card->dismissTimer().interval() == 3000);
        QTRY_COMPARE(card->state(), FlashPanel::State::shown);
        QVERIFY2(card->dismissTimer().remainingTime() <= 3000 - 150,
                 qPrintable(QString::number(card->dismissTimer().remainingTime())));
        QCOMPARE(card->pos(), card->finalFrame().topLeft());

        hover(card, true);
        QVERIFY(!card->dismissTimer().isActive());
        card->dismiss();
        FlashPanel *second = rig.show("a.png");
        QVERIFY(second && second != card);
        QCOMPARE(card->state(), FlashPanel::State::shown);
        hover(card, false);
        QVERIFY(card->dismissTimer().isActive() && card->dismissTimer().interval() == 1000);
        card->dismiss();
        QCOMPARE(card->state(), FlashPanel::State::dismissing);
        QTRY_COMPARE(gone.size(), 1);
        QCOMPARE(rig.flash->current(), second);

        rig.flash->showImage(rig.url("b.png"), thumb(400, 250), QGuiApplication::primaryScreen());
        FlashPanel *third = rig.flash->current();
        QCOMPARE(second->state(), FlashPanel::State::dismissing);
        hover(third, true);
        QVERIFY(!third->dismissTimer().isActive());
        hover(third, false);
        QCOMPARE(third->state(), FlashPanel::State::presenting);
        QVERIFY(third->dismissTimer().isActive() && third->dismissTimer().interval() == 1000);
        QTRY_COMPARE(gone.size(), 2);
        QCOMPARE(rig.flash->current(), third);
    }

    // The image acts like a shelf cell: a click makes the file the shelf's
    // only selection; a drag carries the file (also one the shelf does not
    // list) and holds the card while it lasts, and after the drop the card
    // stays 1.2 seconds, also with the pointer still on it; a double-click
    // hides the card at once and asks for the file in the shelf.
    void imageActsLikeACell()
    {
        Rig rig;
        rig.addImage("a.png");
        QVERIFY(rig.rescan());
        rig.shelf->setSelection({rig.url("a.png")});
        FlashPanel *card = rig.show("b.png");
        send(card, QEvent::MouseButtonPress);
        send(card, QEvent::MouseButtonRelease, {60, 40}, Qt::NoButton);
        QCOMPARE(rig.shelf->selection(), QSet<QUrl>{rig.url("b.png")});

        bool heldDuringDrag = false;
        QList<QUrl> carried;
        rig.duringDrag = [&](QDrag *drag) {
            heldDuringDrag = card->dragging() && !card->dismissTimer().isActive();
            carried = drag->mimeData()->urls();
        };
        hover(card, true);
        send(card, QEvent::MouseButtonPress);
        send(card, QEvent::MouseMove, QPoint(63, 42));
        QVERIFY(carried.isEmpty()); // 4 points or less is still a click
        send(card, QEvent::MouseMove, QPoint(70, 40));
        QVERIFY(heldDuringDrag);
        QCOMPARE(carried, QList<QUrl>{rig.url("b.png")});
        QVERIFY(!card->dragging());
        QCOMPARE(card->dismissTimer().interval(), 1200);
        QVERIFY(card->dismissTimer().isActive());

        QSignalSpy gone(rig.flash.get(), &Flash::gone);
        send(card, QEvent::MouseButtonDblClick);
        QCOMPARE(gone.size(), 1);
        QVERIFY(!card->isVisible());
        QCOMPARE(rig.opened, QList<QUrl>{rig.url("b.png")});
        QCOMPARE(rig.flash->current(), nullptr);
    }
};

QTEST_MAIN(TestFlash)
#include "test_flash.moc"
