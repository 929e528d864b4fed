// ISO 8601 internet date-times, as other programs write them into shared files.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/calendar.h"
#include "base/time.h"

namespace velto {

// "2026-11-14T21:40:00Z": UTC, whole seconds (the fraction is dropped).
std::string formatIso8601(Instant at);

// The local date-time of `calendar`'s zone with its offset: "2026-11-14T22:40:00+01:00"; a
// fraction of a second is written to the millisecond when there is one.
std::string formatIso8601Local(Instant at, const Calendar& calendar);

// Accepts "YYYY-MM-DDTHH:MM:SS" with an optional fraction and a zone of "Z", "+HH:MM", "-HH:MM"
// or "+HHMM"; the 'T' may be lower-case. Anything else, or an impossible date, gives none.
std::optional<Instant> parseIso8601(std::string_view text);

// An instant from seconds since 2001-01-01 UTC, refused outside ±10,000 years (so that hostile
// input cannot overflow the microsecond count).
std::optional<Instant> instantFromSecondsSince2001Checked(double seconds);

}  // namespace velto
