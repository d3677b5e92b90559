#pragma once

#include "model/shelf.h"

class QWidget;

// The Home folder chooser: a window-modal folder dialog over `parent` that
// answers when the user confirms or cancels, without blocking the event loop.
class FolderChooserDialog final : public FolderChooser
{
public:
    explicit FolderChooserDialog(QWidget *parent) : m_parent(parent) {}
    void chooseFolder(const QString &startIn, const QString &confirmText, const QString &message,
                      std::function<void(const QString &)> done) override;

private:
    QWidget *m_parent;
};
