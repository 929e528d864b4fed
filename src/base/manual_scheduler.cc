#include "base/manual_scheduler.h"

#include <algorithm>

namespace velto {

Timer ManualScheduler::add(Instant due, double interval, double tolerance,
                           std::function<void()> action) {
  const std::uint64_t id = nextId_++;
  timers_.emplace(id, Entry{due, interval, std::move(action)});
  lastTolerance_ = tolerance;
  return Timer(this, id);
}

Timer ManualScheduler::repeating(double intervalSeconds, double toleranceSeconds,
                                 std::function<void()> action) {
  const double interval = std::max(intervalSeconds, 1e-6);
  return add(addSeconds(now_, interval), interval, toleranceSeconds, std::move(action));
}

Timer ManualScheduler::at(Instant at, double toleranceSeconds, std::function<void()> action) {
  return add(std::max(at, now_), 0, toleranceSeconds, std::move(action));
}

Timer ManualScheduler::after(double delaySeconds, std::function<void()> action) {
  return add(addSeconds(now_, std::max(delaySeconds, 0.0)), 0, 0, std::move(action));
}

void ManualScheduler::post(std::function<void()> action) {
  std::lock_guard lock(postedMutex_);
  posted_.push_back(std::move(action));
}

void ManualScheduler::cancel(std::uint64_t id) {
  timers_.erase(id);
}

bool ManualScheduler::isActive(std::uint64_t id) const {
  return timers_.count(id) != 0;
}

void ManualScheduler::runPosted() {
  while (true) {
    std::function<void()> action;
    {
      std::lock_guard lock(postedMutex_);
      if (posted_.empty()) return;
      action = std::move(posted_.front());
      posted_.pop_front();
    }
    action();
  }
}

void ManualScheduler::advanceTo(Instant target) {
  runPosted();
  while (true) {
    // The earliest due timer; ids break ties so equal instants fire in scheduling order.
    auto next = timers_.end();
    for (auto it = timers_.begin(); it != timers_.end(); ++it) {
      if (next == timers_.end() || it->second.due < next->second.due) next = it;
    }
    if (next == timers_.end() || next->second.due > target) break;
    const std::uint64_t id = next->first;
    now_ = std::max(now_, next->second.due);
    // Copy the action: it may cancel or replace its own timer while running.
    std::function<void()> action = next->second.action;
    if (next->second.interval > 0) {
      next->second.due = addSeconds(next->second.due, next->second.interval);
    } else {
      timers_.erase(id);
    }
    action();
    runPosted();
  }
  now_ = std::max(now_, target);
}

}  // namespace velto
