#include "categories/category_catalog.h"

#include <gtest/gtest.h>

#include <memory>

#include "base/files.h"
#include "settings/settings_keys.h"
#include "test_support/log_capture.h"
#include "test_support/temp_dir.h"
#include "test_support/time_helpers.h"

namespace velto {
namespace {

using nlohmann::json;
using testing::at;

class CategoryCatalogTest : public ::testing::Test {
 protected:
  CategoryCatalogTest() { restart(); }

  // A new process over the same settings file.
  void restart() {
    catalog_.reset();
    settings_ = std::make_unique<Settings>(dir_ / "settings.json", bus_);
    catalog_ = std::make_unique<CategoryCatalog>(*settings_, bus_);
  }

  json stored() const {
    return json::parse(*files::readAll(dir_ / "settings.json"))["velto.categories"];
  }

  testing::TempDir dir_;
  testing::LogCapture log_;
  NoticeBus bus_;
  std::unique_ptr<Settings> settings_;
  std::unique_ptr<CategoryCatalog> catalog_;
};

TEST_F(CategoryCatalogTest, BuiltInsShipWithTheirOwnValues) {
  const EffectiveCategory coding = catalog_->effective(BuiltInCategory::coding, "en");
  EXPECT_EQ(coding.rawValue, "coding");
  EXPECT_EQ(coding.name, "Coding");
  EXPECT_EQ(coding.hueKey, "indigo");
  EXPECT_EQ(coding.symbol, "curlybraces");
  EXPECT_EQ(coding.focus, FocusLabel::focus);
  EXPECT_EQ(catalog_->effective(BuiltInCategory::social, "de").name, "Soziale Medien");
  EXPECT_EQ(catalog_->focus(BuiltInCategory::entertainment), FocusLabel::distracting);
  EXPECT_EQ(catalog_->hue(BuiltInCategory::other).key, "slate");
  EXPECT_EQ(catalog_->allCategories().size(), 10u);
}

TEST_F(CategoryCatalogTest, OverridesSurviveARestartAndClearingRestoresTheShippedValues) {
  catalog_->setOverride(BuiltInCategory::social,
                        {.name = "Friends", .hueKey = "gold", .focus = FocusLabel::neutral});
  catalog_->setOverride(
      BuiltInCategory::reading,
      {.name = std::nullopt, .hueKey = std::nullopt, .focus = FocusLabel::distracting});
  EXPECT_EQ(stored()["overrides"],
            json::parse(R"({"social":{"name":"Friends","hueKey":"gold","focus":"neutral"},
                            "reading":{"focus":"distracting"}})"));

  restart();
  const EffectiveCategory social = catalog_->effective(BuiltInCategory::social, "en");
  EXPECT_EQ(social.name, "Friends");
  EXPECT_EQ(social.hueKey, "gold");
  EXPECT_EQ(social.focus, FocusLabel::neutral);
  EXPECT_EQ(catalog_->effective(BuiltInCategory::reading, "en").name, "Reading");
  EXPECT_EQ(catalog_->focus(BuiltInCategory::reading), FocusLabel::distracting);
  EXPECT_EQ(catalog_->renamedFromText(BuiltInCategory::social, "en"),
            "Neutral - built in as Social");
  EXPECT_EQ(catalog_->renamedFromText(BuiltInCategory::reading, "en"), std::nullopt);

  catalog_->clearOverride(BuiltInCategory::social);
  restart();
  const EffectiveCategory restored = catalog_->effective(BuiltInCategory::social, "en");
  EXPECT_EQ(restored.name, "Social");
  EXPECT_EQ(restored.hueKey, "rose");
  EXPECT_EQ(restored.focus, FocusLabel::distracting);
  EXPECT_EQ(catalog_->renamedFromText(BuiltInCategory::social, "en"), std::nullopt);
}

TEST_F(CategoryCatalogTest, CustomCategoriesSurviveARestartInCreationOrder) {
  const CustomCategory clients = catalog_->addCustom("Clients", "gold", "briefcase",
                                                     FocusLabel::focus, at("2026-02-01T09:00:00Z"));
  const CustomCategory errands =
      catalog_->addCustom("Errands", "brown", "cart", std::nullopt, at("2026-02-02T09:00:00Z"));
  EXPECT_NE(clients.id, errands.id);
  EXPECT_FALSE(builtInCategoryFromRaw(clients.id).has_value());

  restart();
  EXPECT_EQ(catalog_->contents().custom, (std::vector<CustomCategory>{clients, errands}));
  const EffectiveCategory effective = catalog_->effective(UsageCategory::custom(errands.id), "en");
  EXPECT_EQ(effective.name, "Errands");
  EXPECT_EQ(effective.symbol, "cart");
  EXPECT_EQ(effective.focus, FocusLabel::neutral) << "no focus label counts as neutral";
  ASSERT_FALSE(catalog_->allCategories().empty());
  EXPECT_EQ(catalog_->allCategories().back(), UsageCategory::custom(errands.id));

  CustomCategory edited = clients;
  edited.name = "Client work";
  edited.hueKey = "not-a-hue";
  edited.createdAt = at("2030-01-01T00:00:00Z");
  ASSERT_TRUE(catalog_->updateCustom(edited));
  restart();
  const auto reread = catalog_->custom(clients.id);
  ASSERT_TRUE(reread);
  EXPECT_EQ(reread->name, "Client work");
  EXPECT_EQ(reread->createdAt, clients.createdAt) << "the creation date is kept";
  EXPECT_EQ(catalog_->hue(UsageCategory::custom(clients.id)).key, "slate");
}

TEST_F(CategoryCatalogTest, DeletingACustomCategoryTellsItsDependentsAndDescribesItAsOther) {
  const CustomCategory gone = catalog_->addCustom("Side project", "cyan", "hammer",
                                                  FocusLabel::focus, at("2026-02-01T09:00:00Z"));
  std::vector<std::string> deleted;
  catalog_->addDeletionHandler([&](const std::string& id) { deleted.push_back(id); });
  EXPECT_FALSE(catalog_->deleteCustom("no-such-id"));
  EXPECT_TRUE(catalog_->deleteCustom(gone.id));
  EXPECT_EQ(deleted, std::vector<std::string>{gone.id});
  EXPECT_FALSE(catalog_->exists(gone.id));
  EXPECT_EQ(catalog_->effective(UsageCategory::custom(gone.id), "en").rawValue, "other");
  EXPECT_EQ(stored()["custom"], json::array());
}

TEST_F(CategoryCatalogTest, FollowsAnotherProcessesWriteAndSkipsUnreadableEntries) {
  int changes = 0;
  Subscription subscription = catalog_->subscribeChanges([&] { ++changes; });
  ASSERT_TRUE(files::writeAtomically(dir_ / "settings.json", R"({"velto.categories": {
      "overrides": {"coding": {"name": "Code", "focus": "sometimes"}, "games": {"name": "G"}},
      "custom": [{"id": "c1", "name": "Clients", "hueKey": "gold", "iconName": "briefcase",
                  "createdAt": 791629200},
                 {"id": "c1", "name": "Twice"}, {"name": "No id"}, {"id": "ai", "name": "Clash"}]}})"));
  settings_->reloadIfChanged();

  EXPECT_EQ(changes, 1);
  EXPECT_EQ(catalog_->effective(BuiltInCategory::coding, "en").name, "Code");
  EXPECT_EQ(catalog_->focus(BuiltInCategory::coding), FocusLabel::focus);
  ASSERT_EQ(catalog_->contents().custom.size(), 1u);
  EXPECT_EQ(catalog_->custom("c1").value().createdAt, at("2026-02-01T09:00:00Z"));
  EXPECT_EQ(log_.lines, (std::vector<std::string>{
                            "Could not read categories: override 'coding': unknown focus label "
                            "'sometimes'",
                            "Could not read categories: unknown category 'games'",
                            "Could not read categories: custom category 2 ('c1'): the id is used "
                            "twice",
                            "Could not read categories: custom category 3 has no id",
                            "Could not read categories: custom category 4 ('ai'): the id belongs "
                            "to a built-in category"}));
}

}  // namespace
}  // namespace velto
