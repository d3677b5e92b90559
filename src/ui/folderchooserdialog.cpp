#include "ui/folderchooserdialog.h"

#include <QFileDialog>
#include <QFileInfo>

void FolderChooserDialog::chooseFolder(const QString &startIn, const QString &confirmText, const QString &message,
                                       std::function<void(const QString &)> done)
{
    auto *dialog = new QFileDialog(m_parent, message, startIn);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::Directory);
    dialog->setOption(QFileDialog::ShowDirsOnly);
    dialog->setAcceptMode(QFileDialog::AcceptOpen);
    dialog->setLabelText(QFileDialog::Accept, confirmText);
    dialog->setWindowModality(m_parent ? Qt::WindowModal : Qt::ApplicationModal);
    // Reported once, whichever way the dialog ends.
    auto answered = std::make_shared<bool>(false);
    QObject::connect(dialog, &QFileDialog::fileSelected, dialog, [done, answered](const QString &folder) {
        *answered = true;
        // A desktop's own chooser may hand back a file typed into it; a file
        // is no Home, so that counts as no choice.
        done(QFileInfo(folder).isDir() ? folder : QString());
    });
    QObject::connect(dialog, &QFileDialog::finished, dialog, [done, answered](int) {
        if (!*answered)
            done(QString());
    });
    dialog->open();
}
