#include "reports/usage_export.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "base/iso8601.h"
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

// A browser's day is filed site by site, as the report files it: the category sums of the export
// agree with the report's for the same stretch, whichever way the rows were categorised.
TEST_F(UsageExportTest, DailyAppsSplitsABrowsersDayByCategoryAsTheReportDoes) {
  const auto rule = [](std::string subject, std::string pattern, std::string category) {
    return CategoryRule{Uuid::random(), std::move(pattern), std::move(subject), std::move(category),
                        at("2026-01-01T00:00:00Z")};
  };
  const std::vector<CategoryRule> rules = {
      rule("host", "github.com", "coding"), rule("host", "youtube.com", "entertainment"),
      rule("keyword", "standup", "communication"), rule("app", "code", "coding")};
  resolver = CategoryResolver(rules, {}, nullptr);
  const auto row = [&](const char* bundleId, const char* from, const char* to,
                       std::optional<std::string> title, std::optional<std::string> host) {
    Segment segment = testing::storedRow(bundleId, from, to, std::move(title), std::move(host));
    segment.appName = bundleId;
    segment.dayKey = calendar.dayKey(segment.startedAt);
    return segment;
  };
  const std::vector<Segment> rows = {
      row("firefox", "2026-11-20T08:00:00Z", "2026-11-20T09:00:00Z", "PR", "github.com"),
      row("firefox", "2026-11-20T09:00:00Z", "2026-11-20T09:30:00Z", "Video", "youtube.com"),
      row("firefox", "2026-11-20T09:30:00Z", "2026-11-20T09:40:00Z", "Daily standup", "meet.io"),
      row("firefox", "2026-11-20T09:40:00Z", "2026-11-20T09:45:00Z", std::nullopt, std::nullopt),
      row("code", "2026-11-20T10:00:00Z", "2026-11-20T11:00:00Z", std::nullopt, std::nullopt),
      row("firefox", "2026-11-21T08:00:00Z", "2026-11-21T08:20:00Z", "PR", "github.com")};
  ASSERT_TRUE(store->insertRows(rows));

  const nlohmann::json records =
      nlohmann::json::parse(exported(ExportDetail::dailyApps, ExportFormat::json));
  std::map<std::string, double> exportedSums;
  for (const nlohmann::json& record : records) {
    exportedSums[record["category"].get<std::string>()] += record["seconds"].get<double>();
  }
  std::map<std::string, double> reportSums;
  for (const CategoryUsage& category :
       UsageRollup::byCategory(UsageRollup::contexts(rows), resolver, directory)) {
    reportSums[category.id] = category.seconds;
  }
  EXPECT_EQ(exportedSums, reportSums);
  EXPECT_EQ(exportedSums["coding"], 3600 + 3600 + 1200);
  EXPECT_EQ(exportedSums["entertainment"], 1800);
  EXPECT_EQ(exportedSums["communication"], 600) << "a keyword rule reads the title";
  EXPECT_EQ(exportedSums["other"], 300);

  // The day's browser records: one per category, the columns as before.
  ASSERT_EQ(records.size(), 6u);
  EXPECT_EQ(records[0]["date"], "2026-11-20");
  EXPECT_EQ(records[0]["app"], "code");
  EXPECT_EQ(records[1]["bundle_id"], "firefox");
  EXPECT_EQ(records[1]["category"], "coding");
  EXPECT_EQ(records[1]["category_name"], "Coding");
  EXPECT_EQ(records[1]["seconds"], 3600);
  EXPECT_EQ(records[5]["date"], "2026-11-21");
  EXPECT_EQ(records[5]["seconds"], 1200);
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
      {R"([{"seconds":1e999}])", "not JSON after record 0"},  // past a double: no crash either
  };
  for (const Case& c : cases) {
    std::istringstream in(c.text);
    const Result<ImportOutcome> broken = importSegments(*store, in, calendar);
    ASSERT_FALSE(broken.ok()) << c.text;
    EXPECT_EQ(broken.error(), c.error);
  }
  EXPECT_TRUE(all().empty());
}

TEST_F(UsageExportTest, ReimportsEveryKindOfRowTheAppExports) {
  // Cut to whole seconds on export: 3.0, 3.2 and 3.85 seconds that start at different fractions.
  Segment shortest = stored("code", "2026-11-20T08:00:00.9Z", "2026-11-20T08:00:03.9Z");
  Segment longerThanWritten = stored("code", "2026-11-20T08:01:00.9Z", "2026-11-20T08:01:04.1Z");
  Segment shorterThanWritten = stored("code", "2026-11-20T08:02:00.1Z", "2026-11-20T08:02:03.95Z");
  Segment reassigned = stored("slack", "2026-11-20T09:00:00Z", "2026-11-20T09:10:00Z");
  ASSERT_TRUE(store->insertRows(
      std::vector<Segment>{shortest, longerThanWritten, shorterThanWritten, reassigned}));
  ASSERT_TRUE(store->reassign(std::vector<Uuid>{reassigned.id}, "mail", "Mail"));
  // Named time across midnight (Berlin): a piece of 0.6 seconds, then one of 30 seconds.
  ASSERT_TRUE(store->nameTime(at("2026-11-20T22:59:59.4Z"), at("2026-11-20T23:00:30Z"),
                              "velto.offmac.meeting", "Standup", {}));
  const std::vector<Segment> before = all();
  ASSERT_EQ(before.size(), 6u);
  ASSERT_EQ(before[4].endReasonRaw, "manual");
  ASSERT_LT(before[4].seconds, 1.0);

  const std::string json = exported(ExportDetail::segments, ExportFormat::json);
  ASSERT_TRUE(store->wipe());
  std::istringstream in(json);
  const Result<ImportOutcome> imported = importSegments(*store, in, calendar);
  ASSERT_TRUE(imported.ok()) << imported.error();
  EXPECT_EQ(imported->added, 6);
  const std::vector<Segment> after = all();
  ASSERT_EQ(after.size(), before.size());
  for (size_t i = 0; i < after.size(); ++i) {
    EXPECT_EQ(after[i].seconds, before[i].seconds) << i;
    EXPECT_EQ(after[i].endReasonRaw, before[i].endReasonRaw) << i;
  }
}

class UsageImportTest : public UsageExportTest {
 protected:
  // One record of a segments export, 09:00 to 09:05 UTC, changed by `changes`.
  static nlohmann::json record(const nlohmann::json& changes = nlohmann::json::object()) {
    nlohmann::json record = {{"start", "2026-11-20T09:00:00Z"},
                             {"end", "2026-11-20T09:05:00Z"},
                             {"seconds", 300},
                             {"bundle_id", "code"},
                             {"app", "Code"},
                             {"window_title", "main.cc"},
                             {"site", "github.com"},
                             {"tool", "make"},
                             {"end_reason", "focusChange"}};
    record.update(changes);
    return record;
  }

  // Imports a good record followed by `second`.
  Result<ImportOutcome> importWith(const nlohmann::json& second, std::string_view language = "en") {
    const nlohmann::json first = record({{"bundle_id", "first"}});
    std::istringstream in(nlohmann::json::array({first, second}).dump());
    return importSegments(*store, in, calendar, {}, language);
  }

  std::int64_t storedRows() {
    Result<sql::Statement> count = persistence->database().prepare("SELECT count(*) FROM segment");
    EXPECT_TRUE(count && count->step().toOptional().value_or(false));
    return count ? count->int64(0) : -1;
  }
};

TEST_F(UsageImportTest, RefusesWhatNoRecorderWrites) {
  using nlohmann::json;
  const std::string nul("a\0b", 3);
  struct Case {
    json changes;
    std::string error;
  };
  const Case cases[] = {
      // Totals add "seconds": it must be the time from start to end, give or take the cut second.
      {{{"seconds", 99999}},
       R"(record 2: "seconds" is 99999, but "start" to "end" is 300 seconds)"},
      {{{"seconds", 301.5}},
       R"(record 2: "seconds" is 301.5, but "start" to "end" is 300 seconds)"},
      {{{"seconds", 298.5}},
       R"(record 2: "seconds" is 298.5, but "start" to "end" is 300 seconds)"},
      {{{"end_reason", "FocusChange"}},
       R"(record 2: "end_reason" "FocusChange" is not an end reason)"},
      {{{"end_reason", "banana"}}, R"(record 2: "end_reason" "banana" is not an end reason)"},
      {{{"bundle_id", nul}}, R"(record 2: "bundle_id" holds a NUL character)"},
      {{{"app", nul}}, R"(record 2: "app" holds a NUL character)"},
      {{{"window_title", nul}}, R"(record 2: "window_title" holds a NUL character)"},
      {{{"site", nul}}, R"(record 2: "site" holds a NUL character)"},
      {{{"tool", nul}}, R"(record 2: "tool" holds a NUL character)"},
      {{{"end_reason", "manual" + nul}}, R"(record 2: "end_reason" holds a NUL character)"},
      {{{"start", "1000-11-20T09:00:00Z"}},
       R"(record 2: "start" lies outside the years 1970 to 2099)"},
      {{{"start", "1969-12-31T23:59:59Z"}, {"end", "1970-01-01T00:04:59Z"}},
       R"(record 2: "start" lies outside the years 1970 to 2099)"},
      {{{"end", "9999-11-20T09:05:00Z"}}, R"(record 2: "end" lies outside the years 1970 to 2099)"},
      {{{"start", "2100-01-01T00:00:01Z"}, {"end", "2100-01-01T00:05:01Z"}},
       R"(record 2: "start" lies outside the years 1970 to 2099)"},
      // Shorter than the recorder's minimum: only rows made by hand may be.
      {{{"end", "2026-11-20T09:00:02.9Z"}, {"seconds", 2.9}},
       R"(record 2: "end" is less than 3 seconds after "start", which only "manual" rows may be)"},
      {{{"end", "2026-11-20T09:00:00Z"}, {"seconds", 0}, {"end_reason", "recovered"}},
       R"(record 2: "end" is less than 3 seconds after "start", which only "manual" rows may be)"},
      // Longer than the recorder's safety cap: more time in one day than any recording.
      {{{"end", "2026-11-20T17:00:02Z"}, {"seconds", 28802}},
       R"(record 2: "end" is more than 8 hours after "start", longer than any recorded row)"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.changes.dump());
    const Result<ImportOutcome> broken = importWith(record(c.changes));
    ASSERT_FALSE(broken.ok());
    EXPECT_EQ(broken.error(), c.error);
    EXPECT_EQ(storedRows(), 0);
  }
}

TEST_F(UsageImportTest, AcceptsRowsWithinTheLimits) {
  using nlohmann::json;
  const json cases[] = {
      {{"seconds", 300.9}},  // the export cuts both instants to the second
      {{"seconds", 299.1}},
      {{"end", "2026-11-20T09:00:03Z"}, {"seconds", 3}},
      {{"end", "2026-11-20T09:00:01Z"}, {"seconds", 0.6}, {"end_reason", "manual"}},
      {{"end", "2026-11-20T09:00:00Z"}, {"seconds", 0.4}, {"end_reason", "manual"}},
      {{"end", "2026-11-20T09:00:01Z"}, {"seconds", 1}, {"end_reason", nullptr}},  // reads manual
      {{"start", "1970-01-01T00:00:00Z"}, {"end", "1970-01-01T00:05:00Z"}},
      {{"start", "2099-12-31T23:55:00Z"}, {"end", "2100-01-01T00:00:00Z"}},
      {{"end", "2026-11-20T17:00:00Z"}, {"seconds", 28800}},  // exactly the cap
      {{"end", "2026-11-20T21:00:00Z"}, {"seconds", 43200}, {"end_reason", "manual"}},
  };
  for (const json& changes : cases) {
    SCOPED_TRACE(changes.dump());
    const Result<ImportOutcome> imported = importWith(record(changes));
    ASSERT_TRUE(imported.ok()) << imported.error();
    EXPECT_EQ(imported->added, 2);
    ASSERT_TRUE(store->wipe());
  }
}

TEST_F(UsageImportTest, SpeaksTheUsersLanguage) {
  const Result<ImportOutcome> broken = importWith(record({{"end_reason", "banana"}}), "de");
  ASSERT_FALSE(broken.ok());
  EXPECT_EQ(broken.error(), R"(Eintrag 2: "end_reason" "banana" ist kein Endgrund)");
}

TEST_F(UsageImportTest, AStreamThatCannotBeReadIsAnError) {
  std::ifstream folder(dir.path(), std::ios::binary);  // opens, then fails on the first read
  ASSERT_TRUE(folder.is_open());
  const Result<ImportOutcome> broken = importSegments(*store, folder, calendar);
  ASSERT_FALSE(broken.ok());
  EXPECT_EQ(broken.error(), "the file could not be read after record 0");
}

}  // namespace
}  // namespace velto

namespace velto {
namespace {

// An export of `count` records, ten seconds apart from 2026-11-18 08:00 UTC, over a few apps.
std::string bigExport(int count) {
  nlohmann::json records = nlohmann::json::array();
  const Instant first = at("2026-11-18T08:00:00Z");
  for (int i = 0; i < count; ++i) {
    const Instant start = addSeconds(first, i * 10.0);
    records.push_back({{"start", formatIso8601(start)},
                       {"end", formatIso8601(addSeconds(start, 8.0))},
                       {"seconds", 8},
                       {"bundle_id", "app" + std::to_string(i % 7)},
                       {"window_title", "Document " + std::to_string(i % 50)},
                       {"end_reason", "focusChange"}});
  }
  return records.dump();
}

TEST_F(UsageImportTest, AnImportKilledHalfWayLeavesNothingAndAWholeOneLeavesItsTotals) {
  add("kept", "2026-11-18T07:00:00Z", "2026-11-18T07:30:00Z");
  const std::vector<std::string> before = perDay();
  const std::string json = bigExport(3 * static_cast<int>(kImportProgressEvery));
  store.reset();
  persistence.reset();
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    NoticeBus childBus;
    PersistenceController childPersistence(dir.path());
    SegmentStore childStore(childPersistence, calendar, childBus);
    std::istringstream in(json);
    // Two thirds in, with thousands of rows written into the transaction, the process dies.
    ImportProgress progress;
    progress.read = [](std::int64_t read) {
      if (read >= 2 * kImportProgressEvery) ::raise(SIGKILL);
    };
    (void)importSegments(childStore, in, calendar, progress);
    ::_exit(0);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFSIGNALED(status)) << "the import ended before the kill";

  open();
  EXPECT_EQ(storedRows(), 1);
  EXPECT_EQ(perDay(), before);

  std::istringstream in(json);
  const Result<ImportOutcome> imported = importSegments(*store, in, calendar);
  ASSERT_TRUE(imported.ok()) << imported.error();
  EXPECT_EQ(imported->added, 3 * kImportProgressEvery);
  // The import built the totals of its days: none is left for the first report to build.
  const Result<std::vector<StoredDay>> days = UsageAggregates(persistence->database()).days();
  ASSERT_TRUE(days.ok()) << days.error();
  ASSERT_FALSE(days->empty());
  for (const StoredDay& day : *days) EXPECT_FALSE(day.marked) << day.dayKey;
  EXPECT_EQ(perDay(), std::vector<std::string>{"2026-11-18: 25800 s, 3001 rows"});
}

TEST(CsvFieldTest, QuotesOnlyWhatNeedsIt) {
  const std::pair<const char*, const char*> cases[] = {
      {"plain text", "plain text"},     {"a,b", "\"a,b\""},   {"say \"hi\"", "\"say \"\"hi\"\"\""},
      {"two\nlines", "\"two\nlines\""}, {"cr\r", "\"cr\r\""}, {"", ""},
  };
  for (const auto& [value, expected] : cases) EXPECT_EQ(csvField(value), expected) << value;
}

}  // namespace
}  // namespace velto
