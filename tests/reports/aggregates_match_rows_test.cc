// Reports built from the store's aggregates against the same reports built from every row, on
// random histories that are edited, purged and read in other time zones.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>

#include "context/context_detail.h"
#include "reports/usage_report.h"
#include "reports/usage_source.h"
#include "store/store_fixture.h"

namespace velto {
namespace {

using testing::at;

struct Totals {
  std::map<std::string, std::pair<Micros, std::int64_t>> byContext;
  bool operator==(const Totals&) const = default;
};

// Per context, or per application and host when `titleless`.
Totals totalsOf(const std::vector<ContextTotal>& contexts, bool titleless) {
  Totals totals;
  for (const ContextTotal& total : contexts) {
    const StoredContext& c = total.context;
    std::string key = c.bundleId + "|" + c.appName + "|" + (c.host ? "V" + *c.host : "N") + "|";
    if (titleless) {
      key += "-";
    } else {
      EXPECT_FALSE(total.titleless);
      key += (c.windowTitle ? "V" + *c.windowTitle : "N") + "|" +
             (c.toolName ? "V" + *c.toolName : "N");
    }
    totals.byContext[key].first += total.micros;
    totals.byContext[key].second += total.count;
  }
  return totals;
}

// Time at the computer per detail key: the details of the contexts, and of the stored details
// counted by id.
std::map<std::string, Micros> detailsOf(const UsageTally& tally, UsageAggregates& aggregates) {
  std::map<std::string, Micros> micros;
  for (const DetailUsage& row : UsageRollup::allDetails(tally.contexts)) {
    micros[row.key] += std::llround(row.seconds * 1e6);
  }
  for (size_t id = 0; id < tally.detailMicros.size(); ++id) {
    if (tally.detailMicros[id] == 0) continue;
    const auto at = static_cast<std::int64_t>(id);
    const std::optional<ActivityDetail> detail = aggregates.detailsOfIds({&at, 1}).value().at(0);
    EXPECT_TRUE(detail.has_value());
    if (detail) micros[detail->key] += tally.detailMicros[id];
  }
  return micros;
}

// Back-to-back stretches with gaps around the 60-s joining limit, a few apps and titles, absent
// and empty hosts, time away from the computer, and now and then a row across midnight.
std::vector<Segment> randomHistory(const Calendar& calendar, Instant from, int days,
                                   unsigned seed) {
  std::mt19937 random(seed);
  const char* apps[] = {"code", "firefox", "org.gnome.Terminal", "slack", "velto.offmac.meeting"};
  const char* titles[] = {"main.cc - velto", "Inbox", "notes", "main.cc - velto"};
  std::vector<Segment> rows;
  Instant cursor = from;
  const Instant end = calendar.addDays(from, days);
  while (cursor < end) {
    const int gapChoice = static_cast<int>(random() % 6);
    const double gap = gapChoice == 0   ? 60
                       : gapChoice == 1 ? 61
                       : gapChoice == 2 ? 0
                       : gapChoice == 3 ? 3600.0 * (random() % 9)
                                        : random() % 300;
    cursor = addSeconds(cursor, gap);
    const double length = 3 + random() % (random() % 10 == 0 ? 7200 : 600);
    Segment row;
    row.id = Uuid::random();
    row.startedAt = cursor;
    row.endedAt = addSeconds(cursor, length);
    row.seconds = length;
    row.bundleId = apps[random() % 5];
    row.appName = row.bundleId == std::string("code") && random() % 2 ? "VS Code" : row.bundleId;
    if (random() % 4 != 0) row.windowTitle = titles[random() % 4];
    if (row.bundleId == std::string("firefox")) {
      const int host = static_cast<int>(random() % 4);
      if (host == 1) row.host = "";
      if (host >= 2) row.host = host == 2 ? "github.com" : "news.example.com";
    }
    if (row.bundleId == std::string("org.gnome.Terminal") && random() % 2) row.toolName = "npm";
    // The recorder splits at midnight; imported or older rows sometimes are not.
    const Instant midnight = calendar.nextMidnight(cursor);
    if (row.endedAt > midnight && random() % 3 != 0) {
      row.endedAt = midnight;
      row.seconds = secondsBetween(row.startedAt, midnight);
    }
    row.dayKey = calendar.dayKey(row.startedAt);
    cursor = row.endedAt;
    rows.push_back(std::move(row));
  }
  return rows;
}

class AggregatesMatchRowsTest : public testing::StoreTest {
 protected:
  AggregatesMatchRowsTest() : StoreTest("Europe/Berlin") {}

  void expectSameTally(const Calendar& reading, const DateInterval& interval,
                       const std::string& what) {
    SCOPED_TRACE(what + " in " + reading.zoneName() + " " + reading.dayKey(interval.start) +
                 " to " + reading.dayKey(interval.end));
    UsageSource source(*store, reading);
    const Result<UsageTally> reference = source.tallyFromRows(interval, {});
    ASSERT_TRUE(reference.ok());
    for (bool titles : {true, false}) {
      source.setCategoriesUseTitles(titles);
      const Result<UsageTally> totals = source.tally(interval, {}, false);
      ASSERT_TRUE(totals.ok()) << totals.error();
      EXPECT_EQ(totalsOf(totals->contexts, !titles), totalsOf(reference->contexts, !titles));
      EXPECT_EQ(totals->siteLevel, !titles);
      if (!titles) {
        EXPECT_EQ(detailsOf(*totals, source.aggregates()),
                  detailsOf(*reference, source.aggregates()));
      }
    }
    const Result<UsageTally> fast = source.tally(interval, {});
    ASSERT_TRUE(fast.ok()) << fast.error();
    EXPECT_EQ(fast->days, reference->days);
    // Joined day summaries give what the rows give.
    EXPECT_EQ(shapeOf(fast->days),
              UsageRollup::shape(UsageRollup::atComputer(reference->rows), reading));
    // A second read comes from the cached day summaries.
    const Result<UsageTally> again = source.tally(interval, {});
    ASSERT_TRUE(again.ok());
    EXPECT_EQ(again->days, reference->days);
  }

  void expectSameEverywhere(const std::string& what) {
    const Calendar berlin = calendar;
    const Calendar newYork = *Calendar::named("America/New_York");
    const Instant anchor = at("2026-10-25T12:00:00Z");  // Berlin leaves summer time that day
    for (const Calendar* reading : {&berlin, &newYork}) {
      for (PeriodKind kind : {PeriodKind::day, PeriodKind::week, PeriodKind::month}) {
        expectSameTally(*reading, periodContaining(kind, anchor, *reading, anchor).interval, what);
      }
      expectSameTally(*reading, {at("2026-10-03T10:17:00Z"), at("2026-11-02T23:59:30Z")}, what);
      expectSameTally(*reading, {at("2026-01-01T00:00:00Z"), at("2027-01-01T00:00:00Z")}, what);
    }
  }
};

TEST_F(AggregatesMatchRowsTest, AgreeOnRandomHistoriesThroughEditsAndPurges) {
  for (unsigned seed : {1u, 2u, 3u}) {
    ASSERT_TRUE(store->wipe());
    std::vector<Segment> history = randomHistory(calendar, at("2026-09-20T05:00:00Z"), 60, seed);
    ASSERT_TRUE(store->insertRows(history));
    expectSameEverywhere("inserted");

    std::mt19937 random(seed);
    std::vector<Uuid> doomed;
    std::vector<Uuid> moved;
    for (const Segment& row : history) {
      if (random() % 10 == 0) doomed.push_back(row.id);
      if (random() % 10 == 1) moved.push_back(row.id);
    }
    ASSERT_TRUE(store->deleteSegments(doomed));
    ASSERT_TRUE(store->reassign(moved, "slack", "Slack"));
    ASSERT_TRUE(store->nameTime(at("2026-10-24T21:00:00Z"), at("2026-10-25T03:00:00Z"),
                                "velto.offmac.phone", "Phone", {}));
    expectSameEverywhere("edited");

    ASSERT_TRUE(store->purge(30, at("2026-11-10T12:00:00Z")).ok());
    expectSameEverywhere("purged");
  }
}

TEST_F(AggregatesMatchRowsTest, FullReportsAgreeWithTheRunningSegmentAndRules) {
  ASSERT_TRUE(store->insertRows(randomHistory(calendar, at("2026-09-01T05:00:00Z"), 90, 7)));
  std::vector<CategoryRule> rules = {
      {Uuid::random(), "github.com", "host", "coding", at("2026-01-01T00:00:00Z")},
      {Uuid::random(), "inbox", "keyword", "communication", at("2026-01-01T00:00:00Z")}};
  for (size_t ruleCount : {2u, 1u}) {
    rules.resize(ruleCount);
    const CategoryResolver resolver(rules, {}, nullptr);
    const CategoryDirectory directory = CategoryDirectory::builtIn("en");
    const Instant now = at("2026-11-18T15:30:00Z");
    const LiveSlice live{{"code", "Code", "main.cc - velto", {}, {}, {}},
                         at("2026-11-18T15:10:00Z")};
    UsageSource source(*store, calendar);
    for (PeriodKind kind :
         {PeriodKind::day, PeriodKind::week, PeriodKind::month, PeriodKind::year}) {
      for (Instant anchor : {now, at("2026-10-25T09:00:00Z")}) {
        SCOPED_TRACE(std::string(rawValue(kind)) + " " + calendar.dayKey(anchor));
        const ReportPeriod period = periodContaining(kind, anchor, calendar, now);
        FigureInputs inputs{calendar, resolver, directory, "en", now, live, Uuid::random()};
        inputs.categoriesUseTitles = hasKeywordRules(rules);
        const Result<UsageFigures> fast = buildFigures(source, period, inputs);
        inputs.rowsOnly = true;
        const Result<UsageFigures> slow = buildFigures(source, period, inputs);
        ASSERT_TRUE(fast.ok() && slow.ok());
        EXPECT_EQ(fast->totalSeconds, slow->totalSeconds);
        EXPECT_EQ(fast->offMacSeconds, slow->offMacSeconds);
        EXPECT_EQ(fast->previousTotalSeconds, slow->previousTotalSeconds);
        EXPECT_EQ(fast->focusSplit, slow->focusSplit);
        EXPECT_EQ(fast->shape, slow->shape);
        ASSERT_EQ(fast->byApp.size(), slow->byApp.size());
        for (size_t i = 0; i < fast->byApp.size(); ++i) {
          EXPECT_EQ(fast->byApp[i].bundleId, slow->byApp[i].bundleId);
          EXPECT_EQ(fast->byApp[i].seconds, slow->byApp[i].seconds);
          EXPECT_EQ(fast->byApp[i].count, slow->byApp[i].count);
        }
        ASSERT_EQ(fast->byCategory.size(), slow->byCategory.size());
        for (size_t i = 0; i < fast->byCategory.size(); ++i) {
          EXPECT_EQ(fast->byCategory[i].id, slow->byCategory[i].id);
          EXPECT_EQ(fast->byCategory[i].seconds, slow->byCategory[i].seconds);
        }
        for (size_t h = 0; h < 24; ++h) EXPECT_EQ(fast->hourly[h].seconds, slow->hourly[h].seconds);
        ASSERT_EQ(fast->buckets.size(), slow->buckets.size());
        for (size_t i = 0; i < fast->buckets.size(); ++i) {
          EXPECT_EQ(fast->buckets[i].seconds, slow->buckets[i].seconds);
        }
        ASSERT_EQ(fast->detailTrends.size(), slow->detailTrends.size());
        for (size_t i = 0; i < fast->detailTrends.size(); ++i) {
          EXPECT_EQ(fast->detailTrends[i].row.key, slow->detailTrends[i].row.key);
          EXPECT_EQ(fast->detailTrends[i].row.current, slow->detailTrends[i].row.current);
          EXPECT_EQ(fast->detailTrends[i].row.previous, slow->detailTrends[i].row.previous);
        }
        // Detail rows when totals are per site: one application's read on its own, and every
        // application's read in one pass.
        Result<std::vector<ContextTotal>> every =
            source.appDetails(fast->counted, fast->liveRows, std::nullopt);
        ASSERT_TRUE(every.ok());
        for (const AppUsage& app : slow->byApp) {
          Result<std::vector<ContextTotal>> own =
              source.appDetails(fast->counted, fast->liveRows, app.bundleId);
          ASSERT_TRUE(own.ok());
          const std::vector<DetailUsage> expected =
              UsageRollup::detailRows(slow->contexts, app.bundleId);
          for (const std::vector<ContextTotal>* read : {&*own, &*every}) {
            const std::vector<DetailUsage> got = UsageRollup::detailRows(*read, app.bundleId);
            ASSERT_EQ(got.size(), expected.size()) << app.bundleId;
            for (size_t i = 0; i < got.size(); ++i) {
              EXPECT_EQ(got[i].key, expected[i].key);
              EXPECT_EQ(got[i].seconds, expected[i].seconds);
              EXPECT_EQ(got[i].count, expected[i].count);
            }
          }
        }
        EXPECT_EQ(fast->liveSegmentID.has_value(), period.inProgress);
      }
    }
  }
}

// One source lives through every kind of write, as the report window's does: the rows it keeps
// in memory for the day being recorded and for partly covered days must follow each of them.
TEST_F(AggregatesMatchRowsTest, KeptRowsFollowEveryKindOfWrite) {
  // Up to the morning of 20 November, the newest day: it stays marked and is read from rows.
  ASSERT_TRUE(store->insertRows(randomHistory(calendar, at("2026-11-01T05:00:00Z"), 19, 5)));
  UsageSource source(*store, calendar);
  const std::vector<DateInterval> intervals = {
      {at("2026-11-19T23:00:00Z"), at("2026-11-21T00:00:00Z")},  // the newest day, whole
      {at("2026-11-18T23:00:00Z"), at("2026-11-19T13:30:00Z")},  // a day up to "this point"
      {at("2026-11-10T23:00:00Z"), at("2026-11-11T23:00:00Z")},  // a settled day, whole
  };
  auto expectSame = [&](const std::string& after) {
    SCOPED_TRACE(after);
    for (const DateInterval& interval : intervals) {
      const Result<UsageTally> reference = source.tallyFromRows(interval, {});
      ASSERT_TRUE(reference.ok());
      for (bool titles : {true, false}) {
        source.setCategoriesUseTitles(titles);
        const Result<UsageTally> fast = source.tally(interval, {});
        ASSERT_TRUE(fast.ok()) << fast.error();
        EXPECT_EQ(totalsOf(fast->contexts, !titles), totalsOf(reference->contexts, !titles));
        EXPECT_EQ(fast->days, reference->days);
      }
      const Result<Timeline> timeline = source.timeline(interval, {});
      ASSERT_TRUE(timeline.ok());
      EXPECT_EQ(timeline->rows->size(), UsageRollup::atComputer(reference->rows).size());
      EXPECT_EQ(timeline->blocks->size(),
                UsageRollup::blocks(UsageRollup::atComputer(reference->rows)).size());
    }
  };
  expectSame("the first read");
  const std::vector<Segment> rows = all();
  auto rowIn = [&](const std::string& dayKey, size_t nth) {
    std::vector<Uuid> ids;
    for (const Segment& row : rows) {
      if (row.dayKey == dayKey) ids.push_back(row.id);
    }
    return ids.at(nth % ids.size());
  };

  add("code", "2026-11-20T22:00:00Z", "2026-11-20T22:10:00Z");
  expectSame("a row recorded into the newest day");
  // The same again for contexts the day already has (kept totals grow in place).
  for (const char* start : {"2026-11-20T22:20:00Z", "2026-11-20T22:30:00Z"}) {
    auto known = std::find_if(rows.begin(), rows.end(),
                              [](const Segment& row) { return row.dayKey == "2026-11-20"; });
    ASSERT_NE(known, rows.end());
    Segment again = *known;
    again.id = Uuid::random();
    again.startedAt = at(start);
    again.endedAt = addSeconds(again.startedAt, 300);
    again.seconds = 300;
    ASSERT_TRUE(store->insertRows({&again, 1}));
    expectSame(std::string("a row of a known context at ") + start);
  }
  ASSERT_TRUE(store->insertRows(
      randomHistory(calendar, at("2026-11-19T08:00:00Z"), 1, 9)));  // an import into a kept day
  expectSame("rows imported into days already read");
  const Uuid reassigned = rowIn("2026-11-19", 3);
  ASSERT_TRUE(store->reassign({&reassigned, 1}, "slack", "Slack"));
  expectSame("a stretch given to another app");
  const Uuid deleted = rowIn("2026-11-20", 5);
  ASSERT_TRUE(store->deleteSegments({&deleted, 1}));
  expectSame("a deleted stretch");
  {
    NoticeBus otherBus;
    PersistenceController other(dir.path());
    SegmentStore otherStore(other, calendar, otherBus);
    const Uuid elsewhere = rowIn("2026-11-11", 2);
    ASSERT_TRUE(otherStore.deleteSegments({&elsewhere, 1}));
    ASSERT_TRUE(
        otherStore.insert(recorded("slack", "2026-11-19T12:00:00Z", "2026-11-19T12:20:00Z")));
  }
  expectSame("a deletion and a row from another process");
}

TEST_F(AggregatesMatchRowsTest, RememberedTotalsFollowEveryWriterAndTheRunningSegment) {
  ASSERT_TRUE(store->insertRows(randomHistory(calendar, at("2026-11-01T05:00:00Z"), 20, 11)));
  UsageSource source(*store, calendar);
  source.setCategoriesUseTitles(false);
  const DateInterval week{at("2026-11-09T00:00:00Z"), at("2026-11-16T00:00:00Z")};
  auto total = [&](std::span<const Segment> extra = {}) {
    // The number alone, asked first or after the totals, is the same.
    const Result<Micros> first = source.atComputerMicros(week, extra);
    Result<std::vector<ContextTotal>> totals = source.totals(week, extra);
    EXPECT_TRUE(totals.ok());
    const Result<Micros> after = source.atComputerMicros(week, extra);
    if (!totals.ok() || !first.ok() || !after.ok()) return -1.0;
    EXPECT_EQ(*first, UsageRollup::atComputerMicros(*totals));
    EXPECT_EQ(*after, *first);
    return UsageRollup::atComputerSeconds(*totals);
  };
  auto reference = [&] {
    return UsageRollup::atComputerSeconds(source.tallyFromRows(week, {})->contexts);
  };
  EXPECT_EQ(total(), reference());
  EXPECT_EQ(total(), reference());

  // A row written through this store.
  add("code", "2026-11-12T23:00:00Z", "2026-11-12T23:30:00Z");
  EXPECT_EQ(total(), reference());

  // A row written by another process, through its own connection.
  {
    NoticeBus otherBus;
    PersistenceController other(dir.path());
    SegmentStore otherStore(other, calendar, otherBus);
    ASSERT_TRUE(
        otherStore.insert(recorded("slack", "2026-11-13T23:00:00Z", "2026-11-13T23:45:00Z")));
  }
  EXPECT_EQ(total(), reference());

  // The running segment counts on top of the remembered totals, and only inside the interval.
  Segment running;
  running.startedAt = at("2026-11-15T23:50:00Z");
  running.endedAt = at("2026-11-16T00:20:00Z");
  running.seconds = 1800;
  running.bundleId = "code";
  running.appName = "code";
  EXPECT_EQ(total(std::span<const Segment>(&running, 1)), reference() + 600);

  // Asked again up to a later end: the same stored rows, unless one reaches past the earlier end.
  const DateInterval longer{week.start, at("2026-11-20T00:00:00Z")};
  auto totalOf = [&](const DateInterval& interval) {
    return UsageRollup::atComputerSeconds(*source.totals(interval, {}));
  };
  auto referenceOf = [&](const DateInterval& interval) {
    return UsageRollup::atComputerSeconds(source.tallyFromRows(interval, {})->contexts);
  };
  EXPECT_EQ(totalOf(week), reference());
  EXPECT_EQ(totalOf(longer), referenceOf(longer));
  EXPECT_NE(referenceOf(longer), reference());
}

}  // namespace
}  // namespace velto
