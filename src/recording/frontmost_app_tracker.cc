#include "recording/frontmost_app_tracker.h"

namespace velto {

FrontmostAppTracker::FrontmostAppTracker(FrontmostAppSource& source, Scheduler& scheduler)
    : source_(source), scheduler_(scheduler) {}

FrontmostAppTracker::~FrontmostAppTracker() {
  stop();
}

void FrontmostAppTracker::start() {
  source_.setActivationHandler(
      [this](const std::optional<RunningApplication>& application) { emit(application); });
  pollingTimer_ = scheduler_.repeating(5, 1, [this] { emitCurrent(); });
}

void FrontmostAppTracker::stop() {
  source_.setActivationHandler({});
  pollingTimer_.cancel();
}

void FrontmostAppTracker::emitCurrent() {
  emit(source_.frontmostApplication());
}

void FrontmostAppTracker::emit(const std::optional<RunningApplication>& application) {
  WindowKey key;
  if (application && application->bundleId) {
    key = WindowKey{application->bundleId, application->pid, application->windowId};
  }
  if (lastEmitted_ == key) return;
  lastEmitted_ = key;
  if (handler_) handler_(key.bundleId ? application : std::nullopt);
}

}  // namespace velto
