#include "recording/suspension.h"

namespace velto {

std::string_view rawValue(SuspensionCause cause) {
  constexpr std::array<std::string_view, 7> kRaw = {
      "idle", "sleep", "displaySleep", "lock", "screenSaver", "paused", "sessionInactive"};
  return kRaw[static_cast<size_t>(cause)];
}

SegmentEndReason endReasonFor(SuspensionCause cause) {
  switch (cause) {
    case SuspensionCause::idle:
      return SegmentEndReason::idle;
    case SuspensionCause::sleep:
    case SuspensionCause::displaySleep:
      return SegmentEndReason::sleep;
    case SuspensionCause::lock:
    case SuspensionCause::screenSaver:
      return SegmentEndReason::lock;
    case SuspensionCause::paused:
      return SegmentEndReason::paused;
    case SuspensionCause::sessionInactive:
      return SegmentEndReason::sessionSwitch;
  }
  return SegmentEndReason::focusChange;
}

}  // namespace velto
