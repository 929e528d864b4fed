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
  std::optional<std::string> bundleId = application ? application->bundleId : std::nullopt;
  if (lastEmittedBundleId_ && *lastEmittedBundleId_ == bundleId) return;
  lastEmittedBundleId_ = bundleId;
  if (handler_) handler_(bundleId ? application : std::nullopt);
}

}  // namespace velto
