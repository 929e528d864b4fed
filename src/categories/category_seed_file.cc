#include "categories/category_seed_file.h"

#include <map>
#include <nlohmann/json.hpp>

#include "categories/text_case.h"
#include "categories/usage_category.h"

namespace velto {

namespace {

using Json = nlohmann::ordered_json;

Result<std::vector<std::string>> stringList(const Json& group, const char* field,
                                            const std::string& where) {
  std::vector<std::string> out;
  auto found = group.find(field);
  if (found == group.end() || found->is_null()) return out;
  if (!found->is_array()) return Error{where + "." + field + " is not a list"};
  for (size_t i = 0; i < found->size(); ++i) {
    const Json& item = (*found)[i];
    if (!item.is_string()) {
      return Error{where + "." + field + "[" + std::to_string(i) + "] is not a string"};
    }
    out.push_back(item.get<std::string>());
  }
  return out;
}

// Lower-cased keys seen so far, with the index of the group that listed them first.
class SeenKeys {
 public:
  // True when `key` was listed before by another group.
  bool listedElsewhere(const std::string& key, size_t group) {
    auto [entry, inserted] = seen_.emplace(lowerCased(key), group);
    return !inserted && entry->second != group;
  }

 private:
  std::map<std::string, size_t, std::less<>> seen_;
};

}  // namespace

Result<CategorySeedFile> decodeCategorySeed(std::string_view text) {
  Json root;
  try {
    root = Json::parse(text);
  } catch (const Json::parse_error& error) {
    return Error{error.what()};
  }
  if (!root.is_object()) return Error{"the file is not a JSON object"};

  CategorySeedFile file;
  auto version = root.find("version");
  if (version == root.end()) return Error{"\"version\" is missing"};
  if (!version->is_number_integer()) return Error{"\"version\" is not an integer"};
  file.version = version->get<std::int64_t>();

  auto categories = root.find("categories");
  if (categories == root.end()) return Error{"\"categories\" is missing"};
  if (!categories->is_object()) return Error{"\"categories\" is not an object"};
  for (const auto& [key, value] : categories->items()) {
    const std::string where = "categories." + key;
    if (!value.is_object()) return Error{where + " is not an object"};
    CategorySeedGroup group;
    auto apps = stringList(value, "apps", where);
    if (!apps) return Error{apps.error()};
    auto hosts = stringList(value, "hosts", where);
    if (!hosts) return Error{hosts.error()};
    group.apps = std::move(apps).value();
    group.hosts = std::move(hosts).value();
    file.categories.emplace_back(key, std::move(group));
  }
  return file;
}

std::vector<std::string> validateCategorySeed(const CategorySeedFile& file) {
  std::vector<std::string> problems;
  if (file.version != kCategorySeedVersion) {
    problems.push_back("version " + std::to_string(file.version) + ", expected " +
                       std::to_string(kCategorySeedVersion));
  }
  SeenKeys apps;
  SeenKeys hosts;
  for (size_t index = 0; index < file.categories.size(); ++index) {
    const auto& [key, group] = file.categories[index];
    if (!builtInCategoryFromRaw(key)) {
      problems.push_back("unknown category '" + key + "'");
      continue;
    }
    for (const std::string& app : group.apps) {
      if (app.empty()) {
        problems.emplace_back("empty app key");
      } else if (apps.listedElsewhere(app, index)) {
        problems.push_back("duplicate app key '" + app + "'");
      }
    }
    for (const std::string& host : group.hosts) {
      if (host.empty()) {
        problems.emplace_back("empty host key");
      } else if (!isBareHost(host)) {
        problems.push_back("host '" + host + "' is not a bare host");
      } else if (hosts.listedElsewhere(host, index)) {
        problems.push_back("duplicate host key '" + host + "'");
      }
    }
  }
  return problems;
}

bool isBareHost(std::string_view host) {
  if (host.empty() || host.size() > 253) return false;
  size_t labelStart = 0;
  for (size_t i = 0; i <= host.size(); ++i) {
    if (i == host.size() || host[i] == '.') {
      const std::string_view label = host.substr(labelStart, i - labelStart);
      if (label.empty() || label.size() > 63 || label.front() == '-' || label.back() == '-') {
        return false;
      }
      labelStart = i + 1;
      continue;
    }
    const char c = host[i];
    const bool allowed = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                         (c >= '0' && c <= '9') || c == '-' || c == '_';
    if (!allowed) return false;
  }
  return true;
}

}  // namespace velto
