#include "store/segment_store.h"

#include <algorithm>

#include "base/log.h"
#include "base/notices.h"
#include "recording/off_computer.h"
#include "store/segment_facts.h"
#include "store/segment_row.h"

namespace velto {

namespace {

std::int64_t micros(Instant at) {
  return at.time_since_epoch().count();
}
Instant fromMicros(std::int64_t us) {
  return Instant(Microseconds(us));
}

void bindId(sql::Statement& statement, int index, const Uuid& id) {
  statement.bindBlob(index, id.bytes().data(), id.bytes().size());
}

// Runs `sql` once per id with the id bound to the last parameter.
Status forEachId(sql::Database& db, const std::string& sqlText, std::span<const Uuid> ids,
                 const std::function<void(sql::Statement&)>& bindOthers = {}) {
  Result<sql::Statement> statement = db.prepare(sqlText);
  if (!statement) return Error{statement.error()};
  const int idIndex = statement->parameterCount();
  for (const Uuid& id : ids) {
    statement->reset();
    if (bindOthers) bindOthers(*statement);
    bindId(*statement, idIndex, id);
    if (Status ran = statement->run(); !ran) return ran;
  }
  return {};
}

}  // namespace

SegmentStore::SegmentStore(PersistenceController& persistence, const Calendar& calendar,
                           NoticeBus& notices)
    : persistence_(persistence),
      db_(persistence.database()),
      calendar_(calendar),
      notices_(notices) {}

void SegmentStore::changed() {
  notices_.post(notices::kSegmentsDidChange);
}

Status SegmentStore::insertRow(const Segment& row) {
  // Inserts are the hot path (one per closed segment): the statement is prepared once.
  if (!insertStatement_) {
    Result<sql::Statement> prepared =
        db_.prepare(std::string("INSERT INTO segment (") + kSegmentColumns +
                    ") VALUES (?,?,?,?,?,?,?,?,?,?,?,?)");
    if (!prepared) return Error{prepared.error()};
    insertStatement_.emplace(std::move(prepared).value());
  }
  sql::Statement* statement = &*insertStatement_;
  statement->reset();
  bindId(*statement, 1, row.id);
  statement->bind(2, micros(row.startedAt))
      .bind(3, micros(row.endedAt))
      .bind(4, row.seconds)
      .bind(5, std::string_view(row.bundleId))
      .bind(6, std::string_view(row.appName))
      .bind(7, row.windowTitle)
      .bind(8, row.host)
      .bind(9, row.toolName)
      .bind(10, row.url)
      .bind(11, std::string_view(row.endReasonRaw))
      .bind(12, std::string_view(row.dayKey));
  return statement->run();
}

Segment SegmentStore::rowFor(const RecordedSegment& recorded) const {
  Segment row;
  row.id = Uuid::random();
  row.startedAt = recorded.startedAt;
  row.endedAt = recorded.endedAt;
  row.seconds = secondsBetween(recorded.startedAt, recorded.endedAt);
  const ActivityContext& context = recorded.context;
  row.bundleId = context.bundleId;
  row.appName = context.appName;
  row.windowTitle = context.windowTitle;
  row.host = context.host;
  row.toolName = context.toolName;
  row.url = context.url;
  row.endReasonRaw = std::string(rawValue(recorded.endReason));
  row.dayKey = calendar_.dayKey(recorded.startedAt);
  return row;
}

Result<Uuid> SegmentStore::insert(const RecordedSegment& recorded) {
  const Segment row = rowFor(recorded);
  if (Status inserted = insertRow(row); !inserted) {
    log::error("Could not save segment: %{public}s", inserted.error());
    return Error{inserted.error()};
  }
  changed();
  return row.id;
}

bool SegmentStore::storeWaiting(const Segment& row) {
  db_.setBusyTimeout(kRecordBusyWaitMs);
  Status inserted = insertRow(row);
  db_.setBusyTimeout(PersistenceController::kBusyWaitMs);
  if (inserted) {
    changed();
    return true;
  }
  // A run killed after storing its kept rows but before emptying the file left them twice.
  Result<sql::Statement> stored = db_.prepare("SELECT 1 FROM segment WHERE id = ?");
  if (stored) {
    bindId(*stored, 1, row.id);
    if (stored->step().toOptional().value_or(false)) return true;
  }
  log::error("Could not save segment: %{public}s", inserted.error());
  return false;
}

void SegmentStore::saveWaiting() {
  if (!keptFile_) return;
  const std::vector<Segment> rows(pending_.begin(), pending_.end());
  keptFile_->save(rows);
}

void SegmentStore::record(const RecordedSegment& segment) {
  retry();
  Segment row = rowFor(segment);
  if (pending_.empty() && storeWaiting(row)) return;
  if (pending_.size() == kMaxPending) {
    log::error("Dropped a segment kept for %{public}ld waiting ones", std::to_string(kMaxPending));
    pending_.pop_front();
  }
  pending_.push_back(std::move(row));
  log::info("Kept the segment to store it later (%{public}ld waiting)",
            std::to_string(pending_.size()));
  saveWaiting();
}

void SegmentStore::retry() {
  const size_t waiting = pending_.size();
  while (!pending_.empty() && storeWaiting(pending_.front())) pending_.pop_front();
  if (waiting == pending_.size()) return;
  saveWaiting();
  if (pending_.empty()) log::info("Stored %{public}ld kept segments", std::to_string(waiting));
}

void SegmentStore::keepPendingIn(std::unique_ptr<KeptSegmentsFile> file) {
  keptFile_ = std::move(file);
  std::vector<Segment> earlier = keptFile_->load();
  if (earlier.empty()) return;
  log::info("Found %{public}ld segments kept by an earlier run", std::to_string(earlier.size()));
  // They are older than anything this run recorded: they go first, within the bound.
  pending_.insert(pending_.begin(), std::make_move_iterator(earlier.begin()),
                  std::make_move_iterator(earlier.end()));
  while (pending_.size() > kMaxPending) pending_.pop_front();
  saveWaiting();
  retry();
}

Status SegmentStore::insertRows(std::span<const Segment> rows) {
  return edit("Segment import", [&]() -> Status {
    for (const Segment& row : rows) {
      if (Status inserted = insertRow(row); !inserted) return inserted;
    }
    return {};
  });
}

namespace {

// The page cache of a bulk write, in KiB: the id index takes rows in random order, and with
// SQLite's default 2 MB most of its pages would be read back from the file for every row.
constexpr int kBulkCacheKiB = 64 * 1024;
constexpr int kDefaultCacheKiB = 2000;

}  // namespace

SegmentStore::Bulk::Bulk(SegmentStore& store) : store_(store), transaction_(store.db_) {
  (void)store_.db_.exec("PRAGMA cache_size = -" + std::to_string(kBulkCacheKiB));
}

SegmentStore::Bulk::~Bulk() {
  (void)store_.db_.exec("PRAGMA cache_size = -" + std::to_string(kDefaultCacheKiB));
}

Status SegmentStore::Bulk::add(const Segment& row) {
  return store_.insertRow(row);
}

Status SegmentStore::Bulk::commit() {
  Status committed = transaction_.commit();
  if (!committed) {
    log::error("Segment import failed: %{public}s", committed.error());
    return committed;
  }
  store_.changed();
  return committed;
}

Result<std::vector<Segment>> SegmentStore::fetch(std::string_view where,
                                                 const std::function<void(sql::Statement&)>& bind) {
  Result<sql::Statement> statement =
      db_.prepare(std::string("SELECT ") + kSegmentColumns + " FROM segment WHERE " +
                  std::string(where) + " ORDER BY started_us, rowid");
  if (!statement) return Error{statement.error()};
  bind(*statement);
  return statement->collect(segmentFromRow);
}

Result<std::vector<Segment>> SegmentStore::fetchDay(std::string_view dayKey) {
  return fetch("day_key = ?", [&](sql::Statement& s) { s.bind(1, dayKey); });
}

Result<std::vector<Segment>> SegmentStore::fetchOverlapping(Instant start, Instant end) {
  // No row is longer than the stored bound, so the start index bounds the scan. The bound is
  // read by the same statement: rows another process stored since are counted too.
  return fetch(std::string("started_us >= ?1 - ") + kLongestSegmentUsSql +
                   " AND started_us < ?2 AND ended_us > ?1",
               [&](sql::Statement& s) { s.bind(1, micros(start)).bind(2, micros(end)); });
}

Result<std::int64_t> SegmentStore::count() {
  Result<sql::Statement> statement = db_.prepare("SELECT count(*) FROM segment");
  if (!statement) return Error{statement.error()};
  Result<bool> row = statement->step();
  if (!row) return Error{row.error()};
  return statement->int64(0);
}

Result<std::int64_t> SegmentStore::purge(int days, Instant now) {
  const Instant cutoff = calendar_.addDays(now, -days);
  auto failed = [](const std::string& error) -> Result<std::int64_t> {
    log::error("Retention purge failed: %{public}s", error);
    return Error{error};
  };
  Result<sql::Statement> counting =
      db_.prepare("SELECT count(*) FROM segment WHERE started_us < ?");
  if (!counting) return failed(counting.error());
  counting->bind(1, micros(cutoff));
  if (Result<bool> row = counting->step(); !row) return failed(row.error());
  const std::int64_t found = counting->int64(0);
  if (found < 1) return std::int64_t{0};

  sql::Transaction transaction(db_);
  if (!transaction.began()) return failed(transaction.began().error());
  Result<sql::Statement> deleting = db_.prepare("DELETE FROM segment WHERE started_us < ?");
  if (!deleting) return failed(deleting.error());
  deleting->bind(1, micros(cutoff));
  if (Status ran = deleting->run(); !ran) return failed(ran.error());
  const std::int64_t removed = db_.changes();
  if (Status settled = settleSegmentFacts(db_); !settled) return failed(settled.error());
  if (Status committed = transaction.commit(); !committed) return failed(committed.error());
  log::info("Purged %{public}ld segments older than %{public}ld days", std::to_string(removed),
            std::to_string(days));
  changed();
  return removed;
}

Status SegmentStore::edit(std::string_view name, const std::function<Status()>& change) {
  Status result = [&]() -> Status {
    sql::Transaction transaction(db_);
    if (!transaction.began()) return transaction.began();
    if (Status applied = change(); !applied) return applied;
    if (Status settled = settleSegmentFacts(db_); !settled) return settled;
    return transaction.commit();
  }();
  if (!result) {
    log::error("%{public}s failed: %{public}s", std::string(name), result.error());
    return result;
  }
  changed();
  return result;
}

Status SegmentStore::ruleEdit(std::string_view name, const std::function<Status()>& change) {
  Status result = edit(name, change);
  if (result) notices_.post(notices::kCategoryRulesDidChange);
  return result;
}

Status SegmentStore::wipe() {
  Status wiped = edit("Segment wipe", [&] { return db_.exec("DELETE FROM segment"); });
  if (wiped) notices_.post(notices::kStoreDidWipe);
  return wiped;
}

Status SegmentStore::deleteSegments(std::span<const Uuid> ids) {
  return edit("Segment delete",
              [&] { return forEachId(db_, "DELETE FROM segment WHERE id = ?", ids); });
}

Result<bool> SegmentStore::deleteOffComputer(const Uuid& id) {
  bool deleted = false;
  Status done = edit("Off-Mac delete", [&]() -> Status {
    Result<sql::Statement> statement =
        db_.prepare("DELETE FROM segment WHERE id = ? AND substr(bundle_id, 1, ?) = ?");
    if (!statement) return Error{statement.error()};
    bindId(*statement, 1, id);
    statement->bind(2, static_cast<std::int64_t>(kOffComputerPrefix.size()))
        .bind(3, kOffComputerPrefix);
    if (Status ran = statement->run(); !ran) return ran;
    deleted = db_.changes() > 0;
    return {};
  });
  if (!done) return Error{done.error()};
  return deleted;
}

Status SegmentStore::reassign(std::span<const Uuid> ids, std::string_view bundleId,
                              std::string_view appName) {
  return edit("Segment reassign", [&] {
    return forEachId(db_,
                     "UPDATE segment SET bundle_id = ?, app_name = ?, window_title = NULL, "
                     "host = NULL, tool_name = NULL, url = NULL, end_reason = 'manual' "
                     "WHERE id = ?",
                     ids, [&](sql::Statement& s) { s.bind(1, bundleId).bind(2, appName); });
  });
}

Status SegmentStore::nameTime(Instant start, Instant end, std::string_view bundleId,
                              std::string_view appName, std::span<const Uuid> replacing) {
  if (!(start < end)) return Error{"the stretch is empty"};
  return edit("On-Mac label", [&]() -> Status {
    if (Status deleted = forEachId(db_, "DELETE FROM segment WHERE id = ?", replacing); !deleted) {
      return deleted;
    }
    for (Instant cursor = start; cursor < end;) {
      const Instant pieceEnd = std::min(calendar_.nextMidnight(cursor), end);
      Segment row;
      row.id = Uuid::random();
      row.startedAt = cursor;
      row.endedAt = pieceEnd;
      row.seconds = secondsBetween(cursor, pieceEnd);
      row.bundleId = std::string(bundleId);
      row.appName = std::string(appName);
      row.endReasonRaw = std::string(rawValue(SegmentEndReason::manual));
      row.dayKey = calendar_.dayKey(cursor);
      if (Status inserted = insertRow(row); !inserted) return inserted;
      cursor = pieceEnd;
    }
    return {};
  });
}

Result<SegmentStore::RangeEdit> SegmentStore::editRange(
    Instant start, Instant end, const std::function<bool(const Segment&)>& matches,
    const std::optional<RangeOwner>& giveTo) {
  if (!(start < end)) return Error{"the stretch is empty"};
  auto touched = [&](const Segment& row) {
    return std::max(row.startedAt, start) < std::min(row.endedAt, end) &&
           (!matches || matches(row));
  };
  {
    Result<std::vector<Segment>> rows = fetchOverlapping(start, end);
    if (!rows) return Error{rows.error()};
    if (std::none_of(rows->begin(), rows->end(), touched)) return RangeEdit{};
  }
  RangeEdit outcome;
  Status done = edit(giveTo ? "Segment reassign" : "Segment delete", [&]() -> Status {
    outcome = RangeEdit{};
    Result<std::vector<Segment>> rows = fetchOverlapping(start, end);
    if (!rows) return Error{rows.error()};
    for (const Segment& row : *rows) {
      if (!touched(row)) continue;
      const Instant from = std::max(row.startedAt, start);
      const Instant to = std::min(row.endedAt, end);
      ++outcome.rows;
      outcome.seconds += secondsBetween(from, to);
      if (Status deleted =
              forEachId(db_, "DELETE FROM segment WHERE id = ?", std::span(&row.id, 1));
          !deleted) {
        return deleted;
      }
      auto piece = [&](Instant pieceStart, Instant pieceEnd) {
        Segment part = row;
        part.id = Uuid::random();
        part.startedAt = pieceStart;
        part.endedAt = pieceEnd;
        part.seconds = secondsBetween(pieceStart, pieceEnd);
        if (pieceStart != row.startedAt) part.dayKey = calendar_.dayKey(pieceStart);
        return part;
      };
      if (row.startedAt < from) {
        if (Status kept = insertRow(piece(row.startedAt, from)); !kept) return kept;
      }
      if (to < row.endedAt) {
        if (Status kept = insertRow(piece(to, row.endedAt)); !kept) return kept;
      }
      if (giveTo) {
        Segment given = piece(from, to);
        given.id = row.id;
        given.bundleId = giveTo->bundleId;
        given.appName = giveTo->appName;
        given.windowTitle.reset();
        given.host.reset();
        given.toolName.reset();
        given.url.reset();
        given.endReasonRaw = std::string(rawValue(SegmentEndReason::manual));
        if (Status inserted = insertRow(given); !inserted) return inserted;
      }
    }
    return {};
  });
  if (!done) return Error{done.error()};
  return outcome;
}

bool SegmentStore::changedElsewhere() {
  // SQLite's data version moves only with other connections' commits, never with our own.
  const auto stamp = db_.changeStamp();
  if (!stamp) return false;
  const bool changed = seenDataVersion_ && *seenDataVersion_ != stamp->first;
  seenDataVersion_ = stamp->first;
  return changed;
}

Result<std::vector<CategoryRule>> SegmentStore::categoryRules() {
  Result<sql::Statement> statement = db_.prepare(
      "SELECT id, pattern, subject, category, created_us FROM category_rule "
      "ORDER BY created_us, rowid");
  if (!statement) return Error{statement.error()};
  return statement->collect([](const sql::Statement& row) {
    const std::string_view id = row.blob(0);
    return CategoryRule{Uuid::fromBytes(id.data(), id.size()).value_or(Uuid()), row.text(1),
                        row.text(2), row.text(3), fromMicros(row.int64(4))};
  });
}

Status SegmentStore::insertRule(const CategoryRule& rule) {
  return ruleEdit("Category rule insert", [&]() -> Status {
    Result<sql::Statement> statement = db_.prepare(
        "INSERT INTO category_rule (id, pattern, subject, category, created_us) "
        "VALUES (?,?,?,?,?)");
    if (!statement) return Error{statement.error()};
    bindId(*statement, 1, rule.id);
    statement->bind(2, std::string_view(rule.pattern))
        .bind(3, std::string_view(rule.subjectRaw))
        .bind(4, std::string_view(rule.categoryRaw))
        .bind(5, micros(rule.createdAt));
    return statement->run();
  });
}

Status SegmentStore::updateRule(const CategoryRule& rule) {
  return ruleEdit("Category rule update", [&] {
    return forEachId(db_,
                     "UPDATE category_rule SET pattern = ?, subject = ?, category = ?, "
                     "created_us = ? WHERE id = ?",
                     std::span(&rule.id, 1), [&](sql::Statement& s) {
                       s.bind(1, std::string_view(rule.pattern))
                           .bind(2, std::string_view(rule.subjectRaw))
                           .bind(3, std::string_view(rule.categoryRaw))
                           .bind(4, micros(rule.createdAt));
                     });
  });
}

Status SegmentStore::deleteRule(const Uuid& id) {
  return ruleEdit("Category rule delete", [&] {
    return forEachId(db_, "DELETE FROM category_rule WHERE id = ?", std::span(&id, 1));
  });
}

Status SegmentStore::deleteRulesForCategory(std::string_view categoryRaw) {
  return ruleEdit("Category rule delete", [&]() -> Status {
    Result<sql::Statement> statement = db_.prepare("DELETE FROM category_rule WHERE category = ?");
    if (!statement) return Error{statement.error()};
    statement->bind(1, categoryRaw);
    return statement->run();
  });
}

Status SegmentStore::deleteAllRules() {
  return ruleEdit("Category rule reset", [&] { return db_.exec("DELETE FROM category_rule"); });
}

}  // namespace velto
