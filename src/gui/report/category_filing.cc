#include "gui/report/category_filing.h"

#include "categories/text_case.h"

namespace velto::gui {

Status fileUnderCategory(SegmentStore& store, CategoryRule::Subject subject,
                         std::string_view pattern, std::string_view categoryRaw, Instant now) {
  const std::string key = lowerCased(pattern);
  if (key.empty() || categoryRaw.empty()) return Error{"empty pattern or category"};
  Result<std::vector<CategoryRule>> rules = store.categoryRules();
  if (!rules) return Error{rules.error()};
  for (const CategoryRule& rule : *rules) {
    if (rule.subject() != subject || lowerCased(rule.pattern) != key) continue;
    if (rule.categoryRaw == categoryRaw) return Status::success();
    if (Status removed = store.deleteRule(rule.id); !removed) return removed;
  }
  return store.insertRule(CategoryRule{Uuid::random(), key, std::string(rawValue(subject)),
                                       std::string(categoryRaw), now});
}

}  // namespace velto::gui
