#pragma once

#include "ui/settingsform.h"

#include <QDialog>
#include <QPixmap>
#include <functional>

class QPushButton;
class QScrollArea;

// The window the settings live in: attached to the shelf window and modal to
// it, like a sheet. Escape and the window's close button run `onCancel`
// (the application closes it); Return does not close it.
class SettingsSheetWindow : public QDialog
{
    Q_OBJECT

public:
    explicit SettingsSheetWindow(QWidget *shelfWindow);

    std::function<void()> onCancel;

    void setContent(QWidget *content);
    // The whole content as a picture, the part scrolled out of view included.
    QPixmap snapshot() const;

public Q_SLOTS:
    void reject() override;

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    QWidget *m_content = nullptr;
};

// The settings form, scrolling when the window is shorter than it, over a
// bar with the "Done" button.
class SettingsSheet : public QWidget
{
    Q_OBJECT

public:
    SettingsSheet(const SettingsParts &parts, std::function<void()> done, QWidget *parent = nullptr);

    SettingsForm *form() const { return m_form; }
    // The form at its full height above the bar.
    QPixmap snapshot() const;

protected:
    void showEvent(QShowEvent *event) override;

private:
    SettingsForm *m_form;
    QScrollArea *m_scroll;
    QWidget *m_bar;
    QPushButton *m_done;
};
