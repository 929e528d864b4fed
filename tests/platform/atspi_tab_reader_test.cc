#include "platform/linux/atspi_tab_reader.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>

#include "base/manual_scheduler.h"
#include "test_support/time_helpers.h"

namespace velto::platform {
namespace {

using testing::at;

const BrowserCatalog::Entry& firefox() {
  return *BrowserCatalog::entry("firefox");
}

// The worker's answers arrive through post(); runs posted work until `answers` has `count`.
void pumpUntil(ManualScheduler& scheduler, const std::vector<BrowserTabAnswer>& answers,
               size_t count) {
  for (int spins = 0; answers.size() < count && spins < 5'000'000; ++spins) {
    scheduler.runUntilIdle();
    std::this_thread::yield();
  }
}

class AtspiTabReaderTest : public ::testing::Test {
 protected:
  // Each read waits until the test releases it, then answers `answer` for its process.
  AtspiTabReader::ReadFunction gatedRead() {
    return [this](int processId, std::chrono::steady_clock::time_point) -> BrowserTabAnswer {
      readsStarted++;
      released.wait();
      return BrowserTab{"Docs", "https://example.org/" + std::to_string(processId), false};
    };
  }
  auto collect() {
    return [this](BrowserTabAnswer answer) { answers.push_back(std::move(answer)); };
  }

  ManualScheduler scheduler{at("2026-11-21T09:00:00Z")};
  std::promise<void> release;
  std::shared_future<void> released = release.get_future().share();
  std::atomic<int> readsStarted{0};
  int exposed = 0;
  std::vector<BrowserTabAnswer> answers;
};

TEST_F(AtspiTabReaderTest, OffUntilEnabledAndEnablingExposesTheTrees) {
  AtspiTabReader reader(
      scheduler,
      [](int, auto) -> BrowserTabAnswer {
        return BrowserTab{"t", "https://a.io/", false};
      },
      [this] { ++exposed; });
  EXPECT_FALSE(reader.isEnabled());
  reader.readActiveTab(firefox(), 7, collect());
  EXPECT_TRUE(answers.empty()) << "never answered from inside the call";
  scheduler.runUntilIdle();
  ASSERT_EQ(answers.size(), 1u);
  EXPECT_EQ(answers[0], BrowserTabAnswer(BrowserProbeError::scriptFailure("accessibility off")));

  reader.setEnabled(true);
  reader.setEnabled(true);
  EXPECT_EQ(exposed, 1) << "asked once when turned on";
  reader.setEnabled(false);
  EXPECT_EQ(exposed, 1) << "turning off leaves the desktop as it is";
  reader.setEnabled(true);
  EXPECT_EQ(exposed, 2);

  reader.readActiveTab(firefox(), 7, collect());
  pumpUntil(scheduler, answers, 2);
  ASSERT_EQ(answers.size(), 2u);
  EXPECT_EQ(answers[1], BrowserTabAnswer(BrowserTab{"t", "https://a.io/", false}));
}

TEST_F(AtspiTabReaderTest, OneReadAtATimeAndASlowReadTimesOut) {
  AtspiTabReader reader(scheduler, gatedRead(), [] {});
  reader.setEnabled(true);
  reader.readActiveTab(firefox(), 7, collect());
  reader.readActiveTab(firefox(), 8, collect());
  scheduler.runUntilIdle();
  ASSERT_EQ(answers.size(), 1u);
  EXPECT_EQ(answers[0], BrowserTabAnswer(BrowserProbeError::busy()));

  scheduler.advanceBy(kAtspiReadTimeoutSeconds);
  ASSERT_EQ(answers.size(), 2u);
  EXPECT_EQ(answers[1], BrowserTabAnswer(BrowserProbeError::timeout()));
  // The timed-out read still occupies the worker.
  reader.readActiveTab(firefox(), 9, collect());
  scheduler.runUntilIdle();
  ASSERT_EQ(answers.size(), 3u);
  EXPECT_EQ(answers[2], BrowserTabAnswer(BrowserProbeError::busy()));

  // Its late answer is dropped; then the next read runs.
  release.set_value();
  const BrowserTabAnswer busy = BrowserProbeError::busy();
  for (int spins = 0; spins < 5'000'000; ++spins) {
    scheduler.runUntilIdle();
    reader.readActiveTab(firefox(), 10, collect());
    scheduler.runUntilIdle();
    if (answers.size() == 3 || answers.back() != busy) break;
    answers.pop_back();  // still busy while the late answer is on its way
    std::this_thread::yield();
  }
  pumpUntil(scheduler, answers, 4);
  ASSERT_EQ(answers.size(), 4u);
  EXPECT_EQ(answers[3], BrowserTabAnswer(BrowserTab{"Docs", "https://example.org/10", false}));
  scheduler.advanceBy(kAtspiReadTimeoutSeconds);
  EXPECT_EQ(answers.size(), 4u) << "an answered read does not time out as well";
}

TEST_F(AtspiTabReaderTest, NoAnswerAfterTheReaderIsGone) {
  {
    AtspiTabReader reader(scheduler, gatedRead(), [] {});
    reader.setEnabled(true);
    reader.readActiveTab(firefox(), 7, collect());
    while (readsStarted == 0) std::this_thread::yield();
    release.set_value();
  }  // waits for the worker
  scheduler.advanceBy(kAtspiReadTimeoutSeconds);
  EXPECT_TRUE(answers.empty());
}

}  // namespace
}  // namespace velto::platform
