#include "app/loginprompts.h"

#include "system/texts.h"
#include "ui/appicon.h"

#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QMessageBox>
#include <QPushButton>
#include <QUrl>

namespace {

QMessageBox *makeBox(QMessageBox::Icon icon, const QString &title, const QString &detail)
{
    auto *box = new QMessageBox(icon, QStringLiteral("Brindlewick"), title);
    box->setInformativeText(detail);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowIcon(appIcon());
    return box;
}

} // namespace

void DialogLoginPrompts::showRegistrationError(const QString &title, const QString &detail,
                                               std::function<void(bool)> answer)
{
    QMessageBox *box = makeBox(QMessageBox::Warning, title, detail);
    QPushButton *open = box->addButton(Texts::openLoginItems(), QMessageBox::AcceptRole);
    QPushButton *ok = box->addButton(QMessageBox::Ok);
    box->setDefaultButton(ok);
    QObject::connect(box, &QMessageBox::finished, box, [box, open, answer] { answer(box->clickedButton() == open); });
    box->open();
}

void DialogLoginPrompts::showGuide(std::function<void(GuideChoice)> answer)
{
    QMessageBox *box = makeBox(QMessageBox::Information, Texts::loginGuideTitle(), Texts::loginGuideText());
    QPushButton *open = box->addButton(Texts::openLoginItems(), QMessageBox::AcceptRole);
    QPushButton *later = box->addButton(Texts::loginGuideLater(), QMessageBox::RejectRole);
    QPushButton *never = box->addButton(Texts::loginGuideNever(), QMessageBox::DestructiveRole);
    box->setDefaultButton(open);
    QObject::connect(box, &QMessageBox::finished, box, [box, open, later, never, answer] {
        const QAbstractButton *clicked = box->clickedButton();
        if (clicked == open)
            answer(GuideChoice::openLoginItems);
        else if (clicked == never)
            answer(GuideChoice::never);
        else
            answer(GuideChoice::notNow);
        Q_UNUSED(later);
    });
    box->open();
    box->raise();
    box->activateWindow();
}

void DialogLoginPrompts::openLoginItems(const QString &autostartFolder)
{
    // The folder may not exist yet (that can be the very problem); show the
    // nearest one that does.
    QString folder = autostartFolder;
    while (!folder.isEmpty() && !QFileInfo(folder).isDir())
        folder = QFileInfo(folder).absolutePath() == folder ? QString() : QFileInfo(folder).absolutePath();
    if (!folder.isEmpty())
        QDesktopServices::openUrl(QUrl::fromLocalFile(folder));
}
