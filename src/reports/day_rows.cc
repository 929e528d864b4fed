#include "reports/day_rows.h"

#include <algorithm>
#include <atomic>
#include <unordered_map>

namespace velto {

namespace {

StoredContext contextOf(const Segment& row) {
  return StoredContext{row.bundleId, row.appName, row.host, row.windowTitle, row.toolName};
}

std::uint64_t nextSerial() {
  static std::atomic<std::uint64_t> serial{0};
  return ++serial;
}

std::int64_t lastRowidOf(const std::vector<RowOfDay>& rows, std::int64_t atLeast) {
  for (const RowOfDay& row : rows) atLeast = std::max(atLeast, row.rowid);
  return atLeast;
}

std::vector<Segment> segmentsOf(std::vector<RowOfDay>&& rows) {
  std::vector<Segment> segments;
  segments.reserve(rows.size());
  for (RowOfDay& row : rows) segments.push_back(std::move(row.segment));
  return segments;
}

}  // namespace

DayRows::DayRows(std::string dayKey, std::vector<Segment> rows, std::int64_t lastRowid)
    : dayKey_(std::move(dayKey)),
      rows_(std::move(rows)),
      lastRowid_(lastRowid),
      serial_(nextSerial()) {}

const std::vector<ContextTotal>& DayRows::contexts() const {
  if (!contexts_) {
    contexts_ = UsageRollup::contexts(rows_);
    contexts_->shrink_to_fit();
    std::unordered_map<StoredContext, std::uint32_t, StoredContextHash> index;
    for (size_t i = 0; i < contexts_->size(); ++i)
      index.emplace((*contexts_)[i].context, static_cast<std::uint32_t>(i));
    contextOf_.clear();
    contextOf_.reserve(rows_.size());
    for (const Segment& row : rows_) contextOf_.push_back(index.at(contextOf(row)));
  }
  return *contexts_;
}

const std::vector<std::uint32_t>& DayRows::contextOfRows() const {
  (void)contexts();
  return contextOf_;
}

const std::vector<ContextTotal>& DayRows::titlelessContexts() const {
  if (!titleless_) {
    titleless_ = UsageRollup::titleless(contexts(), true, &titlelessOf_);
    titleless_->shrink_to_fit();
  }
  return *titleless_;
}

const std::vector<std::uint32_t>& DayRows::titlelessOfContexts() const {
  (void)titlelessContexts();
  return titlelessOf_;
}

const std::optional<DaySummary>& DayRows::summary(const Calendar& calendar) const {
  if (!summary_ || summaryZone_ != calendar.zoneName()) {
    const std::vector<Segment> kept = UsageRollup::atComputer(rows_);
    summaryZone_ = calendar.zoneName();
    summary_.emplace(kept.empty()
                         ? std::nullopt
                         : std::optional<DaySummary>(DaySummary::of(dayKey_, kept, calendar)));
  }
  return *summary_;
}

void DayRows::merge(std::vector<Segment> added, std::int64_t lastRowid) {
  lastRowid_ = std::max(lastRowid_, lastRowid);
  if (added.empty()) return;
  serial_ = nextSerial();
  summary_.reset();
  // Totals already made take the new rows in (a recorder adds one row at a time to a day of
  // thousands).
  if (contexts_) {
    for (const Segment& row : added) {
      const StoredContext context = contextOf(row);
      auto found =
          std::find_if(contexts_->begin(), contexts_->end(),
                       [&](const ContextTotal& total) { return total.context == context; });
      if (found == contexts_->end()) {
        found = contexts_->insert(contexts_->end(), ContextTotal{});
        found->context = context;
        titleless_.reset();  // a new context: made again when asked
      }
      found->micros += UsageRollup::micros(row);
      found->count += 1;
      const auto index = static_cast<std::uint32_t>(found - contexts_->begin());
      contextOf_.push_back(index);
      if (titleless_) {
        ContextTotal& total = (*titleless_)[titlelessOf_[index]];
        total.micros += UsageRollup::micros(row);
        total.count += 1;
      }
    }
  } else {
    titleless_.reset();
  }
  const size_t kept = rows_.size();
  for (Segment& row : added) rows_.push_back(std::move(row));
  auto byStart = [](const Segment& a, const Segment& b) { return a.startedAt < b.startedAt; };
  if (std::is_sorted(rows_.begin() + static_cast<std::ptrdiff_t>(kept > 0 ? kept - 1 : 0),
                     rows_.end(), byStart)) {
    return;
  }
  // Added rows come after every kept one in insertion order, so a stable sort by start keeps
  // the (start, insertion) order.
  std::vector<size_t> order(rows_.size());
  for (size_t i = 0; i < order.size(); ++i) order[i] = i;
  std::stable_sort(order.begin(), order.end(),
                   [&](size_t a, size_t b) { return rows_[a].startedAt < rows_[b].startedAt; });
  std::vector<Segment> sorted;
  sorted.reserve(rows_.size());
  std::vector<std::uint32_t> contextOf;
  for (size_t i : order) {
    sorted.push_back(std::move(rows_[i]));
    if (contexts_) contextOf.push_back(contextOf_[i]);
  }
  rows_ = std::move(sorted);
  contextOf_ = std::move(contextOf);
}

Result<DayRows> readDayRows(UsageAggregates& aggregates, const std::string& dayKey) {
  Result<std::vector<RowOfDay>> read = aggregates.rowsOfDay(dayKey);
  if (!read) return Error{read.error()};
  const std::int64_t last = lastRowidOf(*read, 0);
  return DayRows(dayKey, segmentsOf(std::move(read).value()), last);
}

DayRowsCache::DayRowsCache(UsageAggregates& aggregates, size_t capacity)
    : aggregates_(aggregates), capacity_(std::max<size_t>(1, capacity)) {}

Result<std::shared_ptr<const DayRows>> DayRowsCache::rowsOf(const std::string& dayKey) {
  const std::optional<RowsVersion> version = aggregates_.rowsVersion();
  if (!version || version->edits != edits_) entries_.clear();
  edits_ = version ? std::optional<std::int64_t>(version->edits) : std::nullopt;

  auto found = std::find_if(entries_.begin(), entries_.end(),
                            [&](const Entry& entry) { return entry.rows->dayKey() == dayKey; });
  if (found == entries_.end()) {
    Result<std::vector<RowOfDay>> read = aggregates_.rowsOfDay(dayKey);
    if (!read) return Error{read.error()};
    const std::int64_t last = lastRowidOf(*read, version ? version->lastRowid : 0);
    auto rows = std::make_shared<DayRows>(dayKey, segmentsOf(std::move(read).value()), last);
    if (!version) return std::shared_ptr<const DayRows>(std::move(rows));
    if (entries_.size() >= capacity_) {
      entries_.erase(
          std::min_element(entries_.begin(), entries_.end(),
                           [](const Entry& a, const Entry& b) { return a.lastUse < b.lastUse; }));
    }
    entries_.push_back({std::move(rows), 0});
    found = std::prev(entries_.end());
  } else if (found->rows->lastRowid() < version->lastRowid) {
    Result<std::vector<RowOfDay>> read = aggregates_.rowsOfDay(dayKey, found->rows->lastRowid());
    if (!read) return Error{read.error()};
    const std::int64_t last = lastRowidOf(*read, version->lastRowid);
    // Rows handed out earlier must not change under their holder.
    if (!read->empty() && found->rows.use_count() > 1) {
      found->rows = std::make_shared<DayRows>(*found->rows);
    }
    found->rows->merge(segmentsOf(std::move(read).value()), last);
  }
  found->lastUse = ++uses_;
  return std::shared_ptr<const DayRows>(found->rows);
}

}  // namespace velto
