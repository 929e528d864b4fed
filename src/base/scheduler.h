// Timers and deferred work on the main thread.
//
// Every callback runs on the main thread, never re-entrantly from inside the call that scheduled
// it. Tolerances (seconds) let the implementation coalesce wake-ups; a timer never fires early.
// The real implementation sits on the sd-event loop; ManualScheduler drives virtual time.
#pragma once

#include <cstdint>
#include <functional>

#include "base/time.h"

namespace velto {

class Scheduler;

// Owns one scheduled timer and cancels it when destroyed or reassigned. Must not outlive the
// scheduler that made it.
class Timer {
 public:
  Timer() = default;
  Timer(Scheduler* scheduler, std::uint64_t id) : scheduler_(scheduler), id_(id) {}
  Timer(Timer&& other) noexcept;
  Timer& operator=(Timer&& other) noexcept;
  Timer(const Timer&) = delete;
  Timer& operator=(const Timer&) = delete;
  ~Timer();

  // Stops the timer; harmless when it already fired (one-shot) or was cancelled.
  void cancel();
  // True while a repeating timer runs or a one-shot has not fired yet.
  bool isActive() const;

 private:
  Scheduler* scheduler_ = nullptr;
  std::uint64_t id_ = 0;
};

class Scheduler {
 public:
  virtual ~Scheduler() = default;

  // Fires every `intervalSeconds`, the first time one interval from now.
  [[nodiscard]] virtual Timer repeating(double intervalSeconds, double toleranceSeconds,
                                        std::function<void()> action) = 0;
  // Fires once at `at` (at once, on the next turn, when `at` has passed).
  [[nodiscard]] virtual Timer at(Instant at, double toleranceSeconds,
                                 std::function<void()> action) = 0;
  // Fires once `delaySeconds` from now.
  [[nodiscard]] virtual Timer after(double delaySeconds, std::function<void()> action) = 0;
  // Runs `action` on the main thread's next turn. Safe to call from any thread.
  virtual void post(std::function<void()> action) = 0;

 protected:
  friend class Timer;
  virtual void cancel(std::uint64_t id) = 0;
  virtual bool isActive(std::uint64_t id) const = 0;
};

}  // namespace velto
