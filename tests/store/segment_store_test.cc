#include "store/segment_store.h"

#include <gtest/gtest.h>

#include "recording/off_computer.h"
#include "store_fixture.h"
#include "test_support/log_capture.h"

namespace velto {
namespace {

using testing::at;
using testing::LogCapture;
using testing::StoreTest;

TEST_F(StoreTest, InsertCopiesEveryFieldAndSurvivesReopening) {
  ActivityContext context{"firefox",          "Firefox",    "Docs — Firefox",
                          "docs.example.org", std::nullopt, "https://docs.example.org/a"};
  context.toolName = "";  // present but empty stays present
  const RecordedSegment segment{context, at("2026-11-21T09:00:00.123456Z"),
                                at("2026-11-21T09:30:00.5Z"), SegmentEndReason::urlChange};
  const Uuid id = store->insert(segment).value();
  EXPECT_EQ(changes, 1);

  open();
  const std::vector<Segment> rows = store->fetchDay("2026-11-21").value();
  ASSERT_EQ(rows.size(), 1u);
  const Segment& row = rows[0];
  EXPECT_EQ(row.id, id);
  EXPECT_EQ(row.startedAt, segment.startedAt);
  EXPECT_EQ(row.endedAt, segment.endedAt);
  EXPECT_DOUBLE_EQ(row.seconds, 1800.376544);
  EXPECT_EQ(row.context(), context);
  EXPECT_EQ(row.endReasonRaw, "urlChange");
  EXPECT_EQ(row.dayKey, "2026-11-21");
}

class TokyoStoreTest : public StoreTest {
 protected:
  TokyoStoreTest() : StoreTest("Asia/Tokyo") {}
};

TEST_F(TokyoStoreTest, DayKeysComeFromTheLocalDayOfTheStart) {
  add("a", "2026-11-21T14:00:00Z", "2026-11-21T14:59:00Z");  // 23:00 local, the 21st
  add("b", "2026-11-21T15:00:00Z", "2026-11-21T15:30:00Z");  // 00:00 local, the 22nd
  EXPECT_EQ(store->fetchDay("2026-11-21")->at(0).bundleId, "a");
  EXPECT_EQ(store->fetchDay("2026-11-22")->at(0).bundleId, "b");
  EXPECT_TRUE(store->fetchDay("2026-11-23")->empty());
}

TEST_F(StoreTest, IntervalFetchReturnsOverlappingRowsInOrder) {
  add("late", "2026-11-21T11:00:00Z", "2026-11-21T12:00:00Z");
  add("before", "2026-11-21T08:00:00Z", "2026-11-21T09:00:00Z");  // touches the start only
  add("across", "2026-11-21T08:30:00Z", "2026-11-21T09:30:00Z");  // runs into the interval
  add("inside", "2026-11-21T09:40:00Z", "2026-11-21T09:50:00Z");
  add("at-end", "2026-11-21T10:00:00Z", "2026-11-21T10:10:00Z");  // touches the end only
  // A long named stretch that began well before the interval still counts.
  ASSERT_TRUE(store->nameTime(at("2026-11-21T01:00:00Z"), at("2026-11-21T23:00:00Z"),
                              "velto.manual.x", "x", {}));
  // Held in a variable: ranging over *fetch() would range over a dead temporary.
  const std::vector<Segment> rows =
      store->fetchOverlapping(at("2026-11-21T09:00:00Z"), at("2026-11-21T10:00:00Z")).value();
  std::vector<std::string> names;
  for (const Segment& row : rows) names.push_back(row.bundleId);
  EXPECT_EQ(names, (std::vector<std::string>{"velto.manual.x", "across", "inside"}));
}

TEST_F(StoreTest, WipeRemovesEveryRowAndPostsBothNotices) {
  add("a", "2026-11-21T09:00:00Z", "2026-11-21T09:10:00Z");
  add("b", "2026-11-20T09:00:00Z", "2026-11-20T09:10:00Z");
  changes = 0;
  ASSERT_TRUE(store->wipe());
  EXPECT_EQ(store->count().value(), 0);
  EXPECT_EQ(changes, 1);
  EXPECT_EQ(wipes, 1);
}

TEST_F(StoreTest, DeleteAndOffComputerDelete) {
  const Uuid a = add("editor", "2026-11-21T09:00:00Z", "2026-11-21T09:10:00Z");
  const Uuid b = add("editor", "2026-11-21T09:10:00Z", "2026-11-21T09:20:00Z");
  const Uuid keep = add("mail", "2026-11-21T09:20:00Z", "2026-11-21T09:30:00Z");
  const Uuid meeting =
      add(offMacBundleId(OffMacKind::meeting), "2026-11-21T10:00:00Z", "2026-11-21T11:00:00Z");
  const Uuid ids[] = {a, b};
  ASSERT_TRUE(store->deleteSegments(ids));
  EXPECT_EQ(store->count().value(), 2);

  // A row without the off-computer prefix is left alone.
  changes = 0;
  EXPECT_EQ(store->deleteOffComputer(keep).value(), false);
  EXPECT_EQ(store->deleteOffComputer(meeting).value(), true);
  EXPECT_EQ(store->deleteOffComputer(meeting).value(), false);
  ASSERT_EQ(all().size(), 1u);
  EXPECT_EQ(all()[0].id, keep);
}

TEST_F(StoreTest, ReassignClearsDetailsAndKeepsTimes) {
  ActivityContext browser{"firefox",      "Firefox", "Cats",
                          "cats.example", "yt-dlp",  "https://cats.example/"};
  const Uuid id = store
                      ->insert({browser, at("2026-11-21T09:00:00Z"), at("2026-11-21T09:45:00Z"),
                                SegmentEndReason::focusChange})
                      .value();
  const Uuid ids[] = {id};
  ASSERT_TRUE(store->reassign(ids, "code", "Code"));
  const Segment row = all().at(0);
  EXPECT_EQ(row.id, id);
  EXPECT_EQ(row.context(), (ActivityContext{"code", "Code", {}, {}, {}, {}}));
  EXPECT_EQ(row.endReasonRaw, "manual");
  EXPECT_EQ(row.startedAt, at("2026-11-21T09:00:00Z"));
  EXPECT_DOUBLE_EQ(row.seconds, 2700);
  EXPECT_EQ(row.dayKey, "2026-11-21");
}

TEST_F(StoreTest, NamingTimeAcrossMidnightReplacesTheEarlierRows) {
  const Uuid a = add("editor", "2026-11-21T23:00:00Z", "2026-11-21T23:40:00Z");
  const Uuid b = add("editor", "2026-11-21T23:40:00Z", "2026-11-22T00:00:00Z");
  const Uuid untouched = add("mail", "2026-11-22T02:00:00Z", "2026-11-22T02:10:00Z");
  const Uuid replacing[] = {a, b};
  changes = 0;
  ASSERT_TRUE(store->nameTime(at("2026-11-21T23:00:00Z"), at("2026-11-22T00:30:00Z"),
                              "velto.manual.team-standup", "Team standup", replacing));
  EXPECT_EQ(changes, 1);
  const std::vector<Segment> rows = all();
  ASSERT_EQ(rows.size(), 3u);
  EXPECT_EQ(rows[0].bundleId, "velto.manual.team-standup");
  EXPECT_EQ(rows[0].dayKey, "2026-11-21");
  EXPECT_DOUBLE_EQ(rows[0].seconds, 3600);
  EXPECT_EQ(rows[1].dayKey, "2026-11-22");
  EXPECT_DOUBLE_EQ(rows[1].seconds, 1800);
  EXPECT_EQ(rows[1].endReasonRaw, "manual");
  EXPECT_EQ(rows[2].id, untouched);
}

class BerlinStoreTest : public StoreTest {
 protected:
  BerlinStoreTest() : StoreTest("Europe/Berlin") {}
};

TEST_F(BerlinStoreTest, NamingTimeOverATwentyThreeHourDay) {
  // 23:00 on the 28th to 02:00 on the 30th, local time; the 29th has 23 hours.
  ASSERT_TRUE(store->nameTime(at("2026-03-28T22:00:00Z"), at("2026-03-30T00:00:00Z"),
                              "velto.offmac.offline", "Offline", {}));
  const std::vector<Segment> rows = all();
  ASSERT_EQ(rows.size(), 3u);
  const std::pair<const char*, double> expected[] = {
      {"2026-03-28", 3600}, {"2026-03-29", 23 * 3600}, {"2026-03-30", 7200}};
  for (size_t i = 0; i < rows.size(); ++i) {
    EXPECT_EQ(rows[i].dayKey, expected[i].first);
    EXPECT_DOUBLE_EQ(rows[i].seconds, expected[i].second);
  }
  EXPECT_EQ(rows[1].startedAt, at("2026-03-28T23:00:00Z"));
  EXPECT_FALSE(
      store->nameTime(at("2026-03-30T00:00:00Z"), at("2026-03-30T00:00:00Z"), "a", "A", {}));
}

TEST_F(BerlinStoreTest, APieceIsFiledUnderTheDayItStarts) {
  struct Case {
    const char* what;
    const char* from;
    const char* to;
    std::vector<std::string> days;
  };
  const Case cases[] = {
      {"ends exactly at midnight (23:30-00:00)",
       "2026-11-21T22:30:00Z",
       "2026-11-21T23:00:00Z",
       {"2026-11-21: 1800 s, 1 row"}},
      {"starts exactly at midnight",
       "2026-11-21T23:00:00Z",
       "2026-11-21T23:30:00Z",
       {"2026-11-22: 1800 s, 1 row"}},
      {"the last three seconds of a day",
       "2026-11-21T22:59:57Z",
       "2026-11-21T23:00:00Z",
       {"2026-11-21: 3 s, 1 row"}},
      {"the whole of a 23-hour day",
       "2026-03-28T23:00:00Z",
       "2026-03-29T22:00:00Z",
       {"2026-03-29: 82800 s, 1 row"}},
      {"the whole of a 25-hour day",
       "2026-10-24T22:00:00Z",
       "2026-10-25T23:00:00Z",
       {"2026-10-25: 90000 s, 1 row"}},
      {"the last hour of a month",
       "2026-11-30T22:00:00Z",
       "2026-11-30T23:00:00Z",
       {"2026-11-30: 3600 s, 1 row"}},
      {"the last hour of a year",
       "2026-12-31T22:00:00Z",
       "2026-12-31T23:00:00Z",
       {"2026-12-31: 3600 s, 1 row"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    ASSERT_TRUE(store->wipe());
    add("code", c.from, c.to);
    EXPECT_EQ(perDay(), c.days);
  }
}

TEST_F(StoreTest, AFailedEditChangesNothingLogsItsNameAndPostsNothing) {
  const Uuid a = add("firefox", "2026-11-21T09:00:00Z", "2026-11-21T09:10:00Z");
  const Uuid b =
      add(offMacBundleId(OffMacKind::phone), "2026-11-21T09:10:00Z", "2026-11-21T09:20:00Z");
  const std::vector<Segment> before = all();
  failSegmentWrites();
  changes = 0;
  const Uuid ids[] = {a, b};
  struct Case {
    const char* name;
    std::function<bool()> run;
  };
  const Case cases[] = {
      {"Segment delete", [&] { return store->deleteSegments(ids).ok(); }},
      {"Segment reassign", [&] { return store->reassign(ids, "code", "Code").ok(); }},
      {"Off-Mac delete", [&] { return store->deleteOffComputer(b).ok(); }},
      {"On-Mac label",
       [&] {
         return store
             ->nameTime(at("2026-11-21T09:00:00Z"), at("2026-11-21T09:20:00Z"), "velto.manual.x",
                        "x", ids)
             .ok();
       }},
      {"Segment wipe", [&] { return store->wipe().ok(); }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    LogCapture logs;
    EXPECT_FALSE(c.run());
    ASSERT_EQ(logs.lines.size(), 1u);
    EXPECT_EQ(logs.lines[0], std::string(c.name) + " failed: database or disk is full");
    EXPECT_EQ(all(), before);
  }
  EXPECT_EQ(changes, 0);
  EXPECT_EQ(wipes, 0);

  LogCapture logs;
  EXPECT_FALSE(store->insert(recorded("x", "2026-11-21T11:00:00Z", "2026-11-21T11:05:00Z")));
  EXPECT_EQ(logs.lines,
            (std::vector<std::string>{"Could not save segment: database or disk is full"}));
}

TEST_F(StoreTest, CategoryRulesRoundTripOldestFirst) {
  const CategoryRule first{Uuid::random(), "figma", "keyword", "design",
                           at("2026-11-01T00:00:00Z")};
  const CategoryRule second{Uuid::random(), "example.com", "host", "custom-1",
                            at("2026-11-02T00:00:00Z")};
  const CategoryRule third{Uuid::random(), "code", "app", "coding", at("2026-11-03T00:00:00Z")};
  ASSERT_TRUE(store->insertRule(third));
  ASSERT_TRUE(store->insertRule(first));
  ASSERT_TRUE(store->insertRule(second));
  EXPECT_EQ(changes, 3);
  EXPECT_EQ(store->categoryRules().value(), (std::vector<CategoryRule>{first, second, third}));
  EXPECT_FALSE(store->insertRule(first));  // same id twice

  CategoryRule edited = second;
  edited.categoryRaw = "social";
  ASSERT_TRUE(store->updateRule(edited));
  ASSERT_TRUE(store->deleteRule(first.id));
  open();
  EXPECT_EQ(store->categoryRules().value(), (std::vector<CategoryRule>{edited, third}));
  ASSERT_TRUE(store->deleteRulesForCategory("social"));
  EXPECT_EQ(store->categoryRules().value(), (std::vector<CategoryRule>{third}));
  ASSERT_TRUE(store->deleteAllRules());
  EXPECT_TRUE(store->categoryRules()->empty());
  // Wiping segments keeps the rules.
  ASSERT_TRUE(store->insertRule(third));
  ASSERT_TRUE(store->wipe());
  EXPECT_EQ(store->categoryRules()->size(), 1u);
}

}  // namespace
// A segment the store cannot take now (a full disk here; another process holding the store
// past the busy wait alike) is kept and stored, in order, once the store takes writes again.
TEST_F(StoreTest, SegmentsThatCannotBeStoredYetAreKeptAndStoredLater) {
  failSegmentWrites();
  LogCapture logs;
  store->record(recorded("a", "2026-11-21T09:00:00Z", "2026-11-21T09:10:00Z"));
  store->record(recorded("b", "2026-11-21T09:10:00Z", "2026-11-21T09:20:00Z"));
  store->retry();  // a heartbeat while the store still refuses
  EXPECT_EQ(store->pendingCount(), 2u);
  EXPECT_TRUE(all().empty());
  EXPECT_TRUE(logs.contains("Kept the segment to store it later (2 waiting)"));

  ASSERT_TRUE(
      persistence->database().exec("DROP TRIGGER temp.fail_insert; DROP TRIGGER temp.fail_update; "
                                   "DROP TRIGGER temp.fail_delete"));
  store->record(recorded("c", "2026-11-21T09:20:00Z", "2026-11-21T09:30:00Z"));
  EXPECT_EQ(store->pendingCount(), 0u);
  std::vector<std::string> stored;
  for (const Segment& row : all()) stored.push_back(row.bundleId);
  EXPECT_EQ(stored, (std::vector<std::string>{"a", "b", "c"}));
  EXPECT_TRUE(logs.contains("Stored 2 kept segments"));
  EXPECT_EQ(perDay(), (std::vector<std::string>{"2026-11-21: 1800 s, 3 rows"}));
}

TEST_F(StoreTest, KeptSegmentsAreBoundedOldestFirst) {
  failSegmentWrites();
  LogCapture logs;
  for (size_t i = 0; i <= SegmentStore::kMaxPending; ++i) {
    const Instant start = addSeconds(at("2026-11-21T00:00:00Z"), static_cast<double>(i) * 10);
    ActivityContext context;
    context.bundleId = "app" + std::to_string(i);
    context.appName = context.bundleId;
    store->record({context, start, addSeconds(start, 5), SegmentEndReason::focusChange});
  }
  EXPECT_EQ(store->pendingCount(), SegmentStore::kMaxPending);
  EXPECT_TRUE(logs.contains("Dropped a segment kept for 1000 waiting ones"));
  ASSERT_TRUE(persistence->database().exec("DROP TRIGGER temp.fail_insert"));
  store->retry();
  const std::vector<Segment> rows = all();
  ASSERT_EQ(rows.size(), SegmentStore::kMaxPending);
  EXPECT_EQ(rows.front().bundleId, "app1");  // app0, the oldest, was dropped
}

}  // namespace velto
