#pragma once

#include <QString>

class CaptureSettings;
class Prefs;

// Points the screenshot tool at Home while we run and gives the user's own
// save folder back at quit. The first value we ever replaced is remembered in
// "previousCaptureLocation" ("" = the tool had none) until `restore`.
class CaptureLocation
{
public:
    // `settings` may be null: no known screenshot tool, nothing is changed.
    CaptureLocation(Prefs &prefs, CaptureSettings *settings);

    // Where the screenshot tool saves now: its setting with "~" expanded,
    // otherwise the tool's own default folder (the Desktop, or Home when
    // there is none, with no known tool).
    QString systemFolder() const;
    void apply(const QString &folder);
    void restore();
    // Asks the tool to take the new setting; never ends a process.
    void restartSystemUI();

    CaptureSettings *settings() const { return m_settings; }

    static QString expandTilde(const QString &path);

private:
    QString currentSetting() const;

    Prefs &m_prefs;
    CaptureSettings *m_settings;
};
