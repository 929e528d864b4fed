#include "base/calendar.h"

#include <gtest/gtest.h>

#include "test_support/time_helpers.h"

namespace velto {
namespace {

using testing::at;

TEST(CalendarTest, StartOfDayAndNextMidnightAcrossDaylightSaving) {
  struct Case {
    const char* zone;
    const char* when;          // UTC instant
    const char* startOfDay;    // UTC instant
    const char* nextMidnight;  // UTC instant
    double dayLengthHours;
  };
  const Case cases[] = {
      // Berlin spring forward on 2026-03-29: a 23-hour day.
      {"Europe/Berlin", "2026-03-29T12:00:00Z", "2026-03-28T23:00:00Z", "2026-03-29T22:00:00Z", 23},
      // Berlin fall back on 2026-10-25: a 25-hour day.
      {"Europe/Berlin", "2026-10-25T12:00:00Z", "2026-10-24T22:00:00Z", "2026-10-25T23:00:00Z", 25},
      // New York spring forward on 2026-03-08 and fall back on 2026-11-01.
      {"America/New_York", "2026-03-08T15:00:00Z", "2026-03-08T05:00:00Z", "2026-03-09T04:00:00Z",
       23},
      {"America/New_York", "2026-11-01T15:00:00Z", "2026-11-01T04:00:00Z", "2026-11-02T05:00:00Z",
       25},
      // Santiago skips midnight on 2026-09-06: the day begins at 01:00 local.
      {"America/Santiago", "2026-09-06T12:00:00Z", "2026-09-06T04:00:00Z", "2026-09-07T03:00:00Z",
       23},
      {"UTC", "2026-11-21T23:59:59Z", "2026-11-21T00:00:00Z", "2026-11-22T00:00:00Z", 24},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.zone) + " " + c.when);
    const Calendar calendar = *Calendar::named(c.zone);
    EXPECT_EQ(calendar.startOfDay(at(c.when)), at(c.startOfDay));
    EXPECT_EQ(calendar.nextMidnight(at(c.when)), at(c.nextMidnight));
    EXPECT_DOUBLE_EQ(secondsBetween(at(c.startOfDay), at(c.nextMidnight)), c.dayLengthHours * 3600);
  }
}

TEST(CalendarTest, DayKeysFollowTheZone) {
  const Calendar tokyo = *Calendar::named("Asia/Tokyo");
  const Calendar la = *Calendar::named("America/Los_Angeles");
  EXPECT_EQ(tokyo.dayKey(at("2026-11-21T16:00:00Z")), "2026-11-22");
  EXPECT_EQ(la.dayKey(at("2026-11-21T16:00:00Z")), "2026-11-21");
  EXPECT_TRUE(tokyo.isSameDay(at("2026-11-21T15:00:00Z"), at("2026-11-22T14:59:59Z")));
  EXPECT_FALSE(tokyo.isSameDay(at("2026-11-21T14:59:59Z"), at("2026-11-21T15:00:00Z")));
  EXPECT_EQ(tokyo.startOfDayKey("2026-11-22"), at("2026-11-21T15:00:00Z"));
  for (const char* bad : {"2026-02-30", "2026-1-01", "20261101", "2026-11-01x", ""}) {
    EXPECT_EQ(tokyo.startOfDayKey(bad), std::nullopt) << bad;
  }
}

TEST(CalendarTest, AddDaysKeepsWallClockTime) {
  const Calendar berlin = *Calendar::named("Europe/Berlin");
  // 09:30 CET on Saturday -> 09:30 CEST on Sunday: 23 hours later.
  EXPECT_EQ(berlin.addDays(at("2026-03-28T08:30:00Z"), 1), at("2026-03-29T07:30:00Z"));
  // 02:30 does not exist on 2026-03-29: moved forward by the gap to 03:30 CEST.
  EXPECT_EQ(berlin.addDays(at("2026-03-28T01:30:00Z"), 1), at("2026-03-29T01:30:00Z"));
  // 02:30 happens twice on 2026-10-25: the earlier one (CEST).
  EXPECT_EQ(berlin.addDays(at("2026-10-24T00:30:00Z"), 1), at("2026-10-25T00:30:00Z"));
  EXPECT_EQ(berlin.addDays(at("2026-11-21T10:00:00Z"), -21), at("2026-10-31T10:00:00Z"));
}

TEST(CalendarTest, TimeOfDayOnDaylightSavingDays) {
  const Calendar berlin = *Calendar::named("Europe/Berlin");
  EXPECT_EQ(berlin.atTimeOfDay(at("2026-11-21T12:00:00Z"), 18), at("2026-11-21T17:00:00Z"));
  // 02:00 is skipped on 2026-03-29: the next existing time, 03:00 CEST.
  EXPECT_EQ(berlin.atTimeOfDay(at("2026-03-29T12:00:00Z"), 2), at("2026-03-29T01:00:00Z"));
  // 02:00 happens twice on 2026-10-25: the first.
  EXPECT_EQ(berlin.atTimeOfDay(at("2026-10-25T12:00:00Z"), 2, 30), at("2026-10-25T00:30:00Z"));
}

TEST(CalendarTest, WeekIntervalHonoursFirstWeekday) {
  // 2026-11-21 is a Saturday.
  const Calendar monday = *Calendar::named("Europe/Berlin", 2);
  const Calendar sunday = *Calendar::named("Europe/Berlin", 1);
  const Instant saturday = at("2026-11-21T12:00:00Z");
  EXPECT_EQ(monday.weekday(saturday), 7);
  EXPECT_EQ(monday.weekInterval(saturday).start, at("2026-11-15T23:00:00Z"));
  EXPECT_EQ(monday.weekInterval(saturday).end, at("2026-11-22T23:00:00Z"));
  EXPECT_EQ(sunday.weekInterval(saturday).start, at("2026-11-14T23:00:00Z"));
  // The week holding the autumn change is 7 days and one hour long.
  const DateInterval week = monday.weekInterval(at("2026-10-25T12:00:00Z"));
  EXPECT_DOUBLE_EQ(secondsBetween(week.start, week.end), 7 * 86400 + 3600);
}

TEST(CalendarTest, LocalPartsAndUnknownZones) {
  const Calendar ny = *Calendar::named("America/New_York");
  EXPECT_EQ(ny.hourOfDay(at("2026-11-21T04:59:00Z")), 23);
  const LocalDateTime local = ny.local(at("2026-07-04T16:05:30Z"));
  EXPECT_EQ(local.year, 2026);
  EXPECT_EQ(local.month, 7);
  EXPECT_EQ(local.day, 4);
  EXPECT_EQ(local.hour, 12);
  EXPECT_EQ(local.minute, 5);
  EXPECT_DOUBLE_EQ(local.second, 30);
  EXPECT_EQ(ny.instant(local), at("2026-07-04T16:05:30Z"));
  EXPECT_FALSE(Calendar::named("Mars/Olympus_Mons").has_value());
  Calendar c = ny;
  EXPECT_FALSE(c.setZone("Nowhere/Else"));
  EXPECT_EQ(c.zoneName(), "America/New_York");
  EXPECT_TRUE(c.setZone("Asia/Kolkata"));
  EXPECT_EQ(c.hourOfDay(at("2026-11-21T00:00:00Z")), 5);
}

TEST(CalendarTest, FirstWeekdayFromLocale) {
  EXPECT_EQ(firstWeekdayForLocale("en_US.UTF-8"), 1);
  EXPECT_EQ(firstWeekdayForLocale("de_DE.UTF-8"), 2);
  EXPECT_EQ(firstWeekdayForLocale("tr_TR"), 2);
  EXPECT_EQ(firstWeekdayForLocale("C"), 2);
  EXPECT_EQ(firstWeekdayForLocale(""), 2);
}

}  // namespace
}  // namespace velto
