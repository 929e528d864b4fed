// Reports the window in front, once per change: from the desktop's activation events, and from
// a poll every 5 s that catches missed ones. A change is another application, or another window
// (window id or process) of the same one: on Linux many applications run each window as its own
// process, so following the application alone would leave titles, tools and tabs on the window
// the user left.
//
// Thread: main thread.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "base/scheduler.h"
#include "recording/platform_sources.h"

namespace velto {

class FrontmostAppTracker {
 public:
  using Handler = std::function<void(const std::optional<RunningApplication>&)>;

  FrontmostAppTracker(FrontmostAppSource& source, Scheduler& scheduler);
  ~FrontmostAppTracker();

  void setHandler(Handler handler) { handler_ = std::move(handler); }
  void start();
  void stop();
  // Reports `application` unless it is the window last reported: same bundle identifier, process
  // and window id (two nones count as equal).
  void emit(const std::optional<RunningApplication>& application);
  // Reports the current front application (subject to the same de-duplication).
  void emitCurrent();

 private:
  FrontmostAppSource& source_;
  Scheduler& scheduler_;
  Handler handler_;
  Timer pollingTimer_;
  struct WindowKey {
    std::optional<std::string> bundleId;
    int pid = 0;
    std::uint64_t windowId = 0;
    bool operator==(const WindowKey&) const = default;
  };
  std::optional<WindowKey> lastEmitted_;  // none: nothing reported yet
};

}  // namespace velto
