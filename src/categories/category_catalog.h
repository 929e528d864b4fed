// The user's changes to categories: renamed, recoloured or relabelled built-ins and the user's
// own categories, kept under the settings key "velto.categories" and written back on every
// change. Answers the effective name, hue, symbol and focus label of any category.
//
// Thread: reads (contents, effective values) may come from any thread. Changes, reload and the
// change and deletion handlers belong to the main thread, like Settings and the NoticeBus.
#pragma once

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/notice_bus.h"
#include "base/time.h"
#include "categories/category_records.h"
#include "categories/color_hue.h"
#include "categories/usage_category.h"
#include "settings/settings.h"

namespace velto {

// A category as the user sees it now.
struct EffectiveCategory {
  std::string rawValue;  // built-in raw value or custom id
  std::string name;      // in the interface language for an unrenamed built-in
  std::string hueKey;    // as stored; draw it with colorHue(), which falls back to slate
  std::string symbol;
  FocusLabel focus = FocusLabel::neutral;
};

class CategoryCatalog {
 public:
  using Contents = CategoryCatalogContents;

  // Reads the stored contents at once and follows later changes of the key, whether made here
  // or by another process (seen through Settings' change notice). Both must outlive the catalog.
  CategoryCatalog(Settings& settings, NoticeBus& notices);
  CategoryCatalog(const CategoryCatalog&) = delete;
  CategoryCatalog& operator=(const CategoryCatalog&) = delete;

  Contents contents() const;

  // Replaces the user's changes to a built-in; an override with every field empty clears them.
  void setOverride(BuiltInCategory category, CategoryOverride change);
  // "Back to how it was built in": the shipped name, hue and focus label return.
  void clearOverride(BuiltInCategory category);

  // Makes a category with a fresh id and appends it. `createdAt` comes from the caller's Clock.
  CustomCategory addCustom(std::string name, std::string hueKey, std::string iconName,
                           std::optional<FocusLabel> focus, Instant createdAt);
  // Takes name, hue, icon and focus from `edited` for the category with `edited.id`, keeping
  // its id and creation date. False when there is no such category.
  bool updateCustom(const CustomCategory& edited);
  // Changes the fields `change` holds of any category, keeping the rest: for a built-in they
  // are merged into its override, for a custom category into its record. False when there is
  // no such category.
  bool change(const UsageCategory& category, const CategoryOverride& change);
  // Removes the category, then calls every deletion handler with its id so that its rules (and
  // limits) go with it. False when there is no such category.
  bool deleteCustom(std::string_view id);
  std::optional<CustomCategory> custom(std::string_view id) const;
  // True for every built-in and for the id of a custom category that exists now.
  bool exists(std::string_view categoryRaw) const;

  // Built-ins in display order, then custom categories in creation order.
  std::vector<UsageCategory> allCategories() const;
  // Override values where set, else the built-in's own; a custom category's record, with no
  // focus label meaning neutral. A custom id that no longer exists is described as Other.
  EffectiveCategory effective(const UsageCategory& category, std::string_view language) const;
  FocusLabel focus(const UsageCategory& category) const;
  const ColorHue& hue(const UsageCategory& category) const;
  // For a built-in the user renamed, the settings line naming the shipped name
  // ("settings.categories.renamedFrom %@ %@": focus label, then shipped name); none otherwise.
  std::optional<std::string> renamedFromText(BuiltInCategory category,
                                             std::string_view language) const;

  // Called on the main thread after the contents changed, by this catalog or another process.
  [[nodiscard]] Subscription subscribeChanges(std::function<void()> handler);
  // Called with the id of each deleted custom category; the app removes its rules and limits.
  void addDeletionHandler(std::function<void(const std::string& id)> handler);

  // Reads the stored contents again; posts a change when they differ. Undecodable parts are
  // logged and left out.
  void reload();

 private:
  void commit(Contents next);
  EffectiveCategory effectiveLocked(const UsageCategory& category, std::string_view language) const;
  const CustomCategory* findLocked(std::string_view id) const;

  Settings& settings_;
  Subscription settingsSubscription_;
  NoticeBus changes_;
  std::vector<std::function<void(const std::string&)>> deletionHandlers_;
  mutable std::mutex mutex_;
  Contents contents_;
};

}  // namespace velto
