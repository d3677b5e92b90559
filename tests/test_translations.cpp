// The windows speak the desktop's language: started with LANGUAGE=de the
// shelf's status line and its empty-shelf hint read German, with German
// plurals and digit grouping. A person who puts English first keeps English.

#include "app/translations.h"
#include "system/texts.h"
#include "ui/settingsform.h"
#include "ui/shelfview.h"

#include <QAbstractButton>
#include <QApplication>
#include <QLabel>
#include <QRegularExpression>
#include <QTest>

class TestTranslations : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void englishFirstKeepsEnglish()
    {
        QVERIFY(!Translations::install(*qApp, QLocale(QLocale::English, QLocale::UnitedStates)));
        QCOMPARE(ShelfView::statusText(3, 3, false, 0), QStringLiteral("3 screenshots"));
    }

    void germanFromTheEnvironment()
    {
        QVERIFY(Translations::install(*qApp, QLocale::system()));
        QCOMPARE(ShelfView::statusText(1, 1, false, 0), QStringLiteral("1 Bildschirmfoto"));
        QCOMPARE(ShelfView::statusText(3, 1234, true, 2), QStringLiteral("3 von 1.234 Bildschirmfotos, 2 ausgewählt"));
        QCOMPARE(Texts::emptyShelfHint(),
                 QStringLiteral("Machen Sie ein Bildschirmfoto mit der Druck-Taste, dann erscheint es hier."));
    }

    // The pseudo catalogue (accented, a third longer, bracketed) has every
    // text with its placeholders and plurals; in it every text of the
    // settings form is translated, and the form still fits its 540-wide
    // window beside its scroll bar, each wrapped text given the height it needs.
    void pseudoLocaleReachesEveryTextAndFits()
    {
        qputenv("BRINDLEWICK_PSEUDO_LOCALE", "1");
        if (!Translations::install(*qApp, QLocale::system()))
            QSKIP("built without python3, so without the pseudo catalogue");
        const QString status = ShelfView::statusText(3, 1234, true, 2);
        QVERIFY2(status.startsWith('[') && status.contains("1.234") && !status.contains('%'), qPrintable(status));
        SettingsForm form{SettingsParts{}};
        form.resize(520, form.heightForWidth(520));
        form.show();
        QVERIFY(QTest::qWaitForWindowExposed(&form));
        QVERIFY2(form.minimumSizeHint().width() <= 520, qPrintable(QString::number(form.minimumSizeHint().width())));
        for (QWidget *w : form.findChildren<QWidget *>()) {
            const auto *label = qobject_cast<QLabel *>(w);
            const auto *button = qobject_cast<QAbstractButton *>(w);
            QString text = label ? label->text() : button ? button->text() : QString();
            text.remove(QRegularExpression("<[^>]*>"));
            if (!w->isVisible() || !text.contains(QRegularExpression("\\w+ \\w+")))
                continue; // a number, a name, a path
            QVERIFY2(text.contains('['), qPrintable("not translated: " + text));
            QVERIFY2(w->mapTo(&form, QPoint(w->width(), 0)).x() <= form.width(), qPrintable(text));
            if (label && label->wordWrap())
                QVERIFY2(label->height() >= label->heightForWidth(label->width()), qPrintable(text));
        }
    }
};

int main(int argc, char *argv[])
{
    // As a German desktop starts it; read once, when the application starts.
    qputenv("LANGUAGE", "de");
    qputenv("LANG", "de_DE.UTF-8");
    qunsetenv("LC_ALL");
    qunsetenv("LC_MESSAGES");
    QApplication app(argc, argv);
    TestTranslations test;
    return QTest::qExec(&test, argc, argv);
}

#include "test_translations.moc"
