// The main thread's event loop: an sd_event that the recorder runs itself and the desktop
// application pumps from its Qt loop. File descriptors, signals and timers are sources on it;
// D-Bus connections attach to it.
//
// Thread: create, run and destroy on one thread; every source on it must go before it does.
#pragma once

#include <functional>
#include <initializer_list>
#include <memory>

struct sd_event;
struct sd_event_source;

namespace velto::platform {

class EventLoop {
 public:
  EventLoop();
  ~EventLoop();
  EventLoop(const EventLoop&) = delete;
  EventLoop& operator=(const EventLoop&) = delete;

  sd_event* event() const { return event_; }

  // Dispatches until exit() is called from a dispatched action; returns its code (negative
  // errno when the loop failed). May be run again afterwards.
  int run();
  // Makes run() return `code` once the current dispatch ends. Loop thread only.
  void exit(int code = 0);
  // Dispatches whatever is ready now without waiting, and arms the timers for the next wait.
  // Nothing happens when called from inside a dispatch of this loop.
  void dispatchReady();
  // Becomes readable when a source of the loop is ready (for polling it from another loop).
  int fileDescriptor() const;

 private:
  sd_event* event_ = nullptr;
  bool exiting_ = false;
  int exitCode_ = 0;
};

// Calls `readable` on the loop's thread while `fd` has data to read. The descriptor stays the
// caller's and must outlive the watch. The watch may be destroyed from inside `readable`.
class FdWatch {
 public:
  FdWatch(EventLoop& loop, int fd, std::function<void()> readable);
  ~FdWatch();
  FdWatch(const FdWatch&) = delete;
  FdWatch& operator=(const FdWatch&) = delete;

  bool isWatching() const { return source_ != nullptr; }

 private:
  std::shared_ptr<std::function<void()>> readable_;
  sd_event_source* source_ = nullptr;
};

// Calls `received` on the loop's thread when `signal` arrives. The signal must be blocked in
// every thread of the process first (see blockSignals), or it still takes its default action.
class SignalWatch {
 public:
  SignalWatch(EventLoop& loop, int signal, std::function<void()> received);
  ~SignalWatch();
  SignalWatch(const SignalWatch&) = delete;
  SignalWatch& operator=(const SignalWatch&) = delete;

  bool isWatching() const { return source_ != nullptr; }

 private:
  std::function<void()> received_;
  sd_event_source* source_ = nullptr;
};

// Blocks the signals for the calling thread and every thread it starts afterwards, so that
// SignalWatch receives them. False when the mask could not be set.
bool blockSignals(std::initializer_list<int> signals);

}  // namespace velto::platform
