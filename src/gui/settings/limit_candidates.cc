#include "gui/settings/limit_candidates.h"

#include <algorithm>
#include <map>
#include <set>

#include "app/service_set.h"
#include "base/strings.h"
#include "recording/off_computer.h"

namespace velto::gui {

std::vector<LimitCandidate> limitCandidates(ServiceSet& services, std::size_t appCount) {
  const std::string lang = services.language();
  std::vector<LimitCandidate> candidates;
  candidates.push_back({UsageLimit::Subject::total(), i18n::text(lang, "limits.subject.total")});
  for (const UsageCategory& category : services.categories().allCategories()) {
    const EffectiveCategory effective = services.categories().effective(category, lang);
    candidates.push_back({UsageLimit::Subject::category(effective.rawValue), effective.name});
  }
  const Instant now = services.clock().now();
  const Instant today = services.calendar().startOfDay(now);
  const Instant from = services.calendar().addDays(today, -28);
  std::set<std::string> offered;
  auto offerApp = [&](const std::string& id, const std::string& name) {
    if (id.empty() || isOffComputer(id) || id.starts_with(kManualPrefix)) return;
    if (!offered.insert(id).second || offered.size() > appCount) return;
    candidates.push_back({UsageLimit::Subject::app(id, name), name.empty() ? id : name});
  };
  if (const auto& open = services.engine().recorder().openSegment()) {
    offerApp(open->context.bundleId, open->context.appName);
  }
  for (const auto& app : services.figures().topApps(today, now, appCount)) {
    offerApp(app.id, app.name);
  }
  for (const auto& app : services.figures().topApps(from, now, appCount)) {
    offerApp(app.id, app.name);
  }
  Result<std::vector<Segment>> rows = services.store().fetchOverlapping(from, now);
  if (rows) {
    std::map<std::string, double> hosts;
    for (const Segment& row : *rows) {
      if (row.host && !row.host->empty()) hosts[*row.host] += row.seconds;
    }
    std::vector<std::pair<std::string, double>> ranked(hosts.begin(), hosts.end());
    std::sort(ranked.begin(), ranked.end(),
              [](const auto& a, const auto& b) { return a.second > b.second; });
    for (size_t i = 0; i < ranked.size() && i < appCount; ++i) {
      candidates.push_back({UsageLimit::Subject::host(ranked[i].first), ranked[i].first});
    }
  }
  return candidates;
}

std::string limitLine(ServiceSet& services, const UsageLimit& limit) {
  const std::string lang = services.language();
  for (const LimitProgress& progress : services.limitMonitor().progress()) {
    if (progress.limit.id == limit.id) return progress.text(lang);
  }
  LimitProgress idle{limit, 0, limit.secondsPerDay};
  return idle.text(lang);
}

}  // namespace velto::gui
