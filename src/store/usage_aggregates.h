// Per-day and per-month totals kept beside the segment table, so that reports over months and
// years read a few thousand aggregate rows instead of every segment.
//
// Writing a row costs almost nothing extra: SQLite triggers on the segment table only mark the
// row's day (insert, import, edit, reassign, delete, purge, wipe, whichever process writes, in
// the writer's transaction). Marked days are rebuilt from their rows in bulk by `settle`, and
// until then their totals are not used: readers take a marked day's rows instead, so the
// aggregates never disagree with the rows. Seconds are summed as whole microseconds (each row's
// `seconds` rounded to the microsecond) so sums are exact and order-independent.
//
// A context is one distinct (bundle id, app name, host, window title, tool) combination, interned
// once as a small integer; absent and empty texts are different contexts. Beside these the
// store keeps totals per (bundle id, app name, host, detail), the detail derived from the row
// when its day is rebuilt (the SQL function velto_detail, registered on each connection by
// installUsageAggregates), per day and per month: long periods read those.
//
// Per day the store also keeps the earliest start and latest end of its rows.
//
// Thread: main thread, like the store whose database this uses.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/result.h"
#include "recording/activity_detail.h"
#include "store/segment.h"
#include "store/sqlite.h"

namespace velto {

// Creates the aggregate tables and triggers when missing and fills them from the rows already
// stored. Idempotent; one transaction.
Status installUsageAggregates(sql::Database& db);

struct StoredDay {
  std::string dayKey;           // the stored day_key of its rows
  std::int64_t minStartUs = 0;  // microseconds since the Unix epoch
  std::int64_t maxEndUs = 0;
  std::int64_t count = 0;
  // Changed since its totals were built: read its rows, not its totals. Its bounds are exact.
  bool marked = false;
};

struct StoredContext {
  std::string bundleId;
  std::string appName;
  std::optional<std::string> host;
  std::optional<std::string> windowTitle;
  std::optional<std::string> toolName;

  bool operator==(const StoredContext&) const = default;
};

struct ContextTotal {
  StoredContext context;
  std::int64_t micros = 0;
  std::int64_t count = 0;
  // Totals kept without window title and tool: `detail` holds the detail the rows had (derived
  // when they were stored), `context` has no title or tool.
  bool titleless = false;
  std::optional<ActivityDetail> detail;
};

// An inclusive range of keys ("2026-11-01".."2026-11-30", or months "2026-01".."2026-06").
struct KeyRange {
  std::string first;
  std::string last;
};

struct RowsVersion {
  std::int64_t edits = 0;      // rows edited or deleted so far (never goes down)
  std::int64_t lastRowid = 0;  // the largest rowid in use
  bool operator==(const RowsVersion&) const = default;
};

// How finely contextTotals tells contexts apart.
enum class TotalsLevel {
  context,    // every recorded context, titles and tools included
  appDetail,  // application, host and detail (`titleless`, with `detail`)
  site,       // application and host only (`titleless`, no `detail`)
  app,        // application only (`titleless`, bundle id only: no app name, host or detail)
};

class UsageAggregates {
 public:
  // Installs the aggregates on `db` when needed. `db` must outlive this object.
  explicit UsageAggregates(sql::Database& db);

  const Status& installed() const { return installed_; }

  // The latest end of any stored row, in microseconds since the Unix epoch; none when the store
  // is empty or cannot be read.
  std::optional<std::int64_t> latestEnd();
  // Every stored day, in key order.
  Result<std::vector<StoredDay>> days();
  // Rebuilds the totals of the marked days, in one write transaction (nothing is written when
  // no day is marked). `keepNewest` leaves the latest marked day for later: it is the day being
  // recorded, which would be marked again at once. A failure (another writer holds the lock)
  // leaves the days marked; readers then take their rows.
  Status settle(bool keepNewest = true);
  // Rebuilds the totals of every marked day in the caller's write transaction (a bulk import
  // that would rather commit its rows with their totals).
  Status rebuildMarkedDays();
  // Totals per context over whole stored days and whole stored months (keys "yyyy-MM"), at
  // `level`, of one application's contexts only when `bundleOnly` is given. Only days that are
  // not marked give right totals.
  Result<std::vector<ContextTotal>> contextTotals(
      const std::vector<KeyRange>& dayRanges, const std::vector<KeyRange>& monthRanges,
      TotalsLevel level = TotalsLevel::context,
      std::optional<std::string_view> bundleOnly = std::nullopt);
  // Adds the time at the computer per detail over the days and months to `micros`, indexed by
  // the detail's id (grown as needed). Details are told apart by their key alone.
  Status addDetailTotals(const std::vector<KeyRange>& dayRanges,
                         const std::vector<KeyRange>& monthRanges,
                         std::vector<std::int64_t>& micros);
  // The id of the detail with `key`, when stored days have it.
  std::optional<std::int64_t> detailIdOfKey(std::string_view key);
  // The details several ids stand for (kind and label as first stored), in the order of `ids`;
  // none for an unknown id.
  Result<std::vector<std::optional<ActivityDetail>>> detailsOfIds(
      std::span<const std::int64_t> ids);
  // Where the rows stand: rows kept from an earlier read are still right while `edits` is the
  // same, and rows added since have a rowid above the earlier `lastRowid`.
  std::optional<RowsVersion> rowsVersion();
  // Hands `each` the rows of one stored day with a rowid above `afterRowid`, sorted by start
  // (then insertion order), one at a time: a day of thousands of rows is never held twice.
  Status eachRowOfDay(std::string_view dayKey, std::int64_t afterRowid,
                      const std::function<void(const Segment& row, std::int64_t rowid)>& each);

  // A cached per-day figure blob computed by the reader for `zone`; dropped by the triggers
  // whenever a row of that day changes.
  std::optional<std::string> cachedDay(std::string_view dayKey, std::string_view zone);
  // Best effort: a failure (another writer holds the lock) only costs a recomputation later.
  void cacheDay(std::string_view dayKey, std::string_view zone, std::string_view blob);

 private:
  sql::Database& db_;
  Status installed_;
  std::optional<sql::Statement> dayRows_;
  std::optional<sql::Statement> cacheRead_;
  std::optional<sql::Statement> cacheWrite_;
  std::optional<sql::Statement> detailByKey_;
  struct TextHash {
    using is_transparent = void;
    size_t operator()(std::string_view text) const { return std::hash<std::string_view>{}(text); }
  };
  static constexpr size_t kKnownDetailIds = 16384;
  std::unordered_map<std::string, std::int64_t, TextHash, std::equal_to<>> knownDetailIds_;
};

}  // namespace velto
