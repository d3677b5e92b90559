#pragma once

class Prefs;

// The corner card's two settings, with their read and write rules: on unless
// switched off, and shown for 1 to 30 seconds (3 when unset or not positive).
namespace FlashSettings {

bool enabled(const Prefs &prefs);
void setEnabled(Prefs &prefs, bool on);
double seconds(const Prefs &prefs);
void setSeconds(Prefs &prefs, double seconds);

} // namespace FlashSettings
