// The stored form of the category catalog: {"overrides": {raw: {"name", "hueKey", "focus"}},
// "custom": [{"id", "name", "hueKey", "iconName", "focus", "createdAt"}]}. Absent optional
// fields are left out. "createdAt" is written as seconds since 2001-01-01 UTC; ISO 8601 text is
// read as well.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "categories/category_records.h"

namespace velto {

nlohmann::json encodeCatalogContents(const CategoryCatalogContents& contents);

struct DecodedCatalogContents {
  CategoryCatalogContents contents;
  // One text per part that could not be read. Entries that cannot be read are left out and the
  // rest is kept: an override of a word that is no built-in, a custom category without an id or
  // name, an id used twice or taken by a built-in.
  std::vector<std::string> problems;
};

DecodedCatalogContents decodeCatalogContents(const nlohmann::json& document);

}  // namespace velto
