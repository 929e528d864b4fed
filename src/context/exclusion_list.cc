#include "context/exclusion_list.h"

#include <nlohmann/json.hpp>

#include "context/unicode_text.h"
#include "context/url_host.h"

namespace velto {

bool ExclusionList::excludesApp(std::string_view bundleId) const {
  const std::string lower = text::lowerCased(bundleId);
  for (const ExcludedApp& app : apps) {
    if (text::lowerCased(app.bundleId) == lower) return true;
  }
  return false;
}

bool ExclusionList::excludesHost(std::optional<std::string_view> host) const {
  if (!host || host->empty()) return false;
  const std::string lower = text::lowerCased(*host);
  for (const std::string& listed : hosts) {
    const std::string entry = text::lowerCased(listed);
    if (entry.empty()) continue;
    if (lower == entry) return true;
    if (lower.size() > entry.size() && lower.ends_with(entry) &&
        lower[lower.size() - entry.size() - 1] == '.') {
      return true;
    }
  }
  return false;
}

std::optional<std::string> normalizeTypedHost(std::string_view typed) {
  std::string text = text::trimmed(typed);
  if (text.empty()) return std::nullopt;
  if (text.find("://") == std::string::npos) text = "https://" + text;
  std::optional<std::string> host = hostFromUrl(text);
  if (!host || host->find('.') == std::string::npos || host->starts_with('.') ||
      host->ends_with('.')) {
    return std::nullopt;
  }
  return host;
}

nlohmann::json toJson(const ExclusionList& list) {
  nlohmann::json apps = nlohmann::json::array();
  for (const ExcludedApp& app : list.apps) {
    apps.push_back({{"bundleId", app.bundleId}, {"name", app.name}});
  }
  return {{"apps", std::move(apps)},
          {"hosts", list.hosts},
          {"skipPrivateWindows", list.skipPrivateWindows}};
}

Result<ExclusionList> exclusionListFromJson(const nlohmann::json& json) {
  if (!json.is_object()) return Error{"the list is not a JSON object"};
  ExclusionList list;
  if (auto apps = json.find("apps"); apps != json.end()) {
    if (!apps->is_array()) return Error{"\"apps\" is not an array"};
    for (size_t i = 0; i < apps->size(); ++i) {
      const nlohmann::json& app = (*apps)[i];
      const std::string where = "\"apps\"[" + std::to_string(i) + "]";
      if (!app.is_object()) return Error{where + " is not an object"};
      auto bundleId = app.find("bundleId");
      if (bundleId == app.end() || !bundleId->is_string()) {
        return Error{where + " has no text \"bundleId\""};
      }
      ExcludedApp excluded{bundleId->get<std::string>(), {}};
      if (auto name = app.find("name"); name != app.end()) {
        if (!name->is_string()) return Error{where + " \"name\" is not text"};
        excluded.name = name->get<std::string>();
      } else {
        excluded.name = excluded.bundleId;
      }
      list.apps.push_back(std::move(excluded));
    }
  }
  if (auto hosts = json.find("hosts"); hosts != json.end()) {
    if (!hosts->is_array()) return Error{"\"hosts\" is not an array"};
    for (size_t i = 0; i < hosts->size(); ++i) {
      if (!(*hosts)[i].is_string()) {
        return Error{"\"hosts\"[" + std::to_string(i) + "] is not text"};
      }
      list.hosts.push_back((*hosts)[i].get<std::string>());
    }
  }
  if (auto skip = json.find("skipPrivateWindows"); skip != json.end()) {
    if (!skip->is_boolean()) return Error{"\"skipPrivateWindows\" is not a boolean"};
    list.skipPrivateWindows = skip->get<bool>();
  }
  return list;
}

}  // namespace velto
