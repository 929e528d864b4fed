// Recorded figures for the notifiers, from the store's aggregates plus the running segment:
// time spent on a limit's subject, and the day and week figures of the daily summary and the
// weekly digest. Time away from the computer is never counted.
// Thread: main thread.
#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "base/clock.h"
#include "categories/category_resolver.h"
#include "limits/limit_monitor.h"
#include "reports/usage_report.h"
#include "reports/usage_source.h"
#include "summaries/summary_figures.h"
#include "surfaces/widget_snapshot.h"

namespace velto {

class ReportFigures final : public SpentTimeSource, public SummaryFigures {
 public:
  // Every reference must outlive this object; `live` may be empty (nothing running).
  ReportFigures(UsageSource& source, const Clock& clock,
                std::function<std::shared_ptr<const CategoryResolver>()> resolver,
                std::function<std::optional<LiveSlice>()> live);

  double spentSeconds(const UsageLimit::Subject& subject, Instant start, Instant end) override;
  double totalSeconds(Instant start, Instant end) override;
  std::optional<std::string> topCategory(Instant start, Instant end) override;
  int daysWithRecords(Instant start, Instant end) override;
  std::vector<CategoryChange> categoryChanges(Instant start, Instant end, Instant previousStart,
                                              Instant previousEnd) override;

  // The applications with the most time, most first, at most `count`.
  std::vector<WidgetSnapshot::AppSlice> topApps(Instant start, Instant end, size_t count);

  // Whether a context counts for `subject` (hosts match their subdomains).
  static bool matches(const UsageLimit::Subject& subject, const StoredContext& context,
                      const CategoryResolver& resolver);

 private:
  // The running segment's row up to now, when there is one.
  std::vector<Segment> liveRows() const;
  std::vector<ContextTotal> contexts(Instant start, Instant end, bool withDays,
                                     std::vector<DaySummary>* days = nullptr);
  std::map<std::string, double> byCategory(Instant start, Instant end);

  UsageSource& source_;
  const Clock& clock_;
  std::function<std::shared_ptr<const CategoryResolver>()> resolver_;
  std::function<std::optional<LiveSlice>()> live_;
};

}  // namespace velto
