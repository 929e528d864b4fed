// The user's category rules for the Rules pane: listed oldest first, added from what the user
// typed (an app's identifier, a site typed any way a browser shows it, or a word the title or
// site contains) and removed. Rules live in the store; the resolver follows its change notice.
// Thread: main thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"
#include "store/category_rule.h"

namespace velto {
class ServiceSet;
}

namespace velto::gui {

class RulesModel {
 public:
  explicit RulesModel(ServiceSet& services) : services_(services) {}

  std::vector<CategoryRule> rules() const;
  // The pattern as it will be stored: trimmed; a site reduced to its host. None when nothing
  // usable is left.
  static std::optional<std::string> pattern(CategoryRule::Subject subject, std::string_view typed);
  // Adds a rule filing `typed` under `categoryRaw`; fails for an unusable pattern or an unknown
  // category.
  Status add(CategoryRule::Subject subject, std::string_view typed, std::string_view categoryRaw);
  Status remove(const Uuid& id);
  // The line shown for a rule: "<subject>: <pattern> -> <category>" in the interface language.
  std::string describe(const CategoryRule& rule) const;

 private:
  ServiceSet& services_;
};

}  // namespace velto::gui
