// The tray's chip, its picture and the menu texts over a scripted day.
#include <gtest/gtest.h>

#include <QAction>
#include <QMenu>

#include "gui/scripted_services.h"
#include "gui/shell/pause_actions.h"
#include "gui/tray/chip_icon.h"
#include "gui/tray/chip_palette.h"
#include "gui/tray/tray_controller.h"
#include "gui/tray/tray_menu_model.h"
#include "settings/settings_keys.h"

namespace velto::gui {
namespace {

class TrayTest : public ::testing::Test {
 protected:
  void SetUp() override {
    scripted.front.setSilently(RunningApplication{"code", "Code", 1});
    scripted.services->start();
  }
  void TearDown() override { scripted.services->quit(); }

  velto::testing::ScriptedServices scripted;
};

TEST_F(TrayTest, MenuTextsFollowTheDayAndThePause) {
  scripted.scheduler.advanceBy(45 * 60);
  TrayMenuState state = trayMenuState(*scripted.services);
  EXPECT_EQ(state.todayText, "Today: 45m");
  EXPECT_EQ(state.frontText, "Now: Code");
  EXPECT_FALSE(state.paused);

  PauseActions pause(*scripted.services);
  pause.pauseFor(3600);
  state = trayMenuState(*scripted.services);
  EXPECT_TRUE(state.paused);
  // 09:45 UTC + 1 h is 11:45 on Berlin's wall clock.
  EXPECT_EQ(state.frontText, "Recording paused until 11:45");
  EXPECT_EQ(state.todayText, "Today: 45m");
  EXPECT_EQ(trayTooltip(MenuBarChip{"45m", MenuBarChipTone::calm}, state),
            "Velto - 45m\nToday: 45m\nRecording paused until 11:45");

  scripted.services->settings().setUiLanguage("de");
  EXPECT_EQ(trayMenuState(*scripted.services).todayText, "Heute: 45 min");
}

TEST_F(TrayTest, ChipFollowsTheDisplayModeAndTheBudget) {
  PauseActions pause(*scripted.services);
  TrayController tray(*scripted.services, pause, {});
  EXPECT_FALSE(tray.chip()) << "mark only by default";

  scripted.services->settings().setMenuBarDisplay("todayTotal");
  scripted.scheduler.advanceBy(30 * 60);
  tray.refresh();
  ASSERT_TRUE(tray.chip());
  EXPECT_EQ(tray.chip()->text, "30m");
  EXPECT_EQ(tray.chip()->tone, MenuBarChipTone::calm);

  // A one-hour budget: 30 of 60 minutes is calm, past it is over.
  scripted.services->settings().setDayBudgetSeconds(3600);
  scripted.scheduler.advanceBy(40 * 60);
  tray.refresh();
  EXPECT_EQ(tray.chip().value().tone, MenuBarChipTone::over);

  scripted.services->settings().setMenuBarDisplay("currentApp");
  EXPECT_EQ(tray.chip().value().text, "Code") << "a settings change refreshes at once";
}

TEST_F(TrayTest, ALimitsChipShowsTheTimeLeftAndTheTooltipNamesTheLimit) {
  scripted.services->limits().set(UsageLimit::Subject::app("code", "Code"), UsageLimit::Kind::limit,
                                  UsageLimit::Span::day, 3600);
  scripted.services->settings().setMenuBarDisplay("limit");
  PauseActions pause(*scripted.services);
  TrayController tray(*scripted.services, pause, {});
  scripted.scheduler.advanceBy(45 * 60);
  tray.refresh();
  ASSERT_TRUE(tray.chip());
  EXPECT_EQ(tray.chip()->text, "45m / 1h");
  EXPECT_EQ(tray.chip()->left, "15m");
  ASSERT_TRUE(tray.chip()->used);
  EXPECT_DOUBLE_EQ(*tray.chip()->used, 0.75);
  const TrayMenuState state = trayMenuState(*scripted.services);
  EXPECT_EQ(state.limitText, "Limit on Code: 45m of 1h today");
  EXPECT_EQ(trayTooltip(tray.chip(), state),
            "Velto - 45m / 1h\nLimit on Code: 45m of 1h today\nToday: 45m\nNow: Code");

  // Drawn at the sizes panels use, the picture holds the time left, not the cut-off text:
  // the bar under it is filled three quarters of the way.
  for (int side : {22, 24, 32}) {
    SCOPED_TRACE(side);
    const QImage picture = chipImage(tray.chip(), false, side);
    const ChipColors colors = chipColors(tray.chip()->tone, false);
    // The middle row of the bar along the bottom edge.
    const int barRow = static_cast<int>(side - side * 0.08 - std::max(2.0, side / 9.0) / 2);
    EXPECT_EQ(picture.pixelColor(side / 2, barRow).rgb(), colors.text.rgb());
    EXPECT_NE(picture.pixelColor(side * 7 / 8, barRow).rgb(), colors.text.rgb());
  }
}

TEST_F(TrayTest, ShowsTheServiceSetsChipAndLetsGoOfItWhenGone) {
  PauseActions pause(*scripted.services);
  {
    TrayController tray(*scripted.services, pause, {});
    EXPECT_EQ(&tray.chip(), &scripted.services->menuBar().chip()) << "one chip per process";
    EXPECT_TRUE(scripted.services->menuBar().onChange);
    // The service set's 30-s refresh reaches the tray without the tray asking.
    scripted.services->settings().setMenuBarDisplay("todayTotal");
    scripted.scheduler.advanceBy(30);
    ASSERT_TRUE(tray.chip());
    EXPECT_EQ(tray.chip()->text, "30s");
  }
  EXPECT_FALSE(scripted.services->menuBar().onChange);
  scripted.scheduler.advanceBy(60);
  scripted.services->settings().setMenuBarDisplay("currentApp");
  EXPECT_EQ(scripted.services->menuBar().chip().value().text, "Code") << "the set keeps refreshing";
}

TEST_F(TrayTest, MenuOffersPauseOrResume) {
  PauseActions pause(*scripted.services);
  int reports = 0;
  TrayController tray(*scripted.services, pause, {[&] { ++reports; }, {}, {}});
  auto visibleTexts = [&] {
    QStringList texts;
    for (QAction* action : tray.menu()->actions()) {
      if (action->isVisible() && !action->isSeparator()) texts << action->text();
    }
    return texts;
  };
  EXPECT_TRUE(visibleTexts().contains("Pause for 15 Minutes"));
  EXPECT_FALSE(visibleTexts().contains("Resume Recording"));
  for (QAction* action : tray.menu()->actions()) {
    if (action->text() == "Pause Until Tomorrow") action->trigger();
  }
  EXPECT_TRUE(pause.isPaused());
  EXPECT_TRUE(visibleTexts().contains("Resume Recording"));
  EXPECT_FALSE(visibleTexts().contains("Pause"));
  for (QAction* action : tray.menu()->actions()) {
    if (action->text() == "Open Report…") action->trigger();
  }
  EXPECT_EQ(reports, 1);
}

TEST(ChipPictureTest, SquareChipColouredByToneWithTheTextOnOneOrTwoLines) {
  for (int side : {22, 32}) {
    const QImage mark = chipImage(std::nullopt, true, side);
    EXPECT_EQ(mark.size(), QSize(side, side));
    const QImage chip = chipImage(MenuBarChip{"2h 15m", MenuBarChipTone::over}, false, side);
    EXPECT_EQ(chip.size(), QSize(side, side));
    // The fill shows at the left edge, mid-height, before any text.
    EXPECT_EQ(chip.pixelColor(1, side / 2).rgb(),
              chipColors(MenuBarChipTone::over, false).fill.rgb());
    EXPECT_EQ(chipLines("2h 15m", side), (QStringList{"2h", "15m"})) << side;
    EXPECT_EQ(chipLines("45m", side), (QStringList{"45m"}));
  }
  EXPECT_NE(chipColors(MenuBarChipTone::near, true).fill,
            chipColors(MenuBarChipTone::calm, true).fill);
  EXPECT_NE(chipColors(MenuBarChipTone::over, true).fill,
            chipColors(MenuBarChipTone::near, true).fill);
}

}  // namespace
}  // namespace velto::gui
