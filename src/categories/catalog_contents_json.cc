#include "categories/catalog_contents_json.h"

#include <set>

#include "base/iso8601.h"
#include "categories/usage_category.h"

namespace velto {

namespace {

using nlohmann::json;

// The legacy raw value that rules still carry; it must not name a custom category.
constexpr std::string_view kLegacyWork = "work";

json encodeOverride(const CategoryOverride& change) {
  json out = json::object();
  if (change.name) out["name"] = *change.name;
  if (change.hueKey) out["hueKey"] = *change.hueKey;
  if (change.focus) out["focus"] = rawValue(*change.focus);
  return out;
}

json encodeCustom(const CustomCategory& category) {
  json out = {{"id", category.id},
              {"name", category.name},
              {"hueKey", category.hueKey},
              {"iconName", category.iconName},
              {"createdAt", secondsSince2001(category.createdAt)}};
  if (category.focus) out["focus"] = rawValue(*category.focus);
  return out;
}

// Reads an optional string field; a value of another type is reported and ignored.
std::optional<std::string> optionalString(const json& object, const char* field,
                                          const std::string& where,
                                          std::vector<std::string>& problems) {
  auto found = object.find(field);
  if (found == object.end() || found->is_null()) return std::nullopt;
  if (!found->is_string()) {
    problems.push_back(where + ": \"" + field + "\" is not a string");
    return std::nullopt;
  }
  return found->get<std::string>();
}

std::optional<FocusLabel> optionalFocus(const json& object, const std::string& where,
                                        std::vector<std::string>& problems) {
  const auto raw = optionalString(object, "focus", where, problems);
  if (!raw) return std::nullopt;
  auto label = focusLabelFromRaw(*raw);
  if (!label) problems.push_back(where + ": unknown focus label '" + *raw + "'");
  return label;
}

std::optional<Instant> createdAt(const json& object) {
  auto found = object.find("createdAt");
  if (found == object.end()) return std::nullopt;
  if (found->is_number()) return instantFromSecondsSince2001Checked(found->get<double>());
  if (found->is_string()) return parseIso8601(found->get<std::string>());
  return std::nullopt;
}

void decodeOverrides(const json& overrides, DecodedCatalogContents& out) {
  if (!overrides.is_object()) {
    out.problems.emplace_back("\"overrides\" is not an object");
    return;
  }
  for (const auto& [key, value] : overrides.items()) {
    const std::string where = "override '" + key + "'";
    if (!builtInCategoryFromRaw(key)) {
      out.problems.push_back("unknown category '" + key + "'");
      continue;
    }
    if (!value.is_object()) {
      out.problems.push_back(where + " is not an object");
      continue;
    }
    CategoryOverride change;
    change.name = optionalString(value, "name", where, out.problems);
    change.hueKey = optionalString(value, "hueKey", where, out.problems);
    change.focus = optionalFocus(value, where, out.problems);
    if (!change.isEmpty()) out.contents.overrides.emplace(key, std::move(change));
  }
}

void decodeCustom(const json& custom, DecodedCatalogContents& out) {
  if (!custom.is_array()) {
    out.problems.emplace_back("\"custom\" is not a list");
    return;
  }
  std::set<std::string, std::less<>> ids;
  for (size_t index = 0; index < custom.size(); ++index) {
    const json& value = custom[index];
    std::string where = "custom category " + std::to_string(index + 1);
    if (!value.is_object()) {
      out.problems.push_back(where + " is not an object");
      continue;
    }
    CustomCategory category;
    auto id = optionalString(value, "id", where, out.problems);
    auto name = optionalString(value, "name", where, out.problems);
    if (!id || id->empty()) {
      out.problems.push_back(where + " has no id");
      continue;
    }
    where += " ('" + *id + "')";
    if (builtInCategoryFromRaw(*id) || *id == kLegacyWork) {
      out.problems.push_back(where + ": the id belongs to a built-in category");
      continue;
    }
    if (!ids.insert(*id).second) {
      out.problems.push_back(where + ": the id is used twice");
      continue;
    }
    if (!name) {
      out.problems.push_back(where + " has no name");
      continue;
    }
    category.id = std::move(*id);
    category.name = std::move(*name);
    category.hueKey = optionalString(value, "hueKey", where, out.problems).value_or("");
    category.iconName = optionalString(value, "iconName", where, out.problems).value_or("");
    category.focus = optionalFocus(value, where, out.problems);
    category.createdAt = createdAt(value).value_or(kReferenceDate2001);
    out.contents.custom.push_back(std::move(category));
  }
}

}  // namespace

json encodeCatalogContents(const CategoryCatalogContents& contents) {
  json overrides = json::object();
  for (const auto& [raw, change] : contents.overrides) {
    if (!change.isEmpty()) overrides[raw] = encodeOverride(change);
  }
  json custom = json::array();
  for (const CustomCategory& category : contents.custom) custom.push_back(encodeCustom(category));
  return {{"overrides", std::move(overrides)}, {"custom", std::move(custom)}};
}

DecodedCatalogContents decodeCatalogContents(const json& document) {
  DecodedCatalogContents out;
  if (!document.is_object()) {
    out.problems.emplace_back("the document is not a JSON object");
    return out;
  }
  if (auto overrides = document.find("overrides");
      overrides != document.end() && !overrides->is_null()) {
    decodeOverrides(*overrides, out);
  }
  if (auto custom = document.find("custom"); custom != document.end() && !custom->is_null()) {
    decodeCustom(*custom, out);
  }
  return out;
}

}  // namespace velto
