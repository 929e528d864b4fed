// The Scheduler on an sd_event loop, for the recorder and the desktop application alike.
//
// repeating() and after() run on CLOCK_MONOTONIC, so clock steps do not move them; at() is a
// CLOCK_REALTIME deadline, so it follows the wall clock when it is set. A tolerance becomes the
// timer's accuracy: the loop may fire up to that late to coalesce wake-ups, never early. A
// repeating timer is late by at most 5 % of its interval even with more tolerance, and its
// deadlines stay on its own beat (one interval apart), so lateness does not add up.
// post() wakes the loop through an eventfd and runs the actions in order on its next turn.
//
// Thread: create, schedule and cancel on the loop's thread; post() may be called from any
// thread. Must outlive every Timer it hands out, and the loop must outlive it.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>

#include "base/scheduler.h"
#include "platform/linux/event_loop.h"

namespace velto::platform {

class EventScheduler final : public Scheduler {
 public:
  explicit EventScheduler(EventLoop& loop);
  ~EventScheduler() override;
  EventScheduler(const EventScheduler&) = delete;
  EventScheduler& operator=(const EventScheduler&) = delete;

  Timer repeating(double intervalSeconds, double toleranceSeconds,
                  std::function<void()> action) override;
  Timer at(Instant at, double toleranceSeconds, std::function<void()> action) override;
  Timer after(double delaySeconds, std::function<void()> action) override;
  void post(std::function<void()> action) override;

  // Microseconds for a span in seconds: rounded up (a timer never fires early), at least 0.
  static std::uint64_t microseconds(double seconds);
  // The loop's accuracy in µs for a tolerance in seconds: at least 1 µs (0 means the loop's
  // default of 250 ms to sd-event).
  static std::uint64_t accuracy(double toleranceSeconds);
  // The accuracy of a repeating timer: its tolerance, but no more than 5 % of its interval.
  static std::uint64_t repeatingAccuracy(double intervalSeconds, double toleranceSeconds);

 protected:
  void cancel(std::uint64_t id) override;
  bool isActive(std::uint64_t id) const override;

 private:
  struct Entry;
  Timer start(int clock, std::uint64_t usec, std::uint64_t accuracy, std::uint64_t interval,
              std::function<void()> action);
  void fired(std::uint64_t id);
  void runPosted();

  EventLoop& loop_;
  std::map<std::uint64_t, std::shared_ptr<Entry>> timers_;
  std::uint64_t nextId_ = 1;

  int wakeFd_ = -1;
  std::unique_ptr<FdWatch> wakeWatch_;
  std::mutex postedMutex_;
  std::deque<std::function<void()>> posted_;
};

}  // namespace velto::platform
