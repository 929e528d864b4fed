#include "reports/usage_rollup.h"

#include <gtest/gtest.h>

#include "reports/day_summary.h"
#include "test_support/segment_rows.h"
#include "test_support/time_helpers.h"

namespace velto {
namespace {

using testing::at;
using testing::storedRow;

const Calendar& utc() {
  static const Calendar calendar = *Calendar::named("UTC");
  return calendar;
}

TEST(UsageRollupTest, BlocksJoinAcrossGapsOfAtMostSixtySeconds) {
  struct Case {
    const char* secondStart;
    const char* secondApp;
    const char* secondTitle;
    size_t blocks;
  };
  const Case cases[] = {
      {"2026-11-20T10:11:00Z", "code", "notes", 1},  // 60 s apart
      {"2026-11-20T10:11:01Z", "code", "notes", 2},  // 61 s apart
      {"2026-11-20T10:05:00Z", "code", "notes", 1},  // overlapping
      {"2026-11-20T10:10:30Z", "code", "other", 2},  // another label
      {"2026-11-20T10:10:30Z", "slack", "notes", 2},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.secondStart);
    const std::vector<Segment> rows = {
        storedRow("code", "2026-11-20T10:00:00Z", "2026-11-20T10:10:00Z", "notes"),
        storedRow(c.secondApp, c.secondStart, "2026-11-20T10:30:00Z", c.secondTitle)};
    const std::vector<TimelineBlock> blocks = UsageRollup::blocks(rows);
    ASSERT_EQ(blocks.size(), c.blocks);
    if (c.blocks == 1) {
      EXPECT_EQ(blocks[0].endedAt, at("2026-11-20T10:30:00Z"));
      EXPECT_EQ(blocks[0].segmentIDs, (std::vector<Uuid>{rows[0].id, rows[1].id}));
    }
  }
}

TEST(UsageRollupTest, TimelineSpanIsAtLeastAnHour) {
  const std::vector<Segment> rows = {
      storedRow("code", "2026-11-20T10:00:00Z", "2026-11-20T10:05:00Z")};
  const auto span = UsageRollup::timelineSpan(rows, at("2026-11-20T10:05:00Z"));
  ASSERT_TRUE(span);
  EXPECT_EQ(span->start, at("2026-11-20T10:00:00Z"));
  EXPECT_EQ(span->end, at("2026-11-20T11:00:00Z"));
  // Later than an hour: up to now.
  EXPECT_EQ(UsageRollup::timelineSpan(rows, at("2026-11-20T12:00:00Z")).value().end,
            at("2026-11-20T12:00:00Z"));
  EXPECT_FALSE(UsageRollup::timelineSpan({}, at("2026-11-20T12:00:00Z")));
}

TEST(UsageRollupTest, AFinishedDaysSpanEndsWithItsLastRow) {
  const std::vector<Segment> rows = {
      storedRow("code", "2026-11-20T08:00:00Z", "2026-11-20T12:00:00Z"),
      storedRow("slack", "2026-11-20T16:00:00Z", "2026-11-20T17:30:00Z"),
      storedRow("code", "2026-11-20T12:30:00Z", "2026-11-20T13:00:00Z")};
  const auto span = UsageRollup::timelineSpan(rows, std::nullopt);
  ASSERT_TRUE(span);
  EXPECT_EQ(span->start, at("2026-11-20T08:00:00Z"));
  EXPECT_EQ(span->end, at("2026-11-20T17:30:00Z"));
}

TEST(UsageRollupTest, MeaninglessTitlesNeverLabelABlock) {
  const std::vector<Segment> rows = {
      storedRow("org.gnome.TextEditor", "2026-11-20T08:00:00Z", "2026-11-20T08:10:00Z",
                "Untitled 3"),
      storedRow("org.gnome.TextEditor", "2026-11-20T08:10:00Z", "2026-11-20T08:20:00Z", "800×600"),
      storedRow("firefox", "2026-11-20T08:20:00Z", "2026-11-20T08:30:00Z", "New Tab"),
      storedRow("some.app", "2026-11-20T08:30:00Z", "2026-11-20T08:40:00Z", "Quarterly plan")};
  const std::vector<TimelineBlock> blocks = UsageRollup::blocks(rows);
  ASSERT_EQ(blocks.size(), 3u) << "the editor's two nameless windows are one stretch";
  EXPECT_EQ(blocks[0].label, "");
  EXPECT_EQ(blocks[0].endedAt, at("2026-11-20T08:20:00Z"));
  EXPECT_EQ(blocks[1].label, "");
  EXPECT_EQ(blocks[2].label, "Quarterly plan");
}

TEST(UsageRollupTest, DetailRowsHideScatteredWindowTitles) {
  // A browser's sites are shown even when there is only one.
  std::vector<Segment> browser = {
      storedRow("firefox", "2026-11-20T10:00:00Z", "2026-11-20T10:10:00Z", "x", "github.com")};
  auto rows = UsageRollup::detailRows(UsageRollup::contexts(browser), "firefox");
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0].key, "github.com");
  EXPECT_EQ(rows[0].kind, ActivityDetailKind::site);

  // An unknown application: three titles holding 20% of its time show nothing...
  std::vector<Segment> generic = {
      storedRow("some.app", "2026-11-20T10:00:00Z", "2026-11-20T10:04:00Z", "Alpha"),
      storedRow("some.app", "2026-11-20T10:04:00Z", "2026-11-20T10:08:00Z", "Beta"),
      storedRow("some.app", "2026-11-20T10:08:00Z", "2026-11-20T10:12:00Z", "Gamma"),
      storedRow("some.app", "2026-11-20T10:12:00Z", "2026-11-20T11:00:00Z")};
  EXPECT_TRUE(UsageRollup::detailRows(UsageRollup::contexts(generic), "some.app").empty());
  // ... a single title neither...
  std::vector<Segment> single = {
      storedRow("some.app", "2026-11-20T10:00:00Z", "2026-11-20T11:00:00Z", "Alpha")};
  EXPECT_TRUE(UsageRollup::detailRows(UsageRollup::contexts(single), "some.app").empty());
  // ... and two holding a quarter do.
  generic[3].endedAt = at("2026-11-20T10:20:00Z");
  generic[3].seconds = 480;
  rows = UsageRollup::detailRows(UsageRollup::contexts(generic), "some.app");
  ASSERT_EQ(rows.size(), 3u);
  EXPECT_EQ(rows[0].seconds, 240);
}

TEST(UsageRollupTest, CurrentRunWalksBackOverTheSameApplication) {
  const std::vector<Segment> rows = {
      storedRow("code", "2026-11-20T09:00:00Z", "2026-11-20T09:30:00Z"),
      storedRow("slack", "2026-11-20T09:30:00Z", "2026-11-20T09:30:05Z"),  // short, still a break
      storedRow("Code", "2026-11-20T09:30:05Z", "2026-11-20T09:50:00Z"),
      storedRow("code", "2026-11-20T09:50:30Z", "2026-11-20T10:00:00Z")};
  const Instant start = at("2026-11-20T10:00:40Z");
  const Instant now = at("2026-11-20T10:05:40Z");
  EXPECT_DOUBLE_EQ(UsageRollup::currentRun(rows, "code", start, now), 300 + 570 + 1195);
  EXPECT_DOUBLE_EQ(UsageRollup::currentRun(rows, "slack", start, now), 300);
  // More than 60 s since the newest row: only the running segment.
  EXPECT_DOUBLE_EQ(UsageRollup::currentRun(rows, "code", at("2026-11-20T10:01:01Z"), now), 279);
  EXPECT_EQ(UsageRollup::currentRun(rows, "", start, now), 0);
  EXPECT_EQ(UsageRollup::currentRun(rows, "code", now, start), 0);  // never negative
}

TEST(UsageRollupTest, ShapeCountsSwitchesSpanAndTheEarlierOfEqualStretches) {
  const std::vector<Segment> rows = {
      storedRow("a", "2026-11-20T08:00:00Z", "2026-11-20T08:40:00Z"),
      storedRow("a", "2026-11-20T09:00:00Z", "2026-11-20T09:10:00Z"),
      storedRow("b", "2026-11-20T09:10:00Z", "2026-11-20T09:50:00Z"),
      storedRow("a", "2026-11-20T09:50:00Z", "2026-11-20T10:00:00Z"),
      storedRow("b", "2026-11-21T08:00:00Z", "2026-11-21T08:40:00Z")};
  const ActivityShape shape = UsageRollup::shape(rows, utc());
  EXPECT_EQ(shape.switchCount, 3);
  EXPECT_EQ(shape.trackedSeconds, 140 * 60);
  EXPECT_EQ(shape.spanSeconds, (120 + 40) * 60);  // per day, first start to last end
  EXPECT_EQ(shape.longestFocusSeconds, 40 * 60);
  EXPECT_EQ(shape.longestFocusName, "a app");  // three 40-minute stretches: the first wins
  EXPECT_EQ(shape.firstActivity, at("2026-11-20T08:00:00Z"));
  EXPECT_EQ(shape.lastActivity, at("2026-11-21T08:40:00Z"));

  const std::vector<Segment> oneApp = {
      storedRow("a", "2026-11-20T08:00:00Z", "2026-11-20T08:40:00Z"),
      storedRow("a", "2026-11-20T10:00:00Z", "2026-11-20T10:40:00Z")};
  EXPECT_EQ(UsageRollup::shape(oneApp, utc()).switchCount, 0);
  EXPECT_EQ(UsageRollup::shape({}, utc()), ActivityShape{});
}

TEST(UsageRollupTest, DaySummariesJoinAStretchAcrossMidnight) {
  const std::vector<Segment> rows = {
      storedRow("a", "2026-11-20T22:00:00Z", "2026-11-20T23:00:00Z"),
      storedRow("b", "2026-11-20T23:00:00Z", "2026-11-20T23:59:30Z", "main.cc"),
      storedRow("b", "2026-11-21T00:00:00Z", "2026-11-21T01:30:00Z", "main.cc"),
      storedRow("b", "2026-11-21T01:30:00Z", "2026-11-21T01:40:00Z", "notes.md"),
      storedRow("a", "2026-11-21T01:40:00Z", "2026-11-21T02:00:00Z")};
  const std::vector<DaySummary> days = summarizeDays(rows, utc());
  ASSERT_EQ(days.size(), 2u);
  const ActivityShape shape = shapeOf(days);
  EXPECT_EQ(shape, UsageRollup::shape(rows, utc()));
  EXPECT_EQ(shape.longestFocusSeconds, 9000);  // 23:00 to 01:30 as one stretch
  EXPECT_EQ(shape.switchCount, 2);
  for (const DaySummary& day : days) EXPECT_EQ(DaySummary::decode(day.encode()), day);
}

TEST(UsageRollupTest, HoursSpreadOverTheLocalClock) {
  const std::array<double, 24> plain = UsageRollup::hourly(
      {{storedRow("a", "2026-11-20T10:40:00Z", "2026-11-20T11:20:00Z")}}, utc());
  EXPECT_EQ(plain[10], 1200);
  EXPECT_EQ(plain[11], 1200);

  // Berlin skips 02:00-03:00 on 2026-03-29: 01:30 to 03:30 local is one real hour.
  const Calendar berlin = *Calendar::named("Europe/Berlin");
  const std::array<double, 24> spring = UsageRollup::hourly(
      {{storedRow("a", "2026-03-29T00:30:00Z", "2026-03-29T01:30:00Z")}}, berlin);
  EXPECT_EQ(spring[1], 1800);
  EXPECT_EQ(spring[2], 0);
  EXPECT_EQ(spring[3], 1800);

  // India's half-hour offset: 10:40 UTC is 16:10 local.
  const Calendar kolkata = *Calendar::named("Asia/Kolkata");
  const std::array<double, 24> half = UsageRollup::hourly(
      {{storedRow("a", "2026-11-20T10:40:00Z", "2026-11-20T11:20:00Z")}}, kolkata);
  EXPECT_EQ(half[16], 2400);
}

TEST(UsageRollupTest, StraddlingRowsCountOnlyInsideThePeriod) {
  const std::vector<Segment> rows = {
      storedRow("a", "2026-11-19T23:50:00Z", "2026-11-20T00:20:00Z"),
      storedRow("b", "2026-11-20T23:30:00Z", "2026-11-21T00:30:00Z")};
  const std::vector<Segment> day =
      UsageRollup::clip(rows, {at("2026-11-20T00:00:00Z"), at("2026-11-21T00:00:00Z")});
  ASSERT_EQ(day.size(), 2u);
  EXPECT_EQ(day[0].seconds, 1200);
  EXPECT_EQ(day[0].startedAt, at("2026-11-20T00:00:00Z"));
  EXPECT_EQ(day[1].seconds, 1800);
  EXPECT_EQ(UsageRollup::atComputerSeconds(UsageRollup::contexts(day)), 3000);
}

TEST(UsageRollupTest, TimeAwayFromTheComputerIsKeptApart) {
  std::vector<Segment> rows = {
      storedRow("code", "2026-11-20T09:00:00Z", "2026-11-20T10:00:00Z", "main.cc - velto"),
      storedRow("firefox", "2026-11-20T10:00:00Z", "2026-11-20T10:30:00Z", "PR", "GitHub.com"),
      storedRow("firefox", "2026-11-20T10:30:00Z", "2026-11-20T10:40:00Z", "PR", "github.com"),
      storedRow("velto.offmac.meeting", "2026-11-20T11:00:00Z", "2026-11-20T12:00:00Z")};
  rows[3].appName = "Meeting";
  const std::vector<ContextTotal> contexts = UsageRollup::contexts(rows);
  const CategoryResolver resolver;
  const std::vector<AppUsage> apps = UsageRollup::byApp(contexts, resolver);
  ASSERT_EQ(apps.size(), 2u);
  EXPECT_EQ(apps[0].bundleId, "code");
  EXPECT_EQ(apps[1].count, 2);
  EXPECT_EQ(UsageRollup::atComputerSeconds(contexts), 6000);
  EXPECT_EQ(UsageRollup::offMacSeconds(contexts), 3600);
  const std::vector<OffMacUsage> away = UsageRollup::offMac(contexts);
  ASSERT_EQ(away.size(), 1u);
  EXPECT_EQ(away[0].label, "Meeting");
  const std::vector<SiteUsage> sites = UsageRollup::bySite(contexts);
  ASSERT_EQ(sites.size(), 1u);
  EXPECT_EQ(sites[0].host, "github.com");
  EXPECT_EQ(sites[0].seconds, 2400);
  const FocusSplit split =
      UsageRollup::focusSplit(contexts, resolver, CategoryDirectory::builtIn("en"));
  EXPECT_EQ(split, (FocusSplit{0, 6000, 0}));  // everything is "other" without rules
}

}  // namespace
}  // namespace velto
