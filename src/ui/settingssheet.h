#pragma once

#include <QDialog>
#include <QPointer>
#include <functional>

#include "model/shelf.h"

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

public Q_SLOTS:
    void reject() override;

protected:
    void closeEvent(QCloseEvent *event) override;
};

// The settings form with its "Done" bar. For now it shows the settings that
// exist; the full form takes its place.
class SettingsSheet : public QWidget
{
    Q_OBJECT

public:
    SettingsSheet(Shelf *shelf, std::function<void()> done, QWidget *parent = nullptr);

private:
    QPointer<Shelf> m_shelf;
};
