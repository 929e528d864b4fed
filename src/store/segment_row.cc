#include "store/segment_row.h"

namespace velto {

Segment segmentFromRow(const sql::Statement& row) {
  Segment segment;
  const std::string_view id = row.blob(0);
  segment.id = Uuid::fromBytes(id.data(), id.size()).value_or(Uuid());
  segment.startedAt = Instant(Microseconds(row.int64(1)));
  segment.endedAt = Instant(Microseconds(row.int64(2)));
  segment.seconds = row.real(3);
  segment.bundleId = row.text(4);
  segment.appName = row.text(5);
  segment.windowTitle = row.optionalText(6);
  segment.host = row.optionalText(7);
  segment.toolName = row.optionalText(8);
  segment.url = row.optionalText(9);
  segment.endReasonRaw = row.text(10);
  segment.dayKey = row.text(11);
  return segment;
}

}  // namespace velto
