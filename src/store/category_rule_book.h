// The user's category rules as the Rules pane and `velto rules` change them: listed oldest
// first, added from what the user typed (an app's identifier, a site typed any way a browser
// shows it, or a word the title or site contains) and removed. Rules live in the store, whose
// change notice rebuilds the resolver.
// Thread: main thread (the store's).
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/clock.h"
#include "base/result.h"
#include "categories/category_catalog.h"
#include "store/category_rule.h"
#include "store/segment_store.h"

namespace velto {

class CategoryRuleBook {
 public:
  // Every reference must outlive the book.
  CategoryRuleBook(SegmentStore& store, const CategoryCatalog& catalog, const Clock& clock)
      : store_(store), catalog_(catalog), clock_(clock) {}

  // Oldest first; none (and "Could not read category rules: ..." logged) when the store fails.
  std::vector<CategoryRule> rules() const;
  // The pattern as it will be stored: trimmed; a site reduced to its host. None when nothing
  // usable is left.
  static std::optional<std::string> pattern(CategoryRule::Subject subject, std::string_view typed);
  // Files `typed` under `categoryRaw` (a built-in raw value or an existing custom id). Fails,
  // writing nothing, for an unusable pattern ("nothing to match"), an unknown category ("no
  // such category") or a store failure (its message).
  Result<CategoryRule> add(CategoryRule::Subject subject, std::string_view typed,
                           std::string_view categoryRaw);
  Status remove(const Uuid& id);
  // The line shown for a rule: "<subject>: <pattern> -> <category>" in `language`.
  std::string describe(const CategoryRule& rule, std::string_view language) const;

 private:
  SegmentStore& store_;
  const CategoryCatalog& catalog_;
  const Clock& clock_;
};

}  // namespace velto
