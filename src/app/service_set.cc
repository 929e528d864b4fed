#include "app/service_set.h"

#include "base/log.h"
#include "base/notices.h"
#include "base/paths.h"
#include "categories/category_seed_location.h"

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
      commands_(paths.sharedFolder) {
  engine_ = std::make_unique<TrackingEngine>(TrackingEnvironment{
      desktop.front, desktop.titles, desktop.idleTime, desktop.power, desktop.session, resolver_,
      settings_, sink_, paths.dataFolder ? &checkpoints_ : nullptr, &commands_, calendar_,
      desktop.clock, desktop.scheduler, notices_});
  reloadRules();
  rulesChanged_ = notices_.subscribe(notices::kCategoryRulesDidChange, [this] { reloadRules(); });
  // A deleted category takes its rules with it.
  categories_.addDeletionHandler(
      [this](const std::string& id) { (void)store_->deleteRulesForCategory(id); });
  engine_->onClockChange = [this] {
    // Follow a zone change of the session, unless the calendar was set to a zone on purpose.
    if (const char* tz = std::getenv("TZ"); tz == nullptr || *tz == '\0') {
      calendar_.setZone(Calendar::current().zoneName());
    }
    dayOrClockChanged();
  };
}

ServiceSet::~ServiceSet() = default;

void ServiceSet::reloadRules() {
  Result<std::vector<CategoryRule>> rules = store_->categoryRules();
  if (!rules) {
    log::error("Could not read category rules: %{public}s", rules.error());
    return;
  }
  resolution_.rebuild(std::move(rules).value());
}

void ServiceSet::start() {
  retention_.run();
  engine_->start();
  armMidnight();
}

void ServiceSet::quit() {
  engine_->stop();
  midnight_.cancel();
}

void ServiceSet::armMidnight() {
  midnight_ = desktop_.scheduler.at(calendar_.nextMidnight(desktop_.clock.now()), 5,
                                    [this] { dayOrClockChanged(); });
}

void ServiceSet::dayOrClockChanged() {
  retention_.run();
  armMidnight();
}

}  // namespace velto
