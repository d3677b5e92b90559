// The windows speak the desktop's language: started with LANGUAGE=de the
// shelf's status line and its empty-shelf hint read German, with German
// plurals and digit grouping. A person who puts English first keeps English.

#include "app/translations.h"
#include "system/texts.h"
#include "ui/shelfview.h"

#include <QApplication>
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
