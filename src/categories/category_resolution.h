// Keeps the current CategoryResolver and builds a new one when the user's rules or custom
// categories change. Reports take current() once per reload and resolve with it.
//
// Thread: rebuild and the catalog subscription run on the main thread; current() may be called
// from any thread and returns a resolver that stays valid for as long as the caller holds it.
#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "base/notice_bus.h"
#include "categories/category_catalog.h"
#include "categories/category_resolver.h"
#include "categories/category_seed.h"
#include "store/category_rule.h"

namespace velto {

class CategoryResolution {
 public:
  // Starts with no rules. Follows the catalog's changes (a deleted custom category sends its
  // rules' time to "other" at once). The catalog must outlive this object.
  CategoryResolution(std::shared_ptr<const CategorySeed> seed, CategoryCatalog& catalog);

  // Compiles `rules` (all of the user's stored rules) into a new resolver. The app calls this
  // after loading the rules at start and whenever the store reports that rules changed.
  void rebuild(std::vector<CategoryRule> rules);

  std::shared_ptr<const CategoryResolver> current() const;

 private:
  void compile();

  std::shared_ptr<const CategorySeed> seed_;
  CategoryCatalog& catalog_;
  std::vector<CategoryRule> rules_;
  Subscription catalogSubscription_;
  mutable std::mutex mutex_;
  std::shared_ptr<const CategoryResolver> current_;
};

}  // namespace velto
