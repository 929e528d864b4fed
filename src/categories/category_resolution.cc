#include "categories/category_resolution.h"

namespace velto {

CategoryResolution::CategoryResolution(std::shared_ptr<const CategorySeed> seed,
                                       CategoryCatalog& catalog)
    : seed_(std::move(seed)), catalog_(catalog) {
  compile();
  catalogSubscription_ = catalog_.subscribeChanges([this] { compile(); });
}

void CategoryResolution::rebuild(std::vector<CategoryRule> rules) {
  rules_ = std::move(rules);
  compile();
}

std::shared_ptr<const CategoryResolver> CategoryResolution::current() const {
  std::lock_guard lock(mutex_);
  return current_;
}

void CategoryResolution::compile() {
  auto next =
      std::make_shared<const CategoryResolver>(CategoryResolver::build(rules_, catalog_, seed_));
  std::lock_guard lock(mutex_);
  current_ = std::move(next);
}

}  // namespace velto
