// The shell's actions on a scripted desktop: pausing through the engine, quitting in two steps,
// and the hidden command line.
#include <gtest/gtest.h>

#include <QWidget>

#include "gui/scripted_services.h"
#include "gui/shell/launch_options.h"
#include "gui/shell/pause_actions.h"
#include "gui/shell/quit_sequence.h"
#include "gui/shell/window_state.h"
#include "test_support/temp_dir.h"

namespace velto::gui {
namespace {

using velto::testing::at;

class ShellTest : public ::testing::Test {
 protected:
  void SetUp() override {
    scripted.front.setSilently(RunningApplication{"code", "Code", 1});
    scripted.services->start();
  }
  void TearDown() override { scripted.services->quit(); }

  std::vector<Segment> today() { return scripted.services->store().fetchDay("2026-11-21").value(); }

  velto::testing::ScriptedServices scripted;
};

TEST_F(ShellTest, PauseChoicesReachTheEngineAndEndWhenDue) {
  PauseActions pause(*scripted.services);
  ServiceSet& services = *scripted.services;

  scripted.scheduler.advanceBy(600);
  pause.pauseFor(15 * 60);
  EXPECT_TRUE(pause.isPaused());
  EXPECT_TRUE(services.settings().isPaused());
  ASSERT_TRUE(services.settings().pausedUntil());
  EXPECT_EQ(*services.settings().pausedUntil(), at("2026-11-21T09:25:00Z"));
  ASSERT_EQ(today().size(), 1u);
  EXPECT_EQ(today()[0].endReasonRaw, "paused");
  scripted.scheduler.advanceBy(15 * 60 + 10);
  EXPECT_FALSE(pause.isPaused());

  // Until tomorrow: the next local midnight in Berlin (UTC+1 in November).
  pause.pauseUntilTomorrow();
  EXPECT_EQ(*services.settings().pausedUntil(), at("2026-11-21T23:00:00Z"));
  pause.resume();
  EXPECT_FALSE(pause.isPaused());
  EXPECT_FALSE(services.settings().pausedUntil());

  pause.pause();
  EXPECT_TRUE(pause.isPaused());
  EXPECT_FALSE(services.settings().pausedUntil());
  scripted.scheduler.advanceBy(2 * 3600);
  EXPECT_TRUE(pause.isPaused()) << "an open pause lasts until resumed";
}

TEST_F(ShellTest, QuitClosesTheSegmentAndEndsTwoSecondsLater) {
  int terminated = 0;
  QuitSequence quit(*scripted.services, scripted.scheduler, [&] { ++terminated; });
  scripted.scheduler.advanceBy(300);
  quit.request();
  EXPECT_TRUE(quit.isQuitting());
  ASSERT_EQ(today().size(), 1u);
  EXPECT_EQ(today()[0].endReasonRaw, "appQuit");
  scripted.scheduler.advanceBy(1.9);
  EXPECT_EQ(terminated, 0);
  scripted.scheduler.advanceBy(0.2);
  EXPECT_EQ(terminated, 1);
  quit.request();
  EXPECT_EQ(terminated, 1) << "ends once";
}

TEST_F(ShellTest, ASecondQuitEndsAtOnce) {
  int terminated = 0;
  QuitSequence quit(*scripted.services, scripted.scheduler, [&] { ++terminated; });
  quit.request();
  quit.request();
  EXPECT_EQ(terminated, 1);
  scripted.scheduler.advanceBy(5);
  EXPECT_EQ(terminated, 1);
}

TEST(WindowStateTest, GeometryOutlivesTheWindowInTheDataFolder) {
  velto::testing::TempDir dir;
  {
    WindowState state(dir.path());
    QWidget window;
    EXPECT_FALSE(state.remember(&window, QStringLiteral("settings")));
    window.resize(640, 410);
    window.show();
    window.hide();
  }
  EXPECT_TRUE(std::filesystem::exists(dir / "window-state.json"));
  WindowState state(dir.path());
  QWidget again;
  EXPECT_TRUE(state.remember(&again, QStringLiteral("settings")));
  EXPECT_EQ(again.size(), QSize(640, 410));
  QWidget other;
  state.remember(&other, QStringLiteral("report"));
  EXPECT_NE(other.size(), QSize(640, 410)) << "each window has its own entry";

  WindowState memoryOnly(std::nullopt);
  QWidget unsaved;
  memoryOnly.remember(&unsaved, QStringLiteral("settings"));
  unsaved.show();
  unsaved.hide();
}

TEST(LaunchOptionsTest, HiddenSwitchesOpenWindows) {
  using Open = LaunchOptions::Open;
  struct Case {
    std::vector<std::string> args;
    Open open;
    std::string pane;
    std::string unknown;
    std::string period = {};
    std::string tab = {};
  };
  const Case cases[] = {
      {{}, Open::nothing, "", ""},
      {{"--open=report"}, Open::report, "", ""},
      {{"--open=report-week"}, Open::reportWeek, "", ""},
      {{"--open=settings"}, Open::settings, "", ""},
      {{"--open=settings:limits"}, Open::settings, "limits", ""},
      {{"--open=away"}, Open::away, "", ""},
      {{"--open=onboarding"}, Open::onboarding, "", ""},
      {{"--open=tray-menu"}, Open::trayMenu, "", ""},
      {{"--open=nowhere"}, Open::nothing, "", "--open=nowhere"},
      {{"--verbose", "--open=report"}, Open::report, "", "--verbose"},
      {{"--open=report:yesterday:timeline"}, Open::report, "", "", "yesterday", "timeline"},
      {{"--open=report:year"}, Open::report, "", "", "year", ""},
  };
  for (const Case& c : cases) {
    const LaunchOptions options = parseLaunchOptions(c.args);
    EXPECT_EQ(options.open, c.open) << ::testing::PrintToString(c.args);
    EXPECT_EQ(options.pane, c.pane);
    EXPECT_EQ(options.unknown, c.unknown);
    EXPECT_EQ(options.period, c.period);
    EXPECT_EQ(options.tab, c.tab);
  }
  EXPECT_TRUE(parseLaunchOptions({"--open=report", "--write-summary"}).writeSummary);
}

}  // namespace
}  // namespace velto::gui
