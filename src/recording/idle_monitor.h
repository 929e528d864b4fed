// Decides when the user has gone idle and come back, from the session's idle seconds and the
// media probe: media holding the display awake keeps the user present for up to 3 hours after
// the last real input. Evaluates every 5 s, and when the engine asks (after a wake or unlock).
//
// onIdleStart receives the instant of the last activity (not of detection), so the threshold
// itself is not counted as activity; onIdleEnd receives the instant of the evaluation.
// Thread: main thread.
#pragma once

#include <functional>
#include <optional>

#include "base/clock.h"
#include "base/scheduler.h"
#include "recording/media_presence_probe.h"
#include "recording/platform_sources.h"

namespace velto {

class IdleMonitor {
 public:
  static constexpr double kMediaCapSeconds = 10800;  // 3 hours
  static constexpr double kProbeLeadSeconds = 5;
  static constexpr double kRecentInputSeconds = 5;

  // `front` tells the media probe which application is in front.
  IdleMonitor(double thresholdSeconds, IdleTimeSource& idleTime, MediaPresenceProbe& mediaProbe,
              std::function<std::optional<RunningApplication>()> front, Scheduler& scheduler,
              const Clock& clock);

  std::function<void(Instant lastActivity)> onIdleStart;
  std::function<void(Instant now)> onIdleEnd;

  void start();
  void stop();
  void evaluate(Instant now);

  bool isIdle() const { return isIdle_; }
  double threshold() const { return threshold_; }

 private:
  double threshold_;
  IdleTimeSource& idleTime_;
  MediaPresenceProbe& mediaProbe_;
  std::function<std::optional<RunningApplication>()> front_;
  Scheduler& scheduler_;
  const Clock& clock_;
  Timer timer_;
  bool isIdle_ = false;
  std::optional<Instant> lastMediaActivity_;
  std::optional<Instant> mediaOnlySince_;
};

}  // namespace velto
