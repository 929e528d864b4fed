#include "summaries/weekly_digest.h"

#include <unicode/locid.h>
#include <unicode/numfmt.h>

#include <cmath>
#include <memory>

#include "base/log.h"
#include "base/notices.h"
#include "base/strings.h"
#include "categories/category_catalog.h"
#include "reports/duration_text.h"
#include "settings/settings_keys.h"
#include "summaries/notification_router.h"

namespace velto {

namespace {

constexpr int kFewestDays = 3;
constexpr double kMoverShare = 0.1;
constexpr double kMoverSeconds = 900;

std::string categoryName(const std::string& raw, const CategoryCatalog* catalog,
                         std::string_view language) {
  if (catalog == nullptr) return raw;
  return catalog->effective(UsageCategory::fromRaw(raw), language).name;
}

// A whole percentage in the language's form ("38%", "%38", "38 %").
std::string percent(double share, std::string_view language) {
  const long whole = std::lround(share * 100);
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<icu::NumberFormat> format(
      icu::NumberFormat::createPercentInstance(icu::Locale(std::string(language).c_str()), status));
  if (U_FAILURE(status) || !format) return std::to_string(whole) + "%";
  icu::UnicodeString text;
  format->format(static_cast<double>(whole) / 100.0, text);
  std::string out;
  return text.toUTF8String(out);
}

std::string direction(double current, double previous, std::string_view language) {
  return i18n::text(language,
                    current >= previous ? "digest.direction.up" : "digest.direction.down");
}

}  // namespace

WeeklyDigestComposer::WeeklyDigestComposer(SummaryFigures& figures, const Calendar& calendar,
                                           const CategoryCatalog* catalog)
    : figures_(figures), calendar_(calendar), catalog_(catalog) {}

DateInterval WeeklyDigestComposer::reportedWeek(Instant occurrence) const {
  const Instant thisWeek = calendar_.weekInterval(occurrence).start;
  return calendar_.weekInterval(calendar_.addDays(thisWeek, -7));
}

std::optional<ComposedNotification> WeeklyDigestComposer::compose(Instant occurrence, int variant,
                                                                  std::string_view language) {
  const DateInterval week = reportedWeek(occurrence);
  const DateInterval before = calendar_.weekInterval(calendar_.addDays(week.start, -7));
  const double total = figures_.totalSeconds(week.start, week.end);
  if (total <= 0 || figures_.daysWithRecords(week.start, week.end) < kFewestDays) {
    return std::nullopt;
  }
  const DurationText& duration = DurationText::forLanguage(language);
  const std::string top = categoryName(figures_.topCategory(week.start, week.end).value_or("other"),
                                       catalog_, language);
  const double previous = figures_.totalSeconds(before.start, before.end);

  std::string body;
  if (previous <= 0 || figures_.daysWithRecords(before.start, before.end) < kFewestDays) {
    body = i18n::text(language, "digest.body.first %@ %@", duration.format(total), top);
  } else {
    std::optional<CategoryChange> mover;
    for (const CategoryChange& change :
         figures_.categoryChanges(week.start, week.end, before.start, before.end)) {
      const double delta = std::fabs(change.current - change.previous);
      if (change.previous > 0 && delta / change.previous >= kMoverShare && delta >= kMoverSeconds) {
        mover = change;
        break;
      }
    }
    if (!mover) {
      body = i18n::text(language, "digest.body.steady %@ %@", duration.format(total), top);
    } else {
      const std::string overall = direction(total, previous, language) + " " +
                                  percent(std::fabs(total - previous) / previous, language);
      body = i18n::text(
          language, "digest.body.mover %@ %@ %@ %@ %@",
          categoryName(mover->category, catalog_, language),
          direction(mover->current, mover->previous, language),
          percent(std::fabs(mover->current - mover->previous) / mover->previous, language),
          duration.format(mover->current), overall);
    }
  }
  static constexpr const char* kTitles[] = {"digest.title.1", "digest.title.2", "digest.title.3"};
  const int index = ((variant % 3) + 3) % 3;
  return ComposedNotification{i18n::text(language, kTitles[index]), body};
}

WeeklyDigestScheduler::WeeklyDigestScheduler(SummaryEnvironment environment,
                                             WeeklyDigestComposer& composer)
    : env_(std::move(environment)), composer_(composer) {}

void WeeklyDigestScheduler::start() {
  for (std::string_view key :
       {keys::kWeeklyDigestEnabled, keys::kDigestWeekday, keys::kDigestHour}) {
    subscriptions_.push_back(env_.notices.subscribe(key, [this] { fire(); }));
  }
  subscriptions_.push_back(env_.notices.subscribe(notices::kDayDidChange, [this] { fire(); }));
  fire();
}

void WeeklyDigestScheduler::stop() {
  timer_.cancel();
  subscriptions_.clear();
}

namespace {

// The occurrence on the local day of `day`, when that day is the configured weekday.
std::optional<Instant> occurrenceOn(const Calendar& calendar, Instant day, Weekday weekday,
                                    int hour) {
  if (calendar.weekday(day) != weekday) return std::nullopt;
  return calendar.atTimeOfDay(day, hour);
}

}  // namespace

std::optional<Instant> WeeklyDigestScheduler::nextOccurrence(Instant now) const {
  const Instant today = env_.calendar.startOfDay(now);
  for (int days = 0; days <= 7; ++days) {
    const std::optional<Instant> at =
        occurrenceOn(env_.calendar, env_.calendar.addDays(today, days),
                     env_.settings.digestWeekday(), env_.settings.digestHour());
    if (at && *at > now) return at;
  }
  return std::nullopt;
}

std::optional<Instant> WeeklyDigestScheduler::previousOccurrence(Instant now) const {
  const Instant today = env_.calendar.startOfDay(now);
  for (int days = 0; days <= 7; ++days) {
    const std::optional<Instant> at =
        occurrenceOn(env_.calendar, env_.calendar.addDays(today, -days),
                     env_.settings.digestWeekday(), env_.settings.digestHour());
    if (at && *at <= now) return at;
  }
  return std::nullopt;
}

void WeeklyDigestScheduler::schedule() {
  timer_.cancel();
  if (!env_.settings.weeklyDigestEnabled()) return;
  if (const std::optional<Instant> next = nextOccurrence(env_.clock.now())) {
    timer_ = env_.scheduler.at(*next, 60, [this] { fire(); });
  }
}

void WeeklyDigestScheduler::fire() {
  schedule();
  if (!env_.settings.weeklyDigestEnabled()) return;
  const Instant now = env_.clock.now();
  const std::optional<Instant> occurrence = previousOccurrence(now);
  if (!occurrence || secondsBetween(*occurrence, now) > kLatestDelivery) return;
  const std::string week = env_.calendar.dayKey(composer_.reportedWeek(*occurrence).start);
  if (env_.settings.digestDeliveredWeek() == week) return;
  env_.settings.setDigestDeliveredWeek(week);

  const int variant = env_.settings.digestVariant();
  postOncePerPeriod(env_.notifications,
                    {[this] { env_.settings.clearDigestDeliveredWeek(); },
                     [this, occurrence, variant]() -> std::optional<NotificationRequest> {
                       const std::optional<ComposedNotification> digest =
                           composer_.compose(*occurrence, variant, env_.currentLanguage());
                       if (!digest) {
                         log::info("Weekly digest has nothing worth saying - skipped");
                         return std::nullopt;
                       }
                       return NotificationRequest{"velto.digest.weekly",
                                                  digest->title,
                                                  digest->body,
                                                  std::string(NotificationRouter::kDigest),
                                                  true,
                                                  composer_.reportedWeek(*occurrence).start};
                     },
                     [this, variant](Status posted) {
                       if (posted) {
                         env_.settings.setDigestVariant(variant + 1);
                         log::info("Weekly digest delivered");
                       } else {
                         log::error("Weekly digest failed: %{public}s", posted.error());
                       }
                     }});
}

}  // namespace velto
