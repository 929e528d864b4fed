#include "categories/category_seed.h"

#include <system_error>

#include "base/files.h"
#include "base/log.h"
#include "categories/text_case.h"

namespace velto {

namespace {

void logProblems(const std::vector<std::string>& problems) {
  std::string joined;
  for (const std::string& problem : problems) {
    if (!joined.empty()) joined += "; ";
    joined += problem;
  }
  log::error("Category seed has %{public}ld problem(s): %{public}s",
             std::to_string(problems.size()), joined);
}

}  // namespace

CategorySeed CategorySeed::fromFile(const File& file) {
  CategorySeed seed;
  for (const auto& [key, group] : file.categories) {
    const auto category = builtInCategoryFromRaw(key);
    if (!category) continue;
    for (const std::string& app : group.apps) {
      if (!app.empty()) seed.apps_.emplace(lowerCased(app), *category);
    }
    for (const std::string& host : group.hosts) {
      if (isBareHost(host)) seed.hosts_.emplace(lowerCased(host), *category);
    }
  }
  return seed;
}

CategorySeed CategorySeed::load(const std::optional<std::filesystem::path>& path) {
  std::error_code error;
  if (!path || !std::filesystem::exists(*path, error)) {
    log::error("Category seed missing from the bundle - starting with an empty table");
    return {};
  }
  auto text = files::readAll(*path);
  if (!text) {
    log::error("Category seed unreadable: %{public}s", text.error());
    return {};
  }
  auto file = decodeCategorySeed(*text);
  if (!file) {
    log::error("Category seed unreadable: %{public}s", file.error());
    return {};
  }
  if (auto problems = validateCategorySeed(*file); !problems.empty()) logProblems(problems);
  return fromFile(*file);
}

std::optional<BuiltInCategory> CategorySeed::appCategory(std::string_view lowerBundleId) const {
  auto found = apps_.find(lowerBundleId);
  if (found == apps_.end()) return std::nullopt;
  return found->second;
}

std::optional<BuiltInCategory> CategorySeed::hostCategory(std::string_view lowerHost) const {
  auto found = hosts_.find(lowerHost);
  if (found == hosts_.end()) return std::nullopt;
  return found->second;
}

}  // namespace velto
