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

// The rows of `day` overlapping `interval`, clipped to it; those away from the computer only
// with `offComputerToo`.
std::vector<Segment> clippedRows(const DayRows& day, const DateInterval& interval,
                                 bool offComputerToo) {
  std::vector<Segment> picked;
  for (size_t i = 0; i < day.rows().size(); ++i) {
    const DayRows::Row& row = day.rows()[i];
    if (!(row.startedAt < interval.end) || !(row.endedAt > interval.start)) continue;
    if (offComputerToo || !day.offComputer(row.context)) picked.push_back(day.segment(i));
  }
  return UsageRollup::clip(picked, interval);
}

}  // namespace

UsageSource::UsageSource(SegmentStore& store, const Calendar& calendar)
    : store_(store),
      calendar_(calendar),
      aggregates_(store.persistence().database()),
      dayRows_(aggregates_) {}

Result<UsageTally> UsageSource::tallyFromRows(const DateInterval& interval,
                                              std::span<const Segment> extra) {
  Result<std::vector<Segment>> stored = store_.fetchOverlapping(interval.start, interval.end);
  if (!stored) return Error{stored.error()};
  UsageTally tally;
  tally.rows = UsageRollup::clip(*stored, interval);
  for (Segment& row : UsageRollup::clip(extra, interval)) tally.rows.push_back(std::move(row));
  sortByStart(tally.rows);
  tally.contexts = UsageRollup::contexts(tally.rows);
  tally.days = summarizeDays(UsageRollup::atComputer(tally.rows), calendar_);
  return tally;
}

Result<std::optional<DaySummary>> UsageSource::summaryOfStoredDay(const std::string& dayKey) {
  // Kept per zone and per way of labelling blocks: days cached while titles that say nothing
  // still labelled blocks are worked out again.
  const std::string zone = calendar_.zoneName() + "|labels:2";
  if (std::optional<std::string> cached = aggregates_.cachedDay(dayKey, zone)) {
    if (*cached == kNoTimeAtComputer) return std::optional<DaySummary>();
    if (std::optional<DaySummary> day = DaySummary::decode(*cached)) return day;
  }
  Result<DayRows> rows = readDayRows(aggregates_, dayKey);
  if (!rows) return Error{rows.error()};
  const std::optional<DaySummary> day = rows->summary(calendar_);
  aggregates_.cacheDay(dayKey, zone, day ? day->encode() : std::string(kNoTimeAtComputer));
  return day;
}

Status UsageSource::summarizeStoredDays(std::span<const std::string> dayKeys) {
  for (const std::string& dayKey : dayKeys) {
    if (Result<std::optional<DaySummary>> day = summaryOfStoredDay(dayKey); !day) {
      return Error{day.error()};
    }
  }
  return {};
}

Result<UsageTally> UsageSource::tally(const DateInterval& interval, std::span<const Segment> extra,
                                      bool withDays) {
  if (!aggregates_.installed()) return tallyFromRows(interval, extra);
  const TotalsLevel level = categoriesUseTitles_ ? TotalsLevel::context : TotalsLevel::site;
  return tallyAt(interval, extra, withDays, level, std::nullopt);
}

UsageSource::Remembered* UsageSource::remembered(const DateInterval& interval, TotalsLevel level) {
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
  return found == remembered_.end() ? nullptr : &*found;
}

Result<UsageSource::Remembered*> UsageSource::remember(const DateInterval& interval,
                                                       TotalsLevel level, bool withContexts) {
  constexpr size_t kRememberedTallies = 16;
  Result<UsageTally> stored = tallyAt(interval, {}, false, level, std::nullopt, false);
  if (!stored) return Error{stored.error()};
  Remembered made{interval.start, interval.end, level, std::nullopt,
                  UsageRollup::atComputerMicros(stored->contexts)};
  if (withContexts) {
    // Kept small: without title rules nobody asks these for titles or details.
    made.contexts = level == TotalsLevel::context ? std::move(stored->contexts)
                                                  : UsageRollup::titleless(stored->contexts, false);
    made.contexts->shrink_to_fit();
  }
  std::erase_if(remembered_, [&](const Remembered& r) {
    return r.start == interval.start && r.end == interval.end && r.level == level;
  });
  if (remembered_.size() >= kRememberedTallies) remembered_.erase(remembered_.begin());
  remembered_.push_back(std::move(made));
  return &remembered_.back();
}

Result<std::vector<ContextTotal>> UsageSource::totals(const DateInterval& interval,
                                                      std::span<const Segment> extra) {
  const TotalsLevel level = categoriesUseTitles_ ? TotalsLevel::context : TotalsLevel::site;
  std::vector<ContextTotal> totals;
  if (!aggregates_.installed()) {
    Result<UsageTally> tally = tallyFromRows(interval, extra);
    if (!tally) return Error{tally.error()};
    return std::move(tally->contexts);
  }
  Remembered* found = remembered(interval, level);
  if (found == nullptr || !found->contexts) {
    Result<Remembered*> made = remember(interval, level, true);
    if (!made) return Error{made.error()};
    found = *made;
  }
  totals = *found->contexts;
  std::vector<Segment> rows = UsageRollup::clip(extra, interval);
  sortByStart(rows);
  for (ContextTotal& total : UsageRollup::contexts(rows)) totals.push_back(std::move(total));
  return totals;
}

Result<Micros> UsageSource::atComputerMicros(const DateInterval& interval,
                                             std::span<const Segment> extra) {
  Micros stored = 0;
  if (!aggregates_.installed()) {
    Result<UsageTally> tally = tallyFromRows(interval, {});
    if (!tally) return Error{tally.error()};
    stored = UsageRollup::atComputerMicros(tally->contexts);
  } else {
    // A sum needs no more than the time per application.
    Remembered* found = remembered(interval, TotalsLevel::app);
    if (found == nullptr) {
      Result<Remembered*> made = remember(interval, TotalsLevel::app, false);
      if (!made) return Error{made.error()};
      found = *made;
    }
    stored = found->atComputer;
  }
  for (const Segment& row : UsageRollup::clip(extra, interval)) {
    if (!UsageRollup::isOffMac(row.bundleId)) stored += UsageRollup::micros(row);
  }
  return stored;
}

Result<std::vector<StoredDay>> UsageSource::storedDays() {
  const auto stamp = store_.persistence().database().changeStamp();
  if (!stamp || stamp != daysStamp_) {
    Result<std::vector<StoredDay>> days = aggregates_.days();
    if (!days) return days;
    days_ = std::move(days).value();
    daysStamp_ = stamp;
  }
  return days_;
}

Result<Timeline> UsageSource::timeline(const DateInterval& interval,
                                       std::span<const Segment> extra) {
  std::vector<std::shared_ptr<const DayRows>> parts;
  std::vector<Segment> fetched;
  const sql::ReadSnapshot snapshot(store_.persistence().database());
  if (aggregates_.installed()) {
    Result<std::vector<StoredDay>> days = storedDays();
    if (!days) return Error{days.error()};
    const Micros start = unixMicros(interval.start);
    const Micros end = unixMicros(interval.end);
    for (const StoredDay& day : *days) {
      if (!(day.minStartUs < end && day.maxEndUs > start)) continue;
      Result<std::shared_ptr<const DayRows>> rows = dayRows_.rowsOf(day.dayKey);
      if (!rows) return Error{rows.error()};
      parts.push_back(std::move(rows).value());
    }
  } else {
    Result<std::vector<Segment>> stored = store_.fetchOverlapping(interval.start, interval.end);
    if (!stored) return Error{stored.error()};
    fetched = std::move(stored).value();
  }
  std::vector<std::uint64_t> serials;
  for (const auto& part : parts) serials.push_back(part->serial());
  if (extra.empty() && keptTimeline_ && keptTimeline_->interval.start == interval.start &&
      keptTimeline_->interval.end == interval.end && keptTimeline_->serials == serials &&
      aggregates_.installed()) {
    return keptTimeline_->timeline;
  }

  std::vector<Segment> rows = UsageRollup::atComputer(UsageRollup::clip(fetched, interval));
  for (const auto& part : parts) {
    for (Segment& row : clippedRows(*part, interval, false)) rows.push_back(std::move(row));
  }
  for (Segment& row : UsageRollup::atComputer(UsageRollup::clip(extra, interval)))
    rows.push_back(std::move(row));
  sortByStart(rows);
  Timeline timeline;
  timeline.blocks = std::make_shared<const std::vector<TimelineBlock>>(UsageRollup::blocks(rows));
  timeline.rows = std::make_shared<const std::vector<Segment>>(std::move(rows));
  if (extra.empty()) keptTimeline_ = KeptTimeline{interval, std::move(serials), timeline};
  return timeline;
}

Result<std::vector<ContextTotal>> UsageSource::appDetails(
    const DateInterval& interval, std::span<const Segment> extra,
    const std::optional<std::string>& bundleId) {
  std::vector<Segment> own;
  for (const Segment& row : extra) {
    if (!bundleId || row.bundleId == *bundleId) own.push_back(row);
  }
  std::optional<std::string_view> only;
  if (bundleId) only = *bundleId;
  Result<UsageTally> tally = aggregates_.installed()
                                 ? tallyAt(interval, own, false, TotalsLevel::appDetail, only)
                                 : tallyFromRows(interval, own);
  if (!tally) return Error{tally.error()};
  std::vector<ContextTotal> totals;
  for (ContextTotal& total : tally->contexts) {
    if (!bundleId || total.context.bundleId == *bundleId) totals.push_back(std::move(total));
  }
  return totals;
}

Result<UsageTally> UsageSource::tallyAt(const DateInterval& interval,
                                        std::span<const Segment> extra, bool withDays,
                                        TotalsLevel level,
                                        std::optional<std::string_view> bundleOnly, bool details) {
  // Days changed since their totals were built are brought up to date first, except the one
  // being recorded; whatever stays marked is read row by row.
  (void)aggregates_.settle();
  const sql::ReadSnapshot snapshot(store_.persistence().database());
  Result<std::vector<StoredDay>> days = storedDays();
  if (!days) return Error{days.error()};
  const Micros start = unixMicros(interval.start);
  const Micros end = unixMicros(interval.end);
  const size_t count = days->size();
  std::vector<char> usable(count, 0);
  std::vector<char> loose(count, 0);
  // Inside the interval and inside the local day of its key.
  std::vector<char> inside(count, 0);
  for (size_t i = 0; i < count; ++i) {
    const StoredDay& day = (*days)[i];
    if (!(day.minStartUs < end && day.maxEndUs > start)) continue;
    const std::optional<Instant> dayStart = calendar_.startOfDayKey(day.dayKey);
    inside[i] = dayStart && day.minStartUs >= std::max(start, unixMicros(*dayStart)) &&
                day.maxEndUs <= std::min(end, unixMicros(calendar_.nextMidnight(*dayStart)));
    (inside[i] && !day.marked ? usable : loose)[i] = 1;
  }

  UsageTally tally;
  // Rows counted one by one: clipped edges of days and `extra`. Loose days inside the interval
  // are counted whole, from the totals and summary kept with their rows.
  std::vector<Segment> rows = UsageRollup::clip(extra, interval);
  std::vector<std::shared_ptr<const DayRows>> wholeDays;
  // Without day summaries the rows of a partly covered day are only added up: those inside the
  // interval per context, those across its edges clipped and counted one by one.
  std::vector<ContextTotal> partTotals;
  // The totals a kept day gives at `level`: per context, per application, host and detail as
  // stored days give them, per application and host, or per application only.
  const bool detailed = details && level != TotalsLevel::app;
  auto keptTotals = [&](const DayRows& day) -> const std::vector<ContextTotal>& {
    if (level == TotalsLevel::context) return day.contexts();
    if (level == TotalsLevel::app) return day.appContexts();
    return detailed ? day.titlelessContexts() : day.siteContexts();
  };
  // For each context of `day`, the index of its totals in keptTotals(day); none per context.
  auto keptIndex = [&](const DayRows& day) -> const std::vector<std::uint32_t>* {
    if (level == TotalsLevel::context) return nullptr;
    if (level == TotalsLevel::app) return &day.appOfContexts();
    return detailed ? &day.titlelessOfContexts() : &day.siteOfContexts();
  };
  auto countPart = [&](const DayRows& day) {
    const std::vector<ContextTotal>& known = keptTotals(day);
    const std::vector<std::uint32_t>* indexOf = keptIndex(day);
    std::vector<Micros> micros(known.size(), 0);
    std::vector<std::int64_t> counts(known.size(), 0);
    for (size_t r = 0; r < day.rows().size(); ++r) {
      const DayRows::Row& row = day.rows()[r];
      if (!(row.startedAt < interval.end) || !(row.endedAt > interval.start)) continue;
      if (row.startedAt < interval.start || row.endedAt > interval.end) {
        const Segment whole = day.segment(r);
        for (Segment& part : UsageRollup::clip({&whole, 1}, interval))
          rows.push_back(std::move(part));
        continue;
      }
      const std::uint32_t at = indexOf == nullptr ? row.context : (*indexOf)[row.context];
      micros[at] += countedMicros(row.seconds);
      counts[at] += 1;
    }
    for (size_t c = 0; c < known.size(); ++c) {
      if (counts[c] == 0) continue;
      ContextTotal& total = partTotals.emplace_back(known[c]);
      total.micros = micros[c];
      total.count = counts[c];
    }
  };
  auto readDay = [&](size_t i) -> Status {
    Result<std::shared_ptr<const DayRows>> stored = dayRows_.rowsOf((*days)[i].dayKey);
    if (!stored) return Error{stored.error()};
    if (inside[i]) {
      wholeDays.push_back(std::move(stored).value());
    } else if (withDays) {
      for (Segment& row : clippedRows(**stored, interval, true)) rows.push_back(std::move(row));
    } else {
      countPart(**stored);
    }
    return {};
  };
  for (size_t i = 0; i < count; ++i) {
    if (!loose[i]) continue;
    if (Status read = readDay(i); !read) return Error{read.error()};
  }
  // A local day that holds rows read one by one is read whole, so that no local day is made of
  // two summaries.
  std::set<std::string> rowDays;
  for (size_t scanned = 0; withDays && scanned < rows.size();) {
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
  if (level == TotalsLevel::site && detailed) {
    tally.siteLevel = true;
    if (Status details = aggregates_.addDetailTotals(dayRuns, monthRuns, tally.detailMicros);
        !details) {
      return Error{details.error()};
    }
  }
  for (const std::shared_ptr<const DayRows>& day : wholeDays) {
    const std::vector<ContextTotal>& totals = keptTotals(*day);
    tally.contexts.insert(tally.contexts.end(), totals.begin(), totals.end());
  }
  for (ContextTotal& total : partTotals) tally.contexts.push_back(std::move(total));
  sortByStart(rows);
  for (ContextTotal& total : UsageRollup::contexts(rows))
    tally.contexts.push_back(std::move(total));

  if (!withDays) return tally;
  // A whole day shares its summary unless rows counted one by one fall in the same local day.
  std::vector<Segment> summarized = UsageRollup::atComputer(rows);
  for (const std::shared_ptr<const DayRows>& day : wholeDays) {
    if (rowDays.contains(day->dayKey())) {
      for (Segment& row : UsageRollup::atComputer(day->segments()))
        summarized.push_back(std::move(row));
    } else if (const std::optional<DaySummary>& summary = day->summary(calendar_)) {
      tally.days.push_back(*summary);
    }
  }
  sortByStart(summarized);
  for (size_t i = 0; i < count; ++i) {
    if (!usable[i]) continue;
    Result<std::optional<DaySummary>> day = summaryOfStoredDay(dayKeys[i]);
    if (!day) return Error{day.error()};
    if (*day) tally.days.push_back(std::move(**day));
  }
  for (DaySummary& day : summarizeDays(summarized, calendar_)) {
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
