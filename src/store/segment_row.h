// How a Segment is read from and written to the segment table: the column list, in the order
// every query of whole rows selects and inserts it, and the reader of one such row.
#pragma once

#include "store/segment.h"
#include "store/sqlite.h"

namespace velto {

inline constexpr const char* kSegmentColumns =
    "id, started_us, ended_us, seconds, bundle_id, app_name, window_title, host, tool_name, url, "
    "end_reason, day_key";
inline constexpr int kSegmentColumnCount = 12;

// The row at `row`, selected with kSegmentColumns.
Segment segmentFromRow(const sql::Statement& row);

}  // namespace velto
