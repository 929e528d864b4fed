// Turns observations of what is in front, and suspensions of recording, into finished segments.
//
// Holds at most one open segment and closes it with its end reason, cutting it at every local
// midnight and at the 8-hour cap and dropping pieces shorter than 3 seconds. Keeps the
// checkpoint current so that a crash loses at most one heartbeat. When recording resumes after a
// suspension it reports the away stretch through onGap.
//
// Every operation takes the instant of its event; the recorder never reads a clock. Day
// boundaries follow the calendar it was given, including later zone changes made to it.
// Thread: main thread only; not re-entrant (the sink and onGap must not call back into it).
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <set>

#include "base/calendar.h"
#include "recording/recorded_segment.h"
#include "recording/segment_checkpoint.h"
#include "recording/suspension.h"

namespace velto {

class SegmentRecorder {
 public:
  static constexpr double kMinimumSegmentSeconds = 3.0;
  static constexpr double kRefineWindowSeconds = 3.0;
  static constexpr double kSafetyCapSeconds = 28800.0;

  // `sink` is held weakly: once it is gone, finished segments are discarded silently.
  // `checkpoints` (may be null) and `calendar` are not owned and must outlive the recorder.
  SegmentRecorder(std::weak_ptr<SegmentSink> sink, SegmentCheckpoints* checkpoints,
                  const Calendar& calendar);

  // The thing in front is now `context`; none means nothing recordable is in front.
  void observe(const std::optional<ActivityContext>& context, Instant at);
  // Another window came to the front (of another application or of the same one): the open
  // segment always ends here with "focusChange", even when the new window's context equals it,
  // so a different window is never a refinement of the one the user left.
  void switchWindow(const std::optional<ActivityContext>& context, Instant at);
  // A richer context for the window already in front was worked out after the fact.
  void refine(const ActivityContext& context, Instant at);
  // The user just switched applications, which proves the computer is awake and unlocked.
  void clearStaleSuspensions(const std::optional<ActivityContext>& context, Instant at);
  // What is in front must not be recorded (an excluded application or site).
  void endForExclusion(Instant at);
  void suspend(SuspensionCause cause, Instant at);
  // A resume without a matching suspend is ignored. `context` none reopens the latest one.
  void resume(SuspensionCause cause, const std::optional<ActivityContext>& context, Instant at);
  // Every minute: enforces the day boundary and the safety cap and refreshes the checkpoint.
  void heartbeat(Instant at);
  void clockChanged(Instant at);
  // Forgets the time of the open segment so far (after recorded history was deleted).
  void restart(Instant at);
  void close(Instant at, SegmentEndReason reason);
  // At launch: turns an earlier run's checkpoint into records ending "recovered".
  void recoverCheckpoint();

  std::function<void(const AwayGap&)> onGap;

  struct OpenSegment {
    ActivityContext context;
    Instant startedAt;
    bool operator==(const OpenSegment&) const = default;
  };
  const std::optional<OpenSegment>& openSegment() const { return open_; }
  const std::set<SuspensionCause>& suspensions() const { return suspensions_; }
  bool isSuspended() const { return !suspensions_.empty(); }
  const std::optional<ActivityContext>& latestContext() const { return latestContext_; }

 private:
  void open(const ActivityContext& context, Instant at);
  // Hands `context` from `from` to `to` to the sink in day pieces; `reason` ends the last one.
  void emit(const ActivityContext& context, Instant from, Instant to, SegmentEndReason reason);
  void finishAwayStretch(Instant at);
  void clearCheckpoint();

  std::weak_ptr<SegmentSink> sink_;
  SegmentCheckpoints* checkpoints_;
  const Calendar& calendar_;

  std::optional<OpenSegment> open_;
  std::optional<ActivityContext> latestContext_;
  std::optional<Instant> lastSeen_;
  std::set<SuspensionCause> suspensions_;
  std::optional<Instant> gapStart_;
  std::set<SuspensionCause> gapCauses_;
  std::optional<ActivityContext> gapContext_;
};

}  // namespace velto
