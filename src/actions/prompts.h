#pragma once

#include <QString>

#include <optional>

// The few questions the file operations ask the user. The model describes
// the question; the UI answers it with a modal dialog (src/actions/views),
// tests answer it directly.

// A modal alert with a one-line text field.
struct TextPromptRequest
{
    QString message;        // the alert's bold message
    QString informativeText; // the smaller text below it; may be empty
    QString text;           // the field's initial text
    QString placeholder;    // shown while the field is empty
    QString confirmButton;  // first button, the default
    QString cancelButton;
    int fieldWidth = 300;   // the field's size in points
    int fieldHeight = 24;
    // Select the name without its extension when the field opens, so typing
    // replaces the name and keeps ".png".
    bool selectStem = false;
};

class TextPrompt
{
public:
    virtual ~TextPrompt() = default;
    // The field's text when the user pressed the confirm button, else nothing.
    virtual std::optional<QString> askText(const TextPromptRequest &request) = 0;
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
    // True when the user pressed the confirm button.
    virtual bool confirm(const ConfirmRequest &request) = 0;
};
