// The apps and sites whose time is never recorded, and whether private browser windows are
// skipped. Stored as JSON under "velto.exclusions":
//   {"apps": [{"bundleId": "...", "name": "..."}], "hosts": ["example.com"],
//    "skipPrivateWindows": false}
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"

namespace velto {

struct ExcludedApp {
  std::string bundleId;
  std::string name;  // display name, as shown in settings

  bool operator==(const ExcludedApp&) const = default;
};

struct ExclusionList {
  std::vector<ExcludedApp> apps;
  std::vector<std::string> hosts;  // bare host names, as normalised when added
  bool skipPrivateWindows = false;

  // The bundle identifier equals a listed one, ignoring case.
  bool excludesApp(std::string_view bundleId) const;
  // The host equals a listed host or ends with "." and a listed host, ignoring case. An absent
  // or empty host never matches.
  bool excludesHost(std::optional<std::string_view> host) const;

  bool operator==(const ExclusionList&) const = default;
};

// The host a user means when typing `typed` ("https://www.Example.com/path", "example.com"):
// trimmed, given "https://" when it has no "://", reduced to its host as hostFromUrl does, and
// accepted only when it holds a "." and neither begins nor ends with one.
std::optional<std::string> normalizeTypedHost(std::string_view typed);

nlohmann::json toJson(const ExclusionList& list);
// Missing keys read as their defaults; a value of the wrong type is an error naming it.
Result<ExclusionList> exclusionListFromJson(const nlohmann::json& json);

}  // namespace velto
