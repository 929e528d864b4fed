// Turns session notifications into the recorder's suspensions and resumptions: sleep, display
// sleep, lock, screen saver and session switches, plus clock and time-zone changes. Each signal
// is stamped with the clock's instant when it arrives.
//
// Thread: main thread.
#pragma once

#include <functional>
#include <optional>

#include "base/clock.h"
#include "recording/platform_sources.h"
#include "recording/suspension.h"

namespace velto {

class SessionLifecycleObserver {
 public:
  SessionLifecycleObserver(SessionEventSource& source, const Clock& clock);
  ~SessionLifecycleObserver();

  std::function<void(SuspensionCause, Instant)> onSuspend;
  std::function<void(SuspensionCause, Instant)> onResume;
  std::function<void(Instant)> onClockChange;

  void start();
  void stop();
  void handle(SessionSignal signal);

  // The mapping from a signal to a suspension (true) or resumption (false) of a cause; none for
  // clock and zone changes.
  struct Mapping {
    SuspensionCause cause;
    bool suspends;
  };
  static std::optional<Mapping> mappingOf(SessionSignal signal);

 private:
  SessionEventSource& source_;
  const Clock& clock_;
};

}  // namespace velto
