// The recorder feeding the real store through its sink: the per-day rows around midnight and
// across daylight-saving changes (Berlin).
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "recording/segment_recorder.h"
#include "store/store_fixture.h"

namespace velto {
namespace {

using testing::at;

class RecorderToStoreTest : public testing::StoreTest {
 protected:
  RecorderToStoreTest() : StoreTest("Europe/Berlin") {}

  struct Step {
    enum class Kind { observe, leave, heartbeatsUntil, sleep, wake };
    Kind kind;
    const char* at;
    const char* app;
  };
  static Step observe(const char* when, const char* app) {
    return {Step::Kind::observe, when, app};
  }
  static Step leave(const char* when) { return {Step::Kind::leave, when, ""}; }
  // A heartbeat every minute after the previous step, the last one at `when`.
  static Step heartbeatsUntil(const char* when) { return {Step::Kind::heartbeatsUntil, when, ""}; }
  static Step goToSleep(const char* when) { return {Step::Kind::sleep, when, ""}; }
  static Step wakeUp(const char* when) { return {Step::Kind::wake, when, ""}; }

  // Runs the steps through a recorder whose sink is the store.
  void record(const std::vector<Step>& steps) {
    // The store outlives the recorder; the sink does not own it.
    const std::shared_ptr<SegmentSink> sink(store.get(), [](SegmentSink*) {});
    SegmentRecorder recorder(sink, nullptr, calendar);
    Instant last{};
    for (const Step& step : steps) {
      const Instant when = at(step.at);
      switch (step.kind) {
        case Step::Kind::observe: {
          ActivityContext context;
          context.bundleId = step.app;
          context.appName = step.app;
          recorder.observe(context, when);
          break;
        }
        case Step::Kind::leave:
          recorder.observe(std::nullopt, when);
          break;
        case Step::Kind::heartbeatsUntil:
          for (Instant beat = addSeconds(last, 60); beat <= when; beat = addSeconds(beat, 60)) {
            recorder.heartbeat(beat);
          }
          break;
        case Step::Kind::sleep:
          recorder.suspend(SuspensionCause::sleep, when);
          break;
        case Step::Kind::wake:
          recorder.resume(SuspensionCause::sleep, std::nullopt, when);
          break;
      }
      last = when;
    }
  }
};

TEST_F(RecorderToStoreTest, PerDayRowsAroundMidnightAndDaylightSavingChanges) {
  struct Case {
    const char* what;
    std::vector<Step> steps;
    std::vector<std::string> days;
  };
  // Berlin is UTC+1 in winter and UTC+2 in summer: midnight of 21/22 November is 23:00Z; the
  // clocks go forward on 29 March 2026 (a 23-hour day) and back on 25 October (25 hours).
  const Case cases[] = {
      {"a switch half an hour after midnight",
       {observe("2026-11-21T22:30:00Z", "code"), observe("2026-11-21T23:30:00Z", "mail"),
        leave("2026-11-21T23:40:00Z")},
       {"2026-11-21: 1800 s, 1 row", "2026-11-22: 2400 s, 2 rows"}},
      {"left exactly at midnight",
       {observe("2026-11-21T22:30:00Z", "code"), leave("2026-11-21T23:00:00Z")},
       {"2026-11-21: 1800 s, 1 row"}},
      {"a heartbeat exactly at midnight",
       {observe("2026-11-21T22:58:00Z", "code"), heartbeatsUntil("2026-11-21T23:03:00Z"),
        leave("2026-11-21T23:03:00Z")},
       {"2026-11-21: 120 s, 1 row", "2026-11-22: 180 s, 1 row"}},
      {"a heartbeat half a minute after midnight",
       {observe("2026-11-21T22:58:30Z", "code"), heartbeatsUntil("2026-11-21T23:00:30Z"),
        leave("2026-11-21T23:10:00Z")},
       {"2026-11-21: 90 s, 1 row", "2026-11-22: 600 s, 2 rows"}},
      {"two seconds before midnight are dropped",
       {observe("2026-11-21T22:59:58Z", "code"), observe("2026-11-21T23:00:30Z", "mail"),
        leave("2026-11-21T23:01:00Z")},
       {"2026-11-22: 60 s, 2 rows"}},
      {"asleep over midnight",
       {observe("2026-11-21T22:00:00Z", "code"), goToSleep("2026-11-21T22:50:00Z"),
        wakeUp("2026-11-21T23:20:00Z"), leave("2026-11-21T23:30:00Z")},
       {"2026-11-21: 3000 s, 1 row", "2026-11-22: 600 s, 1 row"}},
      {"the night the clocks go forward",
       {observe("2026-03-28T22:30:00Z", "code"), leave("2026-03-29T01:30:00Z")},
       {"2026-03-28: 1800 s, 1 row", "2026-03-29: 9000 s, 1 row"}},
      {"a 23-hour day in one stretch",
       {observe("2026-03-28T22:00:00Z", "code"), leave("2026-03-30T00:00:00Z")},
       {"2026-03-28: 3600 s, 1 row", "2026-03-29: 82800 s, 1 row", "2026-03-30: 7200 s, 1 row"}},
      {"heartbeats over midnight and over the skipped hour",
       {observe("2026-03-28T22:50:00Z", "code"), heartbeatsUntil("2026-03-28T23:10:00Z"),
        leave("2026-03-28T23:10:00Z"), observe("2026-03-29T00:50:00Z", "code"),
        heartbeatsUntil("2026-03-29T01:10:00Z"), leave("2026-03-29T01:10:00Z")},
       {"2026-03-28: 600 s, 1 row", "2026-03-29: 1800 s, 2 rows"}},
      {"the night the clocks go back",
       {observe("2026-10-24T21:30:00Z", "code"), leave("2026-10-25T02:30:00Z")},
       {"2026-10-24: 1800 s, 1 row", "2026-10-25: 16200 s, 1 row"}},
      {"a 25-hour day in one stretch",
       {observe("2026-10-24T21:00:00Z", "code"), leave("2026-10-25T23:30:00Z")},
       {"2026-10-24: 3600 s, 1 row", "2026-10-25: 90000 s, 1 row", "2026-10-26: 1800 s, 1 row"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    ASSERT_TRUE(store->wipe());
    record(c.steps);
    EXPECT_EQ(perDay(), c.days);
  }
}

}  // namespace
}  // namespace velto
