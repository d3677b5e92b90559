#pragma once

#include "actions/prompts.h"

#include <QPointer>
#include <QWidget>

// The file operations' questions as window-modal dialogs over `parent`; each
// answers through its callback when it closes.
class DialogTextPrompt final : public TextPrompt
{
public:
    explicit DialogTextPrompt(QWidget *parent = nullptr) : m_parent(parent) {}
    void askText(const TextPromptRequest &request, std::function<void(const std::optional<QString> &)> answer) override;

private:
    QPointer<QWidget> m_parent;
};

class DialogConfirmPrompt final : public ConfirmPrompt
{
public:
    explicit DialogConfirmPrompt(QWidget *parent = nullptr) : m_parent(parent) {}
    void confirm(const ConfirmRequest &request, std::function<void(bool)> answer) override;

private:
    QPointer<QWidget> m_parent;
};
