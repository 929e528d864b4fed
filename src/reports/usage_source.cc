#include "reports/usage_source.h"

#include <algorithm>
#include <iterator>
#include <set>

namespace velto {

namespace {

constexpr std::string_view kNoTimeAtComputer = "-";

void sortByStart(std::vector<Segment>& rows) {
  std::stable_sort(rows.begin(), rows.end(),
                   [](const Segment& a, const Segment& b) { return a.startedAt < b.startedAt; });
}

std::vector<Segment> atComputer(std::span<const Segment> rows) {
  std::vector<Segment> kept;
  kept.reserve(rows.size());
  for (const Segment& row : rows) {
    if (!UsageRollup::isOffMac(row.bundleId)) kept.push_back(row);
  }
  return kept;
}

// Runs of consecutive keys among `keys` (in order) for which `take` holds.
std::vector<KeyRange> runsOf(const std::vector<std::string>& keys, const std::vector<char>& take) {
  std::vector<KeyRange> runs;
  bool open = false;
  for (size_t i = 0; i < keys.size(); ++i) {
    if (!take[i]) {
      open = false;
      continue;
    }
    if (open) {
      runs.back().last = keys[i];
    } else {
      runs.push_back({keys[i], keys[i]});
      open = true;
    }
  }
  return runs;
}

}  // namespace

UsageSource::UsageSource(SegmentStore& store, const Calendar& calendar)
    : store_(store), calendar_(calendar), aggregates_(store.persistence().database()) {}

Result<UsageTally> UsageSource::tallyFromRows(const DateInterval& interval,
                                              std::span<const Segment> extra) {
  Result<std::vector<Segment>> stored = store_.fetchOverlapping(interval.start, interval.end);
  if (!stored) return Error{stored.error()};
  UsageTally tally;
  tally.rows = UsageRollup::clip(*stored, interval);
  for (Segment& row : UsageRollup::clip(extra, interval)) tally.rows.push_back(std::move(row));
  sortByStart(tally.rows);
  tally.contexts = UsageRollup::contexts(tally.rows);
  tally.days = summarizeDays(atComputer(tally.rows), calendar_);
  return tally;
}

Result<std::optional<DaySummary>> UsageSource::summaryOfStoredDay(const std::string& dayKey) {
  const std::string& zone = calendar_.zoneName();
  if (std::optional<std::string> cached = aggregates_.cachedDay(dayKey, zone)) {
    if (*cached == kNoTimeAtComputer) return std::optional<DaySummary>();
    if (std::optional<DaySummary> day = DaySummary::decode(*cached)) return day;
  }
  Result<std::vector<Segment>> rows = aggregates_.rowsOfDay(dayKey);
  if (!rows) return Error{rows.error()};
  const std::vector<Segment> kept = atComputer(*rows);
  if (kept.empty()) {
    aggregates_.cacheDay(dayKey, zone, kNoTimeAtComputer);
    return std::optional<DaySummary>();
  }
  DaySummary day = DaySummary::of(dayKey, kept, calendar_);
  aggregates_.cacheDay(dayKey, zone, day.encode());
  return std::optional<DaySummary>(std::move(day));
}

Result<UsageTally> UsageSource::tally(const DateInterval& interval, std::span<const Segment> extra,
                                      bool withRows, bool withDays) {
  if (withRows || !aggregates_.installed()) return tallyFromRows(interval, extra);
  const TotalsLevel level = categoriesUseTitles_ ? TotalsLevel::context : TotalsLevel::site;
  if (withDays) return tallyAt(interval, extra, true, level, std::nullopt);

  constexpr size_t kRememberedTallies = 16;
  const auto stamp = store_.persistence().database().changeStamp();
  if (!stamp || stamp != rememberedStamp_) {
    remembered_.clear();
    latestEnd_ = aggregates_.latestEnd();
  }
  rememberedStamp_ = stamp;
  // Totals asked for up to "now" move on with every call; they stay the same as long as no
  // stored row reaches past the earlier of the two ends.
  auto found = std::find_if(remembered_.begin(), remembered_.end(), [&](const Remembered& r) {
    if (r.start != interval.start || r.level != level) return false;
    return r.end == interval.end ||
           (latestEnd_ && *latestEnd_ <= unixMicros(std::min(r.end, interval.end)));
  });
  if (found == remembered_.end()) {
    Result<UsageTally> stored = tallyAt(interval, {}, false, level, std::nullopt);
    if (!stored) return stored;
    if (remembered_.size() >= kRememberedTallies) remembered_.erase(remembered_.begin());
    remembered_.push_back({interval.start, interval.end, level, std::move(stored).value()});
    found = std::prev(remembered_.end());
  }
  UsageTally tally = found->tally;
  std::vector<Segment> rows = UsageRollup::clip(extra, interval);
  sortByStart(rows);
  for (ContextTotal& total : UsageRollup::contexts(rows))
    tally.contexts.push_back(std::move(total));
  return tally;
}

Result<std::vector<ContextTotal>> UsageSource::appDetails(const DateInterval& interval,
                                                          std::span<const Segment> extra,
                                                          const std::string& bundleId) {
  std::vector<Segment> own;
  for (const Segment& row : extra) {
    if (row.bundleId == bundleId) own.push_back(row);
  }
  Result<UsageTally> tally =
      aggregates_.installed()
          ? tallyAt(interval, own, false, TotalsLevel::appDetail, std::string_view(bundleId))
          : tallyFromRows(interval, own);
  if (!tally) return Error{tally.error()};
  std::vector<ContextTotal> totals;
  for (ContextTotal& total : tally->contexts) {
    if (total.context.bundleId == bundleId) totals.push_back(std::move(total));
  }
  return totals;
}

Result<UsageTally> UsageSource::tallyAt(const DateInterval& interval,
                                        std::span<const Segment> extra, bool withDays,
                                        TotalsLevel level,
                                        std::optional<std::string_view> bundleOnly) {
  // Days changed since their totals were built are brought up to date first, except the one
  // being recorded; whatever stays marked is read row by row.
  (void)aggregates_.settle();
  Result<std::vector<StoredDay>> days = aggregates_.days();
  if (!days) return Error{days.error()};
  const Micros start = unixMicros(interval.start);
  const Micros end = unixMicros(interval.end);
  const size_t count = days->size();
  std::vector<char> usable(count, 0);
  std::vector<char> loose(count, 0);
  for (size_t i = 0; i < count; ++i) {
    const StoredDay& day = (*days)[i];
    if (!(day.minStartUs < end && day.maxEndUs > start)) continue;
    const std::optional<Instant> dayStart = calendar_.startOfDayKey(day.dayKey);
    const bool inside =
        dayStart && day.minStartUs >= std::max(start, unixMicros(*dayStart)) &&
        day.maxEndUs <= std::min(end, unixMicros(calendar_.nextMidnight(*dayStart)));
    (inside && !day.marked ? usable : loose)[i] = 1;
  }

  UsageTally tally;
  std::vector<Segment> rows = UsageRollup::clip(extra, interval);
  auto readDay = [&](size_t i) -> Status {
    Result<std::vector<Segment>> stored = aggregates_.rowsOfDay((*days)[i].dayKey);
    if (!stored) return Error{stored.error()};
    for (Segment& row : UsageRollup::clip(*stored, interval)) rows.push_back(std::move(row));
    return {};
  };
  for (size_t i = 0; i < count; ++i) {
    if (!loose[i]) continue;
    if (Status read = readDay(i); !read) return Error{read.error()};
  }
  // A local day that holds rows read one by one is read whole, so that no local day is made of
  // two summaries.
  std::set<std::string> rowDays;
  for (size_t scanned = 0; scanned < rows.size();) {
    for (; scanned < rows.size(); ++scanned)
      rowDays.insert(calendar_.dayKey(rows[scanned].startedAt));
    for (size_t i = 0; i < count; ++i) {
      if (!usable[i] || !rowDays.contains((*days)[i].dayKey)) continue;
      usable[i] = 0;
      loose[i] = 1;
      if (Status read = readDay(i); !read) return Error{read.error()};
    }
  }

  // Whole months where every stored day of the month is usable, single days elsewhere.
  std::vector<std::string> dayKeys;
  std::vector<std::string> monthKeys;
  std::vector<char> monthUsable;
  dayKeys.reserve(count);
  for (size_t i = 0; i < count; ++i) {
    dayKeys.push_back((*days)[i].dayKey);
    std::string month = dayKeys.back().substr(0, 7);
    if (monthKeys.empty() || monthKeys.back() != month) {
      monthKeys.push_back(std::move(month));
      monthUsable.push_back(1);
    }
    if (!usable[i]) monthUsable.back() = 0;
  }
  std::vector<char> singleDay(count, 0);
  for (size_t i = 0, month = 0; i < count; ++i) {
    if (i > 0 && dayKeys[i].compare(0, 7, dayKeys[i - 1], 0, 7) != 0) ++month;
    singleDay[i] = usable[i] && !monthUsable[month];
  }
  const std::vector<KeyRange> dayRuns = runsOf(dayKeys, singleDay);
  const std::vector<KeyRange> monthRuns = runsOf(monthKeys, monthUsable);
  Result<std::vector<ContextTotal>> totals =
      aggregates_.contextTotals(dayRuns, monthRuns, level, bundleOnly);
  if (!totals) return Error{totals.error()};
  tally.contexts = std::move(totals).value();
  if (level == TotalsLevel::site) {
    tally.siteLevel = true;
    if (Status details = aggregates_.addDetailTotals(dayRuns, monthRuns, tally.detailMicros);
        !details) {
      return Error{details.error()};
    }
  }
  sortByStart(rows);
  for (ContextTotal& total : UsageRollup::contexts(rows))
    tally.contexts.push_back(std::move(total));

  if (!withDays) return tally;
  for (size_t i = 0; i < count; ++i) {
    if (!usable[i]) continue;
    Result<std::optional<DaySummary>> day = summaryOfStoredDay(dayKeys[i]);
    if (!day) return Error{day.error()};
    if (*day) tally.days.push_back(std::move(**day));
  }
  for (DaySummary& day : summarizeDays(atComputer(rows), calendar_)) {
    tally.days.push_back(std::move(day));
  }
  std::sort(tally.days.begin(), tally.days.end(),
            [](const DaySummary& a, const DaySummary& b) { return a.dayKey < b.dayKey; });
  return tally;
}

bool hasKeywordRules(std::span<const CategoryRule> rules) {
  for (const CategoryRule& rule : rules) {
    if (rule.subject() == CategoryRule::Subject::keyword && !rule.pattern.empty()) {
      return true;
    }
  }
  return false;
}

}  // namespace velto
