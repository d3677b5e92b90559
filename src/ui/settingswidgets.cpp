#include "ui/settingswidgets.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QPainter>
#include <QPainterPath>
#include <QVBoxLayout>
#include <QVariantAnimation>

namespace {

constexpr int cardRadius = 10;
constexpr int rowPaddingX = 14;
constexpr int rowPaddingY = 7;
constexpr int rowMinimumHeight = 46;
constexpr int switchAnimationMs = 120;

// Hairlines and outlines: the text colour, faint, so they follow the scheme.
QColor hairline(const QPalette &palette)
{
    QColor c = palette.color(QPalette::WindowText);
    c.setAlphaF(0.13);
    return c;
}

QFont smallerFont(const QFont &base)
{
    QFont font = base;
    if (font.pointSizeF() > 0)
        font.setPointSizeF(font.pointSizeF() * 0.9);
    else
        font.setPixelSize(std::max(9, int(font.pixelSize() * 0.9)));
    return font;
}

} // namespace

ToggleSwitch::ToggleSwitch(QWidget *parent) : QAbstractButton(parent), m_slide(new QVariantAnimation(this))
{
    setCheckable(true);
    setCursor(Qt::PointingHandCursor);
    // A click does not move the keyboard focus; Tab still reaches it.
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    m_slide->setDuration(switchAnimationMs);
    m_slide->setEasingCurve(QEasingCurve::InOutQuad);
    connect(m_slide, &QVariantAnimation::valueChanged, this, [this](const QVariant &value) {
        m_position = value.toDouble();
        update();
    });
    connect(this, &QAbstractButton::toggled, this, [this](bool on) {
        const double from = m_slide->state() == QAbstractAnimation::Running ? m_position : (on ? 0.0 : 1.0);
        m_slide->stop();
        if (!isVisible())
            return;
        m_slide->setStartValue(from);
        m_slide->setEndValue(on ? 1.0 : 0.0);
        m_slide->start();
    });
}

QSize ToggleSwitch::sizeHint() const
{
    // The track is twice as wide as high; two points around it hold the
    // focus ring.
    const int h = std::max(18, fontMetrics().height() + 4);
    return {h * 2 + 4, h + 4};
}

bool ToggleSwitch::hitButton(const QPoint &pos) const { return rect().contains(pos); }

void ToggleSwitch::paintEvent(QPaintEvent *)
{
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    // Dimmed as a whole: the disabled palette's own colours all but vanish
    // on a light window.
    if (!isEnabled())
        p.setOpacity(0.45);
    const QRectF track = QRectF(rect()).adjusted(2, 2, -2, -2);
    const double radius = track.height() / 2;
    const double position = m_slide->state() == QAbstractAnimation::Running ? m_position : (isChecked() ? 1.0 : 0.0);
    QColor off = palette().color(QPalette::Active, QPalette::WindowText);
    off.setAlphaF(0.25);
    const QColor on = palette().color(QPalette::Active, QPalette::Highlight);
    QColor fill = off;
    if (position > 0) {
        // Blend through the slide so the colour follows the knob.
        fill = QColor::fromRgbF(off.redF() + (on.redF() - off.redF()) * position,
                                off.greenF() + (on.greenF() - off.greenF()) * position,
                                off.blueF() + (on.blueF() - off.blueF()) * position,
                                off.alphaF() + (on.alphaF() - off.alphaF()) * position);
    }
    p.setPen(Qt::NoPen);
    p.setBrush(fill);
    p.drawRoundedRect(track, radius, radius);
    if (hasFocus()) {
        QColor ring = on;
        ring.setAlphaF(0.6);
        p.setPen(QPen(ring, 2));
        p.setBrush(Qt::NoBrush);
        p.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), radius + 1, radius + 1);
    }
    const double inset = 2.5;
    const double knob = track.height() - 2 * inset;
    const double x = track.left() + inset + (track.width() - knob - 2 * inset) * position;
    QColor shadow = palette().color(QPalette::Shadow);
    shadow.setAlphaF(0.18);
    p.setPen(Qt::NoPen);
    p.setBrush(shadow);
    p.drawEllipse(QRectF(x, track.top() + inset + 0.8, knob, knob));
    p.setBrush(palette().color(QPalette::Active, QPalette::HighlightedText));
    p.drawEllipse(QRectF(x, track.top() + inset, knob, knob));
}

ElidedLabel::ElidedLabel(QWidget *parent) : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
}

void ElidedLabel::setText(const QString &text)
{
    if (text == m_text)
        return;
    m_text = text;
    updateGeometry();
    update();
}

QSize ElidedLabel::sizeHint() const { return {fontMetrics().horizontalAdvance(m_text) + 2, fontMetrics().height()}; }

QSize ElidedLabel::minimumSizeHint() const
{
    return {fontMetrics().horizontalAdvance(QStringLiteral("M\u2026M")), fontMetrics().height()};
}

void ElidedLabel::paintEvent(QPaintEvent *)
{
    QPainter p(this);
    const QString shown = fontMetrics().elidedText(m_text, Qt::ElideMiddle, width());
    p.setPen(palette().color(QPalette::WindowText));
    p.drawText(rect(), Qt::AlignRight | Qt::AlignVCenter, shown);
}

QLabel *secondaryLabel(const QString &text, QWidget *parent, bool wrap)
{
    auto *label = new QLabel(text, parent);
    label->setFont(smallerFont(label->font()));
    // QLabel draws plain text in its foreground role: the dimmed colour of
    // whichever palette is in force.
    label->setForegroundRole(QPalette::PlaceholderText);
    label->setWordWrap(wrap);
    label->setTextFormat(Qt::PlainText);
    return label;
}

class SettingsGroup::Card : public QWidget
{
public:
    explicit Card(QWidget *parent) : QWidget(parent)
    {
        m_rows = new QVBoxLayout(this);
        m_rows->setContentsMargins(0, 0, 0, 0);
        m_rows->setSpacing(0);
    }

    QVBoxLayout *rows() const { return m_rows; }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter p(this);
        p.setRenderHint(QPainter::Antialiasing);
        const QRectF box = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
        p.setPen(QPen(hairline(palette()), 1));
        p.setBrush(palette().color(QPalette::Base));
        p.drawRoundedRect(box, cardRadius, cardRadius);
        // A hairline between each two shown rows, indented like the text.
        p.setRenderHint(QPainter::Antialiasing, false);
        p.setPen(QPen(hairline(palette()), 0));
        const QWidget *previous = nullptr;
        for (int i = 0; i < m_rows->count(); ++i) {
            QWidget *row = m_rows->itemAt(i)->widget();
            if (!row || row->isHidden())
                continue;
            if (previous)
                p.drawLine(rowPaddingX, row->y(), width() - 1, row->y());
            previous = row;
        }
    }

private:
    QVBoxLayout *m_rows;
};

SettingsGroup::SettingsGroup(const QString &header, QWidget *parent) : QWidget(parent)
{
    auto *title = new QLabel(header, this);
    QFont font = title->font();
    font.setBold(true);
    title->setFont(font);
    title->setContentsMargins(4, 0, 0, 0);
    m_card = new Card(this);
    m_footer = secondaryLabel(QString(), this);
    m_footer->setContentsMargins(4, 0, 4, 0);
    m_footer->hide();
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(7);
    layout->addWidget(title);
    layout->addWidget(m_card);
    layout->addWidget(m_footer);
}

QWidget *SettingsGroup::addRow(const QString &label, const QList<QWidget *> &trailing)
{
    auto *row = new QWidget(m_card);
    row->setObjectName(QStringLiteral("settingsRow"));
    row->setMinimumHeight(rowMinimumHeight);
    auto *title = new QLabel(label, row);
    title->setObjectName(QStringLiteral("rowTitle"));
    title->setTextFormat(Qt::PlainText);
    auto *subtitle = secondaryLabel(QString(), row);
    subtitle->setObjectName(QStringLiteral("rowSubtitle"));
    subtitle->hide();
    auto *leading = new QVBoxLayout;
    leading->setSpacing(1);
    leading->addWidget(title);
    leading->addWidget(subtitle);
    auto *layout = new QHBoxLayout(row);
    layout->setContentsMargins(rowPaddingX, rowPaddingY, rowPaddingX, rowPaddingY);
    layout->setSpacing(8);
    layout->addLayout(leading, 1);
    bool expands = false;
    for (QWidget *w : trailing) {
        const bool canGrow = w->maximumWidth() > w->minimumWidth();
        expands = expands || (canGrow && (w->sizePolicy().horizontalPolicy() & QSizePolicy::ExpandFlag));
    }
    if (!expands)
        layout->addStretch(0);
    for (QWidget *w : trailing) {
        w->setParent(row);
        layout->addWidget(w, 0, Qt::AlignVCenter);
    }
    // The trailing controls keep their size; the title gives way only to an
    // expanding value (the folder name), which elides instead.
    title->setSizePolicy(expands ? QSizePolicy::Fixed : QSizePolicy::Preferred, QSizePolicy::Preferred);
    m_card->rows()->addWidget(row);
    return row;
}

QLabel *SettingsGroup::titleOf(QWidget *row) { return row->findChild<QLabel *>(QStringLiteral("rowTitle")); }

void SettingsGroup::setSubtitle(QWidget *row, const QString &text)
{
    auto *subtitle = row->findChild<QLabel *>(QStringLiteral("rowSubtitle"));
    subtitle->setText(text);
    subtitle->setVisible(!text.isEmpty());
}

void SettingsGroup::setFooter(const QString &text)
{
    m_footer->setText(text);
    m_footer->setVisible(!text.isEmpty());
}
