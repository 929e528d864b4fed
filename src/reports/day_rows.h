// The rows of stored days kept in memory between reads. The day being recorded and the days a
// period only partly covers ("yesterday by this point", the edges of a custom range) are asked
// for on every live reload and chip refresh; reading them from SQLite each time costs far more
// than keeping them.
//
// Kept rows stay right while no row of the store was edited or deleted (the store's edit
// count); rows inserted since (recording, imports) are found by rowid and merged in. Only the
// few most recently used days are kept.
//
// A day is kept compact, because the recorder keeps today and yesterday for as long as it runs:
// per row its times and the index of its context, per context five pooled strings and its
// totals. Full rows, and totals as ContextTotal, are made when asked for.
//
// Thread: main thread, with the store.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "base/calendar.h"
#include "reports/day_summary.h"
#include "reports/string_pool.h"
#include "store/usage_aggregates.h"

namespace velto {

class DayRows {
 public:
  struct Row {
    Instant startedAt;
    Instant endedAt;
    double seconds = 0;         // as stored: the figure totals add up
    std::uint32_t context = 0;  // index into contexts()
  };

  explicit DayRows(std::string dayKey);

  const std::string& dayKey() const { return dayKey_; }
  // In start order, then insertion order.
  const std::vector<Row>& rows() const { return rows_; }
  // The stored rows, made anew on each call; in the order of rows().
  std::vector<Segment> segments() const;
  Segment segment(size_t row) const;
  // Every row with a rowid up to this one is in.
  std::int64_t lastRowid() const { return lastRowid_; }
  // Different for every distinct set of rows (a new one when rows are merged in).
  std::uint64_t serial() const { return serial_; }

  // Totals per context of all rows, off the computer included, in the order their first rows
  // came in; made on first use and then kept up to date.
  const std::vector<ContextTotal>& contexts() const;
  // The same per application, host and detail (see UsageRollup::titleless), and for each of
  // contexts() the index of its totals there.
  const std::vector<ContextTotal>& titlelessContexts() const;
  const std::vector<std::uint32_t>& titlelessOfContexts() const;
  // The same per application and host only (UsageRollup::titleless without detail).
  const std::vector<ContextTotal>& siteContexts() const;
  const std::vector<std::uint32_t>& siteOfContexts() const;
  // The same per application (bundle id) only, as TotalsLevel::app gives them.
  const std::vector<ContextTotal>& appContexts() const;
  const std::vector<std::uint32_t>& appOfContexts() const;
  // Whether the rows of context `context` are time away from the computer.
  bool offComputer(std::uint32_t context) const { return table_[context].offComputer; }
  // The summary of the rows at the computer, for a calendar in which they all start in local
  // day dayKey(); none when no row is at the computer. Computed once per time zone.
  const std::optional<DaySummary>& summary(const Calendar& calendar) const;

  // Adds rows with rowids above lastRowid() (in start order among themselves).
  void merge(std::span<const Segment> added, std::int64_t lastRowid);
  // Reads and merges the day's stored rows with rowids above lastRowid(); afterwards
  // lastRowid() is at least `atLeast`. After a failure the rows are incomplete: drop them.
  Status readMore(UsageAggregates& aggregates, std::int64_t atLeast);

 private:
  struct Context {
    std::uint32_t bundleId = 0;
    std::uint32_t appName = 0;
    std::uint32_t host = StringPool::kNone;
    std::uint32_t windowTitle = StringPool::kNone;
    std::uint32_t toolName = StringPool::kNone;
    bool offComputer = false;
    Micros micros = 0;
    std::int64_t count = 0;
  };
  // What a row has beyond its context, kept only to make segments again.
  struct Rest {
    Uuid id;
    std::uint32_t url = StringPool::kNone;
    std::uint32_t endReason = 0;
  };

  struct ContextKey {
    std::uint32_t ids[5];
    bool operator==(const ContextKey&) const = default;
  };
  struct ContextKeyHash {
    size_t operator()(const ContextKey& key) const;
  };
  // Context indexes by key while rows are added: built for each read or merge from every
  // context and dropped afterwards, since kept for the life of the day it would take more memory
  // than the day's rows. The string pool's lookup table is handled the same way (compact()).
  using ContextIndex = std::unordered_map<ContextKey, std::uint32_t, ContextKeyHash>;

  // Adds one row at the end; rows_ may be out of start order afterwards.
  void append(const Segment& row, ContextIndex& index);
  // Fills `index` with every context when it is empty.
  void indexContexts(ContextIndex& index) const;
  ContextKey keyOf(const Context& context) const;
  // Puts rows_ back in (start, insertion) order once rows from `firstAdded` on were appended.
  void reorder(size_t firstAdded);
  StoredContext storedContext(std::uint32_t context) const;

  std::string dayKey_;
  std::vector<Row> rows_;
  std::vector<Rest> rest_;
  std::vector<Context> table_;
  StringPool strings_;
  std::int64_t lastRowid_ = 0;
  std::uint64_t serial_ = 0;
  mutable std::optional<std::vector<ContextTotal>> contexts_;
  mutable std::optional<std::vector<ContextTotal>> titleless_;
  mutable std::vector<std::uint32_t> titlelessOf_;
  // Totals of contexts grouped by some of their strings, and the group of each context.
  struct Grouped {
    std::optional<std::vector<ContextTotal>> totals;
    std::vector<std::uint32_t> of;
  };
  const Grouped& grouped(Grouped& kept, bool byHost) const;
  mutable Grouped sites_;
  mutable Grouped apps_;
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
