#include "platform/linux/event_loop.h"

#include <pthread.h>
#include <signal.h>
#include <systemd/sd-event.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include "base/files.h"
#include "base/log.h"

namespace velto::platform {

EventLoop::EventLoop() {
  if (int failed = sd_event_new(&event_); failed < 0) {
    // Without a loop nothing would ever run; there is no way on from here.
    log::error("Cannot create the event loop: %{public}s", files::errnoText(-failed));
    std::abort();
  }
}

EventLoop::~EventLoop() {
  sd_event_unref(event_);
}

int EventLoop::run() {
  // Not sd_event_loop(): a loop that sd_event_exit() ended takes no new sources, and tests and
  // short commands run the same loop more than once.
  exiting_ = false;
  while (!exiting_) {
    if (const int ran = sd_event_run(event_, UINT64_MAX); ran < 0) return ran;
  }
  return exitCode_;
}

void EventLoop::exit(int code) {
  exiting_ = true;
  exitCode_ = code;
}

void EventLoop::dispatchReady() {
  if (sd_event_get_state(event_) != SD_EVENT_INITIAL) return;
  // Each turn dispatches one source; a turn with nothing to do has armed the timers.
  while (sd_event_run(event_, 0) > 0) {
  }
}

int EventLoop::fileDescriptor() const {
  return sd_event_get_fd(event_);
}

FdWatch::FdWatch(EventLoop& loop, int fd, std::function<void()> readable)
    : readable_(std::make_shared<std::function<void()>>(std::move(readable))) {
  const int added = sd_event_add_io(
      loop.event(), &source_, fd, EPOLLIN,
      [](sd_event_source*, int, uint32_t, void* self) {
        // Held here: the action may destroy the watch that runs it.
        const std::shared_ptr<std::function<void()>> readable =
            static_cast<FdWatch*>(self)->readable_;
        (*readable)();
        return 0;
      },
      this);
  if (added < 0) {
    log::error("Cannot watch descriptor %{public}s: %{public}s", std::to_string(fd),
               files::errnoText(-added));
    source_ = nullptr;
  }
}

FdWatch::~FdWatch() {
  sd_event_source_disable_unref(source_);
}

SignalWatch::SignalWatch(EventLoop& loop, int signal, std::function<void()> received)
    : received_(std::move(received)) {
  const int added = sd_event_add_signal(
      loop.event(), &source_, signal,
      [](sd_event_source*, const signalfd_siginfo*, void* self) {
        static_cast<SignalWatch*>(self)->received_();
        return 0;
      },
      this);
  if (added < 0) {
    log::error("Cannot watch signal %{public}s: %{public}s", std::to_string(signal),
               files::errnoText(-added));
    source_ = nullptr;
  }
}

SignalWatch::~SignalWatch() {
  sd_event_source_disable_unref(source_);
}

bool blockSignals(std::initializer_list<int> signals) {
  sigset_t mask;
  sigemptyset(&mask);
  for (int signal : signals) sigaddset(&mask, signal);
  return pthread_sigmask(SIG_BLOCK, &mask, nullptr) == 0;
}

}  // namespace velto::platform
