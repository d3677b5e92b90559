#include "actions/views/promptdialogs.h"
#include "ui/folderchooserdialog.h"

#include <QApplication>
#include <QDialog>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryDir>
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
        request.text = "shot.png";
        request.selectStem = true;
        QList<std::optional<QString>> texts;
        const auto askText = [&] {
            textPrompt.askText(request, [&](const std::optional<QString> &a) { texts.append(a); });
        };

        askText();
        QVERIFY(texts.isEmpty()); // still open: nothing blocked, nothing answered
        QDialog *dialog = nullptr;
        QVERIFY(dialog = openDialog<QDialog>());
        auto *field = dialog->findChild<QLineEdit *>();
        QCOMPARE(field->selectedText(), "shot");
        field->setText("renamed.png");
        QTest::keyClick(field, Qt::Key_Return);
        QTRY_COMPARE(texts, (QList<std::optional<QString>>{"renamed.png"}));

        askText();
        QVERIFY(dialog = openDialog<QDialog>());
        QTest::keyClick(dialog, Qt::Key_Escape);
        QTRY_COMPARE(texts.size(), 2);
        QCOMPARE(texts.last(), std::nullopt); // Escape: no answer

        DialogConfirmPrompt confirmPrompt;
        const ConfirmRequest confirm{"Clean up?", {}, "Clean Up", "Cancel"};
        QList<bool> answers;
        const auto ask = [&] { confirmPrompt.confirm(confirm, [&](bool yes) { answers.append(yes); }); };
        ask();
        QMessageBox *box = nullptr;
        QVERIFY(box = openDialog<QMessageBox>());
        box->defaultButton()->click(); // the confirming button is the default
        QTRY_COMPARE(answers, QList<bool>{true});
        ask();
        QVERIFY(box = openDialog<QMessageBox>());
        QTest::keyClick(box, Qt::Key_Escape);
        QTRY_COMPARE(answers, (QList<bool>{true, false}));
    }

    // Whatever the desktop's chooser hands back, a file is no folder.
    void theFolderChooserAnswersOnlyWithAFolder()
    {
        QTemporaryDir dir;
        const QString file = dir.filePath("a.png");
        QFile(file).open(QIODevice::WriteOnly);
        FolderChooserDialog chooser(nullptr);
        QStringList answers;
        for (const QString &chosen : {file, dir.path()}) {
            chooser.chooseFolder(dir.path(), "Use this folder", QString(),
                                 [&](const QString &folder) { answers.append(folder); });
            QFileDialog *dialog = nullptr;
            QVERIFY(dialog = openDialog<QFileDialog>());
            Q_EMIT dialog->fileSelected(chosen);
            dialog->close();
        }
        QTRY_COMPARE(answers, (QStringList{QString(), dir.path()}));
    }
};

QTEST_MAIN(TestPromptDialogs)
#include "test_promptdialogs.moc"
