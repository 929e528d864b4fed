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

#include <optional>
#include <span>
#include <vector>

#include "base/calendar.h"
#include "reports/day_summary.h"
#include "store/segment_store.h"
#include "store/usage_aggregates.h"

namespace velto {

struct UsageTally {
  std::vector<ContextTotal> contexts;  // may list a context more than once; add them up
  // Without keyword rules the stored days' totals come per application and host only
  // (`siteLevel`), and their details as time per stored detail id here; rows read one by one
  // keep their full context (and so their details) in `contexts`.
  bool siteLevel = false;
  std::vector<std::int64_t> detailMicros;
  std::vector<DaySummary> days;  // time at the computer, in day order
  std::vector<Segment> rows;     // clipped, in start order; only when asked for
};

class UsageSource {
 public:
  // The store and calendar must outlive the source.
  UsageSource(SegmentStore& store, const Calendar& calendar);

  // `extra`: rows not stored yet (the running segment), counted as if they were.
  // `withRows` reads every row of the interval (for the timeline); otherwise aggregates are used.
  // Without `withDays` only the context totals are filled; those of the stored rows are then
  // kept until the database changes, so the chip, the widget and the limits can ask every few
  // seconds for almost nothing.
  Result<UsageTally> tally(const DateInterval& interval, std::span<const Segment> extra,
                           bool withRows, bool withDays = true);
  // The same figures from the rows only: the reference the aggregates are held to.
  Result<UsageTally> tallyFromRows(const DateInterval& interval, std::span<const Segment> extra);

  // The contexts of one application in the interval, per host and detail (for its detail rows).
  Result<std::vector<ContextTotal>> appDetails(const DateInterval& interval,
                                               std::span<const Segment> extra,
                                               const std::string& bundleId);

  // Whether categories depend on window titles (the user has keyword rules): then totals keep
  // titles apart; otherwise they come per site (see UsageTally). On by default.
  void setCategoriesUseTitles(bool use) { categoriesUseTitles_ = use; }

  UsageAggregates& aggregates() { return aggregates_; }

 private:
  Result<std::optional<DaySummary>> summaryOfStoredDay(const std::string& dayKey);
  Result<UsageTally> tallyAt(const DateInterval& interval, std::span<const Segment> extra,
                             bool withDays, TotalsLevel level,
                             std::optional<std::string_view> bundleOnly);

  struct Remembered {
    Instant start;
    Instant end;
    TotalsLevel level;
    UsageTally tally;
  };

  SegmentStore& store_;
  const Calendar& calendar_;
  UsageAggregates aggregates_;
  std::optional<std::pair<std::int64_t, std::int64_t>> rememberedStamp_;
  std::vector<Remembered> remembered_;
  std::optional<std::int64_t> latestEnd_;  // of every stored row, at rememberedStamp_
  bool categoriesUseTitles_ = true;
};

// True when some rule files time by a word of the title (a keyword rule with a pattern).
bool hasKeywordRules(std::span<const CategoryRule> rules);

}  // namespace velto
