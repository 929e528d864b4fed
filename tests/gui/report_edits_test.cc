// Edits of recorded time from the timeline: each asks first, then changes the real store.
#include <QMenu>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "gui/report/export_dialog.h"
#include "gui/report/export_job.h"
#include "gui/report/timeline_strip.h"
#include "gui/report/usage_rows_model.h"
#include "gui/report_test_fixture.h"

namespace velto::gui {
namespace {

using testing::ReportWindowFixture;

class ReportEditsTest : public ReportWindowFixture {
 protected:
  const TimelineBlock& block(size_t index) { return window->report().figures().blocks.at(index); }
  const UsageFigures& figures() { return window->report().figures(); }
};

TEST_F(ReportEditsTest, TheBlockMenuOffersTheFourEdits) {
  std::unique_ptr<QMenu> menu = window->blockMenu(0);
  ASSERT_TRUE(menu);
  QStringList texts;
  for (QAction* action : menu->actions()) {
    if (action->isSeparator()) continue;
    texts << action->text();
    EXPECT_TRUE(action->isEnabled());
  }
  EXPECT_EQ(texts, QStringList({"Delete This Stretch\u2026", "Delete All of Code on This Day\u2026",
                                "Give This Time to Another App\u2026", "Name This Time\u2026"}));
  EXPECT_FALSE(window->blockMenu(17));
}

TEST_F(ReportEditsTest, DeletingAStretchAsksAndKeepsEverythingOnNo) {
  answer = false;
  EXPECT_EQ(window->edits().deleteStretch(block(1), figures()), EditOutcome::declined);
  ASSERT_EQ(questions.size(), 1u);
  EXPECT_EQ(questions[0].title, "Delete 30m of Firefox?");
  EXPECT_EQ(questions[0].message,
            "It comes off every total, limit and summary. This cannot be undone.");
  EXPECT_EQ(questions[0].action, "Delete");
  EXPECT_EQ(rowsOf("firefox"), 2);

  answer = true;
  EXPECT_EQ(window->edits().deleteStretch(block(1), figures()), EditOutcome::done);
  EXPECT_EQ(rowsOf("firefox"), 1);
  // The window followed the store's notice.
  EXPECT_EQ(window->sitesModel().rowCount(), 1);
  EXPECT_EQ(figures().totalSeconds, 4800);
}

TEST_F(ReportEditsTest, DeletingAnAppsDayTakesEveryRowOfItThatDay) {
  add("code", "Code", "2026-11-20T07:00:00Z", "2026-11-20T07:20:00Z");
  EXPECT_EQ(window->edits().deleteAppDay("code", "Code", figures()), EditOutcome::done);
  ASSERT_EQ(questions.size(), 1u);
  EXPECT_EQ(questions[0].title, "Delete 1h 10m of Code?");
  EXPECT_EQ(rowsOf("code"), 0);
  EXPECT_EQ(store().store().fetchDay("2026-11-20")->size(), 1u);  // the day before stays
  ASSERT_EQ(window->appsModel().rowCount(), 1);
}

TEST_F(ReportEditsTest, GivingABrowserStretchToTheEditorClearsItsSite) {
  EXPECT_EQ(window->edits().giveTo(block(1), figures(), "code", "Code"), EditOutcome::done);
  ASSERT_EQ(questions.size(), 1u);
  EXPECT_EQ(questions[0].title, "Give 30m of Firefox to Code?");
  EXPECT_EQ(rowsOf("code"), 3);
  Result<std::vector<Segment>> rows = store().store().fetchDay("2026-11-21");
  ASSERT_TRUE(rows.ok());
  for (const Segment& row : *rows) {
    if (row.bundleId != "code") continue;
    EXPECT_FALSE(row.host.has_value());
  }
  EXPECT_EQ(window->sitesModel().rowCount(), 1);
  EXPECT_EQ(window->appsModel().index(0, UsageRowsModel::timeColumn).data().toString(), "1h 40m");
}

TEST_F(ReportEditsTest, NamingAStretchFilesItAsItsOwnRowWithoutCountingTwice) {
  answer = false;
  EXPECT_EQ(window->edits().nameTime(block(0), figures(), "Standup"), EditOutcome::declined);
  EXPECT_EQ(rowsOf("code"), 2);
  EXPECT_EQ(window->edits().nameTime(block(0), figures(), "   "), EditOutcome::nothingToEdit);

  answer = true;
  EXPECT_EQ(window->edits().nameTime(block(0), figures(), " Team standup "), EditOutcome::done);
  ASSERT_FALSE(questions.empty());
  EXPECT_EQ(questions.back().title, "File this time as \u201cTeam standup\u201d?");
  EXPECT_EQ(rowsOf("code"), 1);
  EXPECT_EQ(rowsOf("velto.manual.team-standup"), 1);
  EXPECT_EQ(figures().totalSeconds, 6600);
}

TEST_F(ReportEditsTest, TheRunningSegmentIsNeverHandedToTheStore) {
  TimelineBlock running = block(3);
  UsageFigures withLive = figures();
  ASSERT_FALSE(running.segmentIDs.empty());
  withLive.liveSegmentID = running.segmentIDs.front();
  EXPECT_FALSE(window->edits().canEdit(running, withLive));
  EXPECT_EQ(window->edits().deleteStretch(running, withLive), EditOutcome::nothingToEdit);
  EXPECT_TRUE(questions.empty());
  EXPECT_EQ(rowsOf("code"), 2);
}

class ReportExportTest : public ReportWindowFixture {};

TEST_F(ReportExportTest, WritesTheShownDayAndLeavesNoPartialFileOnFailure) {
  const std::filesystem::path file = scripted.dir.path() / "day.csv";
  const DateInterval shown = window->report().figures().period.interval;
  std::int64_t lastDone = -1;
  Result<std::int64_t> written =
      exportToFile(store(), {ExportRange::shown, ExportDetail::segments, ExportFormat::csv}, shown,
                   file, [&](std::int64_t done, std::int64_t) { lastDone = done; });
  ASSERT_TRUE(written.ok()) << written.error();
  EXPECT_EQ(*written, 4);
  EXPECT_EQ(lastDone, 4);
  std::ifstream in(file);
  std::stringstream text;
  text << in.rdbuf();
  EXPECT_TRUE(
      text.str().starts_with("date,start,end,seconds,app,bundle_id,site,window_title,tool,"
                             "category,end_reason,category_name\r\n"));
  EXPECT_FALSE(std::filesystem::exists(scripted.dir.path() / "day.csv.part"));

  const std::filesystem::path nowhere = scripted.dir.path() / "missing" / "day.json";
  EXPECT_FALSE(exportToFile(store(),
                            {ExportRange::everything, ExportDetail::dailyApps, ExportFormat::json},
                            shown, nowhere, {})
                   .ok());
  EXPECT_FALSE(std::filesystem::exists(nowhere));

  ExportChoices daily{ExportRange::last30, ExportDetail::dailyApps, ExportFormat::json};
  EXPECT_EQ(suggestedExportName(daily, store().calendar(), store().clock().now()),
            "velto-dailyApps-2026-11-21.json");
  const std::optional<DateInterval> last30 =
      exportInterval(ExportRange::last30, shown, store().calendar(), store().clock().now());
  ASSERT_TRUE(last30);
  EXPECT_EQ(store().calendar().dayKey(last30->start), "2026-10-23");
  EXPECT_FALSE(
      exportInterval(ExportRange::everything, shown, store().calendar(), store().clock().now()));
}

TEST_F(ReportExportTest, TheSheetAsksForAnotherFolderAfterAFailedWrite) {
  ExportDialog dialog(store(), window->report().figures().period.interval, "Today");
  dialog.setChoices({ExportRange::everything, ExportDetail::dailyApps, ExportFormat::json});
  EXPECT_EQ(dialog.choices().detail, ExportDetail::dailyApps);
  QStringList failures;
  dialog.showFailure = [&](const QString& message) { failures << message; };
  QStringList suggestions;
  const QString good = QString::fromStdString((scripted.dir.path() / "apps.json").string());
  const QString bad = QString::fromStdString((scripted.dir.path() / "no" / "apps.json").string());
  EXPECT_TRUE(dialog.run([&](const QString& suggested) {
    suggestions << suggested;
    return suggestions.size() == 1 ? bad : good;
  }));
  ASSERT_EQ(suggestions.size(), 2);
  EXPECT_TRUE(suggestions[0].endsWith("velto-dailyApps-2026-11-21.json"));
  EXPECT_EQ(suggestions[1], bad);
  EXPECT_EQ(failures, QStringList{"The file could not be written. Try another folder."});
  EXPECT_TRUE(std::filesystem::exists(good.toStdString()));

  // Cancelling the save dialog writes nothing.
  EXPECT_FALSE(dialog.run([](const QString&) { return QString(); }));
}

}  // namespace
}  // namespace velto::gui
