// The report window's models over a store filled with known rows.
#include <gtest/gtest.h>

#include <QPushButton>

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
using velto::testing::at;

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
  // A day is one row: its own hours.
  ASSERT_EQ(heatmap.rowCount(), 1);
  EXPECT_EQ(heatmap.weekdayOfRow(0), 7);
  EXPECT_EQ(heatmap.seconds(0, 8), 3600);
  EXPECT_EQ(heatmap.description(), "The busiest hour was Saturday 08:00–09:00 with 1h.");

  window->showPeriod(PeriodKind::week, at("2026-11-18T12:00:00Z"));
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
  // Weekday names under the bars; each bar stacked by category, the stacks adding up to it.
  EXPECT_EQ(bars.axisLabel(0), "Mon 16");
  EXPECT_EQ(bars.axisLabel(5), "Sat 21");
  ASSERT_FALSE(bars.stacks(5).empty());
  double stacked = 0;
  for (const BucketsModel::Stack& stack : bars.stacks(5)) stacked += stack.seconds;
  EXPECT_DOUBLE_EQ(stacked, 6600);
  EXPECT_GE(bars.stacks(5).front().seconds, bars.stacks(5).back().seconds) << "most time first";
  EXPECT_TRUE(bars.stacks(4).empty());
  // The week before holds nothing: every outline is empty, and the tooltip says so.
  ASSERT_TRUE(bars.previous(5));
  EXPECT_EQ(*bars.previous(5), 0);
  EXPECT_TRUE(bars.index(5).data(Qt::ToolTipRole).toString().startsWith("2026-11-21: 1h 50m\n"));
  const auto [top, step] = window->overview().bars().scale();
  EXPECT_EQ(top, 7200) << "the y-axis reaches past the busiest day in whole steps";
  EXPECT_EQ(step, 1800);

  window->showPeriod(PeriodKind::year, velto::testing::at("2026-11-18T12:00:00Z"));
  EXPECT_TRUE(bars.months());
  EXPECT_EQ(bars.rowCount(), 12);
  EXPECT_EQ(bars.index(10).data(BucketsModel::SecondsRole).toDouble(), 6600);
  EXPECT_EQ(bars.axisLabel(10), "Nov");
}

TEST_F(ReportModelsTest, BarsOutlineTheMatchingDayOfTheWeekBefore) {
  // A past week (9 to 15 November) against the whole week before it.
  add("code", "Code", "2026-11-07T08:00:00Z", "2026-11-07T09:30:00Z");  // the Saturday before
  window->showPeriod(PeriodKind::week, at("2026-11-12T12:00:00Z"));
  const BucketsModel& bars = window->bucketsModel();
  ASSERT_TRUE(bars.previous(5));
  EXPECT_EQ(*bars.previous(5), 5400);
  EXPECT_EQ(bars.previous(4).value_or(-1), 0);
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

TEST_F(ReportModelsTest, APastDaysTimelineEndsWithItsLastStretchOnAnHourAxis) {
  scripted.scheduler.advanceTo(at("2026-11-22T00:30:00Z"));  // 01:30 the next day in Berlin
  window->showPeriod(PeriodKind::day, at("2026-11-21T09:00:00Z"));
  TimelineStrip& timeline = window->timeline();
  ASSERT_EQ(timeline.blocks().size(), 4u);
  ASSERT_TRUE(timeline.axis());
  // 08:00 to 09:50 local, rounded out to whole hours; not up to now.
  EXPECT_EQ(timeline.axis()->start, at("2026-11-21T07:00:00Z"));
  EXPECT_EQ(timeline.axis()->end, at("2026-11-21T09:00:00Z"));
  timeline.resize(720, timeline.heightForWidth(720));
  EXPECT_EQ(timeline.hourTicks(),
            (std::vector<Instant>{at("2026-11-21T07:00:00Z"), at("2026-11-21T08:00:00Z"),
                                  at("2026-11-21T09:00:00Z")}));

  // The legend names the day's categories with their time, in the report's order and colours.
  const std::vector<CategoryUsage>& categories = window->report().figures().byCategory;
  ASSERT_EQ(timeline.legend().size(), categories.size());
  for (size_t i = 0; i < categories.size(); ++i) {
    EXPECT_EQ(timeline.legend()[i].name.toStdString(), categories[i].name);
    EXPECT_EQ(timeline.legend()[i].seconds, categories[i].seconds);
  }

  // Today's timeline still reaches to now.
  scripted.scheduler.advanceTo(at("2026-11-22T03:30:00Z"));
  add("code", "Code", "2026-11-21T23:05:00Z", "2026-11-21T23:10:00Z");  // 00:05 local
  window->showPeriod(PeriodKind::day, store().clock().now());
  ASSERT_TRUE(timeline.axis());
  EXPECT_EQ(timeline.axis()->end, at("2026-11-22T04:00:00Z")) << "04:30 local, rounded up";
}

TEST_F(ReportModelsTest, ReloadsWaitWhileHeldAndRunWhenReleased) {
  window->report().setHoldsReload(true);
  add("slack", "Slack", "2026-11-21T08:50:00Z", "2026-11-21T08:55:00Z");
  EXPECT_EQ(window->appsModel().rowCount(), 2);
  window->report().setHoldsReload(false);
  EXPECT_EQ(window->appsModel().rowCount(), 3);
}

TEST_F(ReportModelsTest, TheSummaryCardWritesOnlyWhenItsButtonIsPressed) {
  EXPECT_FALSE(window->overview().summaryVisible());
  int requests = 0;
  window->setSummaryWriter([&](const UsageFigures& figures, const AppDetailSource&,
                               std::function<void(ReportWindow::SummaryAnswer)> done) {
    ++requests;
    EXPECT_GT(figures.totalSeconds, 0);
    done({"A calm morning.", false, requests == 1 ? "" : "http://127.0.0.1:8080"});
  });
  store().settings().setAiSummaryEnabled(true);
  EXPECT_TRUE(window->overview().summaryVisible());
  QPushButton& button = window->overview().summaryButton();
  EXPECT_EQ(button.text(), "Generate AI summary");
  EXPECT_TRUE(button.isEnabled());
  EXPECT_EQ(window->overview().summaryText(), "A written summary of this period appears here.");

  // Four moves between periods ask nothing; each period starts without a text.
  window->showPeriod(PeriodKind::week, store().clock().now());
  window->showPeriod(PeriodKind::month, store().clock().now());
  window->showPeriod(PeriodKind::year, store().clock().now());
  window->showPeriod(PeriodKind::day, store().clock().now());
  EXPECT_EQ(requests, 0);

  button.click();
  EXPECT_EQ(requests, 1);
  EXPECT_EQ(window->overview().summaryText(), "A calm morning.");
  EXPECT_EQ(window->overview().summaryFootnote(),
            "By Velto's built-in writer, from this report's figures. Written on this computer. "
            "Nothing is sent anywhere.");
  EXPECT_EQ(button.text(), "Regenerate AI summary");
  // The live minute keeps the text and asks nothing.
  scripted.scheduler.advanceBy(60);
  EXPECT_EQ(requests, 1);
  EXPECT_EQ(window->overview().summaryText(), "A calm morning.");
  button.click();
  EXPECT_EQ(requests, 2);
  EXPECT_TRUE(window->overview().summaryFootnote().startsWith(
      "By the language model at http://127.0.0.1:8080, from this report's figures."));

  // Another period drops the text; off hides the card.
  window->showPeriod(PeriodKind::week, store().clock().now());
  EXPECT_EQ(button.text(), "Generate AI summary");
  EXPECT_EQ(requests, 2);
  store().settings().setAiSummaryEnabled(false);
  EXPECT_FALSE(window->overview().summaryVisible());
}

}  // namespace
}  // namespace velto::gui
