#include "app/report_figures.h"

#include <algorithm>
#include <cmath>
#include <map>

#include "base/log.h"
#include "categories/text_case.h"
#include "recording/off_computer.h"

namespace velto {

namespace {

double seconds(std::int64_t micros) {
  return static_cast<double>(micros) / 1e6;
}

}  // namespace

ReportFigures::ReportFigures(UsageSource& source, const Clock& clock,
                             std::function<std::shared_ptr<const CategoryResolver>()> resolver,
                             std::function<std::optional<LiveSlice>()> live)
    : source_(source), clock_(clock), resolver_(std::move(resolver)), live_(std::move(live)) {}

std::vector<Segment> ReportFigures::liveRows() const {
  std::vector<Segment> extra;
  if (live_) {
    if (const std::optional<LiveSlice> live = live_()) {
      Segment running;
      const ActivityContext& c = live->context;
      running.startedAt = live->startedAt;
      running.endedAt = clock_.now();
      running.seconds = secondsBetween(running.startedAt, running.endedAt);
      running.bundleId = c.bundleId;
      running.appName = c.appName;
      running.windowTitle = c.windowTitle;
      running.host = c.host;
      running.toolName = c.toolName;
      if (running.startedAt < running.endedAt) extra.push_back(std::move(running));
    }
  }
  return extra;
}

std::vector<ContextTotal> ReportFigures::contexts(Instant start, Instant end, bool withDays,
                                                  std::vector<DaySummary>* days) {
  const std::vector<Segment> extra = liveRows();
  std::vector<ContextTotal> totals;
  if (withDays) {
    Result<UsageTally> tally = source_.tally(DateInterval{start, end}, extra);
    if (!tally) {
      log::error("Could not read recorded time: %{public}s", tally.error());
      return {};
    }
    if (days != nullptr) *days = std::move(tally->days);
    totals = std::move(tally->contexts);
  } else {
    Result<std::vector<ContextTotal>> read = source_.totals(DateInterval{start, end}, extra);
    if (!read) {
      log::error("Could not read recorded time: %{public}s", read.error());
      return {};
    }
    totals = std::move(read).value();
  }
  std::vector<ContextTotal> out;
  for (ContextTotal& total : totals) {
    if (!isOffComputer(total.context.bundleId)) out.push_back(std::move(total));
  }
  return out;
}

bool ReportFigures::matches(const UsageLimit::Subject& subject, const StoredContext& context,
                            const CategoryResolver& resolver) {
  switch (subject.kind) {
    case UsageLimit::Subject::Kind::total:
      return true;
    case UsageLimit::Subject::Kind::app:
      return lowerCased(context.bundleId) == lowerCased(subject.value);
    case UsageLimit::Subject::Kind::host: {
      if (!context.host) return false;
      const std::string host = lowerCased(*context.host);
      const std::string wanted = lowerCased(subject.value);
      return host == wanted || (host.size() > wanted.size() && host.ends_with(wanted) &&
                                host[host.size() - wanted.size() - 1] == '.');
    }
    case UsageLimit::Subject::Kind::category:
      return resolver.category(context.bundleId, context.host, context.windowTitle) ==
             subject.value;
  }
  return false;
}

double ReportFigures::spentSeconds(const UsageLimit::Subject& subject, Instant start, Instant end) {
  const std::shared_ptr<const CategoryResolver> resolver = resolver_();
  std::int64_t micros = 0;
  for (const ContextTotal& total : contexts(start, end, false)) {
    if (resolver && matches(subject, total.context, *resolver)) micros += total.micros;
  }
  return seconds(micros);
}

double ReportFigures::totalSeconds(Instant start, Instant end) {
  const std::vector<Segment> extra = liveRows();
  Result<Micros> micros = source_.atComputerMicros(DateInterval{start, end}, extra);
  if (!micros) {
    log::error("Could not read recorded time: %{public}s", micros.error());
    return 0;
  }
  return seconds(*micros);
}

std::map<std::string, double> ReportFigures::byCategory(Instant start, Instant end) {
  std::map<std::string, double> out;
  const std::shared_ptr<const CategoryResolver> resolver = resolver_();
  if (!resolver) return out;
  for (const ContextTotal& total : contexts(start, end, false)) {
    const StoredContext& c = total.context;
    out[std::string(resolver->category(c.bundleId, c.host, c.windowTitle))] +=
        seconds(total.micros);
  }
  return out;
}

std::optional<std::string> ReportFigures::topCategory(Instant start, Instant end) {
  std::optional<std::string> top;
  double most = 0;
  for (const auto& [category, time] : byCategory(start, end)) {
    if (time > most) {
      most = time;
      top = category;
    }
  }
  return top;
}

std::vector<WidgetSnapshot::AppSlice> ReportFigures::topApps(Instant start, Instant end,
                                                             size_t count) {
  std::map<std::string, WidgetSnapshot::AppSlice> apps;
  for (const ContextTotal& total : contexts(start, end, false)) {
    WidgetSnapshot::AppSlice& app = apps[total.context.bundleId];
    app.id = total.context.bundleId;
    if (app.name.empty()) app.name = total.context.appName;
    app.seconds += seconds(total.micros);
  }
  std::vector<WidgetSnapshot::AppSlice> out;
  for (auto& [id, app] : apps) out.push_back(std::move(app));
  std::stable_sort(out.begin(), out.end(),
                   [](const auto& a, const auto& b) { return a.seconds > b.seconds; });
  if (out.size() > count) out.resize(count);
  return out;
}

int ReportFigures::daysWithRecords(Instant start, Instant end) {
  std::vector<DaySummary> days;
  (void)contexts(start, end, true, &days);
  return static_cast<int>(std::count_if(days.begin(), days.end(),
                                        [](const DaySummary& day) { return day.trackedUs > 0; }));
}

std::vector<CategoryChange> ReportFigures::categoryChanges(Instant start, Instant end,
                                                           Instant previousStart,
                                                           Instant previousEnd) {
  std::map<std::string, CategoryChange> changes;
  for (const auto& [category, time] : byCategory(start, end)) {
    changes[category] = CategoryChange{category, time, 0};
  }
  for (const auto& [category, time] : byCategory(previousStart, previousEnd)) {
    CategoryChange& change = changes[category];
    change.category = category;
    change.previous = time;
  }
  std::vector<CategoryChange> out;
  for (auto& [category, change] : changes) out.push_back(std::move(change));
  std::stable_sort(out.begin(), out.end(), [](const CategoryChange& a, const CategoryChange& b) {
    return std::fabs(a.current - a.previous) > std::fabs(b.current - b.previous);
  });
  return out;
}

}  // namespace velto
