#include "app/service_set.h"

#include "base/log.h"
#include "base/notices.h"
#include "base/paths.h"
#include "base/strings.h"
#include "categories/category_seed_location.h"
#include "settings/settings_keys.h"

namespace velto {

class ServiceSet::RecordingSink final : public SegmentSink {
 public:
  RecordingSink(SegmentStore& store, std::function<void(const RecordedSegment&)>& observer)
      : store_(store), observer_(observer) {}
  void record(const RecordedSegment& segment) override {
    store_.record(segment);
    if (observer_) observer_(segment);
  }

 private:
  SegmentStore& store_;
  std::function<void(const RecordedSegment&)>& observer_;
};

ServicePaths defaultServicePaths() {
  return ServicePaths{Settings::defaultPath(), paths::dataDir(), paths::sharedDir()};
}

ServiceSet::ServiceSet(Desktop desktop, ServicePaths paths, Calendar calendar)
    : desktop_(desktop),
      calendar_(std::move(calendar)),
      settings_(paths.settingsFile, notices_),
      persistence_(paths.dataFolder),
      store_(std::make_unique<SegmentStore>(persistence_, calendar_, notices_)),
      sink_(std::make_shared<RecordingSink>(*store_, onRecorded)),
      retention_(settings_, *store_, desktop.clock, notices_),
      categories_(settings_, notices_),
      resolution_(std::make_shared<const CategorySeed>(loadShippedCategorySeed()), categories_),
      exclusions_(settings_, notices_),
      resolver_(exclusions_, desktop.browsers, desktop.processes,
                [this] { return settings_.detailCaptureEnabled(); }),
      checkpoints_(paths.dataFolder.value_or(std::filesystem::temp_directory_path())),
      commands_(paths.sharedFolder),
      limits_(settings_, notices_, desktop.clock),
      notifications_(desktop.notifications != nullptr ? *desktop.notifications
                                                      : unavailableNotifications_) {
  unavailableNotifications_.status = NotificationAuthorization::denied;
  // A store that could not be opened (a newer release's, a damaged one) records into memory,
  // which a crash loses anyway: the checkpoint left beside it stays for a program that can store
  // it, rather than being turned into a row that is gone at quit.
  const bool checkpointed = paths.dataFolder && !persistence_.degraded();
  engine_ = std::make_unique<TrackingEngine>(TrackingEnvironment{
      desktop.front, desktop.titles, desktop.idleTime, desktop.power, desktop.session, resolver_,
      settings_, sink_, checkpointed ? &checkpoints_ : nullptr, &commands_, calendar_,
      desktop.clock, desktop.scheduler, notices_});
  reloadRules();
  rulesChanged_ = notices_.subscribe(notices::kCategoryRulesDidChange, [this] { reloadRules(); });
  // A deleted category takes its rules and its limits with it.
  categories_.addDeletionHandler([this](const std::string& id) {
    (void)store_->deleteRulesForCategory(id);
    limits_.removeCategory(id);
  });
  usage_ = std::make_unique<UsageSource>(*store_, calendar_);
  usage_->setCategoriesUseTitles(resolution_.current()->readsTitles());
  figures_ = std::make_unique<ReportFigures>(
      *usage_, desktop.clock, [this] { return resolution_.current(); },
      [this]() -> std::optional<LiveSlice> {
        const auto& open = engine_->recorder().openSegment();
        if (open) return LiveSlice{open->context, open->startedAt};
        return liveElsewhere ? liveElsewhere() : std::nullopt;
      });
  const SummaryEnvironment notifier{
      settings_, calendar_, desktop.clock, desktop.scheduler, notices_, notifications_, [this] {
        return language();
      }};
  digestComposer_ = std::make_unique<WeeklyDigestComposer>(*figures_, calendar_, &categories_);
  digest_ = std::make_unique<WeeklyDigestScheduler>(notifier, *digestComposer_);
  dailyComposer_ = std::make_unique<DailySummaryComposer>(*figures_, calendar_, &categories_);
  monitor_ = std::make_unique<LimitMonitor>(LimitMonitorEnvironment{
      notifier, limits_, *figures_, &categories_, [this] { return engine_->isPaused(); }});
  daily_ = std::make_unique<DailySummaryScheduler>(notifier, *dailyComposer_,
                                                   [this] { return monitor_->progress(); });
  menuBar_ = std::make_unique<MenuBarModel>(
      desktop.scheduler, [this] { return menuBarInput(); },
      [this] { return settings_.theme() == "dark"; });
  widgets_ = std::make_unique<WidgetSnapshotWriter>(
      paths.sharedFolder, [this] { return widgetSnapshot(); }, desktop.scheduler, notices_);
  engine_->onClockChange = [this] {
    // Follow a zone change of the session, unless the calendar was set to a zone on purpose.
    if (const char* tz = std::getenv("TZ"); tz == nullptr || *tz == '\0') {
      calendar_.setZone(Calendar::current().zoneName());
    }
    dayOrClockChanged();
  };
  engine_->onWake = [this] { wokeUp(); };
  if (desktop.browsers != nullptr) {
    desktop.browsers->setEnabled(settings_.accessibilityRequested());
    tabReadingChanged_ = notices_.subscribe(keys::kAccessibilityRequested, [this] {
      desktop_.browsers->setEnabled(settings_.accessibilityRequested());
    });
  }
}

ServiceSet::~ServiceSet() = default;

void ServiceSet::reloadRules() {
  Result<std::vector<CategoryRule>> rules = store_->categoryRules();
  if (!rules) {
    log::error("Could not read category rules: %{public}s", rules.error());
    return;
  }
  resolution_.rebuild(std::move(rules).value());
  // Without keyword rules, titles cannot change a category: totals per site are enough.
  if (usage_) usage_->setCategoriesUseTitles(resolution_.current()->readsTitles());
}

void ServiceSet::start() {
  retention_.run();
  // Other processes (the command line's edits, rules and imports) change the store file; their
  // changes reach every figure, limit and resolver here within a few seconds.
  (void)store_->changedElsewhere();
  storeWatch_ = desktop_.scheduler.repeating(kStoreWatchSeconds, 1, [this] {
    if (!store_->changedElsewhere()) return;
    notices_.post(notices::kCategoryRulesDidChange);
    notices_.post(notices::kSegmentsDidChange);
  });
  // Segments an earlier run could not store (the store busy or full when it was killed) are
  // older than anything this run records: they are taken over before recording starts. A
  // degraded store leaves them on disk for a run that can store them.
  if (const auto& file = persistence_.file(); file && !persistence_.inMemory()) {
    store_->keepPendingIn(std::make_unique<KeptSegmentsFile>(file->parent_path()));
  }
  engine_->start();
  digest_->start();
  daily_->start();
  monitor_->start();
  menuBar_->start();
  // The chip follows the data and its settings only while the services run: a command that
  // opens them to change a limit has no chip to redraw.
  for (std::string_view notice :
       {std::string_view(notices::kSegmentsDidChange), std::string_view(notices::kDayDidChange),
        keys::kMenuBarDisplay, keys::kDayBudgetSeconds, keys::kLimits, keys::kLimitWarnRatio,
        keys::kIsPaused, keys::kUiLanguage, keys::kTheme}) {
    menuBarTriggers_.push_back(notices_.subscribe(notice, [this] { menuBar_->refresh(); }));
  }
  widgets_->start();
  armMidnight();
}

void ServiceSet::quit() {
  engine_->stop();
  midnight_.cancel();
  storeWatch_.cancel();
  widgets_->stop();
  menuBarTriggers_.clear();
  menuBar_->stop();
  monitor_->stop();
  daily_->stop();
  digest_->stop();
}

std::string ServiceSet::language() const {
  return i18n::resolveLanguage(settings_.uiLanguage());
}

WidgetSnapshot ServiceSet::widgetSnapshot() {
  const Instant now = desktop_.clock.now();
  const DateInterval today = calendar_.dayInterval(now);
  const std::string lang = language();
  WidgetSnapshot snapshot;
  snapshot.dayStart = today.start;
  snapshot.validUntil = today.end;
  snapshot.updatedAt = now;
  snapshot.isPaused = engine_->isPaused();
  snapshot.totalSeconds = figures_->totalSeconds(today.start, now);
  // Against the same elapsed part of yesterday.
  const Instant yesterday = calendar_.addDays(today.start, -1);
  const double before =
      figures_->totalSeconds(yesterday, addSeconds(yesterday, secondsBetween(today.start, now)));
  if (before > 0) snapshot.changeRatio = (snapshot.totalSeconds - before) / before;
  for (const CategoryChange& change :
       figures_->categoryChanges(today.start, now, today.start, today.start)) {
    if (change.current <= 0) continue;
    const UsageCategory category = UsageCategory::fromRaw(change.category);
    const EffectiveCategory effective = categories_.effective(category, lang);
    const ColorHue& hue = categories_.hue(category);
    auto rgb = [](const Rgb& c) {
      return (unsigned{c.red} << 16) | (unsigned{c.green} << 8) | c.blue;
    };
    snapshot.categories.push_back(
        {effective.rawValue, effective.name, change.current, rgb(hue.light), rgb(hue.dark)});
  }
  std::sort(snapshot.categories.begin(), snapshot.categories.end(),
            [](const auto& a, const auto& b) { return a.seconds > b.seconds; });
  snapshot.topApps = figures_->topApps(today.start, now, 5);
  const DateInterval week = calendar_.weekInterval(now);
  for (Instant day = week.start; day < week.end; day = calendar_.nextMidnight(day)) {
    const bool isToday = day == today.start;
    snapshot.week.push_back(
        {day,
         day <= now ? figures_->totalSeconds(day, std::min(calendar_.nextMidnight(day), now)) : 0.0,
         isToday});
  }
  snapshot.appearance = settings_.theme();
  snapshot.language = settings_.uiLanguage();
  snapshot.chip = menuBar_->chip();
  return snapshot;
}

MenuBarTitle::Input ServiceSet::menuBarInput() {
  const Instant now = desktop_.clock.now();
  const DateInterval today = calendar_.dayInterval(now);
  MenuBarTitle::Input input;
  input.mode = menuBarDisplayFromRaw(settings_.menuBarDisplay(kMenuBarDisplayModes));
  input.language = language();
  input.warnRatio = settings_.limitWarnRatio();
  input.dayBudgetSeconds = settings_.dayBudgetSeconds();
  input.todaySeconds = figures_->totalSeconds(today.start, now);
  const CategoryDirectory directory = CategoryDirectory::of(categories_, input.language);
  for (const CategoryChange& change :
       figures_->categoryChanges(today.start, now, today.start, today.start)) {
    if (directory.focus(change.category) == FocusLabel::focus)
      input.focusedSeconds += change.current;
  }
  const auto& open = engine_->recorder().openSegment();
  if (open && !engine_->isPaused()) input.currentAppName = open->context.appName;
  input.progress = monitor_->progress();
  return input;
}

void ServiceSet::armMidnight() {
  midnightDue_ = calendar_.nextMidnight(desktop_.clock.now());
  midnight_ = desktop_.scheduler.at(midnightDue_, 5, [this] { dayOrClockChanged(); });
}

void ServiceSet::wokeUp() {
  // Timers count only time awake: a midnight passed asleep is the day change now, and the next
  // one is planned again from the wall clock.
  if (desktop_.clock.now() >= midnightDue_) {
    dayOrClockChanged();
  } else {
    armMidnight();
  }
}

void ServiceSet::dayOrClockChanged() {
  retention_.run();
  armMidnight();
  notices_.post(notices::kDayDidChange);
}

}  // namespace velto
