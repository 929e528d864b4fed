// Runs recording from launch to quit: turns desktop events (front application, window titles,
// idle, sleep and lock, clock changes, the user's pause) into recorder calls, reads the full
// context asynchronously after the quick one is recorded, keeps the timers of recording
// (heartbeat 60 s, detail refresh 10 s for browsers and terminals, the 0.4 s title debounce,
// the end of a timed pause), takes pause commands from other programs and decides which away
// stretches are offered to the user.
//
// Everything is confined to the main thread. Callbacks from sources and the resolver hold the
// engine weakly, so events arriving after it is gone are ignored. An enrichment that a newer
// one superseded, or that arrives after a pause or stop, never touches the recorder.
#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "base/calendar.h"
#include "base/clock.h"
#include "base/notice_bus.h"
#include "base/scheduler.h"
#include "context/context_resolver.h"
#include "recording/frontmost_app_tracker.h"
#include "recording/idle_monitor.h"
#include "recording/media_presence_probe.h"
#include "recording/platform_sources.h"
#include "recording/segment_recorder.h"
#include "recording/session_lifecycle_observer.h"
#include "recording/tracking_command.h"
#include "settings/settings.h"

namespace velto {

// What the engine works with; every reference must outlive the engine.
struct TrackingEnvironment {
  FrontmostAppSource& front;
  WindowTitleSource& titles;
  IdleTimeSource& idleTime;
  PowerAssertionSource& power;
  SessionEventSource& session;
  ContextResolver& resolver;
  Settings& settings;
  std::weak_ptr<SegmentSink> sink;
  SegmentCheckpoints* checkpoints;  // may be null
  TrackingCommand* commands;        // may be null
  const Calendar& calendar;
  const Clock& clock;
  Scheduler& scheduler;
  NoticeBus& notices;
};

class TrackingEngine {
 public:
  static constexpr double kHeartbeatSeconds = 60;
  static constexpr double kDetailRefreshSeconds = 10;
  static constexpr double kTitleDebounceSeconds = 0.4;
  static constexpr double kCommandFreshnessSeconds = 60;
  static constexpr double kLongestOfferedGapSeconds = 14400;

  explicit TrackingEngine(TrackingEnvironment environment);
  // Without a stop() first, nothing is closed and the checkpoint stays (as after a crash).
  ~TrackingEngine();
  TrackingEngine(const TrackingEngine&) = delete;
  TrackingEngine& operator=(const TrackingEngine&) = delete;

  void start();
  void stop();
  void setPaused(bool paused);
  void pause(Instant until);
  // Reads and applies the command file (on the notice that another program wrote it).
  void handleTrackingCommand();

  bool isPaused() const { return isPaused_; }
  // The away stretch the interface should offer; cleared by the interface.
  const std::optional<AwayGap>& pendingGap() const { return pendingGap_; }
  // Clears the pending gap if it is still `gap`.
  void clearPendingGap(const AwayGap& gap);
  // Called after isPaused or pendingGap changed.
  std::function<void()> onStateChange;
  // The system clock or time zone changed; called before the recorder handles it.
  std::function<void()> onClockChange;
  // The computer woke from sleep; called after recording resumed.
  std::function<void()> onWake;
  // Every finished away stretch and whether it was offered (for velto-replay and logs).
  std::function<void(const AwayGap&, bool offered)> onGapDecided;

  SegmentRecorder& recorder() { return recorder_; }
  bool isRunning() const { return running_; }

 private:
  void handleFront(const std::optional<RunningApplication>& application);
  std::optional<FrontApp> frontApp() const;
  std::optional<ActivityContext> quickContext() const;
  void enrich();
  void refreshWithDebounce();
  void cancelEnrichment();
  void decideGap(const AwayGap& gap);
  void scheduleResume();
  void observeTitles(const RunningApplication& window);
  // One window: same application, process and window id (two nones are the same).
  static bool isSameWindow(const std::optional<RunningApplication>& a,
                           const std::optional<RunningApplication>& b);
  void stopTitles();
  void changed();

  TrackingEnvironment env_;
  FrontmostAppTracker frontTracker_;
  SessionLifecycleObserver lifecycle_;
  MediaPresenceProbe mediaProbe_;
  SegmentRecorder recorder_;
  IdleMonitor idleMonitor_;

  std::optional<RunningApplication> currentFront_;
  std::optional<RunningApplication> observedWindow_;
  bool isPaused_ = false;
  bool isExcludedNow_ = false;
  bool running_ = false;
  std::optional<AwayGap> pendingGap_;
  std::uint64_t enrichGeneration_ = 0;

  Timer capTimer_;
  Timer resumeTimer_;
  Timer detailRefreshTimer_;
  Timer pendingRefresh_;
  Subscription wipeSubscription_;
  Subscription commandSubscription_;
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace velto
