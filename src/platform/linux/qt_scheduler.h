// The Scheduler on the Qt event loop of the main thread.
//
// Thread: create, schedule and cancel on the thread that runs the Qt event loop; post() may be
// called from any thread. Must outlive every Timer it hands out.
#pragma once

#include <QObject>
#include <QTimer>
#include <cstdint>
#include <map>
#include <memory>

#include "base/clock.h"
#include "base/scheduler.h"

namespace velto::platform {

class QtScheduler final : public Scheduler {
 public:
  explicit QtScheduler(const Clock& clock);
  ~QtScheduler() override;

  Timer repeating(double intervalSeconds, double toleranceSeconds,
                  std::function<void()> action) override;
  Timer at(Instant at, double toleranceSeconds, std::function<void()> action) override;
  Timer after(double delaySeconds, std::function<void()> action) override;
  void post(std::function<void()> action) override;

  // The Qt timer type for a tolerance: coarse timers may fire up to 5 % of their interval late,
  // so they are used only when that stays within the tolerance.
  static Qt::TimerType timerType(double intervalSeconds, double toleranceSeconds);
  // Milliseconds for a delay in seconds: rounded up (a timer never fires early), at least 0.
  static int delayMilliseconds(double seconds);

 protected:
  void cancel(std::uint64_t id) override;
  bool isActive(std::uint64_t id) const override;

 private:
  Timer start(double delaySeconds, Qt::TimerType type, bool repeat, std::function<void()> action);

  const Clock& clock_;
  QObject context_;  // receiver of posted work; lives on the main thread
  std::map<std::uint64_t, std::unique_ptr<QTimer>> timers_;
  std::uint64_t nextId_ = 1;
};

}  // namespace velto::platform
