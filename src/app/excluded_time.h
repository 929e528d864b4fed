// Time recorded before an app or a site was excluded: counted for the settings' offer and
// deleted on the user's word. A site matches as exclusions match hosts (the listed host and its
// subdomains, ignoring case); an app by bundle identifier, ignoring case.
// Thread: main thread (the store's).
#pragma once

#include <cstdint>
#include <string_view>

#include "base/result.h"
#include "store/segment_store.h"

namespace velto {

struct ExcludedTime {
  std::int64_t rows = 0;
  double seconds = 0;
};

Result<ExcludedTime> recordedTimeOfApp(SegmentStore& store, std::string_view bundleId, Instant now);
Result<ExcludedTime> recordedTimeOfHost(SegmentStore& store, std::string_view host, Instant now);
// Deletes those rows in one change; returns how many went.
Result<std::int64_t> deleteRecordedTimeOfApp(SegmentStore& store, std::string_view bundleId,
                                             Instant now);
Result<std::int64_t> deleteRecordedTimeOfHost(SegmentStore& store, std::string_view host,
                                              Instant now);

}  // namespace velto
