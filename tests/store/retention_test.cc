#include "store/retention.h"

#include <gtest/gtest.h>

#include "settings/settings_keys.h"
#include "store_fixture.h"
#include "test_support/log_capture.h"

namespace velto {
namespace {

using testing::at;
using testing::LogCapture;
using testing::StoreTest;

class RetentionTest : public StoreTest {
 protected:
  explicit RetentionTest(const char* zone = "UTC") : StoreTest(zone) {}
  Settings settings{dir / "settings.json", bus};
};

TEST_F(RetentionTest, PurgeRemovesWholeRowsThatStartedBeforeTheCutOff) {
  // Now is 2026-11-21 12:00; seven days back is 2026-11-14 12:00.
  add("gone-whole", "2026-11-14T11:59:59Z", "2026-11-14T12:30:00Z");
  add("kept-at-cutoff", "2026-11-14T12:00:00Z", "2026-11-14T12:10:00Z");
  add("kept-recent", "2026-11-20T09:00:00Z", "2026-11-20T10:00:00Z");
  add("gone-old", "2026-10-01T09:00:00Z", "2026-10-01T10:00:00Z");
  changes = 0;
  LogCapture logs;
  EXPECT_EQ(store->purge(7, at("2026-11-21T12:00:00Z")).value(), 2);
  EXPECT_EQ(logs.lines, (std::vector<std::string>{"Purged 2 segments older than 7 days"}));
  EXPECT_EQ(changes, 1);
  std::vector<std::string> left;
  for (const Segment& row : all()) left.push_back(row.bundleId);
  EXPECT_EQ(left, (std::vector<std::string>{"kept-at-cutoff", "kept-recent"}));
}

TEST_F(RetentionTest, APurgeThatFindsNothingIsSilent) {
  add("recent", "2026-11-20T09:00:00Z", "2026-11-20T10:00:00Z");
  changes = 0;
  LogCapture logs;
  EXPECT_EQ(store->purge(90, at("2026-11-21T12:00:00Z")).value(), 0);
  EXPECT_TRUE(logs.lines.empty());
  EXPECT_EQ(changes, 0);
}

TEST_F(RetentionTest, SettingsDecideTheDays) {
  struct Case {
    const char* what;
    std::function<void(Settings&)> set;
    std::vector<std::string> left;
  };
  const Case cases[] = {
      {"default 90", [](Settings&) {}, {"day-80"}},
      {"zero reads 90", [](Settings& s) { s.setRetentionDays(0); }, {"day-80"}},
      {"negative reads 90", [](Settings& s) { s.setRetentionDays(-4); }, {"day-80"}},
      {"7 days", [](Settings& s) { s.setRetentionDays(7); }, {}},
      {"365 days", [](Settings& s) { s.setRetentionDays(365); }, {"day-200", "day-80"}},
      {"forever whatever the days",
       [](Settings& s) {
         s.setKeepHistoryForever(true);
         s.setRetentionDays(1);
       },
       {"day-1000", "day-200", "day-80"}},
  };
  const Instant now = at("2026-11-21T12:00:00Z");
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    std::filesystem::remove(dir / "settings.json");
    Settings fresh(dir / "settings.json", bus);
    ASSERT_TRUE(store->wipe());
    for (int daysAgo : {1000, 200, 80}) {
      const Instant start = calendar.addDays(now, -daysAgo);
      ASSERT_TRUE(
          store->insert({ActivityContext{"day-" + std::to_string(daysAgo), "x", {}, {}, {}, {}},
                         start, addSeconds(start, 60), SegmentEndReason::focusChange}));
    }
    c.set(fresh);
    LogCapture quiet;
    ASSERT_TRUE(purgeBySettings(fresh, *store, now));
    std::vector<std::string> left;
    for (const Segment& row : all()) left.push_back(row.bundleId);
    EXPECT_EQ(left, c.left);
  }
}

class BerlinRetentionTest : public RetentionTest {
 protected:
  BerlinRetentionTest() : RetentionTest("Europe/Berlin") {}
};

TEST_F(BerlinRetentionTest, TheCutOffKeepsTheWallClockTimeAcrossDaylightSaving) {
  // Now: Monday 2026-03-30 10:00 CEST. Seven calendar days back: 2026-03-23 10:00 CET = 09:00Z,
  // one hour later in absolute time than 7 × 24 hours back (08:00Z).
  add("gone", "2026-03-23T08:59:59Z", "2026-03-23T09:30:00Z");
  add("kept", "2026-03-23T09:00:00Z", "2026-03-23T09:30:00Z");
  add("kept-too", "2026-03-23T08:30:00.5Z", "2026-03-23T08:40:00Z");
  LogCapture quiet;
  EXPECT_EQ(store->purge(7, at("2026-03-30T08:00:00Z")).value(), 2);
  ASSERT_EQ(all().size(), 1u);
  EXPECT_EQ(all()[0].bundleId, "kept");
}

TEST_F(RetentionTest, ChoosingAShorterPeriodPurgesAtOnceAndForeverStoresAYear) {
  const Instant now = at("2026-11-21T12:00:00Z");
  add("day-40", "2026-10-12T12:00:00Z", "2026-10-12T13:00:00Z");
  add("day-10", "2026-11-11T12:00:00Z", "2026-11-11T13:00:00Z");

  ASSERT_TRUE(applyRetentionChoice(settings, *store, Retention{}, now));
  EXPECT_TRUE(settings.retention().forever());
  EXPECT_EQ(settings.json(keys::kRetentionDays), nlohmann::json(365));
  EXPECT_EQ(store->count().value(), 2);

  LogCapture logs;
  EXPECT_EQ(applyRetentionChoice(settings, *store, Retention{30}, now).value(), 1);
  EXPECT_EQ(settings.retention(), Retention{30});
  EXPECT_EQ(logs.lines, (std::vector<std::string>{"Purged 1 segments older than 30 days"}));

  // Longer again: nothing to purge, nothing logged.
  logs.lines.clear();
  EXPECT_EQ(applyRetentionChoice(settings, *store, Retention{365}, now).value(), 0);
  EXPECT_TRUE(logs.lines.empty());
  EXPECT_EQ(store->count().value(), 1);
}

TEST_F(RetentionTest, ChangingTheSettingFromAnywhereRunsThePurge) {
  FixedClock clock(at("2026-11-21T12:00:00Z"));
  RetentionPurge purge(settings, *store, clock, bus);
  add("day-10", "2026-11-11T12:00:00Z", "2026-11-11T13:00:00Z");
  LogCapture quiet;
  settings.setRetentionDays(7);
  EXPECT_EQ(store->count().value(), 0);
}

}  // namespace
}  // namespace velto
