// One stored stretch of activity.
#pragma once

#include <optional>
#include <string>

#include "base/time.h"
#include "base/uuid.h"
#include "recording/activity_context.h"

namespace velto {

struct Segment {
  Uuid id;
  Instant startedAt;
  Instant endedAt;
  double seconds = 0;  // the figure totals add up
  std::string bundleId;
  std::string appName;
  std::optional<std::string> windowTitle;
  std::optional<std::string> host;
  std::optional<std::string> toolName;
  std::optional<std::string> url;
  std::string endReasonRaw = "focusChange";
  std::string dayKey;  // "yyyy-MM-dd" of startedAt in the calendar that stored the row

  bool operator==(const Segment&) const = default;

  ActivityContext context() const {
    return ActivityContext{bundleId, appName, windowTitle, host, toolName, url};
  }
};

}  // namespace velto
