#include "categories/category_resolver.h"

#include <algorithm>

#include "categories/category_catalog.h"
#include "categories/text_case.h"
#include "context/app_identity.h"

namespace velto {

namespace {

constexpr std::string_view kLegacyWork = "work";

std::string_view otherRaw() {
  return rawValue(BuiltInCategory::other);
}

std::string hostPattern(std::string_view pattern) {
  std::string host = lowerCased(trimmed(pattern));
  for (std::string_view prefix : {"*.", "www."}) {
    if (host.starts_with(prefix)) host.erase(0, prefix.size());
  }
  return host;
}

// Newest first; rules made at the same instant keep a fixed order by id.
std::vector<const CategoryRule*> newestFirst(std::span<const CategoryRule> rules) {
  std::vector<const CategoryRule*> out;
  out.reserve(rules.size());
  for (const CategoryRule& rule : rules) out.push_back(&rule);
  std::sort(out.begin(), out.end(), [](const CategoryRule* a, const CategoryRule* b) {
    if (a->createdAt != b->createdAt) return a->createdAt > b->createdAt;
    return a->id < b->id;
  });
  return out;
}

// Scratch buffers for lower-casing the inputs without allocating on every call.
struct Scratch {
  std::string bundle;
  std::string host;
  std::string title;
};

Scratch& scratch() {
  thread_local Scratch buffers;
  return buffers;
}

}  // namespace

UsageCategory ruleCategory(std::string_view categoryRaw,
                           const std::function<bool(std::string_view id)>& customExists) {
  if (auto builtIn = builtInCategoryFromRaw(categoryRaw)) return *builtIn;
  if (categoryRaw == kLegacyWork) return BuiltInCategory::coding;
  if (!categoryRaw.empty() && customExists && customExists(categoryRaw)) {
    return UsageCategory::custom(std::string(categoryRaw));
  }
  return BuiltInCategory::other;
}

CategoryResolver::CategoryResolver() : seed_(std::make_shared<const CategorySeed>()) {}

CategoryResolver::CategoryResolver(std::span<const CategoryRule> rules,
                                   std::span<const std::string> customIds,
                                   std::shared_ptr<const CategorySeed> seed)
    : customIds_(customIds.begin(), customIds.end()),
      seed_(seed ? std::move(seed) : std::make_shared<const CategorySeed>()) {
  for (const CategoryRule* rule : newestFirst(rules)) {
    const auto subject = rule->subject();
    if (!subject) continue;
    switch (*subject) {
      case CategoryRule::Subject::app:
        if (std::string key = lowerCased(trimmed(rule->pattern)); !key.empty()) {
          appRules_.emplace(std::move(key), targetOf(*rule));
        }
        break;
      case CategoryRule::Subject::host:
        if (std::string key = hostPattern(rule->pattern); !key.empty()) {
          hostRules_.emplace(std::move(key), targetOf(*rule));
        }
        break;
      case CategoryRule::Subject::keyword:
        if (std::string key = lowerCased(rule->pattern); !key.empty()) {
          keywordRules_.emplace_back(std::move(key), targetOf(*rule));
        }
        break;
    }
  }
}

CategoryResolver CategoryResolver::build(std::span<const CategoryRule> rules,
                                         const CategoryCatalog& catalog,
                                         std::shared_ptr<const CategorySeed> seed) {
  std::vector<std::string> ids;
  for (const CustomCategory& custom : catalog.contents().custom) ids.push_back(custom.id);
  return CategoryResolver(rules, ids, std::move(seed));
}

std::string_view CategoryResolver::targetOf(const CategoryRule& rule) const {
  const UsageCategory category = ruleCategory(
      rule.categoryRaw, [this](std::string_view id) { return customIds_.contains(id); });
  if (auto builtIn = category.builtIn()) return rawValue(*builtIn);
  return *customIds_.find(category.customId());
}

std::string_view rawValue(CategoryDecision::Source source) {
  switch (source) {
    case CategoryDecision::Source::keywordRule:
      return "keywordRule";
    case CategoryDecision::Source::hostRule:
      return "hostRule";
    case CategoryDecision::Source::builtInHost:
      return "builtInHost";
    case CategoryDecision::Source::appRule:
      return "appRule";
    case CategoryDecision::Source::builtInApp:
      return "builtInApp";
    case CategoryDecision::Source::nothing:
      break;
  }
  return "nothing";
}

std::string_view CategoryResolver::category(std::string_view bundleId,
                                            std::optional<std::string_view> host,
                                            std::optional<std::string_view> title) const {
  return resolve(bundleId, host, title, nullptr);
}

CategoryDecision CategoryResolver::decide(std::string_view bundleId,
                                          std::optional<std::string_view> host,
                                          std::optional<std::string_view> title) const {
  CategoryDecision decision;
  decision.category = std::string(resolve(bundleId, host, title, &decision));
  return decision;
}

std::string_view CategoryResolver::resolve(std::string_view bundleId,
                                           std::optional<std::string_view> host,
                                           std::optional<std::string_view> title,
                                           CategoryDecision* why) const {
  auto decided = [why](std::string_view category, CategoryDecision::Source source,
                       std::string_view matched) {
    if (why != nullptr) {
      why->source = source;
      why->matched = std::string(matched);
    }
    return category;
  };
  Scratch& buffers = scratch();
  lowerCaseInto(host.value_or(std::string_view()), buffers.host);
  const std::string_view lowerHost = buffers.host;

  if (!keywordRules_.empty()) {
    lowerCaseInto(title.value_or(std::string_view()), buffers.title);
    const std::string_view lowerTitle = buffers.title;
    for (const auto& [keyword, target] : keywordRules_) {
      if (lowerTitle.find(keyword) != std::string_view::npos ||
          lowerHost.find(keyword) != std::string_view::npos) {
        return decided(target, CategoryDecision::Source::keywordRule, keyword);
      }
    }
  }

  if (!lowerHost.empty()) {
    std::string_view key;
    if (auto hit = walkHostRules(lowerHost, key)) {
      return decided(*hit, CategoryDecision::Source::hostRule, key);
    }
    if (auto hit = walkSeedHosts(lowerHost, key)) {
      return decided(*hit, CategoryDecision::Source::builtInHost, key);
    }
  }

  lowerCaseInto(bundleId, buffers.bundle);
  if (auto rule = appRules_.find(std::string_view(buffers.bundle)); rule != appRules_.end()) {
    return decided(rule->second, CategoryDecision::Source::appRule, rule->first);
  }
  if (auto builtIn = seed_->appCategory(buffers.bundle)) {
    return decided(rawValue(*builtIn), CategoryDecision::Source::builtInApp, buffers.bundle);
  }
  // The same application under another of its names ("debian-xterm" is "xterm").
  const std::vector<std::string>& keys = cachedCatalogKeys(bundleId);
  for (const std::string& key : keys) {
    if (auto rule = appRules_.find(std::string_view(key)); rule != appRules_.end()) {
      return decided(rule->second, CategoryDecision::Source::appRule, rule->first);
    }
  }
  for (const std::string& key : keys) {
    if (auto builtIn = seed_->appCategory(key)) {
      return decided(rawValue(*builtIn), CategoryDecision::Source::builtInApp, key);
    }
  }
  return decided(otherRaw(), CategoryDecision::Source::nothing, {});
}

std::optional<std::string_view> CategoryResolver::walkHostRules(std::string_view host,
                                                                std::string_view& matched) const {
  if (hostRules_.empty()) return std::nullopt;
  for (std::string_view key = host;;) {
    if (auto found = hostRules_.find(key); found != hostRules_.end()) {
      matched = key;
      return found->second;
    }
    const size_t dot = key.find('.');
    if (dot == std::string_view::npos) return std::nullopt;
    key.remove_prefix(dot + 1);
  }
}

std::optional<std::string_view> CategoryResolver::walkSeedHosts(std::string_view host,
                                                                std::string_view& matched) const {
  for (std::string_view key = host;;) {
    if (auto found = seed_->hostCategory(key)) {
      matched = key;
      return rawValue(*found);
    }
    const size_t dot = key.find('.');
    if (dot == std::string_view::npos) return std::nullopt;
    key.remove_prefix(dot + 1);
  }
}

}  // namespace velto
