// Wall-clock steps (timerfd with TFD_TIMER_CANCEL_ON_SET) and time-zone changes (inotify on
// /etc for "localtime" and "timezone"), reported as clockChanged / timeZoneChanged.
//
// Thread: the loop's thread.
#pragma once

#include <functional>
#include <memory>

#include "platform/linux/event_loop.h"
#include "recording/platform_sources.h"

namespace velto::platform {

class ClockWatch {
 public:
  ClockWatch(EventLoop& loop, std::function<void(SessionSignal)> signal);
  ~ClockWatch();
  ClockWatch(const ClockWatch&) = delete;
  ClockWatch& operator=(const ClockWatch&) = delete;

  bool watchesClock() const { return timerFd_ >= 0; }
  bool watchesZone() const { return inotifyFd_ >= 0; }

 private:
  bool armTimer();
  void timerReadable();
  void inotifyReadable();

  std::function<void(SessionSignal)> signal_;
  int timerFd_ = -1;
  int inotifyFd_ = -1;
  std::unique_ptr<FdWatch> timerWatch_;
  std::unique_ptr<FdWatch> inotifyWatch_;
};

}  // namespace velto::platform
