#include "reports/report_period.h"

#include <algorithm>
#include <cmath>

#include "base/strings.h"

namespace velto {

namespace {

constexpr std::string_view kKindRaw[] = {"day", "week", "month", "year", "custom"};
constexpr std::string_view kPresetRaw[] = {"last7", "last30", "last90", "last12Months"};

Instant monthStart(Instant at, const Calendar& calendar, int monthsLater = 0) {
  const LocalDateTime local = calendar.local(at);
  int month = local.month - 1 + monthsLater;
  const int year = local.year + (month >= 0 ? month / 12 : (month - 11) / 12);
  month = ((month % 12) + 12) % 12;
  return calendar.startOfDay(calendar.instant({year, month + 1, 1, 12, 0, 0}));
}

Instant yearStart(Instant at, const Calendar& calendar, int yearsLater = 0) {
  const LocalDateTime local = calendar.local(at);
  return calendar.startOfDay(calendar.instant({local.year + yearsLater, 1, 1, 12, 0, 0}));
}

int dayCount(const DateInterval& interval, const Calendar& calendar) {
  int days = 0;
  for (Instant day = interval.start; day < interval.end; day = calendar.nextMidnight(day)) ++days;
  return days;
}

bool contains(const DateInterval& interval, Instant at) {
  return interval.start <= at && at < interval.end;
}

std::string dayText(Instant at, const Calendar& calendar) {
  return calendar.dayKey(at);
}

}  // namespace

std::string_view rawValue(PeriodKind kind) {
  return kKindRaw[static_cast<int>(kind)];
}

std::optional<PeriodKind> periodKindFromRaw(std::string_view raw) {
  for (int i = 0; i < 5; ++i) {
    if (kKindRaw[i] == raw) return static_cast<PeriodKind>(i);
  }
  return std::nullopt;
}

std::string_view rawValue(RangePreset preset) {
  return kPresetRaw[static_cast<int>(preset)];
}

std::optional<RangePreset> rangePresetFromRaw(std::string_view raw) {
  for (int i = 0; i < 4; ++i) {
    if (kPresetRaw[i] == raw) return static_cast<RangePreset>(i);
  }
  return std::nullopt;
}

bool ReportPeriod::monthBuckets() const {
  if (kind == PeriodKind::year) return true;
  return kind == PeriodKind::custom && interval.end - interval.start > std::chrono::hours(24 * 92);
}

ReportPeriod periodContaining(PeriodKind kind, Instant anchor, const Calendar& calendar,
                              Instant now) {
  ReportPeriod period;
  period.kind = kind;
  switch (kind) {
    case PeriodKind::day:
    case PeriodKind::custom:
      period.interval = calendar.dayInterval(anchor);
      break;
    case PeriodKind::week:
      period.interval = calendar.weekInterval(anchor);
      break;
    case PeriodKind::month:
      period.interval = {monthStart(anchor, calendar), monthStart(anchor, calendar, 1)};
      break;
    case PeriodKind::year:
      period.interval = {yearStart(anchor, calendar), yearStart(anchor, calendar, 1)};
      break;
  }
  period.inProgress = contains(period.interval, now);
  return period;
}

ReportPeriod customPeriod(Instant first, Instant last, const Calendar& calendar, Instant now) {
  if (last < first) std::swap(first, last);
  ReportPeriod period;
  period.kind = PeriodKind::custom;
  period.interval = {calendar.startOfDay(first), calendar.nextMidnight(last)};
  period.inProgress = contains(period.interval, now);
  return period;
}

ReportPeriod presetPeriod(RangePreset preset, const Calendar& calendar, Instant now) {
  switch (preset) {
    case RangePreset::last7:
      return customPeriod(calendar.addDays(now, -6), now, calendar, now);
    case RangePreset::last30:
      return customPeriod(calendar.addDays(now, -29), now, calendar, now);
    case RangePreset::last90:
      return customPeriod(calendar.addDays(now, -89), now, calendar, now);
    case RangePreset::last12Months: {
      const LocalDateTime local = calendar.local(now);
      const int day = local.month == 2 ? std::min(local.day, 28) : local.day;
      const Instant yearAgo = calendar.instant({local.year - 1, local.month, day, 12, 0, 0});
      return customPeriod(calendar.addDays(yearAgo, 1), now, calendar, now);
    }
  }
  return customPeriod(now, now, calendar, now);
}

std::string rangeLabel(const DateInterval& interval, const Calendar& calendar) {
  const Instant lastDay = calendar.startOfDay(interval.end - std::chrono::hours(1));
  const std::string first = dayText(interval.start, calendar);
  const std::string last = dayText(lastDay, calendar);
  return first == last ? first : first + " \u2013 " + last;
}

std::string periodLabel(const ReportPeriod& period, const Calendar& calendar,
                        std::string_view language) {
  if (period.inProgress) {
    switch (period.kind) {
      case PeriodKind::day:
        return i18n::text(language, "report.period.today");
      case PeriodKind::week:
        return i18n::text(language, "report.period.thisWeek");
      case PeriodKind::month:
        return i18n::text(language, "report.period.thisMonth");
      case PeriodKind::year:
        return i18n::text(language, "report.period.thisYear");
      case PeriodKind::custom:
        break;
    }
  }
  const std::string first = dayText(period.interval.start, calendar);
  switch (period.kind) {
    case PeriodKind::day:
      return first;
    case PeriodKind::month:
      return first.substr(0, 7);
    case PeriodKind::year:
      return first.substr(0, 4);
    case PeriodKind::week:
    case PeriodKind::custom:
      break;
  }
  return rangeLabel(period.interval, calendar);
}

DateInterval countedInterval(const ReportPeriod& period, Instant now) {
  if (!period.inProgress) return period.interval;
  return {period.interval.start, std::max(period.interval.start, now)};
}

ComparisonPeriod comparisonFor(const ReportPeriod& period, const Calendar& calendar, Instant now) {
  const Instant start = period.interval.start;
  const Instant dayBefore = calendar.addDays(start, -1);
  ComparisonPeriod comparison;
  Instant earlierStart = start;
  switch (period.kind) {
    case PeriodKind::day:
      earlierStart = calendar.startOfDay(dayBefore);
      comparison.nameKey = period.inProgress ? "trends.comparison.yesterdayByThisTime"
                                             : "trends.comparison.dayBefore";
      break;
    case PeriodKind::week:
      earlierStart = calendar.startOfDay(calendar.addDays(start, -7));
      comparison.nameKey = period.inProgress ? "trends.comparison.lastWeekByThisPoint"
                                             : "trends.comparison.weekBefore";
      break;
    case PeriodKind::month:
      earlierStart = monthStart(dayBefore, calendar);
      comparison.nameKey = period.inProgress ? "trends.comparison.lastMonthByThisPoint"
                                             : "trends.comparison.monthBefore";
      break;
    case PeriodKind::year:
      earlierStart = yearStart(dayBefore, calendar);
      comparison.nameKey = period.inProgress ? "trends.comparison.lastYearByThisPoint"
                                             : "trends.comparison.yearBefore";
      break;
    case PeriodKind::custom:
      earlierStart =
          calendar.startOfDay(calendar.addDays(start, -dayCount(period.interval, calendar)));
      comparison.nameKey = "trends.comparison.sameDaysBefore";
      comparison.interval = {earlierStart, start};
      return comparison;
  }
  comparison.interval = {earlierStart, start};
  if (period.inProgress) {
    // The same time elapsed from the start, never past the earlier period's end.
    comparison.interval.end = std::min(start, earlierStart + (now - start));
  }
  return comparison;
}

bool isMover(double current, double previous) {
  const double change = std::fabs(current - previous);
  if (change < 300) return false;
  if (previous > 0) return change >= 0.05 * previous;
  return current > 0;
}

std::vector<Mover> movers(const std::vector<TrendRow>& rows) {
  std::vector<Mover> found;
  for (const TrendRow& row : rows) {
    if (!isMover(row.current, row.previous)) continue;
    Mover mover{row, std::nullopt};
    if (row.previous > 0) {
      mover.percent = std::llround((row.current - row.previous) / row.previous * 100);
    }
    found.push_back(std::move(mover));
  }
  std::stable_sort(found.begin(), found.end(), [](const Mover& a, const Mover& b) {
    return std::fabs(a.row.current - a.row.previous) > std::fabs(b.row.current - b.row.previous);
  });
  return found;
}

std::optional<std::string> trendsText(bool anyMover, double previousTotalSeconds,
                                      std::string_view language) {
  if (previousTotalSeconds <= 0) return i18n::text(language, "main.trends.noBaseline");
  if (!anyMover) return i18n::text(language, "main.trends.steady");
  return std::nullopt;
}

std::optional<long long> focusMixPoints(const FocusSplit& current, const FocusSplit& previous) {
  if (previous.total() <= 0) return std::nullopt;
  return std::llround((current.focusShare() - previous.focusShare()) * 100);
}

std::string focusMixText(long long points, std::string_view language) {
  if (points == 0) return i18n::text(language, "main.overview.focusMix.same");
  if (points < 0) {
    return i18n::text(language, "main.overview.focusMix.less %lld", std::to_string(-points));
  }
  return i18n::text(language, "main.overview.focusMix.more %lld", std::to_string(points));
}

}  // namespace velto
