// The user's changes to categories, as kept under the settings key "velto.categories".
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "base/time.h"
#include "categories/focus_label.h"

namespace velto {

// A category the user made.
struct CustomCategory {
  std::string id;  // unique, generated when the category is made; never a built-in raw value
  std::string name;
  std::string hueKey;               // a palette key (categories/color_hue.h)
  std::string iconName;             // a symbol name
  std::optional<FocusLabel> focus;  // none counts as neutral
  Instant createdAt;

  bool operator==(const CustomCategory&) const = default;
};

// The user's changes to one built-in. A field left empty keeps the built-in's own value.
struct CategoryOverride {
  std::optional<std::string> name;
  std::optional<std::string> hueKey;
  std::optional<FocusLabel> focus;

  bool isEmpty() const { return !name && !hueKey && !focus; }
  bool operator==(const CategoryOverride&) const = default;
};

struct CategoryCatalogContents {
  std::map<std::string, CategoryOverride> overrides;  // keyed by built-in raw value
  std::vector<CustomCategory> custom;                 // in creation order

  bool operator==(const CategoryCatalogContents&) const = default;
};

}  // namespace velto
