// Stored rows written briefly in tests.
#pragma once

#include <optional>
#include <string>

#include "store/segment.h"
#include "test_support/time_helpers.h"

namespace velto::testing {

// A row of `bundleId` (app name "<bundleId> app") from one ISO instant to another, its seconds
// the time between them.
inline Segment storedRow(const std::string& bundleId, const std::string& from,
                         const std::string& to, std::optional<std::string> title = std::nullopt,
                         std::optional<std::string> host = std::nullopt) {
  Segment segment;
  segment.id = Uuid::random();
  segment.startedAt = at(from);
  segment.endedAt = at(to);
  segment.seconds = secondsBetween(segment.startedAt, segment.endedAt);
  segment.bundleId = bundleId;
  segment.appName = bundleId + " app";
  segment.windowTitle = std::move(title);
  segment.host = std::move(host);
  return segment;
}

}  // namespace velto::testing
