// A Scheduler and Clock on virtual time, for tests and replays: nothing happens until the owner
// advances time, and then every timer due fires in order of its due instant (ties in the order
// they were scheduled), with now() equal to the due instant while it runs.
//
// Tolerances are remembered (see lastTolerance) but never shift a firing.
#pragma once

#include <deque>
#include <map>
#include <mutex>
#include <optional>

#include "base/clock.h"
#include "base/scheduler.h"

namespace velto {

class ManualScheduler final : public Scheduler, public Clock {
 public:
  explicit ManualScheduler(Instant start) : now_(start) {}

  Instant now() const override { return now_; }

  Timer repeating(double intervalSeconds, double toleranceSeconds,
                  std::function<void()> action) override;
  Timer at(Instant at, double toleranceSeconds, std::function<void()> action) override;
  Timer after(double delaySeconds, std::function<void()> action) override;
  void post(std::function<void()> action) override;

  // Runs posted work and every timer due up to `target`, then sets now() to `target`.
  void advanceTo(Instant target);
  void advanceBy(double seconds) { advanceTo(addSeconds(now_, seconds)); }
  // Runs posted work and timers due at the current instant.
  void runUntilIdle() { advanceTo(now_); }
  // Moves the wall clock without firing anything in between, as a clock change does; timers
  // keep their due instants.
  void jumpClockTo(Instant target) { now_ = target; }

  // Number of timers still scheduled (repeating ones count until cancelled).
  size_t activeTimerCount() const { return timers_.size(); }
  // Tolerance given for the most recently scheduled timer.
  std::optional<double> lastTolerance() const { return lastTolerance_; }

 protected:
  void cancel(std::uint64_t id) override;
  bool isActive(std::uint64_t id) const override;

 private:
  struct Entry {
    Instant due;
    double interval = 0;  // 0: one-shot
    std::function<void()> action;
  };

  Timer add(Instant due, double interval, double tolerance, std::function<void()> action);
  void runPosted();

  Instant now_;
  std::uint64_t nextId_ = 1;
  std::map<std::uint64_t, Entry> timers_;
  std::mutex postedMutex_;
  std::deque<std::function<void()>> posted_;
  std::optional<double> lastTolerance_;
};

}  // namespace velto
