// The scheduler on a real sd_event loop with short timers. Elapsed times are measured on the
// monotonic clock; no test depends on the wall clock's value or the time zone.
#include "platform/linux/event_scheduler.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

namespace velto::platform {
namespace {

using SteadyClock = std::chrono::steady_clock;

double secondsSince(SteadyClock::time_point start) {
  return std::chrono::duration<double>(SteadyClock::now() - start).count();
}

// A loop with a scheduler and a safety exit, so that a timer that never fires fails the test
// instead of hanging it.
class EventSchedulerTest : public ::testing::Test {
 protected:
  void runFor(double limitSeconds) {
    Timer guard = scheduler.after(limitSeconds, [this] { loop.exit(); });
    loop.run();
  }

  EventLoop loop;
  EventScheduler scheduler{loop};
};

TEST(EventSchedulerSpans, RoundUpSoTimersNeverFireEarly) {
  struct Case {
    double seconds;
    std::uint64_t usec;
  };
  for (const Case& c :
       {Case{0.0000004, 1}, Case{0.25, 250000}, Case{5, 5000000}, Case{0, 0}, Case{-3, 0}}) {
    EXPECT_EQ(EventScheduler::microseconds(c.seconds), c.usec) << c.seconds;
  }
  // Absurd delays stay far from overflowing when added to the clock.
  EXPECT_LT(EventScheduler::microseconds(1e30), UINT64_MAX / 2);
  // No tolerance is the finest accuracy, not sd-event's default of 250 ms; a midnight timer
  // with 5 s of tolerance may be at most 5 s late, however far away it is.
  EXPECT_EQ(EventScheduler::accuracy(0), 1u);
  EXPECT_EQ(EventScheduler::accuracy(5), 5000000u);
  // The 5-s polls with 1 s of tolerance are late by 250 ms at most; the minute's checks by 3 s.
  EXPECT_EQ(EventScheduler::repeatingAccuracy(5, 1), 250000u);
  EXPECT_EQ(EventScheduler::repeatingAccuracy(60, 10), 3000000u);
  EXPECT_EQ(EventScheduler::repeatingAccuracy(60, 0.5), 500000u);
  EXPECT_EQ(EventScheduler::repeatingAccuracy(0.4, 0), 1u);
}

TEST_F(EventSchedulerTest, OneShotsFireInDeadlineOrderAndNotEarly) {
  const auto start = SteadyClock::now();
  std::vector<std::pair<std::string, double>> fired;
  Timer late = scheduler.after(0.06, [&] {
    fired.emplace_back("late", secondsSince(start));
    loop.exit();
  });
  Timer early = scheduler.after(0.02, [&] { fired.emplace_back("early", secondsSince(start)); });
  EXPECT_TRUE(late.isActive());
  runFor(2);
  ASSERT_EQ(fired.size(), 2u);
  EXPECT_EQ(fired[0].first, "early");
  EXPECT_GE(fired[0].second, 0.02);
  EXPECT_EQ(fired[1].first, "late");
  EXPECT_GE(fired[1].second, 0.06);
  EXPECT_FALSE(early.isActive());
  EXPECT_FALSE(late.isActive());
}

TEST_F(EventSchedulerTest, CancelledAndDroppedTimersNeverRun) {
  int ran = 0;
  Timer cancelled = scheduler.after(0.01, [&] { ++ran; });
  cancelled.cancel();
  {
    Timer dropped = scheduler.after(0.01, [&] { ++ran; });
  }
  Timer reassigned = scheduler.after(0.01, [&] { ++ran; });
  reassigned = scheduler.after(0.03, [&] { loop.exit(); });
  runFor(2);
  EXPECT_EQ(ran, 0);
  EXPECT_FALSE(cancelled.isActive());
}

TEST_F(EventSchedulerTest, RepeatingTimerKeepsItsBeatUntilItsActionCancelsIt) {
  int ticks = 0;
  const auto start = SteadyClock::now();
  Timer repeating;
  repeating = scheduler.repeating(0.03, 0, [&] {
    ++ticks;
    EXPECT_GE(secondsSince(start), 0.03 * ticks);
    // A slow action must not push the later beats back (four of them would add 80 ms).
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    if (ticks == 5) {
      repeating.cancel();
      EXPECT_LT(secondsSince(start), 0.03 * 5 + 0.02 + 0.04);
    }
  });
  // Long enough for many more ticks had the cancel not held.
  Timer stop = scheduler.after(0.3, [&] { loop.exit(); });
  runFor(2);
  EXPECT_EQ(ticks, 5);
  EXPECT_FALSE(repeating.isActive());
}

TEST_F(EventSchedulerTest, ActionsMayScheduleFromInsideAOneShot) {
  std::vector<int> order;
  Timer second;
  Timer first = scheduler.after(0.005, [&] {
    order.push_back(1);
    EXPECT_FALSE(first.isActive());  // forgotten before it runs
    second = scheduler.after(0.005, [&] {
      order.push_back(2);
      loop.exit();
    });
  });
  runFor(2);
  EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST_F(EventSchedulerTest, DeadlinesAreWallClockInstantsAndPassedOnesFireNextTurn) {
  const Instant wallNow =
      std::chrono::time_point_cast<Microseconds>(std::chrono::system_clock::now());
  std::vector<std::string> fired;
  Timer passed =
      scheduler.at(wallNow - std::chrono::hours(1), 0, [&] { fired.push_back("passed"); });
  Timer soon = scheduler.at(wallNow + std::chrono::milliseconds(30), 0, [&] {
    fired.push_back("soon");
    EXPECT_GE(std::chrono::system_clock::now(), wallNow + std::chrono::milliseconds(30));
    loop.exit();
  });
  EXPECT_TRUE(fired.empty());  // never from inside the call that scheduled it
  runFor(2);
  EXPECT_EQ(fired, (std::vector<std::string>{"passed", "soon"}));
}

TEST_F(EventSchedulerTest, PostedWorkRunsInOrderOnTheLoopThreadAndNeverReentrantly) {
  const std::thread::id loopThread = std::this_thread::get_id();
  std::vector<int> order;
  scheduler.post([&] {
    order.push_back(1);
    scheduler.post([&] {
      order.push_back(3);
      loop.exit();
    });
    order.push_back(2);  // the nested post waits for the next turn
  });
  EXPECT_TRUE(order.empty());
  runFor(2);
  EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));

  std::vector<int> fromWorkers;
  std::vector<std::thread> workers;
  int arrived = 0;
  for (int i = 0; i < 4; ++i) {
    workers.emplace_back([&, i] {
      scheduler.post([&, i] {
        EXPECT_EQ(std::this_thread::get_id(), loopThread);
        fromWorkers.push_back(i);
        if (++arrived == 4) loop.exit();
      });
    });
  }
  for (std::thread& worker : workers) worker.join();
  runFor(2);
  EXPECT_EQ(fromWorkers.size(), 4u);
}

TEST_F(EventSchedulerTest, ReadyDispatchArmsTimersForAnotherLoopsWait) {
  // As the desktop application does it: nothing is ready now, but the timer added since the
  // last turn must wake the loop's descriptor once it expires.
  bool fired = false;
  Timer timer = scheduler.after(0.01, [&] { fired = true; });
  loop.dispatchReady();
  EXPECT_FALSE(fired);
  pollfd wait{loop.fileDescriptor(), POLLIN, 0};
  ASSERT_EQ(::poll(&wait, 1, 2000), 1);
  loop.dispatchReady();
  EXPECT_TRUE(fired);
}

}  // namespace
}  // namespace velto::platform
