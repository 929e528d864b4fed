// The rows of stored days kept in memory between reads. The day being recorded and the days a
// period only partly covers ("yesterday by this point", the edges of a custom range) are asked
// for on every live reload and chip refresh; reading them from SQLite each time costs far more
// than keeping them.
//
// Kept rows stay right while no row of the store was edited or deleted (the store's edit
// count); rows inserted since (recording, imports) are found by rowid and merged in. Only the
// few most recently used days are kept.
//
// Thread: main thread, with the store.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/calendar.h"
#include "reports/day_summary.h"
#include "store/usage_aggregates.h"

namespace velto {

class DayRows {
 public:
  DayRows(std::string dayKey, std::vector<Segment> rows, std::int64_t lastRowid);

  const std::string& dayKey() const { return dayKey_; }
  // In start order, then insertion order.
  const std::vector<Segment>& rows() const { return rows_; }
  // Every row with a rowid up to this one is in.
  std::int64_t lastRowid() const { return lastRowid_; }
  // Different for every distinct set of rows (a new one when rows are merged in).
  std::uint64_t serial() const { return serial_; }

  // Totals per context of all rows, off the computer included; computed once and kept up to
  // date by merge().
  const std::vector<ContextTotal>& contexts() const;
  // For each row, the index of its context in contexts().
  const std::vector<std::uint32_t>& contextOfRows() const;
  // The same per application, host and detail (see UsageRollup::titleless); computed once.
  const std::vector<ContextTotal>& titlelessContexts() const;
  // For each of contexts(), the index of its totals in titlelessContexts().
  const std::vector<std::uint32_t>& titlelessOfContexts() const;
  // The summary of the rows at the computer, for a calendar in which they all start in local
  // day dayKey(); none when no row is at the computer. Computed once per time zone.
  const std::optional<DaySummary>& summary(const Calendar& calendar) const;

  // Adds rows with rowids above lastRowid() (in start order among themselves).
  void merge(std::vector<Segment> added, std::int64_t lastRowid);

 private:
  std::string dayKey_;
  std::vector<Segment> rows_;
  std::int64_t lastRowid_ = 0;
  std::uint64_t serial_ = 0;
  mutable std::optional<std::vector<ContextTotal>> contexts_;
  mutable std::vector<std::uint32_t> contextOf_;
  mutable std::optional<std::vector<ContextTotal>> titleless_;
  mutable std::vector<std::uint32_t> titlelessOf_;
  mutable std::string summaryZone_;
  mutable std::optional<std::optional<DaySummary>> summary_;
};

// Reads one stored day's rows without keeping them (for a day read once, such as the summary of
// a day not seen before).
Result<DayRows> readDayRows(UsageAggregates& aggregates, const std::string& dayKey);

class DayRowsCache {
 public:
  // `aggregates` must outlive the cache.
  explicit DayRowsCache(UsageAggregates& aggregates, size_t capacity = 3);

  // The rows of one stored day as they are now. The pointer stays valid (and unchanged) for as
  // long as it is held, whatever the cache does later.
  Result<std::shared_ptr<const DayRows>> rowsOf(const std::string& dayKey);

 private:
  struct Entry {
    std::shared_ptr<DayRows> rows;
    std::uint64_t lastUse = 0;
  };

  UsageAggregates& aggregates_;
  size_t capacity_;
  std::optional<std::int64_t> edits_;
  std::vector<Entry> entries_;
  std::uint64_t uses_ = 0;
};

}  // namespace velto
