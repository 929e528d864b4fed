#include "surfaces/waybar_status.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace velto {
namespace {

WaybarInput day(MenuBarDisplay mode, double today, std::optional<double> budget) {
  WaybarInput input;
  input.title.mode = mode;
  input.title.todaySeconds = today;
  input.title.focusedSeconds = 1800;
  input.title.currentAppName = "Firefox";
  input.title.warnRatio = 0.8;
  input.title.dayBudgetSeconds = budget;
  input.topApps = {{"code", "Code", 5400}, {"firefox", "Firefox", 600}};
  return input;
}

TEST(WaybarStatusTest, OneLineForABarModule) {
  struct Case {
    std::string name;
    WaybarInput input;
    nlohmann::json expected;
  };
  const std::string tooltip = "Code  1h 30m\nFirefox  10m";
  std::vector<Case> cases = {
      {"mark only shows the day",
       day(MenuBarDisplay::off, 3 * 3600, 8 * 3600),
       {{"text", "3h"},
        {"tooltip", tooltip},
        {"class", "calm"},
        {"alt", "recording"},
        {"percentage", 38}}},
      {"near the budget",
       day(MenuBarDisplay::todayTotal, 7 * 3600, 8 * 3600),
       {{"text", "7h"},
        {"tooltip", tooltip},
        {"class", "near"},
        {"alt", "recording"},
        {"percentage", 88}}},
      {"past the budget, capped at 100",
       day(MenuBarDisplay::focused, 9 * 3600, 8 * 3600),
       {{"text", "30m"},
        {"tooltip", tooltip},
        {"class", "over"},
        {"alt", "recording"},
        {"percentage", 100}}},
      {"app in front, no budget",
       day(MenuBarDisplay::currentApp, 9 * 3600, std::nullopt),
       {{"text", "Firefox"}, {"tooltip", tooltip}, {"class", "calm"}, {"alt", "recording"}}},
  };
  WaybarInput paused = day(MenuBarDisplay::currentApp, 60, std::nullopt);
  paused.paused = true;
  paused.title.currentAppName.reset();
  paused.topApps.clear();
  cases.push_back({"paused, nothing in front and nothing recorded",
                   paused,
                   {{"text", "1m"},
                    {"tooltip", "Nothing recorded today"},
                    {"class", "calm"},
                    {"alt", "paused"}}});
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const std::string line = waybarLine(c.input);
    EXPECT_EQ(line.find('\n'), std::string::npos);
    EXPECT_EQ(nlohmann::json::parse(line), c.expected);
  }
}

TEST(WaybarStatusTest, LimitModeShowsTheLimitsChipAndTone) {
  WaybarInput input = day(MenuBarDisplay::limit, 2 * 3600, 8 * 3600);
  UsageLimit limit;
  limit.kind = UsageLimit::Kind::limit;
  input.title.progress = {LimitProgress{limit, 3600, 3600}};
  const nlohmann::json line = nlohmann::json::parse(waybarLine(input));
  EXPECT_EQ(line["class"], "over");
  EXPECT_EQ(line["text"], MenuBarTitle::chip(input.title).value().text);
}

}  // namespace
}  // namespace velto
