#include "platform/linux/qt_scheduler.h"

#include <QMetaObject>
#include <algorithm>
#include <cmath>
#include <limits>

namespace velto::platform {

QtScheduler::QtScheduler(const Clock& clock) : clock_(clock) {}

QtScheduler::~QtScheduler() = default;

Qt::TimerType QtScheduler::timerType(double intervalSeconds, double toleranceSeconds) {
  if (toleranceSeconds <= 0) return Qt::PreciseTimer;
  if (intervalSeconds * 0.05 <= toleranceSeconds) return Qt::CoarseTimer;
  return Qt::PreciseTimer;
}

int QtScheduler::delayMilliseconds(double seconds) {
  if (!(seconds > 0)) return 0;
  const double ms = std::ceil(seconds * 1000.0);
  return static_cast<int>(std::min(ms, static_cast<double>(std::numeric_limits<int>::max())));
}

Timer QtScheduler::start(double delaySeconds, Qt::TimerType type, bool repeat,
                         std::function<void()> action) {
  const std::uint64_t id = nextId_++;
  auto timer = std::make_unique<QTimer>();
  timer->setTimerType(type);
  timer->setSingleShot(!repeat);
  timer->setInterval(delayMilliseconds(delaySeconds));
  QObject::connect(timer.get(), &QTimer::timeout, &context_, [this, id, repeat, action] {
    // A one-shot is forgotten before it runs, so the action may schedule or cancel freely.
    if (!repeat) {
      auto found = timers_.find(id);
      if (found == timers_.end()) return;
      found->second.release()->deleteLater();
      timers_.erase(found);
    }
    action();
  });
  timer->start();
  timers_.emplace(id, std::move(timer));
  return Timer(this, id);
}

Timer QtScheduler::repeating(double intervalSeconds, double toleranceSeconds,
                             std::function<void()> action) {
  return start(intervalSeconds, timerType(intervalSeconds, toleranceSeconds), true,
               std::move(action));
}

Timer QtScheduler::at(Instant at, double toleranceSeconds, std::function<void()> action) {
  // A wall-clock deadline: the delay is fixed now; clock changes re-arm through the session's
  // clock-change signal (the service set re-plans its midnight).
  const double delay = std::max(0.0, secondsBetween(clock_.now(), at));
  return start(delay, timerType(delay, toleranceSeconds), false, std::move(action));
}

Timer QtScheduler::after(double delaySeconds, std::function<void()> action) {
  return start(delaySeconds, Qt::PreciseTimer, false, std::move(action));
}

void QtScheduler::post(std::function<void()> action) {
  QMetaObject::invokeMethod(&context_, std::move(action), Qt::QueuedConnection);
}

void QtScheduler::cancel(std::uint64_t id) {
  auto found = timers_.find(id);
  if (found == timers_.end()) return;
  found->second->stop();
  // The timer may be the one whose timeout is running right now.
  found->second.release()->deleteLater();
  timers_.erase(found);
}

bool QtScheduler::isActive(std::uint64_t id) const {
  return timers_.count(id) != 0;
}

}  // namespace velto::platform
