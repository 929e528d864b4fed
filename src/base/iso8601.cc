#include "base/iso8601.h"

#include <date/date.h>

#include <cmath>
#include <cstdio>

namespace velto {

std::string formatIso8601(Instant at) {
  const auto seconds = date::floor<std::chrono::seconds>(at);
  const auto day = date::floor<date::days>(seconds);
  const date::year_month_day ymd(day);
  const date::hh_mm_ss<std::chrono::seconds> time(seconds - day);
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%04d-%02u-%02uT%02d:%02d:%02dZ",
                static_cast<int>(ymd.year()), static_cast<unsigned>(ymd.month()),
                static_cast<unsigned>(ymd.day()), static_cast<int>(time.hours().count()),
                static_cast<int>(time.minutes().count()), static_cast<int>(time.seconds().count()));
  return buffer;
}

std::string formatIso8601Local(Instant at, const Calendar& calendar) {
  const int offset = calendar.utcOffsetSeconds(at);
  const Instant local = at + std::chrono::seconds(offset);
  std::string text = formatIso8601(local);
  text.pop_back();  // the 'Z'
  const auto millis = std::chrono::duration_cast<std::chrono::milliseconds>(
                          local - date::floor<std::chrono::seconds>(local))
                          .count();
  if (millis != 0) {
    char fraction[8];
    std::snprintf(fraction, sizeof fraction, ".%03d", static_cast<int>(millis));
    text += fraction;
  }
  const int minutes = std::abs(offset) / 60;
  char zone[16];
  std::snprintf(zone, sizeof zone, "%c%02d:%02d", offset < 0 ? '-' : '+', minutes / 60,
                minutes % 60);
  return text + zone;
}

namespace {

// Reads exactly `count` digits at `pos`.
bool digits(std::string_view text, size_t& pos, size_t count, int& out) {
  if (pos + count > text.size()) return false;
  out = 0;
  for (size_t i = 0; i < count; ++i) {
    const char c = text[pos + i];
    if (c < '0' || c > '9') return false;
    out = out * 10 + (c - '0');
  }
  pos += count;
  return true;
}

bool expect(std::string_view text, size_t& pos, char c) {
  if (pos >= text.size() || text[pos] != c) return false;
  ++pos;
  return true;
}

}  // namespace

std::optional<Instant> parseIso8601(std::string_view text) {
  size_t pos = 0;
  int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
  if (!digits(text, pos, 4, year) || !expect(text, pos, '-') || !digits(text, pos, 2, month) ||
      !expect(text, pos, '-') || !digits(text, pos, 2, day)) {
    return std::nullopt;
  }
  if (pos >= text.size() || (text[pos] != 'T' && text[pos] != 't')) return std::nullopt;
  ++pos;
  if (!digits(text, pos, 2, hour) || !expect(text, pos, ':') || !digits(text, pos, 2, minute) ||
      !expect(text, pos, ':') || !digits(text, pos, 2, second)) {
    return std::nullopt;
  }
  long long micros = 0;
  if (pos < text.size() && (text[pos] == '.' || text[pos] == ',')) {
    ++pos;
    long long scale = 100000;
    const size_t start = pos;
    while (pos < text.size() && text[pos] >= '0' && text[pos] <= '9') {
      micros += (text[pos] - '0') * scale;
      scale /= 10;
      ++pos;
    }
    if (pos == start) return std::nullopt;
  }
  int offsetMinutes = 0;
  if (pos < text.size() && (text[pos] == 'Z' || text[pos] == 'z')) {
    ++pos;
  } else if (pos < text.size() && (text[pos] == '+' || text[pos] == '-')) {
    const int sign = text[pos] == '-' ? -1 : 1;
    ++pos;
    int offsetHours = 0, offsetMins = 0;
    if (!digits(text, pos, 2, offsetHours)) return std::nullopt;
    if (pos < text.size() && text[pos] == ':') ++pos;
    if (!digits(text, pos, 2, offsetMins)) return std::nullopt;
    if (offsetHours > 23 || offsetMins > 59) return std::nullopt;
    offsetMinutes = sign * (offsetHours * 60 + offsetMins);
  } else {
    return std::nullopt;
  }
  if (pos != text.size()) return std::nullopt;
  if (hour > 23 || minute > 59 || second > 59) return std::nullopt;
  const date::year_month_day ymd(date::year(year), date::month(static_cast<unsigned>(month)),
                                 date::day(static_cast<unsigned>(day)));
  if (!ymd.ok()) return std::nullopt;
  return Instant(date::sys_days(ymd)) + std::chrono::hours(hour) +
         std::chrono::minutes(minute - offsetMinutes) + std::chrono::seconds(second) +
         Microseconds(micros);
}

std::optional<Instant> instantFromSecondsSince2001Checked(double seconds) {
  constexpr double kLimit = 10000.0 * 366 * 86400;
  if (!std::isfinite(seconds) || std::fabs(seconds) > kLimit) return std::nullopt;
  return instantFromSecondsSince2001(seconds);
}

}  // namespace velto
