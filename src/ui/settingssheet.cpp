#include "ui/settingssheet.h"

#include "model/shelf.h"
#include "system/texts.h"

#include <QCloseEvent>
#include <QDir>
#include <QFormLayout>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

SettingsSheetWindow::SettingsSheetWindow(QWidget *shelfWindow)
    : QDialog(shelfWindow, Qt::Sheet)
{
    setWindowTitle(QStringLiteral("Settings"));
    setObjectName(QStringLiteral("settingsSheet"));
    setWindowModality(Qt::WindowModal);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
}

void SettingsSheetWindow::setContent(QWidget *content) { layout()->addWidget(content); }

void SettingsSheetWindow::reject()
{
    // Escape lands here; the application owns the sheet and closes it.
    if (onCancel)
        onCancel();
    else
        QDialog::reject();
}

void SettingsSheetWindow::closeEvent(QCloseEvent *event)
{
    if (onCancel) {
        event->ignore();
        onCancel();
        return;
    }
    QDialog::closeEvent(event);
}

SettingsSheet::SettingsSheet(Shelf *shelf, std::function<void()> done, QWidget *parent)
    : QWidget(parent), m_shelf(shelf)
{
    auto *title = new QLabel(QStringLiteral("Settings"), this);
    QFont titleFont = title->font();
    titleFont.setPointSizeF(titleFont.pointSizeF() * 1.4);
    titleFont.setBold(true);
    title->setFont(titleFont);

    auto *general = new QLabel(QStringLiteral("General"), this);
    QFont sectionFont = general->font();
    sectionFont.setBold(true);
    general->setFont(sectionFont);

    auto *form = new QFormLayout;
    form->setLabelAlignment(Qt::AlignLeft);
    form->setHorizontalSpacing(24);
    const QString home = shelf ? QDir::toNativeSeparators(shelf->home().toLocalFile()) : QString();
    auto *homeLabel = new QLabel(home, this);
    homeLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);
    form->addRow(QStringLiteral("Home folder"), homeLabel);
    form->addRow(QStringLiteral("Open or hide the shelf"), new QLabel(Texts::globalShortcutHint, this));

    auto *body = new QVBoxLayout;
    body->setContentsMargins(24, 20, 24, 12);
    body->setSpacing(10);
    body->addWidget(title);
    body->addSpacing(6);
    body->addWidget(general);
    body->addLayout(form);
    body->addStretch(1);

    auto *rule = new QFrame(this);
    rule->setFrameShape(QFrame::HLine);
    rule->setFrameShadow(QFrame::Sunken);

    auto *doneButton = new QPushButton(QStringLiteral("Done"), this);
    // Return must not close the sheet, so no button is a default one.
    doneButton->setAutoDefault(false);
    doneButton->setDefault(false);
    connect(doneButton, &QPushButton::clicked, this, [done] {
        if (done)
            done();
    });
    auto *bar = new QHBoxLayout;
    bar->setContentsMargins(16, 10, 16, 12);
    bar->addStretch(1);
    bar->addWidget(doneButton);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addLayout(body, 1);
    layout->addWidget(rule);
    layout->addLayout(bar);
}
