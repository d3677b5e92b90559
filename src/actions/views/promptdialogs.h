#pragma once

#include "actions/prompts.h"

#include <QPointer>
#include <QWidget>

// The file operations' questions as modal dialogs over `parent`.
class DialogTextPrompt final : public TextPrompt
{
public:
    explicit DialogTextPrompt(QWidget *parent = nullptr) : m_parent(parent) {}
    std::optional<QString> askText(const TextPromptRequest &request) override;

private:
    QPointer<QWidget> m_parent;
};

class DialogConfirmPrompt final : public ConfirmPrompt
{
public:
    explicit DialogConfirmPrompt(QWidget *parent = nullptr) : m_parent(parent) {}
    bool confirm(const ConfirmRequest &request) override;

private:
    QPointer<QWidget> m_parent;
};
