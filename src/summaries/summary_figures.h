// The recorded figures the daily summary and the weekly digest are written from. Reports
// provide them; tests script them. Intervals are [start, end); seconds throughout; time away
// from the computer is not counted.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/time.h"

namespace velto {

struct CategoryChange {
  std::string category;  // raw value or custom id
  double current = 0;    // seconds in the reported period
  double previous = 0;   // seconds in the period before
};

class SummaryFigures {
 public:
  virtual ~SummaryFigures() = default;
  virtual double totalSeconds(Instant start, Instant end) = 0;
  // The category with the most time; none when nothing was recorded.
  virtual std::optional<std::string> topCategory(Instant start, Instant end) = 0;
  // How many calendar days within the interval hold recorded time.
  virtual int daysWithRecords(Instant start, Instant end) = 0;
  // Every category of either period, largest absolute change first.
  virtual std::vector<CategoryChange> categoryChanges(Instant start, Instant end,
                                                      Instant previousStart,
                                                      Instant previousEnd) = 0;
};

}  // namespace velto
