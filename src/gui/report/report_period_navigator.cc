#include "gui/report/report_period_navigator.h"

#include <utility>

namespace velto::gui {

namespace {

ReportPeriodNavigator::Mode modeOf(PeriodKind kind) {
  switch (kind) {
    case PeriodKind::day:
      return ReportPeriodNavigator::Mode::day;
    case PeriodKind::week:
      return ReportPeriodNavigator::Mode::week;
    case PeriodKind::month:
      return ReportPeriodNavigator::Mode::month;
    case PeriodKind::year:
      return ReportPeriodNavigator::Mode::year;
    case PeriodKind::custom:
      break;
  }
  return ReportPeriodNavigator::Mode::custom;
}

}  // namespace

ReportPeriodNavigator::ReportPeriodNavigator(const Calendar& calendar, Instant now)
    : calendar_(calendar), anchor_(noon(now)), rangeFirst_(anchor_), rangeLast_(anchor_) {}

PeriodKind ReportPeriodNavigator::kind() const {
  switch (mode_) {
    case Mode::day:
      return PeriodKind::day;
    case Mode::week:
      return PeriodKind::week;
    case Mode::month:
      return PeriodKind::month;
    case Mode::year:
      return PeriodKind::year;
    case Mode::preset:
    case Mode::custom:
      break;
  }
  return PeriodKind::custom;
}

Instant ReportPeriodNavigator::noon(Instant at) const {
  return calendar_.atTimeOfDay(at, 12);
}

Instant ReportPeriodNavigator::shiftedMonths(Instant at, int months) const {
  const LocalDateTime local = calendar_.local(at);
  int month = local.month - 1 + months;
  const int year = local.year + (month >= 0 ? month / 12 : (month - 11) / 12);
  month = ((month % 12) + 12) % 12;
  // The first of the month always exists, so a 31st never spills into the month after.
  return calendar_.instant({year, month + 1, 1, 12, 0, 0});
}

void ReportPeriodNavigator::show(PeriodKind kind, Instant anchor) {
  if (kind == PeriodKind::custom) {
    showRange(anchor, anchor);
    return;
  }
  mode_ = modeOf(kind);
  anchor_ = noon(anchor);
  preset_.reset();
}

void ReportPeriodNavigator::showPreset(RangePreset preset) {
  mode_ = Mode::preset;
  preset_ = preset;
}

void ReportPeriodNavigator::showRange(Instant first, Instant last) {
  if (last < first) std::swap(first, last);
  mode_ = Mode::custom;
  preset_.reset();
  rangeFirst_ = noon(first);
  rangeLast_ = noon(last);
}

void ReportPeriodNavigator::previous(Instant now) {
  step(-1, now);
}

void ReportPeriodNavigator::next(Instant now) {
  if (canGoNext(now)) step(1, now);
}

void ReportPeriodNavigator::step(int direction, Instant now) {
  switch (mode_) {
    case Mode::day:
      anchor_ = calendar_.addDays(anchor_, direction);
      return;
    case Mode::week:
      anchor_ = calendar_.addDays(anchor_, 7 * direction);
      return;
    case Mode::month:
      anchor_ = shiftedMonths(anchor_, direction);
      return;
    case Mode::year:
      anchor_ = shiftedMonths(anchor_, 12 * direction);
      return;
    case Mode::preset:
    case Mode::custom: {
      const DateInterval days = period(now).interval;
      int length = 0;
      for (Instant day = days.start; day < days.end; day = calendar_.nextMidnight(day)) ++length;
      const Instant first = calendar_.addDays(noon(days.start), length * direction);
      showRange(first, calendar_.addDays(first, length - 1));
      return;
    }
  }
}

void ReportPeriodNavigator::today(Instant now) {
  switch (mode_) {
    case Mode::preset:
      return;
    case Mode::custom: {
      const DateInterval days = period(now).interval;
      int length = 0;
      for (Instant day = days.start; day < days.end; day = calendar_.nextMidnight(day)) ++length;
      showRange(calendar_.addDays(noon(now), 1 - length), now);
      return;
    }
    default:
      anchor_ = noon(now);
  }
}

bool ReportPeriodNavigator::canGoNext(Instant now) const {
  return period(now).interval.end <= now;
}

ReportPeriod ReportPeriodNavigator::period(Instant now) const {
  switch (mode_) {
    case Mode::preset:
      return presetPeriod(*preset_, calendar_, now);
    case Mode::custom:
      return customPeriod(rangeFirst_, rangeLast_, calendar_, now);
    default:
      return periodContaining(kind(), anchor_, calendar_, now);
  }
}

}  // namespace velto::gui
