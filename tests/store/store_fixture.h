// A store on a temporary folder with a counting notice bus.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "base/calendar.h"
#include "base/notice_bus.h"
#include "base/notices.h"
#include "store/segment_store.h"
#include "test_support/temp_dir.h"
#include "test_support/time_helpers.h"

namespace velto::testing {

class StoreTest : public ::testing::Test {
 protected:
  explicit StoreTest(const char* zone = "UTC") : calendar(*Calendar::named(zone)) { open(); }

  void open() {
    store.reset();
    persistence = std::make_unique<PersistenceController>(dir.path());
    store = std::make_unique<SegmentStore>(*persistence, calendar, bus);
  }

  RecordedSegment recorded(const std::string& bundleId, const std::string& from,
                           const std::string& to,
                           SegmentEndReason reason = SegmentEndReason::focusChange) {
    ActivityContext context;
    context.bundleId = bundleId;
    context.appName = bundleId;
    return RecordedSegment{context, at(from), at(to), reason};
  }

  Uuid add(const std::string& bundleId, const std::string& from, const std::string& to) {
    return store->insert(recorded(bundleId, from, to)).value();
  }

  std::vector<Segment> all() {
    return store->fetchOverlapping(at("1970-01-02T00:00:00Z"), at("2100-01-01T00:00:00Z")).value();
  }

  // Makes every later change of the segment table fail, as a full disk would.
  void failSegmentWrites() {
    ASSERT_TRUE(persistence->database().exec(
        "CREATE TEMP TRIGGER fail_delete BEFORE DELETE ON segment BEGIN "
        "SELECT RAISE(ABORT, 'database or disk is full'); END;"
        "CREATE TEMP TRIGGER fail_update BEFORE UPDATE ON segment BEGIN "
        "SELECT RAISE(ABORT, 'database or disk is full'); END;"
        "CREATE TEMP TRIGGER fail_insert BEFORE INSERT ON segment BEGIN "
        "SELECT RAISE(ABORT, 'database or disk is full'); END;"));
  }

  TempDir dir;
  Calendar calendar;
  NoticeBus bus;
  int changes = 0;
  int wipes = 0;
  Subscription changeSubscription =
      bus.subscribe(notices::kSegmentsDidChange, [this] { ++changes; });
  Subscription wipeSubscription = bus.subscribe(notices::kStoreDidWipe, [this] { ++wipes; });
  std::unique_ptr<PersistenceController> persistence;
  std::unique_ptr<SegmentStore> store;
};

}  // namespace velto::testing
