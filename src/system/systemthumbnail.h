#pragma once

#include <QString>

class CaptureSettings;

// The screenshot tool's own after-capture notification or preview, which
// the settings offer to hide so that Brindlewick's corner card is the only
// one. Reads and writes the tool's switch afresh on every access; keeps
// nothing. Tools without such a switch (or no tool at all) read as shown and
// ignore writes, and `available` says so, so the settings can explain
// instead of offering a switch that does nothing.
class SystemThumbnail
{
public:
    // `settings` may be null (no known tool).
    explicit SystemThumbnail(CaptureSettings *settings) : m_settings(settings) {}

    bool available() const;
    // The tool's name as users know it ("Flameshot"); empty without a tool.
    QString toolName() const;
    bool shown() const;
    // Shown: the tool's own default comes back (the key is removed).
    void setShown(bool shown);

private:
    CaptureSettings *m_settings;
};
