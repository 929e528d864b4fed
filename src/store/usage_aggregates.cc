#include "store/usage_aggregates.h"

#include <array>
#include <map>
#include <string>

#include "context/context_detail.h"
#include "store/segment_row.h"

namespace velto {

namespace {

constexpr char kUnitSeparator = '\x1f';

std::string encodeDetail(const ActivityDetail& detail) {
  return "V" + std::string(rawValue(detail.kind)) + kUnitSeparator + detail.key + kUnitSeparator +
         detail.label;
}

std::optional<ActivityDetail> decodeDetail(std::string_view text) {
  if (text.empty() || text[0] != 'V') return std::nullopt;
  text.remove_prefix(1);
  const size_t first = text.find(kUnitSeparator);
  const size_t second = text.find(kUnitSeparator, first + 1);
  if (first == std::string_view::npos || second == std::string_view::npos) return std::nullopt;
  const std::optional<ActivityDetailKind> kind = activityDetailKindFromRaw(text.substr(0, first));
  if (!kind) return std::nullopt;
  return ActivityDetail{std::string(text.substr(first + 1, second - first - 1)),
                        std::string(text.substr(second + 1)), *kind};
}

// The aggregate tables. A change to the rows only marks its days in usage_dirty (the triggers,
// in the writer's transaction); the marked days are rebuilt from their rows later, in bulk.
constexpr const char* kTablesSql = R"sql(
CREATE TABLE usage_context (
  id INTEGER PRIMARY KEY,
  bundle_id TEXT NOT NULL,
  app_name TEXT NOT NULL,
  host_k TEXT NOT NULL,
  title_k TEXT NOT NULL,
  tool_k TEXT NOT NULL,
  UNIQUE (bundle_id, app_name, host_k, title_k, tool_k)
);
CREATE TABLE usage_site (
  id INTEGER PRIMARY KEY,
  bundle_id TEXT NOT NULL,
  app_name TEXT NOT NULL,
  host_k TEXT NOT NULL,
  UNIQUE (bundle_id, app_name, host_k)
);
CREATE TABLE usage_detail (
  id INTEGER PRIMARY KEY,
  key TEXT NOT NULL UNIQUE,
  detail_k TEXT NOT NULL
);
CREATE TABLE usage_app (
  id INTEGER PRIMARY KEY,
  bundle_id TEXT NOT NULL,
  app_name TEXT NOT NULL,
  host_k TEXT NOT NULL,
  detail_k TEXT NOT NULL,
  site INTEGER NOT NULL,
  detail INTEGER,
  UNIQUE (bundle_id, app_name, host_k, detail_k)
);
CREATE TABLE usage_day_context (
  day_key TEXT NOT NULL, ctx INTEGER NOT NULL, us INTEGER NOT NULL, n INTEGER NOT NULL,
  PRIMARY KEY (day_key, ctx)
) WITHOUT ROWID;
CREATE TABLE usage_day_app (
  day_key TEXT NOT NULL, app INTEGER NOT NULL, us INTEGER NOT NULL, n INTEGER NOT NULL,
  PRIMARY KEY (day_key, app)
) WITHOUT ROWID;
CREATE TABLE usage_month_app (
  month_key TEXT NOT NULL, app INTEGER NOT NULL, us INTEGER NOT NULL, n INTEGER NOT NULL,
  PRIMARY KEY (month_key, app)
) WITHOUT ROWID;
CREATE TABLE usage_day_site (
  day_key TEXT NOT NULL, site INTEGER NOT NULL, us INTEGER NOT NULL, n INTEGER NOT NULL,
  PRIMARY KEY (day_key, site)
) WITHOUT ROWID;
CREATE TABLE usage_month_site (
  month_key TEXT NOT NULL, site INTEGER NOT NULL, us INTEGER NOT NULL, n INTEGER NOT NULL,
  PRIMARY KEY (month_key, site)
) WITHOUT ROWID;
CREATE TABLE usage_day_detail (day_key TEXT PRIMARY KEY NOT NULL, blob BLOB NOT NULL) WITHOUT ROWID;
CREATE TABLE usage_month_detail (
  month_key TEXT PRIMARY KEY NOT NULL, blob BLOB NOT NULL
) WITHOUT ROWID;
CREATE TABLE usage_day (
  day_key TEXT PRIMARY KEY NOT NULL,
  min_started_us INTEGER NOT NULL,
  max_ended_us INTEGER NOT NULL,
  n INTEGER NOT NULL
) WITHOUT ROWID;
CREATE TABLE usage_day_cache (
  day_key TEXT NOT NULL, zone TEXT NOT NULL, blob TEXT NOT NULL,
  PRIMARY KEY (day_key, zone)
) WITHOUT ROWID;
CREATE TABLE usage_dirty (day_key TEXT PRIMARY KEY NOT NULL) WITHOUT ROWID;
CREATE TRIGGER usage_after_insert AFTER INSERT ON segment BEGIN
  INSERT OR IGNORE INTO usage_dirty (day_key) VALUES (NEW.day_key);
END;
CREATE TRIGGER usage_after_delete AFTER DELETE ON segment BEGIN
  INSERT OR IGNORE INTO usage_dirty (day_key) VALUES (OLD.day_key);
END;
CREATE TRIGGER usage_after_update AFTER UPDATE OF started_us, ended_us, seconds, bundle_id,
  app_name, window_title, host, tool_name, day_key ON segment BEGIN
  INSERT OR IGNORE INTO usage_dirty (day_key) VALUES (OLD.day_key);
  INSERT OR IGNORE INTO usage_dirty (day_key) VALUES (NEW.day_key);
END;
INSERT INTO usage_dirty (day_key) SELECT DISTINCT day_key FROM segment;
)sql";

// Rebuilds every day listed in temp.usage_rebuild from its rows, and the months they fall in
// from their days. Texts that may be absent are interned as 'N' (absent) or 'V' and the text;
// seconds are summed as whole microseconds, rounded the way the C++ readers round them.
constexpr const char* kRebuildSql = R"sql(
DELETE FROM usage_day_context WHERE day_key IN (SELECT day_key FROM temp.usage_rebuild);
DELETE FROM usage_day_app WHERE day_key IN (SELECT day_key FROM temp.usage_rebuild);
DELETE FROM usage_day_site WHERE day_key IN (SELECT day_key FROM temp.usage_rebuild);
DELETE FROM usage_day_detail WHERE day_key IN (SELECT day_key FROM temp.usage_rebuild);
DELETE FROM usage_day WHERE day_key IN (SELECT day_key FROM temp.usage_rebuild);
DELETE FROM usage_day_cache WHERE day_key IN (SELECT day_key FROM temp.usage_rebuild);
CREATE TEMP TABLE usage_fill AS
  SELECT day_key, bundle_id, app_name, ifnull('V' || host, 'N') AS host_k,
         ifnull('V' || window_title, 'N') AS title_k, ifnull('V' || tool_name, 'N') AS tool_k,
         ifnull(velto_detail(bundle_id, app_name, window_title, host, tool_name), 'N') AS detail_k,
         CAST(round(seconds * 1000000.0) AS INTEGER) AS us
  FROM segment WHERE day_key IN (SELECT day_key FROM temp.usage_rebuild);
INSERT INTO usage_context (bundle_id, app_name, host_k, title_k, tool_k)
  SELECT DISTINCT bundle_id, app_name, host_k, title_k, tool_k FROM usage_fill WHERE true
  ON CONFLICT DO NOTHING;
INSERT INTO usage_site (bundle_id, app_name, host_k)
  SELECT DISTINCT bundle_id, app_name, host_k FROM usage_fill WHERE true ON CONFLICT DO NOTHING;
INSERT INTO usage_detail (key, detail_k)
  SELECT velto_detail_key(detail_k), min(detail_k) FROM usage_fill WHERE detail_k <> 'N'
  GROUP BY 1 ON CONFLICT DO NOTHING;
INSERT INTO usage_app (bundle_id, app_name, host_k, detail_k, site, detail)
  SELECT f.bundle_id, f.app_name, f.host_k, f.detail_k, s.id,
         (SELECT d.id FROM usage_detail d WHERE d.key = velto_detail_key(f.detail_k))
  FROM (SELECT DISTINCT bundle_id, app_name, host_k, detail_k FROM usage_fill) f
  JOIN usage_site s ON s.bundle_id = f.bundle_id AND s.app_name = f.app_name
    AND s.host_k = f.host_k
  WHERE true ON CONFLICT DO NOTHING;
INSERT INTO usage_day_context (day_key, ctx, us, n)
  SELECT f.day_key, c.id, sum(f.us), count(*)
  FROM usage_fill f JOIN usage_context c ON c.bundle_id = f.bundle_id AND c.app_name = f.app_name
    AND c.host_k = f.host_k AND c.title_k = f.title_k AND c.tool_k = f.tool_k
  GROUP BY f.day_key, c.id;
INSERT INTO usage_day_app (day_key, app, us, n)
  SELECT f.day_key, a.id, sum(f.us), count(*)
  FROM usage_fill f JOIN usage_app a ON a.bundle_id = f.bundle_id AND a.app_name = f.app_name
    AND a.host_k = f.host_k AND a.detail_k = f.detail_k
  GROUP BY f.day_key, a.id;
INSERT INTO usage_day_site (day_key, site, us, n)
  SELECT d.day_key, a.site, sum(d.us), sum(d.n)
  FROM usage_day_app d JOIN usage_app a ON a.id = d.app
  WHERE d.day_key IN (SELECT day_key FROM temp.usage_rebuild)
  GROUP BY d.day_key, a.site;
INSERT INTO usage_day (day_key, min_started_us, max_ended_us, n)
  SELECT day_key, min(started_us), max(ended_us), count(*) FROM segment
  WHERE day_key IN (SELECT day_key FROM temp.usage_rebuild) GROUP BY day_key;
CREATE TEMP TABLE usage_rebuild_month AS
  SELECT DISTINCT substr(day_key, 1, 7) AS month_key FROM temp.usage_rebuild;
DELETE FROM usage_month_app WHERE month_key IN (SELECT month_key FROM usage_rebuild_month);
INSERT INTO usage_month_app (month_key, app, us, n)
  SELECT m.month_key, d.app, sum(d.us), sum(d.n)
  FROM usage_rebuild_month m JOIN usage_day_app d
    ON d.day_key BETWEEN m.month_key || '-00' AND m.month_key || '-99'
  GROUP BY m.month_key, d.app;
DELETE FROM usage_month_site WHERE month_key IN (SELECT month_key FROM usage_rebuild_month);
INSERT INTO usage_month_site (month_key, site, us, n)
  SELECT m.month_key, d.site, sum(d.us), sum(d.n)
  FROM usage_rebuild_month m JOIN usage_day_site d
    ON d.day_key BETWEEN m.month_key || '-00' AND m.month_key || '-99'
  GROUP BY m.month_key, d.site;
DELETE FROM usage_dirty WHERE day_key IN (SELECT day_key FROM temp.usage_rebuild);
DROP TABLE usage_fill;
)sql";

constexpr const char* kRebuildDoneSql = R"sql(
DROP TABLE usage_rebuild_month;
DROP TABLE temp.usage_rebuild;
)sql";

// Detail totals of a day or month as a blob: (detail id, microseconds) pairs in id order, each
// number an unsigned LEB128 varint, ids as the difference to the previous id. Time away from the
// computer is left out (details are of time at the computer).
using DetailPairs = std::vector<std::pair<std::int64_t, std::int64_t>>;

void putVarint(std::string& out, std::uint64_t value) {
  while (value >= 0x80) {
    out.push_back(static_cast<char>((value & 0x7f) | 0x80));
    value >>= 7;
  }
  out.push_back(static_cast<char>(value));
}

std::string encodePairs(const DetailPairs& pairs) {
  std::string out;
  out.reserve(pairs.size() * 5);
  std::int64_t previous = 0;
  for (const auto& [id, micros] : pairs) {
    putVarint(out, static_cast<std::uint64_t>(id - previous));
    putVarint(out, static_cast<std::uint64_t>(micros));
    previous = id;
  }
  return out;
}

// Calls `take(id, micros)` for each pair; false when the blob is cut short.
template <typename Take>
bool forEachPair(std::string_view blob, Take take) {
  const auto* at = reinterpret_cast<const unsigned char*>(blob.data());
  const auto* end = at + blob.size();
  auto next = [&](std::uint64_t& value) {
    value = 0;
    for (int shift = 0; at < end && shift < 64; shift += 7) {
      const unsigned char byte = *at++;
      value |= static_cast<std::uint64_t>(byte & 0x7f) << shift;
      if ((byte & 0x80) == 0) return true;
    }
    return false;
  };
  std::int64_t id = 0;
  while (at < end) {
    std::uint64_t step = 0;
    std::uint64_t micros = 0;
    if (!next(step) || !next(micros)) return false;
    id += static_cast<std::int64_t>(step);
    take(id, static_cast<std::int64_t>(micros));
  }
  return true;
}

// The detail blobs of the days in temp.usage_rebuild, and of their months from their days.
Status rebuildDetailBlobs(sql::Database& db) {
  Result<sql::Statement> days = db.prepare(
      "SELECT d.day_key, a.detail, sum(d.us) FROM usage_day_app d JOIN usage_app a ON a.id = d.app "
      "WHERE d.day_key IN (SELECT day_key FROM temp.usage_rebuild) AND a.detail IS NOT NULL "
      "AND a.bundle_id NOT LIKE 'velto.offmac.%' GROUP BY d.day_key, a.detail "
      "ORDER BY d.day_key, a.detail");
  Result<sql::Statement> writeDay =
      db.prepare("INSERT INTO usage_day_detail (day_key, blob) VALUES (?, ?)");
  if (!days) return Error{days.error()};
  if (!writeDay) return Error{writeDay.error()};
  std::string day;
  DetailPairs pairs;
  auto flushDay = [&]() -> Status {
    if (day.empty()) return {};
    const std::string blob = encodePairs(pairs);
    writeDay->reset();
    writeDay->bind(1, std::string_view(day)).bindBlob(2, blob.data(), blob.size());
    pairs.clear();
    return writeDay->run();
  };
  while (true) {
    Result<bool> row = days->step();
    if (!row) return Error{row.error()};
    if (!*row) break;
    std::string key = days->text(0);
    if (key != day) {
      if (Status written = flushDay(); !written) return written;
      day = std::move(key);
    }
    pairs.emplace_back(days->int64(1), days->int64(2));
  }
  if (Status written = flushDay(); !written) return written;

  Result<sql::Statement> months = db.prepare("SELECT month_key FROM usage_rebuild_month");
  Result<sql::Statement> dayBlobs = db.prepare(
      "SELECT blob FROM usage_day_detail WHERE day_key BETWEEN ? || '-00' AND ? || '-99'");
  Result<sql::Statement> writeMonth =
      db.prepare("INSERT OR REPLACE INTO usage_month_detail (month_key, blob) VALUES (?, ?)");
  Result<sql::Statement> dropMonth =
      db.prepare("DELETE FROM usage_month_detail WHERE month_key = ?");
  if (!months) return Error{months.error()};
  if (!dayBlobs) return Error{dayBlobs.error()};
  if (!writeMonth) return Error{writeMonth.error()};
  if (!dropMonth) return Error{dropMonth.error()};
  Result<std::vector<std::string>> monthKeys =
      months->collect([](const sql::Statement& row) { return row.text(0); });
  if (!monthKeys) return Error{monthKeys.error()};
  for (const std::string& month : *monthKeys) {
    std::map<std::int64_t, std::int64_t> merged;
    dayBlobs->reset();
    dayBlobs->bind(1, std::string_view(month)).bind(2, std::string_view(month));
    while (true) {
      Result<bool> row = dayBlobs->step();
      if (!row) return Error{row.error()};
      if (!*row) break;
      forEachPair(dayBlobs->blob(0),
                  [&](std::int64_t id, std::int64_t micros) { merged[id] += micros; });
    }
    if (merged.empty()) {
      dropMonth->reset();
      dropMonth->bind(1, std::string_view(month));
      if (Status dropped = dropMonth->run(); !dropped) return dropped;
      continue;
    }
    const std::string blob = encodePairs(DetailPairs(merged.begin(), merged.end()));
    writeMonth->reset();
    writeMonth->bind(1, std::string_view(month)).bindBlob(2, blob.data(), blob.size());
    if (Status written = writeMonth->run(); !written) return written;
  }
  return {};
}

// Rebuilds the marked days that `choice` selects from usage_dirty, in the caller's transaction.
Status rebuildDays(sql::Database& db, const std::string& choice) {
  if (Status chosen =
          db.exec("CREATE TEMP TABLE usage_rebuild AS SELECT day_key FROM usage_dirty " + choice);
      !chosen) {
    return chosen;
  }
  if (Status rebuilt = db.exec(kRebuildSql); !rebuilt) return rebuilt;
  if (Status blobs = rebuildDetailBlobs(db); !blobs) return blobs;
  return db.exec(kRebuildDoneSql);
}

// velto_detail(bundle_id, app_name, window_title, host, tool_name): the detail reports group a
// row by, as 'V' kind US key US label (US = U+001F), or NULL when the row has none.
//
// One insert asks for the same row's detail several times (each aggregate table keys by it), so
// the last answer is kept and given again for the same arguments: one derivation per row.
void detailFunction(sqlite3_context* context, int, sqlite3_value** values) {
  struct Call {
    std::array<std::optional<std::string>, 5> arguments;
    std::optional<std::string> encoded;
  };
  thread_local std::optional<Call> last;
  std::array<std::optional<std::string>, 5> arguments;
  for (size_t i = 0; i < arguments.size(); ++i) {
    if (sqlite3_value_type(values[i]) == SQLITE_NULL) continue;
    const auto* bytes = reinterpret_cast<const char*>(sqlite3_value_text(values[i]));
    arguments[i].emplace(bytes, static_cast<size_t>(sqlite3_value_bytes(values[i])));
  }
  if (!last || last->arguments != arguments) {
    auto view = [&](size_t i) -> std::optional<std::string_view> {
      if (!arguments[i]) return std::nullopt;
      return std::string_view(*arguments[i]);
    };
    const DetailSource source{view(0).value_or(""), view(1).value_or(""), view(2), view(3),
                              view(4)};
    const std::optional<ActivityDetail> detail = deriveDetail(source);
    last = Call{std::move(arguments),
                detail ? std::optional<std::string>(encodeDetail(*detail)) : std::nullopt};
  }
  if (!last->encoded) {
    sqlite3_result_null(context);
    return;
  }
  sqlite3_result_text(context, last->encoded->data(), static_cast<int>(last->encoded->size()),
                      SQLITE_TRANSIENT);
}

// velto_detail_key(detail_k): the key of an encoded detail ('V' kind US key US label), by which
// details are told apart across applications; NULL for 'N'.
void detailKeyFunction(sqlite3_context* context, int, sqlite3_value** values) {
  if (sqlite3_value_type(values[0]) == SQLITE_NULL) {
    sqlite3_result_null(context);
    return;
  }
  const std::string_view text(reinterpret_cast<const char*>(sqlite3_value_text(values[0])),
                              static_cast<size_t>(sqlite3_value_bytes(values[0])));
  const size_t first = text.find(kUnitSeparator);
  const size_t second = first == std::string_view::npos ? std::string_view::npos
                                                        : text.find(kUnitSeparator, first + 1);
  if (text.empty() || text[0] != 'V' || second == std::string_view::npos) {
    sqlite3_result_null(context);
    return;
  }
  const std::string_view key = text.substr(first + 1, second - first - 1);
  sqlite3_result_text(context, key.data(), static_cast<int>(key.size()), SQLITE_TRANSIENT);
}

// A count of the edits and deletions of rows, anywhere in the store. Recording only inserts, so
// rows kept in memory stay right while the count stands still; new rows are found by rowid.
// Idempotent: two processes opening an older store at once may both run it.
constexpr const char* kEditCountSql = R"sql(
CREATE TABLE IF NOT EXISTS usage_edits (n INTEGER NOT NULL);
INSERT INTO usage_edits (n) SELECT 0 WHERE NOT EXISTS (SELECT 1 FROM usage_edits);
CREATE TRIGGER IF NOT EXISTS usage_edit_after_delete AFTER DELETE ON segment BEGIN
  UPDATE usage_edits SET n = n + 1;
END;
CREATE TRIGGER IF NOT EXISTS usage_edit_after_update AFTER UPDATE ON segment BEGIN
  UPDATE usage_edits SET n = n + 1;
END;
)sql";

std::optional<std::string> decoded(const std::string& key) {
  if (key.empty() || key[0] != 'V') return std::nullopt;
  return key.substr(1);
}

}  // namespace

Status installUsageAggregates(sql::Database& db) {
  // Every connection needs the function before a trigger of it runs.
  if (sqlite3_create_function_v2(db.handle(), "velto_detail", 5, SQLITE_UTF8 | SQLITE_DETERMINISTIC,
                                 nullptr, detailFunction, nullptr, nullptr, nullptr) != SQLITE_OK) {
    return Error{db.lastError()};
  }
  if (sqlite3_create_function_v2(db.handle(), "velto_detail_key", 1,
                                 SQLITE_UTF8 | SQLITE_DETERMINISTIC, nullptr, detailKeyFunction,
                                 nullptr, nullptr, nullptr) != SQLITE_OK) {
    return Error{db.lastError()};
  }
  // Readers ask for the latest end of any row (an index answers at once).
  if (Status indexed = db.exec("CREATE INDEX IF NOT EXISTS segment_by_end ON segment (ended_us)");
      !indexed) {
    return indexed;
  }
  Result<bool> counted = db.hasTable("usage_edits");
  if (!counted) return Error{counted.error()};
  if (!*counted) {
    sql::Transaction transaction(db);
    if (!transaction.began()) return transaction.began();
    if (Status created = db.exec(kEditCountSql); !created) return created;
    if (Status committed = transaction.commit(); !committed) return committed;
  }
  Result<bool> present = db.hasTable("usage_month_detail");
  if (!present) return Error{present.error()};
  if (*present) return {};
  sql::Transaction transaction(db);
  if (!transaction.began()) return transaction.began();
  // Aggregates of an earlier layout are rebuilt from the rows.
  if (Status dropped = db.exec(
          "DROP TRIGGER IF EXISTS usage_after_insert; DROP TRIGGER IF EXISTS usage_after_delete; "
          "DROP TRIGGER IF EXISTS usage_after_update; DROP TABLE IF EXISTS usage_context; "
          "DROP TABLE IF EXISTS usage_day_context; DROP TABLE IF EXISTS usage_month_context; "
          "DROP TABLE IF EXISTS usage_app; DROP TABLE IF EXISTS usage_day_app; "
          "DROP TABLE IF EXISTS usage_month_app; DROP TABLE IF EXISTS usage_day; "
          "DROP TABLE IF EXISTS usage_day_cache; DROP TABLE IF EXISTS usage_dirty; "
          "DROP TABLE IF EXISTS usage_site; DROP TABLE IF EXISTS usage_detail; "
          "DROP TABLE IF EXISTS usage_day_site; DROP TABLE IF EXISTS usage_month_site; "
          "DROP TABLE IF EXISTS usage_day_detail; DROP TABLE IF EXISTS usage_month_detail;");
      !dropped) {
    return dropped;
  }
  if (Status created = db.exec(kTablesSql); !created) return created;
  if (Status filled = rebuildDays(db, ""); !filled) return filled;
  return transaction.commit();
}

UsageAggregates::UsageAggregates(sql::Database& db)
    : db_(db), installed_(installUsageAggregates(db)) {}

std::optional<std::int64_t> UsageAggregates::latestEnd() {
  Result<sql::Statement> statement = db_.prepare("SELECT max(ended_us) FROM segment");
  if (!statement) return std::nullopt;
  Result<bool> row = statement->step();
  if (!row || !*row || !statement->optionalText(0)) return std::nullopt;
  return statement->int64(0);
}

Result<std::vector<StoredDay>> UsageAggregates::days() {
  // A marked day's bounds come from its rows; a marked day without rows is gone.
  Result<sql::Statement> statement = db_.prepare(
      "SELECT day_key, min_started_us, max_ended_us, n, 0 FROM usage_day "
      "WHERE day_key NOT IN (SELECT day_key FROM usage_dirty) "
      "UNION ALL SELECT day_key, min(started_us), max(ended_us), count(*), 1 FROM segment "
      "WHERE day_key IN (SELECT day_key FROM usage_dirty) GROUP BY day_key "
      "ORDER BY 1");
  if (!statement) return Error{statement.error()};
  return statement->collect([](const sql::Statement& row) {
    return StoredDay{row.text(0), row.int64(1), row.int64(2), row.int64(3), row.int64(4) != 0};
  });
}

Status UsageAggregates::settle(bool keepNewest) {
  const std::string choice =
      keepNewest ? "WHERE day_key < (SELECT max(day_key) FROM usage_dirty)" : "";
  Result<sql::Statement> pending = db_.prepare("SELECT count(*) FROM usage_dirty " + choice);
  if (!pending) return Error{pending.error()};
  if (Result<bool> row = pending->step(); !row) return Error{row.error()};
  if (pending->int64(0) == 0) return {};
  pending->reset();
  sql::Transaction transaction(db_);
  if (!transaction.began()) return transaction.began();
  if (Status rebuilt = rebuildDays(db_, choice); !rebuilt) return rebuilt;
  return transaction.commit();
}

Status UsageAggregates::rebuildMarkedDays() {
  return rebuildDays(db_, "");
}

Result<std::vector<ContextTotal>> UsageAggregates::contextTotals(
    const std::vector<KeyRange>& dayRanges, const std::vector<KeyRange>& monthRanges,
    TotalsLevel level, std::optional<std::string_view> bundleOnly) {
  if (dayRanges.empty() && monthRanges.empty()) return std::vector<ContextTotal>{};
  // Totals per id first (integers only), then one lookup of each id's texts. Title-level totals
  // are kept per day only: a month is read as the range of its days.
  const bool titles = level == TotalsLevel::context;
  const bool apps = level == TotalsLevel::app;  // site totals added up per application
  const char* id = titles ? "ctx" : level == TotalsLevel::appDetail ? "app" : "site";
  const char* names = titles                            ? "usage_context"
                      : level == TotalsLevel::appDetail ? "usage_app"
                                                        : "usage_site";
  const std::string dayTable = std::string("usage_day_") + (titles ? "context" : id);
  const std::string monthTable = std::string("usage_month_") + id;
  const std::string only = bundleOnly ? std::string(" AND ") + id + " IN (SELECT id FROM " + names +
                                            " WHERE bundle_id = ?)"
                                      : "";
  std::string parts;
  std::vector<KeyRange> ranges;
  auto part = [&](const std::string& table, const char* key, const KeyRange& range) {
    if (!parts.empty()) parts += " UNION ALL ";
    parts += std::string("SELECT ") + id + " AS id, us, n FROM " + table + " WHERE " + key +
             " BETWEEN ? AND ?" + only;
    ranges.push_back(range);
  };
  for (const KeyRange& range : dayRanges) part(dayTable, "day_key", range);
  for (const KeyRange& range : monthRanges) {
    if (titles) {
      part(dayTable, "day_key", {range.first + "-00", range.last + "-99"});
    } else {
      part(monthTable, "month_key", range);
    }
  }
  const std::string columns = titles ? "c.bundle_id, c.app_name, c.host_k, c.title_k, c.tool_k"
                              : level == TotalsLevel::appDetail
                                  ? "c.bundle_id, c.app_name, c.host_k, c.detail_k, ''"
                              : apps ? "c.bundle_id, '', 'N', 'N', ''"
                                     : "c.bundle_id, c.app_name, c.host_k, 'N', ''";
  const std::string sums = apps ? ", sum(t.us), sum(t.n)" : ", t.us, t.n";
  Result<sql::Statement> statement =
      db_.prepare("SELECT " + columns + sums +
                  " FROM (SELECT id, sum(us) AS us, sum(n) AS n "
                  "FROM (" +
                  parts + ") GROUP BY id) t JOIN " + names + " c ON c.id = t.id" +
                  (apps ? " GROUP BY c.bundle_id" : ""));
  if (!statement) return Error{statement.error()};
  int index = 1;
  for (const KeyRange& range : ranges) {
    statement->bind(index, std::string_view(range.first))
        .bind(index + 1, std::string_view(range.last));
    index += 2;
    if (bundleOnly) statement->bind(index++, *bundleOnly);
  }
  std::vector<ContextTotal> totals;
  while (true) {
    Result<bool> row = statement->step();
    if (!row) return Error{row.error()};
    if (!*row) break;
    ContextTotal total;
    total.context.bundleId = statement->text(0);
    total.context.appName = statement->text(1);
    total.context.host = decoded(statement->text(2));
    if (titles) {
      total.context.windowTitle = decoded(statement->text(3));
      total.context.toolName = decoded(statement->text(4));
    } else {
      total.titleless = true;
      total.detail = decodeDetail(statement->text(3));
    }
    total.micros = statement->int64(5);
    total.count = statement->int64(6);
    if (total.count > 0) totals.push_back(std::move(total));
  }
  return totals;
}

Status UsageAggregates::addDetailTotals(const std::vector<KeyRange>& dayRanges,
                                        const std::vector<KeyRange>& monthRanges,
                                        std::vector<std::int64_t>& micros) {
  auto read = [&](const char* sql, const std::vector<KeyRange>& ranges) -> Status {
    Result<sql::Statement> statement = db_.prepare(sql);
    if (!statement) return Error{statement.error()};
    for (const KeyRange& range : ranges) {
      statement->reset();
      statement->bind(1, std::string_view(range.first)).bind(2, std::string_view(range.last));
      while (true) {
        Result<bool> row = statement->step();
        if (!row) return Error{row.error()};
        if (!*row) break;
        const bool whole = forEachPair(statement->blob(0), [&](std::int64_t id, std::int64_t us) {
          if (id < 0) return;
          if (static_cast<size_t>(id) >= micros.size()) micros.resize(static_cast<size_t>(id) + 1);
          micros[static_cast<size_t>(id)] += us;
        });
        if (!whole) return Error{"a stored detail total is damaged"};
      }
    }
    return {};
  };
  if (Status days =
          read("SELECT blob FROM usage_day_detail WHERE day_key BETWEEN ? AND ?", dayRanges);
      !days) {
    return days;
  }
  return read("SELECT blob FROM usage_month_detail WHERE month_key BETWEEN ? AND ?", monthRanges);
}

std::optional<std::int64_t> UsageAggregates::detailIdOfKey(std::string_view key) {
  // Ids never change once given, so a found one is kept; a missing key may be stored later.
  if (auto known = knownDetailIds_.find(key); known != knownDetailIds_.end()) return known->second;
  if (!detailByKey_) {
    Result<sql::Statement> prepared = db_.prepare("SELECT id FROM usage_detail WHERE key = ?");
    if (!prepared) return std::nullopt;
    detailByKey_.emplace(std::move(prepared).value());
  }
  detailByKey_->reset();
  detailByKey_->bind(1, key);
  Result<bool> row = detailByKey_->step();
  std::optional<std::int64_t> id;
  if (row && *row) id = detailByKey_->int64(0);
  detailByKey_->reset();
  if (id) {
    if (knownDetailIds_.size() >= kKnownDetailIds) knownDetailIds_.clear();
    knownDetailIds_.emplace(std::string(key), *id);
  }
  return id;
}

Result<std::vector<std::optional<ActivityDetail>>> UsageAggregates::detailsOfIds(
    std::span<const std::int64_t> ids) {
  std::vector<std::optional<ActivityDetail>> details(ids.size());
  if (ids.empty()) return details;
  std::string list = "[";
  for (size_t i = 0; i < ids.size(); ++i) {
    if (i > 0) list += ',';
    list += std::to_string(ids[i]);
  }
  list += ']';
  Result<sql::Statement> statement = db_.prepare(
      "SELECT j.key, d.detail_k FROM json_each(?) j JOIN usage_detail d ON d.id = j.value");
  if (!statement) return Error{statement.error()};
  statement->bind(1, std::string_view(list));
  while (true) {
    Result<bool> row = statement->step();
    if (!row) return Error{row.error()};
    if (!*row) break;
    const std::int64_t at = statement->int64(0);
    if (at >= 0 && static_cast<size_t>(at) < details.size())
      details[static_cast<size_t>(at)] = decodeDetail(statement->text(1));
  }
  return details;
}

std::optional<RowsVersion> UsageAggregates::rowsVersion() {
  Result<sql::Statement> statement = db_.prepare(
      "SELECT (SELECT n FROM usage_edits), (SELECT ifnull(max(rowid), 0) FROM segment)");
  if (!statement) return std::nullopt;
  Result<bool> row = statement->step();
  if (!row || !*row) return std::nullopt;
  return RowsVersion{statement->int64(0), statement->int64(1)};
}

Status UsageAggregates::eachRowOfDay(
    std::string_view dayKey, std::int64_t afterRowid,
    const std::function<void(const Segment& row, std::int64_t rowid)>& each) {
  if (!dayRows_) {
    Result<sql::Statement> prepared = db_.prepare(
        std::string("SELECT ") + kSegmentColumns +
        ", rowid FROM segment WHERE day_key = ? AND rowid > ? ORDER BY started_us, rowid");
    if (!prepared) return Error{prepared.error()};
    dayRows_.emplace(std::move(prepared).value());
  }
  sql::Statement& statement = *dayRows_;
  statement.reset();
  statement.bind(1, dayKey).bind(2, afterRowid);
  Status status;
  for (;;) {
    Result<bool> row = statement.step();
    if (!row) {
      status = Error{row.error()};
      break;
    }
    if (!*row) break;
    each(segmentFromRow(statement), statement.int64(kSegmentColumnCount));
  }
  statement.reset();
  return status;
}

std::optional<std::string> UsageAggregates::cachedDay(std::string_view dayKey,
                                                      std::string_view zone) {
  if (!cacheRead_) {
    Result<sql::Statement> prepared =
        db_.prepare("SELECT blob FROM usage_day_cache WHERE day_key = ? AND zone = ?");
    if (!prepared) return std::nullopt;
    cacheRead_.emplace(std::move(prepared).value());
  }
  cacheRead_->reset();
  cacheRead_->bind(1, dayKey).bind(2, zone);
  Result<bool> row = cacheRead_->step();
  std::optional<std::string> blob;
  if (row && *row) blob = cacheRead_->text(0);
  cacheRead_->reset();
  return blob;
}

void UsageAggregates::cacheDay(std::string_view dayKey, std::string_view zone,
                               std::string_view blob) {
  if (!cacheWrite_) {
    Result<sql::Statement> prepared = db_.prepare(
        "INSERT OR REPLACE INTO usage_day_cache (day_key, zone, blob) VALUES (?, ?, ?)");
    if (!prepared) return;
    cacheWrite_.emplace(std::move(prepared).value());
  }
  cacheWrite_->reset();
  cacheWrite_->bind(1, dayKey).bind(2, zone).bind(3, blob);
  (void)cacheWrite_->run();
  cacheWrite_->reset();
}

}  // namespace velto
