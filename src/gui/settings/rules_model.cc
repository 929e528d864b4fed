#include "gui/settings/rules_model.h"

#include "app/service_set.h"
#include "base/strings.h"
#include "store/category_rule_book.h"

namespace velto::gui {

namespace {

CategoryRuleBook bookOf(ServiceSet& services) {
  return CategoryRuleBook(services.store(), services.categories(), services.clock());
}

}  // namespace

std::vector<CategoryRule> RulesModel::rules() const {
  return bookOf(services_).rules();
}

std::optional<std::string> RulesModel::pattern(CategoryRule::Subject subject,
                                               std::string_view typed) {
  return CategoryRuleBook::pattern(subject, typed);
}

Status RulesModel::add(CategoryRule::Subject subject, std::string_view typed,
                       std::string_view categoryRaw) {
  Result<CategoryRule> added = bookOf(services_).add(subject, typed, categoryRaw);
  if (!added) return Error{added.error()};
  return {};
}

Status RulesModel::remove(const Uuid& id) {
  return bookOf(services_).remove(id);
}

std::string RulesModel::describe(const CategoryRule& rule) const {
  return bookOf(services_).describe(rule, services_.language());
}

}  // namespace velto::gui
