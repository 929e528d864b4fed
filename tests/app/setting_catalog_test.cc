#include "app/setting_catalog.h"

#include <gtest/gtest.h>

#include <map>

#include "base/notice_bus.h"
#include "settings/settings_keys.h"
#include "test_support/temp_dir.h"

namespace velto {
namespace {

using nlohmann::json;

class SettingCatalogTest : public ::testing::Test {
 protected:
  const SettingInfo& info(std::string_view key) {
    const SettingInfo* found = SettingCatalog::find(key);
    EXPECT_NE(found, nullptr) << key;
    return found != nullptr ? *found : SettingCatalog::all().front();
  }

  testing::TempDir dir;
  NoticeBus bus;
  Settings settings{dir / "settings.json", bus};
};

TEST_F(SettingCatalogTest, EveryKeyIsListedOnceAndFoundWithOrWithoutItsPrefix) {
  ASSERT_EQ(SettingCatalog::all().size(), std::size(keys::kAll));
  for (std::string_view key : keys::kAll) {
    ASSERT_NE(SettingCatalog::find(key), nullptr) << key;
    EXPECT_EQ(SettingCatalog::find(key)->key, key);
  }
  EXPECT_EQ(SettingCatalog::find("dailySummaryEnabled")->key, keys::kDailySummaryEnabled);
  EXPECT_EQ(SettingCatalog::find("velto.nothing"), nullptr);
  EXPECT_EQ(SettingCatalog::find(""), nullptr);
}

TEST_F(SettingCatalogTest, ValuesAreTypedAndCheckedAgainstTheKeysKind) {
  struct Case {
    std::string_view key;
    const char* typed;
    std::optional<json> value;  // none: refused
  };
  const Case cases[] = {
      {keys::kDailySummaryEnabled, "true", json(true)},
      {keys::kDailySummaryEnabled, "off", json(false)},
      {keys::kDailySummaryEnabled, "maybe", std::nullopt},
      {keys::kDailySummaryHour, "19", json(19)},
      {keys::kDailySummaryHour, "12", std::nullopt},  // the getter would read 18
      {keys::kDailySummaryHour, "19.5", std::nullopt},
      {keys::kDigestWeekday, "7", json(7)},
      {keys::kDigestWeekday, "9", std::nullopt},
      {keys::kRetentionDays, "30", json(30)},
      {keys::kRetentionDays, "0", std::nullopt},
      {keys::kRetentionDays, "-5", std::nullopt},
      {keys::kAwayPromptMinutes, "0", json(0)},  // off
      {keys::kLimitWarnRatio, "0.75", json(0.75)},
      {keys::kLimitWarnRatio, "1.5", std::nullopt},
      {keys::kLimitWarnRatio, "lots", std::nullopt},
      {keys::kIdleThresholdSeconds, "2m", json(120)},
      {keys::kIdleThresholdSeconds, "90", json(90)},  // seconds, as stored
      {keys::kIdleThresholdSeconds, "0", std::nullopt},
      {keys::kDayBudgetSeconds, "6h", json(21600)},
      {keys::kDayBudgetSeconds, "off", json(0)},  // no budget
      {keys::kMenuBarDisplay, "limit", json("limit")},
      {keys::kMenuBarDisplay, "banana", std::nullopt},
      {keys::kUiLanguage, "de", json("de")},
      {keys::kUiLanguage, "nl", std::nullopt},
      {keys::kAiModelEndpoint, "  ", std::nullopt},
      // Kept by their own features or by Velto itself.
      {keys::kLimits, "[]", std::nullopt},
      {keys::kIsPaused, "true", std::nullopt},
      {keys::kDigestVariant, "3", std::nullopt},
  };
  for (const Case& c : cases) {
    const Result<json> parsed = SettingCatalog::parse(info(c.key), c.typed, "en");
    if (c.value) {
      ASSERT_TRUE(parsed) << c.key << " " << c.typed << ": " << parsed.error();
      EXPECT_EQ(*parsed, *c.value) << c.key << " " << c.typed;
    } else {
      ASSERT_FALSE(parsed) << c.key << " " << c.typed;
      EXPECT_NE(parsed.error().find(c.key), std::string::npos) << parsed.error();
      EXPECT_EQ(parsed.error().find('\n'), std::string::npos) << parsed.error();
    }
  }
}

TEST_F(SettingCatalogTest, EveryWritableKeyReadsBackWhatWasWritten) {
  const std::map<SettingKind, const char*> samples = {
      {SettingKind::boolean, "true"},
      {SettingKind::integer, "max"},
      {SettingKind::number, "0.9"},
      {SettingKind::seconds, "5m"},
      {SettingKind::text, "http://127.0.0.1:8080/v1"}};
  for (const SettingInfo& key : SettingCatalog::all()) {
    if (!key.writable) continue;
    SCOPED_TRACE(key.key);
    std::string typed = key.kind == SettingKind::choice ? std::string(key.choices.back())
                                                        : std::string(samples.at(key.kind));
    if (typed == "max") typed = std::to_string(static_cast<int>(key.maximum));
    if (key.kind == SettingKind::boolean) {
      typed = SettingCatalog::defaultValue(key) == json(true) ? "false" : "true";
    }
    const Result<json> value = SettingCatalog::parse(key, typed, "en");
    ASSERT_TRUE(value) << value.error();
    EXPECT_NE(*value, SettingCatalog::defaultValue(key)) << "pick a sample that is no default";
    SettingCatalog::write(settings, key, *value);
    EXPECT_TRUE(settings.isStored(key.key));
    EXPECT_EQ(SettingCatalog::value(settings, key), *value);
    settings.reset(key.key);
    EXPECT_EQ(SettingCatalog::value(settings, key), SettingCatalog::defaultValue(key));
  }
}

TEST_F(SettingCatalogTest, ErrorsSpeakTheInterfaceLanguage) {
  const Result<json> english = SettingCatalog::parse(info(keys::kDailySummaryHour), "12", "en");
  const Result<json> german = SettingCatalog::parse(info(keys::kDailySummaryHour), "12", "de");
  ASSERT_FALSE(english);
  ASSERT_FALSE(german);
  EXPECT_NE(english.error(), german.error());
  EXPECT_NE(german.error().find("15"), std::string::npos) << german.error();
}

}  // namespace
}  // namespace velto
