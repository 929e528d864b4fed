#include "reports/report_period.h"

#include <gtest/gtest.h>

#include "base/strings.h"
#include "test_support/time_helpers.h"

namespace velto {
namespace {

using testing::at;

TEST(ReportPeriodTest, MoversNeedFiveMinutesAndFivePercent) {
  struct Case {
    double previousMinutes;
    double currentMinutes;
    bool mover;
  };
  const Case cases[] = {
      {10, 14, false},    // +240 s
      {100, 106, true},   // +360 s, 6%
      {200, 206, false},  // +360 s, 3%
      {0, 5, true},       // new with 5 minutes
      {0, 4, false},      // new with 4 minutes
      {30, 0, true},      // gone
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::to_string(c.previousMinutes) + " -> " + std::to_string(c.currentMinutes));
    EXPECT_EQ(isMover(c.currentMinutes * 60, c.previousMinutes * 60), c.mover);
  }
}

TEST(ReportPeriodTest, MoversAreOrderedByChangeWithRoundedPercentages) {
  const std::vector<TrendRow> rows = {{"small", "Small", 6360, 6000},
                                      {"new", "New", 900, 0},
                                      {"steady", "Steady", 100, 100},
                                      {"drop", "Drop", 3000, 3900},
                                      {"tie", "Tie", 1800, 900}};
  const std::vector<Mover> found = movers(rows);
  ASSERT_EQ(found.size(), 4u);
  EXPECT_EQ(found[0].row.key, "new");  // 900, first of the two equal changes
  EXPECT_EQ(found[1].row.key, "drop");
  EXPECT_EQ(found[2].row.key, "tie");
  EXPECT_EQ(found[3].row.key, "small");
  EXPECT_FALSE(found[0].percent);
  EXPECT_EQ(found[1].percent, -23);  // -900 / 3900 = -23.08%
  EXPECT_EQ(found[2].percent, 100);
  EXPECT_EQ(found[3].percent, 6);
}

TEST(ReportPeriodTest, TrendTextsWhenNothingMoves) {
  EXPECT_EQ(trendsText(false, 0, "en"),
            "Nothing was recorded in the period before this one, so there is nothing to compare "
            "against yet.");
  EXPECT_EQ(trendsText(false, 60, "en"),
            "Nothing moved much. This period looks like the one before it.");
  EXPECT_FALSE(trendsText(true, 60, "en"));
}

TEST(ReportPeriodTest, FocusMixInPoints) {
  const FocusSplit previous{40.6, 59.4, 0};
  EXPECT_EQ(focusMixPoints({41.4, 58.6, 0}, previous), 1);
  EXPECT_EQ(focusMixPoints({40.4, 59.6, 0}, previous), 0);
  EXPECT_EQ(focusMixPoints({30, 70, 0}, previous), -11);
  EXPECT_FALSE(focusMixPoints({30, 70, 0}, {}));
  EXPECT_EQ(focusMixText(0, "en"), "About as focused as the period before.");
  EXPECT_EQ(focusMixText(1, "en"), "1 points more focused than the period before.");
  EXPECT_EQ(focusMixText(-11, "en"), "11 points less focused than the period before.");
}

TEST(ReportPeriodTest, ComparesWithTheEarlierPeriodByThisPoint) {
  const Calendar calendar = *Calendar::named("UTC", 2);
  const Instant now = at("2026-11-21T15:30:00Z");  // a Saturday
  struct Case {
    ReportPeriod period;
    const char* start;
    const char* end;
    const char* name;
  };
  const Case cases[] = {
      {periodContaining(PeriodKind::day, now, calendar, now), "2026-11-20T00:00:00Z",
       "2026-11-20T15:30:00Z", "yesterday by this time"},
      {periodContaining(PeriodKind::week, now, calendar, now), "2026-11-09T00:00:00Z",
       "2026-11-14T15:30:00Z", "last week by this point"},
      {periodContaining(PeriodKind::month, now, calendar, now), "2026-10-01T00:00:00Z",
       "2026-10-21T15:30:00Z", "last month by this point"},
      {periodContaining(PeriodKind::year, now, calendar, now), "2025-01-01T00:00:00Z",
       "2025-11-21T15:30:00Z", "last year by this point"},
      {periodContaining(PeriodKind::day, at("2026-11-19T08:00:00Z"), calendar, now),
       "2026-11-18T00:00:00Z", "2026-11-19T00:00:00Z", "the day before"},
      {periodContaining(PeriodKind::month, at("2026-03-10T08:00:00Z"), calendar, now),
       "2026-02-01T00:00:00Z", "2026-03-01T00:00:00Z", "the month before"},
      {customPeriod(at("2026-11-01T08:00:00Z"), at("2026-11-10T08:00:00Z"), calendar, now),
       "2026-10-22T00:00:00Z", "2026-11-01T00:00:00Z", "the same number of days before"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const ComparisonPeriod comparison = comparisonFor(c.period, calendar, now);
    EXPECT_EQ(comparison.interval.start, at(c.start));
    EXPECT_EQ(comparison.interval.end, at(c.end));
    EXPECT_EQ(i18n::text("en", comparison.nameKey), c.name);
  }
}

TEST(ReportPeriodTest, PeriodsFollowTheLocalCalendar) {
  const Calendar berlin = *Calendar::named("Europe/Berlin", 2);
  const Instant now = at("2026-11-21T15:30:00Z");
  // The day Berlin leaves summer time has 25 hours.
  const ReportPeriod autumn =
      periodContaining(PeriodKind::day, at("2026-10-25T12:00:00Z"), berlin, now);
  EXPECT_EQ(autumn.interval.end - autumn.interval.start, std::chrono::hours(25));
  EXPECT_FALSE(autumn.inProgress);
  EXPECT_EQ(periodLabel(autumn, berlin, "en"), "2026-10-25");

  const ReportPeriod today = periodContaining(PeriodKind::day, now, berlin, now);
  EXPECT_TRUE(today.inProgress);
  EXPECT_EQ(periodLabel(today, berlin, "en"), "Today");
  EXPECT_EQ(countedInterval(today, now).end, now);

  const ReportPeriod last7 = presetPeriod(RangePreset::last7, berlin, now);
  EXPECT_EQ(last7.interval.start, at("2026-11-14T23:00:00Z"));
  EXPECT_EQ(last7.interval.end, at("2026-11-21T23:00:00Z"));
  EXPECT_EQ(periodLabel(last7, berlin, "en"), "2026-11-15 \u2013 2026-11-21");
  EXPECT_TRUE(presetPeriod(RangePreset::last12Months, berlin, now).monthBuckets());
  EXPECT_EQ(
      periodLabel(periodContaining(PeriodKind::month, at("2026-02-10T12:00:00Z"), berlin, now),
                  berlin, "en"),
      "2026-02");
}

}  // namespace
}  // namespace velto
