#include <gtest/gtest.h>

#include "store/store_fixture.h"
#include "test_support/log_capture.h"

namespace velto {
namespace {

using testing::at;

class RangeEditTest : public testing::StoreTest {
 protected:
  // Every row as "<app> HH:MM-HH:MM <reason>", in start order.
  std::vector<std::string> rows() {
    std::vector<std::string> out;
    for (const Segment& row : all()) {
      auto clock = [](Instant t) { return formatIso8601(t).substr(11, 5); };
      out.push_back(row.bundleId + " " + clock(row.startedAt) + "-" + clock(row.endedAt) + " " +
                    row.endReasonRaw);
    }
    return out;
  }
};

TEST_F(RangeEditTest, DeletingAStretchKeepsWhatLiesOutsideIt) {
  add("code", "2026-11-24T09:00:00Z", "2026-11-24T10:00:00Z");
  add("firefox", "2026-11-24T10:00:00Z", "2026-11-24T10:30:00Z");
  add("code", "2026-11-24T10:30:00Z", "2026-11-24T11:00:00Z");
  const int before = changes;
  const auto edit =
      store->editRange(at("2026-11-24T09:30:00Z"), at("2026-11-24T10:45:00Z"), {}, std::nullopt);
  ASSERT_TRUE(edit) << edit.error();
  EXPECT_EQ(edit->rows, 3);
  EXPECT_DOUBLE_EQ(edit->seconds, 75 * 60);
  EXPECT_EQ(rows(), (std::vector<std::string>{"code 09:00-09:30 focusChange",
                                              "code 10:45-11:00 focusChange"}));
  EXPECT_EQ(changes, before + 1);
  EXPECT_EQ(perDay(), std::vector<std::string>{"2026-11-24: 2700 s, 2 rows"});
}

TEST_F(RangeEditTest, AStretchInsideOneRowSplitsIt) {
  const Uuid id = add("code", "2026-11-24T09:00:00Z", "2026-11-24T12:00:00Z");
  const auto edit =
      store->editRange(at("2026-11-24T10:00:00Z"), at("2026-11-24T10:30:00Z"), {}, std::nullopt);
  ASSERT_TRUE(edit) << edit.error();
  EXPECT_EQ(rows(), (std::vector<std::string>{"code 09:00-10:00 focusChange",
                                              "code 10:30-12:00 focusChange"}));
  for (const Segment& row : all()) EXPECT_NE(row.id, id) << "a deleted part keeps no id";
  EXPECT_EQ(perDay(), std::vector<std::string>{"2026-11-24: 9000 s, 2 rows"});
}

TEST_F(RangeEditTest, GivingAStretchAwayKeepsTheRowsIdAndClearsItsDetails) {
  RecordedSegment browsing = recorded("firefox", "2026-11-24T09:00:00Z", "2026-11-24T10:00:00Z");
  browsing.context.host = "example.com";
  browsing.context.windowTitle = "Example";
  const Uuid id = store->insert(browsing).value();
  add("code", "2026-11-24T10:00:00Z", "2026-11-24T11:00:00Z");
  const auto edit = store->editRange(
      at("2026-11-24T09:30:00Z"), at("2026-11-24T11:00:00Z"),
      [](const Segment& row) { return row.bundleId == "firefox"; },
      SegmentStore::RangeOwner{"org.gnome.gedit", "Text Editor"});
  ASSERT_TRUE(edit) << edit.error();
  EXPECT_EQ(edit->rows, 1);
  EXPECT_DOUBLE_EQ(edit->seconds, 1800);
  EXPECT_EQ(rows(), (std::vector<std::string>{"firefox 09:00-09:30 focusChange",
                                              "org.gnome.gedit 09:30-10:00 manual",
                                              "code 10:00-11:00 focusChange"}));
  const std::vector<Segment> stored = all();
  ASSERT_EQ(stored.size(), 3u);
  EXPECT_EQ(stored[0].host, "example.com") << "the part outside keeps its site";
  EXPECT_EQ(stored[1].id, id);
  EXPECT_EQ(stored[1].appName, "Text Editor");
  EXPECT_FALSE(stored[1].host);
  EXPECT_FALSE(stored[1].windowTitle);
  EXPECT_EQ(perDay(), std::vector<std::string>{"2026-11-24: 7200 s, 3 rows"});
}

TEST_F(RangeEditTest, NothingToChangeWritesNothingAndAFailedSaveChangesNothing) {
  add("code", "2026-11-24T09:00:00Z", "2026-11-24T10:00:00Z");
  const int before = changes;
  auto none = store->editRange(at("2026-11-24T10:00:00Z"), at("2026-11-24T11:00:00Z"), {},
                               std::nullopt);  // touches the row's end only
  ASSERT_TRUE(none);
  EXPECT_EQ(none->rows, 0);
  EXPECT_EQ(changes, before);
  EXPECT_FALSE(
      store->editRange(at("2026-11-24T10:00:00Z"), at("2026-11-24T09:00:00Z"), {}, std::nullopt));

  testing::LogCapture logs;
  failSegmentWrites();
  EXPECT_FALSE(
      store->editRange(at("2026-11-24T09:15:00Z"), at("2026-11-24T09:45:00Z"), {}, std::nullopt));
  EXPECT_EQ(rows(), std::vector<std::string>{"code 09:00-10:00 focusChange"});
  EXPECT_EQ(changes, before);
  EXPECT_TRUE(logs.contains("Segment delete failed: database or disk is full"));
}

}  // namespace
}  // namespace velto
