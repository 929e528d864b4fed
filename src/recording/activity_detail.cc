#include "recording/activity_detail.h"

#include "base/raw_values.h"

namespace velto {

namespace {

constexpr std::array<std::string_view, 6> kRawValues = {"site",      "project",  "tool",
                                                        "workspace", "document", "window"};

}  // namespace

std::string_view rawValue(ActivityDetailKind kind) {
  return kRawValues[static_cast<size_t>(kind)];
}

std::optional<ActivityDetailKind> activityDetailKindFromRaw(std::string_view raw) {
  return enumFromRaw<ActivityDetailKind>(kRawValues, raw);
}

}  // namespace velto
