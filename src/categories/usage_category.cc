#include "categories/usage_category.h"

#include <array>

namespace velto {

namespace {

constexpr std::array<BuiltInCategoryInfo, 10> kBuiltIns = {{
    {BuiltInCategory::coding, "coding", "Coding", "category.coding", "curlybraces", "indigo",
     FocusLabel::focus},
    {BuiltInCategory::writing, "writing", "Writing", "category.writing", "doc.text", "green",
     FocusLabel::focus},
    {BuiltInCategory::design, "design", "Design", "category.design", "paintbrush", "plum",
     FocusLabel::focus},
    {BuiltInCategory::communication, "communication", "Communication", "category.communication",
     "bubble.left.and.bubble.right", "teal", FocusLabel::neutral},
    {BuiltInCategory::social, "social", "Social", "category.social", "person.2", "rose",
     FocusLabel::distracting},
    {BuiltInCategory::entertainment, "entertainment", "Entertainment", "category.entertainment",
     "play.tv", "amber", FocusLabel::distracting},
    {BuiltInCategory::reading, "reading", "Reading", "category.reading", "book", "sky",
     FocusLabel::focus},
    {BuiltInCategory::ai, "ai", "AI", "category.ai", "sparkles", "violet", FocusLabel::focus},
    {BuiltInCategory::utilities, "utilities", "Utilities", "category.utilities", "gearshape.2",
     "lime", FocusLabel::neutral},
    {BuiltInCategory::other, "other", "Other", "category.other", "square.grid.2x2", "slate",
     FocusLabel::neutral},
}};

}  // namespace

std::span<const BuiltInCategoryInfo> builtInCategories() {
  return kBuiltIns;
}

const BuiltInCategoryInfo& info(BuiltInCategory category) {
  return kBuiltIns[static_cast<size_t>(category)];
}

std::string_view rawValue(BuiltInCategory category) {
  return info(category).rawValue;
}

std::optional<BuiltInCategory> builtInCategoryFromRaw(std::string_view raw) {
  for (const BuiltInCategoryInfo& entry : kBuiltIns) {
    if (entry.rawValue == raw) return entry.category;
  }
  return std::nullopt;
}

UsageCategory UsageCategory::fromRaw(std::string_view raw) {
  if (auto builtIn = builtInCategoryFromRaw(raw)) return *builtIn;
  return UsageCategory(std::string(raw));
}

std::optional<BuiltInCategory> UsageCategory::builtIn() const {
  if (!isBuiltIn()) return std::nullopt;
  return builtIn_;
}

std::string_view UsageCategory::rawValue() const {
  if (isBuiltIn()) return velto::rawValue(builtIn_);
  return customId_;
}

}  // namespace velto
