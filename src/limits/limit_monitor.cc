#include "limits/limit_monitor.h"

#include <algorithm>
#include <cctype>
#include <nlohmann/json.hpp>
#include <set>

#include "base/log.h"
#include "base/notices.h"
#include "base/strings.h"
#include "reports/duration_text.h"
#include "settings/settings_keys.h"
#include "summaries/notification_router.h"

namespace velto {

std::string_view rawValue(AlertLevel level) {
  switch (level) {
    case AlertLevel::near:
      return "near";
    case AlertLevel::reached:
      return "reached";
    case AlertLevel::goalReached:
      return "goalReached";
  }
  return "near";
}

LimitMonitor::LimitMonitor(LimitMonitorEnvironment environment) : env_(std::move(environment)) {}

LimitMonitor::~LimitMonitor() {
  stop();
}

void LimitMonitor::start() {
  limitsChanged_ = env_.store.subscribe([this] { check(); });
  dataChanged_ = env_.common.notices.subscribe(notices::kSegmentsDidChange, [this] {
    weekCache_.clear();
    check();
  });
  dayChanged_ = env_.common.notices.subscribe(notices::kDayDidChange, [this] {
    weekCache_.clear();
    check();
  });
  timer_ = env_.common.scheduler.repeating(60, 10, [this] { check(); });
  check();
}

void LimitMonitor::stop() {
  timer_.cancel();
  limitsChanged_.reset();
  dataChanged_.reset();
  dayChanged_.reset();
  weekCache_.clear();
}

std::string LimitMonitor::memoryKey(const UsageLimit& limit, AlertLevel level) {
  std::string id = limit.id.toString();
  std::transform(id.begin(), id.end(), id.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return id + ":" + std::string(rawValue(level));
}

std::string LimitMonitor::periodStamp(const UsageLimit& limit) const {
  const Instant now = env_.common.clock.now();
  if (limit.span == UsageLimit::Span::day) return env_.common.calendar.dayKey(now);
  return "w:" + env_.common.calendar.dayKey(env_.common.calendar.weekInterval(now).start);
}

double LimitMonitor::spentInSpan(const UsageLimit& limit) {
  const Instant now = env_.common.clock.now();
  const Instant today = env_.common.calendar.startOfDay(now);
  const double todaySpent = env_.spent.spentSeconds(limit.subject, today, now);
  if (limit.span == UsageLimit::Span::day) return todaySpent;
  // The week's completed days change with the day (hence the key) and with edits of recorded
  // time (which clear the cache).
  const Instant weekStart = env_.common.calendar.weekInterval(now).start;
  const std::string key = limit.subject.key() + "@" + env_.common.calendar.dayKey(today);
  auto cached = weekCache_.find(key);
  if (cached == weekCache_.end()) {
    cached =
        weekCache_.emplace(key, env_.spent.spentSeconds(limit.subject, weekStart, today)).first;
  }
  return cached->second + todaySpent;
}

std::vector<LimitProgress> LimitMonitor::progress() {
  std::vector<LimitProgress> out;
  for (const UsageLimit& limit : env_.store.limits()) {
    if (!limit.isEnabled) continue;
    out.push_back(LimitProgress{limit, spentInSpan(limit), limit.secondsPerDay});
  }
  return out;
}

void LimitMonitor::check() {
  const bool limitsOn = env_.common.settings.limitAlertsEnabled();
  const bool goalsOn = env_.common.settings.goalAlertsEnabled();
  if (!limitsOn && !goalsOn) return;
  if (env_.isPaused && env_.isPaused()) return;
  const std::vector<LimitProgress> all = progress();
  if (all.empty()) return;
  const std::optional<double> ratio = env_.common.settings.limitWarnRatio();
  for (const LimitProgress& p : all) {
    if (p.limit.kind == UsageLimit::Kind::goal) {
      if (goalsOn && p.isOverOrMet()) alert(p, AlertLevel::goalReached);
      continue;
    }
    if (!limitsOn) continue;
    if (p.isOverOrMet()) {
      alert(p, AlertLevel::reached);
    } else if (ratio && p.amount > 0 && p.spent / p.amount >= *ratio) {
      alert(p, AlertLevel::near);
    }
  }
  // Forget the alerts of ended periods, so the next period can alert again.
  std::set<std::string> current;
  for (const UsageLimit& limit : env_.store.limits()) {
    if (limit.isEnabled) current.insert(periodStamp(limit));
  }
  std::map<std::string, std::string> memory = readMemory();
  if (std::erase_if(memory, [&](const auto& entry) { return current.count(entry.second) == 0; }) >
      0) {
    writeMemory(memory);
  }
}

std::map<std::string, std::string> LimitMonitor::readMemory() const {
  std::map<std::string, std::string> memory;
  const std::optional<nlohmann::json> stored = env_.common.settings.json(keys::kLimitAlerts);
  if (!stored || !stored->is_object()) return memory;
  for (const auto& [key, value] : stored->items()) {
    if (value.is_string()) memory.emplace(key, value.get<std::string>());
  }
  return memory;
}

void LimitMonitor::writeMemory(const std::map<std::string, std::string>& memory) {
  env_.common.settings.setJson(keys::kLimitAlerts, nlohmann::json(memory));
}

namespace {

struct AlertTexts {
  const char* title;
  const char* totalTitle;
  const char* body;
};

AlertTexts textsFor(AlertLevel level, UsageLimit::Span span) {
  const bool week = span == UsageLimit::Span::week;
  switch (level) {
    case AlertLevel::near:
      return week ? AlertTexts{"limits.notification.week.near.title %@",
                               "limits.notification.total.week.near.title",
                               "limits.notification.week.near.body %@ %@"}
                  : AlertTexts{"limits.notification.near.title %@",
                               "limits.notification.total.near.title",
                               "limits.notification.near.body %@ %@"};
    case AlertLevel::reached:
      return week ? AlertTexts{"limits.notification.week.reached.title %@",
                               "limits.notification.total.week.reached.title",
                               "limits.notification.week.reached.body %@ %@"}
                  : AlertTexts{"limits.notification.reached.title %@",
                               "limits.notification.total.reached.title",
                               "limits.notification.reached.body %@ %@"};
    case AlertLevel::goalReached:
      return week ? AlertTexts{"goals.notification.week.title %@",
                               "goals.notification.total.week.title",
                               "goals.notification.week.body %@ %@"}
                  : AlertTexts{"goals.notification.day.title %@",
                               "goals.notification.total.day.title",
                               "goals.notification.day.body %@ %@"};
  }
  return {};
}

}  // namespace

void LimitMonitor::alert(const LimitProgress& progress, AlertLevel level) {
  const std::string key = memoryKey(progress.limit, level);
  const std::string stamp = periodStamp(progress.limit);
  std::map<std::string, std::string> memory = readMemory();
  if (auto found = memory.find(key); found != memory.end() && found->second == stamp) return;
  memory[key] = stamp;
  writeMemory(memory);

  const std::string language = env_.common.currentLanguage();
  const DurationText& duration = DurationText::forLanguage(language);
  const AlertTexts texts = textsFor(level, progress.limit.span);
  const bool total = progress.limit.subject.kind == UsageLimit::Subject::Kind::total;
  NotificationRequest request;
  request.identifier = "velto.limit." + key;
  request.title = total ? i18n::text(language, texts.totalTitle)
                        : i18n::text(language, texts.title,
                                     displayName(progress.limit.subject, env_.catalog, language));
  request.body = i18n::text(language, texts.body, duration.format(progress.spent),
                            duration.format(progress.amount));
  request.categoryIdentifier =
      std::string(progress.limit.span == UsageLimit::Span::week ? NotificationRouter::kLimitWeek
                                                                : NotificationRouter::kLimit);
  postOncePerPeriod(env_.common.notifications,
                    {[this, key] {
                       std::map<std::string, std::string> again = readMemory();
                       if (again.erase(key) > 0) writeMemory(again);
                     },
                     [request] { return std::optional<NotificationRequest>(request); },
                     [level](Status posted) {
                       if (posted) {
                         log::info("Limit alert sent (%{public}s)", std::string(rawValue(level)));
                       }
                     }});
}

}  // namespace velto
