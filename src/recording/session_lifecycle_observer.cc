#include "recording/session_lifecycle_observer.h"

namespace velto {

SessionLifecycleObserver::SessionLifecycleObserver(SessionEventSource& source, const Clock& clock)
    : source_(source), clock_(clock) {}

SessionLifecycleObserver::~SessionLifecycleObserver() {
  stop();
}

void SessionLifecycleObserver::start() {
  source_.setHandler([this](SessionSignal signal) { handle(signal); });
}

void SessionLifecycleObserver::stop() {
  source_.setHandler({});
}

std::optional<SessionLifecycleObserver::Mapping> SessionLifecycleObserver::mappingOf(
    SessionSignal signal) {
  using S = SessionSignal;
  using C = SuspensionCause;
  switch (signal) {
    case S::willSleep:
      return Mapping{C::sleep, true};
    case S::didWake:
      return Mapping{C::sleep, false};
    case S::screensDidSleep:
      return Mapping{C::displaySleep, true};
    case S::screensDidWake:
      return Mapping{C::displaySleep, false};
    case S::sessionDidResignActive:
      return Mapping{C::sessionInactive, true};
    case S::sessionDidBecomeActive:
      return Mapping{C::sessionInactive, false};
    case S::screenLocked:
      return Mapping{C::lock, true};
    case S::screenUnlocked:
      return Mapping{C::lock, false};
    case S::screenSaverStarted:
      return Mapping{C::screenSaver, true};
    case S::screenSaverStopped:
      return Mapping{C::screenSaver, false};
    case S::clockChanged:
    case S::timeZoneChanged:
      return std::nullopt;
  }
  return std::nullopt;
}

void SessionLifecycleObserver::handle(SessionSignal signal) {
  const Instant now = clock_.now();
  const std::optional<Mapping> mapping = mappingOf(signal);
  if (!mapping) {
    if (onClockChange) onClockChange(now);
    return;
  }
  const auto& callback = mapping->suspends ? onSuspend : onResume;
  if (callback) callback(mapping->cause, now);
}

}  // namespace velto
