#include "recording/tracking_engine.h"

#include "base/log.h"
#include "base/notices.h"
#include "context/app_catalog.h"
#include "context/browser_catalog.h"

namespace velto {

TrackingEngine::TrackingEngine(TrackingEnvironment environment)
    : env_(std::move(environment)),
      frontTracker_(env_.front, env_.scheduler),
      lifecycle_(env_.session, env_.clock),
      mediaProbe_(env_.power),
      recorder_(env_.sink, env_.checkpoints, env_.calendar),
      idleMonitor_(
          env_.settings.idleThresholdSeconds(), env_.idleTime, mediaProbe_,
          [this] { return currentFront_; }, env_.scheduler, env_.clock),
      isPaused_(env_.settings.isPaused()) {}

TrackingEngine::~TrackingEngine() {
  // Detaches from every source without recording anything: quitting is stop()'s job, and an
  // engine that goes without it leaves its checkpoint for the next launch, as a crash does.
  *alive_ = false;
  frontTracker_.setHandler({});
  stopTitles();
}

void TrackingEngine::changed() {
  if (onStateChange) onStateChange();
}

std::optional<FrontApp> TrackingEngine::frontApp() const {
  if (!currentFront_ || !currentFront_->bundleId) return std::nullopt;
  return FrontApp{*currentFront_->bundleId, currentFront_->appName, currentFront_->pid,
                  currentFront_->aliases};
}

bool TrackingEngine::isSameWindow(const std::optional<RunningApplication>& a,
                                  const std::optional<RunningApplication>& b) {
  if (!a || !b) return a.has_value() == b.has_value();
  return a->bundleId == b->bundleId && a->pid == b->pid && a->windowId == b->windowId;
}

std::optional<ActivityContext> TrackingEngine::quickContext() const {
  const std::optional<FrontApp> app = frontApp();
  if (!app) return std::nullopt;
  return env_.resolver.quickContext(*app);
}

void TrackingEngine::start() {
  if (running_) return;
  running_ = true;
  frontTracker_.setHandler(
      [this](const std::optional<RunningApplication>& application) { handleFront(application); });
  recorder_.onGap = [this](const AwayGap& gap) { decideGap(gap); };
  idleMonitor_.onIdleStart = [this](Instant lastActivity) {
    recorder_.suspend(SuspensionCause::idle, lastActivity);
  };
  idleMonitor_.onIdleEnd = [this](Instant now) {
    recorder_.resume(SuspensionCause::idle, quickContext(), now);
    if (!isPaused_) {
      pendingRefresh_.cancel();
      enrich();
    }
  };
  lifecycle_.onSuspend = [this](SuspensionCause cause, Instant at) {
    recorder_.suspend(cause, at);
  };
  lifecycle_.onResume = [this](SuspensionCause cause, Instant at) {
    idleMonitor_.evaluate(at);
    recorder_.resume(cause, quickContext(), at);
    if (!isPaused_) {
      pendingRefresh_.cancel();
      enrich();
    }
    if (cause == SuspensionCause::sleep && onWake) onWake();
  };
  lifecycle_.onClockChange = [this](Instant at) {
    if (onClockChange) onClockChange();  // the calendar follows a zone change first
    recorder_.clockChanged(at);
  };
  wipeSubscription_ = env_.notices.subscribe(notices::kStoreDidWipe,
                                             [this] { recorder_.restart(env_.clock.now()); });
  recorder_.recoverCheckpoint();
  frontTracker_.start();
  frontTracker_.emitCurrent();
  idleMonitor_.start();
  lifecycle_.start();
  capTimer_ = env_.scheduler.repeating(kHeartbeatSeconds, 5,
                                       [this] { recorder_.heartbeat(env_.clock.now()); });
  if (isPaused_) {
    recorder_.suspend(SuspensionCause::paused, env_.clock.now());
    scheduleResume();
  }
  commandSubscription_ =
      env_.notices.subscribe(notices::kTrackingCommand, [this] { handleTrackingCommand(); });
  log::info("Tracking started (paused: %{bool,public}d)", boolText(isPaused_));
}

void TrackingEngine::stop() {
  if (!running_) return;
  cancelEnrichment();
  pendingRefresh_.cancel();
  recorder_.close(env_.clock.now(), SegmentEndReason::appQuit);
  capTimer_.cancel();
  detailRefreshTimer_.cancel();
  wipeSubscription_.reset();
  commandSubscription_.reset();
  frontTracker_.setHandler({});
  frontTracker_.stop();
  idleMonitor_.stop();
  lifecycle_.stop();
  stopTitles();
  resumeTimer_.cancel();
  running_ = false;
}

void TrackingEngine::handleFront(const std::optional<RunningApplication>& application) {
  if (isPaused_) return;
  const bool otherWindow = !isSameWindow(currentFront_, application);
  currentFront_ = application;
  const Instant now = env_.clock.now();
  const std::optional<FrontApp> app = frontApp();
  std::optional<ActivityContext> quick;
  if (app) {
    quick = env_.resolver.quickContext(*app);
    isExcludedNow_ = env_.resolver.isExcluded(*app);
  } else {
    isExcludedNow_ = false;
  }
  if (quick) {
    recorder_.clearStaleSuspensions(quick, now);
  } else if (isExcludedNow_) {
    recorder_.clearStaleSuspensions(std::nullopt, now);
  }
  if (otherWindow) {
    recorder_.switchWindow(quick, now);
  } else {
    recorder_.observe(quick, now);
  }

  if (app) {
    observeTitles(*currentFront_);
    if (BrowserCatalog::isBrowser(app->bundleId, app->aliases) ||
        AppCatalog::isTerminal(app->bundleId, app->aliases)) {
      if (!detailRefreshTimer_.isActive()) {
        detailRefreshTimer_ =
            env_.scheduler.repeating(kDetailRefreshSeconds, 2, [this] { enrich(); });
      }
    } else {
      detailRefreshTimer_.cancel();
    }
  } else {
    detailRefreshTimer_.cancel();
    stopTitles();
  }
  if (!isPaused_) {
    pendingRefresh_.cancel();
    enrich();
  }
}

void TrackingEngine::cancelEnrichment() {
  ++enrichGeneration_;
}

void TrackingEngine::enrich() {
  cancelEnrichment();
  const std::optional<FrontApp> app = frontApp();
  if (!app) return;
  const std::uint64_t generation = enrichGeneration_;
  std::optional<std::string> title = env_.titles.focusedWindowTitle(*currentFront_);
  std::weak_ptr<bool> alive = alive_;
  env_.resolver.resolve(
      *app, std::move(title),
      [this, alive, generation](std::optional<ContextResolver::Resolution> resolution) {
        if (alive.expired() || generation != enrichGeneration_ || !running_) return;
        if (!resolution) return;  // never tracked: the quick context stays
        const Instant now = env_.clock.now();
        if (resolution->isExcluded()) {
          isExcludedNow_ = true;
          recorder_.endForExclusion(now);
          return;
        }
        isExcludedNow_ = false;
        recorder_.refine(resolution->context, now);
      });
}

void TrackingEngine::refreshWithDebounce() {
  if (isPaused_) return;
  pendingRefresh_ = env_.scheduler.after(kTitleDebounceSeconds, [this] { enrich(); });
}

void TrackingEngine::observeTitles(const RunningApplication& window) {
  if (observedWindow_ && isSameWindow(*observedWindow_, window)) return;
  stopTitles();
  std::weak_ptr<bool> alive = alive_;
  if (env_.titles.observe(window, [this, alive] {
        if (!alive.expired()) refreshWithDebounce();
      })) {
    observedWindow_ = window;
  }
}

void TrackingEngine::stopTitles() {
  if (!observedWindow_) return;
  env_.titles.stop();
  observedWindow_.reset();
}

void TrackingEngine::setPaused(bool paused) {
  env_.settings.clearPausedUntil();
  resumeTimer_.cancel();
  if (isPaused_ == paused) return;
  isPaused_ = paused;
  env_.settings.setPaused(paused);
  const Instant now = env_.clock.now();
  if (paused) {
    cancelEnrichment();
    pendingRefresh_.cancel();
    recorder_.suspend(SuspensionCause::paused, now);
    detailRefreshTimer_.cancel();
    stopTitles();
  } else {
    currentFront_ = env_.front.frontmostApplication();
    recorder_.resume(SuspensionCause::paused, quickContext(), now);
    handleFront(currentFront_);
  }
  changed();
}

void TrackingEngine::pause(Instant until) {
  setPaused(true);
  env_.settings.setPausedUntil(until);
  scheduleResume();
}

void TrackingEngine::scheduleResume() {
  resumeTimer_.cancel();
  if (!isPaused_) return;
  const std::optional<Instant> until = env_.settings.pausedUntil();
  if (!until) return;
  if (*until > env_.clock.now()) {
    resumeTimer_ = env_.scheduler.at(*until, 5, [this] { setPaused(false); });
  } else {
    setPaused(false);
  }
}

void TrackingEngine::handleTrackingCommand() {
  if (env_.commands == nullptr) return;
  const std::optional<TrackingCommandRequest> command = env_.commands->readAndConsume();
  if (!command || !command->isFreshAt(env_.clock.now())) return;
  if (command->paused && command->until) return pause(*command->until);
  setPaused(command->paused);
}

void TrackingEngine::decideGap(const AwayGap& gap) {
  const int minutes = env_.settings.awayPromptMinutes();
  const bool offered = !isExcludedNow_ && minutes >= 1 && gap.duration() >= minutes * 60.0 &&
                       gap.duration() <= kLongestOfferedGapSeconds &&
                       gap.causes == std::set<SuspensionCause>{SuspensionCause::idle};
  if (offered) {
    pendingGap_ = gap;
    changed();
  }
  if (onGapDecided) onGapDecided(gap, offered);
}

void TrackingEngine::clearPendingGap(const AwayGap& gap) {
  if (pendingGap_ && *pendingGap_ == gap) {
    pendingGap_.reset();
    changed();
  }
}

}  // namespace velto
