#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "base/files.h"
#include "base/manual_scheduler.h"
#include "base/notices.h"
#include "context/meaningless_title.h"
#include "surfaces/menu_bar_model.h"
#include "surfaces/widget_snapshot.h"
#include "test_support/log_capture.h"
#include "test_support/temp_dir.h"
#include "test_support/time_helpers.h"

namespace velto {
namespace {

using testing::at;
using Tone = MenuBarChipTone;

LimitProgress limitAt(double spent, double amount,
                      UsageLimit::Kind kind = UsageLimit::Kind::limit) {
  UsageLimit limit;
  limit.kind = kind;
  limit.secondsPerDay = amount;
  return LimitProgress{limit, spent, amount};
}

TEST(MenuBarTitleTest, ModesAndTones) {
  struct Case {
    const char* what;
    MenuBarTitle::Input input;
    std::optional<MenuBarChip> expected;
  };
  auto input = [](MenuBarDisplay mode) {
    MenuBarTitle::Input in;
    in.mode = mode;
    in.todaySeconds = 5 * 3600 + 15 * 60;
    in.focusedSeconds = 2 * 3600;
    in.currentAppName = "Firefox";
    in.warnRatio = 0.8;
    in.dayBudgetSeconds = 28800;
    return in;
  };
  std::vector<Case> cases = {
      {"off", input(MenuBarDisplay::off), std::nullopt},
      {"today", input(MenuBarDisplay::todayTotal), MenuBarChip{"5h 15m", Tone::calm}},
      {"current app", input(MenuBarDisplay::currentApp), MenuBarChip{"Firefox", Tone::calm}},
      {"focused", input(MenuBarDisplay::focused), MenuBarChip{"2h", Tone::calm}},
      {"limit without rules shows the day", input(MenuBarDisplay::limit),
       MenuBarChip{"5h 15m", Tone::calm}},
  };
  Case nothingInFront{"nothing in front", input(MenuBarDisplay::currentApp), std::nullopt};
  nothingInFront.input.currentAppName.reset();
  cases.push_back(nothingInFront);
  Case budgetNear{"budget 80 %", input(MenuBarDisplay::todayTotal),
                  MenuBarChip{"6h 24m", Tone::near}};
  budgetNear.input.todaySeconds = 0.8 * 28800;
  cases.push_back(budgetNear);
  Case budgetOver{"budget used up", input(MenuBarDisplay::focused), MenuBarChip{"2h", Tone::over}};
  budgetOver.input.todaySeconds = 28800;
  cases.push_back(budgetOver);
  Case noBudget{"no budget", input(MenuBarDisplay::todayTotal), MenuBarChip{"10h", Tone::calm}};
  noBudget.input.todaySeconds = 36000;
  noBudget.input.dayBudgetSeconds.reset();
  cases.push_back(noBudget);
  Case limitOver{"a limit at exactly its amount", input(MenuBarDisplay::limit),
                 MenuBarChip{"1h / 1h", Tone::over, 1.0, "0s"}};
  limitOver.input.progress = {limitAt(600, 3600), limitAt(3600, 3600),
                              limitAt(9000, 1000, UsageLimit::Kind::goal)};
  cases.push_back(limitOver);
  Case limitCalm{"99 % with the warning off", input(MenuBarDisplay::limit),
                 MenuBarChip{"59m / 1h", Tone::calm, 0.99, "1m"}};
  limitCalm.input.progress = {limitAt(3564, 3600)};
  limitCalm.input.warnRatio.reset();
  cases.push_back(limitCalm);
  Case limitNear{"at the warn ratio", input(MenuBarDisplay::limit),
                 MenuBarChip{"48m / 1h", Tone::near, 0.8, "12m"}};
  limitNear.input.progress = {limitAt(2880, 3600)};
  cases.push_back(limitNear);
  // What a small picture shows instead of the whole text: the time left, or past the limit.
  Case limitHours{"hours left", input(MenuBarDisplay::limit),
                  MenuBarChip{"10m / 1h 30m", Tone::calm, 600.0 / 5400, "1h"}};
  limitHours.input.progress = {limitAt(600, 5400)};
  cases.push_back(limitHours);
  Case limitPast{"past the limit", input(MenuBarDisplay::limit),
                 MenuBarChip{"1h 10m / 1h", Tone::over, 4200.0 / 3600, "+10m"}};
  limitPast.input.progress = {limitAt(4200, 3600)};
  cases.push_back(limitPast);
  for (const Case& c : cases) EXPECT_EQ(MenuBarTitle::chip(c.input), c.expected) << c.what;

  for (const char* unknown : {"", "Off", "today", "menu"}) {
    EXPECT_EQ(menuBarDisplayFromRaw(unknown), MenuBarDisplay::off) << unknown;
  }
  EXPECT_EQ(menuBarDisplayFromRaw("focused"), MenuBarDisplay::focused);
  EXPECT_EQ(MenuBarTitle::limitTone(0, 0, std::nullopt), Tone::over);
}

TEST(MenuBarModelTest, RefreshesEveryHalfMinuteAndLogsChanges) {
  testing::LogCapture logs;
  ManualScheduler scheduler(at("2026-11-21T09:00:00Z"));
  double today = 59;
  MenuBarModel model(
      scheduler,
      [&] {
        MenuBarTitle::Input in;
        in.mode = MenuBarDisplay::todayTotal;
        in.todaySeconds = today;
        return in;
      },
      [] { return true; });
  int changes = 0;
  model.onChange = [&](const std::optional<MenuBarChip>&) { ++changes; };
  model.start();
  EXPECT_EQ(model.chip().value().text, "59s");
  today = 61;
  scheduler.advanceBy(29);
  EXPECT_EQ(model.chip().value().text, "59s");
  scheduler.advanceBy(1);
  EXPECT_EQ(model.chip().value().text, "1m");
  scheduler.advanceBy(30);  // unchanged: no new line
  EXPECT_EQ(changes, 2);
  EXPECT_EQ(logs.lines,
            (std::vector<std::string>{"Menu bar badge:  -> 59s [todayTotal, dark bar]",
                                      "Menu bar badge: 59s -> 1m [todayTotal, dark bar]"}));
}

TEST(WidgetSnapshotTest, KeysInOrderIsoDatesAndHexColours) {
  WidgetSnapshot s;
  s.dayStart = at("2026-11-20T23:00:00Z");
  s.validUntil = at("2026-11-21T23:00:00Z");
  s.updatedAt = at("2026-11-21T09:30:00.5Z");
  s.totalSeconds = 5400;
  s.categories = {{"coding", "Coding", 3600, 0x0a84ff, 0x64D2FF},
                  {"other", "Other", 1800, 0, 0x8E8E93}};
  s.topApps = {{"code", "Code", 3600}};
  s.week = {{at("2026-11-15T23:00:00Z"), 7200, false}};
  s.language = "de";
  const std::string text = toJson(s).dump();
  EXPECT_EQ(text,
            R"({"dayStart":"2026-11-20T23:00:00Z","validUntil":"2026-11-21T23:00:00Z",)"
            R"("updatedAt":"2026-11-21T09:30:00Z","isPaused":false,"totalSeconds":5400.0,)"
            R"("categories":[{"id":"coding","title":"Coding","seconds":3600.0,"lightHex":"0A84FF",)"
            R"("darkHex":"64D2FF"},{"id":"other","title":"Other","seconds":1800.0,)"
            R"("lightHex":"000000","darkHex":"8E8E93"}],"topApps":[{"id":"code","name":"Code",)"
            R"("seconds":3600.0}],"week":[{"date":"2026-11-15T23:00:00Z","seconds":7200.0,)"
            R"("isToday":false}],"appearance":"auto","language":"de"})");
  s.changeRatio = -0.25;
  EXPECT_NE(toJson(s).dump().find(R"("totalSeconds":5400.0,"changeRatio":-0.25,"categories")"),
            std::string::npos);
  s.chip = MenuBarChip{"1h 30m", MenuBarChipTone::near};
  EXPECT_TRUE(
      toJson(s).dump().ends_with(R"("language":"de","chip":{"text":"1h 30m","tone":"near"}})"));
}

TEST(WidgetSnapshotTest, WrittenOnStartOnChangesAndEveryMinuteOrNotAtAll) {
  testing::TempDir dir;
  ManualScheduler scheduler(at("2026-11-21T09:00:00Z"));
  NoticeBus bus;
  int built = 0;
  auto build = [&] {
    ++built;
    WidgetSnapshot s;
    s.updatedAt = scheduler.now();
    return s;
  };
  WidgetSnapshotWriter writer(dir / "shared", build, scheduler, bus);
  writer.start();
  const auto file = dir / "shared" / "widget-snapshot.json";
  ASSERT_TRUE(std::filesystem::exists(file));
  bus.post(notices::kSegmentsDidChange);
  scheduler.advanceBy(60);
  EXPECT_EQ(built, 3);
  EXPECT_EQ(nlohmann::json::parse(files::readAll(file).value())["updatedAt"],
            "2026-11-21T09:01:00Z");

  WidgetSnapshotWriter none(std::nullopt, build, scheduler, bus);
  none.start();
  EXPECT_EQ(built, 3);
}

TEST(WidgetSnapshotTest, MeaninglessTitles) {
  for (const char* title :
       {"", " ", "x", "New Tab", "  untitled ", "Untitled 3", "HOME", "~", "800×600", "1920 x 1080",
        "1920X1080", "1.2.3", "2026", "No Name", "Default", "é"}) {
    EXPECT_TRUE(isMeaninglessWindowTitle(title)) << title;
  }
  for (const char* title : {"Home Budget", "ab", "800×600 wallpaper", "x 800", "main.cc — velto",
                            "Inbox (3)", "v1.2"}) {
    EXPECT_FALSE(isMeaninglessWindowTitle(title)) << title;
  }
}

}  // namespace
}  // namespace velto
