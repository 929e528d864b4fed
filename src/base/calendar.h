// The user's calendar: a time zone from the system's tz database and a first weekday.
//
// Every day and week rule of the program goes through this class so that days of 23 or 25 hours
// are right everywhere and tests can run in any zone. Instants are absolute (UTC-based); "day"
// always means the local calendar day in this calendar's zone.
//
// Thread: not synchronised; owned and used on the main thread. setZone takes effect for every
// holder of a reference at once (the recorder follows zone changes that way).
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/time.h"

namespace date {
class time_zone;
}

namespace velto {

// Weekdays as the settings store them: 1 = Sunday ... 7 = Saturday.
using Weekday = int;

struct LocalDateTime {
  int year = 0;
  int month = 0;   // 1-12
  int day = 0;     // 1-31
  int hour = 0;    // 0-23
  int minute = 0;  // 0-59
  double second = 0;
};

struct DateInterval {
  Instant start;
  Instant end;  // exclusive
};

class Calendar {
 public:
  // The zone named by an IANA identifier; none when the tz database does not know it.
  static std::optional<Calendar> named(std::string_view zoneName, Weekday firstWeekday = 2);
  // The session's zone: $TZ when it names a known zone, else /etc/localtime, else UTC; the first
  // weekday from the locale's conventions.
  static Calendar current();

  const std::string& zoneName() const;
  Weekday firstWeekday() const { return firstWeekday_; }

  // Switches zone in place (after a time-zone change); false when the name is unknown.
  bool setZone(std::string_view zoneName);
  void setFirstWeekday(Weekday weekday);

  // The first instant of the local day containing `at`. Where midnight does not exist (a
  // daylight-saving jump at 00:00) the day starts at the jump.
  Instant startOfDay(Instant at) const;
  // The start of the following day: startOfDay(startOfDay(at) + 36 h).
  Instant nextMidnight(Instant at) const;
  bool isSameDay(Instant a, Instant b) const;
  // "yyyy-MM-dd" of the local day containing `at`.
  std::string dayKey(Instant at) const;
  // `at` moved by `days` calendar days keeping the local wall-clock time; a wall time that the
  // target day skips is moved forward by the length of the gap, an ambiguous one takes the
  // earlier instant.
  Instant addDays(Instant at, int days) const;
  // The week (first weekday 00:00 to the next) containing `at`.
  DateInterval weekInterval(Instant at) const;
  // The local day containing `at`.
  DateInterval dayInterval(Instant at) const;
  int hourOfDay(Instant at) const;
  // The zone's offset from UTC at `at`, in seconds (east positive).
  int utcOffsetSeconds(Instant at) const;
  // 1 = Sunday ... 7 = Saturday.
  Weekday weekday(Instant at) const;
  LocalDateTime local(Instant at) const;
  // The instant of a local wall time (same rules for skipped and repeated times as addDays).
  Instant instant(const LocalDateTime& local) const;
  // `hour`:`minute` on the local day containing `day` (a skipped time moves forward by the
  // gap, a repeated one takes its earlier instant).
  Instant atTimeOfDay(Instant day, int hour, int minute = 0) const;
  // The start of the local day named by a "yyyy-MM-dd" key; none for a malformed key.
  std::optional<Instant> startOfDayKey(std::string_view dayKey) const;

 private:
  Calendar(const date::time_zone* zone, Weekday firstWeekday);

  const date::time_zone* zone_;
  Weekday firstWeekday_;
};

// The first weekday of a locale such as "de_DE" or "en_US" (1 = Sunday).
Weekday firstWeekdayForLocale(std::string_view localeName);

}  // namespace velto
