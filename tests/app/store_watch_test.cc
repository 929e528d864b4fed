// Another process's writes to the store (the command line's rules and edits) reach a running
// service set without a restart.
#include <gtest/gtest.h>

#include "app/service_set.h"
#include "base/manual_scheduler.h"
#include "base/notices.h"
#include "recording/scripted_sources.h"
#include "test_support/log_capture.h"
#include "test_support/temp_dir.h"
#include "test_support/time_helpers.h"

namespace velto {
namespace {

using testing::at;

TEST(StoreWatch, AnotherProcesssRuleAndRowsReachARunningServiceSet) {
  testing::TempDir dir;
  testing::LogCapture logs;
  ManualScheduler scheduler{at("2026-11-21T09:00:00Z")};
  ScriptedFrontmostApp front;
  ScriptedWindowTitles titles;
  ScriptedIdleTime idle{scheduler};
  ScriptedPowerAssertions power;
  ScriptedSessionEvents session;
  ServiceSet services(
      Desktop{front, titles, idle, power, session, nullptr, nullptr, scheduler, scheduler},
      ServicePaths{dir / "settings.json", dir / "data", dir / "shared"}, *Calendar::named("UTC"));
  services.start();
  int changes = 0;
  const Subscription counting =
      services.notices().subscribe(notices::kSegmentsDidChange, [&] { ++changes; });
  scheduler.advanceBy(ServiceSet::kStoreWatchSeconds * 2);
  EXPECT_EQ(changes, 0) << "nothing changed elsewhere";
  EXPECT_EQ(services.categoryResolver()->category("org.example.notes"), "other");

  // The other process: its own connection to the same file.
  NoticeBus otherBus;
  const Calendar calendar = *Calendar::named("UTC");
  PersistenceController otherPersistence(dir / "data");
  SegmentStore other(otherPersistence, calendar, otherBus);
  ASSERT_TRUE(other.insertRule(CategoryRule{Uuid::random(), "org.example.notes", "app", "writing",
                                            at("2026-11-21T09:00:00Z")}));
  scheduler.advanceBy(ServiceSet::kStoreWatchSeconds);
  EXPECT_EQ(services.categoryResolver()->category("org.example.notes"), "writing");
  EXPECT_EQ(changes, 1);

  // Its own writes are not news to it.
  ASSERT_TRUE(services.store().insertRule(CategoryRule{Uuid::random(), "org.example.draw", "app",
                                                       "design", at("2026-11-21T09:00:00Z")}));
  const int afterOwn = changes;
  scheduler.advanceBy(ServiceSet::kStoreWatchSeconds * 2);
  EXPECT_EQ(changes, afterOwn);
  services.quit();
}

}  // namespace
}  // namespace velto
