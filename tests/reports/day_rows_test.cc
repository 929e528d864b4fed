// Kept day rows: what goes in comes out, and totals kept across merges equal totals made anew.
#include "reports/day_rows.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <span>

#include "reports/usage_rollup.h"
#include "store/store_fixture.h"
#include "test_support/segment_rows.h"

namespace velto {
namespace {

using testing::at;

// A row of 2026-11-21 (UTC), times given as "hh:mm:ss".
Segment row(const std::string& bundleId, const std::string& from, const std::string& to,
            std::optional<std::string> title = std::nullopt,
            std::optional<std::string> host = std::nullopt) {
  Segment made = testing::storedRow(bundleId, "2026-11-21T" + from + "Z", "2026-11-21T" + to + "Z",
                                    std::move(title), std::move(host));
  made.dayKey = "2026-11-21";
  return made;
}

std::vector<Segment> byStart(std::vector<Segment> rows) {
  std::stable_sort(rows.begin(), rows.end(),
                   [](const Segment& a, const Segment& b) { return a.startedAt < b.startedAt; });
  return rows;
}

// A day of rows over a few contexts, with an empty host apart from an absent one, the same
// title in two apps, a tool, a link and every kind of end.
std::vector<Segment> sampleDay() {
  std::vector<Segment> rows = {
      row("code", "09:00:00", "09:20:00", "main.cc - velto"),
      row("firefox", "09:20:00", "09:25:00", "Docs", std::string("docs.example.org")),
      row("firefox", "09:25:00", "09:26:00", "Docs", std::string("")),
      row("firefox", "09:26:00", "09:30:00", "Mail", std::string("docs.example.org")),
      row("velto.offmac.meeting", "09:30:00", "10:00:00"),
      row("code", "10:00:00", "10:05:00", "main.cc - velto"),
      row("slack", "10:05:00", "10:06:00", "main.cc - velto"),
  };
  rows[0].toolName = "Terminal";
  rows[1].url = "https://docs.example.org/a";
  rows[4].endReasonRaw = "idle";
  rows[6].endReasonRaw = "appQuit";
  return rows;
}

// Totals by a key of everything they tell apart; their order is of no account.
std::map<std::string, std::pair<Micros, std::int64_t>> keyed(std::span<const ContextTotal> totals) {
  std::map<std::string, std::pair<Micros, std::int64_t>> out;
  for (const ContextTotal& total : totals) {
    const StoredContext& c = total.context;
    auto optional = [](const std::optional<std::string>& text) {
      return text ? "=" + *text : std::string("-");
    };
    std::string key = c.bundleId + "|" + c.appName + "|" + optional(c.host) + "|" +
                      optional(c.windowTitle) + "|" + optional(c.toolName) + "|" +
                      (total.titleless ? "t" : "") +
                      (total.detail ? total.detail->key + "/" + total.detail->label : "");
    EXPECT_FALSE(out.contains(key)) << key;
    out[key] = {total.micros, total.count};
  }
  return out;
}

void expectSameTotals(const DayRows& day) {
  const std::vector<Segment> segments = day.segments();
  const std::vector<ContextTotal> contexts = UsageRollup::contexts(segments);
  EXPECT_EQ(keyed(day.contexts()), keyed(contexts));
  EXPECT_EQ(keyed(day.siteContexts()), keyed(UsageRollup::titleless(contexts, false)));
  EXPECT_EQ(keyed(day.titlelessContexts()), keyed(UsageRollup::titleless(contexts, true)));
  std::map<std::string, std::pair<Micros, std::int64_t>> apps;
  for (const ContextTotal& total : contexts) {
    apps[total.context.bundleId + "||-|-|-|t"].first += total.micros;
    apps[total.context.bundleId + "||-|-|-|t"].second += total.count;
  }
  EXPECT_EQ(keyed(day.appContexts()), apps);
  for (size_t c = 0; c < day.contexts().size(); ++c) {
    const StoredContext& context = day.contexts()[c].context;
    const StoredContext& site = day.siteContexts()[day.siteOfContexts()[c]].context;
    EXPECT_EQ(site.bundleId, context.bundleId);
    EXPECT_EQ(site.host, context.host);
    EXPECT_EQ(day.appContexts()[day.appOfContexts()[c]].context.bundleId, context.bundleId);
    const ContextTotal& titleless = day.titlelessContexts()[day.titlelessOfContexts()[c]];
    EXPECT_EQ(titleless.context.appName, context.appName);
    EXPECT_EQ(day.offComputer(static_cast<std::uint32_t>(c)),
              UsageRollup::isOffMac(context.bundleId));
  }
  for (size_t r = 0; r < day.rows().size(); ++r) {
    const StoredContext& context = day.contexts()[day.rows()[r].context].context;
    EXPECT_EQ(context.bundleId, segments[r].bundleId);
    EXPECT_EQ(context.windowTitle, segments[r].windowTitle);
  }
}

TEST(DayRows, GivesBackEveryFieldInStartThenInsertionOrder) {
  const std::vector<Segment> rows = sampleDay();
  // Merged in two parts, the second starting earlier than the first ends, with a tie.
  std::vector<Segment> first(rows.begin() + 3, rows.end());
  std::vector<Segment> second(rows.begin(), rows.begin() + 3);
  second.push_back(row("code", "10:00:00", "10:01:00", "tie"));
  DayRows day("2026-11-21");
  day.merge(first, 4);
  day.merge(second, 8);
  std::vector<Segment> all = first;
  all.insert(all.end(), second.begin(), second.end());
  EXPECT_EQ(day.segments(), byStart(all));
  EXPECT_EQ(day.lastRowid(), 8);
  for (size_t i = 0; i < all.size(); ++i) EXPECT_EQ(day.segment(i), byStart(all)[i]);
}

// Totals made before rows arrive are kept up to date by the merge; those made after are made
// from everything. Both must equal totals made from the rows.
TEST(DayRows, TotalsKeptThroughMergesEqualTotalsMadeAnew) {
  const std::vector<Segment> rows = sampleDay();
  struct Case {
    const char* name;
    std::vector<Segment> later;
  };
  const std::vector<Case> cases = {
      {"a row of a known context", {row("code", "11:00:00", "11:30:00", "main.cc - velto")}},
      {"a new title of a known site", {row("code", "11:00:00", "11:01:00", "other.cc")}},
      {"a new site", {row("firefox", "11:00:00", "11:02:00", "Docs", std::string("new.example"))}},
      {"a row back in the morning", {row("slack", "08:00:00", "08:10:00", "main.cc - velto")}},
      {"several at once",
       {row("code", "12:00:00", "12:01:00"), row("velto.offmac.meeting", "12:01:00", "12:30:00"),
        row("firefox", "07:00:00", "07:01:00", "Mail", std::string(""))}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    DayRows day("2026-11-21");
    day.merge(rows, 7);
    (void)day.contexts();
    (void)day.titlelessContexts();
    (void)day.siteContexts();
    (void)day.appContexts();
    DayRows copy = day;
    day.merge(c.later, 9);
    expectSameTotals(day);
    // The copy kept what it had, and takes rows of its own.
    EXPECT_EQ(copy.segments(), byStart(rows));
    copy.merge(c.later, 9);
    EXPECT_EQ(copy.segments(), day.segments());
    expectSameTotals(copy);
  }
}

TEST(DayRows, SummaryLeavesTimeAwayOut) {
  DayRows day("2026-11-21");
  day.merge(sampleDay(), 7);
  const Calendar calendar = *Calendar::named("UTC");
  const std::optional<DaySummary>& summary = day.summary(calendar);
  ASSERT_TRUE(summary.has_value());
  EXPECT_EQ(*summary,
            DaySummary::of("2026-11-21", UsageRollup::atComputer(day.segments()), calendar));
  DayRows away("2026-11-21");
  away.merge(std::vector<Segment>{row("velto.offmac.meeting", "09:00:00", "10:00:00")}, 1);
  EXPECT_FALSE(away.summary(calendar).has_value());
}

class DayRowsStoreTest : public testing::StoreTest {};

TEST_F(DayRowsStoreTest, ReadsTheStoredRowsOfOneDay) {
  RecordedSegment titled = recorded("firefox", "2026-11-21T09:00:00Z", "2026-11-21T09:30:00Z");
  titled.context.windowTitle = "Docs";
  titled.context.host = "docs.example.org";
  titled.context.url = "https://docs.example.org/a";
  ASSERT_TRUE(store->insert(titled));
  add("code", "2026-11-21T08:00:00Z", "2026-11-21T09:00:00Z");
  add("code", "2026-11-20T08:00:00Z", "2026-11-20T09:00:00Z");
  UsageAggregates aggregates(persistence->database());
  Result<DayRows> day = readDayRows(aggregates, "2026-11-21");
  ASSERT_TRUE(day) << day.error();
  std::vector<Segment> expected = all();
  std::erase_if(expected, [](const Segment& s) { return s.dayKey != "2026-11-21"; });
  EXPECT_EQ(day->segments(), expected);
  EXPECT_EQ(day->lastRowid(), 2);
  ASSERT_EQ(day->contexts().size(), 2u);
  EXPECT_EQ(day->contexts()[1].context.host, "docs.example.org");
}

TEST(StringPool, InternsEachTextOnceAndSurvivesCopies) {
  StringPool pool;
  const std::uint32_t a = pool.intern("alpha");
  const std::uint32_t empty = pool.intern("");
  EXPECT_EQ(pool.intern(std::string("alp") + "ha"), a);
  EXPECT_NE(empty, a);
  EXPECT_EQ(pool.internOptional(std::nullopt), StringPool::kNone);
  EXPECT_EQ(pool.optional(StringPool::kNone), std::nullopt);
  EXPECT_EQ(pool.optional(empty), std::optional<std::string>(""));
  StringPool copy = pool;
  pool.compact();
  const std::uint32_t inCopy = copy.intern("a longer text than fits in a small string");
  const std::uint32_t inPool = pool.intern("beta");
  EXPECT_EQ(inCopy, inPool);  // the same next index, different texts
  EXPECT_EQ(copy.view(inCopy), "a longer text than fits in a small string");
  EXPECT_EQ(pool.view(inPool), "beta");
  EXPECT_EQ(pool.intern("alpha"), a);
  StringPool moved = std::move(copy);
  EXPECT_EQ(moved.intern("alpha"), a);
  EXPECT_EQ(moved.size(), 3u);
}

}  // namespace
}  // namespace velto
