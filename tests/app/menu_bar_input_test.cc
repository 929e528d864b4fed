// Today's figures the service set computes the tray chip from.
#include <gtest/gtest.h>

#include "app/service_set.h"
#include "base/manual_scheduler.h"
#include "recording/scripted_sources.h"
#include "test_support/log_capture.h"
#include "test_support/temp_dir.h"
#include "test_support/time_helpers.h"

namespace velto {
namespace {

using testing::at;

TEST(MenuBarInputTest, GathersTodayFromRowsTheRunningSegmentAndSettings) {
  testing::TempDir dir;
  testing::LogCapture logs;
  ManualScheduler scheduler{at("2026-11-21T09:00:00Z")};
  ScriptedFrontmostApp front;
  ScriptedWindowTitles titles;
  ScriptedIdleTime idle{scheduler};
  ScriptedPowerAssertions power;
  ScriptedSessionEvents session;
  front.setSilently(RunningApplication{"code", "Code", 1});
  ServiceSet services(
      Desktop{front, titles, idle, power, session, nullptr, nullptr, scheduler, scheduler},
      ServicePaths{dir / "settings.json", dir / "data", dir / "shared"},
      *Calendar::named("Europe/Berlin"));
  // Yesterday does not count; an hour of a distracting app this morning does, but not as focus.
  const ActivityContext video{"spotify", "Spotify", {}, {}, {}, {}};
  ASSERT_TRUE(services.store().insert({video, at("2026-11-20T12:00:00Z"),
                                       at("2026-11-20T13:00:00Z"), SegmentEndReason::focusChange}));
  ASSERT_TRUE(services.store().insert({video, at("2026-11-21T07:00:00Z"),
                                       at("2026-11-21T08:00:00Z"), SegmentEndReason::focusChange}));
  services.settings().setMenuBarDisplay("focused");
  services.settings().setDayBudgetSeconds(0);
  services.settings().setLimitWarnRatio(0.9);
  services.limits().set(UsageLimit::Subject::total(), UsageLimit::Kind::limit,
                        UsageLimit::Span::day, 7200);
  services.start();
  scheduler.advanceBy(1800);

  const MenuBarTitle::Input input = services.menuBarInput();
  EXPECT_EQ(input.mode, MenuBarDisplay::focused);
  EXPECT_DOUBLE_EQ(input.todaySeconds, 3600 + 1800);
  EXPECT_DOUBLE_EQ(input.focusedSeconds, 1800) << "the running coding segment";
  EXPECT_EQ(input.currentAppName, "Code");
  ASSERT_EQ(input.progress.size(), 1u);
  EXPECT_DOUBLE_EQ(input.progress[0].spent, 5400);
  EXPECT_EQ(input.warnRatio, 0.9);
  EXPECT_FALSE(input.dayBudgetSeconds);
  EXPECT_EQ(input.language, services.language());

  services.engine().setPaused(true);
  EXPECT_FALSE(services.menuBarInput().currentAppName) << "nothing is recorded while paused";
  services.quit();
}

}  // namespace
}  // namespace velto
