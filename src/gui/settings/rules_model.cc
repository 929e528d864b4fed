#include "gui/settings/rules_model.h"

#include "app/service_set.h"
#include "base/log.h"
#include "base/strings.h"
#include "context/exclusion_list.h"

namespace velto::gui {

namespace {

std::string trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos) return {};
  const auto last = text.find_last_not_of(" \t\r\n");
  return std::string(text.substr(first, last - first + 1));
}

}  // namespace

std::vector<CategoryRule> RulesModel::rules() const {
  Result<std::vector<CategoryRule>> rules = services_.store().categoryRules();
  if (!rules) {
    log::error("Could not read category rules: %{public}s", rules.error());
    return {};
  }
  return std::move(rules).value();
}

std::optional<std::string> RulesModel::pattern(CategoryRule::Subject subject,
                                               std::string_view typed) {
  if (subject == CategoryRule::Subject::host) return normalizeTypedHost(typed);
  std::string text = trimmed(typed);
  if (text.empty()) return std::nullopt;
  return text;
}

Status RulesModel::add(CategoryRule::Subject subject, std::string_view typed,
                       std::string_view categoryRaw) {
  const std::optional<std::string> stored = pattern(subject, typed);
  if (!stored) return Error{"nothing to match"};
  if (!services_.categories().exists(categoryRaw)) return Error{"no such category"};
  return services_.store().insertRule(
      CategoryRule{Uuid::random(), *stored, std::string(rawValue(subject)),
                   std::string(categoryRaw), services_.clock().now()});
}

Status RulesModel::remove(const Uuid& id) {
  return services_.store().deleteRule(id);
}

std::string RulesModel::describe(const CategoryRule& rule) const {
  const std::string lang = services_.language();
  const std::string subjectKey = "settings.rules.subject." + rule.subjectRaw;
  const EffectiveCategory category =
      services_.categories().effective(UsageCategory::fromRaw(rule.categoryRaw), lang);
  return i18n::text(lang, "settings.rules.line %@ %@ %@", i18n::text(lang, subjectKey),
                    rule.pattern, category.name);
}

}  // namespace velto::gui
