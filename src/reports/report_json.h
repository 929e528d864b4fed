// The report as data for scripts (`velto report --json`) and as readable text for a terminal.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "base/calendar.h"
#include "reports/usage_report.h"

namespace velto {

// period, comparison, totalSeconds, offMacSeconds, byApp, byCategory, bySite, offMac,
// focusSplit, shape, hourly, buckets, blocks, movers, focusMix, trendsText. Instants are ISO 8601
// with the calendar's offset; lists are largest first.
nlohmann::json reportJson(const UsageFigures& figures, const Calendar& calendar);

// A few lines for a terminal: the total, top applications and categories, the focus share, the
// comparison and the movers, with durations written by DurationText.
std::string reportText(const UsageFigures& figures, std::string_view language,
                       size_t listLength = 5);

}  // namespace velto
