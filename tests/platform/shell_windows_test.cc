// The window in front as a shell's script or extension reports it: switches through the
// shell's momentary "nothing focused", titles, window numbers and identities.
#include "platform/linux/shell_windows.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "base/manual_scheduler.h"

namespace velto::platform {
namespace {

class TestShell final : public ShellReportedSession {
 public:
  TestShell(Scheduler& scheduler, DesktopEntryIndex entries)
      : ShellReportedSession(scheduler, std::move(entries)) {}
  const char* name() const override { return "test"; }
  bool isConnected() const override { return true; }
  bool hasIdleTime() const override { return false; }
  const char* idleSource() const override { return nullptr; }
  const char* processSource() const override { return "test"; }
  double secondsSinceLastInput() override { return 0; }
};

ShellWindow window(std::string key, std::string appId, std::string title, int pid = 0,
                   std::string windowClass = {}) {
  ShellWindow w;
  w.key = std::move(key);
  w.appId = std::move(appId);
  w.title = std::move(title);
  w.pid = pid;
  w.windowClass = std::move(windowClass);
  return w;
}

const ShellWindow kNothing;

class ShellWindowsTest : public ::testing::Test {
 protected:
  ShellWindowsTest() : shell_(scheduler_, entries()) {
    shell_.setActivationHandler([this](const std::optional<RunningApplication>& app) {
      activations_.push_back(app ? app->bundleId.value_or("?") + "#" + std::to_string(app->windowId)
                                 : std::string("none"));
    });
  }

  static DesktopEntryIndex entries() {
    DesktopEntry terminal;
    terminal.id = "org.gnome.Terminal";
    terminal.name = "Terminal";
    return DesktopEntryIndex({terminal});
  }

  ManualScheduler scheduler_{Instant{}};
  TestShell shell_;
  std::vector<std::string> activations_;
};

TEST_F(ShellWindowsTest, ASwitchThroughNothingFocusedIsOneActivation) {
  shell_.reported(window("a", "org.gnome.Terminal", "one"));
  shell_.reported(kNothing);
  scheduler_.advanceBy(0.05);
  shell_.reported(window("b", "org.gnome.Terminal", "two"));
  scheduler_.advanceBy(1);
  EXPECT_EQ(activations_,
            (std::vector<std::string>{"org.gnome.Terminal#1", "org.gnome.Terminal#2"}));
}

TEST_F(ShellWindowsTest, NothingFocusedCountsOnlyOnceItLasts) {
  shell_.reported(window("a", "org.gnome.Terminal", "one"));
  shell_.reported(kNothing);
  shell_.reported(kNothing);  // repeated: one settling, not two
  scheduler_.advanceBy(ShellReportedSession::kUnfocusedSettleSeconds / 2);
  ASSERT_TRUE(shell_.frontmostApplication());
  scheduler_.advanceBy(ShellReportedSession::kUnfocusedSettleSeconds);
  EXPECT_FALSE(shell_.frontmostApplication());
  EXPECT_EQ(activations_, (std::vector<std::string>{"org.gnome.Terminal#1", "none"}));
  // Nothing in front, nothing again: no activation.
  shell_.reported(kNothing);
  scheduler_.advanceBy(1);
  EXPECT_EQ(activations_.size(), 2u);
}

TEST_F(ShellWindowsTest, ATitleChangeOfTheObservedWindowIsNotAnActivation) {
  shell_.reported(window("a", "org.gnome.Terminal", "one"));
  const std::optional<RunningApplication> front = shell_.frontmostApplication();
  ASSERT_TRUE(front);
  int changes = 0;
  ASSERT_TRUE(shell_.observe(*front, [&] { ++changes; }));
  shell_.reported(window("a", "org.gnome.Terminal", "one, renamed"));
  shell_.reported(window("a", "org.gnome.Terminal", "one, renamed"));  // no change
  EXPECT_EQ(changes, 1);
  EXPECT_EQ(shell_.focusedWindowTitle(*front), "one, renamed");
  EXPECT_EQ(activations_.size(), 1u);
  shell_.stop();
  shell_.reported(window("a", "org.gnome.Terminal", "again"));
  EXPECT_EQ(changes, 1);
}

TEST_F(ShellWindowsTest, EachWindowKeepsItsNumberWhileOpen) {
  shell_.reported(window("a", "org.gnome.Terminal", "one"));
  shell_.reported(window("b", "org.gnome.Terminal", "two"));
  shell_.reported(window("a", "org.gnome.Terminal", "one"));
  shell_.closed("b");
  shell_.reported(window("b", "org.gnome.Terminal", "two"));  // a new window under an old key
  EXPECT_EQ(activations_,
            (std::vector<std::string>{"org.gnome.Terminal#1", "org.gnome.Terminal#2",
                                      "org.gnome.Terminal#1", "org.gnome.Terminal#3"}));
}

TEST_F(ShellWindowsTest, TheFrontWindowClosingKeepsItsNumberUntilTheNextReport) {
  shell_.reported(window("a", "org.gnome.Terminal", "one"));
  shell_.closed("a");
  ASSERT_TRUE(shell_.frontmostApplication());
  EXPECT_EQ(shell_.frontmostApplication()->windowId, 1u);
  shell_.reported(window("b", "org.gnome.Terminal", "two"));
  shell_.reported(window("a", "org.gnome.Terminal", "one"));
  EXPECT_EQ(activations_.back(), "org.gnome.Terminal#3");
}

TEST_F(ShellWindowsTest, IdentifiesTheApplicationAsTheOtherBackendsDo) {
  struct Case {
    const char* name;
    ShellWindow reported;
    std::string bundleId;
    std::string appName;
  };
  const std::vector<Case> cases = {
      {"desktop-file id", window("1", "org.gnome.Terminal", "t"), "org.gnome.Terminal", "Terminal"},
      {"class only: id lower-cased", window("2", "", "t", 0, "XTerm"), "xterm", "XTerm"},
      {"class naming the desktop file", window("3", "", "t", 0, "org.gnome.Terminal"),
       "org.gnome.Terminal", "Terminal"},
  };
  for (const Case& test : cases) {
    shell_.reported(test.reported);
    const std::optional<RunningApplication> front = shell_.frontmostApplication();
    ASSERT_TRUE(front) << test.name;
    EXPECT_EQ(front->bundleId.value_or(""), test.bundleId) << test.name;
    EXPECT_EQ(front->appName, test.appName) << test.name;
  }
}

TEST_F(ShellWindowsTest, AnotherApplicationUnderTheSameKeyIsAnActivation) {
  shell_.reported(window("a", "", "loading", 0, "Splash"));
  shell_.reported(window("a", "org.gnome.Terminal", "loading"));
  EXPECT_EQ(activations_, (std::vector<std::string>{"splash#1", "org.gnome.Terminal#1"}));
}

TEST_F(ShellWindowsTest, LosingTheShellLeavesNothingInFront) {
  shell_.reported(window("a", "org.gnome.Terminal", "one"));
  shell_.reported(kNothing);
  shell_.lostShell();
  scheduler_.advanceBy(1);
  EXPECT_EQ(activations_, (std::vector<std::string>{"org.gnome.Terminal#1", "none"}));
}

TEST_F(ShellWindowsTest, ClientApplicationsAreOnePerKnownProcess) {
  shell_.reported(window("a", "org.gnome.Terminal", "one", 40));
  shell_.reported(window("b", "org.gnome.Terminal", "two", 40));
  shell_.reported(window("c", "", "three", 41, "XTerm"));
  shell_.reported(window("d", "", "four", 0, "Unknown"));
  std::vector<int> pids;
  for (const RunningApplication& app : shell_.clientApplications()) pids.push_back(app.pid);
  EXPECT_EQ(pids, (std::vector<int>{41, 40}));
}

}  // namespace
}  // namespace velto::platform
