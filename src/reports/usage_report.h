// The one source of report figures: a period's totals, applications, categories, sites, focus
// split, timeline, hours, shape, buckets, the earlier period and its movers, plus the running
// segment up to now. `buildFigures` computes them once; `UsageReport` keeps them fresh.
//
// Figures cover time at the computer; named time away from it ("velto.offmac.") is kept apart
// in `offMac`. Categories are resolved when the figures are built, so a changed rule moves past
// days too. The timeline (`blocks`, `segments`) is built for periods of one day only.
//
// Thread: main thread.
#pragma once

#include <array>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/calendar.h"
#include "base/clock.h"
#include "base/notice_bus.h"
#include "base/scheduler.h"
#include "reports/report_period.h"
#include "reports/usage_rollup.h"
#include "reports/usage_source.h"

namespace velto {

// The running segment: the recorder's open context and its start.
struct LiveSlice {
  ActivityContext context;
  Instant startedAt;
};

struct PeriodBucket {
  std::string date;  // "yyyy-MM-dd" of the bucket's first day, "yyyy-MM" for a month
  Instant start;
  double seconds = 0;
};

// Rows shared by successive reports of the same day (read-only; empty by default).
class SharedRows {
 public:
  SharedRows() = default;
  explicit SharedRows(std::shared_ptr<const std::vector<Segment>> rows) : rows_(std::move(rows)) {}

  const std::vector<Segment>& all() const {
    static const std::vector<Segment> none;
    return rows_ ? *rows_ : none;
  }
  auto begin() const { return all().begin(); }
  auto end() const { return all().end(); }
  size_t size() const { return all().size(); }
  bool empty() const { return all().empty(); }
  const Segment& operator[](size_t index) const { return all()[index]; }
  operator std::span<const Segment>() const { return all(); }

 private:
  std::shared_ptr<const std::vector<Segment>> rows_;
};

struct UsageFigures {
  ReportPeriod period;
  std::string label;
  DateInterval counted;  // the period, cut at now while in progress
  ComparisonPeriod comparison;
  std::string comparisonName;
  std::string comparisonLabel;
  double previousTotalSeconds = 0;

  double totalSeconds = 0;  // at the computer
  double offMacSeconds = 0;
  std::vector<AppUsage> byApp;
  std::vector<CategoryUsage> byCategory;
  std::vector<SiteUsage> bySite;
  std::vector<OffMacUsage> offMac;
  std::vector<ContextTotal> contexts;  // everything counted, for detail rows of one application
  bool siteLevel = false;              // `contexts` of stored days carry no details
  std::vector<Segment> liveRows;       // the running segment's row, when counted
  FocusSplit focusSplit;
  FocusSplit previousFocusSplit;
  ActivityShape shape;
  std::array<HourBucket, 24> hourly{};
  std::array<std::array<double, 24>, 7> weekdayHourly{};  // [weekday 1=Sunday - 1][hour]
  std::vector<PeriodBucket> buckets;
  std::vector<TimelineBlock> blocks;
  SharedRows segments;  // the day's rows at the computer (day periods only)
  std::vector<Mover> categoryTrends;
  std::vector<Mover> appTrends;
  std::vector<Mover> detailTrends;
  std::optional<long long> focusMixPoints;
  std::optional<std::string> focusMixText;
  std::optional<std::string> trendsText;
  std::optional<std::string> comparisonText;  // custom ranges: "Compared with ..."
  std::optional<Uuid> liveSegmentID;
};

struct FigureInputs {
  const Calendar& calendar;
  const CategoryResolver& resolver;
  const CategoryDirectory& directory;
  std::string language;
  Instant now;
  std::optional<LiveSlice> live;
  Uuid liveId;
  bool rowsOnly = false;  // ignore the aggregates (the reference for tests and benchmarks)
  // The resolver has keyword rules (see hasKeywordRules): categories depend on titles.
  bool categoriesUseTitles = true;
};

Result<UsageFigures> buildFigures(UsageSource& source, const ReportPeriod& period,
                                  const FigureInputs& inputs);

// The detail rows of one application in figures made by buildFigures: from the figures' own
// contexts, or, when those are totals per site (settled days keep no details), read from
// `source` over the counted interval and the figures' running rows.
Result<std::vector<DetailUsage>> appDetailRows(UsageSource& source, const UsageFigures& figures,
                                               const std::string& bundleId);

class UsageReport {
 public:
  struct Services {
    SegmentStore& store;
    const Calendar& calendar;
    const Clock& clock;
    Scheduler& scheduler;
    NoticeBus& notices;
    std::function<std::shared_ptr<const CategoryResolver>()> resolver;
    CategoryDirectory directory;
    std::function<std::optional<LiveSlice>()> liveSlice;  // may be empty: nothing running
    std::string language;
  };

  // Starts on today; computes at once. Every service must outlive the report.
  explicit UsageReport(Services services);

  void showPeriod(PeriodKind kind, Instant anchor);
  void showCustomRange(Instant firstDay, Instant lastDay);
  void showPreset(RangePreset preset);

  // Recomputes now, or only marks `reloadPending` while `holdsReload` is set.
  void reload();
  // While set, due reloads wait; releasing runs a pending one.
  void setHoldsReload(bool hold);
  bool holdsReload() const { return holdsReload_; }
  bool reloadPending() const { return reloadPending_; }
  void setFollowsStore(bool follows);
  bool followsStore() const { return followsStore_; }

  const UsageFigures& figures() const { return figures_; }
  bool isStale() const { return isStale_; }
  // Detail rows of one application in the period shown (memoised until the next reload).
  const std::vector<DetailUsage>& detailRows(const std::string& bundleId);

  std::function<void()> onChange;  // after each recompute

 private:
  void recompute();
  void armDayChange();

  Services services_;
  UsageSource source_;
  PeriodKind kind_ = PeriodKind::day;
  Instant anchor_;
  // The period shown is the one containing now, and moves on with the day.
  bool followsNow_ = true;
  std::optional<DateInterval> customRange_;
  std::optional<RangePreset> preset_;
  UsageFigures figures_;
  bool followsStore_ = true;
  bool holdsReload_ = false;
  bool reloadPending_ = false;
  bool isStale_ = true;
  Uuid liveSegmentID_ = Uuid::random();
  std::map<std::string, std::vector<DetailUsage>> detailCache_;
  // Without details in the figures, every application's are read in one pass when the first
  // is asked for.
  std::optional<std::map<std::string, std::vector<ContextTotal>>> detailContexts_;
  Subscription changes_;
  Subscription rules_;
  Subscription wipes_;
  Timer liveTimer_;
  Timer dayChange_;
};

}  // namespace velto
