#include "platform/linux/clock_watch.h"

#include <sys/inotify.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "base/files.h"
#include "base/log.h"
#include "platform/linux/inotify_events.h"

namespace velto::platform {

ClockWatch::ClockWatch(EventLoop& loop, std::function<void(SessionSignal)> signal)
    : signal_(std::move(signal)) {
  timerFd_ = timerfd_create(CLOCK_REALTIME, TFD_NONBLOCK | TFD_CLOEXEC);
  if (timerFd_ >= 0 && armTimer()) {
    timerWatch_ = std::make_unique<FdWatch>(loop, timerFd_, [this] { timerReadable(); });
  } else {
    log::error("Cannot watch the system clock: %{public}s", files::errnoText(errno));
    if (timerFd_ >= 0) ::close(timerFd_);
    timerFd_ = -1;
  }

  inotifyFd_ = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  if (inotifyFd_ >= 0 && inotify_add_watch(inotifyFd_, "/etc",
                                           IN_CLOSE_WRITE | IN_MOVED_TO | IN_CREATE | IN_DELETE |
                                               IN_ATTRIB | IN_ONLYDIR) >= 0) {
    inotifyWatch_ = std::make_unique<FdWatch>(loop, inotifyFd_, [this] { inotifyReadable(); });
  } else {
    log::error("Cannot watch the time zone: %{public}s", files::errnoText(errno));
    if (inotifyFd_ >= 0) ::close(inotifyFd_);
    inotifyFd_ = -1;
  }
}

ClockWatch::~ClockWatch() {
  timerWatch_.reset();
  inotifyWatch_.reset();
  if (timerFd_ >= 0) ::close(timerFd_);
  if (inotifyFd_ >= 0) ::close(inotifyFd_);
}

bool ClockWatch::armTimer() {
  // An absolute deadline that never comes: the read fails with ECANCELED when the clock is set.
  itimerspec spec{};
  spec.it_value.tv_sec = static_cast<time_t>(INT32_MAX) * 4;
  return timerfd_settime(timerFd_, TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET, &spec, nullptr) ==
         0;
}

void ClockWatch::timerReadable() {
  std::uint64_t expirations = 0;
  const ssize_t read = ::read(timerFd_, &expirations, sizeof expirations);
  if (read < 0 && errno == ECANCELED) {
    armTimer();
    if (signal_) signal_(SessionSignal::clockChanged);
  } else if (read < 0 && errno == EAGAIN) {
    return;
  } else {
    armTimer();
  }
}

void ClockWatch::inotifyReadable() {
  bool zoneChanged = false;
  drainInotify(inotifyFd_, [&](const inotify_event& event) {
    if (event.len == 0) return;
    const std::string_view name(event.name, strnlen(event.name, event.len));
    if (name == "localtime" || name == "timezone") zoneChanged = true;
  });
  if (zoneChanged && signal_) signal_(SessionSignal::timeZoneChanged);
}

}  // namespace velto::platform
