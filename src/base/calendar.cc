#include "base/calendar.h"

#include <date/tz.h>
#include <unicode/calendar.h>
#include <unicode/locid.h>

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "base/log.h"

namespace velto {

namespace {

using LocalTime = date::local_time<Microseconds>;

const date::time_zone* findZone(std::string_view name) {
  if (name.empty()) return nullptr;
  try {
    return date::locate_zone(name);
  } catch (const std::exception&) {
    return nullptr;
  }
}

const date::time_zone* utcZone() {
  static const date::time_zone* utc = [] {
    if (const date::time_zone* zone = findZone("Etc/UTC")) return zone;
    return findZone("UTC");
  }();
  return utc;
}

const date::time_zone* sessionZone() {
  if (const char* tz = std::getenv("TZ"); tz != nullptr && *tz != '\0') {
    std::string_view name = tz;
    if (name.front() == ':') name.remove_prefix(1);
    if (const date::time_zone* zone = findZone(name)) return zone;
  }
  try {
    return date::current_zone();
  } catch (const std::exception& e) {
    log::error("Could not read the time zone, using UTC: %{public}s", e.what());
    return utcZone();
  }
}

std::string sessionLocaleName() {
  for (const char* variable : {"LC_ALL", "LC_TIME", "LANG"}) {
    if (const char* value = std::getenv(variable); value != nullptr && *value != '\0') {
      return value;
    }
  }
  return "";
}

}  // namespace

Weekday firstWeekdayForLocale(std::string_view localeName) {
  std::string name(localeName.substr(0, localeName.find_first_of(".@")));
  if (name.empty() || name == "C" || name == "POSIX") return 2;  // ISO weeks
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<icu::Calendar> calendar(
      icu::Calendar::createInstance(icu::Locale::createCanonical(name.c_str()), status));
  if (U_FAILURE(status) || !calendar) return 2;
  int first = calendar->getFirstDayOfWeek(status);
  if (U_FAILURE(status) || first < 1 || first > 7) return 2;
  return first;
}

Calendar::Calendar(const date::time_zone* zone, Weekday firstWeekday)
    : zone_(zone), firstWeekday_(firstWeekday) {}

std::optional<Calendar> Calendar::named(std::string_view zoneName, Weekday firstWeekday) {
  const date::time_zone* zone = findZone(zoneName);
  if (zone == nullptr) return std::nullopt;
  Calendar calendar(zone, 2);
  calendar.setFirstWeekday(firstWeekday);
  return calendar;
}

Calendar Calendar::current() {
  return Calendar(sessionZone(), firstWeekdayForLocale(sessionLocaleName()));
}

const std::string& Calendar::zoneName() const {
  return zone_->name();
}

bool Calendar::setZone(std::string_view zoneName) {
  const date::time_zone* zone = findZone(zoneName);
  if (zone == nullptr) return false;
  zone_ = zone;
  return true;
}

void Calendar::setFirstWeekday(Weekday weekday) {
  firstWeekday_ = (weekday >= 1 && weekday <= 7) ? weekday : 2;
}

namespace {

LocalTime toLocal(const date::time_zone* zone, Instant at) {
  return zone->to_local(at);
}

// Resolves a local time: a skipped time moves forward by the gap (it is read with the offset in
// force before the jump), a repeated time takes its earlier instant.
Instant resolve(const date::time_zone* zone, LocalTime local) {
  const date::local_info info = zone->get_info(date::floor<std::chrono::seconds>(local));
  return Instant(local.time_since_epoch() - info.first.offset);
}

}  // namespace

LocalDateTime Calendar::local(Instant at) const {
  const LocalTime local = toLocal(zone_, at);
  const auto day = date::floor<date::days>(local);
  const date::year_month_day ymd(day);
  const date::hh_mm_ss<Microseconds> time(local - day);
  LocalDateTime out;
  out.year = static_cast<int>(ymd.year());
  out.month = static_cast<int>(static_cast<unsigned>(ymd.month()));
  out.day = static_cast<int>(static_cast<unsigned>(ymd.day()));
  out.hour = static_cast<int>(time.hours().count());
  out.minute = static_cast<int>(time.minutes().count());
  out.second = static_cast<double>(time.seconds().count()) +
               std::chrono::duration<double>(time.subseconds()).count();
  return out;
}

Instant Calendar::instant(const LocalDateTime& local) const {
  const date::year_month_day ymd(date::year(local.year), date::month(local.month),
                                 date::day(local.day));
  LocalTime time = LocalTime(date::local_days(ymd).time_since_epoch()) +
                   std::chrono::hours(local.hour) + std::chrono::minutes(local.minute) +
                   Microseconds(static_cast<Microseconds::rep>(std::llround(local.second * 1e6)));
  return resolve(zone_, time);
}

Instant Calendar::startOfDay(Instant at) const {
  const auto day = date::floor<date::days>(toLocal(zone_, at));
  return resolve(zone_, LocalTime(day.time_since_epoch()));
}

Instant Calendar::nextMidnight(Instant at) const {
  return startOfDay(startOfDay(at) + std::chrono::hours(36));
}

bool Calendar::isSameDay(Instant a, Instant b) const {
  return date::floor<date::days>(toLocal(zone_, a)) == date::floor<date::days>(toLocal(zone_, b));
}

std::string Calendar::dayKey(Instant at) const {
  const LocalDateTime l = local(at);
  char buffer[16];
  std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02d", l.year, l.month, l.day);
  return buffer;
}

Instant Calendar::addDays(Instant at, int days) const {
  return resolve(zone_, toLocal(zone_, at) + date::days(days));
}

DateInterval Calendar::dayInterval(Instant at) const {
  return {startOfDay(at), nextMidnight(at)};
}

Weekday Calendar::weekday(Instant at) const {
  const auto day = date::floor<date::days>(toLocal(zone_, at));
  return static_cast<Weekday>(date::weekday(day).c_encoding()) + 1;
}

DateInterval Calendar::weekInterval(Instant at) const {
  const auto day = date::floor<date::days>(toLocal(zone_, at));
  const int back = (weekday(at) - firstWeekday_ + 7) % 7;
  const auto first = day - date::days(back);
  return {resolve(zone_, LocalTime(first.time_since_epoch())),
          resolve(zone_, LocalTime((first + date::days(7)).time_since_epoch()))};
}

Instant Calendar::atTimeOfDay(Instant day, int hour, int minute) const {
  LocalDateTime time = local(startOfDay(day));
  time.hour = hour;
  time.minute = minute;
  time.second = 0;
  return instant(time);
}

int Calendar::hourOfDay(Instant at) const {
  return local(at).hour;
}

int Calendar::utcOffsetSeconds(Instant at) const {
  return static_cast<int>(zone_->get_info(date::floor<std::chrono::seconds>(at)).offset.count());
}

std::optional<Instant> Calendar::startOfDayKey(std::string_view key) const {
  if (key.size() != 10 || key[4] != '-' || key[7] != '-') return std::nullopt;
  int year = 0;
  int month = 0;
  int day = 0;
  auto parse = [&](size_t from, size_t length, int& out) {
    const char* begin = key.data() + from;
    auto [end, error] = std::from_chars(begin, begin + length, out);
    return error == std::errc() && end == begin + length;
  };
  if (!parse(0, 4, year) || !parse(5, 2, month) || !parse(8, 2, day)) return std::nullopt;
  const date::year_month_day ymd(date::year(year), date::month(static_cast<unsigned>(month)),
                                 date::day(static_cast<unsigned>(day)));
  if (!ymd.ok()) return std::nullopt;
  return resolve(zone_, LocalTime(date::local_days(ymd).time_since_epoch()));
}

}  // namespace velto
