// The running program's services, built once at launch in a fixed order and kept for the life
// of the process: settings, the store (schema brought up to date, then the retention purge),
// categories with the user's rules, the limits, exclusions and the context resolver, the
// tracking engine (started once the store is open), the weekly digest, the daily summary, the
// limit monitor, the notification router, the menu-bar chip and the widget snapshot writer. Purges
// again and announces a new day when the day, the zone or the clock changes (a midnight slept
// through is caught on wake), and stops in order on quit. The browser tab reader follows the
// user's accessibility opt-in ("velto.accessibilityRequested").
//
// The desktop (real or scripted) and the time base are handed in, so the same wiring runs the
// recorder on a real session, in tests and in velto-replay.
// Thread: main thread.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

#include "app/report_figures.h"
#include "base/calendar.h"
#include "base/clock.h"
#include "base/notice_bus.h"
#include "base/scheduler.h"
#include "categories/category_catalog.h"
#include "categories/category_resolution.h"
#include "context/context_resolver.h"
#include "context/exclusion_store.h"
#include "context/process_table.h"
#include "limits/limit_monitor.h"
#include "limits/limit_store.h"
#include "recording/platform_sources.h"
#include "recording/tracking_engine.h"
#include "reports/usage_source.h"
#include "settings/settings.h"
#include "store/retention.h"
#include "store/segment_store.h"
#include "summaries/daily_summary.h"
#include "summaries/notification_router.h"
#include "summaries/weekly_digest.h"
#include "surfaces/menu_bar_model.h"
#include "surfaces/widget_snapshot.h"

namespace velto {

// What the services run on. Every reference must outlive the service set.
struct Desktop {
  FrontmostAppSource& front;
  WindowTitleSource& titles;
  IdleTimeSource& idleTime;
  PowerAssertionSource& power;
  SessionEventSource& session;
  BrowserTabReader* browsers;  // null: no tab reading
  ProcessTable* processes;     // null: no tool probing
  const Clock& clock;
  Scheduler& scheduler;
  AppNotificationCentering* notifications = nullptr;  // null: no notification server
};

struct ServicePaths {
  std::filesystem::path settingsFile;                 // settings.json
  std::optional<std::filesystem::path> dataFolder;    // store and checkpoint; none: memory only
  std::optional<std::filesystem::path> sharedFolder;  // command file; none: no commands
};

// The paths of the user's session (XDG folders).
ServicePaths defaultServicePaths();

class ServiceSet {
 public:
  // How often the store file is checked for other processes' changes.
  static constexpr double kStoreWatchSeconds = 2;

  ServiceSet(Desktop desktop, ServicePaths paths, Calendar calendar);
  ~ServiceSet();

  // Purges by retention and starts recording.
  void start();
  // Stops recording (the open segment closes with "appQuit") and the timers.
  void quit();

  // Called with every segment handed to the store, after it is stored.
  std::function<void(const RecordedSegment&)> onRecorded;
  // The stretch another process is recording now, for a service set that records nothing
  // itself (a command beside a running recorder), so figures count it as the desktop does.
  // Consulted only while this set's own engine has no open segment; empty: none.
  std::function<std::optional<LiveSlice>()> liveElsewhere;

  NoticeBus& notices() { return notices_; }
  // The time base the services run on (the session's, or a test's virtual one).
  const Clock& clock() const { return desktop_.clock; }
  Scheduler& scheduler() { return desktop_.scheduler; }
  Calendar& calendar() { return calendar_; }
  Settings& settings() { return settings_; }
  SegmentStore& store() { return *store_; }
  PersistenceController& persistence() { return persistence_; }
  ExclusionStore& exclusions() { return exclusions_; }
  CategoryCatalog& categories() { return categories_; }
  // The category resolver for the rules as they are now; reports keep the one they started with.
  std::shared_ptr<const CategoryResolver> categoryResolver() const { return resolution_.current(); }
  TrackingEngine& engine() { return *engine_; }
  TrackingCommand& commands() { return commands_; }
  LimitStore& limits() { return limits_; }
  LimitMonitor& limitMonitor() { return *monitor_; }
  NotificationRouter& router() { return router_; }
  ReportFigures& figures() { return *figures_; }
  // The tray chip, refreshed every 30 s and when the data, limits or chip settings change; the
  // tray sets its onChange.
  MenuBarModel& menuBar() { return *menuBar_; }
  // Today's figures and the chip settings the menu-bar title is computed from.
  MenuBarTitle::Input menuBarInput();
  // The interface language for every text ("velto.uiLanguage", or the session's).
  std::string language() const;
  // Today's figures for other programs (widget-snapshot.json).
  WidgetSnapshot widgetSnapshot();

 private:
  class RecordingSink;
  void armMidnight();
  void dayOrClockChanged();
  void wokeUp();
  void reloadRules();

  Desktop desktop_;
  NoticeBus notices_;
  Calendar calendar_;
  Settings settings_;
  PersistenceController persistence_;
  std::unique_ptr<SegmentStore> store_;
  std::shared_ptr<RecordingSink> sink_;
  RetentionPurge retention_;
  CategoryCatalog categories_;
  CategoryResolution resolution_;
  Subscription rulesChanged_;
  ExclusionStore exclusions_;
  ContextResolver resolver_;
  FileSegmentCheckpoints checkpoints_;
  TrackingCommand commands_;
  std::unique_ptr<TrackingEngine> engine_;
  LimitStore limits_;
  InMemoryNotificationCenter unavailableNotifications_;  // used when the desktop has none
  AppNotificationCentering& notifications_;
  std::unique_ptr<UsageSource> usage_;
  std::unique_ptr<ReportFigures> figures_;
  std::unique_ptr<WeeklyDigestComposer> digestComposer_;
  std::unique_ptr<WeeklyDigestScheduler> digest_;
  std::unique_ptr<DailySummaryComposer> dailyComposer_;
  std::unique_ptr<DailySummaryScheduler> daily_;
  std::unique_ptr<LimitMonitor> monitor_;
  NotificationRouter router_;
  std::unique_ptr<WidgetSnapshotWriter> widgets_;
  std::unique_ptr<MenuBarModel> menuBar_;
  std::vector<Subscription> menuBarTriggers_;
  Timer midnight_;
  Timer storeWatch_;
  Instant midnightDue_{};  // the midnight midnight_ waits for
  Subscription tabReadingChanged_;
};

}  // namespace velto
