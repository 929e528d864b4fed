// The facts kept beside the rows (the bound on the longest row) against the rows themselves,
// through every kind of change, across processes and for stores made before the facts.
#include "store/segment_facts.h"

#include <gtest/gtest.h>

#include <functional>
#include <sstream>

#include "reports/usage_export.h"
#include "store/store_fixture.h"

namespace velto::testing {
namespace {

constexpr std::int64_t kMinuteUs = 60'000'000;

std::int64_t longestByScan(sql::Database& db) {
  Result<sql::Statement> scan =
      db.prepare("SELECT coalesce(max(ended_us - started_us), 0) FROM segment");
  EXPECT_TRUE(scan && scan->step().toOptional().value_or(false));
  return scan ? scan->int64(0) : -1;
}

TEST_F(StoreTest, TheLongestRowBoundFollowsEveryKindOfChange) {
  struct Step {
    const char* name;
    std::function<bool()> change;
    std::int64_t longestMinutes;
  };
  const Step steps[] = {
      {"insert",
       [&] {
         return store->insert(recorded("a", "2026-11-20T09:00:00Z", "2026-11-20T09:10:00Z")).ok();
       },
       10},
      {"name four hours",
       [&] {
         return store
             ->nameTime(at("2026-11-20T01:00:00Z"), at("2026-11-20T05:00:00Z"), "m", "M", {})
             .ok();
       },
       240},
      {"cut an hour out of them",
       [&] {
         return store
             ->editRange(at("2026-11-20T02:00:00Z"), at("2026-11-20T03:00:00Z"), {}, std::nullopt)
             .ok();
       },
       120},
      {"delete the longest piece",
       [&] {
         for (const Segment& row : all()) {
           if (row.endedAt - row.startedAt == std::chrono::hours(2))
             return store->deleteSegments(std::vector<Uuid>{row.id}).ok();
         }
         return false;
       },
       60},
      {"reassign keeps times",
       [&] {
         std::vector<Uuid> ids;
         for (const Segment& row : all()) ids.push_back(row.id);
         return store->reassign(ids, "b", "B").ok();
       },
       60},
      {"import a longer one",
       [&] {
         std::istringstream in(R"([{"start": "2026-10-01T08:00:00Z", "end": "2026-10-01T09:30:00Z",
           "seconds": 5400, "bundle_id": "i", "end_reason": "manual"}])");
         return importSegments(*store, in, calendar).ok();
       },
       90},
      {"purge it", [&] { return store->purge(30, at("2026-11-21T12:00:00Z")).ok(); }, 60},
      {"wipe", [&] { return store->wipe().ok(); }, 0},
  };
  for (const Step& step : steps) {
    SCOPED_TRACE(step.name);
    ASSERT_TRUE(step.change());
    const Result<SegmentFacts> facts = readSegmentFacts(persistence->database());
    ASSERT_TRUE(facts.ok()) << facts.error();
    EXPECT_FALSE(facts->stale);
    EXPECT_EQ(facts->longestUs, step.longestMinutes * kMinuteUs);
    EXPECT_EQ(facts->longestUs, longestByScan(persistence->database()));
  }
}

TEST_F(StoreTest, IntervalReadsFindLongRowsThatAnotherProcessStored) {
  add("short", "2026-11-20T09:00:00Z", "2026-11-20T09:01:00Z");
  ASSERT_EQ(all().size(), 1u);  // this connection has read the store before
  {
    NoticeBus otherBus;
    PersistenceController other(dir.path());
    SegmentStore otherStore(other, calendar, otherBus);
    ASSERT_TRUE(otherStore.nameTime(at("2026-11-20T10:00:00Z"), at("2026-11-20T16:00:00Z"),
                                    "velto.manual.x", "x", {}));
  }
  const std::vector<Segment> rows =
      store->fetchOverlapping(at("2026-11-20T15:00:00Z"), at("2026-11-20T15:30:00Z")).value();
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0].bundleId, "velto.manual.x");
}

TEST_F(StoreTest, AStoreMadeBeforeTheFactsGetsThemFromItsRows) {
  add("a", "2026-11-20T09:00:00Z", "2026-11-20T09:45:00Z");
  add("b", "2026-11-20T10:00:00Z", "2026-11-20T10:05:00Z");
  ASSERT_TRUE(persistence->database().exec(
      "DROP TRIGGER segment_fact_after_insert; DROP TRIGGER segment_fact_after_update; "
      "DROP TRIGGER segment_fact_after_delete; DROP TABLE segment_fact;"));
  open();
  const Result<SegmentFacts> facts = readSegmentFacts(persistence->database());
  ASSERT_TRUE(facts.ok()) << facts.error();
  EXPECT_EQ(facts->longestUs, 45 * kMinuteUs);
  // And keeps them from then on.
  add("c", "2026-11-20T11:00:00Z", "2026-11-20T12:00:00Z");
  EXPECT_EQ(readSegmentFacts(persistence->database())->longestUs, 60 * kMinuteUs);
}

}  // namespace
}  // namespace velto::testing
