#include "recording/tracking_engine.h"

#include <gtest/gtest.h>

#include "base/notices.h"
#include "engine_fixture.h"

namespace velto {
namespace {

using testing::app;
using testing::at;
using testing::EngineTest;
using testing::running;
using Reason = SegmentEndReason;
using Cause = SuspensionCause;

ActivityContext titled(const std::string& bundleId, const std::string& title) {
  return app(bundleId, title);
}

TEST_F(EngineTest, RecordsEachApplicationFromLaunchToQuit) {
  front.setSilently(running("code", 100));
  titles.setTitle(100, "main.cc");
  engine->start();
  EXPECT_TRUE(logs.contains("Tracking started (paused: false)"));
  advanceTo("2026-11-21T09:10:00Z");
  front.activate(running("thunderbird", 200));
  advanceTo("2026-11-21T09:12:30Z");
  engine->stop();
  // The title was read at once, within the refine window: no fragment of the bare context.
  EXPECT_EQ(recorded(), (std::vector<RecordedSegment>{
                            testing::segment(titled("code", "main.cc"), "2026-11-21T09:00:00Z",
                                             "2026-11-21T09:10:00Z", Reason::focusChange),
                            testing::segment(app("thunderbird"), "2026-11-21T09:10:00Z",
                                             "2026-11-21T09:12:30Z", Reason::appQuit),
                        }));
  EXPECT_FALSE(checkpoints.bytes.has_value());
  EXPECT_EQ(scheduler.activeTimerCount(), 0u);
}

TEST_F(EngineTest, ABurstOfTitleChangesCostsOneEnrichment) {
  front.setSilently(running("code", 100));
  titles.setTitle(100, "a.cc");
  engine->start();
  advanceTo("2026-11-21T09:01:00Z");
  const int readsBefore = titles.titleReads;
  for (int i = 0; i < 5; ++i) {
    titles.setTitle(100, "b.cc" + std::string(i, '*'));
    scheduler.advanceBy(0.1);
  }
  EXPECT_EQ(titles.titleReads, readsBefore);  // still debouncing
  scheduler.advanceBy(0.4);
  EXPECT_EQ(titles.titleReads, readsBefore + 1);
  ASSERT_EQ(recorded().size(), 1u);
  EXPECT_EQ(recorded()[0].endReason, Reason::titleChange);
  ASSERT_TRUE(engine->recorder().openSegment());
  EXPECT_EQ(engine->recorder().openSegment()->context.windowTitle, "b.cc****");
}

TEST_F(EngineTest, IdleEndsTheSegmentAtTheLastInputAndOffersALongGap) {
  front.setSilently(running("code", 100));
  engine->start();
  advanceTo("2026-11-21T09:05:00Z");
  idle.away(at("2026-11-21T09:05:00Z"));
  advanceTo("2026-11-21T09:30:00Z");
  ASSERT_EQ(recorded().size(), 1u);
  EXPECT_EQ(recorded()[0].endedAt, at("2026-11-21T09:05:00Z"));
  EXPECT_EQ(recorded()[0].endReason, Reason::idle);
  idle.active();
  advanceTo("2026-11-21T09:31:00Z");
  ASSERT_EQ(gaps.size(), 1u);
  EXPECT_TRUE(gaps[0].second);
  EXPECT_EQ(gaps[0].first.start, at("2026-11-21T09:05:00Z"));
  EXPECT_EQ(gaps[0].first.end, at("2026-11-21T09:30:05Z"));  // the first poll after input
  ASSERT_TRUE(engine->pendingGap());
  engine->clearPendingGap(*engine->pendingGap());
  EXPECT_FALSE(engine->pendingGap());
  ASSERT_TRUE(engine->recorder().openSegment());
  EXPECT_EQ(engine->recorder().openSegment()->startedAt, at("2026-11-21T09:30:05Z"));
}

TEST_F(EngineTest, OnlyIdleGapsOfFifteenMinutesToFourHoursAreOffered) {
  struct Case {
    const char* what;
    double awaySeconds;
    bool lockToo;
    bool offered;
  };
  const Case cases[] = {
      {"20 minutes", 20 * 60, false, true},
      {"14 minutes", 14 * 60, false, false},
      {"5 hours", 5 * 3600, false, false},
      {"20 minutes into a lock", 20 * 60, true, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    gaps.clear();
    front.setSilently(running("code", 100));
    makeEngine();
    engine->start();
    const Instant away = scheduler.now();
    idle.away(away);
    scheduler.advanceBy(130);  // idle from `away` on
    if (c.lockToo) session.send(SessionSignal::screenLocked);
    scheduler.advanceTo(addSeconds(away, c.awaySeconds));
    idle.active();
    if (c.lockToo) session.send(SessionSignal::screenUnlocked);
    scheduler.advanceBy(5);
    ASSERT_EQ(gaps.size(), 1u);
    EXPECT_EQ(gaps[0].second, c.offered);
    engine->stop();
  }
}

TEST_F(EngineTest, MediaKeepsTheUserPresentForThreeHoursAfterTheLastInput) {
  front.setSilently(running("vlc", 100));
  power.mediaEverywhere = true;
  engine->start();
  idle.away(at("2026-11-21T09:00:00Z"));
  advanceTo("2026-11-21T11:59:00Z");
  EXPECT_TRUE(recorded().empty());
  advanceTo("2026-11-21T12:05:00Z");
  ASSERT_EQ(recorded().size(), 1u);
  // Idle began at the last instant media still counted: three hours after the last input.
  EXPECT_EQ(recorded()[0].endedAt, at("2026-11-21T12:00:00Z"));
  EXPECT_EQ(recorded()[0].endReason, Reason::idle);
}

TEST_F(EngineTest, LockAndDisplaySleepMustBothEnd) {
  front.setSilently(running("code", 100));
  engine->start();
  advanceTo("2026-11-21T09:10:00Z");
  session.send(SessionSignal::screenLocked);
  advanceTo("2026-11-21T09:11:00Z");
  session.send(SessionSignal::screensDidSleep);
  advanceTo("2026-11-21T10:00:00Z");
  session.send(SessionSignal::screensDidWake);
  EXPECT_FALSE(engine->recorder().openSegment());
  advanceTo("2026-11-21T10:00:30Z");
  session.send(SessionSignal::screenUnlocked);
  ASSERT_EQ(gaps.size(), 1u);
  EXPECT_EQ(gaps[0].first.causes, (std::set<Cause>{Cause::displaySleep, Cause::lock}));
  EXPECT_FALSE(gaps[0].second);
  EXPECT_EQ(recorded().at(0).endReason, Reason::lock);
  ASSERT_TRUE(engine->recorder().openSegment());
  EXPECT_EQ(engine->recorder().openSegment()->startedAt, at("2026-11-21T10:00:30Z"));
}

TEST_F(EngineTest, AMissedWakeIsRepairedByAnApplicationSwitch) {
  front.setSilently(running("code", 100));
  engine->start();
  advanceTo("2026-11-21T09:10:00Z");
  session.send(SessionSignal::willSleep);
  advanceTo("2026-11-21T13:00:00Z");
  front.activate(running("firefox-esr", 300));
  EXPECT_FALSE(engine->recorder().isSuspended());
  ASSERT_TRUE(engine->recorder().openSegment());
  EXPECT_EQ(engine->recorder().openSegment()->context.bundleId, "firefox-esr");
  ASSERT_EQ(gaps.size(), 1u);
  EXPECT_EQ(gaps[0].first.causes, std::set<Cause>{Cause::sleep});
}

TEST_F(EngineTest, ExcludedApplicationsAreNeverRecordedAndTheirGapsNotOffered) {
  exclusions.addApp("org.keepassxc.KeePassXC", "KeePassXC");
  front.setSilently(running("code", 100));
  engine->start();
  advanceTo("2026-11-21T09:10:00Z");
  front.activate(running("org.keepassxc.KeePassXC", 400));
  idle.away(at("2026-11-21T09:11:00Z"));
  advanceTo("2026-11-21T09:40:00Z");
  idle.active();
  advanceTo("2026-11-21T09:41:00Z");
  front.activate(running("code", 100));
  advanceTo("2026-11-21T09:42:00Z");
  engine->stop();
  ASSERT_EQ(recorded().size(), 2u);
  EXPECT_EQ(recorded()[0].endReason, Reason::focusChange);
  EXPECT_EQ(recorded()[0].endedAt, at("2026-11-21T09:10:00Z"));
  EXPECT_EQ(recorded()[1].startedAt, at("2026-11-21T09:41:00Z"));
  for (const RecordedSegment& s : recorded())
    EXPECT_NE(s.context.bundleId, "org.keepassxc.KeePassXC");
  ASSERT_EQ(gaps.size(), 1u);
  EXPECT_FALSE(gaps[0].second);
  EXPECT_FALSE(engine->pendingGap());
}

TEST_F(EngineTest, PausingTwiceChangesNothingButClearsTheTimedEnd) {
  front.setSilently(running("code", 100));
  engine->start();
  advanceTo("2026-11-21T09:10:00Z");
  engine->pause(at("2026-11-21T10:00:00Z"));
  EXPECT_TRUE(settings.isPaused());
  EXPECT_EQ(settings.pausedUntil(), at("2026-11-21T10:00:00Z"));
  engine->setPaused(true);
  EXPECT_EQ(settings.pausedUntil(), std::nullopt);
  advanceTo("2026-11-21T11:00:00Z");  // the timed end was cleared: still paused
  EXPECT_TRUE(engine->isPaused());
  ASSERT_EQ(recorded().size(), 1u);
  EXPECT_EQ(recorded()[0].endReason, Reason::paused);
}

TEST_F(EngineTest, ATimedPauseEndsOnItsTimer) {
  front.setSilently(running("code", 100));
  engine->start();
  advanceTo("2026-11-21T09:10:00Z");
  engine->pause(at("2026-11-21T09:40:00Z"));
  front.activate(running("thunderbird", 200));  // ignored while paused
  advanceTo("2026-11-21T09:45:00Z");
  EXPECT_FALSE(engine->isPaused());
  EXPECT_FALSE(settings.isPaused());
  ASSERT_TRUE(engine->recorder().openSegment());
  EXPECT_EQ(engine->recorder().openSegment()->context.bundleId, "thunderbird");
  EXPECT_EQ(engine->recorder().openSegment()->startedAt, at("2026-11-21T09:40:00Z"));
  EXPECT_FALSE(gaps.at(0).second);  // a pause is never offered
}

TEST_F(EngineTest, ATimedPauseThatRanOutWhileClosedResumesAtLaunch) {
  settings.setPaused(true);
  settings.setPausedUntil(at("2026-11-21T08:30:00Z"));
  makeEngine();
  front.setSilently(running("code", 100));
  engine->start();
  EXPECT_FALSE(engine->isPaused());
  EXPECT_EQ(settings.pausedUntil(), std::nullopt);
  ASSERT_TRUE(engine->recorder().openSegment());
  EXPECT_EQ(engine->recorder().openSegment()->startedAt, at("2026-11-21T09:00:00Z"));

  // An indefinite pause survives a restart.
  engine->setPaused(true);
  engine->stop();
  makeEngine();
  engine->start();
  EXPECT_TRUE(engine->isPaused());
  EXPECT_FALSE(engine->recorder().openSegment());
}

TEST_F(EngineTest, CommandsFromOtherProgramsApplyOnlyWhenFresh) {
  front.setSilently(running("code", 100));
  engine->start();
  advanceTo("2026-11-21T09:10:00Z");
  struct Case {
    const char* what;
    bool paused;
    double ageSeconds;
    bool applied;
  };
  const Case cases[] = {
      {"written two minutes ago", true, 120, false},
      {"written 59 s ago", true, 59, true},
      {"resume stamped in the future", false, -90, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    const bool before = engine->isPaused();
    ASSERT_TRUE(commands.write(c.paused, addSeconds(scheduler.now(), -c.ageSeconds)));
    bus.post(notices::kTrackingCommand);
    EXPECT_EQ(engine->isPaused(), c.applied ? c.paused : before);
    EXPECT_FALSE(std::filesystem::exists(*commands.path()));  // consumed either way
    scheduler.advanceBy(60);
  }
}

TEST_F(EngineTest, ACommandMayAskForATimedPause) {
  front.setSilently(running("code", 100));
  engine->start();
  advanceTo("2026-11-21T09:10:00Z");
  ASSERT_TRUE(commands.write(true, scheduler.now(), at("2026-11-21T09:40:00Z")));
  bus.post(notices::kTrackingCommand);
  EXPECT_TRUE(engine->isPaused());
  EXPECT_EQ(settings.pausedUntil(), at("2026-11-21T09:40:00Z"));
  advanceTo("2026-11-21T09:41:00Z");
  EXPECT_FALSE(engine->isPaused());
  ASSERT_TRUE(engine->recorder().openSegment());
  EXPECT_EQ(engine->recorder().openSegment()->startedAt, at("2026-11-21T09:40:00Z"));
}

TEST_F(EngineTest, ACrashLeavesTheCheckpointAndTheNextLaunchRecoversIt) {
  front.setSilently(running("code", 100));
  engine->start();
  advanceTo("2026-11-21T09:41:30Z");
  makeEngine();  // the old engine goes without stop(): a crash
  EXPECT_TRUE(recorded().empty());
  EXPECT_TRUE(checkpoints.bytes.has_value());
  advanceTo("2026-11-21T10:00:00Z");
  engine->start();
  ASSERT_EQ(recorded().size(), 1u);
  EXPECT_EQ(recorded()[0], testing::segment(app("code"), "2026-11-21T09:00:00Z",
                                            "2026-11-21T09:41:00Z", Reason::recovered));
  ASSERT_TRUE(engine->recorder().openSegment());
  EXPECT_EQ(engine->recorder().openSegment()->startedAt, at("2026-11-21T10:00:00Z"));
}

TEST_F(EngineTest, TheHeartbeatCutsAtMidnightAndAtTheCap) {
  scheduler.jumpClockTo(at("2026-11-21T20:00:00Z"));
  front.setSilently(running("code", 100));
  engine->start();
  advanceTo("2026-11-22T05:00:00Z");
  ASSERT_EQ(recorded().size(), 1u);
  EXPECT_EQ(recorded()[0], testing::segment(app("code"), "2026-11-21T20:00:00Z",
                                            "2026-11-22T00:00:00Z", Reason::dayBoundary));
  // From midnight one context runs uninterrupted: cut at 8 hours by a later heartbeat.
  advanceTo("2026-11-22T08:02:00Z");
  ASSERT_EQ(recorded().size(), 2u);
  EXPECT_EQ(recorded()[1], testing::segment(app("code"), "2026-11-22T00:00:00Z",
                                            "2026-11-22T08:00:00Z", Reason::safetyCap));
  ASSERT_TRUE(engine->recorder().openSegment());
  EXPECT_EQ(engine->recorder().openSegment()->startedAt, at("2026-11-22T08:01:00Z"));
}

TEST_F(EngineTest, AWipeRestartsTheOpenSegment) {
  front.setSilently(running("code", 100));
  engine->start();
  advanceTo("2026-11-21T09:30:00Z");
  bus.post(notices::kStoreDidWipe);
  advanceTo("2026-11-21T09:40:00Z");
  engine->stop();
  ASSERT_EQ(recorded().size(), 1u);
  EXPECT_EQ(recorded()[0].startedAt, at("2026-11-21T09:30:00Z"));
}

TEST_F(EngineTest, EventsAfterTheEngineIsGoneAreIgnored) {
  front.setSilently(running("code", 100));
  engine->start();
  engine.reset();
  front.activate(running("thunderbird", 200));
  titles.setTitle(100, "x");
  session.send(SessionSignal::screenLocked);
  scheduler.advanceBy(600);
  EXPECT_TRUE(recorded().empty());
}

}  // namespace
}  // namespace velto
