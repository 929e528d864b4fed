#include "app/service_set.h"

#include <gtest/gtest.h>

#include "base/manual_scheduler.h"
#include "recording/scripted_sources.h"
#include "test_support/log_capture.h"
#include "test_support/temp_dir.h"
#include "test_support/time_helpers.h"

namespace velto {
namespace {

using testing::at;

class ServiceSetTest : public ::testing::Test {
 protected:
  void make() {
    services = std::make_unique<ServiceSet>(
        Desktop{front, titles, idle, power, session, nullptr, nullptr, scheduler, scheduler},
        ServicePaths{dir / "settings.json", dir / "data", dir / "shared"},
        *Calendar::named("Europe/Berlin"));
  }

  testing::TempDir dir;
  testing::LogCapture logs;
  ManualScheduler scheduler{at("2026-11-21T09:00:00Z")};
  ScriptedFrontmostApp front;
  ScriptedWindowTitles titles;
  ScriptedIdleTime idle{scheduler};
  ScriptedPowerAssertions power;
  ScriptedSessionEvents session;
  std::unique_ptr<ServiceSet> services;
};

TEST_F(ServiceSetTest, RecordsIntoTheStoreFromLaunchToQuit) {
  front.setSilently(RunningApplication{"code", "Code", 1});
  make();
  std::vector<RecordedSegment> seen;
  services->onRecorded = [&](const RecordedSegment& s) { seen.push_back(s); };
  services->start();
  scheduler.advanceBy(600);
  services->quit();
  ASSERT_EQ(seen.size(), 1u);
  const auto rows = services->store().fetchDay("2026-11-21").value();
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0].endReasonRaw, "appQuit");
  EXPECT_DOUBLE_EQ(rows[0].seconds, 600);
}

TEST_F(ServiceSetTest, KeepsTheTrayChipCurrentForTheSnapshot) {
  front.setSilently(RunningApplication{"code", "Code", 1});
  make();
  services->settings().setMenuBarDisplay("currentApp");
  services->start();
  scheduler.advanceBy(30);
  ASSERT_TRUE(services->menuBar().chip());
  EXPECT_EQ(services->menuBar().chip()->text, "Code");
  EXPECT_EQ(services->widgetSnapshot().chip, services->menuBar().chip());

  // A setting change shows at once, without waiting for the next tick.
  services->settings().setMenuBarDisplay("todayTotal");
  EXPECT_EQ(services->menuBar().chip()->text, "30s");
  services->settings().setMenuBarDisplay("off");
  EXPECT_FALSE(services->menuBar().chip());
  EXPECT_FALSE(services->widgetSnapshot().chip);
  services->quit();
}

TEST_F(ServiceSetTest, PurgesAtLaunchAndAgainAtMidnight) {
  make();
  const ActivityContext old{"code", "Code", {}, {}, {}, {}};
  // 23:30 local on the day 90 days back: kept at launch (10:00), gone after the next midnight.
  const Instant start = at("2026-08-23T21:30:00Z");
  ASSERT_TRUE(services->store().insert(
      {old, start, addSeconds(start, 600), SegmentEndReason::focusChange}));
  const Instant ancient = at("2026-01-01T10:00:00Z");
  ASSERT_TRUE(services->store().insert(
      {old, ancient, addSeconds(ancient, 60), SegmentEndReason::focusChange}));
  services->start();
  EXPECT_EQ(services->store().count().value(), 1);
  scheduler.advanceTo(at("2026-11-21T23:00:05Z"));  // past midnight in Berlin
  EXPECT_EQ(services->store().count().value(), 0);
  services->quit();
}

TEST_F(ServiceSetTest, RulesReachTheResolverAndDeletedCategoriesTakeTheirRules) {
  make();
  EXPECT_EQ(services->categoryResolver()->category("com.example.tool", std::nullopt, std::nullopt),
            "other");
  const std::string custom =
      services->categories()
          .addCustom("Clients", "teal", "briefcase", FocusLabel::focus, scheduler.now())
          .id;
  ASSERT_TRUE(services->store().insertRule(
      CategoryRule{Uuid::random(), "com.example.tool", "app", custom, scheduler.now()}));
  EXPECT_EQ(services->categoryResolver()->category("com.example.tool", std::nullopt, std::nullopt),
            custom);
  services->categories().deleteCustom(custom);
  EXPECT_TRUE(services->store().categoryRules()->empty());
  EXPECT_EQ(services->categoryResolver()->category("com.example.tool", std::nullopt, std::nullopt),
            "other");
}

}  // namespace
}  // namespace velto
