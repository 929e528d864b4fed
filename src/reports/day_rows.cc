#include "reports/day_rows.h"

#include <algorithm>
#include <atomic>
#include <map>
#include <tuple>

namespace velto {

namespace {

std::uint64_t nextSerial() {
  static std::atomic<std::uint64_t> serial{0};
  return ++serial;
}

}  // namespace

size_t DayRows::ContextKeyHash::operator()(const ContextKey& key) const {
  size_t hash = 0;
  for (std::uint32_t id : key.ids) hash = hash * 1000003u ^ id;
  return hash;
}

DayRows::DayRows(std::string dayKey) : dayKey_(std::move(dayKey)), serial_(nextSerial()) {}

DayRows::ContextKey DayRows::keyOf(const Context& c) const {
  return ContextKey{{c.bundleId, c.appName, c.host, c.windowTitle, c.toolName}};
}

void DayRows::indexContexts(ContextIndex& index) const {
  if (!index.empty()) return;
  index.reserve(table_.size());
  for (size_t i = 0; i < table_.size(); ++i)
    index.emplace(keyOf(table_[i]), static_cast<std::uint32_t>(i));
}

StoredContext DayRows::storedContext(std::uint32_t context) const {
  const Context& c = table_[context];
  return StoredContext{strings_.string(c.bundleId), strings_.string(c.appName),
                       strings_.optional(c.host), strings_.optional(c.windowTitle),
                       strings_.optional(c.toolName)};
}

void DayRows::append(const Segment& row, ContextIndex& index) {
  Context made;
  made.bundleId = strings_.intern(row.bundleId);
  made.appName = strings_.intern(row.appName);
  made.host = strings_.internOptional(row.host);
  made.windowTitle = strings_.internOptional(row.windowTitle);
  made.toolName = strings_.internOptional(row.toolName);
  const auto [at, added] =
      index.try_emplace(keyOf(made), static_cast<std::uint32_t>(table_.size()));
  const std::uint32_t context = at->second;
  const Micros micros = UsageRollup::micros(row);
  if (added) {
    made.offComputer = UsageRollup::isOffMac(row.bundleId);
    table_.push_back(made);
    // Totals made before take the new context in; those per title-less key are made again
    // when asked.
    if (contexts_)
      contexts_->push_back(ContextTotal{storedContext(context), 0, 0, false, std::nullopt});
    titleless_.reset();
    sites_.totals.reset();
    apps_.totals.reset();
  }
  Context& kept = table_[context];
  kept.micros += micros;
  kept.count += 1;
  auto add = [&](std::optional<std::vector<ContextTotal>>& totals, size_t at) {
    if (!totals) return;
    (*totals)[at].micros += micros;
    (*totals)[at].count += 1;
  };
  add(contexts_, context);
  if (titleless_) add(titleless_, titlelessOf_[context]);
  if (sites_.totals) add(sites_.totals, sites_.of[context]);
  if (apps_.totals) add(apps_.totals, apps_.of[context]);
  rows_.push_back(Row{row.startedAt, row.endedAt, row.seconds, context});
  rest_.push_back(
      Rest{row.id, strings_.internOptional(row.url), strings_.intern(row.endReasonRaw)});
}

void DayRows::reorder(size_t firstAdded) {
  auto byStart = [](const Row& a, const Row& b) { return a.startedAt < b.startedAt; };
  const size_t from = firstAdded > 0 ? firstAdded - 1 : 0;
  if (std::is_sorted(rows_.begin() + static_cast<std::ptrdiff_t>(from), rows_.end(), byStart))
    return;
  // Added rows come after every kept one in insertion order, so a stable sort by start keeps
  // the (start, insertion) order.
  std::vector<std::uint32_t> order(rows_.size());
  for (size_t i = 0; i < order.size(); ++i) order[i] = static_cast<std::uint32_t>(i);
  std::stable_sort(order.begin(), order.end(), [&](std::uint32_t a, std::uint32_t b) {
    return rows_[a].startedAt < rows_[b].startedAt;
  });
  std::vector<Row> rows;
  std::vector<Rest> rest;
  rows.reserve(rows_.size());
  rest.reserve(rest_.size());
  for (std::uint32_t i : order) {
    rows.push_back(rows_[i]);
    rest.push_back(rest_[i]);
  }
  rows_ = std::move(rows);
  rest_ = std::move(rest);
}

void DayRows::merge(std::span<const Segment> added, std::int64_t lastRowid) {
  lastRowid_ = std::max(lastRowid_, lastRowid);
  if (added.empty()) return;
  const size_t kept = rows_.size();
  ContextIndex index;
  indexContexts(index);
  for (const Segment& row : added) append(row, index);
  serial_ = nextSerial();
  summary_.reset();
  reorder(kept);
  strings_.compact();
}

Status DayRows::readMore(UsageAggregates& aggregates, std::int64_t atLeast) {
  const size_t kept = rows_.size();
  ContextIndex index;
  std::int64_t last = std::max(lastRowid_, atLeast);
  Status read =
      aggregates.eachRowOfDay(dayKey_, lastRowid_, [&](const Segment& row, std::int64_t rowid) {
        indexContexts(index);
        append(row, index);
        last = std::max(last, rowid);
      });
  if (!read) return read;
  lastRowid_ = last;
  if (rows_.size() == kept) return read;
  serial_ = nextSerial();
  summary_.reset();
  reorder(kept);
  strings_.compact();
  if (kept == 0) {
    rows_.shrink_to_fit();
    rest_.shrink_to_fit();
    table_.shrink_to_fit();
  }
  return read;
}

Segment DayRows::segment(size_t at) const {
  const Row& row = rows_[at];
  const Rest& rest = rest_[at];
  const Context& c = table_[row.context];
  Segment made;
  made.id = rest.id;
  made.startedAt = row.startedAt;
  made.endedAt = row.endedAt;
  made.seconds = row.seconds;
  made.bundleId = strings_.string(c.bundleId);
  made.appName = strings_.string(c.appName);
  made.windowTitle = strings_.optional(c.windowTitle);
  made.host = strings_.optional(c.host);
  made.toolName = strings_.optional(c.toolName);
  made.url = strings_.optional(rest.url);
  made.endReasonRaw = strings_.string(rest.endReason);
  made.dayKey = dayKey_;
  return made;
}

std::vector<Segment> DayRows::segments() const {
  std::vector<Segment> made;
  made.reserve(rows_.size());
  for (size_t i = 0; i < rows_.size(); ++i) made.push_back(segment(i));
  return made;
}

const std::vector<ContextTotal>& DayRows::contexts() const {
  if (!contexts_) {
    contexts_.emplace();
    contexts_->reserve(table_.size());
    for (size_t i = 0; i < table_.size(); ++i) {
      contexts_->push_back(ContextTotal{storedContext(static_cast<std::uint32_t>(i)),
                                        table_[i].micros, table_[i].count, false, std::nullopt});
    }
  }
  return *contexts_;
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

const DayRows::Grouped& DayRows::grouped(Grouped& kept, bool byHost) const {
  if (kept.totals) return kept;
  // Pooled strings are equal exactly when their indexes are: the key is three indexes.
  std::map<std::tuple<std::uint32_t, std::uint32_t, std::uint32_t>, std::uint32_t> index;
  kept.totals.emplace();
  kept.of.clear();
  kept.of.reserve(table_.size());
  for (const Context& c : table_) {
    const auto key = byHost ? std::tuple(c.bundleId, c.appName, c.host)
                            : std::tuple(c.bundleId, StringPool::kNone, StringPool::kNone);
    const auto [at, added] =
        index.try_emplace(key, static_cast<std::uint32_t>(kept.totals->size()));
    if (added) {
      ContextTotal& made = kept.totals->emplace_back();
      made.context.bundleId = strings_.string(c.bundleId);
      if (byHost) {
        made.context.appName = strings_.string(c.appName);
        made.context.host = strings_.optional(c.host);
      }
      made.titleless = true;
    }
    (*kept.totals)[at->second].micros += c.micros;
    (*kept.totals)[at->second].count += c.count;
    kept.of.push_back(at->second);
  }
  kept.totals->shrink_to_fit();
  return kept;
}

const std::vector<ContextTotal>& DayRows::siteContexts() const {
  return *grouped(sites_, true).totals;
}

const std::vector<std::uint32_t>& DayRows::siteOfContexts() const {
  return grouped(sites_, true).of;
}

const std::vector<ContextTotal>& DayRows::appContexts() const {
  return *grouped(apps_, false).totals;
}

const std::vector<std::uint32_t>& DayRows::appOfContexts() const {
  return grouped(apps_, false).of;
}

const std::optional<DaySummary>& DayRows::summary(const Calendar& calendar) const {
  if (!summary_ || summaryZone_ != calendar.zoneName()) {
    std::vector<Segment> kept;
    for (size_t i = 0; i < rows_.size(); ++i) {
      if (!table_[rows_[i].context].offComputer) kept.push_back(segment(i));
    }
    summaryZone_ = calendar.zoneName();
    summary_.emplace(kept.empty()
                         ? std::nullopt
                         : std::optional<DaySummary>(DaySummary::of(dayKey_, kept, calendar)));
  }
  return *summary_;
}

Result<DayRows> readDayRows(UsageAggregates& aggregates, const std::string& dayKey) {
  DayRows rows(dayKey);
  if (Status read = rows.readMore(aggregates, 0); !read) return Error{read.error()};
  return rows;
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
    auto rows = std::make_shared<DayRows>(dayKey);
    if (Status read = rows->readMore(aggregates_, version ? version->lastRowid : 0); !read)
      return Error{read.error()};
    if (!version) return std::shared_ptr<const DayRows>(std::move(rows));
    if (entries_.size() >= capacity_) {
      entries_.erase(
          std::min_element(entries_.begin(), entries_.end(),
                           [](const Entry& a, const Entry& b) { return a.lastUse < b.lastUse; }));
    }
    entries_.push_back({std::move(rows), 0});
    found = std::prev(entries_.end());
  } else if (found->rows->lastRowid() < version->lastRowid) {
    // A few rows recorded since: read aside, so that rows handed out earlier need not change
    // under their holder.
    std::vector<Segment> added;
    std::int64_t last = version->lastRowid;
    Status read = aggregates_.eachRowOfDay(dayKey, found->rows->lastRowid(),
                                           [&](const Segment& row, std::int64_t rowid) {
                                             added.push_back(row);
                                             last = std::max(last, rowid);
                                           });
    if (!read) return Error{read.error()};
    if (!added.empty() && found->rows.use_count() > 1) {
      found->rows = std::make_shared<DayRows>(*found->rows);
    }
    found->rows->merge(added, last);
  }
  found->lastUse = ++uses_;
  return std::shared_ptr<const DayRows>(found->rows);
}

}  // namespace velto
