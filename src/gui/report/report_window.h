// The report window: the recorded time of a period, read from the service set's store.
//
// Tabs: overview, timeline (day periods), apps, categories, sites, hours (heatmap), trends. A
// period picker above them; an Export… button opens the export sheet. The figures come from one
// UsageReport, which reloads on store changes, rule changes, a new day and every minute; while
// a context menu or an edit's question is up, reloads are held and run when it closes.
//
// Geometry and the last tab are kept under "report" in the shell's WindowState
// ("window-state.json" in the data folder, not the settings file: they are the window's own
// state, not the user's choices); with a memory-only store nothing is kept.
//
// Thread: main (GUI) thread. The service set outlives the window.
#pragma once

#include <QWidget>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "base/notice_bus.h"
#include "gui/report/record_edits.h"
#include "gui/report/report_period_navigator.h"
#include "reports/usage_report.h"
#include "summaries/summary_facts.h"

class QLabel;
class QStackedWidget;
class QTabWidget;
class QTreeView;

namespace velto {
class ServiceSet;
}

namespace velto::gui {

class BucketsModel;
class HeatmapModel;
class HeatmapView;
class OverviewPanel;
class PeriodPicker;
class TimelineStrip;
class TrendsPanel;
class UsageRowsModel;
class WindowState;

class ReportWindow : public QWidget {
  Q_OBJECT
 public:
  enum class Tab { overview, timeline, apps, categories, sites, hours, trends };

  // `state` none: the window keeps its own WindowState over the store's folder. A given one
  // outlives the window.
  explicit ReportWindow(ServiceSet& services, WindowState* state = nullptr,
                        QWidget* parent = nullptr);
  ~ReportWindow() override;

  // The day, week, month or year containing `anchor`.
  void showPeriod(PeriodKind kind, Instant anchor);
  void showPreset(RangePreset preset);
  // The local days from `first` to `last`, both included.
  void showRange(Instant first, Instant last);
  void showTab(Tab tab);
  Tab currentTab() const;

  // What a summary writer hands back.
  struct SummaryAnswer {
    std::string text;          // the sentences, the "nothing came back" notice, or why it failed
    bool failed = false;       // `text` says why nothing was written
    std::string modelAddress;  // the language model's address; empty: the built-in writer
  };
  // Produces the written summary of the figures shown (an application's details from
  // `details`) and hands it to `done` (possibly later, on the main thread). The card is shown
  // while "velto.aiSummaryEnabled" is on; the writer runs only when its button is pressed.
  using SummaryWriter =
      std::function<void(const UsageFigures& figures, const AppDetailSource& details,
                         std::function<void(SummaryAnswer)> done)>;
  void setSummaryWriter(SummaryWriter writer);
  // What the card's button does: writes the summary of the period shown.
  void writeSummary();

  // How edits ask before they change the store; a yes/no message box unless replaced.
  void setEditQuestion(RecordEdits::Ask ask);

  UsageReport& report() { return *report_; }
  const ReportPeriodNavigator& navigator() const { return navigator_; }
  RecordEdits& edits() { return *edits_; }
  UsageRowsModel& appsModel() { return *apps_; }
  UsageRowsModel& categoriesModel() { return *categories_; }
  UsageRowsModel& sitesModel() { return *sites_; }
  HeatmapModel& heatmapModel() { return *heatmap_; }
  BucketsModel& bucketsModel() { return *buckets_; }
  OverviewPanel& overview() { return *overview_; }
  TimelineStrip& timeline() { return *timeline_; }
  TrendsPanel& trends() { return *trends_; }
  PeriodPicker& picker() { return *picker_; }

  // The timeline's context menu for block `index`, as built for a right click (not shown).
  std::unique_ptr<class QMenu> blockMenu(int index);

 protected:
  void closeEvent(QCloseEvent* event) override;
  void hideEvent(QHideEvent* event) override;

 private:
  void applyPeriod();
  void refresh();
  void showBlockMenu(int index, QPoint where);
  void showRowMenu(QTreeView* view, CategoryRule::Subject subject, QPoint at);
  void openExport();
  void giveBlockToApp(const TimelineBlock& block);
  void nameBlock(const TimelineBlock& block);
  void updateSummaryCard();
  // The bars of a week, month or year: per day or month, stacked by category, with the matching
  // day or month of the period compared with.
  void fillBuckets(const UsageFigures& f);
  // The colour of a category (raw value or custom id) in the window's light or dark palette.
  QColor categoryColor(const std::string& category) const;
  void afterEdit(EditOutcome outcome);
  void restoreState();
  void saveTab();

  ServiceSet& services_;
  std::unique_ptr<WindowState> ownState_;
  WindowState* state_;
  std::string language_;
  ReportPeriodNavigator navigator_;
  std::unique_ptr<UsageReport> report_;
  std::unique_ptr<RecordEdits> edits_;
  RecordEdits::Ask ask_;
  SummaryWriter summaryWriter_;
  Subscription summarySetting_;
  std::uint64_t summaryRequest_ = 0;
  // The period the card's text (or the request running) belongs to.
  struct SummaryKey {
    Instant start;
    Instant end;
    bool operator==(const SummaryKey&) const = default;
  };
  std::optional<SummaryKey> summarized_;

  UsageRowsModel* apps_;
  UsageRowsModel* categories_;
  UsageRowsModel* sites_;
  HeatmapModel* heatmap_;
  BucketsModel* buckets_;

  PeriodPicker* picker_;
  QTabWidget* tabs_;
  OverviewPanel* overview_;
  TimelineStrip* timeline_;
  QLabel* timelineNote_;
  QTreeView* appsView_;
  QTreeView* categoriesView_;
  QTreeView* sitesView_;
  HeatmapView* heatmapView_;
  TrendsPanel* trends_;
};

}  // namespace velto::gui
