// Facts about the segment table that opening the store and interval reads need, kept in the
// one-row table segment_fact beside the rows so that nothing has to scan the rows for them.
//
// longest_us: never less than the longest row (ended_us - started_us, microseconds), so that
// the start index bounds the scan of an interval read. Triggers raise it with every insert and
// update in the writer's transaction, whichever process writes. Deleting or shortening a row as
// long as the bound marks it stale (still an upper bound, only a looser one);
// settleSegmentFacts, run by the store at the end of its edits in their transaction, brings it
// back to the longest remaining row.
#pragma once

#include <cstdint>

#include "base/result.h"
#include "store/sqlite.h"

namespace velto {

// Creates the table and its triggers when missing and fills it from the rows already stored
// (the only scan, once per store). Idempotent; one transaction.
Status installSegmentFacts(sql::Database& db);

// Recomputes a stale bound from the rows, in the caller's transaction; nothing when not stale.
Status settleSegmentFacts(sql::Database& db);

// The bound, as the SQL expression interval reads put into their conditions.
inline constexpr const char* kLongestSegmentUsSql = "(SELECT longest_us FROM segment_fact)";

struct SegmentFacts {
  std::int64_t longestUs = 0;
  bool stale = false;
};
Result<SegmentFacts> readSegmentFacts(sql::Database& db);

}  // namespace velto
