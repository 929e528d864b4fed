#include "store/category_rule_book.h"

#include "base/log.h"
#include "base/strings.h"
#include "context/exclusion_list.h"

namespace velto {

namespace {

std::string trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos) return {};
  const auto last = text.find_last_not_of(" \t\r\n");
  return std::string(text.substr(first, last - first + 1));
}

}  // namespace

std::vector<CategoryRule> CategoryRuleBook::rules() const {
  Result<std::vector<CategoryRule>> rules = store_.categoryRules();
  if (!rules) {
    log::error("Could not read category rules: %{public}s", rules.error());
    return {};
  }
  return std::move(rules).value();
}

std::optional<std::string> CategoryRuleBook::pattern(CategoryRule::Subject subject,
                                                     std::string_view typed) {
  if (subject == CategoryRule::Subject::host) return normalizeTypedHost(typed);
  std::string text = trimmed(typed);
  if (text.empty()) return std::nullopt;
  return text;
}

Result<CategoryRule> CategoryRuleBook::add(CategoryRule::Subject subject, std::string_view typed,
                                           std::string_view categoryRaw) {
  const std::optional<std::string> stored = pattern(subject, typed);
  if (!stored) return Error{"nothing to match"};
  if (!catalog_.exists(categoryRaw)) return Error{"no such category"};
  CategoryRule rule{Uuid::random(), *stored, std::string(rawValue(subject)),
                    std::string(categoryRaw), clock_.now()};
  if (Status inserted = store_.insertRule(rule); !inserted) return Error{inserted.error()};
  return rule;
}

Status CategoryRuleBook::remove(const Uuid& id) {
  return store_.deleteRule(id);
}

std::string CategoryRuleBook::describe(const CategoryRule& rule, std::string_view language) const {
  const EffectiveCategory category =
      catalog_.effective(UsageCategory::fromRaw(rule.categoryRaw), language);
  return i18n::text(language, "settings.rules.line %@ %@ %@",
                    i18n::text(language, "settings.rules.subject." + rule.subjectRaw), rule.pattern,
                    category.name);
}

}  // namespace velto
