#include "reports/day_summary.h"

#include <nlohmann/json.hpp>

namespace velto {

namespace {

BlockSketch sketchOf(const TimelineBlock& block) {
  return {block.bundleId, block.label, block.appName, unixMicros(block.startedAt),
          unixMicros(block.endedAt)};
}

Micros lengthOf(const BlockSketch& block) {
  return block.endUs - block.startUs;
}

nlohmann::json encodeBlock(const BlockSketch& block) {
  return nlohmann::json::array(
      {block.bundleId, block.label, block.appName, block.startUs, block.endUs});
}

BlockSketch decodeBlock(const nlohmann::json& json) {
  return {json.at(0).get<std::string>(), json.at(1).get<std::string>(),
          json.at(2).get<std::string>(), json.at(3).get<Micros>(), json.at(4).get<Micros>()};
}

}  // namespace

DaySummary DaySummary::of(std::string dayKey, std::span<const Segment> rows,
                          const Calendar& calendar) {
  DaySummary day;
  day.dayKey = std::move(dayKey);
  day.firstStartUs = unixMicros(rows.front().startedAt);
  day.lastEndUs = unixMicros(rows.front().endedAt);
  for (size_t i = 0; i < rows.size(); ++i) {
    day.trackedUs += UsageRollup::micros(rows[i]);
    day.lastEndUs = std::max(day.lastEndUs, unixMicros(rows[i].endedAt));
    spreadOverHours(rows[i], calendar, day.hoursUs);
    if (i > 0 && rows[i - 1].bundleId != rows[i].bundleId) ++day.switches;
  }
  day.firstBundle = rows.front().bundleId;
  day.lastBundle = rows.back().bundleId;
  const std::vector<TimelineBlock> blocks = UsageRollup::blocks(rows);
  day.blockCount = static_cast<std::int64_t>(blocks.size());
  day.firstBlock = sketchOf(blocks.front());
  day.lastBlock = sketchOf(blocks.back());
  for (size_t i = 1; i + 1 < blocks.size(); ++i) {
    BlockSketch inner = sketchOf(blocks[i]);
    if (!day.longestInner || lengthOf(inner) > lengthOf(*day.longestInner)) {
      day.longestInner = std::move(inner);
    }
  }
  return day;
}

std::string DaySummary::encode() const {
  nlohmann::json json = nlohmann::json::array(
      {dayKey, trackedUs, firstStartUs, lastEndUs, hoursUs, switches, firstBundle, lastBundle,
       encodeBlock(firstBlock), encodeBlock(lastBlock),
       longestInner ? encodeBlock(*longestInner) : nlohmann::json(), blockCount});
  return json.dump();
}

std::optional<DaySummary> DaySummary::decode(std::string_view text) {
  const nlohmann::json json = nlohmann::json::parse(text, nullptr, false);
  if (!json.is_array() || json.size() != 12) return std::nullopt;
  try {
    DaySummary day;
    day.dayKey = json[0].get<std::string>();
    day.trackedUs = json[1].get<Micros>();
    day.firstStartUs = json[2].get<Micros>();
    day.lastEndUs = json[3].get<Micros>();
    day.hoursUs = json[4].get<std::array<Micros, 24>>();
    day.switches = json[5].get<std::int64_t>();
    day.firstBundle = json[6].get<std::string>();
    day.lastBundle = json[7].get<std::string>();
    day.firstBlock = decodeBlock(json[8]);
    day.lastBlock = decodeBlock(json[9]);
    if (!json[10].is_null()) day.longestInner = decodeBlock(json[10]);
    day.blockCount = json[11].get<std::int64_t>();
    return day;
  } catch (const nlohmann::json::exception&) {
    return std::nullopt;  // a cache entry of another layout: recomputed by the caller
  }
}

std::vector<DaySummary> summarizeDays(std::span<const Segment> rows, const Calendar& calendar) {
  std::vector<DaySummary> days;
  size_t first = 0;
  while (first < rows.size()) {
    const Instant dayEnd = calendar.nextMidnight(rows[first].startedAt);
    size_t last = first + 1;
    while (last < rows.size() && rows[last].startedAt < dayEnd) ++last;
    days.push_back(DaySummary::of(calendar.dayKey(rows[first].startedAt),
                                  rows.subspan(first, last - first), calendar));
    first = last;
  }
  return days;
}

ActivityShape shapeOf(std::span<const DaySummary> days) {
  ActivityShape shape;
  if (days.empty()) return shape;
  Micros tracked = 0;
  Micros span = 0;
  Micros first = days.front().firstStartUs;
  Micros last = days.front().lastEndUs;
  std::optional<BlockSketch> open;  // the block still open at the end of the previous day
  std::optional<BlockSketch> longest;
  auto consider = [&longest](const BlockSketch& block) {
    if (!longest || lengthOf(block) > lengthOf(*longest)) longest = block;
  };
  for (size_t i = 0; i < days.size(); ++i) {
    const DaySummary& day = days[i];
    tracked += day.trackedUs;
    span += day.lastEndUs - day.firstStartUs;
    first = std::min(first, day.firstStartUs);
    last = std::max(last, day.lastEndUs);
    shape.switchCount += day.switches;
    if (i > 0 && days[i - 1].lastBundle != day.firstBundle) ++shape.switchCount;

    BlockSketch head = day.firstBlock;
    if (open && open->bundleId == head.bundleId && open->label == head.label &&
        head.startUs - open->endUs <= 60'000'000) {
      BlockSketch joined = *open;
      joined.endUs = std::max(open->endUs, head.endUs);
      head = std::move(joined);
    } else if (open) {
      consider(*open);
    }
    if (day.blockCount == 1) {
      open = std::move(head);
      continue;
    }
    consider(head);
    if (day.longestInner) consider(*day.longestInner);
    open = day.lastBlock;
  }
  if (open) consider(*open);
  shape.trackedSeconds = toSeconds(tracked);
  shape.spanSeconds = toSeconds(std::max(span, tracked));
  shape.firstActivity = Instant(Microseconds(first));
  shape.lastActivity = Instant(Microseconds(last));
  if (longest) {
    shape.longestFocusSeconds = toSeconds(lengthOf(*longest));
    shape.longestFocusName = longest->appName;
  }
  return shape;
}

}  // namespace velto
