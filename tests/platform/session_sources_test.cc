#include <gtest/gtest.h>

#include <vector>

#include "platform/linux/inhibitor_assertions.h"
#include "platform/linux/session_signal_hub.h"

namespace velto::platform {
namespace {

using S = SessionSignal;

TEST(SessionSignalHub, PassesEachStateChangeOnceAndClockChangesAlways) {
  struct Case {
    const char* name;
    std::vector<S> in;
    std::vector<S> out;
  };
  const Case cases[] = {
      {"two sources report one lock",
       {S::screenLocked, S::screenLocked, S::screenUnlocked},
       {S::screenLocked, S::screenUnlocked}},
      {"an end that never began is dropped",
       {S::screenSaverStopped, S::didWake, S::screensDidWake},
       {}},
      {"pairs are independent",
       {S::screenLocked, S::screensDidSleep, S::screensDidWake, S::screenUnlocked},
       {S::screenLocked, S::screensDidSleep, S::screensDidWake, S::screenUnlocked}},
      {"sleep and session switches",
       {S::willSleep, S::willSleep, S::didWake, S::sessionDidResignActive,
        S::sessionDidBecomeActive, S::sessionDidBecomeActive},
       {S::willSleep, S::didWake, S::sessionDidResignActive, S::sessionDidBecomeActive}},
      {"clock changes repeat",
       {S::clockChanged, S::clockChanged, S::timeZoneChanged},
       {S::clockChanged, S::clockChanged, S::timeZoneChanged}},
  };
  for (const Case& c : cases) {
    SessionSignalHub hub;
    std::vector<S> seen;
    hub.setHandler([&](S signal) { seen.push_back(signal); });
    for (S signal : c.in) hub.deliver(signal);
    EXPECT_EQ(seen, c.out) << c.name;
  }
}

TEST(SessionSignalHub, AnEmptyHandlerStopsDeliveryButKeepsState) {
  SessionSignalHub hub;
  std::vector<S> seen;
  hub.setHandler([&](S signal) { seen.push_back(signal); });
  hub.deliver(S::screenLocked);
  hub.setHandler(nullptr);
  hub.deliver(S::screenUnlocked);
  hub.setHandler([&](S signal) { seen.push_back(signal); });
  hub.deliver(S::screenUnlocked);
  EXPECT_EQ(seen, std::vector<S>{S::screenLocked});
}

TEST(Inhibitors, OnlyBlockingIdleInhibitorsHoldTheDisplay) {
  struct Case {
    LogindInhibitor row;
    bool blocks;
  };
  const Case cases[] = {
      {{"idle", "mpv", "video", "block", 1000, 7}, true},
      {{"sleep:idle:shutdown", "player", "playing", "block", 1000, 7}, true},
      {{"idle", "player", "delay", "delay", 1000, 7}, false},
      {{"sleep", "updates", "installing", "block", 0, 7}, false},
      {{"handle-lid-switch:idler", "x", "y", "block", 0, 7}, false},
  };
  for (const Case& c : cases) EXPECT_EQ(blocksIdle(c.row), c.blocks) << c.row.what;
}

TEST(Inhibitors, HoldTypesComeFromLogindByPidAndGnomeByApplication) {
  const std::vector<LogindInhibitor> logind = {{"idle", "mpv", "video", "block", 1000, 7},
                                               {"sleep", "apt", "", "block", 0, 8}};
  const RunningApplication firefox{"firefox", "Firefox", 9};
  const std::vector<std::string> hold = {kIdleHoldType};
  EXPECT_EQ(holdTypes(7, std::nullopt, logind, {}), hold);
  EXPECT_TRUE(holdTypes(8, std::nullopt, logind, {}).empty());
  EXPECT_EQ(holdTypes(9, firefox, logind, {"Firefox.desktop"}), hold);
  EXPECT_TRUE(holdTypes(9, firefox, logind, {"org.gnome.Totem"}).empty());
  EXPECT_FALSE(gnomeAppIdMatches("", firefox));
  EXPECT_FALSE(gnomeAppIdMatches("firefox", RunningApplication{std::nullopt, "Firefox", 9}));
}

}  // namespace
}  // namespace velto::platform
