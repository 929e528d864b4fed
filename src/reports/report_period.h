// The periods a report covers, the earlier period it is compared with and its name, movers and
// the change of focus share.
//
// Periods are half-open intervals of local days in the given Calendar. A period that contains
// now is "in progress": its figures run up to now, and it is compared with the earlier period cut
// at the same time elapsed from its start ("yesterday by this time").
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/calendar.h"
#include "reports/usage_rollup.h"

namespace velto {

enum class PeriodKind { day, week, month, year, custom };
enum class RangePreset { last7, last30, last90, last12Months };

std::string_view rawValue(PeriodKind kind);
std::optional<PeriodKind> periodKindFromRaw(std::string_view raw);
std::string_view rawValue(RangePreset preset);
std::optional<RangePreset> rangePresetFromRaw(std::string_view raw);

struct ReportPeriod {
  PeriodKind kind = PeriodKind::day;
  DateInterval interval;  // whole local days
  bool inProgress = false;
  // Per-month buckets (a year, or a custom range longer than 92 days) instead of per-day ones.
  bool monthBuckets() const;
};

// The day, week, month or year containing `anchor`.
ReportPeriod periodContaining(PeriodKind kind, Instant anchor, const Calendar& calendar,
                              Instant now);
// The local days from the one containing `first` to the one containing `last`, both included.
ReportPeriod customPeriod(Instant first, Instant last, const Calendar& calendar, Instant now);
// The last 7, 30 or 90 days, or 12 months, ending today.
ReportPeriod presetPeriod(RangePreset preset, const Calendar& calendar, Instant now);

// "Today", "This week", ... for a period containing now; otherwise its dates ("2026-11-20",
// "2026-11", "2026", "2026-11-16 – 2026-11-22").
std::string periodLabel(const ReportPeriod& period, const Calendar& calendar,
                        std::string_view language);
// "2026-11-16 – 2026-11-22": the first and last local day of an interval.
std::string rangeLabel(const DateInterval& interval, const Calendar& calendar);

struct ComparisonPeriod {
  DateInterval interval;
  std::string nameKey;  // catalog key of "yesterday by this time", "the day before", ...
};

ComparisonPeriod comparisonFor(const ReportPeriod& period, const Calendar& calendar, Instant now);
// The interval the current figures cover: the period, cut at now while it is in progress.
DateInterval countedInterval(const ReportPeriod& period, Instant now);

// A key (category, application or detail) with its seconds now and in the earlier period.
struct TrendRow {
  std::string key;
  std::string label;
  double current = 0;
  double previous = 0;
};

struct Mover {
  TrendRow row;
  std::optional<long long> percent;  // none when there was no earlier time
};

// At least 300 s of change, and at least 5% of the earlier seconds when there were any.
bool isMover(double current, double previous);
// The movers among `rows`, largest absolute change first (stable).
std::vector<Mover> movers(const std::vector<TrendRow>& rows);
// One row per key of either list.
template <typename Row, typename KeyOf, typename LabelOf>
std::vector<TrendRow> trendRows(const std::vector<Row>& current, const std::vector<Row>& previous,
                                KeyOf keyOf, LabelOf labelOf);

// The trends section's text when it has no movers to list: "main.trends.noBaseline" when the
// earlier period has no time, "main.trends.steady" when nothing moved; none otherwise.
std::optional<std::string> trendsText(bool anyMover, double previousTotalSeconds,
                                      std::string_view language);

// round((current share − previous share) × 100); none when the earlier split is empty.
std::optional<long long> focusMixPoints(const FocusSplit& current, const FocusSplit& previous);
std::string focusMixText(long long points, std::string_view language);

template <typename Row, typename KeyOf, typename LabelOf>
std::vector<TrendRow> trendRows(const std::vector<Row>& current, const std::vector<Row>& previous,
                                KeyOf keyOf, LabelOf labelOf) {
  std::vector<TrendRow> rows;
  std::unordered_map<std::string, size_t> index;
  for (const Row& row : current) {
    index.emplace(keyOf(row), rows.size());
    rows.push_back({keyOf(row), labelOf(row), row.seconds, 0});
  }
  for (const Row& row : previous) {
    auto [at, added] = index.emplace(keyOf(row), rows.size());
    if (added) rows.push_back({keyOf(row), labelOf(row), 0, 0});
    rows[at->second].previous += row.seconds;
  }
  return rows;
}

}  // namespace velto
