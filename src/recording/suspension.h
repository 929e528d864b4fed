// Why recording is suspended, and the away stretch offered afterwards.
#pragma once

#include <array>
#include <optional>
#include <set>
#include <string_view>

#include "base/time.h"
#include "recording/activity_context.h"
#include "recording/segment_end_reason.h"

namespace velto {

enum class SuspensionCause {
  idle,
  sleep,
  displaySleep,
  lock,
  screenSaver,
  paused,
  sessionInactive
};

inline constexpr std::array<SuspensionCause, 7> allSuspensionCauses() {
  using enum SuspensionCause;
  return {idle, sleep, displaySleep, lock, screenSaver, paused, sessionInactive};
}

std::string_view rawValue(SuspensionCause cause);
// The end reason of a segment interrupted by `cause` (deliberately many-to-one).
SegmentEndReason endReasonFor(SuspensionCause cause);

// One stretch during which recording was suspended: from the first suspension to the lifting of
// the last cause, every cause that held at any moment of it, and what was in front when it began.
struct AwayGap {
  Instant start;
  Instant end;
  std::set<SuspensionCause> causes;
  std::optional<ActivityContext> context;

  bool operator==(const AwayGap&) const = default;
  double duration() const { return secondsBetween(start, end); }
};

}  // namespace velto
