// A store on a temporary folder with a counting notice bus.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/calendar.h"
#include "base/iso8601.h"
#include "base/notice_bus.h"
#include "base/notices.h"
#include "store/segment_facts.h"
#include "store/segment_store.h"
#include "store/usage_aggregates.h"
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

  // Every stored day as "yyyy-MM-dd: <seconds> s, <n> row(s)", in day order. Checks on the way
  // that the day's rows, its settled aggregates and its bounds agree, that no row runs past
  // the end of the day it is filed under, and that the stored bound on the longest row holds.
  std::vector<std::string> perDay() {
    checkSegmentFacts();
    UsageAggregates aggregates(persistence->database());
    EXPECT_TRUE(aggregates.settle(false));
    Result<std::vector<StoredDay>> days = aggregates.days();
    if (!days) {
      ADD_FAILURE() << days.error();
      return {};
    }
    std::vector<std::string> lines;
    for (const StoredDay& day : *days) {
      SCOPED_TRACE(day.dayKey);
      const std::vector<Segment> rows = store->fetchDay(day.dayKey).value();
      const std::optional<Instant> start = calendar.startOfDayKey(day.dayKey);
      if (!start) {
        ADD_FAILURE() << "not a day key";
        continue;
      }
      const Instant end = calendar.nextMidnight(*start);
      double seconds = 0;
      for (const Segment& row : rows) {
        seconds += row.seconds;
        EXPECT_TRUE(*start <= row.startedAt)
            << "a row starting before its day, at " << formatIso8601Local(row.startedAt, calendar);
        EXPECT_TRUE(row.endedAt <= end) << "a row running into the next day, until "
                                        << formatIso8601Local(row.endedAt, calendar);
      }
      std::int64_t micros = 0;
      std::int64_t count = 0;
      const std::vector<ContextTotal> totals =
          aggregates.contextTotals({{day.dayKey, day.dayKey}}, {}).value();
      for (const ContextTotal& total : totals) {
        micros += total.micros;
        count += total.count;
      }
      EXPECT_FALSE(day.marked);
      EXPECT_EQ(day.count, static_cast<std::int64_t>(rows.size()));
      EXPECT_EQ(count, static_cast<std::int64_t>(rows.size()));
      EXPECT_EQ(micros, std::llround(seconds * 1e6));
      if (!rows.empty()) {
        EXPECT_EQ(day.minStartUs, rows.front().startedAt.time_since_epoch().count());
      }
      lines.push_back(day.dayKey + ": " + std::to_string(std::llround(seconds)) + " s, " +
                      std::to_string(rows.size()) + (rows.size() == 1 ? " row" : " rows"));
    }
    return lines;
  }

  // The bound on the longest row is never below it, and equal to it unless a deletion left it
  // stale.
  void checkSegmentFacts() {
    const Result<SegmentFacts> facts = readSegmentFacts(persistence->database());
    ASSERT_TRUE(facts.ok()) << facts.error();
    Result<sql::Statement> scan = persistence->database().prepare(
        "SELECT coalesce(max(ended_us - started_us), 0) FROM segment");
    ASSERT_TRUE(scan && scan->step().toOptional().value_or(false));
    EXPECT_GE(facts->longestUs, scan->int64(0));
    if (!facts->stale) {
      EXPECT_EQ(facts->longestUs, scan->int64(0));
    }
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
