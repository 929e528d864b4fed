// The category a stretch of time is filed under: one of the ten built-ins or a custom category
// the user made. Categories are never stored on segments; they are resolved when a report is
// built, so a rule change applies to past days too.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "categories/focus_label.h"

namespace velto {

// In display order. The raw values ("coding", ...) are what rules and settings store.
enum class BuiltInCategory {
  coding,
  writing,
  design,
  communication,
  social,
  entertainment,
  reading,
  ai,
  utilities,
  other
};

// What a built-in ships with, before any user override.
struct BuiltInCategoryInfo {
  BuiltInCategory category;
  std::string_view rawValue;
  std::string_view englishName;
  std::string_view nameKey;  // localisation key of the display name, "category." + raw value
  std::string_view symbol;   // symbol (icon) name
  std::string_view hueKey;
  FocusLabel defaultFocus;
};

// All ten, in display order.
std::span<const BuiltInCategoryInfo> builtInCategories();
const BuiltInCategoryInfo& info(BuiltInCategory category);
std::string_view rawValue(BuiltInCategory category);
// Exact match of a raw value; none for anything else (including the legacy "work").
std::optional<BuiltInCategory> builtInCategoryFromRaw(std::string_view raw);

class UsageCategory {
 public:
  UsageCategory(BuiltInCategory builtIn) : builtIn_(builtIn) {}  // NOLINT: implicit by design
  // `id` must not be empty.
  static UsageCategory custom(std::string id) { return UsageCategory(std::move(id)); }
  // A built-in raw value gives that built-in, an empty one other; anything else is taken as a
  // custom category's id.
  static UsageCategory fromRaw(std::string_view raw);

  bool isBuiltIn() const { return customId_.empty(); }
  std::optional<BuiltInCategory> builtIn() const;
  // The custom category's id; empty for a built-in.
  const std::string& customId() const { return customId_; }
  // The built-in's raw value or the custom id. Valid while this object lives.
  std::string_view rawValue() const;

  bool operator==(const UsageCategory&) const = default;

 private:
  explicit UsageCategory(std::string id)
      : builtIn_(BuiltInCategory::other), customId_(std::move(id)) {}

  BuiltInCategory builtIn_;  // meaningful only while customId_ is empty
  std::string customId_;
};

}  // namespace velto
