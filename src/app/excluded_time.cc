#include "app/excluded_time.h"

#include <functional>
#include <vector>

#include "context/exclusion_list.h"
#include "store/segment.h"

namespace velto {

namespace {

using Match = std::function<bool(const Segment&)>;

Result<std::vector<Segment>> matching(SegmentStore& store, Instant now, const Match& match) {
  Result<std::vector<Segment>> rows = store.fetchOverlapping(Instant{}, addSeconds(now, 1));
  if (!rows) return Error{rows.error()};
  std::vector<Segment> kept;
  for (Segment& row : *rows) {
    if (match(row)) kept.push_back(std::move(row));
  }
  return kept;
}

Result<ExcludedTime> measure(SegmentStore& store, Instant now, const Match& match) {
  Result<std::vector<Segment>> rows = matching(store, now, match);
  if (!rows) return Error{rows.error()};
  ExcludedTime time;
  for (const Segment& row : *rows) {
    ++time.rows;
    time.seconds += row.seconds;
  }
  return time;
}

Result<std::int64_t> remove(SegmentStore& store, Instant now, const Match& match) {
  Result<std::vector<Segment>> rows = matching(store, now, match);
  if (!rows) return Error{rows.error()};
  if (rows->empty()) return std::int64_t{0};
  std::vector<Uuid> ids;
  for (const Segment& row : *rows) ids.push_back(row.id);
  if (Status deleted = store.deleteSegments(ids); !deleted) return Error{deleted.error()};
  return static_cast<std::int64_t>(ids.size());
}

Match appMatch(std::string_view bundleId) {
  ExclusionList list;
  list.apps.push_back({std::string(bundleId), {}});
  return [list](const Segment& row) { return list.excludesApp(row.bundleId); };
}

Match hostMatch(std::string_view host) {
  ExclusionList list;
  list.hosts.push_back(std::string(host));
  return [list](const Segment& row) {
    return row.host && list.excludesHost(std::string_view(*row.host));
  };
}

}  // namespace

Result<ExcludedTime> recordedTimeOfApp(SegmentStore& store, std::string_view bundleId,
                                       Instant now) {
  return measure(store, now, appMatch(bundleId));
}

Result<ExcludedTime> recordedTimeOfHost(SegmentStore& store, std::string_view host, Instant now) {
  return measure(store, now, hostMatch(host));
}

Result<std::int64_t> deleteRecordedTimeOfApp(SegmentStore& store, std::string_view bundleId,
                                             Instant now) {
  return remove(store, now, appMatch(bundleId));
}

Result<std::int64_t> deleteRecordedTimeOfHost(SegmentStore& store, std::string_view host,
                                              Instant now) {
  return remove(store, now, hostMatch(host));
}

}  // namespace velto
