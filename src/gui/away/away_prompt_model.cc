#include "gui/away/away_prompt_model.h"

#include <algorithm>
#include <set>

#include "app/service_set.h"
#include "base/log.h"
#include "base/strings.h"
#include "reports/duration_text.h"

namespace velto::gui {

AwayPromptModel::AwayPromptModel(ServiceSet& services, AwayGap gap)
    : services_(services), gap_(std::move(gap)) {}

std::string AwayPromptModel::title() const {
  const std::string lang = services_.language();
  return i18n::text(lang, "away.prompt.quietFor %@",
                    DurationText::forLanguage(lang).format(gap_.duration()));
}

std::string AwayPromptModel::question() const {
  return i18n::text(services_.language(), "away.prompt.question");
}

std::optional<std::string> AwayPromptModel::yesText() const {
  if (!gap_.context) return std::nullopt;
  return i18n::text(services_.language(), "away.prompt.yes %@", gap_.context->appName);
}

std::vector<RecentApp> AwayPromptModel::recentApps() const {
  Result<std::vector<Segment>> rows =
      services_.store().fetchOverlapping(addSeconds(gap_.start, -7 * 86400.0), gap_.start);
  if (!rows) {
    log::error("Could not read recent apps: %{public}s", rows.error());
    return {};
  }
  std::sort(rows->begin(), rows->end(),
            [](const Segment& a, const Segment& b) { return a.endedAt > b.endedAt; });
  std::vector<RecentApp> apps;
  std::set<std::string> seen;
  if (gap_.context) seen.insert(gap_.context->bundleId);
  for (const Segment& row : *rows) {
    if (row.bundleId.empty() || isOffComputer(row.bundleId) ||
        row.bundleId.starts_with(kManualPrefix) || !seen.insert(row.bundleId).second) {
      continue;
    }
    apps.push_back({row.bundleId, row.appName});
    if (apps.size() == kRecentAppCount) break;
  }
  return apps;
}

Status AwayPromptModel::answerYes() {
  if (!gap_.context) return Error{"nothing was in front when the stretch began"};
  return give(gap_.context->bundleId, gap_.context->appName);
}

Status AwayPromptModel::answerApp(const RecentApp& app) {
  return give(app.bundleId, app.appName);
}

Status AwayPromptModel::answerOffComputer(OffMacKind kind) {
  return give(offMacBundleId(kind), i18n::text(services_.language(), localizationKey(kind)));
}

Status AwayPromptModel::answerLabel(std::string_view label) {
  const std::optional<ActivityContext> context = labelledContext(label);
  if (!context) return {};
  return give(context->bundleId, context->appName);
}

void AwayPromptModel::answerNo() {
  finish();
}

void AwayPromptModel::dismiss() {
  finish();
}

Status AwayPromptModel::give(const std::string& bundleId, const std::string& appName) {
  Status named = services_.store().nameTime(gap_.start, gap_.end, bundleId, appName, {});
  if (named) finish();
  return named;
}

void AwayPromptModel::finish() {
  answered_ = true;
  services_.engine().clearPendingGap(gap_);
}

}  // namespace velto::gui
