#include "actions/views/promptdialogs.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QVBoxLayout>

void DialogTextPrompt::askText(const TextPromptRequest &request,
                               std::function<void(const std::optional<QString> &)> answer)
{
    auto *dialog = new QDialog(m_parent);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowModality(m_parent ? Qt::WindowModal : Qt::ApplicationModal);
    dialog->setWindowTitle(request.message);
    auto *layout = new QVBoxLayout(dialog);

    auto *message = new QLabel(request.message, dialog);
    QFont bold = message->font();
    bold.setBold(true);
    message->setFont(bold);
    message->setTextFormat(Qt::PlainText);
    layout->addWidget(message);
    if (!request.informativeText.isEmpty()) {
        auto *informative = new QLabel(request.informativeText, dialog);
        informative->setTextFormat(Qt::PlainText);
        informative->setWordWrap(true);
        layout->addWidget(informative);
    }

    auto *field = new QLineEdit(request.text, dialog);
    field->setPlaceholderText(request.placeholder);
    field->setFixedWidth(request.fieldWidth);
    field->setMinimumHeight(request.fieldHeight);
    layout->addWidget(field);

    auto *buttons = new QDialogButtonBox(dialog);
    QPushButton *confirm = buttons->addButton(request.confirmButton, QDialogButtonBox::AcceptRole);
    buttons->addButton(request.cancelButton, QDialogButtonBox::RejectRole);
    confirm->setDefault(true);
    QObject::connect(buttons, &QDialogButtonBox::accepted, dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
    layout->addWidget(buttons);

    if (request.selectStem) {
        const qsizetype dot = request.text.lastIndexOf(QLatin1Char('.'));
        field->setSelection(0, int(dot > 0 ? dot : request.text.size()));
    } else {
        field->selectAll();
    }
    field->setFocus();

    QObject::connect(dialog, &QDialog::finished, dialog, [field, answer](int result) {
        answer(result == QDialog::Accepted ? std::optional<QString>(field->text()) : std::nullopt);
    });
    dialog->open();
}

void DialogConfirmPrompt::confirm(const ConfirmRequest &request, std::function<void(bool)> answer)
{
    auto *box = new QMessageBox(m_parent);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowModality(m_parent ? Qt::WindowModal : Qt::ApplicationModal);
    box->setIcon(QMessageBox::Question);
    box->setText(request.message);
    box->setInformativeText(request.informativeText);
    box->setTextFormat(Qt::PlainText);
    QPushButton *confirm = box->addButton(request.confirmButton, QMessageBox::AcceptRole);
    box->addButton(request.cancelButton, QMessageBox::RejectRole);
    box->setDefaultButton(confirm);
    QObject::connect(box, &QMessageBox::finished, box,
                     [box, confirm, answer](int) { answer(box->clickedButton() == confirm); });
    box->open();
}
