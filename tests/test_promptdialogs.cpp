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
// holding up the event loop while they are open.
class TestPromptDialogs : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void textPromptAnswersOnClose()
    {
        QWidget owner;
        owner.show();
        DialogTextPrompt prompt(&owner);
        TextPromptRequest request;
        request.message = QStringLiteral("Rename “shot.png”");
        request.text = QStringLiteral("shot.png");
        request.confirmButton = QStringLiteral("Rename");
        request.cancelButton = QStringLiteral("Cancel");
        request.selectStem = true;

        QList<std::optional<QString>> answers;
        prompt.askText(request, [&](const std::optional<QString> &a) { answers.append(a); });
        QVERIFY(answers.isEmpty()); // still open: nothing blocked, nothing answered
        auto *dialog = openDialog<QDialog>();
        QVERIFY(dialog);
        auto *field = dialog->findChild<QLineEdit *>();
        QCOMPARE(field->selectedText(), QStringLiteral("shot"));
        field->setText(QStringLiteral("renamed.png"));
        QTest::keyClick(field, Qt::Key_Return);
        QTRY_COMPARE(answers.size(), 1);
        QCOMPARE(answers.first(), std::optional<QString>(QStringLiteral("renamed.png")));

        prompt.askText(request, [&](const std::optional<QString> &a) { answers.append(a); });
        dialog = openDialog<QDialog>();
        QVERIFY(dialog);
        QTest::keyClick(dialog, Qt::Key_Escape);
        QTRY_COMPARE(answers.size(), 2);
        QCOMPARE(answers.last(), std::nullopt);
    }

    void confirmPromptTellsWhichButton()
    {
        DialogConfirmPrompt prompt;
        ConfirmRequest request{QStringLiteral("Clean up the names of 3 screenshots?"), QString(),
                               QStringLiteral("Clean Up"), QStringLiteral("Cancel")};
        QList<bool> answers;
        prompt.confirm(request, [&](bool yes) { answers.append(yes); });
        auto *box = openDialog<QMessageBox>();
        QVERIFY(box);
        QCOMPARE(box->defaultButton()->text(), QStringLiteral("Clean Up"));
        box->defaultButton()->click();
        QTRY_COMPARE(answers, QList<bool>{true});

        prompt.confirm(request, [&](bool yes) { answers.append(yes); });
        box = openDialog<QMessageBox>();
        QVERIFY(box);
        QTest::keyClick(box, Qt::Key_Escape);
        QTRY_COMPARE(answers, (QList<bool>{true, false}));
    }
};

QTEST_MAIN(TestPromptDialogs)
#include "test_promptdialogs.moc"
