#include <gtest/gtest.h>

#include "base/manual_scheduler.h"
#include "recording/frontmost_app_tracker.h"
#include "recording/idle_monitor.h"
#include "recording/media_presence_probe.h"
#include "recording/scripted_sources.h"
#include "recording/session_lifecycle_observer.h"
#include "test_support/time_helpers.h"

namespace velto {
namespace {

using testing::at;

RunningApplication running(const char* bundleId, int pid) {
  return RunningApplication{std::string(bundleId), bundleId, pid};
}

TEST(FrontmostAppTrackerTest, EmitsOncePerWindowAndPollsForMissedChanges) {
  ManualScheduler scheduler(at("2026-11-21T09:00:00Z"));
  ScriptedFrontmostApp source;
  FrontmostAppTracker tracker(source, scheduler);
  std::vector<std::string> seen;
  tracker.setHandler([&](const std::optional<RunningApplication>& app) {
    seen.push_back(app ? *app->bundleId + "/" + std::to_string(app->pid) + "/" +
                             std::to_string(app->windowId)
                       : "none");
  });
  auto window = [](const char* bundleId, int pid, std::uint64_t windowId) {
    RunningApplication app = running(bundleId, pid);
    app.windowId = windowId;
    return app;
  };
  tracker.start();
  source.activate(window("xterm", 1, 10));
  source.activate(window("xterm", 1, 10));  // the same window again: nothing
  source.activate(window("xterm", 2, 20));  // another window in its own process
  source.activate(window("xterm", 2, 21));  // another window of the same process
  source.activate(running("code", 3));      // a source that does not tell windows apart
  source.activate(running("code", 4));      // ... still tells processes apart
  source.activate(std::nullopt);
  source.activate(RunningApplication{std::nullopt, "no id", 9});  // no identifier reads as none
  source.setSilently(window("xterm", 1, 10));                     // a missed activation
  scheduler.advanceBy(5);
  scheduler.advanceBy(5);
  EXPECT_EQ(seen, (std::vector<std::string>{"xterm/1/10", "xterm/2/20", "xterm/2/21", "code/3/0",
                                            "code/4/0", "none", "xterm/1/10"}));
  tracker.stop();
  source.activate(running("mail", 5));
  scheduler.advanceBy(30);
  EXPECT_EQ(seen.size(), 7u);
}

class IdleMonitorTest : public ::testing::Test {
 protected:
  ManualScheduler scheduler{at("2026-11-21T09:00:00Z")};
  ScriptedIdleTime idle{scheduler};
  ScriptedPowerAssertions power;
  MediaPresenceProbe probe{power};
  std::optional<RunningApplication> front = running("vlc", 7);
  IdleMonitor monitor{120, idle, probe, [this] { return front; }, scheduler, scheduler};
  std::vector<std::string> events;

  void SetUp() override {
    monitor.onIdleStart = [this](Instant at) {
      events.push_back("start " + std::to_string(secondsFromNine(at)));
    };
    monitor.onIdleEnd = [this](Instant at) {
      events.push_back("end " + std::to_string(secondsFromNine(at)));
    };
    monitor.start();
  }
  long secondsFromNine(Instant at) const {
    return std::lround(secondsBetween(testing::at("2026-11-21T09:00:00Z"), at));
  }
};

TEST_F(IdleMonitorTest, IdleStartsAtTheLastInputNotAtDetection) {
  idle.away(at("2026-11-21T09:00:10Z"));
  scheduler.advanceBy(300);
  idle.active();
  scheduler.advanceBy(5);
  EXPECT_EQ(events, (std::vector<std::string>{"start 10", "end 305"}));
}

TEST_F(IdleMonitorTest, MediaHoldsPresenceForThreeHoursAtMost) {
  power.holds[7] = {"NoDisplaySleepAssertion"};
  idle.away(at("2026-11-21T09:00:00Z"));
  scheduler.advanceBy(3 * 3600);
  EXPECT_TRUE(events.empty());
  scheduler.advanceBy(300);
  // The last evaluation within three hours of the last input is the last activity.
  EXPECT_EQ(events, (std::vector<std::string>{"start 10800"}));
}

TEST_F(IdleMonitorTest, AMeetingInTheBackgroundCountsAndAFailedQueryDoesNot) {
  front = running("code", 1);
  power.running = {running("us.zoom.xos", 50)};
  power.holds[50] = {"PreventUserIdleDisplaySleep"};
  idle.away(at("2026-11-21T09:00:00Z"));
  scheduler.advanceBy(600);
  EXPECT_TRUE(events.empty());
  power.failing = true;
  scheduler.advanceBy(110);
  EXPECT_TRUE(events.empty());  // the last answered probe still counts as activity
  scheduler.advanceBy(10);
  EXPECT_EQ(events, (std::vector<std::string>{"start 600"}));
}

TEST_F(IdleMonitorTest, TheProbeIsNotAskedWhileTheUserIsClearlyActive) {
  struct CountingPower : PowerAssertionSource {
    std::vector<RunningApplication> runningApplications() override { return {}; }
    std::optional<std::vector<std::string>> assertionTypes(int) override {
      ++asked;
      return std::vector<std::string>{};
    }
    int asked = 0;
  } counting;
  MediaPresenceProbe countingProbe(counting);
  IdleMonitor quiet(
      120, idle, countingProbe, [this] { return front; }, scheduler, scheduler);
  quiet.start();
  scheduler.advanceBy(600);
  EXPECT_EQ(counting.asked, 0);
  idle.away(scheduler.now());
  scheduler.advanceBy(110);
  EXPECT_EQ(counting.asked, 0);
  scheduler.advanceBy(5);  // 5 s before the threshold the probe starts being asked
  EXPECT_EQ(counting.asked, 1);
}

TEST(MediaPresenceProbeTest, MeetingApplicationsAndHoldTypes) {
  for (const char* meeting :
       {"us.zoom.xos", "com.microsoft.teams2", "com.apple.FaceTime", "Cisco-Systems.Spark",
        "com.cisco.webexmeetingsapp", "teams-for-linux"}) {
    EXPECT_TRUE(MediaPresenceProbe::isMeetingApplication(meeting)) << meeting;
  }
  EXPECT_FALSE(MediaPresenceProbe::isMeetingApplication("code"));
  EXPECT_TRUE(MediaPresenceProbe::isDisplaySleepHold("PreventUserIdleDisplaySleep"));
  EXPECT_FALSE(MediaPresenceProbe::isDisplaySleepHold("PreventUserIdleSystemSleep"));
}

TEST(SessionLifecycleObserverTest, MapsEverySignal) {
  using S = SessionSignal;
  using C = SuspensionCause;
  const std::tuple<S, C, bool> table[] = {
      {S::willSleep, C::sleep, true},
      {S::didWake, C::sleep, false},
      {S::screensDidSleep, C::displaySleep, true},
      {S::screensDidWake, C::displaySleep, false},
      {S::sessionDidResignActive, C::sessionInactive, true},
      {S::sessionDidBecomeActive, C::sessionInactive, false},
      {S::screenLocked, C::lock, true},
      {S::screenUnlocked, C::lock, false},
      {S::screenSaverStarted, C::screenSaver, true},
      {S::screenSaverStopped, C::screenSaver, false},
  };
  FixedClock clock(at("2026-11-21T09:00:00Z"));
  ScriptedSessionEvents source;
  SessionLifecycleObserver observer(source, clock);
  std::vector<std::pair<C, bool>> seen;
  int clockChanges = 0;
  observer.onSuspend = [&](C cause, Instant when) {
    EXPECT_EQ(when, clock.now());
    seen.push_back({cause, true});
  };
  observer.onResume = [&](C cause, Instant) { seen.push_back({cause, false}); };
  observer.onClockChange = [&](Instant) { ++clockChanges; };
  observer.start();
  for (const auto& [signal, cause, suspends] : table) {
    source.send(signal);
    ASSERT_FALSE(seen.empty());
    EXPECT_EQ(seen.back(), std::make_pair(cause, suspends));
  }
  source.send(S::clockChanged);
  source.send(S::timeZoneChanged);
  EXPECT_EQ(clockChanges, 2);
  observer.stop();
  source.send(S::willSleep);
  EXPECT_EQ(seen.size(), std::size(table));
}

}  // namespace
}  // namespace velto
