#include "reports/usage_rollup.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <unordered_map>

#include "base/strings.h"
#include "categories/category_catalog.h"
#include "categories/text_case.h"
#include "context/app_catalog.h"
#include "context/context_detail.h"
#include "context/meaningless_title.h"
#include "recording/off_computer.h"

namespace velto {

namespace {

constexpr Micros kBlockGapUs = 60'000'000;

struct ContextHash {
  size_t operator()(const StoredContext& c) const {
    size_t h = std::hash<std::string>{}(c.bundleId);
    auto mix = [&h](const std::optional<std::string>& text) {
      h = h * 1'000'003 ^ (text ? std::hash<std::string>{}(*text) + 1 : 0);
    };
    h = h * 1'000'003 ^ std::hash<std::string>{}(c.appName);
    mix(c.host);
    mix(c.windowTitle);
    mix(c.toolName);
    return h;
  }
};

template <typename Row, typename Key>
void sortLargestFirst(std::vector<Row>& rows, Key key) {
  std::sort(rows.begin(), rows.end(), [&](const Row& a, const Row& b) {
    if (a.seconds != b.seconds) return a.seconds > b.seconds;
    return key(a) < key(b);
  });
}

std::optional<ActivityDetail> detailOf(const StoredContext& context) {
  DetailSource source{context.bundleId, context.appName, std::nullopt, std::nullopt, std::nullopt};
  if (context.windowTitle) source.windowTitle = *context.windowTitle;
  if (context.host) source.host = *context.host;
  if (context.toolName) source.toolName = *context.toolName;
  return deriveDetail(source);
}

bool sameAppIgnoringCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return std::tolower(static_cast<unsigned char>(x)) ==
                  std::tolower(static_cast<unsigned char>(y));
         });
}

}  // namespace

Micros countedMicros(double seconds) {
  const double scaled = seconds * 1000000.0;
  if (!(scaled == scaled)) return 0;
  if (scaled >= 0) return static_cast<Micros>(scaled + 0.5);
  return -static_cast<Micros>(-scaled + 0.5);
}

CategoryDirectory CategoryDirectory::builtIn(std::string language) {
  CategoryDirectory directory;
  directory.focus = [](std::string_view raw) {
    const std::optional<BuiltInCategory> builtIn = builtInCategoryFromRaw(raw);
    return builtIn ? info(*builtIn).defaultFocus : FocusLabel::neutral;
  };
  directory.name = [language](std::string_view raw) {
    const std::optional<BuiltInCategory> builtIn = builtInCategoryFromRaw(raw);
    return std::string(
        i18n::lookup(language, info(builtIn.value_or(BuiltInCategory::other)).nameKey));
  };
  return directory;
}

CategoryDirectory CategoryDirectory::of(const CategoryCatalog& catalog, std::string language) {
  CategoryDirectory directory;
  directory.focus = [&catalog](std::string_view raw) {
    return catalog.focus(UsageCategory::fromRaw(raw));
  };
  directory.name = [&catalog, language](std::string_view raw) {
    return catalog.effective(UsageCategory::fromRaw(raw), language).name;
  };
  return directory;
}

bool UsageRollup::isOffMac(std::string_view bundleId) {
  return isOffComputer(bundleId);
}

std::vector<Segment> UsageRollup::atComputer(std::span<const Segment> rows) {
  std::vector<Segment> kept;
  kept.reserve(rows.size());
  for (const Segment& row : rows) {
    if (!isOffMac(row.bundleId)) kept.push_back(row);
  }
  return kept;
}

std::vector<Segment> UsageRollup::clip(std::span<const Segment> rows, const DateInterval& period) {
  std::vector<Segment> clipped;
  clipped.reserve(rows.size());
  for (const Segment& row : rows) {
    if (!(row.startedAt < period.end) || !(row.endedAt > period.start)) continue;
    Segment part = row;
    if (row.startedAt < period.start || row.endedAt > period.end) {
      part.startedAt = std::max(row.startedAt, period.start);
      part.endedAt = std::min(row.endedAt, period.end);
      const Micros inside = unixMicros(part.endedAt) - unixMicros(part.startedAt);
      part.seconds = toSeconds(std::min(countedMicros(row.seconds), inside));
    }
    clipped.push_back(std::move(part));
  }
  return clipped;
}

std::vector<ContextTotal> UsageRollup::titleless(std::span<const ContextTotal> contexts,
                                                 bool withDetail,
                                                 std::vector<std::uint32_t>* indexOf) {
  if (indexOf != nullptr) indexOf->clear();
  std::vector<ContextTotal> totals;
  std::unordered_map<std::string, size_t> index;
  std::string key;
  for (const ContextTotal& total : contexts) {
    std::optional<ActivityDetail> detail;
    if (withDetail) detail = detailOf(total);
    const StoredContext& c = total.context;
    key.assign(c.bundleId);
    key += '\x1f';
    key += c.appName;
    key += c.host ? "\x1fV" : "\x1fN";
    if (c.host) key += *c.host;
    key += detail ? "\x1fV" : "\x1fN";
    if (detail) {
      key += rawValue(detail->kind);
      key += '\x1f';
      key += detail->key;
      key += '\x1f';
      key += detail->label;
    }
    auto [at, added] = index.try_emplace(key, totals.size());
    if (added) {
      ContextTotal& made = totals.emplace_back();
      made.context = StoredContext{c.bundleId, c.appName, c.host, std::nullopt, std::nullopt};
      made.titleless = true;
      made.detail = std::move(detail);
    }
    totals[at->second].micros += total.micros;
    totals[at->second].count += total.count;
    if (indexOf != nullptr) indexOf->push_back(static_cast<std::uint32_t>(at->second));
  }
  return totals;
}

std::vector<ContextTotal> UsageRollup::contexts(std::span<const Segment> rows) {
  std::vector<ContextTotal> totals;
  std::unordered_map<StoredContext, size_t, ContextHash> index;
  for (const Segment& row : rows) {
    StoredContext key{row.bundleId, row.appName, row.host, row.windowTitle, row.toolName};
    auto [at, added] = index.try_emplace(std::move(key), totals.size());
    if (added) {
      totals.emplace_back();
      totals.back().context = at->first;
    }
    totals[at->second].micros += micros(row);
    totals[at->second].count += 1;
  }
  return totals;
}

std::vector<AppUsage> UsageRollup::byApp(std::span<const ContextTotal> contexts,
                                         const CategoryResolver& resolver) {
  struct Tally {
    Micros micros = 0;
    std::int64_t count = 0;
    std::map<std::string_view, Micros> names;
  };
  std::unordered_map<std::string_view, Tally> apps;
  for (const ContextTotal& total : contexts) {
    if (isOffMac(total.context.bundleId)) continue;
    Tally& tally = apps[total.context.bundleId];
    tally.micros += total.micros;
    tally.count += total.count;
    tally.names[total.context.appName] += total.micros;
  }
  std::vector<AppUsage> rows;
  rows.reserve(apps.size());
  for (const auto& [bundleId, tally] : apps) {
    AppUsage row;
    row.bundleId = std::string(bundleId);
    Micros best = -1;
    for (const auto& [name, micros] : tally.names) {
      if (micros > best) {
        best = micros;
        row.appName = std::string(name);
      }
    }
    row.seconds = toSeconds(tally.micros);
    row.count = tally.count;
    row.category = std::string(resolver.category(bundleId));
    rows.push_back(std::move(row));
  }
  sortLargestFirst(rows, [](const AppUsage& r) { return r.bundleId; });
  return rows;
}

namespace {

std::string_view categoryOf(const StoredContext& context, const CategoryResolver& resolver) {
  std::optional<std::string_view> host;
  std::optional<std::string_view> title;
  if (context.host) host = *context.host;
  if (context.windowTitle) title = *context.windowTitle;
  return resolver.category(context.bundleId, host, title);
}

}  // namespace

CategoryMicros UsageRollup::categoryMicros(std::span<const ContextTotal> contexts,
                                           const CategoryResolver& resolver) {
  std::unordered_map<std::string_view, Micros> micros;
  std::unordered_map<std::string, std::string_view> resolved;
  std::string key;
  for (const ContextTotal& total : contexts) {
    const StoredContext& context = total.context;
    if (isOffMac(context.bundleId)) continue;
    key.assign(context.bundleId);
    key += '\x1f';
    if (context.host) key += *context.host;
    key += context.host ? "\x1fH" : "\x1fN";
    if (context.windowTitle) key += *context.windowTitle;
    key += context.windowTitle ? "\x1fT" : "\x1fN";
    auto [at, added] = resolved.try_emplace(key);
    if (added) at->second = categoryOf(context, resolver);
    micros[at->second] += total.micros;
  }
  return micros;
}

std::vector<CategoryUsage> UsageRollup::byCategory(std::span<const ContextTotal> contexts,
                                                   const CategoryResolver& resolver,
                                                   const CategoryDirectory& directory) {
  return byCategory(categoryMicros(contexts, resolver), directory);
}

std::vector<CategoryUsage> UsageRollup::byCategory(const CategoryMicros& categories,
                                                   const CategoryDirectory& directory) {
  std::vector<CategoryUsage> rows;
  for (const auto& [raw, micros] : categories) {
    rows.push_back(
        {std::string(raw), directory.name(raw), toSeconds(micros), directory.focus(raw)});
  }
  sortLargestFirst(rows, [](const CategoryUsage& r) { return r.id; });
  return rows;
}

FocusSplit UsageRollup::focusSplit(std::span<const ContextTotal> contexts,
                                   const CategoryResolver& resolver,
                                   const CategoryDirectory& directory) {
  return focusSplit(categoryMicros(contexts, resolver), directory);
}

FocusSplit UsageRollup::focusSplit(const CategoryMicros& categories,
                                   const CategoryDirectory& directory) {
  Micros parts[3] = {0, 0, 0};
  for (const auto& [raw, micros] : categories) {
    parts[static_cast<int>(directory.focus(raw))] += micros;
  }
  return FocusSplit{toSeconds(parts[0]), toSeconds(parts[1]), toSeconds(parts[2])};
}

std::vector<SiteUsage> UsageRollup::bySite(std::span<const ContextTotal> contexts) {
  std::unordered_map<std::string, std::pair<Micros, std::int64_t>> sites;
  for (const ContextTotal& total : contexts) {
    if (!total.context.host || total.context.host->empty() || isOffMac(total.context.bundleId)) {
      continue;
    }
    auto& [micros, count] = sites[lowerCased(*total.context.host)];
    micros += total.micros;
    count += total.count;
  }
  std::vector<SiteUsage> rows;
  for (auto& [host, tally] : sites) rows.push_back({host, toSeconds(tally.first), tally.second});
  sortLargestFirst(rows, [](const SiteUsage& r) { return r.host; });
  return rows;
}

std::vector<OffMacUsage> UsageRollup::offMac(std::span<const ContextTotal> contexts) {
  std::map<std::string, OffMacUsage> kinds;
  std::map<std::string, Micros> micros;
  for (const ContextTotal& total : contexts) {
    if (!isOffMac(total.context.bundleId)) continue;
    OffMacUsage& row = kinds[total.context.bundleId];
    row.bundleId = total.context.bundleId;
    if (row.label.empty()) row.label = total.context.appName;
    micros[total.context.bundleId] += total.micros;
    row.count += total.count;
  }
  std::vector<OffMacUsage> rows;
  for (auto& [bundleId, row] : kinds) {
    row.seconds = toSeconds(micros[bundleId]);
    rows.push_back(std::move(row));
  }
  sortLargestFirst(rows, [](const OffMacUsage& r) { return r.bundleId; });
  return rows;
}

Micros UsageRollup::atComputerMicros(std::span<const ContextTotal> contexts) {
  Micros sum = 0;
  for (const ContextTotal& total : contexts) {
    if (!isOffMac(total.context.bundleId)) sum += total.micros;
  }
  return sum;
}

double UsageRollup::atComputerSeconds(std::span<const ContextTotal> contexts) {
  return toSeconds(atComputerMicros(contexts));
}

double UsageRollup::offMacSeconds(std::span<const ContextTotal> contexts) {
  Micros sum = 0;
  for (const ContextTotal& total : contexts) {
    if (isOffMac(total.context.bundleId)) sum += total.micros;
  }
  return toSeconds(sum);
}

namespace {

std::vector<DetailUsage> groupDetails(std::span<const ContextTotal> contexts,
                                      const std::function<bool(const ContextTotal&)>& keep) {
  std::unordered_map<std::string, std::pair<DetailUsage, Micros>> details;
  std::vector<std::string> order;
  for (const ContextTotal& total : contexts) {
    if (!keep(total)) continue;
    std::optional<ActivityDetail> detail = UsageRollup::detailOf(total);
    if (!detail) continue;
    auto [at, added] = details.try_emplace(detail->key);
    if (added) {
      at->second.first.key = detail->key;
      at->second.first.label = detail->label;
      at->second.first.kind = detail->kind;
    }
    at->second.second += total.micros;
    at->second.first.count += total.count;
  }
  std::vector<DetailUsage> rows;
  rows.reserve(details.size());
  for (auto& [key, entry] : details) {
    entry.first.seconds = toSeconds(entry.second);
    rows.push_back(std::move(entry.first));
  }
  sortLargestFirst(rows, [](const DetailUsage& r) { return r.key; });
  return rows;
}

}  // namespace

std::vector<DetailUsage> UsageRollup::detailRows(std::span<const ContextTotal> contexts,
                                                 std::string_view bundleId) {
  Micros appMicros = 0;
  for (const ContextTotal& total : contexts) {
    if (total.context.bundleId == bundleId) appMicros += total.micros;
  }
  std::vector<DetailUsage> rows = groupDetails(
      contexts, [&](const ContextTotal& total) { return total.context.bundleId == bundleId; });
  if (AppCatalog::family(bundleId).has_value()) return rows;
  // Bare window titles: shown only when a few of them carry a real share of the app's time.
  double topThree = 0;
  for (size_t i = 0; i < rows.size() && i < 3; ++i) topThree += rows[i].seconds;
  if (rows.size() < 2 || topThree < 0.25 * toSeconds(appMicros)) return {};
  return rows;
}

std::optional<ActivityDetail> UsageRollup::detailOf(const ContextTotal& total) {
  return total.titleless ? total.detail : velto::detailOf(total.context);
}

std::vector<DetailUsage> UsageRollup::allDetails(std::span<const ContextTotal> contexts) {
  return groupDetails(contexts,
                      [](const ContextTotal& total) { return !isOffMac(total.context.bundleId); });
}

std::string UsageRollup::blockLabel(const Segment& row) {
  DetailSource source{row.bundleId, row.appName, std::nullopt, std::nullopt, std::nullopt};
  if (row.windowTitle) source.windowTitle = *row.windowTitle;
  if (row.host) source.host = *row.host;
  if (row.toolName) source.toolName = *row.toolName;
  // A title that says nothing ("Untitled 3", "New Tab", "800×600") labels nothing: the block
  // is the application's, and joins its neighbours of the same application.
  if (std::optional<ActivityDetail> detail = deriveDetail(source);
      detail && !isMeaninglessWindowTitle(detail->label)) {
    return detail->label;
  }
  if (!row.windowTitle || isMeaninglessWindowTitle(*row.windowTitle)) return {};
  return *row.windowTitle;
}

bool UsageRollup::joinsBlock(const TimelineBlock& block, const Segment& row,
                             std::string_view label) {
  return row.bundleId == block.bundleId && label == block.label &&
         unixMicros(row.startedAt) - unixMicros(block.endedAt) <= kBlockGapUs;
}

std::vector<TimelineBlock> UsageRollup::blocks(std::span<const Segment> rows) {
  std::vector<TimelineBlock> blocks;
  // Labels are worked out once per distinct recorded context.
  std::unordered_map<StoredContext, std::string, ContextHash> labels;
  for (const Segment& row : rows) {
    auto [known, added] = labels.try_emplace(
        StoredContext{row.bundleId, row.appName, row.host, row.windowTitle, row.toolName});
    if (added) known->second = blockLabel(row);
    std::string label = known->second;
    if (!blocks.empty() && joinsBlock(blocks.back(), row, label)) {
      TimelineBlock& block = blocks.back();
      block.endedAt = std::max(block.endedAt, row.endedAt);
      block.segmentIDs.push_back(row.id);
      continue;
    }
    TimelineBlock block;
    block.startedAt = row.startedAt;
    block.endedAt = row.endedAt;
    block.bundleId = row.bundleId;
    block.appName = row.appName;
    block.label = std::move(label);
    block.segmentIDs.push_back(row.id);
    blocks.push_back(std::move(block));
  }
  return blocks;
}

std::optional<DateInterval> UsageRollup::timelineSpan(std::span<const Segment> rows,
                                                      std::optional<Instant> now) {
  if (rows.empty()) return std::nullopt;
  Instant first = rows.front().startedAt;
  Instant last = now.value_or(rows.front().endedAt);
  for (const Segment& row : rows) {
    first = std::min(first, row.startedAt);
    last = std::max(last, row.endedAt);
  }
  if (last - first < std::chrono::hours(1)) last = first + std::chrono::hours(1);
  return DateInterval{first, last};
}

double UsageRollup::currentRun(std::span<const Segment> rows, std::string_view bundleId,
                               Instant runningStart, Instant now) {
  if (bundleId.empty()) return 0;
  double run = std::max(0.0, secondsBetween(runningStart, now));
  Instant start = runningStart;
  for (auto row = rows.rbegin(); row != rows.rend(); ++row) {
    if (!sameAppIgnoringCase(row->bundleId, bundleId) || row->endedAt > start ||
        unixMicros(start) - unixMicros(row->endedAt) > kBlockGapUs) {
      break;
    }
    run += row->seconds;
    start = row->startedAt;
  }
  return run;
}

void spreadOverHours(const Segment& row, const Calendar& calendar, std::array<Micros, 24>& hours) {
  const Micros counted = countedMicros(row.seconds);
  const Micros duration = unixMicros(row.endedAt) - unixMicros(row.startedAt);
  if (duration <= 0) {
    hours[static_cast<size_t>(calendar.hourOfDay(row.startedAt))] += counted;
    return;
  }
  Micros given = 0;
  Instant cursor = row.startedAt;
  while (cursor < row.endedAt) {
    const Micros local = unixMicros(cursor) + Micros{calendar.utcOffsetSeconds(cursor)} * 1'000'000;
    const Micros intoHour = ((local % 3'600'000'000) + 3'600'000'000) % 3'600'000'000;
    const Instant boundary = cursor + Microseconds(3'600'000'000 - intoHour);
    const Instant pieceEnd = std::min(boundary, row.endedAt);
    const size_t hour = static_cast<size_t>(calendar.hourOfDay(cursor));
    Micros piece;
    if (pieceEnd == row.endedAt) {
      piece = counted - given;
    } else {
      const Micros overlap = unixMicros(pieceEnd) - unixMicros(row.startedAt);
      piece = static_cast<Micros>(static_cast<__int128>(counted) * overlap / duration) - given;
    }
    hours[hour] += piece;
    given += piece;
    cursor = pieceEnd;
  }
}

std::array<double, 24> UsageRollup::hourly(std::span<const Segment> rows,
                                           const Calendar& calendar) {
  std::array<Micros, 24> micros{};
  for (const Segment& row : rows) spreadOverHours(row, calendar, micros);
  std::array<double, 24> seconds{};
  for (size_t h = 0; h < 24; ++h) seconds[h] = toSeconds(micros[h]);
  return seconds;
}

ActivityShape UsageRollup::shape(std::span<const Segment> rows, const Calendar& calendar) {
  ActivityShape shape;
  if (rows.empty()) return shape;
  Micros tracked = 0;
  Micros span = 0;
  Instant first = rows.front().startedAt;
  Instant last = rows.front().endedAt;
  // Rows come in start order, so the rows of one local day are neighbours.
  std::optional<Instant> dayEnd;
  Instant dayFirst = first;
  Instant dayLast = last;
  for (size_t i = 0; i < rows.size(); ++i) {
    const Segment& row = rows[i];
    tracked += micros(row);
    first = std::min(first, row.startedAt);
    last = std::max(last, row.endedAt);
    if (!dayEnd || row.startedAt >= *dayEnd) {
      if (dayEnd) span += unixMicros(dayLast) - unixMicros(dayFirst);
      dayEnd = calendar.nextMidnight(row.startedAt);
      dayFirst = row.startedAt;
      dayLast = row.endedAt;
    } else {
      dayLast = std::max(dayLast, row.endedAt);
    }
    if (i > 0 && rows[i - 1].bundleId != row.bundleId) ++shape.switchCount;
  }
  span += unixMicros(dayLast) - unixMicros(dayFirst);
  shape.trackedSeconds = toSeconds(tracked);
  shape.spanSeconds = toSeconds(std::max(span, tracked));
  shape.firstActivity = first;
  shape.lastActivity = last;
  Micros longest = -1;
  for (const TimelineBlock& block : blocks(rows)) {
    const Micros length = unixMicros(block.endedAt) - unixMicros(block.startedAt);
    if (length > longest) {
      longest = length;
      shape.longestFocusName = block.appName;
    }
  }
  shape.longestFocusSeconds = toSeconds(longest);
  return shape;
}

}  // namespace velto
