#include "system/flashsettings.h"

#include <algorithm>

#include "system/prefs.h"

namespace FlashSettings {

namespace {
constexpr double shortest = 1;
constexpr double longest = 30;
constexpr double fallback = 3;
} // namespace

bool enabled(const Prefs &prefs) { return prefs.flag(PrefKey::flashEnabled, true); }

void setEnabled(Prefs &prefs, bool on) { prefs.setValue(PrefKey::flashEnabled, on); }

double seconds(const Prefs &prefs)
{
    const double stored = prefs.number(PrefKey::flashSeconds, fallback);
    if (!(stored > 0)) // also NaN
        return fallback;
    return std::clamp(stored, shortest, longest);
}

void setSeconds(Prefs &prefs, double seconds)
{
    // NaN would pass std::clamp untouched; store the default instead.
    prefs.setValue(PrefKey::flashSeconds, seconds == seconds ? std::clamp(seconds, shortest, longest) : fallback);
}

} // namespace FlashSettings
