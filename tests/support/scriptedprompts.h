#pragma once

#include "actions/prompts.h"

// Prompts that remember what they were asked and answer at once.
class ScriptedPrompt final : public TextPrompt
{
public:
    std::optional<QString> answer; // nullopt: Cancel
    TextPromptRequest asked;
    void askText(const TextPromptRequest &request, std::function<void(const std::optional<QString> &)> reply) override
    {
        asked = request;
        reply(answer);
    }
};

class ScriptedConfirm final : public ConfirmPrompt
{
public:
    bool answer = true;
    ConfirmRequest asked;
    void confirm(const ConfirmRequest &request, std::function<void(bool)> reply) override
    {
        asked = request;
        reply(answer);
    }
};
