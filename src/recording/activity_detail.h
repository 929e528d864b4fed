// The finer thing inside an application that reports group time by: a site, project, tool,
// workspace, document or window. Grouping uses (kind, key); `label` is what is shown.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace velto {

enum class ActivityDetailKind { site, project, tool, workspace, document, window };

inline constexpr std::array<ActivityDetailKind, 6> allActivityDetailKinds() {
  using enum ActivityDetailKind;
  return {site, project, tool, workspace, document, window};
}

std::string_view rawValue(ActivityDetailKind kind);
std::optional<ActivityDetailKind> activityDetailKindFromRaw(std::string_view raw);

struct ActivityDetail {
  std::string key;    // always lower-case
  std::string label;  // as read
  ActivityDetailKind kind = ActivityDetailKind::window;

  bool operator==(const ActivityDetail&) const = default;
};

}  // namespace velto
