#include "ui/settingssheet.h"

#include <QCloseEvent>
#include <QFrame>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QPainter>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

SettingsSheetWindow::SettingsSheetWindow(QWidget *shelfWindow) : QDialog(shelfWindow, Qt::Sheet)
{
    setWindowTitle(tr("Settings"));
    setObjectName(QStringLiteral("settingsSheet"));
    setWindowModality(Qt::WindowModal);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
}

void SettingsSheetWindow::setContent(QWidget *content)
{
    m_content = content;
    layout()->addWidget(content);
    // Taken when the window first becomes active.
    content->setFocus(Qt::OtherFocusReason);
}

QPixmap SettingsSheetWindow::snapshot() const
{
    if (auto *sheet = qobject_cast<SettingsSheet *>(m_content))
        return sheet->snapshot();
    return const_cast<SettingsSheetWindow *>(this)->grab();
}

void SettingsSheetWindow::reject()
{
    // Escape lands here; the application owns the sheet and closes it.
    if (onCancel)
        onCancel();
    else
        QDialog::reject();
}

void SettingsSheetWindow::keyPressEvent(QKeyEvent *event)
{
    // Return that no control took (a stepper's, say) stops here rather than
    // pressing the default button: only "Done" itself closes the sheet.
    if (event->modifiers() == Qt::NoModifier || event->modifiers() == Qt::KeypadModifier) {
        if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
            event->accept();
            return;
        }
    }
    QDialog::keyPressEvent(event);
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

SettingsSheet::SettingsSheet(const SettingsParts &parts, std::function<void()> done, QWidget *parent)
    : QWidget(parent), m_form(new SettingsForm(parts)), m_scroll(new QScrollArea(this)), m_bar(new QWidget(this))
{
    m_scroll->setFrameShape(QFrame::NoFrame);
    m_scroll->setWidgetResizable(true);
    m_scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_scroll->setBackgroundRole(QPalette::Window);
    m_scroll->viewport()->setBackgroundRole(QPalette::Window);
    m_scroll->setWidget(m_form);
    // The sheet opens with the keys on the form itself (arrows and Page Down
    // scroll it), not on its first button.
    m_scroll->setFocusPolicy(Qt::StrongFocus);
    setFocusProxy(m_scroll);

    auto *rule = new QFrame(this);
    rule->setFrameShape(QFrame::HLine);
    rule->setFrameShadow(QFrame::Plain);
    rule->setForegroundRole(QPalette::Mid);

    auto *doneButton = new QPushButton(tr("Done"), m_bar);
    m_done = doneButton;
    doneButton->setObjectName(QStringLiteral("done"));
    doneButton->setMinimumWidth(88);
    connect(doneButton, &QPushButton::clicked, this, [done] {
        if (done)
            done();
    });
    auto *bar = new QHBoxLayout(m_bar);
    bar->setContentsMargins(20, 12, 20, 12);
    bar->addStretch(1);
    bar->addWidget(doneButton);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_scroll, 1);
    layout->addWidget(rule);
    layout->addWidget(m_bar);
}

void SettingsSheet::showEvent(QShowEvent *event)
{
    // A dialog takes its default button only from buttons already inside it,
    // so "Done" claims the part once the sheet is in its window.
    m_done->setDefault(true);
    QWidget::showEvent(event);
}

QPixmap SettingsSheet::snapshot() const
{
    // The form at the sheet's full width and the height it asks for there.
    const int width = this->width();
    const int formHeight = std::max(m_form->heightForWidth(width), m_form->minimumSizeHint().height());
    const QPixmap bar = m_bar->grab();
    const qreal dpr = devicePixelRatioF();
    QPixmap image(QSize(width, formHeight + 1 + m_bar->height()) * dpr);
    image.setDevicePixelRatio(dpr);
    image.fill(palette().color(QPalette::Window));
    QPainter p(&image);
    // Drawn from the form itself, not the scrolled viewport, so the rows
    // below the fold are in the picture too.
    // While the scroll area fits the form to its viewport it would undo the
    // resize at once.
    m_scroll->setWidgetResizable(false);
    m_form->resize(width, formHeight);
    m_form->render(&p, QPoint(0, 0), QRegion(), QWidget::DrawChildren);
    m_scroll->setWidgetResizable(true);
    p.setPen(palette().color(QPalette::Mid));
    p.drawLine(0, formHeight, width, formHeight);
    p.drawPixmap(0, formHeight + 1, bar);
    return image;
}
