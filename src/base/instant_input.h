// Instants as people type them on a command line, read in the calendar's time zone:
//   "2026-11-24T09:30:00+01:00", "2026-11-24T08:30Z"  an ISO 8601 date-time with its zone;
//   "2026-11-24T09:30", "2026-11-24 09:30[:15]"        a wall-clock time in the calendar's zone;
//   "2026-11-24"                                      the start of that day;
//   "09:30"                                           today (the day of `now`) at that time.
// A wall-clock time that does not exist in the zone (a day's skipped hour, the 31st of a short
// month) is refused rather than moved.
#pragma once

#include <optional>
#include <string_view>

#include "base/calendar.h"
#include "base/time.h"

namespace velto {

std::optional<Instant> parseInstantInput(std::string_view text, const Calendar& calendar,
                                         Instant now);

}  // namespace velto
