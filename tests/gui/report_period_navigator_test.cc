#include "gui/report/report_period_navigator.h"

#include <gtest/gtest.h>

#include <functional>

#include "test_support/time_helpers.h"

namespace velto::gui {
namespace {

using testing::at;

Calendar berlin() {
  return *Calendar::named("Europe/Berlin");
}

std::string firstDay(const ReportPeriodNavigator& navigator, const Calendar& calendar,
                     Instant now) {
  return calendar.dayKey(navigator.period(now).interval.start);
}

std::string lastDay(const ReportPeriodNavigator& navigator, const Calendar& calendar, Instant now) {
  return calendar.dayKey(navigator.period(now).interval.end - std::chrono::hours(1));
}

struct StepCase {
  const char* name;
  PeriodKind kind;
  const char* anchor;  // UTC
  int steps;           // negative: previous
  const char* first;   // local day keys of the period reached
  const char* last;
};

TEST(ReportPeriodNavigatorTest, StepsLandOnWholeLocalPeriods) {
  const Calendar calendar = berlin();
  const Instant now = at("2026-11-21T09:00:00Z");
  const StepCase cases[] = {
      // Across the spring-forward night (23-hour day) and the fall-back night (25 hours).
      {"day back over spring forward", PeriodKind::day, "2026-03-30T10:00:00Z", -1, "2026-03-29",
       "2026-03-29"},
      {"two days back over spring forward", PeriodKind::day, "2026-03-30T10:00:00Z", -2,
       "2026-03-28", "2026-03-28"},
      // 00:30 local on the 25th: the anchor's day is the 25th, not the 24th of its UTC date.
      {"day forward over fall back", PeriodKind::day, "2026-10-24T22:30:00Z", 2, "2026-10-27",
       "2026-10-27"},
      {"late evening anchor stays on its local day", PeriodKind::day, "2026-10-25T22:30:00Z", -1,
       "2026-10-24", "2026-10-24"},
      {"week back over fall back", PeriodKind::week, "2026-10-28T12:00:00Z", -1, "2026-10-19",
       "2026-10-25"},
      {"month forward from the 31st", PeriodKind::month, "2026-01-31T12:00:00Z", 1, "2026-02-01",
       "2026-02-28"},
      {"month back from the 31st", PeriodKind::month, "2026-03-31T12:00:00Z", -1, "2026-02-01",
       "2026-02-28"},
      {"month back over the year end", PeriodKind::month, "2026-01-15T12:00:00Z", -1, "2025-12-01",
       "2025-12-31"},
      {"year back", PeriodKind::year, "2026-06-01T12:00:00Z", -1, "2025-01-01", "2025-12-31"},
  };
  for (const StepCase& c : cases) {
    SCOPED_TRACE(c.name);
    ReportPeriodNavigator navigator(calendar, now);
    navigator.show(c.kind, at(c.anchor));
    for (int i = 0; i < std::abs(c.steps); ++i) {
      if (c.steps < 0) {
        navigator.previous(now);
      } else {
        navigator.next(now);
      }
    }
    EXPECT_EQ(firstDay(navigator, calendar, now), c.first);
    EXPECT_EQ(lastDay(navigator, calendar, now), c.last);
  }
}

TEST(ReportPeriodNavigatorTest, NextStopsAtThePeriodContainingNow) {
  const Calendar calendar = berlin();
  const Instant now = at("2026-11-21T09:00:00Z");
  ReportPeriodNavigator navigator(calendar, now);
  EXPECT_FALSE(navigator.canGoNext(now));
  navigator.next(now);
  EXPECT_EQ(firstDay(navigator, calendar, now), "2026-11-21");
  EXPECT_TRUE(navigator.period(now).inProgress);

  navigator.previous(now);
  EXPECT_TRUE(navigator.canGoNext(now));
  navigator.show(PeriodKind::month, at("2026-09-10T12:00:00Z"));
  navigator.today(now);
  EXPECT_EQ(navigator.mode(), ReportPeriodNavigator::Mode::month);
  EXPECT_EQ(firstDay(navigator, calendar, now), "2026-11-01");
}

TEST(ReportPeriodNavigatorTest, PresetsAndRangesMoveByTheirOwnLength) {
  const Calendar calendar = berlin();
  const Instant now = at("2026-11-21T09:00:00Z");
  ReportPeriodNavigator navigator(calendar, now);
  navigator.showPreset(RangePreset::last7);
  EXPECT_EQ(firstDay(navigator, calendar, now), "2026-11-15");
  EXPECT_EQ(lastDay(navigator, calendar, now), "2026-11-21");
  EXPECT_FALSE(navigator.canGoNext(now));

  navigator.previous(now);
  EXPECT_EQ(navigator.mode(), ReportPeriodNavigator::Mode::custom);
  EXPECT_EQ(firstDay(navigator, calendar, now), "2026-11-08");
  EXPECT_EQ(lastDay(navigator, calendar, now), "2026-11-14");

  // A range over the fall-back night keeps its number of days.
  navigator.showRange(at("2026-10-28T12:00:00Z"), at("2026-10-24T12:00:00Z"));
  EXPECT_EQ(firstDay(navigator, calendar, now), "2026-10-24");
  navigator.next(now);
  EXPECT_EQ(firstDay(navigator, calendar, now), "2026-10-29");
  EXPECT_EQ(lastDay(navigator, calendar, now), "2026-11-02");

  navigator.today(now);
  EXPECT_EQ(firstDay(navigator, calendar, now), "2026-11-17");
  EXPECT_EQ(lastDay(navigator, calendar, now), "2026-11-21");
}

}  // namespace
}  // namespace velto::gui
