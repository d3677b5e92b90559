#pragma once

#include <QAbstractButton>
#include <QLabel>
#include <QWidget>

class QVariantAnimation;
class QVBoxLayout;

// The small pieces the settings form is made of: an on/off switch, a label
// that elides in the middle, and a rounded group of rows with a header above
// and a footer below. Colours come from the palette only, so both schemes
// and any theme work.

// A checkable button drawn as a sliding switch.
class ToggleSwitch : public QAbstractButton
{
    Q_OBJECT

public:
    explicit ToggleSwitch(QWidget *parent = nullptr);
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    bool hitButton(const QPoint &pos) const override;

private:
    QVariantAnimation *m_slide;
    double m_position = 0; // while sliding: 0 off, 1 on
};

// One line of text, elided in the middle when it does not fit.
class ElidedLabel : public QWidget
{
    Q_OBJECT

public:
    explicit ElidedLabel(QWidget *parent = nullptr);
    void setText(const QString &text);
    QString text() const { return m_text; }
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QString m_text;
};

// Secondary text: smaller, in the palette's dimmed text colour, wrapped.
QLabel *secondaryLabel(const QString &text, QWidget *parent, bool wrap = true);

// One section: a header, a rounded card of rows separated by hairlines, and
// a footer.
class SettingsGroup : public QWidget
{
    Q_OBJECT

public:
    SettingsGroup(const QString &header, QWidget *parent = nullptr);

    // A row: `label` leading, the widgets trailing in order. Returns the row.
    QWidget *addRow(const QString &label, const QList<QWidget *> &trailing);
    // The row's title label, for texts that change.
    static QLabel *titleOf(QWidget *row);
    // A line of secondary text under the row's title; hidden while empty.
    static void setSubtitle(QWidget *row, const QString &text);
    void setFooter(const QString &text);
    QLabel *footer() const { return m_footer; }

private:
    class Card;
    Card *m_card;
    QLabel *m_footer;
};
