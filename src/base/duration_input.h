// Durations as people type them on a command line: "45m", "1h30m", "2h", "90s", "1h 30m".
//
// Parts are a whole number followed by a unit (h, m or s), largest unit first, each unit at most
// once; blanks between parts are allowed. A bare number counts as minutes ("90" is 1h30m), so a
// number after a unit ("1h30") is refused as ambiguous. The total must be positive and at most
// a year; anything else is refused.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace velto {

// Seconds, or none when `text` is not a duration in the forms above.
std::optional<double> parseDuration(std::string_view text);

// The shortest form parseDuration reads back as `seconds` rounded to whole seconds
// ("1h30m", "45m", "2h", "10s"); "0s" for zero or less.
std::string durationInputText(double seconds);

}  // namespace velto
