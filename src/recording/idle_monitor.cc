#include "recording/idle_monitor.h"

namespace velto {

IdleMonitor::IdleMonitor(double thresholdSeconds, IdleTimeSource& idleTime,
                         MediaPresenceProbe& mediaProbe,
                         std::function<std::optional<RunningApplication>()> front,
                         Scheduler& scheduler, const Clock& clock)
    : threshold_(thresholdSeconds > 0 ? thresholdSeconds : 120),
      idleTime_(idleTime),
      mediaProbe_(mediaProbe),
      front_(std::move(front)),
      scheduler_(scheduler),
      clock_(clock) {}

void IdleMonitor::start() {
  timer_ = scheduler_.repeating(5, 1, [this] { evaluate(clock_.now()); });
}

void IdleMonitor::stop() {
  timer_.cancel();
}

void IdleMonitor::evaluate(Instant now) {
  const double idle = std::max(0.0, idleTime_.secondsSinceLastInput());
  const Instant lastInput = addSeconds(now, -idle);

  // The probe is consulted from shortly before the threshold on, and while media holds.
  const bool ask = isIdle_ || mediaOnlySince_.has_value() || idle + kProbeLeadSeconds >= threshold_;
  if (ask) {
    if (!mediaProbe_.isPresent(front_ ? front_() : std::nullopt)) {
      mediaOnlySince_.reset();
    } else {
      if (!mediaOnlySince_) mediaOnlySince_ = lastInput;
      if (secondsBetween(*mediaOnlySince_, now) <= kMediaCapSeconds) lastMediaActivity_ = now;
    }
  } else {
    mediaOnlySince_.reset();
  }
  if (idle < kRecentInputSeconds) {
    mediaOnlySince_.reset();
    lastMediaActivity_.reset();
  }

  // Ties go to the media instant.
  const Instant lastActivity =
      lastMediaActivity_ && *lastMediaActivity_ >= lastInput ? *lastMediaActivity_ : lastInput;
  const double effectiveIdle = secondsBetween(lastActivity, now);
  if (!isIdle_ && effectiveIdle >= threshold_) {
    isIdle_ = true;
    if (onIdleStart) onIdleStart(lastActivity);
  } else if (isIdle_ && effectiveIdle < threshold_) {
    isIdle_ = false;
    if (onIdleEnd) onIdleEnd(now);
  }
}

}  // namespace velto
