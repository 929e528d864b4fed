#include "settings/settings.h"

#include <gtest/gtest.h>

#include <climits>
#include <fstream>
#include <functional>

#include "base/files.h"
#include "settings/settings_keys.h"
#include "test_support/log_capture.h"
#include "test_support/temp_dir.h"
#include "test_support/time_helpers.h"

namespace velto {
namespace {

using nlohmann::json;
using testing::at;

class SettingsTest : public ::testing::Test {
 protected:
  std::filesystem::path path() const { return dir_ / "settings.json"; }

  // Replaces the file as another process would.
  void writeFile(const std::string& text) { ASSERT_TRUE(files::writeAtomically(path(), text)); }

  // Settings over a file holding `key` as the JSON text `stored` (none: the key is absent).
  Settings openWith(std::string_view key, const char* stored) {
    std::ofstream(path(), std::ios::trunc)
        << (stored ? "{\"" + std::string(key) + "\": " + stored + "}" : "{}");
    return Settings(path(), bus_);
  }

  json onDisk() const { return json::parse(*files::readAll(path())); }

  // Records the name of every settings notice posted from now on.
  void recordNotices() {
    for (std::string_view key : keys::kAll) {
      subscriptions_.push_back(bus_.subscribe(key, [this, key] { posted_.emplace_back(key); }));
    }
  }
  std::vector<std::string> takePosted() { return std::exchange(posted_, {}); }

  testing::TempDir dir_;
  NoticeBus bus_;
  std::vector<Subscription> subscriptions_;
  std::vector<std::string> posted_;
};

TEST_F(SettingsTest, BooleansAreStrictAndDefaultPerKey) {
  struct Case {
    std::string_view key;
    bool (Settings::*get)() const;
    bool fallback;
  };
  const Case cases[] = {
      {keys::kIsPaused, &Settings::isPaused, false},
      {keys::kDetailCaptureEnabled, &Settings::detailCaptureEnabled, true},
      {keys::kLimitAlertsEnabled, &Settings::limitAlertsEnabled, true},
      {keys::kGoalAlertsEnabled, &Settings::goalAlertsEnabled, false},
      {keys::kDailySummaryEnabled, &Settings::dailySummaryEnabled, false},
      {keys::kWeeklyDigestEnabled, &Settings::weeklyDigestEnabled, true},
      {keys::kAiSummaryEnabled, &Settings::aiSummaryEnabled, false},
      {keys::kLaunchAtLogin, &Settings::launchAtLogin, false},
      {keys::kOnboardingCompleted, &Settings::onboardingCompleted, false},
      {keys::kAccessibilityRequested, &Settings::accessibilityRequested, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.key);
    EXPECT_EQ((openWith(c.key, nullptr).*c.get)(), c.fallback);
    EXPECT_EQ((openWith(c.key, "true").*c.get)(), true);
    EXPECT_EQ((openWith(c.key, "false").*c.get)(), false);
    for (const char* wrong : {"\"true\"", "1", "0", "null", "{}"}) {
      EXPECT_EQ((openWith(c.key, wrong).*c.get)(), c.fallback) << wrong;
    }
  }
}

TEST_F(SettingsTest, IntegersApplyDefaultsAndRanges) {
  struct Family {
    std::string_view key;
    int (Settings::*get)() const;
    std::vector<std::pair<const char*, int>> cases;  // stored JSON text (none: absent), read
  };
  const Family families[] = {
      {keys::kAwayPromptMinutes,
       &Settings::awayPromptMinutes,
       {{nullptr, 15},
        {"0", 0},
        {"-3", -3},
        {"30", 30},
        {"20.0", 20},
        {"15.5", 15},
        {"\"20\"", 15},
        {"true", 15}}},
      {keys::kDailySummaryHour,
       &Settings::dailySummaryHour,
       {{nullptr, 18},
        {"12", 18},
        {"14", 18},
        {"15", 15},
        {"23", 23},
        {"24", 18},
        {"21.0", 21},
        {"16.5", 18},
        {"\"20\"", 18}}},
      {keys::kDigestWeekday,
       &Settings::digestWeekday,
       {{nullptr, 2}, {"9", 2}, {"0", 2}, {"1", 1}, {"7", 7}, {"8", 2}, {"false", 2}}},
      {keys::kDigestHour,
       &Settings::digestHour,
       {{nullptr, 9}, {"-1", 9}, {"0", 0}, {"23", 23}, {"24", 9}, {"4294967305", 9}}},
      {keys::kDigestVariant,
       &Settings::digestVariant,
       {{nullptr, 0}, {"4", 4}, {"-2", 0}, {"1e20", INT_MAX}, {"18446744073709551615", INT_MAX}}},
  };
  for (const Family& family : families) {
    for (const auto& [stored, expected] : family.cases) {
      SCOPED_TRACE(std::string(family.key) + " = " + (stored ? stored : "absent"));
      EXPECT_EQ((openWith(family.key, stored).*family.get)(), expected);
    }
  }
}

TEST_F(SettingsTest, NumbersApplyDefaultsAndRanges) {
  using Read = std::function<std::optional<double>(const Settings&)>;
  struct Family {
    std::string_view key;
    Read read;
    std::vector<std::pair<const char*, std::optional<double>>> cases;
  };
  const Family families[] = {
      {keys::kIdleThresholdSeconds,
       [](const Settings& s) { return s.idleThresholdSeconds(); },
       {{nullptr, 120}, {"0", 120}, {"-5", 120}, {"45.5", 45.5}, {"\"60\"", 120}}},
      {keys::kLimitWarnRatio,
       [](const Settings& s) { return s.limitWarnRatio(); },
       {{nullptr, 0.8},
        {"0.9", 0.9},
        {"1", 1},
        {"1.5", 1},
        {"0", std::nullopt},
        {"-0.2", std::nullopt},
        {"\"0.9\"", 0.8},
        {"true", 0.8}}},
      {keys::kDayBudgetSeconds,
       [](const Settings& s) { return s.dayBudgetSeconds(); },
       {{nullptr, 28800},
        {"0", std::nullopt},
        {"-1", std::nullopt},
        {"3600", 3600},
        {"\"x\"", 28800}}},
  };
  for (const Family& family : families) {
    for (const auto& [stored, expected] : family.cases) {
      SCOPED_TRACE(std::string(family.key) + " = " + (stored ? stored : "absent"));
      EXPECT_EQ(family.read(openWith(family.key, stored)), expected);
    }
  }
}

TEST_F(SettingsTest, StringsFallBackWhenUnknownOrWrongTyped) {
  using Read = std::function<std::string(const Settings&)>;
  static constexpr std::string_view kModes[] = {"icon", "time", "budget"};
  struct Family {
    std::string_view key;
    Read read;
    std::vector<std::pair<const char*, std::string>> cases;
  };
  const Family families[] = {
      {keys::kUiLanguage,
       [](const Settings& s) { return s.uiLanguage(); },
       {{nullptr, "auto"},
        {"\"tr\"", "tr"},
        {"\"fr\"", "fr"},
        {"\"xx\"", "auto"},
        {"\"EN\"", "auto"},
        {"5", "auto"}}},
      {keys::kTheme,
       [](const Settings& s) { return s.theme(); },
       {{nullptr, "auto"}, {"\"dark\"", "dark"}, {"\"light\"", "light"}, {"\"blue\"", "auto"}}},
      {keys::kLaunchAtLoginMode,
       [](const Settings& s) { return s.launchAtLoginMode(); },
       {{nullptr, "autostart"},
        {"\"service\"", "service"},
        {"\"cron\"", "autostart"},
        {"true", "autostart"}}},
      {keys::kMenuBarDisplay,
       [](const Settings& s) { return s.menuBarDisplay(kModes); },
       {{nullptr, "icon"}, {"\"time\"", "time"}, {"\"banana\"", "icon"}, {"3", "icon"}}},
      {keys::kDailySummaryDeliveredDay,
       [](const Settings& s) { return s.dailySummaryDeliveredDay().value_or("(none)"); },
       {{nullptr, "(none)"}, {"\"2026-11-14\"", "2026-11-14"}, {"20261114", "(none)"}}},
      {keys::kDigestDeliveredWeek,
       [](const Settings& s) { return s.digestDeliveredWeek().value_or("(none)"); },
       {{nullptr, "(none)"}, {"\"2026-W46\"", "2026-W46"}, {"[46]", "(none)"}}},
  };
  for (const Family& family : families) {
    for (const auto& [stored, expected] : family.cases) {
      SCOPED_TRACE(std::string(family.key) + " = " + (stored ? stored : "absent"));
      EXPECT_EQ(family.read(openWith(family.key, stored)), expected);
    }
  }
  EXPECT_EQ(openWith(keys::kMenuBarDisplay, "\"time\"").menuBarDisplay({}), "");
}

TEST_F(SettingsTest, RetentionIsForeverWhenAskedElseDaysDefaultingTo90) {
  struct Case {
    const char* days;     // JSON text; none: absent
    const char* forever;  // JSON text; none: absent
    Retention expected;
  };
  const Case cases[] = {
      {nullptr, nullptr, {90}},     {"0", nullptr, {90}},    {"-3", nullptr, {90}},
      {"30", nullptr, {30}},        {"30.0", nullptr, {30}}, {"\"30\"", nullptr, {90}},
      {"1e12", nullptr, {INT_MAX}}, {"365", "true", {}},     {"0", "true", {}},
      {nullptr, "true", {}},        {"30", "false", {30}},   {"30", "\"true\"", {30}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.days ? c.days : "absent") + " / " +
                 (c.forever ? c.forever : "absent"));
    json file = json::object();
    if (c.days) file[keys::kRetentionDays] = json::parse(c.days);
    if (c.forever) file[keys::kKeepHistoryForever] = json::parse(c.forever);
    writeFile(file.dump());
    EXPECT_EQ(Settings(path(), bus_).retention(), c.expected);
  }
}

TEST_F(SettingsTest, PausedUntilIsIsoTextInUtc) {
  const std::pair<const char*, std::optional<Instant>> cases[] = {
      {nullptr, std::nullopt},
      {"\"2026-11-14T21:40:00Z\"", at("2026-11-14T21:40:00Z")},
      {"\"2026-11-14T22:40:00+01:00\"", at("2026-11-14T21:40:00Z")},
      {"\"yesterday\"", std::nullopt},
      {"\"2026-02-30T10:00:00Z\"", std::nullopt},
      {"1763156400", std::nullopt},
  };
  for (const auto& [stored, expected] : cases) {
    SCOPED_TRACE(stored ? stored : "absent");
    EXPECT_EQ(openWith(keys::kPausedUntil, stored).pausedUntil(), expected);
  }

  Settings settings(path(), bus_);
  settings.setPausedUntil(at("2026-11-14T21:40:00Z"));
  EXPECT_EQ(onDisk()[keys::kPausedUntil], "2026-11-14T21:40:00Z");
  settings.clearPausedUntil();
  EXPECT_FALSE(onDisk().contains(keys::kPausedUntil));
  EXPECT_EQ(settings.pausedUntil(), std::nullopt);
}

TEST_F(SettingsTest, JsonDocumentsAreNestedAndOlderTextIsParsed) {
  testing::LogCapture logs;
  const json limits = {{"rules", json::array({{{"id", "a"}, {"minutes", 30}}})}};
  EXPECT_EQ(openWith(keys::kLimits, limits.dump().c_str()).json(keys::kLimits), limits);
  const std::string asText = json(limits.dump()).dump();  // the document as a JSON string
  EXPECT_EQ(openWith(keys::kLimits, asText.c_str()).json(keys::kLimits), limits);
  EXPECT_EQ(openWith(keys::kLimits, nullptr).json(keys::kLimits), std::nullopt);
  EXPECT_EQ(openWith(keys::kLimits, "null").json(keys::kLimits), std::nullopt);
  EXPECT_TRUE(logs.lines.empty());

  EXPECT_EQ(openWith(keys::kLimits, "\"{not json\"").json(keys::kLimits), std::nullopt);
  EXPECT_EQ(logs.lines.size(), 1u);

  Settings settings(path(), bus_);
  settings.setJson(keys::kCategories, {{"custom", json::array()}});
  EXPECT_TRUE(onDisk()[keys::kCategories].is_object());
}

TEST_F(SettingsTest, SettersPostTheKeyOnlyWhenItsValueChanges) {
  Settings settings(path(), bus_);
  recordNotices();
  using Posted = std::vector<std::string>;

  settings.setIdleThresholdSeconds(60);
  EXPECT_EQ(takePosted(), Posted{"velto.idleThresholdSeconds"});
  settings.setIdleThresholdSeconds(60);
  settings.clearPausedUntil();
  settings.clearJson(keys::kExclusions);
  EXPECT_EQ(takePosted(), Posted{});

  settings.setDayBudgetSeconds(0);
  EXPECT_EQ(takePosted(), Posted{"velto.dayBudgetSeconds"});
  EXPECT_EQ(settings.dayBudgetSeconds(), std::nullopt);
  settings.setDailySummaryDeliveredDay("2026-11-14");
  settings.clearDailySummaryDeliveredDay();
  EXPECT_EQ(takePosted(),
            (Posted{"velto.dailySummaryDeliveredDay", "velto.dailySummaryDeliveredDay"}));
}

TEST_F(SettingsTest, TurningForeverOnStoresAYearBeforeAnyoneIsTold) {
  Settings settings(path(), bus_);
  settings.setRetentionDays(30);
  recordNotices();
  std::optional<json> daysSeenByHandler;
  Subscription watch = bus_.subscribe(keys::kKeepHistoryForever,
                                      [&] { daysSeenByHandler = onDisk()[keys::kRetentionDays]; });

  settings.setKeepHistoryForever(true);
  EXPECT_EQ(takePosted(),
            (std::vector<std::string>{"velto.keepHistoryForever", "velto.retentionDays"}));
  EXPECT_EQ(daysSeenByHandler, json(365));
  EXPECT_TRUE(settings.retention().forever());

  settings.setKeepHistoryForever(false);
  EXPECT_EQ(takePosted(), std::vector<std::string>{"velto.keepHistoryForever"});
  EXPECT_EQ(settings.retention(), Retention{365});
}

TEST_F(SettingsTest, AnotherProcessesChangesPostExactlyTheChangedKeys) {
  writeFile(
      R"({"velto.idleThresholdSeconds": 60, "velto.theme": "dark", "velto.retentionDays": 30})");
  Settings settings(path(), bus_);
  recordNotices();

  writeFile(R"({"velto.idleThresholdSeconds": 60.0, "velto.theme": "light",
                "velto.retentionDays": 30, "velto.limits": {"rules": []}})");
  settings.reloadIfChanged();
  EXPECT_EQ(takePosted(), (std::vector<std::string>{"velto.limits", "velto.theme"}));
  EXPECT_EQ(settings.theme(), "light");
  settings.reloadIfChanged();
  EXPECT_TRUE(takePosted().empty());

  // A local write first takes in the other process's newer file, keeping its change.
  writeFile(R"({"velto.idleThresholdSeconds": 60, "velto.theme": "light", "velto.retentionDays": 7,
                "velto.limits": {"rules": []}})");
  settings.setDigestHour(21);
  EXPECT_EQ(takePosted(), (std::vector<std::string>{"velto.digestHour", "velto.retentionDays"}));
  EXPECT_EQ(onDisk()[keys::kRetentionDays], 7);
  EXPECT_EQ(settings.retention(), Retention{7});
}

}  // namespace
}  // namespace velto
