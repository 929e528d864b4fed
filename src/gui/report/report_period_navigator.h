// What the report's period picker stands on: a day, week, month or year around an anchor day, a
// range preset, or a custom range of local days, and the steps previous, next and today.
//
// Plain C++ over the core's periods: every day rule goes through the Calendar given, so steps
// across daylight-saving changes and month ends land on whole local days. `now` is passed to
// each question instead of read from a clock.
// Thread: main thread.
#pragma once

#include <optional>

#include "base/calendar.h"
#include "reports/report_period.h"

namespace velto::gui {

class ReportPeriodNavigator {
 public:
  enum class Mode { day, week, month, year, preset, custom };

  // Starts on today's day.
  ReportPeriodNavigator(const Calendar& calendar, Instant now);

  Mode mode() const { return mode_; }
  // The kind of the period for day to year; PeriodKind::custom for presets and ranges.
  PeriodKind kind() const;
  std::optional<RangePreset> preset() const { return preset_; }
  // Noon of the anchor day (day to year modes).
  Instant anchor() const { return anchor_; }

  void show(PeriodKind kind, Instant anchor);
  void showPreset(RangePreset preset);
  // The local days from the one containing `first` to the one containing `last` (either order).
  void showRange(Instant first, Instant last);

  // One period earlier or later: a day, week, month or year; a preset or range moves by its own
  // number of days and becomes a range.
  void previous(Instant now);
  void next(Instant now);
  // Back to the period of the same kind that contains now (a range keeps its length, ending today).
  void today(Instant now);
  // False when the next period would start after now.
  bool canGoNext(Instant now) const;

  ReportPeriod period(Instant now) const;
  // First and last local day of a range (noon); meaningful in custom mode.
  DateInterval rangeDays() const { return {rangeFirst_, rangeLast_}; }

 private:
  void step(int direction, Instant now);
  Instant noon(Instant at) const;
  Instant shiftedMonths(Instant at, int months) const;

  const Calendar& calendar_;
  Mode mode_ = Mode::day;
  Instant anchor_;
  std::optional<RangePreset> preset_;
  Instant rangeFirst_;
  Instant rangeLast_;
};

}  // namespace velto::gui
