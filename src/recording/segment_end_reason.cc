#include "recording/segment_end_reason.h"

#include "base/raw_values.h"
#include "recording/activity_context.h"

namespace velto {

namespace {

constexpr std::array<std::string_view, 14> kRawValues = {
    "focusChange",   "titleChange", "urlChange", "idle",      "sleep",
    "lock",          "paused",      "appQuit",   "safetyCap", "dayBoundary",
    "sessionSwitch", "clockChange", "recovered", "manual"};

}  // namespace

std::string_view rawValue(SegmentEndReason reason) {
  return kRawValues[static_cast<size_t>(reason)];
}

std::optional<SegmentEndReason> segmentEndReasonFromRaw(std::string_view raw) {
  return enumFromRaw<SegmentEndReason>(kRawValues, raw);
}

SegmentEndReason endReasonBetween(const ActivityContext& before, const ActivityContext& after) {
  if (before.bundleId != after.bundleId) return SegmentEndReason::focusChange;
  if (before.host != after.host || before.url != after.url) return SegmentEndReason::urlChange;
  return SegmentEndReason::titleChange;
}

}  // namespace velto
