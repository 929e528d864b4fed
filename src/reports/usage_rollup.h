// The row-level figures of reports: pure functions over plain lists of stored rows (sorted by
// start) or over per-context totals, shared by the report, summaries, limits and export.
//
// Time is added up as whole microseconds (`Micros`, each row's `seconds` rounded to the
// microsecond) so totals do not depend on the order of addition and equal the store's
// aggregates exactly; figures are handed out as double seconds. Hours and days are those of the
// Calendar passed in.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/calendar.h"
#include "categories/category_resolver.h"
#include "categories/focus_label.h"
#include "recording/activity_detail.h"
#include "store/segment.h"
#include "store/usage_aggregates.h"

namespace velto {

class CategoryCatalog;

using Micros = std::int64_t;

// `seconds` as whole microseconds, rounded half away from zero as SQLite's round() does.
Micros countedMicros(double seconds);
inline double toSeconds(Micros micros) {
  return static_cast<double>(micros) / 1e6;
}
inline Micros unixMicros(Instant at) {
  return at.time_since_epoch().count();
}

struct HourBucket {
  int hour = 0;  // 0-23, local clock
  double seconds = 0;
};

// The shape of a day or period, over time at the computer.
struct ActivityShape {
  double trackedSeconds = 0;
  double spanSeconds = 0;
  std::int64_t switchCount = 0;
  double longestFocusSeconds = 0;
  std::string longestFocusName;
  std::optional<Instant> firstActivity;
  std::optional<Instant> lastActivity;

  bool operator==(const ActivityShape&) const = default;
};

// Time at the computer per category id (see UsageRollup::categoryMicros).
using CategoryMicros = std::unordered_map<std::string_view, Micros>;

// One bar of the timeline strip: rows of one application and label with gaps of at most 60 s.
struct TimelineBlock {
  std::string kind = "app";
  Instant startedAt;
  Instant endedAt;
  std::string bundleId;
  std::string appName;
  std::string label;     // the detail's label, else the window title, else empty
  std::string category;  // filled by the report; empty from UsageRollup::blocks
  std::vector<Uuid> segmentIDs;

  bool operator==(const TimelineBlock&) const = default;
};

struct AppUsage {
  std::string bundleId;
  std::string appName;
  double seconds = 0;
  std::int64_t count = 0;
  std::string category;  // raw value or custom id, resolved now
};

struct CategoryUsage {
  std::string id;
  std::string name;
  double seconds = 0;
  FocusLabel focus = FocusLabel::neutral;
};

struct SiteUsage {
  std::string host;
  double seconds = 0;
  std::int64_t count = 0;
};

struct DetailUsage {
  std::string key;  // lower-cased
  std::string label;
  ActivityDetailKind kind = ActivityDetailKind::window;
  double seconds = 0;
  std::int64_t count = 0;
};

// Named time away from the computer, one row per bundle identifier ("velto.offmac.meeting").
struct OffMacUsage {
  std::string bundleId;
  std::string label;  // the stored app name
  double seconds = 0;
  std::int64_t count = 0;
};

struct FocusSplit {
  double focus = 0;
  double neutral = 0;
  double distracting = 0;

  double total() const { return focus + neutral + distracting; }
  // Focus seconds over the total; zero for an empty split.
  double focusShare() const { return total() > 0 ? focus / total() : 0; }
  bool operator==(const FocusSplit&) const = default;
};

// The names and focus labels of categories as the user sees them now.
struct CategoryDirectory {
  std::function<FocusLabel(std::string_view raw)> focus;
  std::function<std::string(std::string_view raw)> name;

  // Built-ins with their shipped labels and names in `language`; anything else neutral "Other".
  static CategoryDirectory builtIn(std::string language);
  // The catalog's effective labels and names. The catalog must outlive the directory.
  static CategoryDirectory of(const CategoryCatalog& catalog, std::string language);
};

struct UsageRollup {
  static Micros micros(const Segment& row) { return countedMicros(row.seconds); }
  static bool isOffMac(std::string_view bundleId);
  // The rows at the computer, in their order.
  static std::vector<Segment> atComputer(std::span<const Segment> rows);

  // The part of each row inside `period`, rows outside dropped. A clipped row counts the
  // smaller of its seconds and the time left inside.
  static std::vector<Segment> clip(std::span<const Segment> rows, const DateInterval& period);

  // Rows grouped by their recorded context, in order of first appearance.
  static std::vector<ContextTotal> contexts(std::span<const Segment> rows);
  // The same totals per application, host and detail (`titleless`, with the detail the full
  // context gives: what the store keeps for rebuilt days), or per application and host only.
  // `indexOf`, when given, gets the index in the result of each of `contexts`.
  static std::vector<ContextTotal> titleless(std::span<const ContextTotal> contexts,
                                             bool withDetail = true,
                                             std::vector<std::uint32_t>* indexOf = nullptr);

  // Applications at the computer, largest first (ties by bundle id); the app name is the one of
  // the context with the most time.
  static std::vector<AppUsage> byApp(std::span<const ContextTotal> contexts,
                                     const CategoryResolver& resolver);
  // Time at the computer per resolved category id; the resolver is asked once per distinct
  // (bundle id, host, title). The ids are views into the resolver's texts: keep the resolver
  // alive while using them.
  static CategoryMicros categoryMicros(std::span<const ContextTotal> contexts,
                                       const CategoryResolver& resolver);
  static std::vector<CategoryUsage> byCategory(const CategoryMicros& categories,
                                               const CategoryDirectory& directory);
  static FocusSplit focusSplit(const CategoryMicros& categories,
                               const CategoryDirectory& directory);
  static std::vector<CategoryUsage> byCategory(std::span<const ContextTotal> contexts,
                                               const CategoryResolver& resolver,
                                               const CategoryDirectory& directory);
  static std::vector<SiteUsage> bySite(std::span<const ContextTotal> contexts);
  static FocusSplit focusSplit(std::span<const ContextTotal> contexts,
                               const CategoryResolver& resolver,
                               const CategoryDirectory& directory);
  static std::vector<OffMacUsage> offMac(std::span<const ContextTotal> contexts);
  static Micros atComputerMicros(std::span<const ContextTotal> contexts);
  static double atComputerSeconds(std::span<const ContextTotal> contexts);
  static double offMacSeconds(std::span<const ContextTotal> contexts);

  // Detail rows of one application (bundle id compared exactly), largest first. An application
  // the catalog does not know (bare window titles) shows them only when there are at least two
  // and the top three hold at least a quarter of its time; otherwise none.
  static std::vector<DetailUsage> detailRows(std::span<const ContextTotal> contexts,
                                             std::string_view bundleId);
  // Every detail of time at the computer, keyed by its key, largest first (for movers).
  static std::vector<DetailUsage> allDetails(std::span<const ContextTotal> contexts);
  // The detail of one total: the stored one of titleless totals, else the context's.
  static std::optional<ActivityDetail> detailOf(const ContextTotal& total);

  // What a block shows for a row: its detail's label, else its window title, else empty; a
  // label or title that says nothing (isMeaninglessWindowTitle) is never shown.
  static std::string blockLabel(const Segment& row);
  static bool joinsBlock(const TimelineBlock& block, const Segment& row, std::string_view label);
  // Timeline blocks of rows at the computer in start order.
  static std::vector<TimelineBlock> blocks(std::span<const Segment> rows);
  // From the earliest start to the latest end, at least one hour long. `now`, for a day still
  // running: the span reaches to now as well; none for a finished day, whose span ends with its
  // last row.
  static std::optional<DateInterval> timelineSpan(std::span<const Segment> rows,
                                                  std::optional<Instant> now);
  // Seconds the user has been in `bundleId` without a break: the running segment's elapsed time
  // plus the newest rows of the same application joined by gaps of at most 60 s.
  static double currentRun(std::span<const Segment> rows, std::string_view bundleId,
                           Instant runningStart, Instant now);
  // Each row spread over the local clock hours it overlaps.
  static std::array<double, 24> hourly(std::span<const Segment> rows, const Calendar& calendar);
  static ActivityShape shape(std::span<const Segment> rows, const Calendar& calendar);
};

// Adds a row's counted microseconds to the local clock hours it overlaps (the last piece takes
// any remainder, so the hours add up to the row's count exactly).
void spreadOverHours(const Segment& row, const Calendar& calendar, std::array<Micros, 24>& hours);

}  // namespace velto
