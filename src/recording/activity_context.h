// What is in front of the user at one moment.
//
// Optional fields distinguish "not known" (absent) from "known to be empty" (present, ""): an
// absent value never equals a present one. The JSON form (used by the checkpoint file) keys each
// field by its name and leaves absent fields out.
#pragma once

#include <functional>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

#include "base/result.h"

namespace velto {

struct ActivityContext {
  std::string bundleId;  // never absent; empty only where the source had none
  std::string appName;
  std::optional<std::string> windowTitle;
  std::optional<std::string> host;
  std::optional<std::string> toolName;
  std::optional<std::string> url;

  bool operator==(const ActivityContext&) const = default;
};

nlohmann::json toJson(const ActivityContext& context);
// Requires "bundleId" and "appName" as strings; each optional must be a string, null or
// missing (null reads as absent). Anything else is an error naming the field.
Result<ActivityContext> activityContextFromJson(const nlohmann::json& json);

}  // namespace velto

template <>
struct std::hash<velto::ActivityContext> {
  size_t operator()(const velto::ActivityContext& context) const noexcept;
};
