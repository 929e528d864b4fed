// The report window's models over a store filled with known rows.
#include <gtest/gtest.h>

#include "gui/report/buckets_model.h"
#include "gui/report/category_filing.h"
#include "gui/report/chart_views.h"
#include "gui/report/heatmap_model.h"
#include "gui/report/overview_panel.h"
#include "gui/report/timeline_strip.h"
#include "gui/report/trends_panel.h"
#include "gui/report/usage_rows_model.h"
#include "gui/report_test_fixture.h"

namespace velto::gui {
namespace {

using testing::ReportWindowFixture;

QString cell(const QAbstractItemModel& model, int row, int column, QModelIndex parent = {}) {
  return model.index(row, column, parent).data().toString();
}

class ReportModelsTest : public ReportWindowFixture {};

TEST_F(ReportModelsTest, AppsListTheirTimeShareAndSitesLargestFirst) {
  const UsageRowsModel& apps = window->appsModel();
  ASSERT_EQ(apps.rowCount(), 2);
  EXPECT_EQ(cell(apps, 0, UsageRowsModel::nameColumn), "Code");
  EXPECT_EQ(cell(apps, 0, UsageRowsModel::timeColumn), "1h 10m");
  EXPECT_EQ(cell(apps, 0, UsageRowsModel::shareColumn), "64%");
  EXPECT_EQ(cell(apps, 1, UsageRowsModel::nameColumn), "Firefox");
  EXPECT_EQ(cell(apps, 1, UsageRowsModel::shareColumn), "36%");

  // A browser breaks down by site; the editor with no titles has no breakdown. The breakdown
  // is read when a row is opened.
  auto open = [&](const QModelIndex& index) {
    auto& model = const_cast<UsageRowsModel&>(apps);
    if (model.canFetchMore(index)) model.fetchMore(index);
    EXPECT_FALSE(model.canFetchMore(index));
  };
  const QModelIndex firefox = apps.index(1, 0);
  EXPECT_TRUE(apps.hasChildren(firefox));
  open(firefox);
  open(apps.index(0, 0));
  EXPECT_FALSE(apps.hasChildren(apps.index(0, 0)));
  ASSERT_EQ(apps.rowCount(firefox), 2);
  EXPECT_EQ(cell(apps, 0, UsageRowsModel::nameColumn, firefox), "example.com");
  EXPECT_EQ(cell(apps, 0, UsageRowsModel::timeColumn, firefox), "30m");
  EXPECT_EQ(apps.parent(apps.index(0, 0, firefox)), firefox);
  EXPECT_EQ(apps.rowCount(apps.index(0, 0)), 0);

  const UsageRowsModel& sites = window->sitesModel();
  ASSERT_EQ(sites.rowCount(), 2);
  EXPECT_EQ(cell(sites, 0, UsageRowsModel::nameColumn), "example.com");
  EXPECT_EQ(cell(sites, 1, UsageRowsModel::nameColumn), "news.example.org");
  EXPECT_EQ(sites.index(1, 0).data(UsageRowsModel::SecondsRole).toDouble(), 600);

  // Every category row holds exactly the applications filed under it.
  const UsageRowsModel& categories = window->categoriesModel();
  double total = 0;
  int children = 0;
  for (int row = 0; row < categories.rowCount(); ++row) {
    const QModelIndex category = categories.index(row, 0);
    total += category.data(UsageRowsModel::SecondsRole).toDouble();
    children += categories.rowCount(category);
  }
  EXPECT_EQ(total, 6600);
  EXPECT_EQ(children, 2);
}

TEST_F(ReportModelsTest, FilingAnAppUnderACategoryMovesItAndReplacesTheEarlierChoice) {
  ServiceSet& services = store();
  ASSERT_TRUE(fileUnderCategory(services.store(), CategoryRule::Subject::app, "Code",
                                "entertainment", services.clock().now()));
  ASSERT_TRUE(fileUnderCategory(services.store(), CategoryRule::Subject::app, "code", "reading",
                                services.clock().now()));
  Result<std::vector<CategoryRule>> rules = services.store().categoryRules();
  ASSERT_EQ(rules->size(), 1u);
  EXPECT_EQ(rules->front().pattern, "code");
  EXPECT_EQ(rules->front().categoryRaw, "reading");

  const UsageRowsModel& categories = window->categoriesModel();
  bool found = false;
  for (int row = 0; row < categories.rowCount(); ++row) {
    const QModelIndex category = categories.index(row, 0);
    if (category.data(UsageRowsModel::KeyRole).toString() != "reading") continue;
    found = true;
    ASSERT_EQ(categories.rowCount(category), 1);
    EXPECT_EQ(cell(categories, 0, 0, category), "Code");
  }
  EXPECT_TRUE(found);
  EXPECT_EQ(window->appsModel().index(0, 0).data(UsageRowsModel::CategoryRole).toString(),
            "reading");
}

TEST_F(ReportModelsTest, HeatmapPutsTheMorningOnSaturdaysLocalHours) {
  const HeatmapModel& heatmap = window->heatmapModel();
  ASSERT_EQ(heatmap.rowCount(), 7);
  ASSERT_EQ(heatmap.columnCount(), 24);
  // Weeks start on Monday here, so Saturday is the sixth row.
  EXPECT_EQ(heatmap.weekdayOfRow(0), 2);
  EXPECT_EQ(heatmap.weekdayOfRow(5), 7);
  EXPECT_EQ(heatmap.seconds(5, 8), 3600);
  EXPECT_EQ(heatmap.seconds(5, 9), 3000);
  EXPECT_EQ(heatmap.seconds(5, 7), 0);
  EXPECT_EQ(heatmap.seconds(4, 8), 0);
  EXPECT_DOUBLE_EQ(heatmap.index(5, 9).data(HeatmapModel::IntensityRole).toDouble(), 3000.0 / 3600);
  EXPECT_EQ(heatmap.description(), "The busiest hour was Saturday 08:00\u201309:00 with 1h.");
}

TEST_F(ReportModelsTest, WeekBarsHoldOneBarPerDay) {
  window->showPeriod(PeriodKind::week, velto::testing::at("2026-11-18T12:00:00Z"));
  const BucketsModel& bars = window->bucketsModel();
  ASSERT_EQ(bars.rowCount(), 7);
  EXPECT_FALSE(bars.months());
  EXPECT_EQ(bars.index(0).data(BucketsModel::DateRole).toString(), "2026-11-16");
  EXPECT_EQ(bars.index(5).data(BucketsModel::SecondsRole).toDouble(), 6600);
  EXPECT_EQ(bars.index(4).data(BucketsModel::SecondsRole).toDouble(), 0);
  EXPECT_EQ(bars.description(), "7 days; the busiest was 2026-11-21 with 1h 50m.");

  window->showPeriod(PeriodKind::year, velto::testing::at("2026-11-18T12:00:00Z"));
  EXPECT_TRUE(bars.months());
  EXPECT_EQ(bars.rowCount(), 12);
  EXPECT_EQ(bars.index(10).data(BucketsModel::SecondsRole).toDouble(), 6600);
}

TEST_F(ReportModelsTest, ChartsAndTimelineDescribeThemselvesInWords) {
  const TimelineStrip& timeline = window->timeline();
  ASSERT_EQ(timeline.blocks().size(), 4u);
  EXPECT_FALSE(timeline.accessibleName().isEmpty());
  EXPECT_EQ(timeline.accessibleDescription(),
            "4 stretches from 08:00 to 09:50. Longest: Code, 08:00\u201309:00 (1h).");
  EXPECT_FALSE(window->overview().focusBar().accessibleName().isEmpty());
  EXPECT_TRUE(window->overview().focusBar().accessibleDescription().startsWith("Focused "));
  EXPECT_FALSE(window->overview().bars().accessibleName().isEmpty());
  EXPECT_FALSE(window->overview().bars().accessibleDescription().isEmpty());
  EXPECT_EQ(window->overview().totalText(), "1h 50m");
  EXPECT_EQ(window->overview().comparisonText(),
            "Nothing was recorded in the period before this one.");

  window->showPeriod(PeriodKind::day, velto::testing::at("2026-11-20T12:00:00Z"));
  EXPECT_EQ(window->timeline().accessibleDescription(), "Nothing recorded on this day.");
  EXPECT_EQ(window->heatmapModel().description(), "No time recorded at any hour of this period.");
}

TEST_F(ReportModelsTest, TheTrendsTabComparesWithTheDayBefore) {
  add("code", "Code", "2026-11-20T07:00:00Z", "2026-11-20T07:20:00Z");
  // Today by 10:00 against yesterday by 10:00: Code went from 20m to 1h 10m.
  EXPECT_EQ(window->overview().comparisonText(), "1h 30m more than yesterday by this time.");
  EXPECT_GE(window->trends().moverCount(), 2);

  Mover grown{{"code", "Code", 4200, 1200}, 250};
  EXPECT_EQ(moverChangeText(grown, "en"), "+50m (+250%)");
  Mover shrunk{{"code", "Code", 600, 1200}, -50};
  EXPECT_EQ(moverChangeText(shrunk, "en"), "\u221210m (\u221250%)");
  Mover fresh{{"new", "New", 900, 0}, std::nullopt};
  EXPECT_EQ(moverChangeText(fresh, "en"), "+15m");
}

TEST_F(ReportModelsTest, ReloadsWaitWhileHeldAndRunWhenReleased) {
  window->report().setHoldsReload(true);
  add("slack", "Slack", "2026-11-21T08:50:00Z", "2026-11-21T08:55:00Z");
  EXPECT_EQ(window->appsModel().rowCount(), 2);
  window->report().setHoldsReload(false);
  EXPECT_EQ(window->appsModel().rowCount(), 3);
}

TEST_F(ReportModelsTest, TheSummaryCardFollowsItsSetting) {
  EXPECT_FALSE(window->overview().summaryVisible());
  int requests = 0;
  window->setSummaryWriter([&](const UsageFigures& figures, std::function<void(std::string)> done) {
    ++requests;
    EXPECT_EQ(figures.totalSeconds, 6600);
    done("A calm morning.");
  });
  EXPECT_EQ(requests, 0);
  store().settings().setAiSummaryEnabled(true);
  EXPECT_TRUE(window->overview().summaryVisible());
  EXPECT_EQ(window->overview().summaryText(), "A calm morning.");
  EXPECT_EQ(requests, 1);
  // The live minute does not ask again; another period does.
  scripted.scheduler.advanceBy(60);
  EXPECT_EQ(requests, 1);
  window->showPeriod(PeriodKind::week, store().clock().now());
  EXPECT_EQ(requests, 2);
  store().settings().setAiSummaryEnabled(false);
  EXPECT_FALSE(window->overview().summaryVisible());
}

}  // namespace
}  // namespace velto::gui
