#include "reports/report_json.h"

#include <cmath>

#include "base/strings.h"
#include "reports/duration_text.h"
#include "reports/usage_export.h"

namespace velto {

namespace {

nlohmann::json instantJson(const std::optional<Instant>& at, const Calendar& calendar) {
  return at ? nlohmann::json(exportDateTime(*at, calendar)) : nlohmann::json();
}

nlohmann::json moversJson(const std::vector<Mover>& movers) {
  nlohmann::json list = nlohmann::json::array();
  for (const Mover& mover : movers) {
    list.push_back(
        {{"key", mover.row.key},
         {"label", mover.row.label},
         {"current", mover.row.current},
         {"previous", mover.row.previous},
         {"percent", mover.percent ? nlohmann::json(*mover.percent) : nlohmann::json()}});
  }
  return list;
}

std::string signedDuration(double seconds, const DurationText& text) {
  return (seconds < 0 ? "-" : "+") + text.format(std::fabs(seconds));
}

}  // namespace

nlohmann::json reportJson(const UsageFigures& f, const Calendar& calendar) {
  nlohmann::json json;
  json["period"] = {{"kind", rawValue(f.period.kind)},
                    {"start", exportDateTime(f.period.interval.start, calendar)},
                    {"end", exportDateTime(f.period.interval.end, calendar)},
                    {"label", f.label},
                    {"inProgress", f.period.inProgress}};
  json["comparison"] = {{"name", f.comparisonName},
                        {"start", exportDateTime(f.comparison.interval.start, calendar)},
                        {"end", exportDateTime(f.comparison.interval.end, calendar)},
                        {"totalSeconds", f.previousTotalSeconds}};
  json["totalSeconds"] = f.totalSeconds;
  json["offMacSeconds"] = f.offMacSeconds;
  nlohmann::json& apps = json["byApp"] = nlohmann::json::array();
  for (const AppUsage& app : f.byApp) {
    apps.push_back({{"bundleId", app.bundleId},
                    {"appName", app.appName},
                    {"seconds", app.seconds},
                    {"count", app.count},
                    {"category", app.category}});
  }
  nlohmann::json& categories = json["byCategory"] = nlohmann::json::array();
  for (const CategoryUsage& category : f.byCategory) {
    categories.push_back({{"id", category.id},
                          {"name", category.name},
                          {"seconds", category.seconds},
                          {"focus", rawValue(category.focus)}});
  }
  nlohmann::json& sites = json["bySite"] = nlohmann::json::array();
  for (const SiteUsage& site : f.bySite) {
    sites.push_back({{"host", site.host}, {"seconds", site.seconds}, {"count", site.count}});
  }
  nlohmann::json& away = json["offMac"] = nlohmann::json::array();
  for (const OffMacUsage& row : f.offMac) {
    away.push_back({{"bundleId", row.bundleId},
                    {"label", row.label},
                    {"seconds", row.seconds},
                    {"count", row.count}});
  }
  json["focusSplit"] = {{"focus", f.focusSplit.focus},
                        {"neutral", f.focusSplit.neutral},
                        {"distracting", f.focusSplit.distracting}};
  json["shape"] = {{"trackedSeconds", f.shape.trackedSeconds},
                   {"spanSeconds", f.shape.spanSeconds},
                   {"switchCount", f.shape.switchCount},
                   {"longestFocusSeconds", f.shape.longestFocusSeconds},
                   {"longestFocusName", f.shape.longestFocusName},
                   {"firstActivity", instantJson(f.shape.firstActivity, calendar)},
                   {"lastActivity", instantJson(f.shape.lastActivity, calendar)}};
  nlohmann::json& hourly = json["hourly"] = nlohmann::json::array();
  for (const HourBucket& hour : f.hourly) hourly.push_back(hour.seconds);
  nlohmann::json& buckets = json["buckets"] = nlohmann::json::array();
  for (const PeriodBucket& bucket : f.buckets) {
    buckets.push_back({{"date", bucket.date}, {"seconds", bucket.seconds}});
  }
  nlohmann::json& blocks = json["blocks"] = nlohmann::json::array();
  for (const TimelineBlock& block : f.blocks) {
    blocks.push_back({{"startedAt", exportDateTime(block.startedAt, calendar)},
                      {"endedAt", exportDateTime(block.endedAt, calendar)},
                      {"bundleId", block.bundleId},
                      {"appName", block.appName},
                      {"label", block.label},
                      {"category", block.category},
                      {"segmentCount", block.segmentIDs.size()}});
  }
  json["movers"] = {{"categories", moversJson(f.categoryTrends)},
                    {"apps", moversJson(f.appTrends)},
                    {"details", moversJson(f.detailTrends)}};
  json["focusMix"] = f.focusMixPoints ? nlohmann::json{{"points", *f.focusMixPoints},
                                                       {"text", f.focusMixText.value_or("")}}
                                      : nlohmann::json();
  json["trendsText"] = f.trendsText ? nlohmann::json(*f.trendsText) : nlohmann::json();
  return json;
}

std::string reportText(const UsageFigures& f, std::string_view language, size_t listLength) {
  const DurationText& duration = DurationText::forLanguage(language);
  std::string text = f.label + "\n";
  text += i18n::text(language, "cli.report.total %@", duration.format(f.totalSeconds)) + "\n";
  if (f.offMacSeconds > 0) {
    text +=
        i18n::text(language, "cli.report.offComputer %@", duration.format(f.offMacSeconds)) + "\n";
  }
  text += i18n::text(language, "cli.report.comparison %@ %@", f.comparisonName,
                     duration.format(f.previousTotalSeconds)) +
          "\n";
  auto line = [&](const std::string& name, const std::string& value) {
    std::string padded = name;
    if (padded.size() < 28) padded.resize(28, ' ');
    text += "  " + padded + " " + value + "\n";
  };
  if (!f.byApp.empty()) {
    text += "\n" + i18n::text(language, "cli.report.topApps") + "\n";
    for (size_t i = 0; i < f.byApp.size() && i < listLength; ++i) {
      line(f.byApp[i].appName, duration.format(f.byApp[i].seconds));
    }
  }
  if (!f.byCategory.empty()) {
    text += "\n" + i18n::text(language, "cli.report.categories") + "\n";
    for (size_t i = 0; i < f.byCategory.size() && i < listLength; ++i) {
      line(f.byCategory[i].name, duration.format(f.byCategory[i].seconds));
    }
  }
  if (f.focusSplit.total() > 0) {
    text += "\n" +
            i18n::text(language, "cli.report.focusShare %@",
                       std::to_string(std::llround(f.focusSplit.focusShare() * 100)) + "%") +
            "\n";
    if (f.focusMixText) text += *f.focusMixText + "\n";
  }
  const std::vector<Mover>* lists[] = {&f.categoryTrends, &f.appTrends, &f.detailTrends};
  bool header = false;
  for (const std::vector<Mover>* movers : lists) {
    for (size_t i = 0; i < movers->size() && i < 3; ++i) {
      if (!header) {
        text += "\n" + i18n::text(language, "cli.report.movers") + "\n";
        header = true;
      }
      const Mover& mover = (*movers)[i];
      std::string change = signedDuration(mover.row.current - mover.row.previous, duration);
      if (mover.percent) {
        change += " (" + std::string(*mover.percent >= 0 ? "+" : "") +
                  std::to_string(*mover.percent) + "%)";
      }
      line(mover.row.label, change);
    }
  }
  if (f.comparisonText) text += "\n" + *f.comparisonText + "\n";
  if (f.trendsText) text += "\n" + *f.trendsText + "\n";
  return text;
}

}  // namespace velto
