#include "recording/activity_context.h"

#include <nlohmann/json.hpp>

namespace velto {

namespace {

constexpr const char* kOptionalKeys[] = {"windowTitle", "host", "toolName", "url"};

std::optional<std::string> ActivityContext::*const kOptionalFields[] = {
    &ActivityContext::windowTitle, &ActivityContext::host, &ActivityContext::toolName,
    &ActivityContext::url};

}  // namespace

nlohmann::json toJson(const ActivityContext& context) {
  nlohmann::json json = nlohmann::json::object();
  json["bundleId"] = context.bundleId;
  json["appName"] = context.appName;
  for (size_t i = 0; i < std::size(kOptionalKeys); ++i) {
    if (const auto& value = context.*kOptionalFields[i]) json[kOptionalKeys[i]] = *value;
  }
  return json;
}

Result<ActivityContext> activityContextFromJson(const nlohmann::json& json) {
  if (!json.is_object()) return Error{"context is not an object"};
  ActivityContext context;
  for (auto [key, field] : {std::pair{"bundleId", &ActivityContext::bundleId},
                            std::pair{"appName", &ActivityContext::appName}}) {
    auto found = json.find(key);
    if (found == json.end()) return Error{std::string("context lacks \"") + key + "\""};
    if (!found->is_string()) return Error{std::string("context \"") + key + "\" is not text"};
    context.*field = found->get<std::string>();
  }
  for (size_t i = 0; i < std::size(kOptionalKeys); ++i) {
    auto found = json.find(kOptionalKeys[i]);
    if (found == json.end() || found->is_null()) continue;
    if (!found->is_string()) {
      return Error{std::string("context \"") + kOptionalKeys[i] + "\" is not text"};
    }
    context.*kOptionalFields[i] = found->get<std::string>();
  }
  return context;
}

}  // namespace velto

size_t std::hash<velto::ActivityContext>::operator()(
    const velto::ActivityContext& context) const noexcept {
  std::hash<std::string> text;
  // Absent and empty hash differently, matching equality.
  auto optional = [&](const std::optional<std::string>& value) -> size_t {
    return value ? text(*value) * 31 + 1 : 0;
  };
  size_t seed = text(context.bundleId);
  for (size_t part : {text(context.appName), optional(context.windowTitle), optional(context.host),
                      optional(context.toolName), optional(context.url)}) {
    seed ^= part + 0x9e3779b97f4a7c15ULL + (seed << 6) + (seed >> 2);
  }
  return seed;
}
