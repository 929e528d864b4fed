#include "reports/usage_export.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "store/store_fixture.h"
#include "test_support/segment_rows.h"

namespace velto {
namespace {

using testing::at;

class UsageExportTest : public testing::StoreTest {
 protected:
  UsageExportTest() : StoreTest("Europe/Berlin") {}

  Segment stored(const std::string& bundleId, const std::string& from, const std::string& to) {
    Segment row = testing::storedRow(bundleId, from, to);
    row.appName = bundleId;
    row.dayKey = calendar.dayKey(row.startedAt);
    return row;
  }

  std::string exported(ExportDetail detail, ExportFormat format,
                       std::optional<DateInterval> interval = std::nullopt) {
    std::ostringstream out;
    const ExportContext context{calendar, resolver, directory, "en", {}};
    EXPECT_TRUE(writeExport(*store, {interval, detail, format}, context, out).ok());
    return out.str();
  }

  CategoryResolver resolver;
  CategoryDirectory directory = CategoryDirectory::builtIn("en");
};

TEST_F(UsageExportTest, WritesCsvWithQuotingAndCrLf) {
  Segment tricky = stored("code", "2026-11-20T08:00:00Z", "2026-11-20T08:30:15.5Z");
  tricky.appName = "Code";
  tricky.windowTitle = "say \"hi\", world";
  tricky.toolName = "line one\nline two";
  Segment away = stored("velto.offmac.meeting", "2026-11-20T09:00:00Z", "2026-11-20T10:00:00Z");
  away.appName = "Standup";
  ASSERT_TRUE(store->insertRows(std::vector<Segment>{tricky, away}));

  EXPECT_EQ(exported(ExportDetail::segments, ExportFormat::csv),
            "date,start,end,seconds,app,bundle_id,site,window_title,tool,category,end_reason,"
            "category_name\r\n"
            "2026-11-20,2026-11-20T09:00:00+01:00,2026-11-20T09:30:15+01:00,1815.5,Code,code,,"
            "\"say \"\"hi\"\", world\",\"line one\nline two\",other,focusChange,Other\r\n"
            "2026-11-20,2026-11-20T10:00:00+01:00,2026-11-20T11:00:00+01:00,3600,Meeting,"
            "velto.offmac.meeting,,,,off_mac,focusChange,Away from the computer\r\n");
  EXPECT_EQ(exported(ExportDetail::dailyApps, ExportFormat::csv),
            "date,app,bundle_id,category,seconds,category_name\r\n"
            "2026-11-20,Code,code,other,1815.5,Other\r\n"
            "2026-11-20,Meeting,velto.offmac.meeting,off_mac,3600,Away from the computer\r\n");
}

TEST_F(UsageExportTest, WritesJsonWithSortedKeysAndGroupsDailyApps) {
  ASSERT_TRUE(store->insertRows(std::vector<Segment>{
      stored("code", "2026-11-19T23:30:00Z", "2026-11-20T00:30:00Z"),  // local 20th
      stored("code", "2026-11-20T08:00:00Z", "2026-11-20T08:10:00Z"),
      stored("slack", "2026-11-20T09:00:00Z", "2026-11-20T09:01:00Z"),
      stored("code", "2026-11-21T08:00:00Z", "2026-11-21T08:01:00Z")}));
  const std::string text = exported(ExportDetail::dailyApps, ExportFormat::json);
  EXPECT_NE(text.find("    \"app\": \"code\",\n    \"bundle_id\""), std::string::npos) << text;
  const nlohmann::json json = nlohmann::json::parse(text);
  ASSERT_EQ(json.size(), 3u);
  EXPECT_EQ(json[0]["date"], "2026-11-20");
  EXPECT_EQ(json[0]["seconds"], 3600 + 600);
  EXPECT_EQ(json[1]["bundle_id"], "slack");
  EXPECT_EQ(json[2]["date"], "2026-11-21");
}

TEST_F(UsageExportTest, ImportsItsOwnJsonOnceAndRefusesBrokenFiles) {
  Segment titled = stored("code", "2026-11-20T08:00:00Z", "2026-11-20T08:30:00Z");
  titled.windowTitle = "main.cc";
  titled.host = "github.com";
  ASSERT_TRUE(store->insertRows(std::vector<Segment>{
      titled, stored("slack", "2026-11-20T09:00:00.25Z", "2026-11-20T09:01:00.75Z")}));
  const std::string json = exported(ExportDetail::segments, ExportFormat::json);
  std::istringstream origin(json);  // back into the store it came from: nothing new
  EXPECT_EQ(importSegments(*store, origin, calendar)->skipped, 2);

  ASSERT_TRUE(store->wipe());
  std::istringstream first(json);
  Result<ImportOutcome> imported = importSegments(*store, first, calendar);
  ASSERT_TRUE(imported.ok()) << imported.error();
  EXPECT_EQ(imported->added, 2);
  const std::vector<Segment> rows = all();
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_EQ(rows[0].startedAt, titled.startedAt);
  EXPECT_EQ(rows[0].windowTitle, titled.windowTitle);
  EXPECT_EQ(rows[0].host, titled.host);
  EXPECT_FALSE(rows[1].host);

  std::istringstream again(json);
  imported = importSegments(*store, again, calendar);
  ASSERT_TRUE(imported.ok());
  EXPECT_EQ(imported->added, 0);
  EXPECT_EQ(imported->skipped, 2);

  ASSERT_TRUE(store->wipe());
  struct Case {
    std::string text;
    std::string error;
  };
  const Case cases[] = {
      {R"([{"start":"2026-11-20T08:00:00Z","end":"2026-11-20T08:01:00Z","seconds":60,)"
       R"("bundle_id":"a"},{"start":"yesterday","end":"2026-11-20T08:01:00Z","seconds":60,)"
       R"("bundle_id":"a"}])",
       "record 2: \"start\" is not an ISO 8601 date-time"},
      {R"([{"start":"2026-11-20T08:00:00Z","end":"2026-11-20T08:01:00Z","seconds":"60",)"
       R"("bundle_id":"a"}])",
       "record 1: \"seconds\" must be a number of seconds"},
      {R"([{"start":"2026-11-20T08:00:00Z","end":"2026-11-20T08:01:00Z","seconds":60}])",
       "record 1: \"bundle_id\" must be non-empty text"},
      {R"({"start": 1})", "the file does not hold a list of records"},
      {R"([{"start":)", "not JSON after record 0 (byte 11)"},
  };
  for (const Case& c : cases) {
    std::istringstream in(c.text);
    const Result<ImportOutcome> broken = importSegments(*store, in, calendar);
    ASSERT_FALSE(broken.ok()) << c.text;
    EXPECT_EQ(broken.error(), c.error);
  }
  EXPECT_TRUE(all().empty());
}

}  // namespace
}  // namespace velto

namespace velto {
namespace {

TEST(CsvFieldTest, QuotesOnlyWhatNeedsIt) {
  const std::pair<const char*, const char*> cases[] = {
      {"plain text", "plain text"},     {"a,b", "\"a,b\""},   {"say \"hi\"", "\"say \"\"hi\"\"\""},
      {"two\nlines", "\"two\nlines\""}, {"cr\r", "\"cr\r\""}, {"", ""},
  };
  for (const auto& [value, expected] : cases) EXPECT_EQ(csvField(value), expected) << value;
}

}  // namespace
}  // namespace velto
