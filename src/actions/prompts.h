#pragma once

#include <QString>

#include <functional>
#include <optional>

// The few questions the file operations ask the user. The model describes
// the question and says what to do with the answer; the UI answers later from
// a window-modal dialog (src/actions/views) without blocking the event loop,
// tests answer at once.

// A modal alert with a one-line text field.
struct TextPromptRequest
{
    QString message;         // the alert's bold message
    QString informativeText; // the smaller text below it; may be empty
    QString text;            // the field's initial text
    QString placeholder;     // shown while the field is empty
    QString confirmButton;   // first button, the default
    QString cancelButton;
    int fieldWidth = 300; // the field's size in points
    int fieldHeight = 24;
    // Select the name without its extension when the field opens, so typing
    // replaces the name and keeps ".png".
    bool selectStem = false;
};

class TextPrompt
{
public:
    virtual ~TextPrompt() = default;
    // `answer` receives the field's text when the user pressed the confirm
    // button, else nothing. It is called exactly once.
    virtual void askText(const TextPromptRequest &request,
                         std::function<void(const std::optional<QString> &)> answer) = 0;
};

// A modal alert with a confirm and a cancel button.
struct ConfirmRequest
{
    QString message;
    QString informativeText;
    QString confirmButton; // first button, the default
    QString cancelButton;
};

class ConfirmPrompt
{
public:
    virtual ~ConfirmPrompt() = default;
    // `answer` receives true when the user pressed the confirm button. It is
    // called exactly once.
    virtual void confirm(const ConfirmRequest &request, std::function<void(bool)> answer) = 0;
};
