// Why a recorded stretch ended. Stored as its raw text (the case name, case-sensitive); the
// order of the enumerators is the order of allSegmentEndReasons().
#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace velto {

struct ActivityContext;

enum class SegmentEndReason {
  focusChange,
  titleChange,
  urlChange,
  idle,
  sleep,
  lock,
  paused,
  appQuit,
  safetyCap,
  dayBoundary,
  sessionSwitch,
  clockChange,
  recovered,
  manual,
};

inline constexpr std::array<SegmentEndReason, 14> allSegmentEndReasons() {
  using enum SegmentEndReason;
  return {focusChange, titleChange, urlChange,   idle,          sleep,       lock,      paused,
          appQuit,     safetyCap,   dayBoundary, sessionSwitch, clockChange, recovered, manual};
}

std::string_view rawValue(SegmentEndReason reason);
std::optional<SegmentEndReason> segmentEndReasonFromRaw(std::string_view raw);

// The reason a stretch of `before` ends when `after` comes to the front: another application is
// a focus change, a different host or page address a URL change, anything else a title change.
SegmentEndReason endReasonBetween(const ActivityContext& before, const ActivityContext& after);

}  // namespace velto
