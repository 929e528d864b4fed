#include "summaries/daily_summary.h"

#include <algorithm>
#include <cmath>

#include "base/log.h"
#include "base/notices.h"
#include "base/strings.h"
#include "categories/category_catalog.h"
#include "reports/duration_text.h"
#include "settings/settings_keys.h"
#include "summaries/locale_text.h"
#include "summaries/notification_router.h"

namespace velto {

namespace {

constexpr double kShortestDay = 1800;
constexpr double kNoticeableDifference = 900;
constexpr double kNoticeableShare = 0.1;

std::string categoryName(const std::optional<std::string>& raw, const CategoryCatalog* catalog,
                         std::string_view language) {
  const std::string id = raw.value_or("other");
  if (catalog == nullptr) return id;
  return catalog->effective(UsageCategory::fromRaw(id), language).name;
}

}  // namespace

DailySummaryComposer::DailySummaryComposer(SummaryFigures& figures, const Calendar& calendar,
                                           const CategoryCatalog* catalog)
    : figures_(figures), calendar_(calendar), catalog_(catalog) {}

std::optional<ComposedNotification> DailySummaryComposer::compose(
    Instant now, const std::vector<LimitProgress>& progress, std::string_view language) {
  const DateInterval today = calendar_.dayInterval(now);
  const double total = figures_.totalSeconds(today.start, today.end);
  if (total < kShortestDay) return std::nullopt;
  const DurationText& duration = DurationText::forLanguage(language);

  std::vector<std::string> sentences;
  sentences.push_back(
      i18n::text(language, "dailySummary.body.total %@ %@", duration.format(total),
                 categoryName(figures_.topCategory(today.start, today.end), catalog_, language)));

  // Against the same weekday of the four weeks before.
  double sum = 0;
  int kept = 0;
  for (int weeks = 1; weeks <= 4; ++weeks) {
    const DateInterval day = calendar_.dayInterval(calendar_.addDays(today.start, -7 * weeks));
    const double earlier = figures_.totalSeconds(day.start, day.end);
    if (earlier > 0) {
      sum += earlier;
      ++kept;
    }
  }
  if (kept >= 2) {
    const double usual = sum / kept;
    const double difference = std::fabs(total - usual);
    const std::string weekday = weekdayName(calendar_.weekday(now), language);
    if (difference >= kNoticeableDifference && difference >= kNoticeableShare * usual) {
      sentences.push_back(i18n::text(
          language, total > usual ? "dailySummary.body.more %@ %@" : "dailySummary.body.less %@ %@",
          duration.format(difference), weekday));
    } else {
      sentences.push_back(i18n::text(language, "dailySummary.body.same %@", weekday));
    }
  }

  std::vector<LimitProgress> goals;
  for (const LimitProgress& p : progress) {
    if (p.limit.kind == UsageLimit::Kind::goal && p.limit.span == UsageLimit::Span::day) {
      goals.push_back(p);
    }
  }
  if (!goals.empty()) {
    // Closest to done first.
    std::stable_sort(
        goals.begin(), goals.end(),
        [](const LimitProgress& a, const LimitProgress& b) { return a.fraction() > b.fraction(); });
    if (goals.size() > 3) goals.resize(3);
    std::vector<std::string> items;
    for (const LimitProgress& goal : goals) {
      const std::string name = displayName(goal.limit.subject, catalog_, language);
      items.push_back(goal.isOverOrMet()
                          ? i18n::text(language, "dailySummary.goal.met %@", name)
                          : i18n::text(language, "dailySummary.goal.progress %@ %@ %@", name,
                                       duration.format(goal.spent), duration.format(goal.amount)));
    }
    sentences.push_back(
        i18n::text(language, "dailySummary.body.goals %@", joinList(items, language)));
  }

  std::string body;
  for (const std::string& sentence : sentences) body += (body.empty() ? "" : " ") + sentence;
  return ComposedNotification{i18n::text(language, "dailySummary.title"), body};
}

DailySummaryScheduler::DailySummaryScheduler(SummaryEnvironment environment,
                                             DailySummaryComposer& composer,
                                             std::function<std::vector<LimitProgress>()> progress)
    : env_(std::move(environment)), composer_(composer), progress_(std::move(progress)) {}

void DailySummaryScheduler::start() {
  enabledChanged_ = env_.notices.subscribe(keys::kDailySummaryEnabled, [this] { fire(); });
  hourChanged_ = env_.notices.subscribe(keys::kDailySummaryHour, [this] { fire(); });
  dayChanged_ = env_.notices.subscribe(notices::kDayDidChange, [this] { fire(); });
  fire();
}

void DailySummaryScheduler::stop() {
  timer_.cancel();
  enabledChanged_.reset();
  hourChanged_.reset();
  dayChanged_.reset();
}

Instant DailySummaryScheduler::nextFireDate(Instant now) const {
  const int hour = env_.settings.dailySummaryHour();
  const Instant today = env_.calendar.atTimeOfDay(now, hour);
  if (today > now) return today;
  return env_.calendar.atTimeOfDay(env_.calendar.addDays(env_.calendar.startOfDay(now), 1), hour);
}

void DailySummaryScheduler::schedule() {
  timer_.cancel();
  if (!env_.settings.dailySummaryEnabled()) return;
  const Instant now = env_.clock.now();
  const Instant at = std::max(nextFireDate(now), addSeconds(now, 1));
  timer_ = env_.scheduler.at(at, 60, [this] { fire(); });
}

void DailySummaryScheduler::fire() {
  schedule();
  if (!env_.settings.dailySummaryEnabled()) return;
  const Instant now = env_.clock.now();
  if (now < env_.calendar.atTimeOfDay(now, env_.settings.dailySummaryHour())) return;
  const std::string day = env_.calendar.dayKey(now);
  if (env_.settings.dailySummaryDeliveredDay() == day) return;
  env_.settings.setDailySummaryDeliveredDay(day);

  postOncePerPeriod(env_.notifications,
                    {[this] { env_.settings.clearDailySummaryDeliveredDay(); },
                     [this, now]() -> std::optional<NotificationRequest> {
                       const std::optional<ComposedNotification> summary = composer_.compose(
                           now, progress_ ? progress_() : std::vector<LimitProgress>{},
                           env_.currentLanguage());
                       if (!summary) {
                         log::info("Daily summary has nothing worth saying - skipped");
                         return std::nullopt;
                       }
                       return NotificationRequest{"velto.daily", summary->title, summary->body,
                                                  std::string(NotificationRouter::kDaily), true};
                     },
                     [](Status posted) {
                       if (posted) {
                         log::info("Daily summary delivered");
                       } else {
                         log::error("Daily summary failed: %{public}s", posted.error());
                       }
                     }});
}

}  // namespace velto
