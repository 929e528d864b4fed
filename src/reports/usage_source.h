// Reads what a report needs about an interval from the store: totals per recorded context and
// per-local-day summaries, taken from the store's aggregates wherever they are exact and from the
// rows elsewhere.
//
// A stored day is taken from the aggregates when all its rows lie inside the interval and inside
// one local day of the current calendar (the stored bounds say so); a month when all of its
// stored days are. Every other row overlapping the interval (the edges of the interval, days
// recorded in another time zone, the running segment) is read, clipped and counted row by row.
// Either way the figures are those the rows give, to the microsecond.
//
// Thread: main thread, with the store.
#pragma once

#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "base/calendar.h"
#include "reports/day_rows.h"
#include "reports/day_summary.h"
#include "store/segment_store.h"
#include "store/usage_aggregates.h"

namespace velto {

struct UsageTally {
  std::vector<ContextTotal> contexts;  // may list a context more than once; add them up
  // Without keyword rules the stored days' totals come per application and host only
  // (`siteLevel`), and their details as time per stored detail id here; rows read one by one
  // keep their details in `contexts` (whole days read from their rows per application, host
  // and detail, the edges of the interval with their full context).
  bool siteLevel = false;
  std::vector<std::int64_t> detailMicros;
  std::vector<DaySummary> days;  // time at the computer, in day order
  std::vector<Segment> rows;     // clipped, in start order; from tallyFromRows only
};

// The rows of a day's timeline and their blocks; shared, read-only.
struct Timeline {
  std::shared_ptr<const std::vector<Segment>> rows;  // at the computer, clipped, in start order
  std::shared_ptr<const std::vector<TimelineBlock>> blocks;  // categories left empty
};

class UsageSource {
 public:
  // The store and calendar must outlive the source.
  UsageSource(SegmentStore& store, const Calendar& calendar);

  // `extra`: rows not stored yet (the running segment), counted as if they were. Without
  // `withDays` only the context totals are filled.
  Result<UsageTally> tally(const DateInterval& interval, std::span<const Segment> extra,
                           bool withDays = true);
  // Totals per context for the chip, the widget and the limits, who ask every few seconds: the
  // totals of the stored rows are kept until the database changes. Without title rules they
  // come per application and host (`titleless`, no details); `extra` keeps its full contexts.
  Result<std::vector<ContextTotal>> totals(const DateInterval& interval,
                                           std::span<const Segment> extra);
  // The time at the computer of totals(), in microseconds; only the number is kept.
  Result<Micros> atComputerMicros(const DateInterval& interval, std::span<const Segment> extra);
  // The same figures from the rows only: the reference the aggregates are held to.
  Result<UsageTally> tallyFromRows(const DateInterval& interval, std::span<const Segment> extra);

  // The timeline of `interval` with `extra`. Without `extra` the last one is kept while the
  // interval and the rows it was made of stay the same.
  Result<Timeline> timeline(const DateInterval& interval, std::span<const Segment> extra);

  // The contexts of one application in the interval (of every application without
  // `bundleId`), per host and detail: for detail rows.
  Result<std::vector<ContextTotal>> appDetails(const DateInterval& interval,
                                               std::span<const Segment> extra,
                                               const std::optional<std::string>& bundleId);

  // Computes the summaries of stored days that have none kept yet and keeps them in the store
  // (for the calendar's zone), so that the next report reads them instead of the days' rows:
  // what an import does for the days it filled.
  Status summarizeStoredDays(std::span<const std::string> dayKeys);

  // Whether categories depend on window titles (the user has keyword rules): then totals keep
  // titles apart; otherwise they come per site (see UsageTally). On by default.
  void setCategoriesUseTitles(bool use) { categoriesUseTitles_ = use; }

  UsageAggregates& aggregates() { return aggregates_; }

 private:
  Result<std::optional<DaySummary>> summaryOfStoredDay(const std::string& dayKey);
  // Without `details`, totals at TotalsLevel::site leave details out altogether (no detail
  // figures, rows of kept days per application and host). TotalsLevel::app never has details.
  Result<UsageTally> tallyAt(const DateInterval& interval, std::span<const Segment> extra,
                             bool withDays, TotalsLevel level,
                             std::optional<std::string_view> bundleOnly, bool details = true);

  // Every stored day, kept until the database changes.
  Result<std::vector<StoredDay>> storedDays();

  struct Remembered {
    Instant start;
    Instant end;
    TotalsLevel level;
    std::optional<std::vector<ContextTotal>> contexts;  // only when asked for
    Micros atComputer = 0;
  };
  // The remembered totals of the stored rows for `interval`, if still right; null otherwise.
  Remembered* remembered(const DateInterval& interval, TotalsLevel level);
  Result<Remembered*> remember(const DateInterval& interval, TotalsLevel level, bool withContexts);

  SegmentStore& store_;
  const Calendar& calendar_;
  UsageAggregates aggregates_;
  DayRowsCache dayRows_;
  std::optional<std::pair<std::int64_t, std::int64_t>> rememberedStamp_;
  std::vector<Remembered> remembered_;
  std::optional<std::int64_t> latestEnd_;  // of every stored row, at rememberedStamp_
  bool categoriesUseTitles_ = true;
  std::optional<std::pair<std::int64_t, std::int64_t>> daysStamp_;
  std::vector<StoredDay> days_;
  struct KeptTimeline {
    DateInterval interval;
    std::vector<std::uint64_t> serials;  // of the days' rows it was made of
    Timeline timeline;
  };
  std::optional<KeptTimeline> keptTimeline_;
};

// True when some rule files time by a word of the title (a keyword rule with a pattern).
bool hasKeywordRules(std::span<const CategoryRule> rules);

}  // namespace velto
