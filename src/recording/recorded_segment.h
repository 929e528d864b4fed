// A finished stretch of one context, as the recorder hands it to the store. The recorder keeps
// it at least 3 seconds long and within one local calendar day.
#pragma once

#include "base/time.h"
#include "recording/activity_context.h"
#include "recording/segment_end_reason.h"

namespace velto {

struct RecordedSegment {
  ActivityContext context;
  Instant startedAt;
  Instant endedAt;
  SegmentEndReason endReason = SegmentEndReason::focusChange;

  bool operator==(const RecordedSegment&) const = default;
};

// Receives finished segments, one call per segment, on the main thread.
class SegmentSink {
 public:
  virtual ~SegmentSink() = default;
  virtual void record(const RecordedSegment& segment) = 0;
  // Called on every heartbeat: a sink that keeps segments it could not store yet tries again.
  virtual void retry() {}
};

}  // namespace velto
