#include "cli/commands/waybar_source.h"

#include "app/report_figures.h"
#include "app/service_set.h"
#include "base/files.h"
#include "base/log.h"
#include "base/manual_scheduler.h"
#include "cli/commands/report_session.h"
#include "limits/limit_monitor.h"
#include "limits/limit_store.h"
#include "recording/segment_checkpoint.h"
#include "summaries/notification_center.h"
#include "surfaces/waybar_status.h"

namespace velto::cli {

namespace {

constexpr size_t kTooltipApps = 5;

// The running segment as the recorder last checkpointed it.
std::optional<LiveSlice> liveSlice(bool recorderRunning) {
  const std::optional<std::filesystem::path> folder = defaultServicePaths().dataFolder;
  if (!recorderRunning || !folder) return std::nullopt;
  FileSegmentCheckpoints checkpoints(*folder);
  Result<std::string> bytes = checkpoints.read();
  if (!bytes) return std::nullopt;
  Result<SegmentCheckpoint> checkpoint = decodeCheckpoint(*bytes);
  if (!checkpoint) return std::nullopt;
  return LiveSlice{checkpoint->context, checkpoint->startedAt};
}

}  // namespace

std::string waybarStatusLine(const std::string& language, bool recorderRunning) {
  ReportSession session(language);
  const Instant now = session.clock.now();
  const std::optional<LiveSlice> live = liveSlice(recorderRunning);

  WaybarInput input;
  input.paused = session.settings.isPaused();
  MenuBarTitle::Input& title = input.title;
  title.mode = menuBarDisplayFromRaw(session.settings.menuBarDisplay(kMenuBarDisplayModes));
  title.warnRatio = session.settings.limitWarnRatio();
  title.dayBudgetSeconds = session.settings.dayBudgetSeconds();
  title.language = language;
  if (live && !input.paused) title.currentAppName = live->context.appName;

  UsageSource source(session.store, session.calendar);
  FigureInputs inputs{session.calendar, *session.resolver, session.directory, language, now, live,
                      Uuid::random()};
  Result<std::vector<CategoryRule>> rules = session.store.categoryRules();
  inputs.categoriesUseTitles = !rules || hasKeywordRules(*rules);
  const ReportPeriod today = periodContaining(PeriodKind::day, now, session.calendar, now);
  Result<UsageFigures> figures = buildFigures(source, today, inputs);
  if (figures) {
    title.todaySeconds = figures->totalSeconds;
    title.focusedSeconds = figures->focusSplit.focus;
    for (size_t i = 0; i < figures->byApp.size() && i < kTooltipApps; ++i) {
      const AppUsage& app = figures->byApp[i];
      input.topApps.push_back({app.bundleId, app.appName, app.seconds});
    }
  } else {
    log::error("Could not read today's figures: %{public}s", figures.error());
  }

  // Limit progress the way the recorder's monitor measures it; nothing is sent from here.
  ManualScheduler scheduler(now);
  InMemoryNotificationCenter notifications;
  LimitStore limits(session.settings, session.notices, session.clock);
  std::shared_ptr<const CategoryResolver> resolver = session.resolver;
  ReportFigures spent(
      source, session.clock, [resolver] { return resolver; }, [live] { return live; });
  LimitMonitor monitor(LimitMonitorEnvironment{
      SummaryEnvironment{session.settings, session.calendar, session.clock, scheduler,
                         session.notices, notifications, [language] { return language; }},
      limits, spent, &session.catalog, [] { return false; }});
  title.progress = monitor.progress();
  return waybarLine(input);
}

}  // namespace velto::cli
