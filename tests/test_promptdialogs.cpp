#include "actions/views/promptdialogs.h"

#include <QApplication>
#include <QDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>

namespace {

template <typename T>
T *openDialog()
{
    T *found = nullptr;
    (void)QTest::qWaitFor([&] { return (found = qobject_cast<T *>(QApplication::activeModalWidget())); }, 5000);
    return found;
}

} // namespace

// The dialogs answer through their callback, once, when they close, without
// holding up the event loop while they are open; Escape is always "no".
class TestPromptDialogs : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void answersOnClose()
    {
        QWidget owner;
        owner.show();
        DialogTextPrompt textPrompt(&owner);
        TextPromptRequest request;
        request.text = QStringLiteral("shot.png");
        request.selectStem = true;
        request.confirmButton = QStringLiteral("Rename");
        request.cancelButton = QStringLiteral("Cancel");
        QList<std::optional<QString>> texts;
        const auto askText = [&] {
            textPrompt.askText(request, [&](const std::optional<QString> &a) { texts.append(a); });
        };

        askText();
        QVERIFY(texts.isEmpty()); // still open: nothing blocked, nothing answered
        auto *dialog = openDialog<QDialog>();
        QVERIFY(dialog);
        auto *field = dialog->findChild<QLineEdit *>();
        QCOMPARE(field->selectedText(), QStringLiteral("shot"));
        field->setText(QStringLiteral("renamed.png"));
        QTest::keyClick(field, Qt::Key_Return);
        QTRY_COMPARE(texts, (QList<std::optional<QString>>{QStringLiteral("renamed.png")}));

        askText();
        QVERIFY(dialog = openDialog<QDialog>());
        QTest::keyClick(dialog, Qt::Key_Escape);
        QTRY_COMPARE(texts.size(), 2);
        QCOMPARE(texts.last(), std::nullopt);

        DialogConfirmPrompt confirmPrompt;
        const ConfirmRequest confirm{QStringLiteral("Clean up?"), QString(), QStringLiteral("Clean Up"),
                                     QStringLiteral("Cancel")};
        QList<bool> answers;
        confirmPrompt.confirm(confirm, [&](bool yes) { answers.append(yes); });
        auto *box = openDialog<QMessageBox>();
        QVERIFY(box);
        box->defaultButton()->click(); // the confirming button is the default
        QTRY_COMPARE(answers, QList<bool>{true});
        confirmPrompt.confirm(confirm, [&](bool yes) { answers.append(yes); });
        QVERIFY(box = openDialog<QMessageBox>());
        QTest::keyClick(box, Qt::Key_Escape);
        QTRY_COMPARE(answers, (QList<bool>{true, false}));
    }
};

QTEST_MAIN(TestPromptDialogs)
#include "test_promptdialogs.moc"
