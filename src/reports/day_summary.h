// What the shape, hour and day figures of a period need from each local day, so that a long
// period joins a few hundred day summaries instead of reading every row.
//
// A summary covers the rows at the computer that start in one local day (in start order). Blocks
// are kept at the day's edges (the first and last block) with the longest one between them, so
// that joining summaries in day order gives exactly the switches and the longest stretch that
// the rows give: blocks join across midnight by the 60-s rule as they do within a day.
//
// Times are microseconds since the Unix epoch; hours are the local clock hours of the calendar
// the summary was made with.
#pragma once

#include <array>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "reports/usage_rollup.h"

namespace velto {

struct BlockSketch {
  std::string bundleId;
  std::string label;
  std::string appName;
  Micros startUs = 0;
  Micros endUs = 0;

  bool operator==(const BlockSketch&) const = default;
};

struct DaySummary {
  std::string dayKey;  // local day in the summary's calendar
  Micros trackedUs = 0;
  Micros firstStartUs = 0;
  Micros lastEndUs = 0;
  std::array<Micros, 24> hoursUs{};
  std::int64_t switches = 0;
  std::string firstBundle;
  std::string lastBundle;
  BlockSketch firstBlock;
  BlockSketch lastBlock;
  std::optional<BlockSketch> longestInner;  // the longest block strictly between the two
  std::int64_t blockCount = 0;

  bool operator==(const DaySummary&) const = default;

  // `rows`: at the computer, non-empty, in start order, all starting in local day `dayKey`.
  static DaySummary of(std::string dayKey, std::span<const Segment> rows, const Calendar& calendar);
  std::string encode() const;
  static std::optional<DaySummary> decode(std::string_view text);
};

// Rows at the computer in start order, cut into their local days.
std::vector<DaySummary> summarizeDays(std::span<const Segment> rows, const Calendar& calendar);

// The shape of a period from its day summaries in day order.
ActivityShape shapeOf(std::span<const DaySummary> days);

}  // namespace velto
