#include "app/service_set.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "base/manual_scheduler.h"
#include "base/notices.h"
#include "recording/scripted_sources.h"
#include "test_support/log_capture.h"
#include "test_support/temp_dir.h"
#include "test_support/time_helpers.h"

namespace velto {
namespace {

using testing::at;

class ServiceSetTest : public ::testing::Test {
 protected:
  void make(BrowserTabReader* browsers = nullptr) {
    services = std::make_unique<ServiceSet>(
        Desktop{front, titles, idle, power, session, browsers, nullptr, scheduler, scheduler},
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

// Sets an environment variable for one test and puts back what was there.
class ScopedEnv {
 public:
  ScopedEnv(const char* name, const char* value) : name_(name) {
    if (const char* old = std::getenv(name)) old_ = old;
    ::setenv(name, value, 1);
  }
  ~ScopedEnv() {
    if (old_) {
      ::setenv(name_, old_->c_str(), 1);
    } else {
      ::unsetenv(name_);
    }
  }

 private:
  const char* name_;
  std::optional<std::string> old_;
};

class DayChangeTest : public ServiceSetTest {
 protected:
  // Starts at 23:58 in Berlin, two minutes before midnight (23:00 UTC); the tests stay within
  // minutes of it, since every virtual second drives the engine's timers.
  void SetUp() override {
    scheduler.jumpClockTo(at("2026-11-21T22:58:00Z"));
    make();
    dayChanges = services->notices().subscribe(notices::kDayDidChange, [this] { ++count; });
    services->start();
  }
  void TearDown() override { services->quit(); }

  // The calendar keeps Berlin through clock changes (it follows the session only without TZ).
  ScopedEnv zone{"TZ", "Europe/Berlin"};
  Subscription dayChanges;
  int count = 0;
};

TEST_F(DayChangeTest, AMidnightSleptThroughIsTheDayChangeOnWake) {
  session.send(SessionSignal::willSleep);
  // No timer runs while the computer sleeps.
  scheduler.jumpClockTo(at("2026-11-21T23:01:00Z"));
  session.send(SessionSignal::didWake);
  EXPECT_EQ(count, 1) << "announced on wake";
  scheduler.advanceBy(30);
  EXPECT_EQ(count, 1) << "the stale timer was replaced";
}

TEST_F(DayChangeTest, AWakeBeforeMidnightKeepsTheDay) {
  session.send(SessionSignal::willSleep);
  scheduler.jumpClockTo(at("2026-11-21T22:59:00Z"));
  session.send(SessionSignal::didWake);
  EXPECT_EQ(count, 0);
  scheduler.advanceTo(at("2026-11-21T22:59:59Z"));
  EXPECT_EQ(count, 0);
  scheduler.advanceTo(at("2026-11-21T23:00:05Z"));
  EXPECT_EQ(count, 1);
}

TEST_F(DayChangeTest, AClockSetBackPlansTheEarlierMidnight) {
  scheduler.jumpClockTo(at("2026-11-20T22:58:00Z"));
  session.send(SessionSignal::clockChanged);
  EXPECT_EQ(count, 1);
  // Midnight of the 20th in Berlin; the timer planned for the 21st would not fire for a day.
  scheduler.advanceTo(at("2026-11-20T23:00:05Z"));
  EXPECT_EQ(count, 2);
}

class SwitchableTabReader final : public BrowserTabReader {
 public:
  void readActiveTab(const BrowserCatalog::Entry&, int,
                     std::function<void(BrowserTabAnswer)>) override {}
  bool isEnabled() const override { return enabled; }
  void setEnabled(bool value) override { enabled = value; }
  bool enabled = true;
};

TEST_F(ServiceSetTest, TabReadingFollowsTheAccessibilityOptIn) {
  SwitchableTabReader reader;
  make(&reader);
  EXPECT_FALSE(reader.enabled) << "off until the user opts in";
  services->settings().setAccessibilityRequested(true);
  EXPECT_TRUE(reader.enabled);
  services->settings().setAccessibilityRequested(false);
  EXPECT_FALSE(reader.enabled);
}

}  // namespace
}  // namespace velto
