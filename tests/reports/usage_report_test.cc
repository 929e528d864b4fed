#include "reports/usage_report.h"

#include <gtest/gtest.h>

#include "base/manual_scheduler.h"
#include "base/notices.h"
#include "reports/report_json.h"
#include "store/store_fixture.h"

namespace velto {
namespace {

using testing::at;

class UsageReportTest : public testing::StoreTest {
 protected:
  UsageReportTest() {
    report = std::make_unique<UsageReport>(UsageReport::Services{
        *store, calendar, scheduler, scheduler, bus, [this] { return resolver; },
        CategoryDirectory::builtIn("en"), [this] { return live; }, "en"});
    report->onChange = [this] { ++recomputes; };
  }

  ManualScheduler scheduler{at("2026-11-20T10:00:00Z")};
  std::shared_ptr<const CategoryResolver> resolver = std::make_shared<CategoryResolver>();
  std::optional<LiveSlice> live;
  std::unique_ptr<UsageReport> report;
  int recomputes = 0;
};

TEST_F(UsageReportTest, FollowsTheStoreUnlessReloadsAreHeld) {
  EXPECT_EQ(report->figures().totalSeconds, 0);
  EXPECT_EQ(report->figures().label, "Today");
  add("code", "2026-11-20T08:00:00Z", "2026-11-20T09:00:00Z");
  EXPECT_EQ(report->figures().totalSeconds, 3600);

  report->setHoldsReload(true);
  add("code", "2026-11-20T09:00:00Z", "2026-11-20T09:30:00Z");
  EXPECT_TRUE(report->reloadPending());
  EXPECT_TRUE(report->isStale());
  EXPECT_EQ(report->figures().totalSeconds, 3600);
  report->setHoldsReload(false);
  EXPECT_FALSE(report->reloadPending());
  EXPECT_EQ(report->figures().totalSeconds, 5400);

  report->setFollowsStore(false);
  const int before = recomputes;
  add("code", "2026-11-20T09:30:00Z", "2026-11-20T09:40:00Z");
  EXPECT_EQ(recomputes, before);
}

TEST_F(UsageReportTest, TheRunningSegmentCountsUpToNowOnEachTick) {
  live = LiveSlice{{"code", "Code", {}, {}, {}, {}}, at("2026-11-20T09:59:00Z")};
  scheduler.advanceBy(60);
  EXPECT_EQ(report->figures().totalSeconds, 120);
  EXPECT_TRUE(report->figures().liveSegmentID);
  ASSERT_EQ(report->figures().blocks.size(), 1u);
  scheduler.advanceBy(60);
  EXPECT_EQ(report->figures().totalSeconds, 180);
}

TEST_F(UsageReportTest, MovesToTheNewDayAtMidnight) {
  add("code", "2026-11-20T08:00:00Z", "2026-11-20T09:00:00Z");
  scheduler.advanceTo(at("2026-11-21T00:00:01Z"));
  const UsageFigures& figures = report->figures();
  EXPECT_EQ(figures.period.interval.start, at("2026-11-21T00:00:00Z"));
  EXPECT_EQ(figures.totalSeconds, 0);
  EXPECT_EQ(figures.comparisonName, "yesterday by this time");
  EXPECT_EQ(figures.previousTotalSeconds, 0);  // nothing before 00:00:01 yesterday

  report->showPeriod(PeriodKind::day, at("2026-11-20T12:00:00Z"));
  EXPECT_EQ(report->figures().totalSeconds, 3600);
  EXPECT_EQ(report->figures().comparisonName, "the day before");
  EXPECT_EQ(report->figures().trendsText,
            "Nothing was recorded in the period before this one, so there is nothing to compare "
            "against yet.");
  const nlohmann::json json = reportJson(report->figures(), calendar);
  EXPECT_EQ(json["period"]["kind"], "day");
  EXPECT_EQ(json["period"]["start"], "2026-11-20T00:00:00+00:00");
  EXPECT_EQ(json["byApp"][0]["bundleId"], "code");
  EXPECT_EQ(json["hourly"][8], 3600);
  EXPECT_EQ(json["movers"]["apps"][0]["key"], "code");
  EXPECT_TRUE(json["movers"]["apps"][0]["percent"].is_null());
  EXPECT_TRUE(json["focusMix"].is_null());
}

TEST_F(UsageReportTest, YearsHaveMonthBucketsAndRangesNameTheirComparison) {
  add("code", "2026-11-20T08:00:00Z", "2026-11-20T09:00:00Z");  // a Friday
  add("code", "2026-03-02T08:30:00Z", "2026-03-02T08:45:00Z");
  report->showPeriod(PeriodKind::year, at("2026-06-01T12:00:00Z"));
  const UsageFigures& year = report->figures();
  EXPECT_EQ(year.label, "This year");
  ASSERT_EQ(year.buckets.size(), 12u);
  EXPECT_EQ(year.buckets[2].date, "2026-03");
  EXPECT_EQ(year.buckets[2].seconds, 900);
  EXPECT_EQ(year.buckets[10].seconds, 3600);
  EXPECT_EQ(year.weekdayHourly[5][8], 3600);  // Friday, 08:00
  EXPECT_EQ(year.weekdayHourly[1][8], 900);   // Monday

  report->showCustomRange(at("2026-11-16T12:00:00Z"), at("2026-11-20T12:00:00Z"));
  const UsageFigures& range = report->figures();
  EXPECT_EQ(range.period.kind, PeriodKind::custom);
  EXPECT_EQ(range.buckets.size(), 5u);
  EXPECT_EQ(range.comparisonText,
            "Compared with 2026-11-11 \u2013 2026-11-15, the same number of days before.");
}

TEST_F(UsageReportTest, WipeAndRuleChangesReload) {
  add("code", "2026-11-20T08:00:00Z", "2026-11-20T09:00:00Z");
  ASSERT_TRUE(store->wipe());
  EXPECT_EQ(report->figures().totalSeconds, 0);
  const int before = recomputes;
  bus.post(notices::kCategoryRulesDidChange);
  EXPECT_EQ(recomputes, before + 1);
}

}  // namespace
}  // namespace velto
