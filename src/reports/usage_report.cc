#include "reports/usage_report.h"

#include "base/log.h"
#include "base/notices.h"
#include "base/strings.h"
#include "reports/detail_trends.h"

namespace velto {

namespace {

std::vector<PeriodBucket> bucketsOf(const ReportPeriod& period, std::span<const DaySummary> days,
                                    const Calendar& calendar) {
  std::vector<PeriodBucket> buckets;
  const bool months = period.monthBuckets();
  for (Instant day = period.interval.start; day < period.interval.end;
       day = calendar.nextMidnight(day)) {
    std::string key = calendar.dayKey(day);
    if (months) key.resize(7);
    if (buckets.empty() || buckets.back().date != key) buckets.push_back({key, day, 0});
  }
  size_t at = 0;
  for (const DaySummary& day : days) {
    const std::string key = months ? day.dayKey.substr(0, 7) : day.dayKey;
    while (at < buckets.size() && buckets[at].date < key) ++at;
    if (at < buckets.size() && buckets[at].date == key)
      buckets[at].seconds += toSeconds(day.trackedUs);
  }
  return buckets;
}

}  // namespace

Result<UsageFigures> buildFigures(UsageSource& source, const ReportPeriod& period,
                                  const FigureInputs& in) {
  UsageFigures f;
  f.period = period;
  f.label = periodLabel(period, in.calendar, in.language);
  f.counted = countedInterval(period, in.now);
  f.comparison = comparisonFor(period, in.calendar, in.now);
  f.comparisonName = i18n::text(in.language, f.comparison.nameKey);
  f.comparisonLabel = rangeLabel(
      {f.comparison.interval.start,
       std::max(f.comparison.interval.end, f.comparison.interval.start + Microseconds(1))},
      in.calendar);

  std::vector<Segment> extra;
  if (in.live && in.live->startedAt < in.now) {
    Segment row;
    row.id = in.liveId;
    row.startedAt = in.live->startedAt;
    row.endedAt = in.now;
    row.seconds = secondsBetween(in.live->startedAt, in.now);
    row.bundleId = in.live->context.bundleId;
    row.appName = in.live->context.appName;
    row.windowTitle = in.live->context.windowTitle;
    row.host = in.live->context.host;
    row.toolName = in.live->context.toolName;
    row.url = in.live->context.url;
    row.dayKey = in.calendar.dayKey(row.startedAt);
    if (row.startedAt < f.counted.end && row.endedAt > f.counted.start) f.liveSegmentID = row.id;
    extra.push_back(std::move(row));
  }
  const bool oneDay = period.kind == PeriodKind::day;
  source.setCategoriesUseTitles(in.categoriesUseTitles);
  Result<UsageTally> current =
      in.rowsOnly ? source.tallyFromRows(f.counted, extra) : source.tally(f.counted, extra);
  if (!current) return Error{current.error()};
  Result<UsageTally> previous = in.rowsOnly ? source.tallyFromRows(f.comparison.interval, {})
                                            : source.tally(f.comparison.interval, {}, false);
  if (!previous) return Error{previous.error()};

  f.contexts = std::move(current->contexts);
  f.siteLevel = current->siteLevel;
  f.liveRows = extra;
  f.totalSeconds = UsageRollup::atComputerSeconds(f.contexts);
  f.offMacSeconds = UsageRollup::offMacSeconds(f.contexts);
  f.byApp = UsageRollup::byApp(f.contexts, in.resolver);
  const CategoryMicros currentCategories = UsageRollup::categoryMicros(f.contexts, in.resolver);
  const CategoryMicros earlierCategories =
      UsageRollup::categoryMicros(previous->contexts, in.resolver);
  f.byCategory = UsageRollup::byCategory(currentCategories, in.directory);
  f.bySite = UsageRollup::bySite(f.contexts);
  f.offMac = UsageRollup::offMac(f.contexts);
  f.focusSplit = UsageRollup::focusSplit(currentCategories, in.directory);
  f.previousTotalSeconds = UsageRollup::atComputerSeconds(previous->contexts);
  f.previousFocusSplit = UsageRollup::focusSplit(earlierCategories, in.directory);

  f.shape = shapeOf(current->days);
  std::array<Micros, 24> hours{};
  std::array<std::array<Micros, 24>, 7> weekdayHours{};
  for (const DaySummary& day : current->days) {
    const std::optional<Instant> start = in.calendar.startOfDayKey(day.dayKey);
    const int weekday = start ? in.calendar.weekday(*start) : 1;
    for (size_t h = 0; h < 24; ++h) {
      hours[h] += day.hoursUs[h];
      weekdayHours[static_cast<size_t>(weekday - 1)][h] += day.hoursUs[h];
    }
  }
  for (size_t h = 0; h < 24; ++h) {
    f.hourly[h] = {static_cast<int>(h), toSeconds(hours[h])};
    for (size_t w = 0; w < 7; ++w) f.weekdayHourly[w][h] = toSeconds(weekdayHours[w][h]);
  }
  f.buckets = bucketsOf(period, current->days, in.calendar);

  if (oneDay) {
    Result<Timeline> timeline = source.timeline(f.counted, extra);
    if (!timeline) return Error{timeline.error()};
    f.segments = SharedRows(timeline->rows);
    f.blocks = *timeline->blocks;
    size_t first = 0;
    for (TimelineBlock& block : f.blocks) {
      const Segment& row = f.segments[first];
      std::optional<std::string_view> host;
      std::optional<std::string_view> title;
      if (row.host) host = *row.host;
      if (row.windowTitle) title = *row.windowTitle;
      block.category = std::string(in.resolver.category(row.bundleId, host, title));
      first += block.segmentIDs.size();
    }
  }

  const std::vector<CategoryUsage> previousCategories =
      UsageRollup::byCategory(earlierCategories, in.directory);
  f.categoryTrends = movers(trendRows(
      f.byCategory, previousCategories, [](const CategoryUsage& r) { return r.id; },
      [](const CategoryUsage& r) { return r.name; }));
  f.appTrends = movers(trendRows(
      f.byApp, UsageRollup::byApp(previous->contexts, in.resolver),
      [](const AppUsage& r) { return r.bundleId; }, [](const AppUsage& r) { return r.appName; }));
  if (current->siteLevel || previous->siteLevel) {
    f.detailTrends = detailMovers(source.aggregates(), {f.contexts, current->detailMicros},
                                  {previous->contexts, previous->detailMicros});
  } else {
    f.detailTrends = movers(trendRows(
        UsageRollup::allDetails(f.contexts), UsageRollup::allDetails(previous->contexts),
        [](const DetailUsage& r) { return r.key; }, [](const DetailUsage& r) { return r.label; }));
  }
  const bool anyMover =
      !f.categoryTrends.empty() || !f.appTrends.empty() || !f.detailTrends.empty();
  f.trendsText = trendsText(anyMover, f.previousTotalSeconds, in.language);
  f.focusMixPoints = focusMixPoints(f.focusSplit, f.previousFocusSplit);
  if (f.focusMixPoints) f.focusMixText = focusMixText(*f.focusMixPoints, in.language);
  if (period.kind == PeriodKind::custom) {
    f.comparisonText =
        i18n::text(in.language, "main.trends.customComparison %@", f.comparisonLabel);
  }
  return f;
}

Result<std::vector<DetailUsage>> appDetailRows(UsageSource& source, const UsageFigures& figures,
                                               const std::string& bundleId) {
  if (!figures.siteLevel) return UsageRollup::detailRows(figures.contexts, bundleId);
  Result<std::vector<ContextTotal>> own =
      source.appDetails(figures.counted, figures.liveRows, bundleId);
  if (!own) return Error{own.error()};
  return UsageRollup::detailRows(*own, bundleId);
}

UsageReport::UsageReport(Services services)
    : services_(std::move(services)),
      source_(services_.store, services_.calendar),
      anchor_(services_.clock.now()) {
  setFollowsStore(true);
  rules_ = services_.notices.subscribe(notices::kCategoryRulesDidChange, [this] { reload(); });
  wipes_ = services_.notices.subscribe(notices::kStoreDidWipe, [this] {
    detailCache_.clear();
    detailContexts_.reset();
    reload();
  });
  liveTimer_ = services_.scheduler.repeating(60, 10, [this] { reload(); });
  armDayChange();
  recompute();
}

void UsageReport::armDayChange() {
  const Instant now = services_.clock.now();
  dayChange_ = services_.scheduler.at(services_.calendar.nextMidnight(now), 1, [this] {
    // "Today" moves on to the new day; a chosen past period stays where it is.
    if (followsNow_ && !customRange_ && !preset_) anchor_ = services_.clock.now();
    reload();
    armDayChange();
  });
}

void UsageReport::setFollowsStore(bool follows) {
  followsStore_ = follows;
  if (follows) {
    changes_ = services_.notices.subscribe(notices::kSegmentsDidChange, [this] { reload(); });
  } else {
    changes_.reset();
  }
}

void UsageReport::showPeriod(PeriodKind kind, Instant anchor) {
  kind_ = kind;
  anchor_ = anchor;
  const Instant now = services_.clock.now();
  followsNow_ = periodContaining(kind, anchor, services_.calendar, now).inProgress;
  customRange_.reset();
  preset_.reset();
  reload();
}

void UsageReport::showCustomRange(Instant firstDay, Instant lastDay) {
  customRange_ = DateInterval{firstDay, lastDay};
  preset_.reset();
  reload();
}

void UsageReport::showPreset(RangePreset preset) {
  preset_ = preset;
  customRange_.reset();
  reload();
}

void UsageReport::reload() {
  isStale_ = true;
  if (holdsReload_) {
    reloadPending_ = true;
    return;
  }
  recompute();
}

void UsageReport::setHoldsReload(bool hold) {
  holdsReload_ = hold;
  if (!hold && reloadPending_) recompute();
}

const std::vector<DetailUsage>& UsageReport::detailRows(const std::string& bundleId) {
  auto [at, added] = detailCache_.try_emplace(bundleId);
  if (!added) return at->second;
  if (!figures_.siteLevel) {
    at->second = UsageRollup::detailRows(figures_.contexts, bundleId);
    return at->second;
  }
  // Totals per site do not carry details: those of every application are read in one pass,
  // since the window lists them all.
  if (!detailContexts_) {
    Result<std::vector<ContextTotal>> every =
        source_.appDetails(figures_.counted, figures_.liveRows, std::nullopt);
    if (!every) {
      log::error("Could not read the details of %{public}s: %{public}s", bundleId, every.error());
      return at->second;
    }
    detailContexts_.emplace();
    for (ContextTotal& total : *every) {
      std::vector<ContextTotal>& own = (*detailContexts_)[total.context.bundleId];
      own.push_back(std::move(total));
    }
  }
  if (auto own = detailContexts_->find(bundleId); own != detailContexts_->end()) {
    at->second = UsageRollup::detailRows(own->second, bundleId);
  }
  return at->second;
}

void UsageReport::recompute() {
  const Instant now = services_.clock.now();
  const Calendar& calendar = services_.calendar;
  ReportPeriod period;
  if (preset_) {
    period = presetPeriod(*preset_, calendar, now);
  } else if (customRange_) {
    period = customPeriod(customRange_->start, customRange_->end, calendar, now);
  } else {
    period = periodContaining(kind_, anchor_, calendar, now);
  }
  const std::shared_ptr<const CategoryResolver> resolver = services_.resolver();
  std::optional<LiveSlice> live;
  if (services_.liveSlice) live = services_.liveSlice();
  FigureInputs inputs{calendar, *resolver, services_.directory, services_.language,
                      now,      live,      liveSegmentID_};
  inputs.categoriesUseTitles = resolver->readsTitles();
  Result<UsageFigures> built = buildFigures(source_, period, inputs);
  if (!built) {
    log::error("Could not build the report: %{public}s", built.error());
    return;
  }
  figures_ = std::move(built).value();
  detailCache_.clear();
  detailContexts_.reset();
  isStale_ = false;
  reloadPending_ = false;
  if (onChange) onChange();
}

}  // namespace velto
