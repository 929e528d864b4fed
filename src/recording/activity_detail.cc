#include "recording/activity_detail.h"

namespace velto {

namespace {

constexpr std::array<std::string_view, 6> kRawValues = {"site",      "project",  "tool",
                                                        "workspace", "document", "window"};

}  // namespace

std::string_view rawValue(ActivityDetailKind kind) {
  return kRawValues[static_cast<size_t>(kind)];
}

std::optional<ActivityDetailKind> activityDetailKindFromRaw(std::string_view raw) {
  for (size_t i = 0; i < kRawValues.size(); ++i) {
    if (kRawValues[i] == raw) return static_cast<ActivityDetailKind>(i);
  }
  return std::nullopt;
}

}  // namespace velto
