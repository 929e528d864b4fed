#include "base/manual_scheduler.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "test_support/time_helpers.h"

namespace velto {
namespace {

using testing::at;

class ManualSchedulerTest : public ::testing::Test {
 protected:
  ManualScheduler scheduler{at("2026-11-21T09:00:00Z")};
  std::vector<std::string> log;

  std::function<void()> note(std::string what) {
    return [this, what] { log.push_back(what + "@" + std::to_string(secondsSinceStart())); };
  }
  long secondsSinceStart() const {
    return std::lround(secondsBetween(at("2026-11-21T09:00:00Z"), scheduler.now()));
  }
};

TEST_F(ManualSchedulerTest, TimersFireInDueOrderWithNowAtTheirInstant) {
  Timer heartbeat = scheduler.repeating(60, 5, note("heartbeat"));
  EXPECT_EQ(scheduler.lastTolerance(), 5);
  Timer poll = scheduler.repeating(25, 1, note("poll"));
  Timer once = scheduler.at(at("2026-11-21T09:01:30Z"), 5, note("once"));
  Timer debounce = scheduler.after(0.4, note("debounce"));
  scheduler.advanceBy(120);
  EXPECT_EQ(log, (std::vector<std::string>{"debounce@0", "poll@25", "poll@50", "heartbeat@60",
                                           "poll@75", "once@90", "poll@100", "heartbeat@120"}));
  EXPECT_EQ(secondsSinceStart(), 120);
  EXPECT_FALSE(once.isActive());
  EXPECT_TRUE(heartbeat.isActive());
}

TEST_F(ManualSchedulerTest, CancellingAndDroppingHandlesStopsTimers) {
  Timer a = scheduler.repeating(10, 0, note("a"));
  { Timer b = scheduler.repeating(10, 0, note("b")); }  // destroyed: cancelled
  Timer c = scheduler.after(5, note("c"));
  c.cancel();
  c.cancel();  // harmless twice
  Timer moved = std::move(a);
  scheduler.advanceBy(10);
  EXPECT_EQ(log, (std::vector<std::string>{"a@10"}));
  moved = Timer();  // reassigning cancels
  scheduler.advanceBy(30);
  EXPECT_EQ(log.size(), 1u);
  EXPECT_EQ(scheduler.activeTimerCount(), 0u);
}

TEST_F(ManualSchedulerTest, ATimerMayReplaceItselfWhileFiring) {
  Timer timer;
  int fired = 0;
  timer = scheduler.repeating(10, 0, [&] {
    ++fired;
    timer = scheduler.after(1, note("replacement"));
  });
  scheduler.advanceBy(30);
  EXPECT_EQ(fired, 1);
  EXPECT_EQ(log, (std::vector<std::string>{"replacement@11"}));
}

TEST_F(ManualSchedulerTest, PostedWorkRunsOnTheNextTurnNotInline) {
  bool ran = false;
  scheduler.post([&] { ran = true; });
  EXPECT_FALSE(ran);
  scheduler.runUntilIdle();
  EXPECT_TRUE(ran);
  // Work posted by a timer runs before the next timer.
  Timer first = scheduler.after(1, [&] { scheduler.post(note("posted")); });
  Timer second = scheduler.after(1, note("second"));
  scheduler.advanceBy(2);
  EXPECT_EQ(log, (std::vector<std::string>{"posted@1", "second@1"}));
}

TEST_F(ManualSchedulerTest, PastInstantsFireAtOnceAndClockJumpsFireNothing) {
  Timer late = scheduler.at(at("2026-11-21T08:00:00Z"), 5, note("late"));
  scheduler.runUntilIdle();
  EXPECT_EQ(log, (std::vector<std::string>{"late@0"}));
  Timer later = scheduler.after(60, note("later"));
  scheduler.jumpClockTo(at("2026-11-21T12:00:00Z"));
  EXPECT_TRUE(log.size() == 1u && later.isActive());
}

}  // namespace
}  // namespace velto
