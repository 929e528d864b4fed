#include "store/kept_segments.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "base/files.h"
#include "store_fixture.h"
#include "test_support/log_capture.h"
#include "test_support/segment_rows.h"

namespace velto {
namespace {

using testing::at;
using testing::LogCapture;
using testing::StoreTest;

// A stored row with the fields a kept one carries, its day key that of the start (UTC).
Segment row(const std::string& bundleId, const std::string& from, const std::string& to) {
  Segment segment = testing::storedRow(bundleId, from, to, "Päckchen \"quoted\"", "example.org");
  segment.endReasonRaw = "idle";
  segment.dayKey = from.substr(0, 10);
  return segment;
}

TEST(KeptSegmentsTest, RowsRoundTripWithEveryField) {
  std::vector<Segment> rows = {row("a", "2026-11-21T09:00:00Z", "2026-11-21T09:10:00.123456Z"),
                               row("b", "2026-11-21T09:10:00Z", "2026-11-21T09:20:00Z")};
  rows[1].windowTitle.reset();
  rows[1].toolName = "vim";
  Result<std::vector<Segment>> decoded = decodeKeptSegments(encodeKeptSegments(rows));
  ASSERT_TRUE(decoded) << decoded.error();
  EXPECT_EQ(*decoded, rows);
}

TEST(KeptSegmentsTest, MalformedFilesNameTheRecordAndField) {
  const std::string good =
      R"({"id":"7f1c1a52-6b4f-4a52-9d4e-0d8a1c2b3e4f","startedUs":1700000000000000,)"
      R"("endedUs":1700000060000000,"seconds":60,"endReason":"focusChange",)"
      R"("dayKey":"2023-11-14","context":{"bundleId":"a","appName":"A"}})";
  const struct {
    std::string bytes;
    std::string error;
  } cases[] = {
      {"", "not a JSON object"},
      {"[]", "not a JSON object"},
      {"{}", "lack the \"segments\" list"},
      {R"({"segments":[1]})", "kept segment 1: is not an object"},
      {R"({"segments":[)" + good + R"(,{}]})", "kept segment 2: \"id\" is missing"},
      {R"({"segments":[{"id":"nope"}]})", "\"id\" is not an identifier"},
      {R"({"segments":[)" + std::string(good).replace(good.find("1700000060"), 10, "1600000060") +
           "]}",
       "\"endedUs\" is before \"startedUs\""},
      {R"({"segments":[)" + std::string(good).replace(good.find("1700000000000000"), 16, "-1") +
           "]}",
       "\"startedUs\" is"},
      {R"({"segments":[)" + std::string(good).replace(good.find("focusChange"), 11, "FocusChange") +
           "]}",
       "\"endReason\" is not an end reason"},
      {R"({"segments":[)" + std::string(good).replace(good.find(":60,"), 4, ":-1,") + "]}",
       "\"seconds\""},
      {R"({"segments":[)" + good.substr(0, good.find(",\"context\"")) + "}" + "]}",
       "\"context\" is missing"},
  };
  ASSERT_TRUE(decodeKeptSegments(R"({"segments":[)" + good + "]}"));
  for (const auto& malformed : cases) {
    SCOPED_TRACE(malformed.bytes);
    Result<std::vector<Segment>> decoded = decodeKeptSegments(malformed.bytes);
    ASSERT_FALSE(decoded);
    EXPECT_NE(decoded.error().find(malformed.error), std::string::npos) << decoded.error();
  }
}

// A recorder killed while the store refused its segments: the next run stores them first, in
// order, and the file goes once they are stored.
TEST_F(StoreTest, SegmentsKeptByAKilledRunAreStoredByTheNext) {
  store->keepPendingIn(std::make_unique<KeptSegmentsFile>(dir.path()));
  failSegmentWrites();
  store->record(recorded("a", "2026-11-21T09:00:00Z", "2026-11-21T09:10:00Z"));
  store->record(recorded("b", "2026-11-21T09:10:00Z", "2026-11-21T09:20:00Z"));
  const std::filesystem::path file = dir.path() / KeptSegmentsFile::kFileName;
  ASSERT_TRUE(std::filesystem::exists(file));
  EXPECT_EQ(decodeKeptSegments(files::readAll(file).value())->size(), 2u);

  open();  // the kill; the store takes writes again
  LogCapture logs;
  store->keepPendingIn(std::make_unique<KeptSegmentsFile>(dir.path()));
  store->record(recorded("c", "2026-11-21T09:30:00Z", "2026-11-21T09:40:00Z"));
  std::vector<std::string> stored;
  for (const Segment& segment : all()) stored.push_back(segment.bundleId);
  EXPECT_EQ(stored, (std::vector<std::string>{"a", "b", "c"}));
  EXPECT_FALSE(std::filesystem::exists(file));
  EXPECT_TRUE(logs.contains("Found 2 segments kept by an earlier run"));
  EXPECT_EQ(perDay(), (std::vector<std::string>{"2026-11-21: 1800 s, 3 rows"}));
}

// Killed after storing its kept rows but before emptying the file: nothing is stored twice, and
// the rows behind it still go in.
TEST_F(StoreTest, KeptRowsAlreadyStoredAreNotStoredTwice) {
  const std::vector<Segment> kept = {row("a", "2026-11-21T09:00:00Z", "2026-11-21T09:10:00Z"),
                                     row("b", "2026-11-21T09:10:00Z", "2026-11-21T09:20:00Z")};
  ASSERT_TRUE(store->insertRows(std::span(kept).first(1)));
  KeptSegmentsFile(dir.path()).save(kept);
  store->keepPendingIn(std::make_unique<KeptSegmentsFile>(dir.path()));
  EXPECT_EQ(store->pendingCount(), 0u);
  EXPECT_EQ(all(), kept);
  EXPECT_FALSE(std::filesystem::exists(dir.path() / KeptSegmentsFile::kFileName));
}

// Still refused at the next start: the rows wait in memory and on disk, and are stored at the
// first heartbeat that succeeds.
TEST_F(StoreTest, KeptRowsStillRefusedKeepWaiting) {
  const std::vector<Segment> kept = {row("a", "2026-11-21T09:00:00Z", "2026-11-21T09:10:00Z")};
  KeptSegmentsFile(dir.path()).save(kept);
  failSegmentWrites();
  store->keepPendingIn(std::make_unique<KeptSegmentsFile>(dir.path()));
  EXPECT_EQ(store->pendingCount(), 1u);
  ASSERT_TRUE(std::filesystem::exists(dir.path() / KeptSegmentsFile::kFileName));
  ASSERT_TRUE(persistence->database().exec("DROP TRIGGER temp.fail_insert"));
  store->retry();
  EXPECT_EQ(all(), kept);
  EXPECT_FALSE(std::filesystem::exists(dir.path() / KeptSegmentsFile::kFileName));
}

TEST_F(StoreTest, AnUnreadableKeptFileIsMovedAsideNotLost) {
  const std::filesystem::path file = dir.path() / KeptSegmentsFile::kFileName;
  std::ofstream(file) << "{\"segments\": [";
  LogCapture logs;
  store->keepPendingIn(std::make_unique<KeptSegmentsFile>(dir.path()));
  EXPECT_TRUE(all().empty());
  ASSERT_EQ(logs.lines.size(), 1u);
  EXPECT_TRUE(logs.lines[0].starts_with("Could not read kept segments: ")) << logs.lines[0];
  EXPECT_FALSE(std::filesystem::exists(file));
  std::filesystem::path aside = file;
  aside += ".unreadable";
  EXPECT_EQ(files::readAll(aside).value(), "{\"segments\": [");
}

}  // namespace
}  // namespace velto
