#pragma once

#include "actions/prompts.h"

// Prompts that remember what they were asked and give a set answer.
class ScriptedPrompt final : public TextPrompt
{
public:
    std::optional<QString> answer; // nullopt: Cancel
    TextPromptRequest asked;
    std::optional<QString> askText(const TextPromptRequest &request) override
    {
        asked = request;
        return answer;
    }
};

class ScriptedConfirm final : public ConfirmPrompt
{
public:
    bool answer = true;
    ConfirmRequest asked;
    bool confirm(const ConfirmRequest &request) override
    {
        asked = request;
        return answer;
    }
};
