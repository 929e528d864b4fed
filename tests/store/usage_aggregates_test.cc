#include "store/usage_aggregates.h"

#include <gtest/gtest.h>

#include <map>

#include "context/context_detail.h"
#include "context/unicode_text.h"
#include "store/store_fixture.h"

namespace velto {
namespace {

using testing::at;

class UsageAggregatesTest : public testing::StoreTest {
 protected:
  UsageAggregates& aggregates() {
    if (!aggregates_) aggregates_.emplace(persistence->database());
    return *aggregates_;
  }

  // Context totals of every stored day, as "bundle title micros count" lines.
  std::vector<std::string> dayTotals() {
    EXPECT_TRUE(aggregates().settle(false));
    Result<std::vector<ContextTotal>> totals =
        aggregates().contextTotals({{"0000-00-00", "9999-99-99"}}, {});
    EXPECT_TRUE(totals.ok());
    std::vector<std::string> lines;
    for (const ContextTotal& total : *totals) {
      lines.push_back(total.context.bundleId + " " + total.context.windowTitle.value_or("-") + " " +
                      std::to_string(total.micros) + " " + std::to_string(total.count));
    }
    std::sort(lines.begin(), lines.end());
    return lines;
  }

  Uuid addRow(const std::string& bundleId, const std::string& from, const std::string& to,
              const std::string& title) {
    RecordedSegment segment = recorded(bundleId, from, to);
    segment.context.windowTitle = title;
    return store->insert(segment).value();
  }

  static std::string labelOf(const std::string& bundleId, const std::string& title) {
    const std::optional<ActivityDetail> detail =
        deriveDetail(DetailSource{bundleId, bundleId, title, std::nullopt, std::nullopt});
    return detail ? detail->label : "-";
  }

  std::optional<UsageAggregates> aggregates_;
};

TEST_F(UsageAggregatesTest, FollowInsertsEditsAndDeletesOnceSettled) {
  const Uuid first = add("code", "2026-11-20T08:00:00Z", "2026-11-20T08:00:01.5Z");
  const Uuid second = add("code", "2026-11-20T09:00:00Z", "2026-11-20T10:00:00Z");
  add("slack", "2026-11-21T09:00:00Z", "2026-11-21T09:10:00Z");
  EXPECT_EQ(dayTotals(), (std::vector<std::string>{"code - 3601500000 2", "slack - 600000000 1"}));

  ASSERT_TRUE(store->reassign(std::vector<Uuid>{second}, "slack", "Slack"));
  ASSERT_TRUE(store->deleteSegments(std::vector<Uuid>{first}));
  EXPECT_EQ(dayTotals(), (std::vector<std::string>{"slack - 3600000000 1", "slack - 600000000 1"}));

  // A change that fails leaves the aggregates as they were.
  failSegmentWrites();
  EXPECT_FALSE(store->wipe());
  EXPECT_EQ(dayTotals().size(), 2u);
}

TEST_F(UsageAggregatesTest, SitesAndDetailsAddUpOverDaysAndMonths) {
  const Uuid edited =
      addRow("code", "2026-10-31T08:00:00Z", "2026-10-31T09:00:00Z", "main.cc - velto");
  addRow("code", "2026-11-02T08:00:00Z", "2026-11-02T08:30:00Z", "main.cc - velto");
  addRow("code", "2026-11-02T09:00:00Z", "2026-11-02T09:10:00Z", "notes.md - ledger");
  addRow("velto.offmac.meeting", "2026-11-02T10:00:00Z", "2026-11-02T11:00:00Z", "Meeting");
  ASSERT_TRUE(aggregates().settle(false));

  Result<std::vector<ContextTotal>> sites = aggregates().contextTotals(
      {{"2026-10-31", "2026-10-31"}}, {{"2026-11", "2026-11"}}, TotalsLevel::site);
  ASSERT_TRUE(sites.ok());
  std::map<std::string, std::pair<std::int64_t, std::int64_t>> bySite;
  for (const ContextTotal& total : *sites) {
    EXPECT_TRUE(total.titleless);
    EXPECT_FALSE(total.detail);
    bySite[total.context.bundleId] = {total.micros, total.count};
  }
  EXPECT_EQ(bySite["code"], std::make_pair(std::int64_t{6'000'000'000}, std::int64_t{3}));
  EXPECT_EQ(bySite["velto.offmac.meeting"].second, 1);

  // Details are told apart by key and leave out time away from the computer.
  auto detailSeconds = [&] {
    std::vector<std::int64_t> micros;
    EXPECT_TRUE(aggregates().addDetailTotals({{"2026-10-31", "2026-10-31"}},
                                             {{"2026-11", "2026-11"}}, micros));
    std::map<std::string, std::int64_t> seconds;
    for (size_t id = 0; id < micros.size(); ++id) {
      if (micros[id] == 0) continue;
      const auto at = static_cast<std::int64_t>(id);
      std::optional<ActivityDetail> detail = aggregates().detailsOfIds({&at, 1}).value().at(0);
      EXPECT_TRUE(detail);
      if (detail) seconds[detail->label] += micros[id] / 1'000'000;
    }
    return seconds;
  };
  std::map<std::string, std::int64_t> seconds = detailSeconds();
  const std::string main = labelOf("code", "main.cc - velto");
  const std::string notes = labelOf("code", "notes.md - ledger");
  ASSERT_NE(main, notes);
  EXPECT_EQ(seconds.size(), 2u);
  EXPECT_EQ(seconds[main], 5400);
  EXPECT_EQ(seconds[notes], 600);
  ASSERT_TRUE(aggregates().detailIdOfKey(text::lowerCased(main)));
  EXPECT_FALSE(aggregates().detailIdOfKey("never seen"));

  // A day changed and rebuilt changes its month as well.
  ASSERT_TRUE(store->deleteSegments(std::vector<Uuid>{edited}));
  addRow("code", "2026-11-03T08:00:00Z", "2026-11-03T08:01:00Z", "notes.md - ledger");
  ASSERT_TRUE(aggregates().settle(false));
  seconds = detailSeconds();
  EXPECT_EQ(seconds[main], 1800);
  EXPECT_EQ(seconds[notes], 660);
}

TEST_F(UsageAggregatesTest, ChangedDaysAreMarkedUntilSettledAndEmptyDaysGo) {
  add("code", "2026-11-19T08:00:00Z", "2026-11-19T09:00:00Z");
  add("code", "2026-11-20T08:00:00Z", "2026-11-20T09:00:00Z");
  const Uuid late = add("code", "2026-11-20T20:00:00Z", "2026-11-20T21:00:00Z");
  ASSERT_TRUE(aggregates().settle(false));
  ASSERT_TRUE(store->deleteSegments(std::vector<Uuid>{late}));
  add("slack", "2026-11-21T09:00:00Z", "2026-11-21T09:10:00Z");

  // A marked day is described by its rows until it is rebuilt.
  Result<std::vector<StoredDay>> days = aggregates().days();
  ASSERT_TRUE(days.ok());
  ASSERT_EQ(days->size(), 3u);
  EXPECT_FALSE((*days)[0].marked);
  EXPECT_TRUE((*days)[1].marked);
  EXPECT_EQ((*days)[1].count, 1);
  EXPECT_EQ((*days)[1].maxEndUs, at("2026-11-20T09:00:00Z").time_since_epoch().count());
  EXPECT_TRUE((*days)[2].marked);

  // Settling leaves the newest marked day, the one being recorded, for later.
  ASSERT_TRUE(aggregates().settle());
  days = aggregates().days();
  ASSERT_TRUE(days.ok());
  ASSERT_EQ(days->size(), 3u);
  EXPECT_FALSE((*days)[1].marked);
  EXPECT_EQ((*days)[1].maxEndUs, at("2026-11-20T09:00:00Z").time_since_epoch().count());
  EXPECT_TRUE((*days)[2].marked);

  ASSERT_TRUE(store->wipe());
  EXPECT_TRUE(aggregates().days()->empty());
  EXPECT_TRUE(dayTotals().empty());
}

TEST_F(UsageAggregatesTest, InstallingFillsThemFromStoredRowsAndChangesDropCachedDays) {
  add("code", "2026-11-20T08:00:00Z", "2026-11-20T09:00:00Z");
  add("code", "2026-12-01T08:00:00Z", "2026-12-01T08:30:00Z");
  const std::vector<std::string> before = dayTotals();
  // Aggregates of an earlier layout are rebuilt from the rows.
  ASSERT_TRUE(persistence->database().exec("DROP TABLE usage_month_detail"));
  ASSERT_TRUE(installUsageAggregates(persistence->database()));
  EXPECT_EQ(dayTotals(), before);
  Result<std::vector<ContextTotal>> months =
      aggregates().contextTotals({}, {{"2026-11", "2026-12"}});
  ASSERT_TRUE(months.ok());
  ASSERT_EQ(months->size(), 1u);
  EXPECT_EQ((*months)[0].micros, 5'400'000'000);
  // Per application and detail, by whole months.
  months = aggregates().contextTotals({}, {{"2026-11", "2026-12"}}, TotalsLevel::appDetail);
  ASSERT_TRUE(months.ok());
  ASSERT_EQ(months->size(), 1u);
  EXPECT_TRUE((*months)[0].titleless);
  EXPECT_EQ((*months)[0].count, 2);

  aggregates().cacheDay("2026-11-20", "UTC", "summary");
  EXPECT_EQ(aggregates().cachedDay("2026-11-20", "UTC"), "summary");
  EXPECT_FALSE(aggregates().cachedDay("2026-11-20", "Europe/Berlin"));
  // A changed day's summary goes when the day is rebuilt.
  add("slack", "2026-11-20T10:00:00Z", "2026-11-20T10:05:00Z");
  ASSERT_TRUE(aggregates().settle(false));
  EXPECT_FALSE(aggregates().cachedDay("2026-11-20", "UTC"));
}

}  // namespace
}  // namespace velto
