#include "categories/category_catalog.h"

#include <algorithm>

#include "base/log.h"
#include "base/strings.h"
#include "base/uuid.h"
#include "categories/catalog_contents_json.h"
#include "settings/settings_keys.h"

namespace velto {

namespace {

constexpr std::string_view kChanged = "changed";

CategoryCatalogContents load(const Settings& settings) {
  const auto document = settings.json(keys::kCategories);
  if (!document) return {};
  DecodedCatalogContents decoded = decodeCatalogContents(*document);
  for (const std::string& problem : decoded.problems) {
    log::error("Could not read categories: %{public}s", problem);
  }
  return std::move(decoded.contents);
}

}  // namespace

CategoryCatalog::CategoryCatalog(Settings& settings, NoticeBus& notices)
    : settings_(settings), contents_(load(settings)) {
  settingsSubscription_ = notices.subscribe(keys::kCategories, [this] { reload(); });
}

CategoryCatalog::Contents CategoryCatalog::contents() const {
  std::lock_guard lock(mutex_);
  return contents_;
}

void CategoryCatalog::setOverride(BuiltInCategory category, CategoryOverride change) {
  Contents next = contents();
  if (change.isEmpty()) {
    next.overrides.erase(std::string(rawValue(category)));
  } else {
    next.overrides[std::string(rawValue(category))] = std::move(change);
  }
  commit(std::move(next));
}

void CategoryCatalog::clearOverride(BuiltInCategory category) {
  setOverride(category, {});
}

CustomCategory CategoryCatalog::addCustom(std::string name, std::string hueKey,
                                          std::string iconName, std::optional<FocusLabel> focus,
                                          Instant createdAt) {
  CustomCategory made{Uuid::random().toString(), std::move(name), std::move(hueKey),
                      std::move(iconName),       focus,           createdAt};
  Contents next = contents();
  next.custom.push_back(made);
  commit(std::move(next));
  return made;
}

bool CategoryCatalog::updateCustom(const CustomCategory& edited) {
  Contents next = contents();
  auto found = std::find_if(next.custom.begin(), next.custom.end(),
                            [&](const CustomCategory& c) { return c.id == edited.id; });
  if (found == next.custom.end()) return false;
  found->name = edited.name;
  found->hueKey = edited.hueKey;
  found->iconName = edited.iconName;
  found->focus = edited.focus;
  commit(std::move(next));
  return true;
}

bool CategoryCatalog::change(const UsageCategory& category, const CategoryOverride& change) {
  if (category.isBuiltIn()) {
    const std::optional<BuiltInCategory> builtIn = category.builtIn();
    if (!builtIn) return false;
    const Contents now = contents();
    const auto found = now.overrides.find(std::string(category.rawValue()));
    CategoryOverride merged = found != now.overrides.end() ? found->second : CategoryOverride{};
    if (change.name) merged.name = change.name;
    if (change.hueKey) merged.hueKey = change.hueKey;
    if (change.focus) merged.focus = change.focus;
    setOverride(*builtIn, std::move(merged));
    return true;
  }
  std::optional<CustomCategory> edited = custom(category.customId());
  if (!edited) return false;
  if (change.name) edited->name = *change.name;
  if (change.hueKey) edited->hueKey = *change.hueKey;
  if (change.focus) edited->focus = change.focus;
  return updateCustom(*edited);
}

bool CategoryCatalog::deleteCustom(std::string_view id) {
  Contents next = contents();
  auto found = std::find_if(next.custom.begin(), next.custom.end(),
                            [&](const CustomCategory& c) { return c.id == id; });
  if (found == next.custom.end()) return false;
  const std::string deleted = found->id;
  next.custom.erase(found);
  commit(std::move(next));
  for (const auto& handler : deletionHandlers_) handler(deleted);
  return true;
}

std::optional<CustomCategory> CategoryCatalog::custom(std::string_view id) const {
  std::lock_guard lock(mutex_);
  if (const CustomCategory* found = findLocked(id)) return *found;
  return std::nullopt;
}

bool CategoryCatalog::exists(std::string_view categoryRaw) const {
  if (builtInCategoryFromRaw(categoryRaw)) return true;
  std::lock_guard lock(mutex_);
  return findLocked(categoryRaw) != nullptr;
}

std::vector<UsageCategory> CategoryCatalog::allCategories() const {
  std::vector<UsageCategory> all;
  for (const BuiltInCategoryInfo& builtIn : builtInCategories()) all.push_back(builtIn.category);
  std::lock_guard lock(mutex_);
  for (const CustomCategory& category : contents_.custom) {
    all.push_back(UsageCategory::custom(category.id));
  }
  return all;
}

EffectiveCategory CategoryCatalog::effective(const UsageCategory& category,
                                             std::string_view language) const {
  std::lock_guard lock(mutex_);
  return effectiveLocked(category, language);
}

FocusLabel CategoryCatalog::focus(const UsageCategory& category) const {
  std::lock_guard lock(mutex_);
  if (!category.isBuiltIn()) {
    if (const CustomCategory* found = findLocked(category.customId())) {
      return found->focus.value_or(FocusLabel::neutral);
    }
  }
  const BuiltInCategory builtIn = category.builtIn().value_or(BuiltInCategory::other);
  auto change = contents_.overrides.find(std::string(rawValue(builtIn)));
  if (change != contents_.overrides.end() && change->second.focus) return *change->second.focus;
  return info(builtIn).defaultFocus;
}

const ColorHue& CategoryCatalog::hue(const UsageCategory& category) const {
  std::lock_guard lock(mutex_);
  return colorHue(effectiveLocked(category, "en").hueKey);
}

std::optional<std::string> CategoryCatalog::renamedFromText(BuiltInCategory category,
                                                            std::string_view language) const {
  std::lock_guard lock(mutex_);
  auto change = contents_.overrides.find(std::string(rawValue(category)));
  if (change == contents_.overrides.end() || !change->second.name || change->second.name->empty()) {
    return std::nullopt;
  }
  const EffectiveCategory now = effectiveLocked(category, language);
  return i18n::text(language, "settings.categories.renamedFrom %@ %@",
                    i18n::text(language, localisationKey(now.focus)),
                    i18n::text(language, info(category).nameKey));
}

Subscription CategoryCatalog::subscribeChanges(std::function<void()> handler) {
  return changes_.subscribe(kChanged, std::move(handler));
}

void CategoryCatalog::addDeletionHandler(std::function<void(const std::string& id)> handler) {
  deletionHandlers_.push_back(std::move(handler));
}

void CategoryCatalog::reload() {
  Contents loaded = load(settings_);
  {
    std::lock_guard lock(mutex_);
    if (loaded == contents_) return;
    contents_ = std::move(loaded);
  }
  changes_.post(kChanged);
}

void CategoryCatalog::commit(Contents next) {
  nlohmann::json document = encodeCatalogContents(next);
  {
    std::lock_guard lock(mutex_);
    contents_ = std::move(next);
  }
  // Settings posts the key's notice, which brings reload() back here with equal contents.
  settings_.setJson(keys::kCategories, std::move(document));
  changes_.post(kChanged);
}

EffectiveCategory CategoryCatalog::effectiveLocked(const UsageCategory& category,
                                                   std::string_view language) const {
  if (!category.isBuiltIn()) {
    if (const CustomCategory* found = findLocked(category.customId())) {
      return {found->id, found->name, found->hueKey, found->iconName,
              found->focus.value_or(FocusLabel::neutral)};
    }
  }
  const BuiltInCategoryInfo& shipped = info(category.builtIn().value_or(BuiltInCategory::other));
  EffectiveCategory out{std::string(shipped.rawValue), i18n::text(language, shipped.nameKey),
                        std::string(shipped.hueKey), std::string(shipped.symbol),
                        shipped.defaultFocus};
  auto change = contents_.overrides.find(out.rawValue);
  if (change == contents_.overrides.end()) return out;
  if (change->second.name && !change->second.name->empty()) out.name = *change->second.name;
  if (change->second.hueKey && !change->second.hueKey->empty()) out.hueKey = *change->second.hueKey;
  if (change->second.focus) out.focus = *change->second.focus;
  return out;
}

const CustomCategory* CategoryCatalog::findLocked(std::string_view id) const {
  for (const CustomCategory& category : contents_.custom) {
    if (category.id == id) return &category;
  }
  return nullptr;
}

}  // namespace velto
