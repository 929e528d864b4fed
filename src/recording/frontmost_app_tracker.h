// Reports the application in front, once per change of bundle identifier: from the desktop's
// activation events, and from a poll every 5 s that catches missed ones. A second window or a
// relaunch of the same application is not reported again.
//
// Thread: main thread.
#pragma once

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
  // Reports `application` unless its bundle identifier equals the last one reported (two nones
  // count as equal).
  void emit(const std::optional<RunningApplication>& application);
  // Reports the current front application (subject to the same de-duplication).
  void emitCurrent();

 private:
  FrontmostAppSource& source_;
  Scheduler& scheduler_;
  Handler handler_;
  Timer pollingTimer_;
  std::optional<std::optional<std::string>> lastEmittedBundleId_;  // outer none: nothing yet
};

}  // namespace velto
