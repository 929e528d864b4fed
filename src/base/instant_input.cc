#include "base/instant_input.h"

#include <cmath>
#include <string>

#include "base/iso8601.h"

namespace velto {

namespace {

// Reads exactly `width` digits at `at`; none when any is not a digit.
std::optional<int> digits(std::string_view text, size_t at, size_t width) {
  if (at + width > text.size()) return std::nullopt;
  int value = 0;
  for (size_t i = at; i < at + width; ++i) {
    if (text[i] < '0' || text[i] > '9') return std::nullopt;
    value = value * 10 + (text[i] - '0');
  }
  return value;
}

// "HH:MM" or "HH:MM:SS" filling `local`; false when malformed.
bool readClock(std::string_view text, LocalDateTime& local) {
  if (text.size() != 5 && text.size() != 8) return false;
  const auto hour = digits(text, 0, 2);
  const auto minute = digits(text, 3, 2);
  if (!hour || !minute || text[2] != ':' || *hour > 23 || *minute > 59) return false;
  local.hour = *hour;
  local.minute = *minute;
  local.second = 0;
  if (text.size() == 8) {
    const auto second = digits(text, 6, 2);
    if (!second || text[5] != ':' || *second > 59) return false;
    local.second = *second;
  }
  return true;
}

// The instant of `local` when the zone has that wall-clock time.
std::optional<Instant> existing(const LocalDateTime& local, const Calendar& calendar) {
  const Instant at = calendar.instant(local);
  const LocalDateTime back = calendar.local(at);
  if (back.year != local.year || back.month != local.month || back.day != local.day ||
      back.hour != local.hour || back.minute != local.minute ||
      std::floor(back.second) != local.second) {
    return std::nullopt;
  }
  return at;
}

bool hasZone(std::string_view clock) {
  return clock.ends_with('Z') || clock.ends_with('z') ||
         clock.find('+') != std::string_view::npos || clock.find('-') != std::string_view::npos;
}

}  // namespace

std::optional<Instant> parseInstantInput(std::string_view text, const Calendar& calendar,
                                         Instant now) {
  if (text.size() == 5 || text.size() == 8) {
    LocalDateTime local = calendar.local(now);
    if (!readClock(text, local)) return std::nullopt;
    return existing(local, calendar);
  }
  if (text.size() < 10) return std::nullopt;
  const auto year = digits(text, 0, 4);
  const auto month = digits(text, 5, 2);
  const auto day = digits(text, 8, 2);
  if (!year || !month || !day || text[4] != '-' || text[7] != '-') return std::nullopt;
  LocalDateTime local;
  local.year = *year;
  local.month = *month;
  local.day = *day;
  if (text.size() == 10) return existing(local, calendar);
  if (text[10] != 'T' && text[10] != ' ') return std::nullopt;
  const std::string_view clock = text.substr(11);
  if (hasZone(clock)) {
    std::string iso(text);
    iso[10] = 'T';
    return parseIso8601(iso);
  }
  if (!readClock(clock, local)) return std::nullopt;
  return existing(local, calendar);
}

}  // namespace velto
