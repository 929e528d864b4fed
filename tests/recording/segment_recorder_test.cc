#include "recording/segment_recorder.h"

#include <gtest/gtest.h>

#include "base/files.h"
#include "recorder_fixture.h"
#include "test_support/log_capture.h"
#include "test_support/temp_dir.h"

namespace velto {
namespace {

using testing::app;
using testing::at;
using testing::CollectingSink;
using testing::segment;
using Reason = SegmentEndReason;
using Cause = SuspensionCause;

class SegmentRecorderTest : public ::testing::Test {
 protected:
  explicit SegmentRecorderTest(const char* zone = "UTC") : calendar(*Calendar::named(zone)) {}

  std::vector<RecordedSegment>& recorded() { return sink->segments; }

  Calendar calendar;
  std::shared_ptr<CollectingSink> sink = std::make_shared<CollectingSink>();
  SegmentRecorder recorder{sink, nullptr, calendar};
  std::vector<AwayGap> gaps;

  void collectGaps() {
    recorder.onGap = [this](const AwayGap& gap) { gaps.push_back(gap); };
  }
};

TEST_F(SegmentRecorderTest, ClosingCutsAtEveryMidnightAndDropsShortPieces) {
  struct Case {
    const char* zone;
    const char* start;
    const char* end;
    std::vector<std::pair<const char*, const char*>> pieces;  // the last ends with focusChange
  };
  const std::vector<Case> cases = {
      // The 2-second piece before midnight is dropped; the rest keeps the given reason.
      {"UTC",
       "2026-11-20T23:59:58Z",
       "2026-11-21T00:00:30Z",
       {{"2026-11-21T00:00:00Z", "2026-11-21T00:00:30Z"}}},
      {"UTC",
       "2026-11-20T22:00:00Z",
       "2026-11-21T02:00:00Z",
       {{"2026-11-20T22:00:00Z", "2026-11-21T00:00:00Z"},
        {"2026-11-21T00:00:00Z", "2026-11-21T02:00:00Z"}}},
      // A last piece under 3 s after midnight is dropped too.
      {"UTC",
       "2026-11-20T23:00:00Z",
       "2026-11-21T00:00:02Z",
       {{"2026-11-20T23:00:00Z", "2026-11-21T00:00:00Z"}}},
      // Exactly 3 s is kept.
      {"UTC",
       "2026-11-21T10:00:00Z",
       "2026-11-21T10:00:03Z",
       {{"2026-11-21T10:00:00Z", "2026-11-21T10:00:03Z"}}},
      {"UTC", "2026-11-21T10:00:00Z", "2026-11-21T10:00:02.999Z", {}},
      // Berlin: 22:00 on the 23-hour day to 01:00 two days later; midnights at real local time.
      {"Europe/Berlin",
       "2026-03-28T21:00:00Z",
       "2026-03-30T00:00:00Z",
       {{"2026-03-28T21:00:00Z", "2026-03-28T23:00:00Z"},
        {"2026-03-28T23:00:00Z", "2026-03-29T22:00:00Z"},
        {"2026-03-29T22:00:00Z", "2026-03-30T00:00:00Z"}}},
      {"Europe/Berlin",
       "2026-10-24T21:00:00Z",
       "2026-10-25T23:30:00Z",
       {{"2026-10-24T21:00:00Z", "2026-10-24T22:00:00Z"},
        {"2026-10-24T22:00:00Z", "2026-10-25T23:00:00Z"},
        {"2026-10-25T23:00:00Z", "2026-10-25T23:30:00Z"}}},
      {"America/New_York",
       "2026-03-07T23:00:00Z",
       "2026-03-09T06:00:00Z",
       {{"2026-03-07T23:00:00Z", "2026-03-08T05:00:00Z"},
        {"2026-03-08T05:00:00Z", "2026-03-09T04:00:00Z"},
        {"2026-03-09T04:00:00Z", "2026-03-09T06:00:00Z"}}},
      {"America/New_York",
       "2026-11-01T03:00:00Z",
       "2026-11-02T05:30:00Z",
       {{"2026-11-01T03:00:00Z", "2026-11-01T04:00:00Z"},
        {"2026-11-01T04:00:00Z", "2026-11-02T05:00:00Z"},
        {"2026-11-02T05:00:00Z", "2026-11-02T05:30:00Z"}}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.zone) + " " + c.start + " – " + c.end);
    const Calendar zoneCalendar = *Calendar::named(c.zone);
    auto localSink = std::make_shared<CollectingSink>();
    SegmentRecorder local(localSink, nullptr, zoneCalendar);
    local.observe(app("editor"), at(c.start));
    local.close(at(c.end), Reason::focusChange);
    std::vector<RecordedSegment> expected;
    for (size_t i = 0; i < c.pieces.size(); ++i) {
      const bool last = i + 1 == c.pieces.size();
      expected.push_back(segment(app("editor"), c.pieces[i].first, c.pieces[i].second,
                                 last ? Reason::focusChange : Reason::dayBoundary));
    }
    // When the final piece was dropped, the last kept piece still ends at a midnight.
    if (!expected.empty() && expected.back().endedAt != at(c.end)) {
      expected.back().endReason = Reason::dayBoundary;
    }
    EXPECT_EQ(localSink->segments, expected);
    EXPECT_FALSE(local.openSegment().has_value());
  }
}

TEST_F(SegmentRecorderTest, ObservingChangesEndWithTheReasonBetweenContexts) {
  ActivityContext browser = app("org.mozilla.firefox", "Docs");
  browser.host = "docs.example.org";
  ActivityContext otherPage = browser;
  otherPage.url = "https://docs.example.org/b";
  ActivityContext retitled = otherPage;
  retitled.windowTitle = "Other";

  recorder.observe(app("editor"), at("2026-11-21T09:00:00Z"));
  recorder.observe(app("editor"), at("2026-11-21T09:00:30Z"));  // unchanged: nothing
  recorder.observe(browser, at("2026-11-21T09:01:00Z"));
  recorder.observe(otherPage, at("2026-11-21T09:02:00Z"));
  recorder.observe(retitled, at("2026-11-21T09:03:00Z"));
  recorder.observe(std::nullopt, at("2026-11-21T09:04:00Z"));
  EXPECT_EQ(
      recorded(),
      (std::vector<RecordedSegment>{
          segment(app("editor"), "2026-11-21T09:00:00Z", "2026-11-21T09:01:00Z",
                  Reason::focusChange),
          segment(browser, "2026-11-21T09:01:00Z", "2026-11-21T09:02:00Z", Reason::urlChange),
          segment(otherPage, "2026-11-21T09:02:00Z", "2026-11-21T09:03:00Z", Reason::titleChange),
          segment(retitled, "2026-11-21T09:03:00Z", "2026-11-21T09:04:00Z", Reason::focusChange),
      }));
  EXPECT_FALSE(recorder.openSegment().has_value());
}

TEST_F(SegmentRecorderTest, RefiningWithinThreeSecondsReplacesTheContextInPlace) {
  recorder.observe(app("term"), at("2026-11-21T09:00:00Z"));
  recorder.refine(app("term", "vim"), at("2026-11-21T09:00:02Z"));
  EXPECT_TRUE(recorded().empty());
  ASSERT_TRUE(recorder.openSegment());
  EXPECT_EQ(recorder.openSegment()->context, app("term", "vim"));
  EXPECT_EQ(recorder.openSegment()->startedAt, at("2026-11-21T09:00:00Z"));
  EXPECT_EQ(recorder.latestContext(), app("term", "vim"));

  // The same refinement again changes nothing; a later one ends the segment.
  recorder.refine(app("term", "vim"), at("2026-11-21T09:00:03Z"));
  recorder.refine(app("term", "make"), at("2026-11-21T09:00:04Z"));
  EXPECT_EQ(recorded(),
            (std::vector<RecordedSegment>{segment(app("term", "vim"), "2026-11-21T09:00:00Z",
                                                  "2026-11-21T09:00:04Z", Reason::titleChange)}));
  // A refinement for another application is an observation.
  recorder.refine(app("mail"), at("2026-11-21T09:00:05Z"));
  ASSERT_TRUE(recorder.openSegment());
  EXPECT_EQ(recorder.openSegment()->context, app("mail"));
  EXPECT_EQ(recorded().size(), 1u);  // the 1-second "make" piece was dropped
}

TEST_F(SegmentRecorderTest, ExclusionDiscardsAFreshSegmentAndEndsAnOlderOne) {
  recorder.observe(app("mail"), at("2026-11-21T09:00:00Z"));
  recorder.endForExclusion(at("2026-11-21T09:00:03Z"));
  EXPECT_TRUE(recorded().empty());
  EXPECT_FALSE(recorder.openSegment());
  EXPECT_FALSE(recorder.latestContext());

  recorder.observe(app("mail"), at("2026-11-21T09:01:00Z"));
  recorder.endForExclusion(at("2026-11-21T09:01:10Z"));
  EXPECT_EQ(recorded(),
            (std::vector<RecordedSegment>{segment(app("mail"), "2026-11-21T09:01:00Z",
                                                  "2026-11-21T09:01:10Z", Reason::focusChange)}));
}

TEST_F(SegmentRecorderTest, ExclusionDuringASuspensionDropsTheGapContext) {
  collectGaps();
  recorder.observe(app("bank"), at("2026-11-21T09:00:00Z"));
  recorder.suspend(Cause::idle, at("2026-11-21T09:10:00Z"));
  recorder.endForExclusion(at("2026-11-21T09:20:00Z"));
  recorder.resume(Cause::idle, app("notes"), at("2026-11-21T09:30:00Z"));
  ASSERT_EQ(gaps.size(), 1u);
  EXPECT_EQ(gaps[0].context, std::nullopt);
}

TEST_F(SegmentRecorderTest, EachCauseEndsTheSegmentWithItsReason) {
  const std::pair<Cause, Reason> table[] = {
      {Cause::idle, Reason::idle},
      {Cause::sleep, Reason::sleep},
      {Cause::displaySleep, Reason::sleep},
      {Cause::lock, Reason::lock},
      {Cause::screenSaver, Reason::lock},
      {Cause::paused, Reason::paused},
      {Cause::sessionInactive, Reason::sessionSwitch},
  };
  for (const auto& [cause, reason] : table) {
    SCOPED_TRACE(std::string(rawValue(cause)));
    recorded().clear();
    recorder.observe(app("editor"), at("2026-11-21T09:00:00Z"));
    recorder.suspend(cause, at("2026-11-21T09:05:00Z"));
    EXPECT_EQ(recorded(),
              (std::vector<RecordedSegment>{
                  segment(app("editor"), "2026-11-21T09:00:00Z", "2026-11-21T09:05:00Z", reason)}));
    // While suspended, observations are remembered but open nothing.
    recorder.observe(app("mail"), at("2026-11-21T09:06:00Z"));
    EXPECT_FALSE(recorder.openSegment());
    recorder.resume(cause, std::nullopt, at("2026-11-21T09:07:00Z"));
    ASSERT_TRUE(recorder.openSegment());
    EXPECT_EQ(recorder.openSegment()->context, app("mail"));
    recorder.close(at("2026-11-21T09:07:01Z"), Reason::appQuit);
  }
}

TEST_F(SegmentRecorderTest, SeveralCausesMustAllBeLiftedAndGiveOneGap) {
  collectGaps();
  recorder.observe(app("editor"), at("2026-11-21T09:00:00Z"));
  recorder.suspend(Cause::displaySleep, at("2026-11-21T09:10:00Z"));
  recorder.suspend(Cause::lock, at("2026-11-21T09:10:05Z"));
  recorder.resume(Cause::displaySleep, app("editor"), at("2026-11-21T09:40:00Z"));
  EXPECT_TRUE(recorder.isSuspended());
  EXPECT_FALSE(recorder.openSegment());
  EXPECT_TRUE(gaps.empty());

  recorder.resume(Cause::lock, app("editor"), at("2026-11-21T09:41:00Z"));
  ASSERT_EQ(gaps.size(), 1u);
  EXPECT_EQ(gaps[0], (AwayGap{at("2026-11-21T09:10:00Z"),
                              at("2026-11-21T09:41:00Z"),
                              {Cause::displaySleep, Cause::lock},
                              app("editor")}));
  ASSERT_TRUE(recorder.openSegment());
  EXPECT_EQ(recorder.openSegment()->startedAt, at("2026-11-21T09:41:00Z"));

  // A second resume of the same cause is ignored: no second gap, no second segment.
  recorder.resume(Cause::lock, app("mail"), at("2026-11-21T09:42:00Z"));
  EXPECT_EQ(gaps.size(), 1u);
  ASSERT_TRUE(recorder.openSegment());
  EXPECT_EQ(recorder.openSegment()->context, app("editor"));
  EXPECT_EQ(recorded().size(), 1u);
}

TEST_F(SegmentRecorderTest, AnAppSwitchClearsStaleSleepAndLockButNotIdleOrPause) {
  collectGaps();
  recorder.observe(app("editor"), at("2026-11-21T09:00:00Z"));
  recorder.suspend(Cause::sleep, at("2026-11-21T09:10:00Z"));
  recorder.suspend(Cause::screenSaver, at("2026-11-21T09:10:00Z"));
  // The wake notification never came; the user switches applications.
  recorder.clearStaleSuspensions(app("mail"), at("2026-11-21T10:00:00Z"));
  EXPECT_FALSE(recorder.isSuspended());
  ASSERT_EQ(gaps.size(), 1u);
  EXPECT_EQ(gaps[0].causes, (std::set<Cause>{Cause::sleep, Cause::screenSaver}));
  ASSERT_TRUE(recorder.openSegment());
  EXPECT_EQ(recorder.openSegment()->context, app("mail"));

  gaps.clear();
  recorder.suspend(Cause::paused, at("2026-11-21T10:10:00Z"));
  recorder.suspend(Cause::lock, at("2026-11-21T10:20:00Z"));
  recorder.clearStaleSuspensions(app("mail"), at("2026-11-21T10:30:00Z"));
  EXPECT_EQ(recorder.suspensions(), std::set<Cause>{Cause::paused});
  EXPECT_TRUE(gaps.empty());
  EXPECT_FALSE(recorder.openSegment());

  // Nothing stale: nothing happens, not even an observation.
  recorder.resume(Cause::paused, std::nullopt, at("2026-11-21T10:40:00Z"));
  recorder.clearStaleSuspensions(app("other"), at("2026-11-21T10:41:00Z"));
  ASSERT_TRUE(recorder.openSegment());
  EXPECT_EQ(recorder.openSegment()->context, app("mail"));
}

TEST_F(SegmentRecorderTest, HeartbeatCutsAtTheSafetyCap) {
  testing::LogCapture logs;
  const Instant start = at("2026-11-21T08:00:00Z");
  recorder.observe(app("video"), start);
  for (int minute = 1; minute <= 481; ++minute) recorder.heartbeat(addSeconds(start, minute * 60));
  // The 481st heartbeat is at 8 h 1 min: more than 8 hours, so the cap cuts.
  EXPECT_EQ(recorded(),
            (std::vector<RecordedSegment>{segment(app("video"), "2026-11-21T08:00:00Z",
                                                  "2026-11-21T16:00:00Z", Reason::safetyCap)}));
  ASSERT_TRUE(recorder.openSegment());
  EXPECT_EQ(recorder.openSegment()->startedAt, at("2026-11-21T16:01:00Z"));
  EXPECT_TRUE(logs.contains("Safety cap hit for video; cutting the segment"));
}

// Segments the store kept for later are tried again on every heartbeat, also while paused and
// with nothing open: the rows must not wait for the next switch.
TEST_F(SegmentRecorderTest, EveryHeartbeatLetsTheSinkRetry) {
  const Instant start = at("2026-11-21T08:00:00Z");
  recorder.heartbeat(start);
  recorder.observe(app("mail"), start);
  recorder.heartbeat(addSeconds(start, 60));
  EXPECT_EQ(sink->retries, 2);
}

TEST_F(SegmentRecorderTest, EightHoursAndThirtySecondsGivesAnEightHourRecord) {
  const Instant start = at("2026-11-21T08:00:00Z");
  recorder.observe(app("video"), start);
  recorder.heartbeat(addSeconds(start, 8 * 3600));  // exactly 8 h: not over the cap
  EXPECT_TRUE(recorded().empty());
  testing::LogCapture quiet;
  recorder.heartbeat(addSeconds(start, 8 * 3600 + 30));
  ASSERT_EQ(recorded().size(), 1u);
  EXPECT_EQ(recorded()[0].endedAt, at("2026-11-21T16:00:00Z"));
  ASSERT_TRUE(recorder.openSegment());
  EXPECT_EQ(recorder.openSegment()->startedAt, at("2026-11-21T16:00:30Z"));
}

TEST_F(SegmentRecorderTest, HeartbeatSplitsAtMidnightAndKeepsRecording) {
  recorder.observe(app("editor"), at("2026-11-21T23:00:00Z"));
  recorder.heartbeat(at("2026-11-22T00:00:40Z"));
  EXPECT_EQ(recorded(), (std::vector<RecordedSegment>{
                            segment(app("editor"), "2026-11-21T23:00:00Z", "2026-11-22T00:00:00Z",
                                    Reason::dayBoundary),
                            segment(app("editor"), "2026-11-22T00:00:00Z", "2026-11-22T00:00:40Z",
                                    Reason::dayBoundary),
                        }));
  ASSERT_TRUE(recorder.openSegment());
  EXPECT_EQ(recorder.openSegment()->startedAt, at("2026-11-22T00:00:40Z"));
}

TEST_F(SegmentRecorderTest, ClockChangeClosesAtTheLastConfirmation) {
  recorder.observe(app("editor"), at("2026-11-21T10:00:00Z"));
  recorder.heartbeat(at("2026-11-21T10:01:00Z"));
  // The clock jumps two hours ahead 30 s after the heartbeat; those 30 s are not counted.
  recorder.clockChanged(at("2026-11-21T12:01:30Z"));
  EXPECT_EQ(recorded(),
            (std::vector<RecordedSegment>{segment(app("editor"), "2026-11-21T10:00:00Z",
                                                  "2026-11-21T10:01:00Z", Reason::clockChange)}));
  ASSERT_TRUE(recorder.openSegment());
  EXPECT_EQ(recorder.openSegment()->startedAt, at("2026-11-21T12:01:30Z"));

  // Backwards jump right after opening: nothing to record, the segment restarts.
  recorder.clockChanged(at("2026-11-21T09:00:00Z"));
  EXPECT_EQ(recorded().size(), 1u);
  ASSERT_TRUE(recorder.openSegment());
  EXPECT_EQ(recorder.openSegment()->startedAt, at("2026-11-21T09:00:00Z"));

  // Suspended: a clock change does nothing.
  recorder.suspend(Cause::lock, at("2026-11-21T09:10:00Z"));
  recorder.clockChanged(at("2026-11-21T09:20:00Z"));
  EXPECT_FALSE(recorder.openSegment());
}

TEST_F(SegmentRecorderTest, RestartForgetsTheTimeSoFar) {
  recorder.observe(app("editor"), at("2026-11-21T10:00:00Z"));
  recorder.restart(at("2026-11-21T10:30:00Z"));
  recorder.close(at("2026-11-21T10:40:00Z"), Reason::appQuit);
  EXPECT_EQ(recorded(),
            (std::vector<RecordedSegment>{segment(app("editor"), "2026-11-21T10:30:00Z",
                                                  "2026-11-21T10:40:00Z", Reason::appQuit)}));
}

TEST_F(SegmentRecorderTest, AGoneSinkDiscardsSilently) {
  recorder.observe(app("editor"), at("2026-11-21T10:00:00Z"));
  sink.reset();
  recorder.close(at("2026-11-21T10:10:00Z"), Reason::appQuit);
  EXPECT_FALSE(recorder.openSegment());
}

TEST_F(SegmentRecorderTest, GapsAreReportedOnlyWhenTimePassed) {
  collectGaps();
  recorder.observe(app("editor"), at("2026-11-21T10:00:00Z"));
  recorder.suspend(Cause::idle, at("2026-11-21T10:05:00Z"));
  recorder.resume(Cause::idle, std::nullopt, at("2026-11-21T10:05:00Z"));
  EXPECT_TRUE(gaps.empty());
  // The stretch began with nothing open: the latest context stands in.
  recorder.observe(std::nullopt, at("2026-11-21T10:06:00Z"));
  recorder.observe(app("mail"), at("2026-11-21T10:07:00Z"));
  recorder.close(at("2026-11-21T10:08:00Z"), Reason::focusChange);
  recorder.suspend(Cause::sleep, at("2026-11-21T10:09:00Z"));
  recorder.resume(Cause::sleep, std::nullopt, at("2026-11-21T11:00:00Z"));
  ASSERT_EQ(gaps.size(), 1u);
  EXPECT_EQ(gaps[0].context, app("mail"));
  EXPECT_DOUBLE_EQ(gaps[0].duration(), 51 * 60);
}

// Checkpoint behaviour, with the real file.
class RecorderCheckpointTest : public ::testing::Test {
 protected:
  testing::TempDir dir;
  Calendar calendar = *Calendar::named("Europe/Berlin");
  std::shared_ptr<CollectingSink> sink = std::make_shared<CollectingSink>();
};

TEST_F(RecorderCheckpointTest, ACrashLosesAtMostTheTimeSinceTheLastHeartbeat) {
  {
    FileSegmentCheckpoints checkpoints(dir.path());
    SegmentRecorder recorder(sink, &checkpoints, calendar);
    recorder.observe(app("editor", "main.cc"), at("2026-11-21T08:00:00Z"));
    for (int minute = 1; minute <= 41; ++minute) {
      recorder.heartbeat(addSeconds(at("2026-11-21T08:00:00Z"), minute * 60));
    }
    EXPECT_TRUE(checkpoints.hasFile());
    // The process dies here: no close.
  }
  EXPECT_TRUE(sink->segments.empty());

  FileSegmentCheckpoints checkpoints(dir.path());
  EXPECT_TRUE(checkpoints.hasFile());
  SegmentRecorder recorder(sink, &checkpoints, calendar);
  recorder.recoverCheckpoint();
  EXPECT_EQ(sink->segments,
            (std::vector<RecordedSegment>{segment(app("editor", "main.cc"), "2026-11-21T08:00:00Z",
                                                  "2026-11-21T08:41:00Z", Reason::recovered)}));
  EXPECT_FALSE(std::filesystem::exists(dir / "open-segment.json"));
  recorder.recoverCheckpoint();  // nothing left to recover
  EXPECT_EQ(sink->segments.size(), 1u);
}

TEST_F(RecorderCheckpointTest, RecoveryCutsAtMidnightAndDropsShortStretches) {
  FileSegmentCheckpoints checkpoints(dir.path());
  // 23:30 to 00:20 Berlin time.
  checkpoints.write({app("editor"), at("2026-11-21T22:30:00Z"), at("2026-11-21T23:20:00Z")});
  SegmentRecorder recorder(sink, &checkpoints, calendar);
  recorder.recoverCheckpoint();
  EXPECT_EQ(
      sink->segments,
      (std::vector<RecordedSegment>{
          segment(app("editor"), "2026-11-21T22:30:00Z", "2026-11-21T23:00:00Z",
                  Reason::dayBoundary),
          segment(app("editor"), "2026-11-21T23:00:00Z", "2026-11-21T23:20:00Z", Reason::recovered),
      }));

  sink->segments.clear();
  checkpoints.write({app("editor"), at("2026-11-21T09:00:00Z"), at("2026-11-21T09:00:02Z")});
  recorder.recoverCheckpoint();
  EXPECT_TRUE(sink->segments.empty());
  EXPECT_FALSE(std::filesystem::exists(dir / "open-segment.json"));
}

TEST_F(RecorderCheckpointTest, AnUndecodableCheckpointIsLeftAlone) {
  std::filesystem::create_directories(dir.path());
  for (const char* bytes : {"", "{", "[]", "{\"context\":{\"bundleId\":\"a\"},\"startedAt\":1}"}) {
    SCOPED_TRACE(bytes);
    ASSERT_TRUE(files::writeAtomically(dir / "open-segment.json", bytes));
    FileSegmentCheckpoints checkpoints(dir.path());
    SegmentRecorder recorder(sink, &checkpoints, calendar);
    recorder.recoverCheckpoint();
    EXPECT_TRUE(sink->segments.empty());
    EXPECT_TRUE(std::filesystem::exists(dir / "open-segment.json"));
  }
}

TEST_F(RecorderCheckpointTest, HeartbeatWritesWhileRecordingAndClearsWhileSuspended) {
  FileSegmentCheckpoints checkpoints(dir.path());
  SegmentRecorder recorder(sink, &checkpoints, calendar);
  recorder.observe(app("editor"), at("2026-11-21T09:00:00Z"));
  recorder.heartbeat(at("2026-11-21T09:01:00Z"));
  Result<std::string> bytes = checkpoints.read();
  ASSERT_TRUE(bytes);
  EXPECT_EQ(*decodeCheckpoint(*bytes), (SegmentCheckpoint{app("editor"), at("2026-11-21T09:00:00Z"),
                                                          at("2026-11-21T09:01:00Z")}));

  recorder.suspend(Cause::idle, at("2026-11-21T09:02:00Z"));
  EXPECT_FALSE(std::filesystem::exists(checkpoints.url()));
  recorder.resume(Cause::idle, std::nullopt, at("2026-11-21T09:05:00Z"));
  recorder.heartbeat(at("2026-11-21T09:06:00Z"));
  EXPECT_TRUE(std::filesystem::exists(checkpoints.url()));
  // A clean quit leaves nothing to recover.
  recorder.close(at("2026-11-21T09:07:00Z"), Reason::appQuit);
  EXPECT_FALSE(std::filesystem::exists(checkpoints.url()));
}

}  // namespace
}  // namespace velto
