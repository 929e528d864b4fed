#include "platform/linux/session_signal_hub.h"

namespace velto::platform {

namespace {

struct PairState {
  int pair;  // -1: not a start/stop pair
  bool suspended;
};

PairState pairOf(SessionSignal signal) {
  switch (signal) {
    case SessionSignal::willSleep:
      return {0, true};
    case SessionSignal::didWake:
      return {0, false};
    case SessionSignal::screensDidSleep:
      return {1, true};
    case SessionSignal::screensDidWake:
      return {1, false};
    case SessionSignal::sessionDidResignActive:
      return {2, true};
    case SessionSignal::sessionDidBecomeActive:
      return {2, false};
    case SessionSignal::screenLocked:
      return {3, true};
    case SessionSignal::screenUnlocked:
      return {3, false};
    case SessionSignal::screenSaverStarted:
      return {4, true};
    case SessionSignal::screenSaverStopped:
      return {4, false};
    case SessionSignal::clockChanged:
    case SessionSignal::timeZoneChanged:
      break;
  }
  return {-1, false};
}

}  // namespace

void SessionSignalHub::setHandler(std::function<void(SessionSignal)> handler) {
  handler_ = std::move(handler);
}

void SessionSignalHub::deliver(SessionSignal signal) {
  const PairState state = pairOf(signal);
  if (state.pair >= 0) {
    bool& current = suspended_[static_cast<size_t>(state.pair)];
    if (current == state.suspended) return;
    current = state.suspended;
  }
  if (handler_) handler_(signal);
}

}  // namespace velto::platform
