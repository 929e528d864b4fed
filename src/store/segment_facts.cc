#include "store/segment_facts.h"

namespace velto {

namespace {

// Idempotent: two processes opening an older store at once may both run it.
constexpr const char* kFactsSql = R"sql(
CREATE TABLE IF NOT EXISTS segment_fact (
  longest_us INTEGER NOT NULL,
  stale INTEGER NOT NULL
);
INSERT INTO segment_fact (longest_us, stale)
  SELECT (SELECT coalesce(max(ended_us - started_us), 0) FROM segment), 0
  WHERE NOT EXISTS (SELECT 1 FROM segment_fact);
CREATE TRIGGER IF NOT EXISTS segment_fact_after_insert AFTER INSERT ON segment
WHEN NEW.ended_us - NEW.started_us > (SELECT longest_us FROM segment_fact) BEGIN
  UPDATE segment_fact SET longest_us = NEW.ended_us - NEW.started_us;
END;
CREATE TRIGGER IF NOT EXISTS segment_fact_after_update AFTER UPDATE OF started_us, ended_us
ON segment BEGIN
  UPDATE segment_fact SET
    stale = stale OR (OLD.ended_us - OLD.started_us >= longest_us
                      AND NEW.ended_us - NEW.started_us < OLD.ended_us - OLD.started_us),
    longest_us = max(longest_us, NEW.ended_us - NEW.started_us);
END;
CREATE TRIGGER IF NOT EXISTS segment_fact_after_delete AFTER DELETE ON segment
WHEN OLD.ended_us - OLD.started_us >= (SELECT longest_us FROM segment_fact) BEGIN
  UPDATE segment_fact SET stale = 1;
END;
)sql";

}  // namespace

Status installSegmentFacts(sql::Database& db) {
  Result<bool> present = db.hasTable("segment_fact");
  if (!present) return Error{present.error()};
  if (*present) return {};
  sql::Transaction transaction(db);
  if (!transaction.began()) return transaction.began();
  if (Status created = db.exec(kFactsSql); !created) return created;
  return transaction.commit();
}

Status settleSegmentFacts(sql::Database& db) {
  return db.exec(
      "UPDATE segment_fact SET stale = 0, "
      "longest_us = (SELECT coalesce(max(ended_us - started_us), 0) FROM segment) WHERE stale");
}

Result<SegmentFacts> readSegmentFacts(sql::Database& db) {
  Result<sql::Statement> statement = db.prepare("SELECT longest_us, stale FROM segment_fact");
  if (!statement) return Error{statement.error()};
  Result<bool> row = statement->step();
  if (!row) return Error{row.error()};
  if (!*row) return Error{"segment_fact holds no row"};
  return SegmentFacts{statement->int64(0), statement->int64(1) != 0};
}

}  // namespace velto
