// Decides the category of a stretch of time from its bundle identifier, host and window title.
// First match wins:
//   1. the user's keyword rules, in order, against the window title, else the host;
//   2. with a host: the user's host rules, then the seed's host table, each by the suffix walk
//      (docs.example.com, then example.com, then com; the most specific hit wins);
//   3. the user's app rules;  4. the seed's app table;  5. "other".
// Everything is compared lower-cased. So a site keeps its built-in category even in a browser
// the user filed elsewhere.
//
// Immutable once built: any thread may resolve. Reports keep one per reload and memoise per
// distinct (bundle, host, title).
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "categories/category_seed.h"
#include "categories/usage_category.h"
#include "store/category_rule.h"

namespace velto {

class CategoryCatalog;

// The category a rule files under, read from its stored categoryRaw: a built-in raw value gives
// that built-in, the legacy "work" gives coding, an existing custom id gives that category, and
// anything else (a deleted custom category) gives other.
UsageCategory ruleCategory(std::string_view categoryRaw,
                           const std::function<bool(std::string_view id)>& customExists);

// Which of the resolver's steps filed a stretch, and by what: the keyword, the host (as far as
// the suffix walk went), or the application identifier that matched.
struct CategoryDecision {
  enum class Source { keywordRule, hostRule, builtInHost, appRule, builtInApp, nothing };
  std::string category;  // as category() answers
  Source source = Source::nothing;
  std::string matched;  // lower-cased; empty for nothing
};
std::string_view rawValue(CategoryDecision::Source source);

class CategoryResolver {
 public:
  // No rules and no seed: everything is "other".
  CategoryResolver();
  // Compiles the user's rules. `customIds` are the custom categories that exist now. Of several
  // rules with the same subject and pattern the newest (createdAt) wins, and keyword rules are
  // tried newest first, so the user's latest decision counts. Rules with an unknown subject or
  // an empty pattern are ignored. Host patterns lose a leading "www." or "*.".
  CategoryResolver(std::span<const CategoryRule> rules, std::span<const std::string> customIds,
                   std::shared_ptr<const CategorySeed> seed);
  // The same with the custom categories the catalog holds now.
  static CategoryResolver build(std::span<const CategoryRule> rules, const CategoryCatalog& catalog,
                                std::shared_ptr<const CategorySeed> seed);

  CategoryResolver(CategoryResolver&&) = default;
  CategoryResolver& operator=(CategoryResolver&&) = default;
  CategoryResolver(const CategoryResolver&) = delete;
  CategoryResolver& operator=(const CategoryResolver&) = delete;

  // A built-in raw value or a custom category's id, never empty: "other" when nothing matches.
  // The view stays valid as long as this resolver.
  std::string_view category(std::string_view bundleId,
                            std::optional<std::string_view> host = std::nullopt,
                            std::optional<std::string_view> title = std::nullopt) const;
  // The same answer with the step that gave it, for explaining a category to the user.
  CategoryDecision decide(std::string_view bundleId,
                          std::optional<std::string_view> host = std::nullopt,
                          std::optional<std::string_view> title = std::nullopt) const;
  // Whether a window title can change the answer (the user has keyword rules).
  bool readsTitles() const { return !keywordRules_.empty(); }

 private:
  struct Hash {
    using is_transparent = void;
    size_t operator()(std::string_view text) const { return std::hash<std::string_view>{}(text); }
  };
  // Values are views of built-in raw values or of customIds_.
  using Table = std::unordered_map<std::string, std::string_view, Hash, std::equal_to<>>;

  std::string_view targetOf(const CategoryRule& rule) const;
  // `why`, when given, is told which step decided.
  std::string_view resolve(std::string_view bundleId, std::optional<std::string_view> host,
                           std::optional<std::string_view> title, CategoryDecision* why) const;
  std::optional<std::string_view> walkHostRules(std::string_view host,
                                                std::string_view& matched) const;
  std::optional<std::string_view> walkSeedHosts(std::string_view host,
                                                std::string_view& matched) const;

  std::set<std::string, std::less<>> customIds_;  // node-based: views into it stay valid
  Table appRules_;
  Table hostRules_;
  std::vector<std::pair<std::string, std::string_view>> keywordRules_;
  std::shared_ptr<const CategorySeed> seed_;
};

}  // namespace velto
