// Shared set-up for recorder tests: a recording sink, a calendar and readable instants.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "base/calendar.h"
#include "base/iso8601.h"
#include "recording/segment_recorder.h"
#include "test_support/time_helpers.h"

namespace velto {

inline std::ostream& operator<<(std::ostream& out, const RecordedSegment& s) {
  return out << s.context.bundleId << " \"" << s.context.windowTitle.value_or("") << "\" "
             << formatIso8601(s.startedAt) << "–" << formatIso8601(s.endedAt) << " "
             << rawValue(s.endReason);
}

namespace testing {

class CollectingSink : public SegmentSink {
 public:
  void record(const RecordedSegment& segment) override { segments.push_back(segment); }
  void retry() override { ++retries; }
  std::vector<RecordedSegment> segments;
  int retries = 0;
};

inline ActivityContext app(const std::string& bundleId, const std::string& title = "") {
  ActivityContext context;
  context.bundleId = bundleId;
  context.appName = bundleId;
  if (!title.empty()) context.windowTitle = title;
  return context;
}

inline RecordedSegment segment(const ActivityContext& context, const std::string& from,
                               const std::string& to, SegmentEndReason reason) {
  return RecordedSegment{context, at(from), at(to), reason};
}

}  // namespace testing
}  // namespace velto
