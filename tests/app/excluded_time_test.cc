#include "app/excluded_time.h"

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

TEST(ExcludedTimeTest, CountsAndDeletesAnAppsOrASitesPastTime) {
  testing::TempDir dir;
  testing::LogCapture logs;
  NoticeBus notices;
  PersistenceController persistence(dir.path());
  const Calendar calendar = *Calendar::named("UTC");
  SegmentStore store(persistence, calendar, notices);
  auto add = [&](std::string bundleId, std::optional<std::string> host, const char* from,
                 const char* to) {
    ASSERT_TRUE(store.insert({ActivityContext{bundleId, bundleId, {}, host, {}, {}}, at(from),
                              at(to), SegmentEndReason::focusChange}));
  };
  add("Firefox", "mail.example.com", "2026-11-01T10:00:00Z", "2026-11-01T10:30:00Z");
  add("firefox", "example.com", "2026-11-02T10:00:00Z", "2026-11-02T10:10:00Z");
  add("firefox", "notexample.com", "2026-11-02T11:00:00Z", "2026-11-02T11:10:00Z");
  add("code", std::nullopt, "2026-11-03T10:00:00Z", "2026-11-03T11:00:00Z");
  const Instant now = at("2026-11-21T12:00:00Z");

  const ExcludedTime site = recordedTimeOfHost(store, "example.com", now).value();
  EXPECT_EQ(site.rows, 2);
  EXPECT_DOUBLE_EQ(site.seconds, 2400);
  const ExcludedTime app = recordedTimeOfApp(store, "FIREFOX", now).value();
  EXPECT_EQ(app.rows, 3) << "bundle identifiers match ignoring case";

  EXPECT_EQ(deleteRecordedTimeOfHost(store, "example.com", now).value(), 2);
  EXPECT_EQ(store.count().value(), 2);
  EXPECT_EQ(deleteRecordedTimeOfApp(store, "nothing.here", now).value(), 0);
  EXPECT_EQ(deleteRecordedTimeOfApp(store, "code", now).value(), 1);
  EXPECT_EQ(store.count().value(), 1);
}

}  // namespace
}  // namespace velto
